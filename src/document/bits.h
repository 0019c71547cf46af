// Bits: a document's pixel array, and the 40-byte header kept beside it.
//
// Contract:
//  - Channel varies fastest, then x, then y; channels 0 blue, 1 green, 2 red,
//    3 spare. Byte (c, x, y) lies at 4 * ((x + 2) + (W + 4) * (y + 2)) + c.
//    x runs from -2 to W + 1 and y from -2 to H + 1: a two-pixel frame on
//    every side so neighbour reads need no bounds test.
//  - Rows are top-down with no padding: the buffer is byte for byte a 32-bit
//    top-down bitmap of (W + 4) x (H + 4), described by Header().
//  - A new array is all zero, frame included. W or H may be 0 (an empty crop):
//    the array then holds only its frame.
//  - Pixel loops take Row(y) or Pixel(x, y) once per row or span and index the
//    bytes directly; there is no per-pixel accessor meant for hot loops.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace kelvane {

constexpr int kBitsFrame = 2;

// The platform's BITMAPINFOHEADER, field for field.
struct BitmapHeader {
  int32_t biSize = 40;
  int32_t biWidth = 0;
  int32_t biHeight = 0;
  int16_t biPlanes = 1;
  int16_t biBitCount = 32;
  int32_t biCompression = 0;
  int32_t biSizeImage = 0;
  int32_t biXPelsPerMeter = 0;
  int32_t biYPelsPerMeter = 0;
  int32_t biClrUsed = 0;
  int32_t biClrImportant = 0;

  // The 40 little-endian bytes of the header.
  void WriteTo(uint8_t out[40]) const;
  static BitmapHeader ReadFrom(const uint8_t in[40]);
  bool operator==(const BitmapHeader&) const = default;
};

class Bits {
 public:
  Bits() = default;
  // A zero-filled array for a W x H picture. Negative sizes count as 0.
  Bits(int width, int height);

  Bits(const Bits& other);
  Bits& operator=(const Bits& other);
  Bits(Bits&& other) noexcept;
  Bits& operator=(Bits&& other) noexcept;
  ~Bits() = default;

  // Re-dimensions to W x H and zero-fills, reusing the storage when it is
  // large enough.
  void Reset(int width, int height);

  bool IsNull() const { return !data_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  int MaxX() const { return width_ - 1; }
  int MaxY() const { return height_ - 1; }
  // Bytes per row, frame included: (W + 4) * 4.
  ptrdiff_t Stride() const { return static_cast<ptrdiff_t>(width_ + 2 * kBitsFrame) * 4; }
  size_t ByteSize() const { return size_; }

  uint8_t* Data() { return data_.get(); }
  const uint8_t* Data() const { return data_.get(); }

  // Offset of byte (c, x, y); valid for -2 <= x <= W + 1, -2 <= y <= H + 1.
  ptrdiff_t Offset(int c, int x, int y) const {
    return 4 * ((static_cast<ptrdiff_t>(x) + kBitsFrame) +
                (static_cast<ptrdiff_t>(width_) + 2 * kBitsFrame) * (static_cast<ptrdiff_t>(y) + kBitsFrame)) + c;
  }
  uint8_t* Pixel(int x, int y) { return data_.get() + Offset(0, x, y); }
  const uint8_t* Pixel(int x, int y) const { return data_.get() + Offset(0, x, y); }
  // Start of pixel (0, y): the first picture pixel of the row, past the frame.
  uint8_t* Row(int y) { return Pixel(0, y); }
  const uint8_t* Row(int y) const { return Pixel(0, y); }

  uint8_t& At(int c, int x, int y) { return data_[Offset(c, x, y)]; }
  uint8_t At(int c, int x, int y) const { return data_[Offset(c, x, y)]; }

  // True when (x, y) lies inside the array, frame included.
  bool InArray(int x, int y) const {
    return x >= -kBitsFrame && x < width_ + kBitsFrame && y >= -kBitsFrame && y < height_ + kBitsFrame;
  }

  // The header describing the whole buffer: width W + 4, height -(H + 4).
  BitmapHeader Header() const;

  void Fill(uint8_t value) {
    if (size_) std::memset(data_.get(), value, size_);
  }
  bool SameShape(const Bits& other) const { return width_ == other.width_ && height_ == other.height_; }
  bool operator==(const Bits& other) const;

 private:
  std::unique_ptr<uint8_t[]> data_;
  size_t size_ = 0;
  size_t capacity_ = 0;
  int width_ = 0;
  int height_ = 0;
};

}  // namespace kelvane
