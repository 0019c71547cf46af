// Helpers shared by the loading and saving tests: the sample table, simple
// reference readers, a private temp folder.
#pragma once

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <algorithm>
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
  const std::regex row("([^\t]*)\t[^\t]*\t([^\t]*)");  // name, format, variant (header parse)
  const std::regex size(R"((\d+)x(\d+))");
  for (std::string line; std::getline(in, line);) {
    std::smatch r, m;
    if (!std::regex_search(line, r, row) || r[1] != file) continue;
    const std::string variant = r[2];
    if (!std::regex_search(variant, m, size)) return std::nullopt;
    return std::make_pair(std::stoi(m[1]), std::stoi(m[2]));
  }
  return std::nullopt;
}

// Every sample file of tests/data (references and the manifest left out).
inline std::vector<std::string> SampleFiles() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(DataFile("")))
    if (entry.is_regular_file() && entry.path().filename() != "MANIFEST.tsv")
      names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

inline std::string ExtensionOfName(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

inline uint32_t Le32At(const ByteVector& b, size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}
inline uint32_t Be32At(const ByteVector& b, size_t at) {
  return (static_cast<uint32_t>(b[at]) << 24) | (b[at + 1] << 16) | (b[at + 2] << 8) | b[at + 3];
}
inline uint16_t Le16At(const ByteVector& b, size_t at) { return static_cast<uint16_t>(b[at] | (b[at + 1] << 8)); }
inline uint16_t Be16At(const ByteVector& b, size_t at) { return static_cast<uint16_t>((b[at] << 8) | b[at + 1]); }

// A picture read by one of the simple readers below, `channels` bytes a
// pixel (blue, green, red[, alpha]), rows from the top. Empty on failure.
struct HandDecoded {
  int width = 0;
  int height = 0;
  int channels = 3;
  std::vector<uint8_t> px;
  const uint8_t* At(int x, int y) const { return px.data() + channels * (static_cast<size_t>(y) * width + x); }
  void Resize(int w, int h, int c) {
    width = w, height = h, channels = c;
    px.assign(static_cast<size_t>(w) * h * c, 0);
  }
};
using ReferencePicture = HandDecoded;

// A PNG decoded straight by libpng through FreeImage with the stored samples
// (no gamma), with alpha.
inline ReferencePicture DecodeReferencePng(const std::filesystem::path& path) {
  ReferencePicture ref;
  FIBITMAP* raw = FreeImage_Load(FIF_PNG, path.string().c_str(), PNG_IGNOREGAMMA);
  FIBITMAP* dib = raw ? FreeImage_ConvertTo32Bits(raw) : nullptr;
  if (raw) FreeImage_Unload(raw);
  if (!dib) return ref;
  ref.Resize(static_cast<int>(FreeImage_GetWidth(dib)), static_cast<int>(FreeImage_GetHeight(dib)), 4);
  for (int y = 0; y < ref.height; ++y)
    std::memcpy(ref.px.data() + static_cast<size_t>(y) * ref.width * 4, FreeImage_GetScanLine(dib, ref.height - 1 - y),
                static_cast<size_t>(ref.width) * 4);
  FreeImage_Unload(dib);
  return ref;
}

// 16-bit grey as FreeImage stores the samples, narrowed to their high byte.
inline HandDecoded DecodeGrey16HighBytes(const std::filesystem::path& path, FREE_IMAGE_FORMAT fif) {
  HandDecoded out;
  FIBITMAP* raw = FreeImage_Load(fif, path.string().c_str(), 0);
  if (!raw) return out;
  if (FreeImage_GetImageType(raw) == FIT_UINT16) {
    out.Resize(static_cast<int>(FreeImage_GetWidth(raw)), static_cast<int>(FreeImage_GetHeight(raw)), 3);
    for (int y = 0; y < out.height; ++y) {
      const auto* line = reinterpret_cast<const uint16_t*>(FreeImage_GetScanLine(raw, out.height - 1 - y));
      for (int x = 0; x < out.width; ++x) std::memset(out.px.data() + 3 * (y * out.width + x), line[x] >> 8, 3);
    }
  }
  FreeImage_Unload(raw);
  return out;
}

// Netpbm files P1 to P6 with a maximum of 1 (bitmaps), 255 or 65535; 16-bit
// samples keep their high byte, a set PBM bit is black.
inline HandDecoded DecodeNetpbmByHand(const ByteVector& f) {
  if (f.size() < 3 || f[0] != 'P' || f[1] < '1' || f[1] > '6') return {};
  const int kind = f[1] - '0';
  size_t at = 2;
  auto skip_blank = [&] {
    while (at < f.size() && (std::isspace(f[at]) || f[at] == '#'))
      at = f[at] == '#' ? std::find(f.begin() + at, f.end(), '\n') - f.begin() : at + 1;
  };
  auto number = [&] {
    skip_blank();
    long v = -1;
    while (at < f.size() && std::isdigit(f[at])) v = std::max(v, 0L) * 10 + (f[at++] - '0');
    return v;
  };
  const bool bitmap = kind == 1 || kind == 4;
  const long w = number(), h = number(), maxval = bitmap ? 1 : number();
  if (w < 1 || h < 1 || !(maxval == 1 || maxval == 255 || maxval == 65535)) return {};
  const int channels = kind % 3 == 0 ? 3 : 1, bytes = maxval > 255 ? 2 : 1;
  if (kind > 3) ++at;  // the one blank before a binary raster
  HandDecoded out;
  out.Resize(static_cast<int>(w), static_cast<int>(h), 3);
  for (long i = 0; i < w * h * channels; ++i) {
    long v = -1;
    if (kind == 1) {
      skip_blank();
      if (at < f.size()) v = f[at++] == '1';
    } else if (kind <= 3) {
      v = number();
    } else if (kind == 4) {
      const size_t byte = at + static_cast<size_t>(i / w * ((w + 7) / 8) + i % w / 8);
      if (byte < f.size()) v = (f[byte] >> (7 - i % w % 8)) & 1;
    } else if (at + bytes <= f.size()) {
      v = bytes == 2 ? (f[at] << 8 | f[at + 1]) : f[at];
      at += bytes;
    }
    if (v < 0) return {};
    const auto value = static_cast<uint8_t>(bitmap ? (v ? 0 : 255) : maxval == 65535 ? v >> 8 : v);
    for (int c = 0; c < 3; ++c)  // blue, green, red from red, green, blue
      if (channels == 1 || c == 2 - i % 3) out.px[3 * (i / channels) + c] = value;
  }
  return out;
}

// Uncompressed BMP files of 8 bits (palette) or 24 bits, bottom-up or
// top-down; also a bare 24-bit DIB that starts with its 40-byte header.
inline HandDecoded DecodeBmpByHand(const ByteVector& file) {
  HandDecoded out;
  ByteVector f = file;
  if (f.size() >= 4 && Le32At(f, 0) == 40) {  // no file header: give it one
    const ByteVector head = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0};
    f.insert(f.begin(), head.begin(), head.end());
  }
  if (f.size() < 54 || f[0] != 'B' || f[1] != 'M') return out;
  const uint32_t offset = Le32At(f, 10), header = Le32At(f, 14);
  const int w = static_cast<int32_t>(Le32At(f, 18)), h_signed = static_cast<int32_t>(Le32At(f, 22));
  const int bpp = Le16At(f, 28), h = std::abs(h_signed);
  if (Le32At(f, 30) != 0 || (bpp != 8 && bpp != 24) || w < 1 || h_signed == 0) return out;
  const size_t stride = (static_cast<size_t>(w) * bpp / 8 + 3) / 4 * 4;
  if (offset + stride * h > f.size()) return out;
  out.Resize(w, h, 3);
  for (int y = 0; y < h; ++y) {
    const uint8_t* row = f.data() + offset + stride * static_cast<size_t>(h_signed > 0 ? h - 1 - y : y);
    for (int x = 0; x < w; ++x)
      std::memcpy(out.px.data() + 3 * (static_cast<size_t>(y) * w + x),
                  bpp == 24 ? row + 3 * x : f.data() + 14 + header + 4 * static_cast<size_t>(row[x]), 3);
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
