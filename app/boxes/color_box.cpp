#include "boxes/color_box.h"

#include <QColorDialog>
#include <QMouseEvent>
#include <QPainter>
#include <utility>

#include "boxes/picture_convert.h"
#include "shell/start_record.h"

namespace kelvane {

namespace {
constexpr int kMargin = 8;
constexpr int kSwatch = 34;    // the fore and back boxes
constexpr int kOffset = 16;    // the back box sits this much right and down
constexpr int kCustom = 18;    // a custom colour cell
constexpr int kColumns = 8;
}  // namespace

ColorBox::ColorBox(StartRecord& record, QWidget* parent) : QWidget(parent), record_(record) {
  setObjectName("bColorTool");
  ChooseColour = [this](int32_t current) {
    const QColor c = QColorDialog::getColor(ToQColor(current < 0 ? 0 : current), this);
    return FromQColor(c);
  };
  setToolTip("");
}

QRect ColorBox::ForeRect() const { return QRect(kMargin, kMargin, kSwatch, kSwatch); }
QRect ColorBox::BackRect() const { return QRect(kMargin + kOffset, kMargin + kOffset, kSwatch, kSwatch); }
QRect ColorBox::SwapRect() const { return QRect(kMargin + kSwatch + kOffset + 10, kMargin, 22, 22); }

QRect ColorBox::CustomRect(int slot) const {
  const int top = kMargin + kSwatch + kOffset + 10;
  return QRect(kMargin + (slot % kColumns) * (kCustom + 2), top + (slot / kColumns) * (kCustom + 2), kCustom,
               kCustom);
}

QSize ColorBox::sizeHint() const {
  const QRect last = CustomRect(15);
  return QSize(last.right() + kMargin + 1, last.bottom() + kMargin + 1);
}

QSize ColorBox::minimumSizeHint() const { return sizeHint(); }

void ColorBox::Refresh() { update(); }

void ColorBox::ChooseFore() {
  const int32_t c = ChooseColour ? ChooseColour(record_.ForeColor) : -1;
  if (c < 0) return;
  record_.ForeColor = c;
  update();
  emit coloursChanged();
}

void ColorBox::ChooseBack() {
  const int32_t c = ChooseColour ? ChooseColour(record_.BackColor) : -1;
  if (c < 0) return;
  record_.BackColor = c;
  update();
  emit coloursChanged();
}

void ColorBox::Swap() {
  std::swap(record_.ForeColor, record_.BackColor);
  update();
  emit coloursChanged();
}

void ColorBox::UseCustom(int slot, bool foreground) {
  if (slot < 0 || slot >= 16) return;
  (foreground ? record_.ForeColor : record_.BackColor) = record_.CustomColors[static_cast<size_t>(slot)] & 0xFFFFFF;
  update();
  emit coloursChanged();
}

void ColorBox::EditCustom(int slot) {
  if (slot < 0 || slot >= 16) return;
  const int32_t c = ChooseColour ? ChooseColour(record_.CustomColors[static_cast<size_t>(slot)]) : -1;
  if (c < 0) return;
  record_.CustomColors[static_cast<size_t>(slot)] = c;
  update();
}

int ColorBox::CustomAt(QPoint p) const {
  for (int i = 0; i < 16; ++i)
    if (CustomRect(i).contains(p)) return i;
  return -1;
}

void ColorBox::mousePressEvent(QMouseEvent* event) {
  const QPoint p = event->position().toPoint();
  const bool left = event->button() == Qt::LeftButton;
  if (SwapRect().contains(p)) {
    if (left) Swap();
  } else if (ForeRect().contains(p)) {
    if (left) ChooseFore();
  } else if (BackRect().contains(p)) {
    if (left) ChooseBack();
  } else if (const int slot = CustomAt(p); slot >= 0) {
    UseCustom(slot, left);
  }
}

void ColorBox::mouseDoubleClickEvent(QMouseEvent* event) {
  const int slot = CustomAt(event->position().toPoint());
  if (slot >= 0 && event->button() == Qt::LeftButton) EditCustom(slot);
}

void ColorBox::paintEvent(QPaintEvent*) {
  QPainter p(this);
  auto swatch = [&](const QRect& r, int32_t colour) {
    p.setPen(QPen(palette().color(QPalette::WindowText), 1));
    p.setBrush(ToQColor(colour & 0xFFFFFF));
    p.drawRect(r.adjusted(0, 0, -1, -1));
    p.setPen(QPen(palette().color(QPalette::Base), 1));
    p.setBrush(Qt::NoBrush);
    p.drawRect(r.adjusted(1, 1, -2, -2));
  };
  // The back box under the fore box, as painters know it.
  swatch(BackRect(), record_.BackColor);
  swatch(ForeRect(), record_.ForeColor);

  // The swap sign: two bent arrows.
  const QRect s = SwapRect();
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(palette().color(QPalette::WindowText), 1.5));
  p.setBrush(Qt::NoBrush);
  p.drawArc(QRectF(s.left() + 3, s.top() + 3, s.width() - 6, s.height() - 6), 0, 90 * 16);
  p.setBrush(palette().color(QPalette::WindowText));
  p.drawPolygon(QPolygonF({QPointF(s.left() + 10, s.top() + 1), QPointF(s.left() + 14, s.top() + 4),
                           QPointF(s.left() + 10, s.top() + 7)}));
  p.drawPolygon(QPolygonF({QPointF(s.right() - 1, s.top() + 10), QPointF(s.right() - 4, s.top() + 14),
                           QPointF(s.right() - 7, s.top() + 10)}));
  p.setRenderHint(QPainter::Antialiasing, false);

  for (int i = 0; i < 16; ++i) {
    const QRect r = CustomRect(i);
    p.setPen(QPen(palette().color(QPalette::Mid), 1));
    p.setBrush(ToQColor(record_.CustomColors[static_cast<size_t>(i)] & 0xFFFFFF));
    p.drawRect(r.adjusted(0, 0, -1, -1));
  }
}

}  // namespace kelvane
