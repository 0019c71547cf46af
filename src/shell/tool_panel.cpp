#include "shell/tool_panel.h"

#include <algorithm>
#include <cctype>
#include <system_error>

#include "document/document.h"
#include "shell/app_folder.h"
#include "shell/number_box.h"

namespace kelvane {

namespace {

// ---- Frames -----------------------------------------------------------------

constexpr std::string_view kSelectionControls[] = {"cbSelectionMode", "cbSelectionShape", "chkMoveSelection",
                                                   "sbSelectionPressure"};
constexpr std::string_view kSelectionMoveControls[] = {"cSelectionMove", "cSelectionPressure"};
constexpr std::string_view kAirBrushControls[] = {"sbAirbrushSize", "sbAirbrushPressure",
                                                  "sbAirBrushQuantity", "sbAirbrushDefinition"};
constexpr std::string_view kBrushControls[] = {"cbBrushMode", "sbBrushSize", "sbBrushPressure",
                                               "chkContinuous"};
constexpr std::string_view kFillControls[] = {"cbFillMode", "sbFillTolerance", "sbFillPressure"};
constexpr std::string_view kGradientControls[] = {"cbGradMode", "GradColor",      "chkTranspCol",
                                                  "iGrad",      "sbGradPressure", "sbGradFrequency"};
constexpr std::string_view kShapeControls[] = {"lstShape", "sbShapePressure", "sbShapeSides"};
constexpr std::string_view kStampControls[] = {
    "cbStamps",     "flStamps",     "icStamp",         "iStamp",    "iStampBk",       "iStampD",
    "chkClearBack", "chkStampMask", "chkUseMaskColor", "MaskColor", "sbStampPressure"};
constexpr std::string_view kStampLabels[] = {"Defined", "User-Defined"};

const ToolFrameInfo kFrames[] = {
    {"SelectionMove", kSelectionMoveControls, {}},
    {"Selection", kSelectionControls, {}},
    {"AirBrush", kAirBrushControls, {}},
    {"Brush", kBrushControls, {}},
    {"Stamp", kStampControls, kStampLabels},
    {"Fill", kFillControls, {}},
    {"Shape", kShapeControls, {}},
    {"Gradient", kGradientControls, {}},
    {"layer", {}, {}},
    {"StatusStrip", {}, {}},
};

// ---- Combos -----------------------------------------------------------------

constexpr std::string_view kSelectionModeItems[] = {"Add", "Subtract", "New"};
constexpr std::string_view kSelectionShapeItems[] = {"Rectangle", "Ellipse", "Polygon/Free hand", "Pixel"};
constexpr std::string_view kSelectionMoveItems[] = {"Move Selection Only", "Move Content Only"};
constexpr std::string_view kBrushModeItems[] = {"Current color", "Soften", "Soften (Overlay)",     "Sharpen",
                                                "Lighten",       "Darken", "Current stamp (Tiled)"};
constexpr std::string_view kFillModeItems[] = {"Current color", "Current stamp"};
constexpr std::string_view kGradModeItems[] = {"Linear", "Circular"};
constexpr std::string_view kShapeItems[] = {"Line",   "Free hand", "Square", "Rectangle",
                                            "Circle", "Ellipse",   "Polygon"};

int16_t ToI16(int32_t v) { return static_cast<int16_t>(std::clamp<int32_t>(v, INT16_MIN, INT16_MAX)); }

const ToolComboInfo kCombos[] = {
    {"Selection", "cbSelectionMode", "", kSelectionModeItems, false,
     [](const StartRecord& r) -> int32_t { return r.SelectionMode; },
     [](StartRecord& r, int32_t i) { r.SelectionMode = ToI16(i); }},
    {"Selection", "cbSelectionShape", "", kSelectionShapeItems, false,
     [](const StartRecord& r) -> int32_t { return r.SelectionShape; },
     [](StartRecord& r, int32_t i) { r.SelectionShape = ToI16(i); }},
    // The same field as chkMoveSelection ("Move selection" on is true), which
    // the canvas reads as its "Move Selection Only" flag: index 0 is true.
    {"SelectionMove", "cSelectionMove", "Action", kSelectionMoveItems, true,
     [](const StartRecord& r) -> int32_t { return r.SelectionMoveContent != 0 ? 0 : 1; },
     [](StartRecord& r, int32_t i) { r.SelectionMoveContent = i == 0 ? kTrue : kFalse; }},
    {"Brush", "cbBrushMode", "Mode", kBrushModeItems, false,
     [](const StartRecord& r) -> int32_t { return r.BrushMode; },
     [](StartRecord& r, int32_t i) { r.BrushMode = ToI16(i); }},
    {"Fill", "cbFillMode", "Mode", kFillModeItems, false,
     [](const StartRecord& r) -> int32_t { return r.FillMode; },
     [](StartRecord& r, int32_t i) { r.FillMode = ToI16(i); }},
    // The mode is the third value of GradientShape.
    {"Gradient", "cbGradMode", "Mode", kGradModeItems, false,
     [](const StartRecord& r) -> int32_t { return r.GradientShape[2]; },
     [](StartRecord& r, int32_t i) { r.GradientShape[2] = i; }},
    {"Shape", "lstShape", "Shape", kShapeItems, false,
     [](const StartRecord& r) -> int32_t { return r.ShapeKind; },
     [](StartRecord& r, int32_t i) { r.ShapeKind = ToI16(i); }},
};

// ---- Check boxes --------------------------------------------------------------

const ToolCheckInfo kChecks[] = {
    {"Selection", "chkMoveSelection", "&Move selection", "Move region / move pixels",
     &StartRecord::SelectionMoveContent},
    {"Brush", "chkContinuous", "Trace", "", &StartRecord::BrushContinuous},
    {"Gradient", "chkTranspCol", "Transparent", "", &StartRecord::GradientTransparent},
    {"Stamp", "chkClearBack", "&Clear back", "Clear stamp track", &StartRecord::StampClearBack},
    {"Stamp", "chkStampMask", "&Stamp mask", "Current color stamp", &StartRecord::StampMask},
    {"Stamp", "chkUseMaskColor", "Mask color", "Use mask color", &StartRecord::StampUseMaskColor},
};

// ---- Slider trios -------------------------------------------------------------

const ToolSliderInfo kSliders[] = {
    {"Selection", "sbSelectionPressure", "", &StartRecord::SelectionPressure},
    // A second view on the selection pressure, in the move frame.
    {"SelectionMove", "cSelectionPressure", "Opaque Intensity", &StartRecord::SelectionPressure},
    {"AirBrush", "sbAirbrushSize", "Size", &StartRecord::AirbrushSize},
    {"AirBrush", "sbAirbrushPressure", "Pressure", &StartRecord::AirbrushPressure},
    {"AirBrush", "sbAirBrushQuantity", "Quantity", &StartRecord::AirbrushQuantity},
    {"AirBrush", "sbAirbrushDefinition", "Definition", &StartRecord::AirbrushDefinition},
    {"Brush", "sbBrushSize", "Size", &StartRecord::BrushSize},
    {"Brush", "sbBrushPressure", "Intensity", &StartRecord::BrushPressure},
    {"Fill", "sbFillTolerance", "Tolerance", &StartRecord::FillTolerance},
    {"Fill", "sbFillPressure", "Pressure", &StartRecord::FillPressure},
    {"Gradient", "sbGradPressure", "Pressure", &StartRecord::GradientPressure},
    {"Gradient", "sbGradFrequency", "Frequency", &StartRecord::GradientFrequency},
    {"Shape", "sbShapePressure", "Pressure", &StartRecord::ShapePressure},
    {"Shape", "sbShapeSides", "Pologon sides", &StartRecord::ShapeSides},
    {"Stamp", "sbStampPressure", "Pressure", &StartRecord::StampPressure},
};

// ---- Tool bar -------------------------------------------------------------------

// Only the place of "MouseScroll" is fixed (EnableMouseScrolling presses it
// by index); the rest is the bar's own order.
const ToolButtonInfo kButtons[] = {
    {1, "Select"},    {2, "SelectionMove"}, {3, "Pencil"},   {4, "Brush"},        {5, "Airbrush"},
    {6, "Stamp"},     {7, "Fill"},          {8, "Gradient"}, {9, "Shape"},        {10, "Text"},
    {11, "GetColor"}, {12, "Layers"},       {13, "ZoomIn"},  {14, "MouseScroll"}, {15, "ZoomOut"},
};
static_assert(static_cast<int32_t>(std::size(kButtons)) == kToolButtonCount);

struct KeyFrame {
  std::string_view Key;
  std::string_view Frame;
};
constexpr KeyFrame kKeyFrames[] = {
    {"SelectionMove", "SelectionMove"}, {"Select", "Selection"}, {"Brush", "Brush"},
    {"Airbrush", "AirBrush"},           {"Stamp", "Stamp"},      {"Fill", "Fill"},
    {"Gradient", "Gradient"},           {"Shape", "Shape"},      {"Layers", "layer"},
};

template <typename Row>
const Row* FindByName(std::span<const Row> rows, std::string_view name) {
  for (const Row& row : rows)
    if (row.Name == name) return &row;
  return nullptr;
}

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// Whole-name wildcard match, '*' any run and '?' one character, ignoring case.
bool WildcardMatch(std::string_view pattern, std::string_view name) {
  size_t p = 0, n = 0;
  size_t starP = std::string_view::npos, starN = 0;
  while (n < name.size()) {
    if (p < pattern.size() && (pattern[p] == '?' || Lower(pattern[p]) == Lower(name[n]))) {
      ++p;
      ++n;
    } else if (p < pattern.size() && pattern[p] == '*') {
      starP = p++;
      starN = n;
    } else if (starP != std::string_view::npos) {
      p = starP + 1;
      n = ++starN;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

// num / den rounded to the nearest integer, ties to even; den > 0, num >= 0.
int64_t DivRoundEven(int64_t num, int64_t den) {
  int64_t q = num / den;
  const int64_t r2 = 2 * (num % den);
  if (r2 > den || (r2 == den && (q & 1) != 0)) ++q;
  return q;
}

}  // namespace

// ---- Table access ---------------------------------------------------------------

std::span<const ToolFrameInfo> ToolFrameTable() { return kFrames; }
const ToolFrameInfo* FindToolFrame(std::string_view name) { return FindByName(ToolFrameTable(), name); }
std::span<const ToolComboInfo> ToolComboTable() { return kCombos; }
const ToolComboInfo* FindToolCombo(std::string_view name) { return FindByName(ToolComboTable(), name); }
std::span<const ToolCheckInfo> ToolCheckTable() { return kChecks; }
const ToolCheckInfo* FindToolCheck(std::string_view name) { return FindByName(ToolCheckTable(), name); }
std::span<const ToolSliderInfo> ToolSliderTable() { return kSliders; }
const ToolSliderInfo* FindToolSlider(std::string_view name) { return FindByName(ToolSliderTable(), name); }
std::span<const ToolButtonInfo> ToolButtonTable() { return kButtons; }

int32_t ToolButtonIndex(std::string_view key) {
  for (const ToolButtonInfo& b : kButtons)
    if (b.Key == key) return b.Index;
  return 0;
}

std::string_view ToolFrameForKey(std::string_view key) {
  for (const KeyFrame& kf : kKeyFrames)
    if (kf.Key == key) return kf.Frame;
  return {};
}

// ---- Slider trio ------------------------------------------------------------------

void SliderTrio::SliderChange(StartRecord& record, int32_t value) {
  const int32_t v = std::clamp(value, kSliderMin, kSliderMax);
  Value = v;
  Text = NumberBoxText(v);
  BarValue = v;
  if (Info) record.*(Info->Field) = static_cast<int16_t>(v);
}

void SliderTrio::BarChange(StartRecord& record, int32_t value) {
  BarValue = std::clamp(value, kSliderMin, kSliderMax);
  SliderChange(record, BarValue);
}

void SliderTrio::TextChange(StartRecord& record, std::string_view text) {
  Text = std::string(text);
  // Each test reads the box again, as the box's change handler does.
  if (NumberBoxValue(Text) > 100.0) Text = "100";
  if (NumberBoxValue(Text) <= 0.0) Text = "1";
  if (Text.empty()) Text = "1";
  if (Info) record.*(Info->Field) = ToI16(NumberBoxInteger(Text));
}

void SliderTrio::Load(const StartRecord& record) {
  if (!Info) return;
  const int32_t v = std::clamp<int32_t>(record.*(Info->Field), kSliderMin, kSliderMax);
  Value = v;
  BarValue = v;
  Text = NumberBoxText(v);
}

// ---- Combos and check boxes ----------------------------------------------------------

void ToolCombo::Click(StartRecord& record, int32_t index) {
  if (index < 0 || index >= static_cast<int32_t>(Items.size())) return;
  ListIndex = index;
  if (Info) Info->Write(record, index);
}

void ToolCombo::Load(const StartRecord& record) {
  if (!Info) return;
  const int32_t index = Info->Read(record);
  if (index >= 0 && index < static_cast<int32_t>(Items.size())) ListIndex = index;
}

void ToolCheck::Click(StartRecord& record, bool on) {
  Value = on;
  if (Info) record.*(Info->Field) = on ? kTrue : kFalse;
}

void ToolCheck::Load(const StartRecord& record) {
  if (Info) Value = record.*(Info->Field) != 0;
}

// ---- Gradient preview ----------------------------------------------------------------

std::vector<int32_t> GradientRamp(int32_t colour0, int32_t colour1, int32_t width) {
  std::vector<int32_t> columns;
  if (width <= 0) return columns;
  width = std::min(width, kMaxPreviewWidth);
  columns.resize(static_cast<size_t>(width));
  const int64_t den = width - 1;
  for (int32_t x = 0; x < width; ++x) {
    int32_t colour = 0;
    for (int shift = 0; shift < 24; shift += 8) {
      const int64_t a = (colour0 >> shift) & 0xFF;
      const int64_t b = (colour1 >> shift) & 0xFF;
      const int64_t c = den == 0 ? a : DivRoundEven(a * (den - x) + b * x, den);
      colour |= static_cast<int32_t>(c) << shift;
    }
    columns[static_cast<size_t>(x)] = colour;
  }
  return columns;
}

// ---- Stamp files ------------------------------------------------------------------------

bool FileListMatches(std::string_view pattern, std::string_view name) {
  while (true) {
    const size_t semi = pattern.find(';');
    const std::string_view part = TrimBlanks(pattern.substr(0, semi));
    if (!part.empty() && WildcardMatch(part, name)) return true;
    if (semi == std::string_view::npos) return false;
    pattern.remove_prefix(semi + 1);
  }
}

std::vector<std::string> FileListNames(const std::filesystem::path& folder, std::string_view pattern) {
  std::vector<std::string> names;
  std::error_code ec;
  std::filesystem::directory_iterator it(folder, ec);
  if (ec) return names;
  for (const std::filesystem::directory_iterator end; it != end; it.increment(ec)) {
    if (ec) break;
    std::error_code fileEc;
    if (!it->is_regular_file(fileEc) || fileEc) continue;
    std::string name = it->path().filename().string();
    if (name.empty() || name.front() == '.') continue;
    if (FileListMatches(pattern, name)) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    const bool less = std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                                   [](char x, char y) { return Lower(x) < Lower(y); });
    const bool greater = std::lexicographical_compare(b.begin(), b.end(), a.begin(), a.end(),
                                                      [](char x, char y) { return Lower(x) < Lower(y); });
    return less || (!greater && a < b);
  });
  return names;
}

// ---- Document view ------------------------------------------------------------------------

void DocumentToolView::ShowPlainView() { doc_.SelectTab(ViewTab::Original); }
void DocumentToolView::SetMouseScroll(bool on) { doc_.MouseScroll(on); }
void DocumentToolView::ZoomIn() { doc_.ZoomIn(); }
void DocumentToolView::ZoomOut() { doc_.ZoomOut(); }
int32_t DocumentToolView::ZoomFactor() const { return doc_.ZoomFactor(); }
// The document builds the same "factor : 1" text from its own zoom.
void DocumentToolView::SetZoomStatus(std::string_view) { doc_.RefreshZoomPanel(); }

// ---- The panel ------------------------------------------------------------------------------

ToolPanel::ToolPanel(StartRecord& record) : record_(record) {
  for (const ToolSliderInfo& info : kSliders) {
    SliderTrio trio;
    trio.Info = &info;
    trios_.push_back(std::move(trio));
  }
  for (const ToolComboInfo& info : kCombos) {
    ToolCombo combo;
    combo.Info = &info;
    if (!info.FilledByInit) combo.Items.assign(info.Items.begin(), info.Items.end());
    combos_.push_back(std::move(combo));
  }
  for (const ToolCheckInfo& info : kChecks) {
    ToolCheck check;
    check.Info = &info;
    checks_.push_back(check);
  }
  RedrawGradient();
}

void ToolPanel::DisableTools(int32_t exceptIndex) {
  for (int32_t i = 1; i <= kToolButtonCount; ++i) pressed_[static_cast<size_t>(i)] = i == exceptIndex;
}

void ToolPanel::EnableMouseScrolling() {
  DisableTools();
  pressed_[kMouseScrollButton] = true;
  SetCurrentTool("MouseScroll");
}

std::string ToolPanel::CurrentTool() const { return record_.CurrentTool.Get(); }
void ToolPanel::SetCurrentTool(std::string_view tool) { record_.CurrentTool.Set(tool); }

bool ToolPanel::ButtonPressed(int32_t index) const {
  return index >= 1 && index <= kToolButtonCount && pressed_[static_cast<size_t>(index)];
}

void ToolPanel::SetButtonPressed(int32_t index, bool pressed) {
  if (index >= 1 && index <= kToolButtonCount) pressed_[static_cast<size_t>(index)] = pressed;
}

void ToolPanel::tbTool_ButtonClick(std::string_view key, bool buttonDown, ToolDocumentView* doc) {
  try {
    if (doc) {
      doc->ShowPlainView();
      if (BeforeToolClick) BeforeToolClick();
    }
    SetButtonPressed(ToolButtonIndex(key), buttonDown);
    if (key == "ZoomIn" || key == "ZoomOut") {
      if (doc) {
        if (key == "ZoomIn")
          doc->ZoomIn();
        else
          doc->ZoomOut();
        doc->SetZoomStatus(std::to_string(doc->ZoomFactor()) + " : 1");
      }
    } else if (key == "MouseScroll" || key == "MM") {
      if (doc) doc->SetMouseScroll(buttonDown);
      SetCurrentTool(buttonDown ? "MouseScroll" : "");
    } else {
      // "Pencil", "GetColor" and every other tool: scrolling off, the key is the tool.
      if (doc) doc->SetMouseScroll(false);
      SetCurrentTool(key);
    }
    const std::string_view frame = ToolFrameForKey(key);
    if (!frame.empty()) Tool_Frame(frame);
  } catch (...) {
    // A handler of the window: a failing step ends the click quietly.
  }
}

void ToolPanel::Tool_Frame(std::string_view name) {
  visibleFrame_.clear();
  for (const ToolFrameInfo& frame : kFrames)
    if (frame.Name == name) visibleFrame_ = std::string(frame.Name);
}

void ToolPanel::LoadFrame(std::string_view frame) {
  for (ToolCombo& c : combos_)
    if (c.Info->Frame == frame) c.Load(record_);
  for (ToolCheck& c : checks_)
    if (c.Info->Frame == frame) c.Load(record_);
  for (SliderTrio& t : trios_)
    if (t.Info->Frame == frame) t.Load(record_);
}

void ToolPanel::Select_Init() { LoadFrame("Selection"); }

void ToolPanel::SelectionMove_Init() {
  if (ToolCombo* combo = Combo("cSelectionMove"))
    combo->Items.assign(combo->Info->Items.begin(), combo->Info->Items.end());
  LoadFrame("SelectionMove");
}

void ToolPanel::Airbrush_Init() { LoadFrame("AirBrush"); }
void ToolPanel::Brush_Init() { LoadFrame("Brush"); }
void ToolPanel::Fill_Init() { LoadFrame("Fill"); }
void ToolPanel::Shape_Init() { LoadFrame("Shape"); }

void ToolPanel::Gradient_init() {
  LoadFrame("Gradient");
  gradColor_ = {record_.GradientColors[0], record_.GradientColors[1]};
  RedrawGradient();
}

void ToolPanel::Stamp_Init(const std::filesystem::path& appFolder) {
  stampFiles_.clear();
  const std::filesystem::path folder = AppSubfolderPath(appFolder, AppSubfolder::Stamps);
  std::error_code ec;
  if (!appFolder.empty() && std::filesystem::is_directory(folder, ec)) {
    stampFolder_ = folder;
    stampFiles_ = FileListNames(folder, kStampPattern);
  }
  LoadFrame("Stamp");
  maskColor_ = record_.StampMaskColor;
}

void ToolPanel::InitPanels(const std::filesystem::path& appFolder) {
  SelectionMove_Init();
  Select_Init();
  Airbrush_Init();
  Brush_Init();
  Fill_Init();
  Shape_Init();
  Gradient_init();
  Stamp_Init(appFolder);
}

SliderTrio* ToolPanel::Trio(std::string_view name) {
  for (SliderTrio& t : trios_)
    if (t.Info->Name == name) return &t;
  return nullptr;
}

ToolCombo* ToolPanel::Combo(std::string_view name) {
  for (ToolCombo& c : combos_)
    if (c.Info->Name == name) return &c;
  return nullptr;
}

ToolCheck* ToolPanel::Check(std::string_view name) {
  for (ToolCheck& c : checks_)
    if (c.Info->Name == name) return &c;
  return nullptr;
}

void ToolPanel::SliderChange(std::string_view name, int32_t value) {
  SliderTrio* t = Trio(name);
  if (!t) return;
  t->SliderChange(record_, value);
  RefreshSharedViews(t->Info->Field, t);
}

void ToolPanel::BarChange(std::string_view name, int32_t value) {
  SliderTrio* t = Trio(name);
  if (t) SliderChange(name, std::clamp(value, kSliderMin, kSliderMax));
}

void ToolPanel::TextChange(std::string_view name, std::string_view text) {
  SliderTrio* t = Trio(name);
  if (!t) return;
  t->TextChange(record_, text);
  RefreshSharedViews(t->Info->Field, t);
}

void ToolPanel::ComboClick(std::string_view name, int32_t index) {
  ToolCombo* c = Combo(name);
  if (!c) return;
  c->Click(record_, index);
  if (name == "cSelectionMove") RefreshSharedViews(&StartRecord::SelectionMoveContent, c);
}

void ToolPanel::CheckClick(std::string_view name, bool on) {
  ToolCheck* c = Check(name);
  if (!c) return;
  c->Click(record_, on);
  RefreshSharedViews(c->Info->Field, c);
}

void ToolPanel::RefreshSharedViews(int16_t StartRecord::*field, const void* source) {
  for (SliderTrio& t : trios_)
    if (&t != source && t.Info->Field == field) t.Load(record_);
  for (ToolCheck& c : checks_)
    if (&c != source && c.Info->Field == field) c.Load(record_);
  if (field == &StartRecord::SelectionMoveContent) {
    ToolCombo* c = Combo("cSelectionMove");
    if (c && c != source) c->Load(record_);
  }
}

void ToolPanel::GradColorChosen(int32_t index, int32_t colour) {
  if (index < 0 || index > 1 || colour == -1) return;
  record_.GradientColors[static_cast<size_t>(index)] = colour;
  gradColor_[static_cast<size_t>(index)] = colour;
  RedrawGradient();
}

void ToolPanel::SetGradientPreviewWidth(int32_t width) {
  gradPreviewWidth_ = std::clamp(width, 0, kMaxPreviewWidth);
  RedrawGradient();
}

void ToolPanel::RedrawGradient() {
  gradPreview_ = GradientRamp(gradColor_[0], gradColor_[1], gradPreviewWidth_);
}

std::filesystem::path ToolPanel::StampFilePath(int32_t index) const {
  if (index < 0 || index >= static_cast<int32_t>(stampFiles_.size()) || stampFolder_.empty()) return {};
  return stampFolder_ / stampFiles_[static_cast<size_t>(index)];
}

void ToolPanel::MaskColorChosen(int32_t colour) {
  if (colour == -1) return;
  maskColor_ = colour;
  record_.StampMaskColor = colour;
}

void ToolPanel::FillRecent(const CompactPathFunction& compact) {
  for (size_t i = 0; i < recent_.size(); ++i) {
    const std::string stored = record_.RecentFiles[i].Get();
    const std::string_view name = TrimBlanks(stored);
    RecentItem& item = recent_[i];
    if (!name.empty()) {
      item.Caption = std::string(name);
      if (compact) {
        try {
          item.Caption = compact(name, kRecentCompactPixels);
        } catch (...) {
          // The item keeps the full name.
        }
      }
      item.Visible = true;
      item.Enabled = true;
    } else {
      item.Caption = std::string(kRecentEmptyCaption);
      item.Enabled = false;
    }
  }
  recentMenuEnabled_ = !TrimBlanks(record_.RecentFiles[0].Get()).empty();
}

}  // namespace kelvane
