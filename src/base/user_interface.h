// What the model asks of the windowing platform: message boxes and
// questions, file dialogs, yielding to the event loop, the system clipboard,
// the browser, and the modal dialogs it opens. The editor's windows supply
// one implementation; the command-line front end and the tests supply their
// own, which answer questions and dialogs without a screen.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class Bits;

// A message box request: text, title, icon.
enum class MessageIcon { Critical, Exclamation, Information, Question };
struct MessageBoxText {
  std::string Text;
  std::string Title;
  MessageIcon Icon = MessageIcon::Critical;
};
using MessageSink = std::function<void(const MessageBoxText&)>;

// The answers of a Yes/No/Cancel or OK/Cancel question.
enum class Answer { Yes, No, Cancel, Ok };

// One run of a common file dialog. Filter is in the "Text|*.ext|..." form.
struct FileDialogRequest {
  bool Save = false;
  std::string Title;
  std::string Filter;
  std::string DefaultExtension;
  std::filesystem::path InitialFolder;
  std::string FileName;
  int32_t Flags = 0;
};

// The system clipboard, seen as one picture slot. Pictures travel as Bits
// arrays (blue, green, red, spare), frame included as everywhere.
class Clipboard {
 public:
  virtual ~Clipboard() = default;
  virtual bool HasPicture() const = 0;
  // A null array when the clipboard holds no picture.
  virtual Bits Picture() const = 0;
  virtual void SetPicture(const Bits& picture) = 0;
};

// A clipboard that lives in the process: the command-line front end's and
// the tests'.
class MemoryClipboard final : public Clipboard {
 public:
  MemoryClipboard();
  ~MemoryClipboard() override;
  bool HasPicture() const override;
  Bits Picture() const override;
  void SetPicture(const Bits& picture) override;
  void Empty();

 private:
  struct Slot;
  std::unique_ptr<Slot> slot_;
};

class UserInterface {
 public:
  virtual ~UserInterface() = default;
  virtual void Message(const MessageBoxText& message) = 0;
  // A question with Yes, No and Cancel buttons.
  virtual Answer AskYesNoCancel(std::string_view text, std::string_view title) = 0;
  // A question with OK and Cancel buttons.
  virtual Answer AskOkCancel(std::string_view text, std::string_view title) = 0;
  // The chosen path, or nothing when the dialog was cancelled.
  virtual std::optional<std::filesystem::path> ChooseFile(const FileDialogRequest& request) = 0;
  // Lets the event loop run once (repaint, close menus).
  virtual void Yield() = 0;
  virtual void OpenInBrowser(std::string_view address) = 0;
  // Shows a modal dialog or a window by its form name ("fNew", "fFilter",
  // "fBatch" ...). The model has already set the dialog's model up.
  virtual void ShowForm(std::string_view formName) = 0;
  // The text compacted to fit the width in pixels, with an ellipsis in the
  // middle of a path; a headless front end may give the text unchanged.
  virtual std::string CompactPath(std::string_view text, int32_t pixels) = 0;
  virtual Clipboard& SystemClipboard() = 0;

  MessageSink Messages() {
    return [this](const MessageBoxText& m) { Message(m); };
  }
};

}  // namespace kelvane
