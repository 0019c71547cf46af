// Metafiles ("wmf", "emf") rendered to pixels, standing in for the platform's
// picture loader on those two types.
//
// Contract:
//  - RenderMetafile returns a FreeImage image of the drawing, or null. It runs
//    third-party code and is only called inside a decoder process.
//  - MetafileRenderingAvailable tells whether this build has a renderer; when
//    it has none, metafiles open nothing.
#pragma once

#include <filesystem>

struct FIBITMAP;

namespace kelvane {

bool MetafileRenderingAvailable();
FIBITMAP* RenderMetafile(const std::filesystem::path& path, bool enhanced);

}  // namespace kelvane
