#include "filters/filter_catalogue.h"

#include "filters/filter_families.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace kelvane {

const char* ParamKindName(ParamKind kind) {
  switch (kind) {
    case ParamKind::Integer: return "integer";
    case ParamKind::Number: return "number";
    case ParamKind::Boolean: return "true or false";
    case ParamKind::Byte: return "byte 0..255";
    case ParamKind::Colour: return "colour 0x00BBGGRR as a decimal value";
    case ParamKind::Text: return "text";
    case ParamKind::Mask: return "mask size N then N*N weights";
    case ParamKind::Picture: return "picture file";
    case ParamKind::Source: return "the input picture";
  }
  return "value";
}

std::vector<FilterMethod> FrameMethods() {
  return {
      Method("BitsBlack", &cBitFilter::BitsBlack),
      Method("BitsCrop", &cBitFilter::BitsCrop, {"source", "left", "top", "right", "bottom"}),
      Method("BitsCropMasked", &cBitFilter::BitsCropMasked, {"source", "left", "top", "right", "bottom"}),
      Method("BitsResample", &cBitFilter::BitsResample, {"source", "new width", "new height"}),
      Method("BitsResize", &cBitFilter::BitsResize, {"source", "new width", "new height"}),
      Method("BitsRotate90", &cBitFilter::BitsRotate90, {"source"}),
      Method("Flip", &cBitFilter::Flip, {"horizontal", "vertical"}),
      Method("GetLMax", &cBitFilter::GetLMax),
      Method("GetLMed", &cBitFilter::GetLMed),
      Method("GetLMin", &cBitFilter::GetLMin),
      Method("NewDoc", &cBitFilter::NewDoc, {"red", "green", "blue"}),
  };
}

const std::vector<FilterMethod>& FilterMethods() {
  static const std::vector<FilterMethod> methods = [] {
    std::vector<FilterMethod> all;
    for (auto family : {FrameMethods, ConvolutionMethods, ColourMethods, ColourEffectMethods, DeformationMethods}) {
      for (FilterMethod& m : family()) all.push_back(std::move(m));
    }
    return all;
  }();
  return methods;
}

const FilterMethod* FindFilterMethod(std::string_view name) {
  const auto& all = FilterMethods();
  auto it = std::find_if(all.begin(), all.end(), [&](const FilterMethod& m) { return m.name == name; });
  return it == all.end() ? nullptr : &*it;
}

namespace {

bool ParseInteger(const std::string& word, int64_t low, int64_t high, int64_t& out) {
  if (word.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long long v = std::strtoll(word.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || v < low || v > high) return false;
  out = v;
  return true;
}

bool ParseNumber(const std::string& word, double& out) {
  if (word.empty()) return false;
  errno = 0;
  char* end = nullptr;
  out = std::strtod(word.c_str(), &end);
  return errno == 0 && *end == '\0';
}

}  // namespace

bool ParseMethodArguments(const FilterMethod& method, const std::vector<std::string>& words, const Bits& input,
                          const PictureLoader& loadPicture, std::vector<ArgValue>& values, std::string& error) {
  values.clear();
  size_t next = 0;
  auto usage = [&]() {
    std::string u = method.name;
    for (const auto& p : method.params) {
      if (p.kind != ParamKind::Source) u += " <" + p.name + ">";
    }
    return u;
  };
  for (const ParamSpec& p : method.params) {
    if (p.kind == ParamKind::Source) {
      values.emplace_back(&input);
      continue;
    }
    if (next >= words.size()) {
      error = "too few arguments for " + method.name + ": expected " + usage();
      return false;
    }
    const std::string& w = words[next++];
    auto bad = [&]() {
      error = "argument '" + p.name + "' of " + method.name + " must be a " + ParamKindName(p.kind) + ", not '" + w + "'";
      return false;
    };
    int64_t i = 0;
    switch (p.kind) {
      case ParamKind::Integer:
        if (!ParseInteger(w, INT32_MIN, INT32_MAX, i)) return bad();
        values.emplace_back(static_cast<int32_t>(i));
        break;
      case ParamKind::Byte:
        if (!ParseInteger(w, 0, 255, i)) return bad();
        values.emplace_back(static_cast<uint8_t>(i));
        break;
      case ParamKind::Colour:
        if (!ParseInteger(w, -1, 0xFFFFFF, i)) return bad();
        values.emplace_back(Colour{static_cast<int32_t>(i)});
        break;
      case ParamKind::Number: {
        double d = 0;
        if (!ParseNumber(w, d)) return bad();
        values.emplace_back(d);
        break;
      }
      case ParamKind::Boolean:
        if (w != "true" && w != "false") return bad();
        values.emplace_back(w == "true");
        break;
      case ParamKind::Text:
        values.emplace_back(w);
        break;
      case ParamKind::Mask: {
        if (!ParseInteger(w, 1, 99, i)) return bad();
        FilterMask mask;
        mask.size = static_cast<int32_t>(i);
        const size_t count = static_cast<size_t>(i * i);
        if (words.size() - next < count) {
          error = "mask of size " + w + " for " + method.name + " needs " + std::to_string(count) + " weights";
          return false;
        }
        for (size_t k = 0; k < count; ++k) {
          int64_t weight = 0;
          if (!ParseInteger(words[next], INT32_MIN, INT32_MAX, weight)) {
            error = "mask weight of " + method.name + " must be an integer, not '" + words[next] + "'";
            return false;
          }
          mask.weights.push_back(static_cast<int32_t>(weight));
          ++next;
        }
        values.emplace_back(std::move(mask));
        break;
      }
      case ParamKind::Picture: {
        Bits picture;
        if (!loadPicture || !loadPicture(w, picture, error)) {
          if (error.empty()) error = "cannot read picture '" + w + "'";
          return false;
        }
        values.emplace_back(std::move(picture));
        break;
      }
      case ParamKind::Source:
        break;
    }
  }
  if (next != words.size()) {
    error = "too many arguments for " + method.name + ": expected " + usage();
    return false;
  }
  return true;
}

std::optional<ArgValue> NumberAs(ParamKind kind, int32_t v) {
  switch (kind) {
    case ParamKind::Integer: return ArgValue(v);
    case ParamKind::Number: return ArgValue(static_cast<double>(v));
    case ParamKind::Boolean: return ArgValue(v != 0);
    case ParamKind::Byte: return ArgValue(static_cast<uint8_t>(v));
    case ParamKind::Colour: return ArgValue(Colour{v});
    default: return std::nullopt;
  }
}

MethodResult InvokeMethod(cBitFilter& engine, const FilterMethod& method, std::vector<ArgValue>& values) {
  return method.invoke(engine, values);
}

}  // namespace kelvane
