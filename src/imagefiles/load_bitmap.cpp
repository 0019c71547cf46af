#include "imagefiles/load_bitmap.h"

#include <FreeImage.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <limits>
#include <mutex>

#include "base/numeric.h"
#include "imagefiles/format_bridge.h"
#include "imagefiles/image_load.h"
#include "imagefiles/image_save.h"

namespace kelvane {

int32_t DuplicateCounter = 0;
int32_t DocumentCounter = 0;

// ---------------------------------------------------------------------------
// Temp files

std::string GetTempFolder() {
  std::error_code ec;
  std::string folder = std::filesystem::temp_directory_path(ec).string();
  if (ec || folder.empty()) folder = "/tmp";
  // The name as the system gives it, cut at a first NUL.
  if (const size_t nul = folder.find('\0'); nul != std::string::npos) folder.resize(nul);
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder;
}

std::string GetOptimizedTempName() { return GetTempFolder() + "/t65s8s98"; }

namespace {
// flock conflicts between two descriptors of one process too, so nested
// holders in the same process share one descriptor.
std::recursive_mutex& TempLockMutex() {
  static std::recursive_mutex m;
  return m;
}
int temp_lock_depth = 0;
int temp_lock_fd = -1;
}  // namespace

TempFolderLock::TempFolderLock() {
  TempLockMutex().lock();
  if (temp_lock_depth++ == 0) {
    temp_lock_fd = ::open(GetTempFolder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (temp_lock_fd >= 0) {
      while (::flock(temp_lock_fd, LOCK_EX) != 0 && errno == EINTR) {
      }
    }
  }
  fd_ = temp_lock_fd;
}

TempFolderLock::~TempFolderLock() {
  if (--temp_lock_depth == 0 && temp_lock_fd >= 0) {
    ::flock(temp_lock_fd, LOCK_UN);
    ::close(temp_lock_fd);
    temp_lock_fd = -1;
  }
  TempLockMutex().unlock();
}

// ---------------------------------------------------------------------------
// Names

std::string GetFileNamePart(std::string_view path) {
  const size_t slash = path.rfind('/');
  std::string name(slash == std::string_view::npos ? path : path.substr(slash + 1));
  while (!name.empty() && name.back() == ' ') name.pop_back();
  return name;
}

std::string GetFolderPart(std::string_view path) {
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

std::string GetExtensionName(std::string_view path) {
  const size_t slash = path.rfind('/');
  const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  const size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string() : std::string(name.substr(dot + 1));
}

bool IsDocumentOpen(const OpenDocumentTags& open, std::string_view path) {
  for (const std::string& tag : open)
    if (tag == path) return true;
  return false;
}

std::string MakeUniqueDocumentName(const OpenDocumentTags& open, std::string_view path) {
  std::string result(path);
  if (IsDocumentOpen(open, path)) {
    DuplicateCounter += 1;
    result += "[" + std::to_string(DuplicateCounter) + "]";
  }
  DocumentCounter += 1;
  return result;
}

// ---------------------------------------------------------------------------
// Building the document

bool BuildDocumentPicture(const std::string& path, std::string_view extension, Bits& picture) {
  constexpr int16_t kLargest = std::numeric_limits<int16_t>::max();
  const std::string ext = LowerCaseExtension(extension);
  // The shared size is carried one above the picture's while the hidden
  // picture box is sized and set back after the drawing, so that a
  // successful build leaves the true size in it and a failed one leaves it
  // raised by one.
  BitmapHandle bitmap;
  if (IsPlatformPictureExtension(ext)) {
    bitmap = LoadPlatformPicture(path, ext);
    if (bitmap && (bitmap->Width() >= kLargest || bitmap->Height() >= kLargest)) bitmap.reset();
    if (bitmap) {
      LoadedWidth = static_cast<int16_t>(bitmap->Width() + 1);
      LoadedHeight = static_cast<int16_t>(bitmap->Height() + 1);
    }
  } else {
    if (LoadedWidth == kLargest || LoadedHeight == kLargest) return false;  // the raise would overflow
    LoadedWidth = static_cast<int16_t>(LoadedWidth + 1);
    LoadedHeight = static_cast<int16_t>(LoadedHeight + 1);
    bitmap = hLoadedBitmap;
  }

  // The decoder copy; it fails on an empty handle and says so in the sink.
  FreeImageStart();
  FIBITMAP* decoded = nullptr;
  if (FreeImage_DIB_From_BMP(bitmap.get(), decoded) != kFormatTrue) return false;
  // Every source, also those of the platform road, is flattened to 24 bits
  // and drawn at its own size into the top-left of the document's hidden
  // picture, which SetPicture then takes into Bits.
  FIBITMAP* flat = FreeImage_ConvertTo24Bits(decoded);
  FreeImage_Unload(decoded);
  if (!flat) return false;
  const int width = LoadedWidth - 1;
  const int height = LoadedHeight - 1;
  cDIBSection iSrc;
  const bool drawn = width >= 1 && height >= 1 && iSrc.Create(width, height) &&
                     FreeImage_RenderDIB(flat, &iSrc, 0, 0, -1, -1) == kFormatTrue;
  FreeImage_Unload(flat);
  if (!drawn) return false;
  LoadedWidth = static_cast<int16_t>(width);
  LoadedHeight = static_cast<int16_t>(height);
  picture = iSrc.ToBits();
  return true;
}

LoadBitmapResult loadBitmap(const std::string& path, std::string_view extension, const OpenDocumentTags& open,
                            StartRecord& settings, bool rememberFolder) {
  LoadBitmapResult result;
  if (IsDocumentOpen(open, path)) {
    result.outcome = LoadBitmapResult::Outcome::AlreadyOpen;
    result.message = kAlreadyOpenedMessage;
    result.title = kAlreadyOpenedTitle;
    return result;
  }
  const std::string ext = LowerCaseExtension(extension);
  if (ext == "klf") {
    result.outcome = LoadBitmapResult::Outcome::Layered;
    return result;
  }
  if (!BuildDocumentPicture(path, ext, result.picture)) {
    result.outcome = LoadBitmapResult::Outcome::Failed;
    result.message = kLoadErrorMessage;
    result.title = kProductTitle;
    result.picture = Bits();
    return result;
  }
  result.outcome = LoadBitmapResult::Outcome::Opened;
  result.Tag = MakeUniqueDocumentName(open, path);
  result.Caption = GetFileNamePart(result.Tag);
  WriteOptimizedCopy(result.picture);
  AddRecentFile(settings, path);
  if (rememberFolder) settings.OpenFolder.Set(GetFolderPart(path));
  return result;
}

}  // namespace kelvane
