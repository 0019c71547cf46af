#include "document/canvas_widget.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include "document/canvas_render.h"

namespace kelvane {

CanvasWidget::CanvasWidget(Document& doc, QWidget* parent) : QWidget(parent), doc_(doc) {
  setObjectName("iDst");
  // Every paint covers its whole exposed rectangle itself.
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
}

void CanvasWidget::ApplyPointer(int32_t pointer) {
  if (pointer == kPointerCustom)
    setCursor(Qt::OpenHandCursor);
  else
    unsetCursor();
}

void CanvasWidget::paintEvent(QPaintEvent* event) {
  const QRect area = event->rect() & rect();
  if (area.isEmpty()) return;
  const QImage image = RenderDocumentArea(doc_, area, outlineShown_);
  QPainter painter(this);
  painter.drawImage(area.topLeft(), image);
  emit painted();
}

void CanvasWidget::mousePressEvent(QMouseEvent* event) {
  const QPoint p = event->position().toPoint();
  emit mousePressed(event->button(), p.x(), p.y(), event->modifiers());
}

void CanvasWidget::mouseMoveEvent(QMouseEvent* event) {
  const QPoint p = event->position().toPoint();
  emit mouseMoved(event->buttons(), p.x(), p.y(), event->modifiers());
}

void CanvasWidget::mouseReleaseEvent(QMouseEvent* event) {
  const QPoint p = event->position().toPoint();
  emit mouseReleased(event->button(), p.x(), p.y(), event->modifiers());
}

void CanvasWidget::keyPressEvent(QKeyEvent* event) { emit keyPressed(event->key(), event->modifiers()); }

void CanvasWidget::keyReleaseEvent(QKeyEvent* event) { emit keyReleased(event->key(), event->modifiers()); }

}  // namespace kelvane
