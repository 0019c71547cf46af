// kelvane-cli filter: one engine method, called by its exact name.
#include <algorithm>
#include <chrono>
#include <cstdio>

#include "cli.h"
#include "document/bit_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_catalogue.h"
#include "imagefiles/picture_io.h"

namespace kelvane::cli {

namespace {

int ListMethods() {
  for (const FilterMethod& m : FilterMethods()) {
    std::string line = m.name;
    for (const ParamSpec& p : m.params) {
      line += p.kind == ParamKind::Source ? " [input]" : " <" + p.name + ": " + ParamKindName(p.kind) + ">";
    }
    std::puts(line.c_str());
  }
  return 0;
}

}  // namespace

int RunFilter(const Arguments& args) {
  if (args.Has("list")) return ListMethods();
  NamedCall call;
  if (!SplitNamedCall(args, call)) return Fail("filter needs METHOD [ARG ...] IN OUT");
  const FilterMethod* method = FindFilterMethod(call.name);
  if (!method) return Fail("unknown method '" + call.name + "' (kelvane-cli filter --list shows them)");

  EngineOptions options;
  std::string error;
  if (!ParseEngineOptions(args, options, error)) return Fail(error);

  Bits input;
  if (!LoadPictureFile(call.in, input, error)) return Fail(error);

  std::vector<ArgValue> values;
  if (!ParseMethodArguments(*method, call.arguments, input, FilePictureLoader(), values, error)) return Fail(error);

  cBitRegion selection;
  if (!MakeSelection(args, input.Width(), input.Height(), selection, error)) return Fail(error);

  cBitFilter engine;
  const bool needsSource = std::any_of(method->params.begin(), method->params.end(),
                                       [](const ParamSpec& p) { return p.kind == ParamKind::Source; });
  if (needsSource) {
    engine.SetBits(input);
  } else {
    engine.SetBits(std::move(input));
  }
  SetUpEngine(engine, options, selection);

  if (args.Has("time")) {
    // The first call pays for the first touch of a freshly allocated output
    // array, which on this kind of machine costs more than most filters'
    // arithmetic. Run it once untimed and hand its output back as the spare
    // buffer, so that the timed call costs what a filter costs in the editor
    // from its second run on; the seed is set again, so OUT is the same.
    Bits original = engine.BitsRef();
    std::vector<ArgValue> warmValues = values;
    MethodResult warm = InvokeMethod(engine, *method, warmValues);
    if (warm.pixels) engine.SetBits(std::move(*warm.pixels));
    engine.SetBits(std::move(original));
    SetUpEngine(engine, options, selection);
  }
  const auto start = std::chrono::steady_clock::now();
  MethodResult result = InvokeMethod(engine, *method, values);
  const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();

  if (result.value) std::printf("%s: %d\n", method->name.c_str(), *result.value);
  if (!SavePictureFile(call.out, result.Picture(engine), error)) return Fail(error);
  if (args.Has("time")) std::printf("time: %.3f ms\n", ms);
  return 0;
}

}  // namespace kelvane::cli
