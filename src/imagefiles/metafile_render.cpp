#include "imagefiles/metafile_render.h"

// Ahead of libwmf, whose headers define U8, U16 and U32 as macros.
#include "base/byte_io.h"
#include "base/numeric.h"

#include <FreeImage.h>
#include <cairo.h>
#include <emf2svg.h>
#include <libwmf/api.h>
#include <libwmf/gd.h>
#include <librsvg/rsvg.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

namespace kelvane {
namespace {

// A picture loader shows a metafile at its physical size on a 96 dpi screen.
constexpr double kScreenDpi = 96.0;
constexpr double kHimetricPerInch = 2540.0;
// Sizes travel as signed 16-bit numbers further on.
constexpr int32_t kMaxSide = std::numeric_limits<int16_t>::max();

constexpr uint32_t kPlaceableKey = 0x9AC6CDD7u;
constexpr size_t kPlaceableHeaderBytes = 22;
constexpr size_t kWmfHeaderBytes = 18;

constexpr uint32_t kEmrHeader = 1;
constexpr uint32_t kEmfSignature = 0x464D4520u;  // " EMF"
constexpr size_t kEmfHeaderBytes = 88;
constexpr size_t kEmfHeaderWithMicrometresBytes = 108;

uint16_t U16At(const ByteVector& b, size_t at) { return static_cast<uint16_t>(b[at] | (b[at + 1] << 8)); }
int16_t I16At(const ByteVector& b, size_t at) { return static_cast<int16_t>(U16At(b, at)); }
uint32_t U32At(const ByteVector& b, size_t at) {
  return static_cast<uint32_t>(b[at]) | (static_cast<uint32_t>(b[at + 1]) << 8) |
         (static_cast<uint32_t>(b[at + 2]) << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}
int32_t I32At(const ByteVector& b, size_t at) { return static_cast<int32_t>(U32At(b, at)); }

struct PixelSize {
  int32_t width = 0;
  int32_t height = 0;
};

// A physical length in inches to whole screen pixels, never below one pixel.
std::optional<int32_t> ScreenPixels(double inches) {
  if (!(inches > 0.0)) return std::nullopt;
  const double pixels = RoundHalfEven(inches * kScreenDpi);
  if (pixels > kMaxSide) return std::nullopt;
  return pixels < 1.0 ? 1 : static_cast<int32_t>(pixels);
}

// A white 24-bit picture; the renderers draw over it.
FIBITMAP* AllocateWhite(PixelSize size) {
  FIBITMAP* dib = FreeImage_Allocate(size.width, size.height, 24, FI_RGBA_RED_MASK, FI_RGBA_GREEN_MASK,
                                     FI_RGBA_BLUE_MASK);
  if (!dib) return nullptr;
  for (int32_t y = 0; y < size.height; ++y) std::memset(FreeImage_GetScanLine(dib, y), 0xFF, size.width * 3);
  return dib;
}

// FreeImage keeps rows bottom-up.
uint8_t* TopDownRow(FIBITMAP* dib, int32_t height, int32_t y) { return FreeImage_GetScanLine(dib, height - 1 - y); }

// ---------------------------------------------------------------- WMF ----

// Placeable metafiles carry a bounding box in their own units and the number
// of those units per inch; the picture's size follows from the two. A
// metafile without that header has no size of its own and is not a picture.
std::optional<PixelSize> PlaceableWmfSize(const ByteVector& file) {
  if (file.size() < kPlaceableHeaderBytes + kWmfHeaderBytes) return std::nullopt;
  if (U32At(file, 0) != kPlaceableKey) return std::nullopt;
  const int32_t left = I16At(file, 6);
  const int32_t top = I16At(file, 8);
  const int32_t right = I16At(file, 10);
  const int32_t bottom = I16At(file, 12);
  const uint16_t units_per_inch = U16At(file, 14);
  if (units_per_inch == 0) return std::nullopt;
  const auto width = ScreenPixels(std::abs(right - left) / static_cast<double>(units_per_inch));
  const auto height = ScreenPixels(std::abs(bottom - top) / static_cast<double>(units_per_inch));
  if (!width || !height) return std::nullopt;
  return PixelSize{*width, *height};
}

class WmfPlayer {
 public:
  WmfPlayer() = default;
  WmfPlayer(const WmfPlayer&) = delete;
  WmfPlayer& operator=(const WmfPlayer&) = delete;
  ~WmfPlayer() {
    if (api_) wmf_api_destroy(api_);
  }
  bool Create() {
    wmfAPI_Options options{};
    options.function = wmf_gd_function;
    const unsigned long flags = WMF_OPT_FUNCTION | WMF_OPT_IGNORE_NONFATAL;
    return wmf_api_create(&api_, flags, &options) == wmf_E_None && api_;
  }
  wmfAPI* api() const { return api_; }

 private:
  wmfAPI* api_ = nullptr;
};

// gd keeps a 7-bit transparency in the top byte (0 opaque, 127 clear); what
// is not fully opaque is laid over the white page.
uint8_t OverWhite(int channel, int transparency) {
  return static_cast<uint8_t>(Round((channel * (127 - transparency) + 255 * transparency) / 127.0));
}

FIBITMAP* RenderWmf(ByteVector& file) {
  const auto size = PlaceableWmfSize(file);
  if (!size) return nullptr;

  WmfPlayer player;
  if (!player.Create()) return nullptr;
  wmfAPI* api = player.api();
  if (wmf_mem_open(api, file.data(), static_cast<long>(file.size())) != wmf_E_None) return nullptr;

  // The drawing's own extent is stretched over the picture.
  wmfD_Rect bbox{};
  if (wmf_scan(api, 0, &bbox) != wmf_E_None) return nullptr;
  if (!(bbox.BR.x > bbox.TL.x) || !(bbox.BR.y > bbox.TL.y)) return nullptr;

  wmf_gd_t* device = WMF_GD_GetData(api);
  if (!device) return nullptr;
  device->type = wmf_gd_image;
  device->bbox = bbox;
  device->width = static_cast<unsigned int>(size->width);
  device->height = static_cast<unsigned int>(size->height);
  // The gd image stays with the process: libwmf exports no way to free it,
  // and the decoder process that runs this ends right after.
  if (wmf_play(api, 0, &bbox) != wmf_E_None || !device->gd_image) return nullptr;
  const int* pixels = wmf_gd_image_pixels(device->gd_image);
  if (!pixels) return nullptr;

  FIBITMAP* dib = AllocateWhite(*size);
  if (!dib) return nullptr;
  for (int32_t y = 0; y < size->height; ++y) {
    uint8_t* row = TopDownRow(dib, size->height, y);
    const int* source = pixels + static_cast<size_t>(y) * size->width;
    for (int32_t x = 0; x < size->width; ++x) {
      const uint32_t p = static_cast<uint32_t>(source[x]);
      const int transparency = static_cast<int>((p >> 24) & 0x7F);
      row[x * 3 + FI_RGBA_RED] = OverWhite((p >> 16) & 0xFF, transparency);
      row[x * 3 + FI_RGBA_GREEN] = OverWhite((p >> 8) & 0xFF, transparency);
      row[x * 3 + FI_RGBA_BLUE] = OverWhite(p & 0xFF, transparency);
    }
  }
  return dib;
}

// ---------------------------------------------------------------- EMF ----

struct EmfGeometry {
  PixelSize size;
  // The picture frame in the units of the reference device, which are the
  // units of the drawing that the converter writes.
  double frame_left = 0, frame_top = 0, frame_width = 0, frame_height = 0;
  int32_t bounds_left = 0, bounds_top = 0;
};

// The frame is in hundredths of a millimetre, both edges inside; the
// reference device's size in pixels and in millimetres (or micrometres, when
// the header is long enough to hold them) gives its resolution.
std::optional<EmfGeometry> EmfHeaderGeometry(const ByteVector& file) {
  if (file.size() < kEmfHeaderBytes) return std::nullopt;
  if (U32At(file, 0) != kEmrHeader || U32At(file, 40) != kEmfSignature) return std::nullopt;
  const uint32_t header_bytes = U32At(file, 4);
  const uint32_t file_bytes = U32At(file, 48);
  if (header_bytes < kEmfHeaderBytes || header_bytes > file.size()) return std::nullopt;
  if (file_bytes < header_bytes || file_bytes > file.size()) return std::nullopt;  // cut short

  const double frame_left = I32At(file, 24), frame_top = I32At(file, 28);
  const double frame_width = static_cast<double>(I32At(file, 32)) - frame_left + 1.0;
  const double frame_height = static_cast<double>(I32At(file, 36)) - frame_top + 1.0;
  const auto width = ScreenPixels(frame_width / kHimetricPerInch);
  const auto height = ScreenPixels(frame_height / kHimetricPerInch);
  if (!width || !height) return std::nullopt;

  const double device_x = I32At(file, 72), device_y = I32At(file, 76);
  double micrometres_x = 1000.0 * I32At(file, 80), micrometres_y = 1000.0 * I32At(file, 84);
  if (header_bytes >= kEmfHeaderWithMicrometresBytes && I32At(file, 100) > 0 && I32At(file, 104) > 0) {
    micrometres_x = I32At(file, 100);
    micrometres_y = I32At(file, 104);
  }
  if (!(device_x > 0) || !(device_y > 0) || !(micrometres_x > 0) || !(micrometres_y > 0)) return std::nullopt;
  const double per_himetric_x = device_x * 10.0 / micrometres_x;
  const double per_himetric_y = device_y * 10.0 / micrometres_y;

  EmfGeometry g;
  g.size = {*width, *height};
  g.frame_left = frame_left * per_himetric_x;
  g.frame_top = frame_top * per_himetric_y;
  g.frame_width = frame_width * per_himetric_x;
  g.frame_height = frame_height * per_himetric_y;
  g.bounds_left = I32At(file, 8);
  g.bounds_top = I32At(file, 12);
  return g;
}

struct GObjectDeleter {
  void operator()(gpointer p) const { g_object_unref(p); }
};

FIBITMAP* RenderEmf(ByteVector& file) {
  const auto geometry = EmfHeaderGeometry(file);
  if (!geometry) return nullptr;
  const PixelSize size = geometry->size;

  // Only the plain records play, as on a screen device; the EMF+ copy that
  // dual files carry in comments is left alone.
  char no_prefix[] = "";
  generatorOptions options{};
  options.nameSpace = no_prefix;
  options.verbose = false;
  options.emfplus = false;
  options.svgDelimiter = true;
  options.imgWidth = 0;
  options.imgHeight = 0;
  char* svg = nullptr;
  size_t svg_length = 0;
  const int converted =
      emf2svg(reinterpret_cast<char*>(file.data()), file.size(), &svg, &svg_length, &options);
  std::unique_ptr<char, decltype(&std::free)> svg_owner(svg, &std::free);
  if (converted != 1 || !svg || svg_length == 0) return nullptr;

  GError* error = nullptr;
  std::unique_ptr<RsvgHandle, GObjectDeleter> handle(
      rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg), svg_length, &error));
  if (!handle) {
    if (error) g_error_free(error);
    return nullptr;
  }

  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, size.width, size.height);
  std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface_owner(surface, &cairo_surface_destroy);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) return nullptr;
  cairo_t* cr = cairo_create(surface);
  std::unique_ptr<cairo_t, decltype(&cairo_destroy)> cr_owner(cr, &cairo_destroy);
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) return nullptr;
  cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
  cairo_paint(cr);

  // The converter's drawing starts at the bounds' corner, in reference
  // device units; the picture frame is what fills the picture.
  gdouble drawing_width = 0, drawing_height = 0;
  if (rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &drawing_width, &drawing_height) &&
      drawing_width > 0 && drawing_height > 0) {
    cairo_scale(cr, size.width / geometry->frame_width, size.height / geometry->frame_height);
    cairo_translate(cr, geometry->bounds_left - geometry->frame_left, geometry->bounds_top - geometry->frame_top);
    const RsvgRectangle viewport{0.0, 0.0, drawing_width, drawing_height};
    if (!rsvg_handle_render_document(handle.get(), cr, &viewport, &error)) {
      if (error) g_error_free(error);
      return nullptr;
    }
  }
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) return nullptr;
  cairo_surface_flush(surface);

  const unsigned char* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  if (!data) return nullptr;
  FIBITMAP* dib = AllocateWhite(size);
  if (!dib) return nullptr;
  for (int32_t y = 0; y < size.height; ++y) {
    uint8_t* row = TopDownRow(dib, size.height, y);
    const unsigned char* source = data + static_cast<size_t>(y) * stride;
    for (int32_t x = 0; x < size.width; ++x) {
      uint32_t p;
      std::memcpy(&p, source + x * 4, 4);
      row[x * 3 + FI_RGBA_RED] = static_cast<uint8_t>((p >> 16) & 0xFF);
      row[x * 3 + FI_RGBA_GREEN] = static_cast<uint8_t>((p >> 8) & 0xFF);
      row[x * 3 + FI_RGBA_BLUE] = static_cast<uint8_t>(p & 0xFF);
    }
  }
  return dib;
}

}  // namespace

bool MetafileRenderingAvailable() { return true; }

FIBITMAP* RenderMetafile(const std::filesystem::path& path, bool enhanced) {
  ByteVector file;
  if (!ReadWholeFile(path, file)) return nullptr;
  return enhanced ? RenderEmf(file) : RenderWmf(file);
}

}  // namespace kelvane
