// The tool strip over an Application on the offscreen platform: the tool bar
// buttons and the frame they show, the slider trio's three controls and the
// record, the shared fields' two views, and the built-in stamps.
#include "shell/tool_strip.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSpinBox>
#include <QScrollBar>
#include <QSlider>
#include <QToolButton>

#include "boxes/scratch_ui.h"
#include "shell/application.h"
#include "test_support.h"

namespace kelvane {
namespace {

struct Strip {
  test::TempDir dir;
  ScratchUi ui;
  Application app{ui, dir.path()};
  std::unique_ptr<ToolStrip> strip;
  Strip() {
    app.Tools().InitPanels(dir.path());
    strip = std::make_unique<ToolStrip>(app, nullptr);
    strip->show();
    QApplication::processEvents();
  }
};

// Typing as the keyboard does: a key press per character into the box.
void Type(QLineEdit* box, const QString& text) {
  for (QChar c : text) {
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
    QApplication::sendEvent(box, &press);
  }
}

TEST(ToolStrip, ButtonsCarryTheToolAndShowItsFrame) {
  Strip s;
  EXPECT_EQ(s.strip->VisibleFrameName(), "");  // a fresh start shows no frame
  struct Case {
    const char* key;
    const char* frame;
    const char* tool;
  };
  for (const Case c : {Case{"Brush", "Brush", "Brush"}, Case{"Select", "Selection", "Select"},
                       Case{"Airbrush", "AirBrush", "Airbrush"}, Case{"Pencil", "AirBrush", "Pencil"},
                       Case{"Stamp", "Stamp", "Stamp"}, Case{"Gradient", "Gradient", "Gradient"},
                       Case{"Layers", "layer", "Layers"}}) {
    s.strip->Button(c.key)->click();
    SCOPED_TRACE(c.key);
    EXPECT_EQ(s.app.Record().CurrentTool.Get(), c.tool);
    EXPECT_EQ(s.strip->VisibleFrameName(), c.frame);  // "Pencil" keeps the frame shown
    // One button of the group is down.
    int down = 0;
    for (const ToolButtonInfo& b : ToolButtonTable()) down += s.strip->Button(b.Key)->isChecked() ? 1 : 0;
    EXPECT_EQ(down, 1);
    EXPECT_TRUE(s.strip->Button(c.key)->isChecked());
  }
  // A second click on the button that is down keeps it down.
  s.strip->Button("Layers")->click();
  EXPECT_TRUE(s.strip->Button("Layers")->isChecked());
  // Mouse scroll toggles; released, the tool is blank.
  s.strip->Button("MouseScroll")->click();
  EXPECT_EQ(s.app.Record().CurrentTool.Get(), "MouseScroll");
  EXPECT_FALSE(s.strip->Button("Layers")->isChecked());
  s.strip->Button("MouseScroll")->click();
  EXPECT_EQ(s.app.Record().CurrentTool.Get(), "");
  EXPECT_FALSE(s.strip->Button("MouseScroll")->isChecked());
  // Zoom buttons never stay down and leave the tool alone.
  s.strip->Button("Fill")->click();
  s.strip->Button("ZoomIn")->click();
  EXPECT_FALSE(s.strip->Button("ZoomIn")->isChecked());
  EXPECT_EQ(s.app.Record().CurrentTool.Get(), "Fill");
  EXPECT_EQ(s.strip->Button("Brush")->toolTip(), "Brush");
}

TEST(ToolStrip, TrioTextIsClampedAndTheFieldFollows) {
  Strip s;
  SliderTrioWidget* trio = s.strip->Trio("sbBrushSize");
  ASSERT_NE(trio, nullptr);
  struct Case {
    QString typed;
    QString shown;
    int16_t field;
  };
  for (const Case& c : {Case{"250", "100", 100}, Case{"37", "37", 37}, Case{"0", "1", 1}, Case{"-5", "5", 5},
                        Case{"7a", "7", 7}}) {
    trio->Text()->clear();
    Type(trio->Text(), c.typed);
    SCOPED_TRACE(c.typed.toStdString());
    EXPECT_EQ(trio->Text()->text(), c.shown);  // "-" and "a" do not pass the key filter
    EXPECT_EQ(s.app.Record().BrushSize, c.field);
  }
  // Emptying the box gives the minimum.
  trio->Text()->selectAll();
  QKeyEvent back(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier, QString(QChar(8)));
  QApplication::sendEvent(trio->Text(), &back);
  EXPECT_EQ(trio->Text()->text(), "1");
  EXPECT_EQ(s.app.Record().BrushSize, 1);
  // The slider writes text, bar and field; the bar moves the slider.
  trio->Slider()->setValue(64);
  EXPECT_EQ(trio->Text()->text(), "64");
  EXPECT_EQ(trio->Bar()->value(), 64);
  EXPECT_EQ(s.app.Record().BrushSize, 64);
  trio->Bar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);  // the up arrow
  EXPECT_EQ(trio->Slider()->value(), 65);
  EXPECT_EQ(s.app.Record().BrushSize, 65);
  EXPECT_TRUE(trio->Bar()->invertedAppearance());  // 100 at the top, 1 at the bottom
}

TEST(ToolStrip, SharedFieldsShowTheSameValueInBothFrames) {
  Strip s;
  s.strip->Trio("cSelectionPressure")->Slider()->setValue(42);
  EXPECT_EQ(s.app.Record().SelectionPressure, 42);
  EXPECT_EQ(s.strip->Trio("sbSelectionPressure")->Text()->text(), "42");
  EXPECT_EQ(s.strip->Trio("sbSelectionPressure")->Slider()->value(), 42);

  QComboBox* action = s.strip->Combo("cSelectionMove");
  ASSERT_EQ(action->count(), 2);
  EXPECT_EQ(action->itemText(1), "Move Content Only");
  QCheckBox* check = s.strip->Check("chkMoveSelection");
  for (int i = 0; i < 2; ++i) {
    const bool was = check->isChecked();
    EXPECT_EQ(action->currentIndex(), was ? 0 : 1);
    check->click();
    EXPECT_EQ(s.app.Record().SelectionMoveContent, was ? kFalse : kTrue);
    EXPECT_EQ(action->currentIndex(), was ? 1 : 0);
  }
  action->activated(1);
  EXPECT_EQ(s.app.Record().SelectionMoveContent, kFalse);
  EXPECT_FALSE(check->isChecked());

  QComboBox* mode = s.strip->Combo("cbBrushMode");
  ASSERT_EQ(mode->count(), 7);
  mode->activated(3);
  EXPECT_EQ(s.app.Record().BrushMode, 3);
  EXPECT_EQ(s.strip->Check("chkContinuous")->text(), "Trace");
}

TEST(ToolStrip, BuiltInStampsAreInkOnPaperAndTheFirstIsChosen) {
  Strip s;
  ASSERT_NE(s.app.StampBits(), nullptr);
  EXPECT_EQ(*s.app.StampBits(), BuiltInStamp(0));
  for (int i = 0; i < kBuiltInStampCount; ++i) {
    const Bits stamp = BuiltInStamp(i);
    ASSERT_FALSE(stamp.IsNull()) << i;
    EXPECT_EQ(stamp.Width(), kBuiltInStampSide);
    int ink = 0, paper = 0;
    for (int y = 0; y < stamp.Height(); ++y)
      for (int x = 0; x < stamp.Width(); ++x) {
        const uint8_t v = stamp.At(0, x, y);
        ink += v < 64 ? 1 : 0;
        paper += v == 255 ? 1 : 0;
      }
    // A shape of its own: neither a blot nor empty, and its corner is paper.
    EXPECT_GT(ink, kBuiltInStampSide * kBuiltInStampSide / 10) << i;
    EXPECT_GT(paper, kBuiltInStampSide * kBuiltInStampSide / 5) << i;
    EXPECT_EQ(stamp.At(0, 0, 0), 255) << i;
  }
  EXPECT_TRUE(BuiltInStamp(kBuiltInStampCount).IsNull());
  QComboBox* defined = s.strip->Combo("icStamp");
  ASSERT_EQ(defined->count(), kBuiltInStampCount);
  defined->activated(2);
  EXPECT_EQ(*s.app.StampBits(), BuiltInStamp(2));
}

// The text tool's page: typing sets the record's text and a new mask
// follows; the size box scales it.
TEST(ToolStrip, TextPageWritesTheRecordAndRedrawsTheMask) {
  Strip s;
  s.strip->ClickTool("Text");
  QWidget* page = s.strip->findChild<QWidget*>("TextTool");
  ASSERT_NE(page, nullptr);
  EXPECT_TRUE(page->isVisible());
  auto* text = page->findChild<QLineEdit*>("txtText");
  auto* size = page->findChild<QSpinBox*>("txtTextSize");
  ASSERT_TRUE(text && size);
  text->clear();
  Type(text, "Hi");
  EXPECT_EQ(QString::fromStdString(s.app.Record().TextToolText.Get()).trimmed(), "Hi");
  ASSERT_NE(s.app.TextMask(), nullptr);
  const int small = s.app.TextMask()->Height();
  size->setValue(40);
  EXPECT_EQ(s.app.Record().TextToolSize, 40);
  ASSERT_NE(s.app.TextMask(), nullptr);
  EXPECT_GT(s.app.TextMask()->Height(), small);
  // No text: nothing to stamp.
  text->selectAll();
  QKeyEvent erase(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier);
  QApplication::sendEvent(text, &erase);
  EXPECT_EQ(s.app.TextMask(), nullptr);
  s.strip->ClickTool("Brush");
  EXPECT_FALSE(page->isVisible());
}

}  // namespace
}  // namespace kelvane
