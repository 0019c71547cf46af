// The filter dialog's model, without a window: the parameter table of the
// forty-one parameterised filters, the thumbnail and its region, and the run
// routine with its three modes (preview, real time, OK). A window only binds
// its controls to the plain fields below and calls the event methods.
//
// Contract:
//  - Filters are called by name through the catalogue with argument words
//    (CallFilterByName); a filter that is not registered, or refuses its
//    words, leaves the picture as it was and sets LastError. The dialog shows
//    no message of its own for a failed filter.
//  - Words are adapted to the catalogue's kinds the way the engine's implicit
//    conversions would: a fractional number for an integer or byte rounds to
//    the nearest integer, ties to even (2.5 -> 2); a colour past 24 bits keeps
//    the three bytes a filter reads (255255255 -> red 215, green 226, blue
//    54); true/false for a number are -1/0, a number for a boolean is true
//    unless 0.
//  - Thumbnails fit into 160 by 110 by FitSize (ties to even; the height
//    ratio in single precision). The preview runs on the thumbnail with the
//    document's region scaled by ThumbWidth / document width (each rectangle
//    edge rounded, ties to even); real time and OK run on the document.
//  - The document is reached only through FilterDialogDocument: its pixels,
//    the region in effect, a refresh and an undo hook. Progress goes out
//    through the Progress / HideProgress callbacks, never to a widget.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/bit_region.h"
#include "document/bits.h"
#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_catalogue.h"

namespace kelvane {

// --- calling a filter by name ---------------------------------------------------

// The words adapted to the method's parameter kinds (see the contract); words
// past the parameters, or of kinds that need no adapting, are kept as given.
std::vector<std::string> AdaptArgumentWords(const FilterMethod& method, const std::vector<std::string>& words);

// Finds the method, parses the adapted words against the engine's array and
// calls it on the engine as the caller set it up (Bits and region). On success
// `result` is the returned array (or the engine's own array for a method that
// returns none). False, with `error`, when the method is not registered or
// refuses the words; the engine is then untouched.
bool CallFilterByName(cBitFilter& engine, std::string_view method, const std::vector<std::string>& words,
                      Bits& result, std::string& error);

// --- the parameter table --------------------------------------------------------

struct DialogParameter {
  const char* caption;
  int32_t minimum;
  int32_t maximum;
  int32_t defaultValue;
  bool centred;  // the slider's middle is value 0
};

// Which extra frame a row shows instead of (or beside) its sliders.
enum class DialogPanel { None, Banks, Glass, Curtain };

struct FilterDialogRow {
  const char* title;
  std::vector<DialogParameter> parameters;  // slots 0, 1, 2 in order; factor 1, format "0"
  const char* optionCaption = nullptr;      // SetOption(caption, optionValue) when set
  bool optionValue = false;
  bool enablePick = false;
  std::optional<int32_t> hideColor;  // HideColor(slot) when set; -1 hides no colour box
  DialogPanel panel = DialogPanel::None;
};

// The rows by filter index, 0 to 40.
const std::vector<FilterDialogRow>& FilterDialogRows();

constexpr int32_t kFilterDialogCount = 41;
constexpr int32_t kThumbMaxWidth = 160;
constexpr int32_t kThumbMaxHeight = 110;
constexpr int32_t kDialogSlots = 3;

// The fixed captions of the window.
inline constexpr std::string_view kRealTimeCaption = "Real Time";  // cmdPreview

// FrmGlass: the four `oo` choices in order, the style word each gives to GLASS
// and the `cbo` list it fills (item i is level i).
struct GlassChoice {
  const char* caption;
  const char* style;
  std::vector<const char*> levels;
};
const std::array<GlassChoice, 4>& GlassChoices();

// FrmCurtain: the four `Curt` choices; choice i is level i + 1 of "curtain".
const std::array<const char*, 4>& CurtainChoices();

// --- the model ------------------------------------------------------------------

// What the dialog may touch of the active document.
struct FilterDialogDocument {
  Bits* bits = nullptr;                // the document's array; real time and OK write it
  const RectRegion* region = nullptr;  // the region in effect (selection, or the whole picture)
  std::function<void()> Refresh;       // redraw the document and the main window
  std::function<void()> SaveUndoBits;  // take an undo snapshot of the document
};

// One row of the call table, as words for the catalogue.
struct FilterCall {
  std::string method;
  std::vector<std::string> words;
};

class FilterDialogModel {
 public:
  // sbFilter(i) with its twin sbFilterV(i) (always equal), lblFInfo(i),
  // lblFilterV(i), shown in frFilter(i).
  struct Slider {
    bool Visible = false;
    std::string Caption;
    int32_t Min = 0;
    int32_t Max = 0;
    int32_t Value = 0;
    std::string ValueText;
  };

  FilterDialogModel();
  FilterDialogModel(const FilterDialogModel&) = delete;
  FilterDialogModel& operator=(const FilterDialogModel&) = delete;

  // Opening: keeps the document's array for Cancel, fits the thumbnail, makes
  // ThumbBits, then SetupFilter(index) and RunFilter(index).
  void Open(const FilterDialogDocument& document, int32_t index);

  // Applies one row of the table; FilterReady is true afterwards. An index
  // outside 0..40 changes nothing.
  void SetupFilter(int32_t index);
  void SetParameter(int32_t slot, const std::string& caption, int32_t minimum, int32_t maximum, double factor,
                    int32_t defaultValue, const std::string& format, bool centred);
  void SetOption(const std::string& caption, bool value);
  void EnablePick();
  void HideColor(int32_t slot);

  // The run routine: reads the controls, runs the row's filter on the
  // thumbnail (preview) or on the document (real time, OK) and delivers.
  void RunFilter(int32_t index);
  // The call RunFilter makes for an index with the current values.
  FilterCall FilterCallFor(int32_t index) const;

  // Control events. Each runs the preview as the window's handlers would.
  void SliderChanged(int32_t slot, int32_t value);  // clamps to the slider's range
  void PickAt(int32_t x, int32_t y);                // a press or drag on iSrc, thumbnail pixels
  void ChooseGlass(int32_t choice);                 // oo(choice)
  void ChooseGlassLevel(int32_t item);              // cbo item
  void ChooseCurtain(int32_t choice);               // Curt(choice)
  void ChooseBankSource(int32_t channel, int32_t source);  // optR/G/BChannel: channel 0 red, 1 green, 2 blue
  void ControlsChanged();                           // any other control: rerun the preview

  void RealTime();  // cmdPreview
  void Ok();        // CmdOK
  void Cancel();    // cmdCancel

  // The engine's Progress, as the dialog catches it.
  void tFilter_Progress(int32_t percent);

  cBitFilter& Engine() { return tFilter_; }

  // --- controls ---------------------------------------------------------------
  std::string Title;
  std::array<Slider, kDialogSlots> sbFilter;
  bool frOptionVisible = false;
  std::string lblOption;
  bool chkOption = false;
  bool frColorVisible = false;
  std::array<bool, 2> ColVisible{};
  std::array<int32_t, 2> ColColor{0x000000, 0xFFFFFF};
  bool frBanksVisible = false;
  std::array<bool, 3> chkInvt{};  // red, green, blue
  std::array<bool, 3> chkKill{};  // red, green, blue
  bool FrmGlassVisible = false;
  int32_t ooIndex = -1;
  std::vector<std::string> cboItems;
  int32_t cboIndex = -1;
  bool FrmCurtainVisible = false;
  int32_t CurtIndex = -1;
  bool PickMarked = false;  // the pick point is drawn on iSrc
  Bits PreviewBits;         // what iDst shows

  // Progress of real-time and OK runs for the document's bar, and its hiding.
  std::function<void(int32_t percent)> Progress;
  std::function<void()> HideProgress;

  // --- dialog state -------------------------------------------------------------
  int32_t FilterIndex = -1;
  int32_t ParamCount = 0;
  bool FilterReady = false;
  std::array<std::string, kDialogSlots> ParamFormat;
  std::array<double, kDialogSlots> ParamFactor{1, 1, 1};
  std::array<int32_t, kDialogSlots> ParamOffset{};
  std::array<int32_t, kDialogSlots> ParamValue{};
  std::array<int32_t, 2> ParamColor{};
  bool OptionValue = false;
  int32_t ThumbWidth = 0;
  int32_t ThumbHeight = 0;
  Bits ThumbBits;
  double PickX = 0.5;
  double PickY = 0.5;
  bool PickEnabled = false;
  std::string GlassStyle;
  bool RealTimeRunning = false;
  bool RealTimeDone = false;
  bool OKRunning = false;
  bool Closed = false;
  std::string LastError;  // why the last run left the picture unchanged, if it failed

  // The document's region scaled to the thumbnail, as the preview uses it.
  const RectRegion* ThumbRegion() const { return thumbRegion_.RegionScaled(); }

 private:
  void ResetControls();

  cBitFilter tFilter_;
  FilterDialogDocument document_;
  Bits savedBits_;
  cBitRegion thumbRegion_;
};

}  // namespace kelvane
