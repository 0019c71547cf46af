// The paste box (fPaste) without its window: ten clip slots filled by cut and
// copy, the floating paste that lays a clip over a document, and the rows of
// the undo history page. Also the exchange of the whole picture with the
// system clipboard. The window draws the thumbnails itself, from a slot's
// clip or from a history row's snapshot file (Document::History().SlotFile);
// nothing here holds thumbnail pixels.
//
// Contract:
//  - Cut and copy: the selection's box, clipped to the picture, must be at
//    least 2 x 2, else the message "Minimum cut size: 2 x 2" (or "Minimum copy
//    size: 2 x 2") goes out with an information icon under the title
//    "Kelvane" and nothing changes. A document without a picture does nothing
//    and says nothing. The filter is given the selection as its region and the
//    picture as its array; BitsCropMasked over the box makes the clip (a
//    pixel outside the selection has colour 0 and fourth byte 255, one inside
//    keeps all four bytes). A selected pixel whose own fourth byte is 255 gets
//    254 in the clip, so that a picture carrying opaque alpha in the spare
//    byte still pastes. Cut then fills the selection with the background,
//    which is BitsBlack's zero in all four bytes, and writes the array back
//    to the document. The caller records the undo step of a cut.
//  - Slots: ten rows captioned "    Clip 1" to "    Clip 10". A new clip takes
//    the lowest free row; when all ten hold a clip the rows are reused from
//    the first one on (the 11th clip goes to row 0, the 12th to row 1, ...).
//    Each slot keeps the clip's 40-byte header (the one Bits::Header gives:
//    width W + 4, height -(H + 4)). Adding a clip selects it for PASTE and
//    sets the page title to "Clip History:  " W " x " H. ClearCLip() empties
//    every row, forgets the selected clip and starts filling at row 0 again.
//  - Pressure (the slider BrSelectionMovePressure) is the opacity in percent
//    of a pasted clip: 50 at first, kept within 1..100.
//  - Floating paste: BeginPaste puts a copy of the selected clip over the
//    document with its top-left at (0, 0); the document's pixels do not
//    change while it floats. MoveFloatingPaste puts the clip's top-left at a
//    picture point (the window passes the pointer). FloatingPreview gives the
//    covered part of the picture as it would look after the drop, so the
//    window redraws only that rectangle. DropFloatingPaste lays the clip down
//    with BitsPaintPreMasked at the Pressure in effect, not clipped by the
//    selection (the clip's own mask, fourth byte 255, is the only mask), and
//    ends the float; true when a pixel changed, and the caller then runs
//    Update with an undo step. CancelFloatingPaste ends it without painting.
//    One float exists at a time: BeginPaste replaces one in progress without
//    laying it down (the PASTE command drops it first). The painting
//    primitives' rectangle rules hold: an overlap of a single column or row
//    with the picture paints nothing.
//  - History page: rows of (number, text) for the one document shown. Row k
//    shows snapshot slot k; a fresh page has the single row (0, "Original").
//    SwapHistoy refills the rows from the document (row 0 from HistoryNames(0)
//    or "Original" when that is empty, rows 1 .. UndoTop - 1 from
//    HistoryNames) unless the document is already shown. AfterSave keeps the
//    rows equal to what a refill would give: it removes the rows of the
//    dropped redo range, adds or renames the row of the slot written and, after
//    the shift of a full history, refills (the names then lag behind their
//    files, as the document's own names do).
//  - Nothing here throws: a failed allocation leaves the state as it was and
//    the operation answers false.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/user_interface.h"
#include "document/bits.h"
#include "document/document.h"
#include "document/rect_region.h"
#include "filters/bit_filter.h"

namespace kelvane {

inline constexpr int32_t kClipSlots = 10;
inline constexpr int32_t kPressureDefault = 50;
inline constexpr int32_t kPressureMin = 1;
inline constexpr int32_t kPressureMax = 100;

inline constexpr std::string_view kPasteBoxTitle = "History";
inline constexpr std::string_view kClipTitlePrefix = "Clip History:  ";
inline constexpr std::string_view kMinimumCutText = "Minimum cut size: 2 x 2";
inline constexpr std::string_view kMinimumCopyText = "Minimum copy size: 2 x 2";
inline constexpr std::string_view kClipMessageTitle = "Kelvane";

// "    Clip " + (row + 1).
std::string ClipCaption(int32_t row);
// "Clip History:  " W " x " H.
std::string ClipPageTitle(int32_t width, int32_t height);

// One clip row.
struct ClipSlot {
  BitmapHeader Header;  // the clip's header: biWidth W + 4, biHeight -(H + 4)
  kelvane::Bits Clip;   // null while the row is free
  std::string Caption;
  bool Used() const { return !Clip.IsNull(); }
  int32_t Width() const { return Used() ? Header.biWidth - 4 : 0; }
  int32_t Height() const { return Used() ? -Header.biHeight - 4 : 0; }
};

// One row of the history page: Number is the snapshot slot it shows.
struct HistoryRow {
  int32_t Number = 0;
  std::string Text;
  bool operator==(const HistoryRow&) const = default;
};

// A clip floating over a document.
struct FloatingPaste {
  int32_t ImageID = 0;
  int32_t X = 0, Y = 0;  // the clip's top-left in picture pixels
  kelvane::Bits Clip;
};

// fPaste's model: ten clip slots and the undo history page.
class ClipHistory {
 public:
  ClipHistory();

  // --- Clips
  // "Minimum cut size: 2 x 2" / "Minimum copy size: 2 x 2" under "Kelvane"; true when a clip was added.
  bool CutBits(Document& doc, cBitFilter& filter, const MessageSink& messages);
  bool CopyBits(Document& doc, cBitFilter& filter, const MessageSink& messages);
  // Puts a clip into the next row (see the contract) and selects it; the row
  // taken, or -1 for a null or empty array.
  int32_t AddClip(const kelvane::Bits& clip);
  void ClearCLip();             // all clips
  void ClearCLip(int32_t row);  // one row; the selection moves off it
  // A click on a row: chooses its clip for PASTE (false for a free row).
  bool SelectClip(int32_t row);
  int32_t SelectedClip() const { return selected_; }  // -1: none
  const ClipSlot& Slot(int32_t row) const;            // rows outside 0..9 give a free slot
  int32_t ClipCount() const;
  const std::string& ClipTitle() const { return clipTitle_; }

  int32_t Pressure() const { return pressure_; }
  void SetPressure(int32_t percent);

  // --- History page: rows for the document shown.
  void loadHistory(Document& doc, int32_t slot, std::string_view actionName);
  void SwapHistoy(Document& doc);
  // After doc.SaveUndoBits(): drops the rows of the redo range and shows the
  // slot written (see the contract).
  void AfterSave(Document& doc, const UndoSaveResult& saved);
  bool Ltext_Click(Document& doc, int32_t row);
  // "Restore Original" (mnuRestore): jump to the first history row.
  bool RestoreOriginal(Document& doc);
  const std::vector<HistoryRow>& Rows() const { return rows_; }
  int32_t ShownImageID() const { return shownImageID_; }  // 0: none
  // The row of the step on screen (UndoPos - 1), where the marker stands;
  // -1 when the document is not the one shown.
  int32_t CurrentRow(const Document& doc) const;
  // The row the list last scrolled to (Update_V).
  int32_t ScrolledRow() const { return scrolledRow_; }
  // The document closes: the page forgets it and a float over it ends.
  void DocumentClosed(const Document& doc);

  // --- Floating paste
  // PASTE: the selected clip starts floating over the document at (0, 0).
  bool BeginPaste(Document& doc);
  // Whether a pasted picture floats over this document; Drop lays it down (true when pixels changed).
  bool IsFloating(const Document& doc) const;
  void MoveFloatingPaste(const Document& doc, int32_t x, int32_t y);
  bool DropFloatingPaste(Document& doc);
  void CancelFloatingPaste();
  const std::optional<FloatingPaste>& Floating() const { return floating_; }
  // The part of the picture the float covers, and those pixels as the drop
  // would leave them (the patch's size is the area's). False when the float
  // is not over this document or covers nothing that would be painted.
  bool FloatingPreview(const Document& doc, Rect& area, kelvane::Bits& patch) const;

 private:
  bool TakeSelection(Document& doc, cBitFilter& filter, const MessageSink& messages, bool cut);
  void Refill(const Document& doc);
  void ShowSlotRow(int32_t slot, std::string_view name);

  std::array<ClipSlot, kClipSlots> slots_;
  int32_t reuseNext_ = 0;
  int32_t selected_ = -1;
  std::string clipTitle_;
  int32_t pressure_ = kPressureDefault;

  int32_t shownImageID_ = 0;
  std::vector<HistoryRow> rows_;
  int32_t scrolledRow_ = 0;

  std::optional<FloatingPaste> floating_;
};

// The whole picture to and from the system clipboard (fImage's BitsCopyToClipboard / PasteFromClipboard).
// Copy puts a W x H array (the picture's four bytes, frame zero) on the
// clipboard when the document has a picture. Paste hands a picture of at
// least 1 x 1 to PPicture (true); an empty clipboard changes nothing.
void BitsCopyToClipboard(const Document& doc, Clipboard& clipboard);
bool PasteFromClipboard(Document& doc, const Clipboard& clipboard);

}  // namespace kelvane
