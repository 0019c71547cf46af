// Small pictures and reports for the filter tests.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "document/bits.h"

namespace kelvane::test {

// A W x H picture with pixel (x, y) = fn(x, y, c) in channels 0..2; channel 3
// and the frame stay 0.
inline Bits MakePicture(int w, int h, const std::function<int(int, int, int)>& fn) {
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c) b.At(c, x, y) = static_cast<uint8_t>(fn(x, y, c));
  return b;
}

// The first differing byte of two arrays, for failure messages.
inline ::testing::AssertionResult SameBits(const Bits& expected, const Bits& actual) {
  if (!expected.SameShape(actual)) {
    return ::testing::AssertionFailure() << "shape " << actual.Width() << "x" << actual.Height() << ", expected "
                                         << expected.Width() << "x" << expected.Height();
  }
  for (int y = -2; y < expected.Height() + 2; ++y)
    for (int x = -2; x < expected.Width() + 2; ++x)
      for (int c = 0; c < 4; ++c)
        if (expected.At(c, x, y) != actual.At(c, x, y))
          return ::testing::AssertionFailure() << "first difference at (" << x << ", " << y << ") channel " << c
                                               << ": " << int(actual.At(c, x, y)) << ", expected "
                                               << int(expected.At(c, x, y));
  return ::testing::AssertionSuccess();
}

}  // namespace kelvane::test
