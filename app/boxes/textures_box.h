// fToolTextures' contents: a grid of drawn texture tiles. Choosing one gives
// its picture to Application::SetTextureTile, the tile of the texture brush
// (brush mode "Current stamp (Tiled)") and the texture fill.
//
// Contract:
//  - TextureTile(i) for i in 0..kTextureCount-1 is a kTextureSide square
//    picture that repeats without a seam (bricks, checks, weave, dots,
//    stripes, waves, scales, grain); other indices give a null Bits.
//  - Choose(i) hands the tile over and marks its cell; an index outside the
//    list changes nothing.
#pragma once

#include <QWidget>

#include "document/bits.h"

class QListWidget;

namespace kelvane {

class Application;

inline constexpr int kTextureCount = 8;
inline constexpr int kTextureSide = 32;

Bits TextureTile(int index);
QString TextureName(int index);

class TexturesBox : public QWidget {
  Q_OBJECT

 public:
  TexturesBox(Application& app, QWidget* parent);
  void Choose(int index);
  int Chosen() const { return chosen_; }
  QListWidget* List() const { return list_; }

 private:
  Application& app_;
  QListWidget* list_ = nullptr;
  int chosen_ = -1;
};

}  // namespace kelvane
