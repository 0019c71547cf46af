// The direct filter words: the rows as the menus define them, the preset
// words that need converting, chains of words, and unknown words.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <set>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"
#include "shell/filter_commands.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

Bits RandomPicture(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  return MakePicture(w, h, [&](int, int, int) { return static_cast<int>(rng() & 255); });
}

// Ties to even, written out longhand.
int ReferenceRound(double v) {
  const double f = std::floor(v);
  if (v - f > 0.5) return static_cast<int>(f) + 1;
  if (v - f < 0.5) return static_cast<int>(f);
  return static_cast<int>(f) % 2 == 0 ? static_cast<int>(f) : static_cast<int>(f) + 1;
}

bool Registered(const char* method) { return FindFilterMethod(method) != nullptr; }

// Runs a list of (method, words) on a fresh engine, each on the result of the
// last, straight through the catalogue: the way to compare a chain of command
// words with the methods called in turn.
Bits CallInTurn(const Bits& picture, const RectRegion& region,
                const std::vector<std::pair<std::string, std::vector<std::string>>>& calls) {
  cBitFilter engine;
  engine.SetBits(picture);
  engine.BitsRegion(&region);
  engine.SeedRandom(11);
  for (const auto& [name, words] : calls) {
    const FilterMethod* m = FindFilterMethod(name);
    std::vector<ArgValue> values;
    std::string error;
    EXPECT_TRUE(ParseMethodArguments(*m, words, engine.BitsRef(), PictureLoader{}, values, error)) << error;
    MethodResult r = InvokeMethod(engine, *m, values);
    Bits next = r.Picture(engine);
    engine.SetBits(std::move(next));
  }
  return engine.GetBits();
}

TEST(FilterCommands, RowsAreTheMenuPresets) {
  // word -> "Method arg arg ...", transcribed from the command tables.
  const std::map<std::string, std::string> expected = {
      {"INVERT", "Invert"}, {"GRAYSCALE", "GreyScale"}, {"RELIEF", "RELIEF"}, {"ERODE", "ERODE"},
      {"DILATE", "DILATE"}, {"PAINTING", "PAINTING"}, {"LIGHTSHARPEN", "SHARPEN 10"},
      {"HEAVYSHARPEN", "SHARPEN 40"}, {"EDGEENHANCE", "EDGEENHANCE 10"}, {"ENHANCEWHITE", "RankFilterND 1"},
      {"ENHANCEBLACK", "RankFilterND 0"}, {"LUMPLUS", "BRIGHTNESS 20"}, {"LUMMINUS", "BRIGHTNESS 80"},
      {"BBRIGHTNESS", "BRIGHTNESS 40"}, {"LIGHTEMBOSS", "EMBOSS 10"}, {"HEAVYEMBOSS", "EMBOSS 30"},
      {"LIGHTCONTOUR", "CONTOUR 200 255255255"}, {"HEAVYCONTOUR", "CONTOUR 255 255255255"},
      {"LIGHTDIFFUSE", "DIFFUSE 5 10"}, {"HEAVYDIFFUSE", "DIFFUSE 10 30"}, {"LIGHTENGRAVE", "Engrave 10"},
      {"HEAVYENGRAVE", "Engrave 30"}, {"LIGHTSOFTEN", "SOFTEN 30"}, {"HEAVYSOFTEN", "SOFTEN 80"},
      {"LIGHTBLUR", "Blurs 1"}, {"HEAVYBLUR", "Blurs 2.5"}, {"LIGHTNOISE", "NOISE 20 true"},
      {"HEAVYNOISE", "NOISE 40 true"}, {"LIGHTSATURATION", "SATURATION 10"},
      {"HEAVYSATURATION", "SATURATION 20"}, {"WWAVES", "WAVES 30 40 0"}, {"AADDSCANLINES", "Scanlines 30"},
      {"FISHEYE", "LENS 50.0 50.0 60 60"}, {"CURTAINHORIZONTAL", "GLASS curtain 1"},
      {"CURTAINVERTICAL", "GLASS curtain 2"}, {"CURTAINCLASSY", "GLASS curtain 3"},
      {"CURTAINWHITY", "GLASS curtain 4"}, {"SLANTING", "GLASS slanting 0"},
      {"HORIZONTAL", "GLASS horizontal 0"}, {"VERTICAL", "GLASS vertical 0"}, {"SQUARY", "GLASS squary 0"},
      {"THERMIQUE", "THERMIQUE"}, {"XBLACK", "XBLACK"}, {"PHOTOCOP", "PHOTOCOP"}, {"OLDPHOTO", "OLDPHOTO"},
      {"EQUALIZE", "Equalize"}, {"SEPIATONE", "COLORIZE 0.5 0.25 1.0"}, {"SOFTBLUE", "ClassyColors 0"},
      {"SOFTGREEN", "ClassyColors 1"}, {"PURPLE", "ClassyColors 2"}, {"SOFTRED", "ClassyColors 3"},
      {"SPOTTED", "ClassyColors 6"}, {"RETRO", "ClassyColors 7"}, {"SOFTYELLOW", "ClassyColors 8"},
      {"ORANGE", "ClassyColors 10"}, {"WETPAPER", "ClassyColors 11"},
      {"HARDRED", "SpecialColors true false false"}, {"HARDGREEN", "SpecialColors false true false"},
      {"HARDBLUE", "SpecialColors false false true"}, {"HARDYELLOW", "SpecialColors true true false"},
      {"CYAN", "SpecialColors false true true"}, {"MAGENTA", "SpecialColors true false true"},
      {"RGB2BRG", "SwapBanks 1"}, {"RGB2GBR", "SwapBanks 2"}, {"RGB2RBG", "SwapBanks 3"},
      {"RGB2BGR", "SwapBanks 4"}, {"RGB2GRB", "SwapBanks 5"}, {"FLIPH", "Flip true false"},
      {"FLIPV", "Flip false true"},
  };
  ASSERT_EQ(expected.size(), 69u);
  EXPECT_EQ(FilterCommands().size(), expected.size());
  std::set<std::string> seen;
  for (const FilterCommand& c : FilterCommands()) {
    EXPECT_TRUE(seen.insert(c.word).second) << "twice: " << c.word;
    std::string row = c.method;
    for (const std::string& a : c.arguments) row += " " + a;
    auto it = expected.find(c.word);
    ASSERT_NE(it, expected.end()) << c.word;
    EXPECT_EQ(row, it->second) << c.word;
    EXPECT_EQ(FindFilterCommand(c.word), &c);
  }
}

TEST(FilterCommands, DialogWordsCarryTheirFilterIndex) {
  EXPECT_EQ(FilterDialogCommands().size(), 42u);
  EXPECT_EQ(FilterDialogIndex("COLORIZE"), 0);
  EXPECT_EQ(FilterDialogIndex("BRIGHTNESS"), 1);
  EXPECT_EQ(FilterDialogIndex("LIGHTCUSTOM"), 1);
  EXPECT_EQ(FilterDialogIndex("HAFTONE"), 7);
  EXPECT_EQ(FilterDialogIndex("SKETCH"), 12);
  EXPECT_EQ(FilterDialogIndex("ISOLATE"), 14);  // no word opens 13
  EXPECT_EQ(FilterDialogIndex("CUSTOMNOISE"), 37);
  EXPECT_EQ(FilterDialogIndex("ADDNOISE"), 37);
  EXPECT_EQ(FilterDialogIndex("CUSTOMCURTAIN"), 40);
  EXPECT_EQ(FilterDialogIndex("INVERT"), -1);
  std::set<int32_t> indices;
  for (const DialogCommand& c : FilterDialogCommands()) {
    indices.insert(c.index);
    EXPECT_EQ(FindFilterCommand(c.word), nullptr) << c.word << " is both a direct and a dialog word";
  }
  EXPECT_EQ(indices.size(), 40u);  // 0..40 without 13
  EXPECT_EQ(indices.count(13), 0u);
}

TEST(FilterCommands, UnknownWordsDoNothing) {
  const Bits picture = RandomPicture(7, 5, 1);
  const RectRegion all = RectRegion::FromRect(0, 0, 7, 5);
  cBitFilter engine;
  engine.SetBits(picture);
  engine.BitsRegion(&all);
  for (const char* word : {"NOPE", "fliph", "", "CUSTOMBLUR", "N90", "Invert"}) {
    const CommandOutcome r = RunFilterCommand(engine, word);
    EXPECT_EQ(r.status, CommandStatus::UnknownWord) << word;
    EXPECT_TRUE(r.pixels.IsNull()) << word;
    EXPECT_TRUE(r.error.empty());
  }
  EXPECT_TRUE(SameBits(picture, engine.BitsRef()));

  // Unknown words in a list are skipped; the known ones still run.
  const CommandListOutcome list = RunFilterCommandList(engine, " FLIPH, NOPE ,,FLIPV,CUSTOMBLUR,");
  EXPECT_TRUE(list.Ok()) << list.error;
  EXPECT_EQ(list.ran, (std::vector<std::string>{"FLIPH", "FLIPV"}));
  EXPECT_EQ(list.unknownWords, (std::vector<std::string>{"NOPE", "CUSTOMBLUR"}));
  // Both flips: a half turn.
  const Bits turned = MakePicture(7, 5, [&](int x, int y, int c) { return picture.At(c, 6 - x, 4 - y); });
  EXPECT_TRUE(SameBits(turned, engine.BitsRef()));

  const CommandListOutcome none = RunFilterCommandList(engine, "");
  EXPECT_TRUE(none.ran.empty());
  EXPECT_TRUE(none.unknownWords.empty());
}

TEST(FilterCommands, SplitsOnCommasAndTrimsBlanks) {
  EXPECT_EQ(SplitCommandWords("INVERT,GRAYSCALE"), (std::vector<std::string>{"INVERT", "GRAYSCALE"}));
  EXPECT_EQ(SplitCommandWords(" A ,\tB\t, ,C"), (std::vector<std::string>{"A", "B", "C"}));
  EXPECT_TRUE(SplitCommandWords(",,").empty());
}

TEST(FilterCommands, FlipThenGreyChainsThroughBitsSet) {
  // Flip mirrors the whole picture whatever the selection; GreyScale then
  // changes only the selected pixels of the mirrored picture.
  const int w = 9, h = 6;
  const Bits picture = RandomPicture(w, h, 2);
  const RectRegion region = RectRegion::FromRect(2, 1, 6, 4);
  cBitFilter engine;
  engine.SetBits(picture);
  engine.BitsRegion(&region);
  const CommandListOutcome r = RunFilterCommandList(engine, "FLIPH,GRAYSCALE");
  ASSERT_TRUE(r.Ok()) << r.error;
  Bits expected = MakePicture(w, h, [&](int x, int y, int c) { return picture.At(c, w - 1 - x, y); });
  for (int y = 1; y < 4; ++y)
    for (int x = 2; x < 6; ++x) {
      const uint8_t* p = expected.Pixel(x, y);
      const int g = ReferenceRound(p[0] * 0.071 + p[1] * 0.707 + p[2] * 0.222);
      for (int c = 0; c < 3; ++c) expected.At(c, x, y) = static_cast<uint8_t>(g);
    }
  EXPECT_TRUE(SameBits(expected, engine.BitsRef()));

  // One word alone returns the array and leaves the engine's as it was.
  cBitFilter single;
  single.SetBits(picture);
  single.BitsRegion(&region);
  const CommandOutcome flipV = RunFilterCommand(single, "FLIPV");
  ASSERT_EQ(flipV.status, CommandStatus::Done) << flipV.error;
  EXPECT_TRUE(SameBits(MakePicture(w, h, [&](int x, int y, int c) { return picture.At(c, x, h - 1 - y); }),
                       flipV.pixels));
  EXPECT_TRUE(SameBits(picture, single.BitsRef()));
}

TEST(FilterCommands, HeavyBlurTakesTwoPointFiveAsTwo) {
  if (!Registered("Blurs")) GTEST_SKIP() << "Blurs is not in the catalogue yet";
  const int w = 11, h = 8;
  const Bits picture = RandomPicture(w, h, 3);
  const RectRegion all = RectRegion::FromRect(0, 0, w, h);
  // The eight pixels at distance d, centre left out, trunc of the sum / 8;
  // reads past the picture land in the zero frame (|d| <= 2).
  auto blurred = [&](int d) {
    return MakePicture(w, h, [&](int x, int y, int c) {
      int s = 0;
      for (int dy : {-d, 0, d})
        for (int dx : {-d, 0, d})
          if (dx != 0 || dy != 0) s += picture.At(c, x + dx, y + dy);
      return s / 8;
    });
  };
  for (const auto& [word, d] : {std::pair{"LIGHTBLUR", 1}, std::pair{"HEAVYBLUR", 2}}) {
    cBitFilter engine;
    engine.SetBits(picture);
    engine.BitsRegion(&all);
    const CommandOutcome r = RunFilterCommand(engine, word);
    ASSERT_EQ(r.status, CommandStatus::Done) << r.error;
    EXPECT_TRUE(SameBits(blurred(d), r.pixels)) << word;
  }
}

TEST(FilterCommands, ContourPresetColourIsNotWhite) {
  if (!Registered("CONTOUR")) GTEST_SKIP() << "CONTOUR is not in the catalogue yet";
  // On a flat picture every e is 255 (at the edges the zero frame pushes it
  // above 255 and it clamps), so every pixel takes the colour. 255255255 is
  // 0x0F36E2D7: red 0xD7 = 215, green 0xE2 = 226, blue 0x36 = 54.
  const Bits flat = MakePicture(6, 4, [](int, int, int c) { return 90 + c; });
  const RectRegion all = RectRegion::FromRect(0, 0, 6, 4);
  const Bits coloured = MakePicture(6, 4, [](int, int, int c) { return c == 0 ? 54 : c == 1 ? 226 : 215; });
  for (const char* word : {"LIGHTCONTOUR", "HEAVYCONTOUR"}) {
    cBitFilter engine;
    engine.SetBits(flat);
    engine.BitsRegion(&all);
    const CommandOutcome r = RunFilterCommand(engine, word);
    ASSERT_EQ(r.status, CommandStatus::Done) << r.error;
    EXPECT_TRUE(SameBits(coloured, r.pixels)) << word;
  }
}

TEST(FilterCommands, InvertGreyContourEqualsTheMethodsInTurn) {
  for (const char* m : {"Invert", "GreyScale", "CONTOUR"}) {
    if (!Registered(m)) GTEST_SKIP() << m << " is not in the catalogue yet";
  }
  const Bits picture = RandomPicture(13, 9, 4);
  const RectRegion region = RectRegion::FromEllipse(1, 1, 12, 8);
  cBitFilter engine;
  engine.SetBits(picture);
  engine.BitsRegion(&region);
  const CommandListOutcome r = RunFilterCommandList(engine, "INVERT,GRAYSCALE,HEAVYCONTOUR");
  ASSERT_TRUE(r.Ok()) << r.error;
  // 255255255 & 0xFFFFFF = 0x36E2D7 = 3597015.
  const Bits expected =
      CallInTurn(picture, region, {{"Invert", {}}, {"GreyScale", {}}, {"CONTOUR", {"255", "3597015"}}});
  EXPECT_TRUE(SameBits(expected, engine.BitsRef()));
}

TEST(FilterCommands, MixedChainsEqualTheMethodsInTurn) {
  struct Chain {
    const char* words;
    std::vector<std::pair<std::string, std::vector<std::string>>> calls;
  };
  const std::vector<Chain> chains = {
      {"LIGHTSHARPEN,ERODE,FLIPV", {{"SHARPEN", {"10"}}, {"ERODE", {}}, {"Flip", {"false", "true"}}}},
      {"HEAVYBLUR,EDGEENHANCE,DILATE", {{"Blurs", {"2"}}, {"EDGEENHANCE", {"10"}}, {"DILATE", {}}}},
      {"ENHANCEWHITE,HEAVYEMBOSS,LIGHTSOFTEN", {{"RankFilterND", {"1"}}, {"EMBOSS", {"30"}}, {"SOFTEN", {"30"}}}},
      {"RGB2BGR,HARDYELLOW,SOFTRED",
       {{"SwapBanks", {"4"}}, {"SpecialColors", {"true", "true", "false"}}, {"ClassyColors", {"3"}}}},
      {"LUMPLUS,SEPIATONE,AADDSCANLINES", {{"BRIGHTNESS", {"20"}}, {"COLORIZE", {"0.5", "0.25", "1"}},
                                           {"Scanlines", {"30"}}}},
  };
  const Bits picture = RandomPicture(12, 10, 5);
  const RectRegion region = RectRegion::FromRect(1, 2, 11, 9);
  int ran = 0;
  for (const Chain& chain : chains) {
    bool present = true;
    for (const auto& call : chain.calls) present = present && Registered(call.first.c_str());
    if (!present) continue;
    cBitFilter engine;
    engine.SetBits(picture);
    engine.BitsRegion(&region);
    engine.SeedRandom(11);
    const CommandListOutcome r = RunFilterCommandList(engine, chain.words);
    ASSERT_TRUE(r.Ok()) << r.error;
    EXPECT_TRUE(SameBits(CallInTurn(picture, region, chain.calls), engine.BitsRef())) << chain.words;
    ++ran;
  }
  if (ran == 0) GTEST_SKIP() << "none of the chains' filters is in the catalogue yet";
}

TEST(FilterCommands, EveryWordRunsOnceItsMethodIsRegistered) {
  const Bits picture = RandomPicture(12, 9, 6);
  const RectRegion region = RectRegion::FromRect(1, 1, 11, 8);
  int missing = 0;
  for (const FilterCommand& c : FilterCommands()) {
    cBitFilter engine;
    engine.SetBits(picture);
    engine.BitsRegion(&region);
    engine.SeedRandom(3);
    const CommandOutcome r = RunFilterCommand(engine, c.word);
    if (!Registered(c.method.c_str())) {
      EXPECT_EQ(r.status, CommandStatus::Failed) << c.word;
      EXPECT_NE(r.error.find(c.method), std::string::npos) << r.error;
      EXPECT_TRUE(SameBits(picture, engine.BitsRef()));
      ++missing;
      continue;
    }
    // The preset words convert to whatever the method takes and it runs.
    ASSERT_EQ(r.status, CommandStatus::Done) << c.word << ": " << r.error;
    EXPECT_TRUE(r.pixels.SameShape(picture)) << c.word;
  }
  if (missing > 0) std::printf("[ note ] %d command words wait for their filters\n", missing);
}

}  // namespace
}  // namespace kelvane
