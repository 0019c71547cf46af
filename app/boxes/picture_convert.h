// Small bridges between the engine's pictures and colours and Qt's, shared
// by the tool strip and the side boxes.
//
// Contract:
//  - ImageFromBits gives an RGB32 image of the picture (W x H, the frame
//    left out; blue, green, red from channels 0, 1, 2; the spare byte is not
//    shown). A null Bits gives a null image.
//  - BitsFromImage is the way back: the picture's pixels in channels 0..2,
//    channel 3 and the frame zero. Alpha is dropped over white, so a drawn
//    picture with a transparent background reads as white paper.
//  - ScaledThumbnail fits a picture into a box keeping its proportions
//    (never enlarging), nearest-neighbour or smooth as asked; it reads the
//    picture rows straight, without a full-size copy.
//  - Colours are the engine's 0x00BBGGRR (red in the low byte); -1 (no
//    colour) maps to an invalid QColor and back.
#pragma once

#include <QColor>
#include <QImage>
#include <QSize>
#include <cstdint>

#include "document/bits.h"

namespace kelvane {

QImage ImageFromBits(const Bits& bits);
Bits BitsFromImage(const QImage& image);
// The picture fitted into `box` (aspect kept, at least 1 x 1, never larger
// than the picture).
QImage ScaledThumbnail(const Bits& bits, QSize box, bool smooth);
// FitSize on Qt sizes, at least 1 x 1.
QSize FitInto(QSize picture, QSize box);

QColor ToQColor(int32_t colour);
int32_t FromQColor(const QColor& colour);

}  // namespace kelvane
