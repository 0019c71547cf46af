#include "document/dib_section.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

// Pixel (x, memory row) of a section.
uint8_t* At(cDIBSection& s, int x, int row) { return s.ScanLine(row) + x * s.BytesPerPixel(); }
const uint8_t* At(const cDIBSection& s, int x, int row) { return s.ScanLine(row) + x * s.BytesPerPixel(); }

void FillRandom(cDIBSection& s, uint32_t seed) {
  std::mt19937 rng(seed);
  for (int row = 0; row < s.Height(); ++row)
    for (int x = 0; x < s.Width(); ++x)
      for (int c = 0; c < s.BytesPerPixel(); ++c) At(s, x, row)[c] = static_cast<uint8_t>(rng() & 0xFF);
}

uint32_t Le32(const ByteVector& b, size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}

TEST(DibSectionLayout, BytesPerScanLineAndHeader) {
  for (int w : {1, 2, 3, 4, 5, 6, 7, 8, 119, 1001}) {
    cDIBSection s24;
    ASSERT_TRUE(s24.Create(w, 3));
    const int padded = (3 * w + 3) / 4 * 4;  // 3W rounded up to a multiple of 4
    EXPECT_EQ(s24.BytesPerScanLine(), padded) << "width " << w;
    EXPECT_EQ(s24.Header().biSizeImage, padded * 3);
    EXPECT_EQ(s24.Header().biHeight, 3);
    EXPECT_EQ(s24.Header().biWidth, w);
    EXPECT_EQ(s24.Header().biBitCount, 24);
    EXPECT_EQ(s24.Header().biPlanes, 1);
    EXPECT_EQ(s24.Header().biSize, 40);

    cAlphaDibSection s32;
    ASSERT_TRUE(s32.Create(w, 2));
    EXPECT_EQ(s32.BytesPerScanLine(), 4 * w);
    EXPECT_EQ(s32.Header().biSizeImage, 8 * w);
    EXPECT_EQ(s32.Header().biBitCount, 32);
  }
}

TEST(DibSectionLayout, CreateAndClearUp) {
  cDIBSection s;
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(s.DIBSectionBitsPtr(), nullptr);
  EXPECT_FALSE(s.Create(0, 5));
  EXPECT_FALSE(s.Create(5, -1));
  EXPECT_TRUE(s.IsEmpty());
  s.SetUseDrawDib(true);
  ASSERT_TRUE(s.Create(5, 2));
  EXPECT_TRUE(s.UseDrawDib());  // Create keeps the setting
  const uint8_t* p = s.DIBSectionBitsPtr();
  ASSERT_NE(p, nullptr);
  for (int i = 0; i < s.Header().biSizeImage; ++i) ASSERT_EQ(p[i], 0);
  s.ClearUp();
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(s.Width(), 0);
  EXPECT_EQ(s.DIBSectionBitsPtr(), nullptr);
}

TEST(DibSectionCopy, BitsRoundTripFlipsRows) {
  Bits bits(3, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x)
      for (int c = 0; c < 4; ++c) bits.At(c, x, y) = static_cast<uint8_t>(100 * y + 10 * x + c + 1);

  cDIBSection s24;
  ASSERT_TRUE(s24.CreateFromBits(bits));
  // Memory row 0 is the bottom picture row, y = 1.
  EXPECT_EQ(At(s24, 0, 0)[0], 101);
  EXPECT_EQ(At(s24, 2, 0)[2], 123);
  EXPECT_EQ(At(s24, 1, 1)[1], 12);
  EXPECT_EQ(s24.RowFromTop(0), s24.ScanLine(1));

  cAlphaDibSection s32;
  ASSERT_TRUE(s32.CreateFromBits(bits));
  EXPECT_EQ(At(s32, 2, 1)[3], 24);  // channel 3 -> alpha

  const Bits back24 = s24.ToBits();
  const Bits back32 = s32.ToBits();
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) {
      for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(back24.At(c, x, y), bits.At(c, x, y));
        EXPECT_EQ(back32.At(c, x, y), bits.At(c, x, y));
      }
      EXPECT_EQ(back24.At(3, x, y), 0);
      EXPECT_EQ(back32.At(3, x, y), bits.At(3, x, y));
    }
  EXPECT_EQ(back24.At(0, -1, 0), 0);  // frame zero

  // Top-down 32-bit read-out of a larger area: beyond the picture is zero.
  const std::vector<uint8_t> rows = s24.ReadTopDown32(4, 3);
  ASSERT_EQ(rows.size(), 4u * 3 * 4);
  EXPECT_EQ(rows[0], 1);                     // (0, 0) blue
  EXPECT_EQ(rows[3], 0);                     // fourth byte of a 24-bit picture
  EXPECT_EQ(rows[(1 * 4 + 2) * 4 + 2], 123);  // (2, 1) red
  for (int i = 12; i < 16; ++i) EXPECT_EQ(rows[i], 0);  // x = 3
  for (int i = 32; i < 48; ++i) EXPECT_EQ(rows[i], 0);  // y = 2
  // A narrower read keeps exactly w pixels per row.
  const std::vector<uint8_t> narrow = s32.ReadTopDown32(2, 1);
  ASSERT_EQ(narrow.size(), 8u);
  EXPECT_EQ(narrow[4], 11);
  EXPECT_EQ(narrow[7], 14);
}

TEST(DibSectionCopy, BlitsUseTopLeftCoordinatesAndClip) {
  // Source 4 x 3, value 10 * y + x counted from the top, in every channel.
  cAlphaDibSection src;
  ASSERT_TRUE(src.Create(4, 3));
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x) std::memset(src.RowFromTop(y) + 4 * x, 10 * y + x + 1, 4);

  cDIBSection dst;
  ASSERT_TRUE(dst.Create(2, 2));
  dst.LoadPictureBlt(src, 1, 1);  // size -1: the destination's own
  EXPECT_EQ(dst.RowFromTop(0)[0], 12);
  EXPECT_EQ(dst.RowFromTop(0)[3], 13);
  EXPECT_EQ(dst.RowFromTop(1)[0], 22);
  EXPECT_EQ(dst.RowFromTop(1)[5], 23);

  // Source rectangle running off the source: only what exists is copied.
  cDIBSection dst2;
  ASSERT_TRUE(dst2.Create(3, 3));
  dst2.LoadPictureBlt(src, 2, 2);
  EXPECT_EQ(dst2.RowFromTop(0)[0], 23);
  EXPECT_EQ(dst2.RowFromTop(0)[3], 24);
  EXPECT_EQ(dst2.RowFromTop(0)[6], 0);
  EXPECT_EQ(dst2.RowFromTop(1)[0], 0);

  // PaintPicture into a 32-bit target at a negative x: clipped, alpha 0 from 24 bits.
  cAlphaDibSection target;
  ASSERT_TRUE(target.Create(3, 3));
  std::memset(target.DIBSectionBitsPtr(), 0xEE, target.Header().biSizeImage);
  dst.PaintPicture(target, -1, 1);
  EXPECT_EQ(target.RowFromTop(0)[0], 0xEE);
  EXPECT_EQ(target.RowFromTop(1)[0], 13);  // dst (1, 0)
  EXPECT_EQ(target.RowFromTop(1)[3], 0);   // alpha written as 0
  EXPECT_EQ(target.RowFromTop(1)[4], 0xEE);
  EXPECT_EQ(target.RowFromTop(2)[0], 23);
  // Source offset and explicit size.
  src.PaintPicture(target, 2, 0, 1, 1, 3, 2);
  EXPECT_EQ(target.RowFromTop(0)[8], 24);
  EXPECT_EQ(target.RowFromTop(0)[11], 24);  // 32 -> 32 keeps alpha
  EXPECT_EQ(target.RowFromTop(1)[8], 0xEE);
}

TEST(DibSectionResample, TwoToThreeWideRoundsStageOneToEven) {
  cDIBSection s;
  ASSERT_TRUE(s.Create(2, 1));
  // blue 10 -> 15, green 10 -> 13, red 0 -> 255
  const uint8_t px[2][3] = {{10, 10, 0}, {15, 13, 255}};
  std::memcpy(At(s, 0, 0), px[0], 3);
  std::memcpy(At(s, 1, 0), px[1], 3);
  auto r = s.Resample(3, 1);
  ASSERT_TRUE(r);
  ASSERT_EQ(r->Width(), 3);
  ASSERT_EQ(r->Height(), 1);
  // xRatio = 1/2; the middle pixel has fx = 0.5.
  EXPECT_EQ(At(*r, 1, 0)[0], 12);   // 12.5 -> 12
  EXPECT_EQ(At(*r, 1, 0)[1], 12);   // 11.5 -> 12
  EXPECT_EQ(At(*r, 1, 0)[2], 128);  // 127.5 -> 128
  EXPECT_EQ(std::memcmp(At(*r, 0, 0), px[0], 3), 0);
  EXPECT_EQ(std::memcmp(At(*r, 2, 0), px[1], 3), 0);
}

TEST(DibSectionResample, ThreeToTwoWideTakesTheEnds) {
  cDIBSection s;
  ASSERT_TRUE(s.Create(3, 1));
  for (int x = 0; x < 3; ++x) std::memset(At(s, x, 0), 50 * (x + 1), 3);
  auto r = s.Resample(2, 1);
  ASSERT_TRUE(r);
  EXPECT_EQ(At(*r, 0, 0)[1], 50);   // xRatio = 2: x = 0 -> 0
  EXPECT_EQ(At(*r, 1, 0)[1], 150);  // x = 1 -> 2
}

TEST(DibSectionResample, TwoByTwoToThreeByThreeRoundsInTwoStages) {
  cDIBSection s;
  ASSERT_TRUE(s.Create(2, 2));
  // blue: row 0 (0, 1), row 1 (2, 3). green: row 0 (2, 2), row 1 (3, 3).
  // red: row 0 (1, 2), row 1 (1, 2).
  const uint8_t blue[2][2] = {{0, 1}, {2, 3}};
  const uint8_t green[2][2] = {{2, 2}, {3, 3}};
  const uint8_t red[2][2] = {{1, 2}, {1, 2}};
  for (int row = 0; row < 2; ++row)
    for (int x = 0; x < 2; ++x) {
      At(s, x, row)[0] = blue[row][x];
      At(s, x, row)[1] = green[row][x];
      At(s, x, row)[2] = red[row][x];
    }
  auto r = s.Resample(3, 3);
  ASSERT_TRUE(r);
  // Blue centre: top Round(0.5) = 0, bottom Round(2.5) = 2, Round(1.0) = 1
  // (a one-stage mix would give Round(1.5) = 2).
  const uint8_t eb[3][3] = {{0, 0, 1}, {1, 1, 2}, {2, 2, 3}};
  // Green: stage two ties 2.5 -> 2 in the middle row.
  const uint8_t eg[3][3] = {{2, 2, 2}, {2, 2, 2}, {3, 3, 3}};
  // Red: 1.5 -> 2 in stage one.
  const uint8_t er[3][3] = {{1, 2, 2}, {1, 2, 2}, {1, 2, 2}};
  for (int row = 0; row < 3; ++row)
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(At(*r, x, row)[0], eb[row][x]) << x << "," << row;
      EXPECT_EQ(At(*r, x, row)[1], eg[row][x]) << x << "," << row;
      EXPECT_EQ(At(*r, x, row)[2], er[row][x]) << x << "," << row;
    }
}

// A slow reference of the two-stage bilinear rule over memory rows.
uint8_t ReferenceSample(const cDIBSection& s, int nw, int nh, int x, int y, int c) {
  const double xr = double(s.Width() - 1) / (nw - 1), yr = double(s.Height() - 1) / (nh - 1);
  const double sx = x * xr, sy = y * yr;
  const int ix = int(std::floor(sx)), iy = int(std::floor(sy));
  const double fx = sx - ix, fy = sy - iy;
  auto p = [&](int px, int py) -> double {
    if (px >= s.Width()) px = s.Width() - 1;
    if (py >= s.Height()) py = s.Height() - 1;
    return At(s, px, py)[c];
  };
  const double top = std::nearbyint((1 - fx) * p(ix, iy) + fx * p(ix + 1, iy));
  const double bottom = std::nearbyint((1 - fx) * p(ix, iy + 1) + fx * p(ix + 1, iy + 1));
  const double v = std::nearbyint((1 - fy) * top + fy * bottom);
  return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

TEST(DibSectionResample, AgreesWithReferenceOnPaddedRows) {
  cDIBSection s;
  ASSERT_TRUE(s.Create(7, 5));  // 21 bytes of pixels in a 24-byte row
  FillRandom(s, 7);
  for (auto [nw, nh] : {std::pair{4, 9}, std::pair{13, 3}, std::pair{5, 5}}) {
    auto r = s.Resample(nw, nh);
    ASSERT_TRUE(r);
    for (int y = 0; y < nh; ++y)
      for (int x = 0; x < nw; ++x)
        for (int c = 0; c < 3; ++c)
          ASSERT_EQ(At(*r, x, y)[c], ReferenceSample(s, nw, nh, x, y, c)) << nw << "x" << nh << " " << x << "," << y;
    // Padding bytes of the result stay zero.
    for (int y = 0; y < nh; ++y)
      for (int i = 3 * nw; i < r->BytesPerScanLine(); ++i) ASSERT_EQ(r->ScanLine(y)[i], 0);
  }
}

TEST(DibSectionResample, SameSizeIsExactCopyAndDefaultHeight) {
  cDIBSection s;
  ASSERT_TRUE(s.Create(5, 3));
  FillRandom(s, 3);
  auto same = s.Resample(5, 3);
  ASSERT_TRUE(same);
  EXPECT_EQ(std::memcmp(same->DIBSectionBitsPtr(), s.DIBSectionBitsPtr(), s.Header().biSizeImage), 0);
  auto defaulted = s.Resample(5);  // -1 -> 3 * 5 / 5
  ASSERT_TRUE(defaulted);
  EXPECT_EQ(defaulted->Height(), 3);
  auto shorter = s.Resample(3);  // 3 * 3 / 5 = 1 in integer arithmetic
  ASSERT_TRUE(shorter);
  EXPECT_EQ(shorter->Width(), 3);
  EXPECT_EQ(shorter->Height(), 1);
  EXPECT_FALSE(s.Resample(0));
  EXPECT_FALSE(s.Resample(1, 0));
  cDIBSection empty;
  EXPECT_FALSE(empty.Resample(4, 4));

  // From the alpha class the result is 24-bit and drops alpha.
  cAlphaDibSection a;
  ASSERT_TRUE(a.Create(2, 2));
  FillRandom(a, 9);
  auto copy = a.Resample(2, 2);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->BitCount(), 24);
  for (int row = 0; row < 2; ++row)
    for (int x = 0; x < 2; ++x) EXPECT_EQ(std::memcmp(At(*copy, x, row), At(a, x, row), 3), 0);
}

TEST(DibSectionResample, AlphaResampleHeightRoundsUpAndMixesAlpha) {
  struct Case {
    int w, h, nw, expected_h;
  } cases[] = {{3, 2, 2, 2}, {4, 2, 2, 1}, {5, 3, 7, 5}, {10, 10, 3, 3}, {2, 1, 3, 2}};
  for (const Case& c : cases) {
    cAlphaDibSection s;
    ASSERT_TRUE(s.Create(c.w, c.h));
    auto r = s.AlphaResample(c.nw);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->Width(), c.nw);
    EXPECT_EQ(r->Height(), c.expected_h) << c.w << "x" << c.h << " -> " << c.nw;
    EXPECT_EQ(r->BitCount(), 32);
  }
  cAlphaDibSection s;
  ASSERT_TRUE(s.Create(2, 1));
  const uint8_t left[4] = {0, 0, 0, 0}, right[4] = {255, 9, 3, 255};
  std::memcpy(At(s, 0, 0), left, 4);
  std::memcpy(At(s, 1, 0), right, 4);
  auto r = s.AlphaResample(3);  // 3 x 2
  ASSERT_TRUE(r);
  for (int row = 0; row < 2; ++row) {
    EXPECT_EQ(At(*r, 1, row)[0], 128);  // 127.5 -> 128
    EXPECT_EQ(At(*r, 1, row)[1], 4);    // 4.5 -> 4
    EXPECT_EQ(At(*r, 1, row)[2], 2);    // 1.5 -> 2
    EXPECT_EQ(At(*r, 1, row)[3], 128);
  }
}

TEST(AlphaDibSection, PreMultiplyAndSetAlphaTruncate) {
  cAlphaDibSection s;
  ASSERT_TRUE(s.Create(2, 1));
  const uint8_t a[4] = {255, 100, 1, 128}, b[4] = {200, 201, 254, 254};
  std::memcpy(At(s, 0, 0), a, 4);
  std::memcpy(At(s, 1, 0), b, 4);
  s.PreMultiplyAlpha();
  // 255*128/255 = 128, 100*128/255 = 50.2, 1*128/255 = 0.5
  const uint8_t ea[4] = {128, 50, 0, 128};
  // 200*254/255 = 199.2, 201*254/255 = 200.2, 254*254/255 = 253.0
  const uint8_t eb[4] = {199, 200, 253, 254};
  EXPECT_EQ(std::memcmp(At(s, 0, 0), ea, 4), 0);
  EXPECT_EQ(std::memcmp(At(s, 1, 0), eb, 4), 0);

  // SetAlpha: 255*100/255 = 100, 128*100/255 = 50.2, 3*100/255 = 1.18
  const uint8_t p[4] = {255, 128, 3, 7};
  std::memcpy(At(s, 0, 0), p, 4);
  s.SetAlpha(100);
  const uint8_t e[4] = {100, 50, 1, 100};
  EXPECT_EQ(std::memcmp(At(s, 0, 0), e, 4), 0);
}

TEST(AlphaDibSection, TransparentColourKeepsColourUntilPremultiplied) {
  cAlphaDibSection s;
  ASSERT_TRUE(s.Create(3, 1));
  EXPECT_TRUE(s.AreAllAlphaBytesZero());
  const uint8_t key[4] = {0x10, 0x20, 0x30, 255};       // blue, green, red of 0x00102030
  const uint8_t reversed[4] = {0x30, 0x20, 0x10, 255};  // red and blue swapped: no match
  const uint8_t near[4] = {0x10, 0x20, 0x31, 200};
  std::memcpy(At(s, 0, 0), key, 4);
  std::memcpy(At(s, 1, 0), reversed, 4);
  std::memcpy(At(s, 2, 0), near, 4);
  EXPECT_FALSE(s.AreAllAlphaBytesZero());

  EXPECT_FALSE(s.SetColourTransparent(-1));
  EXPECT_EQ(At(s, 0, 0)[3], 255);

  EXPECT_TRUE(s.SetColourTransparent(0x00102030));
  const uint8_t key_clear[4] = {0x10, 0x20, 0x30, 0};
  EXPECT_EQ(std::memcmp(At(s, 0, 0), key_clear, 4), 0);  // colour stays
  EXPECT_EQ(std::memcmp(At(s, 1, 0), reversed, 4), 0);
  EXPECT_EQ(std::memcmp(At(s, 2, 0), near, 4), 0);

  s.PreMultiplyAlpha();
  const uint8_t zero[4] = {0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(At(s, 0, 0), zero, 4), 0);
  EXPECT_EQ(std::memcmp(At(s, 1, 0), reversed, 4), 0);  // alpha 255: unchanged
  // 0x10*200/255 = 12.5, 0x20*200/255 = 25.1, 0x31*200/255 = 38.4
  const uint8_t near_pm[4] = {12, 25, 38, 200};
  EXPECT_EQ(std::memcmp(At(s, 2, 0), near_pm, 4), 0);

  s.SetAlpha(0);
  EXPECT_TRUE(s.AreAllAlphaBytesZero());
}

TEST(DibSectionRandom, DrawsRoundedValuesInMemoryOrder) {
  // r * 255 = 2.5, 3.5, 0, 254.745, 127.5, 1.0 ...
  const double script[] = {2.5 / 255, 3.5 / 255, 0.0, 0.999, 127.5 / 255, 1.0 / 255};
  int drawn = 0;
  auto next = [&] { return script[drawn++ % 6]; };

  cDIBSection s;
  ASSERT_TRUE(s.Create(2, 1));
  s.RandomiseBits(false, next);
  EXPECT_EQ(drawn, 6);
  const uint8_t expected[6] = {2, 4, 0, 255, 128, 1};
  EXPECT_EQ(std::memcmp(s.ScanLine(0), expected, 6), 0);
  EXPECT_EQ(s.ScanLine(0)[6], 0);  // padding untouched

  cAlphaDibSection a;
  ASSERT_TRUE(a.Create(2, 2));
  At(a, 0, 0)[3] = 77;
  drawn = 0;
  a.RandomiseBits(true, next);
  EXPECT_EQ(drawn, 4);  // one draw per pixel in grey mode
  const uint8_t grey[4] = {2, 4, 0, 255};  // memory rows 0 then 1, left to right
  for (int i = 0; i < 4; ++i) {
    const uint8_t* p = At(a, i % 2, i / 2);
    EXPECT_EQ(p[0], grey[i]);
    EXPECT_EQ(p[1], grey[i]);
    EXPECT_EQ(p[2], grey[i]);
  }
  EXPECT_EQ(At(a, 0, 0)[3], 77);  // alpha untouched
}

TEST(DibSectionSave, WritesTheFiftyEightByteLayout) {
  test::TempDir dir;
  cDIBSection s;
  ASSERT_TRUE(s.Create(3, 2));  // 9 bytes of pixels, 12 per row
  for (int row = 0; row < 2; ++row)
    for (int i = 0; i < 9; ++i) s.ScanLine(row)[i] = static_cast<uint8_t>(0x40 + 16 * row + i);
  const auto path = dir / "out.bmp";
  ASSERT_TRUE(s.SavePicture(path));
  ByteVector b;
  ASSERT_TRUE(ReadWholeFile(path, b));
  ASSERT_EQ(b.size(), 58u + 24u);
  const uint8_t head[58] = {
      'B', 'M', 82, 0, 0, 0,  // bfSize = 24 + 58
      0, 0, 0, 0,             // reserved
      58, 0, 0, 0,            // bfOffBits
      40, 0, 0, 0,            // biSize
      3, 0, 0, 0,             // biWidth
      2, 0, 0, 0,             // biHeight, positive: bottom-up
      1, 0, 24, 0,            // planes, bits
      0, 0, 0, 0,             // compression
      24, 0, 0, 0,            // biSizeImage
      0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // resolution, colours
      0, 0, 0, 0,             // the empty colour entry
  };
  for (int i = 0; i < 58; ++i) EXPECT_EQ(b[i], head[i]) << "byte " << i;
  for (int row = 0; row < 2; ++row) {
    for (int i = 0; i < 9; ++i) EXPECT_EQ(b[58 + 12 * row + i], 0x40 + 16 * row + i);
    for (int i = 9; i < 12; ++i) EXPECT_EQ(b[58 + 12 * row + i], 0) << "padding";
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "out.bmp.part"));

  cAlphaDibSection a;
  ASSERT_TRUE(a.Create(5, 3));
  ASSERT_TRUE(a.SavePicture(dir / "a.bmp"));
  ASSERT_TRUE(ReadWholeFile(dir / "a.bmp", b));
  EXPECT_EQ(b.size(), 58u + 60u);
  EXPECT_EQ(Le32(b, 2), 118u);
  EXPECT_EQ(Le32(b, 10), 58u);
  EXPECT_EQ(b[28], 32);
  EXPECT_EQ(Le32(b, 34), 60u);

  EXPECT_FALSE(s.SavePicture(dir / "missing" / "x.bmp"));
  EXPECT_FALSE(std::filesystem::exists(dir / "missing"));
  cDIBSection empty;
  EXPECT_FALSE(empty.SavePicture(dir / "empty.bmp"));
  EXPECT_FALSE(std::filesystem::exists(dir / "empty.bmp"));
}

}  // namespace
}  // namespace kelvane
