// QtUserInterface: what the Application asks of the platform, on Qt widgets:
// message boxes and questions, the common file dialogs, the event loop, the
// browser, the modal forms and the system clipboard.
//
// Contract:
//  - Message shows a QMessageBox with the text, title and icon asked for and
//    one OK button. AskYesNoCancel and AskOkCancel show the question icon;
//    closing the box by its frame answers Cancel.
//  - ChooseFile runs a non-native QFileDialog with the request's title,
//    initial folder, file name and filter; the filter's "Text|*.a;*.b|..."
//    pairs become Qt's "Text (*.a *.b);;..." (QtNameFilters). An open dialog
//    in explorer style (flag 0x80000, the open command's picture dialog)
//    carries the preview pane. A save dialog asks before overwriting.
//  - Yield runs the event loop once; OpenInBrowser hands a path or address to
//    the desktop; CompactPath elides the middle of the text to the width with
//    the owner's font.
//  - ShowForm makes the form's dialog through the factory set by the owner
//    and runs it modally over the owner; a form the factory does not know
//    shows nothing.
//  - The clipboard carries pictures as QImage; Bits travel without their
//    frame, the spare byte left out.
//  - Test seam: with a script set, each hook that is set answers in place of
//    the widget it stands for (no window is shown); a form's dialog is shown
//    without a modal loop, handed to the Dialog hook, and rejected if the
//    hook left it open.
#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/user_interface.h"
#include "document/bits.h"

class QDialog;
class QWidget;

namespace kelvane {

// "Text|*.a;*.b|Other|*.c" -> {"Text (*.a *.b)", "Other (*.c)"}; patterns are
// kept as written, so a slip such as "*.rgb,*.rgba" stays one pattern.
QStringList QtNameFilters(std::string_view filter);

// Pictures go to QImage through ImageFromBits (boxes/picture_convert.h).
// Any QImage to a new array of its size; a null array for a null image.
Bits ImageToBits(const QImage& image);

// The system clipboard through QClipboard.
class QtClipboard final : public Clipboard {
 public:
  bool HasPicture() const override;
  Bits Picture() const override;
  void SetPicture(const Bits& picture) override;
};

// Answers given in place of the widgets, for the tests.
struct ScriptedAnswers {
  std::function<void(const MessageBoxText&)> Message;
  std::function<Answer(std::string_view text, std::string_view title)> YesNoCancel;
  std::function<Answer(std::string_view text, std::string_view title)> OkCancel;
  std::function<std::optional<std::filesystem::path>(const FileDialogRequest&)> ChooseFile;
  std::function<void(std::string_view address)> Browser;
  // The form's dialog, shown; the hook may fill it in and press its buttons.
  std::function<void(QDialog& dialog, std::string_view form)> Dialog;
};

class QtUserInterface final : public UserInterface {
 public:
  using FormFactory = std::function<std::unique_ptr<QDialog>(std::string_view form, QWidget* owner)>;

  QtUserInterface();
  ~QtUserInterface() override;

  // The window the boxes and dialogs belong to (the frame).
  void SetOwner(QWidget* owner);
  QWidget* Owner() const;
  void SetFormFactory(FormFactory factory) { formFactory_ = std::move(factory); }
  void SetScript(std::shared_ptr<ScriptedAnswers> script) { script_ = std::move(script); }
  const std::shared_ptr<ScriptedAnswers>& Script() const { return script_; }

  void Message(const MessageBoxText& message) override;
  Answer AskYesNoCancel(std::string_view text, std::string_view title) override;
  Answer AskOkCancel(std::string_view text, std::string_view title) override;
  std::optional<std::filesystem::path> ChooseFile(const FileDialogRequest& request) override;
  void Yield() override;
  void OpenInBrowser(std::string_view address) override;
  void ShowForm(std::string_view formName) override;
  std::string CompactPath(std::string_view text, int32_t pixels) override;
  Clipboard& SystemClipboard() override { return clipboard_; }

  // Runs a dialog modally, or through the script's Dialog hook.
  void RunDialog(QDialog& dialog, std::string_view form);

 private:
  QPointer<QWidget> owner_;
  FormFactory formFactory_;
  std::shared_ptr<ScriptedAnswers> script_;
  QtClipboard clipboard_;
};

}  // namespace kelvane
