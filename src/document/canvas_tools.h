// Canvas tools: what a press, a drag and a release on a document's canvas
// (iDst) do to the document, without the window. The window forwards its
// pointer and key events to a CanvasTools of the document, then draws what
// the state asks for: the picture (TakeRepaint), the marching selection
// outline (SelectionTimerOn, Tick, TakeOutlineRedraw), the rubber band
// (Overlay) and the info box readout (Info).
//
// Contract:
//  - Canvas point (cx, cy) is picture point ((cx + hSB value) \ z,
//    (cy + vSB value) \ z), z the zoom factor, divisions truncated towards
//    zero (CanvasToPicture). The rubber band goes the other way: x * z - value.
//  - The tool is the record's CurrentTool, right-trimmed, compared with
//    "Select", "SelectionMove", "Brush", "Airbrush", "Fill", "Shape",
//    "Pencil", "Stamp", "Gradient", "Text", "GetColor"; any other word (blank
//    at first start, "MouseScroll", "Layers") paints nothing. The tool of the
//    press runs the whole stroke; the panel's values are read on every event.
//  - Presses on a document without a picture are ignored. Only the left
//    button paints; with the right button "GetColor" picks the background
//    colour, and a right release writes the engine's kept array back into the
//    picture while the host's restore flag is set (only when that array has
//    the picture's size). A left release keeps that array up to date while
//    the flag is set.
//  - Stroke tools and their action names (the caption of the undo step that
//    the release records through SetLastCommandCaption and Update(false,
//    true)): "Brush", "Airbrush" ("AirBrush"), "Fill", "Shape", "Pencil",
//    "Stamp", "Text", "Gradient". A stroke records one step however many
//    moves it had, also when it landed outside the picture. "Select",
//    "SelectionMove" and "GetColor" record nothing. A tool that needs a
//    stamp, a text mask or a tile (texture brush, texture fill) that the host
//    does not have does nothing at all, undo step included.
//  - Brush: panel mode m (cbBrushMode index) runs as brush mode m + 1: 1 paint,
//    2 soften, 3 soften with force, 4 sharpen, 5 lighten, 6 darken with the
//    fore colour, size and pressure of the panel; with trace on, BitsBrushLine
//    from the last point to the new one in line mode m, otherwise the single
//    primitive at the new point. Mode 7 is the tiled texture through
//    BitsMaskedLine / BitsMasked. DoneBits is cleared at the press, so no
//    pixel is painted twice in a stroke.
//  - Fill paints nothing until the release, which clears DoneBits and fills
//    from the release point (colour, or the tile for fill mode 1).
//  - Shape, Stamp, Text keep the picture of the press in the engine
//    (MainFilter's array) and restore it before each redraw, so a shape
//    never accumulates across moves; only the rectangle that the last draw
//    touched is copied back. Free hand is the exception: it draws from the
//    last point on the picture, like the pencil. Shape kinds (lstShape):
//    0 line, 1 free hand, 2 square, 3 rectangle, 4 circle, 5 ellipse,
//    6 polygon. The constraint (shift) turns a rectangle into a square and an
//    ellipse into a circle, both by the larger of the two extents; square and
//    circle are always constrained.
//  - Stamp and Text are centred on the pointer: top-left (x - W \ 2,
//    y - H \ 2). Stamp mask mode paints the fore colour through BitsBWMask,
//    picture mode copies the stamp with BitsPaint, no key colour, inside the
//    selection; both at the stamp pressure. Text paints the text mask like
//    the stamp mask.
//  - Select: shapes (cbSelectionShape) 0 rectangle, 1 ellipse, 2 polygon,
//    3 free hand; shapes 2 and 3 both gather the points of the drag into
//    PolygonPoints (the polygon takes its first point at the press, free hand
//    through the move handler it runs at the press, with the outline timer
//    started) and apply them as a polygon at the release. The combine mode of
//    panel mode m (0 "Add", 1 "Subtract", 2 "New") is entry m + 1 of the list
//    2, 4, 2: OR, DIFF, OR; other modes and shapes apply nothing. Mode 2 with
//    no points gathered at the press (asked after the polygon stored its
//    first point) first makes the whole picture the selection, so "New"
//    ends up selecting the whole picture, except with the polygon shape,
//    which is ORed into the selection as it stands. Shapes are not cropped to the
//    picture. After the release PolygonPoints is back to its two first slots.
//  - SelectionMove with SelectionMoveContent set ("Move Selection Only")
//    moves only the outline, and only when the press is inside the
//    selection; the release crops it to the picture (also after a press
//    outside). Without it a press inside the selection's box (its part
//    inside the picture) cuts the selected pixels into MoveBits
//    (BitsCropMasked: outside the selection channel 3 is 255; a selected
//    pixel's own 255 becomes 254, so that it still travels); each move
//    restores the picture of the press and lays MoveBits at the pointer
//    less MoveOffsetX/Y with BitsPaintPreMasked at
//    PasteBoxPressure, not limited to the selection, which stays where it
//    was. The original pixels stay in place: the move is a copy.
//  - Gradient: the release runs GradientLinear (GradientShape[2] = 0) or
//    GradientCircular (1) of the engine over the selection (or the whole
//    picture) from the press to the release point, with GradientColors[0] and
//    [1] (the second is -1, the picture itself, when GradientTransparent),
//    GradientPressure and GradientFrequency, and writes the result.
//  - Every release ends alike: an empty selection stops the outline timer and
//    gives the engine RegionMain, otherwise the timer runs and the engine gets
//    Region. MouseIsDown is then false.
//  - MouseScroll: while the document's mouse scroll mode is on, a press grabs
//    the canvas; moves scroll both bars by the screen distance from the grab
//    (Document::Scroll clips them), nothing is painted; the release lets go.
//  - Handlers never throw: a failure (memory) abandons that event.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/bits.h"
#include "document/document.h"
#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "shell/start_record.h"

namespace kelvane {

// What the canvas needs from the main window.
class CanvasHost {
 public:
  virtual ~CanvasHost() = default;
  virtual StartRecord& Record() = 0;                      // tool block: CurrentTool, Selection*, Brush*, ...
  virtual cBitFilter& MainFilter() = 0;                   // fMain's cFilter
  virtual void Update(bool noRedraw, bool takeUndo) = 0;  // fMain's Update on the active document
  virtual void SetLastCommandCaption(std::string_view caption) = 0;  // the action name of the press
  virtual bool RestoreFlag() const = 0;                              // the global right-button restore flag
  virtual const Bits* StampBits() = 0;                               // null when no stamp
  virtual const Bits* TextMask() = 0;                                // null when no text stamp
  virtual const Bits* TextureTile() = 0;                             // null when no tile
  virtual void ColorPicked(int32_t colour, bool foreground) = 0;     // GetColor
};

enum class MouseButton { Left = 1, Right = 2, Middle = 4 };

// The Ctrl key, whose release ends an outline move.
inline constexpr int32_t kKeyControl = 17;

// Tool words and action names.
inline constexpr std::string_view kToolSelect = "Select";
inline constexpr std::string_view kToolSelectionMove = "SelectionMove";
inline constexpr std::string_view kToolBrush = "Brush";
inline constexpr std::string_view kToolAirbrush = "Airbrush";
inline constexpr std::string_view kToolFill = "Fill";
inline constexpr std::string_view kToolShape = "Shape";
inline constexpr std::string_view kToolPencil = "Pencil";
inline constexpr std::string_view kToolStamp = "Stamp";
inline constexpr std::string_view kToolGradient = "Gradient";
inline constexpr std::string_view kToolText = "Text";
inline constexpr std::string_view kToolGetColor = "GetColor";
inline constexpr std::string_view kActionAirBrush = "AirBrush";

// lstShape.
enum ShapeKind : int32_t {
  kShapeLine = 0,
  kShapeFreeHand = 1,
  kShapeSquare = 2,
  kShapeRectangle = 3,
  kShapeCircle = 4,
  kShapeEllipse = 5,
  kShapePolygon = 6,
};

// cbSelectionShape as the canvas reads it.
enum SelectionShapeKind : int32_t {
  kSelectRectangle = 0,
  kSelectEllipse = 1,
  kSelectPolygon = 2,
  kSelectFreeHand = 3,
};

// Selection panel mode (0 "Add", 1 "Subtract", 2 "New") to the region combine
// mode: entry mode + 1 of 2, 4, 2. False for any other mode.
bool SelectionCombineMode(int32_t panelMode, CombineMode& mode);

// ((cx + hValue) \ zoom, (cy + vValue) \ zoom), truncated; a zoom below 1
// counts as 1.
Point CanvasToPicture(int32_t cx, int32_t cy, int32_t hValue, int32_t vValue, int32_t zoom);
// The rubber band's way back: (x * zoom - hValue, y * zoom - vValue).
Point PictureToCanvas(int32_t x, int32_t y, int32_t hValue, int32_t vValue, int32_t zoom);

// The info box format "0#": at least two digits ("05", "255").
std::string FormatTwoDigits(int32_t value);

// The info box (finfo): the pointer's picture position and the pixel under
// it, and the size of the rectangle being selected.
struct InfoReadout {
  int32_t X = 0, Y = 0;
  std::string Red, Green, Blue;
  int32_t Width = 0, Height = 0;
};

// The rubber band: kind 0 rectangle (shpRect), 1 ellipse (shpEllp), both in
// the box (X1, Y1)-(X2, Y2) ordered so X1 <= X2 and Y1 <= Y2; kind 2 a
// polyline (shpLine) through Points. Canvas coordinates.
struct RubberBand {
  int32_t Kind = 0;
  bool Visible = false;
  int32_t X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;
  std::vector<Point> Points;
};

// The per-document stroke state and the press/move/release handlers.
class CanvasTools {
 public:
  CanvasTools();

  // iDst MouseDown. `screen` is the pointer's screen position (the grab).
  void MouseDown(Document& doc, CanvasHost& host, MouseButton button, int32_t cx, int32_t cy, bool shift,
                 Point screen = {});
  // idst_MouseMove: the info box, the grab, then the tool's move.
  void MouseMove(Document& doc, CanvasHost& host, int32_t cx, int32_t cy, bool shift, Point screen = {});
  // iDst MouseUp.
  void MouseUp(Document& doc, CanvasHost& host, MouseButton button, int32_t cx, int32_t cy, bool shift);
  // idst_KeyUp: Ctrl with "SelectionMove" crops the selection to the picture.
  void KeyUp(Document& doc, CanvasHost& host, int32_t keyCode);

  // --- The outline timer (tmrSelection, 500 ms)
  static constexpr int32_t kTimerInterval = 500;
  // Runs one tick at once, then the timer is on.
  void StartTimer(Document& doc);
  void StopTimer() { timerOn_ = false; }
  bool SelectionTimerOn() const { return timerOn_; }
  // The timer handler: with a selection, the next stripe brush and an
  // outline redraw (true); nothing without one.
  bool Tick(Document& doc);

  // --- What the window draws
  // True once after the picture changed (UpdateImage).
  bool TakeRepaint() {
    const bool r = repaint_;
    repaint_ = false;
    return r;
  }
  // True once after the outline moved or the stripes stepped (UpdateRegion).
  bool TakeOutlineRedraw() {
    const bool r = outlineRedraw_;
    outlineRedraw_ = false;
    return r;
  }
  const RubberBand& Overlay() const { return overlay_; }
  const InfoReadout& Info() const { return info_; }
  // The cursor picture: "cBrush", "cAirBrush", "cPencil", "cTextures",
  // "cFill", "cPicker", "cGrab", "cRelease", "cGradient"; empty for the
  // default pointer.
  std::string_view Pointer() const { return pointer_; }
  // The tool of the stroke under way; empty when none.
  const std::string& StrokeTool() const { return tool_; }

  // --- Stroke state (per document)
  int32_t StartX = 0, StartY = 0;
  int32_t LastX = 0, LastY = 0;
  int32_t MoveOffsetX = 0, MoveOffsetY = 0;
  Bits MoveBits;
  bool MovingPixels = false;
  bool MouseIsDown = false;
  // x, y pairs of the selection polygon; two slots at rest. The points held
  // are the first PolygonPointCount pairs.
  std::vector<int32_t> PolygonPoints;
  int32_t PolygonPointCount = 0;
  bool Grabbing = false;
  Point GrabScreenPos;
  // Added: an outline-only move under way (the press was inside the
  // selection), and the bar values when the grab began.
  bool MovingOutline = false;
  int32_t GrabHValue = 0, GrabVValue = 0;

 private:
  Point PicturePoint(const Document& doc, int32_t cx, int32_t cy) const;
  void Press(Document& doc, CanvasHost& host, MouseButton button, Point p, bool shift, Point screen);
  void Move(Document& doc, CanvasHost& host, Point p, bool shift, Point screen);
  void Release(Document& doc, CanvasHost& host, MouseButton button, Point p, bool shift);
  // idstMouseMove: the tool's share of a move.
  void ToolMove(Document& doc, CanvasHost& host, Point p, bool shift);
  void ToolRelease(Document& doc, CanvasHost& host, Point p);
  void SelectRelease(Document& doc, CanvasHost& host, Point p);
  void ShapeMove(Document& doc, CanvasHost& host, Point p, bool shift);
  void StampMove(Document& doc, CanvasHost& host, Point p, const Bits& stamp, bool mask);
  void BrushMove(Document& doc, CanvasHost& host, Point p);
  // The stroke's end: the picture goes to the engine and the step is recorded.
  void RecordStep(Document& doc, CanvasHost& host);
  void EndOfRelease(Document& doc, CanvasHost& host);

  void AddPolygonPoint(Point p);
  void ResetPolygon();
  void ShowShape(const Document& doc, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t kind);
  void ShowPolyline(const Document& doc, const std::vector<Point>& picturePoints);
  void HideShape() { overlay_.Visible = false; }
  void UpdateInfo(Document& doc, Point p);

  // The picture of the press, kept in the engine: copies back the part that
  // the last draw touched, then remembers `next` as the part the coming draw
  // touches.
  void RestoreTouched(Document& doc, CanvasHost& host, const Rect& next);
  void KeepPressPicture(Document& doc, CanvasHost& host);

  std::string tool_;    // the tool of the press; empty when no stroke runs
  std::string action_;  // its action name
  Rect touched_;        // picture part changed since the press picture
  bool timerOn_ = false;
  bool repaint_ = false;
  bool outlineRedraw_ = false;
  RubberBand overlay_;
  InfoReadout info_;
  std::string_view pointer_;
};

}  // namespace kelvane
