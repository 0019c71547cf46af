// cPCX: the program's own PCX encoder (version 5, 8 bits, three colour planes).
//
// Contract:
//  - The input is a picture section (cDIBSection or cAlphaDibSection): the
//    same kind of picture the batch converter renders its decoded images into.
//    Only blue, green and red are written; a 32-bit picture's alpha byte is
//    dropped, as when the picture is copied into a 24-bit section.
//  - The file is a 128-byte little-endian header followed by the picture data:
//      0: 10   1: 5   2: 1 compressed / 0 not   3: 8 bits per plane pixel
//      4: 1 (smallest x)   6: 1 (smallest y)   8: Width   10: Height
//      12: 96   14: 96   64: 0   65: 3 planes   66: BytesPerLine   68: 0
//    every other header byte 0. Coordinates start at 1, so the largest x and
//    y are the width and height themselves.
//  - BytesPerLine is Width when that is even, Width + 1 when it is odd. Each
//    of the Height lines holds BytesPerLine bytes of red, then of green, then
//    of blue, rows from the top; the filler byte of an odd width is 0.
//  - Compressed: one run-length stream over the whole data. A run of 2 to 63
//    equal bytes becomes (0xC0 + length, byte); a single byte below 0xC0 stands
//    as it is, a single byte of 0xC0 or more becomes (0xC1, byte). Runs do not
//    stop at the end of a plane line or of a line: the last red bytes of a line
//    and its first green bytes, when equal, share one run, and so do the last
//    blue bytes of a line and the first red bytes of the next.
//  - The file is written through a temporary sibling and renamed, so a failed
//    save leaves no partial file and an existing file untouched.
//  - An empty picture, or one whose BytesPerLine or Height does not fit the
//    header's 16-bit fields (above 65535), is refused: false, nothing written.
//    Nothing throws.
#pragma once

#include <cstdint>
#include <filesystem>

#include "base/byte_io.h"
#include "document/dib_section.h"

namespace kelvane {

class cPCX {
 public:
  // Writes the picture to `path`. True when the whole file was written.
  bool SavePCXinFile(const cDIBSection& picture, const std::filesystem::path& path, bool compressed);

  // State of the last SavePCXinFile.
  int32_t Width() const { return width_; }
  int32_t Height() const { return height_; }
  int32_t BytesPerLine() const { return bytes_per_line_; }
  int16_t Compressed() const { return compressed_; }  // -1 true, 0 false

 private:
  // The steps of SavePCXinFile, in their order.
  bool ReadPixels(const cDIBSection& picture);
  void ArrangePlanes();
  void WriteHeader();
  void EncodeRuns();
  bool WriteFile(const std::filesystem::path& path);

  int32_t width_ = 0;
  int32_t height_ = 0;
  int32_t bytes_per_line_ = 0;
  int16_t compressed_ = 0;

  cDIBSection pixels_;  // the 24-bit copy of the picture
  ByteVector planes_;   // Height lines of red, green, blue plane lines
  ByteVector file_;     // header, then the (coded) planes
};

}  // namespace kelvane
