// The editor's entry: the splash window is the start object; its first tick
// runs the start routine. No command-line argument is read (the
// screenshot hook of scripts/screenshots reads its environment variables,
// see shell/screenshot_run.h). SIGTERM and SIGINT end the run through the
// session: settings written, no questions asked.
#include <QApplication>
#include <QTemporaryDir>
#include <memory>

#include "shell/app_folder.h"
#include "shell/editor_session.h"
#include "shell/main_window.h"
#include "shell/screenshot_run.h"
#include "shell/splash_window.h"

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  QApplication::setApplicationName(kelvane::kProductName);
  // The program ends with the frame's unload, not when the splash goes.
  QApplication::setQuitOnLastWindowClosed(false);

  const std::optional<kelvane::ScreenshotRequest> screenshots = kelvane::ScreenshotRequestFromEnvironment();
  std::unique_ptr<QTemporaryDir> scratch;
  std::filesystem::path appFolder;
  if (screenshots) {
    scratch = std::make_unique<QTemporaryDir>();
    appFolder = scratch->path().toStdString();
  } else {
    appFolder = kelvane::ApplicationFolder(kelvane::ExecutableDir());
  }

  kelvane::EditorSession session(appFolder, !screenshots);
  if (screenshots) {
    // The tour's own folder: its help file and no lock shared with a real run.
    session.SetInstanceLockFile(appFolder / "instance.lock");
    std::error_code ec;
    std::filesystem::create_directories(appFolder / "Help", ec);
    std::filesystem::copy_file(kelvane::ExecutableDir() / "Help" / "default.htm", appFolder / "Help" / "default.htm",
                               ec);
  }
  kelvane::EditorSession::CatchTerminationSignals(session);
  kelvane::SplashWindow splash;
  QObject::connect(&splash, &kelvane::SplashWindow::startRoutine, &session, [&session, &splash] {
    session.StartRoutine(&splash);
    QObject::connect(session.Main(), &kelvane::MainWindow::unloaded, qApp, &QApplication::quit,
                     Qt::QueuedConnection);
  });
  if (screenshots) kelvane::ScheduleScreenshotTour(session, splash, *screenshots);
  splash.show();
  return app.exec();
}
