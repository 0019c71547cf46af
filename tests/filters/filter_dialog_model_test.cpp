// The filter dialog's model: its table, the slider arithmetic, thumbnail
// fitting and region scaling, the values each filter receives, and the three
// run modes.
#include <gtest/gtest.h>

#include <sstream>

#include "base/fit_size.h"
#include "filters/dialog_test_support.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_dialog_model.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::RandomPicture;
using test::SameBits;
using Words = std::vector<std::string>;

double Num(const std::string& word) { return std::stod(word); }
std::vector<double> Nums(const Words& words) {
  std::vector<double> v;
  for (const std::string& w : words) v.push_back(Num(w));
  return v;
}

// The call a dialog would make, as "method word word ...".
std::string Call(const FilterDialogModel& m, int32_t index) {
  const FilterCall call = m.FilterCallFor(index);
  std::string text = call.method;
  for (const std::string& w : call.words) text += " " + w;
  return text;
}

// A document for the dialog, counting what the dialog asks of it.
struct TestDocument {
  Bits bits;
  RectRegion region;
  int refreshes = 0, undos = 0;
  FilterDialogDocument Facade() {
    FilterDialogDocument d;
    d.bits = &bits;
    d.region = &region;
    d.Refresh = [this] { ++refreshes; };
    d.SaveUndoBits = [this] { ++undos; };
    return d;
  }
};

TestDocument Doc(int w, int h, unsigned seed) { return {RandomPicture(w, h, seed), RectRegion::FromRect(0, 0, w, h)}; }

TEST(FilterDialogRows, RepresentativeRowsAndTheRulesOfEveryRow) {
  auto describe = [](const FilterDialogRow& row) {
    std::ostringstream s;
    s << row.title;
    for (const DialogParameter& p : row.parameters)
      s << "|" << p.caption << " " << p.minimum << ".." << p.maximum << "=" << p.defaultValue
        << (p.centred ? " c" : "");
    return s.str();
  };
  ASSERT_EQ(FilterDialogRows().size(), 41u);
  const std::pair<size_t, const char*> rows[] = {
      {0, "Colorize|Hue 0..100=0|Saturation 0..100=50|Luminosity 0..100=100"},
      {4, "Gamma correction|Gamma 0..200=100 c"},
      {7, "Halftone|Radius 1..25=1|Definition 0..100=50|Intensity 0..100=0"},
      {8, "Pixelaze|Pixel size 1..25=2"},
      {17, "Replace Hue/Saturation|Hue Tolerance 0..100=50|Sat. Tolerance 0..100=50|Apply Tolerance 0..200=100"},
      {21, "Shift|Shift -255..255=0|Tolerance 0..200=100"},
      {26, "RGB banks"},
      {28, "Waves|Frequency 0..100=25|Amplitude 1..100=25|Start degree 0..360=0"},
      {35, "Grid|Horizontal step 1..250=25|Vertical step 1..250=25|Opacity 0..255=128"},
      {36, "Light|Extension 1..100=50|Intensity 0..500=250|Definition 0..100=0"},
      {40, "Behind Curtain"},
  };
  for (const auto& [i, text] : rows) EXPECT_EQ(describe(FilterDialogRows()[i]), text) << "row " << i;
  for (size_t i = 0; i < 41; ++i)
    for (const DialogParameter& p : FilterDialogRows()[i].parameters) {
      EXPECT_TRUE(p.minimum <= p.defaultValue && p.defaultValue <= p.maximum) << "row " << i;
      EXPECT_EQ(p.centred, i == 4) << "row " << i;  // only Gamma is centred
    }

  std::string options, picks, hides, panels;
  for (size_t i = 0; i < 41; ++i) {
    const FilterDialogRow& r = FilterDialogRows()[i];
    const std::string n = std::to_string(i);
    if (r.optionCaption) options += n + ":" + r.optionCaption + (r.optionValue ? "+ " : "- ");
    if (r.enablePick) picks += n + " ";
    if (r.hideColor) hides += n + ":" + std::to_string(*r.hideColor) + " ";
    if (r.panel != DialogPanel::None) panels += n + ":" + std::to_string(int(r.panel)) + " ";
  }
  EXPECT_EQ(options,
            "12:B/W- 29:Clean back+ 30:Clean back+ 31:Clean back+ 32:Clean back+ 34:Clean back+ "
            "35:Force margins+ 37:Equalized- ");
  EXPECT_EQ(picks, "14 16 17 18 21 27 36 ");
  EXPECT_EQ(hides, "11:0 12:0 14:-1 16:-1 17:-1 18:-1 21:1 35:0 ");
  EXPECT_EQ(panels, "26:1 39:2 40:3 ");
  EXPECT_EQ(kRealTimeCaption, "Real Time");
  EXPECT_EQ(std::string(GlassChoices()[3].caption), "Slanting");
  EXPECT_EQ(std::string(CurtainChoices()[3]), "Whity");
}

TEST(FilterDialogModel, SetupFilterShowsTheRowsControls) {
  FilterDialogModel m;
  m.SetupFilter(17);
  EXPECT_EQ(std::tuple(m.FilterReady, m.Title, m.ParamCount), std::tuple(true, "Replace Hue/Saturation", 3));
  EXPECT_EQ(m.sbFilter[1].Caption, "Sat. Tolerance");
  EXPECT_EQ(std::tuple(m.sbFilter[2].Max, m.sbFilter[2].Value, m.PickX), std::tuple(200, 100, 0.5));
  EXPECT_TRUE(m.PickEnabled && m.frColorVisible && m.PickMarked && m.ColVisible[0] && m.ColVisible[1]);
  m.SetupFilter(21);  // Shift hides the second colour box
  EXPECT_EQ(std::tuple(m.ColVisible[0], m.ColVisible[1], m.sbFilter[2].Visible), std::tuple(true, false, false));
  EXPECT_EQ(m.sbFilter[0].Min, -255);
  m.SetupFilter(1);  // a plain slider row clears what the last row showed
  EXPECT_FALSE(m.frColorVisible || m.PickEnabled || m.sbFilter[1].Visible);
  EXPECT_EQ(m.ParamCount, 1);
  m.SetupFilter(26);
  EXPECT_EQ(std::tuple(m.ParamCount, m.frBanksVisible), std::tuple(0, true));
  EXPECT_EQ(m.ParamValue, (std::array<int32_t, 3>{2, 1, 0}));
  m.SetupFilter(12);
  EXPECT_EQ(std::tuple(m.frOptionVisible, m.lblOption, m.chkOption), std::tuple(true, "B/W", false));
  FilterDialogModel fresh;
  fresh.SetupFilter(41);
  fresh.SetupFilter(-1);
  EXPECT_FALSE(fresh.FilterReady);
}

TEST(FilterDialogModel, SlidersScaleByFactorAndCentre) {
  TestDocument doc = Doc(20, 10, 1);
  FilterDialogModel m;
  m.Open(doc.Facade(), 5);
  // Factor 2: minimum -5/2 = -2.5 -> -2, maximum 12.5 -> 12, value 3.5 -> 4
  // (ties to even); centred offset round(12.5 * 0.5 = 6.25) = 6.
  m.SetParameter(1, "Scaled", -5, 25, 2, 7, "0", true);
  const auto& s = m.sbFilter[1];
  EXPECT_EQ(std::tuple(s.Min, s.Max, s.Value, m.ParamOffset[1]), std::tuple(-2, 12, 4, 6));
  m.ControlsChanged();
  EXPECT_EQ(s.ValueText, "8");        // the label shows value x factor
  EXPECT_EQ(m.ParamValue[1], -2);     // 4 - 6
  // Centre offsets on a tie: 20 / 4 * 0.5 = 2.5 -> 2; 28 / 4 * 0.5 = 3.5 -> 4.
  m.SetParameter(0, "a", 0, 20, 4, 0, "0", true);
  EXPECT_EQ(m.ParamOffset[0], 2);
  m.SetParameter(0, "b", 0, 28, 4, 0, "0", true);
  EXPECT_EQ(m.ParamOffset[0], 4);
  m.SetParameter(0, "c", 0, 28, 4, 0, "0", false);
  EXPECT_EQ(m.ParamOffset[0], 0);
  m.SetParameter(2, "d", 0, 25, 2.5, 10, "0.0", false);
  m.ControlsChanged();
  EXPECT_EQ(m.sbFilter[2].ValueText, "10.0");

  // Gamma: slider 0..200 at 100, offset 100, so the filter sees -100..100.
  m.Open(doc.Facade(), 4);
  EXPECT_EQ(std::tuple(m.ParamOffset[0], m.sbFilter[0].ValueText), std::tuple(100, "100"));
  EXPECT_EQ(Call(m, 4), "GammaCorrection 0");
  m.SliderChanged(0, 0);
  EXPECT_EQ(Call(m, 4), "GammaCorrection -100");
  m.SliderChanged(0, 999);  // clamped to the slider's maximum
  EXPECT_EQ(m.sbFilter[0].Value, 200);
  EXPECT_EQ(Call(m, 4), "GammaCorrection 100");
}

TEST(FilterDialogModel, FitSizeRoundsTiesToEvenWithASingleHeightRatio) {
  const int cases[][4] = {
      {100, 50, 100, 50}, {160, 110, 160, 110}, {0, 0, 0, 0},  // fits: unchanged
      {161, 110, 160, 109},                                      // 110 * 160 / 161 = 109.32
      {320, 105, 160, 52}, {320, 107, 160, 54},                  // 52.5 -> 52, 53.5 -> 54
      {200, 300, 73, 110},                                       // 200 * 0.3666667 = 73.3
      {84, 112, 83, 110},  // single ry 0.98214287 * 84 = 82.5000007 -> 83 (a double ratio would tie to 82)
      {320, 220, 160, 110},
  };
  for (const auto& c : cases) {
    int32_t w = -1, h = -1;
    FitSize(c[0], c[1], 160, 110, w, h);
    EXPECT_EQ(std::tuple(w, h), std::tuple(c[2], c[3])) << c[0] << "x" << c[1];
  }
}

TEST(FilterDialogModel, OpenFitsTheThumbnailAndScalesTheRegionByTheWidth) {
  TestDocument wide{RandomPicture(320, 220, 3), RectRegion::FromRect(11, 3, 101, 51)};
  FilterDialogModel m;
  m.Open(wide.Facade(), 1);
  EXPECT_EQ(std::tuple(m.ThumbWidth, m.ThumbHeight, m.ThumbBits.Width(), m.ThumbBits.Height()),
            std::tuple(160, 110, 160, 110));
  // Factor 0.5: 5.5 -> 6, 1.5 -> 2, 50.5 -> 50, 25.5 -> 26.
  ASSERT_NE(m.ThumbRegion(), nullptr);
  EXPECT_EQ(m.ThumbRegion()->Box(), (Rect{6, 2, 50, 26}));
  // 84 x 112 fits as 83 x 110; the factor is 83 / 84 (0.98809522 as a
  // single) for both directions, so the bottom 112 becomes 110.67 -> 111.
  TestDocument tall = Doc(84, 112, 4);
  m.Open(tall.Facade(), 1);
  EXPECT_EQ(m.ThumbRegion()->Box(), (Rect{0, 0, 83, 111}));
  // A picture that fits is its own thumbnail, region included.
  TestDocument fits{RandomPicture(100, 80, 5), RectRegion::FromEllipse(3, 4, 90, 70)};
  m.Open(fits.Facade(), 1);
  EXPECT_TRUE(SameBits(fits.bits, m.ThumbBits));
  EXPECT_EQ(*m.ThumbRegion(), fits.region);
}

TEST(FilterDialogModel, ColorizeLensAndLight) {
  TestDocument doc = Doc(320, 220, 6);
  FilterDialogModel m;
  m.Open(doc.Facade(), 0);
  EXPECT_EQ(m.FilterCallFor(0).method, "COLORIZE");
  EXPECT_EQ(Nums(m.FilterCallFor(0).words), (std::vector<double>{0, 0.5, 1}));
  // Hue slider v: round(v * 2.4), less 240 above 200, over 40: 120 / 40;
  // 199.2 -> 199; 201.6 -> 202 - 240 = -38; 216 - 240 = -24; 240 - 240.
  const std::pair<int, double> hues[] = {{50, 3.0}, {83, 4.975}, {84, -0.95}, {90, -0.6}, {100, 0.0}};
  for (const auto& [v, hue] : hues) {
    m.SliderChanged(0, v);
    EXPECT_EQ(Num(m.FilterCallFor(0).words[0]), hue) << v;
  }

  // Lens and Light take their size relative to the thumbnail's larger side.
  m.Open(doc.Facade(), 27);
  EXPECT_EQ(m.FilterCallFor(27).method, "LENS");
  EXPECT_EQ(Nums(m.FilterCallFor(27).words), (std::vector<double>{0.5, 0.5, 0.3125, 50}));  // 50 / 160
  EXPECT_EQ(m.FilterCallFor(27).words[3], "50");
  m.SliderChanged(0, 100);
  EXPECT_EQ(Num(m.FilterCallFor(27).words[2]), 0.625);
  // A pick past the corner clamps to the last pixel: fractions just under 1,
  // and the first colour box takes that thumbnail pixel.
  m.PickAt(500, 999);
  EXPECT_EQ(std::tuple(m.PickX, m.PickY), std::tuple(159.0 / 160, 109.0 / 110));
  const uint8_t* p = m.ThumbBits.Pixel(159, 109);
  EXPECT_EQ(m.ColColor[0], p[2] | (p[1] << 8) | (p[0] << 16));
  EXPECT_EQ(m.ParamColor[0], m.ColColor[0]);
  EXPECT_EQ(Num(m.FilterCallFor(27).words[0]), 0.99375);
  m.PickAt(-4, 0);
  EXPECT_EQ(std::tuple(m.PickX, m.PickY), std::tuple(0.0, 0.0));

  // 100 x 150 fits as 73 x 110: the larger side is the height.
  TestDocument tall = Doc(100, 150, 8);
  m.Open(tall.Facade(), 36);
  EXPECT_EQ(m.FilterCallFor(36).method, "Light");
  EXPECT_EQ(Nums(m.FilterCallFor(36).words), (std::vector<double>{0.5, 0.5, 50.0 / 110, 250, 0}));
  EXPECT_EQ(m.FilterCallFor(36).words[3] + m.FilterCallFor(36).words[4], "2500");
  // Without picking, a press changes nothing.
  m.Open(doc.Facade(), 1);
  const int32_t before = m.ColColor[0];
  m.PickAt(3, 3);
  EXPECT_EQ(std::tuple(m.PickX, m.ColColor[0]), std::tuple(0.5, before));
}

TEST(FilterDialogModel, PanelsColoursAndOptionReachTheirFilters) {
  TestDocument doc = Doc(30, 20, 9);
  FilterDialogModel m;
  m.Open(doc.Facade(), 26);
  EXPECT_EQ(Call(m, 26), "SwapRGB 2 1 0 false false false false false false");
  // The sliders are not read for the banks: their zeros must not reach V0..V2.
  m.chkInvt[1] = true;
  m.chkKill[2] = true;
  m.ControlsChanged();
  m.ChooseBankSource(0, 0);
  EXPECT_EQ(Call(m, 26), "SwapRGB 0 1 0 false true false false false true");

  m.Open(doc.Facade(), 39);
  EXPECT_EQ(Call(m, 39), "GLASS slanting 0");
  EXPECT_EQ(m.cboItems, (Words{"Light", "Tight"}));
  m.ChooseGlassLevel(1);
  EXPECT_EQ(Call(m, 39), "GLASS slanting 1");
  m.ChooseGlass(0);
  EXPECT_EQ(m.cboItems, (Words{"Large", "Light", "Tight"}));
  EXPECT_EQ(Call(m, 39), "GLASS squary 0");
  m.ChooseGlassLevel(2);
  m.ChooseGlassLevel(3);  // not in the list
  EXPECT_EQ(Call(m, 39), "GLASS squary 2");
  m.Open(doc.Facade(), 40);
  EXPECT_EQ(Call(m, 40), "GLASS curtain 0");
  m.ChooseCurtain(3);
  EXPECT_EQ(Call(m, 40), "GLASS curtain 4");

  m.Open(doc.Facade(), 11);
  EXPECT_EQ(Call(m, 11), "CONTOUR 255 16777215");
  m.ColColor[1] = 0x030201;  // red 1, green 2, blue 3
  m.ControlsChanged();
  EXPECT_EQ(Call(m, 11), "CONTOUR 255 197121");
  // Every opening starts again from black and white.
  m.Open(doc.Facade(), 12);
  EXPECT_EQ(Call(m, 12), "SKETCH 255 false 16777215");
  m.chkOption = true;
  m.ControlsChanged();
  EXPECT_EQ(Call(m, 12), "SKETCH 255 true 16777215");
  m.Open(doc.Facade(), 14);
  m.ColColor[0] = 0x0000FF;
  m.ControlsChanged();
  EXPECT_EQ(Call(m, 14), "ISOLATE 255 16777215 100");
  const std::pair<int, const char*> calls[] = {{21, "Shift 0 0 100"},
                                               {35, "Grid 25 25 true 16777215 128"},
                                               {37, "NOISE 25 false"},
                                               {31, "ROTATE 0 true"}};
  for (const auto& [index, call] : calls) {
    m.Open(doc.Facade(), index);
    EXPECT_EQ(Call(m, index), call);
  }
}

// Blurs has its own reference test; here it is what each run mode must deliver.
Bits Blurred(const Bits& in, int d, const RectRegion& region) {
  cBitFilter f;
  test::Load(f, in, &region);
  return f.Blurs(d);
}

TEST(FilterDialogModel, PreviewThenRealTimeThenOk) {
  const Bits original = RandomPicture(320, 220, 11);
  TestDocument doc{original, RectRegion::FromRect(11, 3, 101, 51)};
  FilterDialogModel m;
  std::vector<int32_t> progress;
  int hidden = 0;
  m.Progress = [&](int32_t p) { progress.push_back(p); };
  m.HideProgress = [&] { ++hidden; };
  m.Open(doc.Facade(), 6);
  EXPECT_TRUE(SameBits(m.ThumbBits, m.PreviewBits));  // level 0 previews the source
  EXPECT_TRUE(m.LastError.empty()) << m.LastError;

  m.SliderChanged(0, 1);
  EXPECT_TRUE(SameBits(Blurred(m.ThumbBits, 1, RectRegion::FromRect(6, 2, 50, 26)), m.PreviewBits));
  EXPECT_TRUE(SameBits(original, doc.bits));
  EXPECT_EQ(std::tuple(progress.size(), doc.refreshes), std::tuple(0u, 0));  // previews show no bar

  m.RealTime();
  EXPECT_TRUE(SameBits(Blurred(original, 1, doc.region), doc.bits));
  EXPECT_EQ(std::tuple(m.RealTimeDone, doc.refreshes), std::tuple(true, 1));
  ASSERT_FALSE(progress.empty());
  EXPECT_EQ(progress.back(), 100);
  const size_t reports = progress.size();

  // After the real-time run nothing runs again: the preview shows the source
  // and OK delivers what the real-time run made.
  m.SliderChanged(0, 2);
  EXPECT_TRUE(SameBits(m.ThumbBits, m.PreviewBits));
  m.Ok();
  EXPECT_TRUE(SameBits(Blurred(original, 1, doc.region), doc.bits));
  EXPECT_EQ(std::tuple(doc.refreshes, doc.undos, progress.size(), hidden, m.Closed),
            std::tuple(1, 1, reports, 1, true));
}

TEST(FilterDialogModel, OkRunsOnTheDocumentAndCancelPutsItBack) {
  const Bits original = RandomPicture(120, 90, 12);
  const RectRegion ellipse = RectRegion::FromEllipse(10, 5, 100, 80);
  for (bool cancel : {false, true}) {
    TestDocument doc{original, ellipse};
    FilterDialogModel m;
    std::vector<int32_t> progress;
    m.Progress = [&](int32_t p) { progress.push_back(p); };
    m.Open(doc.Facade(), 6);
    m.SliderChanged(0, 2);
    if (cancel) {
      m.RealTime();
      EXPECT_TRUE(SameBits(Blurred(original, 2, ellipse), doc.bits));
      m.Cancel();
    } else {
      m.Ok();
    }
    EXPECT_TRUE(SameBits(cancel ? original : Blurred(original, 2, ellipse), doc.bits));
    EXPECT_EQ(std::tuple(doc.refreshes, doc.undos, m.Closed), std::tuple(cancel ? 2 : 1, cancel ? 0 : 1, true));
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back(), 100);
  }
}

TEST(CallFilterByName, AdaptsWordsToTheParameterKindsAndRuns) {
  FilterMethod m;
  m.name = "Probe";
  m.params = {{"i", ParamKind::Integer}, {"b", ParamKind::Byte},   {"c", ParamKind::Colour},
              {"f", ParamKind::Boolean}, {"n", ParamKind::Number}, {"t", ParamKind::Text}};
  auto adapt = [&](Words w) { return AdaptArgumentWords(m, w); };
  EXPECT_EQ(adapt({"2.5", "254.5", "255255255", "0", "true", "2.5"}),
            (Words{"2", "254", "3597015", "false", "-1", "2.5"}));
  EXPECT_EQ(adapt({"3.5", "7", "-1", "-1", "false", "x"}), (Words{"4", "7", "-1", "true", "0", "x"}));
  EXPECT_EQ(adapt({"-2.5", "1.5", "16777216", "true", "0.25", ""}), (Words{"-2", "2", "0", "true", "0.25", ""}));
  EXPECT_EQ(adapt({"true", "x", "-2", "2.5"}), (Words{"-1", "x", "16777214", "true"}));
  // Words beyond the parameters stay as they are; a source takes no word.
  EXPECT_EQ(adapt({"1", "1", "1", "1", "1", "1", "9.5"}).back(), "9.5");
  FilterMethod s;
  s.params = {{"source", ParamKind::Source}, {"n", ParamKind::Integer}};
  EXPECT_EQ(AdaptArgumentWords(s, {"1.5"}), Words{"2"});

  const Bits picture = RandomPicture(5, 3, 13);
  const RectRegion all = RectRegion::FromRect(0, 0, 5, 3);
  cBitFilter engine;
  test::Load(engine, picture, &all);
  Bits out;
  std::string error;
  ASSERT_TRUE(CallFilterByName(engine, "Flip", {"1", "0"}, out, error)) << error;  // 1 is true, 0 false
  EXPECT_TRUE(SameBits(MakePicture(5, 3, [&](int x, int y, int c) { return picture.At(c, 4 - x, y); }), out));
  EXPECT_FALSE(CallFilterByName(engine, "NoSuchMethod", {}, out, error));
  EXPECT_NE(error.find("NoSuchMethod"), std::string::npos);
  EXPECT_FALSE(CallFilterByName(engine, "Flip", {"maybe", "false"}, out, error));
  EXPECT_NE(error.find("horizontal"), std::string::npos) << error;
  EXPECT_TRUE(SameBits(picture, engine.BitsRef()));
}

}  // namespace
}  // namespace kelvane
