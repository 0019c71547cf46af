// Opening a document from a file, without the windows: the steps of
// loadBitmap that build the document's picture and identity, and the small
// helpers around them (names, temp files, preview fitting).
//
// Contract:
//  - Paths use the platform's separator '/'. "The folder of a path" is the
//    path up to and including its last '/', "the file name part" what
//    follows it.
//  - Document names: a document's Tag is its path, or its path with "[n]"
//    behind it when that path is already open. DuplicateCounter and
//    DocumentCounter are process-wide and never reset.
//  - The picture of a new document is always 24-bit (channel 3 of its Bits
//    is 0, the frame is 0), whatever the file held: loadBitmap flattens every
//    source, also those of the platform road.
//  - The temp folder is the one the system names (TMPDIR and friends, else
//    /tmp), without a trailing '/'. The fixed temp files in it (the DevIL
//    bridge, the optimized copy) are shared by every running instance;
//    TempFolderLock serialises the steps that write one and read it back.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/fit_size.h"
#include "document/bits.h"
#include "shell/start_record.h"

namespace kelvane {

// ---------------------------------------------------------------------------
// Temp files

std::string GetTempFolder();
// GetTempFolder() + "/t65s8s98": the optimized copy of the active document.
std::string GetOptimizedTempName();

// An advisory lock on the temp folder (flock), held for the object's life.
// Processes and threads that write a fixed temp file and read it back take it
// around both steps. Without a usable temp folder the lock is a no-op.
class TempFolderLock {
 public:
  TempFolderLock();
  ~TempFolderLock();
  TempFolderLock(const TempFolderLock&) = delete;
  TempFolderLock& operator=(const TempFolderLock&) = delete;

 private:
  int fd_ = -1;
};

// ---------------------------------------------------------------------------
// Names

// What stands behind the last '/', with trailing blanks removed.
std::string GetFileNamePart(std::string_view path);
// The path up to and including its last '/' ("" when it has none).
std::string GetFolderPart(std::string_view path);
// What follows the last '.' of the file name part ("" when there is none), as
// the file system object's GetExtensionName gives it; case kept.
std::string GetExtensionName(std::string_view path);

// The Tags of the open documents, as the walk over the main window's
// children sees them.
using OpenDocumentTags = std::vector<std::string>;

extern int32_t DuplicateCounter;
extern int32_t DocumentCounter;

bool IsDocumentOpen(const OpenDocumentTags& open, std::string_view path);
// path, or path + "[" + DuplicateCounter + "]" after the counter grew by one
// when a document already has path as its Tag. DocumentCounter grows by one
// either way.
std::string MakeUniqueDocumentName(const OpenDocumentTags& open, std::string_view path);

// ---------------------------------------------------------------------------
// Building the document

// The picture step of loadBitmap: for "gif", "wmf", "emf", "dib" and "bmp"
// (any case) the platform's picture loader reads the file and its size is
// the picture's; for every other extension the picture is hLoadedBitmap,
// which the caller has set with LoadImageFile beforehand, and the size is
// LoadedWidth x LoadedHeight. The picture is flattened to 24 bits, drawn at
// its own size into the top-left of a picture of that size (clipped, the
// rest black) and becomes a Bits array. On success LoadedWidth and
// LoadedHeight hold the document's size. False, with `picture` untouched,
// when there is no picture to take; on the LoadImageFile road LoadedWidth
// and LoadedHeight are then left one above what they were, and with no
// picture at all "[FreeImage_DIB_From_BMP] No bitmap specified to convert"
// goes to the error sink.
bool BuildDocumentPicture(const std::string& path, std::string_view extension, Bits& picture);

struct LoadBitmapResult {
  enum class Outcome {
    Opened,       // picture, Tag and Caption are set
    AlreadyOpen,  // message "File Already Opened!", title "Opened"
    Layered,      // a "klf" project: the layered file reader takes over
    Failed,       // message "Unexpected error loading image", title "Kelvane"
  };
  Outcome outcome = Outcome::Failed;
  std::string message;
  std::string title;
  Bits picture;
  std::string Tag;
  std::string Caption;
};

inline constexpr std::string_view kAlreadyOpenedMessage = "File Already Opened!";
inline constexpr std::string_view kAlreadyOpenedTitle = "Opened";
inline constexpr std::string_view kLoadErrorMessage = "Unexpected error loading image";
inline constexpr std::string_view kProductTitle = "Kelvane";

// loadBitmap without its windows. In order: the already-open check; "klf"
// leaves for the layered reader; the picture (BuildDocumentPicture); Tag and
// Caption (MakeUniqueDocumentName, GetFileNamePart); the optimized copy in
// GetOptimizedTempName() (WriteOptimizedCopy of image_save.h);
// AddRecentFile(path); and, when rememberFolder is set, the folder of path
// into settings.OpenFolder. A failed picture step changes nothing but the
// result. The caller shows the message, adds the document's Tag to the open
// list and does the window steps (layer 0, undo, zoom, window state).
LoadBitmapResult loadBitmap(const std::string& path, std::string_view extension, const OpenDocumentTags& open,
                            StartRecord& settings, bool rememberFolder = true);

}  // namespace kelvane
