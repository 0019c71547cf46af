// The face the command-line front end shows the model in place of windows:
// messages go to stderr as one line each, questions are answered with a fixed
// answer, file dialogs are cancelled unless a path was queued for them, and a
// form that would open is remembered so the caller can say which word needed
// a window.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "base/user_interface.h"

namespace kelvane::cli {

class HeadlessUi final : public UserInterface {
 public:
  // The answer to every Yes/No/Cancel question (No: nothing is saved behind
  // the user's back) and to OK/Cancel ones (Cancel: nothing is reset).
  Answer QuestionAnswer = Answer::No;
  Answer ConfirmAnswer = Answer::Cancel;
  // Messages go to stderr as they come; when off they are only kept.
  bool EchoMessages = true;
  // Paths handed to the next file dialogs, in order; an empty queue cancels.
  std::deque<std::filesystem::path> ChosenFiles;

  // The forms asked for since the last call, and the messages shown.
  std::vector<std::string> TakeFormsShown();
  const std::vector<MessageBoxText>& MessagesShown() const { return messages_; }

  void Message(const MessageBoxText& message) override;
  Answer AskYesNoCancel(std::string_view text, std::string_view title) override;
  Answer AskOkCancel(std::string_view text, std::string_view title) override;
  std::optional<std::filesystem::path> ChooseFile(const FileDialogRequest& request) override;
  void Yield() override {}
  void OpenInBrowser(std::string_view address) override;
  void ShowForm(std::string_view formName) override;
  std::string CompactPath(std::string_view text, int32_t pixels) override { return std::string(text); }
  Clipboard& SystemClipboard() override { return clipboard_; }

 private:
  MemoryClipboard clipboard_;
  std::vector<std::string> forms_;
  std::vector<MessageBoxText> messages_;
};

}  // namespace kelvane::cli
