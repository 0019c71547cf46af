// Canvas rendering without a window: which buffer pixel lands on which canvas
// pixel for hand-made stretch rectangles, partial areas, the frame and the
// background, and the stripe pattern of the selection outline.
#include "document/canvas_render.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

// Picture pixel (x, y) is blue x, green y, red 200 + x; the frame is zero.
Bits Numbered(int w, int h) {
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      b.At(0, x, y) = static_cast<uint8_t>(x);
      b.At(1, x, y) = static_cast<uint8_t>(y);
      b.At(2, x, y) = static_cast<uint8_t>(200 + x);
      b.At(3, x, y) = 0x55;  // the spare byte never shows
    }
  return b;
}

QRgb PictureColour(int x, int y) { return qRgb(200 + x, y, x); }

TEST(CanvasRender, OneToOneSkipsTheFrame) {
  const Bits bits = Numbered(6, 4);
  // Zoom 1 without bars: source (2, 2, W, H), target (0, 0, W, H).
  const StretchRects r{0, 0, 6, 4, 2, 2, 6, 4};
  const QImage image = RenderCanvasArea(bits, r, QRect(0, 0, 6, 4));
  ASSERT_EQ(image.size(), QSize(6, 4));
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) EXPECT_EQ(image.pixel(x, y), PictureColour(x, y)) << x << "," << y;
}

TEST(CanvasRender, ZoomedAndScrolledAreas) {
  const Bits bits = Numbered(40, 30);
  struct Case {
    const char* name;
    StretchRects rects;
    QRect area;
    int zoom, scrollX, firstRow;  // picture row under canvas row targetY
  };
  // Zoom 3, hSB value 7 (max >= 1): targetX = -(7 mod 3) = -1, sourceX = 7 \ 3 + 2 = 4;
  // canvas x shows picture (7 + x) \ 3. Vertically the source starts at row 5
  // counted from the top of the picture: sourceY = H + 2 - 5 - sourceH.
  const int z = 3, dstW = 20, dstH = 17;
  const int srcW = dstW / z + 2, srcH = (dstH - 1) / z + 2;
  const StretchRects scrolled{
      -1, 0, (dstW / z) * z + 2 * z, ((dstH - 1) / z) * z + 2 * z, 7 / z + 2, 30 + 2 - 5 - srcH, srcW, srcH};
  const Case cases[] = {
      {"whole canvas", scrolled, QRect(0, 0, dstW, dstH), z, 7, 5},
      {"inner area", scrolled, QRect(5, 4, 6, 7), z, 7, 5},
  };
  for (const Case& c : cases) {
    const QImage image = RenderCanvasArea(bits, c.rects, c.area);
    ASSERT_EQ(image.size(), c.area.size()) << c.name;
    for (int j = 0; j < c.area.height(); ++j)
      for (int i = 0; i < c.area.width(); ++i) {
        const int cx = c.area.left() + i, cy = c.area.top() + j;
        const QRgb want = PictureColour((c.scrollX + cx) / c.zoom, c.firstRow + cy / c.zoom);
        ASSERT_EQ(image.pixel(i, j), want) << c.name << " at canvas " << cx << "," << cy;
      }
  }
}

TEST(CanvasRender, FrameShowsBlackAndUncoveredCanvasShowsBackground) {
  const Bits bits = Numbered(4, 4);
  // Source from buffer column 0: two frame columns first; target narrower
  // than the area, so its right part is background.
  const StretchRects r{0, 0, 6, 8, 0, 0, 6, 8};
  const QImage image = RenderCanvasArea(bits, r, QRect(0, 0, 9, 8));
  EXPECT_EQ(image.pixel(0, 0), qRgb(0, 0, 0));
  EXPECT_EQ(image.pixel(1, 3), qRgb(0, 0, 0));
  // The source covers all 8 buffer rows: canvas row y shows buffer row y,
  // which is picture row y - 2.
  EXPECT_EQ(image.pixel(2, 3), PictureColour(0, 1));
  EXPECT_EQ(image.pixel(5, 5), PictureColour(3, 3));
  EXPECT_EQ(image.pixel(6, 0), kCanvasBackground);
  EXPECT_EQ(image.pixel(8, 7), kCanvasBackground);
}

TEST(CanvasRender, NullPictureAndEmptyAreaAreHarmless) {
  const StretchRects r{0, 0, 10, 10, 2, 2, 10, 10};
  const QImage blank = RenderCanvasArea(Bits(), r, QRect(0, 0, 3, 2));
  ASSERT_EQ(blank.size(), QSize(3, 2));
  EXPECT_EQ(blank.pixel(2, 1), kCanvasBackground);
  EXPECT_TRUE(RenderCanvasArea(Numbered(4, 4), r, QRect(0, 0, 0, 5)).isNull());
  // Degenerate rectangles give background, not a division by zero.
  const QImage degenerate =
      RenderCanvasArea(Numbered(4, 4), StretchRects{0, 0, 0, 4, 2, 2, 0, 4}, QRect(0, 0, 2, 2));
  EXPECT_EQ(degenerate.pixel(0, 0), kCanvasBackground);
}

TEST(CanvasRender, OutlineTakesTheStripePatternAtCanvasPositions) {
  cBitRegion region;
  region.Init(0, 0, 64, 64);
  region.CreateRect(8, 8, 24, 20, CombineMode::Or, true);
  QImage image(64, 64, QImage::Format_RGB32);
  const QRgb grey = qRgb(10, 20, 30);
  image.fill(grey);
  // Brush 0 rows: 240, 120, 60, 30, 15, 135, 195, 225; bit 7 is the leftmost
  // pixel, a set bit white. Moved by (-3, 0): the frame's left column is x 5.
  DrawSelectionOutline(region, -3, 0, image, QPoint(0, 0));
  const uint8_t rows[8] = {240, 120, 60, 30, 15, 135, 195, 225};
  auto expected = [&](int x, int y) {
    return (rows[y & 7] >> (7 - (x & 7))) & 1 ? qRgb(255, 255, 255) : qRgb(0, 0, 0);
  };
  for (int y = 8; y < 20; ++y) EXPECT_EQ(image.pixel(5, y), expected(5, y)) << y;
  for (int x = 5; x < 21; ++x) EXPECT_EQ(image.pixel(x, 8), expected(x, 8)) << x;
  EXPECT_EQ(image.pixel(20, 19), expected(20, 19));
  EXPECT_EQ(image.pixel(10, 12), grey);  // inside, not on the outline
  EXPECT_EQ(image.pixel(4, 8), grey);    // outside

  // Rotated once, row r is brush 0's row r + 1; drawn into an image that
  // starts at canvas (5, 8), the pattern stays aligned to the canvas.
  region.RotateBrush();
  QImage part(4, 4, QImage::Format_RGB32);
  part.fill(grey);
  DrawSelectionOutline(region, -3, 0, part, QPoint(5, 8));
  for (int i = 0; i < 4; ++i) {
    const int x = 5 + i, y = 8;
    const QRgb want = (rows[(y + 1) & 7] >> (7 - (x & 7))) & 1 ? qRgb(255, 255, 255) : qRgb(0, 0, 0);
    EXPECT_EQ(part.pixel(i, 0), want) << i;
  }
  EXPECT_EQ(part.pixel(1, 1), grey);
}

}  // namespace
}  // namespace kelvane
