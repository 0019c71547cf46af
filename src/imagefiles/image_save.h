// Saving images: the save-by-extension function everything ends in, the
// document's save, and the file logic of the "SAVE" and "SAVEAS" commands.
//
// Contract:
//  - SaveImageFile picks the writer by the lower-cased extension alone,
//    testing the rows of SaveFormatTable() in order. The picture becomes a
//    32-bit FreeImage image (FreeImage_DIB_From_BMP), a 32-bit image becomes
//    24 bits, then the row's depth rule applies: "pbm" converts anything but
//    1 bit to 8 bits, "pgm" anything but 8 bits to 8 bits, "ppm" anything but
//    24 bits to 24 bits. The PNM writer picks the flavour from the depth, so a
//    colour picture saved as "pbm" holds an 8-bit grey map under a bitmap's
//    name, as intended.
//  - "jpg" and "jpeg" are always written at superb quality (flag 0x80).
//    TARGA goes through FreeImage_Save with format 17.
//  - "gif": the colour reduction component will write these; until it exists
//    FreeImage writes them with an optimal palette of at most 256 colours
//    (the picture's own colours when it has no more than 256, else Wu's
//    quantizer). The writer is checked like the other FreeImage writers.
//  - When a FreeImage writer reports failure the file at the path is deleted
//    (only a regular file: a device or folder of that name stays).
//  - "psd", "sgi", "bw", "rgb", "rgba", "raw" and "pcx" go to
//    SaveThroughDevIL, which writes the optimized copy of the document (the
//    file GetOptimizedTempName()), not the picture. Its result is not
//    checked. The picture is still made into a decoder image first, as for
//    every row: an empty picture stops the save before DevIL is reached.
//  - An extension in no row writes nothing. No function here shows a message
//    or throws. The result tells whether a writer reported success, for
//    callers that want to know (the commands do not look at it).
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "document/bits.h"
#include "document/dib_section.h"
#include "imagefiles/load_bitmap.h"
#include "shell/start_record.h"

struct FIBITMAP;

namespace kelvane {

enum class SaveWriter : uint8_t {
  ColourReduction,  // "gif"
  SavePNG,
  SaveJPEG,
  SaveBMP,
  SaveTIFF,
  SavePNM,
  SaveTARGA,  // FreeImage_Save with format 17
  DevIL,
};

enum class SaveDepthRule : uint8_t {
  None,
  To8BitsUnless1,   // "pbm"
  To8BitsUnless8,   // "pgm"
  To24BitsUnless24  // "ppm"
};

struct SaveFormatRow {
  std::vector<std::string_view> extensions;
  SaveWriter writer;
  int flags;  // FreeImage flags, or DevIL's format number for the DevIL rows
  SaveDepthRule depth;
};

// The rows in the order of their tests.
const std::vector<SaveFormatRow>& SaveFormatTable();
// The row holding the extension (any case), or null.
const SaveFormatRow* SaveFormatFor(std::string_view extension);

// The depth rule of a row on a decoder image: the converted image (the
// caller's to unload), or null when the rule keeps the image as it is.
FIBITMAP* ApplySaveDepthRule(FIBITMAP* dib, SaveDepthRule rule);

bool SaveImageFile(const cDIBSection& picture, const std::filesystem::path& path, std::string_view extension);

// Loads GetOptimizedTempName() with DevIL and, when that worked, saves it to
// path in DevIL format `type` (0x439 PSD, 0x42C SGI, 0x430 RAW, 0x428 PCX).
// DevIL runs in a decoder process. A missing temp file writes nothing.
bool SaveThroughDevIL(const std::filesystem::path& path, unsigned type);

// Writes the optimized copy of a picture to GetOptimizedTempName() as the
// optimize box's "PNG-24 bit" row makes it: a 24-bit PNG of channels 0..2.
// This stands in for the optimize box until it exists; it is what a freshly
// loaded or updated document leaves there.
bool WriteOptimizedCopy(const Bits& picture);

// fImage.save: the picture drawn into a 24-bit picture of its own size
// (the frame of Bits left out), then SaveImageFile. Nothing happens for an
// empty picture.
bool SaveDocumentPicture(const Bits& picture, const std::filesystem::path& path, std::string_view extension);

// ---------------------------------------------------------------------------
// The commands' file logic

inline constexpr std::string_view kSaveErrorMessage = "Unexpected error saving image";

// The extensions "SAVE" writes in place: "bmp", "gif", "jpg", "tga", "tif",
// "png", "pcx". Every other one, or none, goes to "SAVEAS".
bool IsSaveInPlaceExtension(std::string_view extension);

// A document as the save commands see it.
struct SaveTarget {
  const Bits* picture = nullptr;  // null or empty: the document holds no picture
  std::string Tag;
  std::string Caption;
  bool Modified = false;
  std::string StatusName;  // the panel "Name" of the status bar sbInfo
};

// The common dialog as "SAVEAS" sets it up before showing it.
struct SaveDialogSettings {
  std::string Title;
  std::string Filter;
  std::string FileName;
  std::string InitialFolder;
  bool CancelError = true;
};

enum class SaveOutcome { Saved, NeedsSaveAs, Failed };

// "SAVE": with an in-place extension, save(Tag, ext), clear Modified, Tag
// becomes Tag up to and including its last "." followed by the lower-cased
// extension, Caption and StatusName its file name part. Otherwise
// NeedsSaveAs and nothing changes.
SaveOutcome SaveCommand(SaveTarget& document);

// "SAVEAS" before the dialog: title "Save as", the save filter, the file
// name preset to the document's caption, cancel raising its error, and an
// empty initial folder.
SaveDialogSettings SaveAsDialogSettings(const SaveTarget& document);

// "SAVEAS" after the dialog returned `chosenName`: save(name, ext), clear
// Modified, Tag = MakeUniqueDocumentName(name), Caption its file name part,
// and the folder of the name (up to and including its last '/') into
// settings.SaveFolder and, when given, into *dialogFolder (the dialog's
// initial folder for the next time).
SaveOutcome SaveAsCommand(SaveTarget& document, const std::string& chosenName, const OpenDocumentTags& open,
                          StartRecord& settings, std::string* dialogFolder = nullptr);

}  // namespace kelvane
