// SplashWindow: fSplash, the start object of the process. It shows a drawn
// picture (picSplash) with the product name at once; the first tick of its
// timer tSplash, 500 ms later, asks for the start routine, exactly once.
// A click on the picture or the window unloads the splash; when that comes
// before the first tick the start is asked for at once, so that the program
// is never left without a window.
#pragma once

#include <QTimer>
#include <QWidget>

namespace kelvane {

inline constexpr int kSplashInterval = 500;
inline constexpr const char* kProductName = "Kelvane";

class SplashWindow : public QWidget {
  Q_OBJECT

 public:
  explicit SplashWindow(QWidget* parent = nullptr);

  // The drawn picture alone (also what paintEvent shows).
  static QImage DrawPicture(QSize size);
  bool StartRequested() const { return startRequested_; }

 signals:
  // The first tick of tSplash (or an early click): run StartRoutine.
  void startRoutine();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  void RequestStart();

  QTimer tSplash_;
  bool startRequested_ = false;
};

}  // namespace kelvane
