#include "filters/filter_dialog_model.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "base/fit_size.h"
#include "base/numeric.h"
#include "filters/colour_space.h"

namespace kelvane {

namespace {

bool WholeInteger(const std::string& word, int64_t& out) {
  if (word.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long long v = std::strtoll(word.c_str(), &end, 10);
  if (errno != 0 || *end != '\0') return false;
  out = v;
  return true;
}

bool WholeNumber(const std::string& word, double& out) {
  if (word.empty()) return false;
  errno = 0;
  char* end = nullptr;
  out = std::strtod(word.c_str(), &end);
  return errno == 0 && *end == '\0' && std::isfinite(out);
}

bool FitsInt32(double v) { return v >= -2147483648.0 && v <= 2147483647.0; }

// One word for one parameter kind, converted as the engine's implicit
// conversions would convert the value.
std::string AdaptWord(ParamKind kind, const std::string& word) {
  int64_t i = 0;
  double d = 0;
  switch (kind) {
    case ParamKind::Integer:
    case ParamKind::Byte:
      if (WholeInteger(word, i)) return word;
      if (kind == ParamKind::Integer && (word == "true" || word == "false")) return word == "true" ? "-1" : "0";
      // A fraction for a whole-number parameter rounds to the nearest, ties
      // to even, as every conversion in the engine: 2.5 gives 2.
      if (WholeNumber(word, d) && FitsInt32(RoundHalfEven(d))) return std::to_string(Round(d));
      return word;
    case ParamKind::Number:
      if (word == "true" || word == "false") return word == "true" ? "-1" : "0";
      return word;
    case ParamKind::Boolean:
      if (word == "true" || word == "false") return word;
      if (WholeNumber(word, d)) return d != 0 ? "true" : "false";
      return word;
    case ParamKind::Colour: {
      // A colour is a 32-bit value of which a filter reads the three low
      // bytes; a larger number, as the presets' 255255255, gives those bytes.
      if (!WholeInteger(word, i)) {
        if (!WholeNumber(word, d) || !FitsInt32(RoundHalfEven(d))) return word;
        i = Round(d);
      }
      if (i == -1 || (i >= 0 && i <= 0xFFFFFF)) return std::to_string(i);
      if (i < INT32_MIN || i > INT32_MAX) return word;
      return std::to_string(static_cast<int64_t>(static_cast<uint32_t>(i) & 0xFFFFFFu));
    }
    case ParamKind::Text:
    case ParamKind::Mask:
    case ParamKind::Picture:
    case ParamKind::Source:
      return word;
  }
  return word;
}

std::string IntWord(int32_t v) { return std::to_string(v); }
std::string BoolWord(bool v) { return v ? "true" : "false"; }
// Enough digits that the catalogue reads back the very same double.
std::string NumberWord(double v) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", v);
  return text;
}

// Format(value, format) for the value labels: "0" is a whole number, "0.00"
// gives as many decimals as zeros behind the point.
std::string FormatValue(double value, const std::string& format) {
  const size_t point = format.find('.');
  if (point == std::string::npos) return std::to_string(Round(value));
  const int decimals = static_cast<int>(format.size() - point - 1);
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::vector<FilterDialogRow> BuildRows() {
  auto row = [](const char* title, std::vector<DialogParameter> params) {
    FilterDialogRow r;
    r.title = title;
    r.parameters = std::move(params);
    return r;
  };
  auto withOption = [](FilterDialogRow r, const char* caption, bool value) {
    r.optionCaption = caption;
    r.optionValue = value;
    return r;
  };
  auto withPick = [](FilterDialogRow r) {
    r.enablePick = true;
    return r;
  };
  auto withHide = [](FilterDialogRow r, int32_t slot) {
    r.hideColor = slot;
    return r;
  };
  auto withPanel = [](FilterDialogRow r, DialogPanel panel) {
    r.panel = panel;
    return r;
  };
  const DialogParameter level100{"Level", -100, 250, 0, false};
  std::vector<FilterDialogRow> rows;
  rows.push_back(row("Colorize", {{"Hue", 0, 100, 0, false}, {"Saturation", 0, 100, 50, false},
                                  {"Luminosity", 0, 100, 100, false}}));
  rows.push_back(row("Brightness", {level100}));
  rows.push_back(row("Contrast", {level100}));
  rows.push_back(row("Saturation", {level100}));
  rows.push_back(row("Gamma correction", {{"Gamma", 0, 200, 100, true}}));
  rows.push_back(row("Diffuse", {{"Horizontal range", 0, 50, 2, false}, {"Vertical range", 0, 50, 2, false}}));
  rows.push_back(row("Blur", {{"Level", 0, 2, 0, false}}));
  rows.push_back(row("Halftone", {{"Radius", 1, 25, 1, false}, {"Definition", 0, 100, 50, false},
                                  {"Intensity", 0, 100, 0, false}}));
  rows.push_back(row("Pixelaze", {{"Pixel size", 1, 25, 2, false}}));
  rows.push_back(row("Emboss", {{"Weight", 0, 50, 10, false}}));
  rows.push_back(row("Engrave", {{"Weight", 0, 50, 10, false}}));
  rows.push_back(withHide(row("Contour", {{"Weight", 0, 255, 255, false}}), 0));
  rows.push_back(withHide(withOption(row("Sketch", {{"Weight", 0, 255, 255, false}}), "B/W", false), 0));
  rows.push_back(row("Threshold", {{"Cut value", 0, 255, 128, false}}));
  rows.push_back(withHide(withPick(row("Isolate", {{"Tolerance", 0, 200, 100, false}})), -1));
  rows.push_back(row("Reduction", {{"Level", 0, 255, 0, false}}));
  rows.push_back(withHide(withPick(row("Replace", {{"Tolerance", 0, 200, 100, false}})), -1));
  rows.push_back(withHide(withPick(row("Replace Hue/Saturation", {{"Hue Tolerance", 0, 100, 50, false},
                                                                  {"Sat. Tolerance", 0, 100, 50, false},
                                                                  {"Apply Tolerance", 0, 200, 100, false}})),
                          -1));
  rows.push_back(withHide(withPick(row("Replace Luminous", {{"Lum. Tolerance", 0, 100, 50, false},
                                                            {"Apply Tolerance", 0, 200, 100, false}})),
                          -1));
  rows.push_back(row("Sharpen", {{"Level", 0, 100, 0, false}}));
  rows.push_back(row("Soften", {{"Level", 0, 100, 0, false}}));
  rows.push_back(withHide(
      withPick(row("Shift", {{"Shift", -255, 255, 0, false}, {"Tolerance", 0, 200, 100, false}})), 1));
  rows.push_back(row("Hue rotation", {{"Offset", 0, 100, 0, false}, {"Saturation", 0, 100, 100, false}}));
  rows.push_back(row("Grey rotation", {{"Offset", 0, 100, 0, false}, {"Steps", 0, 100, 25, false}}));
  rows.push_back(row("Hue stretch", {{"Offset", 0, 100, 0, false}, {"Saturation", 0, 100, 100, false},
                                     {"Stretch factor", 0, 100, 0, false}}));
  rows.push_back(row("RGB levels", {{"Red", -255, 255, 0, false}, {"Green", -255, 255, 0, false},
                                    {"Blue", -255, 255, 0, false}}));
  rows.push_back(withPanel(row("RGB banks", {}), DialogPanel::Banks));
  rows.push_back(withPick(row("Lens", {{"Diameter", 1, 100, 50, false}, {"Magnify factor", 0, 100, 50, false}})));
  rows.push_back(row("Waves", {{"Frequency", 0, 100, 25, false}, {"Amplitude", 1, 100, 25, false},
                               {"Start degree", 0, 360, 0, false}}));
  rows.push_back(withOption(row("Bend", {{"Radius factor", -200, 200, 0, false}}), "Clean back", true));
  rows.push_back(withOption(row("Fold", {{"Horizontal factor", -100, 100, 0, false},
                                         {"Vertical factor", -100, 100, 0, false}}),
                            "Clean back", true));
  rows.push_back(withOption(row("Rotate", {{"Degrees", -180, 180, 0, false}}), "Clean back", true));
  rows.push_back(withOption(row("Stretch", {{"Horizontal factor", -100, 100, 0, false},
                                            {"Vertical factor", -100, 100, 0, false}}),
                            "Clean back", true));
  rows.push_back(row("Tile", {{"Factor", 2, 50, 2, false}}));
  rows.push_back(withOption(
      row("Twirl", {{"Level", -100, 100, 0, false}, {"Offset degrees", -180, 180, 0, false}}), "Clean back", true));
  rows.push_back(withHide(withOption(row("Grid", {{"Horizontal step", 1, 250, 25, false},
                                                  {"Vertical step", 1, 250, 25, false},
                                                  {"Opacity", 0, 255, 128, false}}),
                                     "Force margins", true),
                          0));
  rows.push_back(withPick(row("Light", {{"Extension", 1, 100, 50, false}, {"Intensity", 0, 500, 250, false},
                                        {"Definition", 0, 100, 0, false}})));
  rows.push_back(withOption(row("Noise", {{"Intensity", 0, 100, 25, false}}), "Equalized", false));
  rows.push_back(row("Scanlines", {{"Opacity", 0, 255, 128, false}}));
  rows.push_back(withPanel(row("Behind Glass", {}), DialogPanel::Glass));
  rows.push_back(withPanel(row("Behind Curtain", {}), DialogPanel::Curtain));
  return rows;
}

}  // namespace

// ---------------------------------------------------------------------------
// Calling by name

std::vector<std::string> AdaptArgumentWords(const FilterMethod& method, const std::vector<std::string>& words) {
  std::vector<std::string> out = words;
  size_t next = 0;
  for (const ParamSpec& p : method.params) {
    if (p.kind == ParamKind::Source) continue;
    // A mask spans several words; nothing a preset or the dialog passes.
    if (p.kind == ParamKind::Mask || next >= out.size()) break;
    out[next] = AdaptWord(p.kind, out[next]);
    ++next;
  }
  return out;
}

bool CallFilterByName(cBitFilter& engine, std::string_view name, const std::vector<std::string>& words,
                      Bits& result, std::string& error) {
  const FilterMethod* method = FindFilterMethod(name);
  if (!method) {
    error = "method '" + std::string(name) + "' is not in the catalogue";
    return false;
  }
  std::vector<ArgValue> values;
  if (!ParseMethodArguments(*method, AdaptArgumentWords(*method, words), engine.BitsRef(), PictureLoader{}, values,
                            error)) {
    return false;
  }
  MethodResult r = InvokeMethod(engine, *method, values);
  result = r.pixels ? std::move(*r.pixels) : engine.GetBits();
  return true;
}

// ---------------------------------------------------------------------------
// Tables

const std::vector<FilterDialogRow>& FilterDialogRows() {
  static const std::vector<FilterDialogRow> rows = BuildRows();
  return rows;
}

const std::array<GlassChoice, 4>& GlassChoices() {
  static const std::array<GlassChoice, 4> choices = {{
      {"Squary", "squary", {"Large", "Light", "Tight"}},
      {"Horizontal", "horizontal", {"Large", "Light", "Tight"}},
      {"Vertical", "vertical", {"Large", "Light", "Tight"}},
      {"Slanting", "slanting", {"Light", "Tight"}},
  }};
  return choices;
}

const std::array<const char*, 4>& CurtainChoices() {
  static const std::array<const char*, 4> choices = {"Horizontal", "Vertical", "Classy", "Whity"};
  return choices;
}

// ---------------------------------------------------------------------------
// The model

FilterDialogModel::FilterDialogModel() {
  tFilter_.SetProgressHandler([this](int32_t percent) { tFilter_Progress(percent); });
}


void FilterDialogModel::ResetControls() {
  Title.clear();
  for (Slider& s : sbFilter) s = Slider{};
  frOptionVisible = false;
  lblOption.clear();
  chkOption = false;
  frColorVisible = false;
  ColVisible = {false, false};
  frBanksVisible = false;
  chkInvt = {false, false, false};
  chkKill = {false, false, false};
  FrmGlassVisible = false;
  ooIndex = -1;
  cboItems.clear();
  cboIndex = -1;
  FrmCurtainVisible = false;
  CurtIndex = -1;
  PickMarked = false;
  ParamCount = 0;
  ParamFormat = {};
  ParamFactor = {1, 1, 1};
  ParamOffset = {};
  ParamValue = {};
  PickEnabled = false;
  PickX = PickY = 0.5;
  GlassStyle.clear();
  FilterReady = false;
}

void FilterDialogModel::Open(const FilterDialogDocument& document, int32_t index) {
  document_ = document;
  RealTimeRunning = RealTimeDone = OKRunning = Closed = false;
  LastError.clear();
  // The colour boxes start black and white with every opening.
  ColColor = {0x000000, 0xFFFFFF};
  const Bits empty;
  const Bits& source = document_.bits ? *document_.bits : empty;
  savedBits_ = source;
  FitSize(source.Width(), source.Height(), kThumbMaxWidth, kThumbMaxHeight, ThumbWidth, ThumbHeight);
  if (ThumbWidth == source.Width() && ThumbHeight == source.Height()) {
    ThumbBits = source;
  } else {
    cBitFilter scaler;
    scaler.BitsResample(source, ThumbWidth, ThumbHeight);
    ThumbBits = scaler.GetBits();
  }
  // The document's region as the preview sees it: every edge times
  // ThumbWidth / document width (a single, as a zoom factor is), rounded.
  thumbRegion_.Clear();
  if (document_.region) {
    thumbRegion_.SetRegion(*document_.region);
    // The ratio is worked out in double precision and only then held as
    // the single the zoom factor is.
    thumbRegion_.SetZoomFactor(
        source.Width() > 0 ? static_cast<float>(static_cast<double>(ThumbWidth) / source.Width()) : 1.0f);
  }
  FilterIndex = index;
  SetupFilter(index);
  RunFilter(index);
}

void FilterDialogModel::SetParameter(int32_t slot, const std::string& caption, int32_t minimum, int32_t maximum,
                                     double factor, int32_t defaultValue, const std::string& format, bool centred) {
  if (slot < 0 || slot >= kDialogSlots || factor == 0) return;
  Slider& s = sbFilter[slot];
  s.Visible = true;
  s.Caption = caption;
  s.Min = Round(minimum / factor);
  s.Max = Round(maximum / factor);
  s.Value = Round(defaultValue / factor);
  ParamFormat[slot] = format;
  ParamFactor[slot] = factor;
  ParamOffset[slot] = centred ? Round(maximum / factor * 0.5) : 0;
  ParamCount = std::max(ParamCount, slot + 1);
}

void FilterDialogModel::SetOption(const std::string& caption, bool value) {
  frOptionVisible = true;
  lblOption = caption;
  chkOption = value;
}

void FilterDialogModel::EnablePick() {
  PickEnabled = true;
  PickX = 0.5;
  PickY = 0.5;
}

void FilterDialogModel::HideColor(int32_t slot) {
  PickMarked = true;
  frColorVisible = true;
  ColVisible = {true, true};
  if (slot > -1 && slot < 2) ColVisible[slot] = false;
}

void FilterDialogModel::SetupFilter(int32_t index) {
  if (index < 0 || index >= kFilterDialogCount) return;
  ResetControls();
  const FilterDialogRow& row = FilterDialogRows()[index];
  Title = row.title;
  for (size_t i = 0; i < row.parameters.size(); ++i) {
    const DialogParameter& p = row.parameters[i];
    SetParameter(static_cast<int32_t>(i), p.caption, p.minimum, p.maximum, 1, p.defaultValue, "0", p.centred);
  }
  if (row.optionCaption) SetOption(row.optionCaption, row.optionValue);
  if (row.enablePick) EnablePick();
  if (row.hideColor) HideColor(*row.hideColor);
  switch (row.panel) {
    case DialogPanel::Banks:
      // Red takes channel 2, green 1, blue 0: the picture as it is.
      frBanksVisible = true;
      ParamValue = {2, 1, 0};
      break;
    case DialogPanel::Glass:
      FrmGlassVisible = true;
      ooIndex = 3;
      GlassStyle = "slanting";
      cboItems.assign(GlassChoices()[3].levels.begin(), GlassChoices()[3].levels.end());
      cboIndex = 0;
      ParamValue[0] = 0;
      break;
    case DialogPanel::Curtain:
      FrmCurtainVisible = true;
      GlassStyle = "curtain";
      ParamValue[0] = 0;
      break;
    case DialogPanel::None:
      break;
  }
  FilterIndex = index;
  FilterReady = true;
}

FilterCall FilterDialogModel::FilterCallFor(int32_t index) const {
  const int32_t V0 = ParamValue[0], V1 = ParamValue[1], V2 = ParamValue[2];
  const std::string C0 = IntWord(ParamColor[0]), C1 = IntWord(ParamColor[1]);
  const std::string O = BoolWord(OptionValue);
  const std::string v0 = IntWord(V0), v1 = IntWord(V1), v2 = IntWord(V2);
  // Diameter and extension are relative to the thumbnail's larger side, also
  // when the filter runs on the whole document.
  const double larger = std::max(ThumbWidth, ThumbHeight);
  switch (index) {
    case 0:
      return {"COLORIZE",
              {NumberWord(HueWrap(Round(V0 * 2.4)) / 40.0), NumberWord(V1 / 100.0), NumberWord(V2 / 100.0)}};
    case 1: return {"BRIGHTNESS", {v0}};
    case 2: return {"Contrast", {v0}};
    case 3: return {"SATURATION", {v0}};
    case 4: return {"GammaCorrection", {v0}};
    case 5: return {"DIFFUSE", {v0, v1}};
    case 6: return {"Blurs", {v0}};
    case 7: return {"HALFTONE", {v0, v1, v2}};
    case 8: return {"PIXELIZE", {v0}};
    case 9: return {"EMBOSS", {v0}};
    case 10: return {"Engrave", {v0}};
    case 11: return {"CONTOUR", {v0, C1}};
    case 12: return {"SKETCH", {v0, O, C1}};
    case 13: return {"Threshold", {v0}};
    case 14: return {"ISOLATE", {C0, C1, v0}};
    case 15: return {"Reduction", {v0}};
    case 16: return {"REPLACE", {C0, C1, v0}};
    case 17: return {"ReplaceHS", {C0, C1, v0, v1, v2}};
    case 18: return {"ReplaceL", {C0, C1, v0, v1}};
    case 19: return {"SHARPEN", {v0}};
    case 20: return {"SOFTEN", {v0}};
    case 21: return {"Shift", {C0, v0, v1}};
    case 22: return {"RotateH", {v0, v1}};
    case 23: return {"RotateL", {v0, v1}};
    case 24: return {"StretchH", {v0, v1, v2}};
    case 25: return {"ShiftRGB", {v0, v1, v2}};
    case 26:
      return {"SwapRGB",
              {v0, v1, v2, BoolWord(chkInvt[0]), BoolWord(chkInvt[1]), BoolWord(chkInvt[2]), BoolWord(chkKill[0]),
               BoolWord(chkKill[1]), BoolWord(chkKill[2])}};
    case 27: return {"LENS", {NumberWord(PickX), NumberWord(PickY), NumberWord(larger > 0 ? V0 / larger : 0), v1}};
    case 28: return {"WAVES", {v0, v1, v2}};
    case 29: return {"BEND", {v0, O}};
    case 30: return {"FOLD", {v0, v1, O}};
    case 31: return {"ROTATE", {v0, O}};
    case 32: return {"STRETCH", {v0, v1, O}};
    case 33: return {"TILE", {v0}};
    case 34: return {"TWIRL", {v0, v1, O}};
    case 35: return {"Grid", {v0, v1, O, C1, v2}};
    case 36:
      return {"Light", {NumberWord(PickX), NumberWord(PickY), NumberWord(larger > 0 ? V0 / larger : 0), v1, v2}};
    case 37: return {"NOISE", {v0, O}};
    case 38: return {"Scanlines", {v0}};
    case 39:
    case 40: return {"GLASS", {GlassStyle, v0}};
    default: return {};
  }
}

void FilterDialogModel::RunFilter(int32_t index) {
  if (!FilterReady) return;
  if (index != 26 && index != 39 && index != 40) {
    for (int32_t i = 0; i < ParamCount; ++i) {
      sbFilter[i].ValueText = FormatValue(sbFilter[i].Value * ParamFactor[i], ParamFormat[i]);
      ParamValue[i] = sbFilter[i].Value - ParamOffset[i];
    }
    OptionValue = chkOption;
    ParamColor = ColColor;
  }
  const bool preview = !RealTimeRunning && !OKRunning;
  if (preview) {
    tFilter_.SetBits(ThumbBits);
    tFilter_.BitsRegion(thumbRegion_.RegionScaled());
  } else {
    if (!document_.bits) return;
    tFilter_.SetBits(*document_.bits);
    tFilter_.BitsRegion(document_.region);
  }
  if (!RealTimeDone) {
    const FilterCall call = FilterCallFor(index);
    Bits result;
    std::string error;
    if (CallFilterByName(tFilter_, call.method, call.words, result, error)) {
      tFilter_.SetBits(std::move(result));
      LastError.clear();
    } else {
      // A failed filter leaves the picture as it was; the dialog says nothing.
      LastError = error;
    }
  }
  if (RealTimeRunning) {
    *document_.bits = tFilter_.GetBits();
    if (document_.Refresh) document_.Refresh();
  } else if (OKRunning) {
    if (!RealTimeDone) {
      *document_.bits = tFilter_.GetBits();
      if (document_.Refresh) document_.Refresh();
    }
    if (document_.SaveUndoBits) document_.SaveUndoBits();
    Closed = true;
  } else {
    PreviewBits = tFilter_.GetBits();
  }
}

void FilterDialogModel::SliderChanged(int32_t slot, int32_t value) {
  if (slot < 0 || slot >= kDialogSlots) return;
  Slider& s = sbFilter[slot];
  s.Value = std::clamp(value, std::min(s.Min, s.Max), std::max(s.Min, s.Max));
  RunFilter(FilterIndex);
}

void FilterDialogModel::PickAt(int32_t x, int32_t y) {
  if (!PickEnabled || ThumbWidth <= 0 || ThumbHeight <= 0) return;
  x = std::clamp(x, 0, ThumbWidth - 1);
  y = std::clamp(y, 0, ThumbHeight - 1);
  PickX = static_cast<double>(x) / ThumbWidth;
  PickY = static_cast<double>(y) / ThumbHeight;
  const uint8_t* p = ThumbBits.Pixel(x, y);
  ColColor[0] = RGB(p[2], p[1], p[0]);
  RunFilter(FilterIndex);
}

void FilterDialogModel::ChooseGlass(int32_t choice) {
  if (choice < 0 || choice >= static_cast<int32_t>(GlassChoices().size())) return;
  const GlassChoice& g = GlassChoices()[choice];
  ooIndex = choice;
  GlassStyle = g.style;
  cboItems.assign(g.levels.begin(), g.levels.end());
  // The refilled list starts again at its first item.
  cboIndex = 0;
  ParamValue[0] = 0;
  RunFilter(FilterIndex);
}

void FilterDialogModel::ChooseGlassLevel(int32_t item) {
  if (item < 0 || item >= static_cast<int32_t>(cboItems.size())) return;
  cboIndex = item;
  ParamValue[0] = item;
  RunFilter(FilterIndex);
}

void FilterDialogModel::ChooseCurtain(int32_t choice) {
  if (choice < 0 || choice >= static_cast<int32_t>(CurtainChoices().size())) return;
  CurtIndex = choice;
  ParamValue[0] = choice + 1;
  RunFilter(FilterIndex);
}

void FilterDialogModel::ChooseBankSource(int32_t channel, int32_t source) {
  if (channel < 0 || channel > 2 || source < 0 || source > 2) return;
  ParamValue[channel] = source;
  RunFilter(FilterIndex);
}

void FilterDialogModel::ControlsChanged() { RunFilter(FilterIndex); }

void FilterDialogModel::RealTime() {
  if (RealTimeDone) return;
  RealTimeRunning = true;
  RunFilter(FilterIndex);
  RealTimeRunning = false;
  RealTimeDone = true;
}

void FilterDialogModel::Ok() {
  OKRunning = true;
  RunFilter(FilterIndex);
  OKRunning = false;
  if (HideProgress) HideProgress();
}

void FilterDialogModel::Cancel() {
  if (document_.bits) *document_.bits = savedBits_;
  if (document_.Refresh) document_.Refresh();
  Closed = true;
  if (HideProgress) HideProgress();
}

void FilterDialogModel::tFilter_Progress(int32_t percent) {
  if (!RealTimeRunning && !OKRunning) return;  // previews show no bar
  if (!RealTimeDone && Progress) Progress(percent);
}

}  // namespace kelvane
