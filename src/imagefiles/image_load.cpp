#include "imagefiles/image_load.h"

#include <FreeImage.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <limits>

#include "base/byte_io.h"
#include "imagefiles/decoder_process.h"
#include "imagefiles/devil_access.h"
#include "imagefiles/format_bridge.h"
#include "imagefiles/load_bitmap.h"
#include "imagefiles/metafile_render.h"

namespace kelvane {

BitmapHandle hLoadedBitmap;
int16_t LoadedWidth = 0;
int16_t LoadedHeight = 0;
int32_t LoadedDepth = 0;

std::string LowerCaseExtension(std::string_view extension) {
  std::string out(extension);
  for (char& c : out) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return out;
}

const std::vector<ImageExtensionRow>& ImageExtensionTable() {
  static const std::vector<ImageExtensionRow> table = {
      {1,
       {"psp", "pic", "pix", "pxr", "xpm", "raw", "dcx", "dds", "lif", "wal", "mdl", "oil", "lmp", "sgi", "bw", "rgb",
        "rgba", "act", "pal"},
       ImageDecoder::DevIL},
      {2, {"bmp"}, ImageDecoder::LoadBMP},
      {3, {"cut"}, ImageDecoder::LoadCUT},
      {4, {"iff"}, ImageDecoder::LoadIFF},
      {5, {"jpg", "jpeg"}, ImageDecoder::LoadJPEG},
      {6, {"koa"}, ImageDecoder::LoadKOALA},
      {7, {"lbm"}, ImageDecoder::LoadLBM},
      {8, {"mng"}, ImageDecoder::LoadMNG},
      {9, {"pcd"}, ImageDecoder::LoadPCD},
      {10, {"pcx"}, ImageDecoder::LoadPCX},
      // "sgi" is taken by the first row and never reaches this one.
      {11, {"png", "sgi"}, ImageDecoder::LoadPNG},
      {12, {"psd", "pdd"}, ImageDecoder::LoadPSD},
      {13, {"ras"}, ImageDecoder::LoadRAS},
      {14, {"tga", "vda", "icb", "vst", "targa"}, ImageDecoder::LoadTARGA},
      {15, {"tif", "tiff"}, ImageDecoder::LoadTIFF},
      {16, {"wbmp"}, ImageDecoder::LoadWBMP},
      {17, {"pbm", "pgm", "ppm"}, ImageDecoder::LoadPNM},
      {18, {"jng"}, ImageDecoder::LoadDetectedType},
  };
  return table;
}

ImageDecoder DecoderForExtension(std::string_view extension) {
  const std::string ext = LowerCaseExtension(extension);
  for (const ImageExtensionRow& row : ImageExtensionTable())
    for (std::string_view e : row.extensions)
      if (e == ext) return row.decoder;
  return ImageDecoder::None;
}

bool IsPlatformPictureExtension(std::string_view extension) {
  const std::string ext = LowerCaseExtension(extension);
  return ext == "gif" || ext == "wmf" || ext == "emf" || ext == "dib" || ext == "bmp";
}

std::filesystem::path DevILBridgeFile() { return std::filesystem::path(GetTempFolder() + "/4546643"); }

namespace {

// What a decoder process sends back: this header, the text of its error sink
// (message_size bytes), then height rows of 4 * width bytes, FreeImage's
// 32-bit rows bottom-up. No image: width and height 0, no rows.
struct DecodeAnswer {
  uint32_t magic = 0x4B4C4432;  // "KLD2"
  int32_t width = 0;
  int32_t height = 0;
  int32_t depth = 0;
  uint32_t message_size = 0;
};

// The longest library message passed on from a decoder process.
constexpr size_t kMaxForwardedMessage = 1024;

FREE_IMAGE_FORMAT FormatOf(ImageDecoder decoder) {
  switch (decoder) {
    case ImageDecoder::LoadBMP: return FIF_BMP;
    case ImageDecoder::LoadCUT: return FIF_CUT;
    case ImageDecoder::LoadIFF: return FIF_IFF;
    case ImageDecoder::LoadJPEG: return FIF_JPEG;
    case ImageDecoder::LoadKOALA: return FIF_KOALA;
    case ImageDecoder::LoadLBM: return FIF_LBM;
    case ImageDecoder::LoadMNG: return FIF_MNG;
    case ImageDecoder::LoadPCD: return FIF_PCD;
    case ImageDecoder::LoadPCX: return FIF_PCX;
    case ImageDecoder::LoadPNG: return FIF_PNG;
    case ImageDecoder::LoadPSD: return FIF_PSD;
    case ImageDecoder::LoadRAS: return FIF_RAS;
    case ImageDecoder::LoadTARGA: return FIF_TARGA;
    case ImageDecoder::LoadTIFF: return FIF_TIFF;
    case ImageDecoder::LoadWBMP: return FIF_WBMP;
    // One reader takes all six PNM flavours, whichever of the three names
    // it is asked by.
    case ImageDecoder::LoadPNM: return FIF_PPM;
    default: return FIF_UNKNOWN;
  }
}

uint32_t BigEndian32(const uint8_t* p) {
  return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
         (static_cast<uint32_t>(p[2]) << 8) | p[3];
}
uint32_t LittleEndian32(const uint8_t* p) {
  return p[0] | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
         (static_cast<uint32_t>(p[3]) << 24);
}

// FreeImage's IFF reader walks chunk headers past the end of a cut file
// without ever stopping, so the FORM must be whole before it gets the file.
bool IffFormIsWhole(const std::filesystem::path& path) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  if (ec || size < 12) return false;
  std::ifstream in(path, std::ios::binary);
  uint8_t head[12];
  if (!in.read(reinterpret_cast<char*>(head), sizeof head)) return false;
  if (std::memcmp(head, "FORM", 4) != 0) return false;
  return static_cast<uint64_t>(BigEndian32(head + 4)) + 8 <= size;
}

// Inside a decoder process: ship the library's message, if any, and the
// image's 32-bit form to the parent. True when an image was sent.
bool SendImage(int fd, FIBITMAP* dib) {
  DecodeAnswer answer;
  std::string message = LastFormatError();
  if (message.size() > kMaxForwardedMessage) message.resize(kMaxForwardedMessage);
  answer.message_size = static_cast<uint32_t>(message.size());
  ImageHolder bits32;
  if (dib && FreeImage_HasPixels(dib)) {
    bits32.dib = ConvertToStandardBitmap(dib, 32);
    if (bits32.dib) {
      answer.depth = static_cast<int32_t>(FreeImage_GetBPP(dib));
      answer.width = static_cast<int32_t>(FreeImage_GetWidth(bits32.dib));
      answer.height = static_cast<int32_t>(FreeImage_GetHeight(bits32.dib));
    }
  }
  const bool has_image = answer.width > 0 && answer.height > 0;
  if (!has_image) answer.width = answer.height = answer.depth = 0;
  if (!WriteAllToDescriptor(fd, &answer, sizeof answer)) return false;
  if (!WriteAllToDescriptor(fd, message.data(), message.size())) return false;
  if (!has_image) return false;
  const size_t row_bytes = static_cast<size_t>(answer.width) * 4;
  for (int32_t row = 0; row < answer.height; ++row)
    if (!WriteAllToDescriptor(fd, FreeImage_GetScanLine(bits32.dib, row), row_bytes)) return false;
  return true;
}

// A bare device-independent bitmap (header, colour table, bits, but no
// 14-byte file header) with the file header put in front, ready for the BMP
// reader. Empty when the bytes are no such bitmap.
ByteVector WithFileHeader(const ByteVector& dib) {
  if (dib.size() < 16) return {};
  const uint32_t header_size = LittleEndian32(dib.data());
  uint64_t bits_offset = 0;
  if (header_size == 12) {  // OS/2 core header: 3-byte colour entries
    const int bpp = dib[10] | (dib[11] << 8);
    bits_offset = 12 + (bpp <= 8 ? 3ull << bpp : 0);
  } else if (header_size == 40 || header_size == 52 || header_size == 56 || header_size == 64 ||
             header_size == 108 || header_size == 124) {
    if (dib.size() < 40) return {};
    const int bpp = dib[14] | (dib[15] << 8);
    const uint32_t compression = LittleEndian32(dib.data() + 16);
    const uint32_t used = LittleEndian32(dib.data() + 32);
    if (used > 256 && bpp <= 8) return {};
    const uint64_t colours = used ? used : (bpp <= 8 ? 1ull << bpp : 0);
    uint64_t masks = 0;
    if (header_size == 40 && compression == 3) masks = 12;  // BI_BITFIELDS
    if (header_size == 40 && compression == 6) masks = 16;  // BI_ALPHABITFIELDS
    bits_offset = header_size + masks + 4 * colours;
  } else {
    return {};
  }
  if (bits_offset > dib.size()) return {};
  ByteVector file;
  file.reserve(dib.size() + 14);
  file.push_back('B');
  file.push_back('M');
  PutI32(file, static_cast<int32_t>(dib.size() + 14));
  PutI32(file, 0);
  PutI32(file, static_cast<int32_t>(bits_offset + 14));
  file.insert(file.end(), dib.begin(), dib.end());
  return file;
}

// Inside a decoder process: the platform loader's "dib".
FIBITMAP* LoadDib(const std::filesystem::path& path) {
  ByteVector bytes;
  if (!ReadWholeFile(path, bytes)) return nullptr;
  if (bytes.size() >= 2 && bytes[0] == 'B' && bytes[1] == 'M')
    return FreeImage_Load(FIF_BMP, path.string().c_str(), BMP_DEFAULT);
  ByteVector file = WithFileHeader(bytes);
  if (file.empty() || file.size() > std::numeric_limits<DWORD>::max()) return nullptr;
  FIMEMORY* memory = FreeImage_OpenMemory(file.data(), static_cast<DWORD>(file.size()));
  if (!memory) return nullptr;
  FIBITMAP* dib = FreeImage_LoadFromMemory(FIF_BMP, memory, BMP_DEFAULT);
  FreeImage_CloseMemory(memory);
  return dib;
}

// Runs `decode` in a decoder process and turns its answer into a picture.
// Rejects folders and unreadable files before forking.
BitmapHandle DecodeInChild(const std::filesystem::path& path, const std::function<FIBITMAP*()>& decode,
                           int32_t& depth) {
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) return nullptr;
  {
    std::ifstream probe(path, std::ios::binary);
    if (!probe) return nullptr;
  }
  FreeImageStart();
  ByteVector answer_bytes;
  const bool finished = RunInDecoderProcess(
      [&](int fd) {
        // The child's sink starts empty, so that it holds only what this
        // decode said.
        ClearLastFormatError();
        ImageHolder image(decode());
        return SendImage(fd, image.dib);
      },
      answer_bytes);
  if (answer_bytes.size() < sizeof(DecodeAnswer)) return nullptr;
  DecodeAnswer answer;
  std::memcpy(&answer, answer_bytes.data(), sizeof answer);
  if (answer.magic != DecodeAnswer{}.magic || answer.message_size > kMaxForwardedMessage ||
      answer_bytes.size() < sizeof answer + answer.message_size)
    return nullptr;
  // The library's own message, kept as the first of its chain.
  if (answer.message_size > 0)
    SetLastFormatError(std::string_view(reinterpret_cast<const char*>(answer_bytes.data()) + sizeof answer,
                                        answer.message_size));
  if (!finished || answer.width < 1 || answer.height < 1 || answer.width > std::numeric_limits<int16_t>::max() ||
      answer.height > std::numeric_limits<int16_t>::max())
    return nullptr;
  const size_t row_bytes = static_cast<size_t>(answer.width) * 4;
  const size_t header_bytes = sizeof answer + answer.message_size;
  if (answer_bytes.size() != header_bytes + row_bytes * static_cast<size_t>(answer.height)) return nullptr;

  ImageHolder image(FreeImage_Allocate(answer.width, answer.height, 32, FI_RGBA_RED_MASK, FI_RGBA_GREEN_MASK,
                                       FI_RGBA_BLUE_MASK));
  if (!image.dib) return nullptr;
  const uint8_t* rows = answer_bytes.data() + header_bytes;
  for (int32_t row = 0; row < answer.height; ++row)
    std::memcpy(FreeImage_GetScanLine(image.dib, row), rows + row_bytes * static_cast<size_t>(row), row_bytes);
  std::unique_ptr<cAlphaDibSection> bitmap;
  if (FreeImage_BMP_From_DIB(image.dib, bitmap) != kFormatTrue || !bitmap) return nullptr;
  depth = answer.depth;
  return BitmapHandle(std::move(bitmap));
}

}  // namespace

BitmapHandle LoadImageFile(const std::filesystem::path& path, std::string_view extension) {
  const std::filesystem::path bridge = DevILBridgeFile();
  const ImageDecoder decoder = DecoderForExtension(extension);
  if (decoder == ImageDecoder::None) return nullptr;

  const std::string name = path.string();
  std::function<FIBITMAP*()> decode;
  std::unique_ptr<TempFolderLock> lock;
  if (decoder == ImageDecoder::DevIL) {
    // The bridge is a fixed name that other instances use too.
    lock = std::make_unique<TempFolderLock>();
    decode = [&]() -> FIBITMAP* {
      // A file that DevIL cannot load or write leaves the bridge as it was
      // and is not read back: the stale picture never passes for this one.
      if (!DevILConvertFile(path, kDevILBmp, bridge)) return nullptr;
      return FreeImage_Load(FIF_BMP, bridge.string().c_str(), 0);
    };
  } else if (decoder == ImageDecoder::LoadDetectedType) {
    decode = [&]() -> FIBITMAP* {
      const FREE_IMAGE_FORMAT detected = FreeImage_GetFileType(name.c_str(), 16);
      if (detected == FIF_UNKNOWN) return nullptr;
      return FreeImage_Load(detected, name.c_str(), 0);
    };
  } else {
    const FREE_IMAGE_FORMAT fif = FormatOf(decoder);
    const bool whole_form_needed = decoder == ImageDecoder::LoadIFF || decoder == ImageDecoder::LoadLBM;
    decode = [&, fif, whole_form_needed]() -> FIBITMAP* {
      if (whole_form_needed && !IffFormIsWhole(path)) return nullptr;
      return FreeImage_Load(fif, name.c_str(), 0);
    };
  }

  int32_t depth = 0;
  BitmapHandle bitmap = DecodeInChild(path, decode, depth);
  if (!bitmap) return nullptr;
  LoadedWidth = static_cast<int16_t>(FreeImage_GetBitmapWidth(bitmap.get()));
  LoadedHeight = static_cast<int16_t>(FreeImage_GetBitmapHeight(bitmap.get()));
  LoadedDepth = depth;
  return bitmap;
}

BitmapHandle LoadPlatformPicture(const std::filesystem::path& path, std::string_view extension, int32_t* depth) {
  const std::string ext = LowerCaseExtension(extension);
  if (!IsPlatformPictureExtension(ext)) return nullptr;
  const bool metafile = ext == "wmf" || ext == "emf";
  if (metafile && !MetafileRenderingAvailable()) return nullptr;
  const std::string name = path.string();
  // The picture loader knows a bitmap, a GIF or a JPEG by its bytes, whatever
  // the name says; anything else is read as its extension says.
  const std::function<FIBITMAP*()> decode = [&]() -> FIBITMAP* {
    const FREE_IMAGE_FORMAT found = FreeImage_GetFileType(name.c_str(), 0);
    if (found == FIF_BMP || found == FIF_GIF || found == FIF_JPEG) return FreeImage_Load(found, name.c_str(), 0);
    if (metafile) return RenderMetafile(path, ext == "emf");
    if (ext == "dib") return LoadDib(path);
    return nullptr;
  };
  int32_t found_depth = 0;
  BitmapHandle bitmap = DecodeInChild(path, decode, found_depth);
  if (bitmap && depth) *depth = found_depth;
  return bitmap;
}

}  // namespace kelvane
