#include "document/dib_section.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <new>

#include "base/byte_io.h"
#include "base/numeric.h"

namespace kelvane {

namespace {

// Pictures larger than this many bytes are refused rather than attempted.
constexpr size_t kMaxPictureBytes = size_t{1} << 31;

// Copies a w x h block from (sx, sy) of src to (dx, dy) of dst, both in
// top-left picture coordinates, clipped to both pictures.
void CopyBlock(const cDIBSection& src, int sx, int sy, cDIBSection& dst, int dx, int dy, int w, int h) {
  if (src.IsEmpty() || dst.IsEmpty()) return;
  if (sx < 0) { dx -= sx; w += sx; sx = 0; }
  if (sy < 0) { dy -= sy; h += sy; sy = 0; }
  if (dx < 0) { sx -= dx; w += dx; dx = 0; }
  if (dy < 0) { sy -= dy; h += dy; dy = 0; }
  w = std::min({w, src.Width() - sx, dst.Width() - dx});
  h = std::min({h, src.Height() - sy, dst.Height() - dy});
  if (w <= 0 || h <= 0) return;

  const int sbpp = src.BytesPerPixel();
  const int dbpp = dst.BytesPerPixel();
  for (int row = 0; row < h; ++row) {
    const uint8_t* s = src.RowFromTop(sy + row) + static_cast<size_t>(sx) * sbpp;
    uint8_t* d = dst.RowFromTop(dy + row) + static_cast<size_t>(dx) * dbpp;
    if (sbpp == dbpp) {
      std::memmove(d, s, static_cast<size_t>(w) * sbpp);
    } else {
      for (int x = 0; x < w; ++x, s += sbpp, d += dbpp) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
        if (dbpp == 4) d[3] = 0;
      }
    }
  }
}

void Put32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>((v >> (8 * i)) & 0xFF);
}

}  // namespace

int cDIBSection::ScanLineBytes(int width) const {
  if (bit_count_ == 32) return width * 4;
  return ((width + 1) * 3) & ~3;
}

bool cDIBSection::Create(int width, int height) {
  const bool draw_dib = use_draw_dib_;
  ClearUp();
  use_draw_dib_ = draw_dib;
  if (width < 1 || height < 1) return false;
  if (width > std::numeric_limits<int>::max() / 4 - 1) return false;
  const size_t size = static_cast<size_t>(ScanLineBytes(width)) * static_cast<size_t>(height);
  if (size / static_cast<size_t>(height) != static_cast<size_t>(ScanLineBytes(width)) || size > kMaxPictureBytes)
    return false;
  try {
    pixels_.assign(size, 0);
  } catch (const std::bad_alloc&) {
    pixels_.clear();
    return false;
  }
  width_ = width;
  height_ = height;
  header_ = BitmapHeader{};
  header_.biSize = 40;
  header_.biWidth = width;
  header_.biHeight = height;
  header_.biPlanes = 1;
  header_.biBitCount = static_cast<int16_t>(bit_count_);
  header_.biCompression = 0;
  header_.biSizeImage = static_cast<int32_t>(size);
  return true;
}

bool cDIBSection::CreateFromPicture(const cDIBSection& picture) {
  if (picture.IsEmpty() || !Create(picture.Width(), picture.Height())) return false;
  LoadPictureBlt(picture, 0, 0, -1, -1);
  return true;
}

bool cDIBSection::CreateFromBits(const Bits& bits) {
  if (bits.IsNull() || !Create(bits.Width(), bits.Height())) return false;
  const int bpp = BytesPerPixel();
  for (int y = 0; y < height_; ++y) {
    const uint8_t* s = bits.Row(y);
    uint8_t* d = RowFromTop(y);
    if (bpp == 4) {
      std::memcpy(d, s, static_cast<size_t>(width_) * 4);
    } else {
      for (int x = 0; x < width_; ++x, s += 4, d += 3) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
      }
    }
  }
  return true;
}

void cDIBSection::ClearUp() {
  pixels_.clear();
  pixels_.shrink_to_fit();
  width_ = height_ = 0;
  header_ = BitmapHeader{};
  use_draw_dib_ = false;
}

void cDIBSection::LoadPictureBlt(const cDIBSection& src, int sx, int sy, int w, int h) {
  if (w < 0) w = width_;
  if (h < 0) h = height_;
  CopyBlock(src, sx, sy, *this, 0, 0, w, h);
}

void cDIBSection::PaintPicture(cDIBSection& target, int x, int y, int w, int h, int sx, int sy) const {
  if (w < 0) w = width_;
  if (h < 0) h = height_;
  CopyBlock(*this, sx, sy, target, x, y, w, h);
}

bool cDIBSection::SavePicture(const std::filesystem::path& path) const {
  if (IsEmpty()) return false;
  constexpr uint32_t kOffBits = 58;
  ByteVector out(kOffBits, 0);
  out[0] = 'B';
  out[1] = 'M';
  Put32(&out[2], static_cast<uint32_t>(header_.biSizeImage) + kOffBits);
  // bytes 6..9: the two reserved words, zero
  Put32(&out[10], kOffBits);
  header_.WriteTo(&out[14]);
  // bytes 54..57: the one empty colour entry that makes the offset 58
  out.insert(out.end(), pixels_.begin(), pixels_.end());
  return WriteFileAtomically(path, out);
}

void cDIBSection::RandomiseBits(bool grey, const std::function<double()>& next) {
  const int bpp = BytesPerPixel();
  for (int row = 0; row < height_; ++row) {
    uint8_t* p = ScanLine(row);
    for (int x = 0; x < width_; ++x, p += bpp) {
      if (grey) {
        const uint8_t v = RoundByte(next() * 255);
        p[0] = p[1] = p[2] = v;
      } else {
        for (int c = 0; c < 3; ++c) p[c] = RoundByte(next() * 255);
      }
    }
  }
}

void cDIBSection::RandomiseBits(bool grey) {
  std::mt19937 engine(static_cast<uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  RandomiseBits(grey, [&] { return unit(engine); });
}

void cDIBSection::ResampleInto(cDIBSection& target, int channels) const {
  const int nw = target.Width();
  const int nh = target.Height();
  const double x_ratio = nw > 1 ? static_cast<double>(width_ - 1) / (nw - 1) : 0.0;
  const double y_ratio = nh > 1 ? static_cast<double>(height_ - 1) / (nh - 1) : 0.0;
  const int sbpp = BytesPerPixel();
  const int dbpp = target.BytesPerPixel();

  // Column positions are the same for every row.
  std::vector<int> ix0(nw), ix1(nw);
  std::vector<double> fxs(nw);
  for (int x = 0; x < nw; ++x) {
    const double sx = x * x_ratio;
    const int ix = std::clamp(Floor(sx), 0, width_ - 1);
    ix0[x] = ix * sbpp;
    ix1[x] = std::min(ix + 1, width_ - 1) * sbpp;
    fxs[x] = sx - ix;
  }

  for (int y = 0; y < nh; ++y) {
    const double sy = y * y_ratio;
    const int iy = std::clamp(Floor(sy), 0, height_ - 1);
    const double fy = sy - iy;
    const uint8_t* upper = ScanLine(iy);
    const uint8_t* lower = ScanLine(std::min(iy + 1, height_ - 1));
    uint8_t* d = target.ScanLine(y);
    for (int x = 0; x < nw; ++x, d += dbpp) {
      const double fx = fxs[x];
      const uint8_t* a = upper + ix0[x];
      const uint8_t* b = upper + ix1[x];
      const uint8_t* c = lower + ix0[x];
      const uint8_t* e = lower + ix1[x];
      for (int ch = 0; ch < channels; ++ch) {
        const int top = Round((1 - fx) * a[ch] + fx * b[ch]);
        const int bottom = Round((1 - fx) * c[ch] + fx * e[ch]);
        d[ch] = RoundByte((1 - fy) * top + fy * bottom);
      }
    }
  }
}

std::unique_ptr<cDIBSection> cDIBSection::Resample(int newW, int newH) const {
  if (IsEmpty() || newW < 1) return nullptr;
  if (newH == -1) newH = static_cast<int>(static_cast<int64_t>(height_) * newW / width_);
  auto out = std::make_unique<cDIBSection>();
  if (!out->Create(newW, newH)) return nullptr;
  if (newW == width_ && newH == height_) {
    out->LoadPictureBlt(*this);
  } else {
    ResampleInto(*out, 3);
  }
  return out;
}

std::vector<uint8_t> cDIBSection::ReadTopDown32(int w, int h) const {
  if (w < 1 || h < 1) return {};
  std::vector<uint8_t> out(static_cast<size_t>(w) * h * 4, 0);
  const int cw = std::min(w, width_);
  const int ch = std::min(h, height_);
  const int bpp = BytesPerPixel();
  for (int y = 0; y < ch; ++y) {
    const uint8_t* s = RowFromTop(y);
    uint8_t* d = out.data() + static_cast<size_t>(y) * w * 4;
    if (bpp == 4) {
      std::memcpy(d, s, static_cast<size_t>(cw) * 4);
    } else {
      for (int x = 0; x < cw; ++x, s += 3, d += 4) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
      }
    }
  }
  return out;
}

Bits cDIBSection::ToBits() const {
  Bits bits(width_, height_);
  if (IsEmpty()) return bits;
  const std::vector<uint8_t> rows = ReadTopDown32(width_, height_);
  for (int y = 0; y < height_; ++y)
    std::memcpy(bits.Row(y), rows.data() + static_cast<size_t>(y) * width_ * 4, static_cast<size_t>(width_) * 4);
  return bits;
}

// ---------------------------------------------------------------------------
// cAlphaDibSection

void cAlphaDibSection::PreMultiplyAlpha() {
  for (int row = 0; row < Height(); ++row) {
    uint8_t* p = ScanLine(row);
    for (int x = 0; x < Width(); ++x, p += 4) {
      const int a = p[3];
      p[0] = static_cast<uint8_t>(p[0] * a / 255);
      p[1] = static_cast<uint8_t>(p[1] * a / 255);
      p[2] = static_cast<uint8_t>(p[2] * a / 255);
    }
  }
}

bool cAlphaDibSection::AreAllAlphaBytesZero() const {
  for (int row = 0; row < Height(); ++row) {
    const uint8_t* p = ScanLine(row);
    for (int x = 0; x < Width(); ++x, p += 4)
      if (p[3] != 0) return false;
  }
  return true;
}

bool cAlphaDibSection::SetColourTransparent(int32_t colour) {
  if (IsEmpty() || (static_cast<uint32_t>(colour) & 0xFF000000u) != 0) return false;
  const uint8_t r = RedOf(colour), g = GreenOf(colour), b = BlueOf(colour);
  for (int row = 0; row < Height(); ++row) {
    uint8_t* p = ScanLine(row);
    for (int x = 0; x < Width(); ++x, p += 4)
      if (p[0] == b && p[1] == g && p[2] == r) p[3] = 0;
  }
  return true;
}

void cAlphaDibSection::SetAlpha(uint8_t alpha) {
  const int a = alpha;
  for (int row = 0; row < Height(); ++row) {
    uint8_t* p = ScanLine(row);
    for (int x = 0; x < Width(); ++x, p += 4) {
      p[3] = alpha;
      p[0] = static_cast<uint8_t>(p[0] * a / 255);
      p[1] = static_cast<uint8_t>(p[1] * a / 255);
      p[2] = static_cast<uint8_t>(p[2] * a / 255);
    }
  }
}

std::unique_ptr<cAlphaDibSection> cAlphaDibSection::AlphaResample(int newW) const {
  if (IsEmpty() || newW < 1) return nullptr;
  const int64_t scaled = static_cast<int64_t>(Height()) * newW;
  const int newH = static_cast<int>(scaled / Width() + (scaled % Width() != 0 ? 1 : 0));
  auto out = std::make_unique<cAlphaDibSection>();
  if (!out->Create(newW, newH)) return nullptr;
  if (newW == Width() && newH == Height()) {
    out->LoadPictureBlt(*this);
  } else {
    ResampleInto(*out, 4);
  }
  return out;
}

}  // namespace kelvane
