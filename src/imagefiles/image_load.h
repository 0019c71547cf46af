// Loading images: from a file name and its extension to a decoded picture.
//
// Contract:
//  - LoadImageFile walks the extension table below on the lower-cased
//    extension; the first row that holds it decides the decoder. An extension
//    in no row decodes nothing, on purpose ("rle", "jpe", "sun" and "ico",
//    which the open dialog offers, are among them; so are "gif", "wmf",
//    "emf" and "dib", which only the platform road of loadBitmap reads).
//  - FreeImage rows call that format's loader with flags 0; "jng" uses the
//    type FreeImage detects in the file. The DevIL row loads through DevIL
//    and passes the picture to FreeImage through the bridge file
//    DevILBridgeFile(), a BMP written by DevIL and read back by
//    FreeImage_LoadBMP. The bridge stays on disk after use and is
//    overwritten by the next DevIL decode. When DevIL cannot load a file (or
//    write the bridge) the bridge is not read, so a stale picture never passes
//    for a new file.
//  - Multi-image files give their first image.
//  - Every decode runs in a decoder process (decoder_process.h): a damaged,
//    truncated, foreign or empty file, a folder or an unreadable file gives a
//    null handle and nothing else. LoadImageFile reports no error itself;
//    the messages the libraries gave during the decode reach the bridge's
//    error sink (keep-first, see format_bridge.h).
//  - The result is a 32-bit picture: the 32-bit conversion of the decoded
//    image (ConvertToStandardBitmap of format_bridge.h: palettes
//    expanded, an alpha channel or transparency kept in the fourth byte,
//    16-bit samples narrowed to their high byte), made into our picture type by
//    FreeImage_BMP_From_DIB. On success LoadedWidth and LoadedHeight are its
//    size and LoadedDepth the bits per pixel FreeImage reported for the
//    decoded image before any conversion. On failure they keep their values.
//  - Pictures whose width or height does not fit the 16-bit size fields are
//    refused (null handle).
//  - Not thread-safe: the shared load state below belongs to the one thread
//    that opens documents.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "document/dib_section.h"

namespace kelvane {

// A decoded picture, shared between the decode and the document built from it.
using BitmapHandle = std::shared_ptr<cAlphaDibSection>;

// The shared result of the last decode.
extern BitmapHandle hLoadedBitmap;  // set by the callers of LoadImageFile
extern int16_t LoadedWidth;
extern int16_t LoadedHeight;
extern int32_t LoadedDepth;

enum class ImageDecoder : uint8_t {
  DevIL,
  LoadBMP,
  LoadCUT,
  LoadIFF,
  LoadJPEG,
  LoadKOALA,
  LoadLBM,
  LoadMNG,
  LoadPCD,
  LoadPCX,
  LoadPNG,
  LoadPSD,
  LoadRAS,
  LoadTARGA,
  LoadTIFF,
  LoadWBMP,
  LoadPNM,
  LoadDetectedType,  // FreeImage_Load with the type FreeImage_GetFileType found
  None,              // no row: nothing is decoded
};

struct ImageExtensionRow {
  int order;
  std::vector<std::string_view> extensions;
  ImageDecoder decoder;
};

// The extension table, in the order of its tests.
const std::vector<ImageExtensionRow>& ImageExtensionTable();
// The decoder of the first row holding the extension (any case), or None.
ImageDecoder DecoderForExtension(std::string_view extension);

// The extensions that loadBitmap and the dialog preview read with the
// platform's picture loader instead: "gif", "wmf", "emf", "dib", "bmp".
bool IsPlatformPictureExtension(std::string_view extension);

// The temp folder's "4546643".
std::filesystem::path DevILBridgeFile();

BitmapHandle LoadImageFile(const std::filesystem::path& path, std::string_view extension);

// The platform's picture loader, as loadBitmap uses it for "gif", "wmf",
// "emf", "dib" and "bmp" (any case; other extensions give null). Like the
// platform's, it knows a BMP, a GIF (first frame) or a JPEG by its bytes,
// whichever of the five names it has (FreeImage reads them, flags 0); other
// contents go by the extension: a "dib" may be a bare device-independent
// bitmap without the 14-byte file header, and "wmf" and "emf" are rendered
// by metafile_render.h when it was built in (else null). Runs in a decoder
// process. Does not touch the shared load state; `depth`, when given,
// receives the decoded image's bits per pixel.
BitmapHandle LoadPlatformPicture(const std::filesystem::path& path, std::string_view extension,
                                 int32_t* depth = nullptr);

// Lower-cased copy (ASCII letters only).
std::string LowerCaseExtension(std::string_view extension);

}  // namespace kelvane
