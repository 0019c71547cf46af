// The size dialogs fNew ("New Document"), fSize ("Image size") and fCanvas
// ("Canvas size") without their windows: the controls' values, what a change
// of one control does to the others, and what OK does to a document's
// pixels. A window binds its controls to the public fields, feeds user edits
// through the event methods, shows DialogResult::message in a message box
// titled kProductTitle when it is not empty, and hides itself when `closed`.
//
// Contract:
//  - Size boxes: their key filter is KeyNum; their text is read by
//    NumberBoxInteger, so an empty box reads 0.
//  - Keep proportions: while chkKeepProportions is set, a user change of one
//    box writes the other as Round(value * other original / this original),
//    the multiplication first and ties to even (width 5 on a 4 x 2 original
//    gives height Round(2.5) = 2, width 7 gives 4). The guard flag `Changing`
//    is up while the second box is written, so that write does not feed back
//    into the first. An original side of 0 leaves the other box alone.
//  - Size test: OK with a width or height below 2 returns the message
//    "Minimum size: 2 x 2", leaves `closed` false and changes nothing.
//  - OK hands the document's Bits to the engine, builds the new array
//    (BitsResample or BitsResize, TileMask on a blank, NewDoc), stores it in
//    the document's Bits, resets the selection with Init to the whole new
//    picture and tells the engine the region in effect (RegionMain). The
//    document then runs Update with an undo state (`takeUndo`) and shows
//    `statusSize` in its "Size" field; the dialogs never touch the undo files.
//  - A blank made for a new size is zero in all four bytes, frame included,
//    as CreateBlank leaves it.
//  - Cancel only closes; no model method is needed for it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/bit_region.h"
#include "document/bits.h"
#include "filters/bit_filter.h"

namespace kelvane {

inline constexpr std::string_view kMinimumSizeMessage = "Minimum size: 2 x 2";

// What OK (or another closing button) asks of the window and the document.
struct DialogResult {
  bool closed = false;      // the dialog hides
  std::string message;      // a message box to show first; empty for none
  bool takeUndo = false;    // the document runs Update with an undo state
  std::string statusSize;   // the "Size" status text, "W x H"; empty for none
};

// The size test shared by the three size dialogs: false, with the message,
// when either side is below 2.
bool SizeTest(int32_t width, int32_t height, std::string& message);

// "W x H", the size text of the status bar and of the standard sizes list.
std::string SizeText(int32_t width, int32_t height);

// CreateBlank's array: a zero-filled W x H array; nothing happens when either
// side is below 1.
void CreateBlank(Bits& bits, int32_t width, int32_t height);

// txtW, txtH and chkKeepProportions with the proportion rule and its guard.
struct SizeBoxes {
  std::string txtW;
  std::string txtH;
  bool chkKeepProportions = false;
  // The sides whose ratio the proportion rule keeps.
  int32_t OriginalWidth = 0;
  int32_t OriginalHeight = 0;
  // Up while one box writes the other.
  bool Changing = false;

  int32_t Width() const;
  int32_t Height() const;
  // A user change of a box's text, with the proportion rule.
  void TypeWidth(std::string_view text);
  void TypeHeight(std::string_view text);
  // A program change of both boxes, under the guard: neither feeds the other.
  void Write(int32_t width, int32_t height);
};

// --- fNew ----------------------------------------------------------------------

// "New Document". One object lives for the whole run (the window is hidden,
// not unloaded), so sizes added to cbDefault by OK stay in the list until
// the program ends; the list is never stored.
class fNew {
 public:
  static constexpr std::string_view kCaption = "New Document";
  static constexpr std::string_view kStandardSizesCaption = "Standard sizes";
  static constexpr std::string_view kCustomFrameCaption = "Custom:";
  static constexpr std::string_view kKeepProportionsCaption = "&Keep proportions";
  static constexpr std::string_view kBackgroundCaption = "Image Background";
  static constexpr std::array<std::string_view, 3> kBackgroundCaptions = {"White", "Transparent", "Custom..."};
  // The new document's name (made unique by MakeUniqueDocumentName) and caption.
  static constexpr std::string_view kDocumentName = "New.bmp";
  static constexpr std::string_view kDocumentCaption = "New Image Document";
  // The list the window opens with; item 0 is "Custom...".
  static const std::vector<std::string>& StandardSizes();

  enum Background : int32_t { White = 0, Transparent = 1, Custom = 2 };

  // The load of the window: custom colour white, option "White", and the size
  // of cbDefault's current item ("640 x 480").
  fNew();

  std::vector<std::string> cbDefault;
  int32_t cbDefaultIndex = 0;
  SizeBoxes size;
  int32_t OP = White;
  int32_t CP = 0xFFFFFF;  // the custom colour, 0x00BBGGRR

  // A choice in cbDefault: the item split on " x " fills the boxes; index 0
  // "Custom..." leaves them alone. The chosen size becomes the ratio kept by
  // chkKeepProportions.
  void ChooseStandardSize(int32_t index);
  // Typing in a box sets cbDefault to "Custom..." and keeps proportions when
  // asked.
  void TypeWidth(std::string_view text);
  void TypeHeight(std::string_view text);
  // Setting the box takes the sizes now shown as the ratio to keep.
  void SetKeepProportions(bool on);
  void SetBackground(int32_t option) { OP = option; }
  // ColorPick: the colour chosen in the colour dialog for CP.
  void ColorPick(int32_t colour) { CP = colour; }

  // OK: the size test; the size text joins cbDefault if it is new; then the
  // new document's picture: CreateBlank at the size into `bits`, Init of
  // `region`, the engine takes both, and the background is filled by NewDoc
  // (255, 255, 255 for "White", CP's bytes for "Custom...", nothing for
  // "Transparent"). The caller has made the new document whose Bits and
  // region these are; it names it, saves its first undo state
  // (SaveUndoBits), updates the layer bitmap and shows it.
  DialogResult OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region);
};

// --- fSize ---------------------------------------------------------------------

class fSize {
 public:
  static constexpr std::string_view kCaption = "Image size";
  static constexpr std::string_view kKeepProportionsCaption = "&Keep proportions";
  static constexpr std::string_view kQuickCaption = "Quick";
  static constexpr std::array<std::string_view, 4> kPreDefItems = {"1.5 *", "2.0 *", "1.5 /", "2.0 /"};
  // The factors behind cbPreDef: "1.5 /" is times 0.75, not a division by 1.5.
  static constexpr std::array<double, 4> kPreDefFactors = {1.5, 2, 0.75, 0.5};
  static constexpr std::string_view kInterpolateCaption = "&Anti-Alias";

  // Opens on the picture's size, proportions kept, anti-aliasing on.
  fSize(int32_t width, int32_t height);

  SizeBoxes size;
  int32_t cbPreDefIndex = -1;
  bool chkInterpolate = true;

  void TypeWidth(std::string_view text) { size.TypeWidth(text); }
  void TypeHeight(std::string_view text) { size.TypeHeight(text); }
  // Both boxes become Round(original side * factor).
  void ChoosePreset(int32_t index);

  // OK: the size test, then BitsResample (chkInterpolate) or BitsResize of
  // the document's picture to the boxes' size, CreateBlank, the result into
  // `bits`, Init of `region`, the engine told; Update with undo.
  DialogResult OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region);
};

// --- fCanvas -------------------------------------------------------------------

// iCnv and iImg as drawn in the window's box: the canvas scaled to fit the
// box and centred in it, the picture at its offset on it, in box pixels.
struct CanvasView {
  double scale = 0;  // box pixels per picture pixel
  Rect iCnv;
  Rect iImg;
};

class fCanvas {
 public:
  static constexpr std::string_view kCaption = "Canvas size";
  static constexpr std::string_view kKeepProportionsCaption = "Proportions";
  static constexpr std::string_view kDefinedCaption = "Defined";
  static constexpr std::array<std::string_view, 6> kPreDefItems = {"1 +", "2 +", "3 +", "1 -", "2 -", "3 -"};
  // What cbPreDef adds to each side of the picture's size.
  static constexpr std::array<int32_t, 6> kPreDefSteps = {2, 4, 6, -2, -4, -6};

  // Opens on the picture's size with the picture at (0, 0).
  fCanvas(int32_t width, int32_t height);

  SizeBoxes size;
  int32_t cbPreDefIndex = -1;
  // The place of the old picture's top-left corner on the new canvas, in
  // picture pixels; negative or past the canvas when dragged off it.
  int32_t OffsetX = 0;
  int32_t OffsetY = 0;

  // Each change of size centres the picture on the new canvas:
  // offset = Round((new side - old side) / 2), ties to even (a canvas 3
  // wider puts it at 2, one 1 wider at 0, one 3 narrower at -2).
  void TypeWidth(std::string_view text);
  void TypeHeight(std::string_view text);
  // Both sides become the picture's sides plus the preset's step.
  void ChoosePreset(int32_t index);
  void CentrePicture();

  // The view in a box of boxWidth x boxHeight pixels: scale = the smaller of
  // boxWidth / canvas width and boxHeight / canvas height; iCnv is the canvas
  // at that scale centred in the box; iImg is the picture, its left
  // iCnv.left + Round(OffsetX * scale), its width Round(width * scale), and
  // likewise down. A canvas side below 1 gives an empty view.
  CanvasView View(int32_t boxWidth, int32_t boxHeight) const;
  // A drag of iImg to (left, top) in the box: the left, top and size of iImg
  // give the place of the picture, OffsetX = Round((left - iCnv.left) *
  // picture width / iImg width), and likewise down.
  void DragImage(int32_t left, int32_t top, int32_t boxWidth, int32_t boxHeight);

  // OK: the size test, then the document's picture is laid by TileMask (once,
  // opacity 0, no transparent colour) at the offset on a blank of the new
  // size; what falls outside the canvas is lost, the uncovered canvas stays
  // zero. `region` is Init to the new picture and the engine told; Update
  // with undo.
  DialogResult OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region);
};

}  // namespace kelvane
