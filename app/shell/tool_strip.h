// ToolStrip: the left strip of the main window: the tool bar tbTool and,
// below it, the ten stacked tool frames, built from the tool panel's tables
// and bound to the ToolPanel of the Application.
//
// Contract:
//  - Buttons: one per row of ToolButtonTable, in its order, with a drawn icon
//    and the key as its tool tip. A click goes to ToolPanel::tbTool_ButtonClick
//    with the state the button shows after it: the tool buttons form a group
//    (the one clicked goes down, the others up; a click on the one already
//    down keeps it down), "MouseScroll" toggles, "ZoomIn" and "ZoomOut" never
//    stay down. Afterwards every button shows ButtonPressed and the stack
//    shows the panel's VisibleFrame. The document steps act on the window
//    the lookup gives (SetActiveWindowLookup), else on the active document.
//  - Frames: one page per ToolFrameTable row. Slider trios, combos and check
//    boxes come from the tables; a user change goes to the panel's by-name
//    method, and afterwards every control shows the panel's state again, so
//    the two views of a shared field (cSelectionMove and chkMoveSelection,
//    cSelectionPressure and sbSelectionPressure) agree. Loading controls
//    from the model never writes the record.
//  - Slider trio (SliderTrioWidget): QSlider 1..100, a text box that takes
//    only digits and backspace (KeyNum), and a vertical bar drawn with 100
//    at the top and 1 at the bottom (large step 10, small step 1).
//  - Stamps: icStamp lists the nine built-in stamps (BuiltInStamp), cbStamps
//    the panel's StampFiles; choosing either gives its picture to
//    Application::SetStampBits and shows it in iStamp. When the Application
//    has no stamp yet, the first built-in stamp is chosen at construction.
//  - Nothing here lets an exception out of a handler.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "document/bits.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QScrollBar;
class QSlider;
class QStackedWidget;
class QFontComboBox;
class QSpinBox;
class QToolButton;
class QVBoxLayout;

namespace kelvane {

class Application;
class DocumentWindow;
struct ToolSliderInfo;

// Drawn pictures of the tool strip.
QIcon ToolIcon(std::string_view key);
inline constexpr int kBuiltInStampSide = 48;
// Built-in stamp index (0..8): star, heart, circle, arrow, diamond, moon,
// cross, flower, lightning; black on white, kBuiltInStampSide square. Null
// for another index.
Bits BuiltInStamp(int index);
QString BuiltInStampName(int index);

// The slider trio as one control: the slider, its text box (UDT) and its
// bar (UD).
class SliderTrioWidget : public QWidget {
  Q_OBJECT

 public:
  SliderTrioWidget(const QString& name, QWidget* parent);
  QSlider* Slider() const { return slider_; }
  QLineEdit* Text() const { return text_; }
  QScrollBar* Bar() const { return bar_; }
  // Shows the three values without raising the change signals.
  void Show(int sliderValue, int barValue, const QString& text);

 signals:
  void sliderChanged(int value);
  void barChanged(int value);
  void textEdited(const QString& text);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QSlider* slider_ = nullptr;
  QLineEdit* text_ = nullptr;
  QScrollBar* bar_ = nullptr;
  bool loading_ = false;
};

class ToolStrip : public QWidget {
  Q_OBJECT

 public:
  ToolStrip(Application& app, QWidget* parent);

  // The window whose document the tool bar's steps act on (zoom, plain view,
  // mouse scroll); null or unset: the active document without a window.
  void SetActiveWindowLookup(std::function<DocumentWindow*()> lookup) { activeWindow_ = std::move(lookup); }
  // Every control shows the panel's state again (after the initialisers).
  void LoadFromModel();

  // A click on the tool bar button of that key (as the user's click).
  void ClickTool(std::string_view key);

  // The controls, for the main window and the tests; null for unknown names.
  QToolButton* Button(std::string_view key) const;
  QWidget* Frame(std::string_view name) const;
  // The page shown, "" when none.
  QString VisibleFrameName() const;
  SliderTrioWidget* Trio(std::string_view name) const;
  QComboBox* Combo(std::string_view name) const;
  QCheckBox* Check(std::string_view name) const;
  QLabel* StampPreview() const { return iStamp_; }

 signals:
  // After a tool bar click was carried out.
  void toolClicked(const QString& key);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void BuildToolBar(QVBoxLayout* layout);
  void BuildFrames(QVBoxLayout* layout);
  QWidget* BuildTextPage();
  void TextSettingsChanged();
  QWidget* BuildFrame(std::string_view name);
  void AddStampControls(QWidget* page, QVBoxLayout* layout);
  void AddGradientControls(QWidget* page, QVBoxLayout* layout, std::string_view control);
  void OnToolButton(std::string_view key);
  void ShowPanelState();
  void ShowStamp(const Bits& bits);
  void ChooseBuiltInStamp(int index);
  void ChooseStampFile(int index);
  void PaintColourBox(QToolButton* box, int32_t colour);
  void RedrawGradientPreview();

  Application& app_;
  std::function<DocumentWindow*()> activeWindow_;
  std::map<std::string, QToolButton*, std::less<>> buttons_;
  std::map<std::string, QWidget*, std::less<>> frames_;
  std::map<std::string, SliderTrioWidget*, std::less<>> trios_;
  std::map<std::string, QComboBox*, std::less<>> combos_;
  std::map<std::string, QCheckBox*, std::less<>> checks_;
  QStackedWidget* stack_ = nullptr;
  QWidget* emptyPage_ = nullptr;
  // The text tool's own page: its text, font and size, kept in the record.
  QWidget* textPage_ = nullptr;
  QLineEdit* txtText_ = nullptr;
  QFontComboBox* cbTextFont_ = nullptr;
  QSpinBox* txtTextSize_ = nullptr;
  QToolButton* gradColor_[2] = {nullptr, nullptr};
  QLabel* iGrad_ = nullptr;
  QToolButton* maskColor_ = nullptr;
  QComboBox* icStamp_ = nullptr;
  QComboBox* cbStamps_ = nullptr;
  QLabel* iStamp_ = nullptr;
  bool loading_ = false;
};

// Screenshot hook: every tool frame shown in turn in a ToolStrip over a
// scratch Application, saved as toolpanel-<frame>.png into dir (created).
// Returns the number of files written.
int CaptureToolPanels(const QString& dir);

}  // namespace kelvane
