// mFormat: the bridge between FreeImage images and our pictures
// (cDIBSection / cAlphaDibSection stand where the platform had bitmaps and
// device contexts).
//
// Contract:
//  - Every routine that answers yes or no returns a 16-bit Boolean: -1 for
//    success, 0 for failure. None throws. On failure the out-argument is left
//    empty (null), and a bracketed message naming the routine goes to the
//    shared error sink LastFormatError.
//  - The sink keeps the first message of a chain of failures: a new message
//    leaves a non-empty sink alone. ClearLastFormatError empties it. Nothing
//    decides anything by reading it; it is for diagnostics.
//  - Messages that end in "code " carry an error number: errno when the
//    system set one, otherwise 0 (there is no platform call whose last error
//    could be read).
//  - These names are ours; none of them is part of FreeImage's C interface.
//  - FreeImage rows are bottom-up, like our pictures; copies keep the row
//    order and never touch row padding.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "document/bits.h"
#include "document/dib_section.h"

struct FIBITMAP;

namespace kelvane {

constexpr int16_t kFormatTrue = -1;
constexpr int16_t kFormatFalse = 0;

// The error sink. SetLastFormatError with keep_first (all routines here pass
// it) writes only into an empty sink.
std::string LastFormatError();
void SetLastFormatError(std::string_view message, bool keep_first = true);
void ClearLastFormatError();

// Initialises FreeImage once for the process and routes the library's own
// messages into the error sink (keep-first, text as the library gives it).
void FreeImageStart();

// A new 24- or 32-bit (bpp) plain bitmap made from any FreeImage image, which
// the caller unloads; null when the image has no pixels or cannot be
// converted. Palettes are expanded and 16-bit samples keep their high byte
// (16-bit grey included); floating samples are clamped to 0..1, scaled to
// 0..255 and rounded (ties to even); other numeric types are scaled linearly from their minimum and
// maximum. A 32-bit result carries the image's alpha or transparency, 255
// where it has none.
FIBITMAP* ConvertToStandardBitmap(FIBITMAP* dib, unsigned bpp);

// Owns one FreeImage bitmap and unloads it when it goes.
struct ImageHolder {
  FIBITMAP* dib = nullptr;
  explicit ImageHolder(FIBITMAP* d = nullptr) : dib(d) {}
  ~ImageHolder();
  ImageHolder(const ImageHolder&) = delete;
  ImageHolder& operator=(const ImageHolder&) = delete;
  // Unloads the bitmap held and takes `d` in its place.
  void Replace(FIBITMAP* d);
};

// Makes a 32-bit picture from any FreeImage image. A bitmap already held in
// `bitmap` is released first. Images of other depths or types are converted
// by ConvertToStandardBitmap (an opaque source gets alpha 255); a 32-bit image
// keeps its fourth byte.
int16_t FreeImage_BMP_From_DIB(FIBITMAP* dib, std::unique_ptr<cAlphaDibSection>& bitmap);

// Makes a 32-bit FreeImage image from a picture of either depth. An image
// already held in `dib` is unloaded first. From a 24-bit picture the fourth
// byte is 0. The caller owns the result (FreeImage_Unload).
int16_t FreeImage_DIB_From_BMP(const cDIBSection* bitmap, FIBITMAP*& dib);

// Draws the image 1:1 into the target at (x, y). A width or height below 1
// means the image's own. The source origin is the image's lower-left corner,
// as for a bottom-up device-independent bitmap: a smaller size shows the
// bottom-left part of the image. Clipped to image and target. A 32-bit image
// brings its fourth byte into a 32-bit target; any other depth is drawn as 24
// bits and writes 0 there.
int16_t FreeImage_RenderDIB(FIBITMAP* dib, cDIBSection* target, int x, int y, int width, int height);

// Copies the picture's top-left width x height (below 1: its own) to (x, y) of
// the target. `stretch` is accepted and ignored: the copy is always 1:1.
int16_t FreeImage_RenderBitmap(const cDIBSection* bitmap, cDIBSection* target, int x, int y, int width,
                               int height, bool stretch);

// Size in pixels; 0 (with a message) for no picture or an empty one.
int32_t FreeImage_GetBitmapWidth(const cDIBSection* bitmap);
int32_t FreeImage_GetBitmapHeight(const cDIBSection* bitmap);

// The properties a platform bitmap reports about itself.
struct BitmapProperties {
  int32_t bmWidth = 0;
  int32_t bmHeight = 0;
  int32_t bmWidthBytes = 0;  // bytes per scan line, padding included
  int16_t bmPlanes = 0;
  int16_t bmBitsPixel = 0;
};
int16_t FreeImage_GetBitmapInfo(const cDIBSection* bitmap, BitmapProperties& info);

// Sets `header` to a 32-bit top-down header (planes 1, biWidth width, biHeight
// -height, all else 0) and sizes `target` to 4 * width * height zero bytes
// (channel 0..3 fastest, then x, then y). 0 when a size is below 1; the target
// is then empty.
int16_t SetDibHeader(BitmapHeader& header, std::vector<uint8_t>& target, int width, int height);

// The picture's pixels as blue, green, red, alpha bytes, rows from the top, in
// an array of exactly width x height pixels (see cDIBSection::ReadTopDown32).
// Empty for no picture or a size below 1.
std::vector<uint8_t> GetBitmapBits(const cDIBSection* picture, int width, int height);

}  // namespace kelvane
