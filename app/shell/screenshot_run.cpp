#include "shell/screenshot_run.h"
#include "shell/tool_strip.h"

#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QDialog>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPixmap>
#include <QScreen>
#include <QTimer>
#include <functional>
#include <iostream>
#include <memory>
#include <vector>

#include "dialogs/open_picture_dialog.h"
#include "document/document_window.h"
#include "imagefiles/file_dialog_filters.h"
#include "shell/application.h"
#include "shell/editor_session.h"
#include "shell/menu_bar.h"
#include "shell/qt_user_interface.h"
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
  };
  // The menus dropped down from the bar, one after another.
  const char* menus[][2] = {{"mnuFile", "07-menu-file.png"},
                            {"mnuEdit", "08-menu-edit.png"},
                            {"mnuFilters1", "09-menu-filters.png"},
                            {"mnuImage", "10-menu-image.png"},
                            {"mnuView", "11-menu-view.png"}};
  for (const auto& menu : menus) {
    const QString name = menu[0], file = menu[1];
    tour->steps.push_back({0, [s, name] {
                             if (QMenu* m = s->Menus()->Menu(name.toStdString())) {
                               s->Main()->activateWindow();
                               s->Main()->menuBar()->setActiveAction(m->menuAction());
                             }
                           }});
    tour->steps.push_back({kStepDelay, [s, name, folder, file] {
                             Save(GrabScreen(s->Main()), folder, file);
                             if (QMenu* m = s->Menus()->Menu(name.toStdString())) m->hide();
                             s->Main()->menuBar()->setActiveAction(nullptr);
                           }});
  }
  // Each dialog, opened by its menu item; the script hook saves it and
  // closes it again without a change.
  tour->steps.push_back({kStepDelay, [s, folder] {
                           auto script = std::make_shared<ScriptedAnswers>();
                           int n = 11;
                           s->Ui().SetScript(script);
                           const std::pair<const char*, int> items[] = {
                               {"FILE", 0},   {"IMAGE", 0},   {"IMAGE", 1},    {"IMAGE", 2},  {"IMAGE", 3},
                               {"EDIT", 22},  {"ABOUT", 7},   {"EDIT", 21},    {"FILTERS", 15}, {"COLORS", 10},
                               {"SWAP", 6},   {"SHAPES", 11}, {"SHAPES", 12}};
                           for (const auto& [array, index] : items) {
                             if (std::string_view(array) != "FILE" && !s->App().GetActiveImage()) continue;
                             script->Dialog = [folder, &n, array, index](QDialog& dialog, std::string_view form) {
                               dialog.adjustSize();
                               QApplication::processEvents();
                               QString name = QString::fromUtf8(form.data(), static_cast<qsizetype>(form.size()));
                               // The filter dialogs are told apart by their menu item.
                               if (name == "fFilter") name += QString("-%1-%2").arg(array).arg(index);
                               Save(dialog.grab(), folder, QString("%1-dialog-%2.png").arg(++n).arg(name));
                             };
                             s->App().MenuClick(array, index);
                           }
                           s->Ui().SetScript(nullptr);
                         }});
  tour->steps.push_back({kStepDelay, [s, request, folder] {
                           OpenPictureDialog dialog(s->Main());
                           dialog.setWindowTitle(QString::fromUtf8(kOpenTitle.data(), kOpenTitle.size()));
                           dialog.setNameFilters(QtNameFilters(kOpenFilter));
                           if (!request.Pictures.isEmpty()) {
                             const QFileInfo first(request.Pictures.back());
                             dialog.setDirectory(first.absolutePath());
                             dialog.selectFile(first.fileName());
                             dialog.ShowPreview(first.absoluteFilePath());
                           }
                           dialog.resize(900, 520);
                           dialog.show();
                           QApplication::processEvents();
                           Save(dialog.grab(), folder, "30-dialog-open.png");
                           dialog.reject();
                         }});
  // Every tool panel and every side box, each on its own.
  tour->steps.push_back({kStepDelay, [folder] {
                           CaptureToolPanels(folder);
                           CaptureSideBoxes(folder);
                         }});
  tour->steps.push_back({0, [] { QApplication::exit(0); }});
  QObject::connect(&splash, &SplashWindow::startRoutine, &session, [tour] { Tour::RunNext(tour); });
}

}  // namespace kelvane
