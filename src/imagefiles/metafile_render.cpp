#include "imagefiles/metafile_render.h"

namespace kelvane {

bool MetafileRenderingAvailable() { return false; }

FIBITMAP* RenderMetafile(const std::filesystem::path& /*path*/, bool /*enhanced*/) { return nullptr; }

}  // namespace kelvane
