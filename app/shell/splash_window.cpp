#include "shell/splash_window.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QRadialGradient>
#include <QScreen>

namespace kelvane {

namespace {
inline constexpr QSize kSplashSize(480, 280);
}

SplashWindow::SplashWindow(QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
  setObjectName("fSplash");
  setWindowTitle(kProductName);
  setFixedSize(kSplashSize);
  if (QScreen* screen = QGuiApplication::primaryScreen())
    move(screen->availableGeometry().center() - rect().center());
  tSplash_.setObjectName("tSplash");
  tSplash_.setInterval(kSplashInterval);
  connect(&tSplash_, &QTimer::timeout, this, &SplashWindow::RequestStart);
  tSplash_.start();
}

void SplashWindow::RequestStart() {
  tSplash_.stop();
  if (startRequested_) return;
  startRequested_ = true;
  emit startRoutine();
}

QImage SplashWindow::DrawPicture(QSize size) {
  QImage image(size, QImage::Format_RGB32);
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  QLinearGradient sky(0, 0, size.width(), size.height());
  sky.setColorAt(0.0, QColor(24, 36, 74));
  sky.setColorAt(1.0, QColor(18, 96, 112));
  p.fillRect(image.rect(), sky);

  // Three overlapping drops of the primaries, mixed where they meet.
  const int r = size.height() / 4;
  const QPointF centre(size.width() * 0.78, size.height() * 0.42);
  const QPointF drops[3] = {centre + QPointF(0, -r * 0.55), centre + QPointF(-r * 0.5, r * 0.35),
                            centre + QPointF(r * 0.5, r * 0.35)};
  const QColor colours[3] = {QColor(230, 60, 60, 170), QColor(60, 200, 90, 170), QColor(70, 110, 240, 170)};
  p.setCompositionMode(QPainter::CompositionMode_Plus);
  for (int i = 0; i < 3; ++i) {
    p.setPen(Qt::NoPen);
    p.setBrush(colours[i]);
    p.drawEllipse(drops[i], r, r);
  }
  p.setCompositionMode(QPainter::CompositionMode_SourceOver);

  QFont font("DejaVu Sans");
  font.setPixelSize(size.height() / 5);
  font.setBold(true);
  p.setFont(font);
  p.setPen(QColor(250, 250, 250));
  const QRect textBox(size.width() / 14, size.height() / 3, size.width(), size.height() / 3);
  p.drawText(textBox, Qt::AlignLeft | Qt::AlignVCenter, kProductName);
  p.setPen(QPen(QColor(250, 250, 250, 160), 2));
  const int lineY = textBox.bottom() + 4;
  p.drawLine(textBox.left(), lineY, size.width() / 2, lineY);
  return image;
}

void SplashWindow::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.drawImage(0, 0, DrawPicture(size()));
}

void SplashWindow::mousePressEvent(QMouseEvent*) {
  RequestStart();
  close();
}

}  // namespace kelvane
