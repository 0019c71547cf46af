#include "shell/option_dialogs.h"

#include <algorithm>

#include "shell/number_box.h"

namespace kelvane {

namespace {

int32_t HeldToSide(int32_t value) { return std::clamp(value, fOptions::kMinSide, fOptions::kMaxSide); }

bool InSideRange(int32_t value) { return value >= fOptions::kMinSide && value <= fOptions::kMaxSide; }

}  // namespace

// --- fOptions --------------------------------------------------------------------------

fOptions::fOptions(const StartRecord& record) {
  TypeWidth(NumberBoxText(record.ThumbnailWidth));
  TypeHeight(NumberBoxText(record.ThumbnailHeight));
  optThumbnailQuality = record.ThumbnailQuality == 1 ? 1 : 0;
  chkThumbnailShowFilename = record.ThumbnailShowFilename != 0;
  chkThumbnailShowResolution = record.ThumbnailShowResolution != 0;
  pThumbnailWorkspaceBackground = record.ThumbnailBackground;
}

void fOptions::TypeWidth(std::string_view text) {
  txtThumbnailWidth = std::string(text);
  const int32_t value = NumberBoxInteger(txtThumbnailWidth);
  if (InSideRange(value)) WWS = value;
}

void fOptions::TypeHeight(std::string_view text) {
  txtThumbnailHeight = std::string(text);
  const int32_t value = NumberBoxInteger(txtThumbnailHeight);
  if (InSideRange(value)) HHS = value;
}

void fOptions::ScrollWidth(int32_t value) {
  WWS = HeldToSide(value);
  txtThumbnailWidth = NumberBoxText(WWS);
}

void fOptions::ScrollHeight(int32_t value) {
  HHS = HeldToSide(value);
  txtThumbnailHeight = NumberBoxText(HHS);
}

void fOptions::DragSize(int32_t width, int32_t height) {
  ScrollWidth(width);
  ScrollHeight(height);
}

int32_t fOptions::ThumbWidth() const { return HeldToSide(NumberBoxInteger(txtThumbnailWidth)); }
int32_t fOptions::ThumbHeight() const { return HeldToSide(NumberBoxInteger(txtThumbnailHeight)); }

void fOptions::OK(StartRecord& record) const {
  record.ThumbnailWidth = static_cast<int16_t>(ThumbWidth());
  record.ThumbnailHeight = static_cast<int16_t>(ThumbHeight());
  record.ThumbnailQuality = static_cast<int16_t>(optThumbnailQuality == 1 ? 1 : 0);
  record.ThumbnailShowFilename = chkThumbnailShowFilename ? 1 : 0;
  record.ThumbnailShowResolution = chkThumbnailShowResolution ? 1 : 0;
  record.ThumbnailBackground = pThumbnailWorkspaceBackground;
}

// --- fKeyboard -------------------------------------------------------------------------

const std::vector<std::pair<std::string_view, std::string_view>>& fKeyboard::Rows() {
  static const std::vector<std::pair<std::string_view, std::string_view>> rows = {
      {"New", "Ctrl + N"},
      {"Open", "Ctrl + O"},
      {"Save", "Ctrl + S"},
      {"Save as", "Ctrl + A"},
      {"Print", "Ctrl + P"},
      {"Undo", "Ctrl + Z"},
      {"Redo", "Ctrl + R"},
      {"Cut", "ctrl + X"},
      {"Copy", "Ctrl + C"},
      {"Paste", "Ctrl + V"},
      {"Copy Image to clipboard", "Ctrl + G"},
      {"Create from clipboard", "Ctrl + H"},
      {"Select all", "Ctrl + ins"},
      {"Select None", "Del"},
      {"Select inversion", "Shift + Insert"},
      {"Crop", "Alt + Backspace"},
      {"Create crop as new image", "Shift + Del"},
      {"Image Properties", "F2"},
      {"Size", "ctrl + T"},
      {"Canvas", "Ctrl + B"},
      {"Orientation", "Ctrl + W"},
      {"Rotation", "Ctrl + J"},
      {"Merge Current Layer", "Ctrl + M"},
      {"Show layer", "Ctrl + E"},
      {"Delete Current Layer", "Ctrl + D"},
      {"Lock Layer", "Ctrl + L"},
      {"Invert", "Shift + F1"},
      {"Greyscale", "Shift + F2"},
      {"Relief", "Shift + F3"},
      {"Erode", "Shift + F4"},
      {"Dilate", "Shift + F5"},
      {"Painting", "Shift + F6"},
      {"Edge Enhance", "Shift + F7"},
      {"Halftone", "Shift + Ctrl + F1"},
      {"Pizelize", "Shift + Ctrl + F2"},
      {"Contrast", "Shift + Ctrl + F4"},
      {"Brightness", "Shift + Ctrl + F5"},
      {"Gamma Correction", "Shift + Ctrl + F6"},
      {"Thermique", "Shift + Ctrl + F7"},
      {"X-black", "Shift + Ctrl + F8"},
      {"Photo cop", "Shift + Ctrl + F9"},
      {"Tweak RGB", "Ctrl + F1"},
      {"Old Photo", "Ctrl + F2"},
      {"Colorize", "Ctrl + F3"},
      {"Sketch", "Ctrl + F4"},
      {"Isolate", "Ctrl + F5"},
      {"Shift", "Ctrl + F6"},
      {"Sepia tone", "Ctrl + F7"},
      {"Hue Stretch", "Ctrl + F8"},
      {"Hue Rotation", "Ctrl + F9"},
      {"Grey Rotation", "Ctrl + F11"},
      {"Capture Desktop", "Shift + F8"},
      {"Set Wallpaper - Tile", "Shift + F9"},
      {"Set Wallpaper - center", "Shift + F11"},
      {"Set Wallpaper - Stretch", "Shift + F12"},
      {"Reset All", "F11"},
      {"Help", "F1"},
      {"FAQ's", "Ctrl + F"},
  };
  return rows;
}

std::string fKeyboard::Text() {
  std::string text;
  for (const auto& [name, keys] : Rows()) {
    if (!text.empty()) text += '\n';
    text += name;
    if (name.size() < kKeyColumn) text.append(kKeyColumn - name.size(), '-');
    text += keys;
  }
  return text;
}

}  // namespace kelvane
