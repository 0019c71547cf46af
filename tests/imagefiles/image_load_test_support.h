// Helpers shared by the loading and saving tests: the sample table, a
// reference decoder for PNG files, a private temp folder.
#pragma once

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <cstdlib>
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

inline uint32_t Le32At(const ByteVector& b, size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}
inline uint32_t Be32At(const ByteVector& b, size_t at) {
  return (static_cast<uint32_t>(b[at]) << 24) | (b[at + 1] << 16) | (b[at + 2] << 8) | b[at + 3];
}
inline uint16_t Le16At(const ByteVector& b, size_t at) { return static_cast<uint16_t>(b[at] | (b[at + 1] << 8)); }
inline uint16_t Be16At(const ByteVector& b, size_t at) { return static_cast<uint16_t>((b[at] << 8) | b[at + 1]); }

}  // namespace kelvane::test
