// The dialogs that turn a picture, fOrientation ("Orientation") and fRotate
// ("Rotate"), without their windows.
//
// Contract:
//  - fOrientation: cbOrientation holds "90", "180", "270", the picture turned
//    by one, two or three quarter turns; nothing chosen (index -1, the state
//    the dialog opens in) turns nothing. The steps, for the preview and for
//    OK alike, are: BitsRotate90 once per quarter turn (each a quarter turn
//    counter-clockwise), then Flip(horizontal = chkFlip(1), vertical =
//    chkFlip(0)) when either box is set. OK stores the result in the
//    document, whose width and height are swapped by an odd number of
//    quarter turns, resets the selection to the whole picture and asks for
//    Update with undo. Cancel changes nothing in the document's Bits; the
//    window puts its own picture back.
//  - fRotate: txtDegrees and sbDegrees (-180 to 180, small change 5) follow
//    each other; a number typed past the scroll bar's range stays in the box
//    and the bar keeps its value. The box's number, rounded, is the angle.
//    cmd45(0) adds 45 and cmd45(1) takes 45 away, then the signed remainder
//    by 180 is kept (the sign of the sum, as the platform's Mod): 135 + 45
//    gives 0, -170 - 45 gives -35. OK hands the angle and chkAntialiasing to
//    the document's RotateImage and closes.
//  - Previews run on the picture the caller gives (a thumbnail of the
//    document) with the whole picture as the region.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "document/bit_region.h"
#include "document/bits.h"
#include "filters/bit_filter.h"
#include "shell/image_dialogs.h"

namespace kelvane {

class fOrientation {
 public:
  static constexpr std::string_view kCaption = "Orientation";
  static constexpr std::string_view kOrientationCaption = "Canvas orientation";
  static constexpr std::array<std::string_view, 3> kOrientationItems = {"90", "180", "270"};
  static constexpr std::string_view kFlipCaption = "Flip image";
  static constexpr std::array<std::string_view, 2> kFlipCaptions = {"Flip &vertical", "Flip &horizontal"};

  int32_t cbOrientation = -1;
  std::array<bool, 2> chkFlip{};  // 0 vertical, 1 horizontal

  // Quarter turns of the chosen item: 1, 2, 3, or 0 with none chosen.
  int32_t QuarterTurns() const;

  // The steps on a copy of `picture`: the preview, or the new document picture.
  Bits Orient(cBitFilter& ImageFilter, const Bits& picture) const;

  DialogResult OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region) const;
};

// What fRotate's OK asks of the document: RotateImage(degrees, antialias).
struct RotateRequest {
  int32_t degrees = 0;
  bool antialias = false;
};

class fRotate {
 public:
  static constexpr std::string_view kCaption = "Rotate";
  static constexpr std::string_view kDegreesCaption = "Degrees";
  static constexpr std::array<std::string_view, 2> k45Captions = {"+ 45\u00BA", "- 45\u00BA"};
  static constexpr std::string_view kAntialiasingCaption = "&Antialiasing";
  static constexpr std::string_view kResizedNote = "Canvas will be resized";
  static constexpr int32_t kMin = -180;
  static constexpr int32_t kMax = 180;
  static constexpr int32_t kSmallChange = 5;
  static constexpr int32_t kLargeChange = 45;

  std::string txtDegrees = "0";
  int32_t sbDegrees = 0;
  bool chkAntialiasing = true;

  int32_t Degrees() const;
  void TypeDegrees(std::string_view text);
  // A move of the scroll bar, held to its range.
  void ScrollDegrees(int32_t value);
  // cmd45 with index 0 ("+ 45º") or 1 ("- 45º").
  void Press45(int32_t index);

  // The preview: RotateSmooth with chkAntialiasing, else ROTATE painting the
  // uncovered corners black, over the whole of `picture`.
  Bits Preview(cBitFilter& engine, const Bits& picture) const;

  RotateRequest OK() const { return RotateRequest{Degrees(), chkAntialiasing}; }
};

}  // namespace kelvane
