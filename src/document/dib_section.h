// cDIBSection and cAlphaDibSection: small in-memory pictures for thumbnails,
// previews, alpha composition and the FreeImage bridge.
//
// Contract:
//  - Memory layout is that of a bottom-up device-independent bitmap: the
//    header has biWidth W, biHeight +H, biBitCount 24 (cDIBSection) or 32
//    (cAlphaDibSection), biSizeImage = BytesPerScanLine() * H. Memory row 0 is
//    the bottom row of the picture. Bytes per pixel are blue, green, red
//    (and alpha for the 32-bit class).
//  - BytesPerScanLine: 24-bit: (W + 1) * 3 with the two low bits cleared (3W
//    rounded up to a multiple of 4); 32-bit: W * 4. Padding bytes of a 24-bit
//    row are zero after Create and no operation writes them.
//  - Coordinates given to LoadPictureBlt, PaintPicture and RenderDIB-style
//    copies are picture coordinates: (0, 0) is the top-left pixel, as on a
//    device context. ScanLine(i) is the raw memory row (0 = bottom); RowFromTop
//    turns a picture row into it.
//  - Copies clip to both pictures; nothing outside either is read or written.
//    A copy from a 24-bit into a 32-bit picture writes 0 into the alpha byte;
//    a copy from 32 bits into 24 drops the alpha byte.
//  - Rounding is to the nearest, ties to even (Round of base/numeric.h).
//  - An object is empty after construction and after ClearUp; operations on an
//    empty picture do nothing and report failure where they have a result.
//    Sections are not copyable (they stand for a platform handle); pass them by
//    reference or hold them by unique_ptr.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "document/bits.h"

namespace kelvane {

class cDIBSection {
 public:
  cDIBSection() : cDIBSection(24) {}
  virtual ~cDIBSection() { ClearUp(); }
  cDIBSection(const cDIBSection&) = delete;
  cDIBSection& operator=(const cDIBSection&) = delete;

  // The draw-dib switch of the platform version. Kept as a plain flag: both
  // ways of painting are the same 1:1 copy here. Create preserves it.
  bool UseDrawDib() const { return use_draw_dib_; }
  void SetUseDrawDib(bool on) { use_draw_dib_ = on; }

  // Replaces any content by a zero-filled W x H picture. False (and empty)
  // when either size is below 1 or the memory cannot be had.
  bool Create(int width, int height);
  // Create at the size of the picture, then LoadPictureBlt of all of it.
  bool CreateFromPicture(const cDIBSection& picture);
  // Create at the size of the array (frame dropped) with rows flipped to
  // bottom-up. Channel 3 goes to the alpha byte of a 32-bit picture and is
  // dropped by a 24-bit one. False for an empty or null array.
  bool CreateFromBits(const Bits& bits);
  // Releases the pixels; the object is empty afterwards.
  void ClearUp();

  bool IsEmpty() const { return pixels_.empty(); }
  int BitCount() const { return bit_count_; }
  int BytesPerPixel() const { return bit_count_ / 8; }
  int BytesPerScanLine() const { return ScanLineBytes(width_); }
  int Width() const { return width_; }
  int Height() const { return height_; }
  const BitmapHeader& Header() const { return header_; }

  // Start of the pixels (memory row 0, the bottom row); null when empty.
  uint8_t* DIBSectionBitsPtr() { return pixels_.empty() ? nullptr : pixels_.data(); }
  const uint8_t* DIBSectionBitsPtr() const { return pixels_.empty() ? nullptr : pixels_.data(); }
  // Memory row i (0 = bottom). No bounds test.
  uint8_t* ScanLine(int i) { return pixels_.data() + static_cast<size_t>(i) * BytesPerScanLine(); }
  const uint8_t* ScanLine(int i) const { return pixels_.data() + static_cast<size_t>(i) * BytesPerScanLine(); }
  // Picture row y counted from the top. No bounds test.
  uint8_t* RowFromTop(int y) { return ScanLine(height_ - 1 - y); }
  const uint8_t* RowFromTop(int y) const { return ScanLine(height_ - 1 - y); }

  // Copies w x h pixels from (sx, sy) of the source into (0, 0) of this
  // picture. A negative width or height means this picture's own.
  void LoadPictureBlt(const cDIBSection& src, int sx = 0, int sy = 0, int w = -1, int h = -1);
  // Copies w x h pixels from (sx, sy) of this picture to (x, y) of the target.
  // A negative width or height means this picture's own.
  void PaintPicture(cDIBSection& target, int x, int y, int w = -1, int h = -1, int sx = 0, int sy = 0) const;

  // Writes the picture as a BMP file: 14-byte file header with bfOffBits 58
  // and bfSize = biSizeImage + 58, the 40-byte header, one empty 4-byte colour
  // entry, then the rows exactly as held in memory (bottom-up, padded).
  // Written through a temporary sibling; false when empty or not written.
  bool SavePicture(const std::filesystem::path& path) const;

  // Fills blue, green and red of every pixel with Round(r * 255), r drawn from
  // next() in [0, 1). Pixels are visited in memory order, left to right; grey
  // draws once per pixel, otherwise blue, green, red draw in that order. The
  // alpha byte of a 32-bit picture and row padding are left alone.
  void RandomiseBits(bool grey, const std::function<double()>& next);
  // The same from an engine seeded with the clock.
  void RandomiseBits(bool grey);

  // Bilinear resample into a new 24-bit picture (also from a 32-bit one):
  //   xRatio = (W - 1) / (newW - 1), yRatio = (H - 1) / (newH - 1);
  //   per target pixel sx = x * xRatio, ix = Floor(sx), fx = sx - ix (same in y);
  //   top = Round((1 - fx) P(ix, iy) + fx P(ix + 1, iy)), bottom likewise on
  //   row iy + 1, result = Round((1 - fy) top + fy bottom) clamped to 0..255.
  // newH = -1 means H * newW / W in integer arithmetic. The same size is an
  // exact copy. A target side of 1 samples the first column or row (the ratio
  // would divide by zero); reads past the last column or row are clamped to it
  // (their weight is zero). Empty result when the target cannot be made.
  std::unique_ptr<cDIBSection> Resample(int newW, int newH = -1) const;

  // The picture as top-down 32-bit rows of exactly w pixels (BGRA, 4 * w * h
  // bytes), the shape a platform read-out into a temporary image record has.
  // Parts beyond this picture read as 0; a 24-bit picture gives 0 in the
  // fourth byte.
  std::vector<uint8_t> ReadTopDown32(int w, int h) const;
  // The whole picture as a Bits array (frame zero); channel 3 is the alpha
  // byte of a 32-bit picture and 0 for a 24-bit one.
  Bits ToBits() const;

 protected:
  explicit cDIBSection(int bit_count) : bit_count_(bit_count) {}
  int ScanLineBytes(int width) const;
  // Resamples all channels of this picture into an already created target.
  void ResampleInto(cDIBSection& target, int channels) const;

 private:
  int bit_count_;
  int width_ = 0;
  int height_ = 0;
  bool use_draw_dib_ = false;
  BitmapHeader header_;
  std::vector<uint8_t> pixels_;
};

class cAlphaDibSection : public cDIBSection {
 public:
  cAlphaDibSection() : cDIBSection(32) {}

  // Each of blue, green, red becomes c * a / 255, truncated. Alpha stays.
  void PreMultiplyAlpha();
  // True when no pixel has a non-zero alpha (also for an empty picture).
  bool AreAllAlphaBytesZero() const;
  // Sets alpha to 0 on every pixel whose blue, green and red equal the colour
  // (0x00BBGGRR); the colour bytes stay. A value with a non-zero high byte
  // (no colour, or a system colour index) matches nothing and gives false.
  bool SetColourTransparent(int32_t colour);
  // Sets every alpha to the byte and premultiplies blue, green, red by it.
  void SetAlpha(uint8_t alpha);
  // Bilinear resample of all four channels (rule as Resample) to newW wide and
  // H * newW / W high, plus 1 when that division leaves a remainder.
  std::unique_ptr<cAlphaDibSection> AlphaResample(int newW) const;
};

}  // namespace kelvane
