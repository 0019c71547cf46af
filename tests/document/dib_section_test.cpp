// Device-bitmap sections: layout, copies, the two-stage bilinear resample
// against hand values and a slow reference, alpha arithmetic, the file bytes.
#include "document/dib_section.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using Px = std::vector<uint8_t>;

// Pixel (x, memory row) of a section.
const uint8_t* At(const cDIBSection& s, int x, int row) { return s.ScanLine(row) + x * s.BytesPerPixel(); }
uint8_t* At(cDIBSection& s, int x, int row) { return s.ScanLine(row) + x * s.BytesPerPixel(); }
Px Get(const cDIBSection& s, int x, int row) { return Px(At(s, x, row), At(s, x, row) + s.BytesPerPixel()); }
void Put(cDIBSection& s, int x, int row, const Px& p) { std::copy(p.begin(), p.end(), At(s, x, row)); }

// A new zero-filled section; the test stops if it cannot be made.
template <class S = cDIBSection>
std::unique_ptr<S> Make(int w, int h) {
  auto s = std::make_unique<S>();
  if (!s->Create(w, h)) throw std::runtime_error("cannot create " + std::to_string(w) + "x" + std::to_string(h));
  return s;
}

void FillRandom(cDIBSection& s, uint32_t seed) {
  std::mt19937 rng(seed);
  for (int row = 0; row < s.Height(); ++row)
    for (int i = 0; i < s.Width() * s.BytesPerPixel(); ++i) s.ScanLine(row)[i] = static_cast<uint8_t>(rng());
}

TEST(DibSectionLayout, BytesPerScanLineHeaderAndClearUp) {
  for (int w : {1, 2, 3, 4, 5, 119, 1001}) {
    cDIBSection s24;
    cAlphaDibSection s32;
    ASSERT_TRUE(s24.Create(w, 3) && s32.Create(w, 2));
    const int padded = (3 * w + 3) / 4 * 4;  // 3W rounded up to a multiple of 4
    EXPECT_EQ(s24.BytesPerScanLine(), padded) << "width " << w;
    EXPECT_EQ(s32.BytesPerScanLine(), 4 * w);
    // Positive heights: rows bottom-up. All other fields 0.
    EXPECT_EQ(s24.Header(), (BitmapHeader{.biSize = 40, .biWidth = w, .biHeight = 3, .biPlanes = 1, .biBitCount = 24,
                                          .biCompression = 0, .biSizeImage = padded * 3}));
    EXPECT_EQ(s32.Header(), (BitmapHeader{.biSize = 40, .biWidth = w, .biHeight = 2, .biPlanes = 1, .biBitCount = 32,
                                          .biCompression = 0, .biSizeImage = 8 * w}));
  }
  cDIBSection s;
  EXPECT_FALSE(s.Create(0, 5));
  EXPECT_FALSE(s.Create(5, -1));
  EXPECT_TRUE(s.IsEmpty());
  s.SetUseDrawDib(true);
  ASSERT_TRUE(s.Create(5, 2));
  EXPECT_TRUE(s.UseDrawDib());  // Create keeps the setting
  for (int i = 0; i < s.Header().biSizeImage; ++i) ASSERT_EQ(s.DIBSectionBitsPtr()[i], 0);
  s.ClearUp();
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(s.DIBSectionBitsPtr(), nullptr);
}

TEST(DibSectionCopy, BitsRoundTripFlipsRows) {
  Bits bits(3, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x)
      for (int c = 0; c < 4; ++c) bits.At(c, x, y) = static_cast<uint8_t>(100 * y + 10 * x + c + 1);
  cDIBSection s24;
  cAlphaDibSection s32;
  ASSERT_TRUE(s24.CreateFromBits(bits));
  ASSERT_TRUE(s32.CreateFromBits(bits));
  EXPECT_EQ(Get(s24, 2, 0), (Px{121, 122, 123}));  // memory row 0 is the bottom row, y = 1
  EXPECT_EQ(Get(s24, 1, 1), (Px{11, 12, 13}));
  EXPECT_EQ(Get(s32, 2, 1), (Px{21, 22, 23, 24}));  // channel 3 -> alpha
  const Bits back24 = s24.ToBits(), back32 = s32.ToBits();
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x)
      for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(back24.At(c, x, y), c < 3 ? bits.At(c, x, y) : 0);
        EXPECT_EQ(back32.At(c, x, y), bits.At(c, x, y));
      }
  EXPECT_EQ(back24.At(0, -1, 0), 0);  // frame zero

  // Top-down 32-bit read-out of a larger area: beyond the picture is zero.
  const std::vector<uint8_t> rows = s24.ReadTopDown32(4, 3);
  ASSERT_EQ(rows.size(), 48u);
  for (int i = 0; i < 48; ++i) {
    const int x = i / 4 % 4, y = i / 16, c = i % 4;
    EXPECT_EQ(rows[i], x < 3 && y < 2 && c < 3 ? bits.At(c, x, y) : 0) << i;
  }
  EXPECT_EQ(s32.ReadTopDown32(2, 1), (std::vector<uint8_t>{1, 2, 3, 4, 11, 12, 13, 14}));
}

TEST(DibSectionCopy, BlitsUseTopLeftCoordinatesAndClip) {
  // Source 4 x 3, value 10 * y + x + 1 counted from the top, in every channel.
  auto src = Make<cAlphaDibSection>(4, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x) std::memset(src->RowFromTop(y) + 4 * x, 10 * y + x + 1, 4);
  auto dst = Make(2, 2);
  dst->LoadPictureBlt(*src, 1, 1);  // size -1: the destination's own
  EXPECT_EQ(Get(*dst, 0, 1), (Px{12, 12, 12}));
  EXPECT_EQ(Get(*dst, 1, 0), (Px{23, 23, 23}));
  auto dst2 = Make(3, 3);  // source rectangle running off the source: only what exists
  dst2->LoadPictureBlt(*src, 2, 2);
  EXPECT_EQ(dst2->RowFromTop(0)[3], 24);
  EXPECT_EQ(dst2->RowFromTop(0)[6], 0);
  EXPECT_EQ(dst2->RowFromTop(1)[0], 0);

  // Into a 32-bit target at a negative x: clipped, alpha 0 from 24 bits.
  auto target = Make<cAlphaDibSection>(3, 3);
  std::memset(target->DIBSectionBitsPtr(), 0xEE, target->Header().biSizeImage);
  dst->PaintPicture(*target, -1, 1);
  const Px untouched = {0xEE, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(Get(*target, 0, 2), untouched);
  EXPECT_EQ(Get(*target, 0, 1), (Px{13, 13, 13, 0}));  // dst (1, 0)
  EXPECT_EQ(Get(*target, 1, 1), untouched);
  EXPECT_EQ(Get(*target, 0, 0), (Px{23, 23, 23, 0}));
  src->PaintPicture(*target, 2, 0, 1, 1, 3, 2);  // source offset and explicit size; 32 -> 32 keeps alpha
  EXPECT_EQ(Get(*target, 2, 2), (Px{24, 24, 24, 24}));
  EXPECT_EQ(Get(*target, 2, 1), untouched);
}

TEST(DibSectionResample, TwoByTwoToThreeByThreeRoundsInTwoStages) {
  auto s = Make(2, 2);
  // Pixels blue, green, red by memory row.
  Put(*s, 0, 0, {0, 2, 1}), Put(*s, 1, 0, {1, 2, 2}), Put(*s, 0, 1, {2, 3, 1}), Put(*s, 1, 1, {3, 3, 2});
  auto r = s->Resample(3, 3);
  ASSERT_TRUE(r);
  // Blue centre: top Round(0.5) = 0, bottom Round(2.5) = 2, Round(1.0) = 1
  // (a one-stage mix would give Round(1.5) = 2). Green: stage two ties
  // 2.5 -> 2 in the middle row. Red: 1.5 -> 2 in stage one.
  const uint8_t eb[3][3] = {{0, 0, 1}, {1, 1, 2}, {2, 2, 3}};
  const uint8_t eg[3][3] = {{2, 2, 2}, {2, 2, 2}, {3, 3, 3}};
  const uint8_t er[3][3] = {{1, 2, 2}, {1, 2, 2}, {1, 2, 2}};
  for (int row = 0; row < 3; ++row)
    for (int x = 0; x < 3; ++x) EXPECT_EQ(Get(*r, x, row), (Px{eb[row][x], eg[row][x], er[row][x]})) << x << "," << row;
}

// A slow reference of the two-stage bilinear rule over memory rows.
uint8_t ReferenceSample(const cDIBSection& s, int nw, int nh, int x, int y, int c) {
  const double sx = x * (double(s.Width() - 1) / (nw - 1)), sy = y * (double(s.Height() - 1) / (nh - 1));
  const int ix = int(std::floor(sx)), iy = int(std::floor(sy));
  const double fx = sx - ix, fy = sy - iy;
  auto p = [&](int px, int py) -> double { return At(s, std::min(px, s.Width() - 1), std::min(py, s.Height() - 1))[c]; };
  const double top = std::nearbyint((1 - fx) * p(ix, iy) + fx * p(ix + 1, iy));
  const double bottom = std::nearbyint((1 - fx) * p(ix, iy + 1) + fx * p(ix + 1, iy + 1));
  return static_cast<uint8_t>(std::clamp(std::nearbyint((1 - fy) * top + fy * bottom), 0.0, 255.0));
}

TEST(DibSectionResample, AgreesWithReferenceOnPaddedRows) {
  auto s = Make(7, 5);  // 21 bytes of pixels in a 24-byte row
  FillRandom(*s, 7);
  for (auto [nw, nh] : {std::pair{4, 9}, std::pair{13, 3}, std::pair{5, 5}, std::pair{3, 2}}) {
    auto r = s->Resample(nw, nh);
    ASSERT_TRUE(r);
    for (int y = 0; y < nh; ++y) {
      for (int x = 0; x < nw; ++x)
        for (int c = 0; c < 3; ++c)
          ASSERT_EQ(At(*r, x, y)[c], ReferenceSample(*s, nw, nh, x, y, c)) << nw << "x" << nh << " " << x << "," << y;
      for (int i = 3 * nw; i < r->BytesPerScanLine(); ++i) ASSERT_EQ(r->ScanLine(y)[i], 0);  // padding
    }
  }
}

TEST(DibSectionResample, SameSizeIsExactCopyAndDefaultHeight) {
  auto s = Make(5, 3);
  FillRandom(*s, 3);
  auto same = s->Resample(5, 3);
  ASSERT_TRUE(same);
  EXPECT_EQ(std::memcmp(same->DIBSectionBitsPtr(), s->DIBSectionBitsPtr(), s->Header().biSizeImage), 0);
  auto shorter = s->Resample(3);  // -1: 3 * 3 / 5 = 1 in integer arithmetic
  ASSERT_TRUE(shorter);
  EXPECT_EQ(shorter->Height(), 1);
  EXPECT_FALSE(s->Resample(0));
  EXPECT_FALSE(s->Resample(1, 0));
  EXPECT_FALSE(cDIBSection().Resample(4, 4));
  // From the alpha class the result is 24-bit and drops alpha.
  auto a = Make<cAlphaDibSection>(2, 2);
  FillRandom(*a, 9);
  auto copy = a->Resample(2, 2);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->BitCount(), 24);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(std::memcmp(At(*copy, i % 2, i / 2), At(*a, i % 2, i / 2), 3), 0);
}

TEST(DibSectionResample, AlphaResampleHeightRoundsUpAndMixesAlpha) {
  struct Case { int w, h, nw, expected_h; };
  for (const Case& c : {Case{3, 2, 2, 2}, Case{4, 2, 2, 1}, Case{5, 3, 7, 5}, Case{10, 10, 3, 3}, Case{2, 1, 3, 2}}) {
    auto r = Make<cAlphaDibSection>(c.w, c.h)->AlphaResample(c.nw);
    ASSERT_TRUE(r);
    EXPECT_EQ((std::vector<int>{r->Width(), r->Height(), r->BitCount()}), (std::vector<int>{c.nw, c.expected_h, 32}))
        << c.w << "x" << c.h << " -> " << c.nw;
  }
  auto s = Make<cAlphaDibSection>(2, 1);
  Put(*s, 1, 0, {255, 9, 3, 255});
  auto r = s->AlphaResample(3);  // 3 x 2; 127.5 -> 128, 4.5 -> 4, 1.5 -> 2
  ASSERT_TRUE(r);
  EXPECT_EQ(Get(*r, 1, 0), (Px{128, 4, 2, 128}));
  EXPECT_EQ(Get(*r, 1, 1), (Px{128, 4, 2, 128}));
}

TEST(AlphaDibSection, PremultiplyTruncatesAndTransparentColourKeepsColourUntilThen) {
  auto s = Make<cAlphaDibSection>(3, 1);
  Put(*s, 0, 0, {255, 100, 1, 128});
  Put(*s, 1, 0, {200, 201, 254, 254});
  s->PreMultiplyAlpha();
  EXPECT_EQ(Get(*s, 0, 0), (Px{128, 50, 0, 128}));     // 128, 50.2, 0.5
  EXPECT_EQ(Get(*s, 1, 0), (Px{199, 200, 253, 254}));  // 199.2, 200.2, 253.0
  Put(*s, 0, 0, {255, 128, 3, 7});
  s->SetAlpha(100);
  EXPECT_EQ(Get(*s, 0, 0), (Px{100, 50, 1, 100}));  // 100, 50.2, 1.18

  s->SetAlpha(0);
  EXPECT_TRUE(s->AreAllAlphaBytesZero());
  const Px key = {0x10, 0x20, 0x30, 255};       // blue, green, red of 0x00102030
  const Px reversed = {0x30, 0x20, 0x10, 255};  // red and blue swapped: no match
  const Px near = {0x10, 0x20, 0x31, 200};
  Put(*s, 0, 0, key), Put(*s, 1, 0, reversed), Put(*s, 2, 0, near);
  EXPECT_FALSE(s->AreAllAlphaBytesZero());
  EXPECT_FALSE(s->SetColourTransparent(-1));
  EXPECT_EQ(Get(*s, 0, 0), key);
  EXPECT_TRUE(s->SetColourTransparent(0x00102030));
  EXPECT_EQ(Get(*s, 0, 0), (Px{0x10, 0x20, 0x30, 0}));  // colour stays
  EXPECT_EQ(Get(*s, 1, 0), reversed);
  EXPECT_EQ(Get(*s, 2, 0), near);
  s->PreMultiplyAlpha();
  EXPECT_EQ(Get(*s, 0, 0), (Px{0, 0, 0, 0}));
  EXPECT_EQ(Get(*s, 1, 0), reversed);
  EXPECT_EQ(Get(*s, 2, 0), (Px{12, 25, 38, 200}));  // 12.5, 25.1, 38.4
}

TEST(DibSectionRandom, DrawsRoundedValuesInMemoryOrder) {
  // r * 255 = 2.5, 3.5, 0, 254.745, 127.5, 1.0
  const double script[] = {2.5 / 255, 3.5 / 255, 0.0, 0.999, 127.5 / 255, 1.0 / 255};
  int drawn = 0;
  auto next = [&] { return script[drawn++ % 6]; };
  auto s = Make(2, 1);
  s->RandomiseBits(false, next);
  EXPECT_EQ(drawn, 6);
  EXPECT_EQ(Px(s->ScanLine(0), s->ScanLine(0) + 8), (Px{2, 4, 0, 255, 128, 1, 0, 0}));  // padding untouched

  auto a = Make<cAlphaDibSection>(2, 2);
  At(*a, 0, 0)[3] = 77;
  drawn = 0;
  a->RandomiseBits(true, next);
  EXPECT_EQ(drawn, 4);  // one draw per pixel in grey mode, memory rows 0 then 1
  EXPECT_EQ(Get(*a, 0, 0), (Px{2, 2, 2, 77}));  // alpha untouched
  EXPECT_EQ(Get(*a, 1, 0), (Px{4, 4, 4, 0}));
  EXPECT_EQ(Get(*a, 1, 1), (Px{255, 255, 255, 0}));
}

TEST(DibSectionSave, WritesTheFiftyEightByteLayout) {
  test::TempDir dir;
  auto s = Make(3, 2);  // 9 bytes of pixels, 12 per row
  for (int row = 0; row < 2; ++row)
    for (int i = 0; i < 9; ++i) s->ScanLine(row)[i] = static_cast<uint8_t>(0x40 + 16 * row + i);
  ASSERT_TRUE(s->SavePicture(dir / "out.bmp"));
  ByteVector b;
  ASSERT_TRUE(ReadWholeFile(dir / "out.bmp", b));
  ByteVector expected = {'B', 'M', 82, 0, 0, 0, 0, 0, 0, 0, 58, 0, 0, 0,  // bfSize 24 + 58, reserved, bfOffBits
                         40, 0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0,              // biSize, biWidth, biHeight (bottom-up)
                         1, 0, 24, 0, 0, 0, 0, 0, 24, 0, 0, 0};            // planes, bits, compression, biSizeImage
  expected.resize(58, 0);  // resolution, colours, and the empty colour entry
  for (int row = 0; row < 2; ++row) {
    for (int i = 0; i < 9; ++i) expected.push_back(static_cast<uint8_t>(0x40 + 16 * row + i));
    expected.insert(expected.end(), 3, 0);  // padding
  }
  EXPECT_EQ(b, expected);
  EXPECT_FALSE(std::filesystem::exists(dir / "out.bmp.part"));

  ASSERT_TRUE(Make<cAlphaDibSection>(5, 3)->SavePicture(dir / "a.bmp"));
  ASSERT_TRUE(ReadWholeFile(dir / "a.bmp", b));
  ASSERT_EQ(b.size(), 118u);
  EXPECT_EQ(Px(b.begin() + 2, b.begin() + 14), (Px{118, 0, 0, 0, 0, 0, 0, 0, 58, 0, 0, 0}));  // bfSize .. bfOffBits
  EXPECT_EQ(b[28], 32);
  EXPECT_EQ(Px(b.begin() + 34, b.begin() + 38), (Px{60, 0, 0, 0}));  // biSizeImage

  EXPECT_FALSE(s->SavePicture(dir / "missing" / "x.bmp"));
  EXPECT_FALSE(std::filesystem::exists(dir / "missing"));
  EXPECT_FALSE(cDIBSection().SavePicture(dir / "empty.bmp"));
  EXPECT_FALSE(std::filesystem::exists(dir / "empty.bmp"));
}

}  // namespace
}  // namespace kelvane
