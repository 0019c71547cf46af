// Metafiles ("wmf", "emf") rendered to pixels, standing in for the platform's
// picture loader on those two types.
//
// Contract:
//  - RenderMetafile returns a FreeImage image of the drawing, or null. It runs
//    third-party code and is only called inside a decoder process.
//  - MetafileRenderingAvailable tells whether this build has a renderer; when
//    it has none, metafiles open nothing.
//  - The picture is 24 bits, white wherever the metafile draws nothing, at the
//    metafile's physical size on a 96 dpi screen, rounded to whole pixels
//    (ties to even, never below one pixel):
//      wmf (`enhanced` false): only placeable metafiles are pictures; their
//        bounding box over their units per inch gives the size, and the
//        drawing's extent is stretched over it (libwmf, gd device);
//      emf (`enhanced` true): the header's picture frame (hundredths of a
//        millimetre, both edges inside) gives the size and is what fills the
//        picture; the records go through libemf2svg and librsvg. EMF+ copies
//        in comments are not played, as on a plain screen device.
//  - Null for an unreadable file, a wrong or short header, an EMF shorter than
//    its header says, a side above 32767 pixels, or any library failure.
#pragma once

#include <filesystem>

struct FIBITMAP;

namespace kelvane {

bool MetafileRenderingAvailable();
FIBITMAP* RenderMetafile(const std::filesystem::path& path, bool enhanced);

}  // namespace kelvane
