#include <cstdio>
#include <cstring>
#include <string>

#include "cli.h"

namespace {

constexpr const char* kUsage =
    "usage: kelvane-cli COMMAND [ARGUMENTS] [--home DIR]\n"
    "\n"
    "commands:\n"
    "  filter METHOD [ARG ...] IN OUT [--select L,T,R,B] [--selection FILE.ksf]\n"
    "         [--seed N] [--threads N] [--time]\n"
    "      run one engine method by name on IN and write OUT\n"
    "  filter --list            list the engine methods and their arguments\n"
    "  paint PRIMITIVE [ARG ...] IN OUT [--select L,T,R,B] [--selection FILE.ksf]\n"
    "         [--seed N]\n"
    "      call one painting primitive by name on IN (stroke table cleared first)\n"
    "  paint --list             list the painting primitives and their arguments\n"
    "  run WORD[,WORD...] IN OUT [--select L,T,R,B] [--selection FILE.ksf]\n"
    "         [--seed N] [--threads N] [--time]\n"
    "      run command words (INVERT, GRAYSCALE, HEAVYBLUR, FLIPH, ...) in order\n"
    "  run --list               list the command words with their method and arguments\n"
    "  convert IN OUT           decode IN and write OUT by its extension\n"
    "  info FILE                print the properties of FILE (type, size, depth, ...)\n"
    "  settings init [DIR]      write DIR/kv201Start.up with every default\n"
    "  settings show FILE       print every settings field by name\n";

}  // namespace

int main(int argc, char** argv) {
  using namespace kelvane::cli;
  if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
    std::fputs(kUsage, argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  Arguments args;
  std::string error;
  if (!ParseArguments(argc, argv, 2, args, error)) return Fail(error);
  const std::string command = argv[1];
  if (command == "filter") return RunFilter(args);
  if (command == "paint") return RunPaint(args);
  if (command == "run") return RunCommandWords(args);
  if (command == "convert") return RunConvert(args);
  if (command == "info") return RunInfo(args);
  if (command == "settings") return RunSettings(args);
  return Fail("unknown command '" + command + "' (try kelvane-cli --help)");
}
