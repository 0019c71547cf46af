#include "headless_ui.h"

#include <cstdio>

namespace kelvane::cli {

namespace {
// Message texts may hold line breaks; stderr gets one line per message.
std::string OneLine(std::string_view text) {
  std::string line;
  for (char c : text) {
    if (c == '\r') continue;
    if (c == '\n') {
      if (!line.empty() && line.back() != ' ') line += ' ';
      continue;
    }
    line += c;
  }
  return line;
}
}  // namespace

std::vector<std::string> HeadlessUi::TakeFormsShown() {
  std::vector<std::string> forms;
  forms.swap(forms_);
  return forms;
}

void HeadlessUi::Message(const MessageBoxText& message) {
  messages_.push_back(message);
  if (!EchoMessages) return;
  std::fprintf(stderr, "kelvane-cli: %s: %s\n", message.Title.c_str(), OneLine(message.Text).c_str());
}

Answer HeadlessUi::AskYesNoCancel(std::string_view text, std::string_view title) { return QuestionAnswer; }

Answer HeadlessUi::AskOkCancel(std::string_view text, std::string_view title) { return ConfirmAnswer; }

std::optional<std::filesystem::path> HeadlessUi::ChooseFile(const FileDialogRequest& request) {
  if (ChosenFiles.empty()) return std::nullopt;
  std::filesystem::path path = ChosenFiles.front();
  ChosenFiles.pop_front();
  return path;
}

void HeadlessUi::OpenInBrowser(std::string_view address) {
  std::fprintf(stderr, "kelvane-cli: would open %.*s in the browser\n", static_cast<int>(address.size()),
               address.data());
}

void HeadlessUi::ShowForm(std::string_view formName) { forms_.emplace_back(formName); }

}  // namespace kelvane::cli
