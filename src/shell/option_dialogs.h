// fOptions ("Thumbnails Options") and fKeyboard ("Keyboard Shortcuts")
// without their windows.
//
// Contract:
//  - fOptions opens on the thumbnail fields of the settings record:
//    ThumbnailWidth, ThumbnailHeight, ThumbnailQuality, ThumbnailShowFilename,
//    ThumbnailShowResolution, ThumbnailBackground. The size boxes and the
//    scroll bars WWS and HHS (kMinSide to kMaxSide) follow each other: a
//    number typed past the bars' range stays in the box and the bar keeps
//    its value; a drag of the sample box's handles writes both. OK writes the
//    fields back (a box's number held to the bars' range, a check box as the
//    byte 1 or 0, the quality 0 "Normal" or 1 "Resample") and asks the
//    browser box to redraw its thumbnails; Cancel drops the changes.
//    ThumbnailBorder is neither shown nor written.
//  - fKeyboard's text is fixed: one line per shortcut, the name, dashes up to
//    column 26, then the keys; lines end with "\n" except the last. Names
//    and keys stand as the menus have always shown them ("Cut ctrl + X",
//    "Pizelize", "FAQ's").
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "shell/start_record.h"

namespace kelvane {

class fOptions {
 public:
  static constexpr std::string_view kCaption = "Thumbnails Options";
  static constexpr std::array<std::string_view, 2> kQualityCaptions = {"Normal", "Resample"};
  static constexpr std::string_view kShowFilenameCaption = "Show Filename";
  static constexpr std::string_view kShowResolutionCaption = "Show Resolution";
  static constexpr std::string_view kWorkspaceCaption = "Workspace";
  // The range of WWS and HHS, in pixels.
  static constexpr int32_t kMinSide = 16;
  static constexpr int32_t kMaxSide = 256;

  // The load: the record's thumbnail fields into the controls.
  explicit fOptions(const StartRecord& record);

  std::string txtThumbnailWidth;
  std::string txtThumbnailHeight;
  int32_t WWS = kMinSide;
  int32_t HHS = kMinSide;
  int32_t optThumbnailQuality = 0;
  bool chkThumbnailShowFilename = false;
  bool chkThumbnailShowResolution = false;
  int32_t pThumbnailWorkspaceBackground = 0;  // 0x00BBGGRR

  void TypeWidth(std::string_view text);
  void TypeHeight(std::string_view text);
  void ScrollWidth(int32_t value);
  void ScrollHeight(int32_t value);
  // The handles picSize dragged to a sample box of width x height pixels.
  void DragSize(int32_t width, int32_t height);

  // The sample box picThumb: the boxes' numbers held to the bars' range.
  int32_t ThumbWidth() const;
  int32_t ThumbHeight() const;

  // OK: the fields written back; the browser box then redraws.
  void OK(StartRecord& record) const;
};

class fKeyboard {
 public:
  static constexpr std::string_view kCaption = "Keyboard Shortcuts";
  static constexpr std::string_view kFont = "Lucida Console";
  static constexpr std::string_view kExitCaption = "Exit";
  // The column the dashes run to; the keys start in the next one.
  static constexpr size_t kKeyColumn = 26;

  // (name, keys) in the order shown.
  static const std::vector<std::pair<std::string_view, std::string_view>>& Rows();
  // The text of the read-only box.
  static std::string Text();
};

}  // namespace kelvane
