// Helpers shared by the loading and saving tests: the sample table, a
// reference decoder for PNG files, a private temp folder.
#pragma once

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane::test {

// Width and height from the header-parse column of tests/data/MANIFEST.tsv.
inline std::optional<std::pair<int, int>> ManifestSize(const std::string& file) {
  std::ifstream in(DataFile("MANIFEST.tsv"));
  std::string line;
  const std::regex size(R"((\d+)x(\d+))");
  while (std::getline(in, line)) {
    std::stringstream ss(line);
    std::string name, format, variant;
    std::getline(ss, name, '\t');
    std::getline(ss, format, '\t');
    std::getline(ss, variant, '\t');
    if (name != file) continue;
    std::smatch m;
    if (!std::regex_search(variant, m, size)) return std::nullopt;
    return std::make_pair(std::stoi(m[1]), std::stoi(m[2]));
  }
  return std::nullopt;
}

// Every sample file of tests/data (references and the manifest left out).
inline std::vector<std::string> SampleFiles() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(DataFile(""))) {
    if (!entry.is_regular_file()) continue;
    const std::string name = entry.path().filename().string();
    if (name == "MANIFEST.tsv") continue;
    names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

inline std::string ExtensionOfName(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

// A PNG decoded straight by libpng through FreeImage with the stored samples
// (no gamma), as blue, green, red, alpha rows from the top.
struct ReferencePicture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> bgra;
  const uint8_t* At(int x, int y) const { return bgra.data() + 4 * (static_cast<size_t>(y) * width + x); }
};
inline ReferencePicture DecodeReferencePng(const std::filesystem::path& path) {
  ReferencePicture ref;
  FIBITMAP* raw = FreeImage_Load(FIF_PNG, path.string().c_str(), PNG_IGNOREGAMMA);
  if (!raw) return ref;
  FIBITMAP* dib = FreeImage_ConvertTo32Bits(raw);
  FreeImage_Unload(raw);
  if (!dib) return ref;
  ref.width = static_cast<int>(FreeImage_GetWidth(dib));
  ref.height = static_cast<int>(FreeImage_GetHeight(dib));
  ref.bgra.resize(static_cast<size_t>(ref.width) * ref.height * 4);
  for (int y = 0; y < ref.height; ++y)
    std::memcpy(ref.bgra.data() + static_cast<size_t>(y) * ref.width * 4,
                FreeImage_GetScanLine(dib, ref.height - 1 - y), static_cast<size_t>(ref.width) * 4);
  FreeImage_Unload(dib);
  return ref;
}

inline uint32_t Le32At(const ByteVector& b, size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}
inline uint32_t Be32At(const ByteVector& b, size_t at) {
  return (static_cast<uint32_t>(b[at]) << 24) | (b[at + 1] << 16) | (b[at + 2] << 8) | b[at + 3];
}
inline uint16_t Le16At(const ByteVector& b, size_t at) { return static_cast<uint16_t>(b[at] | (b[at + 1] << 8)); }
inline uint16_t Be16At(const ByteVector& b, size_t at) { return static_cast<uint16_t>((b[at] << 8) | b[at + 1]); }

// A picture read straight from a file's bytes by the simple reader below, as
// blue, green, red rows from the top.
struct HandDecoded {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> bgr;
  const uint8_t* At(int x, int y) const { return bgr.data() + 3 * (static_cast<size_t>(y) * width + x); }
};

// Netpbm files P1 to P6 with a maximum of 1 (bitmaps), 255 or 65535; 16-bit
// samples keep their high byte, a set PBM bit is black. Empty on anything
// else.
inline HandDecoded DecodeNetpbmByHand(const ByteVector& f) {
  HandDecoded out;
  size_t at = 0;
  auto skip_blank = [&] {
    for (;;) {
      while (at < f.size() && std::isspace(f[at])) ++at;
      if (at < f.size() && f[at] == '#') {
        while (at < f.size() && f[at] != '\n') ++at;
        continue;
      }
      return;
    }
  };
  auto number = [&] {
    skip_blank();
    long v = 0;
    bool any = false;
    while (at < f.size() && std::isdigit(f[at])) {
      v = v * 10 + (f[at++] - '0');
      any = true;
    }
    return any ? v : -1;
  };
  if (f.size() < 3 || f[0] != 'P' || f[1] < '1' || f[1] > '6') return out;
  const char kind = static_cast<char>(f[1]);
  at = 2;
  const long w = number(), h = number();
  const bool bitmap = kind == '1' || kind == '4';
  const long maxval = bitmap ? 1 : number();
  if (w < 1 || h < 1 || !(maxval == 1 || maxval == 255 || maxval == 65535)) return out;
  const int channels = (kind == '3' || kind == '6') ? 3 : 1;
  std::vector<long> samples;
  if (kind == '1') {
    while (samples.size() < static_cast<size_t>(w * h)) {
      skip_blank();
      if (at >= f.size()) return out;
      samples.push_back(f[at++] == '1');
    }
  } else if (kind == '2' || kind == '3') {
    for (long i = 0; i < w * h * channels; ++i) samples.push_back(number());
  } else if (kind == '4') {
    ++at;  // the one blank after the height
    const long row_bytes = (w + 7) / 8;
    for (long y = 0; y < h; ++y)
      for (long x = 0; x < w; ++x) {
        const size_t byte = at + static_cast<size_t>(y * row_bytes + x / 8);
        if (byte >= f.size()) return out;
        samples.push_back((f[byte] >> (7 - x % 8)) & 1);
      }
  } else {
    ++at;
    const int bytes = maxval > 255 ? 2 : 1;
    for (long i = 0; i < w * h * channels; ++i) {
      if (at + bytes > f.size()) return out;
      samples.push_back(bytes == 2 ? (f[at] << 8 | f[at + 1]) : f[at]);
      at += bytes;
    }
  }
  out.width = static_cast<int>(w);
  out.height = static_cast<int>(h);
  out.bgr.resize(static_cast<size_t>(w * h) * 3);
  for (long i = 0; i < w * h; ++i) {
    uint8_t rgb[3];
    for (int c = 0; c < 3; ++c) {
      const long v = samples[static_cast<size_t>(i * channels + (channels == 3 ? c : 0))];
      rgb[c] = static_cast<uint8_t>(bitmap ? (v ? 0 : 255) : maxval == 65535 ? v >> 8 : v);
    }
    out.bgr[3 * i] = rgb[2];
    out.bgr[3 * i + 1] = rgb[1];
    out.bgr[3 * i + 2] = rgb[0];
  }
  return out;
}

// Uncompressed BMP files of 8 bits (palette) or 24 bits, bottom-up or
// top-down. Empty on anything else.
inline HandDecoded DecodeBmpByHand(const ByteVector& f) {
  HandDecoded out;
  if (f.size() < 54 || f[0] != 'B' || f[1] != 'M') return out;
  const uint32_t offset = Le32At(f, 10), header = Le32At(f, 14);
  const int w = static_cast<int32_t>(Le32At(f, 18));
  const int h_signed = static_cast<int32_t>(Le32At(f, 22));
  const int bpp = Le16At(f, 28);
  if (Le32At(f, 30) != 0 || (bpp != 8 && bpp != 24) || w < 1 || h_signed == 0) return out;
  const int h = std::abs(h_signed);
  const size_t stride = (static_cast<size_t>(w) * bpp / 8 + 3) / 4 * 4;
  if (offset + stride * h > f.size()) return out;
  const size_t palette = 14 + header;
  out.width = w;
  out.height = h;
  out.bgr.resize(static_cast<size_t>(w) * h * 3);
  for (int y = 0; y < h; ++y) {
    const uint8_t* row = f.data() + offset + stride * static_cast<size_t>(h_signed > 0 ? h - 1 - y : y);
    for (int x = 0; x < w; ++x) {
      const uint8_t* p = bpp == 24 ? row + 3 * x : f.data() + palette + 4 * static_cast<size_t>(row[x]);
      std::memcpy(out.bgr.data() + 3 * (static_cast<size_t>(y) * w + x), p, 3);
    }
  }
  return out;
}

// Points TMPDIR at a folder of its own for the object's life, so that the
// fixed temp files (bridge, optimized copy) of this test are its own.
class PrivateTempFolder {
 public:
  PrivateTempFolder() {
    if (const char* old = std::getenv("TMPDIR")) old_ = old;
    ::setenv("TMPDIR", dir_.path().c_str(), 1);
  }
  ~PrivateTempFolder() {
    if (old_) ::setenv("TMPDIR", old_->c_str(), 1);
    else ::unsetenv("TMPDIR");
  }
  const std::filesystem::path& path() const { return dir_.path(); }

 private:
  TempDir dir_;
  std::optional<std::string> old_;
};

inline ByteVector FileBytes(const std::filesystem::path& path) {
  ByteVector bytes;
  ReadWholeFile(path, bytes);
  return bytes;
}

}  // namespace kelvane::test
