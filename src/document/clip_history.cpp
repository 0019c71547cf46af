#include "document/clip_history.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "document/painting.h"

namespace kelvane {

namespace {

// Positions beyond this put the clip far off any picture; the bound keeps
// x + width inside 32 bits.
constexpr int32_t kFloatLimit = 1 << 28;

const ClipSlot& FreeSlot() {
  static const ClipSlot slot;
  return slot;
}

// The pixels BitsPaintPreMasked reaches when a cw x ch source is laid with
// its top-left at (x, y) on a W x H picture, as an exclusive rectangle: the
// platform's intersection of (0, 0, W - 1, H - 1) with (x, y, x + cw - 1,
// y + ch - 1), walked inclusively. Empty when the primitive paints nothing.
Rect PaintedArea(int32_t width, int32_t height, const Bits& source, int32_t x, int32_t y) {
  if (source.IsNull()) return {};
  const int32_t tw = width - 1, th = height - 1, sw = source.MaxX(), sh = source.MaxY();
  if (tw < 1 || th < 1 || sw < 1 || sh < 1) return {};
  const Rect r = IntersectRect(Rect{0, 0, tw, th}, Rect{x, y, x + sw, y + sh});
  if (r.IsEmpty()) return {};
  return Rect{r.left, r.top, r.right + 1, r.bottom + 1};
}

// A copy of the picture's pixels inside `area` (all four bytes).
Bits CopyArea(const Bits& picture, const Rect& area) {
  Bits patch(area.Width(), area.Height());
  const size_t rowBytes = static_cast<size_t>(area.Width()) * 4;
  for (int32_t y = 0; y < area.Height(); ++y) {
    std::memcpy(patch.Row(y), picture.Pixel(area.left, area.top + y), rowBytes);
  }
  return patch;
}

bool AreaDiffers(const Bits& picture, const Rect& area, const Bits& patch) {
  const size_t rowBytes = static_cast<size_t>(area.Width()) * 4;
  for (int32_t y = 0; y < area.Height(); ++y) {
    if (std::memcmp(patch.Row(y), picture.Pixel(area.left, area.top + y), rowBytes) != 0) return true;
  }
  return false;
}

}  // namespace

std::string ClipCaption(int32_t row) { return "    Clip " + std::to_string(row + 1); }

std::string ClipPageTitle(int32_t width, int32_t height) {
  return std::string(kClipTitlePrefix) + std::to_string(width) + " x " + std::to_string(height);
}

ClipHistory::ClipHistory() {
  for (int32_t i = 0; i < kClipSlots; ++i) slots_[i].Caption = ClipCaption(i);
  rows_.push_back(HistoryRow{0, std::string(kOriginalAction)});
}

// ---------------------------------------------------------------------------
// Clips

bool ClipHistory::CutBits(Document& doc, cBitFilter& filter, const MessageSink& messages) {
  return TakeSelection(doc, filter, messages, true);
}

bool ClipHistory::CopyBits(Document& doc, cBitFilter& filter, const MessageSink& messages) {
  return TakeSelection(doc, filter, messages, false);
}

bool ClipHistory::TakeSelection(Document& doc, cBitFilter& filter, const MessageSink& messages, bool cut) {
  if (!doc.PictureExists() || doc.PictureBits().IsNull()) return false;
  const cBitRegion& selection = doc.BitRegion();
  Rect box;
  selection.BoundRect(box.left, box.top, box.right, box.bottom);
  // A box reaching past the picture is judged by the part that the crop
  // can take, so a clip is never thinner than 2 pixels.
  box = IntersectRect(box, Rect{0, 0, doc.PictureWidth(), doc.PictureHeight()});
  if (box.Width() < 2 || box.Height() < 2) {
    if (messages) {
      messages(MessageBoxText{std::string(cut ? kMinimumCutText : kMinimumCopyText),
                              std::string(kClipMessageTitle), MessageIcon::Information});
    }
    return false;
  }
  const RectRegion* region = selection.Region();
  try {
    const kelvane::Bits& picture = doc.PictureBits();
    filter.BitsRegion(region);
    filter.SetBits(picture);
    filter.BitsCropMasked(picture, box.left, box.top, box.right, box.bottom);
    kelvane::Bits clip = filter.GetBits();
    // A selected pixel must not carry the "masked out" mark of the crop.
    if (region) {
      for (int32_t y = 0; y < clip.Height(); ++y) {
        uint8_t* row = clip.Row(y);
        region->ForEachSpan(box.top + y, box.left, box.right, [&](int32_t x0, int32_t x1) {
          for (int32_t x = x0 - box.left; x < x1 - box.left; ++x) {
            if (row[4 * x + 3] == 255) row[4 * x + 3] = 254;
          }
        });
      }
    }
    if (cut) {
      filter.SetBits(picture);
      filter.BitsBlack();
      doc.Bits(filter.BitsRef());
    }
    return AddClip(clip) >= 0;
  } catch (const std::exception&) {
    return false;
  }
}

int32_t ClipHistory::AddClip(const kelvane::Bits& clip) {
  if (clip.IsNull() || clip.Width() < 1 || clip.Height() < 1) return -1;
  int32_t row = -1;
  for (int32_t i = 0; i < kClipSlots && row < 0; ++i) {
    if (!slots_[i].Used()) row = i;
  }
  if (row < 0) {
    row = reuseNext_;
    reuseNext_ = (reuseNext_ + 1) % kClipSlots;
  }
  try {
    slots_[row].Clip = clip;
  } catch (const std::exception&) {
    return -1;
  }
  slots_[row].Header = clip.Header();
  selected_ = row;
  clipTitle_ = ClipPageTitle(clip.Width(), clip.Height());
  return row;
}

void ClipHistory::ClearCLip() {
  for (ClipSlot& slot : slots_) {
    slot.Clip = kelvane::Bits();
    slot.Header = BitmapHeader{};
  }
  reuseNext_ = 0;
  selected_ = -1;
}

void ClipHistory::ClearCLip(int32_t row) {
  if (row < 0 || row >= kClipSlots) return;
  slots_[row].Clip = kelvane::Bits();
  slots_[row].Header = BitmapHeader{};
  if (selected_ == row) selected_ = -1;
}

bool ClipHistory::SelectClip(int32_t row) {
  if (row < 0 || row >= kClipSlots || !slots_[row].Used()) return false;
  selected_ = row;
  clipTitle_ = ClipPageTitle(slots_[row].Width(), slots_[row].Height());
  return true;
}

const ClipSlot& ClipHistory::Slot(int32_t row) const {
  return row >= 0 && row < kClipSlots ? slots_[row] : FreeSlot();
}

int32_t ClipHistory::ClipCount() const {
  return static_cast<int32_t>(
      std::count_if(slots_.begin(), slots_.end(), [](const ClipSlot& s) { return s.Used(); }));
}

void ClipHistory::SetPressure(int32_t percent) {
  pressure_ = std::clamp(percent, kPressureMin, kPressureMax);
}

// ---------------------------------------------------------------------------
// History page

void ClipHistory::Refill(const Document& doc) {
  const UndoHistory& history = doc.History();
  const std::vector<std::string>& names = history.HistoryNames();
  std::vector<HistoryRow> rows;
  const std::string first = names.empty() || names[0].empty() ? std::string(kOriginalAction) : names[0];
  rows.push_back(HistoryRow{0, first});
  const int32_t top = std::min<int32_t>(history.UndoTop(), static_cast<int32_t>(names.size()));
  for (int32_t i = 1; i < top; ++i) rows.push_back(HistoryRow{i, names[i]});
  rows_ = std::move(rows);
  shownImageID_ = doc.ImageID();
  scrolledRow_ = static_cast<int32_t>(rows_.size()) - 1;
}

void ClipHistory::SwapHistoy(Document& doc) {
  if (shownImageID_ == doc.ImageID()) return;
  try {
    Refill(doc);
  } catch (const std::exception&) {
  }
}

void ClipHistory::ShowSlotRow(int32_t slot, std::string_view name) {
  // Rows stay ordered by slot; a row that already shows the slot is renamed.
  auto it = std::lower_bound(rows_.begin(), rows_.end(), slot,
                             [](const HistoryRow& row, int32_t s) { return row.Number < s; });
  if (it != rows_.end() && it->Number == slot) {
    it->Text = std::string(name);
  } else {
    it = rows_.insert(it, HistoryRow{slot, std::string(name)});
  }
  scrolledRow_ = static_cast<int32_t>(it - rows_.begin());
}

void ClipHistory::loadHistory(Document& doc, int32_t slot, std::string_view actionName) {
  if (slot < 0) return;
  try {
    if (shownImageID_ != doc.ImageID()) SwapHistoy(doc);
    ShowSlotRow(slot, actionName);
  } catch (const std::exception&) {
  }
}

void ClipHistory::AfterSave(Document& doc, const UndoSaveResult& saved) {
  try {
    if (shownImageID_ != doc.ImageID() || saved.Shifted) {
      // A refill reads the document after the save: it already shows the
      // slot written, and after a shift the files have moved under the rows.
      shownImageID_ = 0;
      Refill(doc);
      return;
    }
    if (!saved.DroppedRows.empty()) {
      std::erase_if(rows_, [&](const HistoryRow& row) {
        return std::find(saved.DroppedRows.begin(), saved.DroppedRows.end(), row.Number) !=
               saved.DroppedRows.end();
      });
      if (rows_.empty()) rows_.push_back(HistoryRow{0, std::string(kOriginalAction)});
    }
    const std::vector<std::string>& names = doc.History().HistoryNames();
    if (saved.Slot >= 0 && saved.Slot < static_cast<int32_t>(names.size())) {
      const std::string& name = names[saved.Slot];
      ShowSlotRow(saved.Slot, saved.Slot == 0 && name.empty() ? kOriginalAction : std::string_view(name));
    }
  } catch (const std::exception&) {
  }
}

bool ClipHistory::Ltext_Click(Document& doc, int32_t row) {
  SwapHistoy(doc);
  if (shownImageID_ != doc.ImageID() || row < 0 || row >= static_cast<int32_t>(rows_.size())) return false;
  return doc.JumpToHistoryRow(rows_[row].Number);
}

bool ClipHistory::RestoreOriginal(Document& doc) { return Ltext_Click(doc, 0); }

int32_t ClipHistory::CurrentRow(const Document& doc) const {
  if (shownImageID_ != doc.ImageID()) return -1;
  const int32_t slot = doc.History().UndoPos() - 1;
  for (size_t i = 0; i < rows_.size(); ++i) {
    if (rows_[i].Number == slot) return static_cast<int32_t>(i);
  }
  return -1;
}

void ClipHistory::DocumentClosed(const Document& doc) {
  if (floating_ && floating_->ImageID == doc.ImageID()) floating_.reset();
  if (shownImageID_ != doc.ImageID()) return;
  shownImageID_ = 0;
  rows_.assign(1, HistoryRow{0, std::string(kOriginalAction)});
  scrolledRow_ = 0;
}

// ---------------------------------------------------------------------------
// Floating paste

bool ClipHistory::BeginPaste(Document& doc) {
  if (!doc.PictureExists() || selected_ < 0 || !slots_[selected_].Used()) return false;
  try {
    FloatingPaste paste;
    paste.ImageID = doc.ImageID();
    paste.Clip = slots_[selected_].Clip;
    floating_ = std::move(paste);
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

bool ClipHistory::IsFloating(const Document& doc) const {
  return floating_ && floating_->ImageID == doc.ImageID();
}

void ClipHistory::MoveFloatingPaste(const Document& doc, int32_t x, int32_t y) {
  if (!IsFloating(doc)) return;
  floating_->X = std::clamp(x, -kFloatLimit, kFloatLimit);
  floating_->Y = std::clamp(y, -kFloatLimit, kFloatLimit);
}

void ClipHistory::CancelFloatingPaste() { floating_.reset(); }

bool ClipHistory::FloatingPreview(const Document& doc, Rect& area, kelvane::Bits& patch) const {
  area = Rect{};
  if (!IsFloating(doc) || !doc.PictureExists()) return false;
  const kelvane::Bits& picture = doc.PictureBits();
  const Rect covered =
      PaintedArea(picture.Width(), picture.Height(), floating_->Clip, floating_->X, floating_->Y);
  if (covered.IsEmpty()) return false;
  try {
    kelvane::Bits local = CopyArea(picture, covered);
    // The same primitive as the drop, on a picture of the area's size, so
    // that the preview is the drop's result pixel for pixel.
    cBitRegion whole;
    whole.Init(0, 0, covered.Width(), covered.Height());
    kelvane::DoneBits done;
    const bool exists = true;
    PaintRandom random(0);
    PaintTarget target{local, whole, done, exists, random};
    BitsPaintPreMasked(target, floating_->X - covered.left, floating_->Y - covered.top, floating_->Clip,
                       pressure_, false);
    patch = std::move(local);
  } catch (const std::exception&) {
    return false;
  }
  area = covered;
  return true;
}

bool ClipHistory::DropFloatingPaste(Document& doc) {
  if (!IsFloating(doc)) return false;
  FloatingPaste paste = std::move(*floating_);
  floating_.reset();
  if (!doc.PictureExists() || !doc.BitRegion().RegionMain()) return false;
  const Rect covered = PaintedArea(doc.PictureWidth(), doc.PictureHeight(), paste.Clip, paste.X, paste.Y);
  if (covered.IsEmpty()) return false;
  try {
    const kelvane::Bits before = CopyArea(doc.PictureBits(), covered);
    PaintTarget target = doc.Target();
    BitsPaintPreMasked(target, paste.X, paste.Y, paste.Clip, pressure_, false);
    return AreaDiffers(doc.PictureBits(), covered, before);
  } catch (const std::exception&) {
    return false;
  }
}

// ---------------------------------------------------------------------------
// The system clipboard

void BitsCopyToClipboard(const Document& doc, Clipboard& clipboard) {
  if (!doc.PictureExists()) return;
  const kelvane::Bits& picture = doc.PictureBits();
  if (picture.IsNull() || picture.Width() < 1 || picture.Height() < 1) return;
  try {
    clipboard.SetPicture(CopyArea(picture, Rect{0, 0, picture.Width(), picture.Height()}));
  } catch (const std::exception&) {
  }
}

bool PasteFromClipboard(Document& doc, const Clipboard& clipboard) {
  try {
    if (!clipboard.HasPicture()) return false;
    const kelvane::Bits picture = clipboard.Picture();
    if (picture.IsNull() || picture.Width() < 1 || picture.Height() < 1) return false;
    doc.PPicture(picture);
    return doc.PictureExists();
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace kelvane
