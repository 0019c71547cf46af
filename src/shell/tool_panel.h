// The tool panel of the main window without its window: the tool bar tbTool,
// the ten stacked frames below it with their combos, check boxes and slider
// trios, the panel initialisers, and the recent-file menu items. The tool
// state itself is the tool block of StartRecord; the controls here are views
// on those fields, and only user changes write them.
//
// Contract:
//  - Tables: the frames, the combo lists (captions exactly as the window
//    shows them), the slider trios and the check boxes are data below. A
//    window builds its panels from them; nothing else types a caption.
//  - Slider trio (SliderTrio): the slider, its text box (UDT) and its scroll
//    bar (UD) all run 1..100; the bar is drawn with its minimum at the bottom
//    (Min 100, Max 1), large change 10, small change 1. A slider change
//    writes the text, the bar and the record field; a bar change moves the
//    slider (and so writes the field); a text change clamps the text (above
//    100 gives "100"; 0 or below, or empty, gives "1") and the field then
//    takes the number the text reads as (rounded, ties to even). Values
//    outside 1..100 given to the slider or the bar are held at the ends.
//  - Combos and check boxes write their field on a user change: a combo its
//    list index (an index outside the list is ignored), a check box -1 when
//    on and 0 when off. cSelectionMove and chkMoveSelection share
//    SelectionMoveContent, the canvas's outline-only flag (the box on and
//    index 0 "Move Selection Only" are true, index 1 "Move Content Only"
//    false); cSelectionPressure and sbSelectionPressure share SelectionPressure. A
//    user change through the panel's by-name methods reloads the other view
//    of a shared field, so both show the same value.
//  - Initialisers (Select_Init ... Stamp_Init) read the record into the
//    controls and never write the record. A field outside a combo's list
//    leaves the combo's index as it was; a trio's three controls show its
//    field held to 1..100 (a zero-filled record shows 1 and still holds 0).
//  - Stamp_Init lists the Stamps folder below the application folder with the
//    file list pattern "*.bmp;*.gif,*.ico": the pattern splits at ';' only,
//    so it is the two patterns "*.bmp" and "*.gif,*.ico". A comma is an
//    ordinary file name character, so the second matches only names such as
//    "a.gif,b.ico"; .gif and .ico files are not listed. Matching is over the
//    whole name, case-insensitive ('*' any run, '?' one character), regular
//    files only, names starting with '.' (hidden files) left out, sorted
//    case-insensitively as a file list shows them. A missing folder leaves
//    the list empty.
//  - tbTool: buttons 1..kToolButtonCount, the pressed flags kept here. A
//    click acts on the active document through ToolDocumentView (none: the
//    document steps are skipped, the record steps still run), then shows the
//    key's frame. Before it, for an active document, the view goes back to
//    the plain view and BeforeToolClick runs (the caller drops a floating
//    paste there). Tool_Frame compares frame names exactly.
//  - FillRecent: eight items from RecentFiles; a name is trimmed at both ends
//    (a zero-filled slot reads as empty). No handler lets an exception out.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "shell/start_record.h"

namespace kelvane {

class Document;

// ---- Tables -------------------------------------------------------------------

// One frame: its controls in window order and its loose labels. The table
// holds the ten frames stacked in PicDescription, in Tool_Frame's order:
// "SelectionMove", "Selection", "AirBrush", "Brush", "Stamp", "Fill", "Shape",
// "Gradient", "layer" and the status strip "StatusStrip".
struct ToolFrameInfo {
  std::string_view Name;
  std::span<const std::string_view> Controls;
  std::span<const std::string_view> Labels;
};
std::span<const ToolFrameInfo> ToolFrameTable();
// Null for an unknown name.
const ToolFrameInfo* FindToolFrame(std::string_view name);

// A combo or list of a frame. Caption is the label beside it ("" for none).
// cSelectionMove's items are the ones SelectionMove_Init adds.
struct ToolComboInfo {
  std::string_view Frame;
  std::string_view Name;
  std::string_view Caption;
  std::span<const std::string_view> Items;
  bool FilledByInit;  // the list starts empty; the frame's initialiser adds Items
  int32_t (*Read)(const StartRecord&);
  void (*Write)(StartRecord&, int32_t index);
};
std::span<const ToolComboInfo> ToolComboTable();
const ToolComboInfo* FindToolCombo(std::string_view name);

// A check box of a frame: caption, tool tip ("" for none), boolean field.
struct ToolCheckInfo {
  std::string_view Frame;
  std::string_view Name;
  std::string_view Caption;
  std::string_view Tip;
  int16_t StartRecord::*Field;
};
std::span<const ToolCheckInfo> ToolCheckTable();
const ToolCheckInfo* FindToolCheck(std::string_view name);

// A slider trio: the slider's name (its text box is Name + "UDT", its scroll
// bar Name + "UD"), the caption beside it and its field.
struct ToolSliderInfo {
  std::string_view Frame;
  std::string_view Name;
  std::string_view Caption;
  int16_t StartRecord::*Field;
};
std::span<const ToolSliderInfo> ToolSliderTable();
const ToolSliderInfo* FindToolSlider(std::string_view name);

// The stamp files' pattern of flStamps, comma included.
inline constexpr std::string_view kStampPattern = "*.bmp;*.gif,*.ico";
// Pictures of the image list behind icStamp.
inline constexpr int32_t kBuiltInStampCount = 9;

// ---- The slider trio ----------------------------------------------------------

inline constexpr int32_t kSliderMin = 1;
inline constexpr int32_t kSliderMax = 100;
// The scroll bar's properties: the minimum sits at the bottom.
inline constexpr int32_t kTrioBarMin = 100;
inline constexpr int32_t kTrioBarMax = 1;
inline constexpr int32_t kTrioLargeChange = 10;
inline constexpr int32_t kTrioSmallChange = 1;

struct SliderTrio {
  const ToolSliderInfo* Info = nullptr;
  int32_t Value = 100;       // the slider
  int32_t BarValue = 100;    // UD
  std::string Text = "100";  // UDT

  // User changes (the field is written).
  void SliderChange(StartRecord& record, int32_t value);
  void BarChange(StartRecord& record, int32_t value);
  void TextChange(StartRecord& record, std::string_view text);
  // The initialiser's load: the controls show the field, the record is left.
  void Load(const StartRecord& record);
};

// ---- Combos and check boxes ---------------------------------------------------

struct ToolCombo {
  const ToolComboInfo* Info = nullptr;
  std::vector<std::string> Items;
  int32_t ListIndex = -1;

  void Click(StartRecord& record, int32_t index);
  void Load(const StartRecord& record);
};

struct ToolCheck {
  const ToolCheckInfo* Info = nullptr;
  bool Value = false;

  void Click(StartRecord& record, bool on);
  void Load(const StartRecord& record);
};

// ---- Gradient preview ---------------------------------------------------------

// The colours of the iGrad columns 0..width-1: colour0 in the first column,
// colour1 in the last, each channel mixed linearly in between and rounded
// ties to even. Width 1 gives colour0; width 0 or less gives nothing; a
// width above kMaxPreviewWidth is held there. The gradient mode does not
// change the preview.
// Colours are 0x00BBGGRR; the top byte is ignored.
inline constexpr int32_t kMaxPreviewWidth = 32767;
std::vector<int32_t> GradientRamp(int32_t colour0, int32_t colour1, int32_t width);

// ---- Stamp files --------------------------------------------------------------

// Whether name matches one ';'-separated part of pattern (see the contract).
bool FileListMatches(std::string_view pattern, std::string_view name);
// The file names a file list shows for folder and pattern; empty when the
// folder is missing or unreadable.
std::vector<std::string> FileListNames(const std::filesystem::path& folder, std::string_view pattern);

// ---- Tool bar -----------------------------------------------------------------

inline constexpr int32_t kToolButtonCount = 15;
inline constexpr int32_t kMouseScrollButton = 14;

// Button keys by index (1-based); "MM" is a second key the click accepts for
// the mouse scroll action.
struct ToolButtonInfo {
  int32_t Index;
  std::string_view Key;
};
std::span<const ToolButtonInfo> ToolButtonTable();
// 0 for a key no button carries.
int32_t ToolButtonIndex(std::string_view key);

// The frame a tool key shows; "" when the key changes no frame.
std::string_view ToolFrameForKey(std::string_view key);

// What a tool click needs of the active document.
class ToolDocumentView {
 public:
  virtual ~ToolDocumentView() = default;
  // Switches the document back to its plain (Original) view.
  virtual void ShowPlainView() = 0;
  virtual void SetMouseScroll(bool on) = 0;
  virtual void ZoomIn() = 0;
  virtual void ZoomOut() = 0;
  virtual int32_t ZoomFactor() const = 0;
  // The status field "Zoom".
  virtual void SetZoomStatus(std::string_view text) = 0;
};

// ToolDocumentView over a Document.
class DocumentToolView final : public ToolDocumentView {
 public:
  explicit DocumentToolView(Document& doc) : doc_(doc) {}
  void ShowPlainView() override;
  void SetMouseScroll(bool on) override;
  void ZoomIn() override;
  void ZoomOut() override;
  int32_t ZoomFactor() const override;
  void SetZoomStatus(std::string_view text) override;

 private:
  Document& doc_;
};

// ---- Recent files -------------------------------------------------------------

struct RecentItem {
  std::string Caption = "Empty";
  bool Enabled = false;
  bool Visible = true;
};
// UserInterface::CompactPath's shape: text, width in pixels.
using CompactPathFunction = std::function<std::string(std::string_view, int32_t)>;
inline constexpr int32_t kRecentCompactPixels = 400;
inline constexpr std::string_view kRecentEmptyCaption = "Empty";

// ---- The panel ----------------------------------------------------------------

class ToolPanel {
 public:
  explicit ToolPanel(StartRecord& record);
  ToolPanel(const ToolPanel&) = delete;
  ToolPanel& operator=(const ToolPanel&) = delete;

  StartRecord& Record() { return record_; }

  // --- Tool bar
  // Sets every tbTool button to not pressed except the one with that index (-1: none).
  void DisableTools(int32_t exceptIndex = -1);
  // DisableTools, press button 14 ("MouseScroll"), CurrentTool = "MouseScroll".
  void EnableMouseScrolling();
  std::string CurrentTool() const;  // right-trimmed
  void SetCurrentTool(std::string_view tool);
  bool ButtonPressed(int32_t index) const;
  void SetButtonPressed(int32_t index, bool pressed);

  // Runs first on a click while a document is active, after the switch to the
  // plain view: the owner drops a floating paste here.
  std::function<void()> BeforeToolClick;
  // tbTool_ButtonClick with the button's key. buttonDown is the state the
  // button shows after the click (the button of that key takes it). doc is
  // the active document, null for none.
  void tbTool_ButtonClick(std::string_view key, bool buttonDown, ToolDocumentView* doc);

  // --- Frames
  // Shows the frame of that name and hides the other nine; an unknown name
  // hides all.
  void Tool_Frame(std::string_view name);
  // The frame shown, "" for none.
  const std::string& VisibleFrame() const { return visibleFrame_; }
  bool FrameVisible(std::string_view name) const { return !visibleFrame_.empty() && visibleFrame_ == name; }

  // --- Initialisers (they read the record, never write it)
  void Select_Init();
  void SelectionMove_Init();
  void Airbrush_Init();
  void Brush_Init();
  void Fill_Init();
  void Shape_Init();
  void Gradient_init();
  void Stamp_Init(const std::filesystem::path& appFolder);
  // All eight in start-up order: SelectionMove, Select, Airbrush, Brush,
  // Fill, Shape, Gradient, Stamp.
  void InitPanels(const std::filesystem::path& appFolder);

  // --- Controls by name (null / no effect for an unknown name)
  SliderTrio* Trio(std::string_view name);
  ToolCombo* Combo(std::string_view name);
  ToolCheck* Check(std::string_view name);
  void SliderChange(std::string_view name, int32_t value);
  void BarChange(std::string_view name, int32_t value);
  void TextChange(std::string_view name, std::string_view text);
  void ComboClick(std::string_view name, int32_t index);
  void CheckClick(std::string_view name, bool on);

  // --- Gradient frame
  // GradColor(index) after the colour picker: the field and the box take the
  // colour and the preview is redrawn. Index outside 0..1 or colour -1 (no
  // colour chosen) changes nothing.
  void GradColorChosen(int32_t index, int32_t colour);
  int32_t GradColor(int32_t index) const { return index == 1 ? gradColor_[1] : gradColor_[0]; }
  // iGrad's width in pixels (the window sets it); redraws the preview.
  void SetGradientPreviewWidth(int32_t width);
  const std::vector<int32_t>& GradientPreview() const { return gradPreview_; }

  // --- Stamp frame
  // flStamps' path: empty until Stamp_Init found the folder.
  const std::filesystem::path& StampFolder() const { return stampFolder_; }
  const std::vector<std::string>& StampFiles() const { return stampFiles_; }
  // The full path of cbStamps entry index, empty when out of range.
  std::filesystem::path StampFilePath(int32_t index) const;
  int32_t MaskColor() const { return maskColor_; }
  // MaskColor after the colour picker: the box and StampMaskColor take it.
  void MaskColorChosen(int32_t colour);

  // --- Recent files
  void FillRecent(const CompactPathFunction& compact);
  const std::array<RecentItem, 8>& RecentItems() const { return recent_; }
  bool RecentMenuEnabled() const { return recentMenuEnabled_; }

 private:
  void LoadFrame(std::string_view frame);
  // After a user change: the other controls on that field show it again.
  void RefreshSharedViews(int16_t StartRecord::*field, const void* source);
  void RedrawGradient();

  StartRecord& record_;
  std::array<bool, kToolButtonCount + 1> pressed_{};  // [0] unused
  std::string visibleFrame_;
  std::vector<SliderTrio> trios_;
  std::vector<ToolCombo> combos_;
  std::vector<ToolCheck> checks_;
  std::array<int32_t, 2> gradColor_{0xFFFFFF, 0};
  int32_t gradPreviewWidth_ = 100;
  std::vector<int32_t> gradPreview_;
  std::filesystem::path stampFolder_;
  std::vector<std::string> stampFiles_;
  int32_t maskColor_ = 0;
  std::array<RecentItem, 8> recent_{};
  bool recentMenuEnabled_ = false;
};

}  // namespace kelvane
