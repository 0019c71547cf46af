// Little-endian reads and writes of fixed-layout records, and file helpers.
//
// Contract: Put*/Get* never pad; the writers append to a byte vector, the
// readers take from a span and yield zero past its end (a short file reads as
// zero-filled, which the settings and region readers rely on).
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

using ByteVector = std::vector<uint8_t>;

inline void PutU8(ByteVector& out, uint8_t v) { out.push_back(v); }
inline void PutI16(ByteVector& out, int16_t v) {
  out.push_back(static_cast<uint8_t>(v & 0xFF));
  out.push_back(static_cast<uint8_t>((static_cast<uint16_t>(v) >> 8) & 0xFF));
}
inline void PutI32(ByteVector& out, int32_t v) {
  const auto u = static_cast<uint32_t>(v);
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>((u >> (8 * i)) & 0xFF));
}

// Sequential reader over bytes; reading past the end gives zeros.
class ByteReader {
 public:
  ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  explicit ByteReader(const ByteVector& v) : ByteReader(v.data(), v.size()) {}

  uint8_t U8() { return pos_ < size_ ? data_[pos_++] : (++pos_, 0); }
  int16_t I16() {
    const uint16_t lo = U8(), hi = U8();
    return static_cast<int16_t>(lo | (hi << 8));
  }
  int32_t I32() {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v |= static_cast<uint32_t>(U8()) << (8 * i);
    return static_cast<int32_t>(v);
  }
  size_t Position() const { return pos_; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

// Whole-file read. False when the file cannot be opened.
bool ReadWholeFile(const std::filesystem::path& path, ByteVector& out);

// Writes bytes over the start of a file, creating it if needed, without
// truncating a longer existing file (the binary-open semantics of the
// program's own small files).
bool OverwriteFileStart(const std::filesystem::path& path, const ByteVector& bytes);

// A new, empty file beside `path` that no one else uses: "<name>.<pid>-<n>.part".
// Created exclusively, so that a user's own file of that name is never
// overwritten or removed. False when none could be made.
bool MakeSiblingTempFile(const std::filesystem::path& path, std::filesystem::path& temp);

// Writes a whole new file through a temporary sibling and a rename, so that a
// failed write never leaves a half-written file under the target name.
bool WriteFileAtomically(const std::filesystem::path& path, const ByteVector& bytes);

}  // namespace kelvane
