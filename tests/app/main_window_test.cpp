// The frame and its side boxes on the offscreen platform: the boxes placed
// and rolled up from the record and stored back, tiling, the empty-area
// double click, the close question, the splash's single start, and a sample
// file opened through the session down to the pixels on the canvas.
#include "shell/main_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QDropEvent>
#include <QMdiArea>
#include <QMimeData>
#include <QMdiSubWindow>
#include <QMouseEvent>

#include "document/canvas_widget.h"
#include "document/document_window.h"
#include "imagefiles/picture_io.h"
#include "shell/editor_session.h"
#include "shell/splash_window.h"
#include "test_support.h"

namespace kelvane {
namespace {

void Settle() {
  for (int i = 0; i < 3; ++i) QApplication::processEvents();
}

TEST(SideBoxes, TwipsConvertAtFifteenPerPixel) {
  struct Case {
    int32_t twips;
    int pixels;
  };
  for (const Case c : {Case{420, 28}, Case{1110, 74}, Case{7, 0}, Case{8, 1}, Case{3950, 263}, Case{-30, -2}})
    EXPECT_EQ(TwipsToPixels(c.twips), c.pixels) << c.twips;
  EXPECT_EQ(PixelsToTwips(28), 420);
  EXPECT_EQ(PixelsToTwips(100000), 32767);  // the record's fields are 16-bit
}

TEST(SideBoxes, TableHoldsTheSevenBoxesInShowOrder) {
  const char* names[] = {"fToolColor",   "fToolTextures", "fPaste",   "fPanView",
                         "fToolBrowser", "finfo",         "fLayerBox"};
  const int views[] = {4, 5, 6, 7, 8, 9, 10};
  ASSERT_EQ(SideBoxInfoTable().size(), 7u);
  for (size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(SideBoxInfoTable()[i].FormName, names[i]);
    EXPECT_EQ(SideBoxInfoTable()[i].ViewsIndex, views[i]);
  }
  EXPECT_EQ(FindSideBox("fPaste")->Title, "History");
  EXPECT_EQ(FindSideBox("finfo")->Title, "Info");
  EXPECT_EQ(FindSideBox("fToolColor")->Width, nullptr);  // left and top only
  EXPECT_EQ(FindSideBox("nothing"), nullptr);
}

TEST(SideBoxes, PlacedFromTheRecordRolledUpAndStoredBack) {
  StartRecord record{};
  record.MainMaximized = kFalse;
  record.MainWidth = 700 * 15;
  record.MainHeight = 500 * 15;
  record.ColorBoxShown = kTrue;
  record.ColorBoxLeft = 1500;  // 100 px
  record.ColorBoxTop = 3000;   // 200 px
  record.PasteBoxShown = kTrue;
  record.PasteBoxRolled = kTrue;
  record.PasteBoxLeft = 4500;  // 300 px
  record.PasteBoxTop = 1500;
  record.PasteBoxWidth = 3000;   // 200 px
  record.PasteBoxHeight = 2400;  // 160 px
  record.PanViewShown = kFalse;

  MainWindow main(record);
  EXPECT_TRUE(main.windowTitle().contains("Kelvane"));
  ASSERT_EQ(main.SideBoxes().size(), 7u);
  main.RestoreFrame();
  main.show();
  main.RestoreSideBoxes();
  Settle();

  SideBox* color = main.Box("fToolColor");
  SideBox* paste = main.Box("fPaste");
  ASSERT_TRUE(color && paste);
  EXPECT_TRUE(color->isVisible());
  EXPECT_TRUE(color->isFloating());
  // Places count from the document area's corner, clear of the tool strip.
  const QPoint origin = main.centralWidget()->mapToGlobal(QPoint(0, 0));
  EXPECT_GT(origin.x(), 0);
  EXPECT_EQ(color->pos(), origin + QPoint(100, 200));
  EXPECT_EQ(color->size(), FindSideBox("fToolColor")->DesignSize);  // no stored size
  EXPECT_TRUE(paste->isVisible());
  EXPECT_TRUE(paste->IsRolled());
  EXPECT_EQ(paste->pos(), origin + QPoint(300, 100));
  EXPECT_EQ(paste->width(), 200);
  EXPECT_LT(paste->height(), 60);
  EXPECT_EQ(paste->FullHeight(), 160);
  EXPECT_FALSE(main.Box("fPanView")->isVisible());
  EXPECT_FALSE(main.Box("fLayerBox")->isVisible());

  // Stored back: the full height of the rolled box, not the collapsed one.
  color->move(origin + QPoint(150, 210));
  Settle();
  StartRecord stored = record;
  StoreSideBoxGeometry(main.SideBoxes(), stored);
  EXPECT_EQ(stored.ColorBoxLeft, 150 * 15);
  EXPECT_EQ(stored.ColorBoxTop, 210 * 15);
  EXPECT_EQ(stored.PasteBoxHeight, 2400);
  EXPECT_EQ(stored.PasteBoxWidth, 3000);
  EXPECT_EQ(stored.PasteBoxRolled, kTrue);

  // Rolling down gives the full height back.
  paste->pMm_Click();
  Settle();
  EXPECT_FALSE(paste->IsRolled());
  EXPECT_EQ(paste->height(), 160);
  StoreSideBoxGeometry(main.SideBoxes(), stored);
  EXPECT_EQ(stored.PasteBoxRolled, kFalse);
}

TEST(MainWindowFrame, ResizeKeepsTheRecordInTwips) {
  StartRecord record{};
  record.MainWidth = 640 * 15;
  record.MainHeight = 480 * 15;
  MainWindow main(record);
  main.RestoreFrame();
  main.show();
  Settle();
  main.resize(720, 530);
  Settle();
  EXPECT_EQ(record.MainWidth, 720 * 15);
  EXPECT_EQ(record.MainHeight, 530 * 15);
  EXPECT_EQ(record.MainMaximized, kFalse);
}

struct TwoDocuments {
  test::TempDir dir;
  StartRecord record{};
  UndoGlobals globals;
  std::vector<std::unique_ptr<Document>> docs;
  std::unique_ptr<MainWindow> main;

  TwoDocuments() {
    record.MainWidth = 800 * 15;
    record.MainHeight = 600 * 15;
    main = std::make_unique<MainWindow>(record);
    main->RestoreFrame();
    main->show();
    QApplication::setActiveWindow(main.get());
    Settle();
    for (int i = 0; i < 2; ++i) {
      docs.push_back(std::make_unique<Document>(globals, dir.path()));
      docs.back()->Caption = "doc" + std::to_string(i);
      docs.back()->CreateBlank(120 + 40 * i, 90);
      main->AddDocumentWindow(*docs.back());
    }
    Settle();
  }
  ~TwoDocuments() { main.reset(); }
};

TEST(MainWindowFrame, TilesAndCascades) {
  TwoDocuments t;
  const QSize area = t.main->MdiArea()->viewport()->size();
  const auto subs = t.main->MdiArea()->subWindowList(QMdiArea::CreationOrder);
  ASSERT_EQ(subs.size(), 2);
  EXPECT_EQ(t.main->DocumentWindows().size(), 2u);
  EXPECT_EQ(t.main->ActiveDocumentWindow(), t.main->DocumentWindows()[1]);

  t.main->TileVertically();
  EXPECT_EQ(subs[0]->geometry(), QRect(0, 0, area.width() / 2, area.height()));
  EXPECT_EQ(subs[1]->geometry(), QRect(area.width() / 2, 0, area.width() - area.width() / 2, area.height()));
  t.main->TileHorizontally();
  EXPECT_EQ(subs[0]->geometry(), QRect(0, 0, area.width(), area.height() / 2));
  EXPECT_EQ(subs[1]->geometry(),
            QRect(0, area.height() / 2, area.width(), area.height() - area.height() / 2));
  t.main->Cascade();
  EXPECT_EQ(subs[0]->pos(), QPoint(0, 0));
  EXPECT_GT(subs[1]->pos().x(), 0);
  EXPECT_EQ(subs[1]->pos().x(), subs[1]->pos().y());
}

TEST(MainWindowFrame, EmptyAreaDoubleClickAndCloseQuestion) {
  TwoDocuments t;
  int opens = 0;
  t.main->SetEmptyAreaDoubleClick([&] { ++opens; });
  QWidget* viewport = t.main->MdiArea()->viewport();
  const QPointF at(viewport->width() - 3, viewport->height() - 3);
  QMouseEvent click(QEvent::MouseButtonDblClick, at, viewport->mapToGlobal(at), Qt::LeftButton,
                    Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport, &click);
  EXPECT_EQ(opens, 1);

  // Files dropped from a file manager: the local ones go to the open road,
  // in order; a drop of web addresses only is refused.
  QStringList dropped;
  t.main->SetFilesDropped([&](const QStringList& files) { dropped = files; });
  auto drop = [&](const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    const QPointF centre(t.main->width() / 2.0, t.main->height() / 2.0);
    QDragEnterEvent enter(centre.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(t.main.get(), &enter);
    QDropEvent dropEvent(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(t.main.get(), &dropEvent);
    return enter.isAccepted();
  };
  EXPECT_TRUE(drop({QUrl::fromLocalFile("/pictures/a.png"), QUrl("https://example.org/b.png"),
                    QUrl::fromLocalFile("/pictures/c.jpg")}));
  EXPECT_EQ(dropped, QStringList({"/pictures/a.png", "/pictures/c.jpg"}));
  dropped.clear();
  EXPECT_FALSE(drop({QUrl("https://example.org/b.png")}));
  EXPECT_TRUE(dropped.isEmpty());

  // The question says no: the window stays. Then yes: the window goes and the
  // owner hears of the document only after its window is gone.
  bool allow = false;
  t.main->SetCloseQuery([&](DocumentWindow&) { return allow; });
  std::vector<Document*> closed;
  QObject::connect(t.main.get(), &MainWindow::documentWindowClosed,
                   [&](Document* d) { closed.push_back(d); });
  QMdiSubWindow* first = t.main->MdiArea()->subWindowList(QMdiArea::CreationOrder)[0];
  EXPECT_FALSE(first->close());
  EXPECT_EQ(t.main->DocumentWindows().size(), 2u);
  allow = true;
  EXPECT_TRUE(first->close());
  QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  Settle();
  ASSERT_EQ(closed.size(), 1u);
  EXPECT_EQ(closed[0], t.docs[0].get());
  EXPECT_EQ(t.main->DocumentWindows().size(), 1u);
  QObject::disconnect(t.main.get(), &MainWindow::documentWindowClosed, nullptr, nullptr);
}

TEST(SplashWindowStart, FirstTickAsksForTheStartOnce) {
  SplashWindow splash;
  EXPECT_FALSE(SplashWindow::DrawPicture(QSize(100, 60)).isNull());
  int starts = 0;
  QObject::connect(&splash, &SplashWindow::startRoutine, [&] { ++starts; });
  splash.show();
  QElapsedTimer clock;
  clock.start();
  while (clock.elapsed() < 1300) QApplication::processEvents(QEventLoop::AllEvents, 50);
  EXPECT_EQ(starts, 1);
  EXPECT_TRUE(splash.StartRequested());
}

TEST(EditorSessionOpen, SamplePictureReachesTheCanvas) {
  test::TempDir dir;
  {
    EditorSession session(dir.path(), false);
    session.StartRoutine(nullptr);
    ASSERT_NE(session.Main(), nullptr);
    for (const auto& box : session.Main()->SideBoxes()) EXPECT_TRUE(box.second->isVisible()) << box.first;

    const std::filesystem::path file = test::DataFile("bmp-24bit-oddwidth-119x96.bmp");
    std::string error;
    DocumentWindow* window = session.OpenPictureFile(file, error);
    ASSERT_NE(window, nullptr) << error;
    Settle();
    EXPECT_EQ(session.DocumentCount(), 1u);
    EXPECT_EQ(window->Doc().Caption, "bmp-24bit-oddwidth-119x96.bmp");
    EXPECT_EQ(window->Doc().Tag, file.string());
    EXPECT_EQ(window->PanelText(kPanelPixel), "119 x 96");

    Bits reference;
    ASSERT_TRUE(LoadPictureFile(file, reference, error)) << error;
    window->SetZoomFactor(2);
    window->Scroll(0, 0);
    QApplication::processEvents();
    const QImage canvas = window->Canvas()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(window->Doc().HScroll().Value, 0);
    for (const QPoint p : {QPoint(0, 0), QPoint(61, 33), QPoint(117, 95)}) {
      const uint8_t* px = reference.Pixel(p.x(), p.y());
      // Factor 2 without scrolling: picture (x, y) covers canvas (2x, 2y) and
      // (2x + 1, 2y + 1) whenever that part of the canvas is on show.
      const QPoint c(2 * p.x() + 1, 2 * p.y() + 1);
      if (c.x() >= canvas.width() || c.y() >= canvas.height()) continue;
      EXPECT_EQ(canvas.pixel(c), qRgb(px[2], px[1], px[0])) << p.x() << "," << p.y();
    }

    EXPECT_EQ(session.OpenPictureFile(test::DataFile("MANIFEST.tsv"), error), nullptr);
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(session.DocumentCount(), 1u);

    EXPECT_TRUE(session.Unload());
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(session.DocumentCount(), 0u);
  }
  // A session that does not persist leaves no settings file behind.
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "kv201Start.up"));
}

}  // namespace
}  // namespace kelvane
