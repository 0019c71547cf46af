#include "imagefiles/picture_io.h"

#include <FreeImage.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <new>

#include "base/byte_io.h"
#include "imagefiles/format_bridge.h"

namespace kelvane {

namespace {

std::string Quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

// Owns one FreeImage image.
struct ImageHolder {
  FIBITMAP* dib = nullptr;
  ImageHolder() = default;
  explicit ImageHolder(FIBITMAP* d) : dib(d) {}
  ~ImageHolder() {
    if (dib) FreeImage_Unload(dib);
  }
  ImageHolder(const ImageHolder&) = delete;
  ImageHolder& operator=(const ImageHolder&) = delete;
};

// Decodes the first image of the file, or explains in `error` why not.
FIBITMAP* DecodeFile(const std::filesystem::path& path, std::string& error) {
  const std::string prefix = "cannot read " + Quoted(path) + ": ";
  std::error_code ec;
  const auto status = std::filesystem::status(path, ec);
  if (ec || !std::filesystem::exists(status)) {
    error = prefix + "no such file";
    return nullptr;
  }
  if (std::filesystem::is_directory(status)) {
    error = prefix + "it is a folder, not a file";
    return nullptr;
  }
  FreeImageStart();
  const std::string name = path.string();
  FREE_IMAGE_FORMAT fif = FreeImage_GetFileType(name.c_str(), 0);
  if (fif == FIF_UNKNOWN) fif = FreeImage_GetFIFFromFilename(name.c_str());
  if (fif == FIF_UNKNOWN || !FreeImage_FIFSupportsReading(fif)) {
    error = prefix + "not a picture file FreeImage can decode";
    return nullptr;
  }
  // Scripts want the samples the file stores, so a PNG's gAMA chunk is not
  // applied to them.
  FIBITMAP* dib = FreeImage_Load(fif, name.c_str(), fif == FIF_PNG ? PNG_IGNOREGAMMA : 0);
  if (!dib || !FreeImage_HasPixels(dib) || FreeImage_GetWidth(dib) < 1 || FreeImage_GetHeight(dib) < 1) {
    if (dib) FreeImage_Unload(dib);
    const char* format = FreeImage_GetFormatFromFIF(fif);
    error = prefix + "the " + (format ? format : "picture") + " data could not be decoded (damaged or unsupported file)";
    return nullptr;
  }
  return dib;
}

// A 24-bit copy of any FreeImage image, or null.
FIBITMAP* FlattenTo24(FIBITMAP* dib) {
  FIBITMAP* flat = FreeImage_ConvertTo24Bits(dib);
  if (!flat && FreeImage_GetImageType(dib) != FIT_BITMAP) {
    ImageHolder standard(FreeImage_ConvertToStandardType(dib, TRUE));
    if (standard.dib) flat = FreeImage_ConvertTo24Bits(standard.dib);
  }
  return flat;
}

std::string LowerExtension(const std::filesystem::path& path) {
  std::string ext = path.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext;
}

struct WriterChoice {
  FREE_IMAGE_FORMAT fif;
  int flags;
};

bool ChooseWriter(const std::string& ext, WriterChoice& out) {
  if (ext == ".png") out = {FIF_PNG, PNG_DEFAULT};
  else if (ext == ".bmp") out = {FIF_BMP, BMP_DEFAULT};
  else if (ext == ".jpg" || ext == ".jpeg") out = {FIF_JPEG, 90};
  else if (ext == ".tga") out = {FIF_TARGA, TARGA_DEFAULT};
  else if (ext == ".ppm") out = {FIF_PPMRAW, PNM_SAVE_RAW};
  else return false;
  return true;
}

}  // namespace

bool LoadPictureFile(const std::filesystem::path& path, Bits& out, std::string& error) {
  ImageHolder decoded(DecodeFile(path, error));
  if (!decoded.dib) return false;
  ImageHolder flat(FlattenTo24(decoded.dib));
  if (!flat.dib) {
    error = "cannot read " + Quoted(path) + ": FreeImage could not convert the picture to 24 bits";
    return false;
  }
  const int w = static_cast<int>(FreeImage_GetWidth(flat.dib));
  const int h = static_cast<int>(FreeImage_GetHeight(flat.dib));
  Bits bits;
  try {
    bits.Reset(w, h);
  } catch (const std::bad_alloc&) {
    error = "cannot read " + Quoted(path) + ": not enough memory for a " + std::to_string(w) + " x " +
            std::to_string(h) + " picture";
    return false;
  }
  for (int y = 0; y < h; ++y) {
    // FreeImage rows run bottom-up.
    const uint8_t* s = FreeImage_GetScanLine(flat.dib, h - 1 - y);
    uint8_t* d = bits.Row(y);
    for (int x = 0; x < w; ++x, s += 3, d += 4) {
      d[0] = s[FI_RGBA_BLUE];
      d[1] = s[FI_RGBA_GREEN];
      d[2] = s[FI_RGBA_RED];
    }
  }
  out = std::move(bits);
  return true;
}

bool SavePictureFile(const std::filesystem::path& path, const Bits& picture, std::string& error) {
  const std::string prefix = "cannot write " + Quoted(path) + ": ";
  WriterChoice writer{};
  if (!ChooseWriter(LowerExtension(path), writer)) {
    error = prefix + "unknown picture type '" + path.extension().string() +
            "' (use .png, .bmp, .jpg, .jpeg, .tga or .ppm)";
    return false;
  }
  if (picture.IsNull() || picture.Width() < 1 || picture.Height() < 1) {
    error = prefix + "the picture is empty";
    return false;
  }
  FreeImageStart();
  const int w = picture.Width();
  const int h = picture.Height();
  ImageHolder image(FreeImage_Allocate(w, h, 24, FI_RGBA_RED_MASK, FI_RGBA_GREEN_MASK, FI_RGBA_BLUE_MASK));
  if (!image.dib) {
    error = prefix + "FreeImage could not allocate a " + std::to_string(w) + " x " + std::to_string(h) + " picture";
    return false;
  }
  for (int y = 0; y < h; ++y) {
    const uint8_t* s = picture.Row(y);
    uint8_t* d = FreeImage_GetScanLine(image.dib, h - 1 - y);
    for (int x = 0; x < w; ++x, s += 4, d += 3) {
      d[FI_RGBA_BLUE] = s[0];
      d[FI_RGBA_GREEN] = s[1];
      d[FI_RGBA_RED] = s[2];
    }
  }

  FIMEMORY* memory = FreeImage_OpenMemory();
  if (!memory) {
    error = prefix + "FreeImage could not open a memory stream";
    return false;
  }
  ByteVector bytes;
  bool encoded = FreeImage_SaveToMemory(writer.fif, image.dib, memory, writer.flags) != 0;
  if (encoded) {
    BYTE* data = nullptr;
    DWORD size = 0;
    encoded = FreeImage_AcquireMemory(memory, &data, &size) != 0 && data && size > 0;
    if (encoded) bytes.assign(data, data + size);
  }
  FreeImage_CloseMemory(memory);
  if (!encoded) {
    const char* format = FreeImage_GetFormatFromFIF(writer.fif);
    error = prefix + "FreeImage could not encode the picture as " + (format ? format : "this type");
    return false;
  }

  errno = 0;
  if (!WriteFileAtomically(path, bytes)) {
    const int code = errno;
    error = prefix + (code ? std::strerror(code) : "the file could not be written");
    return false;
  }
  return true;
}

bool ProbePictureFile(const std::filesystem::path& path, int& width, int& height, int& bpp, std::string& error) {
  ImageHolder decoded(DecodeFile(path, error));
  if (!decoded.dib) return false;
  width = static_cast<int>(FreeImage_GetWidth(decoded.dib));
  height = static_cast<int>(FreeImage_GetHeight(decoded.dib));
  bpp = static_cast<int>(FreeImage_GetBPP(decoded.dib));
  return true;
}

}  // namespace kelvane
