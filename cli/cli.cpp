#include "cli.h"

#include "imagefiles/picture_io.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <thread>

#include "shell/app_folder.h"

namespace kelvane::cli {

namespace {

const std::set<std::string> kValueOptions = {"select", "selection", "seed", "threads", "home", "keep-temp"};

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

}  // namespace

std::optional<std::string> Arguments::Get(const std::string& name) const {
  auto it = options.find(name);
  if (it == options.end()) return std::nullopt;
  return it->second;
}

bool ParseArguments(int argc, char** argv, int first, Arguments& out, std::string& error) {
  for (int i = first; i < argc; ++i) {
    const std::string word = argv[i];
    if (word.size() > 2 && word.compare(0, 2, "--") == 0) {
      std::string name = word.substr(2);
      std::string value;
      const size_t eq = name.find('=');
      const bool inlineValue = eq != std::string::npos;
      if (inlineValue) {
        value = name.substr(eq + 1);
        name = name.substr(0, eq);
      }
      if (kValueOptions.count(name) && !inlineValue) {
        if (i + 1 >= argc) {
          error = "option --" + name + " needs a value";
          return false;
        }
        value = argv[++i];
      }
      out.options[name] = value;
    } else {
      out.words.push_back(word);
    }
  }
  return true;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "kelvane-cli: %s\n", message.c_str());
  return 1;
}

std::filesystem::path HomeFolder(const Arguments& args) {
  if (auto home = args.Get("home")) return std::filesystem::absolute(*home).lexically_normal();
  return ApplicationFolder(ExecutableDir());
}

bool ParseEngineOptions(const Arguments& args, EngineOptions& out, std::string& error) {
  long threads = static_cast<long>(std::max(1u, std::thread::hardware_concurrency()));
  if (auto t = args.Get("threads"); t && !ParseCount(*t, 1, 256, threads)) {
    error = "--threads takes a count from 1 to 256, not '" + *t + "'";
    return false;
  }
  out.threads = static_cast<int>(threads);
  out.seed.reset();
  if (auto seedText = args.Get("seed")) {
    long seed = 0;
    if (!ParseCount(*seedText, 0, 0x7FFFFFFF, seed)) {
      error = "--seed takes a whole number from 0 to 2147483647, not '" + *seedText + "'";
      return false;
    }
    out.seed = static_cast<uint32_t>(seed);
  }
  return true;
}

bool MakeSelection(const Arguments& args, int32_t width, int32_t height, cBitRegion& selection,
                   std::string& error) {
  selection.Init(0, 0, width, height);
  if (auto select = args.Get("select")) {
    int32_t r[4];
    if (!ParseRect(*select, r)) {
      error = "--select takes L,T,R,B (right and bottom exclusive), not '" + *select + "'";
      return false;
    }
    selection.CreateRect(r[0], r[1], r[2], r[3], CombineMode::Or, true);
  }
  if (auto file = args.Get("selection")) {
    if (!selection.LoadFromFile(*file)) {
      error = "cannot read selection file '" + *file + "'";
      return false;
    }
    selection.Crop();
  }
  return true;
}

bool SplitNamedCall(const Arguments& args, NamedCall& call) {
  if (args.words.size() < 3) return false;
  call.name = args.words.front();
  call.arguments.assign(args.words.begin() + 1, args.words.end() - 2);
  call.in = args.words[args.words.size() - 2];
  call.out = args.words.back();
  return true;
}

PictureLoader FilePictureLoader() {
  return [](const std::string& path, Bits& out, std::string& error) { return LoadPictureFile(path, out, error); };
}

void SetUpEngine(cBitFilter& engine, const EngineOptions& options, const cBitRegion& selection) {
  engine.SetThreadCount(options.threads);
  if (options.seed) engine.SeedRandom(*options.seed);
  engine.BitsRegion(selection.IsEmptyRegion() ? selection.RegionMain() : selection.Region());
}

}  // namespace kelvane::cli
