// kelvane-cli run: direct filter command words, in order, on one picture.
#include <chrono>
#include <cstdio>

#include "cli.h"
#include "imagefiles/picture_io.h"
#include "shell/filter_commands.h"

namespace kelvane::cli {

namespace {

int ListWords() {
  for (const FilterCommand& c : FilterCommands()) {
    std::string line = c.word + " = " + c.method;
    for (const std::string& a : c.arguments) line += " " + a;
    std::puts(line.c_str());
  }
  for (const DocumentCommand& c : DocumentCommands()) {
    std::string line = c.word + " =";
    for (size_t i = 0; i < c.calls.size(); ++i) {
      line += (i ? ", then " : " ") + c.calls[i].target;
      for (const std::string& a : c.calls[i].arguments) line += " " + a;
    }
    std::puts(line.c_str());
  }
  return 0;
}

}  // namespace

int RunCommandWords(const Arguments& args) {
  if (args.Has("list")) return ListWords();
  if (args.words.size() != 3) return Fail("run needs WORD[,WORD...] IN OUT");
  const std::string& list = args.words[0];
  const std::string& inPath = args.words[1];
  const std::string& outPath = args.words[2];

  EngineOptions options;
  std::string error;
  if (!ParseEngineOptions(args, options, error)) return Fail(error);

  Bits input;
  if (!LoadPictureFile(inPath, input, error)) return Fail(error);
  cBitRegion selection;
  if (!MakeSelection(args, input.Width(), input.Height(), selection, error)) return Fail(error);

  cBitFilter engine;
  engine.SetBits(std::move(input));
  SetUpEngine(engine, options, selection);

  const auto start = std::chrono::steady_clock::now();
  const CommandListOutcome outcome = RunFilterCommandList(engine, list);
  const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();

  // An unknown word does nothing, as in the editor: say so, and carry on.
  for (const std::string& word : outcome.unknownWords) {
    std::string note = "kelvane-cli: unknown command word '" + word + "' (nothing done)";
    if (const int32_t index = FilterDialogIndex(word); index >= 0) {
      note += "; it opens the filter dialog (filter " + std::to_string(index) + ")";
    }
    std::fprintf(stderr, "%s\n", note.c_str());
  }
  for (const std::string& word : outcome.windowWords) {
    std::fprintf(stderr, "kelvane-cli: command word '%s' rotates the document window's picture (nothing done)\n",
                 word.c_str());
  }
  if (!outcome.Ok()) return Fail(outcome.error);
  if (!SavePictureFile(outPath, engine.BitsRef(), error)) return Fail(error);
  if (args.Has("time")) std::printf("time: %.3f ms\n", ms);
  return 0;
}

}  // namespace kelvane::cli
