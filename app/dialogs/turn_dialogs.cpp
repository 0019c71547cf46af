#include "dialogs/turn_dialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "dialogs/dialog_support.h"
#include "shell/application.h"

namespace kelvane {

namespace {
inline constexpr QSize kPreviewBox(200, 160);

Bits ThumbnailOfActive(Application& app) {
  Document* doc = app.GetActiveImage();
  return doc ? FittedCopy(doc->Bits(), kPreviewBox.width() * 3 / 4, kPreviewBox.height() * 3 / 4) : Bits();
}
}  // namespace

// ---------------------------------------------------------------------------
// fOrientation

CanvasOrientationDialog::CanvasOrientationDialog(Application& app, fOrientation& model, QWidget* parent)
    : QDialog(parent), app_(app), model_(model) {
  setObjectName("fOrientation");
  setWindowTitle(ToQString(fOrientation::kCaption));
  thumb_ = ThumbnailOfActive(app);
  auto* layout = new QHBoxLayout(this);
  auto* left = new QVBoxLayout();
  auto* turn = new QGroupBox(ToQString(fOrientation::kOrientationCaption), this);
  auto* turnLayout = new QVBoxLayout(turn);
  cbOrientation_ = new QComboBox(turn);
  cbOrientation_->setObjectName("cbOrientation");
  for (std::string_view item : fOrientation::kOrientationItems) cbOrientation_->addItem(ToQString(item));
  cbOrientation_->setCurrentIndex(model_.cbOrientation);
  turnLayout->addWidget(cbOrientation_);
  left->addWidget(turn);
  auto* flip = new QGroupBox(ToQString(fOrientation::kFlipCaption), this);
  auto* flipLayout = new QVBoxLayout(flip);
  for (int i = 0; i < 2; ++i) {
    chkFlip_[i] = new QCheckBox(ToQString(fOrientation::kFlipCaptions[static_cast<size_t>(i)]), flip);
    chkFlip_[i]->setObjectName(QString("chkFlip%1").arg(i));
    chkFlip_[i]->setChecked(model_.chkFlip[static_cast<size_t>(i)]);
    flipLayout->addWidget(chkFlip_[i]);
    connect(chkFlip_[i], &QCheckBox::clicked, this, [this, i](bool on) {
      model_.chkFlip[static_cast<size_t>(i)] = on;
      Redraw();
    });
  }
  left->addWidget(flip);
  left->addStretch(1);
  auto* buttons = MakeOkCancel(this);
  left->addWidget(buttons);
  layout->addLayout(left);
  iSrc_ = new PicturePreview("iSrc", kPreviewBox, this);
  layout->addWidget(iSrc_);

  connect(cbOrientation_, &QComboBox::activated, this, [this](int index) {
    model_.cbOrientation = index;
    Redraw();
  });
  connect(buttons, &QDialogButtonBox::accepted, this,
          [this] { ShowResult(*this, app_.Ui(), app_.OrientationDialogOK()); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Redraw();
}

void CanvasOrientationDialog::Redraw() {
  if (thumb_.IsNull()) return;
  iSrc_->SetPicture(model_.Orient(engine_, thumb_));
}

// ---------------------------------------------------------------------------
// fRotate

RotateImageDialog::RotateImageDialog(Application& app, fRotate& model, QWidget* parent)
    : QDialog(parent), app_(app), model_(model) {
  setObjectName("fRotate");
  setWindowTitle(ToQString(fRotate::kCaption));
  thumb_ = ThumbnailOfActive(app);
  auto* layout = new QHBoxLayout(this);
  auto* left = new QVBoxLayout();
  auto* form = new QFormLayout();
  txtDegrees_ = new QLineEdit(this);
  txtDegrees_->setObjectName("txtDegrees");
  txtDegrees_->setMaximumWidth(90);
  form->addRow(ToQString(fRotate::kDegreesCaption), txtDegrees_);
  left->addLayout(form);
  sbDegrees_ = new QScrollBar(Qt::Horizontal, this);
  sbDegrees_->setObjectName("sbDegrees");
  sbDegrees_->setRange(fRotate::kMin, fRotate::kMax);
  sbDegrees_->setSingleStep(fRotate::kSmallChange);
  sbDegrees_->setPageStep(fRotate::kLargeChange);
  sbDegrees_->setMinimumWidth(180);
  left->addWidget(sbDegrees_);
  auto* steps = new QHBoxLayout();
  for (int i = 0; i < 2; ++i) {
    auto* button = new QPushButton(ToQString(fRotate::k45Captions[static_cast<size_t>(i)]), this);
    button->setObjectName(QString("cmd45_%1").arg(i));
    button->setAutoDefault(false);
    steps->addWidget(button);
    connect(button, &QPushButton::clicked, this, [this, i] {
      model_.Press45(i);
      Load();
      Redraw();
    });
  }
  left->addLayout(steps);
  chkAntialiasing_ = new QCheckBox(ToQString(fRotate::kAntialiasingCaption), this);
  chkAntialiasing_->setObjectName("chkAntialiasing");
  left->addWidget(chkAntialiasing_);
  left->addStretch(1);
  auto* buttons = MakeOkCancel(this);
  left->addWidget(buttons);
  layout->addLayout(left);
  auto* right = new QVBoxLayout();
  iSrc_ = new PicturePreview("iSrc", kPreviewBox, this);
  right->addWidget(iSrc_);
  auto* note = new QLabel(ToQString(fRotate::kResizedNote), this);
  note->setObjectName("lblResized");
  right->addWidget(note);
  right->addStretch(1);
  layout->addLayout(right);

  connect(txtDegrees_, &QLineEdit::textEdited, this, [this](const QString& text) {
    model_.TypeDegrees(text.toStdString());
    Load();
    Redraw();
  });
  connect(sbDegrees_, &QScrollBar::valueChanged, this, [this](int value) {
    if (loading_) return;
    model_.ScrollDegrees(value);
    Load();
    Redraw();
  });
  connect(chkAntialiasing_, &QCheckBox::clicked, this, [this](bool on) {
    model_.chkAntialiasing = on;
    Redraw();
  });
  connect(buttons, &QDialogButtonBox::accepted, this, [this] {
    app_.RotateDialogOK();
    accept();
  });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Load();
  Redraw();
}

void RotateImageDialog::Load() {
  loading_ = true;
  if (txtDegrees_->text() != QString::fromStdString(model_.txtDegrees))
    txtDegrees_->setText(QString::fromStdString(model_.txtDegrees));
  sbDegrees_->setValue(model_.sbDegrees);
  chkAntialiasing_->setChecked(model_.chkAntialiasing);
  loading_ = false;
}

void RotateImageDialog::Redraw() {
  if (thumb_.IsNull()) return;
  iSrc_->SetPicture(model_.Preview(engine_, thumb_));
}

}  // namespace kelvane
