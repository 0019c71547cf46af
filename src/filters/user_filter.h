// User filters: a convolution mask the user types into a 5 by 5 grid, keeps in
// a *.kif file, and applies to the document through MaskFilter.
//
// Contract:
//  - The record is UserFilterRecord (filters/stock_masks.h, shared with
//    GetMask): Mask, Divisor, AddRed, AddGreen, AddBlue. Its Name is not part
//    of a user filter: files neither store nor restore it, and ReadFilter
//    leaves it empty.
//  - A *.kif file is the record written whole, little-endian, no padding:
//      0   i16  number of dimensions of the mask, 2
//      2   i32  element count of the first dimension, N
//      6   i32  its lower bound, 0
//      10  i32  element count of the second dimension, N
//      14  i32  its lower bound, 0
//      18  i32  x N*N  the entries, first index (the row) fastest: the entry of
//                      row r, column c lies at 18 + 4 * (r + N * c)
//      18 + 4N^2  i32  Divisor, then AddRed, AddGreen, AddBlue
//    N is 3 or 5. Saving writes over the start of an existing file without
//    cutting it (the program's binary-open habit), so a longer old file keeps
//    its tail; loading reads the header's size and ignores what follows.
//  - Loading refuses (returns false, record untouched) any file that is not
//    such a record: wrong dimension count, counts that differ or are not 3 or
//    5, a lower bound other than 0, or fewer bytes than the header promises.
//    Saving refuses a record whose mask is not square 3 by 3 or 5 by 5.
//  - Grid cells keep the text as typed. Their value is "the text as a number"
//    (TextAsNumber): leading blanks skipped, an optional sign, digits with an
//    optional fraction and exponent, anything after that ignored, 0 when no
//    number starts the text. A value goes into the 32-bit record rounded to
//    the nearest integer, ties to even, and held to the 32-bit range; the
//    blank test looks at the value before rounding.
//  - Messages go out through the dialog's message handler (an information
//    box under the product's title); nothing here shows a window.
//  - Apply runs MaskFilter by name through the catalogue, in the three-step
//    pattern: the engine takes the document's array and region, the filter
//    runs, the result comes back. A divisor of 0 never reaches MaskFilter.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/byte_io.h"
#include "document/bits.h"
#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/stock_masks.h"

namespace kelvane {

// --- texts of the dialog ------------------------------------------------------

inline constexpr std::string_view kUserFilterTitle = "User filter";
inline constexpr std::string_view kUserFilterFileFilter = "Kelvane filter (*.kif)|*.kif";
inline constexpr std::string_view kLoadFilterTitle = "Load filter";
inline constexpr std::string_view kSaveFilterTitle = "Save filter";
inline constexpr std::string_view kBlankMaskMessage = "Invalid/blank mask. Verify coeficients.";
// Captions of the window's controls.
inline constexpr std::string_view kWeightCaption = "Weight ";
inline constexpr std::string_view kAddFactorsCaption = "Add factors:";
inline constexpr std::array<std::string_view, 3> kAddCaptions = {"Red", "Green", "Blue"};
inline constexpr std::string_view kAutoCaption = "&Auto";
inline constexpr std::string_view kKeepMarginsCaption = "&Keep margins";
inline constexpr std::string_view kBasedOnCaption = "Based on";
inline constexpr std::array<std::string_view, 2> kFilterButtonCaptions = {"Load Filter", "Save Filter"};
// Shown when OK is pressed with a weight of 0, which MaskFilter cannot divide
// by; the blank test lets such a weight through.
inline constexpr std::string_view kZeroWeightMessage = "Invalid weight. Weight can't be 0.";

// The list cbBased: "<None>", then the stock masks' names in index order.
inline constexpr int32_t kBasedCount = kStockMaskCount + 1;
std::string_view BasedCaption(int32_t position);

// --- the file -------------------------------------------------------------------

// Size of a *.kif file holding an N by N mask: 34 + 4 * N * N.
constexpr size_t UserFilterFileSize(int32_t n) { return 34 + 4 * static_cast<size_t>(n) * static_cast<size_t>(n); }

// The bytes of the record; false (and `out` unchanged) unless the mask is
// square, 3 by 3 or 5 by 5.
bool EncodeUserFilter(const UserFilterRecord& record, ByteVector& out);
// Reads a record from the start of `data`; false (and `record` unchanged) on
// anything that is not a *.kif record (see the contract).
bool DecodeUserFilter(const uint8_t* data, size_t size, UserFilterRecord& record);

bool LoadUserFilter(const std::filesystem::path& path, UserFilterRecord& record);
bool SaveUserFilter(const std::filesystem::path& path, const UserFilterRecord& record);

// The folder the load and save dialogs open in: appFolder/Filters. It is not
// created here.
std::filesystem::path UserFilterFolder(const std::filesystem::path& appFolder);

// --- values -------------------------------------------------------------------

// The text as a number (see the contract).
double TextAsNumber(std::string_view text);
// TextAsNumber rounded to the nearest integer, ties to even, held to the
// 32-bit range.
int32_t TextAsInteger(std::string_view text);

// --- applying -----------------------------------------------------------------

// The three-step pattern: `engine` takes `bits` and `region`, MaskFilter runs
// with the record and the keep margins flag, and its result is returned.
// Nothing when the divisor is 0, the mask is empty, or MaskFilter is not in
// the catalogue.
std::optional<Bits> ApplyUserFilter(cBitFilter& engine, const Bits& bits, const RectRegion* region,
                                    const UserFilterRecord& record, bool keepMargins);

// --- the dialog, without a window -------------------------------------------------

class UserFilterDialog {
 public:
  static constexpr int kGridSide = 5;
  static constexpr int kCellCount = kGridSide * kGridSide;
  // The limits txtAdd holds the add factors to.
  static constexpr int32_t kAddMinimum = -255;
  static constexpr int32_t kAddMaximum = 255;

  using MessageHandler = std::function<void(std::string_view text)>;

  // Controls. A window binds to these and calls the operations below.
  std::array<std::string, kCellCount> txtM;  // index row * 5 + column
  std::string txtWeight = "1";
  std::array<std::string, 3> txtAdd = {"0", "0", "0"};  // red, green, blue
  bool chkAuto = false;
  bool chkKeepMargins = false;
  int32_t cbBased = 0;  // position in the list; 0 is "<None>"

  void SetMessageHandler(MessageHandler handler) { message_ = std::move(handler); }

  // Empties the 25 cells; the weight and the adds stay.
  void ClearFilter();
  // Clears the grid, writes the mask centred in it (a 3 by 3 mask fills the
  // middle; cells that would fall outside the grid are left out), then the
  // weight and the three adds.
  void ShowFilter(const UserFilterRecord& record);
  // Reads the controls into `record` (its Name emptied). A grid with no
  // non-zero cell shows kBlankMaskMessage and returns false, record untouched.
  // A non-zero cell on the grid's outer ring makes the mask 5 by 5; otherwise
  // the 3 by 3 centre is the mask. The adds are held to kAddMinimum..
  // kAddMaximum. A weight of 0 is not refused here.
  bool ReadFilter(UserFilterRecord& record);

  // A cell edited by the user; with chkAuto on the weight follows the mask.
  void SetCell(int index, std::string text);
  // chkAuto clicked: switching it on sets the weight from the mask at once.
  void SetAuto(bool on);
  // The weight chkAuto computes: the sum of the 25 cells' values, or 1 when
  // the sum is 0 (a mask that sums to 0, like the contours, divides by 1).
  int32_t AutoWeight() const;
  // txtAddUD: steps add factor `channel` (0 red, 1 green, 2 blue) by `delta`
  // within the limits.
  void StepAdd(int channel, int32_t delta);

  // cbBased chosen: a position other than 0 shows GetMask(position - 1).
  void ChooseBased(int32_t position);

  // "Load Filter": reads the file and shows it; false when it is not a
  // *.kif record (the controls stay as they were).
  bool LoadFilter(const std::filesystem::path& path);
  // "Save Filter": ReadFilter, then writes the file; false on a blank mask or
  // a failed write.
  bool SaveFilter(const std::filesystem::path& path);

  // cmdOK: ReadFilter; a weight of 0 shows kZeroWeightMessage and runs
  // nothing; otherwise MaskFilter with chkKeepMargins runs on the document
  // through the three-step pattern and its result is returned.
  std::optional<Bits> Apply(cBitFilter& engine, const Bits& documentBits, const RectRegion* documentRegion);

 private:
  void Message(std::string_view text) const {
    if (message_) message_(text);
  }

  MessageHandler message_;
};

}  // namespace kelvane
