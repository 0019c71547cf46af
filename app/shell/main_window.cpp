#include "shell/main_window.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QLabel>
#include <QStatusBar>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPointer>
#include <QStyle>
#include <algorithm>

#include "document/document_window.h"

namespace kelvane {

namespace {
inline constexpr QSize kSmallestFrame(320, 240);
}

MainWindow::MainWindow(StartRecord& record, QWidget* parent) : QMainWindow(parent), record_(record) {
  setObjectName("fMain");
  setWindowTitle(kMainWindowTitle);
  setDockOptions(QMainWindow::AnimatedDocks | QMainWindow::AllowTabbedDocks);
  mdiArea_ = new QMdiArea(this);
  mdiArea_->setObjectName("MDIArea");
  mdiArea_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  mdiArea_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  mdiArea_->viewport()->installEventFilter(this);
  connect(mdiArea_, &QMdiArea::subWindowActivated, this, &MainWindow::OnSubWindowActivated);
  setCentralWidget(mdiArea_);
  statusSize_ = new QLabel(this);
  statusSize_->setObjectName("Size");
  statusSize_->setMinimumWidth(statusSize_->fontMetrics().horizontalAdvance("00000 x 00000") + 12);
  statusBar()->addPermanentWidget(statusSize_);
  sideBoxes_ = LoadSideBoxes(this);
  setAcceptDrops(true);
}

namespace {
QStringList LocalFiles(const QMimeData* data) {
  QStringList files;
  if (!data || !data->hasUrls()) return files;
  for (const QUrl& url : data->urls())
    if (url.isLocalFile()) files << url.toLocalFile();
  return files;
}
}  // namespace

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (filesDropped_ && !LocalFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  const QStringList files = LocalFiles(event->mimeData());
  if (files.isEmpty() || !filesDropped_) return;
  event->acceptProposedAction();
  filesDropped_(files);
}

MainWindow::~MainWindow() {
  // The sub-windows go before the frame's members do: their documents are
  // told while the frame still answers.
  activeWindow_ = nullptr;
  for (QMdiSubWindow* sub : mdiArea_->subWindowList()) {
    sub->removeEventFilter(this);
    delete sub;
  }
}

SideBox* MainWindow::Box(std::string_view formName) const {
  const auto it = sideBoxes_.find(formName);
  return it == sideBoxes_.end() ? nullptr : it->second;
}

void MainWindow::RestoreFrame() {
  if (record_.MainMaximized) {
    setWindowState(windowState() | Qt::WindowMaximized);
    return;
  }
  const QSize stored(TwipsToPixels(record_.MainWidth), TwipsToPixels(record_.MainHeight));
  setWindowState(windowState() & ~Qt::WindowMaximized);
  resize(stored.expandedTo(kSmallestFrame));
}

void MainWindow::SetStatusSize(const QString& text) { statusSize_->setText(text); }

QString MainWindow::StatusSize() const { return statusSize_->text(); }

void MainWindow::SetToolStrip(QWidget* strip) {
  if (!strip) return;
  auto* dock = new QDockWidget(this);
  dock->setObjectName("ToolDock");
  dock->setFeatures(QDockWidget::NoDockWidgetFeatures);
  dock->setTitleBarWidget(new QWidget(dock));
  dock->setWidget(strip);
  addDockWidget(Qt::LeftDockWidgetArea, dock);
  toolStrip_ = strip;
}

void MainWindow::RestoreSideBoxes() { PlaceSideBoxes(record_, sideBoxes_); }

DocumentWindow* MainWindow::AddDocumentWindow(Document& doc) {
  auto* window = new DocumentWindow(doc);
  auto* sub = new QMdiSubWindow(mdiArea_);
  sub->setWidget(window);
  sub->setAttribute(Qt::WA_DeleteOnClose);
  sub->setWindowTitle(window->windowTitle());
  sub->installEventFilter(this);
  Document* docPointer = &doc;
  connect(window, &QObject::destroyed, this, [this, docPointer, window] {
    if (activeWindow_ == window) activeWindow_ = nullptr;
    emit documentWindowClosed(docPointer);
  });
  connect(window, &QWidget::windowTitleChanged, sub, &QWidget::setWindowTitle);
  mdiArea_->addSubWindow(sub);

  // Form_Load's size: the picture within the client area, plus the frame of
  // the sub-window.
  const QSize frame = sub->size() - window->size();
  const QSize client = mdiArea_->viewport()->size();
  const QSize content = window->PreferredSize(client - frame);
  sub->resize(content + frame);
  if (record_.ImageMaximized)
    sub->showMaximized();
  else
    sub->show();
  mdiArea_->setActiveSubWindow(sub);
  return window;
}

DocumentWindow* MainWindow::ActiveDocumentWindow() const {
  QMdiSubWindow* sub = mdiArea_->activeSubWindow();
  return sub ? qobject_cast<DocumentWindow*>(sub->widget()) : nullptr;
}

std::vector<DocumentWindow*> MainWindow::DocumentWindows() const {
  std::vector<DocumentWindow*> windows;
  for (QMdiSubWindow* sub : mdiArea_->subWindowList(QMdiArea::CreationOrder))
    if (auto* window = qobject_cast<DocumentWindow*>(sub->widget())) windows.push_back(window);
  return windows;
}

std::vector<QMdiSubWindow*> MainWindow::ArrangeableWindows() const {
  std::vector<QMdiSubWindow*> windows;
  for (QMdiSubWindow* sub : mdiArea_->subWindowList(QMdiArea::CreationOrder))
    if (sub->isVisible() && !sub->isMinimized()) windows.push_back(sub);
  return windows;
}

void MainWindow::TileHorizontally() {
  const std::vector<QMdiSubWindow*> windows = ArrangeableWindows();
  if (windows.empty()) return;
  const QSize area = mdiArea_->viewport()->size();
  const int n = static_cast<int>(windows.size());
  for (int i = 0; i < n; ++i) {
    const int top = area.height() * i / n, bottom = area.height() * (i + 1) / n;
    windows[static_cast<size_t>(i)]->showNormal();
    windows[static_cast<size_t>(i)]->setGeometry(0, top, area.width(), bottom - top);
  }
}

void MainWindow::TileVertically() {
  const std::vector<QMdiSubWindow*> windows = ArrangeableWindows();
  if (windows.empty()) return;
  const QSize area = mdiArea_->viewport()->size();
  const int n = static_cast<int>(windows.size());
  for (int i = 0; i < n; ++i) {
    const int left = area.width() * i / n, right = area.width() * (i + 1) / n;
    windows[static_cast<size_t>(i)]->showNormal();
    windows[static_cast<size_t>(i)]->setGeometry(left, 0, right - left, area.height());
  }
}

void MainWindow::Cascade() {
  const std::vector<QMdiSubWindow*> windows = ArrangeableWindows();
  if (windows.empty()) return;
  const QSize area = mdiArea_->viewport()->size();
  // Each window one title strip lower and further right than the one before.
  const QMdiSubWindow* first = windows.front();
  const int step = std::max(16, first->widget() ? first->widget()->y() : 0);
  int i = 0;
  for (QMdiSubWindow* sub : windows) {
    sub->showNormal();
    const QPoint at(i * step, i * step);
    const QSize room(std::max(area.width() - at.x(), 0), std::max(area.height() - at.y(), 0));
    QSize size = sub->size().boundedTo(room).expandedTo(sub->minimumSizeHint());
    if (size.width() < kSmallestFrame.width() / 2 || size.height() < kSmallestFrame.height() / 2)
      size = sub->size().expandedTo(sub->minimumSizeHint());
    sub->setGeometry(QRect(at, size));
    sub->raise();
    ++i;
  }
  mdiArea_->setActiveSubWindow(windows.back());
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == mdiArea_->viewport() && event->type() == QEvent::MouseButtonDblClick) {
    // Sub-windows take their own clicks: a double click that reaches the
    // viewport fell on the empty area.
    if (emptyAreaDoubleClick_) emptyAreaDoubleClick_();
    return true;
  }
  if (event->type() == QEvent::Close) {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(watched)) {
      auto* window = qobject_cast<DocumentWindow*>(sub->widget());
      if (window && closeQuery_ && !closeQuery_(*window)) {
        event->ignore();
        return true;
      }
    }
  }
  return QMainWindow::eventFilter(watched, event);
}

void MainWindow::OnSubWindowActivated(QMdiSubWindow* sub) {
  DocumentWindow* next = sub ? qobject_cast<DocumentWindow*>(sub->widget()) : nullptr;
  // Activation toggles as focus leaves the frame; only a change of window counts.
  if (!next || next == activeWindow_) return;
  if (activeWindow_) activeWindow_->Form_Deactivate();
  activeWindow_ = next;
  next->Form_Activate();
  emit activeDocumentChanged(next);
}

void MainWindow::KeepFrameInRecord() {
  if (isMinimized()) return;
  const bool maximized = isMaximized();
  if (!maximized && !isFullScreen()) {
    record_.MainWidth = PixelsToTwips(width());
    record_.MainHeight = PixelsToTwips(height());
  }
  record_.MainMaximized = maximized ? kTrue : kFalse;
}

void MainWindow::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  if (isVisible()) KeepFrameInRecord();
}

void MainWindow::RaiseSideBoxes() {
  // The largest go first, so that a small box is not buried under a large
  // one that overlaps it.
  std::vector<SideBox*> shown;
  for (const auto& box : sideBoxes_)
    if (box.second->isVisible() && box.second->isFloating()) shown.push_back(box.second);
  std::stable_sort(shown.begin(), shown.end(), [](const SideBox* a, const SideBox* b) {
    return a->width() * a->height() > b->width() * b->height();
  });
  for (SideBox* box : shown) box->raise();
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange && isVisible()) KeepFrameInRecord();
  // The boxes float above their owner, also where no window manager keeps
  // owned windows on top.
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) RaiseSideBoxes();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (unloadHandler_ && !unloadHandler_()) {
    event->ignore();
    return;
  }
  event->accept();
  for (const auto& box : sideBoxes_) box.second->hide();
  emit unloaded();
}

}  // namespace kelvane
