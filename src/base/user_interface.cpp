#include "base/user_interface.h"

#include "document/bits.h"

namespace kelvane {

struct MemoryClipboard::Slot {
  Bits picture;
};

MemoryClipboard::MemoryClipboard() : slot_(std::make_unique<Slot>()) {}
MemoryClipboard::~MemoryClipboard() = default;
bool MemoryClipboard::HasPicture() const { return !slot_->picture.IsNull(); }
Bits MemoryClipboard::Picture() const { return slot_->picture; }
void MemoryClipboard::SetPicture(const Bits& picture) { slot_->picture = picture; }
void MemoryClipboard::Empty() { slot_->picture = Bits(); }

}  // namespace kelvane
