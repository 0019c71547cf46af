// fFilter on screen: the one dialog of the parameterised filters, bound to
// the Application's FilterDialog model. The source thumbnail iSrc and the
// live preview iDst stand side by side above the parameter frames.
//
// Contract:
//  - The dialog draws everything from the model: the title, the visible
//    sliders with their captions, ranges and value texts, the option, the
//    colour boxes, the banks, glass and curtain frames. Each control change
//    goes to the model's event method, which reruns the preview; the dialog
//    then redraws iDst from PreviewBits.
//  - With picking enabled, a left press or drag on iSrc picks the thumbnail
//    pixel under it (PickAt) and the mark is drawn there.
//  - "Real Time" runs the filter on the document (RealTime); OK runs Ok and
//    closes when the model has closed; Cancel, Escape and the close box run
//    Cancel, which puts the document's picture back.
#pragma once

#include <QDialog>
#include <array>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QSlider;

namespace kelvane {

class Application;
class ColourSwatch;
class FilterDialogModel;
class PicturePreview;

class FilterSettingsDialog : public QDialog {
  Q_OBJECT

 public:
  FilterSettingsDialog(Application& app, FilterDialogModel& model, QWidget* parent);

  QSlider* Slider(int slot) const { return sbFilter_[static_cast<size_t>(slot)]; }
  QPushButton* RealTimeButton() const { return cmdPreview_; }
  PicturePreview* Source() const { return iSrc_; }
  PicturePreview* Preview() const { return iDst_; }

 public slots:
  void reject() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Load();
  void DrawPreviews();
  void Ok();

  Application& app_;
  FilterDialogModel& model_;
  PicturePreview* iSrc_ = nullptr;
  PicturePreview* iDst_ = nullptr;
  std::array<QGroupBox*, 3> frFilter_{};
  std::array<QLabel*, 3> lblFInfo_{};
  std::array<QSlider*, 3> sbFilter_{};
  std::array<QLabel*, 3> lblFilterV_{};
  QGroupBox* frOption_ = nullptr;
  QCheckBox* chkOption_ = nullptr;
  QGroupBox* frColor_ = nullptr;
  std::array<ColourSwatch*, 2> Col_{};
  QGroupBox* frBanks_ = nullptr;
  std::array<std::array<QRadioButton*, 3>, 3> bankSource_{};  // [channel][source]
  std::array<QCheckBox*, 3> chkInvt_{};
  std::array<QCheckBox*, 3> chkKill_{};
  QGroupBox* FrmGlass_ = nullptr;
  std::array<QRadioButton*, 4> oo_{};
  QComboBox* cbo_ = nullptr;
  QGroupBox* FrmCurtain_ = nullptr;
  std::array<QRadioButton*, 4> Curt_{};
  QPushButton* cmdPreview_ = nullptr;
  bool loading_ = false;
};

}  // namespace kelvane
