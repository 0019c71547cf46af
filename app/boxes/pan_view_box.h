// fPanView's contents: the navigator. A small picture of the active
// document, fitted into the box with its proportions kept, and the frame of
// the part the canvas shows. Pressing or dragging in it centres the canvas
// on that point (through the window's Scroll, which the document clips).
//
// Contract:
//  - RefreshPicture remakes the small picture from Bits (after a change of
//    the picture); Refresh only redraws the frame (after a scroll or zoom),
//    reading nothing but the document's scroll values.
//  - The visible part in picture pixels is (hValue \ z, vValue \ z) with the
//    canvas size \ z, held inside the picture.
//  - Without a document (or a picture) the box is blank.
#pragma once

#include <QImage>
#include <QPointer>
#include <QRect>
#include <QWidget>

namespace kelvane {

class Document;
class DocumentWindow;

class PanViewBox : public QWidget {
  Q_OBJECT

 public:
  explicit PanViewBox(QWidget* parent);
  void SetWindow(DocumentWindow* window);
  DocumentWindow* Window() const { return window_; }
  void RefreshPicture();
  void Refresh() { update(); }

  // The picture's place in the box and the visible part's frame there.
  QRect PictureRect() const;
  QRect VisibleFrame() const;
  // Centres the canvas on the box point p.
  void CentreOn(QPoint p);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;

 private:
  QPointer<DocumentWindow> window_;
  QImage small_;
};

}  // namespace kelvane
