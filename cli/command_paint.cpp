// kelvane-cli paint: one painting primitive, called by its exact name, on a
// picture with the editor's selection rules. The stroke table is cleared
// first, as at the start of a stroke.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>

#include "base/numeric.h"
#include "cli.h"
#include "document/painting.h"
#include "filters/filter_catalogue.h"
#include "imagefiles/picture_io.h"

namespace kelvane::cli {

namespace {

using Values = std::vector<ArgValue>;

struct PaintPrimitive {
  std::string name;
  std::vector<ParamSpec> params;
  // The parameters the primitive takes in 16 bits.
  std::vector<size_t> shortParams;
  // Returns a value to print, or nothing.
  std::function<std::optional<int32_t>(PaintTarget&, Values&)> run;
};

int32_t I(Values& v, size_t i) { return std::get<int32_t>(v[i]); }
int16_t S(Values& v, size_t i) { return static_cast<int16_t>(std::get<int32_t>(v[i])); }
double N(Values& v, size_t i) { return std::get<double>(v[i]); }
int32_t C(Values& v, size_t i) { return std::get<Colour>(v[i]); }
bool B(Values& v, size_t i) { return std::get<bool>(v[i]); }
const Bits& P(Values& v, size_t i) { return std::get<Bits>(v[i]); }

constexpr ParamKind kInt = ParamKind::Integer, kNum = ParamKind::Number, kCol = ParamKind::Colour,
                    kBool = ParamKind::Boolean, kPic = ParamKind::Picture;

const std::vector<PaintPrimitive>& PaintPrimitives() {
  static const std::vector<PaintPrimitive> table = {
      {"BitsGetPixel",
       {{"x", kInt}, {"y", kInt}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> { return BitsGetPixel(t, I(v, 0), I(v, 1)); }},
      {"BitsPaint",
       {{"x", kInt}, {"y", kInt}, {"source", kPic}, {"transparent", kCol}, {"opacity", kNum}, {"useSelection", kBool}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsPaint(t, I(v, 0), I(v, 1), P(v, 2), C(v, 3), N(v, 4), B(v, 5));
         return std::nullopt;
       }},
      {"BitsPaintPreMasked",
       {{"x", kInt}, {"y", kInt}, {"source", kPic}, {"opacity", kNum}, {"useSelection", kBool}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsPaintPreMasked(t, I(v, 0), I(v, 1), P(v, 2), N(v, 3), B(v, 4));
         return std::nullopt;
       }},
      {"BitsBWMask",
       {{"x", kInt}, {"y", kInt}, {"mask", kPic}, {"colour", kCol}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsBWMask(t, I(v, 0), I(v, 1), P(v, 2), C(v, 3), N(v, 4));
         return std::nullopt;
       }},
      {"BitsLine",
       {{"x1", kInt}, {"y1", kInt}, {"x2", kInt}, {"y2", kInt}, {"colour", kCol}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsLine(t, I(v, 0), I(v, 1), I(v, 2), I(v, 3), C(v, 4), N(v, 5));
         return std::nullopt;
       }},
      {"BitsRectangle",
       {{"x1", kInt}, {"y1", kInt}, {"x2", kInt}, {"y2", kInt}, {"colour", kCol}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsRectangle(t, I(v, 0), I(v, 1), I(v, 2), I(v, 3), C(v, 4), N(v, 5));
         return std::nullopt;
       }},
      {"BitsPolygon",
       {{"x1", kInt}, {"y1", kInt}, {"x2", kInt}, {"y2", kInt}, {"sides", kInt}, {"colour", kCol}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsPolygon(t, I(v, 0), I(v, 1), I(v, 2), I(v, 3), I(v, 4), C(v, 5), N(v, 6));
         return std::nullopt;
       }},
      {"BitsEllipse",
       {{"x", kNum}, {"y", kNum}, {"rx", kNum}, {"ry", kNum}, {"colour", kCol}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsEllipse(t, N(v, 0), N(v, 1), N(v, 2), N(v, 3), C(v, 4), N(v, 5));
         return std::nullopt;
       }},
      {"BitsBrush",
       {{"x", kInt}, {"y", kInt}, {"size", kInt}, {"opacity", kNum}, {"colour", kCol}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsBrush(t, I(v, 0), I(v, 1), I(v, 2), N(v, 3), C(v, 4));
         return std::nullopt;
       }},
      {"BitsBrushLine",
       {{"x1", kInt},
        {"y1", kInt},
        {"x2", kInt},
        {"y2", kInt},
        {"size", kInt},
        {"opacity", kNum},
        {"colour", kCol},
        {"mode", kInt}},
       {0, 1, 2, 3},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsBrushLine(t, S(v, 0), S(v, 1), S(v, 2), S(v, 3), I(v, 4), N(v, 5), C(v, 6), I(v, 7));
         return std::nullopt;
       }},
      {"BitsAirbrush",
       {{"x", kInt},
        {"y", kInt},
        {"size", kInt},
        {"opacity", kNum},
        {"density", kNum},
        {"softness", kNum},
        {"colour", kCol}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsAirbrush(t, I(v, 0), I(v, 1), I(v, 2), N(v, 3), N(v, 4), N(v, 5), C(v, 6));
         return std::nullopt;
       }},
      {"BitsBrightness",
       {{"x", kInt}, {"y", kInt}, {"size", kInt}, {"strength", kNum}, {"lighten", kBool}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsBrightness(t, I(v, 0), I(v, 1), I(v, 2), N(v, 3), B(v, 4));
         return std::nullopt;
       }},
      {"BitsMasked",
       {{"x", kInt}, {"y", kInt}, {"tile", kPic}, {"size", kInt}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsMasked(t, I(v, 0), I(v, 1), P(v, 2), I(v, 3), N(v, 4));
         return std::nullopt;
       }},
      {"BitsMaskedLine",
       {{"x1", kInt}, {"y1", kInt}, {"x2", kInt}, {"y2", kInt}, {"size", kInt}, {"opacity", kNum}, {"tile", kPic}},
       {0, 1, 2, 3},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsMaskedLine(t, S(v, 0), S(v, 1), S(v, 2), S(v, 3), I(v, 4), N(v, 5), P(v, 6));
         return std::nullopt;
       }},
      {"BitsSoften",
       {{"x", kInt}, {"y", kInt}, {"size", kInt}, {"strength", kNum}, {"force", kBool}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsSoften(t, I(v, 0), I(v, 1), I(v, 2), N(v, 3), B(v, 4));
         return std::nullopt;
       }},
      {"BitsSharpen",
       {{"x", kInt}, {"y", kInt}, {"size", kInt}, {"strength", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsSharpen(t, I(v, 0), I(v, 1), I(v, 2), N(v, 3));
         return std::nullopt;
       }},
      {"BitsFill",
       {{"x", kInt}, {"y", kInt}, {"colour", kCol}, {"tolerance", kInt}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsFill(t, I(v, 0), I(v, 1), C(v, 2), I(v, 3), N(v, 4));
         return std::nullopt;
       }},
      {"BitsFillTexture",
       {{"x", kInt}, {"y", kInt}, {"tile", kPic}, {"tolerance", kInt}, {"opacity", kNum}},
       {},
       [](PaintTarget& t, Values& v) -> std::optional<int32_t> {
         BitsFillTexture(t, I(v, 0), I(v, 1), P(v, 2), I(v, 3), N(v, 4));
         return std::nullopt;
       }},
  };
  return table;
}

const PaintPrimitive* FindPrimitive(const std::string& name) {
  for (const PaintPrimitive& p : PaintPrimitives()) {
    if (p.name == name) return &p;
  }
  return nullptr;
}

int ListPrimitives() {
  for (const PaintPrimitive& p : PaintPrimitives()) {
    std::string line = p.name;
    for (size_t i = 0; i < p.params.size(); ++i) {
      const bool isShort = std::find(p.shortParams.begin(), p.shortParams.end(), i) != p.shortParams.end();
      line += " <" + p.params[i].name + ": " + (isShort ? "16-bit integer" : ParamKindName(p.params[i].kind)) + ">";
    }
    std::puts(line.c_str());
  }
  return 0;
}

}  // namespace

int RunPaint(const Arguments& args) {
  if (args.Has("list")) return ListPrimitives();
  NamedCall call;
  if (!SplitNamedCall(args, call)) return Fail("paint needs PRIMITIVE [ARG ...] IN OUT");
  const PaintPrimitive* primitive = FindPrimitive(call.name);
  if (!primitive) return Fail("unknown primitive '" + call.name + "' (kelvane-cli paint --list shows them)");

  EngineOptions options;
  std::string error;
  if (!ParseEngineOptions(args, options, error)) return Fail(error);

  Bits picture;
  if (!LoadPictureFile(call.in, picture, error)) return Fail(error);

  // The argument words are read by the same rules as the filter methods'.
  const FilterMethod signature{primitive->name, primitive->params, {}};
  Values values;
  if (!ParseMethodArguments(signature, call.arguments, picture, FilePictureLoader(), values, error)) return Fail(error);
  for (size_t i : primitive->shortParams) {
    const int32_t v = std::get<int32_t>(values[i]);
    if (v < INT16_MIN || v > INT16_MAX) {
      return Fail("argument '" + primitive->params[i].name + "' of " + primitive->name +
                  " must be a 16-bit integer, not '" + call.arguments[i] + "'");
    }
  }

  cBitRegion selection;
  if (!MakeSelection(args, picture.Width(), picture.Height(), selection, error)) return Fail(error);

  DoneBits doneBits;
  const bool pictureExists = true;
  PaintRandom random;
  if (options.seed) random.Seed(*options.seed);
  PaintTarget target{picture, selection, doneBits, pictureExists, random};
  CreateDoneBitsTable(target);

  if (const std::optional<int32_t> value = primitive->run(target, values)) {
    std::printf("%s: %d\n", primitive->name.c_str(), *value);
  }
  if (!SavePictureFile(call.out, picture, error)) return Fail(error);
  return 0;
}

}  // namespace kelvane::cli
