#include "imagefiles/picture_io.h"

#include <fstream>

#include "base/byte_io.h"
#include "imagefiles/image_load.h"
#include "imagefiles/image_save.h"
#include "imagefiles/load_bitmap.h"

namespace kelvane {

namespace {

std::string Quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

// The extension the editor would take: lower case, without the dot.
std::string ExtensionOf(const std::filesystem::path& path) {
  return LowerCaseExtension(GetExtensionName(path.filename().string()));
}

// Everything that can be said about a file before any decoder sees it.
bool CheckReadable(const std::filesystem::path& path, const std::string& prefix, std::string& error) {
  std::error_code ec;
  const auto status = std::filesystem::status(path, ec);
  if (ec || !std::filesystem::exists(status)) {
    error = prefix + "no such file";
    return false;
  }
  if (std::filesystem::is_directory(status)) {
    error = prefix + "it is a folder, not a file";
    return false;
  }
  // A pipe, socket or device would block the open or never end.
  if (!std::filesystem::is_regular_file(status)) {
    error = prefix + "it is not a regular file";
    return false;
  }
  std::ifstream probe(path, std::ios::binary);
  if (!probe) {
    error = prefix + "the file cannot be opened for reading";
    return false;
  }
  if (std::filesystem::file_size(path, ec) == 0 && !ec) {
    error = prefix + "the file is empty";
    return false;
  }
  const std::string ext = ExtensionOf(path);
  if (ext == "klf") {
    error = prefix + "a layered project (.klf) is opened by the layer reader, not as a picture";
    return false;
  }
  if (!IsPlatformPictureExtension(ext) && DecoderForExtension(ext) == ImageDecoder::None) {
    error = prefix + (ext.empty() ? std::string("a file without extension has no decoder")
                                  : "no decoder takes files with the extension '." + ext + "'");
    return false;
  }
  return true;
}

std::string DecodeFailure(const std::filesystem::path& path) {
  return "cannot read " + Quoted(path) + ": the picture could not be decoded (damaged, truncated, or a kind of ." +
         ExtensionOf(path) + " file that the decoder does not take)";
}

}  // namespace

bool LoadPictureFile(const std::filesystem::path& path, Bits& out, std::string& error) {
  const std::string prefix = "cannot read " + Quoted(path) + ": ";
  if (!CheckReadable(path, prefix, error)) return false;
  const std::string ext = ExtensionOf(path);
  // The recent-files menu's order: decode first, then build the document.
  if (!IsPlatformPictureExtension(ext)) {
    hLoadedBitmap = LoadImageFile(path, ext);
    if (!hLoadedBitmap) {
      error = DecodeFailure(path);
      return false;
    }
  }
  Bits picture;
  if (!BuildDocumentPicture(path.string(), ext, picture)) {
    error = DecodeFailure(path);
    return false;
  }
  out = std::move(picture);
  return true;
}

bool ProbePictureFile(const std::filesystem::path& path, int& width, int& height, int& bpp, std::string& error) {
  const std::string prefix = "cannot read " + Quoted(path) + ": ";
  if (!CheckReadable(path, prefix, error)) return false;
  const std::string ext = ExtensionOf(path);
  BitmapHandle bitmap;
  int32_t depth = 0;
  if (IsPlatformPictureExtension(ext)) {
    bitmap = LoadPlatformPicture(path, ext, &depth);
  } else {
    bitmap = LoadImageFile(path, ext);
    depth = LoadedDepth;
  }
  if (!bitmap) {
    error = DecodeFailure(path);
    return false;
  }
  width = bitmap->Width();
  height = bitmap->Height();
  bpp = depth;
  return true;
}

bool SavePictureFile(const std::filesystem::path& path, const Bits& picture, std::string& error) {
  const std::string prefix = "cannot write " + Quoted(path) + ": ";
  const std::string ext = ExtensionOf(path);
  const SaveFormatRow* row = SaveFormatFor(ext);
  if (!row) {
    std::string known;
    for (const SaveFormatRow& r : SaveFormatTable())
      for (std::string_view e : r.extensions) known += (known.empty() ? "." : ", .") + std::string(e);
    error = prefix + "no writer for the extension '" + path.extension().string() + "' (use " + known + ")";
    return false;
  }
  if (picture.IsNull() || picture.Width() < 1 || picture.Height() < 1) {
    error = prefix + "the picture is empty";
    return false;
  }
  std::error_code ec;
  const auto folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
  if (!std::filesystem::is_directory(folder, ec)) {
    error = prefix + "the folder " + Quoted(folder) + " does not exist";
    return false;
  }

  std::filesystem::path temp;
  if (!MakeSiblingTempFile(path, temp)) {
    error = prefix + "no file can be made in the folder " + Quoted(folder);
    return false;
  }
  bool written = false;
  {
    TempFolderLock lock;  // the optimized copy must not change before DevIL reads it
    if (row->writer == SaveWriter::DevIL && !WriteOptimizedCopy(picture)) {
      std::filesystem::remove(temp, ec);
      error = prefix + "the optimized copy " + Quoted(GetOptimizedTempName()) + " could not be written";
      return false;
    }
    written = SaveDocumentPicture(picture, temp, ext);
  }
  // DevIL's writers are not checked by the save: look at what arrived.
  if (written) written = std::filesystem::is_regular_file(temp, ec) && std::filesystem::file_size(temp, ec) > 0;
  if (!written) {
    std::filesystem::remove(temp, ec);
    error = prefix + "the ." + ext + " writer failed";
    return false;
  }
  std::filesystem::rename(temp, path, ec);
  if (ec) {
    error = prefix + ec.message();
    std::filesystem::remove(temp, ec);
    return false;
  }
  return true;
}

}  // namespace kelvane
