#include "boxes/picture_convert.h"

#include <algorithm>

#include "base/fit_size.h"

namespace kelvane {

QImage ImageFromBits(const Bits& bits) {
  if (bits.IsNull() || bits.Width() < 1 || bits.Height() < 1) return QImage();
  QImage image(bits.Width(), bits.Height(), QImage::Format_RGB32);
  if (image.isNull()) return image;
  for (int y = 0; y < bits.Height(); ++y) {
    const uint8_t* s = bits.Row(y);
    QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < bits.Width(); ++x, s += 4) line[x] = qRgb(s[2], s[1], s[0]);
  }
  return image;
}

Bits BitsFromImage(const QImage& image) {
  if (image.isNull() || image.width() < 1 || image.height() < 1) return Bits();
  const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
  Bits bits(argb.width(), argb.height());
  bits.Fill(0);
  for (int y = 0; y < argb.height(); ++y) {
    const QRgb* line = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
    uint8_t* d = bits.Row(y);
    for (int x = 0; x < argb.width(); ++x, d += 4) {
      const QRgb c = line[x];
      const int a = qAlpha(c);
      // Over white paper: c * a + 255 * (255 - a), divided by 255 and rounded.
      auto over = [a](int v) { return static_cast<uint8_t>((v * a + 255 * (255 - a) + 127) / 255); };
      d[0] = over(qBlue(c));
      d[1] = over(qGreen(c));
      d[2] = over(qRed(c));
    }
  }
  return bits;
}

QSize FitInto(QSize picture, QSize box) {
  if (picture.width() < 1 || picture.height() < 1 || box.width() < 1 || box.height() < 1) return QSize(1, 1);
  // The thumbnails' fitting rule of the whole program.
  int32_t width = 0, height = 0;
  FitSize(picture.width(), picture.height(), box.width(), box.height(), width, height);
  return QSize(std::max(1, width), std::max(1, height));
}

QImage ScaledThumbnail(const Bits& bits, QSize box, bool smooth) {
  if (bits.IsNull() || bits.Width() < 1 || bits.Height() < 1) return QImage();
  const QSize size = FitInto(QSize(bits.Width(), bits.Height()), box);
  QImage image(size, QImage::Format_RGB32);
  if (image.isNull()) return image;
  const int w = bits.Width(), h = bits.Height();
  for (int ty = 0; ty < size.height(); ++ty) {
    QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(ty));
    if (!smooth) {
      const uint8_t* row = bits.Row(static_cast<int>(static_cast<int64_t>(ty) * h / size.height()));
      for (int tx = 0; tx < size.width(); ++tx) {
        const uint8_t* s = row + 4 * (static_cast<int64_t>(tx) * w / size.width());
        line[tx] = qRgb(s[2], s[1], s[0]);
      }
      continue;
    }
    // Box average over the source pixels that fall into the target pixel.
    const int y0 = static_cast<int>(static_cast<int64_t>(ty) * h / size.height());
    const int y1 = std::max(y0 + 1, static_cast<int>(static_cast<int64_t>(ty + 1) * h / size.height()));
    for (int tx = 0; tx < size.width(); ++tx) {
      const int x0 = static_cast<int>(static_cast<int64_t>(tx) * w / size.width());
      const int x1 = std::max(x0 + 1, static_cast<int>(static_cast<int64_t>(tx + 1) * w / size.width()));
      int64_t sum[3] = {0, 0, 0};
      for (int y = y0; y < y1; ++y) {
        const uint8_t* s = bits.Pixel(x0, y);
        for (int x = x0; x < x1; ++x, s += 4) {
          sum[0] += s[0];
          sum[1] += s[1];
          sum[2] += s[2];
        }
      }
      const int64_t n = static_cast<int64_t>(x1 - x0) * (y1 - y0);
      line[tx] = qRgb(static_cast<int>((sum[2] + n / 2) / n), static_cast<int>((sum[1] + n / 2) / n),
                      static_cast<int>((sum[0] + n / 2) / n));
    }
  }
  return image;
}

QColor ToQColor(int32_t colour) {
  if (colour < 0) return QColor();
  return QColor(colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF);
}

int32_t FromQColor(const QColor& colour) {
  if (!colour.isValid()) return -1;
  return colour.red() | (colour.green() << 8) | (colour.blue() << 16);
}

}  // namespace kelvane
