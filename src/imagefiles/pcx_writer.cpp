#include "imagefiles/pcx_writer.h"

#include <new>

namespace kelvane {

namespace {

constexpr size_t kHeaderBytes = 128;
constexpr int32_t kMaxHeaderValue = 65535;  // header fields are two bytes

// The longest run one count byte can hold: 0xC0 + 63 = 0xFF.
constexpr int kMaxRunExtra = 62;  // run length minus one

void PutU16At(ByteVector& out, size_t at, int32_t v) {
  out[at] = static_cast<uint8_t>(v & 0xFF);
  out[at + 1] = static_cast<uint8_t>((v >> 8) & 0xFF);
}

}  // namespace

bool cPCX::SavePCXinFile(const cDIBSection& picture, const std::filesystem::path& path, bool compressed) {
  compressed_ = compressed ? -1 : 0;
  planes_.clear();
  file_.clear();
  bool ok = false;
  try {
    if (ReadPixels(picture)) {
      ArrangePlanes();
      WriteHeader();
      if (compressed_) EncodeRuns();
      file_.insert(file_.end(), planes_.begin(), planes_.end());
      ok = WriteFile(path);
    }
  } catch (const std::bad_alloc&) {
    ok = false;
  }
  // The working copies are only needed while writing.
  pixels_.ClearUp();
  ByteVector().swap(planes_);
  ByteVector().swap(file_);
  return ok;
}

// A 24-bit copy of the picture, read row by row from the top as the planes
// want it.
bool cPCX::ReadPixels(const cDIBSection& picture) {
  width_ = picture.Width();
  height_ = picture.Height();
  bytes_per_line_ = (width_ % 2 == 0) ? width_ : width_ + 1;
  if (picture.IsEmpty() || bytes_per_line_ > kMaxHeaderValue || height_ > kMaxHeaderValue) return false;
  return pixels_.CreateFromPicture(picture);
}

void cPCX::ArrangePlanes() {
  const size_t bpl = static_cast<size_t>(bytes_per_line_);
  planes_.assign(3 * bpl * static_cast<size_t>(height_), 0);
  for (int y = 0; y < height_; ++y) {
    const uint8_t* s = pixels_.RowFromTop(y);
    uint8_t* red = planes_.data() + 3 * bpl * static_cast<size_t>(y);
    uint8_t* green = red + bpl;
    uint8_t* blue = green + bpl;
    for (int x = 0; x < width_; ++x, s += 3) {
      blue[x] = s[0];
      green[x] = s[1];
      red[x] = s[2];
    }
  }
}

void cPCX::WriteHeader() {
  file_.assign(kHeaderBytes, 0);
  file_[0] = 10;  // manufacturer
  file_[1] = 5;   // version
  file_[2] = compressed_ ? 1 : 0;
  file_[3] = 8;  // bits per pixel of one plane
  PutU16At(file_, 4, 1);
  PutU16At(file_, 6, 1);
  PutU16At(file_, 8, width_);
  PutU16At(file_, 10, height_);
  PutU16At(file_, 12, 96);
  PutU16At(file_, 14, 96);
  file_[64] = 0;
  file_[65] = 3;  // planes
  PutU16At(file_, 66, bytes_per_line_);
  PutU16At(file_, 68, 0);
}

// One run-length stream over all the plane data. The coder would put a single
// 0 at the end of every line of an odd BytesPerLine, but BytesPerLine is even
// by construction, so runs carry on across plane lines and lines.
void cPCX::EncodeRuns() {
  const size_t size = planes_.size();
  ByteVector out;
  // Worst case: every byte stands alone and needs a count byte.
  out.reserve(2 * size + 1);
  size_t i = 0;
  while (i < size) {
    int n = 0;
    while (i + 1 < size && planes_[i] == planes_[i + 1] && n < kMaxRunExtra) {
      ++n;
      ++i;
    }
    const uint8_t b = planes_[i];
    if (n > 0) {
      out.push_back(static_cast<uint8_t>(193 + n));  // 0xC0 + run length n + 1
      out.push_back(b);
    } else if (b < 192) {
      out.push_back(b);
    } else {
      out.push_back(193);
      out.push_back(b);
    }
    ++i;
  }
  planes_.swap(out);
}

bool cPCX::WriteFile(const std::filesystem::path& path) { return WriteFileAtomically(path, file_); }

}  // namespace kelvane
