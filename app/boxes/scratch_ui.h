// A quiet UserInterface and a scratch application folder, for the screenshot
// hooks that show the tool strip and the side boxes over an Application of
// their own: messages are dropped, questions answer Cancel, file dialogs are
// cancelled. The folder is made below the system's temporary folder and
// removed with everything in it when the object goes.
#pragma once

#include <QTemporaryDir>
#include <filesystem>
#include <string>

#include "base/user_interface.h"

namespace kelvane {

class ScratchUi final : public UserInterface {
 public:
  void Message(const MessageBoxText&) override {}
  Answer AskYesNoCancel(std::string_view, std::string_view) override { return Answer::Cancel; }
  Answer AskOkCancel(std::string_view, std::string_view) override { return Answer::Cancel; }
  std::optional<std::filesystem::path> ChooseFile(const FileDialogRequest&) override { return std::nullopt; }
  void Yield() override {}
  void OpenInBrowser(std::string_view) override {}
  void ShowForm(std::string_view) override {}
  std::string CompactPath(std::string_view text, int32_t) override { return std::string(text); }
  Clipboard& SystemClipboard() override { return clipboard_; }

 private:
  MemoryClipboard clipboard_;
};

class ScratchFolder {
 public:
  ScratchFolder() : dir_(QDir::tempPath() + "/kelvane-scratch-XXXXXX") {}
  std::filesystem::path Path() const { return std::filesystem::path(dir_.path().toStdString()); }

 private:
  QTemporaryDir dir_;
};

}  // namespace kelvane
