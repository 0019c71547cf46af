#include "document/tool_cursors.h"

#include <QPainter>
#include <QPainterPath>
#include <map>
#include <string>

namespace kelvane {

namespace {

constexpr int kSide = 32;

struct Drawn {
  QPixmap picture;
  QPoint hotSpot;
};

// A figure in black on a white rim: the rim first, then the figure over it.
void Outlined(QPainter& p, const QPainterPath& path, const QColor& fill) {
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(Qt::white, 3.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  p.drawPath(path);
  p.setBrush(fill);
  p.setPen(QPen(Qt::black, 1.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  p.drawPath(path);
}

void CrossHairs(QPainter& p, QPointF c, double arm) {
  QPainterPath path;
  path.moveTo(c.x() - arm, c.y());
  path.lineTo(c.x() - 2, c.y());
  path.moveTo(c.x() + 2, c.y());
  path.lineTo(c.x() + arm, c.y());
  path.moveTo(c.x(), c.y() - arm);
  path.lineTo(c.x(), c.y() - 2);
  path.moveTo(c.x(), c.y() + 2);
  path.lineTo(c.x(), c.y() + arm);
  Outlined(p, path, Qt::transparent);
}

Drawn Draw(std::string_view name) {
  QPixmap pixmap(kSide, kSide);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  QPoint hot(0, 0);
  if (name == "cBrush") {
    // Handle up to the right, the bristles' tip at the bottom left.
    QPainterPath handle;
    handle.moveTo(11, 17);
    handle.lineTo(25, 3);
    handle.lineTo(28, 6);
    handle.lineTo(14, 20);
    handle.closeSubpath();
    Outlined(p, handle, QColor(170, 110, 50));
    QPainterPath tip;
    tip.moveTo(11, 17);
    tip.lineTo(14, 20);
    tip.cubicTo(12, 25, 7, 27, 2, 29);
    tip.cubicTo(4, 24, 6, 19, 11, 17);
    Outlined(p, tip, Qt::black);
    hot = QPoint(2, 29);
  } else if (name == "cAirBrush") {
    QPainterPath can;
    can.addRoundedRect(QRectF(16, 12, 10, 17), 2, 2);
    can.moveTo(18, 12);
    can.lineTo(18, 8);
    can.lineTo(24, 8);
    can.lineTo(24, 12);
    Outlined(p, can, QColor(200, 200, 210));
    QPainterPath nozzle;
    nozzle.addRect(QRectF(14, 8, 4, 3));
    Outlined(p, nozzle, Qt::black);
    p.setPen(Qt::NoPen);
    const QPointF dots[] = {{3, 3}, {7, 6}, {4, 9}, {9, 10}, {2, 13}, {10, 2}, {6, 12}, {11, 7}};
    for (const QPointF& d : dots) {
      p.setBrush(Qt::white);
      p.drawEllipse(d, 1.8, 1.8);
      p.setBrush(Qt::black);
      p.drawEllipse(d, 1.0, 1.0);
    }
    hot = QPoint(6, 8);
  } else if (name == "cPencil") {
    QPainterPath body;
    body.moveTo(7, 20);
    body.lineTo(23, 4);
    body.lineTo(28, 9);
    body.lineTo(12, 25);
    body.closeSubpath();
    Outlined(p, body, QColor(250, 200, 60));
    QPainterPath tip;
    tip.moveTo(7, 20);
    tip.lineTo(12, 25);
    tip.lineTo(2, 30);
    tip.closeSubpath();
    Outlined(p, tip, QColor(240, 220, 180));
    QPainterPath lead;
    lead.moveTo(4, 26);
    lead.lineTo(6, 28);
    lead.lineTo(2, 30);
    lead.closeSubpath();
    Outlined(p, lead, Qt::black);
    hot = QPoint(2, 30);
  } else if (name == "cTextures") {
    // A rubber stamp: handle, block and the print line under it.
    QPainterPath stamp;
    stamp.addEllipse(QRectF(12, 2, 8, 7));
    stamp.addRect(QRectF(14, 9, 4, 6));
    stamp.addRoundedRect(QRectF(6, 15, 20, 6), 1.5, 1.5);
    Outlined(p, stamp, QColor(150, 40, 40));
    QPainterPath foot;
    foot.addRect(QRectF(7, 22, 18, 3));
    Outlined(p, foot, Qt::black);
    hot = QPoint(16, 16);
  } else if (name == "cFill") {
    // A tipped bucket with paint running from its lip to the hot spot.
    QPainterPath bucket;
    bucket.moveTo(9, 10);
    bucket.lineTo(19, 3);
    bucket.lineTo(28, 15);
    bucket.lineTo(18, 22);
    bucket.closeSubpath();
    Outlined(p, bucket, QColor(210, 210, 220));
    QPainterPath paint;
    paint.moveTo(9, 10);
    paint.cubicTo(5, 12, 4, 18, 4, 24);
    paint.cubicTo(4, 27, 7, 27, 7, 24);
    paint.cubicTo(7, 19, 8, 15, 11, 13);
    paint.closeSubpath();
    Outlined(p, paint, QColor(30, 90, 200));
    hot = QPoint(5, 27);
  } else if (name == "cPicker") {
    QPainterPath dropper;
    dropper.moveTo(3, 29);
    dropper.lineTo(5, 23);
    dropper.lineTo(17, 11);
    dropper.lineTo(21, 15);
    dropper.lineTo(9, 27);
    dropper.closeSubpath();
    Outlined(p, dropper, QColor(220, 235, 250));
    QPainterPath bulb;
    bulb.addEllipse(QRectF(19, 3, 10, 10));
    bulb.moveTo(15, 10);
    bulb.lineTo(22, 17);
    Outlined(p, bulb, Qt::black);
    hot = QPoint(3, 29);
  } else if (name == "cGradient") {
    CrossHairs(p, QPointF(9.5, 9.5), 8);
    QLinearGradient ramp(QPointF(17, 0), QPointF(30, 0));
    ramp.setColorAt(0, Qt::black);
    ramp.setColorAt(1, Qt::white);
    p.setPen(QPen(Qt::black, 1));
    p.setBrush(ramp);
    p.drawRect(QRectF(17.5, 19.5, 12, 9));
    hot = QPoint(9, 9);
  } else if (name == kCursorCross) {
    CrossHairs(p, QPointF(15.5, 15.5), 11);
    hot = QPoint(15, 15);
  } else {
    p.end();
    return Drawn{};
  }
  p.end();
  return Drawn{pixmap, hot};
}

const Drawn& Cached(std::string_view name) {
  static std::map<std::string, Drawn, std::less<>> cache;
  auto it = cache.find(name);
  if (it == cache.end()) it = cache.emplace(std::string(name), Draw(name)).first;
  return it->second;
}

}  // namespace

std::string_view CursorPictureForTool(std::string_view tool) {
  struct Row {
    std::string_view Tool, Picture;
  };
  static constexpr Row kRows[] = {
      {"Brush", "cBrush"},   {"Airbrush", "cAirBrush"},   {"Pencil", "cPencil"}, {"Stamp", "cTextures"},
      {"Text", "cTextures"}, {"Fill", "cFill"},           {"GetColor", "cPicker"}, {"Gradient", "cGradient"},
      {"Select", "cCross"},  {"Shape", "cCross"},         {"SelectionMove", "cMove"},
  };
  for (const Row& row : kRows)
    if (row.Tool == tool) return row.Picture;
  return {};
}

QPixmap ToolCursorPixmap(std::string_view picture) { return Cached(picture).picture; }

QCursor ToolCursor(std::string_view picture) {
  if (picture == "cGrab") return QCursor(Qt::ClosedHandCursor);
  if (picture == "cRelease") return QCursor(Qt::OpenHandCursor);
  if (picture == kCursorMove) return QCursor(Qt::SizeAllCursor);
  const Drawn& drawn = Cached(picture);
  if (drawn.picture.isNull()) return QCursor(Qt::ArrowCursor);
  return QCursor(drawn.picture, drawn.hotSpot.x(), drawn.hotSpot.y());
}

}  // namespace kelvane
