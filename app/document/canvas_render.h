// Canvas rendering: the part of a document's picture that shows on the
// canvas iDst, and the marching outline of its selection, made into a QImage
// of one rectangle of the canvas.
//
// Contract:
//  - The stretch is the one Document::PaintRectangles gives: target rectangle
//    on the canvas, source rectangle in the Bits buffer (frame included, y
//    counted from the bottom edge). Each canvas pixel of the target takes the
//    buffer pixel under it by nearest neighbour (floor of the proportional
//    position), as the platform's stretch does by default: at factor z every
//    picture pixel covers z x z canvas pixels, and a partly scrolled-off
//    zoomed pixel shows only its visible part.
//  - Only the requested canvas rectangle is converted, straight from the
//    buffer rows into the image (blue, green, red; the spare byte is
//    ignored). No copy of the whole picture is made. Canvas pixels outside
//    the target or over no buffer pixel take kCanvasBackground.
//  - The outline is the selection's OutlineRegion at the scroll offset,
//    filled with the 8 x 8 stripe pattern of the current brush, the pattern
//    aligned to the canvas origin: a set bit is white, a clear bit black.
//  - A null picture or an empty rectangle gives an image of the rectangle's
//    size filled with kCanvasBackground (or a null image for an empty
//    rectangle). Nothing here throws.
#pragma once

#include <QImage>
#include <QRect>

#include "document/bit_region.h"
#include "document/bits.h"
#include "document/document.h"

namespace kelvane {

// Canvas pixels not covered by the picture (only seen in a stretch that
// reaches past the buffer).
inline constexpr QRgb kCanvasBackground = 0xFF808080;

// The canvas rectangle `area` of a stretch of `bits` (the picture is
// bits.Width() x bits.Height()) with the rectangles `rects`. The image has
// the size of `area`; its pixel (0, 0) is canvas pixel area.topLeft().
QImage RenderCanvasArea(const Bits& bits, const StretchRects& rects, const QRect& area);

// Fills the outline of `region`'s scaled selection, moved by (dx, dy), into
// `image`, which shows the canvas rectangle starting at `origin`.
void DrawSelectionOutline(const cBitRegion& region, int dx, int dy, QImage& image, const QPoint& origin);

// Both together for a document: the picture at its zoom and scroll, and the
// outline when `withOutline` is set and the selection is not empty.
QImage RenderDocumentArea(const Document& doc, const QRect& area, bool withOutline);

}  // namespace kelvane
