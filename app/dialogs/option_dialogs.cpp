#include "dialogs/option_dialogs.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include "dialogs/dialog_support.h"
#include "imagefiles/file_properties.h"
#include "shell/application.h"
#include "shell/option_dialogs.h"

namespace kelvane {

namespace {
inline constexpr int kHandleSide = 7;

QColor ToQColor(int32_t colour) { return QColor(colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF); }
}  // namespace

// ---------------------------------------------------------------------------
// picThumbBox

ThumbSampleBox::ThumbSampleBox(fOptions& model, QWidget* parent) : QWidget(parent), model_(model) {
  setObjectName("picThumbBox");
  setFixedSize(sizeHint());
}

QSize ThumbSampleBox::sizeHint() const {
  const int side = fOptions::kMaxSide + 2 * kMargin + kHandleSide;
  return QSize(side, side);
}

QRect ThumbSampleBox::Handle() const {
  return QRect(kMargin + model_.ThumbWidth() - kHandleSide / 2, kMargin + model_.ThumbHeight() - kHandleSide / 2,
               kHandleSide, kHandleSide);
}

void ThumbSampleBox::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), ToQColor(model_.pThumbnailWorkspaceBackground));
  const QRect thumb(kMargin, kMargin, model_.ThumbWidth(), model_.ThumbHeight());
  p.fillRect(thumb, palette().color(QPalette::Base));
  p.setPen(palette().color(QPalette::Dark));
  p.drawRect(thumb.adjusted(0, 0, -1, -1));
  // A picture stand-in: the diagonals of the sample.
  p.setPen(QPen(palette().color(QPalette::Mid), 1, Qt::DotLine));
  p.drawLine(thumb.topLeft(), thumb.bottomRight());
  p.drawLine(thumb.topRight(), thumb.bottomLeft());
  p.fillRect(Handle(), palette().color(QPalette::Highlight));
}

void ThumbSampleBox::mousePressEvent(QMouseEvent* event) {
  dragging_ = event->button() == Qt::LeftButton && Handle().adjusted(-3, -3, 3, 3).contains(event->position().toPoint());
}

void ThumbSampleBox::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_) return;
  const QPoint at = event->position().toPoint();
  model_.DragSize(at.x() - kMargin, at.y() - kMargin);
  update();
  emit resized();
}

void ThumbSampleBox::mouseReleaseEvent(QMouseEvent*) { dragging_ = false; }

// ---------------------------------------------------------------------------
// fOptions

ThumbnailOptionsDialog::ThumbnailOptionsDialog(Application& app, fOptions& model, QWidget* parent)
    : QDialog(parent), app_(app), model_(model) {
  setObjectName("fOptions");
  setWindowTitle(ToQString(fOptions::kCaption));
  auto* layout = new QHBoxLayout(this);
  auto* left = new QVBoxLayout();

  auto* size = new QGroupBox("Size", this);
  auto* sizeForm = new QFormLayout(size);
  txtThumbnailWidth_ = MakeNumberBox("txtThumbnailWidth", size);
  txtThumbnailHeight_ = MakeNumberBox("txtThumbnailHeight", size);
  WWS_ = new QScrollBar(Qt::Horizontal, size);
  WWS_->setObjectName("WWS");
  HHS_ = new QScrollBar(Qt::Horizontal, size);
  HHS_->setObjectName("HHS");
  for (QScrollBar* bar : {WWS_, HHS_}) {
    bar->setRange(fOptions::kMinSide, fOptions::kMaxSide);
    bar->setMinimumWidth(120);
  }
  sizeForm->addRow("Width", txtThumbnailWidth_);
  sizeForm->addRow("", WWS_);
  sizeForm->addRow("Height", txtThumbnailHeight_);
  sizeForm->addRow("", HHS_);
  left->addWidget(size);

  auto* quality = new QGroupBox("Quality", this);
  auto* qualityLayout = new QHBoxLayout(quality);
  auto* group = new QButtonGroup(this);
  for (int i = 0; i < 2; ++i) {
    optThumbnailQuality_[i] = new QRadioButton(ToQString(fOptions::kQualityCaptions[static_cast<size_t>(i)]), quality);
    optThumbnailQuality_[i]->setObjectName(QString("optThumbnailQuality%1").arg(i));
    group->addButton(optThumbnailQuality_[i], i);
    qualityLayout->addWidget(optThumbnailQuality_[i]);
  }
  left->addWidget(quality);

  chkThumbnailShowFilename_ = new QCheckBox(ToQString(fOptions::kShowFilenameCaption), this);
  chkThumbnailShowFilename_->setObjectName("chkThumbnailShowFilename");
  chkThumbnailShowResolution_ = new QCheckBox(ToQString(fOptions::kShowResolutionCaption), this);
  chkThumbnailShowResolution_->setObjectName("chkThumbnailShowResolution");
  left->addWidget(chkThumbnailShowFilename_);
  left->addWidget(chkThumbnailShowResolution_);

  auto* workspace = new QGroupBox(ToQString(fOptions::kWorkspaceCaption), this);
  auto* workspaceLayout = new QHBoxLayout(workspace);
  pThumbnailWorkspaceBackground_ = new ColourSwatch("pThumbnailWorkspaceBackground",
                                                    model_.pThumbnailWorkspaceBackground, workspace);
  workspaceLayout->addWidget(new QLabel("Background", workspace));
  workspaceLayout->addWidget(pThumbnailWorkspaceBackground_);
  workspaceLayout->addStretch(1);
  left->addWidget(workspace);
  left->addStretch(1);
  auto* buttons = MakeOkCancel(this);
  left->addWidget(buttons);
  layout->addLayout(left);
  picThumbBox_ = new ThumbSampleBox(model_, this);
  layout->addWidget(picThumbBox_, 0, Qt::AlignTop);

  connect(txtThumbnailWidth_, &QLineEdit::textEdited, this, [this](const QString& text) {
    model_.TypeWidth(text.toStdString());
    Load();
  });
  connect(txtThumbnailHeight_, &QLineEdit::textEdited, this, [this](const QString& text) {
    model_.TypeHeight(text.toStdString());
    Load();
  });
  connect(WWS_, &QScrollBar::valueChanged, this, [this](int value) {
    if (loading_) return;
    model_.ScrollWidth(value);
    Load();
  });
  connect(HHS_, &QScrollBar::valueChanged, this, [this](int value) {
    if (loading_) return;
    model_.ScrollHeight(value);
    Load();
  });
  connect(picThumbBox_, &ThumbSampleBox::resized, this, &ThumbnailOptionsDialog::Load);
  connect(group, &QButtonGroup::idClicked, this, [this](int id) { model_.optThumbnailQuality = id; });
  connect(chkThumbnailShowFilename_, &QCheckBox::clicked, this,
          [this](bool on) { model_.chkThumbnailShowFilename = on; });
  connect(chkThumbnailShowResolution_, &QCheckBox::clicked, this,
          [this](bool on) { model_.chkThumbnailShowResolution = on; });
  pThumbnailWorkspaceBackground_->picked = [this](int32_t colour) {
    model_.pThumbnailWorkspaceBackground = colour;
    picThumbBox_->update();
  };
  connect(buttons, &QDialogButtonBox::accepted, this, [this] {
    app_.OptionsDialogOK();
    accept();
  });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Load();
}

void ThumbnailOptionsDialog::Load() {
  loading_ = true;
  if (txtThumbnailWidth_->text() != QString::fromStdString(model_.txtThumbnailWidth))
    txtThumbnailWidth_->setText(QString::fromStdString(model_.txtThumbnailWidth));
  if (txtThumbnailHeight_->text() != QString::fromStdString(model_.txtThumbnailHeight))
    txtThumbnailHeight_->setText(QString::fromStdString(model_.txtThumbnailHeight));
  WWS_->setValue(model_.WWS);
  HHS_->setValue(model_.HHS);
  const int quality = std::clamp(model_.optThumbnailQuality, 0, 1);
  optThumbnailQuality_[quality]->setChecked(true);
  chkThumbnailShowFilename_->setChecked(model_.chkThumbnailShowFilename);
  chkThumbnailShowResolution_->setChecked(model_.chkThumbnailShowResolution);
  pThumbnailWorkspaceBackground_->SetColour(model_.pThumbnailWorkspaceBackground);
  picThumbBox_->update();
  loading_ = false;
}

// ---------------------------------------------------------------------------
// fKeyboard

KeyboardShortcutsDialog::KeyboardShortcutsDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("fKeyboard");
  setWindowTitle(ToQString(fKeyboard::kCaption));
  auto* layout = new QVBoxLayout(this);
  auto* text = new QPlainTextEdit(this);
  text->setObjectName("txtKeys");
  text->setReadOnly(true);
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  QFont font(ToQString(fKeyboard::kFont));
  if (!QFontDatabase::families().contains(font.family())) font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setStyleHint(QFont::TypeWriter);
  text->setFont(font);
  text->setPlainText(QString::fromStdString(fKeyboard::Text()));
  const QFontMetrics metrics(font);
  text->setMinimumSize(metrics.horizontalAdvance(QString(48, 'M')) + 30, metrics.lineSpacing() * 24);
  layout->addWidget(text, 1);
  auto* exit = new QPushButton(ToQString(fKeyboard::kExitCaption), this);
  exit->setObjectName("cExit");
  exit->setDefault(true);
  connect(exit, &QPushButton::clicked, this, &QDialog::accept);
  auto* row = new QHBoxLayout();
  row->addStretch(1);
  row->addWidget(exit);
  layout->addLayout(row);
}

// ---------------------------------------------------------------------------
// fProperties

ImagePropertiesDialog::ImagePropertiesDialog(const FileProperties& properties, QWidget* parent) : QDialog(parent) {
  setObjectName("fProperties");
  setWindowTitle("Image Properties");
  auto* layout = new QVBoxLayout(this);
  auto* form = new QFormLayout();
  for (const PropertyField& field : PropertyFields(properties)) {
    auto* value = new QLineEdit(QString::fromStdString(field.Value), this);
    value->setObjectName(QString::fromStdString(field.Control));
    value->setReadOnly(true);
    value->setFrame(false);
    value->setMinimumWidth(value->fontMetrics().horizontalAdvance(value->text()) + 16);
    value->setCursorPosition(0);
    form->addRow(QString::fromStdString(field.Label), value);
  }
  layout->addLayout(form);
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("cmdExit");
  ok->setDefault(true);
  connect(ok, &QPushButton::clicked, this, &QDialog::accept);
  auto* row = new QHBoxLayout();
  row->addStretch(1);
  row->addWidget(ok);
  layout->addLayout(row);
}

}  // namespace kelvane
