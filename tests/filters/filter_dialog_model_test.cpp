// The filter dialog's model: its table, the slider arithmetic, thumbnail
// fitting and region scaling, the values each filter receives, and the three
// run modes.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "base/numeric.h"
#include "document/rect_region.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_dialog_model.h"
#include "filters/filter_test_support.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

Bits RandomPicture(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  return MakePicture(w, h, [&](int, int, int) { return static_cast<int>(rng() & 255); });
}

double Num(const std::string& word) { return std::stod(word); }

// A document for the dialog, counting what the dialog asks of it.
struct TestDocument {
  Bits bits;
  RectRegion region;
  int refreshes = 0;
  int undos = 0;
  FilterDialogDocument Facade() {
    FilterDialogDocument d;
    d.bits = &bits;
    d.region = &region;
    d.Refresh = [this] { ++refreshes; };
    d.SaveUndoBits = [this] { ++undos; };
    return d;
  }
};

std::string Describe(const FilterDialogRow& row) {
  std::ostringstream s;
  s << row.title;
  for (const DialogParameter& p : row.parameters) {
    s << "|" << p.caption << " " << p.minimum << ".." << p.maximum << "=" << p.defaultValue << (p.centred ? " c" : "");
  }
  return s.str();
}

TEST(FilterDialogRows, TitlesAndSlidersOfEveryRow) {
  const std::vector<std::string> expected = {
      "Colorize|Hue 0..100=0|Saturation 0..100=50|Luminosity 0..100=100",
      "Brightness|Level -100..250=0",
      "Contrast|Level -100..250=0",
      "Saturation|Level -100..250=0",
      "Gamma correction|Gamma 0..200=100 c",
      "Diffuse|Horizontal range 0..50=2|Vertical range 0..50=2",
      "Blur|Level 0..2=0",
      "Halftone|Radius 1..25=1|Definition 0..100=50|Intensity 0..100=0",
      "Pixelaze|Pixel size 1..25=2",
      "Emboss|Weight 0..50=10",
      "Engrave|Weight 0..50=10",
      "Contour|Weight 0..255=255",
      "Sketch|Weight 0..255=255",
      "Threshold|Cut value 0..255=128",
      "Isolate|Tolerance 0..200=100",
      "Reduction|Level 0..255=0",
      "Replace|Tolerance 0..200=100",
      "Replace Hue/Saturation|Hue Tolerance 0..100=50|Sat. Tolerance 0..100=50|Apply Tolerance 0..200=100",
      "Replace Luminous|Lum. Tolerance 0..100=50|Apply Tolerance 0..200=100",
      "Sharpen|Level 0..100=0",
      "Soften|Level 0..100=0",
      "Shift|Shift -255..255=0|Tolerance 0..200=100",
      "Hue rotation|Offset 0..100=0|Saturation 0..100=100",
      "Grey rotation|Offset 0..100=0|Steps 0..100=25",
      "Hue stretch|Offset 0..100=0|Saturation 0..100=100|Stretch factor 0..100=0",
      "RGB levels|Red -255..255=0|Green -255..255=0|Blue -255..255=0",
      "RGB banks",
      "Lens|Diameter 1..100=50|Magnify factor 0..100=50",
      "Waves|Frequency 0..100=25|Amplitude 1..100=25|Start degree 0..360=0",
      "Bend|Radius factor -200..200=0",
      "Fold|Horizontal factor -100..100=0|Vertical factor -100..100=0",
      "Rotate|Degrees -180..180=0",
      "Stretch|Horizontal factor -100..100=0|Vertical factor -100..100=0",
      "Tile|Factor 2..50=2",
      "Twirl|Level -100..100=0|Offset degrees -180..180=0",
      "Grid|Horizontal step 1..250=25|Vertical step 1..250=25|Opacity 0..255=128",
      "Light|Extension 1..100=50|Intensity 0..500=250|Definition 0..100=0",
      "Noise|Intensity 0..100=25",
      "Scanlines|Opacity 0..255=128",
      "Behind Glass",
      "Behind Curtain",
  };
  ASSERT_EQ(FilterDialogRows().size(), 41u);
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(Describe(FilterDialogRows()[i]), expected[i]) << "row " << i;
}

TEST(FilterDialogRows, OptionsPickColoursAndPanelsOfEveryRow) {
  std::string options, picks, hides, panels;
  for (size_t i = 0; i < FilterDialogRows().size(); ++i) {
    const FilterDialogRow& r = FilterDialogRows()[i];
    if (r.optionCaption) options += std::to_string(i) + ":" + r.optionCaption + (r.optionValue ? "+ " : "- ");
    if (r.enablePick) picks += std::to_string(i) + " ";
    if (r.hideColor) hides += std::to_string(i) + ":" + std::to_string(*r.hideColor) + " ";
    if (r.panel != DialogPanel::None) panels += std::to_string(i) + ":" + std::to_string(int(r.panel)) + " ";
  }
  EXPECT_EQ(options,
            "12:B/W- 29:Clean back+ 30:Clean back+ 31:Clean back+ 32:Clean back+ 34:Clean back+ "
            "35:Force margins+ 37:Equalized- ");
  EXPECT_EQ(picks, "14 16 17 18 21 27 36 ");
  EXPECT_EQ(hides, "11:0 12:0 14:-1 16:-1 17:-1 18:-1 21:1 35:0 ");
  EXPECT_EQ(panels, "26:1 39:2 40:3 ");

  EXPECT_EQ(GlassChoices()[0].style, std::string("squary"));
  EXPECT_EQ(GlassChoices()[1].style, std::string("horizontal"));
  EXPECT_EQ(GlassChoices()[2].style, std::string("vertical"));
  EXPECT_EQ(GlassChoices()[3].style, std::string("slanting"));
  EXPECT_EQ(GlassChoices()[3].caption, std::string("Slanting"));
  EXPECT_EQ(GlassChoices()[0].levels.size(), 3u);
  EXPECT_EQ(GlassChoices()[3].levels.size(), 2u);
  EXPECT_EQ(CurtainChoices()[2], std::string("Classy"));
}

TEST(FilterDialogRows, GlassAndCurtainListsAndTheRealTimeButton) {
  EXPECT_EQ(kRealTimeCaption, "Real Time");
  const char* captions[] = {"Squary", "Horizontal", "Vertical", "Slanting"};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(std::string(GlassChoices()[i].caption), captions[i]);
    std::string levels;
    for (const char* l : GlassChoices()[i].levels) levels += std::string(l) + ",";
    EXPECT_EQ(levels, i == 3 ? "Light,Tight," : "Large,Light,Tight,") << captions[i];
  }
  const char* curtains[] = {"Horizontal", "Vertical", "Classy", "Whity"};
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(std::string(CurtainChoices()[i]), curtains[i]);
  EXPECT_EQ(kThumbMaxWidth, 160);
  EXPECT_EQ(kThumbMaxHeight, 110);
}

TEST(FilterDialogModel, SetupFilterShowsTheRowsControls) {
  FilterDialogModel m;
  m.SetupFilter(17);
  EXPECT_TRUE(m.FilterReady);
  EXPECT_EQ(m.Title, "Replace Hue/Saturation");
  EXPECT_EQ(m.ParamCount, 3);
  EXPECT_EQ(m.sbFilter[1].Caption, "Sat. Tolerance");
  EXPECT_EQ(m.sbFilter[2].Max, 200);
  EXPECT_EQ(m.sbFilter[2].Value, 100);
  EXPECT_TRUE(m.PickEnabled);
  EXPECT_EQ(m.PickX, 0.5);
  EXPECT_TRUE(m.frColorVisible);
  EXPECT_TRUE(m.ColVisible[0] && m.ColVisible[1]);
  EXPECT_TRUE(m.PickMarked);

  m.SetupFilter(21);  // Shift hides the second colour box
  EXPECT_TRUE(m.ColVisible[0]);
  EXPECT_FALSE(m.ColVisible[1]);
  EXPECT_EQ(m.sbFilter[0].Min, -255);
  EXPECT_FALSE(m.sbFilter[2].Visible);

  m.SetupFilter(1);  // a plain slider row clears what the last row showed
  EXPECT_FALSE(m.frColorVisible);
  EXPECT_FALSE(m.PickEnabled);
  EXPECT_EQ(m.ParamCount, 1);
  EXPECT_FALSE(m.sbFilter[1].Visible);

  m.SetupFilter(26);
  EXPECT_EQ(m.ParamCount, 0);
  EXPECT_TRUE(m.frBanksVisible);
  EXPECT_EQ(m.ParamValue, (std::array<int32_t, 3>{2, 1, 0}));

  m.SetupFilter(12);
  EXPECT_TRUE(m.frOptionVisible);
  EXPECT_EQ(m.lblOption, "B/W");
  EXPECT_FALSE(m.chkOption);

  FilterDialogModel fresh;
  fresh.SetupFilter(41);
  fresh.SetupFilter(-1);
  EXPECT_FALSE(fresh.FilterReady);
}

TEST(FilterDialogModel, SetParameterScalesByFactorAndCentres) {
  TestDocument doc{RandomPicture(20, 10, 1), RectRegion::FromRect(0, 0, 20, 10)};
  FilterDialogModel m;
  m.Open(doc.Facade(), 5);
  // Factor 2: minimum -5/2 = -2.5 -> -2, maximum 25/2 = 12.5 -> 12, value
  // 7/2 = 3.5 -> 4 (ties to even); centred offset round(12.5 * 0.5 = 6.25) = 6.
  m.SetParameter(1, "Scaled", -5, 25, 2, 7, "0", true);
  EXPECT_EQ(m.sbFilter[1].Min, -2);
  EXPECT_EQ(m.sbFilter[1].Max, 12);
  EXPECT_EQ(m.sbFilter[1].Value, 4);
  EXPECT_EQ(m.ParamOffset[1], 6);
  m.ControlsChanged();
  EXPECT_EQ(m.sbFilter[1].ValueText, "8");  // the label shows value x factor
  EXPECT_EQ(m.ParamValue[1], -2);          // 4 - 6
  // Centre offsets on a tie: 20 / 4 * 0.5 = 2.5 -> 2; 28 / 4 * 0.5 = 3.5 -> 4.
  m.SetParameter(0, "a", 0, 20, 4, 0, "0", true);
  EXPECT_EQ(m.ParamOffset[0], 2);
  m.SetParameter(0, "b", 0, 28, 4, 0, "0", true);
  EXPECT_EQ(m.ParamOffset[0], 4);
  m.SetParameter(0, "c", 0, 28, 4, 0, "0", false);
  EXPECT_EQ(m.ParamOffset[0], 0);
  // Format with decimals: 4 x 2.5 = 10 shown as "10.0".
  m.SetParameter(2, "d", 0, 25, 2.5, 10, "0.0", false);
  m.ControlsChanged();
  EXPECT_EQ(m.sbFilter[2].ValueText, "10.0");
}

TEST(FilterDialogModel, GammaIsCentredOnZero) {
  TestDocument doc{RandomPicture(20, 10, 2), RectRegion::FromRect(0, 0, 20, 10)};
  FilterDialogModel m;
  m.Open(doc.Facade(), 4);
  // Slider 0..200 at 100, offset round(200 * 0.5) = 100.
  EXPECT_EQ(m.ParamOffset[0], 100);
  EXPECT_EQ(m.sbFilter[0].ValueText, "100");
  EXPECT_EQ(m.FilterCallFor(4).method, "GammaCorrection");
  EXPECT_EQ(m.FilterCallFor(4).words, (std::vector<std::string>{"0"}));
  m.SliderChanged(0, 0);
  EXPECT_EQ(m.FilterCallFor(4).words, (std::vector<std::string>{"-100"}));
  m.SliderChanged(0, 999);  // clamped to the slider's maximum
  EXPECT_EQ(m.sbFilter[0].Value, 200);
  EXPECT_EQ(m.FilterCallFor(4).words, (std::vector<std::string>{"100"}));
}

TEST(FilterDialogModel, FitSizeRoundsTiesToEvenWithASingleHeightRatio) {
  struct Case {
    int w, h, fw, fh;
  };
  const Case cases[] = {
      {100, 50, 100, 50},  // fits: unchanged
      {160, 110, 160, 110},
      {0, 0, 0, 0},
      {161, 110, 160, 109},  // rx 0.99379 < ry 1: 110 * 160 / 161 = 109.32
      {320, 105, 160, 52},   // 52.5 -> 52
      {320, 107, 160, 54},   // 53.5 -> 54
      {200, 300, 73, 110},   // ry 0.3666667 <= rx 0.8: 200 * 0.3666667 = 73.3
      {84, 112, 83, 110},    // single ry 0.98214287 * 84 = 82.5000007 -> 83 (a double ratio would tie to 82)
      {320, 220, 160, 110},
      {100, 150, 73, 110},
  };
  for (const Case& c : cases) {
    int32_t w = -1, h = -1;
    FilterDialogModel::FitSize(c.w, c.h, 160, 110, w, h);
    EXPECT_EQ(w, c.fw) << c.w << "x" << c.h;
    EXPECT_EQ(h, c.fh) << c.w << "x" << c.h;
  }
}

TEST(FilterDialogModel, OpenFitsTheThumbnailAndScalesTheRegionByTheWidth) {
  {
    TestDocument doc{RandomPicture(320, 220, 3), RectRegion::FromRect(11, 3, 101, 51)};
    FilterDialogModel m;
    m.Open(doc.Facade(), 1);
    EXPECT_EQ(m.ThumbWidth, 160);
    EXPECT_EQ(m.ThumbHeight, 110);
    EXPECT_EQ(m.ThumbBits.Width(), 160);
    EXPECT_EQ(m.ThumbBits.Height(), 110);
    // Factor 0.5: 5.5 -> 6, 1.5 -> 2, 50.5 -> 50, 25.5 -> 26.
    ASSERT_NE(m.ThumbRegion(), nullptr);
    EXPECT_EQ(m.ThumbRegion()->Box(), (Rect{6, 2, 50, 26}));
  }
  {
    // 84 x 112 fits as 83 x 110; the factor is 83 / 84 (0.98809522 as a
    // single) for both directions, so the bottom 112 becomes 110.67 -> 111.
    TestDocument doc{RandomPicture(84, 112, 4), RectRegion::FromRect(0, 0, 84, 112)};
    FilterDialogModel m;
    m.Open(doc.Facade(), 1);
    EXPECT_EQ(m.ThumbRegion()->Box(), (Rect{0, 0, 83, 111}));
  }
  {
    // A picture that fits is its own thumbnail, region included.
    TestDocument doc{RandomPicture(100, 80, 5), RectRegion::FromEllipse(3, 4, 90, 70)};
    FilterDialogModel m;
    m.Open(doc.Facade(), 1);
    EXPECT_TRUE(SameBits(doc.bits, m.ThumbBits));
    EXPECT_EQ(*m.ThumbRegion(), doc.region);
  }
}

TEST(FilterDialogModel, ColorizeWrapsTheHue) {
  TestDocument doc{RandomPicture(30, 20, 6), RectRegion::FromRect(0, 0, 30, 20)};
  FilterDialogModel m;
  m.Open(doc.Facade(), 0);
  FilterCall call = m.FilterCallFor(0);
  EXPECT_EQ(call.method, "COLORIZE");
  ASSERT_EQ(call.words.size(), 3u);
  EXPECT_EQ(Num(call.words[0]), 0.0);
  EXPECT_EQ(Num(call.words[1]), 0.5);  // 50 / 100
  EXPECT_EQ(Num(call.words[2]), 1.0);  // 100 / 100
  // Hue slider v: round(v * 2.4), less 240 above 200, over 40.
  const std::pair<int, double> hues[] = {
      {50, 3.0},     // 120 / 40
      {83, 4.975},   // 199.2 -> 199
      {84, -0.95},   // 201.6 -> 202 - 240 = -38
      {85, -0.9},    // 204 - 240 = -36
      {90, -0.6},    // 216 - 240 = -24
      {100, 0.0},    // 240 - 240
  };
  for (const auto& [v, hue] : hues) {
    m.SliderChanged(0, v);
    EXPECT_EQ(Num(m.FilterCallFor(0).words[0]), hue) << v;
  }
}

TEST(FilterDialogModel, LensAndLightAreRelativeToTheThumbnailsLargerSide) {
  TestDocument doc{RandomPicture(320, 220, 7), RectRegion::FromRect(0, 0, 320, 220)};
  FilterDialogModel m;
  m.Open(doc.Facade(), 27);
  FilterCall call = m.FilterCallFor(27);
  EXPECT_EQ(call.method, "LENS");
  ASSERT_EQ(call.words.size(), 4u);
  EXPECT_EQ(Num(call.words[0]), 0.5);
  EXPECT_EQ(Num(call.words[1]), 0.5);
  EXPECT_EQ(Num(call.words[2]), 0.3125);  // 50 / 160
  EXPECT_EQ(call.words[3], "50");
  m.SliderChanged(0, 100);
  EXPECT_EQ(Num(m.FilterCallFor(27).words[2]), 0.625);

  // A pick past the corner clamps to the last pixel: fractions just under 1,
  // and the first colour box takes that thumbnail pixel.
  m.PickAt(500, 999);
  EXPECT_EQ(m.PickX, 159.0 / 160);
  EXPECT_EQ(m.PickY, 109.0 / 110);
  const uint8_t* p = m.ThumbBits.Pixel(159, 109);
  EXPECT_EQ(m.ColColor[0], p[2] | (p[1] << 8) | (p[0] << 16));
  EXPECT_EQ(m.ParamColor[0], m.ColColor[0]);
  EXPECT_EQ(Num(m.FilterCallFor(27).words[0]), 0.99375);
  m.PickAt(-4, 0);
  EXPECT_EQ(m.PickX, 0.0);
  EXPECT_EQ(m.PickY, 0.0);

  // 100 x 150 fits as 73 x 110: the larger side is the height.
  TestDocument tall{RandomPicture(100, 150, 8), RectRegion::FromRect(0, 0, 100, 150)};
  FilterDialogModel light;
  light.Open(tall.Facade(), 36);
  call = light.FilterCallFor(36);
  EXPECT_EQ(call.method, "Light");
  ASSERT_EQ(call.words.size(), 5u);
  EXPECT_EQ(Num(call.words[2]), 50.0 / 110);
  EXPECT_EQ(call.words[3], "250");
  EXPECT_EQ(call.words[4], "0");

  // Without picking, a press changes nothing.
  FilterDialogModel plain;
  plain.Open(doc.Facade(), 1);
  const int32_t before = plain.ColColor[0];
  plain.PickAt(3, 3);
  EXPECT_EQ(plain.PickX, 0.5);
  EXPECT_EQ(plain.ColColor[0], before);
}

TEST(FilterDialogModel, BanksGlassAndCurtainTakeTheirPanels) {
  TestDocument doc{RandomPicture(30, 20, 9), RectRegion::FromRect(0, 0, 30, 20)};
  FilterDialogModel m;
  m.Open(doc.Facade(), 26);
  EXPECT_EQ(m.FilterCallFor(26).method, "SwapRGB");
  EXPECT_EQ(m.FilterCallFor(26).words,
            (std::vector<std::string>{"2", "1", "0", "false", "false", "false", "false", "false", "false"}));
  // The sliders are not read for the banks: their zeros must not reach V0..V2.
  m.chkInvt[1] = true;
  m.chkKill[2] = true;
  m.ControlsChanged();
  m.ChooseBankSource(0, 0);
  EXPECT_EQ(m.FilterCallFor(26).words,
            (std::vector<std::string>{"0", "1", "0", "false", "true", "false", "false", "false", "true"}));

  m.Open(doc.Facade(), 39);
  EXPECT_EQ(m.FilterCallFor(39).words, (std::vector<std::string>{"slanting", "0"}));
  EXPECT_EQ(m.cboItems, (std::vector<std::string>{"Light", "Tight"}));
  m.ChooseGlassLevel(1);
  EXPECT_EQ(m.FilterCallFor(39).words, (std::vector<std::string>{"slanting", "1"}));
  m.ChooseGlass(0);
  EXPECT_EQ(m.cboItems, (std::vector<std::string>{"Large", "Light", "Tight"}));
  EXPECT_EQ(m.FilterCallFor(39).words, (std::vector<std::string>{"squary", "0"}));
  m.ChooseGlassLevel(2);
  m.ChooseGlassLevel(3);  // not in the list
  EXPECT_EQ(m.FilterCallFor(39).words, (std::vector<std::string>{"squary", "2"}));

  m.Open(doc.Facade(), 40);
  EXPECT_EQ(m.FilterCallFor(40).words, (std::vector<std::string>{"curtain", "0"}));
  m.ChooseCurtain(0);
  EXPECT_EQ(m.FilterCallFor(40).words, (std::vector<std::string>{"curtain", "1"}));
  m.ChooseCurtain(3);
  EXPECT_EQ(m.FilterCallFor(40).method, "GLASS");
  EXPECT_EQ(m.FilterCallFor(40).words, (std::vector<std::string>{"curtain", "4"}));
}

TEST(FilterDialogModel, ColoursAndOptionReachTheirFilters) {
  TestDocument doc{RandomPicture(30, 20, 10), RectRegion::FromRect(0, 0, 30, 20)};
  FilterDialogModel m;
  m.Open(doc.Facade(), 11);
  EXPECT_EQ(m.FilterCallFor(11).words, (std::vector<std::string>{"255", "16777215"}));
  m.ColColor[1] = 0x030201;  // red 1, green 2, blue 3
  m.ControlsChanged();
  EXPECT_EQ(m.FilterCallFor(11).words, (std::vector<std::string>{"255", "197121"}));

  // Every opening starts again from black and white.
  m.Open(doc.Facade(), 12);
  EXPECT_EQ(m.FilterCallFor(12).words, (std::vector<std::string>{"255", "false", "16777215"}));
  m.chkOption = true;
  m.ControlsChanged();
  EXPECT_EQ(m.FilterCallFor(12).words[1], "true");

  m.Open(doc.Facade(), 14);
  m.ColColor[0] = 0x0000FF;
  m.ControlsChanged();
  EXPECT_EQ(m.FilterCallFor(14).words, (std::vector<std::string>{"255", "16777215", "100"}));
  m.Open(doc.Facade(), 21);
  EXPECT_EQ(m.FilterCallFor(21).words, (std::vector<std::string>{"0", "0", "100"}));
  m.Open(doc.Facade(), 35);
  EXPECT_EQ(m.FilterCallFor(35).words, (std::vector<std::string>{"25", "25", "true", "16777215", "128"}));
  m.Open(doc.Facade(), 37);
  EXPECT_EQ(m.FilterCallFor(37).words, (std::vector<std::string>{"25", "false"}));
  m.Open(doc.Facade(), 31);
  EXPECT_EQ(m.FilterCallFor(31).words, (std::vector<std::string>{"0", "true"}));
}

// Blurs at distance d on the pixels of a region, the rest unchanged: the
// eight pixels at distance d, centre left out, trunc of the sum / 8.
Bits ReferenceBlur(const Bits& in, int d, const RectRegion& region) {
  return MakePicture(in.Width(), in.Height(), [&](int x, int y, int c) {
    if (!region.Contains(x, y)) return int(in.At(c, x, y));
    int s = 0;
    for (int dy : {-d, 0, d})
      for (int dx : {-d, 0, d})
        if (dx != 0 || dy != 0) s += in.At(c, x + dx, y + dy);
    return s / 8;
  });
}

TEST(FilterDialogModel, PreviewThenRealTimeThenOk) {
  if (!FindFilterMethod("Blurs")) GTEST_SKIP() << "Blurs is not in the catalogue yet";
  const Bits original = RandomPicture(320, 220, 11);
  TestDocument doc{original, RectRegion::FromRect(11, 3, 101, 51)};
  FilterDialogModel m;
  std::vector<int32_t> progress;
  int hidden = 0;
  m.Progress = [&](int32_t p) { progress.push_back(p); };
  m.HideProgress = [&] { ++hidden; };
  m.Open(doc.Facade(), 6);
  // Level 0 previews the source.
  EXPECT_TRUE(SameBits(m.ThumbBits, m.PreviewBits));
  EXPECT_TRUE(m.LastError.empty()) << m.LastError;

  m.SliderChanged(0, 1);
  EXPECT_TRUE(SameBits(ReferenceBlur(m.ThumbBits, 1, RectRegion::FromRect(6, 2, 50, 26)), m.PreviewBits));
  EXPECT_TRUE(SameBits(original, doc.bits));
  EXPECT_TRUE(progress.empty());  // previews show no bar
  EXPECT_EQ(doc.refreshes, 0);

  m.RealTime();
  EXPECT_TRUE(m.RealTimeDone);
  EXPECT_TRUE(SameBits(ReferenceBlur(original, 1, doc.region), doc.bits));
  EXPECT_EQ(doc.refreshes, 1);
  ASSERT_FALSE(progress.empty());
  EXPECT_EQ(progress.back(), 100);
  const size_t reports = progress.size();

  // After the real-time run nothing runs again: the preview shows the source
  // and OK delivers what the real-time run made.
  m.SliderChanged(0, 2);
  EXPECT_TRUE(SameBits(m.ThumbBits, m.PreviewBits));
  m.Ok();
  EXPECT_TRUE(SameBits(ReferenceBlur(original, 1, doc.region), doc.bits));
  EXPECT_EQ(doc.refreshes, 1);
  EXPECT_EQ(doc.undos, 1);
  EXPECT_EQ(progress.size(), reports);
  EXPECT_EQ(hidden, 1);
  EXPECT_TRUE(m.Closed);
}

TEST(FilterDialogModel, OkRunsOnTheDocumentAndCancelPutsItBack) {
  if (!FindFilterMethod("Blurs")) GTEST_SKIP() << "Blurs is not in the catalogue yet";
  const Bits original = RandomPicture(120, 90, 12);
  const RectRegion ellipse = RectRegion::FromEllipse(10, 5, 100, 80);
  {
    TestDocument doc{original, ellipse};
    FilterDialogModel m;
    std::vector<int32_t> progress;
    m.Progress = [&](int32_t p) { progress.push_back(p); };
    m.Open(doc.Facade(), 6);
    m.SliderChanged(0, 2);
    m.Ok();
    EXPECT_TRUE(SameBits(ReferenceBlur(original, 2, ellipse), doc.bits));
    EXPECT_EQ(doc.refreshes, 1);
    EXPECT_EQ(doc.undos, 1);
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back(), 100);
  }
  {
    TestDocument doc{original, ellipse};
    FilterDialogModel m;
    m.Open(doc.Facade(), 6);
    m.SliderChanged(0, 2);
    m.RealTime();
    EXPECT_FALSE(SameBits(original, doc.bits));
    m.Cancel();
    EXPECT_TRUE(SameBits(original, doc.bits));
    EXPECT_EQ(doc.refreshes, 2);
    EXPECT_EQ(doc.undos, 0);
    EXPECT_TRUE(m.Closed);
  }
}

TEST(CallFilterByName, AdaptsWordsToTheParameterKinds) {
  FilterMethod m;
  m.name = "Probe";
  m.params = {{"i", ParamKind::Integer}, {"b", ParamKind::Byte},    {"c", ParamKind::Colour},
              {"f", ParamKind::Boolean}, {"n", ParamKind::Number},  {"t", ParamKind::Text}};
  auto adapt = [&](std::vector<std::string> w) { return AdaptArgumentWords(m, w); };
  EXPECT_EQ(adapt({"2.5", "254.5", "255255255", "0", "true", "2.5"}),
            (std::vector<std::string>{"2", "254", "3597015", "false", "-1", "2.5"}));
  EXPECT_EQ(adapt({"3.5", "7", "-1", "-1", "false", "x"}),
            (std::vector<std::string>{"4", "7", "-1", "true", "0", "x"}));
  EXPECT_EQ(adapt({"-2.5", "1.5", "16777216", "true", "0.25", ""}),
            (std::vector<std::string>{"-2", "2", "0", "true", "0.25", ""}));
  EXPECT_EQ(adapt({"true", "x", "-2", "2.5"}), (std::vector<std::string>{"-1", "x", "16777214", "true"}));
  // Words beyond the parameters stay as they are; a source takes no word.
  EXPECT_EQ(adapt({"1", "1", "1", "1", "1", "1", "9.5"}).back(), "9.5");
  FilterMethod s;
  s.params = {{"source", ParamKind::Source}, {"n", ParamKind::Integer}};
  EXPECT_EQ(AdaptArgumentWords(s, {"1.5"}), (std::vector<std::string>{"2"}));
}

TEST(CallFilterByName, RunsRegisteredMethodsAndRefusesOthers) {
  const Bits picture = RandomPicture(5, 3, 13);
  const RectRegion all = RectRegion::FromRect(0, 0, 5, 3);
  cBitFilter engine;
  engine.SetBits(picture);
  engine.BitsRegion(&all);
  Bits out;
  std::string error;
  // Numbers for booleans: 1 is true, 0 false.
  ASSERT_TRUE(CallFilterByName(engine, "Flip", {"1", "0"}, out, error)) << error;
  EXPECT_TRUE(SameBits(MakePicture(5, 3, [&](int x, int y, int c) { return picture.At(c, 4 - x, y); }), out));
  EXPECT_FALSE(CallFilterByName(engine, "NoSuchMethod", {}, out, error));
  EXPECT_NE(error.find("NoSuchMethod"), std::string::npos);
  EXPECT_FALSE(CallFilterByName(engine, "Flip", {"maybe", "false"}, out, error));
  EXPECT_NE(error.find("horizontal"), std::string::npos) << error;
  EXPECT_TRUE(SameBits(picture, engine.BitsRef()));
}

}  // namespace
}  // namespace kelvane
