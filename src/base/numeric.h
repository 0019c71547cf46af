// Numeric conventions shared by the whole engine.
//
// Contract:
//  - Round: floating value to the nearest integer, ties to the even neighbour
//    (2.5 -> 2, 3.5 -> 4, -2.5 -> -2). Every float-to-integer conversion in the
//    engine goes through it unless a routine says Trunc or Floor.
//  - Trunc: towards zero. Floor: towards minus infinity.
//  - StoreByte: the engine's skip-on-failure store. A value that rounds outside
//    0..255 (or is not a number) is a failed statement: the byte keeps what it
//    held. Callers rely on this to leave the copied input in place.
//  - RoundByte: Round, then clamp to 0..255, for the routines that clamp.
#pragma once

#include <cmath>
#include <cstdint>

namespace kelvane {

// Adding and taking away 1.5 * 2^52 leaves no fraction bits, so the hardware's
// default round-to-nearest-even does the rounding in two plain additions; this
// is exact for |v| < 2^51 and far cheaper than a library call per byte. Larger
// values and NaN take nearbyint, which follows the same (never changed) mode.
inline double RoundHalfEven(double v) {
  constexpr double kShift = 6755399441055744.0;
  if (std::fabs(v) < 2251799813685248.0) {
    double shifted = v + kShift;
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
    __asm__("" : "+x"(shifted));  // keeps the compiler from folding the pair away
#else
    volatile double barrier = shifted;
    shifted = barrier;
#endif
    return shifted - kShift;
  }
  return std::nearbyint(v);
}

inline int32_t Round(double v) { return static_cast<int32_t>(RoundHalfEven(v)); }

inline int32_t Trunc(double v) { return static_cast<int32_t>(v); }

inline int32_t Floor(double v) { return static_cast<int32_t>(std::floor(v)); }

inline uint8_t RoundByte(double v) {
  const double r = RoundHalfEven(v);
  if (!(r > 0)) return 0;
  if (r > 255) return 255;
  return static_cast<uint8_t>(r);
}

inline uint8_t ClampByte(int32_t v) {
  return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

// Rounds, then stores only when the result fits in a byte.
inline bool StoreByte(uint8_t& dst, double v) {
  const double r = RoundHalfEven(v);
  if (r >= 0 && r <= 255) {
    dst = static_cast<uint8_t>(r);
    return true;
  }
  return false;
}

// Integer form of the same rule.
inline bool StoreByte(uint8_t& dst, int64_t v) {
  if (v >= 0 && v <= 255) {
    dst = static_cast<uint8_t>(v);
    return true;
  }
  return false;
}
inline bool StoreByte(uint8_t& dst, int32_t v) { return StoreByte(dst, static_cast<int64_t>(v)); }

// Colours travel as 0x00BBGGRR with red in the low byte; -1 means no colour.
inline uint8_t RedOf(int32_t colour) { return static_cast<uint8_t>(colour & 0xFF); }
inline uint8_t GreenOf(int32_t colour) { return static_cast<uint8_t>((colour & 0xFF00) >> 8); }
inline uint8_t BlueOf(int32_t colour) { return static_cast<uint8_t>((colour & 0xFF0000) >> 16); }
inline int32_t RGB(int r, int g, int b) { return (r & 0xFF) | ((g & 0xFF) << 8) | ((b & 0xFF) << 16); }

}  // namespace kelvane
