// The tool panel: number box clamps, combo captions, what user changes write
// and initialisers leave alone, tool bar clicks, frames, recent items, the
// stamp list pattern and the gradient preview ramp.
#include "shell/tool_panel.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "document/document.h"
#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using test::TempDir;

StartRecord Defaults() { return DefaultStartRecord("/opt/kelvane"); }

TEST(ToolPanelTrio, TextBoxClampsAndWritesTheField) {
  struct Case {
    const char* typed;
    const char* shown;
    int16_t field;
  };
  const Case cases[] = {
      {"250", "100", 100}, {"101", "100", 100}, {"100", "100", 100}, {"37", "37", 37},  {"", "1", 1},
      {"0", "1", 1},       {"abc", "1", 1},     {"-5", "1", 1},      {"2.5", "2.5", 2},  // pasted decimals
                                                                                         // round ties to even
  };
  for (const Case& c : cases) {
    StartRecord rec = Defaults();
    ToolPanel panel(rec);
    panel.Brush_Init();
    panel.TextChange("sbBrushSize", c.typed);
    const SliderTrio* trio = panel.Trio("sbBrushSize");
    ASSERT_NE(trio, nullptr);
    EXPECT_EQ(trio->Text, c.shown) << c.typed;
    EXPECT_EQ(rec.BrushSize, c.field) << c.typed;
    EXPECT_EQ(trio->Value, 25) << "the text box does not move the slider";
  }
}

TEST(ToolPanelTrio, SliderAndBarKeepTheThreeInStep) {
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  panel.SliderChange("sbFillTolerance", 60);
  const SliderTrio& t = *panel.Trio("sbFillTolerance");
  EXPECT_EQ(t.Value, 60);
  EXPECT_EQ(t.BarValue, 60);
  EXPECT_EQ(t.Text, "60");
  EXPECT_EQ(rec.FillTolerance, 60);

  panel.BarChange("sbFillTolerance", 0);  // past the bar's end
  EXPECT_EQ(t.Value, 1);
  EXPECT_EQ(rec.FillTolerance, 1);
  panel.BarChange("sbFillTolerance", 150);
  EXPECT_EQ(t.Text, "100");
  EXPECT_EQ(rec.FillTolerance, 100);

  // The two views of the selection pressure.
  panel.SliderChange("cSelectionPressure", 42);
  EXPECT_EQ(rec.SelectionPressure, 42);
  EXPECT_EQ(panel.Trio("sbSelectionPressure")->Text, "42");
}

TEST(ToolPanelTrio, EverySliderIsBoundToItsField) {
  const std::vector<std::pair<const char*, int16_t StartRecord::*>> rows = {
      {"sbSelectionPressure", &StartRecord::SelectionPressure},
      {"cSelectionPressure", &StartRecord::SelectionPressure},
      {"sbAirbrushSize", &StartRecord::AirbrushSize},
      {"sbAirbrushPressure", &StartRecord::AirbrushPressure},
      {"sbAirBrushQuantity", &StartRecord::AirbrushQuantity},
      {"sbAirbrushDefinition", &StartRecord::AirbrushDefinition},
      {"sbBrushSize", &StartRecord::BrushSize},
      {"sbBrushPressure", &StartRecord::BrushPressure},
      {"sbFillTolerance", &StartRecord::FillTolerance},
      {"sbFillPressure", &StartRecord::FillPressure},
      {"sbGradPressure", &StartRecord::GradientPressure},
      {"sbGradFrequency", &StartRecord::GradientFrequency},
      {"sbShapePressure", &StartRecord::ShapePressure},
      {"sbShapeSides", &StartRecord::ShapeSides},
      {"sbStampPressure", &StartRecord::StampPressure},
  };
  EXPECT_EQ(ToolSliderTable().size(), rows.size());
  for (const auto& [name, field] : rows) {
    StartRecord rec = Defaults();
    ToolPanel panel(rec);
    panel.SliderChange(name, 77);
    EXPECT_EQ(rec.*field, 77) << name;
  }
  EXPECT_EQ(FindToolSlider("sbShapeSides")->Caption, "Pologon sides");
  EXPECT_EQ(FindToolSlider("sbBrushPressure")->Caption, "Intensity");
}

TEST(ToolPanelCombos, CaptionsAsTheWindowShowsThem) {
  using L = std::vector<std::string>;
  const std::vector<std::pair<const char*, L>> rows = {
      {"cbSelectionMode", {"Add", "Subtract", "New"}},
      {"cbSelectionShape", {"Rectangle", "Ellipse", "Polygon/Free hand", "Pixel"}},
      {"cbBrushMode",
       {"Current color", "Soften", "Soften (Overlay)", "Sharpen", "Lighten", "Darken",
        "Current stamp (Tiled)"}},
      {"cbFillMode", {"Current color", "Current stamp"}},
      {"cbGradMode", {"Linear", "Circular"}},
      {"lstShape", {"Line", "Free hand", "Square", "Rectangle", "Circle", "Ellipse", "Polygon"}},
  };
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  for (const auto& [name, items] : rows) EXPECT_EQ(panel.Combo(name)->Items, items) << name;

  // cSelectionMove is filled by its initialiser, once however often it runs.
  EXPECT_TRUE(panel.Combo("cSelectionMove")->Items.empty());
  panel.SelectionMove_Init();
  panel.SelectionMove_Init();
  EXPECT_EQ(panel.Combo("cSelectionMove")->Items, (L{"Move Selection Only", "Move Content Only"}));
}

TEST(ToolPanelCombos, ChangesWriteTheirFields) {
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  panel.InitPanels({});
  panel.ComboClick("cbBrushMode", 6);
  panel.ComboClick("cbGradMode", 1);
  panel.ComboClick("lstShape", 7);  // past the list: ignored
  panel.ComboClick("lstShape", -1);
  EXPECT_EQ(rec.BrushMode, 6);
  EXPECT_EQ(rec.GradientShape[2], 1);
  EXPECT_EQ(rec.ShapeKind, 0);

  // Check boxes store -1 and 0; the move combo and check share one field.
  panel.CheckClick("chkContinuous", false);
  EXPECT_EQ(rec.BrushContinuous, 0);
  panel.CheckClick("chkClearBack", true);
  EXPECT_EQ(rec.StampClearBack, -1);
  // "Move selection" on is the canvas's "Move Selection Only" flag, which
  // the combo shows as its first item.
  panel.ComboClick("cSelectionMove", 1);  // "Move Content Only"
  EXPECT_EQ(rec.SelectionMoveContent, 0);
  EXPECT_FALSE(panel.Check("chkMoveSelection")->Value);
  panel.CheckClick("chkMoveSelection", true);
  EXPECT_EQ(rec.SelectionMoveContent, -1);
  EXPECT_EQ(panel.Combo("cSelectionMove")->ListIndex, 0);
  panel.ComboClick("cSelectionMove", 1);
  panel.ComboClick("cSelectionMove", 0);  // "Move Selection Only"
  EXPECT_EQ(rec.SelectionMoveContent, -1);
  EXPECT_TRUE(panel.Check("chkMoveSelection")->Value);
}

TEST(ToolPanelInit, InitialisersReadAndNeverWrite) {
  StartRecord rec = Defaults();
  rec.GradientColors = {0x0000FF, 0x00FF00};
  rec.ShapeKind = 9;  // outside the list
  const StartRecord before = rec;
  ToolPanel panel(rec);
  panel.InitPanels({});
  EXPECT_EQ(rec, before);
  EXPECT_EQ(panel.Combo("cbSelectionMode")->ListIndex, 2);  // "New"
  EXPECT_EQ(panel.Combo("cSelectionMove")->ListIndex, 0);    // true: "Move Selection Only"
  EXPECT_EQ(panel.Combo("lstShape")->ListIndex, -1);
  EXPECT_EQ(panel.Trio("sbAirbrushSize")->Text, "75");
  EXPECT_EQ(panel.Trio("sbShapeSides")->BarValue, 3);
  EXPECT_TRUE(panel.Check("chkStampMask")->Value);
  EXPECT_FALSE(panel.Check("chkUseMaskColor")->Value);
  EXPECT_EQ(panel.GradColor(1), 0x00FF00);

  // A zero-filled record: the boxes show the minimum, the record stays 0.
  StartRecord zero{};
  ToolPanel zeroPanel(zero);
  zeroPanel.InitPanels({});
  EXPECT_EQ(zeroPanel.Trio("sbBrushSize")->Text, "1");
  EXPECT_EQ(zero, StartRecord{});
}

TEST(ToolPanelInit, StoredToolDoesNotPickPanelOrButton) {
  StartRecord rec = Defaults();
  rec.CurrentTool.Set("Brush");
  ToolPanel panel(rec);
  panel.InitPanels({});
  EXPECT_EQ(panel.CurrentTool(), "Brush");
  EXPECT_EQ(panel.VisibleFrame(), "");
  for (int32_t i = 1; i <= kToolButtonCount; ++i) EXPECT_FALSE(panel.ButtonPressed(i)) << i;
}

// A document that logs what the tool bar asks of it.
struct FakeDoc final : ToolDocumentView {
  std::vector<std::string> calls;
  int32_t zoom = 1;
  bool scroll = true;
  std::string status;
  void ShowPlainView() override { calls.push_back("plain"); }
  void SetMouseScroll(bool on) override { scroll = on; }
  void ZoomIn() override { zoom = std::min(zoom + 1, 15); }
  void ZoomOut() override { zoom = std::max(zoom - 1, 1); }
  int32_t ZoomFactor() const override { return zoom; }
  void SetZoomStatus(std::string_view text) override { status = text; }
};

TEST(ToolPanelToolBar, ClickPerKey) {
  struct Case {
    const char* key;
    bool down;
    const char* tool;   // CurrentTool after; "=" unchanged ("Old")
    bool scroll;        // the document's MouseScroll after (it starts on)
    const char* frame;  // the frame after; "=" unchanged ("Fill")
    const char* status;
  };
  const Case cases[] = {
      {"Pencil", true, "Pencil", false, "=", ""},
      {"ZoomIn", true, "=", true, "=", "4 : 1"},
      {"ZoomOut", true, "=", true, "=", "2 : 1"},
      {"MouseScroll", true, "MouseScroll", true, "=", ""},
      {"MouseScroll", false, "", false, "=", ""},
      {"MM", true, "MouseScroll", true, "=", ""},
      {"GetColor", true, "GetColor", false, "=", ""},
      {"Text", true, "Text", false, "=", ""},
      {"SelectionMove", true, "SelectionMove", false, "SelectionMove", ""},
      {"Select", true, "Select", false, "Selection", ""},
      {"Brush", true, "Brush", false, "Brush", ""},
      {"Airbrush", true, "Airbrush", false, "AirBrush", ""},
      {"Stamp", true, "Stamp", false, "Stamp", ""},
      {"Gradient", true, "Gradient", false, "Gradient", ""},
      {"Shape", true, "Shape", false, "Shape", ""},
      {"Layers", true, "Layers", false, "layer", ""},
  };
  for (const Case& c : cases) {
    StartRecord rec = Defaults();
    rec.CurrentTool.Set("Old");
    ToolPanel panel(rec);
    panel.Tool_Frame("Fill");
    int hooks = 0;
    FakeDoc doc;
    doc.zoom = 3;
    panel.BeforeToolClick = [&] {
      ++hooks;
      EXPECT_EQ(doc.calls, std::vector<std::string>{"plain"});
    };
    panel.tbTool_ButtonClick(c.key, c.down, &doc);
    const std::string tool = std::string(c.tool) == "=" ? "Old" : c.tool;
    const std::string frame = std::string(c.frame) == "=" ? "Fill" : c.frame;
    EXPECT_EQ(panel.CurrentTool(), tool) << c.key;
    EXPECT_EQ(doc.scroll, c.scroll) << c.key;
    EXPECT_EQ(panel.VisibleFrame(), frame) << c.key;
    EXPECT_EQ(doc.status, c.status) << c.key;
    EXPECT_EQ(hooks, 1) << c.key;
  }
}

TEST(ToolPanelToolBar, WithoutDocumentAndButtons) {
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  int hooks = 0;
  panel.BeforeToolClick = [&] { ++hooks; };
  panel.tbTool_ButtonClick("Fill", true, nullptr);
  panel.tbTool_ButtonClick("ZoomIn", true, nullptr);
  EXPECT_EQ(hooks, 0);
  EXPECT_EQ(panel.CurrentTool(), "Fill");
  EXPECT_EQ(panel.VisibleFrame(), "Fill");

  panel.DisableTools(3);
  for (int32_t i = 1; i <= kToolButtonCount; ++i) EXPECT_EQ(panel.ButtonPressed(i), i == 3) << i;
  panel.EnableMouseScrolling();
  for (int32_t i = 1; i <= kToolButtonCount; ++i) EXPECT_EQ(panel.ButtonPressed(i), i == 14) << i;
  EXPECT_EQ(ToolButtonIndex("MouseScroll"), 14);
  EXPECT_EQ(panel.CurrentTool(), "MouseScroll");
  EXPECT_EQ(rec.CurrentTool.bytes[11], ' ');  // padded to 25
  panel.DisableTools();
  EXPECT_FALSE(panel.ButtonPressed(14));
}

TEST(ToolPanelToolBar, DocumentViewOverADocument) {
  TempDir dir;
  UndoGlobals globals;
  Document doc(globals, dir.path());
  ASSERT_TRUE(doc.CreateBlank(8, 8));
  doc.SelectTab(ViewTab::Layers);
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  DocumentToolView view(doc);
  panel.tbTool_ButtonClick("ZoomIn", true, &view);
  EXPECT_EQ(doc.ActiveTab(), ViewTab::Original);
  EXPECT_EQ(doc.ZoomFactor(), 2);
  EXPECT_EQ(doc.ZoomPanel(), "2 : 1");
  panel.tbTool_ButtonClick("MouseScroll", true, &view);
  EXPECT_TRUE(doc.MouseScroll());
  panel.tbTool_ButtonClick("Brush", true, &view);
  EXPECT_FALSE(doc.MouseScroll());
}

TEST(ToolPanelFrames, OnlyTheNamedFrameShows) {
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  const char* frames[] = {"SelectionMove", "Selection", "AirBrush", "Brush", "Stamp",
                          "Fill",          "Shape",     "Gradient", "layer", "StatusStrip"};
  for (const char* name : frames) {
    panel.Tool_Frame(name);
    for (const char* other : frames) EXPECT_EQ(panel.FrameVisible(other), std::string(name) == other) << name;
  }
  panel.Tool_Frame("Airbrush");  // names compare exactly
  EXPECT_EQ(panel.VisibleFrame(), "");
}

TEST(ToolPanelRecent, CleanStartAndNames) {
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  panel.FillRecent(nullptr);
  for (const RecentItem& item : panel.RecentItems()) {
    EXPECT_EQ(item.Caption, "Empty");
    EXPECT_FALSE(item.Enabled);
  }
  EXPECT_FALSE(panel.RecentMenuEnabled());

  rec.RecentFiles[0].Set("/pics/a.png");
  rec.RecentFiles[2].Set("  /pics/c.png");
  std::vector<int32_t> widths;
  panel.FillRecent([&](std::string_view text, int32_t px) {
    widths.push_back(px);
    return "<" + std::string(text) + ">";
  });
  EXPECT_EQ(panel.RecentItems()[0].Caption, "</pics/a.png>");
  EXPECT_TRUE(panel.RecentItems()[0].Enabled);
  EXPECT_EQ(panel.RecentItems()[1].Caption, "Empty");
  EXPECT_EQ(panel.RecentItems()[2].Caption, "</pics/c.png>");
  EXPECT_EQ(widths, (std::vector<int32_t>{400, 400}));
  EXPECT_TRUE(panel.RecentMenuEnabled());

  rec.RecentFiles[0].Set("");
  panel.FillRecent(nullptr);
  EXPECT_FALSE(panel.RecentMenuEnabled());  // only the first name counts
}

TEST(ToolPanelStamps, PatternListsAsAFileListDoes) {
  TempDir dir;
  const fs::path stamps = dir.path() / "Stamps";
  fs::create_directories(stamps / "folder.bmp");
  for (const char* name : {"b.bmp", "A.BMP", "c.gif", "d.ico", "x.gif,y.ico", ".hidden.bmp", "e.bmpx"})
    std::ofstream(stamps / name) << "x";
  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  panel.Stamp_Init(dir.path());
  EXPECT_EQ(panel.StampFiles(), (std::vector<std::string>{"A.BMP", "b.bmp", "x.gif,y.ico"}));
  EXPECT_EQ(panel.StampFilePath(1), stamps / "b.bmp");
  EXPECT_EQ(panel.StampFilePath(3), fs::path());

  TempDir empty;  // no Stamps folder
  panel.Stamp_Init(empty.path());
  EXPECT_TRUE(panel.StampFiles().empty());
  EXPECT_TRUE(FileListMatches("*.png;?.jpg", "q.JPG"));
  EXPECT_FALSE(FileListMatches("*.png;?.jpg", "qq.jpg"));
}

TEST(ToolPanelGradient, RampMixesPerColumn) {
  // Red 0 -> 255 over three columns: 127.5 rounds to the even 128.
  EXPECT_EQ(GradientRamp(0x000000, 0x0000FF, 3), (std::vector<int32_t>{0x000000, 0x000080, 0x0000FF}));
  // Blue 0 -> 10 and green 10 -> 0 over five: 2.5 -> 2, 7.5 -> 8.
  EXPECT_EQ(GradientRamp(0x000A00, 0x0A0000, 5),
            (std::vector<int32_t>{0x000A00, 0x020800, 0x050500, 0x080200, 0x0A0000}));
  EXPECT_EQ(GradientRamp(0x123456, 0, 1), std::vector<int32_t>{0x123456});
  EXPECT_TRUE(GradientRamp(1, 2, 0).empty());

  StartRecord rec = Defaults();
  ToolPanel panel(rec);
  panel.Gradient_init();
  panel.SetGradientPreviewWidth(2);
  panel.GradColorChosen(1, 0x00FF00);
  panel.GradColorChosen(0, -1);  // picker cancelled
  EXPECT_EQ(rec.GradientColors[1], 0x00FF00);
  EXPECT_EQ(panel.GradientPreview(), (std::vector<int32_t>{0xFFFFFF, 0x00FF00}));
}

}  // namespace
}  // namespace kelvane
