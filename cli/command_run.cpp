// kelvane-cli run: command words, in order, on one picture opened as the
// editor opens it: every MenuExec word that needs no window (filters, zoom,
// rotation, flips, crops, the selection words, UNDO and REDO, the clipboard
// words on a clipboard of the process's own). The active document's picture
// at the end is written to OUT, with a paste still floating laid down first;
// --keep-temp DIR copies the undo snapshots there for inspection.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "cli.h"
#include "headless_ui.h"
#include "imagefiles/picture_io.h"
#include "shell/application.h"
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
  for (const Application::DocumentWord& w : Application::DocumentWords()) {
    std::printf("%.*s = document command\n", static_cast<int>(w.word.size()), w.word.data());
  }
  return 0;
}

// A fresh folder below the system's temporary folder, removed with its
// contents at the end of the run.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kelvane-run-XXXXXX").string();
    if (mkdtemp(pattern.data())) path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  bool Made() const { return !path_.empty(); }
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Copies the undo snapshots of every document still open into `folder`,
// which is made when missing.
bool KeepSnapshots(Application& app, const std::filesystem::path& folder, std::string& error) {
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  if (ec || !std::filesystem::is_directory(folder)) {
    error = "cannot make the folder " + folder.string();
    return false;
  }
  for (const auto& doc : app.Documents()) {
    const UndoHistory& history = doc->History();
    for (int32_t slot = 0; slot < history.UndoTop(); ++slot) {
      const std::filesystem::path file = history.SlotFile(slot);
      if (!std::filesystem::is_regular_file(file, ec)) continue;
      std::filesystem::copy_file(file, folder / file.filename(), std::filesystem::copy_options::overwrite_existing,
                                 ec);
      if (ec) {
        error = "cannot copy " + file.filename().string() + " into " + folder.string() + ": " + ec.message();
        return false;
      }
    }
  }
  return true;
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
  std::optional<std::filesystem::path> keepTemp;
  if (auto dir = args.Get("keep-temp")) {
    if (dir->empty()) return Fail("--keep-temp needs a folder");
    keepTemp = std::filesystem::absolute(*dir);
  }

  // The run plays the editor with a program folder of its own, so that its
  // undo snapshots never meet those of a running editor.
  ScratchFolder home;
  if (!home.Made()) return Fail("cannot make a scratch folder below " + std::filesystem::temp_directory_path().string());
  HeadlessUi ui;
  Application app(ui, home.Path());
  app.MainFilter().SetThreadCount(options.threads);
  if (options.seed) app.MainFilter().SeedRandom(*options.seed);

  // The open's own message box text becomes the one error line.
  ui.EchoMessages = false;
  if (!app.OpenFile(inPath) || !app.GetActiveImage()) {
    std::string why = ui.MessagesShown().empty() ? "" : ": " + ui.MessagesShown().back().Text;
    return Fail("cannot open " + inPath + why);
  }
  ui.EchoMessages = true;
  Document& opened = *app.GetActiveImage();
  cBitRegion selection;
  if (!MakeSelection(args, opened.PictureWidth(), opened.PictureHeight(), selection, error)) return Fail(error);
  if (!selection.IsEmptyRegion()) opened.BitRegion().SetRegion(*selection.Region());

  const auto start = std::chrono::steady_clock::now();
  for (const std::string& word : SplitCommandWords(list)) {
    // An unknown word does nothing, as in the editor: say so, and carry on.
    if (!Application::IsMenuExecWord(word)) {
      std::fprintf(stderr, "kelvane-cli: unknown command word '%s' (nothing done)\n", word.c_str());
      continue;
    }
    app.MenuExec(word);
    for (const std::string& form : ui.TakeFormsShown()) {
      std::fprintf(stderr, "kelvane-cli: command word '%s' opens %s, which needs the editor's window (nothing done)\n",
                   word.c_str(), form.c_str());
    }
  }
  // A paste still floats until the next click: the end of the run is that
  // click, as a tool button's is in the editor.
  if (app.Tools().BeforeToolClick) app.Tools().BeforeToolClick();
  const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();

  Document* result = app.GetActiveImage();
  if (!result || !result->PictureExists()) return Fail("no picture is left to save");
  if (keepTemp && !KeepSnapshots(app, *keepTemp, error)) return Fail(error);
  if (!SavePictureFile(outPath, result->PictureBits(), error)) return Fail(error);
  if (args.Has("time")) std::printf("time: %.3f ms\n", ms);
  return 0;
}

}  // namespace kelvane::cli
