// EditorSession: one run of the editor. It owns the Application (the model
// of fMain: record, undo counters, documents, filter engine, tool panel),
// the QtUserInterface the model speaks through, and the frame window with
// its menu bar, and it binds them: the model's observers drive the windows,
// the windows' events call the model.
//
// Contract:
//  - StartRoutine runs once, from the splash's first tick: the model's start
//    (settings, single-instance warning, recent files, tool panels), then
//    fMain with its menus and hidden side boxes, the frame restored and
//    shown, the side boxes placed from the record with their VIEWS marks, the
//    frame brought to the front and the splash closed.
//  - A document opened by the model gets its window in the frame's client
//    area; activating a window activates its document in the model, and the
//    menus follow the document's view tab. Closing a window asks the model
//    (CloseDocument: the save question); the window goes with its document.
//  - The frame's unload stores the side boxes' places in the record and runs
//    Application::Shutdown, which writes the settings and empties Temp even
//    when a close was refused; the frame then stays open.
//  - Terminate (SIGTERM, SIGINT) writes the settings and ends the event loop
//    without a question: the undo snapshots of changed documents stay in
//    Temp, those of unchanged ones go.
//  - OpenPictureFile opens a file as the open command does; a message the
//    open would show comes back in `error` instead.
//  - A session made with persist off leaves no settings file of its own: one
//    written at the exit is removed when there was none at the start.
#pragma once

#include <QObject>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "document/document.h"
#include "shell/start_record.h"

class QMdiSubWindow;

namespace kelvane {

class Application;
class DocumentWindow;
class MainWindow;
class MenuBar;
class QtUserInterface;
class SideBoxContents;
class SplashWindow;
struct SideBoxPlacement;

class EditorSession : public QObject {
  Q_OBJECT

 public:
  explicit EditorSession(std::filesystem::path appFolder, bool persist = true);
  ~EditorSession() override;

  const std::filesystem::path& AppFolder() const { return appFolder_; }
  Application& App() { return *app_; }
  QtUserInterface& Ui() { return *ui_; }
  StartRecord& Record();
  MainWindow* Main() const { return main_.get(); }
  MenuBar* Menus() const { return menus_; }
  size_t DocumentCount() const;
  // The window showing a document, or null.
  DocumentWindow* WindowOf(const Document* doc) const;

  // The single-instance lock file; by default the one of the executable.
  void SetInstanceLockFile(std::filesystem::path file) { lockFile_ = std::move(file); }

  // The start after the splash's first tick; splash may be null.
  void StartRoutine(SplashWindow* splash);
  // Opens a picture file through the model; its window on success.
  DocumentWindow* OpenPictureFile(const std::filesystem::path& path, std::string& error);
  // The frame's unload handler; true when the frame may close.
  bool Unload();
  // The end on a termination signal (see the contract).
  void Terminate();

  // Routes SIGTERM and SIGINT of the process to Terminate of this session,
  // through a pipe read by the event loop. Once per process.
  static void CatchTerminationSignals(EditorSession& session);

 private:
  void BindObservers();
  void BindWindow(DocumentWindow& window);
  void OnDocumentOpened(Document& doc);
  void OnDocumentClosed(Document& doc);
  void OnActiveWindow(DocumentWindow* window);
  void ShowSideBox(const SideBoxPlacement& placement);
  void StoreSideBox(std::string_view form);
  void StoreShownSideBoxes();
  // The menus for the active document's tab, the windows' captions.
  void RefreshAfterCommand();
  void ShowActiveSize();

  std::filesystem::path appFolder_;
  bool persist_ = true;
  bool settingsExisted_ = false;
  std::filesystem::path lockFile_;
  std::unique_ptr<QtUserInterface> ui_;
  std::unique_ptr<Application> app_;
  std::unique_ptr<MainWindow> main_;
  MenuBar* menus_ = nullptr;
  QMdiSubWindow* closingSub_ = nullptr;
  SideBoxContents* boxContents_ = nullptr;  // the boxes' contents, when built
  bool exiting_ = false;
};

}  // namespace kelvane
