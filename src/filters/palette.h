// Palettes: the current palette that PaletteApply reduces a picture to, the
// *.pal files that keep palettes, and the folder rule of the palette dialog.
//
// Contract:
//  - One global record, CurrentPalette(): PaletteCount colours in use and the
//    entries PaletteColors, each red, green, blue as 32-bit signed values.
//    PaletteApply walks the first PaletteCount entries (no more than the array
//    holds). The program starts with a 256-colour palette: the 216 colours of
//    the 6 x 6 x 6 cube with levels 0, 51, .., 255 (red slowest, blue fastest),
//    then 40 greys round(k * 255 / 41), k = 1..40.
//  - A *.pal file is the record written whole, little-endian, no padding:
//      0   i32  PaletteCount
//      4   i16  number of array dimensions, 1
//      6   i32  element count N
//      10  i32  lower bound, 0
//      14  i32 x 3N  the entries: red, green, blue each
//    Saving writes over the start of an existing file without cutting it (the
//    program's binary-open habit), so a longer old file keeps its tail;
//    loading reads what the header announces and ignores what follows.
//  - Loading takes the N entries of the file and then cuts (or, for a count
//    above N, extends with black) the array to exactly PaletteCount entries.
//    It refuses, leaving the record untouched, a file that cannot be read, is
//    shorter than its header or than the 12 N bytes the header announces,
//    has a dimension count other than 1 or a lower bound other than 0, an
//    element count or PaletteCount below 0 or above kMaxPaletteEntries, a
//    PaletteCount of 0, or an entry component outside 0..255.
//  - NearestPaletteColor and PaletteLookup give the same answer: the first
//    entry equal to the colour, otherwise the one with the least sum of
//    absolute differences, ties to the earlier entry, measured against a
//    starting bound of 765 that an entry must beat (entry 0 when none does).
//  - The palette dialog's load and save buttons run PaletteFileCommand: it
//    requires the folder <application folder>/Palettes (it never creates it)
//    and reports its absence with kPalettesFolderMissing, word for word.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/byte_io.h"

namespace kelvane {

// --- texts of the palette dialog ---------------------------------------------------

inline constexpr std::string_view kApplyPaletteTitle = "Apply palette";
// The undo entry's name of the OK button.
inline constexpr std::string_view kApplyPaletteUndoName = "Apply Palette";
inline constexpr std::string_view kPalettesFolderMissing = "<Palettes> subfolder not found.";
inline constexpr std::string_view kPaletteFileFilter = "Kelvane palette (*.pal)|*.pal";
inline constexpr std::string_view kLoadPaletteTitle = "Load palette";
inline constexpr std::string_view kSavePaletteTitle = "Save palette";

// --- the record ---------------------------------------------------------------------

struct PaletteColor {
  int32_t red = 0, green = 0, blue = 0;
  bool operator==(const PaletteColor&) const = default;
};

struct PaletteRecord {
  int32_t PaletteCount = 0;
  std::vector<PaletteColor> PaletteColors;
  bool operator==(const PaletteRecord&) const = default;
};

// The entries a palette file may hold, and the entries LoadPalette
// dimensions before it reads.
constexpr int32_t kMaxPaletteEntries = 65536;
constexpr int32_t kPaletteLoadEntries = 256;
constexpr size_t kPaletteHeaderBytes = 14;

// The program's palette, shared by the dialog and PaletteApply.
PaletteRecord& CurrentPalette();
// The palette the program starts with (see the contract).
PaletteRecord DefaultPalette();

// --- the file --------------------------------------------------------------------------

ByteVector EncodePalette(const PaletteRecord& record);
// False (and `record` untouched) on anything that is not a palette record.
bool DecodePalette(const uint8_t* data, size_t size, PaletteRecord& record);

bool LoadPalette(const std::filesystem::path& path, PaletteRecord& record);
bool SavePalette(const std::filesystem::path& path, const PaletteRecord& record);
// The same on the current palette.
bool LoadPalette(const std::filesystem::path& path);
bool SavePalette(const std::filesystem::path& path);

// --- nearest colour ----------------------------------------------------------------------

// The index of the entry nearest to the colour among the first PaletteCount
// entries (see the contract); -1 when the palette has none.
int32_t NearestPaletteColor(const PaletteRecord& palette, int32_t red, int32_t green, int32_t blue);

// NearestPaletteColor for byte colours, fast enough for a pixel loop: the
// colour cube is cut into cells, and each cell keeps, in index order, only the
// entries that can be nearest somewhere in it. Cells are filled when first
// met, so one lookup object serves one thread.
class PaletteLookup {
 public:
  explicit PaletteLookup(const PaletteRecord& palette);
  // False when the palette has no entry in use, or an entry in use with a
  // component outside 0..255 (such an entry cannot be stored in a picture).
  bool Usable() const { return usable_; }
  const PaletteColor& Entry(int32_t index) const { return entries_[static_cast<size_t>(index)]; }
  int32_t Nearest(uint8_t red, uint8_t green, uint8_t blue);

 private:
  static constexpr int kCellShift = 3;
  static constexpr int kCellsPerSide = 256 >> kCellShift;
  void FillCell(int32_t cell);

  std::vector<PaletteColor> entries_;
  bool usable_ = false;
  std::vector<int32_t> cellStart_;  // -1 until the cell is filled
  std::vector<uint32_t> cellCount_;
  std::vector<uint16_t> candidates_;
};

// --- the dialog's file buttons ------------------------------------------------------------

// What the common dialog is opened with.
struct PaletteFileRequest {
  std::filesystem::path InitDir;
  std::string Filter;
  std::string DialogTitle;
  bool CancelError = true;
};
// Shows the dialog; the chosen path, or nothing when it was cancelled.
using PaletteFileChooser = std::function<std::optional<std::filesystem::path>(const PaletteFileRequest&)>;
using PaletteMessageHandler = std::function<void(std::string_view text)>;

enum class PaletteFileResult { FolderMissing, Cancelled, Done, Failed };

// <application folder>/Palettes; not created here.
std::filesystem::path PaletteFolder(const std::filesystem::path& appFolder);

// "Load Palette" (save false) or "Save Palette" (save true) on the current
// palette: without the Palettes folder, kPalettesFolderMissing goes to
// `message` and nothing more happens; otherwise the dialog opens in that
// folder, a cancel is ignored, and the chosen file is loaded or saved. A file
// that LoadPalette refuses leaves the palette as it was (Failed).
PaletteFileResult PaletteFileCommand(const std::filesystem::path& appFolder, bool save,
                                     const PaletteFileChooser& choose, const PaletteMessageHandler& message);

}  // namespace kelvane
