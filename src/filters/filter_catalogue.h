// The catalogue of engine methods, and the executor that calls one by name.
//
// Every method of cBitFilter that a script, a function list or the command
// line may call is one row here: its exact name and its parameters in order.
// The parameter kinds come from the method's C++ signature, so a new filter
// joins with one line of registration:
//
//   Method("GreyScale", &cBitFilter::GreyScale),
//   Method("NewDoc", &cBitFilter::NewDoc, {"red", "green", "blue"}),
//
// Kinds: int32_t is an Integer, double or float a Number, bool a Boolean
// ("true"/"false"), uint8_t a Byte (0..255), Colour a Colour (a decimal
// 0x00BBGGRR value, -1 for none), std::string Text, FilterMask a Mask (its size
// N, then N x N weights in reading order), and const Bits& a Picture read from
// a file, except a parameter named "source", which is the input picture.
//
// Text arguments are parsed strictly: a number with trailing characters, a
// boolean other than true/false, or a byte out of range is refused with a
// message naming the parameter.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "document/bits.h"
#include "filters/bit_filter.h"
#include "filters/filter_mask.h"

namespace kelvane {

enum class ParamKind { Integer, Number, Boolean, Byte, Colour, Text, Mask, Picture, Source };

const char* ParamKindName(ParamKind kind);

struct ParamSpec {
  std::string name;
  ParamKind kind;
};

// A Source is carried as a pointer to the caller's input, never copied.
using ArgValue = std::variant<int32_t, double, bool, uint8_t, Colour, std::string, FilterMask, Bits, const Bits*>;

// What a method gives back: a new pixel array (a filter's result), or nothing
// when the engine's own array is the result (the reshaping operations), and a
// number for the statistics.
struct MethodResult {
  std::optional<Bits> pixels;
  std::optional<int32_t> value;

  // The resulting picture: the returned array, else the engine's.
  const Bits& Picture(const cBitFilter& engine) const { return pixels ? *pixels : engine.BitsRef(); }
};

struct FilterMethod {
  std::string name;
  std::vector<ParamSpec> params;
  std::function<MethodResult(cBitFilter&, std::vector<ArgValue>&)> invoke;
};

const std::vector<FilterMethod>& FilterMethods();
const FilterMethod* FindFilterMethod(std::string_view name);

// Loads a picture argument from a file; supplied by the caller so that the
// filter subsystem does not depend on the image file readers.
using PictureLoader = std::function<bool(const std::string& path, Bits& out, std::string& error)>;

// Converts text arguments into values in catalogue order. A Mask takes 1 + N*N
// words; a Source takes no word (it is `input`). Returns false with a message
// in `error` on a wrong count or type.
bool ParseMethodArguments(const FilterMethod& method, const std::vector<std::string>& words, const Bits& input,
                          const PictureLoader& loadPicture, std::vector<ArgValue>& values, std::string& error);

// A whole number of the caller's as a value for a parameter of the given kind
// (a boolean is v != 0, a byte keeps the low eight bits); nothing when the
// kind cannot carry a number.
std::optional<ArgValue> NumberAs(ParamKind kind, int32_t v);

// The three-step pattern: the caller has set the engine's array and region;
// this calls the method and returns what it gave.
MethodResult InvokeMethod(cBitFilter& engine, const FilterMethod& method, std::vector<ArgValue>& values);

// --- registration helpers -----------------------------------------------------

namespace catalogue_detail {

template <class T>
constexpr ParamKind KindOf() {
  using U = std::remove_cvref_t<T>;
  if constexpr (std::is_same_v<U, bool>) return ParamKind::Boolean;
  else if constexpr (std::is_same_v<U, uint8_t>) return ParamKind::Byte;
  else if constexpr (std::is_same_v<U, Colour>) return ParamKind::Colour;
  else if constexpr (std::is_same_v<U, std::string>) return ParamKind::Text;
  else if constexpr (std::is_same_v<U, FilterMask>) return ParamKind::Mask;
  else if constexpr (std::is_same_v<U, Bits>) return ParamKind::Picture;
  else if constexpr (std::is_floating_point_v<U>) return ParamKind::Number;
  else if constexpr (std::is_integral_v<U>) return ParamKind::Integer;
  else static_assert(sizeof(U) == 0, "parameter type has no catalogue kind");
}

inline const Bits& PictureOf(ArgValue& v) {
  if (const Bits* const* p = std::get_if<const Bits*>(&v)) return **p;
  return std::get<Bits>(v);
}

template <class T>
decltype(auto) ValueAs(ArgValue& v) {
  using U = std::remove_cvref_t<T>;
  if constexpr (std::is_same_v<U, Bits>) {
    return PictureOf(v);
  } else if constexpr (std::is_same_v<U, bool> || std::is_same_v<U, uint8_t> || std::is_same_v<U, Colour> ||
                       std::is_same_v<U, std::string> || std::is_same_v<U, FilterMask>) {
    return std::get<U>(v);
  } else if constexpr (std::is_floating_point_v<U>) {
    return static_cast<U>(std::get<double>(v));
  } else {
    return static_cast<U>(std::get<int32_t>(v));
  }
}

template <class R>
MethodResult ToResult(R&& r) {
  MethodResult out;
  if constexpr (std::is_same_v<std::remove_cvref_t<R>, Bits>) {
    out.pixels = std::move(r);
  } else {
    out.value = static_cast<int32_t>(r);
  }
  return out;
}

}  // namespace catalogue_detail

template <class R, class... A>
FilterMethod Method(std::string name, R (cBitFilter::*fn)(A...), std::initializer_list<const char*> names = {}) {
  FilterMethod m;
  m.name = std::move(name);
  const ParamKind kinds[] = {catalogue_detail::KindOf<A>()..., ParamKind::Integer};
  size_t i = 0;
  for (const char* n : names) {
    ParamKind kind = kinds[i++];
    if (kind == ParamKind::Picture && std::string_view(n) == "source") kind = ParamKind::Source;
    m.params.push_back({n, kind});
  }
  // Unnamed parameters get their position as their name.
  for (; i < sizeof...(A); ++i) m.params.push_back({"argument " + std::to_string(i + 1), kinds[i]});
  m.invoke = [fn](cBitFilter& engine, std::vector<ArgValue>& v) -> MethodResult {
    return [&]<size_t... I>(std::index_sequence<I...>) -> MethodResult {
      if constexpr (std::is_void_v<R>) {
        (engine.*fn)(catalogue_detail::ValueAs<A>(v[I])...);
        return MethodResult{};
      } else {
        return catalogue_detail::ToResult((engine.*fn)(catalogue_detail::ValueAs<A>(v[I])...));
      }
    }(std::index_sequence_for<A...>{});
  };
  return m;
}

}  // namespace kelvane
