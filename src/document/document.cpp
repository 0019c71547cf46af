#include "document/document.h"

#include <cstring>
#include <utility>

namespace kelvane {

// ---------------------------------------------------------------------------
// View geometry

ViewLayout LayoutView(const ViewLayoutInput& in) {
  ViewLayout out;
  const int32_t z = in.Zoom;
  const int64_t zoomedW = static_cast<int64_t>(in.PictureWidth) * z;
  const int64_t zoomedH = static_cast<int64_t>(in.PictureHeight) * z;
  if (zoomedW >= kZoomedSideLimit || zoomedH >= kZoomedSideLimit) {
    out.ZoomTooLarge = true;
    return out;
  }
  const int32_t zw = static_cast<int32_t>(zoomedW);
  const int32_t zh = static_cast<int32_t>(zoomedH);
  const int32_t bar = in.BarWidth;

  if (in.AvailWidth < 2 * bar || in.AvailHeight < 2 * bar) {
    // Too small for bars: the canvas takes its whole zoomed size, and the
    // layout stops before the canvas is shown again.
    out.TooSmallForBars = true;
    out.DstVisible = false;
    out.DstWidth = zw;
    out.DstHeight = zh;
    return out;
  }

  bool needH = zw > in.AvailWidth;
  bool needV = zh > in.AvailHeight;
  // A bar on one axis takes BarWidth from the other, which may then need its
  // own bar too.
  if (needH && !needV) needV = zh > in.AvailHeight - bar;
  if (needV && !needH) needH = zw > in.AvailWidth - bar;

  const int32_t spaceW = in.AvailWidth - (needV ? bar : 0);
  const int32_t spaceH = in.AvailHeight - (needH ? bar : 0);
  out.DstWidth = zw < spaceW ? zw : spaceW;
  out.DstHeight = zh < spaceH ? zh : spaceH;
  out.DstVisible = true;

  out.H.Visible = needH;
  out.H.Left = 0;
  out.H.Top = out.DstHeight;
  out.H.Width = out.DstWidth;
  out.H.Height = bar;
  out.H.Max = zw - out.DstWidth;
  out.H.LargeChange = out.DstWidth;
  out.H.Value = in.HValue > out.H.Max ? out.H.Max : in.HValue;

  out.V.Visible = needV;
  out.V.Left = out.DstWidth;
  out.V.Top = 0;
  out.V.Width = bar;
  out.V.Height = out.DstHeight;
  out.V.Max = zh - out.DstHeight;
  out.V.LargeChange = out.DstHeight;
  out.V.Value = in.VValue > out.V.Max ? out.V.Max : in.VValue;
  return out;
}

StretchRects PaintRects(const PaintViewInput& in) {
  StretchRects r;
  const int32_t z = in.Zoom < 1 ? 1 : in.Zoom;
  if (in.HMax >= 1) {
    // C++ % keeps the sign of the dividend, as the platform's Mod does.
    r.TargetX = (-in.HValue) % z;
    r.TargetWidth = (in.DstWidth / z) * z + 2 * z;
    r.SourceX = in.HValue / z + 2;
    r.SourceWidth = in.DstWidth / z + 2;
  } else {
    r.TargetX = 0;
    r.TargetWidth = in.DstWidth;
    r.SourceX = 2;
    r.SourceWidth = in.SrcWidth;
  }
  if (in.VMax >= 1) {
    r.TargetY = (-in.VValue) % z;
    r.TargetHeight = ((in.DstHeight - 1) / z) * z + 2 * z;
    r.SourceY = in.VMax / z - in.VValue / z + 1;
    r.SourceHeight = (in.DstHeight - 1) / z + 2;
  } else {
    r.TargetY = 0;
    r.TargetHeight = in.DstHeight;
    r.SourceY = 2;
    r.SourceHeight = in.SrcHeight;
  }
  return r;
}

CentredPicture CentrePicture(double containerWidth, double containerHeight, double pictureWidth,
                             double pictureHeight) {
  CentredPicture c;
  c.HVisible = pictureWidth > containerWidth;
  c.VVisible = pictureHeight > containerHeight;
  c.Left = c.HVisible ? 0 : (containerWidth - pictureWidth) / 2;
  c.Top = c.VVisible ? 0 : (containerHeight - pictureHeight) / 2;
  return c;
}

// ---------------------------------------------------------------------------
// Texts

std::string PixelPanelText(int32_t width, int32_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

std::string ZoomPanelText(int32_t factor) { return std::to_string(factor) + " : 1"; }

bool AskOnClose(bool askSetting, bool changed, int32_t undoPos) { return askSetting && changed && undoPos >= 2; }

std::string CloseQuestionText(std::string_view compactedCaption) {
  std::string text(compactedCaption);
  text += "\n\nThis image has changed.\nDo you want to save it ?";
  return text;
}

// ---------------------------------------------------------------------------
// Tabs

const TabState& TabStateOf(ViewTab tab) {
  static const TabState original{
      {"PImage"},
      "orw",
      "opg",
      "Lag",
      {"mnuEdit", "EDIT", "mnuAdjust", "mnuFilters1", "mnuFilters2", "mnuDistortions", "mnuDeformations",
       "mnuColors1", "mnuColors2", "mnuWallpaper", "mnuCapture", "mnuTools"},
      {"mnuLayers"},
      {},
      {},
      false};
  static const TabState optimize{
      {"oImage", "oSrc"},
      "org",
      "opw",
      "Lag",
      {},
      {"mnuEdit", "EDIT", "mnuAdjust", "mnuFilters1", "mnuFilters2", "mnuDistortions", "mnuDeformations",
       "mnuColors1", "mnuColors2", "mnuWallpaper", "mnuCapture", "mnuTools", "mnuLayers"},
      "oSrc",
      "New Optimized Image",
      false};
  static const TabState layers{
      {"picFrame"},
      "org",
      "opg",
      "Law",
      {"mnuEdit", "EDIT", "mnuLayers", "mnuFilters1", "mnuDistortions", "mnuWallpaper", "mnuCapture", "mnuTools"},
      {"mnuAdjust", "mnuFilters2", "mnuDeformations", "mnuColors1", "mnuColors2"},
      "picLayer",
      "New Layered Image",
      true};
  switch (tab) {
    case ViewTab::Optimize:
      return optimize;
    case ViewTab::Layers:
      return layers;
    case ViewTab::Original:
    default:
      return original;
  }
}

// ---------------------------------------------------------------------------
// Document

Document::Document(UndoGlobals& globals, std::filesystem::path appFolder)
    : globals_(globals), history_(globals, std::move(appFolder)) {}

bool Document::CreateBlank(int32_t width, int32_t height) {
  if (width < 1 || height < 1) return false;
  bits_.Reset(width, height);
  header_ = bits_.Header();
  srcWidth_ = width;
  srcHeight_ = height;
  imageBounds_ = Rect{0, 0, width, height};
  pictureExists_ = true;
  UserControl_Resize();
  return true;
}

void Document::SetSourcePicture(const kelvane::Bits& picture) {
  srcPicture_ = picture;
  srcWidth_ = picture.IsNull() ? 0 : picture.Width();
  srcHeight_ = picture.IsNull() ? 0 : picture.Height();
}

bool Document::SetPicture(bool takeUndo) {
  const int32_t w = srcWidth_;
  const int32_t h = srcHeight_;
  if (w < 1 || h < 1) return false;
  hSB_.Value = 0;
  vSB_.Value = 0;

  bits_.Reset(w, h);
  header_ = bits_.Header();
  // Rows move in one copy each; a picture that does not cover iSrc's size
  // leaves the rest zero, as a failed read of the picture would.
  if (!srcPicture_.IsNull()) {
    const int32_t copyW = srcPicture_.Width() < w ? srcPicture_.Width() : w;
    const int32_t copyH = srcPicture_.Height() < h ? srcPicture_.Height() : h;
    for (int32_t y = 0; y < copyH; ++y) std::memcpy(bits_.Row(y), srcPicture_.Row(y), 4 * static_cast<size_t>(copyW));
  }
  srcPicture_ = kelvane::Bits();

  imageBounds_ = Rect{0, 0, w, h};
  bitRegion_.Init(0, 0, w, h);
  if (takeUndo) {
    globals_.LastCommandCaption = std::string(kUpdateFromLayersAction);
    SaveUndoBits();
  }
  pictureExists_ = true;
  UserControl_Resize();
  return true;
}

void Document::PPicture(const kelvane::Bits& picture) {
  Clear();
  if (picture.IsNull()) return;
  SetSourcePicture(picture);
  SetPicture(false);
}

void Document::Bits(const kelvane::Bits& bits) {
  if (bits_.IsNull()) return;
  bits_ = bits;
  header_ = bits_.Header();
}

void Document::Clear() {
  bits_ = kelvane::Bits();
  pictureExists_ = false;
  ResetView();
}

void Document::ResetView() {
  hSB_ = ScrollBarLayout{};
  vSB_ = ScrollBarLayout{};
  dstVisible_ = false;
  dstWidth_ = 0;
  dstHeight_ = 0;
}

void Document::CreateDoneBitsTable() { doneBits_.Create(PictureWidth(), PictureHeight()); }

UndoSaveResult Document::SaveUndoBits() { return history_.SaveUndoBits(bits_); }

void Document::AfterSnapshotLoad(int32_t oldWidth, int32_t oldHeight, bool loaded) {
  if (!loaded) return;
  const int32_t w = bits_.Width();
  const int32_t h = bits_.Height();
  if (w != oldWidth || h != oldHeight) {
    // CreateBlank at the snapshot's size, keeping the pixels just loaded.
    header_ = bits_.Header();
    srcWidth_ = w;
    srcHeight_ = h;
    imageBounds_ = Rect{0, 0, w, h};
    pictureExists_ = true;
    UserControl_Resize();
  }
  pixelPanel_ = UndoPixelText(w, h);
}

bool Document::UndoBits() {
  const int32_t w = bits_.IsNull() ? 0 : bits_.Width(), h = bits_.IsNull() ? 0 : bits_.Height();
  const bool loaded = history_.UndoBits(bits_, bitRegion_);
  AfterSnapshotLoad(w, h, loaded);
  return loaded;
}

bool Document::RedoBits() {
  const int32_t w = bits_.IsNull() ? 0 : bits_.Width(), h = bits_.IsNull() ? 0 : bits_.Height();
  const bool loaded = history_.RedoBits(bits_, bitRegion_);
  AfterSnapshotLoad(w, h, loaded);
  return loaded;
}

bool Document::JumpToHistoryRow(int32_t row) {
  const int32_t w = bits_.IsNull() ? 0 : bits_.Width(), h = bits_.IsNull() ? 0 : bits_.Height();
  const bool loaded = history_.JumpToHistoryRow(row, bits_, bitRegion_);
  AfterSnapshotLoad(w, h, loaded);
  return loaded;
}

void Document::ZoomChanged() {
  bitRegion_.SetZoomFactor(static_cast<float>(ZoomTable(zoomIndex_)));
  UserControl_Resize();
}

void Document::ZoomIn() {
  if (!pictureExists_) return;
  if (zoomIndex_ < kZoomUpper) ++zoomIndex_;
  ZoomChanged();
}

void Document::ZoomOut() {
  if (!pictureExists_) return;
  if (zoomIndex_ > kZoomLower) --zoomIndex_;
  ZoomChanged();
}

void Document::ZoomFactor(int32_t factor) {
  if (factor < kZoomLower) factor = kZoomLower;
  if (factor > kZoomUpper) factor = kZoomUpper;
  zoomIndex_ = static_cast<int16_t>(factor);
  ZoomChanged();
}

void Document::SetViewSize(int32_t availWidth, int32_t availHeight) {
  availWidth_ = availWidth;
  availHeight_ = availHeight;
  UserControl_Resize();
}

void Document::UserControl_Resize() {
  if (!pictureExists_) return;
  ViewLayoutInput in;
  in.PictureWidth = PictureWidth();
  in.PictureHeight = PictureHeight();
  in.Zoom = ZoomTable(zoomIndex_);
  in.AvailWidth = availWidth_;
  in.AvailHeight = availHeight_;
  in.BarWidth = barWidth_;
  in.HValue = hSB_.Value;
  in.VValue = vSB_.Value;
  const ViewLayout layout = LayoutView(in);
  if (layout.ZoomTooLarge) {
    // Back to factor 1, which lays the view out again; at factor 1 there is
    // nothing further to fall back to.
    if (zoomIndex_ != 1) ZoomFactor(1);
    return;
  }
  dstVisible_ = layout.DstVisible;
  dstWidth_ = layout.DstWidth;
  dstHeight_ = layout.DstHeight;
  if (layout.TooSmallForBars) {
    hSB_ = ScrollBarLayout{};
    vSB_ = ScrollBarLayout{};
    return;
  }
  hSB_ = layout.H;
  vSB_ = layout.V;
  pixelPanel_ = PixelPanelText(in.PictureWidth, in.PictureHeight);
  if (mouseScrollOn_ && (hSB_.Visible || vSB_.Visible)) canvasPointer_ = kPointerCustom;
}

void Document::BarsWidth(int32_t width) {
  barWidth_ = width < 14 ? kMinBarWidth : width;
  UserControl_Resize();
}

void Document::MouseScroll(bool on) {
  mouseScrollOn_ = on;
  canvasPointer_ = on && (hSB_.Max >= 1 || vSB_.Max >= 1) ? kPointerCustom : kPointerDefault;
}

void Document::GetDimensions(int16_t& srcWidth, int16_t& srcHeight, int16_t& dstWidth, int16_t& dstHeight) const {
  srcWidth = static_cast<int16_t>(srcWidth_);
  srcHeight = static_cast<int16_t>(srcHeight_);
  dstWidth = static_cast<int16_t>(dstWidth_);
  dstHeight = static_cast<int16_t>(dstHeight_);
}

int32_t Document::ClipToBar(int32_t value, const ScrollBarLayout& bar) {
  if (value > bar.Max) value = bar.Max;
  if (value < 0) value = 0;
  return value;
}

void Document::Scroll(int32_t x, int32_t y) {
  hSB_.Value = ClipToBar(x, hSB_);
  vSB_.Value = ClipToBar(y, vSB_);
}

bool Document::PaintRectangles(StretchRects& rects) const {
  if (!pictureExists_) return false;
  PaintViewInput in;
  in.Zoom = ZoomTable(zoomIndex_);
  in.DstWidth = dstWidth_;
  in.DstHeight = dstHeight_;
  in.SrcWidth = srcWidth_;
  in.SrcHeight = srcHeight_;
  in.HValue = hSB_.Value;
  in.HMax = hSB_.Max;
  in.VValue = vSB_.Value;
  in.VMax = vSB_.Max;
  rects = PaintRects(in);
  return true;
}

void Document::RefreshStatusPanels() {
  pixelPanel_ = PixelPanelText(PictureWidth(), PictureHeight());
  zoomPanel_ = ZoomPanelText(ZoomTable(zoomIndex_));
}

}  // namespace kelvane
