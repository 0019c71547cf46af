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
  std::string caption;
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
      globals->LastCommandCaption = caption;
      doc->SaveUndoBits();
    }
  }
  void SetLastCommandCaption(std::string_view c) override {
    caption = c;
    captions.emplace_back(c);
  }
  bool RestoreFlag() const override { return restore; }
  const Bits* StampBits() override { return stamp ? &*stamp : nullptr; }
  const Bits* TextMask() override { return text ? &*text : nullptr; }
  const Bits* TextureTile() override { return tile ? &*tile : nullptr; }
  void ColorPicked(int32_t colour, bool foreground) override { picked.emplace_back(colour, foreground); }
};

using Rgb = std::array<int, 3>;  // red, green, blue

Bits Uniform(int w, int h, Rgb c) {
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      b.At(0, x, y) = static_cast<uint8_t>(c[2]);
      b.At(1, x, y) = static_cast<uint8_t>(c[1]);
      b.At(2, x, y) = static_cast<uint8_t>(c[0]);
    }
  return b;
}

int32_t ColourOf(Rgb c) { return c[0] | (c[1] << 8) | (c[2] << 16); }

// A document with a picture, its selection initialised and the "Original"
// snapshot taken (UndoPos 1), seen at zoom 1 with no bars.
struct Canvas {
  test::TempDir dir;
  UndoGlobals globals;
  Document doc{globals, dir.path()};
  Host host;
  CanvasTools tools;

  Canvas(int w, int h, Rgb background) {
    doc.SetViewSize(4000, 4000);
    doc.CreateBlank(w, h);
    doc.BitRegion().Init(0, 0, w, h);
    doc.Bits(Uniform(w, h, background));
    host.rec = DefaultStartRecord(dir.path());
    host.doc = &doc;
    host.globals = &globals;
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
};

// ---------------------------------------------------------------------------
// Mapping, readouts, combine modes

TEST(CanvasToolsMapping, CanvasToPictureDividesByTheZoomAfterTheBars) {
  struct Case {
    int cx, cy, h, v, zoom, x, y;
  };
  const Case cases[] = {
      {10, 10, 0, 0, 3, 3, 3},  // zoom 3, canvas 10 -> 3
      {10, 11, 5, 7, 3, 5, 6},  // (10 + 5) \ 3, (11 + 7) \ 3
      {7, 9, 0, 0, 1, 7, 9},   {29, 0, 1, 0, 15, 2, 0}, {-1, -5, 0, 0, 3, 0, -1},  // truncated towards zero
      {6, 6, 0, 0, 0, 6, 6},  // a zoom below 1 counts as 1
  };
  for (const Case& c : cases) {
    EXPECT_EQ(CanvasToPicture(c.cx, c.cy, c.h, c.v, c.zoom), (Point{c.x, c.y}))
        << c.cx << "," << c.cy << " z " << c.zoom;
  }
  EXPECT_EQ(PictureToCanvas(3, 4, 2, 1, 3), (Point{7, 11}));
}

TEST(CanvasToolsMapping, AClickAtZoomThreePaintsThePicturePixelBelow) {
  Canvas c(20, 20, {0, 0, 0});
  c.doc.ZoomFactor(3);
  c.Tool("Brush");
  c.host.rec.BrushSize = 1;  // r = Round(0.5) = 0: one pixel
  c.host.rec.BrushPressure = 100;
  c.host.rec.ForeColor = 0xFFFFFF;
  c.Down(10, 10);
  c.Up(10, 10);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x)
      EXPECT_EQ(c.At(x, y), (x == 3 && y == 3 ? Rgb{255, 255, 255} : Rgb{0, 0, 0})) << x << "," << y;
}

TEST(CanvasToolsReadout, TwoDigitFormatAndPixelUnderThePointer) {
  EXPECT_EQ(FormatTwoDigits(0), "00");
  EXPECT_EQ(FormatTwoDigits(5), "05");
  EXPECT_EQ(FormatTwoDigits(42), "42");
  EXPECT_EQ(FormatTwoDigits(255), "255");

  Canvas c(10, 10, {5, 200, 17});
  c.MoveTo(4, 6);
  EXPECT_EQ(c.tools.Info().X, 4);
  EXPECT_EQ(c.tools.Info().Y, 6);
  EXPECT_EQ(c.tools.Info().Red, "05");
  EXPECT_EQ(c.tools.Info().Green, "200");
  EXPECT_EQ(c.tools.Info().Blue, "17");
  c.MoveTo(40, 6);  // outside the picture: BitsGetPixel gives 0
  EXPECT_EQ(c.tools.Info().Red, "00");
  EXPECT_EQ(c.tools.Info().Blue, "00");
}

// ---------------------------------------------------------------------------
// Brush family

TEST(CanvasToolsBrush, OneClickIsOneDabAndOneUndoStep) {
  Canvas c(20, 20, {100, 100, 100});
  c.Tool("Brush");
  c.host.rec.BrushSize = 5;  // r = Round(2.5) = 2, limit 5
  c.host.rec.BrushPressure = 50;
  c.host.rec.ForeColor = ColourOf({255, 0, 0});
  c.Down(10, 10);
  EXPECT_EQ(c.host.updates, 0);
  c.Up(10, 10);

  // Red: Round(0.5 * 255 + 0.5 * 100) = Round(177.5) = 178; others Round(50).
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) {
      const int dx = x - 10, dy = y - 10;
      const Rgb want = dx * dx + dy * dy < 5 ? Rgb{178, 50, 50} : Rgb{100, 100, 100};
      ASSERT_EQ(c.At(x, y), want) << x << "," << y;
    }
  EXPECT_EQ(c.host.updates, 1);
  EXPECT_EQ(c.host.captions, std::vector<std::string>{"Brush"});
  EXPECT_EQ(c.UndoPos(), 2);
  EXPECT_EQ(c.doc.History().HistoryNames()[1], "Brush");
  EXPECT_TRUE(std::filesystem::exists(c.doc.History().SlotFile(1)));
  // The engine holds the finished picture.
  EXPECT_TRUE(c.host.filter.BitsRef() == c.doc.PictureBits());
}

TEST(CanvasToolsBrush, SmoothOffLeavesGapsSmoothOnDoesNot) {
  for (const bool smooth : {false, true}) {
    SCOPED_TRACE(smooth ? "trace on" : "trace off");
    Canvas c(40, 20, {0, 0, 0});
    c.Tool("Brush");
    c.host.rec.BrushSize = 3;  // r = Round(1.5) = 2
    c.host.rec.BrushPressure = 100;
    c.host.rec.ForeColor = 0xFFFFFF;
    c.host.rec.BrushContinuous = smooth ? kTrue : kFalse;
    c.Drag({{5, 10}, {30, 10}});
    int painted = 0;
    for (int x = 5; x <= 30; ++x) painted += c.At(x, 10)[0] == 255;
    if (smooth) {
      EXPECT_EQ(painted, 26);
    } else {
      EXPECT_EQ(painted, 6);  // the discs round 5 and 30 reach 3 pixels each on the row
      EXPECT_EQ(c.At(18, 10), (Rgb{0, 0, 0}));
    }
    EXPECT_EQ(c.UndoPos(), 2);
  }
}

TEST(CanvasToolsBrush, AStrokeNeverPaintsAPixelTwiceButTheNextStrokeDoes) {
  for (const bool smooth : {false, true}) {
    SCOPED_TRACE(smooth ? "trace on" : "trace off");
    Canvas c(40, 30, {0, 0, 0});
    c.Tool("Brush");
    c.host.rec.BrushSize = 9;
    c.host.rec.BrushPressure = 50;
    c.host.rec.ForeColor = 0xFFFFFF;
    c.host.rec.BrushContinuous = smooth ? kTrue : kFalse;
    // A path that crosses itself and comes back to its start.
    c.Drag({{10, 10}, {30, 10}, {10, 12}, {30, 14}, {10, 10}, {10, 10}});
    // Once: Round(0.5 * 255) = 128 (127.5 to even); twice would give 192.
    int once = 0;
    for (int y = 0; y < 30; ++y)
      for (int x = 0; x < 40; ++x) {
        const Rgb p = c.At(x, y);
        ASSERT_TRUE(p == (Rgb{0, 0, 0}) || p == (Rgb{128, 128, 128})) << x << "," << y;
        once += p[0] == 128;
      }
    EXPECT_GT(once, 0);
    c.Down(10, 10);
    c.Up(10, 10);
    EXPECT_EQ(c.At(10, 10), (Rgb{192, 192, 192}));
    EXPECT_EQ(c.UndoPos(), 3);
  }
}

TEST(CanvasToolsBrush, TextureBrushPaintsTheTileAnchoredToThePicture) {
  Canvas c(20, 20, {0, 0, 0});
  c.Tool("Brush");
  c.host.rec.BrushMode = 6;  // "Current stamp (Tiled)"
  c.host.rec.BrushSize = 1;
  c.host.rec.BrushPressure = 100;
  c.host.rec.BrushContinuous = kFalse;
  // Without a tile the tool does nothing at all.
  c.Down(5, 6);
  c.Up(5, 6);
  EXPECT_EQ(c.host.updates, 0);
  EXPECT_EQ(c.At(5, 6), (Rgb{0, 0, 0}));

  // Periods 5 x 5 (highest indices of a 4 x 4 tile): (5, 6) takes tile pixel (0, 1).
  Bits tile(4, 4);
  tile.At(2, 0, 1) = 11;
  tile.At(1, 0, 1) = 22;
  tile.At(0, 0, 1) = 33;
  c.host.tile = tile;
  c.Down(5, 6);
  c.Up(5, 6);
  EXPECT_EQ(c.At(5, 6), (Rgb{11, 22, 33}));
  EXPECT_EQ(c.host.captions, std::vector<std::string>{"Brush"});
}

TEST(CanvasToolsBrush, AirbrushAndPencilRecordUnderTheirNames) {
  Canvas c(30, 20, {0, 0, 0});
  c.host.rec.ForeColor = 0xFFFFFF;
  c.Tool("Airbrush");
  c.host.rec.AirbrushSize = 5;
  c.host.rec.AirbrushPressure = 100;
  c.host.rec.AirbrushQuantity = 100;
  c.host.rec.AirbrushDefinition = 100;  // f = 0: full strength over the disc
  c.Down(5, 5);
  c.Up(5, 5);
  EXPECT_EQ(c.At(5, 5), (Rgb{255, 255, 255}));

  c.Tool("Pencil");
  c.host.rec.BrushPressure = 100;
  c.Drag({{2, 12}, {22, 12}});
  EXPECT_NE(c.At(12, 12), (Rgb{0, 0, 0}));
  EXPECT_EQ(c.At(12, 16), (Rgb{0, 0, 0}));
  EXPECT_EQ(c.host.captions, (std::vector<std::string>{"AirBrush", "Pencil"}));
  EXPECT_EQ(c.UndoPos(), 3);
}

TEST(CanvasToolsBrush, AStrokeOutsideThePictureStillRecordsAStep) {
  Canvas c(10, 10, {1, 2, 3});
  const Bits before = c.doc.PictureBits();
  c.Tool("Brush");
  c.Drag({{-50, -50}, {-40000, 70000}});
  EXPECT_TRUE(c.doc.PictureBits() == before);
  EXPECT_EQ(c.host.updates, 1);
  EXPECT_EQ(c.UndoPos(), 2);
}

// ---------------------------------------------------------------------------
// Fill, shapes, stamps, gradient, colour pick

TEST(CanvasToolsFill, NothingIsPaintedUntilTheRelease) {
  Canvas c(12, 8, {100, 100, 100});
  c.Tool("Fill");
  c.host.rec.ForeColor = ColourOf({0, 0, 255});
  c.host.rec.FillPressure = 100;
  c.host.rec.FillTolerance = 25;
  const Bits before = c.doc.PictureBits();
  c.Down(4, 4);
  c.MoveTo(5, 5);
  EXPECT_TRUE(c.doc.PictureBits() == before);
  EXPECT_EQ(c.host.updates, 0);
  c.Up(4, 4);
  // A uniform picture fills everywhere.
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 12; ++x) ASSERT_EQ(c.At(x, y), (Rgb{0, 0, 255})) << x << "," << y;
  EXPECT_EQ(c.host.captions, std::vector<std::string>{"Fill"});
  EXPECT_EQ(c.UndoPos(), 2);
}

TEST(CanvasToolsShape, TheShapeIsRedrawnOnEveryMoveWithoutAccumulating) {
  Canvas c(40, 40, {0, 0, 0});
  c.Tool("Shape");
  c.host.rec.ShapeKind = kShapeRectangle;
  c.host.rec.ShapePressure = 100;
  c.host.rec.ForeColor = 0xFFFFFF;
  c.Down(5, 5);
  c.MoveTo(30, 30);
  EXPECT_NE(c.At(30, 20), (Rgb{0, 0, 0}));  // the big rectangle is shown meanwhile
  c.MoveTo(10, 10);
  c.Up(10, 10);
  // Only the last rectangle (5, 5)-(10, 10) remains, anti-aliased edges
  // reaching at most a pixel past it.
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 40; ++x)
      if (x > 11 || y > 11 || x < 3 || y < 3) {
        ASSERT_EQ(c.At(x, y), (Rgb{0, 0, 0})) << x << "," << y;
      }
  EXPECT_NE(c.At(10, 8), (Rgb{0, 0, 0}));
  EXPECT_NE(c.At(7, 10), (Rgb{0, 0, 0}));
  EXPECT_EQ(c.At(7, 7), (Rgb{0, 0, 0}));
  EXPECT_EQ(c.host.captions, std::vector<std::string>{"Shape"});
  EXPECT_EQ(c.UndoPos(), 2);
}

TEST(CanvasToolsShape, TheConstraintMakesSquaresAndCircles) {
  struct Case {
    int kind;
    bool shift;
    Point end;
    Point probe;  // painted only with the constraint
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
    Canvas c(40, 40, {0, 0, 0});
    c.Tool("Shape");
    c.host.rec.ShapeKind = static_cast<int16_t>(k.kind);
    c.host.rec.ShapePressure = 100;
    c.host.rec.ForeColor = 0xFFFFFF;
    const Point start = k.kind == kShapeEllipse || k.kind == kShapeCircle ? Point{20, 20} : Point{5, 5};
    c.Drag({start, k.end}, k.shift);
    bool any = false;
    for (int d = -1; d <= 1; ++d) {
      const int x = k.probe.x + (k.kind == kShapeEllipse || k.kind == kShapeCircle ? d : 0);
      const int y = k.probe.y + (k.kind == kShapeEllipse || k.kind == kShapeCircle ? 0 : d);
      any = any || c.At(x, y) != Rgb{0, 0, 0};
    }
    EXPECT_EQ(any, k.painted);
  }
}

TEST(CanvasToolsShape, FreeHandKeepsItsWholePath) {
  Canvas c(30, 30, {0, 0, 0});
  c.Tool("Shape");
  c.host.rec.ShapeKind = kShapeFreeHand;
  c.host.rec.ShapePressure = 100;
  c.host.rec.ForeColor = 0xFFFFFF;
  c.Drag({{5, 5}, {15, 5}, {15, 15}});
  EXPECT_NE(c.At(10, 5), (Rgb{0, 0, 0}));
  EXPECT_NE(c.At(15, 10), (Rgb{0, 0, 0}));
}

TEST(CanvasToolsStamp, StampAndTextFollowThePointerCentredAndRecord) {
  for (const std::string tool : {"Stamp", "Text"}) {
    SCOPED_TRACE(tool);
    Canvas c(30, 30, {0, 0, 0});
    c.Tool(tool);
    c.host.rec.StampMask = kTrue;
    c.host.rec.StampPressure = 100;
    c.host.rec.ForeColor = ColourOf({255, 0, 0});
    // Without its mask the tool does nothing.
    c.Drag({{10, 10}, {12, 12}});
    EXPECT_EQ(c.host.updates, 0);

    Bits mask(3, 3);  // channel 0 is 0 everywhere: black paints fully
    (tool == "Stamp" ? c.host.stamp : c.host.text) = mask;
    c.Down(10, 10);
    EXPECT_EQ(c.At(9, 9), (Rgb{255, 0, 0}));
    c.MoveTo(20, 20);
    c.Up(20, 20);
    for (int y = 0; y < 30; ++y)
      for (int x = 0; x < 30; ++x) {
        const bool in = x >= 19 && x <= 21 && y >= 19 && y <= 21;
        ASSERT_EQ(c.At(x, y), (in ? Rgb{255, 0, 0} : Rgb{0, 0, 0})) << x << "," << y;
      }
    EXPECT_EQ(c.host.captions, std::vector<std::string>{tool});
  }
}

TEST(CanvasToolsStamp, PictureModeCopiesTheStamp) {
  Canvas c(30, 30, {0, 0, 0});
  c.Tool("Stamp");
  c.host.rec.StampMask = kFalse;
  c.host.rec.StampPressure = 100;
  c.host.stamp = Uniform(4, 2, {7, 8, 9});
  c.Down(10, 10);
  c.Up(10, 10);
  // Top-left (10 - 4 \ 2, 10 - 2 \ 2) = (8, 9).
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 30; ++x) {
      const bool in = x >= 8 && x <= 11 && y >= 9 && y <= 10;
      ASSERT_EQ(c.At(x, y), (in ? Rgb{7, 8, 9} : Rgb{0, 0, 0})) << x << "," << y;
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
    const Bits before = c.doc.PictureBits();
    c.Down(0, 5);
    c.MoveTo(6, 5);
    EXPECT_TRUE(c.doc.PictureBits() == before);
    ASSERT_TRUE(c.tools.Overlay().Visible);
    EXPECT_EQ(c.tools.Overlay().Kind, 2);
    EXPECT_EQ(c.tools.Overlay().Points, (std::vector<Point>{{0, 5}, {6, 5}}));
    c.Up(10, 5);
    EXPECT_FALSE(c.tools.Overlay().Visible);
    // L = 10, angle 0: t = u * cos(0) / L (linear) or sqrt(u^2 + v^2) / L,
    // held to 0..1; black to white gives 255 t. Only the selection changes.
    for (int y = 0; y < 10; ++y)
      for (int x = 0; x < 20; ++x) {
        const double u = x, v = y - 5;
        const double t =
            std::clamp(mode == 0 ? u * (std::cos(0.0) / 10) : std::sqrt(u * u + v * v) / 10, 0.0, 1.0);
        const int g = RoundByte(255 * t);
        ASSERT_EQ(c.At(x, y), (x < 15 ? Rgb{g, g, g} : Rgb{50, 60, 70})) << x << "," << y;
      }
    EXPECT_EQ(c.host.captions, std::vector<std::string>{"Gradient"});
    EXPECT_EQ(c.UndoPos(), 2);
  }
}

TEST(CanvasToolsGetColor, LeftPicksTheForegroundRightTheBackground) {
  Canvas c(10, 10, {0x33, 0x22, 0x11});
  c.Tool("GetColor");
  c.Down(3, 4);
  c.Up(3, 4);
  c.tools.MouseDown(c.doc, c.host, MouseButton::Right, 3, 4, false);
  ASSERT_EQ(c.host.picked.size(), 2u);
  EXPECT_EQ(c.host.picked[0], (std::pair<int32_t, bool>{0x112233, true}));
  EXPECT_EQ(c.host.picked[1], (std::pair<int32_t, bool>{0x112233, false}));
  EXPECT_EQ(c.host.updates, 0);
}

// ---------------------------------------------------------------------------
// Selection tools

TEST(CanvasToolsSelect, RectangleThenSubtract) {
  Canvas c(20, 20, {0, 0, 0});
  c.Tool("Select");
  c.host.rec.SelectionShape = kSelectRectangle;
  c.host.rec.SelectionMode = 0;  // Add
  c.Drag({{2, 2}, {8, 8}, {12, 12}});
  EXPECT_TRUE(c.tools.SelectionTimerOn());
  c.host.rec.SelectionMode = 1;  // Subtract
  c.Drag({{5, 5}, {8, 8}});
  const RectRegion* r = c.doc.BitRegion().Region();
  ASSERT_NE(r, nullptr);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) {
      const bool want = x >= 2 && x < 12 && y >= 2 && y < 12 && !(x >= 5 && x < 8 && y >= 5 && y < 8);
      ASSERT_EQ(r->Contains(x, y), want) << x << "," << y;
    }
  EXPECT_EQ(c.host.filter.BitsRegionHandle(), r);
  EXPECT_EQ(c.host.updates, 0);  // selecting records nothing
  EXPECT_FALSE(c.tools.MouseIsDown);
}

TEST(CanvasToolsSelect, EllipseBoxIsOrderedAndSubtractOnNothingStaysEmpty) {
  Canvas c(20, 20, {0, 0, 0});
  c.Tool("Select");
  c.host.rec.SelectionMode = 1;  // Subtract with no selection does nothing
  c.Drag({{2, 2}, {12, 12}});
  EXPECT_TRUE(c.doc.BitRegion().IsEmptyRegion());
  EXPECT_FALSE(c.tools.SelectionTimerOn());
  EXPECT_EQ(c.host.filter.BitsRegionHandle(), c.doc.BitRegion().RegionMain());

  c.host.rec.SelectionMode = 0;
  c.host.rec.SelectionShape = kSelectEllipse;
  c.Drag({{12, 14}, {2, 3}});  // dragged up and left
  ASSERT_NE(c.doc.BitRegion().Region(), nullptr);
  EXPECT_TRUE(*c.doc.BitRegion().Region() == RectRegion::FromEllipse(2, 3, 12, 14));
}

TEST(CanvasToolsSelect, NewModeStartsFromTheWholePicture) {
  Canvas c(20, 10, {0, 0, 0});
  c.Tool("Select");
  c.host.rec.SelectionMode = 2;
  c.Drag({{2, 2}, {4, 4}});
  int32_t l, t, r, b;
  ASSERT_TRUE(c.doc.BitRegion().BoundRect(l, t, r, b));
  EXPECT_EQ((Rect{l, t, r, b}), (Rect{0, 0, 20, 10}));
  EXPECT_EQ(c.doc.BitRegion().Region()->Rects().size(), 1u);
}

TEST(CanvasToolsSelect, NewModeAsksForPointsAfterThePolygonTookItsFirst) {
  // Polygon: the press stores the first point before mode 2 looks for
  // points, so the picture is not selected first and the polygon is ORed
  // into the selection as it stands: a 2 x 2 rectangle plus the square.
  Canvas c(20, 20, {0, 0, 0});
  c.doc.BitRegion().CreateRect(15, 15, 17, 17, CombineMode::Or, false);
  c.Tool("Select");
  c.host.rec.SelectionMode = 2;
  c.host.rec.SelectionShape = kSelectPolygon;
  c.Drag({{2, 2}, {12, 2}, {12, 12}, {2, 12}});
  const RectRegion* r = c.doc.BitRegion().Region();
  ASSERT_NE(r, nullptr);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) {
      const bool want = (x >= 2 && x < 12 && y >= 2 && y < 12) || (x >= 15 && x < 17 && y >= 15 && y < 17);
      ASSERT_EQ(r->Contains(x, y), want) << x << "," << y;
    }

  // Free hand gathers its first point in the move after that test: the
  // whole picture comes first, as with the rectangle.
  Canvas f(20, 20, {0, 0, 0});
  f.Tool("Select");
  f.host.rec.SelectionMode = 2;
  f.host.rec.SelectionShape = kSelectFreeHand;
  f.Drag({{2, 2}, {12, 2}, {12, 12}, {2, 12}});
  int32_t l, t, rr, b;
  ASSERT_TRUE(f.doc.BitRegion().BoundRect(l, t, rr, b));
  EXPECT_EQ((Rect{l, t, rr, b}), (Rect{0, 0, 20, 20}));
}

TEST(CanvasToolsSelect, PolygonAndFreeHandGatherTheDragPoints) {
  for (const int shape : {kSelectPolygon, kSelectFreeHand}) {
    SCOPED_TRACE(shape);
    Canvas c(20, 20, {0, 0, 0});
    c.Tool("Select");
    c.host.rec.SelectionMode = 0;
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
    // The square polygon is the rectangle (2, 2)-(12, 12).
    ASSERT_NE(c.doc.BitRegion().Region(), nullptr);
    EXPECT_EQ(c.doc.BitRegion().Region()->Rects(), (std::vector<Rect>{{2, 2, 12, 12}}));
    EXPECT_EQ(c.tools.PolygonPoints.size(), 2u);
    EXPECT_EQ(c.tools.PolygonPointCount, 0);
    EXPECT_FALSE(c.tools.Overlay().Visible);
  }
}

TEST(CanvasToolsSelect, RubberBandAndSizeReadoutAtZoomTwo) {
  Canvas c(40, 30, {0, 0, 0});
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

TEST(CanvasToolsSelect, TimerTicksRotateTheStripesOnlyWithASelection) {
  Canvas c(20, 20, {0, 0, 0});
  EXPECT_FALSE(c.tools.Tick(c.doc));
  EXPECT_EQ(c.doc.BitRegion().BrushIndex(), 0);
  c.Tool("Select");
  c.Drag({{2, 2}, {6, 6}});
  ASSERT_TRUE(c.tools.SelectionTimerOn());
  const int32_t after = c.doc.BitRegion().BrushIndex();  // StartTimer ran one tick
  EXPECT_EQ(after, 1);
  c.tools.TakeOutlineRedraw();
  EXPECT_TRUE(c.tools.Tick(c.doc));
  EXPECT_EQ(c.doc.BitRegion().BrushIndex(), 2);
  EXPECT_TRUE(c.tools.TakeOutlineRedraw());
  EXPECT_FALSE(c.tools.TakeOutlineRedraw());
}

// ---------------------------------------------------------------------------
// Moving the selection

struct MoveCanvas : Canvas {
  static constexpr Rgb kA{100, 100, 100}, kB{200, 0, 0};
  MoveCanvas() : Canvas(30, 20, kA) {
    Bits b = doc.PictureBits();
    for (int y = 2; y < 6; ++y)
      for (int x = 2; x < 6; ++x) b.At(2, x, y) = 200, b.At(1, x, y) = 0, b.At(0, x, y) = 0;
    doc.Bits(b);
    doc.BitRegion().CreateRect(2, 2, 6, 6, CombineMode::Or, false);
    Tool("SelectionMove");
  }
};

TEST(CanvasToolsSelectionMove, PixelsFollowThePointerWithoutATrail) {
  MoveCanvas c;
  c.host.rec.SelectionMoveContent = kFalse;
  c.host.rec.PasteBoxPressure = 100;
  // The top-left pixel is not selected: it must not travel.
  c.doc.BitRegion().CreateRect(2, 2, 3, 3, CombineMode::Diff, false);
  c.Down(3, 3);
  EXPECT_TRUE(c.tools.MovingPixels);
  EXPECT_EQ(c.tools.MoveOffsetX, 1);
  EXPECT_EQ(c.tools.MoveOffsetY, 1);
  c.MoveTo(13, 3);
  c.MoveTo(3, 13);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 30; ++x) {
      const bool original = x >= 2 && x < 6 && y >= 2 && y < 6;
      const bool moved = x >= 2 && x < 6 && y >= 12 && y < 16 && !(x == 2 && y == 12);
      ASSERT_EQ(c.At(x, y), (original || moved ? MoveCanvas::kB : MoveCanvas::kA)) << x << "," << y;
    }
  c.Up(3, 13);
  EXPECT_FALSE(c.tools.MovingPixels);
  EXPECT_TRUE(c.host.filter.BitsRef() == c.doc.PictureBits());
  EXPECT_EQ(c.host.updates, 0);
}

TEST(CanvasToolsSelectionMove, PixelsAreLaidAtThePasteBoxPressure) {
  MoveCanvas c;
  c.host.rec.SelectionMoveContent = kFalse;
  c.host.rec.PasteBoxPressure = 80;
  c.Drag({{3, 3}, {13, 3}});
  // Red Round(0.8 * 200 + 0.2 * 100) = 180, the others Round(0.2 * 100) = 20.
  EXPECT_EQ(c.At(12, 2), (Rgb{180, 20, 20}));
  EXPECT_EQ(c.At(15, 5), (Rgb{180, 20, 20}));
  EXPECT_EQ(c.At(16, 5), MoveCanvas::kA);
  // A press outside the selection's box moves nothing.
  const Bits before = c.doc.PictureBits();
  c.Drag({{25, 15}, {20, 10}});
  EXPECT_TRUE(c.doc.PictureBits() == before);
}

TEST(CanvasToolsSelectionMove, ASelectionPastTheEdgeMovesFromItsVisiblePart) {
  MoveCanvas c;
  c.host.rec.SelectionMoveContent = kFalse;
  c.host.rec.PasteBoxPressure = 100;
  c.doc.BitRegion().Init(0, 0, 30, 20);
  c.doc.BitRegion().CreateRect(-3, 2, 4, 6, CombineMode::Or, false);
  c.Drag({{3, 3}, {13, 3}});
  // Columns 0..3 move by 10: 0 and 1 were A, 2 and 3 were B.
  for (int y = 2; y < 6; ++y)
    for (int x = 10; x < 15; ++x)
      EXPECT_EQ(c.At(x, y), (x == 12 || x == 13 ? MoveCanvas::kB : MoveCanvas::kA)) << x << "," << y;
}

TEST(CanvasToolsSelectionMove, OutlineOnlyMovesTheSelectionAndCropsAtRelease) {
  MoveCanvas c;
  c.host.rec.SelectionMoveContent = kTrue;
  const Bits before = c.doc.PictureBits();
  int32_t l, t, r, b;
  c.Down(3, 3);
  c.MoveTo(8, 4);
  c.MoveTo(9, 5);
  ASSERT_TRUE(c.doc.BitRegion().BoundRect(l, t, r, b));
  EXPECT_EQ((Rect{l, t, r, b}), (Rect{8, 4, 12, 8}));
  c.MoveTo(30, 3);  // past the right edge
  c.Up(30, 3);
  ASSERT_TRUE(c.doc.BitRegion().BoundRect(l, t, r, b));
  EXPECT_EQ((Rect{l, t, r, b}), (Rect{29, 2, 30, 6}));
  EXPECT_TRUE(c.doc.PictureBits() == before);

  // A press outside the selection leaves it.
  c.Drag({{5, 15}, {10, 18}});
  ASSERT_TRUE(c.doc.BitRegion().BoundRect(l, t, r, b));
  EXPECT_EQ((Rect{l, t, r, b}), (Rect{29, 2, 30, 6}));
}

TEST(CanvasToolsSelectionMove, OutlineOnlyReleaseCropsEvenAfterAPressOutside) {
  MoveCanvas c;
  c.host.rec.SelectionMoveContent = kTrue;
  c.doc.BitRegion().CreateRect(25, 10, 34, 14, CombineMode::Or, false);  // past the right edge
  c.Drag({{10, 17}, {12, 18}});  // outside the selection: the outline stays
  const RectRegion* r = c.doc.BitRegion().Region();
  ASSERT_NE(r, nullptr);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 36; ++x) {
      const bool want = (x >= 2 && x < 6 && y >= 2 && y < 6) || (x >= 25 && x < 30 && y >= 10 && y < 14);
      ASSERT_EQ(r->Contains(x, y), want) << x << "," << y;
    }
}

TEST(CanvasToolsSelectionMove, PixelsWithAnOpaqueSpareByteStillTravel) {
  // A picture from a 32-bit file may carry 255 in the spare byte; the crop
  // uses that value to mark pixels outside the selection.
  MoveCanvas c;
  Bits b = c.doc.PictureBits();
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 30; ++x) b.At(3, x, y) = 255;
  c.doc.Bits(b);
  c.host.rec.SelectionMoveContent = kFalse;
  c.host.rec.PasteBoxPressure = 100;
  c.doc.BitRegion().CreateRect(2, 2, 3, 3, CombineMode::Diff, false);
  c.Drag({{3, 3}, {13, 3}});
  for (int y = 0; y < 20; ++y)
    for (int x = 10; x < 18; ++x) {
      const bool moved = x >= 12 && x < 16 && y >= 2 && y < 6 && !(x == 12 && y == 2);
      ASSERT_EQ(c.At(x, y), (moved ? MoveCanvas::kB : MoveCanvas::kA)) << x << "," << y;
    }
}

TEST(CanvasToolsSelectionMove, CtrlReleaseCropsTheMovedOutline) {
  MoveCanvas c;
  c.host.rec.SelectionMoveContent = kTrue;
  c.Down(3, 3);
  c.MoveTo(-3, 3);  // the box goes to (-4, 2)-(0, 6): outside the picture
  c.tools.KeyUp(c.doc, c.host, 16);
  EXPECT_FALSE(c.doc.BitRegion().IsEmptyRegion());
  c.tools.KeyUp(c.doc, c.host, kKeyControl);
  EXPECT_TRUE(c.doc.BitRegion().IsEmptyRegion());
  c.Up(-3, 3);
  EXPECT_FALSE(c.tools.SelectionTimerOn());
}

// ---------------------------------------------------------------------------
// Right-button restore, grab scroll, robustness

TEST(CanvasToolsRestore, RightReleaseWritesBackTheKeptPictureOnlyWithTheFlag) {
  Canvas c(20, 20, {0, 0, 0});
  c.Tool("Brush");
  c.host.rec.BrushSize = 1;
  c.host.rec.BrushPressure = 100;
  c.host.rec.ForeColor = 0xFFFFFF;
  c.host.restore = true;
  c.Drag({{5, 5}, {5, 5}});
  const Bits painted = c.doc.PictureBits();
  EXPECT_TRUE(c.host.filter.BitsRef() == painted);

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
  Canvas c(200, 200, {0, 0, 0});
  c.doc.SetViewSize(100, 100);
  ASSERT_GE(c.doc.HScroll().Max, 50);
  ASSERT_GE(c.doc.VScroll().Max, 50);
  c.doc.Scroll(30, 30);
  c.doc.MouseScroll(true);
  c.Tool("MouseScroll");
  const Bits before = c.doc.PictureBits();
  c.tools.MouseDown(c.doc, c.host, MouseButton::Left, 50, 50, false, {500, 500});
  EXPECT_TRUE(c.tools.Grabbing);
  EXPECT_EQ(c.tools.Pointer(), "cGrab");
  c.tools.MouseMove(c.doc, c.host, 40, 30, false, {490, 480});
  EXPECT_EQ(c.doc.HScroll().Value, 40);
  EXPECT_EQ(c.doc.VScroll().Value, 50);
  c.tools.MouseMove(c.doc, c.host, 90, 90, false, {560, 540});
  EXPECT_EQ(c.doc.HScroll().Value, 0);  // clipped to the bar
  EXPECT_EQ(c.doc.VScroll().Value, 0);
  c.tools.MouseUp(c.doc, c.host, MouseButton::Left, 90, 90, false);
  EXPECT_FALSE(c.tools.Grabbing);
  EXPECT_EQ(c.tools.Pointer(), "cRelease");
  EXPECT_TRUE(c.doc.PictureBits() == before);
  EXPECT_EQ(c.host.updates, 0);
}

TEST(CanvasToolsRobustness, NoPictureUnknownToolsAndStrayReleasesDoNothing) {
  test::TempDir dir;
  UndoGlobals globals;
  Document empty(globals, dir.path());
  Host host;
  host.doc = &empty;
  host.globals = &globals;
  host.rec = DefaultStartRecord(dir.path());
  CanvasTools tools;
  for (const char* tool : {"Brush", "Fill", "Shape", "Gradient", "SelectionMove", "Select"}) {
    host.rec.CurrentTool.Set(tool);
    tools.MouseDown(empty, host, MouseButton::Left, 3, 3, false);
    tools.MouseMove(empty, host, 5, 5, false);
    tools.MouseUp(empty, host, MouseButton::Left, 5, 5, false);
    tools.KeyUp(empty, host, kKeyControl);
  }
  EXPECT_EQ(host.updates, 0);
  EXPECT_FALSE(tools.MouseIsDown);

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
