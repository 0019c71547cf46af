// The menu arrays: captions, separators, routes and numbers checked against
// the menu bar as it is drawn, and a sweep that every command word a menu
// sends is one the dispatcher knows.
#include "shell/menu_tables.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "shell/filter_commands.h"

namespace kelvane {
namespace {

const MenuItem& Item(std::string_view array, int32_t index) {
  const MenuArray* a = FindMenuArray(array);
  EXPECT_NE(a, nullptr) << array;
  const MenuItem* item = a ? FindMenuItem(*a, index) : nullptr;
  EXPECT_NE(item, nullptr) << array << "(" << index << ")";
  static const MenuItem none{-1, "", MenuRoute::MenuExec, ""};
  return item ? *item : none;
}

TEST(MenuTables, SpotChecksOfCaptionsWordsAndRoutes) {
  const struct {
    const char* array;
    int32_t index;
    const char* caption;
    MenuRoute route;
    const char* target;
  } cases[] = {
      {"FILE", 2, "From Clipboard", MenuRoute::MenuExec, "CREATEFROMCLIPBOARD"},
      {"FILE", 7, "Save Enhanced As", MenuRoute::MenuStatic, "SAVEAS"},
      {"FILE", 20, "Batch Convert...", MenuRoute::ShowForm, "fBatchConvert"},
      {"PRINTER", 0, "Printer Set up", MenuRoute::MenuStatic, "PRINTERSETUP"},
      {"PRINTER", 1, "Print", MenuRoute::MenuExec, "PRINT"},
      {"EDIT", 19, "Create Crop as New Image", MenuRoute::MenuExec, "NEWIMAGEFROMCROP"},
      {"EDIT", 22, "Preference...", MenuRoute::MenuStatic, "OPTIONS"},
      {"ADJUSTMENT", 0, "Levels...", MenuRoute::MenuExec, "REDUCTION"},
      {"ZoomP", 5, "700 %", MenuRoute::MenuExec, "700"},
      {"AA", 5, "x/2", MenuRoute::MenuExec, "x2"},
      {"AA", 3, "5x", MenuRoute::MenuExec, "5x"},
      {"ORIGINAL", 0, "Original Size", MenuRoute::MenuExec, "ORIGINAL"},
      {"FILTERS", 6, "Halftone", MenuRoute::MenuExec, "HAFTONE"},
      {"FILTERS", 23, "Luminousity...", MenuRoute::MenuExec, "LIGHTCUSTOM"},
      {"FILTERS", 24, "Bump Mapping...", MenuRoute::BumpMapping, ""},
      {"COLORS", 4, "Tweak RGB...", MenuRoute::MenuExec, "RGBLEVELS"},
      {"Colorized", 16, "Wet Paper", MenuRoute::MenuExec, "WETPAPER"},
      {"SWAP", 6, "RGB Banks...", MenuRoute::MenuExec, "RGBBANKS"},
      {"CAPTURE", 4, "Custom...", MenuRoute::ShowForm, "fCapture"},
      {"RESET", 0, "Reset Settings", MenuRoute::MenuStatic, "RESET"},
      {"mnuMerge", 0, "Overlay Image...", MenuRoute::ShowForm, "fOverlay"},
      {"Tools", 0, "Histogram...", MenuRoute::ShowForm, "fHistogram"},
      {"mnuRestore", 0, "Restore Original", MenuRoute::RestoreOriginal, ""},
      {"ABOUT", 0, "Help", MenuRoute::Help, ""},
  };
  for (const auto& c : cases) {
    const MenuItem& item = Item(c.array, c.index);
    EXPECT_EQ(item.Caption, c.caption) << c.array << "(" << c.index << ")";
    EXPECT_EQ(item.Route, c.route) << c.array << "(" << c.index << ")";
    EXPECT_EQ(item.Target, c.target) << c.array << "(" << c.index << ")";
  }
}

TEST(MenuTables, GapsInTheIndexesAreSeparators) {
  const struct {
    const char* array;
    std::vector<int32_t> separators;
  } cases[] = {
      {"FILE", {3, 5, 8, 11, 15, 18}},
      {"EDIT", {2, 6, 10, 14, 17, 20}},
      {"FILTERS", {14}},
      {"AA", {4}},
      {"Colorized", {8, 13}},
      {"SWAP", {5}},
      {"CAPTURE", {3}},
      {"VIEWS", {3}},
      {"SHAPES", {}},
  };
  for (const auto& c : cases) {
    const MenuArray* array = FindMenuArray(c.array);
    ASSERT_NE(array, nullptr) << c.array;
    EXPECT_EQ(SeparatorIndexes(*array), c.separators) << c.array;
    for (int32_t gap : c.separators) EXPECT_EQ(FindMenuItem(*array, gap), nullptr) << c.array << " " << gap;
  }
  EXPECT_EQ(FindMenuArray("NOSUCHMENU"), nullptr);
  EXPECT_EQ(FindMenuItem(*FindMenuArray("FILTERS"), 25), nullptr);
}

TEST(MenuTables, ArraysThatNeedNoDocumentAndParentCaptions) {
  const std::set<std::string> noDocument = {"FILE",  "PRINTER", "CAPTURE", "WALLPAPER",
                                            "VIEWS", "ABOUT",   "RESET",   "RF"};
  for (const MenuArray& array : MenuArrays())
    EXPECT_EQ(array.NeedsDocument, noDocument.count(std::string(array.Name)) == 0) << array.Name;
  EXPECT_EQ(FindMenuArray("SHAPES")->ParentCaption, "&Deformations");
  EXPECT_EQ(FindMenuArray("COLORS")->ParentCaption, "&Colors 1");
  EXPECT_EQ(FindMenuArray("Colorized")->ParentCaption, "Colors 2");
  EXPECT_EQ(FindMenuArray("AA")->ParentCaption, "Quality Sizing");
}

TEST(MenuTables, LayerEffectNumbersAreBasePlusIndex) {
  const struct {
    const char* array;
    int32_t count;
    int32_t first;
    const char* lastCaption;
  } cases[] = {
      {"LayerAdjustment", 13, 0, "Stretch Histogram"},
      {"LayerBlur", 9, 16, "Zoom.."},
      {"LayerTones", 4, 27, "Tone Adjustment"},
      {"LayerDistortion", 16, 31, "Mosaic"},
      {"LayerWaves", 4, 48, "Circular Enhanced..."},
      {"LayerBorders", 6, 53, "Note Paper"},
      {"LayerMetallic", 3, 60, "Ice"},
      {"LayerEffects", 13, 64, "Rain Drop"},
      {"LayerFlip", 3, 78, "Both"},
      {"AdjustFlip", 3, 78, "Flip Both"},
  };
  for (const auto& c : cases) {
    const MenuArray* array = FindMenuArray(c.array);
    ASSERT_NE(array, nullptr) << c.array;
    ASSERT_EQ(static_cast<int32_t>(array->Items.size()), c.count) << c.array;
    for (int32_t i = 0; i < c.count; ++i) {
      EXPECT_EQ(array->Items[i].Route, MenuRoute::LayerEffect);
      EXPECT_EQ(array->Items[i].Number, c.first + i) << c.array << " " << i;
    }
    EXPECT_EQ(array->Items.back().Caption, c.lastCaption) << c.array;
  }
  EXPECT_EQ(Item("AdjustFlip", 0).Caption, "Flip Horizontally");
}

TEST(MenuTables, ReplaceCaptionsCarryTheirPrefixInTheHistory) {
  const MenuArray& replace = *FindMenuArray("REPLACE");
  EXPECT_EQ(ActionCaption(replace, replace.Items[0]), "Replace Color...");
  const MenuArray& filters = *FindMenuArray("FILTERS");
  EXPECT_EQ(ActionCaption(filters, *FindMenuItem(filters, 0)), "Invert");
}

TEST(MenuTables, SideBoxesOfTheViewsArray) {
  const char* forms[] = {"fToolColor",   "fToolTextures", "fPaste",   "fPanView",
                         "fToolBrowser", "finfo",         "fLayerBox"};
  for (int32_t index = 4; index <= 10; ++index) {
    const MenuItem& item = Item("VIEWS", index);
    EXPECT_EQ(item.Route, MenuRoute::SideBox);
    EXPECT_EQ(item.Number, index);
    EXPECT_EQ(item.Target, forms[index - 4]);
  }
}

// Every word a menu sends must be known: Table 2 and 1 words are listed here
// by hand, the filter words come from the dispatcher's own tables.
TEST(MenuTables, EveryMenuWordIsKnownToTheDispatcher) {
  const std::set<std::string> execWords = {"UNDO",
                                           "REDO",
                                           "CUT",
                                           "COPY",
                                           "PASTE",
                                           "CREATENEWCOPY",
                                           "COPYIMAGETOCLIPBOARD",
                                           "CREATEFROMCLIPBOARD",
                                           "SELECTALL",
                                           "SELECTNONE",
                                           "INVERTSELECTION",
                                           "LOADSELECTION",
                                           "SAVESELECTION",
                                           "CROP",
                                           "NEWIMAGEFROMCROP",
                                           "IMAGEPROPERTIES",
                                           "IMAGESIZE",
                                           "CANVASSIZE",
                                           "IMAGEORIENTATION",
                                           "IMAGEROTATE",
                                           "PRINT"};
  const std::set<std::string> staticWords = {"NEW",
                                             "OPEN",
                                             "CLOSE",
                                             "SAVE",
                                             "SAVEAS",
                                             "SAVELAYEREDIMAGE",
                                             "SAVELAYEREDIMAGEAS",
                                             "SAVEOPTIMIZED",
                                             "SAVEOPTIMIZEDAS",
                                             "IMAGESAVEOPTIONS",
                                             "UPDATELAYERS",
                                             "UPDATEORIGINAL",
                                             "OPTIONS",
                                             "PRINTERSETUP",
                                             "CAPTUREDESKTOP",
                                             "CAPTUREFOREGROUND",
                                             "CAPTUREBACKGROUND",
                                             "WTILE",
                                             "WCENTER",
                                             "WSTRETCH",
                                             "TILEHORIZONTALLY",
                                             "TILEVERTICALLY",
                                             "CASCADE",
                                             "RESET"};
  for (const MenuArray& array : MenuArrays()) {
    for (const MenuItem& item : array.Items) {
      const std::string word(item.Target);
      if (item.Route == MenuRoute::MenuExec) {
        const bool known = execWords.count(word) || FindFilterCommand(word) || FindDocumentCommand(word) ||
                           FilterDialogIndex(word) >= 0;
        EXPECT_TRUE(known) << array.Name << "(" << item.Index << ") " << word;
      } else if (item.Route == MenuRoute::MenuStatic) {
        EXPECT_TRUE(staticWords.count(word)) << array.Name << "(" << item.Index << ") " << word;
      }
      EXPECT_FALSE(item.Caption.empty()) << array.Name << "(" << item.Index << ")";
    }
  }
}

}  // namespace
}  // namespace kelvane
