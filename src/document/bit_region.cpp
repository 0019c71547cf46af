#include "document/bit_region.h"

#include <algorithm>

#include "base/byte_io.h"
#include "base/numeric.h"

namespace kelvane {

namespace {

// Diagonal stripes four pixels wide; each further brush starts one row lower
// in this pattern, so stepping through them makes the outline march.
constexpr std::array<uint8_t, 8> kBrush0 = {240, 120, 60, 30, 15, 135, 195, 225};

}  // namespace

void cBitRegion::Init(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  Clear();
  regionMain_ = RectRegion::FromRect(left, top, right, bottom);
}

void cBitRegion::Clear() {
  regionMain_.reset();
  region_.reset();
  regionScaled_.reset();
  regionData_.clear();
  regionDataScaled_.clear();
}

void cBitRegion::ApplyShape(RectRegion shape, CombineMode mode, bool crop) {
  if (region_) {
    region_ = RectRegion::Combine(*region_, shape, mode);
  } else if (mode != CombineMode::Diff) {
    region_ = std::move(shape);
  }
  if (crop && region_ && regionMain_) region_ = RectRegion::Combine(*region_, *regionMain_, CombineMode::And);
  RebuildData();
}

void cBitRegion::CreateRect(int32_t left, int32_t top, int32_t right, int32_t bottom, CombineMode mode,
                            bool crop) {
  ApplyShape(RectRegion::FromRect(left, top, right, bottom), mode, crop);
}

void cBitRegion::CreateEllipse(int32_t left, int32_t top, int32_t right, int32_t bottom, CombineMode mode,
                               bool crop) {
  ApplyShape(RectRegion::FromEllipse(left, top, right, bottom), mode, crop);
}

void cBitRegion::CreatePolygon(const std::vector<int32_t>& xy, CombineMode mode, bool crop) {
  if (xy.size() < 3) return;
  std::vector<Point> points(xy.size() / 2);
  for (size_t i = 0; i < points.size(); ++i) points[i] = Point{xy[2 * i], xy[2 * i + 1]};
  ApplyShape(RectRegion::FromPolygon(points, PolyFillMode::Winding), mode, crop);
}

void cBitRegion::Invert() {
  if (IsEmptyRegion()) {
    const Rect box = regionMain_ ? regionMain_->Box() : Rect{};
    region_ = RectRegion::FromRect(box.left, box.top, box.right, box.bottom);
  } else if (regionMain_) {
    region_ = RectRegion::Combine(*regionMain_, *region_, CombineMode::Xor);
  }
  RebuildData();
}

void cBitRegion::Crop() {
  if (!region_ || !regionMain_) return;
  region_ = RectRegion::Combine(*regionMain_, *region_, CombineMode::And);
  RebuildData();
}

void cBitRegion::Offset(int32_t dx, int32_t dy) {
  if (!region_) return;
  region_->Offset(dx, dy);
  RebuildData();
}

std::array<uint8_t, 8> cBitRegion::BrushPattern(int k) {
  const int shift = ((k % 8) + 8) % 8;
  std::array<uint8_t, 8> rows{};
  for (int r = 0; r < 8; ++r) rows[r] = kBrush0[(r + shift) % 8];
  return rows;
}

RectRegion cBitRegion::OutlineRegion(int32_t x, int32_t y) const {
  if (!regionScaled_ || regionScaled_->IsEmpty()) return RectRegion();
  // The interior is what survives a one-pixel shift in each of the four
  // directions; the frame is the rest.
  RectRegion inner = *regionScaled_;
  const int32_t shifts[4][2] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
  for (const auto& s : shifts) {
    RectRegion moved = *regionScaled_;
    moved.Offset(s[0], s[1]);
    inner = RectRegion::Combine(inner, moved, CombineMode::And);
  }
  RectRegion frame = RectRegion::Combine(*regionScaled_, inner, CombineMode::Diff);
  frame.Offset(x, y);
  return frame;
}

bool cBitRegion::BoundRect(int32_t& left, int32_t& top, int32_t& right, int32_t& bottom) const {
  const Rect box = region_ ? region_->Box() : Rect{};
  left = box.left;
  top = box.top;
  right = box.right;
  bottom = box.bottom;
  return !box.IsEmpty();
}

bool cBitRegion::IsEmptyRegion() const { return !region_ || region_->Box().IsEmpty(); }

bool cBitRegion::SaveToFile(const std::filesystem::path& path) const {
  ByteVector bytes;
  bytes.reserve(regionData_.size() * 4);
  for (int32_t v : regionData_) PutI32(bytes, v);
  return OverwriteFileStart(path, bytes);
}

bool cBitRegion::LoadFromFile(const std::filesystem::path& path) {
  ByteVector bytes;
  if (!ReadWholeFile(path, bytes)) return false;
  std::vector<int32_t> ints(bytes.size() / 4);
  ByteReader reader(bytes);
  for (int32_t& v : ints) v = reader.I32();
  region_ = RectRegion::FromData(ints);
  RebuildData();
  return true;
}

void cBitRegion::SetZoomFactor(float zoom) {
  zoomFactor_ = zoom < 0 ? 0.01f : zoom;
  RebuildScaled();
}

void cBitRegion::SetRegion(const RectRegion& region) {
  regionData_ = region.Data();
  region_ = RectRegion::FromData(regionData_);
  RebuildScaled();
}

void cBitRegion::RebuildData() {
  if (region_) regionData_ = region_->Data();
  else regionData_.clear();
  RebuildScaled();
}

void cBitRegion::RebuildScaled() {
  if (!region_) return;
  regionDataScaled_ = regionData_;
  if (zoomFactor_ >= 0) {
    const double zoom = zoomFactor_;
    for (size_t i = 4; i < regionDataScaled_.size(); ++i) {
      // Kept inside the integer range so that an absurd zoom cannot overflow.
      const double v = std::clamp(static_cast<double>(regionDataScaled_[i]) * zoom, -2147483648.0, 2147483647.0);
      regionDataScaled_[i] = Round(v);
    }
  }
  regionScaled_ = RectRegion::FromData(regionDataScaled_);
}

}  // namespace kelvane
