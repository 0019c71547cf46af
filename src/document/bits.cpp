#include "document/bits.h"

#include <algorithm>

namespace kelvane {

namespace {
void Put32(uint8_t* p, int32_t v) {
  const auto u = static_cast<uint32_t>(v);
  p[0] = u & 0xFF;
  p[1] = (u >> 8) & 0xFF;
  p[2] = (u >> 16) & 0xFF;
  p[3] = (u >> 24) & 0xFF;
}
int32_t Get32(const uint8_t* p) {
  return static_cast<int32_t>(p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<uint32_t>(p[3]) << 24));
}
}  // namespace

void BitmapHeader::WriteTo(uint8_t out[40]) const {
  Put32(out, biSize);
  Put32(out + 4, biWidth);
  Put32(out + 8, biHeight);
  out[12] = biPlanes & 0xFF;
  out[13] = (biPlanes >> 8) & 0xFF;
  out[14] = biBitCount & 0xFF;
  out[15] = (biBitCount >> 8) & 0xFF;
  Put32(out + 16, biCompression);
  Put32(out + 20, biSizeImage);
  Put32(out + 24, biXPelsPerMeter);
  Put32(out + 28, biYPelsPerMeter);
  Put32(out + 32, biClrUsed);
  Put32(out + 36, biClrImportant);
}

BitmapHeader BitmapHeader::ReadFrom(const uint8_t in[40]) {
  BitmapHeader h;
  h.biSize = Get32(in);
  h.biWidth = Get32(in + 4);
  h.biHeight = Get32(in + 8);
  h.biPlanes = static_cast<int16_t>(in[12] | (in[13] << 8));
  h.biBitCount = static_cast<int16_t>(in[14] | (in[15] << 8));
  h.biCompression = Get32(in + 16);
  h.biSizeImage = Get32(in + 20);
  h.biXPelsPerMeter = Get32(in + 24);
  h.biYPelsPerMeter = Get32(in + 28);
  h.biClrUsed = Get32(in + 32);
  h.biClrImportant = Get32(in + 36);
  return h;
}

Bits::Bits(int width, int height) { Reset(width, height); }

Bits::Bits(const Bits& other) { *this = other; }

Bits& Bits::operator=(const Bits& other) {
  if (this == &other) return *this;
  if (!other.data_) {
    data_.reset();
    size_ = capacity_ = 0;
    width_ = height_ = 0;
    return *this;
  }
  if (capacity_ < other.size_) {
    data_.reset(new uint8_t[other.size_]);
    capacity_ = other.size_;
  }
  size_ = other.size_;
  width_ = other.width_;
  height_ = other.height_;
  std::memcpy(data_.get(), other.data_.get(), size_);
  return *this;
}

Bits::Bits(Bits&& other) noexcept
    : data_(std::move(other.data_)), size_(other.size_), capacity_(other.capacity_),
      width_(other.width_), height_(other.height_) {
  other.size_ = other.capacity_ = 0;
  other.width_ = other.height_ = 0;
}

Bits& Bits::operator=(Bits&& other) noexcept {
  data_ = std::move(other.data_);
  size_ = other.size_;
  capacity_ = other.capacity_;
  width_ = other.width_;
  height_ = other.height_;
  other.size_ = other.capacity_ = 0;
  other.width_ = other.height_ = 0;
  return *this;
}

void Bits::Reset(int width, int height) {
  width_ = std::max(width, 0);
  height_ = std::max(height, 0);
  size_ = static_cast<size_t>(width_ + 2 * kBitsFrame) * static_cast<size_t>(height_ + 2 * kBitsFrame) * 4;
  if (capacity_ < size_ || !data_) {
    // Value-initialised: the zero fill comes from fresh pages, not a second pass.
    data_.reset(new uint8_t[size_]());
    capacity_ = size_;
  } else {
    std::memset(data_.get(), 0, size_);
  }
}

BitmapHeader Bits::Header() const {
  BitmapHeader h;
  h.biWidth = width_ + 2 * kBitsFrame;
  h.biHeight = -(height_ + 2 * kBitsFrame);
  return h;
}

bool Bits::operator==(const Bits& other) const {
  if (!SameShape(other) || IsNull() != other.IsNull()) return false;
  return size_ == 0 || std::memcmp(data_.get(), other.data_.get(), size_) == 0;
}

}  // namespace kelvane
