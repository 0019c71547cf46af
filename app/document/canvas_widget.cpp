#include "document/canvas_widget.h"
#include "boxes/picture_convert.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPolygon>
#include <algorithm>

#include "document/canvas_render.h"
#include "document/canvas_tools.h"
#include "document/clip_history.h"
#include "document/tool_cursors.h"

namespace kelvane {

CanvasWidget::CanvasWidget(Document& doc, QWidget* parent) : QWidget(parent), doc_(doc) {
  setObjectName("iDst");
  // Every paint covers its whole exposed rectangle itself.
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
}

void CanvasWidget::ApplyPointer(int32_t pointer) { SetToolPointer(pointer == kPointerCustom ? "cRelease" : ""); }

void CanvasWidget::SetToolPointer(std::string_view picture) {
  if (picture == toolPointer_) return;
  toolPointer_ = std::string(picture);
  if (picture.empty())
    unsetCursor();
  else
    setCursor(ToolCursor(picture));
}

void CanvasWidget::paintEvent(QPaintEvent* event) {
  const QRect area = event->rect() & rect();
  if (area.isEmpty()) return;
  const QImage image = RenderDocumentArea(doc_, area, outlineShown_);
  QPainter painter(this);
  painter.drawImage(area.topLeft(), image);
  painter.setClipRect(area);
  DrawFloatingPaste(painter);
  DrawRubberBand(painter);
  emit painted();
}

void CanvasWidget::DrawFloatingPaste(QPainter& painter) {
  if (!clips_ || !clips_->IsFloating(doc_)) return;
  const int32_t z = std::max<int32_t>(1, ZoomTable(doc_.ZoomFactor()));
  const int32_t h = doc_.HScroll().Value, v = doc_.VScroll().Value;
  Rect area;
  Bits patch;
  if (clips_->FloatingPreview(doc_, area, patch) && !patch.IsNull()) {
    const QImage image = ImageFromBits(patch);
    if (!image.isNull()) {
      const Point at = PictureToCanvas(area.left, area.top, h, v, z);
      painter.drawImage(QRect(at.x, at.y, patch.Width() * z, patch.Height() * z), image);
    }
  }
  // The clip's frame, also where it covers no picture.
  const FloatingPaste& f = *clips_->Floating();
  const Point a = PictureToCanvas(f.X, f.Y, h, v, z);
  const QRect frame(a.x, a.y, f.Clip.Width() * z, f.Clip.Height() * z);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::white, 1));
  painter.drawRect(frame.adjusted(0, 0, -1, -1));
  painter.setPen(QPen(Qt::black, 1, Qt::DashLine));
  painter.drawRect(frame.adjusted(0, 0, -1, -1));
}

void CanvasWidget::DrawRubberBand(QPainter& painter) {
  if (!tools_) return;
  const RubberBand& band = tools_->Overlay();
  if (!band.Visible) return;
  painter.setBrush(Qt::NoBrush);
  for (int pass = 0; pass < 2; ++pass) {
    painter.setPen(pass == 0 ? QPen(Qt::white, 1) : QPen(Qt::black, 1, Qt::DashLine));
    // The band's corners are pixel corners: the frame lies on the first and
    // the last canvas column of the pixels it encloses.
    const QRect box(band.X1, band.Y1, std::max(1, band.X2 - band.X1) - 1, std::max(1, band.Y2 - band.Y1) - 1);
    if (band.Kind == 0) {
      painter.drawRect(box);
    } else if (band.Kind == 1) {
      painter.drawEllipse(box);
    } else if (band.Points.size() >= 2) {
      QPolygon line;
      line.reserve(static_cast<qsizetype>(band.Points.size()));
      for (const Point& p : band.Points) line << QPoint(p.x, p.y);
      painter.drawPolyline(line);
    }
  }
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
