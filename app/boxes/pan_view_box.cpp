#include "boxes/pan_view_box.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

#include "boxes/picture_convert.h"
#include "document/document_window.h"

namespace kelvane {

namespace {
constexpr int kMargin = 4;
}

PanViewBox::PanViewBox(QWidget* parent) : QWidget(parent) {
  setObjectName("PanView");
  setMinimumSize(60, 50);
  setCursor(Qt::PointingHandCursor);
}

void PanViewBox::SetWindow(DocumentWindow* window) {
  if (window_ == window) return;
  window_ = window;
  RefreshPicture();
}

void PanViewBox::RefreshPicture() {
  small_ = QImage();
  if (window_ && window_->Doc().PictureExists()) {
    const QSize box = size() - QSize(2 * kMargin, 2 * kMargin);
    const Bits& bits = window_->Doc().PictureBits();
    // Enlarged pictures are drawn by the painter; the copy kept is never
    // bigger than the box or the picture.
    small_ = ScaledThumbnail(bits, box.expandedTo(QSize(1, 1)), true);
  }
  update();
}

QRect PanViewBox::PictureRect() const {
  if (!window_ || !window_->Doc().PictureExists()) return QRect();
  const Document& doc = window_->Doc();
  const QSize box = size() - QSize(2 * kMargin, 2 * kMargin);
  const QSize picture(doc.PictureWidth(), doc.PictureHeight());
  // Fitted both ways: small pictures are enlarged to the box too.
  const QSize fitted = picture.scaled(box.expandedTo(QSize(1, 1)), Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
  return QRect(QPoint(kMargin + (box.width() - fitted.width()) / 2, kMargin + (box.height() - fitted.height()) / 2),
               fitted);
}

QRect PanViewBox::VisibleFrame() const {
  const QRect r = PictureRect();
  if (r.isEmpty()) return QRect();
  const Document& doc = window_->Doc();
  const int z = std::max<int>(1, ZoomTable(doc.ZoomFactor()));
  const int w = doc.PictureWidth(), h = doc.PictureHeight();
  const int x0 = std::clamp(doc.HScroll().Value / z, 0, w);
  const int y0 = std::clamp(doc.VScroll().Value / z, 0, h);
  const int x1 = std::clamp(x0 + std::max(1, doc.DstWidth() / z), 0, w);
  const int y1 = std::clamp(y0 + std::max(1, doc.DstHeight() / z), 0, h);
  auto mapX = [&](int x) { return r.left() + static_cast<int>(static_cast<int64_t>(x) * r.width() / w); };
  auto mapY = [&](int y) { return r.top() + static_cast<int>(static_cast<int64_t>(y) * r.height() / h); };
  return QRect(QPoint(mapX(x0), mapY(y0)), QPoint(mapX(x1) - 1, mapY(y1) - 1));
}

void PanViewBox::CentreOn(QPoint p) {
  const QRect r = PictureRect();
  if (r.isEmpty() || !window_) return;
  const Document& doc = window_->Doc();
  const int z = std::max<int>(1, ZoomTable(doc.ZoomFactor()));
  const int px = static_cast<int>(static_cast<int64_t>(p.x() - r.left()) * doc.PictureWidth() / r.width());
  const int py = static_cast<int>(static_cast<int64_t>(p.y() - r.top()) * doc.PictureHeight() / r.height());
  const int x = std::clamp(px * z - doc.DstWidth() / 2, 0, std::max(0, doc.HScroll().Max));
  const int y = std::clamp(py * z - doc.DstHeight() / 2, 0, std::max(0, doc.VScroll().Max));
  window_->Scroll(x, y);
  update();
}

void PanViewBox::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), palette().color(QPalette::Dark));
  const QRect r = PictureRect();
  if (r.isEmpty() || small_.isNull()) return;
  p.drawImage(r, small_);
  const QRect frame = VisibleFrame();
  // Show the frame only when part of the picture is out of view.
  if (frame.isEmpty() || frame.adjusted(0, 0, 1, 1) == r) return;
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(Qt::white, 3));
  p.drawRect(frame);
  p.setPen(QPen(QColor(220, 30, 30), 1));
  p.drawRect(frame);
}

void PanViewBox::resizeEvent(QResizeEvent*) { RefreshPicture(); }

void PanViewBox::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) CentreOn(event->position().toPoint());
}

void PanViewBox::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() & Qt::LeftButton) CentreOn(event->position().toPoint());
}

}  // namespace kelvane
