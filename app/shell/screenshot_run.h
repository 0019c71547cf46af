// The screenshot run: a test hook for scripts/screenshots, not a feature.
// The editor reads no command line; this hook alone reads two environment
// variables, and only when the first is set:
//   KELVANE_SCREENSHOT_DIR    folder that receives the PNG files (created)
//   KELVANE_SCREENSHOT_FILES  pictures to open, separated by ':'
// In that mode the editor starts on a scratch application folder with the
// first-start settings (every side box shown, the settings file untouched),
// opens the pictures, walks through a fixed tour of its windows saving one
// PNG per stop (the frame with two documents, the menus dropped down, each
// dialog opened by its menu item and cancelled, the open dialog with its
// preview), and quits. A picture that does not open is reported on
// standard error and skipped.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace kelvane {

class EditorSession;
class SplashWindow;

struct ScreenshotRequest {
  QString Folder;
  QStringList Pictures;
};

// The request when KELVANE_SCREENSHOT_DIR is set and not empty.
std::optional<ScreenshotRequest> ScreenshotRequestFromEnvironment();

// Schedules the tour on the event loop: the splash is saved before the
// start, the rest after it. Quits the application at the end.
void ScheduleScreenshotTour(EditorSession& session, SplashWindow& splash, const ScreenshotRequest& request);

}  // namespace kelvane
