// Document: the headless state of a document window (fImage). It owns the
// picture (Bits and its BitmapHeader), the bounds and PictureExists flag, the
// selection (BitRegion), the stroke table (DoneBits), the undo history, the
// zoom, the scroll state of the canvas and the texts of the status panels.
// A window shows this state; nothing here draws.
//
// Contract:
//  - iSrc stands for the hidden source picture: a size and, between a
//    creator filling it and SetPicture taking it, a picture (a Bits array of
//    the picture's size, frame unused). PictureWidth and PictureHeight are
//    iSrc's size while PictureExists, otherwise 0.
//  - CreateBlank(W, H) with W or H below 1 changes nothing. Otherwise the
//    picture becomes W x H of zeros, frame included, iSrc takes that size, the
//    bounds become (0, 0, W, H), PictureExists turns true and the view is laid
//    out again. The selection is left alone: callers Init it.
//  - SetPicture copies the 4 * W bytes of each row of iSrc's picture into the
//    rows of a fresh array (the frame stays zero), forgets iSrc's picture but
//    not its size, sets the bounds, runs Init(0, 0, W, H) on the selection and,
//    when asked, records an undo step named "Update from Layers"; then
//    PictureExists turns true and the view is laid out. The scroll values go
//    back to 0 first. An iSrc without size takes nothing (false).
//  - PPicture: a null array runs Clear; otherwise Clear, the array goes into
//    iSrc and SetPicture runs without an undo step.
//  - Bits() hands out a copy; Bits(array) replaces the picture by a copy of
//    the argument only while the document has a picture array, and the header
//    follows the new array. Clear drops the array, turns PictureExists false
//    and resets the canvas and both scroll bars (values, maxima, visibility);
//    the zoom stays.
//  - Zoom: ZoomTable(i) is i for i = 1..15, ZoomIndex starts at 1 and is the
//    factor. ZoomIn/ZoomOut act only while PictureExists and stop at the
//    table's ends; writing ZoomFactor clips to 1..15. Every zoom change hands
//    the factor to the selection and lays the view out.
//  - Layout (UserControl_Resize): does nothing without a picture. When
//    W * z or H * z reaches 32767 the zoom falls back to 1 and the view is laid
//    out at factor 1 (at factor 1 an oversized picture stops the layout with
//    nothing changed, so the fall-back can never loop). A view narrower or
//    lower than twice BarWidth gets no bars: the canvas takes the whole
//    zoomed size and stays hidden, and the bars are hidden with maxima 0.
//    Otherwise the bars are decided as in LayoutView and the canvas shown.
//  - Scroll values are kept within 0..maximum of their bar.
//  - Status texts: panel "Pixel" is W " x " H ("640 x 480") after a layout,
//    W "x" H after an undo or redo that loaded a snapshot; panel "Zoom" is the
//    factor and " : 1" ("3 : 1").
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "document/bit_region.h"
#include "document/bits.h"
#include "document/done_bits.h"
#include "document/painting.h"
#include "document/rect_region.h"
#include "document/undo_history.h"

namespace kelvane {

// ---------------------------------------------------------------------------
// Zoom

inline constexpr int16_t kZoomLower = 1;
inline constexpr int16_t kZoomUpper = 15;
// Entry i (1 to 15) of the zoom table is i; any other index answers 0.
constexpr int16_t ZoomTable(int32_t index) {
  return index >= kZoomLower && index <= kZoomUpper ? static_cast<int16_t>(index) : 0;
}

// Drawing coordinates of the platform are 16-bit: a zoomed side that reaches
// this is refused.
inline constexpr int64_t kZoomedSideLimit = 32767;
inline constexpr int32_t kMinBarWidth = 13;
inline constexpr int32_t kDefaultBarWidth = 17;
// The canvas pointer: 0 the default arrow, 99 the custom (cRelease) picture.
inline constexpr int32_t kPointerDefault = 0;
inline constexpr int32_t kPointerCustom = 99;

// ---------------------------------------------------------------------------
// View geometry, as pure functions

struct ScrollBarLayout {
  bool Visible = false;
  int32_t Left = 0, Top = 0, Width = 0, Height = 0;
  int32_t Max = 0;
  int32_t LargeChange = 1;
  int32_t Value = 0;
};

struct ViewLayoutInput {
  int32_t PictureWidth = 0, PictureHeight = 0;
  int32_t Zoom = 1;
  int32_t AvailWidth = 0, AvailHeight = 0;  // the space of PImage
  int32_t BarWidth = kDefaultBarWidth;
  int32_t HValue = 0, VValue = 0;  // the bars' values before the layout
};

struct ViewLayout {
  // W * z or H * z reached 32767: nothing below is meaningful; the caller
  // falls back to zoom 1.
  bool ZoomTooLarge = false;
  // The view is under twice BarWidth on one axis: no bars, canvas hidden.
  bool TooSmallForBars = false;
  bool DstVisible = false;
  int32_t DstWidth = 0, DstHeight = 0;  // the canvas iDst, placed at (0, 0)
  ScrollBarLayout H, V;                 // hSB below the canvas, vSB right of it
};

// Steps 3 to 8 of UserControl_Resize. The bars: needH when W * z > availW,
// needV when H * z > availH; a bar on one axis narrows the other axis by
// BarWidth, which may make the other bar needed. The canvas is the lesser of
// the zoomed picture and the space left; maximum = zoomed size - canvas size,
// large change = canvas size, values clipped to the maxima.
ViewLayout LayoutView(const ViewLayoutInput& in);

struct PaintViewInput {
  int32_t Zoom = 1;
  int32_t DstWidth = 0, DstHeight = 0;   // iDst
  int32_t SrcWidth = 0, SrcHeight = 0;   // iSrc: the picture's size
  int32_t HValue = 0, HMax = 0, VValue = 0, VMax = 0;
};

// The rectangles of the one stretch that paints the canvas from Bits. The
// source is in buffer coordinates of the stretch call, frame included, its y
// counted from the bottom edge of the buffer.
struct StretchRects {
  int32_t TargetX = 0, TargetY = 0, TargetWidth = 0, TargetHeight = 0;
  int32_t SourceX = 0, SourceY = 0, SourceWidth = 0, SourceHeight = 0;
  bool operator==(const StretchRects&) const = default;
};

// With z the zoom and divisions truncated: a bar with a maximum of 1 or more
// scrolls its axis (target at (-value) mod z, a whole number of zoomed pixels
// plus two more, source from value \ z + 2, or vertically from
// max \ z - value \ z + 1 counted from the bottom); otherwise the axis shows
// the whole picture 1:1 from 2, past the frame.
StretchRects PaintRects(const PaintViewInput& in);

// The picture row of the top of a stretch source rectangle: the stretch
// counts source rows from the bottom of the H + 4 rows of the buffer.
inline int32_t SourceTopPictureRow(int32_t pictureHeight, const StretchRects& r) {
  return pictureHeight + 2 - r.SourceY - r.SourceHeight;
}

// Update_oSrc: the picture of the optimized view centred in its container,
// or at 0 on an axis where it does not fit; the bars H and V show exactly
// where it does not fit.
struct CentredPicture {
  double Left = 0, Top = 0;
  bool HVisible = false, VVisible = false;
};
CentredPicture CentrePicture(double containerWidth, double containerHeight, double pictureWidth,
                             double pictureHeight);

// ---------------------------------------------------------------------------
// Texts

inline constexpr std::string_view kPanelPixel = "Pixel";
inline constexpr std::string_view kPanelZoom = "Zoom";
inline constexpr std::string_view kUpdateFromLayersAction = "Update from Layers";
inline constexpr std::string_view kOriginalAction = "Original";

// Panel "Pixel" after a layout: "640 x 480".
std::string PixelPanelText(int32_t width, int32_t height);
// Panel "Zoom": "3 : 1".
std::string ZoomPanelText(int32_t factor);

// Form_QueryUnload asks only when asking is on, the document is changed and
// UndoPos is at least 2.
bool AskOnClose(bool askSetting, bool changed, int32_t undoPos);
// The question: the caption (already compacted to 400 pixels by the window),
// two line breaks, "This image has changed.", a line break, "Do you want to
// save it ?". Buttons Yes, No, Cancel under the title "Kelvane".
std::string CloseQuestionText(std::string_view compactedCaption);
inline constexpr std::string_view kCloseQuestionTitle = "Kelvane";

// ---------------------------------------------------------------------------
// The three views

enum class ViewTab { Original, Optimize, Layers };

// What a click on a tab shows and enables. Menu names are those of the main
// window's menus; "EDIT" stands for the entries of the EDIT array.
struct TabState {
  std::vector<std::string_view> Visible;
  std::string_view OriginalImage, OptimizeImage, LayersImage;
  std::vector<std::string_view> MenusEnabled;
  std::vector<std::string_view> MenusDisabled;
  std::string_view ToolTipControl, ToolTip;  // empty when the tab sets none
  bool ShowLayerPanel = false;
};
const TabState& TabStateOf(ViewTab tab);

// ---------------------------------------------------------------------------
// The document

class Document {
 public:
  // Form_Load's model part: a fresh selection, ImageID from the counter,
  // HistoryNames(0) = "Original". Snapshots go below appFolder.
  Document(UndoGlobals& globals, std::filesystem::path appFolder);

  // Identity: Tag is the full path, Caption the file name.
  std::string Tag;
  std::string Caption;
  bool Changed = false;
  int32_t ImageID() const { return history_.ImageID(); }

  // --- The picture
  bool CreateBlank(int32_t width, int32_t height);
  // A creator fills iSrc: the picture and its size.
  void SetSourcePicture(const kelvane::Bits& picture);
  bool SourceHasPicture() const { return !srcPicture_.IsNull(); }
  bool SetPicture(bool takeUndo);
  void PPicture(const kelvane::Bits& picture);
  kelvane::Bits Bits() const { return bits_; }
  void Bits(const kelvane::Bits& bits);
  // The picture without a copy, for drawing and reading.
  const kelvane::Bits& PictureBits() const { return bits_; }
  const kelvane::BitmapHeader& BitmapHeader() const { return header_; }
  const Rect& ImageBounds() const { return imageBounds_; }
  bool PictureExists() const { return pictureExists_; }
  int32_t PictureWidth() const { return pictureExists_ ? srcWidth_ : 0; }
  int32_t PictureHeight() const { return pictureExists_ ? srcHeight_ : 0; }
  void Clear();

  // --- Selection, stroke table, painting
  cBitRegion& BitRegion() { return bitRegion_; }
  const cBitRegion& BitRegion() const { return bitRegion_; }
  kelvane::DoneBits& DoneBits() { return doneBits_; }
  // Re-creates DoneBits cleared, sized from iSrc.
  void CreateDoneBitsTable();
  // The face the painting primitives work on; valid while the document lives.
  PaintTarget Target() { return PaintTarget{bits_, bitRegion_, doneBits_, pictureExists_, random_}; }
  PaintRandom& Random() { return random_; }

  // --- Undo
  UndoHistory& History() { return history_; }
  const UndoHistory& History() const { return history_; }
  // Writes the picture under the current action name.
  UndoSaveResult SaveUndoBits();
  bool UndoBits();
  bool RedoBits();
  bool JumpToHistoryRow(int32_t row);

  // --- Zoom
  int16_t ZoomIndex() const { return zoomIndex_; }
  void ZoomIn();
  void ZoomOut();
  int16_t ZoomFactor() const { return zoomIndex_; }
  void ZoomFactor(int32_t factor);
  // The stretch that paints the canvas was refused by the driver.
  void StretchFailed() { ZoomFactor(1); }

  // --- View
  // PImage's available space, set by the window (Form_Resize); lays out.
  void SetViewSize(int32_t availWidth, int32_t availHeight);
  void UserControl_Resize();
  int32_t BarsWidth() const { return barWidth_; }
  void BarsWidth(int32_t width);
  bool MouseScroll() const { return mouseScrollOn_; }
  void MouseScroll(bool on);
  int32_t CanvasPointer() const { return canvasPointer_; }
  bool DstVisible() const { return dstVisible_; }
  int32_t DstWidth() const { return dstWidth_; }
  int32_t DstHeight() const { return dstHeight_; }
  const ScrollBarLayout& HScroll() const { return hSB_; }
  const ScrollBarLayout& VScroll() const { return vSB_; }
  // iSrc's size, then iDst's.
  void GetDimensions(int16_t& srcWidth, int16_t& srcHeight, int16_t& dstWidth, int16_t& dstHeight) const;
  // Both bar values at once (clipped to the bars' ranges).
  void Scroll(int32_t x, int32_t y);
  // A bar's change or track event.
  void SetHScrollValue(int32_t value) { hSB_.Value = ClipToBar(value, hSB_); }
  void SetVScrollValue(int32_t value) { vSB_.Value = ClipToBar(value, vSB_); }
  // The stretch of a repaint; false without a picture (nothing to paint).
  bool PaintRectangles(StretchRects& rects) const;

  // --- Status panels
  const std::string& PixelPanel() const { return pixelPanel_; }
  const std::string& ZoomPanel() const { return zoomPanel_; }
  // Form_Activate rebuilds both panels; the zoom commands the "Zoom" one.
  void RefreshStatusPanels();
  void RefreshZoomPanel() { zoomPanel_ = ZoomPanelText(ZoomTable(zoomIndex_)); }

  // --- Tabs
  ViewTab ActiveTab() const { return activeTab_; }
  const TabState& SelectTab(ViewTab tab) {
    activeTab_ = tab;
    return TabStateOf(tab);
  }

 private:
  static int32_t ClipToBar(int32_t value, const ScrollBarLayout& bar);
  void ZoomChanged();
  void ResetView();
  // After a snapshot of another size replaced the array: what CreateBlank
  // does around it, keeping the loaded pixels.
  void AfterSnapshotLoad(int32_t oldWidth, int32_t oldHeight, bool loaded);

  UndoGlobals& globals_;
  UndoHistory history_;

  kelvane::Bits bits_;
  kelvane::BitmapHeader header_;
  Rect imageBounds_;
  bool pictureExists_ = false;
  cBitRegion bitRegion_;
  kelvane::DoneBits doneBits_;
  PaintRandom random_;

  // iSrc
  int32_t srcWidth_ = 0, srcHeight_ = 0;
  kelvane::Bits srcPicture_;

  int16_t zoomIndex_ = 1;
  int32_t barWidth_ = kDefaultBarWidth;
  bool mouseScrollOn_ = false;
  int32_t canvasPointer_ = kPointerDefault;
  int32_t availWidth_ = 0, availHeight_ = 0;
  bool dstVisible_ = false;
  int32_t dstWidth_ = 0, dstHeight_ = 0;
  ScrollBarLayout hSB_, vSB_;

  std::string pixelPanel_;
  std::string zoomPanel_;
  ViewTab activeTab_ = ViewTab::Original;
};

}  // namespace kelvane
