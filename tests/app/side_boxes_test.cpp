// The side boxes' contents over an Application on the offscreen platform:
// finfo's readout of the pixel under the pointer, a click on a history row
// jumping back, the colour box writing the record, the pan view scrolling
// the document, the texture and browser helpers, and the thumbnail fitting.
#include "boxes/side_box_contents.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QListWidget>
#include <QMainWindow>
#include <QMouseEvent>
#include <QScrollBar>
#include <QSlider>
#include <QLabel>
#include <fstream>

#include "boxes/browser_box.h"
#include "boxes/color_box.h"
#include "boxes/history_box.h"
#include "boxes/info_box.h"
#include "boxes/pan_view_box.h"
#include "boxes/picture_convert.h"
#include "boxes/scratch_ui.h"
#include "boxes/textures_box.h"
#include "document/canvas_widget.h"
#include "document/document_window.h"
#include "imagefiles/picture_io.h"
#include "shell/application.h"
#include "shell/tool_strip.h"
#include "test_support.h"

namespace kelvane {
namespace {

// Picture pixel (x, y): red 10x, green 255 - 3y, blue x + y (all within a byte).
Bits Ramp(int w, int h) {
  Bits b(w, h);
  b.Fill(0);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      b.At(2, x, y) = static_cast<uint8_t>(10 * x);
      b.At(1, x, y) = static_cast<uint8_t>(255 - 3 * y);
      b.At(0, x, y) = static_cast<uint8_t>(x + y);
    }
  return b;
}

struct Boxes {
  test::TempDir dir;
  ScratchUi ui;
  Application app{ui, dir.path()};
  QMainWindow frame;
  SideBoxSet boxes;
  std::unique_ptr<SideBoxContents> contents;
  Document* doc = nullptr;
  std::unique_ptr<DocumentWindow> window;

  explicit Boxes(const Bits& picture, QSize windowSize = QSize(300, 240)) {
    std::string error;
    EXPECT_TRUE(SavePictureFile(dir / "ramp.bmp", picture, error)) << error;
    EXPECT_TRUE(app.OpenFile((dir / "ramp.bmp").string()));
    doc = app.Documents().back().get();
    boxes = LoadSideBoxes(&frame);
    contents = std::make_unique<SideBoxContents>(app, boxes);
    window = std::make_unique<DocumentWindow>(*doc);
    window->SetCanvasHost(&app, &app.Clips());
    window->resize(windowSize);
    window->show();
    contents->SetActiveWindow(window.get());
    contents->ChainObservers();
    QApplication::processEvents();
  }
  void Mouse(QWidget* w, QEvent::Type type, QPoint p, Qt::MouseButtons buttons) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, QPointF(p), w->mapToGlobal(QPointF(p)), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
  }
};

TEST(SideBoxContents, InfoShowsThePixelUnderThePointer) {
  Boxes b(Ramp(20, 16));
  b.window->SetZoomFactor(3);
  struct Case {
    QPoint canvas;
    QString position, colour;
  };
  // At zoom 3 canvas (10, 14) is picture (3, 4): red 30, green 243, blue 7.
  for (const Case& c : {Case{QPoint(10, 14), "3, 4", "30 243 07"}, Case{QPoint(0, 0), "0, 0", "00 255 00"},
                        Case{QPoint(59, 47), "19, 15", "190 210 34"}}) {
    b.Mouse(b.window->Canvas(), QEvent::MouseMove, c.canvas, Qt::NoButton);
    EXPECT_EQ(b.contents->Info()->PositionText(), c.position);
    EXPECT_EQ(b.contents->Info()->ColourText(), c.colour);
  }
  EXPECT_EQ(b.contents->Info()->SwatchColour(), QColor(190, 210, 34));
  EXPECT_EQ(b.contents->Info()->SelectionText(), "0 x 0");
  b.doc->BitRegion().CreateRect(2, 3, 9, 7, CombineMode::Or, false);
  b.Mouse(b.window->Canvas(), QEvent::MouseMove, QPoint(1, 1), Qt::NoButton);
  EXPECT_EQ(b.contents->Info()->SelectionText(), "7 x 4");
}

TEST(SideBoxContents, HistoryRowClickJumpsBackAndForth) {
  Boxes b(Ramp(40, 30));
  const Bits original = b.doc->PictureBits();
  b.app.Record().CurrentTool.Set("Fill");
  b.app.Record().FillMode = 0;
  b.app.Record().FillTolerance = 765;  // every pixel
  b.app.Record().FillPressure = 100;
  b.app.Record().ForeColor = 0x00FF00;
  b.Mouse(b.window->Canvas(), QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton);
  b.Mouse(b.window->Canvas(), QEvent::MouseButtonRelease, QPoint(5, 5), Qt::NoButton);
  const Bits filled = b.doc->PictureBits();
  ASSERT_NE(filled, original);

  QListWidget* rows = b.contents->History()->HistoryList();
  ASSERT_EQ(rows->count(), 2);
  EXPECT_EQ(rows->item(0)->text(), "0  Original");
  EXPECT_EQ(rows->item(1)->text(), "1  Fill");
  EXPECT_EQ(rows->currentRow(), 1);
  b.contents->History()->FinishThumbnails();
  EXPECT_FALSE(rows->item(0)->icon().isNull());

  auto click = [&](int row) {
    const QPoint at = rows->visualItemRect(rows->item(row)).center();
    b.Mouse(rows->viewport(), QEvent::MouseButtonPress, at, Qt::LeftButton);
    b.Mouse(rows->viewport(), QEvent::MouseButtonRelease, at, Qt::NoButton);
  };
  click(0);
  EXPECT_EQ(b.doc->PictureBits(), original);
  EXPECT_EQ(b.doc->History().UndoPos(), 1);
  ASSERT_EQ(rows->count(), 2);  // the later step stays for redo
  EXPECT_EQ(rows->currentRow(), 0);
  click(1);
  EXPECT_EQ(b.doc->PictureBits(), filled);
  EXPECT_EQ(b.doc->History().UndoPos(), 2);
}

// The opacity slider is a view of the record's PasteBoxPressure (80 in a
// fresh record); moving it writes the model and the record.
TEST(SideBoxContents, PasteOpacityShowsTheRecordAndWritesIt) {
  Boxes b(Ramp(8, 8));
  EXPECT_EQ(b.contents->History()->PressureSlider()->value(), 80);
  b.contents->History()->PressureSlider()->setValue(77);
  EXPECT_EQ(b.app.Clips().Pressure(), 77);
  EXPECT_EQ(b.app.Record().PasteBoxPressure, 77);
  Bits clip = Ramp(6, 4);
  b.app.Clips().AddClip(clip);
  b.contents->RefreshHistory();
  ASSERT_EQ(b.contents->History()->ClipList()->count(), 1);
  EXPECT_EQ(b.contents->History()->ClipTitleLabel()->text(), "Clip History:  6 x 4");
}

TEST(SideBoxContents, ColourBoxWritesTheRecord) {
  Boxes b(Ramp(8, 8));
  ColorBox* colours = b.contents->Colors();
  ASSERT_NE(colours, nullptr);
  colours->ChooseColour = [](int32_t) { return 0x123456; };
  colours->ChooseFore();
  EXPECT_EQ(b.app.Record().ForeColor, 0x123456);
  colours->ChooseColour = [](int32_t) { return -1; };  // cancelled
  colours->ChooseBack();
  EXPECT_EQ(b.app.Record().BackColor, 0);
  colours->Swap();
  EXPECT_EQ(b.app.Record().ForeColor, 0);
  EXPECT_EQ(b.app.Record().BackColor, 0x123456);
  b.app.Record().CustomColors[5] = 0xABCDEF;
  const QRect cell = colours->CustomRect(5);
  QMouseEvent right(QEvent::MouseButtonPress, QPointF(cell.center()), colours->mapToGlobal(QPointF(cell.center())),
                    Qt::RightButton, Qt::RightButton, Qt::NoModifier);
  QApplication::sendEvent(colours, &right);
  EXPECT_EQ(b.app.Record().BackColor, 0xABCDEF);
}

TEST(SideBoxContents, PanViewCentresTheCanvasOnTheClickedPoint) {
  Boxes b(Ramp(200, 160), QSize(160, 140));
  PanViewBox* pan = b.contents->PanView();
  pan->resize(108, 88);
  pan->RefreshPicture();
  const QRect r = pan->PictureRect();
  ASSERT_FALSE(r.isEmpty());
  // Picture (150, 120) is at box (r.left + 150 * r.width / 200, ...).
  const QPoint at(r.left() + 150 * r.width() / 200, r.top() + 120 * r.height() / 160);
  b.Mouse(pan, QEvent::MouseButtonPress, at, Qt::LeftButton);
  const int px = (at.x() - r.left()) * 200 / r.width(), py = (at.y() - r.top()) * 160 / r.height();
  const int wantX = std::clamp(px - b.doc->DstWidth() / 2, 0, b.doc->HScroll().Max);
  const int wantY = std::clamp(py - b.doc->DstHeight() / 2, 0, b.doc->VScroll().Max);
  EXPECT_EQ(b.doc->HScroll().Value, wantX);
  EXPECT_EQ(b.doc->VScroll().Value, wantY);
  EXPECT_EQ(b.window->HBar()->value(), wantX);
  EXPECT_FALSE(pan->VisibleFrame().isEmpty());
}

TEST(SideBoxContents, TexturesVaryAndAreChosenForTheTools) {
  Boxes b(Ramp(8, 8));
  for (int i = 0; i < kTextureCount; ++i) {
    const Bits tile = TextureTile(i);
    ASSERT_EQ(tile.Width(), kTextureSide) << i;
    // Not one flat colour.
    bool varies = false;
    for (int y = 0; y < kTextureSide && !varies; ++y)
      for (int x = 0; x < kTextureSide && !varies; ++x) varies = tile.At(2, x, y) != tile.At(2, 0, 0);
    EXPECT_TRUE(varies) << i;
  }
  b.contents->Textures()->Choose(3);
  ASSERT_NE(b.app.TextureTile(), nullptr);
  EXPECT_EQ(*b.app.TextureTile(), TextureTile(3));
  b.contents->Textures()->Choose(99);
  EXPECT_EQ(b.contents->Textures()->Chosen(), 3);
}

TEST(SideBoxContents, BrowserListsPicturesAndOpensOnDoubleClick) {
  Boxes b(Ramp(8, 8));
  const auto folder = b.dir / "pictures";
  std::filesystem::create_directories(folder);
  std::string error;
  ASSERT_TRUE(SavePictureFile(folder / "b.bmp", Ramp(30, 20), error));
  ASSERT_TRUE(SavePictureFile(folder / "A.bmp", Ramp(10, 10), error));
  { std::ofstream(folder / "notes.txt") << "x"; }
  BrowserBox* browser = b.contents->Browser();
  browser->ShowFolder(folder);
  QListWidget* list = browser->Thumbnails();
  ASSERT_EQ(list->count(), 2);
  EXPECT_EQ(list->item(0)->toolTip(), "A.bmp");
  EXPECT_EQ(browser->PendingThumbnails(), 2);  // made later, not while listing
  browser->FinishThumbnails();
  EXPECT_EQ(browser->PendingThumbnails(), 0);
  const size_t before = b.app.Documents().size();
  emit list->itemDoubleClicked(list->item(1));
  EXPECT_EQ(b.app.Documents().size(), before + 1);
  EXPECT_EQ(b.app.Documents().back()->PictureWidth(), 30);
  EXPECT_TRUE(IsBrowsablePicture("x.JPG"));
  EXPECT_FALSE(IsBrowsablePicture("x.txt"));
}

TEST(PictureConvert, ThumbnailsFitAndAverage) {
  struct Case {
    QSize picture, box, want;
  };
  for (const Case& c : {Case{{200, 100}, {70, 60}, {70, 35}}, Case{{100, 300}, {70, 60}, {20, 60}},
                        Case{{30, 20}, {70, 60}, {30, 20}}, Case{{1000, 1}, {10, 10}, {10, 1}}})
    EXPECT_EQ(FitInto(c.picture, c.box), c.want) << c.picture.width() << "x" << c.picture.height();
  // 4 x 2 into 2 x 1: each target pixel averages a 2 x 2 block.
  Bits b(4, 2);
  b.Fill(0);
  const uint8_t reds[2][4] = {{0, 10, 100, 200}, {20, 30, 50, 51}};
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) b.At(2, x, y) = reds[y][x];
  const QImage smooth = ScaledThumbnail(b, QSize(2, 2), true);
  ASSERT_EQ(smooth.size(), QSize(2, 1));
  EXPECT_EQ(qRed(smooth.pixel(0, 0)), 15);   // (0 + 10 + 20 + 30) / 4
  EXPECT_EQ(qRed(smooth.pixel(1, 0)), 100);  // (100 + 200 + 50 + 51) / 4 = 100.25
  const QImage nearest = ScaledThumbnail(b, QSize(2, 2), false);
  EXPECT_EQ(qRed(nearest.pixel(1, 0)), 100);
  EXPECT_EQ(FromQColor(ToQColor(0x123456)), 0x123456);
  EXPECT_EQ(ToQColor(0x0000FF), QColor(255, 0, 0));
}

// The screenshot hooks write their PNG files when a folder is named in
// KELVANE_CAPTURE_DIR (a run by hand to look at the boxes and panels).
TEST(SideBoxContents, CaptureHooksWriteEveryBoxAndPanel) {
  const QString dir = qEnvironmentVariable("KELVANE_CAPTURE_DIR");
  if (dir.isEmpty()) GTEST_SKIP() << "KELVANE_CAPTURE_DIR not set";
  EXPECT_EQ(CaptureSideBoxes(dir), 8);
  EXPECT_EQ(CaptureToolPanels(dir), 10);  // the nine frames and the text tool's page
}

}  // namespace
}  // namespace kelvane
