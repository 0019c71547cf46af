// finfo's contents: two pages, "Selection" (tabInfo) with the pointer's
// picture position, the colour under it (red, green, blue in the "0#"
// form and a swatch) and the size of the selection, and "Optimize"
// (tabOptimize) with the size of the optimized copy on disk.
//
// Contract:
//  - ShowReadout shows a canvas readout as it comes: X, Y, R, G, B; W x H
//    while a selection is being dragged (a non-zero size), otherwise the
//    size of the document's selection box (0 x 0 without a selection).
//  - ShowOptimized shows the size of the named file in bytes; a missing
//    file shows an empty readout.
#pragma once

#include <QWidget>
#include <string>

#include "document/canvas_tools.h"

class QLabel;
class QTabWidget;

namespace kelvane {

class Document;

class InfoBox : public QWidget {
  Q_OBJECT

 public:
  explicit InfoBox(QWidget* parent);
  void ShowReadout(const InfoReadout& info, const Document* doc);
  void ShowOptimized(const std::string& file);

  QString PositionText() const;
  QString ColourText() const;
  QString SelectionText() const;
  QColor SwatchColour() const { return swatch_; }
  QTabWidget* Pages() const { return tabs_; }

 private:
  QTabWidget* tabs_ = nullptr;
  QLabel* x_ = nullptr;
  QLabel* y_ = nullptr;
  QLabel* r_ = nullptr;
  QLabel* g_ = nullptr;
  QLabel* b_ = nullptr;
  QLabel* swatchLabel_ = nullptr;
  QLabel* size_ = nullptr;
  QLabel* optimized_ = nullptr;
  QColor swatch_;
};

}  // namespace kelvane
