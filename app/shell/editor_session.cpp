#include "shell/editor_session.h"

#include <QMdiArea>
#include <QMdiSubWindow>
#include <algorithm>
#include <system_error>

#include "document/document_window.h"
#include "imagefiles/picture_io.h"
#include "shell/app_folder.h"
#include "shell/main_window.h"
#include "shell/splash_window.h"

namespace kelvane {

EditorSession::EditorSession(std::filesystem::path appFolder, bool persist)
    : appFolder_(std::move(appFolder)), persist_(persist) {}

EditorSession::~EditorSession() {
  // The windows go first: each tells the session that its document may go.
  main_.reset();
  documents_.clear();
}

void EditorSession::StartRoutine(SplashWindow* splash) {
  if (main_) return;
  if (splash) splash->show();
  if (persist_)
    LoadStartRecord(appFolder_, record_);
  else
    record_ = DefaultStartRecord(appFolder_);

  main_ = std::make_unique<MainWindow>(record_);
  connect(main_.get(), &MainWindow::documentWindowClosed, this, &EditorSession::OnDocumentWindowClosed);
  main_->SetUnloadHandler([this] { return Unload(); });
  // Filled in when the command dispatch is bound: MenuStatic("OPEN").
  main_->SetEmptyAreaDoubleClick([] {});

  main_->RestoreFrame();
  main_->show();
  main_->RestoreSideBoxes();
  main_->raise();
  main_->activateWindow();
  main_->RaiseSideBoxes();
  if (splash) splash->close();
}

DocumentWindow* EditorSession::OpenPictureFile(const std::filesystem::path& path, std::string& error) {
  if (!main_) {
    error = "the main window is not loaded";
    return nullptr;
  }
  Bits picture;
  if (!LoadPictureFile(path, picture, error)) return nullptr;
  auto doc = std::make_unique<Document>(globals_, appFolder_);
  doc->Tag = path.string();
  doc->Caption = path.filename().string();
  doc->SetSourcePicture(picture);
  if (!doc->SetPicture(false)) {
    error = "\"" + path.string() + "\": the picture is empty";
    return nullptr;
  }
  Document& shown = *doc;
  documents_.push_back(std::move(doc));
  return main_->AddDocumentWindow(shown);
}

void EditorSession::OnDocumentWindowClosed(Document* doc) {
  const auto it = std::find_if(documents_.begin(), documents_.end(),
                               [doc](const std::unique_ptr<Document>& d) { return d.get() == doc; });
  if (it != documents_.end()) documents_.erase(it);
}

bool EditorSession::Unload() {
  bool allClosed = true;
  if (main_) {
    const QList<QMdiSubWindow*> windows = main_->MdiArea()->subWindowList(QMdiArea::CreationOrder);
    for (auto it = windows.rbegin(); it != windows.rend(); ++it) {
      // A refused close (the save question was cancelled) stops the walk.
      if (!(*it)->close()) {
        allClosed = false;
        break;
      }
    }
    StoreSideBoxGeometry(main_->SideBoxes(), record_);
  }
  if (persist_) SaveStartRecord(appFolder_, record_);
  EmptyTempFolder();
  return allClosed;
}

void EditorSession::EmptyTempFolder() const {
  std::error_code ec;
  const std::filesystem::path temp = AppSubfolderPath(appFolder_, AppSubfolder::Temp);
  if (!std::filesystem::is_directory(temp, ec)) return;
  for (const auto& entry : std::filesystem::directory_iterator(temp, ec)) {
    std::error_code ignored;
    if (entry.is_regular_file(ignored)) std::filesystem::remove(entry.path(), ignored);
  }
}

}  // namespace kelvane
