#include <gtest/gtest.h>

#include "document/bits.h"

namespace kelvane {
namespace {

TEST(BitsLayout, OnePixelPictureHasFiveByFiveZeroBufferOfHundredBytes) {
  Bits b(1, 1);
  EXPECT_EQ(b.ByteSize(), 100u);
  EXPECT_EQ(b.Stride(), 20);
  for (size_t i = 0; i < b.ByteSize(); ++i) ASSERT_EQ(b.Data()[i], 0) << "byte " << i;
  EXPECT_EQ(Bits(0, 0).ByteSize(), 64u);  // an empty picture keeps only its frame
  EXPECT_EQ(Bits(0, 0).MaxX(), -1);
  EXPECT_EQ(Bits(-3, 2).Width(), 0);
}

TEST(BitsLayout, ByteOffsetsFollowChannelThenXThenY) {
  Bits b(7, 3);
  EXPECT_EQ(b.ByteSize(), static_cast<size_t>((7 + 4) * (3 + 4) * 4));
  // 4 * ((x + 2) + (W + 4) * (y + 2)) + c, worked out by hand for a few points.
  EXPECT_EQ(b.Offset(0, -2, -2), 0);
  EXPECT_EQ(b.Offset(2, 0, 0), 4 * (2 + 11 * 2) + 2);
  EXPECT_EQ(b.Offset(3, 6, 2), 4 * (8 + 11 * 4) + 3);
  EXPECT_EQ(b.Offset(3, 8, 4), static_cast<ptrdiff_t>(b.ByteSize()) - 1);
  b.At(1, 4, 1) = 77;
  EXPECT_EQ(b.Data()[4 * (6 + 11 * 3) + 1], 77);
  EXPECT_EQ(b.Row(1)[4 * 4 + 1], 77);
}

TEST(BitsLayout, HeaderDescribesTopDownBufferWithFrame) {
  const BitmapHeader h = Bits(10, 6).Header();
  uint8_t raw[40];
  h.WriteTo(raw);
  const uint8_t expected[40] = {40, 0, 0, 0, 14, 0, 0, 0, 0xF6, 0xFF, 0xFF, 0xFF, 1, 0, 32, 0};
  for (int i = 0; i < 40; ++i) EXPECT_EQ(raw[i], expected[i]) << "header byte " << i;
  EXPECT_EQ(BitmapHeader::ReadFrom(raw), h);
}

TEST(BitsLayout, CopiesAreDeepAndResetZeroFills) {
  Bits a(3, 2);
  a.At(0, 1, 1) = 9;
  Bits b = a;
  b.At(0, 1, 1) = 10;
  EXPECT_EQ(a.At(0, 1, 1), 9);
  b.Reset(2, 2);
  EXPECT_EQ(b.At(0, 1, 1), 0);
  Bits moved = std::move(a);
  EXPECT_EQ(moved.At(0, 1, 1), 9);
  EXPECT_TRUE(a.IsNull());
}

}  // namespace
}  // namespace kelvane
