// The direct filter words: the rows as the menus define them, the preset
// words that need converting, chains of words, and unknown words.
#include <gtest/gtest.h>

#include <algorithm>
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


// --- zoom and rotation words ------------------------------------------------------

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

Bits Inverted(const Bits& s) {
  return MakePicture(s.Width(), s.Height(), [&](int x, int y, int c) { return 255 - s.At(c, x, y); });
}

TEST(DocumentCommands, ZoomAndRotationWordsAsTheMenusDefineThem) {
  // word -> "Target args; Target args", transcribed from the zoom and flip table.
  const std::map<std::string, std::string> expected = {
      {"200", "ZoomFactor 2"}, {"300", "ZoomFactor 3"}, {"400", "ZoomFactor 4"},
      {"500", "ZoomFactor 5"}, {"600", "ZoomFactor 6"}, {"700", "ZoomFactor 7"},
      {"50", "ZoomImage 2 false false"}, {"33", "ZoomImage 3 false false"},
      {"25", "ZoomImage 4 false false"}, {"20", "ZoomImage 5 false false"},
      {"15", "ZoomImage 7 false false"}, {"10", "ZoomImage 9 false false"},
      {"ORIGINAL", "ZoomFactor 1; ZoomImage 1 false false"},
      {"2x", "ZoomImage 2 true true"}, {"3x", "ZoomImage 3 true true"},
      {"4x", "ZoomImage 4 true true"}, {"5x", "ZoomImage 5 true true"},
      {"x2", "ZoomImage 2 false true"}, {"x3", "ZoomImage 3 false true"},
      {"x4", "ZoomImage 4 false true"}, {"x5", "ZoomImage 5 false true"},
      {"N90", "RotateImage -90 false"}, {"N180", "RotateImage -180 false"},
      {"N270", "RotateImage 90 false"}, {"N45", "RotateImage -45 false"},
      {"A90", "RotateImage -90 true"}, {"A180", "RotateImage -180 true"},
      {"A270", "RotateImage -90 true"}, {"A45", "RotateImage -45 true"},
  };
  std::map<std::string, std::string> actual;
  for (const DocumentCommand& c : DocumentCommands()) {
    std::string text;
    for (const DocumentCall& call : c.calls) {
      if (!text.empty()) text += "; ";
      text += call.target;
      for (const std::string& a : call.arguments) text += " " + a;
    }
    EXPECT_TRUE(actual.emplace(c.word, text).second) << c.word << " twice";
    EXPECT_EQ(FindFilterCommand(c.word), nullptr) << c.word;
    EXPECT_EQ(FilterDialogIndex(c.word), -1) << c.word;
  }
  EXPECT_EQ(actual, expected);
  EXPECT_EQ(FindDocumentCommand("n90"), nullptr);
  ASSERT_NE(FindDocumentCommand("A270"), nullptr);
  // The flips of the same table are engine words.
  ASSERT_NE(FindFilterCommand("FLIPH"), nullptr);
  EXPECT_EQ(FindFilterCommand("FLIPH")->arguments, (std::vector<std::string>{"true", "false"}));
  EXPECT_EQ(FindFilterCommand("FLIPV")->arguments, (std::vector<std::string>{"false", "true"}));
}

TEST(DocumentCommands, ZoomSizesRoundTiesToEven) {
  int32_t w = 0, h = 0;
  ZoomImageSize(7, 5, 2, false, w, h);  // 3.5 and 2.5
  EXPECT_EQ(w, 4);
  EXPECT_EQ(h, 2);
  ZoomImageSize(100, 64, 7, false, w, h);  // "15": 14.29 and 9.14
  EXPECT_EQ(w, 14);
  EXPECT_EQ(h, 9);
  ZoomImageSize(100, 85, 9, false, w, h);  // "10": 11.11 and 9.44
  EXPECT_EQ(w, 11);
  EXPECT_EQ(h, 9);
  ZoomImageSize(7, 5, 3, true, w, h);
  EXPECT_EQ(w, 21);
  EXPECT_EQ(h, 15);
  ZoomImageSize(1, 1, 2, false, w, h);  // 0.5 rounds to 0
  EXPECT_EQ(w, 0);
  EXPECT_EQ(h, 0);
}

TEST(DocumentCommands, DividingZoomsResizeAndQualityZoomsResample) {
  const Bits picture = RandomPicture(9, 7, 21);
  const RectRegion all = RectRegion::FromRect(0, 0, 9, 7);
  struct Case {
    const char* word;
    Bits expected;
  };
  const std::vector<Case> cases = {
      {"50", ReferenceResize(picture, 4, 4)},     // 4.5 -> 4, 3.5 -> 4
      {"33", ReferenceResize(picture, 3, 2)},     // 3, 2.33
      {"15", ReferenceResize(picture, 1, 1)},     // by 7
      {"x3", ReferenceResample(picture, 3, 2)},   // quality
      {"2x", ReferenceResample(picture, 18, 14)}, // enlarge with quality
      {"ORIGINAL", ReferenceResize(picture, 9, 7)},
  };
  for (const Case& c : cases) {
    cBitFilter engine;
    engine.SetBits(picture);
    engine.BitsRegion(&all);
    const CommandListOutcome r = RunFilterCommandList(engine, c.word);
    ASSERT_TRUE(r.Ok()) << r.error;
    EXPECT_EQ(r.ran, (std::vector<std::string>{c.word}));
    EXPECT_TRUE(SameBits(c.expected, engine.BitsRef())) << c.word;
    EXPECT_EQ(engine.BitsRegionHandle(), nullptr) << "the zoomed document's region ended with the run";
  }
  // "10" on a picture smaller than 5 pixels would make it 0 by 0: it stays.
  cBitFilter tiny;
  const Bits small = RandomPicture(4, 3, 22);
  tiny.SetBits(small);
  tiny.BitsRegion(&all);
  ASSERT_TRUE(RunFilterCommandList(tiny, "10").Ok());
  EXPECT_TRUE(SameBits(small, tiny.BitsRef()));
}

TEST(DocumentCommands, ZoomsStartFromTheLastUndoStateAndResetTheSelection) {
  const Bits picture = RandomPicture(9, 7, 23);
  const RectRegion corner = RectRegion::FromRect(0, 0, 2, 2);
  auto run = [&](const char* words) {
    cBitFilter engine;
    engine.SetBits(picture);
    engine.BitsRegion(&corner);
    const CommandListOutcome r = RunFilterCommandList(engine, words);
    EXPECT_TRUE(r.Ok()) << r.error;
    return engine.GetBits();
  };
  const Bits half = ReferenceResize(picture, 4, 4);
  // A second zoom puts the last undo state back first: no compounding.
  EXPECT_TRUE(SameBits(half, run("50,50")));
  EXPECT_TRUE(SameBits(ReferenceResize(picture, 2, 2), run("50,25")));  // 2.25, 1.75
  EXPECT_TRUE(SameBits(picture, run("50,ORIGINAL")));
  // A filter word after a zoom fixes the zoomed picture as the new state, and
  // works on the whole of it: the zoom dropped the selection.
  EXPECT_TRUE(SameBits(Inverted(half), run("50,INVERT")));
  EXPECT_TRUE(SameBits(ReferenceResize(Inverted(half), 2, 2), run("50,INVERT,50")));
  // Before any zoom the selection holds.
  Bits cornerInverted = picture;
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 2; ++x)
      for (int c = 0; c < 3; ++c) cornerInverted.At(c, x, y) = static_cast<uint8_t>(255 - picture.At(c, x, y));
  EXPECT_TRUE(SameBits(ReferenceResample(cornerInverted, 18, 14), run("INVERT,2x")));

  // Without a zoom the caller's region is left in the engine.
  cBitFilter engine;
  engine.SetBits(picture);
  engine.BitsRegion(&corner);
  ASSERT_TRUE(RunFilterCommandList(engine, "INVERT").Ok());
  EXPECT_EQ(engine.BitsRegionHandle(), &corner);
}

TEST(DocumentCommands, ViewZoomAndRotationLeaveThePicture) {
  const Bits picture = RandomPicture(6, 5, 24);
  const RectRegion all = RectRegion::FromRect(0, 0, 6, 5);
  cBitFilter engine;
  engine.SetBits(picture);
  engine.BitsRegion(&all);
  const CommandListOutcome r = RunFilterCommandList(engine, "200,N90,700,A270,NOPE");
  ASSERT_TRUE(r.Ok()) << r.error;
  EXPECT_EQ(r.ran, (std::vector<std::string>{"200", "700"}));
  EXPECT_EQ(r.windowWords, (std::vector<std::string>{"N90", "A270"}));
  EXPECT_EQ(r.unknownWords, (std::vector<std::string>{"NOPE"}));
  EXPECT_TRUE(SameBits(picture, engine.BitsRef()));
  EXPECT_EQ(engine.BitsRegionHandle(), &all);
}

}  // namespace
}  // namespace kelvane
