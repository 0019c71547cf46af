#include "document/canvas_render.h"

#include <cstring>
#include <vector>

namespace kelvane {

namespace {

// Floor of a * b / c for a >= 0, c > 0, without overflow at 16-bit sizes.
int32_t ScaleDown(int32_t a, int32_t b, int32_t c) {
  return static_cast<int32_t>(static_cast<int64_t>(a) * b / c);
}

}  // namespace

QImage RenderCanvasArea(const Bits& bits, const StretchRects& r, const QRect& area) {
  if (area.isEmpty()) return QImage();
  QImage image(area.size(), QImage::Format_RGB32);
  if (image.isNull()) return image;
  image.fill(kCanvasBackground);
  if (bits.IsNull() || r.TargetWidth <= 0 || r.TargetHeight <= 0 || r.SourceWidth <= 0 || r.SourceHeight <= 0)
    return image;

  const int32_t bufferWidth = bits.Width() + 2 * kBitsFrame;
  const int32_t bufferHeight = bits.Height() + 2 * kBitsFrame;
  const int32_t left = area.left(), top = area.top();
  const int32_t width = area.width(), height = area.height();

  // The buffer column under each canvas column of the area, once per paint.
  std::vector<int32_t> columnOffset(static_cast<size_t>(width), -1);
  for (int32_t i = 0; i < width; ++i) {
    const int32_t tx = left + i;
    if (tx < r.TargetX || tx >= r.TargetX + r.TargetWidth) continue;
    const int32_t col = r.SourceX + ScaleDown(tx - r.TargetX, r.SourceWidth, r.TargetWidth);
    if (col >= 0 && col < bufferWidth) columnOffset[static_cast<size_t>(i)] = 4 * col;
  }

  // The stretch counts source rows from the bottom edge of the buffer.
  const int32_t topBufferRow = bufferHeight - r.SourceY - r.SourceHeight;
  const uint8_t* data = bits.Data();
  const ptrdiff_t stride = bits.Stride();
  int32_t previousRow = -1;
  QRgb* previousLine = nullptr;
  for (int32_t j = 0; j < height; ++j) {
    const int32_t ty = top + j;
    if (ty < r.TargetY || ty >= r.TargetY + r.TargetHeight) continue;
    const int32_t row = topBufferRow + ScaleDown(ty - r.TargetY, r.SourceHeight, r.TargetHeight);
    if (row < 0 || row >= bufferHeight) continue;
    QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(j));
    if (row == previousRow && previousLine) {
      // A zoomed picture row covers z canvas rows: copy the one converted.
      std::memcpy(line, previousLine, sizeof(QRgb) * static_cast<size_t>(width));
      continue;
    }
    const uint8_t* source = data + stride * row;
    for (int32_t i = 0; i < width; ++i) {
      const int32_t offset = columnOffset[static_cast<size_t>(i)];
      if (offset < 0) continue;
      const uint8_t* p = source + offset;
      line[i] = 0xFF000000u | (static_cast<QRgb>(p[2]) << 16) | (static_cast<QRgb>(p[1]) << 8) | p[0];
    }
    previousRow = row;
    previousLine = line;
  }
  return image;
}

void DrawSelectionOutline(const cBitRegion& region, int dx, int dy, QImage& image, const QPoint& origin) {
  if (image.isNull() || image.format() != QImage::Format_RGB32) return;
  const RectRegion outline = region.OutlineRegion(dx, dy);
  if (outline.IsEmpty()) return;
  const std::array<uint8_t, 8> pattern = cBitRegion::BrushPattern(region.BrushIndex());
  const int32_t minX = origin.x(), maxX = origin.x() + image.width();
  const int32_t minY = origin.y(), maxY = origin.y() + image.height();
  for (const RectRegion::Band& band : outline.Bands()) {
    const int32_t y0 = band.top > minY ? band.top : minY;
    const int32_t y1 = band.bottom < maxY ? band.bottom : maxY;
    for (int32_t y = y0; y < y1; ++y) {
      QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y - minY));
      const uint8_t bitsOfRow = pattern[static_cast<size_t>(y & 7)];
      outline.ForEachSpan(y, minX, maxX, [&](int32_t x0, int32_t x1) {
        for (int32_t x = x0; x < x1; ++x) {
          const bool set = (bitsOfRow >> (7 - (x & 7))) & 1;
          line[x - minX] = set ? 0xFFFFFFFFu : 0xFF000000u;
        }
      });
    }
  }
}

QImage RenderDocumentArea(const Document& doc, const QRect& area, bool withOutline) {
  StretchRects rects;
  if (!doc.PaintRectangles(rects)) {
    if (area.isEmpty()) return QImage();
    QImage blank(area.size(), QImage::Format_RGB32);
    blank.fill(kCanvasBackground);
    return blank;
  }
  QImage image = RenderCanvasArea(doc.PictureBits(), rects, area);
  if (withOutline && !doc.BitRegion().IsEmptyRegion())
    DrawSelectionOutline(doc.BitRegion(), -doc.HScroll().Value, -doc.VScroll().Value, image, area.topLeft());
  return image;
}

}  // namespace kelvane
