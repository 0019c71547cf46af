#include "filters/bit_filter.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "base/numeric.h"
#include "document/dib_section.h"

namespace kelvane {

namespace {

uint32_t MillisecondClock() {
  using namespace std::chrono;
  return static_cast<uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

// Rows handed to a thread at a time: large enough to keep the scheduling cost
// out of sight, small enough to balance uneven rows.
constexpr int32_t kRowChunk = 16;

}  // namespace

// ---------------------------------------------------------------------------
// Frame

void cBitFilter::AdoptExtents() {
  MaxX = bits_.Width() - 1;
  MaxY = bits_.Height() - 1;
  BitsBounds = {0, 0, MaxX + 1, MaxY + 1};
}

void cBitFilter::SetBits(const Bits& bits) {
  bits_ = bits;
  AdoptExtents();
}

void cBitFilter::SetBits(Bits&& bits) {
  // The old array becomes the spare buffer of the next filter's output copy.
  spare_ = std::move(bits_);
  bits_ = std::move(bits);
  AdoptExtents();
}

Bits cBitFilter::BlankOfSize(int32_t width, int32_t height) {
  Bits out = std::move(spare_);
  out.Reset(width, height);
  return out;
}

Bits cBitFilter::CopyOfBits() {
  Bits out = std::move(spare_);
  out = bits_;
  return out;
}

void cBitFilter::RegionBox(int32_t inset) {
  const Rect box = region_ ? region_->Box() : Rect{};
  BoxLeft = box.left + inset;
  BoxRight = box.right - inset - 1;
  BoxTop = box.top + inset;
  BoxBottom = box.bottom - inset - 1;
}

void cBitFilter::RaiseProgress(int32_t percent) {
  if (progress_) progress_(percent);
}

void cBitFilter::ReportRowProgress(int32_t y) {
  const uint32_t now = MillisecondClock();
  if (now - LastProgressTime > 10) {
    LastProgressTime = now;
    // A one-row picture divides by zero here; the report is skipped.
    if (MaxY != 0) RaiseProgress(static_cast<int32_t>(static_cast<int64_t>(y) * 100 / MaxY));
  }
}

void cBitFilter::ReportProgress(int32_t percent) {
  const uint32_t now = MillisecondClock();
  if (now - LastProgressTime > 10) {
    LastProgressTime = now;
    RaiseProgress(percent);
  }
}

void cBitFilter::RunRows(int32_t first, int32_t last, bool parallel, void (*row)(void*, int32_t), void* ctx,
                         int32_t (*percent)(void*, int32_t), void* percentCtx) {
  if (first > last) return;
  auto report = [&](int32_t y) {
    if (percent) {
      ReportProgress(percent(percentCtx, y));
    } else {
      ReportRowProgress(y);
    }
  };
  const int64_t rows = static_cast<int64_t>(last) - first + 1;
  const int threads = parallel ? static_cast<int>(std::min<int64_t>(threads_, (rows + kRowChunk - 1) / kRowChunk)) : 1;
  if (threads <= 1) {
    for (int32_t y = first; y <= last; ++y) {
      row(ctx, y);
      report(y);
    }
    return;
  }
  std::atomic<int64_t> next{first};
  std::atomic<int64_t> done{0};
  auto work = [&](bool reports) {
    for (;;) {
      const int64_t y0 = next.fetch_add(kRowChunk);
      if (y0 > last) return;
      const int64_t y1 = std::min<int64_t>(y0 + kRowChunk - 1, last);
      for (int64_t y = y0; y <= y1; ++y) row(ctx, static_cast<int32_t>(y));
      const int64_t finished = done.fetch_add(y1 - y0 + 1) + (y1 - y0 + 1);
      if (reports) report(static_cast<int32_t>(first + finished - 1));
    }
  };
  std::vector<std::thread> helpers;
  helpers.reserve(static_cast<size_t>(threads - 1));
  for (int i = 1; i < threads; ++i) helpers.emplace_back(work, false);
  work(true);
  for (auto& t : helpers) t.join();
}

void cBitFilter::MakeFilterHeader(BitmapHeader& header, Bits& bits, int32_t width, int32_t height) {
  bits.Reset(width, height);
  header = bits.Header();
}

float cBitFilter::AngleOf(double dx, double dy) {
  constexpr float kPi = 3.141592f;
  if (dx == 0) return dy > 0 ? kPi / 2 : -kPi / 2;
  double angle = std::atan(dy / dx);
  if (dx < 0) angle += kPi;
  return static_cast<float>(angle);
}

// ---------------------------------------------------------------------------
// Operations that reshape the array

void cBitFilter::BitsBlack() {
  RegionBox(0);
  const int32_t first = std::max(BoxTop, -kBitsFrame);
  const int32_t last = std::min(BoxBottom, MaxY + kBitsFrame);
  const int32_t minX = std::max(BoxLeft, -kBitsFrame);
  const int32_t endX = std::min(BoxRight, MaxX + kBitsFrame) + 1;
  if (!region_) return;
  for (int32_t y = first; y <= last; ++y) {
    region_->ForEachSpan(y, minX, endX, [&](int32_t x0, int32_t x1) {
      std::memset(bits_.Pixel(x0, y), 0, static_cast<size_t>(x1 - x0) * 4);
    });
  }
}

void cBitFilter::BitsCrop(const Bits& source, int32_t left, int32_t top, int32_t right, int32_t bottom) {
  const Rect r = IntersectRect({left, top, right, bottom}, BitsBounds);
  Bits out = BlankOfSize(r.Width(), r.Height());
  // The clip is taken against this engine's bounds; rows that the source does
  // not hold are left at zero.
  const Rect inSource = IntersectRect(r, {-kBitsFrame, -kBitsFrame, source.Width() + kBitsFrame, source.Height() + kBitsFrame});
  if (!inSource.IsEmpty()) {
    const size_t rowBytes = static_cast<size_t>(inSource.Width()) * 4;
    for (int32_t y = inSource.top; y < inSource.bottom; ++y) {
      std::memcpy(out.Pixel(inSource.left - r.left, y - r.top), source.Pixel(inSource.left, y), rowBytes);
    }
  }
  SetBits(std::move(out));
  RaiseProgress(100);
}

void cBitFilter::BitsCropMasked(const Bits& source, int32_t left, int32_t top, int32_t right, int32_t bottom) {
  const Rect r = IntersectRect({left, top, right, bottom}, {0, 0, source.Width(), source.Height()});
  Bits out = BlankOfSize(r.Width(), r.Height());
  for (int32_t y = 0; y < r.Height(); ++y) {
    uint8_t* row = out.Row(y);
    for (int32_t x = 0; x < r.Width(); ++x) row[4 * x + 3] = 255;
    if (region_) {
      region_->ForEachSpan(r.top + y, r.left, r.right, [&](int32_t x0, int32_t x1) {
        std::memcpy(row + 4 * (x0 - r.left), source.Pixel(x0, r.top + y), static_cast<size_t>(x1 - x0) * 4);
      });
    }
  }
  SetBits(std::move(out));
  RaiseProgress(100);
}

void cBitFilter::BitsResample(const Bits& source, int32_t newWidth, int32_t newHeight) {
  Bits out = BlankOfSize(newWidth, newHeight);
  const double sx = static_cast<double>(source.MaxX()) / newWidth;
  const double sy = static_cast<double>(source.MaxY()) / newHeight;
  // The column positions are the same on every row: work them out once.
  std::vector<int32_t> columns(static_cast<size_t>(std::max(newWidth, 0)));
  std::vector<double> fractions(columns.size());
  for (int32_t x = 0; x < newWidth; ++x) {
    const double u = x * sx;
    columns[x] = Floor(u);
    fractions[x] = u - columns[x];
  }
  MaxY = newHeight - 1;
  ForEachRow(0, newHeight - 1, true, [&](int32_t y) {
    const double v = y * sy;
    const int32_t y0 = Floor(v);
    const double fy = v - y0;
    const uint8_t* top = source.Pixel(0, y0);
    const uint8_t* below = source.Pixel(0, y0 + 1);
    uint8_t* dst = out.Row(y);
    for (int32_t x = 0; x < newWidth; ++x) {
      const ptrdiff_t i = 4 * static_cast<ptrdiff_t>(columns[x]);
      const double fx = fractions[x];
      for (int c = 0; c < 3; ++c) {
        const double left = RoundHalfEven((1 - fy) * top[i + c] + fy * below[i + c]);
        const double right = RoundHalfEven((1 - fy) * top[i + 4 + c] + fy * below[i + 4 + c]);
        dst[4 * x + c] = RoundByte((1 - fx) * left + fx * right);
      }
    }
  });
  SetBits(std::move(out));
  RaiseProgress(100);
}

void cBitFilter::BitsResize(const Bits& source, int32_t newWidth, int32_t newHeight) {
  Bits out = BlankOfSize(newWidth, newHeight);
  const double sx = static_cast<double>(source.Width()) / newWidth;
  const double sy = static_cast<double>(source.Height()) / newHeight;
  MaxY = newHeight - 1;
  ForEachRow(0, newHeight - 1, true, [&](int32_t y) {
    const uint8_t* src = source.Row(Floor(y * sy));
    uint8_t* dst = out.Row(y);
    for (int32_t x = 0; x < newWidth; ++x) {
      const uint8_t* p = src + 4 * static_cast<ptrdiff_t>(Floor(x * sx));
      dst[4 * x] = p[0];
      dst[4 * x + 1] = p[1];
      dst[4 * x + 2] = p[2];
    }
  });
  SetBits(std::move(out));
  RaiseProgress(100);
}

void cBitFilter::BitsRotate90(const Bits& source) {
  const int32_t srcMaxX = source.MaxX();
  Bits out = BlankOfSize(source.Height(), source.Width());
  // MaxY follows the source's rows for the progress rule, then the extents
  // are exchanged.
  MaxX = srcMaxX;
  MaxY = source.MaxY();
  ForEachRow(0, source.MaxY(), true, [&](int32_t y) {
    const uint8_t* src = source.Row(y);
    for (int32_t x = 0; x <= srcMaxX; ++x) {
      uint8_t* dst = out.Pixel(y, srcMaxX - x);
      dst[0] = src[4 * x];
      dst[1] = src[4 * x + 1];
      dst[2] = src[4 * x + 2];
    }
  });
  SetBits(std::move(out));
  RaiseProgress(100);
}

void cBitFilter::BitsTakeFromPicture(const cDIBSection& picture, int32_t width, int32_t height) {
  if (width < 0 || height < 0) return;
  const std::vector<uint8_t> rows = picture.ReadTopDown32(width, height);
  Bits out(width, height);
  const size_t rowBytes = static_cast<size_t>(width) * 4;
  for (int32_t y = 0; y < height && rowBytes * (y + 1) <= rows.size(); ++y) {
    std::memcpy(out.Row(y), rows.data() + rowBytes * y, rowBytes);
  }
  SetBits(std::move(out));
}

Bits cBitFilter::Flip(bool horizontal, bool vertical) {
  Bits out = CopyOfBits();
  ForEachRow(0, MaxY, true, [&](int32_t y) {
    const uint8_t* src = bits_.Row(vertical ? MaxY - y : y);
    uint8_t* dst = out.Row(y);
    if (!horizontal) {
      std::memcpy(dst, src, static_cast<size_t>(MaxX + 1) * 4);
      return;
    }
    for (int32_t x = 0; x <= MaxX; ++x) std::memcpy(dst + 4 * x, src + 4 * (MaxX - x), 4);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::NewDoc(uint8_t red, uint8_t green, uint8_t blue) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const int32_t minX = std::max(BoxLeft, -kBitsFrame);
  const int32_t maxX = std::min(BoxRight, MaxX + kBitsFrame);
  ForEachRow(std::max(BoxTop, -kBitsFrame), std::min(BoxBottom, MaxY + kBitsFrame), true, [&](int32_t y) {
    uint8_t* p = out.Pixel(0, y);
    for (int32_t x = minX; x <= maxX; ++x) {
      p[4 * x] = blue;
      p[4 * x + 1] = green;
      p[4 * x + 2] = red;
    }
  });
  RaiseProgress(100);
  return out;
}

namespace {

// Calls fn(L) with L = Trunc((blue + green + red) / 3) for every picture pixel.
template <class Fn>
void ForEachLuminance(const Bits& bits, int32_t maxX, int32_t maxY, Fn&& fn) {
  for (int32_t y = 0; y <= maxY; ++y) {
    const uint8_t* p = bits.Row(y);
    for (int32_t x = 0; x <= maxX; ++x, p += 4) fn((p[0] + p[1] + p[2]) / 3);
  }
}

}  // namespace

int32_t cBitFilter::GetLMax() {
  int32_t best = 0;
  ForEachLuminance(bits_, MaxX, MaxY, [&](int32_t l) { best = std::max(best, l); });
  return best;
}

int32_t cBitFilter::GetLMin() {
  int32_t best = 255;
  ForEachLuminance(bits_, MaxX, MaxY, [&](int32_t l) { best = std::min(best, l); });
  return best;
}

int32_t cBitFilter::GetLMed() {
  int64_t sum = 0;
  ForEachLuminance(bits_, MaxX, MaxY, [&](int32_t l) { sum += l; });
  const int64_t count = static_cast<int64_t>(MaxX + 1) * (MaxY + 1);
  // An empty picture divides by zero: the statement fails and the mean is 0.
  return count > 0 ? static_cast<int32_t>(sum / count) : 0;
}

}  // namespace kelvane
