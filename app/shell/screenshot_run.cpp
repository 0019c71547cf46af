#include "shell/screenshot_run.h"

#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QMdiSubWindow>
#include <QPixmap>
#include <QScreen>
#include <QTimer>
#include <functional>
#include <iostream>
#include <memory>
#include <vector>

#include "document/document_window.h"
#include "shell/editor_session.h"
#include "shell/main_window.h"
#include "shell/splash_window.h"

namespace kelvane {

namespace {

inline constexpr int kStepDelay = 400;
// Long enough for the selection outline to have marched a step or two.
inline constexpr int kSettleDelay = 1100;

void Save(const QPixmap& picture, const QString& folder, const QString& name) {
  const QString path = QDir(folder).filePath(name);
  if (picture.isNull() || !picture.save(path, "PNG"))
    std::cerr << "screenshots: could not save " << path.toStdString() << "\n";
  else
    std::cout << "screenshots: " << path.toStdString() << "\n";
}

// The whole screen, side boxes included; the frame alone where the platform
// cannot read the screen.
QPixmap GrabScreen(MainWindow* main) {
  if (main) main->RaiseSideBoxes();
  QApplication::processEvents();
  QGuiApplication::sync();
  if (QScreen* screen = QGuiApplication::primaryScreen()) {
    QPixmap picture = screen->grabWindow(0);
    if (!picture.isNull()) return picture;
  }
  return main ? main->grab() : QPixmap();
}

// Runs the steps one after another, each after its delay.
struct Tour {
  struct Step {
    int delay;
    std::function<void()> run;
  };
  std::vector<Step> steps;
  size_t next = 0;

  static void RunNext(const std::shared_ptr<Tour>& tour) {
    if (tour->next >= tour->steps.size()) return;
    const Step& step = tour->steps[tour->next++];
    QTimer::singleShot(step.delay, [tour, run = step.run] {
      run();
      RunNext(tour);
    });
  }
};

}  // namespace

std::optional<ScreenshotRequest> ScreenshotRequestFromEnvironment() {
  const QString folder = qEnvironmentVariable("KELVANE_SCREENSHOT_DIR");
  if (folder.isEmpty()) return std::nullopt;
  ScreenshotRequest request;
  request.Folder = folder;
  request.Pictures = qEnvironmentVariable("KELVANE_SCREENSHOT_FILES").split(':', Qt::SkipEmptyParts);
  return request;
}

void ScheduleScreenshotTour(EditorSession& session, SplashWindow& splash, const ScreenshotRequest& request) {
  QDir().mkpath(request.Folder);
  const QString folder = request.Folder;
  // The splash, before its timer starts the editor.
  QTimer::singleShot(kSplashInterval / 2, &splash,
                     [&splash, folder] { Save(splash.grab(), folder, "01-splash.png"); });

  auto tour = std::make_shared<Tour>();
  EditorSession* s = &session;
  auto windows = [s] { return s->Main()->DocumentWindows(); };
  tour->steps = {
      {kStepDelay,
       [s] {
         // No window manager maximises the frame under a bare X server.
         if (QScreen* screen = QGuiApplication::primaryScreen())
           s->Main()->setGeometry(screen->availableGeometry());
       }},
      {kStepDelay, [s, folder] { Save(GrabScreen(s->Main()), folder, "02-start.png"); }},
      {0,
       [s, request] {
         for (const QString& picture : request.Pictures) {
           std::string error;
           if (!s->OpenPictureFile(picture.toStdString(), error))
             std::cerr << "screenshots: " << error << "\n";
         }
         s->Main()->TileVertically();
       }},
      {kStepDelay,
       [windows] {
         const auto list = windows();
         if (list.size() >= 1) {
           Document& doc = list[0]->Doc();
           doc.BitRegion().CreateRect(doc.PictureWidth() / 6, doc.PictureHeight() / 6,
                                      doc.PictureWidth() * 2 / 3, doc.PictureHeight() * 2 / 3,
                                      CombineMode::Or, true);
           doc.BitRegion().CreateEllipse(doc.PictureWidth() / 2, doc.PictureHeight() / 2,
                                         doc.PictureWidth() * 5 / 6, doc.PictureHeight() * 5 / 6,
                                         CombineMode::Or, true);
           list[0]->StartTimer();
         }
         if (list.size() >= 2) {
           list[1]->SetZoomFactor(4);
           list[1]->Scroll(40, 30);
           list[1]->SetFilterProgress(40);
         }
       }},
      {kSettleDelay,
       [s, windows, folder] {
         Save(GrabScreen(s->Main()), folder, "03-documents.png");
         int n = 0;
         for (DocumentWindow* window : windows()) {
           QWidget* frame = window->parentWidget() ? window->parentWidget() : window;
           Save(frame->grab(), folder, QString("04-document-%1.png").arg(++n));
         }
       }},
      {0,
       [s, windows] {
         s->Main()->Cascade();
         const auto list = windows();
         if (!list.empty()) list.back()->SelectTab(ViewTab::Optimize);
         for (const char* name : {"fPaste", "fToolBrowser"})
           if (SideBox* box = s->Main()->Box(name)) box->pMm_Click();
       }},
      {kSettleDelay, [s, folder] { Save(GrabScreen(s->Main()), folder, "05-cascade-rolled.png"); }},
      {0,
       [s, windows] {
         for (const auto& box : s->Main()->SideBoxes()) box.second->hide();
         const auto list = windows();
         if (!list.empty()) list.back()->SelectTab(ViewTab::Original);
         s->Main()->TileHorizontally();
       }},
      {kSettleDelay, [s, folder] { Save(GrabScreen(s->Main()), folder, "06-tile-horizontal.png"); }},
      {0, [] { QApplication::exit(0); }},
  };
  QObject::connect(&splash, &SplashWindow::startRoutine, &session, [tour] { Tour::RunNext(tour); });
}

}  // namespace kelvane
