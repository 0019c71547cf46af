#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "base/numeric.h"

namespace kelvane {
namespace {

TEST(Rounding, HalvesGoToTheEvenNeighbourAcrossTheWholeRange) {
  struct Case { double in, out; };
  for (const Case& c : {Case{0.5, 0}, Case{1.5, 2}, Case{2.5, 2}, Case{3.5, 4}, Case{-0.5, 0}, Case{-1.5, -2},
                        Case{-2.5, -2}, Case{254.5, 254}, Case{255.5, 256}, Case{2.4999999, 2}, Case{2.5000001, 3},
                        Case{4503599627370495.5, 4503599627370496.0}, Case{1e18, 1e18}, Case{-1e18, -1e18}}) {
    EXPECT_EQ(RoundHalfEven(c.in), c.out) << c.in;
  }
  EXPECT_TRUE(std::isnan(RoundHalfEven(std::numeric_limits<double>::quiet_NaN())));
  EXPECT_EQ(Round(-3.5), -4);
  EXPECT_EQ(Trunc(-2.7), -2);
  EXPECT_EQ(Floor(-2.2), -3);
}

TEST(Rounding, CheckedByteStoreSkipsOutOfRangeAndClampingVariantClamps) {
  uint8_t b = 42;
  EXPECT_FALSE(StoreByte(b, 255.5));  // rounds to 256: the statement fails
  EXPECT_EQ(b, 42);
  EXPECT_TRUE(StoreByte(b, 254.5));
  EXPECT_EQ(b, 254);
  EXPECT_TRUE(StoreByte(b, -0.5));  // rounds to 0, which fits
  EXPECT_EQ(b, 0);
  b = 9;
  for (bool stored : {StoreByte(b, -0.51), StoreByte(b, std::nan("")), StoreByte(b, int64_t{256}),
                      StoreByte(b, int32_t{-1})})
    EXPECT_FALSE(stored);
  EXPECT_EQ(b, 9);
  EXPECT_EQ(RoundByte(300.0), 255);
  EXPECT_EQ(RoundByte(-4.0), 0);
  EXPECT_EQ(RoundByte(127.5), 128);
  EXPECT_EQ(RoundByte(std::nan("")), 0);
}

TEST(Colours, PartsOfA0x00BBGGRRValue) {
  const int32_t c = RGB(0x12, 0x34, 0x56);
  EXPECT_EQ(c, 0x563412);
  EXPECT_EQ((std::vector<int>{RedOf(c), GreenOf(c), BlueOf(c)}), (std::vector<int>{0x12, 0x34, 0x56}));
}

}  // namespace
}  // namespace kelvane
