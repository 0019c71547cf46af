// Picture lists (*.kipl): a saved image basket, and the basket model the
// batch converter, batch process and album windows fill from it.
//
// Contract:
//  - A picture list is a file of 150-byte records, one path each, its bytes as
//    the file system spells them, padded with blanks on the right; a longer
//    path is cut at 150 bytes. The number of records is the file's length /
//    150; a shorter tail is ignored.
//  - SaveList writes over the start of the chosen file without shortening it,
//    as all the program's random-access files do: saving fewer entries over a
//    longer list leaves that list's later records in place.
//  - LoadList refuses a file whose extension is not "kipl" (any case) before
//    opening it, adds one basket entry per record whose trimmed path names an
//    existing file, counts the others as lost and reports them once. A read
//    error, or a chosen name that is not a regular file (a folder, a pipe),
//    ends the load quietly with the entries added so far. Duplicates are
//    added as they come: the caller decides what to do with them.
//  - No windows: the common dialog and the message box are reached through
//    PictureListDialog and MessageSink. Nothing throws.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/user_interface.h"

namespace kelvane {

constexpr size_t kPictureListRecordBytes = 150;
inline constexpr const char* kPictureListFilter = "Picture List(*.kipl)|*.kipl";


// The common dialog as SaveList and LoadList drive it: they set Filter and
// CancelError, then show it. Show* returns false when the dialog was cancelled
// (with CancelError set, the platform raises its cancel error there) and true
// with FileName holding the chosen path.
class PictureListDialog {
 public:
  virtual ~PictureListDialog() = default;
  virtual bool ShowSave() = 0;
  virtual bool ShowOpen() = 0;

  std::string Filter;
  bool CancelError = false;
  std::filesystem::path FileName;
};

// One basket entry: text the file name, tag the full path, a check box, and
// the two sub items size and type.
struct BasketItem {
  std::string Text;
  std::string Tag;
  bool Checked = false;
  std::string SizeText;  // file size / 1024, as a decimal number, + " KB"
  std::string TypeText;  // the format's name (FileTypeText)
};

class BasketList {
 public:
  size_t Count() const { return items_.size(); }
  bool Empty() const { return items_.empty(); }
  const std::vector<BasketItem>& Items() const { return items_; }
  BasketItem& Item(size_t index) { return items_[index]; }
  const BasketItem& Item(size_t index) const { return items_[index]; }

  // Adds the entry for an existing file: text, tag and sub items as the
  // basket's folder list makes them.
  BasketItem& AddFile(const std::filesystem::path& path);
  void Add(BasketItem item) { items_.push_back(std::move(item)); }
  bool Contains(const std::string& tag) const;
  void Remove(size_t index) { items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index)); }
  void Clear() { items_.clear(); }

 private:
  std::vector<BasketItem> items_;
};

// The size sub item: bytes / 1024 as a decimal number (up to 15 significant
// digits, no trailing zeros) + " KB"; 1536 bytes give "1.5 KB".
std::string BasketSizeText(uintmax_t bytes);

// Writes the tags of the list's items, one per record. Nothing happens for an
// empty list or a cancelled dialog. False only when the file could not be
// written.
bool SaveList(PictureListDialog& dialog, const BasketList& list);

// Adds the valid paths of the chosen list to `list`. Messages go to `messages`
// (may be empty). Returns the number of entries added.
size_t LoadList(PictureListDialog& dialog, BasketList& list, const MessageSink& messages);

}  // namespace kelvane
