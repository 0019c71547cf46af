// CanvasWidget: the visible canvas iDst of a document window. It paints the
// document's picture at its zoom and scroll from Bits, only over the exposed
// rectangle, and the selection's marching outline while the window's
// selection timer runs. Mouse input is passed on as signals in canvas
// pixels; the canvas tools bind to them.
//
// Contract:
//  - The canvas never owns the document; the window that made it keeps the
//    document alive for the canvas's life.
//  - Its size is set by the window from the document's layout (DstWidth x
//    DstHeight); it does not lay itself out.
//  - Painting never throws and never changes the document.
#pragma once

#include <QWidget>

#include "document/document.h"

namespace kelvane {

class CanvasWidget : public QWidget {
  Q_OBJECT

 public:
  explicit CanvasWidget(Document& doc, QWidget* parent = nullptr);

  // Whether paints draw the selection outline (the selection timer runs).
  void SetOutlineShown(bool shown) { outlineShown_ = shown; }
  bool OutlineShown() const { return outlineShown_; }

  // The pointer of the document (default arrow or the cRelease hand).
  void ApplyPointer(int32_t pointer);

 signals:
  void mousePressed(Qt::MouseButton button, int x, int y, Qt::KeyboardModifiers modifiers);
  void mouseMoved(Qt::MouseButtons buttons, int x, int y, Qt::KeyboardModifiers modifiers);
  void mouseReleased(Qt::MouseButton button, int x, int y, Qt::KeyboardModifiers modifiers);
  void keyPressed(int key, Qt::KeyboardModifiers modifiers);
  void keyReleased(int key, Qt::KeyboardModifiers modifiers);
  // After each paint: the panoramic box refreshes its frame.
  void painted();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;

 private:
  Document& doc_;
  bool outlineShown_ = false;
};

}  // namespace kelvane
