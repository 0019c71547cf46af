#include "dialogs/filter_dialog.h"
#include "boxes/picture_convert.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>

#include "dialogs/dialog_support.h"
#include "filters/filter_dialog_model.h"
#include "shell/application.h"
#include "shell/qt_user_interface.h"

namespace kelvane {

namespace {

inline constexpr QSize kThumbBox(kThumbMaxWidth, kThumbMaxHeight);
// The bank sources in the order shown, as channel numbers of the array.
constexpr std::array<int32_t, 3> kBankSources = {2, 1, 0};
constexpr std::array<const char*, 3> kChannelNames = {"Red", "Green", "Blue"};

}  // namespace

FilterSettingsDialog::FilterSettingsDialog(Application& app, FilterDialogModel& model, QWidget* parent)
    : QDialog(parent), app_(app), model_(model) {
  setObjectName("fFilter");
  auto* layout = new QVBoxLayout(this);

  auto* pictures = new QHBoxLayout();
  iSrc_ = new PicturePreview("iSrc", kThumbBox, this);
  iSrc_->setToolTip("Original");
  iSrc_->installEventFilter(this);
  iDst_ = new PicturePreview("iDst", kThumbBox, this);
  iDst_->setToolTip("Preview");
  pictures->addStretch(1);
  pictures->addWidget(iSrc_);
  pictures->addWidget(iDst_);
  pictures->addStretch(1);
  layout->addLayout(pictures);

  for (int i = 0; i < kDialogSlots; ++i) {
    auto* frame = new QGroupBox(this);
    frame->setObjectName(QString("frFilter%1").arg(i));
    auto* row = new QGridLayout(frame);
    row->setContentsMargins(8, 4, 8, 4);
    lblFInfo_[i] = new QLabel(frame);
    lblFInfo_[i]->setObjectName(QString("lblFInfo%1").arg(i));
    lblFilterV_[i] = new QLabel(frame);
    lblFilterV_[i]->setObjectName(QString("lblFilterV%1").arg(i));
    lblFilterV_[i]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    lblFilterV_[i]->setMinimumWidth(lblFilterV_[i]->fontMetrics().horizontalAdvance("-0000") + 4);
    sbFilter_[i] = new QSlider(Qt::Horizontal, frame);
    sbFilter_[i]->setObjectName(QString("sbFilter%1").arg(i));
    sbFilter_[i]->setMinimumWidth(260);
    row->addWidget(lblFInfo_[i], 0, 0);
    row->addWidget(lblFilterV_[i], 0, 1);
    row->addWidget(sbFilter_[i], 1, 0, 1, 2);
    frFilter_[i] = frame;
    layout->addWidget(frame);
    connect(sbFilter_[i], &QSlider::valueChanged, this, [this, i](int value) {
      if (loading_) return;
      model_.SliderChanged(i, value);
      Load();
    });
  }

  frOption_ = new QGroupBox(this);
  frOption_->setObjectName("frOption");
  auto* optionLayout = new QHBoxLayout(frOption_);
  chkOption_ = new QCheckBox(frOption_);
  chkOption_->setObjectName("chkOption");
  optionLayout->addWidget(chkOption_);
  layout->addWidget(frOption_);
  connect(chkOption_, &QCheckBox::clicked, this, [this](bool on) {
    model_.chkOption = on;
    model_.ControlsChanged();
    Load();
  });

  frColor_ = new QGroupBox("Colors", this);
  frColor_->setObjectName("frColor");
  auto* colorLayout = new QHBoxLayout(frColor_);
  for (int i = 0; i < 2; ++i) {
    Col_[i] = new ColourSwatch(i == 0 ? "Col0" : "Col1", model_.ColColor[static_cast<size_t>(i)], frColor_);
    colorLayout->addWidget(Col_[i]);
    Col_[i]->picked = [this, i](int32_t colour) {
      model_.ColColor[static_cast<size_t>(i)] = colour;
      model_.ControlsChanged();
      Load();
    };
  }
  colorLayout->addStretch(1);
  layout->addWidget(frColor_);

  frBanks_ = new QGroupBox("Channels", this);
  frBanks_->setObjectName("frBanks");
  auto* banks = new QGridLayout(frBanks_);
  banks->addWidget(new QLabel("Takes", frBanks_), 0, 1, 1, 3, Qt::AlignCenter);
  for (int channel = 0; channel < 3; ++channel) {
    banks->addWidget(new QLabel(kChannelNames[static_cast<size_t>(channel)], frBanks_), channel + 1, 0);
    auto* group = new QButtonGroup(frBanks_);
    for (int s = 0; s < 3; ++s) {
      auto* option = new QRadioButton(kChannelNames[static_cast<size_t>(s)], frBanks_);
      option->setObjectName(QString("opt%1Channel%2").arg(QChar("RGB"[channel])).arg(s));
      group->addButton(option, s);
      banks->addWidget(option, channel + 1, s + 1);
      bankSource_[static_cast<size_t>(channel)][static_cast<size_t>(s)] = option;
    }
    connect(group, &QButtonGroup::idClicked, this, [this, channel](int s) {
      model_.ChooseBankSource(channel, kBankSources[static_cast<size_t>(s)]);
      Load();
    });
    chkInvt_[channel] = new QCheckBox("Invert", frBanks_);
    chkInvt_[channel]->setObjectName(QString("chkInvt%1").arg(channel));
    chkKill_[channel] = new QCheckBox("Kill", frBanks_);
    chkKill_[channel]->setObjectName(QString("chkKill%1").arg(channel));
    banks->addWidget(chkInvt_[channel], channel + 1, 4);
    banks->addWidget(chkKill_[channel], channel + 1, 5);
    connect(chkInvt_[channel], &QCheckBox::clicked, this, [this, channel](bool on) {
      model_.chkInvt[static_cast<size_t>(channel)] = on;
      model_.ControlsChanged();
      Load();
    });
    connect(chkKill_[channel], &QCheckBox::clicked, this, [this, channel](bool on) {
      model_.chkKill[static_cast<size_t>(channel)] = on;
      model_.ControlsChanged();
      Load();
    });
  }
  layout->addWidget(frBanks_);

  FrmGlass_ = new QGroupBox("Glass", this);
  FrmGlass_->setObjectName("FrmGlass");
  auto* glass = new QGridLayout(FrmGlass_);
  auto* glassGroup = new QButtonGroup(FrmGlass_);
  for (int i = 0; i < 4; ++i) {
    oo_[i] = new QRadioButton(GlassChoices()[static_cast<size_t>(i)].caption, FrmGlass_);
    oo_[i]->setObjectName(QString("oo%1").arg(i));
    glassGroup->addButton(oo_[i], i);
    glass->addWidget(oo_[i], i / 2, i % 2);
  }
  cbo_ = new QComboBox(FrmGlass_);
  cbo_->setObjectName("cbo");
  glass->addWidget(cbo_, 0, 2, 2, 1, Qt::AlignVCenter);
  connect(glassGroup, &QButtonGroup::idClicked, this, [this](int i) {
    model_.ChooseGlass(i);
    Load();
  });
  connect(cbo_, &QComboBox::activated, this, [this](int item) {
    model_.ChooseGlassLevel(item);
    Load();
  });
  layout->addWidget(FrmGlass_);

  FrmCurtain_ = new QGroupBox("Curtain", this);
  FrmCurtain_->setObjectName("FrmCurtain");
  auto* curtain = new QHBoxLayout(FrmCurtain_);
  auto* curtainGroup = new QButtonGroup(FrmCurtain_);
  for (int i = 0; i < 4; ++i) {
    Curt_[i] = new QRadioButton(CurtainChoices()[static_cast<size_t>(i)], FrmCurtain_);
    Curt_[i]->setObjectName(QString("Curt%1").arg(i));
    curtainGroup->addButton(Curt_[i], i);
    curtain->addWidget(Curt_[i]);
  }
  connect(curtainGroup, &QButtonGroup::idClicked, this, [this](int i) {
    model_.ChooseCurtain(i);
    Load();
  });
  layout->addWidget(FrmCurtain_);

  auto* buttons = MakeOkCancel(this);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("CmdOK");
  cmdPreview_ = buttons->addButton(ToQString(kRealTimeCaption), QDialogButtonBox::ActionRole);
  cmdPreview_->setObjectName("cmdPreview");
  cmdPreview_->setAutoDefault(false);
  layout->addWidget(buttons);
  connect(cmdPreview_, &QPushButton::clicked, this, [this, buttons] {
    model_.RealTime();
    Load();
    buttons->button(QDialogButtonBox::Ok)->setFocus();
  });
  connect(buttons, &QDialogButtonBox::accepted, this, &FilterSettingsDialog::Ok);
  connect(buttons, &QDialogButtonBox::rejected, this, &FilterSettingsDialog::reject);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  Load();
}

void FilterSettingsDialog::Load() {
  loading_ = true;
  setWindowTitle(QString::fromStdString(model_.Title));
  for (int i = 0; i < kDialogSlots; ++i) {
    const FilterDialogModel::Slider& s = model_.sbFilter[static_cast<size_t>(i)];
    frFilter_[i]->setVisible(s.Visible);
    lblFInfo_[i]->setText(QString::fromStdString(s.Caption));
    sbFilter_[i]->setRange(std::min(s.Min, s.Max), std::max(s.Min, s.Max));
    sbFilter_[i]->setPageStep(std::max(1, (std::max(s.Min, s.Max) - std::min(s.Min, s.Max)) / 10));
    sbFilter_[i]->setValue(s.Value);
    lblFilterV_[i]->setText(QString::fromStdString(s.ValueText.empty() ? std::to_string(s.Value) : s.ValueText));
  }
  frOption_->setVisible(model_.frOptionVisible);
  chkOption_->setText(QString::fromStdString(model_.lblOption));
  chkOption_->setChecked(model_.chkOption);
  frColor_->setVisible(model_.frColorVisible);
  for (int i = 0; i < 2; ++i) {
    Col_[i]->setVisible(model_.ColVisible[static_cast<size_t>(i)]);
    Col_[i]->SetColour(model_.ColColor[static_cast<size_t>(i)]);
  }
  frBanks_->setVisible(model_.frBanksVisible);
  for (int channel = 0; channel < 3; ++channel) {
    for (int s = 0; s < 3; ++s)
      if (model_.ParamValue[static_cast<size_t>(channel)] == kBankSources[static_cast<size_t>(s)])
        bankSource_[static_cast<size_t>(channel)][static_cast<size_t>(s)]->setChecked(true);
    chkInvt_[channel]->setChecked(model_.chkInvt[static_cast<size_t>(channel)]);
    chkKill_[channel]->setChecked(model_.chkKill[static_cast<size_t>(channel)]);
  }
  FrmGlass_->setVisible(model_.FrmGlassVisible);
  if (model_.ooIndex >= 0 && model_.ooIndex < 4) oo_[model_.ooIndex]->setChecked(true);
  {
    const QSignalBlocker block(cbo_);
    cbo_->clear();
    for (const std::string& item : model_.cboItems) cbo_->addItem(QString::fromStdString(item));
    cbo_->setCurrentIndex(model_.cboIndex);
  }
  FrmCurtain_->setVisible(model_.FrmCurtainVisible);
  if (model_.CurtIndex >= 0 && model_.CurtIndex < 4) Curt_[model_.CurtIndex]->setChecked(true);
  cmdPreview_->setEnabled(!model_.RealTimeDone);
  iSrc_->setCursor(model_.PickEnabled ? Qt::CrossCursor : Qt::ArrowCursor);
  DrawPreviews();
  loading_ = false;
}

void FilterSettingsDialog::DrawPreviews() {
  QImage source = ImageFromBits(model_.ThumbBits);
  if (!source.isNull() && model_.PickEnabled && model_.PickMarked) {
    QPainter p(&source);
    const QPoint at(static_cast<int>(model_.PickX * model_.ThumbWidth),
                    static_cast<int>(model_.PickY * model_.ThumbHeight));
    p.setPen(QPen(Qt::white, 3));
    p.drawEllipse(at, 4, 4);
    p.setPen(QPen(Qt::black, 1));
    p.drawEllipse(at, 4, 4);
  }
  iSrc_->SetImage(source);
  iDst_->SetPicture(model_.PreviewBits);
}

bool FilterSettingsDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == iSrc_ && model_.PickEnabled &&
      (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseMove)) {
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->buttons() & Qt::LeftButton) {
      // The thumbnail stands centred in its frame.
      const QPoint origin((iSrc_->width() - model_.ThumbWidth) / 2, (iSrc_->height() - model_.ThumbHeight) / 2);
      const QPoint at = mouse->position().toPoint() - origin;
      model_.PickAt(at.x(), at.y());
      Load();
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

void FilterSettingsDialog::Ok() {
  model_.Ok();
  if (model_.Closed) {
    accept();
  } else {
    Load();
  }
}

void FilterSettingsDialog::reject() {
  if (!model_.Closed) model_.Cancel();
  QDialog::reject();
}

}  // namespace kelvane
