// The turning dialogs on screen: fOrientation ("Orientation") and fRotate
// ("Rotate"), bound to the Application's OrientationDialog and RotateDialog
// models and to their OKs.
//
// Contract:
//  - Each change of a control goes to the model, then the preview iSrc is
//    redrawn from a small copy of the active document's picture through the
//    model's own steps (Orient, Preview) on an engine of the dialog's own;
//    the document is untouched until OK.
//  - fOrientation's OK runs OrientationDialogOK (its message shown, closing
//    when the model closes); fRotate's OK runs RotateDialogOK and closes.
//    Cancel only closes.
#pragma once

#include <QDialog>

#include "document/bits.h"
#include "filters/bit_filter.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QScrollBar;

namespace kelvane {

class Application;
class PicturePreview;
class fOrientation;
class fRotate;

class CanvasOrientationDialog : public QDialog {
  Q_OBJECT

 public:
  CanvasOrientationDialog(Application& app, fOrientation& model, QWidget* parent);

 private:
  void Redraw();

  Application& app_;
  fOrientation& model_;
  cBitFilter engine_;
  Bits thumb_;
  QComboBox* cbOrientation_ = nullptr;
  QCheckBox* chkFlip_[2] = {};
  PicturePreview* iSrc_ = nullptr;
};

class RotateImageDialog : public QDialog {
  Q_OBJECT

 public:
  RotateImageDialog(Application& app, fRotate& model, QWidget* parent);

 private:
  void Load();
  void Redraw();

  Application& app_;
  fRotate& model_;
  cBitFilter engine_;
  Bits thumb_;
  QLineEdit* txtDegrees_ = nullptr;
  QScrollBar* sbDegrees_ = nullptr;
  QCheckBox* chkAntialiasing_ = nullptr;
  PicturePreview* iSrc_ = nullptr;
  bool loading_ = false;
};

}  // namespace kelvane
