// CanvasWidget: the visible canvas iDst of a document window. It paints the
// document's picture at its zoom and scroll from Bits, only over the exposed
// rectangle, and the selection's marching outline while the window's
// selection timer runs. Over the picture it draws the picture of a paste
// still floating over the document and the canvas tools' rubber band. Mouse
// input is passed on as signals in canvas pixels; the canvas tools bind to
// them.
//
// Contract:
//  - The canvas never owns the document; the window that made it keeps the
//    document alive for the canvas's life.
//  - Its size is set by the window from the document's layout (DstWidth x
//    DstHeight); it does not lay itself out.
//  - Painting never throws and never changes the document.
//  - The rubber band is drawn from the tools' Overlay (canvas coordinates) as
//    a black dashed line over a white one, visible on any picture. The float
//    is drawn from ClipHistory::FloatingPreview: only the covered rectangle
//    of the picture, stretched by the zoom as the picture is, framed by a
//    dashed line round the clip.
#pragma once

#include <QWidget>
#include <string>
#include <string_view>

#include "document/document.h"

class QPainter;

namespace kelvane {

class CanvasTools;
class ClipHistory;

class CanvasWidget : public QWidget {
  Q_OBJECT

 public:
  explicit CanvasWidget(Document& doc, QWidget* parent = nullptr);

  // Whether paints draw the selection outline (the selection timer runs).
  void SetOutlineShown(bool shown) { outlineShown_ = shown; }
  bool OutlineShown() const { return outlineShown_; }

  // The pointer of the document (default arrow or the cRelease hand).
  void ApplyPointer(int32_t pointer);
  // A tool pointer by picture name (ToolCursor); "" gives the arrow. Only a
  // change of name touches the cursor.
  void SetToolPointer(std::string_view picture);
  std::string_view ToolPointer() const { return toolPointer_; }

  // Where the overlays come from; either may be null (nothing drawn).
  void SetOverlaySources(const CanvasTools* tools, const ClipHistory* clips) {
    tools_ = tools;
    clips_ = clips;
  }

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
  void DrawFloatingPaste(QPainter& painter);
  void DrawRubberBand(QPainter& painter);

  Document& doc_;
  bool outlineShown_ = false;
  const CanvasTools* tools_ = nullptr;
  const ClipHistory* clips_ = nullptr;
  std::string toolPointer_ = "-";
};

}  // namespace kelvane
