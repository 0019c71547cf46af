// Picture files for the command-line front end. They take the editor's own
// roads: a file is opened as the open command opens it, and written as the
// document's save writes it.
//
// Contract:
//  - LoadPictureFile takes the file's extension (lower-cased) as the editor
//    does: "gif", "wmf", "emf", "dib" and "bmp" go to the platform's picture
//    loader, every other extension to LoadImageFile and its table, whose
//    decoded picture then becomes the document's (hLoadedBitmap is set, as
//    the recent-files menu sets it). The picture is flattened to 24 bits: a
//    Bits array of the picture's size, rows top-down, channel 3 zero, frame
//    zero. Palettes are expanded and an alpha channel is dropped without
//    compositing; samples are taken as stored (a PNG's gAMA is not applied).
//  - SavePictureFile writes channels 0..2 by SaveImageFile's table (any case
//    of the extension). For the formats written through DevIL ("psd", "sgi",
//    "bw", "rgb", "rgba", "raw", "pcx") the picture first becomes the
//    document's optimized copy, as every change of a document refreshes it,
//    so the file carries exactly the picture. The bytes go to a new
//    temporary sibling "<name>.<pid>-<n>.part" that is renamed over the
//    target, so a failed save leaves no partial file, an existing file
//    untouched, and no other file of the folder touched.
//  - ProbePictureFile opens the file the same way and reports its size and
//    the bits per pixel FreeImage gave for the decoded file (LoadedDepth; for
//    the platform road, the depth of the image its loader decoded).
//  - All three return false with one line of text in `error` (the path
//    quoted, then the reason) and never throw. Damaged, truncated, foreign and
//    empty files, folders, unreadable files and anything that is not a
//    regular file (a pipe, a device) are refused this way.
#pragma once

#include <filesystem>
#include <string>

#include "document/bits.h"

namespace kelvane {

bool LoadPictureFile(const std::filesystem::path& path, Bits& out, std::string& error);
bool SavePictureFile(const std::filesystem::path& path, const Bits& picture, std::string& error);
bool ProbePictureFile(const std::filesystem::path& path, int& width, int& height, int& bpp, std::string& error);

}  // namespace kelvane
