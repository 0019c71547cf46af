#include "imagefiles/image_save.h"

#include <FreeImage.h>

#include <cstring>
#include <unordered_map>

#include "imagefiles/decoder_process.h"
#include "imagefiles/devil_access.h"
#include "imagefiles/file_dialog_filters.h"
#include "imagefiles/format_bridge.h"
#include "imagefiles/image_load.h"

namespace kelvane {

namespace {

// An 8-bit copy of a 24-bit image with the best palette of at most 256
// colours: the image's own colours when there are no more, else Wu's.
FIBITMAP* OptimalPaletteImage(FIBITMAP* dib24) {
  const int w = static_cast<int>(FreeImage_GetWidth(dib24));
  const int h = static_cast<int>(FreeImage_GetHeight(dib24));
  std::unordered_map<uint32_t, uint8_t> index;
  bool few = true;
  for (int y = 0; y < h && few; ++y) {
    const uint8_t* s = FreeImage_GetScanLine(dib24, y);
    for (int x = 0; x < w; ++x, s += 3) {
      const uint32_t key = s[0] | (s[1] << 8) | (s[2] << 16);
      if (index.count(key)) continue;
      if (index.size() == 256) {
        few = false;
        break;
      }
      const auto next = static_cast<uint8_t>(index.size());
      index.emplace(key, next);
    }
  }
  if (!few) return FreeImage_ColorQuantize(dib24, FIQ_WUQUANT);

  FIBITMAP* out = FreeImage_Allocate(w, h, 8);
  if (!out) return nullptr;
  RGBQUAD* palette = FreeImage_GetPalette(out);
  for (const auto& [key, i] : index) {
    palette[i].rgbBlue = static_cast<BYTE>(key & 0xFF);
    palette[i].rgbGreen = static_cast<BYTE>((key >> 8) & 0xFF);
    palette[i].rgbRed = static_cast<BYTE>((key >> 16) & 0xFF);
    palette[i].rgbReserved = 0;
  }
  for (int y = 0; y < h; ++y) {
    const uint8_t* s = FreeImage_GetScanLine(dib24, y);
    uint8_t* d = FreeImage_GetScanLine(out, y);
    for (int x = 0; x < w; ++x, s += 3) d[x] = index.at(s[0] | (s[1] << 8) | (s[2] << 16));
  }
  return out;
}

FREE_IMAGE_FORMAT FormatOf(SaveWriter writer) {
  switch (writer) {
    case SaveWriter::ColourReduction: return FIF_GIF;
    case SaveWriter::SavePNG: return FIF_PNG;
    case SaveWriter::SaveJPEG: return FIF_JPEG;
    case SaveWriter::SaveBMP: return FIF_BMP;
    case SaveWriter::SaveTIFF: return FIF_TIFF;
    // The PNM writer takes its flavour from the depth, whatever name it is
    // asked by.
    case SaveWriter::SavePNM: return FIF_PPM;
    case SaveWriter::SaveTARGA: return static_cast<FREE_IMAGE_FORMAT>(17);
    default: return FIF_UNKNOWN;
  }
}

void DeleteFailedFile(const std::filesystem::path& path) {
  std::error_code ec;
  if (std::filesystem::is_regular_file(std::filesystem::symlink_status(path, ec))) std::filesystem::remove(path, ec);
}

}  // namespace

const std::vector<SaveFormatRow>& SaveFormatTable() {
  static const std::vector<SaveFormatRow> table = {
      {{"gif"}, SaveWriter::ColourReduction, 0, SaveDepthRule::None},
      {{"png"}, SaveWriter::SavePNG, 0, SaveDepthRule::None},
      {{"jpg", "jpeg"}, SaveWriter::SaveJPEG, 0x80, SaveDepthRule::None},
      {{"bmp"}, SaveWriter::SaveBMP, 0, SaveDepthRule::None},
      {{"tif", "tiff"}, SaveWriter::SaveTIFF, 0, SaveDepthRule::None},
      {{"pbm"}, SaveWriter::SavePNM, 0, SaveDepthRule::To8BitsUnless1},
      {{"pgm"}, SaveWriter::SavePNM, 0, SaveDepthRule::To8BitsUnless8},
      {{"ppm"}, SaveWriter::SavePNM, 0, SaveDepthRule::To24BitsUnless24},
      {{"tga", "vda", "vst", "icb", "targa"}, SaveWriter::SaveTARGA, 0, SaveDepthRule::None},
      {{"psd"}, SaveWriter::DevIL, static_cast<int>(kDevILPsd), SaveDepthRule::None},
      {{"sgi", "bw", "rgb", "rgba"}, SaveWriter::DevIL, static_cast<int>(kDevILSgi), SaveDepthRule::None},
      {{"raw"}, SaveWriter::DevIL, static_cast<int>(kDevILRaw), SaveDepthRule::None},
      {{"pcx"}, SaveWriter::DevIL, static_cast<int>(kDevILPcx), SaveDepthRule::None},
  };
  return table;
}

const SaveFormatRow* SaveFormatFor(std::string_view extension) {
  const std::string ext = LowerCaseExtension(extension);
  for (const SaveFormatRow& row : SaveFormatTable())
    for (std::string_view e : row.extensions)
      if (e == ext) return &row;
  return nullptr;
}

bool SaveThroughDevIL(const std::filesystem::path& path, unsigned type) {
  TempFolderLock lock;
  const std::filesystem::path source = GetOptimizedTempName();
  std::error_code ec;
  if (!std::filesystem::is_regular_file(source, ec)) return false;
  std::vector<uint8_t> unused;
  return RunInDecoderProcess([&](int) { return DevILConvertFile(source, type, path); }, unused);
}

FIBITMAP* ApplySaveDepthRule(FIBITMAP* dib, SaveDepthRule rule) {
  if (!dib) return nullptr;
  const unsigned bpp = FreeImage_GetBPP(dib);
  switch (rule) {
    case SaveDepthRule::To8BitsUnless1: return bpp != 1 ? FreeImage_ConvertTo8Bits(dib) : nullptr;
    case SaveDepthRule::To8BitsUnless8: return bpp != 8 ? FreeImage_ConvertTo8Bits(dib) : nullptr;
    case SaveDepthRule::To24BitsUnless24: return bpp != 24 ? FreeImage_ConvertTo24Bits(dib) : nullptr;
    case SaveDepthRule::None: break;
  }
  return nullptr;
}

bool SaveImageFile(const cDIBSection& picture, const std::filesystem::path& path, std::string_view extension) {
  FreeImageStart();
  const SaveFormatRow* row = SaveFormatFor(extension);

  // Every road but an unknown extension starts from the picture as a decoder
  // image; when that cannot be made nothing is written, the DevIL rows
  // included (they never look at it, but the save stops before them).
  FIBITMAP* made = nullptr;
  if (FreeImage_DIB_From_BMP(&picture, made) != kFormatTrue) return false;
  ImageHolder image(made);
  if (FreeImage_GetBPP(image.dib) == 32) {
    FIBITMAP* flat = FreeImage_ConvertTo24Bits(image.dib);
    if (!flat) return false;
    image.Replace(flat);
  }
  if (!row) return false;
  if (row->writer == SaveWriter::DevIL) return SaveThroughDevIL(path, static_cast<unsigned>(row->flags));

  if (FIBITMAP* converted = ApplySaveDepthRule(image.dib, row->depth)) image.Replace(converted);
  if (row->writer == SaveWriter::ColourReduction) {
    // Stands in for the colour reduction component's GIF writer: 8 bits,
    // optimal palette, no dither.
    FIBITMAP* paletted = OptimalPaletteImage(image.dib);
    if (!paletted) return false;
    image.Replace(paletted);
  }
  const std::string name = path.string();
  const bool written = FreeImage_Save(FormatOf(row->writer), image.dib, name.c_str(), row->flags) != FALSE;
  if (!written) DeleteFailedFile(path);
  return written;
}

bool WriteOptimizedCopy(const Bits& picture) {
  if (picture.IsNull() || picture.Width() < 1 || picture.Height() < 1) return false;
  cDIBSection flat;
  if (!flat.CreateFromBits(picture)) return false;
  TempFolderLock lock;
  return SaveImageFile(flat, GetOptimizedTempName(), "png");
}

bool SaveDocumentPicture(const Bits& picture, const std::filesystem::path& path, std::string_view extension) {
  if (picture.IsNull() || picture.Width() < 1 || picture.Height() < 1) return false;
  cDIBSection iSrc;
  if (!iSrc.CreateFromBits(picture)) return false;
  return SaveImageFile(iSrc, path, LowerCaseExtension(extension));
}

bool IsSaveInPlaceExtension(std::string_view extension) {
  static constexpr std::string_view kInPlace[] = {"bmp", "gif", "jpg", "tga", "tif", "png", "pcx"};
  const std::string ext = LowerCaseExtension(extension);
  for (std::string_view e : kInPlace)
    if (e == ext) return true;
  return false;
}

SaveOutcome SaveCommand(SaveTarget& document) {
  const std::string ext = LowerCaseExtension(GetExtensionName(document.Tag));
  if (!IsSaveInPlaceExtension(ext)) return SaveOutcome::NeedsSaveAs;
  if (document.picture) SaveDocumentPicture(*document.picture, document.Tag, ext);
  document.Modified = false;
  const size_t dot = document.Tag.rfind('.');
  document.Tag = document.Tag.substr(0, dot + 1) + ext;
  document.Caption = GetFileNamePart(document.Tag);
  document.StatusName = document.Caption;
  return SaveOutcome::Saved;
}

SaveDialogSettings SaveAsDialogSettings(const SaveTarget& document) {
  SaveDialogSettings dialog;
  dialog.Title = std::string(kSaveAsTitle);
  dialog.Filter = std::string(kSaveAsFilter);
  dialog.FileName = document.Caption;
  dialog.InitialFolder.clear();
  dialog.CancelError = true;
  return dialog;
}

SaveOutcome SaveAsCommand(SaveTarget& document, const std::string& chosenName, const OpenDocumentTags& open,
                          StartRecord& settings, std::string* dialogFolder) {
  if (chosenName.empty()) return SaveOutcome::Failed;
  const std::string ext = LowerCaseExtension(GetExtensionName(chosenName));
  if (document.picture) SaveDocumentPicture(*document.picture, chosenName, ext);
  document.Modified = false;
  document.Tag = MakeUniqueDocumentName(open, chosenName);
  document.Caption = GetFileNamePart(document.Tag);
  const std::string folder = GetFolderPart(chosenName);
  if (dialogFolder) *dialogFolder = folder;
  settings.SaveFolder.Set(folder);
  return SaveOutcome::Saved;
}

}  // namespace kelvane
