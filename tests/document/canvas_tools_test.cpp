// The canvas tools: the canvas-to-picture mapping, one stroke per tool from
// press to release, what each release records, the selection tools, the
// moving of pixels and outlines, the rubber band, the info box, the outline
// timer and the grab scroll. Expected pixels come from the blend and disc
// rules worked by hand or in small reference loops.
#include "document/canvas_tools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "base/numeric.h"
#include "test_support.h"

namespace kelvane {
namespace {

// The main window as the canvas sees it: Update records a snapshot under the
// caption, as the main window's Update does.
struct Host : CanvasHost {
  StartRecord rec;
  cBitFilter filter;
  Document* doc = nullptr;
  UndoGlobals* globals = nullptr;
  std::vector<std::string> captions;
  int updates = 0;
  bool restore = false;
  std::optional<Bits> stamp, text, tile;
  std::vector<std::pair<int32_t, bool>> picked;

  StartRecord& Record() override { return rec; }
  cBitFilter& MainFilter() override { return filter; }
  void Update(bool, bool takeUndo) override {
    ++updates;
    if (takeUndo) {
      globals->LastCommandCaption = captions.empty() ? "" : captions.back();
      doc->SaveUndoBits();
    }
  }
  void SetLastCommandCaption(std::string_view c) override { captions.emplace_back(c); }
  bool RestoreFlag() const override { return restore; }
  const Bits* StampBits() override { return stamp ? &*stamp : nullptr; }
  const Bits* TextMask() override { return text ? &*text : nullptr; }
  const Bits* TextureTile() override { return tile ? &*tile : nullptr; }
  void ColorPicked(int32_t colour, bool foreground) override { picked.emplace_back(colour, foreground); }
};

using Rgb = std::array<int, 3>;  // red, green, blue
constexpr Rgb kBlack{0, 0, 0}, kWhite{255, 255, 255};

Bits Uniform(int w, int h, Rgb c) {
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int k = 0; k < 3; ++k) b.At(k, x, y) = static_cast<uint8_t>(c[2 - k]);  // blue, green, red
  return b;
}

bool In(int x, int y, int l, int t, int r, int b) { return x >= l && x < r && y >= t && y < b; }

// got(x, y) against want(x, y) over a w x h grid; the first difference is reported.
template <typename Got, typename Want>
testing::AssertionResult Each(int w, int h, Got got, Want want) {
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (!(got(x, y) == want(x, y)))
        return testing::AssertionFailure() << "at " << x << "," << y << ": "
                                           << testing::PrintToString(got(x, y)) << ", want "
                                           << testing::PrintToString(want(x, y));
  return testing::AssertionSuccess();
}

// A document with a picture (none when w is 0), its selection initialised and
// the "Original" snapshot taken (UndoPos 1), seen at zoom 1 with no bars.
// Every tool paints white at full pressure unless a test says otherwise.
struct Canvas {
  test::TempDir dir;
  UndoGlobals globals;
  Document doc{globals, dir.path()};
  Host host;
  CanvasTools tools;

  Canvas(int w, int h, Rgb background) {
    host.rec = DefaultStartRecord(dir.path());
    host.rec.ForeColor = 0xFFFFFF;
    host.rec.BrushPressure = host.rec.ShapePressure = host.rec.StampPressure = 100;
    host.doc = &doc;
    host.globals = &globals;
    if (w == 0) return;
    doc.SetViewSize(4000, 4000);
    doc.CreateBlank(w, h);
    doc.BitRegion().Init(0, 0, w, h);
    doc.Bits(Uniform(w, h, background));
    globals.LastCommandCaption = "Original";
    doc.SaveUndoBits();
  }
  void Tool(std::string_view t) { host.rec.CurrentTool.Set(t); }
  void Down(int x, int y, bool shift = false) { tools.MouseDown(doc, host, MouseButton::Left, x, y, shift); }
  void MoveTo(int x, int y, bool shift = false) { tools.MouseMove(doc, host, x, y, shift); }
  void Up(int x, int y, bool shift = false) { tools.MouseUp(doc, host, MouseButton::Left, x, y, shift); }
  void Drag(std::vector<Point> path, bool shift = false) {
    Down(path.front().x, path.front().y, shift);
    for (size_t i = 1; i < path.size(); ++i) MoveTo(path[i].x, path[i].y, shift);
    Up(path.back().x, path.back().y, shift);
  }
  Rgb At(int x, int y) const {
    const Bits& b = doc.PictureBits();
    return {b.At(2, x, y), b.At(1, x, y), b.At(0, x, y)};
  }
  int UndoPos() const { return doc.History().UndoPos(); }
  template <typename F>
  testing::AssertionResult PictureIs(F want) const {
    const Bits& b = doc.PictureBits();
    return Each(b.Width(), b.Height(), [this](int x, int y) { return At(x, y); }, want);
  }
  // The selection over w x h against want(x, y).
  template <typename F>
  testing::AssertionResult SelectionIs(int w, int h, F want) {
    const RectRegion* r = doc.BitRegion().Region();
    if (!r) return testing::AssertionFailure() << "no selection";
    return Each(w, h, [r](int x, int y) { return r->Contains(x, y); }, want);
  }
};

TEST(CanvasToolsMapping, CanvasToPictureDividesByTheZoomAfterTheBars) {
  struct Case {
    int cx, cy, h, v, zoom, x, y;
  };
  const Case cases[] = {
      {10, 10, 0, 0, 3, 3, 3},   {10, 11, 5, 7, 3, 5, 6},   {7, 9, 0, 0, 1, 7, 9},
      {29, 0, 1, 0, 15, 2, 0},   {-1, -5, 0, 0, 3, 0, -1},  // truncated towards zero
      {6, 6, 0, 0, 0, 6, 6},                                // a zoom below 1 counts as 1
  };
  for (const Case& c : cases)
    EXPECT_EQ(CanvasToPicture(c.cx, c.cy, c.h, c.v, c.zoom), (Point{c.x, c.y})) << c.cx << "," << c.cy;
  EXPECT_EQ(PictureToCanvas(3, 4, 2, 1, 3), (Point{7, 11}));

  Canvas c(20, 20, kBlack);
  c.doc.ZoomFactor(3);
  c.Tool("Brush");
  c.host.rec.BrushSize = 1;  // r = Round(0.5) = 0: one pixel
  c.Drag({{10, 10}});
  EXPECT_TRUE(c.PictureIs([](int x, int y) { return x == 3 && y == 3 ? kWhite : kBlack; }));
}

TEST(CanvasToolsReadout, TheInfoBoxAndGetColorReadThePixelUnderThePointer) {
  EXPECT_EQ(FormatTwoDigits(5) + FormatTwoDigits(0) + FormatTwoDigits(255), "0500255");
  Canvas c(10, 10, {5, 200, 17});
  c.MoveTo(4, 6);
  const InfoReadout& i = c.tools.Info();
  EXPECT_EQ((std::vector<std::string>{std::to_string(i.X), std::to_string(i.Y), i.Red, i.Green, i.Blue}),
            (std::vector<std::string>{"4", "6", "05", "200", "17"}));
  c.MoveTo(40, 6);  // outside the picture: BitsGetPixel gives 0
  EXPECT_EQ(i.Red + i.Blue, "0000");

  // GetColor: the left button picks the foreground, the right the background.
  c.Tool("GetColor");
  c.Drag({{3, 4}});
  c.tools.MouseDown(c.doc, c.host, MouseButton::Right, 3, 4, false);
  EXPECT_EQ(c.host.picked, (std::vector<std::pair<int32_t, bool>>{{0x11C805, true}, {0x11C805, false}}));
  EXPECT_EQ(c.host.updates, 0);
}

TEST(CanvasToolsStroke, EachToolRecordsOneStepAtTheReleaseUnderItsName) {
  struct Case {
    const char* tool;
    const char* caption;
    bool paintsWhileDragging;  // false: nothing before the release
    std::vector<Point> path;
  };
  const Case cases[] = {
      {"Brush", "Brush", true, {{10, 10}, {14, 12}}},
      {"Airbrush", "AirBrush", true, {{10, 10}, {14, 12}}},
      {"Pencil", "Pencil", true, {{2, 12}, {22, 12}}},
      {"Shape", "Shape", true, {{10, 10}, {14, 14}}},
      {"Stamp", "Stamp", true, {{10, 10}, {14, 12}}},
      {"Text", "Text", true, {{10, 10}, {14, 12}}},
      {"Fill", "Fill", false, {{4, 4}, {5, 5}}},
      {"Gradient", "Gradient", false, {{4, 4}, {5, 5}}},
      {"Brush", "Brush", false, {{-50, -50}, {-40000, 70000}}},  // off the picture: a step all the same
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.tool << " from " << k.path[0].x);
    Canvas c(30, 30, kBlack);
    c.Tool(k.tool);
    c.host.rec.BrushSize = 5;
    c.host.rec.ShapeKind = kShapeRectangle;
    c.host.rec.StampMask = kTrue;
    c.host.stamp = c.host.text = Bits(3, 3);
    const Bits before = c.doc.PictureBits();
    c.Down(k.path[0].x, k.path[0].y);
    for (size_t i = 1; i < k.path.size(); ++i) c.MoveTo(k.path[i].x, k.path[i].y);
    EXPECT_EQ(c.doc.PictureBits() == before, !k.paintsWhileDragging);
    EXPECT_EQ(c.host.updates, 0);
    c.Up(k.path.back().x, k.path.back().y);
    EXPECT_EQ(c.doc.PictureBits() == before, k.path[0].x < 0);
    EXPECT_EQ(c.host.updates, 1);
    EXPECT_EQ(c.host.captions, std::vector<std::string>{k.caption});
    EXPECT_EQ(c.UndoPos(), 2);
    EXPECT_EQ(c.doc.History().HistoryNames()[1], k.caption);
    EXPECT_TRUE(c.host.filter.BitsRef() == c.doc.PictureBits());  // the engine holds the finished picture
  }
}

TEST(CanvasToolsBrush, OneClickIsOneDab) {
  Canvas c(20, 20, {100, 100, 100});
  c.Tool("Brush");
  c.host.rec.BrushSize = 5;  // r = Round(2.5) = 2, limit 5
  c.host.rec.BrushPressure = 50;
  c.host.rec.ForeColor = 0x0000FF;
  c.Drag({{10, 10}});
  // Red: Round(0.5 * 255 + 0.5 * 100) = Round(177.5) = 178; others Round(50).
  EXPECT_TRUE(c.PictureIs([](int x, int y) {
    const int dx = x - 10, dy = y - 10;
    return dx * dx + dy * dy < 5 ? Rgb{178, 50, 50} : Rgb{100, 100, 100};
  }));
}

TEST(CanvasToolsBrush, TraceOffLeavesGapsAndNoStrokePaintsAPixelTwice) {
  for (const bool smooth : {false, true}) {
    SCOPED_TRACE(smooth ? "trace on" : "trace off");
    Canvas c(40, 30, kBlack);
    c.Tool("Brush");
    c.host.rec.BrushSize = 3;  // r = Round(1.5) = 2
    c.host.rec.BrushPressure = 50;
    c.host.rec.BrushContinuous = smooth ? kTrue : kFalse;
    c.Drag({{5, 25}, {30, 25}});
    // A path that crosses itself and comes back to its start.
    c.Drag({{10, 10}, {30, 10}, {10, 12}, {30, 14}, {10, 10}, {10, 10}});
    // Once: Round(0.5 * 255) = 128 (127.5 to even); twice would give 192.
    const Rgb once{128, 128, 128};
    EXPECT_EQ(c.At(10, 10), once);
    EXPECT_TRUE(c.PictureIs([&](int x, int y) { return c.At(x, y) == once ? once : kBlack; }));
    int painted = 0;
    for (int x = 5; x <= 30; ++x) painted += c.At(x, 25) == once;
    EXPECT_EQ(painted, smooth ? 26 : 6);  // without the trace, the discs round 5 and 30: 3 pixels each
    c.Drag({{10, 10}});  // the next stroke paints again
    EXPECT_EQ(c.At(10, 10), (Rgb{192, 192, 192}));
  }
}

TEST(CanvasToolsBrush, TextureBrushPaintsTheTileAnchoredToThePictureAndNeedsOne) {
  Canvas c(20, 20, kBlack);
  c.Tool("Brush");
  c.host.rec.BrushMode = 6;  // "Current stamp (Tiled)"
  c.host.rec.BrushSize = 1;
  c.host.rec.BrushContinuous = kFalse;
  c.Drag({{5, 6}});
  EXPECT_EQ(c.host.updates, 0);  // no tile: nothing at all
  EXPECT_EQ(c.At(5, 6), kBlack);

  // Periods 5 x 5 (highest indices of a 4 x 4 tile): (5, 6) takes tile pixel (0, 1).
  Bits tile(4, 4);
  tile.At(2, 0, 1) = 11;
  tile.At(1, 0, 1) = 22;
  tile.At(0, 0, 1) = 33;
  c.host.tile = tile;
  c.Drag({{5, 6}});
  EXPECT_EQ(c.At(5, 6), (Rgb{11, 22, 33}));
}

TEST(CanvasToolsShape, TheShapeIsRedrawnOnEveryMoveWithoutAccumulating) {
  Canvas c(40, 40, kBlack);
  c.Tool("Shape");
  c.host.rec.ShapeKind = kShapeRectangle;
  c.Down(5, 5);
  c.MoveTo(30, 30);
  EXPECT_NE(c.At(30, 20), kBlack);  // the big rectangle is shown meanwhile
  c.MoveTo(10, 10);
  c.Up(10, 10);
  // Only the last rectangle (5, 5)-(10, 10) remains, anti-aliased edges
  // reaching at most a pixel past it.
  EXPECT_TRUE(c.PictureIs([&](int x, int y) { return In(x, y, 3, 3, 12, 12) ? c.At(x, y) : kBlack; }));
  EXPECT_NE(c.At(10, 8), kBlack);
  EXPECT_NE(c.At(7, 10), kBlack);
  EXPECT_EQ(c.At(7, 7), kBlack);

  // Free hand draws from the last point and keeps its whole path.
  Canvas f(30, 30, kBlack);
  f.Tool("Shape");
  f.host.rec.ShapeKind = kShapeFreeHand;
  f.Drag({{5, 5}, {15, 5}, {15, 15}});
  EXPECT_NE(f.At(10, 5), kBlack);
  EXPECT_NE(f.At(15, 10), kBlack);
}

TEST(CanvasToolsShape, TheConstraintMakesSquaresAndCircles) {
  struct Case {
    int kind;
    bool shift;
    Point end, probe;  // the probe is painted only with the constraint
    bool painted;
  };
  const Case cases[] = {
      {kShapeRectangle, false, {15, 9}, {5, 13}, false},
      {kShapeRectangle, true, {15, 9}, {5, 13}, true},  // square to (15, 15)
      {kShapeSquare, false, {15, 9}, {5, 13}, true},
      {kShapeEllipse, false, {30, 24}, {20, 30}, false},  // radii 10 and 4 round (20, 20)
      {kShapeEllipse, true, {30, 24}, {20, 30}, true},    // circle of radius 10
      {kShapeCircle, false, {30, 24}, {20, 30}, true},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << "kind " << k.kind << " shift " << k.shift);
    Canvas c(40, 40, kBlack);
    c.Tool("Shape");
    c.host.rec.ShapeKind = static_cast<int16_t>(k.kind);
    const bool round = k.kind == kShapeEllipse || k.kind == kShapeCircle;
    c.Drag({round ? Point{20, 20} : Point{5, 5}, k.end}, k.shift);
    bool any = false;
    for (int d = -1; d <= 1; ++d)
      any = any || c.At(k.probe.x + (round ? d : 0), k.probe.y + (round ? 0 : d)) != kBlack;
    EXPECT_EQ(any, k.painted);
  }
}

TEST(CanvasToolsStamp, StampAndTextFollowThePointerCentredAndNeedTheirBits) {
  struct Case {
    const char* tool;
    bool mask;
    Rgb stamp, want;
  };
  // Mask mode paints the fore colour where channel 0 is black; picture mode copies the stamp.
  const Case cases[] = {
      {"Stamp", true, kBlack, {255, 0, 0}},
      {"Text", true, kBlack, {255, 0, 0}},
      {"Stamp", false, {7, 8, 9}, {7, 8, 9}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.tool << " mask " << k.mask);
    Canvas c(30, 30, kBlack);
    c.Tool(k.tool);
    c.host.rec.StampMask = k.mask ? kTrue : kFalse;
    c.host.rec.ForeColor = 0x0000FF;
    c.Drag({{10, 10}, {12, 12}});
    EXPECT_EQ(c.host.updates, 0);  // without its bits the tool does nothing

    (k.tool == std::string("Stamp") ? c.host.stamp : c.host.text) = Uniform(4, 2, k.stamp);
    c.Down(10, 10);
    EXPECT_EQ(c.At(8, 9), k.want);  // top-left (10 - 4 \ 2, 10 - 2 \ 2)
    c.MoveTo(20, 20);
    c.Up(20, 20);
    EXPECT_TRUE(c.PictureIs([&](int x, int y) { return In(x, y, 18, 19, 22, 21) ? k.want : kBlack; }));
  }
}

TEST(CanvasToolsGradient, TheReleaseRunsTheGradientFromPressToRelease) {
  for (const int mode : {0, 1}) {
    SCOPED_TRACE(mode == 0 ? "linear" : "circular");
    Canvas c(20, 10, {50, 60, 70});
    c.Tool("Gradient");
    c.host.rec.GradientShape[2] = mode;
    c.host.rec.GradientColors = {0, 0xFFFFFF};
    c.host.rec.GradientPressure = 100;
    c.host.rec.GradientFrequency = 1;
    c.doc.BitRegion().CreateRect(0, 0, 15, 10, CombineMode::Or, false);
    c.Down(0, 5);
    c.MoveTo(6, 5);
    ASSERT_TRUE(c.tools.Overlay().Visible);
    EXPECT_EQ(c.tools.Overlay().Kind, 2);
    EXPECT_EQ(c.tools.Overlay().Points, (std::vector<Point>{{0, 5}, {6, 5}}));
    c.Up(10, 5);
    EXPECT_FALSE(c.tools.Overlay().Visible);
    // L = 10, angle 0: t = u * cos(0) / L (linear) or sqrt(u^2 + v^2) / L,
    // held to 0..1; black to white gives 255 t. Only the selection changes.
    EXPECT_TRUE(c.PictureIs([&](int x, int y) {
      const double u = x, v = y - 5;
      const double t =
          std::clamp(mode == 0 ? u * (std::cos(0.0) / 10) : std::sqrt(u * u + v * v) / 10, 0.0, 1.0);
      const int g = RoundByte(255 * t);
      return x < 15 ? Rgb{g, g, g} : Rgb{50, 60, 70};
    }));
  }
}

TEST(CanvasToolsSelect, AddSubtractEllipseBoxAndTheOutlineTimer) {
  Canvas c(20, 20, kBlack);
  EXPECT_FALSE(c.tools.Tick(c.doc));  // no selection: the stripes stay
  EXPECT_EQ(c.doc.BitRegion().BrushIndex(), 0);
  c.Tool("Select");
  c.host.rec.SelectionShape = kSelectRectangle;
  c.host.rec.SelectionMode = 0;  // Add
  c.Drag({{2, 2}, {8, 8}, {12, 12}});
  ASSERT_TRUE(c.tools.SelectionTimerOn());
  EXPECT_EQ(c.doc.BitRegion().BrushIndex(), 1);  // starting the timer ran one tick
  c.tools.TakeOutlineRedraw();
  EXPECT_TRUE(c.tools.Tick(c.doc));
  EXPECT_EQ(c.doc.BitRegion().BrushIndex(), 2);
  EXPECT_TRUE(c.tools.TakeOutlineRedraw());
  EXPECT_FALSE(c.tools.TakeOutlineRedraw());
  c.host.rec.SelectionMode = 1;  // Subtract
  c.Drag({{5, 5}, {8, 8}});
  EXPECT_TRUE(
      c.SelectionIs(20, 20, [](int x, int y) { return In(x, y, 2, 2, 12, 12) && !In(x, y, 5, 5, 8, 8); }));
  EXPECT_EQ(c.host.filter.BitsRegionHandle(), c.doc.BitRegion().Region());
  EXPECT_EQ(c.host.updates, 0);  // selecting records nothing
  EXPECT_FALSE(c.tools.MouseIsDown);

  c.Drag({{0, 0}, {20, 20}});  // subtracting everything leaves nothing
  EXPECT_TRUE(c.doc.BitRegion().IsEmptyRegion());
  EXPECT_FALSE(c.tools.SelectionTimerOn());
  EXPECT_EQ(c.host.filter.BitsRegionHandle(), c.doc.BitRegion().RegionMain());
  c.Drag({{2, 2}, {12, 12}});  // nor does subtracting from nothing
  EXPECT_TRUE(c.doc.BitRegion().IsEmptyRegion());

  c.host.rec.SelectionMode = 0;
  c.host.rec.SelectionShape = kSelectEllipse;
  c.Drag({{12, 14}, {2, 3}});  // dragged up and left
  ASSERT_NE(c.doc.BitRegion().Region(), nullptr);
  EXPECT_TRUE(*c.doc.BitRegion().Region() == RectRegion::FromEllipse(2, 3, 12, 14));
  c.host.rec.SelectionMode = 2;  // "New" with a rectangle: the whole picture first
  c.host.rec.SelectionShape = kSelectRectangle;
  c.Drag({{2, 2}, {4, 4}});
  EXPECT_TRUE(c.SelectionIs(20, 20, [](int, int) { return true; }));
}

TEST(CanvasToolsSelect, PolygonAndFreeHandGatherTheDragPointsAddedOrNew) {
  // "New" selects the whole picture first when no point is gathered yet. The
  // polygon stores its first point at the press, before that test, so it is
  // ORed into the selection as it stands; free hand gathers its first point
  // after the test.
  for (const int mode : {0, 2})
    for (const int shape : {kSelectPolygon, kSelectFreeHand}) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << " shape " << shape);
      Canvas c(20, 20, kBlack);
      c.doc.BitRegion().CreateRect(15, 15, 17, 17, CombineMode::Or, false);
      c.Tool("Select");
      c.host.rec.SelectionMode = static_cast<int16_t>(mode);
      c.host.rec.SelectionShape = static_cast<int16_t>(shape);
      c.Down(2, 2);
      EXPECT_EQ(c.tools.PolygonPointCount, 1);
      EXPECT_EQ(c.tools.SelectionTimerOn(), shape == kSelectFreeHand);
      c.MoveTo(12, 2);
      c.MoveTo(12, 12);
      c.MoveTo(2, 12);
      ASSERT_TRUE(c.tools.Overlay().Visible);
      EXPECT_EQ(c.tools.Overlay().Kind, 2);
      EXPECT_EQ(c.tools.Overlay().Points, (std::vector<Point>{{2, 2}, {12, 2}, {12, 12}, {2, 12}}));
      c.Up(2, 12);
      const bool whole = mode == 2 && shape == kSelectFreeHand;
      EXPECT_TRUE(c.SelectionIs(20, 20, [&](int x, int y) {
        return whole || In(x, y, 2, 2, 12, 12) || In(x, y, 15, 15, 17, 17);
      }));
      EXPECT_EQ(c.tools.PolygonPoints.size(), 2u);
      EXPECT_EQ(c.tools.PolygonPointCount, 0);
      EXPECT_FALSE(c.tools.Overlay().Visible);
    }
}

TEST(CanvasToolsSelect, RubberBandAndSizeReadoutAtZoomTwo) {
  Canvas c(40, 30, kBlack);
  c.doc.ZoomFactor(2);
  c.Tool("Select");
  c.host.rec.SelectionShape = kSelectEllipse;
  c.Down(21, 11);  // picture (10, 5)
  c.MoveTo(4, 4);  // picture (2, 2)
  const RubberBand& band = c.tools.Overlay();
  ASSERT_TRUE(band.Visible);
  EXPECT_EQ(band.Kind, 1);
  EXPECT_EQ((Rect{band.X1, band.Y1, band.X2, band.Y2}), (Rect{4, 4, 20, 10}));
  EXPECT_EQ(c.tools.Info().Width, 8);
  EXPECT_EQ(c.tools.Info().Height, 3);
  c.Up(4, 4);
  EXPECT_FALSE(c.tools.Overlay().Visible);
}

constexpr Rgb kA{100, 100, 100}, kB{200, 0, 0};

// A picture of A with a B square (2, 2)-(6, 6), selected.
struct MoveCanvas : Canvas {
  explicit MoveCanvas(bool content, int spareByte = 0) : Canvas(30, 20, kA) {
    Bits b = doc.PictureBits();
    for (int y = 0; y < 20; ++y)
      for (int x = 0; x < 30; ++x) {
        if (In(x, y, 2, 2, 6, 6)) b.At(2, x, y) = 200, b.At(1, x, y) = 0, b.At(0, x, y) = 0;
        b.At(3, x, y) = static_cast<uint8_t>(spareByte);
      }
    doc.Bits(b);
    doc.BitRegion().CreateRect(2, 2, 6, 6, CombineMode::Or, false);
    Tool("SelectionMove");
    host.rec.SelectionMoveContent = content ? kTrue : kFalse;
    host.rec.PasteBoxPressure = 100;
  }
};

TEST(CanvasToolsSelectionMove, PixelsFollowThePointerWithoutATrail) {
  // A picture from a 32-bit file may carry 255 in the spare byte, the value
  // the crop uses to mark pixels outside the selection.
  for (const int spare : {0, 255}) {
    SCOPED_TRACE(spare);
    MoveCanvas c(false, spare);
    c.doc.BitRegion().CreateRect(2, 2, 3, 3, CombineMode::Diff, false);  // the top-left pixel stays
    c.Down(3, 3);
    EXPECT_TRUE(c.tools.MovingPixels);
    EXPECT_EQ((Point{c.tools.MoveOffsetX, c.tools.MoveOffsetY}), (Point{1, 1}));
    c.MoveTo(13, 3);
    c.MoveTo(3, 13);
    EXPECT_TRUE(c.PictureIs([](int x, int y) {
      const bool moved = In(x, y, 2, 12, 6, 16) && !(x == 2 && y == 12);
      return In(x, y, 2, 2, 6, 6) || moved ? kB : kA;
    }));
    c.Up(3, 13);
    EXPECT_FALSE(c.tools.MovingPixels);
    EXPECT_TRUE(c.host.filter.BitsRef() == c.doc.PictureBits());
    EXPECT_EQ(c.host.updates, 0);
  }
}

TEST(CanvasToolsSelectionMove, PixelsAreLaidAtThePasteBoxPressureFromTheVisibleBox) {
  MoveCanvas c(false);
  c.host.rec.PasteBoxPressure = 80;
  c.Drag({{3, 3}, {13, 3}});
  // Red Round(0.8 * 200 + 0.2 * 100) = 180, the others Round(0.2 * 100) = 20.
  EXPECT_EQ(c.At(12, 2), (Rgb{180, 20, 20}));
  EXPECT_EQ(c.At(15, 5), (Rgb{180, 20, 20}));
  EXPECT_EQ(c.At(16, 5), kA);
  // A press outside the selection's box moves nothing.
  const Bits before = c.doc.PictureBits();
  c.Drag({{25, 15}, {20, 10}});
  EXPECT_TRUE(c.doc.PictureBits() == before);

  // A selection past the edge moves from its visible part: columns 0..3 move
  // by 10; 0 and 1 were A, 2 and 3 were B.
  MoveCanvas e(false);
  e.doc.BitRegion().Init(0, 0, 30, 20);
  e.doc.BitRegion().CreateRect(-3, 2, 4, 6, CombineMode::Or, false);
  e.Drag({{3, 3}, {13, 3}});
  EXPECT_TRUE(Each(5, 4, [&](int x, int y) { return e.At(10 + x, 2 + y); },
                   [](int x, int) { return x == 2 || x == 3 ? kB : kA; }));
}

TEST(CanvasToolsSelectionMove, OutlineOnlyMovesTheSelectionAndCropsAtEveryRelease) {
  MoveCanvas c(true);
  const Bits before = c.doc.PictureBits();
  c.Down(3, 3);
  c.MoveTo(8, 4);
  c.MoveTo(9, 5);
  EXPECT_TRUE(c.SelectionIs(30, 20, [](int x, int y) { return In(x, y, 8, 4, 12, 8); }));
  c.MoveTo(30, 3);  // past the right edge
  c.Up(30, 3);
  EXPECT_TRUE(c.SelectionIs(36, 20, [](int x, int y) { return In(x, y, 29, 2, 30, 6); }));
  EXPECT_TRUE(c.doc.PictureBits() == before);

  // A press outside the selection leaves it where it is, and the release
  // still crops it.
  c.doc.BitRegion().CreateRect(25, 10, 34, 14, CombineMode::Or, false);
  c.Drag({{5, 15}, {10, 18}});
  EXPECT_TRUE(
      c.SelectionIs(36, 20, [](int x, int y) { return In(x, y, 29, 2, 30, 6) || In(x, y, 25, 10, 30, 14); }));

  // Releasing Ctrl mid-move crops too: outside the picture nothing is left.
  MoveCanvas k(true);
  k.Down(3, 3);
  k.MoveTo(-3, 3);  // the box goes to (-4, 2)-(0, 6)
  k.tools.KeyUp(k.doc, k.host, 16);
  EXPECT_FALSE(k.doc.BitRegion().IsEmptyRegion());
  k.tools.KeyUp(k.doc, k.host, kKeyControl);
  EXPECT_TRUE(k.doc.BitRegion().IsEmptyRegion());
  k.Up(-3, 3);
  EXPECT_FALSE(k.tools.SelectionTimerOn());
}

TEST(CanvasToolsRestore, RightReleaseWritesBackTheKeptPictureOnlyWithTheFlag) {
  Canvas c(20, 20, kBlack);
  c.Tool("Brush");
  c.host.rec.BrushSize = 1;
  c.host.restore = true;
  c.Drag({{5, 5}});
  const Bits painted = c.doc.PictureBits();

  c.doc.Bits(Uniform(20, 20, {9, 9, 9}));
  c.host.restore = false;
  c.tools.MouseUp(c.doc, c.host, MouseButton::Right, 1, 1, false);
  EXPECT_EQ(c.At(5, 5), (Rgb{9, 9, 9}));
  c.host.restore = true;
  c.tools.MouseUp(c.doc, c.host, MouseButton::Right, 1, 1, false);
  EXPECT_TRUE(c.doc.PictureBits() == painted);
  // A kept array of another size is never written into the picture.
  c.host.filter.SetBits(Bits(3, 3));
  c.tools.MouseUp(c.doc, c.host, MouseButton::Right, 1, 1, false);
  EXPECT_TRUE(c.doc.PictureBits() == painted);
}

TEST(CanvasToolsGrab, DraggingScrollsByTheScreenDistance) {
  Canvas c(200, 200, kBlack);
  c.doc.SetViewSize(100, 100);
  ASSERT_GE(std::min(c.doc.HScroll().Max, c.doc.VScroll().Max), 50);
  c.doc.Scroll(30, 30);
  c.doc.MouseScroll(true);
  c.Tool("Brush");  // the grab wins over any tool
  const Bits before = c.doc.PictureBits();
  c.tools.MouseDown(c.doc, c.host, MouseButton::Left, 50, 50, false, {500, 500});
  EXPECT_EQ(c.tools.Pointer(), "cGrab");
  c.tools.MouseMove(c.doc, c.host, 40, 30, false, {490, 480});
  EXPECT_EQ((Point{c.doc.HScroll().Value, c.doc.VScroll().Value}), (Point{40, 50}));
  c.tools.MouseMove(c.doc, c.host, 90, 90, false, {560, 540});
  EXPECT_EQ((Point{c.doc.HScroll().Value, c.doc.VScroll().Value}), (Point{0, 0}));  // clipped to the bars
  c.tools.MouseUp(c.doc, c.host, MouseButton::Left, 90, 90, false);
  EXPECT_EQ(c.tools.Pointer(), "cRelease");
  EXPECT_TRUE(c.doc.PictureBits() == before);
  EXPECT_EQ(c.host.updates, 0);
}

TEST(CanvasToolsRobustness, NoPictureUnknownToolsAndStrayReleasesDoNothing) {
  Canvas e(0, 0, kBlack);
  for (const char* tool : {"Brush", "Fill", "Shape", "Gradient", "SelectionMove", "Select"}) {
    e.Tool(tool);
    e.Drag({{3, 3}, {5, 5}});
    e.tools.KeyUp(e.doc, e.host, kKeyControl);
  }
  EXPECT_EQ(e.host.updates, 0);
  EXPECT_FALSE(e.tools.MouseIsDown);

  Canvas c(10, 10, {1, 1, 1});
  const Bits before = c.doc.PictureBits();
  for (const char* tool : {"", "Layers", "brush", "MouseScroll"}) {
    c.Tool(tool);
    c.Drag({{3, 3}, {6, 6}});
  }
  c.Tool("Brush");
  c.Up(4, 4);  // a release with no press
  c.MoveTo(5, 5);
  EXPECT_TRUE(c.doc.PictureBits() == before);
  EXPECT_EQ(c.host.updates, 0);
}

}  // namespace
}  // namespace kelvane
