// Undo and redo on disk: one whole-picture snapshot file per step, one series
// of files per document.
//
// Contract:
//  - Snapshots live in the application folder's "Temp" subfolder, created by
//    the first save when missing. The file of slot s of document ImageID is
//    "b" + ImageID as "0000" + s as "00" + ".dat": document 3, slot 7 is
//    "b000307.dat", slot 200 "b0003200.dat", slot -1 "b0003-01.dat" (a
//    negative number keeps its sign in front of the padded digits).
//  - A snapshot is the 40-byte header of the picture's Bits (biSize 40,
//    biWidth W + 4, biHeight -(H + 4), one plane, 32 bits, all else 0, little-
//    endian) followed by the whole Bits buffer, frame included, with nothing
//    after it. A save writes over the start of an existing file without
//    emptying it first; the longer tail of an older snapshot stays behind and
//    is ignored, because the header gives the size.
//  - UndoPos is the slot the next save writes; the picture on screen is slot
//    UndoPos - 1. UndoTop is one past the highest slot that still holds a
//    file, so slots UndoPos .. UndoTop - 1 are the redo range. A save drops the
//    redo range (its files are deleted and their names cleared). At most 201
//    files (slots 0 to 200) are kept: the 201st save writes slot 200, then
//    deletes slot 0 and renames slots 1..200 down by one; UndoPos stays 200.
//    HistoryNames are not shifted with the files.
//  - LoadUndoBits never throws and never crashes on a bad file: a missing,
//    unreadable, truncated or garbage snapshot (header not as above, a size
//    below 1 x 1, or fewer pixel bytes than the header announces) returns
//    false and leaves the picture and the selection untouched. Undo and redo
//    stop at the ends of the history exactly because the next slot's file is
//    missing; there is no other bounds test.
//  - Restoring at the picture's own size with a selection changes only the
//    selected pixels (all four bytes, walked as row spans, clipped to the
//    array): undo under a selection restores inside it. Without a selection
//    the whole buffer, frame included, comes back. A snapshot of another size
//    replaces the whole buffer and drops the selection (Init over the new
//    size).
//  - File errors while saving are not reported to the user; the bookkeeping
//    goes on as after a good save. A write that fails leaves no file for that
//    slot, so that undo stops there rather than loading stale pixels.
//  - Nothing here deletes files on destruction: the document's close runs
//    DeleteUndoFiles, which removes every "b" + ImageID as "0000" + "*.dat"
//    of the folder at once.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "document/bit_region.h"
#include "document/bits.h"

namespace kelvane {

// Slots run from 0 to kUndoLastSlot: at most 201 snapshot files per document.
inline constexpr int32_t kUndoLastSlot = 200;

// The process-wide state the undo history reads: one per running program,
// owned by whoever plays the main window.
struct UndoGlobals {
  // Raised by one for each new document; the first document is number 1.
  int32_t ImageCount = 0;
  // The current action name: set by a command before it calls SaveUndoBits
  // (the caption of the last menu item, "Update from Layers", ...).
  std::string LastCommandCaption;
};

// "b" + imageID as "0000" + slot as "00" + ".dat".
std::string UndoFileName(int32_t imageID, int32_t slot);

// Reads a snapshot into the picture (see the contract). `bits` is the
// document's array (a null array counts as a 0 x 0 picture) and `region` its
// selection. True when the snapshot was taken in.
bool LoadUndoBits(const std::filesystem::path& file, Bits& bits, cBitRegion& region);

// The status panel "Pixel" after a snapshot load: W, "x", H with no spaces.
std::string UndoPixelText(int32_t width, int32_t height);

// What a save did, for the history list of the side box.
struct UndoSaveResult {
  bool Written = false;        // the snapshot file was written in full
  int32_t Slot = 0;            // the slot written (its row in the history list)
  std::vector<int32_t> DroppedRows;  // history rows of the dropped redo range
  bool Shifted = false;        // the history was full and shifted down by one
};

class UndoHistory {
 public:
  // A new document (Form_Load): ImageID is the counter raised by one,
  // HistoryNames(0) is "Original", UndoPos = UndoTop = 0. Snapshots go to the
  // "Temp" folder of appFolder.
  UndoHistory(UndoGlobals& globals, std::filesystem::path appFolder);

  int32_t ImageID() const { return imageID_; }
  int32_t UndoPos() const { return undoPos_; }
  int32_t UndoTop() const { return undoTop_; }
  // One name per slot, 0 to kUndoLastSlot; cleared slots are empty.
  const std::vector<std::string>& HistoryNames() const { return historyNames_; }

  const std::filesystem::path& SnapshotFolder() const { return folder_; }
  // The full path of this document's snapshot of a slot.
  std::filesystem::path SlotFile(int32_t slot) const;

  // Writes `bits` (the picture after the step) to slot UndoPos under the
  // globals' LastCommandCaption, drops the redo range, and advances (or shifts
  // when the history is full).
  UndoSaveResult SaveUndoBits(const Bits& bits);
  // Loads slot UndoPos - 2 into the picture and steps back; false (and no
  // change at all) when that file is missing or damaged.
  bool UndoBits(Bits& bits, cBitRegion& region);
  // Loads slot UndoPos and steps forward.
  bool RedoBits(Bits& bits, cBitRegion& region);
  // A click on row `row` of the history list: unless that row is the current
  // step, loads its slot and sets UndoPos to row + 1. Later snapshots stay,
  // so redo remains possible until the next save. Rows that show no file
  // (outside 0 .. UndoTop - 1) do nothing. True when the picture was loaded.
  bool JumpToHistoryRow(int32_t row, Bits& bits, cBitRegion& region);

  // The document closes: deletes every snapshot file of this document.
  void DeleteUndoFiles() const;
  // The disk space this document's snapshot files take, in bytes: the same
  // files that DeleteUndoFiles would remove.
  uintmax_t SnapshotBytes() const;

 private:
  UndoGlobals& globals_;
  std::filesystem::path folder_;
  std::vector<std::filesystem::path> OwnFiles() const;

  int32_t imageID_ = 0;
  int32_t undoPos_ = 0;
  int32_t undoTop_ = 0;
  std::vector<std::string> historyNames_;
};

}  // namespace kelvane
