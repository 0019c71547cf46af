// kelvane-cli: the headless front end. Each subcommand is one function taking
// its parsed arguments and returning the process exit code. Errors are one
// line on stderr, prefixed "kelvane-cli: ".
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "document/bit_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_catalogue.h"

namespace kelvane::cli {

// Words and --options of one command line. Options may stand anywhere;
// "--name value" and "--name=value" are both accepted; a word starting with a
// single '-' (a negative number) is a positional word.
struct Arguments {
  std::vector<std::string> words;
  std::map<std::string, std::string> options;  // flags map to ""

  bool Has(const std::string& name) const { return options.count(name) > 0; }
  std::optional<std::string> Get(const std::string& name) const;
};

// Options that take a value; every other --option is a flag.
bool ParseArguments(int argc, char** argv, int first, Arguments& out, std::string& error);

int Fail(const std::string& message);

// The application folder: --home when given, else the usual one.
std::filesystem::path HomeFolder(const Arguments& args);

// What every engine command shares: --threads (default: the machine's
// hardware threads) and --seed.
struct EngineOptions {
  int threads = 1;
  std::optional<uint32_t> seed;
};
bool ParseEngineOptions(const Arguments& args, EngineOptions& out, std::string& error);

// The selection, as the editor keeps it: the whole picture unless --select or
// --selection gives one; an empty selection means the whole picture again.
bool MakeSelection(const Arguments& args, int32_t width, int32_t height, cBitRegion& selection,
                   std::string& error);

// Threads, seed and region (the selection, or the whole picture when it is
// empty) of an engine whose Bits the caller sets.
void SetUpEngine(cBitFilter& engine, const EngineOptions& options, const cBitRegion& selection);

// The words of "NAME [ARG ...] IN OUT", as filter and paint take them.
struct NamedCall {
  std::string name;
  std::vector<std::string> arguments;
  std::string in;
  std::string out;
};
// False when there are fewer than three words.
bool SplitNamedCall(const Arguments& args, NamedCall& call);

// Picture arguments are read as the editor opens files.
PictureLoader FilePictureLoader();

int RunFilter(const Arguments& args);
int RunPaint(const Arguments& args);
int RunCommandWords(const Arguments& args);
int RunConvert(const Arguments& args);
int RunInfo(const Arguments& args);
int RunSettings(const Arguments& args);

}  // namespace kelvane::cli
