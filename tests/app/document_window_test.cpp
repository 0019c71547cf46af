// The document window on the offscreen platform: canvas and bars placed from
// the document's layout (checked against the layout rule worked out here),
// the bars bound to the scroll values, the pixels a paint puts on the canvas
// at a zoom and a scroll, the marching outline, panels, progress and tabs.
#include "document/document_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QProgressBar>
#include <QScrollBar>
#include <QTabBar>

#include <QMouseEvent>

#include "boxes/scratch_ui.h"
#include "document/canvas_widget.h"
#include "imagefiles/picture_io.h"
#include "shell/application.h"
#include "test_support.h"

namespace kelvane {
namespace {

// Picture pixel (x, y): blue x, green y, red (x + 2y) mod 256.
Bits Pattern(int w, int h) {
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      b.At(0, x, y) = static_cast<uint8_t>(x);
      b.At(1, x, y) = static_cast<uint8_t>(y);
      b.At(2, x, y) = static_cast<uint8_t>(x + 2 * y);
    }
  return b;
}
QRgb PatternColour(int x, int y) { return qRgb((x + 2 * y) & 255, y & 255, x & 255); }

struct Shown {
  test::TempDir dir;
  UndoGlobals globals;
  Document doc{globals, dir.path()};
  std::unique_ptr<DocumentWindow> window;

  Shown(int w, int h, QSize windowSize) {
    doc.Caption = "pattern.bmp";
    doc.SetSourcePicture(Pattern(w, h));
    doc.SetPicture(false);
    window = std::make_unique<DocumentWindow>(doc);
    window->resize(windowSize);
    window->show();
    QApplication::processEvents();
  }
  QImage Canvas() const { return window->Canvas()->grab().toImage().convertToFormat(QImage::Format_RGB32); }
};

// The layout rule of the picture view, worked out independently.
struct Expected {
  int dstW, dstH, hMax, vMax;
  bool hVisible, vVisible;
};
Expected ExpectedLayout(int w, int h, int z, QSize avail, int bar) {
  const int zw = w * z, zh = h * z;
  bool needH = zw > avail.width(), needV = zh > avail.height();
  if (needH && !needV) needV = zh > avail.height() - bar;
  if (needV && !needH) needH = zw > avail.width() - bar;
  const int dstW = std::min(zw, avail.width() - (needV ? bar : 0));
  const int dstH = std::min(zh, avail.height() - (needH ? bar : 0));
  return {dstW, dstH, zw - dstW, zh - dstH, needH, needV};
}

TEST(DocumentWindowLayout, CanvasAndBarsFollowTheDocumentAtEachZoom) {
  Shown s(300, 200, QSize(280, 240));
  const QSize avail = s.window->PictureView()->size();
  ASSERT_GT(avail.width(), 2 * s.doc.BarsWidth());
  ASSERT_GT(avail.height(), 2 * s.doc.BarsWidth());
  for (int z = 1; z <= 3; ++z) {
    if (z > 1) s.window->ZoomIn();
    const Expected e = ExpectedLayout(300, 200, z, avail, s.doc.BarsWidth());
    SCOPED_TRACE(z);
    EXPECT_EQ(s.window->Canvas()->geometry(), QRect(0, 0, e.dstW, e.dstH));
    EXPECT_EQ(s.window->HBar()->maximum(), e.hMax);
    EXPECT_EQ(s.window->VBar()->maximum(), e.vMax);
    EXPECT_EQ(s.window->HBar()->isVisible(), e.hVisible);
    EXPECT_EQ(s.window->VBar()->isVisible(), e.vVisible);
    EXPECT_EQ(s.window->HBar()->pageStep(), e.dstW);
    EXPECT_EQ(s.window->HBar()->geometry(), QRect(0, e.dstH, e.dstW, s.doc.BarsWidth()));
    EXPECT_EQ(s.window->VBar()->geometry(), QRect(e.dstW, 0, s.doc.BarsWidth(), e.dstH));
    EXPECT_EQ(s.window->PanelText(kPanelZoom), QString("%1 : 1").arg(z));
  }
  EXPECT_EQ(s.window->PanelText(kPanelPixel), "300 x 200");
  EXPECT_EQ(s.window->PanelText(kPanelName), "pattern.bmp");
}

TEST(DocumentWindowLayout, PictureThatFitsHasNoBarsAndResizingBringsThem) {
  Shown s(60, 40, QSize(400, 300));
  EXPECT_EQ(s.window->Canvas()->geometry(), QRect(0, 0, 60, 40));
  EXPECT_FALSE(s.window->HBar()->isVisible());
  EXPECT_FALSE(s.window->VBar()->isVisible());
  // At factor 9 the picture is 540 x 360: bars on both axes.
  s.window->SetZoomFactor(9);
  const Expected e = ExpectedLayout(60, 40, 9, s.window->PictureView()->size(), s.doc.BarsWidth());
  EXPECT_TRUE(e.hVisible && e.vVisible);
  EXPECT_TRUE(s.window->HBar()->isVisible());
  EXPECT_TRUE(s.window->VBar()->isVisible());
  EXPECT_EQ(s.window->HBar()->maximum(), e.hMax);
  // A larger window: the layout is redone through SetViewSize.
  s.window->resize(700, 560);
  QApplication::processEvents();
  const Expected bigger = ExpectedLayout(60, 40, 9, s.window->PictureView()->size(), s.doc.BarsWidth());
  EXPECT_EQ(s.doc.DstWidth(), bigger.dstW);
  EXPECT_EQ(s.window->HBar()->maximum(), bigger.hMax);
  EXPECT_EQ(s.window->VBar()->isVisible(), bigger.vVisible);
}

TEST(DocumentWindowPaint, CanvasShowsThePictureAtZoomAndScroll) {
  Shown s(300, 200, QSize(280, 240));
  QImage canvas = s.Canvas();
  ASSERT_EQ(canvas.size(), s.window->Canvas()->size());
  for (const QPoint p : {QPoint(0, 0), QPoint(17, 5), QPoint(canvas.width() - 1, canvas.height() - 1)})
    EXPECT_EQ(canvas.pixel(p), PatternColour(p.x(), p.y())) << p.x() << "," << p.y();

  // Factor 3, bars moved by hand: the values reach the document.
  s.window->ZoomIn();
  s.window->ZoomIn();
  s.window->HBar()->setValue(37);
  s.window->VBar()->setValue(20);
  EXPECT_EQ(s.doc.HScroll().Value, 37);
  EXPECT_EQ(s.doc.VScroll().Value, 20);
  QApplication::processEvents();
  canvas = s.Canvas();
  // Across: canvas x shows picture (value + x) \ z. Down: the stretch starts
  // at buffer row (H + 4) - sourceY - sourceH, sourceY = max \ z - value \ z + 1,
  // sourceH = (dstH - 1) \ z + 2, shifted by (-value) mod z on the canvas.
  const int z = 3, vMax = s.doc.VScroll().Max, dstH = s.doc.DstHeight();
  const int sourceY = vMax / z - 20 / z + 1, sourceH = (dstH - 1) / z + 2;
  const int topPictureRow = (200 + 4) - sourceY - sourceH - 2;
  const int targetY = -(20 % z);
  for (const QPoint p : {QPoint(0, 0), QPoint(4, 7), QPoint(50, 31), QPoint(100, 100)}) {
    const int px = (37 + p.x()) / z, py = topPictureRow + (p.y() - targetY) / z;
    EXPECT_EQ(canvas.pixel(p), PatternColour(px, py)) << p.x() << "," << p.y();
  }
  // Scroll writes both bars under the lock and repaints once.
  s.window->Scroll(3, 0);
  EXPECT_EQ(s.window->HBar()->value(), 3);
  EXPECT_EQ(s.doc.HScroll().Value, 3);
  const int topAtZero = (200 + 4) - (vMax / z + 1) - sourceH - 2;
  EXPECT_EQ(topAtZero, 0);
  EXPECT_EQ(s.Canvas().pixel(0, 0), PatternColour(1, topAtZero));
}

TEST(DocumentWindowPaint, OutlineMarchesOnlyWhileTheTimerRuns) {
  Shown s(120, 90, QSize(300, 260));
  s.doc.BitRegion().CreateRect(10, 10, 50, 40, CombineMode::Or, true);
  s.window->StartTimer();
  EXPECT_TRUE(s.window->SelectionTimerOn());
  // StartTimer runs one tick: brush 1, whose row r is brush 0's row r + 1.
  EXPECT_EQ(s.doc.BitRegion().BrushIndex(), 1);
  QImage canvas = s.Canvas();
  // Row 10 uses brush 0 row 3 = 30 = 00011110b: x 10 is bit 5 (clear:
  // black), x 11 bit 4 (set: white).
  EXPECT_EQ(canvas.pixel(10, 10), qRgb(0, 0, 0));
  EXPECT_EQ(canvas.pixel(11, 10), qRgb(255, 255, 255));
  EXPECT_EQ(canvas.pixel(30, 25), PatternColour(30, 25));  // inside
  EXPECT_EQ(canvas.pixel(50, 40), PatternColour(50, 40));  // outside
  s.window->SelectionTick();
  EXPECT_EQ(s.doc.BitRegion().BrushIndex(), 2);

  s.window->StopTimer();
  EXPECT_FALSE(s.window->SelectionTimerOn());
  canvas = s.Canvas();
  EXPECT_EQ(canvas.pixel(10, 10), PatternColour(10, 10));
  // Activation restarts the outline of a document with a selection.
  s.window->Form_Activate();
  EXPECT_TRUE(s.window->SelectionTimerOn());
  s.window->Form_Deactivate();
  EXPECT_FALSE(s.window->SelectionTimerOn());
}

TEST(DocumentWindowControls, ProgressTabsAndPanels) {
  Shown s(50, 50, QSize(300, 260));
  QWidget* bar = s.window->FilterProgressBar()->parentWidget();
  EXPECT_FALSE(bar->isVisible());
  s.window->SetFilterProgress(40);
  EXPECT_TRUE(bar->isVisible());
  EXPECT_EQ(s.window->FilterProgressBar()->value(), 40);
  s.window->SetFilterProgress(100);
  EXPECT_FALSE(bar->isVisible());

  ASSERT_EQ(s.window->Tabs()->count(), 3);
  EXPECT_EQ(s.window->Tabs()->tabText(0), "Enhanced");
  int layerPanels = 0;
  std::vector<ViewTab> chosen;
  QObject::connect(s.window.get(), &DocumentWindow::layerPanelWanted, [&] { ++layerPanels; });
  QObject::connect(s.window.get(), &DocumentWindow::tabSelected, [&](ViewTab t) { chosen.push_back(t); });
  s.window->Tabs()->setCurrentIndex(2);  // a click on "Layered"
  EXPECT_EQ(s.doc.ActiveTab(), ViewTab::Layers);
  EXPECT_EQ(layerPanels, 1);
  s.window->SelectTab(ViewTab::Optimize);
  EXPECT_EQ(s.window->Tabs()->currentIndex(), 1);
  EXPECT_EQ(chosen, (std::vector<ViewTab>{ViewTab::Layers, ViewTab::Optimize}));
  EXPECT_EQ(layerPanels, 1);

  s.window->SetPanelText("NoSuchPanel", "x");  // ignored
  EXPECT_TRUE(s.window->PanelText("NoSuchPanel").isEmpty());
}

TEST(DocumentWindowSize, InitialSizeIsCappedByDefaultsAndClientArea) {
  const QSize chrome(0, 60), minimum(200, 120);
  struct Case {
    QSize picture, client, want;
  };
  const Case cases[] = {
      {{100, 80}, {1000, 800}, {200, 140}},     // small picture: the minimum width
      {{400, 300}, {1000, 800}, {400, 360}},    // picture plus chrome
      {{2000, 2000}, {1000, 800}, {700, 555}},  // 500 + 200 across, 500 + 20 + 35 down
      {{2000, 2000}, {640, 480}, {640, 480}},   // the client area
  };
  for (const Case& c : cases) EXPECT_EQ(InitialWindowSize(c.picture, chrome, 20, c.client, minimum), c.want);
}

// ---- The canvas tools through the window, with the Application as host ----------

// A picture of one colour (0x00BBGGRR).
Bits Plain(int w, int h, int32_t colour) {
  Bits b(w, h);
  b.Fill(0);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      b.At(0, x, y) = static_cast<uint8_t>(colour >> 16);
      b.At(1, x, y) = static_cast<uint8_t>(colour >> 8);
      b.At(2, x, y) = static_cast<uint8_t>(colour);
    }
  return b;
}

int32_t PixelAt(const Document& doc, int x, int y) {
  const Bits& b = doc.PictureBits();
  return b.At(2, x, y) | (b.At(1, x, y) << 8) | (b.At(0, x, y) << 16);
}

// The editor over a picture opened from a file, its window bound to it.
struct Editor {
  test::TempDir dir;
  ScratchUi ui;
  std::unique_ptr<Application> app;
  Document* doc = nullptr;
  std::unique_ptr<DocumentWindow> window;

  explicit Editor(const Bits& picture, QSize windowSize = QSize(320, 260)) {
    app = std::make_unique<Application>(ui, dir.path());
    std::string error;
    const auto file = dir / "picture.bmp";
    EXPECT_TRUE(SavePictureFile(file, picture, error)) << error;
    EXPECT_TRUE(app->OpenFile(file.string()));
    doc = app->Documents().back().get();
    window = std::make_unique<DocumentWindow>(*doc);
    window->SetCanvasHost(app.get(), &app->Clips());
    window->resize(windowSize);
    window->show();
    QApplication::processEvents();
  }
  StartRecord& Rec() { return app->Record(); }
  QWidget* Canvas() const { return window->Canvas(); }
  void Send(QEvent::Type type, QPoint p, Qt::MouseButton button, Qt::MouseButtons buttons) {
    QMouseEvent e(type, QPointF(p), Canvas()->mapToGlobal(QPointF(p)), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(Canvas(), &e);
  }
  void Press(QPoint p) { Send(QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton); }
  void Move(QPoint p) { Send(QEvent::MouseMove, p, Qt::NoButton, Qt::LeftButton); }
  void Release(QPoint p) { Send(QEvent::MouseButtonRelease, p, Qt::LeftButton, Qt::NoButton); }
  QImage Grab() const { return Canvas()->grab().toImage().convertToFormat(QImage::Format_RGB32); }
};

constexpr int32_t kWhite = 0xFFFFFF;
constexpr int32_t kRed = 0x0000FF;
constexpr int32_t kGreen = 0x00FF00;

TEST(DocumentWindowTools, BrushStrokePaintsAlongTheDragAndRecordsOneStep) {
  Editor e(Plain(60, 40, kWhite));
  e.Rec().CurrentTool.Set("Brush");
  e.Rec().BrushMode = 0;
  e.Rec().BrushSize = 5;
  e.Rec().BrushPressure = 100;
  e.Rec().BrushContinuous = kTrue;
  e.Rec().ForeColor = kRed;
  ASSERT_EQ(e.doc->History().UndoPos(), 1);  // the opening's step
  e.Press(QPoint(10, 10));
  for (int x = 14; x <= 40; x += 6) e.Move(QPoint(x, 10));
  e.Release(QPoint(40, 10));
  // Full pressure lays the colour itself; the trace joins the moves.
  for (int x : {10, 13, 20, 27, 33, 40}) EXPECT_EQ(PixelAt(*e.doc, x, 10), kRed) << x;
  EXPECT_EQ(PixelAt(*e.doc, 10, 20), kWhite);  // radius 3 (size 5 rounds to 2.5 -> 2) stays near the line
  EXPECT_EQ(PixelAt(*e.doc, 50, 10), kWhite);
  EXPECT_EQ(e.doc->History().UndoPos(), 2);
  ASSERT_EQ(e.app->Clips().Rows().size(), 2u);
  EXPECT_EQ(e.app->Clips().Rows()[1].Text, "Brush");
  // The canvas shows the stroke after the repaint.
  QApplication::processEvents();
  EXPECT_EQ(e.Grab().pixel(25, 10), qRgb(255, 0, 0));
  EXPECT_EQ(e.Grab().pixel(25, 30), qRgb(255, 255, 255));
}

TEST(DocumentWindowTools, FillPaintsOnReleaseOnly) {
  Editor e(Plain(40, 30, kWhite));
  e.Rec().CurrentTool.Set("Fill");
  e.Rec().FillMode = 0;
  e.Rec().FillTolerance = 10;
  e.Rec().FillPressure = 100;
  e.Rec().ForeColor = kGreen;
  e.Press(QPoint(5, 5));
  e.Move(QPoint(8, 6));
  EXPECT_EQ(PixelAt(*e.doc, 5, 5), kWhite);
  EXPECT_EQ(e.doc->History().UndoPos(), 1);
  e.Release(QPoint(8, 6));
  for (QPoint p : {QPoint(0, 0), QPoint(8, 6), QPoint(39, 29)}) EXPECT_EQ(PixelAt(*e.doc, p.x(), p.y()), kGreen);
  EXPECT_EQ(e.doc->History().UndoPos(), 2);
}

TEST(DocumentWindowTools, RectangleDragAtZoomTwoMakesTheRegionWithARubberBand) {
  Editor e(Plain(60, 40, 0x808080));
  e.window->SetZoomFactor(2);
  e.Rec().CurrentTool.Set("Select");
  e.Rec().SelectionMode = 0;   // Add
  e.Rec().SelectionShape = 0;  // Rectangle
  e.Press(QPoint(10, 12));
  e.Move(QPoint(30, 20));
  e.Move(QPoint(51, 33));
  // The band runs from picture (5, 6) to (25, 16): canvas (10, 12) to (50, 32),
  // its frame on the first and last canvas columns inside, 10 and 49.
  ASSERT_TRUE(e.window->Tools().Overlay().Visible);
  QApplication::processEvents();
  const QImage during = e.Grab();
  EXPECT_NE(during.pixel(10, 20), qRgb(128, 128, 128));  // on the band's left edge
  EXPECT_NE(during.pixel(49, 20), qRgb(128, 128, 128));  // on its right edge
  EXPECT_EQ(during.pixel(51, 20), qRgb(128, 128, 128));
  EXPECT_EQ(during.pixel(30, 20), qRgb(128, 128, 128));  // inside it the picture shows
  EXPECT_EQ(e.doc->BitRegion().IsEmptyRegion(), true);   // nothing selected before the release
  e.Release(QPoint(51, 33));
  int32_t l, t, r, b;
  ASSERT_TRUE(e.doc->BitRegion().BoundRect(l, t, r, b));
  EXPECT_EQ(QRect(QPoint(l, t), QPoint(r - 1, b - 1)), QRect(QPoint(5, 6), QPoint(24, 15)));
  EXPECT_FALSE(e.window->Tools().Overlay().Visible);
  // The release left a selection: the outline marches, and no step was taken.
  EXPECT_TRUE(e.window->SelectionTimerOn());
  EXPECT_EQ(e.doc->History().UndoPos(), 1);
}

TEST(DocumentWindowTools, PointerFollowsTheToolAndNoHostMeansNoPainting) {
  Editor e(Plain(30, 20, kWhite));
  e.Rec().CurrentTool.Set("Fill");
  e.Move(QPoint(3, 3));
  EXPECT_EQ(e.window->Canvas()->ToolPointer(), "cFill");
  e.Rec().CurrentTool.Set("GetColor");
  e.Move(QPoint(4, 3));
  EXPECT_EQ(e.window->Canvas()->ToolPointer(), "cPicker");
  e.Rec().CurrentTool.Set("MouseScroll");
  e.Move(QPoint(5, 3));
  EXPECT_EQ(e.window->Canvas()->ToolPointer(), "");

  e.window->SetCanvasHost(nullptr);
  e.Rec().CurrentTool.Set("Fill");
  e.Rec().ForeColor = kGreen;
  e.Press(QPoint(3, 3));
  e.Release(QPoint(3, 3));
  EXPECT_EQ(PixelAt(*e.doc, 3, 3), kWhite);
}

TEST(DocumentWindowTools, FloatingPasteDragsWithThePointerAndDropsOnAPressBeside) {
  Editor e(Plain(60, 40, kWhite));
  Bits clip = Plain(10, 8, kRed);
  ASSERT_EQ(e.app->Clips().AddClip(clip), 0);
  e.app->Clips().SetPressure(100);
  ASSERT_TRUE(e.app->Clips().BeginPaste(*e.doc));
  e.Press(QPoint(2, 2));  // on the clip at (0, 0)
  e.Move(QPoint(22, 12));
  e.Release(QPoint(22, 12));
  ASSERT_TRUE(e.app->Clips().IsFloating(*e.doc));
  EXPECT_EQ(e.app->Clips().Floating()->X, 20);
  EXPECT_EQ(e.app->Clips().Floating()->Y, 10);
  EXPECT_EQ(PixelAt(*e.doc, 21, 11), kWhite);  // floating, not laid down
  QApplication::processEvents();
  EXPECT_EQ(e.Grab().pixel(24, 14), qRgb(255, 0, 0));  // but shown
  e.Press(QPoint(50, 35));  // beside it
  e.Release(QPoint(50, 35));
  EXPECT_FALSE(e.app->Clips().IsFloating(*e.doc));
  EXPECT_EQ(PixelAt(*e.doc, 21, 11), kRed);
  EXPECT_EQ(PixelAt(*e.doc, 19, 11), kWhite);
  EXPECT_EQ(e.doc->History().UndoPos(), 2);
}

}  // namespace
}  // namespace kelvane
