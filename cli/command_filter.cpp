// kelvane-cli filter: one engine method, called by its exact name.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <thread>

#include "cli.h"
#include "document/bit_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_catalogue.h"
#include "imagefiles/picture_io.h"

namespace kelvane::cli {

namespace {

bool ParseRect(const std::string& text, int32_t (&v)[4]) {
  int consumed = 0;
  if (std::sscanf(text.c_str(), "%d,%d,%d,%d%n", &v[0], &v[1], &v[2], &v[3], &consumed) != 4) return false;
  return static_cast<size_t>(consumed) == text.size();
}

bool ParseCount(const std::string& text, long low, long high, long& out) {
  char* end = nullptr;
  out = std::strtol(text.c_str(), &end, 10);
  return !text.empty() && *end == '\0' && out >= low && out <= high;
}

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
  if (args.words.size() < 3) return Fail("filter needs METHOD [ARG ...] IN OUT");
  const std::string& name = args.words.front();
  const FilterMethod* method = FindFilterMethod(name);
  if (!method) return Fail("unknown method '" + name + "' (kelvane-cli filter --list shows them)");
  const std::string& inPath = args.words[args.words.size() - 2];
  const std::string& outPath = args.words.back();
  const std::vector<std::string> words(args.words.begin() + 1, args.words.end() - 2);

  long threads = static_cast<long>(std::max(1u, std::thread::hardware_concurrency()));
  if (auto t = args.Get("threads"); t && !ParseCount(*t, 1, 256, threads)) {
    return Fail("--threads takes a count from 1 to 256, not '" + *t + "'");
  }
  long seed = 0;
  const auto seedText = args.Get("seed");
  if (seedText && !ParseCount(*seedText, 0, 0x7FFFFFFF, seed)) {
    return Fail("--seed takes a whole number from 0 to 2147483647, not '" + *seedText + "'");
  }

  std::string error;
  Bits input;
  if (!LoadPictureFile(inPath, input, error)) return Fail(error);

  std::vector<ArgValue> values;
  const PictureLoader loader = [](const std::string& path, Bits& out, std::string& err) {
    return LoadPictureFile(path, out, err);
  };
  if (!ParseMethodArguments(*method, words, input, loader, values, error)) return Fail(error);

  // The selection, as the editor keeps it: the whole picture unless a
  // selection is given; an empty selection means the whole picture again.
  cBitRegion selection;
  selection.Init(0, 0, input.Width(), input.Height());
  if (auto select = args.Get("select")) {
    int32_t r[4];
    if (!ParseRect(*select, r)) return Fail("--select takes L,T,R,B (right and bottom exclusive), not '" + *select + "'");
    selection.CreateRect(r[0], r[1], r[2], r[3], CombineMode::Or, true);
  }
  if (auto file = args.Get("selection")) {
    if (!selection.LoadFromFile(*file)) return Fail("cannot read selection file '" + *file + "'");
    selection.Crop();
  }

  cBitFilter engine;
  engine.SetThreadCount(static_cast<int>(threads));
  if (seedText) engine.SeedRandom(static_cast<uint32_t>(seed));
  const bool needsSource = std::any_of(method->params.begin(), method->params.end(),
                                       [](const ParamSpec& p) { return p.kind == ParamKind::Source; });
  if (needsSource) {
    engine.SetBits(input);
  } else {
    engine.SetBits(std::move(input));
  }
  engine.BitsRegion(selection.IsEmptyRegion() ? selection.RegionMain() : selection.Region());

  const auto start = std::chrono::steady_clock::now();
  MethodResult result = InvokeMethod(engine, *method, values);
  const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();

  if (result.value) std::printf("%s: %d\n", method->name.c_str(), *result.value);
  if (!SavePictureFile(outPath, result.Picture(engine), error)) return Fail(error);
  if (args.Has("time")) std::printf("time: %.3f ms\n", ms);
  return 0;
}

}  // namespace kelvane::cli
