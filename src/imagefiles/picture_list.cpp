#include "imagefiles/picture_list.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <new>

#include "base/byte_io.h"
#include "imagefiles/file_properties.h"

namespace kelvane {

namespace {

// What stands behind the last "." of the file name, in lower case.
std::string LowerExtension(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  const size_t dot = name.rfind('.');
  std::string ext = dot == std::string::npos ? std::string() : name.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext;
}

// Blanks off both ends; other white space is part of the path.
std::string TrimBlanks(const std::string& s) {
  const size_t first = s.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  const size_t last = s.find_last_not_of(' ');
  return s.substr(first, last - first + 1);
}

// A regular file (or a link to one). A text with a NUL names no file.
bool FileExists(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) return false;
  std::error_code ec;
  return std::filesystem::is_regular_file(path, ec);
}

// The trimmed path of each whole record, in order.
std::vector<std::string> ReadRecords(const ByteVector& bytes) {
  const size_t count = bytes.size() / kPictureListRecordBytes;
  std::vector<std::string> paths;
  paths.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const char* start = reinterpret_cast<const char*>(bytes.data()) + i * kPictureListRecordBytes;
    paths.push_back(TrimBlanks(std::string(start, kPictureListRecordBytes)));
  }
  return paths;
}

}  // namespace

std::string BasketSizeText(uintmax_t bytes) {
  // Fifteen significant digits, no trailing zeros, never an exponent here:
  // bytes / 1024 has at most ten decimals, so this is exact below 97 MiB.
  char text[64];
  std::snprintf(text, sizeof text, "%.15g", static_cast<double>(bytes) / 1024.0);
  return std::string(text) + " KB";
}

BasketItem& BasketList::AddFile(const std::filesystem::path& path) {
  BasketItem item;
  item.Text = path.filename().string();
  item.Tag = path.string();
  std::error_code ec;
  const uintmax_t size = std::filesystem::file_size(path, ec);
  item.SizeText = BasketSizeText(ec ? 0 : size);
  item.TypeText = FileTypeText(path);
  items_.push_back(std::move(item));
  return items_.back();
}

bool BasketList::Contains(const std::string& tag) const {
  return std::any_of(items_.begin(), items_.end(), [&tag](const BasketItem& item) { return item.Tag == tag; });
}

bool SaveList(PictureListDialog& dialog, const BasketList& list) {
  if (list.Empty()) return true;
  dialog.CancelError = true;
  dialog.Filter = kPictureListFilter;
  if (!dialog.ShowSave()) return true;
  try {
    ByteVector bytes(list.Count() * kPictureListRecordBytes, ' ');
    for (size_t i = 0; i < list.Count(); ++i) {
      const std::string& tag = list.Item(i).Tag;
      std::copy_n(tag.begin(), std::min(tag.size(), kPictureListRecordBytes),
                  bytes.begin() + static_cast<std::ptrdiff_t>(i * kPictureListRecordBytes));
    }
    return OverwriteFileStart(dialog.FileName, bytes);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

size_t LoadList(PictureListDialog& dialog, BasketList& list, const MessageSink& messages) {
  dialog.CancelError = true;
  dialog.Filter = kPictureListFilter;
  if (!dialog.ShowOpen()) return 0;
  const auto say = [&messages](std::string text, std::string title) {
    if (messages) messages({std::move(text), std::move(title), MessageIcon::Critical});
  };
  if (LowerExtension(dialog.FileName) != "kipl") {
    say("This is  not a valid picture List!", "INVALID PICTURE LIST");
    return 0;
  }
  size_t added = 0;
  size_t lost = 0;
  try {
    ByteVector bytes;
    std::error_code ec;
    // Only a regular file is read: a folder fails, a pipe or device would
    // block or never end.
    if (!std::filesystem::is_regular_file(dialog.FileName, ec) || !ReadWholeFile(dialog.FileName, bytes)) return 0;
    for (const std::string& path : ReadRecords(bytes)) {
      if (FileExists(path)) {
        list.AddFile(path);
        ++added;
      } else {
        ++lost;
      }
    }
  } catch (const std::bad_alloc&) {
    return added;
  }
  if (lost > 0)
    say(std::to_string(lost) + " files in this picture List are no longer valid! They will be not listed.",
        "INVALID FILE ASSOCIATIONS!");
  return added;
}

}  // namespace kelvane
