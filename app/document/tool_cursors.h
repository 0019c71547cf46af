// The canvas pointers: one small drawn cursor per tool picture ("cBrush",
// "cAirBrush", "cPencil", "cTextures", "cFill", "cPicker", "cGrab",
// "cRelease", "cGradient") and the pointers of the selection tools.
//
// Contract:
//  - ToolCursor never fails: an unknown name gives the arrow. Pictures are
//    drawn once per name and kept for the run.
//  - Each drawn cursor is a black figure with a white rim, so it reads on
//    dark and light pictures alike; the hot spot is the point the tool acts
//    on (the tip of the pencil, the dropper and the bucket's drip, the centre
//    of the stamp and of the cross hairs).
//  - CursorPictureForTool maps the CurrentTool word to the picture shown
//    while no stroke runs: "Brush" cBrush, "Airbrush" cAirBrush, "Pencil"
//    cPencil, "Stamp" and "Text" cTextures, "Fill" cFill, "GetColor" cPicker,
//    "Gradient" cGradient, "Select" and "Shape" the cross hairs "cCross",
//    "SelectionMove" "cMove"; other words the arrow ("").
#pragma once

#include <QCursor>
#include <QPixmap>
#include <string_view>

namespace kelvane {

inline constexpr std::string_view kCursorCross = "cCross";
inline constexpr std::string_view kCursorMove = "cMove";

std::string_view CursorPictureForTool(std::string_view tool);
QCursor ToolCursor(std::string_view picture);
// The drawn picture alone (null for the arrow and unknown names).
QPixmap ToolCursorPixmap(std::string_view picture);

}  // namespace kelvane
