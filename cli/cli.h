// kelvane-cli: the headless front end. Each subcommand is one function taking
// its parsed arguments and returning the process exit code. Errors are one
// line on stderr, prefixed "kelvane-cli: ".
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

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

int RunFilter(const Arguments& args);
int RunConvert(const Arguments& args);
int RunInfo(const Arguments& args);
int RunSettings(const Arguments& args);

}  // namespace kelvane::cli
