// The seven side boxes of the main window: fToolColor, fToolTextures,
// fPaste, fPanView, fToolBrowser, finfo and fLayerBox. Each is a floating
// dock with its own title strip TL carrying the roll button pMm and the hide
// button pExit; rolled up, a box shows only its title strip.
//
// Contract:
//  - SideBoxInfoTable() lists the boxes in the order start-up shows them, with
//    the StartRecord fields that place them (twips; a box without stored
//    width and height keeps its design size) and their VIEWS index.
//  - PlaceSideBoxes is step 14 of the start: for each box whose shown flag is
//    true, in table order: move it to the stored place (and size), then, when
//    its rolled-up flag is set, collapse it with pMm_Click; show it floating.
//    Boxes whose flag is false stay hidden. A stored place that lies off
//    every screen is pulled back so that the title strip can be reached.
//  - StoreSideBoxGeometry writes the places back for the exit: left and top
//    of every box, width and height where the record keeps them, and the
//    full height of a rolled-up box, never the collapsed one; the rolled-up
//    flags follow the boxes. The shown flags are left to the caller, who
//    owns the VIEWS menu.
//  - Conversions between twips and pixels use 15 twips per pixel and round
//    to the nearest, ties to even.
#pragma once

#include <QDockWidget>
#include <QSize>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "shell/start_record.h"

class QLabel;
class QToolButton;

namespace kelvane {

// One box: its form name, title, VIEWS index and where the record keeps it.
struct SideBoxInfo {
  std::string_view FormName;
  std::string_view Title;
  int32_t ViewsIndex;
  int16_t StartRecord::*Shown;
  int16_t StartRecord::*Rolled;
  int16_t StartRecord::*Left;
  int16_t StartRecord::*Top;
  int16_t StartRecord::*Width;   // null: the box keeps its design size
  int16_t StartRecord::*Height;  // null likewise
  QSize DesignSize;              // pixels
};

// The boxes in show order: fToolColor, fToolTextures, fPaste, fPanView,
// fToolBrowser, finfo, fLayerBox.
const std::array<SideBoxInfo, 7>& SideBoxInfoTable();
// The row of a form name, or null.
const SideBoxInfo* FindSideBox(std::string_view formName);

// Twips to pixels and back (15 twips per pixel, ties to even).
int TwipsToPixels(int32_t twips);
int16_t PixelsToTwips(int pixels);

class SideBox : public QDockWidget {
  Q_OBJECT

 public:
  SideBox(const SideBoxInfo& placement, QWidget* parent = nullptr);

  const SideBoxInfo& Placement() const { return placement_; }
  // The area below the title strip where the box puts its controls.
  QWidget* Content() const { return content_; }

  // pMm's click: rolls the box up to its title strip, or down again.
  void pMm_Click();
  bool IsRolled() const { return rolled_; }
  // The height of the box unrolled (its present height when not rolled).
  int FullHeight() const;

 signals:
  // pExit was clicked: the box hid itself.
  void hiddenByUser(const QString& formName);

 private:
  const SideBoxInfo& placement_;
  QWidget* titleBar_ = nullptr;
  QWidget* content_ = nullptr;
  QToolButton* pMm_ = nullptr;
  bool rolled_ = false;
  int fullHeight_ = 0;
};

// The seven boxes, made (loaded, not shown) in the start-up's load order:
// fToolColor, fToolTextures, fPaste, fToolBrowser, finfo, fPanView,
// fLayerBox. Keyed by form name.
using SideBoxSet = std::map<std::string, SideBox*, std::less<>>;
SideBoxSet LoadSideBoxes(QWidget* owner);

// Step 14 of the start (see the contract).
void PlaceSideBoxes(const StartRecord& record, const SideBoxSet& boxes);
// The exit's side of it (see the contract).
void StoreSideBoxGeometry(const SideBoxSet& boxes, StartRecord& record);
// The same for one box.
void StoreSideBoxGeometry(const SideBox& box, StartRecord& record);

// Screenshot hook (defined with the box contents, boxes/side_box_contents):
// the seven boxes filled over a scratch Application with a drawn picture
// open, a few strokes in its history and a clip, each saved as
// sidebox-<form name>.png into dir (created). Returns the number written.
int CaptureSideBoxes(const QString& dir);

}  // namespace kelvane
