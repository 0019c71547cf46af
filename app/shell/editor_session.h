// EditorSession: the running editor until the Application model takes over
// its part: the application folder, the settings record, the undo globals,
// the open documents and the frame window. It carries out the window side of
// the start (StartRoutine) and of the exit (the frame's unload handler).
//
// Contract:
//  - StartRoutine runs once, from the splash's first tick: it loads the
//    record (defaults on a first start; a session made with persist off
//    takes the defaults and never touches the settings file), makes fMain
//    with its side boxes hidden, restores the frame, shows it, places the
//    side boxes from the record, brings the frame to the front and closes
//    the splash.
//  - OpenPictureFile opens a file as the open command's last step does: the
//    decoded picture becomes a new document shown in a new window; the
//    document's Tag is the full path and its Caption the file name. On
//    failure nothing is opened and `error` says why.
//  - The unload handler closes the document windows from the last to the
//    first, stopping at the first one whose close was refused; then it
//    stores the side boxes' places, writes the record (when persisting) and
//    deletes the files of the Temp folder. The frame closes only when no
//    document window is left.
//  - A document lives exactly as long as its window.
#pragma once

#include <QObject>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "document/document.h"
#include "document/undo_history.h"
#include "shell/start_record.h"

namespace kelvane {

class DocumentWindow;
class MainWindow;
class SplashWindow;

class EditorSession : public QObject {
  Q_OBJECT

 public:
  EditorSession(std::filesystem::path appFolder, bool persist);
  ~EditorSession() override;

  const std::filesystem::path& AppFolder() const { return appFolder_; }
  StartRecord& Record() { return record_; }
  UndoGlobals& Globals() { return globals_; }
  MainWindow* Main() const { return main_.get(); }
  size_t DocumentCount() const { return documents_.size(); }

  // The start after the splash's first tick; splash may be null.
  void StartRoutine(SplashWindow* splash);
  // Opens a picture file into a new document window; null on failure.
  DocumentWindow* OpenPictureFile(const std::filesystem::path& path, std::string& error);
  // The frame's unload handler; true when the frame may close.
  bool Unload();

 private:
  void OnDocumentWindowClosed(Document* doc);
  void EmptyTempFolder() const;

  std::filesystem::path appFolder_;
  bool persist_ = true;
  StartRecord record_;
  UndoGlobals globals_;
  std::vector<std::unique_ptr<Document>> documents_;
  std::unique_ptr<MainWindow> main_;
};

}  // namespace kelvane
