#include "document/undo_history.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "shell/app_folder.h"

namespace kelvane {

namespace fs = std::filesystem;

namespace {

constexpr size_t kHeaderBytes = 40;

// The number's digits padded with zeros to at least `width`, the sign (if
// any) in front: 7 -> "07", 200 -> "200", -1 -> "-01".
std::string PaddedNumber(int32_t value, int width) {
  const int64_t v = value;
  std::string digits = std::to_string(v < 0 ? -v : v);
  if (static_cast<int>(digits.size()) < width) digits.insert(0, width - digits.size(), '0');
  return v < 0 ? "-" + digits : digits;
}

std::string ImagePrefix(int32_t imageID) { return "b" + PaddedNumber(imageID, 4); }

bool WriteAllBytes(int fd, const uint8_t* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool ReadAllBytes(int fd, uint8_t* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::read(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (n == 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// Header, then the whole buffer, over the start of the file (no truncation).
bool WriteSnapshot(const fs::path& file, const Bits& bits) {
  uint8_t header[kHeaderBytes];
  bits.Header().WriteTo(header);
  const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  bool ok = WriteAllBytes(fd, header, kHeaderBytes);
  if (ok && bits.ByteSize() > 0) ok = WriteAllBytes(fd, bits.Data(), bits.ByteSize());
  return ::close(fd) == 0 && ok;
}

// Reads and checks a snapshot. False for anything that is not a complete
// snapshot of a picture of at least 1 x 1.
bool ReadSnapshot(const fs::path& file, Bits& out) {
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bool ok = false;
  struct stat st {};
  uint8_t raw[kHeaderBytes];
  if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= static_cast<off_t>(kHeaderBytes) &&
      ReadAllBytes(fd, raw, kHeaderBytes)) {
    const BitmapHeader h = BitmapHeader::ReadFrom(raw);
    const int64_t width = static_cast<int64_t>(h.biWidth) - 2 * kBitsFrame;
    const int64_t height = -static_cast<int64_t>(h.biHeight) - 2 * kBitsFrame;
    const uint64_t available = static_cast<uint64_t>(st.st_size) - kHeaderBytes;
    // Row and column counts are checked against the file before anything is
    // allocated, so a garbage size never asks for more memory than the file
    // could fill.
    if (h.biSize == 40 && h.biPlanes == 1 && h.biBitCount == 32 && width >= 1 && height >= 1) {
      const uint64_t rowBytes = static_cast<uint64_t>(width + 2 * kBitsFrame) * 4;
      const uint64_t rows = static_cast<uint64_t>(height + 2 * kBitsFrame);
      if (rows <= available / rowBytes) {
        Bits bits(static_cast<int>(width), static_cast<int>(height));
        if (bits.ByteSize() == rowBytes * rows && ReadAllBytes(fd, bits.Data(), bits.ByteSize())) {
          out = std::move(bits);
          ok = true;
        }
      }
    }
  }
  ::close(fd);
  return ok;
}

}  // namespace

std::string UndoFileName(int32_t imageID, int32_t slot) {
  return ImagePrefix(imageID) + PaddedNumber(slot, 2) + ".dat";
}

std::string UndoPixelText(int32_t width, int32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

bool LoadUndoBits(const fs::path& file, Bits& bits, cBitRegion& region) {
  Bits snapshot;
  if (!ReadSnapshot(file, snapshot)) return false;
  const int32_t w = snapshot.Width();
  const int32_t h = snapshot.Height();
  const int32_t pictureWidth = bits.IsNull() ? 0 : bits.Width();
  const int32_t pictureHeight = bits.IsNull() ? 0 : bits.Height();
  if (w != pictureWidth || h != pictureHeight) {
    // Another size (a crop or a canvas change in between): the selection
    // goes with the old size and the snapshot becomes the picture.
    region.Init(0, 0, w, h);
    bits = std::move(snapshot);
    return true;
  }
  if (region.IsEmptyRegion()) {
    bits = std::move(snapshot);
    return true;
  }
  // Same size under a selection: only the selected pixels come back.
  const RectRegion& selection = *region.Region();
  const int32_t minX = -kBitsFrame, maxX = w + kBitsFrame;
  const int32_t minY = -kBitsFrame, maxY = h + kBitsFrame;
  for (const RectRegion::Band& band : selection.Bands()) {
    const int32_t top = band.top > minY ? band.top : minY;
    const int32_t bottom = band.bottom < maxY ? band.bottom : maxY;
    for (int32_t y = top; y < bottom; ++y) {
      uint8_t* dst = bits.Pixel(0, y);
      const uint8_t* src = snapshot.Pixel(0, y);
      selection.ForEachSpan(y, minX, maxX, [&](int32_t x0, int32_t x1) {
        std::memcpy(dst + 4 * static_cast<ptrdiff_t>(x0), src + 4 * static_cast<ptrdiff_t>(x0),
                    4 * static_cast<size_t>(x1 - x0));
      });
    }
  }
  return true;
}

UndoHistory::UndoHistory(UndoGlobals& globals, fs::path appFolder)
    : globals_(globals),
      folder_(AppSubfolderPath(appFolder, AppSubfolder::Temp)),
      imageID_(++globals.ImageCount),
      historyNames_(kUndoLastSlot + 1) {
  historyNames_[0] = "Original";
}

fs::path UndoHistory::SlotFile(int32_t slot) const { return folder_ / UndoFileName(imageID_, slot); }

UndoSaveResult UndoHistory::SaveUndoBits(const Bits& bits) {
  UndoSaveResult result;
  std::error_code ec;
  fs::create_directories(folder_, ec);

  const fs::path file = SlotFile(undoPos_);
  result.Slot = undoPos_;
  result.Written = WriteSnapshot(file, bits);
  if (!result.Written) fs::remove(file, ec);

  if (undoTop_ > undoPos_) {
    for (int32_t i = undoPos_ + 1; i <= undoTop_; ++i) {
      fs::remove(SlotFile(i), ec);
      result.DroppedRows.push_back(i - 1);
      if (i - 1 >= 0 && i - 1 <= kUndoLastSlot) historyNames_[i - 1].clear();
    }
  }
  if (undoPos_ >= 0 && undoPos_ <= kUndoLastSlot) historyNames_[undoPos_] = globals_.LastCommandCaption;

  if (undoPos_ > kUndoLastSlot - 1) {
    // Full: the oldest step goes and every later file moves down one slot,
    // so that the number kUndoLastSlot is free for the next save.
    result.Shifted = true;
    fs::remove(SlotFile(0), ec);
    for (int32_t i = 1; i <= kUndoLastSlot; ++i) fs::rename(SlotFile(i), SlotFile(i - 1), ec);
  } else {
    ++undoPos_;
    undoTop_ = undoPos_;
  }
  return result;
}

bool UndoHistory::UndoBits(Bits& bits, cBitRegion& region) {
  if (!LoadUndoBits(SlotFile(undoPos_ - 2), bits, region)) return false;
  if (undoPos_ >= 1) --undoPos_;
  return true;
}

bool UndoHistory::RedoBits(Bits& bits, cBitRegion& region) {
  if (!LoadUndoBits(SlotFile(undoPos_), bits, region)) return false;
  ++undoPos_;
  if (undoPos_ > undoTop_) undoTop_ = undoPos_;
  return true;
}

bool UndoHistory::JumpToHistoryRow(int32_t row, Bits& bits, cBitRegion& region) {
  if (row < 0 || row >= undoTop_ || row == undoPos_ - 1) return false;
  const bool loaded = LoadUndoBits(SlotFile(row), bits, region);
  undoPos_ = row + 1;
  return loaded;
}

std::vector<fs::path> UndoHistory::OwnFiles() const {
  // Every "b" + ID + "*.dat" of the folder, as one wildcard would match.
  const std::string prefix = ImagePrefix(imageID_);
  constexpr std::string_view suffix = ".dat";
  std::error_code ec;
  std::vector<fs::path> files;
  for (fs::directory_iterator it(folder_, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    std::error_code typeError;
    if (name.size() >= prefix.size() + suffix.size() && name.compare(0, prefix.size(), prefix) == 0 &&
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0 && it->is_regular_file(typeError)) {
      files.push_back(it->path());
    }
  }
  return files;
}

void UndoHistory::DeleteUndoFiles() const {
  std::error_code ec;
  for (const fs::path& p : OwnFiles()) fs::remove(p, ec);
}

uintmax_t UndoHistory::SnapshotBytes() const {
  uintmax_t total = 0;
  for (const fs::path& p : OwnFiles()) {
    std::error_code ec;
    const uintmax_t size = fs::file_size(p, ec);
    if (!ec) total += size;
  }
  return total;
}

}  // namespace kelvane
