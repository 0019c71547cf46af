#include "shell/tool_strip.h"

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDir>
#include <QFontComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "boxes/picture_convert.h"
#include "boxes/scratch_ui.h"
#include "document/document_window.h"
#include "imagefiles/picture_io.h"
#include "shell/application.h"
#include "shell/number_box.h"
#include "shell/tool_panel.h"

namespace kelvane {

namespace {

QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// ---- Drawn pictures -----------------------------------------------------------

constexpr int kIconSide = 24;
const QColor kInk(40, 40, 48);

QPen InkPen(double width = 1.5) { return QPen(kInk, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin); }

void DashedRect(QPainter& p, const QRectF& r) {
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(kInk, 1.2, Qt::DashLine));
  p.drawRect(r);
}

void Magnifier(QPainter& p, bool plus) {
  p.setPen(InkPen(2.0));
  p.setBrush(QColor(225, 238, 250));
  p.drawEllipse(QRectF(3, 3, 13, 13));
  p.setPen(QPen(kInk, 3.0, Qt::SolidLine, Qt::RoundCap));
  p.drawLine(QPointF(15, 15), QPointF(21, 21));
  p.setPen(InkPen(1.6));
  p.drawLine(QPointF(6.5, 9.5), QPointF(12.5, 9.5));
  if (plus) p.drawLine(QPointF(9.5, 6.5), QPointF(9.5, 12.5));
}

void FourArrows(QPainter& p, QPointF c, double arm) {
  p.setPen(InkPen(1.4));
  p.drawLine(QPointF(c.x() - arm, c.y()), QPointF(c.x() + arm, c.y()));
  p.drawLine(QPointF(c.x(), c.y() - arm), QPointF(c.x(), c.y() + arm));
  p.setBrush(kInk);
  const double h = 2.5;
  p.drawPolygon(QPolygonF({QPointF(c.x() - arm - 1, c.y()), QPointF(c.x() - arm + h, c.y() - h),
                           QPointF(c.x() - arm + h, c.y() + h)}));
  p.drawPolygon(QPolygonF({QPointF(c.x() + arm + 1, c.y()), QPointF(c.x() + arm - h, c.y() - h),
                           QPointF(c.x() + arm - h, c.y() + h)}));
  p.drawPolygon(QPolygonF({QPointF(c.x(), c.y() - arm - 1), QPointF(c.x() - h, c.y() - arm + h),
                           QPointF(c.x() + h, c.y() - arm + h)}));
  p.drawPolygon(QPolygonF({QPointF(c.x(), c.y() + arm + 1), QPointF(c.x() - h, c.y() + arm - h),
                           QPointF(c.x() + h, c.y() + arm - h)}));
}

void DrawToolIcon(QPainter& p, std::string_view key) {
  p.setRenderHint(QPainter::Antialiasing);
  if (key == "Select") {
    DashedRect(p, QRectF(3.5, 5.5, 17, 13));
  } else if (key == "SelectionMove") {
    DashedRect(p, QRectF(2.5, 2.5, 14, 11));
    FourArrows(p, QPointF(15, 15), 6);
  } else if (key == "Pencil") {
    QPainterPath body;
    body.moveTo(5, 16);
    body.lineTo(16, 5);
    body.lineTo(20, 9);
    body.lineTo(9, 20);
    body.closeSubpath();
    p.setPen(InkPen(1.2));
    p.setBrush(QColor(250, 200, 60));
    p.drawPath(body);
    QPainterPath tip;
    tip.moveTo(5, 16);
    tip.lineTo(9, 20);
    tip.lineTo(3, 22);
    tip.closeSubpath();
    p.setBrush(QColor(240, 220, 180));
    p.drawPath(tip);
    p.setBrush(kInk);
    p.drawEllipse(QPointF(3.8, 21.2), 1.0, 1.0);
  } else if (key == "Brush") {
    p.setPen(InkPen(1.2));
    p.setBrush(QColor(170, 110, 50));
    QPainterPath handle;
    handle.moveTo(10, 12);
    handle.lineTo(19, 3);
    handle.lineTo(21, 5);
    handle.lineTo(12, 14);
    handle.closeSubpath();
    p.drawPath(handle);
    QPainterPath tip;
    tip.moveTo(10, 12);
    tip.lineTo(12, 14);
    tip.cubicTo(11, 19, 6, 21, 2, 22);
    tip.cubicTo(4, 18, 5, 13, 10, 12);
    p.setBrush(QColor(200, 40, 40));
    p.drawPath(tip);
  } else if (key == "Airbrush") {
    p.setPen(InkPen(1.2));
    p.setBrush(QColor(200, 200, 215));
    p.drawRoundedRect(QRectF(12, 9, 8, 13), 2, 2);
    p.drawRect(QRectF(14, 5, 4, 4));
    p.setBrush(kInk);
    p.drawRect(QRectF(10, 5, 4, 2.5));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(30, 90, 200));
    for (const QPointF& d : {QPointF(3, 3), QPointF(6, 5), QPointF(3, 8), QPointF(7, 9), QPointF(2, 12),
                             QPointF(8, 2), QPointF(5, 12)})
      p.drawEllipse(d, 1.1, 1.1);
  } else if (key == "Stamp") {
    p.setPen(InkPen(1.2));
    p.setBrush(QColor(150, 40, 40));
    p.drawEllipse(QRectF(8, 2, 8, 6));
    p.drawRect(QRectF(10.5, 8, 3, 5));
    p.drawRoundedRect(QRectF(4, 13, 16, 5), 1.5, 1.5);
    p.setBrush(kInk);
    p.drawRect(QRectF(5, 19, 14, 2.5));
  } else if (key == "Fill") {
    QPainterPath bucket;
    bucket.moveTo(7, 8);
    bucket.lineTo(14, 3);
    bucket.lineTo(21, 12);
    bucket.lineTo(14, 17);
    bucket.closeSubpath();
    p.setPen(InkPen(1.2));
    p.setBrush(QColor(210, 210, 222));
    p.drawPath(bucket);
    QPainterPath paint;
    paint.moveTo(7, 8);
    paint.cubicTo(3, 10, 3, 15, 3, 19);
    paint.cubicTo(3, 22, 6, 22, 6, 19);
    paint.cubicTo(6, 15, 6.5, 12, 9, 10);
    paint.closeSubpath();
    p.setBrush(QColor(30, 90, 200));
    p.drawPath(paint);
  } else if (key == "Gradient") {
    QLinearGradient ramp(QPointF(3, 0), QPointF(21, 0));
    ramp.setColorAt(0, QColor(30, 60, 200));
    ramp.setColorAt(1, Qt::white);
    p.setPen(InkPen(1.2));
    p.setBrush(ramp);
    p.drawRect(QRectF(3.5, 4.5, 17, 15));
  } else if (key == "Shape") {
    p.setPen(InkPen(1.4));
    p.setBrush(QColor(120, 190, 120));
    p.drawRect(QRectF(2.5, 2.5, 11, 11));
    p.setBrush(QColor(240, 170, 60));
    p.drawEllipse(QRectF(9.5, 9.5, 12, 12));
  } else if (key == "Text") {
    QFont font("Serif");
    font.setPixelSize(19);
    font.setBold(true);
    p.setFont(font);
    p.setPen(kInk);
    p.drawText(QRectF(0, 0, kIconSide, kIconSide), Qt::AlignCenter, "A");
  } else if (key == "GetColor") {
    QPainterPath dropper;
    dropper.moveTo(2, 22);
    dropper.lineTo(4, 17);
    dropper.lineTo(13, 8);
    dropper.lineTo(16, 11);
    dropper.lineTo(7, 20);
    dropper.closeSubpath();
    p.setPen(InkPen(1.2));
    p.setBrush(QColor(220, 235, 250));
    p.drawPath(dropper);
    p.setBrush(kInk);
    p.drawEllipse(QRectF(14, 2, 8, 8));
    p.drawLine(QPointF(11, 7), QPointF(17, 13));
  } else if (key == "Layers") {
    p.setPen(InkPen(1.2));
    const QColor sheets[] = {QColor(180, 200, 240), QColor(200, 230, 200), QColor(250, 240, 200)};
    for (int i = 0; i < 3; ++i) {
      const double y = 3.5 + 5.5 * i;
      p.setBrush(sheets[i]);
      p.drawPolygon(QPolygonF({QPointF(12, y), QPointF(21, y + 4), QPointF(12, y + 8), QPointF(3, y + 4)}));
    }
  } else if (key == "ZoomIn") {
    Magnifier(p, true);
  } else if (key == "ZoomOut") {
    Magnifier(p, false);
  } else if (key == "MouseScroll") {
    // An open hand: palm and four fingers, the thumb to the left.
    p.setPen(InkPen(1.2));
    p.setBrush(QColor(250, 225, 200));
    QPainterPath hand;
    hand.addRoundedRect(QRectF(6, 11, 12, 10), 3, 3);
    for (int i = 0; i < 4; ++i) hand.addRoundedRect(QRectF(6 + 3 * i, 3 + (i == 0 || i == 3 ? 2 : 0), 3, 10), 1.5, 1.5);
    hand.addRoundedRect(QRectF(2, 11, 6, 3), 1.5, 1.5);
    p.drawPath(hand.simplified());
  }
}

// ---- Built-in stamps ------------------------------------------------------------

QPainterPath StampPath(int index, double s) {
  QPainterPath path;
  const QPointF c(s / 2, s / 2);
  const double r = s * 0.44;
  switch (index) {
    case 0: {  // star
      QPolygonF star;
      for (int i = 0; i < 10; ++i) {
        const double a = -std::numbers::pi / 2 + i * std::numbers::pi / 5;
        const double rr = i % 2 == 0 ? r : r * 0.42;
        star << QPointF(c.x() + rr * std::cos(a), c.y() + rr * std::sin(a) + s * 0.03);
      }
      path.addPolygon(star);
      path.closeSubpath();
      break;
    }
    case 1: {  // heart
      path.moveTo(c.x(), s * 0.88);
      path.cubicTo(s * 0.1, s * 0.58, s * 0.02, s * 0.3, s * 0.2, s * 0.17);
      path.cubicTo(s * 0.34, s * 0.07, s * 0.46, s * 0.14, c.x(), s * 0.28);
      path.cubicTo(s * 0.54, s * 0.14, s * 0.66, s * 0.07, s * 0.8, s * 0.17);
      path.cubicTo(s * 0.98, s * 0.3, s * 0.9, s * 0.58, c.x(), s * 0.88);
      break;
    }
    case 2:  // circle
      path.addEllipse(c, r, r);
      break;
    case 3: {  // arrow to the right
      path.addPolygon(QPolygonF({QPointF(s * 0.06, s * 0.38), QPointF(s * 0.55, s * 0.38),
                                 QPointF(s * 0.55, s * 0.16), QPointF(s * 0.95, s * 0.5),
                                 QPointF(s * 0.55, s * 0.84), QPointF(s * 0.55, s * 0.62),
                                 QPointF(s * 0.06, s * 0.62)}));
      path.closeSubpath();
      break;
    }
    case 4:  // diamond
      path.addPolygon(QPolygonF({QPointF(c.x(), s * 0.05), QPointF(s * 0.85, c.y()), QPointF(c.x(), s * 0.95),
                                 QPointF(s * 0.15, c.y())}));
      path.closeSubpath();
      break;
    case 5: {  // crescent moon
      QPainterPath full, bite;
      full.addEllipse(c, r, r);
      bite.addEllipse(QPointF(c.x() + r * 0.45, c.y() - r * 0.2), r * 0.82, r * 0.82);
      path = full.subtracted(bite);
      break;
    }
    case 6:  // cross
      path.addRect(QRectF(s * 0.38, s * 0.06, s * 0.24, s * 0.88));
      path.addRect(QRectF(s * 0.06, s * 0.38, s * 0.88, s * 0.24));
      path = path.simplified();
      break;
    case 7: {  // flower: five petals round a hole
      for (int i = 0; i < 5; ++i) {
        const double a = -std::numbers::pi / 2 + i * 2 * std::numbers::pi / 5;
        path.addEllipse(QPointF(c.x() + r * 0.5 * std::cos(a), c.y() + r * 0.5 * std::sin(a)), r * 0.42, r * 0.42);
      }
      path = path.simplified();
      QPainterPath centre;
      centre.addEllipse(c, r * 0.2, r * 0.2);
      path = path.subtracted(centre);
      break;
    }
    case 8:  // lightning bolt
      path.addPolygon(QPolygonF({QPointF(s * 0.58, s * 0.04), QPointF(s * 0.2, s * 0.56), QPointF(s * 0.46, s * 0.56),
                                 QPointF(s * 0.36, s * 0.96), QPointF(s * 0.8, s * 0.4), QPointF(s * 0.53, s * 0.4),
                                 QPointF(s * 0.7, s * 0.04)}));
      path.closeSubpath();
      break;
    default: break;
  }
  return path;
}

QImage StampImage(int index) {
  QImage image(kBuiltInStampSide, kBuiltInStampSide, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(Qt::NoPen);
  p.setBrush(Qt::black);
  p.drawPath(StampPath(index, kBuiltInStampSide));
  return image;
}

bool IsToolGroupKey(std::string_view key) { return key != "ZoomIn" && key != "ZoomOut" && key != "MouseScroll"; }

// The tool bar's document steps on a document window: the window lays the
// view out again and keeps its status panels.
class WindowToolView final : public ToolDocumentView {
 public:
  explicit WindowToolView(DocumentWindow& window) : window_(window) {}
  void ShowPlainView() override {
    if (window_.Doc().ActiveTab() != ViewTab::Original) window_.SelectTab(ViewTab::Original);
  }
  void SetMouseScroll(bool on) override { window_.SetMouseScroll(on); }
  void ZoomIn() override { window_.ZoomIn(); }
  void ZoomOut() override { window_.ZoomOut(); }
  int32_t ZoomFactor() const override { return window_.Doc().ZoomFactor(); }
  void SetZoomStatus(std::string_view text) override { window_.SetPanelText(kPanelZoom, ToQString(text)); }

 private:
  DocumentWindow& window_;
};

}  // namespace

QIcon ToolIcon(std::string_view key) {
  QPixmap pixmap(kIconSide, kIconSide);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  DrawToolIcon(p, key);
  p.end();
  return QIcon(pixmap);
}

Bits BuiltInStamp(int index) {
  if (index < 0 || index >= kBuiltInStampCount) return Bits();
  return BitsFromImage(StampImage(index));
}

QString BuiltInStampName(int index) {
  static const char* const kNames[] = {"Star", "Heart", "Circle", "Arrow", "Diamond",
                                       "Moon", "Cross", "Flower", "Lightning"};
  return index >= 0 && index < kBuiltInStampCount ? QString(kNames[index]) : QString();
}

// ---- SliderTrioWidget -----------------------------------------------------------

SliderTrioWidget::SliderTrioWidget(const QString& name, QWidget* parent) : QWidget(parent) {
  setObjectName(name);
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(3);
  slider_ = new QSlider(Qt::Horizontal, this);
  slider_->setObjectName(name + "Slider");
  slider_->setRange(kSliderMin, kSliderMax);
  slider_->setPageStep(kTrioLargeChange);
  text_ = new QLineEdit(this);
  text_->setObjectName(name + "UDT");
  text_->setMaxLength(5);
  text_->setAlignment(Qt::AlignRight);
  text_->setFixedWidth(text_->fontMetrics().horizontalAdvance("0000") + 12);
  text_->installEventFilter(this);
  bar_ = new QScrollBar(Qt::Vertical, this);
  bar_->setObjectName(name + "UD");
  // Min 100 at the top, Max 1 at the bottom: up raises the number.
  bar_->setRange(kTrioBarMax, kTrioBarMin);
  bar_->setInvertedAppearance(true);
  bar_->setInvertedControls(true);
  bar_->setPageStep(kTrioLargeChange);
  bar_->setSingleStep(kTrioSmallChange);
  bar_->setFixedSize(14, text_->sizeHint().height());
  row->addWidget(slider_, 1);
  row->addWidget(text_);
  row->addWidget(bar_);
  connect(slider_, &QSlider::valueChanged, this, [this](int v) {
    if (!loading_) emit sliderChanged(v);
  });
  connect(bar_, &QScrollBar::valueChanged, this, [this](int v) {
    if (!loading_) emit barChanged(v);
  });
  connect(text_, &QLineEdit::textEdited, this, [this](const QString& t) {
    if (!loading_) emit textEdited(t);
  });
}

void SliderTrioWidget::Show(int sliderValue, int barValue, const QString& text) {
  loading_ = true;
  slider_->setValue(sliderValue);
  bar_->setValue(barValue);
  if (text_->text() != text) {
    const int cursor = text_->cursorPosition();
    text_->setText(text);
    text_->setCursorPosition(std::min(cursor, static_cast<int>(text.size())));
  }
  loading_ = false;
}

bool SliderTrioWidget::eventFilter(QObject* watched, QEvent* event) {
  if (watched == text_ && event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(event);
    const QString typed = key->text();
    // Keys that type a character pass KeyNum or are dropped; keys that type
    // nothing (arrows, Home, Delete) move in the box as usual.
    if (!typed.isEmpty() && typed.at(0).isPrint() && !(key->modifiers() & Qt::ControlModifier)) {
      if (KeyNum(static_cast<int16_t>(typed.at(0).unicode())) == 0) return true;
    }
  }
  return QWidget::eventFilter(watched, event);
}

// ---- ToolStrip -------------------------------------------------------------------

ToolStrip::ToolStrip(Application& app, QWidget* parent) : QWidget(parent), app_(app) {
  setObjectName("ToolStrip");
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->setSpacing(6);
  BuildToolBar(layout);
  BuildFrames(layout);
  layout->addStretch(1);
  if (!app_.StampBits()) ChooseBuiltInStamp(0);
  LoadFromModel();
}

void ToolStrip::BuildToolBar(QVBoxLayout* layout) {
  auto* bar = new QWidget(this);
  bar->setObjectName("tbTool");
  auto* grid = new QGridLayout(bar);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(2);
  constexpr int kColumns = 5;
  int i = 0;
  for (const ToolButtonInfo& info : ToolButtonTable()) {
    auto* button = new QToolButton(bar);
    const QString key = ToQString(info.Key);
    button->setObjectName(key);
    button->setIcon(ToolIcon(info.Key));
    button->setIconSize(QSize(kIconSide, kIconSide));
    button->setToolTip(key);
    button->setAutoRaise(true);
    button->setCheckable(info.Key != "ZoomIn" && info.Key != "ZoomOut");
    button->setFixedSize(32, 32);
    button->setFocusPolicy(Qt::NoFocus);
    const std::string k(info.Key);
    // The click carries out the model's rule, then the buttons show its state.
    connect(button, &QToolButton::clicked, this, [this, k] { OnToolButton(k); });
    grid->addWidget(button, i / kColumns, i % kColumns);
    buttons_.emplace(k, button);
    ++i;
  }
  layout->addWidget(bar, 0, Qt::AlignHCenter);
}

void ToolStrip::BuildFrames(QVBoxLayout* layout) {
  auto* picDescription = new QWidget(this);
  picDescription->setObjectName("PicDescription");
  auto* frameLayout = new QVBoxLayout(picDescription);
  frameLayout->setContentsMargins(0, 0, 0, 0);
  stack_ = new QStackedWidget(picDescription);
  emptyPage_ = new QWidget(stack_);
  stack_->addWidget(emptyPage_);
  for (const ToolFrameInfo& frame : ToolFrameTable()) {
    QWidget* page = BuildFrame(frame.Name);
    stack_->addWidget(page);
    frames_.emplace(std::string(frame.Name), page);
  }
  textPage_ = BuildTextPage();
  stack_->addWidget(textPage_);
  frameLayout->addWidget(stack_);
  layout->addWidget(picDescription);
}

QWidget* ToolStrip::BuildTextPage() {
  auto* page = new QWidget(stack_);
  page->setObjectName("TextTool");
  auto* form = new QFormLayout(page);
  StartRecord& record = app_.Record();
  txtText_ = new QLineEdit(page);
  txtText_->setObjectName("txtText");
  txtText_->setMaxLength(255);
  txtText_->setText(QString::fromStdString(record.TextToolText.Get()).trimmed());
  cbTextFont_ = new QFontComboBox(page);
  cbTextFont_->setObjectName("cbTextFont");
  const QString family = QString::fromStdString(record.TextToolFont.Get()).trimmed();
  if (!family.isEmpty()) cbTextFont_->setCurrentFont(QFont(family));
  txtTextSize_ = new QSpinBox(page);
  txtTextSize_->setObjectName("txtTextSize");
  txtTextSize_->setRange(1, 750);
  txtTextSize_->setValue(record.TextToolSize > 0 ? record.TextToolSize : 20);
  form->addRow("Text", txtText_);
  form->addRow("Font", cbTextFont_);
  form->addRow("Size", txtTextSize_);
  connect(txtText_, &QLineEdit::textEdited, this, [this] { TextSettingsChanged(); });
  connect(cbTextFont_, &QFontComboBox::currentFontChanged, this, [this] { TextSettingsChanged(); });
  connect(txtTextSize_, &QSpinBox::valueChanged, this, [this] { TextSettingsChanged(); });
  return page;
}

void ToolStrip::TextSettingsChanged() {
  if (loading_) return;
  StartRecord& record = app_.Record();
  record.TextToolText.Set(txtText_->text().toStdString());
  record.TextToolFont.Set(cbTextFont_->currentFont().family().toStdString());
  record.TextToolSize = static_cast<int16_t>(txtTextSize_->value());
  app_.RefreshTextMask();
}

QWidget* ToolStrip::BuildFrame(std::string_view name) {
  auto* page = new QWidget(stack_);
  page->setObjectName(ToQString(name));
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(2, 2, 2, 2);
  layout->setSpacing(3);
  auto* title = new QLabel(page);
  title->setObjectName("FrameTitle");
  QFont bold = title->font();
  bold.setBold(true);
  title->setFont(bold);
  layout->addWidget(title);
  title->hide();

  const ToolFrameInfo* frame = FindToolFrame(name);
  if (frame && name == "Stamp") {
    AddStampControls(page, layout);
    layout->addStretch(1);
    return page;
  }
  if (frame) {
    for (std::string_view control : frame->Controls) {
      const std::string key(control);
      if (const ToolSliderInfo* slider = FindToolSlider(control)) {
        if (!slider->Caption.empty()) layout->addWidget(new QLabel(ToQString(slider->Caption), page));
        auto* trio = new SliderTrioWidget(ToQString(control), page);
        connect(trio, &SliderTrioWidget::sliderChanged, this, [this, key](int v) {
          app_.Tools().SliderChange(key, v);
          ShowPanelState();
        });
        connect(trio, &SliderTrioWidget::barChanged, this, [this, key](int v) {
          app_.Tools().BarChange(key, v);
          ShowPanelState();
        });
        connect(trio, &SliderTrioWidget::textEdited, this, [this, key](const QString& t) {
          app_.Tools().TextChange(key, t.toStdString());
          ShowPanelState();
        });
        layout->addWidget(trio);
        trios_.emplace(key, trio);
      } else if (const ToolComboInfo* info = FindToolCombo(control)) {
        if (!info->Caption.empty()) layout->addWidget(new QLabel(ToQString(info->Caption), page));
        auto* combo = new QComboBox(page);
        combo->setObjectName(ToQString(control));
        connect(combo, &QComboBox::activated, this, [this, key](int index) {
          app_.Tools().ComboClick(key, index);
          ShowPanelState();
        });
        layout->addWidget(combo);
        combos_.emplace(key, combo);
      } else if (const ToolCheckInfo* check = FindToolCheck(control)) {
        auto* box = new QCheckBox(ToQString(check->Caption), page);
        box->setObjectName(ToQString(control));
        if (!check->Tip.empty()) box->setToolTip(ToQString(check->Tip));
        connect(box, &QCheckBox::clicked, this, [this, key](bool on) {
          app_.Tools().CheckClick(key, on);
          ShowPanelState();
        });
        layout->addWidget(box);
        checks_.emplace(key, box);
      } else {
        AddGradientControls(page, layout, control);
      }
    }
  }
  // The controls sit at the top of the frame, however tall the stack is.
  layout->addStretch(1);
  return page;
}

void ToolStrip::AddGradientControls(QWidget* page, QVBoxLayout* layout, std::string_view control) {
  if (control == "GradColor") {
    auto* row = new QHBoxLayout();
    row->setSpacing(4);
    for (int i = 0; i < 2; ++i) {
      auto* box = new QToolButton(page);
      box->setObjectName(QString("GradColor%1").arg(i));
      box->setFixedSize(40, 22);
      box->setToolTip(i == 0 ? "First color" : "Second color");
      connect(box, &QToolButton::clicked, this, [this, i] {
        const QColor chosen = QColorDialog::getColor(ToQColor(app_.Tools().GradColor(i)), this);
        if (!chosen.isValid()) return;
        app_.Tools().GradColorChosen(i, FromQColor(chosen));
        ShowPanelState();
      });
      gradColor_[i] = box;
      row->addWidget(box);
    }
    row->addStretch(1);
    layout->addLayout(row);
  } else if (control == "iGrad") {
    iGrad_ = new QLabel(page);
    iGrad_->setObjectName("iGrad");
    iGrad_->setFixedHeight(16);
    iGrad_->setFrameStyle(QFrame::Box | QFrame::Plain);
    iGrad_->setMinimumWidth(60);
    iGrad_->installEventFilter(this);
    layout->addWidget(iGrad_);
  }
}

void ToolStrip::AddStampControls(QWidget* page, QVBoxLayout* layout) {
  layout->addWidget(new QLabel("Defined", page));
  icStamp_ = new QComboBox(page);
  icStamp_->setObjectName("icStamp");
  icStamp_->setIconSize(QSize(20, 20));
  for (int i = 0; i < kBuiltInStampCount; ++i)
    icStamp_->addItem(QIcon(QPixmap::fromImage(StampImage(i))), BuiltInStampName(i));
  connect(icStamp_, &QComboBox::activated, this, [this](int index) { ChooseBuiltInStamp(index); });
  layout->addWidget(icStamp_);

  layout->addWidget(new QLabel("User-Defined", page));
  cbStamps_ = new QComboBox(page);
  cbStamps_->setObjectName("cbStamps");
  connect(cbStamps_, &QComboBox::activated, this, [this](int index) { ChooseStampFile(index); });
  layout->addWidget(cbStamps_);

  auto* row = new QHBoxLayout();
  iStamp_ = new QLabel(page);
  iStamp_->setObjectName("iStamp");
  iStamp_->setFixedSize(kBuiltInStampSide + 4, kBuiltInStampSide + 4);
  iStamp_->setFrameStyle(QFrame::Box | QFrame::Plain);
  iStamp_->setAlignment(Qt::AlignCenter);
  row->addWidget(iStamp_);
  auto* checks = new QVBoxLayout();
  checks->setSpacing(1);
  for (std::string_view name : {"chkClearBack", "chkStampMask"}) {
    const ToolCheckInfo* info = FindToolCheck(name);
    auto* box = new QCheckBox(ToQString(info->Caption), page);
    box->setObjectName(ToQString(name));
    box->setToolTip(ToQString(info->Tip));
    const std::string key(name);
    connect(box, &QCheckBox::clicked, this, [this, key](bool on) {
      app_.Tools().CheckClick(key, on);
      ShowPanelState();
    });
    checks->addWidget(box);
    checks_.emplace(key, box);
  }
  row->addLayout(checks, 1);
  layout->addLayout(row);

  auto* maskRow = new QHBoxLayout();
  const ToolCheckInfo* useMask = FindToolCheck("chkUseMaskColor");
  auto* useMaskBox = new QCheckBox(ToQString(useMask->Caption), page);
  useMaskBox->setObjectName("chkUseMaskColor");
  useMaskBox->setToolTip(ToQString(useMask->Tip));
  connect(useMaskBox, &QCheckBox::clicked, this, [this](bool on) {
    app_.Tools().CheckClick("chkUseMaskColor", on);
    ShowPanelState();
  });
  checks_.emplace("chkUseMaskColor", useMaskBox);
  maskRow->addWidget(useMaskBox);
  maskColor_ = new QToolButton(page);
  maskColor_->setObjectName("MaskColor");
  maskColor_->setFixedSize(40, 20);
  maskColor_->setToolTip(ToQString(useMask->Tip));
  connect(maskColor_, &QToolButton::clicked, this, [this] {
    const QColor chosen = QColorDialog::getColor(ToQColor(app_.Tools().MaskColor()), this);
    if (!chosen.isValid()) return;
    app_.Tools().MaskColorChosen(FromQColor(chosen));
    ShowPanelState();
  });
  maskRow->addWidget(maskColor_);
  maskRow->addStretch(1);
  layout->addLayout(maskRow);

  const ToolSliderInfo* pressure = FindToolSlider("sbStampPressure");
  layout->addWidget(new QLabel(ToQString(pressure->Caption), page));
  auto* trio = new SliderTrioWidget("sbStampPressure", page);
  connect(trio, &SliderTrioWidget::sliderChanged, this, [this](int v) {
    app_.Tools().SliderChange("sbStampPressure", v);
    ShowPanelState();
  });
  connect(trio, &SliderTrioWidget::barChanged, this, [this](int v) {
    app_.Tools().BarChange("sbStampPressure", v);
    ShowPanelState();
  });
  connect(trio, &SliderTrioWidget::textEdited, this, [this](const QString& t) {
    app_.Tools().TextChange("sbStampPressure", t.toStdString());
    ShowPanelState();
  });
  layout->addWidget(trio);
  trios_.emplace("sbStampPressure", trio);
}

void ToolStrip::OnToolButton(std::string_view key) {
  try {
    ToolPanel& panel = app_.Tools();
    const int32_t index = ToolButtonIndex(key);
    bool down = false;
    if (IsToolGroupKey(key)) {
      // The group: the clicked button goes down and the others come up.
      panel.DisableTools(index);
      down = true;
    } else if (key == "MouseScroll") {
      down = !panel.ButtonPressed(index);
      if (down) panel.DisableTools(index);
    }
    // The text tool paints the record's text as it stands now.
    if (key == "Text") app_.RefreshTextMask();
    DocumentWindow* window = activeWindow_ ? activeWindow_() : nullptr;
    Document* doc = app_.GetActiveImage();
    if (window && doc && &window->Doc() != doc) window = nullptr;
    if (window) {
      WindowToolView view(*window);
      panel.tbTool_ButtonClick(key, down, &view);
      window->RefreshPointer();
    } else if (doc) {
      DocumentToolView view(*doc);
      panel.tbTool_ButtonClick(key, down, &view);
    } else {
      panel.tbTool_ButtonClick(key, down, nullptr);
    }
  } catch (...) {
  }
  ShowPanelState();
  emit toolClicked(ToQString(key));
}

void ToolStrip::ClickTool(std::string_view key) {
  if (QToolButton* b = Button(key)) b->click();
}

void ToolStrip::LoadFromModel() {
  ToolPanel& panel = app_.Tools();
  loading_ = true;
  for (auto& [name, combo] : combos_) {
    const ToolCombo* model = panel.Combo(name);
    if (!model) continue;
    QStringList items;
    for (const std::string& item : model->Items) items << QString::fromStdString(item);
    QStringList present;
    for (int i = 0; i < combo->count(); ++i) present << combo->itemText(i);
    if (present != items) {
      combo->clear();
      combo->addItems(items);
    }
  }
  if (cbStamps_) {
    QStringList files;
    for (const std::string& f : panel.StampFiles()) files << QString::fromStdString(f);
    QStringList present;
    for (int i = 0; i < cbStamps_->count(); ++i) present << cbStamps_->itemText(i);
    if (present != files) {
      cbStamps_->clear();
      cbStamps_->addItems(files);
      cbStamps_->setCurrentIndex(-1);
    }
  }
  loading_ = false;
  ShowPanelState();
}

void ToolStrip::ShowPanelState() {
  ToolPanel& panel = app_.Tools();
  loading_ = true;
  for (auto& [name, trio] : trios_) {
    if (const SliderTrio* model = panel.Trio(name))
      trio->Show(model->Value, model->BarValue, QString::fromStdString(model->Text));
  }
  for (auto& [name, combo] : combos_) {
    if (const ToolCombo* model = panel.Combo(name)) {
      const QSignalBlocker block(combo);
      combo->setCurrentIndex(model->ListIndex < combo->count() ? model->ListIndex : -1);
    }
  }
  for (auto& [name, check] : checks_) {
    if (const ToolCheck* model = panel.Check(name)) {
      const QSignalBlocker block(check);
      check->setChecked(model->Value);
    }
  }
  for (auto& [key, button] : buttons_) {
    const QSignalBlocker block(button);
    button->setChecked(panel.ButtonPressed(ToolButtonIndex(key)));
  }
  for (int i = 0; i < 2; ++i)
    if (gradColor_[i]) PaintColourBox(gradColor_[i], panel.GradColor(i));
  if (maskColor_) PaintColourBox(maskColor_, panel.MaskColor());
  RedrawGradientPreview();
  const auto frame = frames_.find(panel.VisibleFrame());
  QWidget* page = frame != frames_.end() ? frame->second : emptyPage_;
  // The text tool changes no frame of the panel; its own page stands in
  // while it is the tool.
  if (panel.CurrentTool() == "Text") page = textPage_;
  stack_->setCurrentWidget(page);
  loading_ = false;
}

void ToolStrip::PaintColourBox(QToolButton* box, int32_t colour) {
  QPixmap swatch(box->size() - QSize(8, 8));
  swatch.fill(ToQColor(colour < 0 ? 0 : colour));
  box->setIcon(QIcon(swatch));
  box->setIconSize(swatch.size());
}

void ToolStrip::RedrawGradientPreview() {
  if (!iGrad_) return;
  const int width = std::max(1, iGrad_->contentsRect().width());
  const int height = std::max(1, iGrad_->contentsRect().height());
  ToolPanel& panel = app_.Tools();
  if (static_cast<int>(panel.GradientPreview().size()) != width) panel.SetGradientPreviewWidth(width);
  const std::vector<int32_t>& ramp = panel.GradientPreview();
  QImage image(static_cast<int>(ramp.size()), height, QImage::Format_RGB32);
  if (image.isNull()) return;
  for (int y = 0; y < height; ++y) {
    QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (size_t x = 0; x < ramp.size(); ++x) {
      const int32_t c = ramp[x];
      line[x] = qRgb(c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF);
    }
  }
  iGrad_->setPixmap(QPixmap::fromImage(image));
}

void ToolStrip::ShowStamp(const Bits& bits) {
  if (!iStamp_) return;
  const QImage image = ScaledThumbnail(bits, QSize(kBuiltInStampSide, kBuiltInStampSide), true);
  iStamp_->setPixmap(image.isNull() ? QPixmap() : QPixmap::fromImage(image));
}

void ToolStrip::ChooseBuiltInStamp(int index) {
  Bits stamp = BuiltInStamp(index);
  if (stamp.IsNull()) return;
  ShowStamp(stamp);
  app_.SetStampBits(std::move(stamp));
  if (icStamp_ && icStamp_->currentIndex() != index) icStamp_->setCurrentIndex(index);
}

void ToolStrip::ChooseStampFile(int index) {
  const std::filesystem::path path = app_.Tools().StampFilePath(index);
  if (path.empty()) return;
  Bits picture;
  std::string error;
  // A file that does not load leaves the stamp as it was.
  if (!LoadPictureFile(path, picture, error) || picture.IsNull()) return;
  ShowStamp(picture);
  app_.SetStampBits(std::move(picture));
}

bool ToolStrip::eventFilter(QObject* watched, QEvent* event) {
  if (watched == iGrad_ && event->type() == QEvent::Resize) RedrawGradientPreview();
  return QWidget::eventFilter(watched, event);
}

QToolButton* ToolStrip::Button(std::string_view key) const {
  const auto it = buttons_.find(key);
  return it != buttons_.end() ? it->second : nullptr;
}

QWidget* ToolStrip::Frame(std::string_view name) const {
  const auto it = frames_.find(name);
  return it != frames_.end() ? it->second : nullptr;
}

QString ToolStrip::VisibleFrameName() const {
  QWidget* page = stack_->currentWidget();
  return page && page != emptyPage_ ? page->objectName() : QString();
}

SliderTrioWidget* ToolStrip::Trio(std::string_view name) const {
  const auto it = trios_.find(name);
  return it != trios_.end() ? it->second : nullptr;
}

QComboBox* ToolStrip::Combo(std::string_view name) const {
  if (name == "icStamp") return icStamp_;
  if (name == "cbStamps") return cbStamps_;
  const auto it = combos_.find(name);
  return it != combos_.end() ? it->second : nullptr;
}

QCheckBox* ToolStrip::Check(std::string_view name) const {
  const auto it = checks_.find(name);
  return it != checks_.end() ? it->second : nullptr;
}

// ---- Screenshots -------------------------------------------------------------------

int CaptureToolPanels(const QString& dir) {
  if (!QDir().mkpath(dir)) return 0;
  ScratchFolder folder;
  ScratchUi ui;
  Application app(ui, folder.Path());
  app.Tools().InitPanels(folder.Path());
  ToolStrip strip(app, nullptr);
  strip.LoadFromModel();
  strip.resize(strip.sizeHint().expandedTo(QSize(190, 420)));
  strip.show();
  int written = 0;
  struct Stop {
    const char* key;
    const char* file;
  };
  for (const Stop& stop : {Stop{"Select", "Selection"}, Stop{"SelectionMove", "SelectionMove"},
                           Stop{"Airbrush", "AirBrush"}, Stop{"Brush", "Brush"}, Stop{"Fill", "Fill"},
                           Stop{"Gradient", "Gradient"}, Stop{"Shape", "Shape"}, Stop{"Stamp", "Stamp"},
                           Stop{"Layers", "layer"}, Stop{"Text", "Text"}}) {
    strip.ClickTool(stop.key);
    strip.adjustSize();
    strip.resize(strip.sizeHint().expandedTo(QSize(190, 420)));
    QApplication::processEvents();
    if (strip.grab().save(dir + "/toolpanel-" + stop.file + ".png")) ++written;
  }
  return written;
}

}  // namespace kelvane
