// The size dialogs on screen: fNew ("New Document"), fSize ("Image size")
// and fCanvas ("Canvas size"), bound to the models the Application holds
// (NewDialog, SizeDialog, CanvasDialog) and to its ...DialogOK methods.
//
// Contract:
//  - The controls show the model's fields when the dialog opens and after
//    every user change, which goes to the model's event method first (the
//    proportion rule, the standard and preset lists live there). Programme
//    writes never feed back as user edits.
//  - OK calls the Application's OK; its message, if any, is shown, and the
//    dialog closes only when the model says so. Cancel only closes.
//  - fCanvas draws the new canvas and the picture on it (iCnv, iImg) from
//    the model's View; dragging the picture places it (DragImage).
#pragma once

#include <QDialog>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QRadioButton;

namespace kelvane {

class Application;
class ColourSwatch;
class fCanvas;
class fNew;
class fSize;

class NewDocumentDialog : public QDialog {
  Q_OBJECT

 public:
  NewDocumentDialog(Application& app, QWidget* parent);

  // Shows the model's values in the controls.
  void Load();

 private:
  void Ok();

  Application& app_;
  fNew& model_;
  QComboBox* cbDefault_ = nullptr;
  QLineEdit* txtW_ = nullptr;
  QLineEdit* txtH_ = nullptr;
  QCheckBox* chkKeepProportions_ = nullptr;
  QRadioButton* OP_[3] = {};
  ColourSwatch* CP_ = nullptr;
};

class ImageSizeDialog : public QDialog {
  Q_OBJECT

 public:
  ImageSizeDialog(Application& app, fSize& model, QWidget* parent);

  // Shows the model's values in the controls.
  void Load();

 private:

  Application& app_;
  fSize& model_;
  QLineEdit* txtW_ = nullptr;
  QLineEdit* txtH_ = nullptr;
  QCheckBox* chkKeepProportions_ = nullptr;
  QComboBox* cbPreDef_ = nullptr;
  QCheckBox* chkInterpolate_ = nullptr;
};

// iCnv with iImg on it.
class CanvasPlacementBox : public QWidget {
  Q_OBJECT

 public:
  CanvasPlacementBox(fCanvas& model, const QImage& picture, QWidget* parent);
  QSize sizeHint() const override { return QSize(220, 160); }

 signals:
  void placed();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  fCanvas& model_;
  QImage picture_;
  bool dragging_ = false;
  QPoint grab_;  // the press point less iImg's top-left
};

class CanvasSizeDialog : public QDialog {
  Q_OBJECT

 public:
  CanvasSizeDialog(Application& app, fCanvas& model, QWidget* parent);

  // Shows the model's values in the controls.
  void Load();

 private:

  Application& app_;
  fCanvas& model_;
  QLineEdit* txtW_ = nullptr;
  QLineEdit* txtH_ = nullptr;
  QCheckBox* chkKeepProportions_ = nullptr;
  QComboBox* cbPreDef_ = nullptr;
  CanvasPlacementBox* box_ = nullptr;
};

}  // namespace kelvane
