#include "document/document_window.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QProgressBar>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>
#include <algorithm>

#include "document/canvas_widget.h"
#include "document/clip_history.h"
#include "document/tool_cursors.h"

namespace kelvane {

namespace {

inline constexpr int kDefaultWindowSide = 500;
inline constexpr int kWidthMargin = 200;
inline constexpr int kHeightMargin = 35;

QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

int TabIndex(ViewTab tab) {
  switch (tab) {
    case ViewTab::Original:
      return 0;
    case ViewTab::Optimize:
      return 1;
    case ViewTab::Layers:
      return 2;
  }
  return 0;
}

ViewTab TabOfIndex(int index) {
  if (index == 1) return ViewTab::Optimize;
  if (index == 2) return ViewTab::Layers;
  return ViewTab::Original;
}

QLabel* MakePanel(QWidget* parent, const char* name, int minimumChars) {
  auto* label = new QLabel(parent);
  label->setObjectName(name);
  label->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  label->setContentsMargins(4, 0, 4, 0);
  if (minimumChars > 0)
    label->setMinimumWidth(label->fontMetrics().horizontalAdvance(QString(minimumChars, QChar('0'))) + 12);
  return label;
}

}  // namespace

QSize InitialWindowSize(QSize picture, QSize chrome, int statusBarHeight, QSize clientArea, QSize minimum) {
  int width = picture.width() + chrome.width();
  int height = picture.height() + chrome.height();
  width = std::min(width, kDefaultWindowSide + kWidthMargin);
  height = std::min(height, kDefaultWindowSide + statusBarHeight + kHeightMargin);
  if (clientArea.width() > 0) width = std::min(width, clientArea.width());
  if (clientArea.height() > 0) height = std::min(height, clientArea.height());
  return QSize(std::max(width, minimum.width()), std::max(height, minimum.height()));
}

DocumentWindow::DocumentWindow(Document& doc, QWidget* parent) : QWidget(parent), doc_(doc) {
  setObjectName("fImage");
  tmrSelection_.setInterval(kSelectionTimerInterval);
  connect(&tmrSelection_, &QTimer::timeout, this, &DocumentWindow::SelectionTick);
  BuildControls();
  RefreshCaption();
  doc_.RefreshStatusPanels();
  SetPanelText(kPanelPixel, QString::fromStdString(doc_.PixelPanel()));
  SetPanelText(kPanelZoom, QString::fromStdString(doc_.ZoomPanel()));
  ShowTab(doc_.ActiveTab());
}

DocumentWindow::~DocumentWindow() { tmrSelection_.stop(); }

void DocumentWindow::BuildControls() {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);

  tabs_ = new QTabBar(this);
  tabs_->setObjectName("tabs");
  tabs_->setExpanding(false);
  tabs_->setDrawBase(true);
  tabs_->setFocusPolicy(Qt::NoFocus);
  tabs_->addTab(ToQString(kTabOriginalCaption));
  tabs_->addTab(ToQString(kTabOptimizeCaption));
  tabs_->addTab(ToQString(kTabLayersCaption));
  connect(tabs_, &QTabBar::currentChanged, this, [this](int index) {
    if (!changingTab_) SelectTab(TabOfIndex(index));
  });
  layout->addWidget(tabs_);

  views_ = new QStackedWidget(this);
  layout->addWidget(views_, 1);

  // The picture view: canvas at (0, 0), bars below and right of it.
  pImage_ = new QWidget(views_);
  pImage_->setObjectName("PImage");
  pImage_->setAutoFillBackground(true);
  pImage_->installEventFilter(this);
  canvas_ = new CanvasWidget(doc_, pImage_);
  canvas_->SetOverlaySources(&tools_, nullptr);
  connect(canvas_, &CanvasWidget::mousePressed, this, &DocumentWindow::OnCanvasPress);
  connect(canvas_, &CanvasWidget::mouseMoved, this, &DocumentWindow::OnCanvasMove);
  connect(canvas_, &CanvasWidget::mouseReleased, this, &DocumentWindow::OnCanvasRelease);
  connect(canvas_, &CanvasWidget::keyReleased, this, &DocumentWindow::OnCanvasKeyRelease);
  hSB_ = new QScrollBar(Qt::Horizontal, pImage_);
  hSB_->setObjectName("hSB");
  vSB_ = new QScrollBar(Qt::Vertical, pImage_);
  vSB_->setObjectName("vSB");
  for (QScrollBar* bar : {hSB_, vSB_}) {
    // A bar's focus goes back to the canvas: the bars never take it.
    bar->setFocusPolicy(Qt::NoFocus);
    bar->hide();
  }
  connect(hSB_, &QScrollBar::valueChanged, this, &DocumentWindow::OnHBar);
  connect(vSB_, &QScrollBar::valueChanged, this, &DocumentWindow::OnVBar);
  views_->addWidget(pImage_);

  // The optimized view.
  oImage_ = new QWidget(views_);
  oImage_->setObjectName("oImage");
  oImage_->installEventFilter(this);
  oSrc_ = new QLabel(oImage_);
  oSrc_->setObjectName("oSrc");
  oH_ = new QScrollBar(Qt::Horizontal, oImage_);
  oH_->setObjectName("H");
  oV_ = new QScrollBar(Qt::Vertical, oImage_);
  oV_->setObjectName("V");
  oH_->hide();
  oV_->hide();
  connect(oH_, &QScrollBar::valueChanged, this, [this](int value) { oSrc_->move(-value, oSrc_->y()); });
  connect(oV_, &QScrollBar::valueChanged, this, [this](int value) { oSrc_->move(oSrc_->x(), -value); });
  views_->addWidget(oImage_);

  // The layers view.
  picFrame_ = new QWidget(views_);
  picFrame_->setObjectName("picFrame");
  picLayer_ = new QLabel(picFrame_);
  picLayer_->setObjectName("picLayer");
  views_->addWidget(picFrame_);

  // Status bar with its keyed panels and the progress bar of long runs.
  sbInfo_ = new QWidget(this);
  sbInfo_->setObjectName("sbInfo");
  auto* status = new QHBoxLayout(sbInfo_);
  status->setContentsMargins(2, 2, 2, 2);
  status->setSpacing(2);
  QLabel* pixel = MakePanel(sbInfo_, "Pixel", 13);
  QLabel* zoom = MakePanel(sbInfo_, "Zoom", 6);
  QLabel* name = MakePanel(sbInfo_, "Name", 0);
  name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  status->addWidget(pixel);
  status->addWidget(zoom);
  status->addWidget(name, 1);
  panels_.emplace(std::string(kPanelPixel), pixel);
  panels_.emplace(std::string(kPanelZoom), zoom);
  panels_.emplace(std::string(kPanelName), name);

  picPb_ = new QWidget(sbInfo_);
  picPb_->setObjectName("picPb");
  auto* pbLayout = new QHBoxLayout(picPb_);
  pbLayout->setContentsMargins(0, 0, 0, 0);
  cFilterProgress_ = new QProgressBar(picPb_);
  cFilterProgress_->setObjectName("cFilterProgress");
  cFilterProgress_->setRange(0, 100);
  cFilterProgress_->setTextVisible(false);
  cFilterProgress_->setFixedWidth(120);
  pbLayout->addWidget(cFilterProgress_);
  status->addWidget(picPb_);
  picPb_->hide();
  layout->addWidget(sbInfo_);
}

QSize DocumentWindow::PreferredSize(QSize clientArea) const {
  const int tabsHeight = tabs_->sizeHint().height();
  const int statusHeight = sbInfo_->sizeHint().height();
  const QSize chrome(0, tabsHeight + statusHeight);
  const QSize minimum(sbInfo_->minimumSizeHint().width() + 40, tabsHeight + statusHeight + 60);
  return InitialWindowSize(QSize(doc_.PictureWidth(), doc_.PictureHeight()), chrome, statusHeight, clientArea,
                           minimum);
}

bool DocumentWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) {
    if (watched == pImage_) {
      doc_.SetViewSize(pImage_->width(), pImage_->height());
      ApplyLayout();
    } else if (watched == oImage_) {
      Update_oSrc();
    }
  }
  return QWidget::eventFilter(watched, event);
}

void DocumentWindow::ApplyLayout() {
  const int32_t zoom = ZoomTable(doc_.ZoomIndex());
  const ScrollBarLayout& h = doc_.HScroll();
  const ScrollBarLayout& v = doc_.VScroll();
  scrollLock_ = true;
  struct BarPlacement {
    QScrollBar* bar;
    const ScrollBarLayout& layout;
  };
  for (const BarPlacement& b : {BarPlacement{hSB_, h}, BarPlacement{vSB_, v}}) {
    b.bar->setRange(0, std::max(0, b.layout.Max));
    b.bar->setPageStep(std::max(1, b.layout.LargeChange));
    b.bar->setSingleStep(std::max(1, zoom));
    b.bar->setValue(b.layout.Value);
    b.bar->setGeometry(b.layout.Left, b.layout.Top, b.layout.Width, b.layout.Height);
    b.bar->setVisible(b.layout.Visible);
  }
  scrollLock_ = false;
  canvas_->setGeometry(0, 0, std::max(0, doc_.DstWidth()), std::max(0, doc_.DstHeight()));
  canvas_->setVisible(doc_.DstVisible());
  RefreshPointer();
  if (!doc_.PixelPanel().empty()) SetPanelText(kPanelPixel, QString::fromStdString(doc_.PixelPanel()));
  canvas_->update();
}

void DocumentWindow::OnHBar(int value) {
  doc_.SetHScrollValue(value);
  if (!scrollLock_) canvas_->update();
}

void DocumentWindow::OnVBar(int value) {
  doc_.SetVScrollValue(value);
  if (!scrollLock_) canvas_->update();
}

void DocumentWindow::UpdateImage() { canvas_->repaint(); }

void DocumentWindow::UpdateRegion() {
  const RectRegion* scaled = doc_.BitRegion().RegionScaled();
  if (!scaled || scaled->IsEmpty()) return;
  const Rect box = scaled->Box();
  canvas_->update(
      QRect(box.left - doc_.HScroll().Value, box.top - doc_.VScroll().Value, box.Width(), box.Height()));
}

void DocumentWindow::UserControl_Resize() {
  doc_.UserControl_Resize();
  ApplyLayout();
}

void DocumentWindow::ZoomIn() {
  doc_.ZoomIn();
  doc_.RefreshZoomPanel();
  SetPanelText(kPanelZoom, QString::fromStdString(doc_.ZoomPanel()));
  ApplyLayout();
}

void DocumentWindow::ZoomOut() {
  doc_.ZoomOut();
  doc_.RefreshZoomPanel();
  SetPanelText(kPanelZoom, QString::fromStdString(doc_.ZoomPanel()));
  ApplyLayout();
}

void DocumentWindow::SetZoomFactor(int32_t factor) {
  doc_.ZoomFactor(factor);
  doc_.RefreshZoomPanel();
  SetPanelText(kPanelZoom, QString::fromStdString(doc_.ZoomPanel()));
  ApplyLayout();
}

void DocumentWindow::Scroll(int32_t x, int32_t y) {
  scrollLock_ = true;
  hSB_->setValue(x);
  vSB_->setValue(y);
  scrollLock_ = false;
  doc_.Scroll(x, y);
  canvas_->update();
}

void DocumentWindow::SetMouseScroll(bool on) {
  doc_.MouseScroll(on);
  RefreshPointer();
}

void DocumentWindow::SetCanvasHost(CanvasHost* host, ClipHistory* clips) {
  host_ = host;
  clips_ = host ? clips : nullptr;
  canvas_->SetOverlaySources(&tools_, clips_);
  RefreshPointer();
}

void DocumentWindow::RefreshPointer() {
  std::string_view picture;
  if (doc_.MouseScroll() && doc_.CanvasPointer() == kPointerCustom) {
    picture = tools_.Grabbing ? "cGrab" : "cRelease";
  } else if (tools_.MouseIsDown && !tools_.Pointer().empty()) {
    picture = tools_.Pointer();
  } else if (host_) {
    const std::string tool = host_->Record().CurrentTool.Get();
    picture = CursorPictureForTool(tool);
  }
  canvas_->SetToolPointer(picture);
}

namespace {

bool ToolButton(Qt::MouseButton button, MouseButton& out) {
  switch (button) {
    case Qt::LeftButton: out = MouseButton::Left; return true;
    case Qt::RightButton: out = MouseButton::Right; return true;
    case Qt::MiddleButton: out = MouseButton::Middle; return true;
    default: return false;
  }
}

}  // namespace

bool DocumentWindow::FloatPress(int x, int y) {
  if (!clips_ || !clips_->IsFloating(doc_)) return false;
  const FloatingPaste& f = *clips_->Floating();
  const int32_t z = std::max<int32_t>(1, ZoomTable(doc_.ZoomFactor()));
  const Point a = PictureToCanvas(f.X, f.Y, doc_.HScroll().Value, doc_.VScroll().Value, z);
  const QRect frame(a.x, a.y, f.Clip.Width() * z, f.Clip.Height() * z);
  if (frame.contains(x, y)) {
    draggingFloat_ = true;
    floatGrab_ = QPoint(x - a.x, y - a.y);
    return true;
  }
  // A press beside the clip lays it down.
  if (clips_->DropFloatingPaste(doc_) && host_) {
    host_->SetLastCommandCaption("Paste");
    host_->Update(false, true);
    emit pictureEdited();
  }
  canvas_->update();
  return true;
}

bool DocumentWindow::FloatMove(int x, int y) {
  if (!draggingFloat_) return false;
  if (!clips_ || !clips_->IsFloating(doc_)) {
    draggingFloat_ = false;
    return false;
  }
  const int32_t z = std::max<int32_t>(1, ZoomTable(doc_.ZoomFactor()));
  const Point at = CanvasToPicture(x - floatGrab_.x(), y - floatGrab_.y(), doc_.HScroll().Value,
                                   doc_.VScroll().Value, z);
  // Truncation goes towards zero; a clip dragged past the left or top edge
  // steps by whole picture pixels all the same.
  const int32_t px = x - floatGrab_.x() + doc_.HScroll().Value;
  const int32_t py = y - floatGrab_.y() + doc_.VScroll().Value;
  clips_->MoveFloatingPaste(doc_, px < 0 ? -((-px + z - 1) / z) : at.x, py < 0 ? -((-py + z - 1) / z) : at.y);
  canvas_->update();
  return true;
}

void DocumentWindow::OnCanvasPress(Qt::MouseButton button, int x, int y, Qt::KeyboardModifiers modifiers) {
  if (!host_) return;
  emit canvasPressed();
  if (button == Qt::LeftButton && FloatPress(x, y)) return;
  MouseButton b;
  if (!ToolButton(button, b)) return;
  const QPoint screen = canvas_->mapToGlobal(QPoint(x, y));
  tools_.MouseDown(doc_, *host_, b, x, y, modifiers.testFlag(Qt::ShiftModifier), Point{screen.x(), screen.y()});
  FollowTools(false);
  emit canvasInfo(tools_.Info());
}

void DocumentWindow::OnCanvasMove(Qt::MouseButtons, int x, int y, Qt::KeyboardModifiers modifiers) {
  if (!host_) return;
  if (FloatMove(x, y)) return;
  const QPoint screen = canvas_->mapToGlobal(QPoint(x, y));
  const int32_t h = doc_.HScroll().Value, v = doc_.VScroll().Value;
  tools_.MouseMove(doc_, *host_, x, y, modifiers.testFlag(Qt::ShiftModifier), Point{screen.x(), screen.y()});
  if (h != doc_.HScroll().Value || v != doc_.VScroll().Value) {
    // The grab scrolled the document: the bars follow without repainting twice.
    scrollLock_ = true;
    hSB_->setValue(doc_.HScroll().Value);
    vSB_->setValue(doc_.VScroll().Value);
    scrollLock_ = false;
  }
  FollowTools(false);
  emit canvasInfo(tools_.Info());
}

void DocumentWindow::OnCanvasRelease(Qt::MouseButton button, int x, int y, Qt::KeyboardModifiers modifiers) {
  if (!host_) return;
  if (draggingFloat_ && button == Qt::LeftButton) {
    draggingFloat_ = false;
    return;
  }
  MouseButton b;
  if (!ToolButton(button, b)) return;
  const bool stroke = !tools_.StrokeTool().empty();
  const int32_t undoPos = doc_.History().UndoPos();
  tools_.MouseUp(doc_, *host_, b, x, y, modifiers.testFlag(Qt::ShiftModifier));
  FollowTools(true);
  if (stroke && doc_.History().UndoPos() != undoPos) emit pictureEdited();
}

void DocumentWindow::OnCanvasKeyRelease(int key, Qt::KeyboardModifiers) {
  if (!host_ || key != Qt::Key_Control) return;
  tools_.KeyUp(doc_, *host_, kKeyControl);
  FollowTools(false);
}

void DocumentWindow::FollowTools(bool release) {
  const bool timerOn = tools_.SelectionTimerOn();
  if (release || timerOn != toolsTimerSeen_) {
    // The tools ran their first tick themselves: the window only keeps the
    // beat from here on.
    if (timerOn) {
      canvas_->SetOutlineShown(true);
      if (!tmrSelection_.isActive()) tmrSelection_.start();
    } else {
      tmrSelection_.stop();
      canvas_->SetOutlineShown(false);
    }
    toolsTimerSeen_ = timerOn;
  }
  const bool band = tools_.Overlay().Visible;
  bool whole = tools_.TakeRepaint() || band || bandShown_;
  bandShown_ = band;
  if (tools_.TakeOutlineRedraw()) {
    if (tools_.MouseIsDown || release)
      whole = true;  // an outline that moved leaves its old place to clean up
    else
      UpdateRegion();
  }
  if (whole) canvas_->update();
  RefreshPointer();
}

void DocumentWindow::StartTimer() {
  // The tools' timer is this one: its first tick is the tick run here.
  tools_.StartTimer(doc_);
  tools_.TakeOutlineRedraw();
  toolsTimerSeen_ = true;
  canvas_->SetOutlineShown(true);
  UpdateRegion();
  tmrSelection_.start();
}

void DocumentWindow::StopTimer() {
  tools_.StopTimer();
  toolsTimerSeen_ = false;
  tmrSelection_.stop();
  canvas_->SetOutlineShown(false);
}

void DocumentWindow::SelectionTick() {
  if (doc_.BitRegion().IsEmptyRegion()) return;
  doc_.BitRegion().RotateBrush();
  canvas_->SetOutlineShown(true);
  UpdateRegion();
}

void DocumentWindow::SetFilterProgress(int percent) {
  if (percent < 0 || percent >= 100) {
    cFilterProgress_->setValue(percent >= 100 ? 100 : 0);
    picPb_->hide();
    return;
  }
  cFilterProgress_->setValue(percent);
  picPb_->show();
}

void DocumentWindow::SetPanelText(std::string_view key, const QString& text) {
  const auto it = panels_.find(key);
  if (it != panels_.end()) it->second->setText(text);
}

QString DocumentWindow::PanelText(std::string_view key) const {
  const auto it = panels_.find(key);
  return it != panels_.end() ? it->second->text() : QString();
}

void DocumentWindow::ShowTab(ViewTab tab) {
  changingTab_ = true;
  tabs_->setCurrentIndex(TabIndex(tab));
  changingTab_ = false;
  switch (tab) {
    case ViewTab::Original:
      views_->setCurrentWidget(pImage_);
      break;
    case ViewTab::Optimize:
      views_->setCurrentWidget(oImage_);
      break;
    case ViewTab::Layers:
      views_->setCurrentWidget(picFrame_);
      break;
  }
}

void DocumentWindow::SelectTab(ViewTab tab) {
  const TabState& state = doc_.SelectTab(tab);
  ShowTab(tab);
  if (state.ToolTipControl == "oSrc") oSrc_->setToolTip(ToQString(state.ToolTip));
  if (state.ToolTipControl == "picLayer") picLayer_->setToolTip(ToQString(state.ToolTip));
  if (tab == ViewTab::Optimize) Update_oSrc();
  emit tabSelected(tab);
  if (state.ShowLayerPanel) emit layerPanelWanted();
}

void DocumentWindow::RefreshCaption() {
  const QString caption = QString::fromStdString(doc_.Caption);
  setWindowTitle(caption);
  SetPanelText(kPanelName, caption);
}

void DocumentWindow::Form_Activate() {
  StopTimer();
  doc_.RefreshStatusPanels();
  SetPanelText(kPanelPixel, QString::fromStdString(doc_.PixelPanel()));
  SetPanelText(kPanelZoom, QString::fromStdString(doc_.ZoomPanel()));
  if (!doc_.BitRegion().IsEmptyRegion()) StartTimer();
}

void DocumentWindow::Form_Deactivate() {
  StopTimer();
  UpdateImage();
}

void DocumentWindow::SetOptimizedPicture(const QImage& picture) {
  if (picture.isNull()) {
    oSrc_->clear();
    oSrc_->resize(0, 0);
  } else {
    oSrc_->setPixmap(QPixmap::fromImage(picture));
    oSrc_->resize(picture.size());
  }
  Update_oSrc();
}

void DocumentWindow::Update_oSrc() {
  const QSize picture = oSrc_->size();
  const CentredPicture place =
      CentrePicture(oImage_->width(), oImage_->height(), picture.width(), picture.height());
  oSrc_->move(static_cast<int>(place.Left), static_cast<int>(place.Top));
  const int barWidth = doc_.BarsWidth();
  oH_->setGeometry(0, oImage_->height() - barWidth, oImage_->width() - (place.VVisible ? barWidth : 0),
                   barWidth);
  oV_->setGeometry(oImage_->width() - barWidth, 0, barWidth,
                   oImage_->height() - (place.HVisible ? barWidth : 0));
  oH_->setRange(0, std::max(0, picture.width() - oImage_->width()));
  oV_->setRange(0, std::max(0, picture.height() - oImage_->height()));
  oH_->setVisible(place.HVisible);
  oV_->setVisible(place.VVisible);
}

}  // namespace kelvane
