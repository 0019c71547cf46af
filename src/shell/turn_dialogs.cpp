#include "shell/turn_dialogs.h"

#include <utility>

#include "shell/number_box.h"

namespace kelvane {

// --- fOrientation --------------------------------------------------------------------

int32_t fOrientation::QuarterTurns() const {
  if (cbOrientation < 0 || cbOrientation >= static_cast<int32_t>(kOrientationItems.size())) return 0;
  return cbOrientation + 1;
}

Bits fOrientation::Orient(cBitFilter& ImageFilter, const Bits& picture) const {
  ImageFilter.SetBits(picture);
  for (int32_t turn = 0; turn < QuarterTurns(); ++turn) {
    const Bits source = ImageFilter.GetBits();
    ImageFilter.BitsRotate90(source);
  }
  if (chkFlip[0] || chkFlip[1]) ImageFilter.SetBits(ImageFilter.Flip(chkFlip[1], chkFlip[0]));
  return ImageFilter.GetBits();
}

DialogResult fOrientation::OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region) const {
  Bits turned = Orient(ImageFilter, bits);
  int32_t width = bits.Width(), height = bits.Height();
  if (QuarterTurns() % 2 == 1) std::swap(width, height);
  CreateBlank(bits, width, height);
  bits = std::move(turned);
  region.Init(0, 0, width, height);
  ImageFilter.BitsRegion(region.RegionMain());
  DialogResult result;
  result.closed = true;
  result.takeUndo = true;
  result.statusSize = SizeText(width, height);
  return result;
}

// --- fRotate -------------------------------------------------------------------------

int32_t fRotate::Degrees() const { return NumberBoxInteger(txtDegrees); }

void fRotate::TypeDegrees(std::string_view text) {
  txtDegrees = std::string(text);
  const int32_t value = Degrees();
  // The bar refuses a value past its range; the box keeps what was typed.
  if (value >= kMin && value <= kMax) sbDegrees = value;
}

void fRotate::ScrollDegrees(int32_t value) {
  sbDegrees = value < kMin ? kMin : (value > kMax ? kMax : value);
  txtDegrees = NumberBoxText(sbDegrees);
}

void fRotate::Press45(int32_t index) {
  if (index != 0 && index != 1) return;
  const int64_t sum = int64_t{Degrees()} + (index == 0 ? 45 : -45);
  ScrollDegrees(static_cast<int32_t>(sum % 180));
}

Bits fRotate::Preview(cBitFilter& engine, const Bits& picture) const {
  const RectRegion whole = RectRegion::FromRect(0, 0, picture.Width(), picture.Height());
  engine.SetBits(picture);
  engine.BitsRegion(&whole);
  Bits out = chkAntialiasing ? engine.RotateSmooth(Degrees()) : engine.ROTATE(Degrees(), true);
  engine.BitsRegion(nullptr);
  return out;
}

}  // namespace kelvane
