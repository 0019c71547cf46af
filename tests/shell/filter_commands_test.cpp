// The direct filter words: the rows as the menus define them, the preset
// words that need converting, chains of words, and unknown words; then the
// zoom and rotation words.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "filters/dialog_test_support.h"
#include "filters/filter_catalogue.h"
#include "shell/filter_commands.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::RandomPicture;
using test::ReferenceRound;
using test::SameBits;
using Words = std::vector<std::string>;
using Calls = std::vector<std::pair<std::string, Words>>;

// "WORD=Target args;..." as a map.
std::map<std::string, std::string> Rows(const std::string& text) {
  std::map<std::string, std::string> rows;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(';', start);
    if (end == std::string::npos) end = text.size();
    const std::string row = text.substr(start, end - start);
    rows[row.substr(0, row.find('='))] = row.substr(row.find('=') + 1);
    start = end + 1;
  }
  return rows;
}

// Runs (method, words) pairs on a fresh engine, each on the result of the
// last, straight through the catalogue.
Bits CallInTurn(const Bits& picture, const RectRegion& region, const Calls& calls) {
  cBitFilter engine;
  test::Load(engine, picture, &region);
  engine.SeedRandom(11);
  for (const auto& [name, words] : calls) {
    const FilterMethod* m = FindFilterMethod(name);
    std::vector<ArgValue> values;
    std::string error;
    EXPECT_TRUE(ParseMethodArguments(*m, words, engine.BitsRef(), PictureLoader{}, values, error)) << error;
    Bits next = InvokeMethod(engine, *m, values).Picture(engine);
    engine.SetBits(std::move(next));
  }
  return engine.GetBits();
}

TEST(FilterCommands, RowsAreTheMenuPresets) {
  const auto expected = Rows(
      "INVERT=Invert;GRAYSCALE=GreyScale;RELIEF=RELIEF;ERODE=ERODE;DILATE=DILATE;PAINTING=PAINTING;"
      "LIGHTSHARPEN=SHARPEN 10;HEAVYSHARPEN=SHARPEN 40;EDGEENHANCE=EDGEENHANCE 10;ENHANCEWHITE=RankFilterND 1;"
      "ENHANCEBLACK=RankFilterND 0;LUMPLUS=BRIGHTNESS 20;LUMMINUS=BRIGHTNESS 80;BBRIGHTNESS=BRIGHTNESS 40;"
      "LIGHTEMBOSS=EMBOSS 10;HEAVYEMBOSS=EMBOSS 30;LIGHTCONTOUR=CONTOUR 200 255255255;"
      "HEAVYCONTOUR=CONTOUR 255 255255255;LIGHTDIFFUSE=DIFFUSE 5 10;HEAVYDIFFUSE=DIFFUSE 10 30;"
      "LIGHTENGRAVE=Engrave 10;HEAVYENGRAVE=Engrave 30;LIGHTSOFTEN=SOFTEN 30;HEAVYSOFTEN=SOFTEN 80;"
      "LIGHTBLUR=Blurs 1;HEAVYBLUR=Blurs 2.5;LIGHTNOISE=NOISE 20 true;HEAVYNOISE=NOISE 40 true;"
      "LIGHTSATURATION=SATURATION 10;HEAVYSATURATION=SATURATION 20;WWAVES=WAVES 30 40 0;"
      "AADDSCANLINES=Scanlines 30;FISHEYE=LENS 50.0 50.0 60 60;CURTAINHORIZONTAL=GLASS curtain 1;"
      "CURTAINVERTICAL=GLASS curtain 2;CURTAINCLASSY=GLASS curtain 3;CURTAINWHITY=GLASS curtain 4;"
      "SLANTING=GLASS slanting 0;HORIZONTAL=GLASS horizontal 0;VERTICAL=GLASS vertical 0;SQUARY=GLASS squary 0;"
      "THERMIQUE=THERMIQUE;XBLACK=XBLACK;PHOTOCOP=PHOTOCOP;OLDPHOTO=OLDPHOTO;EQUALIZE=Equalize;"
      "SEPIATONE=COLORIZE 0.5 0.25 1.0;SOFTBLUE=ClassyColors 0;SOFTGREEN=ClassyColors 1;PURPLE=ClassyColors 2;"
      "SOFTRED=ClassyColors 3;SPOTTED=ClassyColors 6;RETRO=ClassyColors 7;SOFTYELLOW=ClassyColors 8;"
      "ORANGE=ClassyColors 10;WETPAPER=ClassyColors 11;HARDRED=SpecialColors true false false;"
      "HARDGREEN=SpecialColors false true false;HARDBLUE=SpecialColors false false true;"
      "HARDYELLOW=SpecialColors true true false;CYAN=SpecialColors false true true;"
      "MAGENTA=SpecialColors true false true;RGB2BRG=SwapBanks 1;RGB2GBR=SwapBanks 2;RGB2RBG=SwapBanks 3;"
      "RGB2BGR=SwapBanks 4;RGB2GRB=SwapBanks 5;FLIPH=Flip true false;FLIPV=Flip false true");
  ASSERT_EQ(expected.size(), 69u);
  std::map<std::string, std::string> actual;
  for (const FilterCommand& c : FilterCommands()) {
    std::string row = c.method;
    for (const std::string& a : c.arguments) row += " " + a;
    EXPECT_TRUE(actual.emplace(c.word, row).second) << "twice: " << c.word;
    EXPECT_EQ(FindFilterCommand(c.word), &c);
  }
  EXPECT_EQ(actual, expected);

  // Dialog words carry their filter index; no word opens 13.
  EXPECT_EQ(FilterDialogCommands().size(), 42u);
  const std::pair<const char*, int32_t> dialogs[] = {{"COLORIZE", 0}, {"LIGHTCUSTOM", 1}, {"HAFTONE", 7},
                                                     {"SKETCH", 12},  {"ISOLATE", 14},    {"ADDNOISE", 37},
                                                     {"CUSTOMCURTAIN", 40}, {"INVERT", -1}};
  for (const auto& [word, index] : dialogs) EXPECT_EQ(FilterDialogIndex(word), index) << word;
  std::set<int32_t> indices;
  for (const DialogCommand& c : FilterDialogCommands()) {
    indices.insert(c.index);
    EXPECT_EQ(FindFilterCommand(c.word), nullptr) << c.word << " is both a direct and a dialog word";
  }
  EXPECT_EQ(indices.size(), 40u);
  EXPECT_EQ(indices.count(13), 0u);
}

TEST(FilterCommands, UnknownWordsDoNothingAndListsSkipThem) {
  const Bits picture = RandomPicture(7, 5, 1);
  const RectRegion all = RectRegion::FromRect(0, 0, 7, 5);
  cBitFilter engine;
  test::Load(engine, picture, &all);
  for (const char* word : {"NOPE", "fliph", "", "CUSTOMBLUR", "N90", "Invert"}) {
    const CommandOutcome r = RunFilterCommand(engine, word);
    EXPECT_EQ(r.status, CommandStatus::UnknownWord) << word;
    EXPECT_TRUE(r.pixels.IsNull() && r.error.empty()) << word;
  }
  EXPECT_TRUE(SameBits(picture, engine.BitsRef()));

  EXPECT_EQ(SplitCommandWords(" A ,\tB\t, ,C"), (Words{"A", "B", "C"}));
  EXPECT_TRUE(SplitCommandWords(",,").empty());
  const CommandListOutcome list = RunFilterCommandList(engine, " FLIPH, NOPE ,,FLIPV,CUSTOMBLUR,");
  EXPECT_TRUE(list.Ok()) << list.error;
  EXPECT_EQ(list.ran, (Words{"FLIPH", "FLIPV"}));
  EXPECT_EQ(list.unknownWords, (Words{"NOPE", "CUSTOMBLUR"}));
  EXPECT_TRUE(SameBits(MakePicture(7, 5, [&](int x, int y, int c) { return picture.At(c, 6 - x, 4 - y); }),
                       engine.BitsRef()));
  const CommandListOutcome none = RunFilterCommandList(engine, "");
  EXPECT_TRUE(none.ran.empty() && none.unknownWords.empty());
}

TEST(FilterCommands, ContourPresetColourIsNotWhite) {
  // On a flat picture every e is 255 (at the edges the zero frame pushes it
  // above 255 and it clamps), so every pixel takes the colour 255255255 =
  // 0x0F36E2D7: red 0xD7 = 215, green 0xE2 = 226, blue 0x36 = 54. Not white.
  const Bits flat = MakePicture(6, 4, [](int, int, int c) { return 90 + c; });
  const RectRegion all = RectRegion::FromRect(0, 0, 6, 4);
  const Bits coloured = MakePicture(6, 4, [](int, int, int c) { return c == 0 ? 54 : c == 1 ? 226 : 215; });
  for (const char* word : {"LIGHTCONTOUR", "HEAVYCONTOUR"}) {
    cBitFilter engine;
    test::Load(engine, flat, &all);
    const CommandOutcome r = RunFilterCommand(engine, word);
    ASSERT_EQ(r.status, CommandStatus::Done) << r.error;
    EXPECT_TRUE(SameBits(coloured, r.pixels)) << word;
  }
}

TEST(FilterCommands, ChainsEqualTheMethodsInTurnAndEveryWordRuns) {
  // Flip mirrors the whole picture whatever the selection; GreyScale then
  // changes only the selected pixels of the mirrored picture.
  const std::pair<const char*, Calls> chains[] = {
      {"FLIPH,GRAYSCALE", {{"Flip", {"true", "false"}}, {"GreyScale", {}}}},
      {"INVERT,GRAYSCALE,HEAVYCONTOUR", {{"Invert", {}}, {"GreyScale", {}}, {"CONTOUR", {"255", "3597015"}}}},
      {"LIGHTSHARPEN,ERODE,FLIPV", {{"SHARPEN", {"10"}}, {"ERODE", {}}, {"Flip", {"false", "true"}}}},
      {"LIGHTBLUR,HEAVYBLUR,EDGEENHANCE,DILATE",  // 2.5 goes to Blurs as 2
       {{"Blurs", {"1"}}, {"Blurs", {"2"}}, {"EDGEENHANCE", {"10"}}, {"DILATE", {}}}},
      {"ENHANCEWHITE,HEAVYEMBOSS,LIGHTSOFTEN", {{"RankFilterND", {"1"}}, {"EMBOSS", {"30"}}, {"SOFTEN", {"30"}}}},
      {"RGB2BGR,HARDYELLOW,SOFTRED",
       {{"SwapBanks", {"4"}}, {"SpecialColors", {"true", "true", "false"}}, {"ClassyColors", {"3"}}}},
      {"LUMPLUS,SEPIATONE,AADDSCANLINES",
       {{"BRIGHTNESS", {"20"}}, {"COLORIZE", {"0.5", "0.25", "1"}}, {"Scanlines", {"30"}}}},
  };
  const Bits picture = RandomPicture(13, 9, 5);
  const RectRegion region = RectRegion::FromEllipse(1, 1, 12, 8);
  for (const auto& [words, calls] : chains) {
    cBitFilter engine;
    test::Load(engine, picture, &region);
    engine.SeedRandom(11);
    const CommandListOutcome r = RunFilterCommandList(engine, words);
    ASSERT_TRUE(r.Ok()) << r.error;
    EXPECT_TRUE(SameBits(CallInTurn(picture, region, calls), engine.BitsRef())) << words;
  }
  // One word alone returns the array and leaves the engine's as it was.
  cBitFilter single;
  test::Load(single, picture, &region);
  const CommandOutcome flipV = RunFilterCommand(single, "FLIPV");
  ASSERT_EQ(flipV.status, CommandStatus::Done) << flipV.error;
  EXPECT_TRUE(SameBits(MakePicture(13, 9, [&](int x, int y, int c) { return picture.At(c, x, 8 - y); }), flipV.pixels));
  EXPECT_TRUE(SameBits(picture, single.BitsRef()));
  // Every preset converts to whatever its method takes, and runs.
  for (const FilterCommand& c : FilterCommands()) {
    cBitFilter engine;
    test::Load(engine, picture, &region);
    const CommandOutcome r = RunFilterCommand(engine, c.word);
    ASSERT_EQ(r.status, CommandStatus::Done) << c.word << ": " << r.error;
    EXPECT_TRUE(r.pixels.SameShape(picture)) << c.word;
  }
}

// Nearest-neighbour resize: factor = old size / new size, source = Floor.
Bits ReferenceResize(const Bits& s, int w, int h) {
  const double sx = static_cast<double>(s.Width()) / w, sy = static_cast<double>(s.Height()) / h;
  return MakePicture(w, h, [&](int x, int y, int c) {
    return s.At(c, static_cast<int>(std::floor(x * sx)), static_cast<int>(std::floor(y * sy)));
  });
}

// Bilinear resample: factor = last index / new size; rows first, each step
// rounded ties to even.
Bits ReferenceResample(const Bits& s, int w, int h) {
  const double sx = static_cast<double>(s.Width() - 1) / w, sy = static_cast<double>(s.Height() - 1) / h;
  return MakePicture(w, h, [&](int x, int y, int c) {
    const double v = y * sy, u = x * sx;
    const int y0 = static_cast<int>(std::floor(v)), x0 = static_cast<int>(std::floor(u));
    const double fy = v - y0, fx = u - x0;
    const int left = ReferenceRound((1 - fy) * s.At(c, x0, y0) + fy * s.At(c, x0, y0 + 1));
    const int right = ReferenceRound((1 - fy) * s.At(c, x0 + 1, y0) + fy * s.At(c, x0 + 1, y0 + 1));
    return std::clamp(ReferenceRound((1 - fx) * left + fx * right), 0, 255);
  });
}

TEST(DocumentCommands, ZoomAndRotationWordsAsTheMenusDefineThem) {
  const auto expected = Rows(
      "200=ZoomFactor 2;300=ZoomFactor 3;400=ZoomFactor 4;500=ZoomFactor 5;600=ZoomFactor 6;700=ZoomFactor 7;"
      "50=ZoomImage 2 false false;33=ZoomImage 3 false false;25=ZoomImage 4 false false;"
      "20=ZoomImage 5 false false;15=ZoomImage 7 false false;10=ZoomImage 9 false false;"
      "ORIGINAL=ZoomFactor 1, ZoomImage 1 false false;2x=ZoomImage 2 true true;3x=ZoomImage 3 true true;"
      "4x=ZoomImage 4 true true;5x=ZoomImage 5 true true;x2=ZoomImage 2 false true;x3=ZoomImage 3 false true;"
      "x4=ZoomImage 4 false true;x5=ZoomImage 5 false true;N90=RotateImage -90 false;"
      "N180=RotateImage -180 false;N270=RotateImage 90 false;N45=RotateImage -45 false;"
      "A90=RotateImage -90 true;A180=RotateImage -180 true;A270=RotateImage -90 true;A45=RotateImage -45 true");
  std::map<std::string, std::string> actual;
  for (const DocumentCommand& c : DocumentCommands()) {
    std::string text;
    for (const DocumentCall& call : c.calls) {
      text += (text.empty() ? "" : ", ") + call.target;
      for (const std::string& a : call.arguments) text += " " + a;
    }
    EXPECT_TRUE(actual.emplace(c.word, text).second) << c.word << " twice";
    EXPECT_TRUE(FindFilterCommand(c.word) == nullptr && FilterDialogIndex(c.word) == -1) << c.word;
  }
  EXPECT_EQ(actual, expected);
  EXPECT_EQ(FindDocumentCommand("n90"), nullptr);
  ASSERT_NE(FindDocumentCommand("A270"), nullptr);

  // Zoomed sizes round ties to even: 3.5 and 2.5; "15": 14.29, 9.14;
  // "10": 11.11, 9.44; enlarged; 0.5 rounds to 0.
  const int sizes[][6] = {{7, 5, 2, 0, 4, 2},      {100, 64, 7, 0, 14, 9}, {100, 85, 9, 0, 11, 9},
                          {7, 5, 3, 1, 21, 15}, {1, 1, 2, 0, 0, 0}};
  for (const auto& s : sizes) {
    int32_t w = -1, h = -1;
    ZoomImageSize(s[0], s[1], s[2], s[3] != 0, w, h);
    EXPECT_EQ(w, s[4]) << s[0] << "x" << s[1] << " by " << s[2];
    EXPECT_EQ(h, s[5]) << s[0] << "x" << s[1] << " by " << s[2];
  }
}

TEST(DocumentCommands, DividingZoomsResizeAndQualityZoomsResample) {
  const Bits picture = RandomPicture(9, 7, 21);
  const RectRegion all = RectRegion::FromRect(0, 0, 9, 7);
  const std::pair<const char*, Bits> cases[] = {
      {"50", ReferenceResize(picture, 4, 4)},      // 4.5 -> 4, 3.5 -> 4
      {"33", ReferenceResize(picture, 3, 2)},      // 3, 2.33
      {"15", ReferenceResize(picture, 1, 1)},      // by 7
      {"x3", ReferenceResample(picture, 3, 2)},    // quality
      {"2x", ReferenceResample(picture, 18, 14)},  // enlarge with quality
      {"ORIGINAL", ReferenceResize(picture, 9, 7)},
      {"10", ReferenceResize(picture, 1, 1)},  // by 9: 1, 0.78
  };
  for (const auto& [word, expected] : cases) {
    cBitFilter engine;
    test::Load(engine, picture, &all);
    const CommandListOutcome r = RunFilterCommandList(engine, word);
    ASSERT_TRUE(r.Ok()) << r.error;
    EXPECT_EQ(r.ran, Words{word});
    EXPECT_TRUE(SameBits(expected, engine.BitsRef())) << word;
    EXPECT_EQ(engine.BitsRegionHandle(), nullptr) << "the zoomed document's region ended with the run";
  }
  // "10" on a picture smaller than 5 pixels would make it 0 by 0: it stays.
  cBitFilter tiny;
  const Bits small = RandomPicture(4, 3, 22);
  test::Load(tiny, small, &all);
  ASSERT_TRUE(RunFilterCommandList(tiny, "10").Ok());
  EXPECT_TRUE(SameBits(small, tiny.BitsRef()));
}

TEST(DocumentCommands, ZoomsStartFromTheLastUndoStateAndResetTheSelection) {
  const Bits picture = RandomPicture(9, 7, 23);
  const RectRegion corner = RectRegion::FromRect(0, 0, 2, 2);
  auto run = [&](const char* words, const RectRegion** regionAfter = nullptr) {
    cBitFilter engine;
    test::Load(engine, picture, &corner);
    const CommandListOutcome r = RunFilterCommandList(engine, words);
    EXPECT_TRUE(r.Ok()) << r.error;
    if (regionAfter) *regionAfter = engine.BitsRegionHandle();
    return engine.GetBits();
  };
  auto inverted = [](const Bits& s) {
    return MakePicture(s.Width(), s.Height(), [&](int x, int y, int c) { return 255 - s.At(c, x, y); });
  };
  const Bits half = ReferenceResize(picture, 4, 4);
  // A second zoom puts the last undo state back first: no compounding.
  EXPECT_TRUE(SameBits(half, run("50,50")));
  EXPECT_TRUE(SameBits(ReferenceResize(picture, 2, 2), run("50,25")));  // 2.25, 1.75
  EXPECT_TRUE(SameBits(picture, run("50,ORIGINAL")));
  // A filter word after a zoom fixes the zoomed picture as the new state, and
  // works on the whole of it: the zoom dropped the selection.
  EXPECT_TRUE(SameBits(inverted(half), run("50,INVERT")));
  EXPECT_TRUE(SameBits(ReferenceResize(inverted(half), 2, 2), run("50,INVERT,50")));
  // Before any zoom the selection holds; without a zoom the caller's region
  // is left in the engine.
  const Bits cornerInverted = MakePicture(9, 7, [&](int x, int y, int c) {
    return x < 2 && y < 2 ? 255 - picture.At(c, x, y) : picture.At(c, x, y);
  });
  EXPECT_TRUE(SameBits(ReferenceResample(cornerInverted, 18, 14), run("INVERT,2x")));
  const RectRegion* after = nullptr;
  run("INVERT", &after);
  EXPECT_EQ(after, &corner);
}

TEST(DocumentCommands, ViewZoomAndRotationLeaveThePicture) {
  const Bits picture = RandomPicture(6, 5, 24);
  const RectRegion all = RectRegion::FromRect(0, 0, 6, 5);
  cBitFilter engine;
  test::Load(engine, picture, &all);
  const CommandListOutcome r = RunFilterCommandList(engine, "200,N90,700,A270,NOPE");
  ASSERT_TRUE(r.Ok()) << r.error;
  EXPECT_EQ(r.ran, (Words{"200", "700"}));
  EXPECT_EQ(r.windowWords, (Words{"N90", "A270"}));
  EXPECT_EQ(r.unknownWords, Words{"NOPE"});
  EXPECT_TRUE(SameBits(picture, engine.BitsRef()));
  EXPECT_EQ(engine.BitsRegionHandle(), &all);
}

}  // namespace
}  // namespace kelvane
