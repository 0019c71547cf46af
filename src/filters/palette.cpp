#include "filters/palette.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "base/numeric.h"
#include "shell/app_folder.h"

namespace kelvane {

namespace fs = std::filesystem;

namespace {

constexpr int32_t kBound = 765;

bool IsByte(int32_t v) { return v >= 0 && v <= 255; }

int64_t Distance(const PaletteColor& e, int64_t red, int64_t green, int64_t blue) {
  return std::llabs(red - e.red) + std::llabs(green - e.green) + std::llabs(blue - e.blue);
}

// The entries in use: the first PaletteCount, no more than the array holds.
size_t EntriesInUse(const PaletteRecord& palette) {
  if (palette.PaletteCount <= 0) return 0;
  return std::min(static_cast<size_t>(palette.PaletteCount), palette.PaletteColors.size());
}

}  // namespace

// ---------------------------------------------------------------------------
// The record

PaletteRecord DefaultPalette() {
  PaletteRecord p;
  for (int r = 0; r < 6; ++r)
    for (int g = 0; g < 6; ++g)
      for (int b = 0; b < 6; ++b) p.PaletteColors.push_back({51 * r, 51 * g, 51 * b});
  for (int k = 1; k <= 40; ++k) {
    const int32_t v = Round(k * 255.0 / 41.0);
    p.PaletteColors.push_back({v, v, v});
  }
  p.PaletteCount = static_cast<int32_t>(p.PaletteColors.size());
  return p;
}

PaletteRecord& CurrentPalette() {
  static PaletteRecord record = DefaultPalette();
  return record;
}

// ---------------------------------------------------------------------------
// The file

ByteVector EncodePalette(const PaletteRecord& record) {
  ByteVector out;
  out.reserve(kPaletteHeaderBytes + 12 * record.PaletteColors.size());
  PutI32(out, record.PaletteCount);
  PutI16(out, 1);
  PutI32(out, static_cast<int32_t>(record.PaletteColors.size()));
  PutI32(out, 0);
  for (const PaletteColor& c : record.PaletteColors) {
    PutI32(out, c.red);
    PutI32(out, c.green);
    PutI32(out, c.blue);
  }
  return out;
}

bool DecodePalette(const uint8_t* data, size_t size, PaletteRecord& record) {
  if (size < kPaletteHeaderBytes) return false;
  ByteReader in(data, size);
  const int32_t count = in.I32();
  const int16_t dimensions = in.I16();
  const int32_t elements = in.I32();
  const int32_t lowerBound = in.I32();
  if (dimensions != 1 || lowerBound != 0) return false;
  if (elements < 0 || elements > kMaxPaletteEntries) return false;
  if (count < 1 || count > kMaxPaletteEntries) return false;
  if (size - kPaletteHeaderBytes < 12 * static_cast<size_t>(elements)) return false;
  std::vector<PaletteColor> colors(static_cast<size_t>(elements));
  for (PaletteColor& c : colors) {
    c.red = in.I32();
    c.green = in.I32();
    c.blue = in.I32();
    if (!IsByte(c.red) || !IsByte(c.green) || !IsByte(c.blue)) return false;
  }
  // Cut to the count, keeping the contents; a count above N adds black.
  colors.resize(static_cast<size_t>(count));
  record.PaletteCount = count;
  record.PaletteColors = std::move(colors);
  return true;
}

bool LoadPalette(const fs::path& path, PaletteRecord& record) {
  ByteVector bytes;
  if (!ReadWholeFile(path, bytes)) return false;
  return DecodePalette(bytes.data(), bytes.size(), record);
}

bool SavePalette(const fs::path& path, const PaletteRecord& record) {
  return OverwriteFileStart(path, EncodePalette(record));
}

bool LoadPalette(const fs::path& path) { return LoadPalette(path, CurrentPalette()); }

bool SavePalette(const fs::path& path) { return SavePalette(path, CurrentPalette()); }

// ---------------------------------------------------------------------------
// Nearest colour

int32_t NearestPaletteColor(const PaletteRecord& palette, int32_t red, int32_t green, int32_t blue) {
  const size_t n = EntriesInUse(palette);
  if (n == 0) return -1;
  int32_t nearest = 0;
  int64_t bound = kBound;
  for (size_t i = 0; i < n; ++i) {
    const int64_t d = Distance(palette.PaletteColors[i], red, green, blue);
    if (d < bound) {
      bound = d;
      nearest = static_cast<int32_t>(i);
      if (d == 0) break;
    }
  }
  return nearest;
}

PaletteLookup::PaletteLookup(const PaletteRecord& palette)
    : entries_(palette.PaletteColors.begin(),
               palette.PaletteColors.begin() + static_cast<ptrdiff_t>(EntriesInUse(palette))) {
  usable_ = !entries_.empty() && entries_.size() <= kMaxPaletteEntries &&
            std::all_of(entries_.begin(), entries_.end(),
                        [](const PaletteColor& c) { return IsByte(c.red) && IsByte(c.green) && IsByte(c.blue); });
  if (!usable_) return;
  const size_t cells = static_cast<size_t>(kCellsPerSide) * kCellsPerSide * kCellsPerSide;
  cellStart_.assign(cells, -1);
  cellCount_.assign(cells, 0);
}

// An entry can be nearest at some point of the cell only if its least
// distance to the cell is no more than the least, over all entries, of the
// greatest distance to the cell: every point has an entry within that.
// Entries that can only tie are kept too, so that ties still go to the
// earlier entry.
void PaletteLookup::FillCell(int32_t cell) {
  constexpr int32_t side = 1 << kCellShift;
  const int32_t lo[3] = {(cell / (kCellsPerSide * kCellsPerSide)) * side, ((cell / kCellsPerSide) % kCellsPerSide) * side,
                         (cell % kCellsPerSide) * side};
  auto nearFar = [&](const PaletteColor& e, int32_t& nearest, int32_t& farthest) {
    const int32_t v[3] = {e.red, e.green, e.blue};
    nearest = farthest = 0;
    for (int c = 0; c < 3; ++c) {
      const int32_t a = lo[c], b = lo[c] + side - 1;
      nearest += v[c] < a ? a - v[c] : (v[c] > b ? v[c] - b : 0);
      farthest += std::max(std::abs(v[c] - a), std::abs(v[c] - b));
    }
  };
  int32_t limit = std::numeric_limits<int32_t>::max();
  for (const PaletteColor& e : entries_) {
    int32_t nearest, farthest;
    nearFar(e, nearest, farthest);
    limit = std::min(limit, farthest);
  }
  cellStart_[static_cast<size_t>(cell)] = static_cast<int32_t>(candidates_.size());
  uint32_t count = 0;
  for (size_t i = 0; i < entries_.size(); ++i) {
    int32_t nearest, farthest;
    nearFar(entries_[i], nearest, farthest);
    if (nearest <= limit) {
      candidates_.push_back(static_cast<uint16_t>(i));
      ++count;
    }
  }
  cellCount_[static_cast<size_t>(cell)] = count;
}

int32_t PaletteLookup::Nearest(uint8_t red, uint8_t green, uint8_t blue) {
  const int32_t cell =
      ((red >> kCellShift) * kCellsPerSide + (green >> kCellShift)) * kCellsPerSide + (blue >> kCellShift);
  if (cellStart_[static_cast<size_t>(cell)] < 0) FillCell(cell);
  const uint16_t* c = candidates_.data() + cellStart_[static_cast<size_t>(cell)];
  const uint16_t* end = c + cellCount_[static_cast<size_t>(cell)];
  int32_t nearest = 0;
  int32_t bound = kBound;
  for (; c != end; ++c) {
    const PaletteColor& e = entries_[*c];
    const int32_t d = std::abs(red - e.red) + std::abs(green - e.green) + std::abs(blue - e.blue);
    if (d < bound) {
      bound = d;
      nearest = *c;
      if (d == 0) break;
    }
  }
  return nearest;
}

// ---------------------------------------------------------------------------
// The dialog's file buttons

fs::path PaletteFolder(const fs::path& appFolder) { return AppSubfolderPath(appFolder, AppSubfolder::Palettes); }

PaletteFileResult PaletteFileCommand(const fs::path& appFolder, bool save, const PaletteFileChooser& choose,
                                     const PaletteMessageHandler& message) {
  const fs::path folder = PaletteFolder(appFolder);
  std::error_code ec;
  if (!fs::is_directory(folder, ec)) {
    if (message) message(kPalettesFolderMissing);
    return PaletteFileResult::FolderMissing;
  }
  PaletteFileRequest request;
  request.InitDir = folder;
  request.Filter = std::string(kPaletteFileFilter);
  request.DialogTitle = std::string(save ? kSavePaletteTitle : kLoadPaletteTitle);
  request.CancelError = true;
  const std::optional<fs::path> chosen = choose ? choose(request) : std::nullopt;
  if (!chosen) return PaletteFileResult::Cancelled;
  const bool ok = save ? SavePalette(*chosen) : LoadPalette(*chosen);
  return ok ? PaletteFileResult::Done : PaletteFileResult::Failed;
}

}  // namespace kelvane
