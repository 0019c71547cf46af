// Helpers of the saving tests: seeded pictures, and FreeImage as a second
// reader beside the program's own loading road.
#pragma once

#include <FreeImage.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "document/bits.h"

namespace kelvane::test {

// Seeded random bytes in all four channels (the spare byte too).
inline Bits RandomPicture(int w, int h, uint32_t seed) {
  Bits b(w, h);
  std::mt19937 rng(seed);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 4; ++c) b.At(c, x, y) = static_cast<uint8_t>(rng());
  return b;
}

// Pixels whose colour channels differ from `expected` (-1 on another size).
inline int CountMismatches(const Bits& got, const Bits& expected) {
  if (!got.SameShape(expected)) return -1;
  int n = 0;
  for (int y = 0; y < got.Height(); ++y)
    for (int x = 0; x < got.Width(); ++x)
      for (int c = 0; c < 3; ++c) n += got.At(c, x, y) != expected.At(c, x, y);
  return n;
}

// The file read by FreeImage's reader `fif` (by default the one its content
// names) and made 24 bits; empty when FreeImage cannot read it.
inline Bits ReadWithFreeImage(const std::filesystem::path& path, FREE_IMAGE_FORMAT fif = FIF_UNKNOWN) {
  if (fif == FIF_UNKNOWN) fif = FreeImage_GetFileType(path.c_str(), 0);
  FIBITMAP* raw = fif == FIF_UNKNOWN ? nullptr : FreeImage_Load(fif, path.c_str(), 0);
  if (!raw) return Bits();
  FIBITMAP* dib = FreeImage_ConvertTo24Bits(raw);
  FreeImage_Unload(raw);
  const int w = static_cast<int>(FreeImage_GetWidth(dib));
  const int h = static_cast<int>(FreeImage_GetHeight(dib));
  Bits out(w, h);
  for (int y = 0; y < h; ++y) {
    const uint8_t* s = FreeImage_GetScanLine(dib, h - 1 - y);
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = s[3 * x + c];
  }
  FreeImage_Unload(dib);
  return out;
}

// The names in a folder, sorted.
inline std::vector<std::string> FolderNames(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace kelvane::test
