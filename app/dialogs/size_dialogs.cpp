#include "dialogs/size_dialogs.h"
#include "boxes/picture_convert.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "dialogs/dialog_support.h"
#include "shell/application.h"
#include "shell/qt_user_interface.h"

namespace kelvane {

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

void SetBoxText(QLineEdit* box, const std::string& text) {
  if (box->text() != Text(text)) box->setText(Text(text));
}

// The group of the preset list cbPreDef ("Quick" or "Defined").
template <size_t N>
QGroupBox* PreDefGroup(QWidget* parent, std::string_view caption, const std::array<std::string_view, N>& items,
                       QComboBox*& combo) {
  auto* group = new QGroupBox(ToQString(caption), parent);
  auto* layout = new QVBoxLayout(group);
  combo = new QComboBox(group);
  combo->setObjectName("cbPreDef");
  for (std::string_view item : items) combo->addItem(ToQString(item));
  layout->addWidget(combo);
  layout->addStretch(1);
  return group;
}

// Typing in the width and height boxes goes through the model, which may
// change the other box; the dialog then shows the model again.
template <class Dialog, class Model>
void ConnectSizeBoxes(Dialog* dialog, Model& model, QLineEdit* w, QLineEdit* h) {
  QObject::connect(w, &QLineEdit::textEdited, dialog, [dialog, &model](const QString& text) {
    model.TypeWidth(text.toStdString());
    dialog->Load();
  });
  QObject::connect(h, &QLineEdit::textEdited, dialog, [dialog, &model](const QString& text) {
    model.TypeHeight(text.toStdString());
    dialog->Load();
  });
}

// "Width" and "Height" with their boxes and the proportions check box.
QWidget* SizeBoxesForm(QWidget* parent, QLineEdit*& w, QLineEdit*& h, QCheckBox*& keep, std::string_view keepCaption) {
  auto* holder = new QWidget(parent);
  auto* form = new QFormLayout(holder);
  form->setContentsMargins(0, 0, 0, 0);
  w = MakeNumberBox("txtW", holder);
  h = MakeNumberBox("txtH", holder);
  form->addRow("Width", w);
  form->addRow("Height", h);
  keep = new QCheckBox(ToQString(keepCaption), holder);
  keep->setObjectName("chkKeepProportions");
  form->addRow(keep);
  return holder;
}

}  // namespace

// ---------------------------------------------------------------------------
// fNew

NewDocumentDialog::NewDocumentDialog(Application& app, QWidget* parent)
    : QDialog(parent), app_(app), model_(app.NewDialog) {
  setObjectName("fNew");
  setWindowTitle(ToQString(fNew::kCaption));
  auto* layout = new QVBoxLayout(this);

  auto* standard = new QGroupBox(ToQString(fNew::kStandardSizesCaption), this);
  auto* standardLayout = new QVBoxLayout(standard);
  cbDefault_ = new QComboBox(standard);
  cbDefault_->setObjectName("cbDefault");
  standardLayout->addWidget(cbDefault_);
  layout->addWidget(standard);

  auto* custom = new QGroupBox(ToQString(fNew::kCustomFrameCaption), this);
  auto* customLayout = new QVBoxLayout(custom);
  customLayout->addWidget(SizeBoxesForm(custom, txtW_, txtH_, chkKeepProportions_, fNew::kKeepProportionsCaption));
  layout->addWidget(custom);

  auto* background = new QGroupBox(ToQString(fNew::kBackgroundCaption), this);
  auto* backgroundLayout = new QHBoxLayout(background);
  auto* group = new QButtonGroup(this);
  for (int i = 0; i < 3; ++i) {
    OP_[i] = new QRadioButton(ToQString(fNew::kBackgroundCaptions[static_cast<size_t>(i)]), background);
    OP_[i]->setObjectName(QString("OP%1").arg(i));
    group->addButton(OP_[i], i);
    backgroundLayout->addWidget(OP_[i]);
  }
  CP_ = new ColourSwatch("CP", model_.CP, background);
  backgroundLayout->addWidget(CP_);
  backgroundLayout->addStretch(1);
  layout->addWidget(background);

  auto* buttons = MakeOkCancel(this);
  layout->addWidget(buttons);

  connect(cbDefault_, &QComboBox::activated, this, [this](int index) {
    model_.ChooseStandardSize(index);
    Load();
  });
  ConnectSizeBoxes(this, model_, txtW_, txtH_);
  connect(chkKeepProportions_, &QCheckBox::clicked, this, [this](bool on) { model_.SetKeepProportions(on); });
  connect(group, &QButtonGroup::idClicked, this, [this](int id) { model_.SetBackground(id); });
  CP_->picked = [this](int32_t colour) {
    model_.ColorPick(colour);
    model_.SetBackground(fNew::Custom);
    Load();
  };
  connect(buttons, &QDialogButtonBox::accepted, this, &NewDocumentDialog::Ok);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Load();
}

void NewDocumentDialog::Load() {
  const QSignalBlocker block(cbDefault_);
  if (cbDefault_->count() != static_cast<int>(model_.cbDefault.size())) {
    cbDefault_->clear();
    for (const std::string& item : model_.cbDefault) cbDefault_->addItem(Text(item));
  }
  cbDefault_->setCurrentIndex(model_.cbDefaultIndex);
  SetBoxText(txtW_, model_.size.txtW);
  SetBoxText(txtH_, model_.size.txtH);
  chkKeepProportions_->setChecked(model_.size.chkKeepProportions);
  if (model_.OP >= 0 && model_.OP < 3) OP_[model_.OP]->setChecked(true);
  CP_->SetColour(model_.CP);
}

void NewDocumentDialog::Ok() {
  // The model hides the window before the new document shows.
  const DialogResult result = app_.NewDialogOK();
  ShowResult(*this, app_.Ui(), result);
  if (!result.closed) Load();
}

// ---------------------------------------------------------------------------
// fSize

ImageSizeDialog::ImageSizeDialog(Application& app, fSize& model, QWidget* parent)
    : QDialog(parent), app_(app), model_(model) {
  setObjectName("fSize");
  setWindowTitle(ToQString(fSize::kCaption));
  auto* layout = new QVBoxLayout(this);
  auto* row = new QHBoxLayout();
  row->addWidget(SizeBoxesForm(this, txtW_, txtH_, chkKeepProportions_, fSize::kKeepProportionsCaption));
  row->addWidget(PreDefGroup(this, fSize::kQuickCaption, fSize::kPreDefItems, cbPreDef_));
  layout->addLayout(row);
  chkInterpolate_ = new QCheckBox(ToQString(fSize::kInterpolateCaption), this);
  chkInterpolate_->setObjectName("chkInterpolate");
  layout->addWidget(chkInterpolate_);
  auto* buttons = MakeOkCancel(this);
  layout->addWidget(buttons);

  ConnectSizeBoxes(this, model_, txtW_, txtH_);
  connect(chkKeepProportions_, &QCheckBox::clicked, this, [this](bool on) { model_.size.chkKeepProportions = on; });
  connect(chkInterpolate_, &QCheckBox::clicked, this, [this](bool on) { model_.chkInterpolate = on; });
  connect(cbPreDef_, &QComboBox::activated, this, [this](int index) {
    model_.ChoosePreset(index);
    Load();
  });
  connect(buttons, &QDialogButtonBox::accepted, this, [this] { ShowResult(*this, app_.Ui(), app_.SizeDialogOK()); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Load();
}

void ImageSizeDialog::Load() {
  SetBoxText(txtW_, model_.size.txtW);
  SetBoxText(txtH_, model_.size.txtH);
  chkKeepProportions_->setChecked(model_.size.chkKeepProportions);
  chkInterpolate_->setChecked(model_.chkInterpolate);
  const QSignalBlocker block(cbPreDef_);
  cbPreDef_->setCurrentIndex(model_.cbPreDefIndex);
}

// ---------------------------------------------------------------------------
// fCanvas

CanvasPlacementBox::CanvasPlacementBox(fCanvas& model, const QImage& picture, QWidget* parent)
    : QWidget(parent), model_(model), picture_(picture) {
  setObjectName("iCnv");
  setMinimumSize(220, 160);
  setCursor(Qt::SizeAllCursor);
}

void CanvasPlacementBox::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), palette().color(QPalette::Dark));
  const CanvasView view = model_.View(width(), height());
  if (view.scale <= 0) return;
  const QRect canvas(view.iCnv.left, view.iCnv.top, view.iCnv.Width(), view.iCnv.Height());
  const QRect image(view.iImg.left, view.iImg.top, view.iImg.Width(), view.iImg.Height());
  p.fillRect(canvas, Qt::white);
  p.setClipRect(canvas);
  if (!picture_.isNull()) p.drawImage(image, picture_);
  p.setClipping(false);
  p.setPen(QPen(Qt::black, 1, Qt::DashLine));
  p.drawRect(image.adjusted(0, 0, -1, -1));
  p.setPen(Qt::black);
  p.drawRect(canvas.adjusted(0, 0, -1, -1));
}

void CanvasPlacementBox::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const CanvasView view = model_.View(width(), height());
  dragging_ = true;
  grab_ = event->position().toPoint() - QPoint(view.iImg.left, view.iImg.top);
}

void CanvasPlacementBox::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_) return;
  const QPoint at = event->position().toPoint() - grab_;
  model_.DragImage(at.x(), at.y(), width(), height());
  update();
  emit placed();
}

void CanvasPlacementBox::mouseReleaseEvent(QMouseEvent*) { dragging_ = false; }

CanvasSizeDialog::CanvasSizeDialog(Application& app, fCanvas& model, QWidget* parent)
    : QDialog(parent), app_(app), model_(model) {
  setObjectName("fCanvas");
  setWindowTitle(ToQString(fCanvas::kCaption));
  QImage picture;
  if (Document* doc = app.GetActiveImage()) picture = ImageFromBits(FittedCopy(doc->Bits(), 220, 160));
  auto* layout = new QHBoxLayout(this);
  auto* left = new QVBoxLayout();
  left->addWidget(SizeBoxesForm(this, txtW_, txtH_, chkKeepProportions_, fCanvas::kKeepProportionsCaption));
  left->addWidget(PreDefGroup(this, fCanvas::kDefinedCaption, fCanvas::kPreDefItems, cbPreDef_));
  left->addStretch(1);
  auto* buttons = MakeOkCancel(this);
  buttons->setOrientation(Qt::Vertical);
  left->addWidget(buttons);
  layout->addLayout(left);
  box_ = new CanvasPlacementBox(model_, picture, this);
  layout->addWidget(box_, 1);

  ConnectSizeBoxes(this, model_, txtW_, txtH_);
  connect(chkKeepProportions_, &QCheckBox::clicked, this, [this](bool on) { model_.size.chkKeepProportions = on; });
  connect(cbPreDef_, &QComboBox::activated, this, [this](int index) {
    model_.ChoosePreset(index);
    Load();
  });
  connect(buttons, &QDialogButtonBox::accepted, this,
          [this] { ShowResult(*this, app_.Ui(), app_.CanvasDialogOK()); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Load();
}

void CanvasSizeDialog::Load() {
  SetBoxText(txtW_, model_.size.txtW);
  SetBoxText(txtH_, model_.size.txtH);
  chkKeepProportions_->setChecked(model_.size.chkKeepProportions);
  const QSignalBlocker block(cbPreDef_);
  cbPreDef_->setCurrentIndex(model_.cbPreDefIndex);
  box_->update();
}

}  // namespace kelvane
