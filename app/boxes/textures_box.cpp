#include "boxes/textures_box.h"

#include <QListWidget>
#include <QPainter>
#include <QVBoxLayout>
#include <cmath>
#include <numbers>

#include "boxes/picture_convert.h"
#include "shell/application.h"

namespace kelvane {

namespace {

QImage TextureImage(int index) {
  constexpr int s = kTextureSide;
  QImage image(s, s, QImage::Format_RGB32);
  QPainter p(&image);
  switch (index) {
    case 0: {  // bricks: two courses per tile, the upper one shifted by half
      p.fillRect(image.rect(), QColor(200, 195, 185));
      p.setPen(Qt::NoPen);
      p.setBrush(QColor(170, 70, 50));
      p.drawRect(1, 1, 14, 14);
      p.drawRect(17, 1, 14, 14);
      p.drawRect(-7, 17, 14, 14);
      p.drawRect(9, 17, 14, 14);
      p.drawRect(25, 17, 14, 14);
      break;
    }
    case 1:  // checks
      p.fillRect(image.rect(), QColor(235, 235, 235));
      p.fillRect(0, 0, 16, 16, QColor(60, 60, 70));
      p.fillRect(16, 16, 16, 16, QColor(60, 60, 70));
      break;
    case 2: {  // weave: over and under bands
      p.fillRect(image.rect(), QColor(90, 70, 40));
      for (int i = 0; i < 4; ++i) {
        const QColor a(220, 190, 130), b(190, 160, 100);
        p.fillRect(i * 8 + 1, 0, 6, s, (i % 2) ? a : b);
        for (int j = 0; j < 4; ++j)
          if ((i + j) % 2 == 0) p.fillRect(0 + i * 8, j * 8 + 1, 8, 6, QColor(240, 215, 160));
      }
      break;
    }
    case 3: {  // dots
      p.fillRect(image.rect(), QColor(250, 240, 200));
      p.setRenderHint(QPainter::Antialiasing);
      p.setPen(Qt::NoPen);
      p.setBrush(QColor(200, 60, 90));
      for (const QPointF c : {QPointF(8, 8), QPointF(24, 24), QPointF(24, -8), QPointF(-8, 24), QPointF(40, 24),
                              QPointF(24, 40)})
        p.drawEllipse(c, 5, 5);
      break;
    }
    case 4:  // diagonal stripes, wrapping at the tile's edge
      for (int y = 0; y < s; ++y)
        for (int x = 0; x < s; ++x)
          image.setPixel(x, y, ((x + y) / 8) % 2 ? qRgb(40, 110, 190) : qRgb(230, 240, 250));
      break;
    case 5:  // waves: a sine whole periods across the tile
      for (int y = 0; y < s; ++y)
        for (int x = 0; x < s; ++x) {
          const double v = std::sin(2 * std::numbers::pi * (y + 3 * std::sin(2 * std::numbers::pi * x / s)) / 16);
          const int t = static_cast<int>(std::lround(127.5 + 127.5 * v));
          image.setPixel(x, y, qRgb(20 + t / 4, 80 + t / 2, 120 + t / 2));
        }
      break;
    case 6: {  // scales
      p.fillRect(image.rect(), QColor(40, 110, 70));
      p.setRenderHint(QPainter::Antialiasing);
      p.setPen(QPen(QColor(20, 60, 40), 1.5));
      p.setBrush(QColor(80, 170, 110));
      for (int row = -1; row < 3; ++row)
        for (int col = -1; col < 3; ++col) {
          const double cx = col * 16 + (row % 2 ? 8 : 0) + 8;
          p.drawChord(QRectF(cx - 9, row * 12 - 2, 18, 18), 180 * 16, 180 * 16);
        }
      break;
    }
    case 7: {  // grain: hashed noise, the same at every repeat
      for (int y = 0; y < s; ++y)
        for (int x = 0; x < s; ++x) {
          uint32_t h = static_cast<uint32_t>(x) * 374761393u + static_cast<uint32_t>(y) * 668265263u;
          h = (h ^ (h >> 13)) * 1274126177u;
          const int n = static_cast<int>((h >> 24) & 0x3F);
          image.setPixel(x, y, qRgb(150 + n, 110 + n, 70 + n / 2));
        }
      break;
    }
    default: break;
  }
  return image;
}

}  // namespace

Bits TextureTile(int index) {
  if (index < 0 || index >= kTextureCount) return Bits();
  return BitsFromImage(TextureImage(index));
}

QString TextureName(int index) {
  static const char* const kNames[] = {"Bricks", "Checks", "Weave", "Dots", "Stripes", "Waves", "Scales", "Grain"};
  return index >= 0 && index < kTextureCount ? QString(kNames[index]) : QString();
}

TexturesBox::TexturesBox(Application& app, QWidget* parent) : QWidget(parent), app_(app) {
  setObjectName("TexturesBox");
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(3, 3, 3, 3);
  list_ = new QListWidget(this);
  list_->setObjectName("lstTextures");
  list_->setViewMode(QListView::IconMode);
  list_->setIconSize(QSize(kTextureSide, kTextureSide));
  list_->setGridSize(QSize(kTextureSide + 8, kTextureSide + 8));
  list_->setResizeMode(QListView::Adjust);
  list_->setMovement(QListView::Static);
  list_->setSpacing(0);
  for (int i = 0; i < kTextureCount; ++i) {
    const QImage tile = TextureImage(i);
    auto* item = new QListWidgetItem(QIcon(QPixmap::fromImage(tile)), QString());
    item->setToolTip(TextureName(i));
    list_->addItem(item);
  }
  connect(list_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) { Choose(list_->row(item)); });
  layout->addWidget(list_);
}

void TexturesBox::Choose(int index) {
  Bits tile = TextureTile(index);
  if (tile.IsNull()) return;
  app_.SetTextureTile(std::move(tile));
  chosen_ = index;
  if (list_->currentRow() != index) list_->setCurrentRow(index);
}

}  // namespace kelvane
