// The option and information dialogs on screen: fOptions ("Thumbnails
// Options"), fKeyboard ("Keyboard Shortcuts") and fProperties ("Image
// Properties").
//
// Contract:
//  - fOptions binds its controls to the Application's OptionsDialog model:
//    the size boxes, the scroll bars WWS and HHS and the sample box picThumb
//    with its handle picSize follow each other through the model; OK runs
//    OptionsDialogOK, Cancel drops the changes.
//  - fKeyboard shows the fixed shortcut text read-only in a fixed-pitch font
//    ("Lucida Console" where installed) with one button, "Exit".
//  - fProperties shows the Application's Properties as read-only fields in
//    the model's order, with one button cmdExit "OK".
#pragma once

#include <QDialog>
#include <QWidget>

class QCheckBox;
class QLineEdit;
class QRadioButton;
class QScrollBar;

namespace kelvane {

class Application;
class ColourSwatch;
class fOptions;
struct FileProperties;

// picThumbBox: the sample thumbnail picThumb with its drag handle picSize.
class ThumbSampleBox : public QWidget {
  Q_OBJECT

 public:
  ThumbSampleBox(fOptions& model, QWidget* parent);
  QSize sizeHint() const override;
  // Where picThumb's top-left stands in the box.
  static constexpr int kMargin = 8;

 signals:
  void resized();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  QRect Handle() const;
  fOptions& model_;
  bool dragging_ = false;
};

class ThumbnailOptionsDialog : public QDialog {
  Q_OBJECT

 public:
  ThumbnailOptionsDialog(Application& app, fOptions& model, QWidget* parent);

 private:
  void Load();

  Application& app_;
  fOptions& model_;
  QLineEdit* txtThumbnailWidth_ = nullptr;
  QLineEdit* txtThumbnailHeight_ = nullptr;
  QScrollBar* WWS_ = nullptr;
  QScrollBar* HHS_ = nullptr;
  ThumbSampleBox* picThumbBox_ = nullptr;
  QRadioButton* optThumbnailQuality_[2] = {};
  QCheckBox* chkThumbnailShowFilename_ = nullptr;
  QCheckBox* chkThumbnailShowResolution_ = nullptr;
  ColourSwatch* pThumbnailWorkspaceBackground_ = nullptr;
  bool loading_ = false;
};

class KeyboardShortcutsDialog : public QDialog {
  Q_OBJECT

 public:
  explicit KeyboardShortcutsDialog(QWidget* parent);
};

class ImagePropertiesDialog : public QDialog {
  Q_OBJECT

 public:
  ImagePropertiesDialog(const FileProperties& properties, QWidget* parent);
};

}  // namespace kelvane
