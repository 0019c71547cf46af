#include "shell/side_boxes.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLayout>
#include <QMainWindow>
#include <QPainter>
#include <QScreen>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "base/numeric.h"

namespace kelvane {

namespace {

// Pixels of a box that must stay on a screen so that it can be dragged back.
inline constexpr int kReachableWidth = 60;
inline constexpr QSize kContentMinimum(80, 40);

QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// Box places are kept from the top-left corner of the frame's document
// area, so that the boxes keep clear of the tool strip and the menu bar and
// move with the frame; without a frame, from the screen's corner.
QPoint PlaceOrigin(const QWidget* box) {
  const auto* frame = qobject_cast<const QMainWindow*>(box->parentWidget());
  if (!frame || !frame->centralWidget()) return QPoint(0, 0);
  return frame->centralWidget()->mapToGlobal(QPoint(0, 0));
}

// Moves a rectangle whose title strip lies on no screen onto the screen
// nearest to it.
QRect KeepReachable(QRect rect, int titleHeight) {
  const QRect title(rect.topLeft(), QSize(rect.width(), std::max(titleHeight, 1)));
  QScreen* nearest = nullptr;
  for (QScreen* screen : QGuiApplication::screens()) {
    const QRect avail = screen->availableGeometry();
    const QRect common = avail & title;
    if (common.width() >= std::min(kReachableWidth, rect.width()) && common.height() >= title.height())
      return rect;
    if (!nearest) nearest = screen;
  }
  if (QScreen* at = QGuiApplication::screenAt(rect.center())) nearest = at;
  if (!nearest) nearest = QGuiApplication::primaryScreen();
  if (!nearest) return rect;
  const QRect avail = nearest->availableGeometry();
  const int maxX = std::max(avail.left(), avail.right() + 1 - std::min(rect.width(), avail.width()));
  const int maxY = std::max(avail.top(), avail.bottom() + 1 - titleHeight);
  rect.moveTo(std::clamp(rect.x(), avail.left(), maxX), std::clamp(rect.y(), avail.top(), maxY));
  return rect;
}

// The title strip TL: caption, pMm and pExit.
class TitleStrip : public QWidget {
 public:
  TitleStrip(const QString& title, QWidget* parent) : QWidget(parent) {
    setObjectName("TL");
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, pal.color(QPalette::Highlight));
    pal.setColor(QPalette::WindowText, pal.color(QPalette::HighlightedText));
    pal.setColor(QPalette::ButtonText, pal.color(QPalette::HighlightedText));
    setPalette(pal);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 1, 2, 1);
    layout->setSpacing(2);
    caption = new QLabel(title, this);
    caption->setObjectName("LMessage");
    QFont bold = caption->font();
    bold.setBold(true);
    caption->setFont(bold);
    layout->addWidget(caption, 1);
    pMm = new QToolButton(this);
    pMm->setObjectName("pMm");
    pMm->setAutoRaise(true);
    pMm->setArrowType(Qt::UpArrow);
    pMm->setToolTip("Roll up");
    pExit = new QToolButton(this);
    pExit->setObjectName("pExit");
    pExit->setAutoRaise(true);
    pExit->setText(QString(QChar(0x00D7)));
    pExit->setToolTip("Hide");
    for (QToolButton* b : {pMm, pExit}) {
      b->setFixedSize(18, 18);
      b->setFocusPolicy(Qt::NoFocus);
      layout->addWidget(b);
    }
  }
  QLabel* caption = nullptr;
  QToolButton* pMm = nullptr;
  QToolButton* pExit = nullptr;
};

// The area below the title strip, with a line in the title's colour round
// it, so that a box stands apart from the document window under it.
class ContentArea : public QWidget {
 public:
  explicit ContentArea(QWidget* parent) : QWidget(parent) { setContentsMargins(1, 0, 1, 1); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    p.setPen(palette().color(QPalette::Highlight));
    p.drawRect(rect().adjusted(0, -1, -1, -1));
  }
};

}  // namespace

const std::array<SideBoxInfo, 7>& SideBoxInfoTable() {
  using R = StartRecord;
  static const std::array<SideBoxInfo, 7> table{{
      {"fToolColor", "Colors", 4, &R::ColorBoxShown, &R::ColorBoxRolled, &R::ColorBoxLeft, &R::ColorBoxTop,
       nullptr, nullptr, QSize(176, 200)},
      {"fToolTextures", "Textures", 5, &R::TexturesBoxShown, &R::TexturesBoxRolled, &R::TexturesBoxLeft,
       &R::TexturesBoxTop, nullptr, nullptr, QSize(176, 150)},
      {"fPaste", "History", 6, &R::PasteBoxShown, &R::PasteBoxRolled, &R::PasteBoxLeft, &R::PasteBoxTop,
       &R::PasteBoxWidth, &R::PasteBoxHeight, QSize(263, 212)},
      {"fPanView", "Panoramic View", 7, &R::PanViewShown, &R::PanViewRolled, &R::PanViewLeft, &R::PanViewTop,
       &R::PanViewWidth, &R::PanViewHeight, QSize(173, 212)},
      {"fToolBrowser", "Browser", 8, &R::BrowserBoxShown, &R::BrowserBoxRolled, &R::BrowserBoxLeft,
       &R::BrowserBoxTop, &R::BrowserBoxWidth, &R::BrowserBoxHeight, QSize(320, 466)},
      {"finfo", "Info", 9, &R::OptimizeBoxShown, &R::OptimizeBoxRolled, &R::OptimizeBoxLeft,
       &R::OptimizeBoxTop, nullptr, nullptr, QSize(176, 160)},
      {"fLayerBox", "Layers", 10, &R::LayerBoxShown, &R::LayerBoxRolled, &R::LayerBoxLeft, &R::LayerBoxTop,
       &R::LayerBoxWidth, &R::LayerBoxHeight, QSize(236, 212)},
  }};
  return table;
}

const SideBoxInfo* FindSideBox(std::string_view formName) {
  for (const SideBoxInfo& row : SideBoxInfoTable())
    if (row.FormName == formName) return &row;
  return nullptr;
}

int TwipsToPixels(int32_t twips) { return Round(static_cast<double>(twips) / kTwipsPerPixel); }

int16_t PixelsToTwips(int pixels) {
  const int64_t twips = static_cast<int64_t>(pixels) * kTwipsPerPixel;
  return static_cast<int16_t>(std::clamp<int64_t>(twips, INT16_MIN, INT16_MAX));
}

SideBox::SideBox(const SideBoxInfo& placement, QWidget* parent)
    : QDockWidget(ToQString(placement.Title), parent), placement_(placement) {
  setObjectName(ToQString(placement.FormName));
  setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
  auto* strip = new TitleStrip(ToQString(placement.Title), this);
  titleBar_ = strip;
  pMm_ = strip->pMm;
  setTitleBarWidget(strip);
  connect(strip->pMm, &QToolButton::clicked, this, [this] { pMm_Click(); });
  connect(strip->pExit, &QToolButton::clicked, this, [this] {
    hide();
    emit hiddenByUser(objectName());
  });

  content_ = new ContentArea(this);
  content_->setObjectName("content");
  content_->setAutoFillBackground(true);
  content_->setMinimumSize(kContentMinimum);
  setWidget(content_);
  resize(placement.DesignSize);
  fullHeight_ = placement.DesignSize.height();
}

int SideBox::FullHeight() const { return rolled_ ? fullHeight_ : height(); }

void SideBox::pMm_Click() {
  // The content keeps its place in the layout but is given no height, so
  // that the dock's own layout does not re-size the box around it.
  const int width = this->width();
  if (!rolled_) {
    fullHeight_ = height();
    rolled_ = true;
    content_->setMinimumHeight(0);
    content_->setMaximumHeight(0);
    pMm_->setArrowType(Qt::DownArrow);
    pMm_->setToolTip("Roll down");
    if (layout()) layout()->activate();
    resize(width, titleBar_->sizeHint().height());
  } else {
    rolled_ = false;
    content_->setMaximumHeight(QWIDGETSIZE_MAX);
    content_->setMinimumHeight(kContentMinimum.height());
    pMm_->setArrowType(Qt::UpArrow);
    pMm_->setToolTip("Roll up");
    if (layout()) layout()->activate();
    resize(width, fullHeight_);
  }
}

SideBoxSet LoadSideBoxes(QWidget* owner) {
  SideBoxSet boxes;
  auto* frame = qobject_cast<QMainWindow*>(owner);
  for (std::string_view name :
       {"fToolColor", "fToolTextures", "fPaste", "fToolBrowser", "finfo", "fPanView", "fLayerBox"}) {
    const SideBoxInfo* row = FindSideBox(name);
    auto* box = new SideBox(*row, owner);
    if (frame) frame->addDockWidget(Qt::RightDockWidgetArea, box);
    box->setFloating(true);
    box->hide();
    boxes.emplace(std::string(name), box);
  }
  return boxes;
}

void PlaceSideBoxes(const StartRecord& record, const SideBoxSet& boxes) {
  for (const SideBoxInfo& row : SideBoxInfoTable()) {
    const auto it = boxes.find(row.FormName);
    if (it == boxes.end() || !(record.*row.Shown)) continue;
    SideBox* box = it->second;
    QSize size = box->size();
    if (row.Width && row.Height)
      size = QSize(TwipsToPixels(record.*row.Width), TwipsToPixels(record.*row.Height));
    // A zeroed record must not give a box too small to use.
    size = size.expandedTo(box->minimumSizeHint()).expandedTo(QSize(kReachableWidth, 40));
    const int titleHeight = box->titleBarWidget() ? box->titleBarWidget()->sizeHint().height() : 20;
    const QRect place = KeepReachable(
        QRect(PlaceOrigin(box) + QPoint(TwipsToPixels(record.*row.Left), TwipsToPixels(record.*row.Top)), size),
        titleHeight);
    if (box->IsRolled()) box->pMm_Click();
    box->setFloating(true);
    box->setGeometry(place);
    if (record.*row.Rolled) box->pMm_Click();
    box->show();
  }
}

void StoreSideBoxGeometry(const SideBox& box, StartRecord& record) {
  const SideBoxInfo& row = box.Placement();
  const QPoint at = (box.isFloating() ? box.pos() : box.mapToGlobal(QPoint(0, 0))) - PlaceOrigin(&box);
  record.*row.Left = PixelsToTwips(at.x());
  record.*row.Top = PixelsToTwips(at.y());
  if (row.Width && row.Height) {
    record.*row.Width = PixelsToTwips(box.width());
    record.*row.Height = PixelsToTwips(box.FullHeight());
  }
  record.*row.Rolled = box.IsRolled() ? kTrue : kFalse;
}

void StoreSideBoxGeometry(const SideBoxSet& boxes, StartRecord& record) {
  for (const auto& [form, box] : boxes) StoreSideBoxGeometry(*box, record);
}

}  // namespace kelvane
