// Picture files for the command-line front end: decode any file FreeImage
// reads into a Bits array, and encode a Bits array by the target's extension.
//
// Contract:
//  - LoadPictureFile finds the file type from the file's contents, falling
//    back to its name, decodes the first image and flattens it to 24 bits
//    (FreeImage's own conversion: palettes are expanded, an alpha channel is
//    dropped without compositing, 16-bit samples are scaled). Samples are
//    taken as stored: a PNG's gAMA chunk is not applied. The result is a Bits
//    array of the picture's size, rows top-down, channel 3 zero, frame zero.
//  - SavePictureFile writes channels 0..2 of the picture (channel 3 and the
//    frame are ignored) as a 24-bit file whose type comes from the extension,
//    case-insensitive: png, bmp, tga, ppm (all lossless) and jpg/jpeg
//    (quality 90). TIFF is not offered: the system's TIFF writer prints
//    warnings of its own on standard error. The bytes go to a temporary sibling that is
//    renamed over the target, so a failed save leaves no partial file and an
//    existing file untouched.
//  - ProbePictureFile reports the size and the file's own bits per pixel as
//    FreeImage gives them (before any flattening).
//  - All three return false with one line of text in `error` (the path
//    quoted, then the reason) and never throw.
#pragma once

#include <filesystem>
#include <string>

#include "document/bits.h"

namespace kelvane {

bool LoadPictureFile(const std::filesystem::path& path, Bits& out, std::string& error);
bool SavePictureFile(const std::filesystem::path& path, const Bits& picture, std::string& error);
bool ProbePictureFile(const std::filesystem::path& path, int& width, int& height, int& bpp, std::string& error);

}  // namespace kelvane
