#include "document/canvas_tools.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/numeric.h"
#include "document/painting.h"

namespace kelvane {

namespace {

constexpr std::string_view kPointerBrush = "cBrush";
constexpr std::string_view kPointerAirBrush = "cAirBrush";
constexpr std::string_view kPointerPencil = "cPencil";
constexpr std::string_view kPointerTextures = "cTextures";
constexpr std::string_view kPointerFill = "cFill";
constexpr std::string_view kPointerPicker = "cPicker";
constexpr std::string_view kPointerGrab = "cGrab";
constexpr std::string_view kPointerRelease = "cRelease";
constexpr std::string_view kPointerGradient = "cGradient";

// Brush modes as the canvas counts them: panel index + 1.
constexpr int32_t kBrushModeTexture = 7;

// An anti-aliased plot reaches a pixel and a half round its point; the
// restore of a redrawn shape takes this much more on every side.
constexpr int32_t kDrawMargin = 3;

// BitsBrushLine and BitsMaskedLine take 16-bit points: a pointer far off the
// picture is held to that range rather than wrapped.
int16_t To16(int32_t v) {
  return static_cast<int16_t>(
      std::clamp<int32_t>(v, std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max()));
}

Rect BoxOf(int64_t x1, int64_t y1, int64_t x2, int64_t y2, int64_t margin) {
  auto clip = [](int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min() / 2,
                                                    std::numeric_limits<int32_t>::max() / 2));
  };
  return Rect{clip(std::min(x1, x2) - margin), clip(std::min(y1, y2) - margin),
              clip(std::max(x1, x2) + margin + 1), clip(std::max(y1, y2) + margin + 1)};
}

// Square or circle by the larger extent, keeping each extent's direction.
void Constrain(int32_t startX, int32_t startY, int32_t& x, int32_t& y) {
  const int64_t ex = static_cast<int64_t>(x) - startX, ey = static_cast<int64_t>(y) - startY;
  const int64_t m = std::max(std::llabs(ex), std::llabs(ey));
  x = static_cast<int32_t>(std::clamp<int64_t>(startX + (ex < 0 ? -m : m), INT32_MIN, INT32_MAX));
  y = static_cast<int32_t>(std::clamp<int64_t>(startY + (ey < 0 ? -m : m), INT32_MIN, INT32_MAX));
}

bool IsOn(int16_t flag) { return flag != 0; }

}  // namespace

// ---------------------------------------------------------------------------
// Pure helpers

bool SelectionCombineMode(int32_t panelMode, CombineMode& mode) {
  static constexpr CombineMode kModes[] = {CombineMode::Or, CombineMode::Diff, CombineMode::Or};
  if (panelMode < 0 || panelMode > 2) return false;
  mode = kModes[panelMode];
  return true;
}

Point CanvasToPicture(int32_t cx, int32_t cy, int32_t hValue, int32_t vValue, int32_t zoom) {
  const int64_t z = zoom < 1 ? 1 : zoom;
  return Point{static_cast<int32_t>((static_cast<int64_t>(cx) + hValue) / z),
               static_cast<int32_t>((static_cast<int64_t>(cy) + vValue) / z)};
}

Point PictureToCanvas(int32_t x, int32_t y, int32_t hValue, int32_t vValue, int32_t zoom) {
  const int64_t z = zoom < 1 ? 1 : zoom;
  auto clip = [](int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); };
  return Point{clip(x * z - hValue), clip(y * z - vValue)};
}

std::string FormatTwoDigits(int32_t value) {
  std::string s = std::to_string(value < 0 ? -static_cast<int64_t>(value) : value);
  if (s.size() < 2) s.insert(0, 2 - s.size(), '0');
  return value < 0 ? "-" + s : s;
}

// ---------------------------------------------------------------------------
// CanvasTools

CanvasTools::CanvasTools() : PolygonPoints(2, 0) {}

Point CanvasTools::PicturePoint(const Document& doc, int32_t cx, int32_t cy) const {
  return CanvasToPicture(cx, cy, doc.HScroll().Value, doc.VScroll().Value, ZoomTable(doc.ZoomFactor()));
}

void CanvasTools::MouseDown(Document& doc, CanvasHost& host, MouseButton button, int32_t cx, int32_t cy,
                            bool shift, Point screen) {
  try {
    if (!doc.PictureExists()) return;
    Press(doc, host, button, PicturePoint(doc, cx, cy), shift, screen);
  } catch (...) {
    // A failed allocation abandons the event; the window goes on.
  }
}

void CanvasTools::MouseMove(Document& doc, CanvasHost& host, int32_t cx, int32_t cy, bool shift,
                            Point screen) {
  try {
    if (!doc.PictureExists()) return;
    Move(doc, host, PicturePoint(doc, cx, cy), shift, screen);
  } catch (...) {
  }
}

void CanvasTools::MouseUp(Document& doc, CanvasHost& host, MouseButton button, int32_t cx, int32_t cy,
                          bool shift) {
  try {
    if (!doc.PictureExists()) {
      MouseIsDown = false;
      Grabbing = false;
      tool_.clear();
      return;
    }
    Release(doc, host, button, PicturePoint(doc, cx, cy), shift);
  } catch (...) {
    MouseIsDown = false;
    tool_.clear();
  }
}

void CanvasTools::KeyUp(Document& doc, CanvasHost& host, int32_t keyCode) {
  try {
    if (keyCode != kKeyControl || host.Record().CurrentTool.Get() != kToolSelectionMove) return;
    doc.BitRegion().Crop();
    outlineRedraw_ = true;
  } catch (...) {
  }
}

void CanvasTools::StartTimer(Document& doc) {
  Tick(doc);
  timerOn_ = true;
}

bool CanvasTools::Tick(Document& doc) {
  if (doc.BitRegion().IsEmptyRegion()) return false;
  doc.BitRegion().RotateBrush();
  outlineRedraw_ = true;
  return true;
}

// ---------------------------------------------------------------------------
// Press

void CanvasTools::Press(Document& doc, CanvasHost& host, MouseButton button, Point p, bool shift,
                        Point screen) {
  StartRecord& rec = host.Record();
  const std::string tool = rec.CurrentTool.Get();

  if (button == MouseButton::Right) {
    if (tool == kToolGetColor) host.ColorPicked(BitsGetPixel(doc.Target(), p.x, p.y), false);
    return;
  }
  if (button != MouseButton::Left) return;

  tool_.clear();
  action_.clear();
  touched_ = Rect{};
  Grabbing = false;
  if (doc.MouseScroll()) {
    pointer_ = kPointerGrab;
    Grabbing = true;
    GrabScreenPos = screen;
    GrabHValue = doc.HScroll().Value;
    GrabVValue = doc.VScroll().Value;
  }
  StartX = LastX = p.x;
  StartY = LastY = p.y;
  MouseIsDown = true;
  if (Grabbing) return;

  if (tool == kToolSelect) {
    tool_ = tool;
    if (rec.SelectionShape == kSelectPolygon && PolygonPointCount == 0) AddPolygonPoint(p);
    // Asked after the polygon took its first point: a polygon in mode 2 is
    // combined into the selection as it stands.
    if (rec.SelectionMode == 2 && PolygonPointCount == 0)
      doc.BitRegion().CreateRect(0, 0, doc.PictureWidth(), doc.PictureHeight(), CombineMode::Or, false);
    if (rec.SelectionShape == kSelectFreeHand) {
      StartTimer(doc);
      ToolMove(doc, host, p, shift);
    } else {
      StopTimer();
    }
  } else if (tool == kToolSelectionMove) {
    tool_ = tool;
    MovingOutline = false;
    MovingPixels = false;
    if (IsOn(rec.SelectionMoveContent)) {
      const RectRegion* region = doc.BitRegion().Region();
      MovingOutline = region && region->Contains(p.x, p.y);
    } else {
      StopTimer();
      int32_t l, t, r, b;
      // The cut is the part of the box inside the picture; the offsets are
      // taken from its corner so the pixels leave from where they were.
      const Rect box =
          doc.BitRegion().BoundRect(l, t, r, b)
              ? IntersectRect(Rect{l, t, r, b}, Rect{0, 0, doc.PictureWidth(), doc.PictureHeight()})
              : Rect{};
      if (!box.IsEmpty() && p.x >= box.left && p.x < box.right && p.y >= box.top && p.y < box.bottom) {
        repaint_ = true;
        cBitFilter& filter = host.MainFilter();
        filter.BitsRegion(doc.BitRegion().Region());
        filter.BitsCropMasked(doc.PictureBits(), box.left, box.top, box.right, box.bottom);
        MoveBits = filter.GetBits();
        // A selected pixel must not carry the crop's "masked out" 255 in its
        // spare byte (a picture from a 32-bit file may have it there), or it
        // would not travel; the clips of the paste box do the same.
        if (const RectRegion* region = doc.BitRegion().Region()) {
          for (int32_t y = 0; y < MoveBits.Height(); ++y) {
            uint8_t* row = MoveBits.Row(y);
            region->ForEachSpan(box.top + y, box.left, box.right, [&](int32_t x0, int32_t x1) {
              for (int32_t x = x0 - box.left; x < x1 - box.left; ++x)
                if (row[4 * x + 3] == 255) row[4 * x + 3] = 254;
            });
          }
        }
        // The engine keeps the picture under the move; each move starts from it.
        filter.SetBits(doc.PictureBits());
        MoveOffsetX = p.x - box.left;
        MoveOffsetY = p.y - box.top;
        MovingPixels = true;
      }
    }
    ToolMove(doc, host, p, shift);
  } else if (tool == kToolBrush) {
    if (rec.BrushMode + 1 == kBrushModeTexture && !host.TextureTile()) return;
    tool_ = tool;
    action_ = kToolBrush;
    StopTimer();
    doc.CreateDoneBitsTable();
    ToolMove(doc, host, p, shift);
    pointer_ = kPointerBrush;
  } else if (tool == kToolAirbrush) {
    tool_ = tool;
    action_ = kActionAirBrush;
    StopTimer();
    ToolMove(doc, host, p, shift);
    pointer_ = kPointerAirBrush;
  } else if (tool == kToolFill) {
    if (rec.FillMode == 1 && !host.TextureTile()) return;
    tool_ = tool;
    action_ = kToolFill;
    pointer_ = kPointerFill;
  } else if (tool == kToolShape || tool == kToolPencil || tool == kToolStamp || tool == kToolText) {
    if (tool == kToolStamp && !host.StampBits()) return;
    if (tool == kToolText && !host.TextMask()) return;
    tool_ = tool;
    action_ = tool;
    StopTimer();
    KeepPressPicture(doc, host);
    ToolMove(doc, host, p, shift);
    pointer_ =
        tool == kToolPencil ? kPointerPencil : (tool == kToolShape ? std::string_view() : kPointerTextures);
  } else if (tool == kToolGradient) {
    tool_ = tool;
    action_ = kToolGradient;
    pointer_ = kPointerGradient;
    ShowPolyline(doc, {p, p});
  } else if (tool == kToolGetColor) {
    tool_ = tool;
    pointer_ = kPointerPicker;
    host.ColorPicked(BitsGetPixel(doc.Target(), p.x, p.y), true);
  }
}

void CanvasTools::KeepPressPicture(Document& doc, CanvasHost& host) {
  host.MainFilter().SetBits(doc.PictureBits());
  touched_ = Rect{};
}

void CanvasTools::RestoreTouched(Document& doc, CanvasHost& host, const Rect& next) {
  const Bits& saved = host.MainFilter().BitsRef();
  Bits& bits = doc.Target().bits;
  if (!saved.IsNull() && saved.SameShape(bits)) {
    const Rect r = IntersectRect(touched_, Rect{0, 0, bits.Width(), bits.Height()});
    if (!r.IsEmpty()) {
      const size_t rowBytes = static_cast<size_t>(r.Width()) * 4;
      for (int32_t y = r.top; y < r.bottom; ++y)
        std::memcpy(bits.Pixel(r.left, y), saved.Pixel(r.left, y), rowBytes);
    }
  }
  touched_ = next;
}

// ---------------------------------------------------------------------------
// Move

void CanvasTools::Move(Document& doc, CanvasHost& host, Point p, bool shift, Point screen) {
  UpdateInfo(doc, p);
  if (Grabbing) {
    doc.Scroll(GrabHValue - (screen.x - GrabScreenPos.x), GrabVValue - (screen.y - GrabScreenPos.y));
    repaint_ = true;
    return;
  }
  ToolMove(doc, host, p, shift);
}

void CanvasTools::UpdateInfo(Document& doc, Point p) {
  info_.X = p.x;
  info_.Y = p.y;
  const int32_t colour = BitsGetPixel(doc.Target(), p.x, p.y);
  const int32_t c = colour < 0 ? 0 : colour;
  info_.Red = FormatTwoDigits(c & 0xFF);
  info_.Green = FormatTwoDigits((c >> 8) & 0xFF);
  info_.Blue = FormatTwoDigits((c >> 16) & 0xFF);
}

void CanvasTools::ToolMove(Document& doc, CanvasHost& host, Point p, bool shift) {
  if (!MouseIsDown || tool_.empty()) return;
  StartRecord& rec = host.Record();
  PaintTarget target = doc.Target();

  if (tool_ == kToolSelect) {
    info_.Width = std::abs(p.x - StartX);
    info_.Height = std::abs(p.y - StartY);
    if (rec.SelectionShape == kSelectPolygon || rec.SelectionShape == kSelectFreeHand) {
      AddPolygonPoint(p);
      if (overlay_.Visible && overlay_.Kind == 2 &&
          overlay_.Points.size() + 1 == static_cast<size_t>(PolygonPointCount)) {
        // A long free-hand drag adds one segment per move, not the whole line.
        overlay_.Points.push_back(
            PictureToCanvas(p.x, p.y, doc.HScroll().Value, doc.VScroll().Value, ZoomTable(doc.ZoomFactor())));
      } else {
        std::vector<Point> points;
        points.reserve(static_cast<size_t>(PolygonPointCount));
        for (int32_t i = 0; i < PolygonPointCount; ++i)
          points.push_back({PolygonPoints[2 * i], PolygonPoints[2 * i + 1]});
        ShowPolyline(doc, points);
      }
    } else {
      ShowShape(doc, StartX, StartY, p.x, p.y, rec.SelectionShape == kSelectEllipse ? 1 : 0);
    }
  } else if (tool_ == kToolSelectionMove) {
    if (MovingPixels) {
      const Point at{p.x - MoveOffsetX, p.y - MoveOffsetY};
      RestoreTouched(
          doc, host,
          BoxOf(at.x, at.y, int64_t{at.x} + MoveBits.Width(), int64_t{at.y} + MoveBits.Height(), 1));
      BitsPaintPreMasked(target, at.x, at.y, MoveBits, rec.PasteBoxPressure, false);
      repaint_ = true;
    } else if (MovingOutline) {
      doc.BitRegion().Offset(p.x - LastX, p.y - LastY);
      outlineRedraw_ = true;
    }
  } else if (tool_ == kToolBrush) {
    BrushMove(doc, host, p);
  } else if (tool_ == kToolAirbrush) {
    BitsAirbrush(target, p.x, p.y, rec.AirbrushSize, rec.AirbrushPressure, rec.AirbrushQuantity,
                 rec.AirbrushDefinition, rec.ForeColor);
    repaint_ = true;
  } else if (tool_ == kToolShape) {
    ShapeMove(doc, host, p, shift);
  } else if (tool_ == kToolPencil) {
    BitsLine(target, LastX, LastY, p.x, p.y, rec.ForeColor, rec.BrushPressure);
    repaint_ = true;
  } else if (tool_ == kToolStamp) {
    if (const Bits* stamp = host.StampBits()) StampMove(doc, host, p, *stamp, IsOn(rec.StampMask));
  } else if (tool_ == kToolText) {
    if (const Bits* mask = host.TextMask()) StampMove(doc, host, p, *mask, true);
  } else if (tool_ == kToolGradient) {
    ShowPolyline(doc, {Point{StartX, StartY}, p});
  } else if (tool_ == kToolGetColor) {
    host.ColorPicked(BitsGetPixel(target, p.x, p.y), true);
  }
  LastX = p.x;
  LastY = p.y;
}

void CanvasTools::BrushMove(Document& doc, CanvasHost& host, Point p) {
  StartRecord& rec = host.Record();
  PaintTarget target = doc.Target();
  const int32_t mode = rec.BrushMode + 1;
  const int32_t size = rec.BrushSize;
  const double pressure = rec.BrushPressure;
  const bool trace = IsOn(rec.BrushContinuous);
  if (mode >= 1 && mode <= 6) {
    if (trace) {
      BitsBrushLine(target, To16(LastX), To16(LastY), To16(p.x), To16(p.y), size, pressure, rec.ForeColor,
                    mode - 1);
    } else {
      switch (mode) {
        case 1: BitsBrush(target, p.x, p.y, size, pressure, rec.ForeColor); break;
        case 2: BitsSoften(target, p.x, p.y, size, pressure, false); break;
        case 3: BitsSoften(target, p.x, p.y, size, pressure, true); break;
        case 4: BitsSharpen(target, p.x, p.y, size, pressure); break;
        case 5: BitsBrightness(target, p.x, p.y, size, pressure, true); break;
        case 6: BitsBrightness(target, p.x, p.y, size, pressure, false); break;
      }
    }
  } else if (mode == kBrushModeTexture) {
    const Bits* tile = host.TextureTile();
    if (!tile) return;
    if (trace)
      BitsMaskedLine(target, To16(LastX), To16(LastY), To16(p.x), To16(p.y), size, pressure, *tile);
    else
      BitsMasked(target, p.x, p.y, *tile, size, pressure);
  }
  repaint_ = true;
}

void CanvasTools::ShapeMove(Document& doc, CanvasHost& host, Point p, bool shift) {
  StartRecord& rec = host.Record();
  PaintTarget target = doc.Target();
  const int32_t colour = rec.ForeColor;
  const double pressure = rec.ShapePressure;
  const int32_t kind = rec.ShapeKind;
  int32_t x = p.x, y = p.y;

  if (kind == kShapeFreeHand) {
    BitsLine(target, LastX, LastY, x, y, colour, pressure);
    repaint_ = true;
    return;
  }
  if (kind == kShapeSquare || kind == kShapeCircle ||
      (shift && (kind == kShapeRectangle || kind == kShapeEllipse)))
    Constrain(StartX, StartY, x, y);

  const int64_t rx = std::llabs(int64_t{x} - StartX), ry = std::llabs(int64_t{y} - StartY);
  Rect next;
  switch (kind) {
    case kShapeLine:
    case kShapeSquare:
    case kShapeRectangle: next = BoxOf(StartX, StartY, x, y, kDrawMargin); break;
    case kShapeCircle:
    case kShapeEllipse: next = BoxOf(StartX - rx, StartY - ry, StartX + rx, StartY + ry, kDrawMargin); break;
    case kShapePolygon: {
      const int64_t r =
          static_cast<int64_t>(std::ceil(std::sqrt(static_cast<double>(rx * rx + ry * ry)))) + 1;
      next = BoxOf(StartX - r, StartY - r, StartX + r, StartY + r, kDrawMargin);
      break;
    }
    default: return;
  }
  RestoreTouched(doc, host, next);
  switch (kind) {
    case kShapeLine: BitsLine(target, StartX, StartY, x, y, colour, pressure); break;
    case kShapeSquare:
    case kShapeRectangle: BitsRectangle(target, StartX, StartY, x, y, colour, pressure); break;
    case kShapeCircle:
    case kShapeEllipse:
      BitsEllipse(target, StartX, StartY, static_cast<double>(rx), static_cast<double>(ry), colour, pressure);
      break;
    case kShapePolygon: BitsPolygon(target, StartX, StartY, x, y, rec.ShapeSides, colour, pressure); break;
  }
  repaint_ = true;
}

void CanvasTools::StampMove(Document& doc, CanvasHost& host, Point p, const Bits& stamp, bool mask) {
  StartRecord& rec = host.Record();
  PaintTarget target = doc.Target();
  const int32_t x0 = p.x - stamp.Width() / 2, y0 = p.y - stamp.Height() / 2;
  RestoreTouched(doc, host, BoxOf(x0, y0, int64_t{x0} + stamp.Width(), int64_t{y0} + stamp.Height(), 1));
  if (mask)
    BitsBWMask(target, x0, y0, stamp, rec.ForeColor, rec.StampPressure);
  else
    BitsPaint(target, x0, y0, stamp, -1, rec.StampPressure, true);
  repaint_ = true;
}

// ---------------------------------------------------------------------------
// Release

void CanvasTools::Release(Document& doc, CanvasHost& host, MouseButton button, Point p, bool shift) {
  if (button == MouseButton::Left) {
    if (Grabbing) {
      Grabbing = false;
      pointer_ = kPointerRelease;
    } else if (MouseIsDown && !tool_.empty()) {
      ToolRelease(doc, host, p);
    }
    if (host.RestoreFlag()) host.MainFilter().SetBits(doc.PictureBits());
  } else if (button == MouseButton::Right && host.RestoreFlag()) {
    const Bits& kept = host.MainFilter().BitsRef();
    if (!kept.IsNull() && kept.SameShape(doc.PictureBits())) {
      doc.Bits(kept);
      repaint_ = true;
    }
  }
  EndOfRelease(doc, host);
}

void CanvasTools::ToolRelease(Document& doc, CanvasHost& host, Point p) {
  StartRecord& rec = host.Record();
  if (tool_ == kToolSelect) {
    SelectRelease(doc, host, p);
  } else if (tool_ == kToolSelectionMove) {
    if (IsOn(rec.SelectionMoveContent)) {
      // With the outline-only flag the release crops the selection, whether
      // or not the press moved it.
      doc.BitRegion().Crop();
      outlineRedraw_ = true;
    } else if (MovingPixels) {
      host.MainFilter().SetBits(doc.PictureBits());
      repaint_ = true;
    }
    MovingOutline = false;
    MovingPixels = false;
    MoveBits = Bits();
  } else if (tool_ == kToolFill) {
    doc.CreateDoneBitsTable();
    PaintTarget target = doc.Target();
    if (rec.FillMode == 0) {
      BitsFill(target, p.x, p.y, rec.ForeColor, rec.FillTolerance, rec.FillPressure);
    } else if (rec.FillMode == 1) {
      if (const Bits* tile = host.TextureTile())
        BitsFillTexture(target, p.x, p.y, *tile, rec.FillTolerance, rec.FillPressure);
    }
    repaint_ = true;
    RecordStep(doc, host);
  } else if (tool_ == kToolGradient) {
    cBitFilter& filter = host.MainFilter();
    filter.SetBits(doc.PictureBits());
    filter.BitsRegion(PaintRegion(doc.BitRegion()));
    const Colour c1{rec.GradientColors[0]};
    const Colour c2{IsOn(rec.GradientTransparent) ? -1 : rec.GradientColors[1]};
    Bits result = rec.GradientShape[2] == 1
                      ? filter.GradientCircular(doc.PictureBits(), StartX, StartY, p.x, p.y, c1, c2,
                                                rec.GradientPressure, rec.GradientFrequency)
                      : filter.GradientLinear(doc.PictureBits(), StartX, StartY, p.x, p.y, c1, c2,
                                              rec.GradientPressure, rec.GradientFrequency);
    doc.Bits(result);
    HideShape();
    repaint_ = true;
    RecordStep(doc, host);
  } else if (!action_.empty()) {
    // Brush, Airbrush, Shape, Pencil, Stamp, Text.
    RecordStep(doc, host);
  }
  pointer_ = {};
  tool_.clear();
  action_.clear();
  touched_ = Rect{};
}

void CanvasTools::SelectRelease(Document& doc, CanvasHost& host, Point p) {
  StartRecord& rec = host.Record();
  cBitRegion& region = doc.BitRegion();
  CombineMode mode;
  if (SelectionCombineMode(rec.SelectionMode, mode)) {
    switch (rec.SelectionShape) {
      case kSelectRectangle: region.CreateRect(StartX, StartY, p.x, p.y, mode, false); break;
      case kSelectEllipse:
        region.CreateEllipse(std::min(StartX, p.x), std::min(StartY, p.y), std::max(StartX, p.x),
                             std::max(StartY, p.y), mode, false);
        break;
      case kSelectPolygon:
      case kSelectFreeHand:
        region.CreatePolygon(
            std::vector<int32_t>(PolygonPoints.begin(), PolygonPoints.begin() + 2 * PolygonPointCount), mode,
            false);
        break;
      default: break;
    }
  }
  HideShape();
  repaint_ = true;
  ResetPolygon();
}

void CanvasTools::RecordStep(Document& doc, CanvasHost& host) {
  host.MainFilter().SetBits(doc.PictureBits());
  host.SetLastCommandCaption(action_);
  host.Update(false, true);
}

void CanvasTools::EndOfRelease(Document& doc, CanvasHost& host) {
  cBitRegion& region = doc.BitRegion();
  if (region.IsEmptyRegion()) {
    StopTimer();
    host.MainFilter().BitsRegion(region.RegionMain());
  } else {
    StartTimer(doc);
    host.MainFilter().BitsRegion(region.Region());
  }
  MouseIsDown = false;
}

// ---------------------------------------------------------------------------
// Polygon points and the rubber band

void CanvasTools::AddPolygonPoint(Point p) {
  if (PolygonPoints.size() < 2) PolygonPoints.resize(2, 0);
  const size_t at = 2 * static_cast<size_t>(PolygonPointCount);
  if (PolygonPoints.size() < at + 2) PolygonPoints.resize(at + 2);
  PolygonPoints[at] = p.x;
  PolygonPoints[at + 1] = p.y;
  ++PolygonPointCount;
}

void CanvasTools::ResetPolygon() {
  PolygonPoints.resize(2);
  PolygonPointCount = 0;
}

void CanvasTools::ShowShape(const Document& doc, int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                            int32_t kind) {
  const int32_t z = ZoomTable(doc.ZoomFactor()), h = doc.HScroll().Value, v = doc.VScroll().Value;
  const Point a = PictureToCanvas(std::min(x1, x2), std::min(y1, y2), h, v, z);
  const Point b = PictureToCanvas(std::max(x1, x2), std::max(y1, y2), h, v, z);
  overlay_.Kind = kind;
  overlay_.X1 = a.x;
  overlay_.Y1 = a.y;
  overlay_.X2 = b.x;
  overlay_.Y2 = b.y;
  overlay_.Points.clear();
  overlay_.Visible = true;
}

void CanvasTools::ShowPolyline(const Document& doc, const std::vector<Point>& picturePoints) {
  const int32_t z = ZoomTable(doc.ZoomFactor()), h = doc.HScroll().Value, v = doc.VScroll().Value;
  overlay_.Kind = 2;
  overlay_.Points.clear();
  overlay_.Points.reserve(picturePoints.size());
  for (const Point& q : picturePoints) overlay_.Points.push_back(PictureToCanvas(q.x, q.y, h, v, z));
  overlay_.Visible = true;
}

}  // namespace kelvane
