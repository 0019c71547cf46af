#include "imagefiles/format_bridge.h"

#include <dlfcn.h>

#include <FreeImage.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "base/numeric.h"

namespace kelvane {

namespace {

std::mutex& SinkMutex() {
  static std::mutex m;
  return m;
}
std::string& Sink() {
  static std::string text;
  return text;
}

// The error number a message ending in "code " carries.
std::string Code(int number) { return std::to_string(number); }

void OnFreeImageMessage(FREE_IMAGE_FORMAT /*fif*/, const char* message) {
  if (message) SetLastFormatError(message);
}

// A FreeImage image that is a plain bitmap of the given depth, or a converted
// copy that the holder unloads.
class ConvertedImage {
 public:
  ConvertedImage(FIBITMAP* dib, unsigned bpp) {
    if (FreeImage_GetImageType(dib) == FIT_BITMAP && FreeImage_GetBPP(dib) == bpp) {
      image_ = dib;
      return;
    }
    owned_ = ConvertToStandardBitmap(dib, bpp);
    image_ = owned_;
  }
  ~ConvertedImage() {
    if (owned_) FreeImage_Unload(owned_);
  }
  ConvertedImage(const ConvertedImage&) = delete;
  ConvertedImage& operator=(const ConvertedImage&) = delete;
  FIBITMAP* get() const { return image_; }

 private:
  FIBITMAP* image_ = nullptr;
  FIBITMAP* owned_ = nullptr;
};

FIBITMAP* ConvertBitmap(FIBITMAP* dib, unsigned bpp) {
  return bpp == 32 ? FreeImage_ConvertTo32Bits(dib) : FreeImage_ConvertTo24Bits(dib);
}

// Floating samples run from 0 to 1: clamped, scaled to 0..255 and rounded
// (ties to even). FreeImage has no such conversion to 8-bit samples.
FIBITMAP* FloatingTo32Bits(FIBITMAP* dib) {
  FIBITMAP* rgbaf = FreeImage_ConvertToRGBAF(dib);
  if (!rgbaf) return nullptr;
  const unsigned w = FreeImage_GetWidth(rgbaf);
  const unsigned h = FreeImage_GetHeight(rgbaf);
  FIBITMAP* out = FreeImage_Allocate(static_cast<int>(w), static_cast<int>(h), 32, FI_RGBA_RED_MASK,
                                     FI_RGBA_GREEN_MASK, FI_RGBA_BLUE_MASK);
  if (out) {
    auto to_byte = [](float v) {
      const double c = std::clamp(static_cast<double>(v), 0.0, 1.0);  // NaN stays NaN
      return static_cast<uint8_t>(c >= 0.0 && c <= 1.0 ? Round(c * 255.0) : 0);
    };
    for (unsigned row = 0; row < h; ++row) {
      const auto* s = reinterpret_cast<const FIRGBAF*>(FreeImage_GetScanLine(rgbaf, static_cast<int>(row)));
      uint8_t* d = FreeImage_GetScanLine(out, static_cast<int>(row));
      for (unsigned x = 0; x < w; ++x, d += 4) {
        d[FI_RGBA_RED] = to_byte(s[x].red);
        d[FI_RGBA_GREEN] = to_byte(s[x].green);
        d[FI_RGBA_BLUE] = to_byte(s[x].blue);
        d[FI_RGBA_ALPHA] = to_byte(s[x].alpha);
      }
    }
  }
  FreeImage_Unload(rgbaf);
  return out;
}

}  // namespace

ImageHolder::~ImageHolder() {
  if (dib) FreeImage_Unload(dib);
}

void ImageHolder::Replace(FIBITMAP* d) {
  if (dib) FreeImage_Unload(dib);
  dib = d;
}

FIBITMAP* ConvertToStandardBitmap(FIBITMAP* dib, unsigned bpp) {
  if (!dib || (bpp != 24 && bpp != 32) || !FreeImage_HasPixels(dib)) return nullptr;
  const FREE_IMAGE_TYPE type = FreeImage_GetImageType(dib);
  if (type == FIT_UINT16) {
    // 16-bit grey keeps its high byte, as FreeImage narrows 16-bit colour
    // samples; a linear stretch would change the picture's contrast.
    FIBITMAP* grey = FreeImage_ConvertTo8Bits(dib);
    if (!grey) return nullptr;
    FIBITMAP* out = ConvertBitmap(grey, bpp);
    FreeImage_Unload(grey);
    return out;
  }
  if (FIBITMAP* out = ConvertBitmap(dib, bpp)) return out;
  if (type == FIT_BITMAP) return nullptr;
  if (type == FIT_FLOAT || type == FIT_RGBF || type == FIT_RGBAF) {
    FIBITMAP* bits32 = FloatingTo32Bits(dib);
    if (!bits32 || bpp == 32) return bits32;
    FIBITMAP* out = FreeImage_ConvertTo24Bits(bits32);
    FreeImage_Unload(bits32);
    return out;
  }
  // Other numeric types have no natural range: scaled linearly to 0..255.
  FIBITMAP* standard = FreeImage_ConvertToStandardType(dib, TRUE);
  if (!standard) return nullptr;
  FIBITMAP* out = ConvertBitmap(standard, bpp);
  FreeImage_Unload(standard);
  return out;
}

// ---------------------------------------------------------------------------
// Error sink

std::string LastFormatError() {
  std::lock_guard<std::mutex> lock(SinkMutex());
  return Sink();
}

void SetLastFormatError(std::string_view message, bool keep_first) {
  std::lock_guard<std::mutex> lock(SinkMutex());
  if (keep_first && !Sink().empty()) return;
  Sink().assign(message);
}

void ClearLastFormatError() {
  std::lock_guard<std::mutex> lock(SinkMutex());
  Sink().clear();
}

// FreeImage reads TIFF files and EXIF blocks through the system's libtiff,
// whose default handlers print to standard error. Our diagnostics go to the
// error sink only, so the handlers are switched off where libtiff is loaded.
// It is looked up at run time because we do not link it ourselves.
static void SilenceTiffHandlers() {
  using SetHandler = void* (*)(void*);
  for (const char* name : {"TIFFSetErrorHandler", "TIFFSetWarningHandler"}) {
    if (auto set = reinterpret_cast<SetHandler>(dlsym(RTLD_DEFAULT, name))) set(nullptr);
  }
}

void FreeImageStart() {
  static std::once_flag once;
  std::call_once(once, [] {
    FreeImage_Initialise(FALSE);
    SilenceTiffHandlers();
  });
  FreeImage_SetOutputMessage(OnFreeImageMessage);
}

// ---------------------------------------------------------------------------
// Conversions

int16_t FreeImage_BMP_From_DIB(FIBITMAP* dib, std::unique_ptr<cAlphaDibSection>& bitmap) {
  static constexpr const char* kName = "[FreeImage_BMP_From_DIB] ";
  bitmap.reset();
  if (!dib) {
    SetLastFormatError(std::string(kName) + "No DIB specified to convert");
    return kFormatFalse;
  }
  if (!FreeImage_GetInfoHeader(dib)) {
    SetLastFormatError(std::string(kName) + "FreeImage_GetInfoHeader failed to get the DIB header");
    return kFormatFalse;
  }
  if (!FreeImage_GetInfo(dib)) {
    SetLastFormatError(std::string(kName) + "FreeImage_GetInfo failed to get the DIB info");
    return kFormatFalse;
  }
  if (!FreeImage_HasPixels(dib) || !FreeImage_GetBits(dib)) {
    SetLastFormatError(std::string(kName) + "FreeImage_GetBits failed to get the DIB's bits");
    return kFormatFalse;
  }

  const std::string create_failed =
      std::string(kName) + "CreateDIBitmap failed to create the BITMAP from the DIB reporting error code ";
  errno = 0;
  ConvertedImage source(dib, 32);
  if (!source.get()) {
    SetLastFormatError(create_failed + Code(errno));
    return kFormatFalse;
  }
  const int w = static_cast<int>(FreeImage_GetWidth(source.get()));
  const int h = static_cast<int>(FreeImage_GetHeight(source.get()));
  auto picture = std::make_unique<cAlphaDibSection>();
  errno = 0;
  if (!picture->Create(w, h)) {
    SetLastFormatError(create_failed + Code(errno));
    return kFormatFalse;
  }
  for (int row = 0; row < h; ++row)
    std::memcpy(picture->ScanLine(row), FreeImage_GetScanLine(source.get(), row), static_cast<size_t>(w) * 4);
  bitmap = std::move(picture);
  return kFormatTrue;
}

int16_t FreeImage_DIB_From_BMP(const cDIBSection* bitmap, FIBITMAP*& dib) {
  static constexpr const char* kName = "[FreeImage_DIB_From_BMP] ";
  if (dib) {
    FreeImage_Unload(dib);
    dib = nullptr;
  }
  if (!bitmap) {
    SetLastFormatError(std::string(kName) + "No bitmap specified to convert");
    return kFormatFalse;
  }
  if (bitmap->IsEmpty()) {
    SetLastFormatError(std::string(kName) + "GetObjectAPI failed with error code " + Code(0));
    return kFormatFalse;
  }
  const int w = bitmap->Width();
  const int h = bitmap->Height();
  FIBITMAP* image = FreeImage_Allocate(w, h, 32, 0, 0, 0);
  if (!image) {
    SetLastFormatError(std::string(kName) + "FreeImage_Allocate failed to create a DIB to work with");
    return kFormatFalse;
  }
  if (!FreeImage_GetInfo(image)) {
    FreeImage_Unload(image);
    SetLastFormatError(std::string(kName) + "FreeImage_GetInfo failed to get the DIB info");
    return kFormatFalse;
  }
  if (!FreeImage_GetBits(image)) {
    FreeImage_Unload(image);
    SetLastFormatError(std::string(kName) + "FreeImage_GetBits failed to get the DIB bits");
    return kFormatFalse;
  }
  const int bpp = bitmap->BytesPerPixel();
  for (int row = 0; row < h; ++row) {
    const uint8_t* s = bitmap->ScanLine(row);
    uint8_t* d = FreeImage_GetScanLine(image, row);
    if (bpp == 4) {
      std::memcpy(d, s, static_cast<size_t>(w) * 4);
    } else {
      for (int x = 0; x < w; ++x, s += 3, d += 4) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
        d[3] = 0;
      }
    }
  }
  dib = image;
  return kFormatTrue;
}

// ---------------------------------------------------------------------------
// Drawing

int16_t FreeImage_RenderDIB(FIBITMAP* dib, cDIBSection* target, int x, int y, int width, int height) {
  static constexpr const char* kName = "[FreeImage_RenderDIB] ";
  if (!dib) {
    SetLastFormatError(std::string(kName) + "No DIB specified to render");
    return kFormatFalse;
  }
  if (!target || target->IsEmpty()) {
    SetLastFormatError(std::string(kName) + "DC specified was invalid");
    return kFormatFalse;
  }
  if (width < 1) width = static_cast<int>(FreeImage_GetWidth(dib));
  if (width < 1) {
    SetLastFormatError(std::string(kName) + "Could not get the bitmap's width");
    return kFormatFalse;
  }
  if (height < 1) height = static_cast<int>(FreeImage_GetHeight(dib));
  if (height < 1) {
    SetLastFormatError(std::string(kName) + "Could not get the bitmap's height");
    return kFormatFalse;
  }
  if (!FreeImage_HasPixels(dib) || !FreeImage_GetBits(dib)) {
    SetLastFormatError(std::string(kName) + "Could not get the DIB's bits");
    return kFormatFalse;
  }
  if (!FreeImage_GetInfo(dib)) {
    SetLastFormatError(std::string(kName) + "Could not get the DIB's information");
    return kFormatFalse;
  }

  const bool with_alpha = FreeImage_GetImageType(dib) == FIT_BITMAP && FreeImage_GetBPP(dib) == 32;
  errno = 0;
  ConvertedImage source(dib, with_alpha ? 32 : 24);
  if (!source.get()) {
    SetLastFormatError(std::string(kName) +
                       "SetDIBitsToDevice failed to render the DIB to the specified DC with error code " +
                       Code(errno));
    return kFormatFalse;
  }
  const int sbpp = with_alpha ? 4 : 3;
  const int dbpp = target->BytesPerPixel();
  const int image_w = static_cast<int>(FreeImage_GetWidth(source.get()));
  const int image_h = static_cast<int>(FreeImage_GetHeight(source.get()));

  // Target row y + k shows image memory row height - 1 - k (the source
  // rectangle starts at the image's lower-left corner).
  const int x0 = std::max(0, -x);
  const int x1 = std::min({width, image_w, target->Width() - x});
  for (int k = 0; k < height; ++k) {
    const int image_row = height - 1 - k;
    const int target_row = y + k;
    if (image_row >= image_h || target_row < 0 || target_row >= target->Height()) continue;
    if (x1 <= x0) break;
    const uint8_t* s = FreeImage_GetScanLine(source.get(), image_row) + static_cast<size_t>(x0) * sbpp;
    uint8_t* d = target->RowFromTop(target_row) + static_cast<size_t>(x + x0) * dbpp;
    for (int i = x0; i < x1; ++i, s += sbpp, d += dbpp) {
      d[0] = s[0];
      d[1] = s[1];
      d[2] = s[2];
      if (dbpp == 4) d[3] = sbpp == 4 ? s[3] : 0;
    }
  }
  return kFormatTrue;
}

int16_t FreeImage_RenderBitmap(const cDIBSection* bitmap, cDIBSection* target, int x, int y, int width,
                               int height, bool /*stretch*/) {
  static constexpr const char* kName = "[FreeImage_RenderBitmap] ";
  if (!bitmap) {
    SetLastFormatError(std::string(kName) + "No bitmap specified to render");
    return kFormatFalse;
  }
  if (bitmap->IsEmpty()) {
    SetLastFormatError(std::string(kName) + "Handle specified is not a valid BITMAP");
    return kFormatFalse;
  }
  if (!target || target->IsEmpty()) {
    SetLastFormatError(std::string(kName) + "DC specified is not valid");
    return kFormatFalse;
  }
  if (width < 1) width = bitmap->Width();
  if (width < 1) {
    SetLastFormatError(std::string(kName) + "Could not get bitmap's width");
    return kFormatFalse;
  }
  if (height < 1) height = bitmap->Height();
  if (height < 1) {
    SetLastFormatError(std::string(kName) + "Could not get bitmap's height");
    return kFormatFalse;
  }
  bitmap->PaintPicture(*target, x, y, width, height, 0, 0);
  return kFormatTrue;
}

// ---------------------------------------------------------------------------
// Properties

namespace {
bool CheckBitmap(const cDIBSection* bitmap, const char* name, const char* invalid_text) {
  if (!bitmap) {
    SetLastFormatError(std::string(name) + "No bitmap specified to get the info for");
    return false;
  }
  if (bitmap->IsEmpty()) {
    SetLastFormatError(std::string(name) + invalid_text);
    return false;
  }
  return true;
}
}  // namespace

int32_t FreeImage_GetBitmapWidth(const cDIBSection* bitmap) {
  if (!CheckBitmap(bitmap, "[FreeImage_GetBitmapWidth] ", "Handle specified is not a valid BITMAP")) return 0;
  return bitmap->Width();
}

int32_t FreeImage_GetBitmapHeight(const cDIBSection* bitmap) {
  if (!CheckBitmap(bitmap, "[FreeImage_GetBitmapHeight] ", "Handle specified is not a valid BITMAP")) return 0;
  return bitmap->Height();
}

int16_t FreeImage_GetBitmapInfo(const cDIBSection* bitmap, BitmapProperties& info) {
  info = BitmapProperties{};
  if (!CheckBitmap(bitmap, "[FreeImage_GetBitmapInfo] ", "Handle specified is not a valid bitmap")) return kFormatFalse;
  info.bmWidth = bitmap->Width();
  info.bmHeight = bitmap->Height();
  info.bmWidthBytes = bitmap->BytesPerScanLine();
  info.bmPlanes = 1;
  info.bmBitsPixel = static_cast<int16_t>(bitmap->BitCount());
  return kFormatTrue;
}

int16_t SetDibHeader(BitmapHeader& header, std::vector<uint8_t>& target, int width, int height) {
  header = BitmapHeader{};
  header.biSize = 40;
  header.biWidth = width;
  header.biHeight = -height;
  header.biPlanes = 1;
  header.biBitCount = 32;
  target.clear();
  if (width < 1 || height < 1) return kFormatFalse;
  target.assign(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 0);
  return kFormatTrue;
}

std::vector<uint8_t> GetBitmapBits(const cDIBSection* picture, int width, int height) {
  if (!picture) return {};
  return picture->ReadTopDown32(width, height);
}

}  // namespace kelvane
