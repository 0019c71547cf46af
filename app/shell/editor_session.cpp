#include "shell/editor_session.h"

#include <QAction>
#include <QCoreApplication>
#include <QDialog>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSocketNotifier>
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

#include "dialogs/form_dialogs.h"
#include "document/document_window.h"
#include "shell/app_folder.h"
#include "shell/application.h"
#include "shell/main_window.h"
#include "shell/menu_bar.h"
#include "shell/qt_user_interface.h"
#include "shell/single_instance.h"
#include "shell/splash_window.h"
#if __has_include("boxes/side_box_contents.h")
#include "boxes/side_box_contents.h"
#define KELVANE_HAS_BOX_CONTENTS 1
#endif
#if __has_include("shell/tool_strip.h")
#include "shell/tool_strip.h"
#define KELVANE_HAS_TOOL_STRIP 1
#endif

namespace kelvane {

namespace {

// The write end of the signal pipe; -1 until CatchTerminationSignals.
int signalPipeWrite = -1;

void OnTerminationSignal(int) {
  const char byte = 1;
  if (signalPipeWrite >= 0) {
    // Nothing to do on failure: a full pipe already holds a request.
    [[maybe_unused]] const ssize_t written = ::write(signalPipeWrite, &byte, 1);
  }
}

}  // namespace

EditorSession::EditorSession(std::filesystem::path appFolder, bool persist)
    : appFolder_(std::move(appFolder)), persist_(persist), ui_(std::make_unique<QtUserInterface>()) {
  app_ = std::make_unique<Application>(*ui_, appFolder_);
  ui_->SetFormFactory([this](std::string_view form, QWidget* owner) {
    std::unique_ptr<QDialog> dialog = MakeFormDialog(form, *app_, owner);
    return dialog;
  });
  lockFile_ = InstanceLockPath(QCoreApplication::applicationFilePath().toStdString());
}

EditorSession::~EditorSession() {
  // The windows go before the model that their documents belong to.
  app_->Observers = ApplicationObservers{};
  ui_->SetOwner(nullptr);
#ifdef KELVANE_HAS_BOX_CONTENTS
  delete boxContents_;
  boxContents_ = nullptr;
#endif
  main_.reset();
  app_.reset();
}

StartRecord& EditorSession::Record() { return app_->Record(); }

size_t EditorSession::DocumentCount() const { return app_->Documents().size(); }

DocumentWindow* EditorSession::WindowOf(const Document* doc) const {
  if (!main_ || !doc) return nullptr;
  for (DocumentWindow* window : main_->DocumentWindows())
    if (&window->Doc() == doc) return window;
  return nullptr;
}

// ---------------------------------------------------------------------------
// Start

void EditorSession::StartRoutine(SplashWindow* splash) {
  if (main_) return;
  if (splash) splash->show();
  std::error_code ec;
  settingsExisted_ = std::filesystem::exists(SettingsFilePath(appFolder_), ec);

  main_ = std::make_unique<MainWindow>(app_->Record());
  ui_->SetOwner(main_.get());
  menus_ = new MenuBar(main_->menuBar(), *app_, main_.get());
  BindObservers();
#ifdef KELVANE_HAS_BOX_CONTENTS
  // The boxes' refreshes run after the frame's own.
  boxContents_ = new SideBoxContents(*app_, main_->SideBoxes());
  boxContents_->ChainObservers();
#endif
  // The model's start may warn of another instance: the frame is its owner.
  const StartResult started = app_->StartRoutine(lockFile_);
  (void)started;

  main_->SetUnloadHandler([this] { return Unload(); });
  main_->SetEmptyAreaDoubleClick([this] { app_->MenuStatic("OPEN"); });
  main_->SetFilesDropped([this](const QStringList& files) {
    for (const QString& file : files) app_->OpenFile(file.toStdString());
  });
  main_->SetCloseQuery([this](DocumentWindow& window) {
    closingSub_ = qobject_cast<QMdiSubWindow*>(window.parentWidget());
    const bool closes = app_->CloseDocument(window.Doc());
    closingSub_ = nullptr;
    return closes;
  });
  connect(main_.get(), &MainWindow::activeDocumentChanged, this, &EditorSession::OnActiveWindow);
  for (const auto& [form, box] : main_->SideBoxes()) {
    connect(box, &SideBox::hiddenByUser, this, [this](const QString& name) {
      StoreSideBox(name.toStdString());
      if (const SideBoxInfo* row = FindSideBox(name.toStdString())) app_->SideBoxClosed(row->ViewsIndex);
    });
  }
  connect(menus_, &MenuBar::commandRun, this, &EditorSession::RefreshAfterCommand);
#ifdef KELVANE_HAS_TOOL_STRIP
  auto* strip = new ToolStrip(*app_, main_.get());
  strip->SetActiveWindowLookup([this] { return main_ ? main_->ActiveDocumentWindow() : nullptr; });
  strip->LoadFromModel();
  main_->SetToolStrip(strip);
#endif

  main_->RestoreFrame();
  main_->show();
  main_->RestoreSideBoxes();
  menus_->RefreshRecent();
  menus_->RefreshViews();
  menus_->ApplyTab(ViewTab::Original);
  main_->raise();
  main_->activateWindow();
  main_->RaiseSideBoxes();
  if (splash) splash->close();
}

void EditorSession::BindObservers() {
  ApplicationObservers& o = app_->Observers;
  o.UpdateImage = [this](Document& doc) {
    if (DocumentWindow* window = WindowOf(&doc)) {
      window->UserControl_Resize();
      window->SetPanelText(kPanelZoom, QString::fromStdString(doc.ZoomPanel()));
      window->UpdateImage();
    }
  };
  o.Progress = [this](Document& doc, int32_t percent) {
    DocumentWindow* window = WindowOf(&doc);
    if (!window) return;
    // 0 is the reset at the start of Update, not a run under way.
    window->SetFilterProgress(percent <= 0 ? -1 : percent);
    if (percent > 0 && percent < 100) QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  };
  o.StatusText = [this](Document& doc, std::string_view panel, const std::string& text) {
    DocumentWindow* window = WindowOf(&doc);
    if (!window) return;
    // "Size" is the frame's own field.
    if (panel == kPanelSize) {
      if (main_) main_->SetStatusSize(QString::fromStdString(text));
    } else if (panel == kPanelName) {
      window->RefreshCaption();
      if (!text.empty()) window->SetPanelText(kPanelName, QString::fromStdString(text));
    } else {
      window->SetPanelText(panel, QString::fromStdString(text));
    }
  };
  o.SelectionTimer = [this](Document& doc, bool running) {
    if (DocumentWindow* window = WindowOf(&doc)) running ? window->StartTimer() : window->StopTimer();
  };
  o.DocumentOpened = [this](Document& doc) { OnDocumentOpened(doc); };
  o.DocumentClosed = [this](Document& doc) { OnDocumentClosed(doc); };
  o.Arrange = [this](ArrangeMode mode) {
    if (!main_) return;
    switch (mode) {
      case ArrangeMode::TileHorizontal:
        main_->TileHorizontally();
        break;
      case ArrangeMode::TileVertical:
        main_->TileVertically();
        break;
      case ArrangeMode::Cascade:
        main_->Cascade();
        break;
    }
  };
  o.SideBox = [this](const SideBoxPlacement& placement) { ShowSideBox(placement); };
  // The flips of the Image menu share their numbers with the layer flips;
  // until the layer view takes them they act on the picture.
  o.ApplyLayerEffects = [this](Document& doc, int32_t number) {
    if (doc.ActiveTab() != ViewTab::Original) return;
    if (number == 78 || number == 80) app_->MenuExec("FLIPH");
    if (number == 79 || number == 80) app_->MenuExec("FLIPV");
  };
  o.ExitRequested = [this] {
    // The model has shut down already; the frame closes without asking again.
    exiting_ = true;
    if (main_) main_->close();
  };
}

// ---------------------------------------------------------------------------
// Documents and their windows

void EditorSession::OnDocumentOpened(Document& doc) {
  if (!main_) return;
  DocumentWindow* window = main_->AddDocumentWindow(doc);
  BindWindow(*window);
  window->RefreshCaption();
  app_->Activate(&doc);
  menus_->ApplyTab(doc.ActiveTab());
}

void EditorSession::BindWindow(DocumentWindow& window) {
  window.SetCanvasHost(app_.get(), &app_->Clips());
  // A stroke belongs to the document pressed on, before the tools update it.
  connect(&window, &DocumentWindow::canvasPressed, this, [this, &window] { app_->Activate(&window.Doc()); });
  connect(&window, &DocumentWindow::tabSelected, this, [this, &window](ViewTab tab) {
    if (main_ && main_->ActiveDocumentWindow() == &window) menus_->ApplyTab(tab);
  });
}

void EditorSession::OnDocumentClosed(Document& doc) {
  DocumentWindow* window = WindowOf(&doc);
  if (!window) return;
  auto* sub = qobject_cast<QMdiSubWindow*>(window->parentWidget());
#ifdef KELVANE_HAS_BOX_CONTENTS
  if (boxContents_ && boxContents_->ActiveWindow() == window) boxContents_->SetActiveWindow(nullptr);
#endif
  // The window goes now, while its document still exists; the sub-window
  // follows through its own close.
  delete window;
  if (sub && sub != closingSub_) sub->close();
  if (main_ && main_->DocumentWindows().empty()) menus_->ApplyTab(ViewTab::Original);
  ShowActiveSize();
}

void EditorSession::OnActiveWindow(DocumentWindow* window) {
  if (!window) return;
  app_->Activate(&window->Doc());
#ifdef KELVANE_HAS_BOX_CONTENTS
  if (boxContents_) boxContents_->SetActiveWindow(window);
#endif
  ShowActiveSize();
  menus_->ApplyTab(window->Doc().ActiveTab());
}

void EditorSession::ShowActiveSize() {
  if (!main_) return;
  const Document* doc = app_->GetActiveImage();
  main_->SetStatusSize(doc && doc->PictureExists()
                           ? QString::fromStdString(SizeText(doc->PictureWidth(), doc->PictureHeight()))
                           : QString());
}

void EditorSession::RefreshAfterCommand() {
  if (!main_) return;
  for (DocumentWindow* window : main_->DocumentWindows()) window->RefreshCaption();
  DocumentWindow* active = main_->ActiveDocumentWindow();
  menus_->ApplyTab(active ? active->Doc().ActiveTab() : ViewTab::Original);
  menus_->RefreshViews();
  ShowActiveSize();
}

DocumentWindow* EditorSession::OpenPictureFile(const std::filesystem::path& path, std::string& error) {
  error.clear();
  if (!main_) {
    error = "the main window is not loaded";
    return nullptr;
  }
  // Messages of the open come back to the caller.
  std::shared_ptr<ScriptedAnswers> previous = ui_->Script();
  auto script = std::make_shared<ScriptedAnswers>(previous ? *previous : ScriptedAnswers{});
  script->Message = [&error](const MessageBoxText& m) { error += (error.empty() ? "" : "\n") + m.Text; };
  ui_->SetScript(script);
  const size_t before = app_->Documents().size();
  const bool opened = app_->OpenFile(path.string());
  ui_->SetScript(previous);
  if (!opened || app_->Documents().size() == before) {
    if (error.empty()) error = "\"" + path.string() + "\": the picture did not open";
    return nullptr;
  }
  return WindowOf(app_->Documents().back().get());
}

// ---------------------------------------------------------------------------
// Side boxes

void EditorSession::ShowSideBox(const SideBoxPlacement& placement) {
  if (!main_) return;
  SideBox* box = main_->Box(placement.Form);
  if (box) {
    if (placement.Shown) {
      QRect place(TwipsToPixels(placement.Left), TwipsToPixels(placement.Top), box->width(), box->height());
      if (placement.StoresSize && placement.Width > 0 && placement.Height > 0 && !box->IsRolled())
        place.setSize(QSize(TwipsToPixels(placement.Width), TwipsToPixels(placement.Height)));
      box->setFloating(true);
      box->setGeometry(place);
      box->show();
      box->raise();
    } else if (box->isVisible()) {
      StoreSideBox(placement.Form);
      box->hide();
    }
  }
  menus_->RefreshViews();
}

void EditorSession::StoreSideBox(std::string_view form) {
  if (!main_) return;
  if (SideBox* box = main_->Box(form)) StoreSideBoxGeometry(*box, app_->Record());
}

void EditorSession::StoreShownSideBoxes() {
  if (!main_) return;
  // A box hidden earlier in the run stored its place as it went; one never
  // shown keeps the place the record gave it.
  for (const auto& [form, box] : main_->SideBoxes())
    if (box->isVisible()) StoreSideBox(form);
}

// ---------------------------------------------------------------------------
// End

bool EditorSession::Unload() {
  if (exiting_) return true;
  StoreShownSideBoxes();
  const bool allClosed = app_->Shutdown();
  if (!persist_ && !settingsExisted_) {
    std::error_code ec;
    std::filesystem::remove(SettingsFilePath(appFolder_), ec);
  }
  if (allClosed) exiting_ = true;
  return allClosed;
}

void EditorSession::Terminate() {
  if (exiting_) return;
  exiting_ = true;
  StoreShownSideBoxes();
  for (const auto& doc : app_->Documents())
    if (!doc->Changed) doc->History().DeleteUndoFiles();
  if (persist_) SaveStartRecord(appFolder_, app_->Record());
  QCoreApplication::quit();
}

void EditorSession::CatchTerminationSignals(EditorSession& session) {
  static bool installed = false;
  if (installed) return;
  int fds[2];
  if (::pipe(fds) != 0) return;
  for (int fd : fds) ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
  installed = true;
  signalPipeWrite = fds[1];
  auto* notifier = new QSocketNotifier(fds[0], QSocketNotifier::Read, &session);
  QObject::connect(notifier, &QSocketNotifier::activated, &session, [&session, fd = fds[0]] {
    char buffer[16];
    while (::read(fd, buffer, sizeof buffer) > 0) {
    }
    session.Terminate();
  });
  struct sigaction action {};
  action.sa_handler = OnTerminationSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGTERM, &action, nullptr);
  ::sigaction(SIGINT, &action, nullptr);
}

}  // namespace kelvane
