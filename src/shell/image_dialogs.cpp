#include "shell/image_dialogs.h"

#include <algorithm>

#include "base/numeric.h"
#include "shell/number_box.h"

namespace kelvane {

bool SizeTest(int32_t width, int32_t height, std::string& message) {
  if (width < 2 || height < 2) {
    message = std::string(kMinimumSizeMessage);
    return false;
  }
  return true;
}

std::string SizeText(int32_t width, int32_t height) {
  return NumberBoxText(width) + " x " + NumberBoxText(height);
}

void CreateBlank(Bits& bits, int32_t width, int32_t height) {
  if (width < 1 || height < 1) return;
  bits.Reset(width, height);
}

namespace {

// Round(value * numerator / denominator) with the multiplication first, so
// an exact half stays exact and goes to the even neighbour.
int32_t Proportional(int32_t value, int32_t numerator, int32_t denominator) {
  return Round(static_cast<double>(value) * numerator / denominator);
}

// The selection reset to the whole new picture, and the engine told.
void ResetRegion(cBitFilter& filter, cBitRegion& region, int32_t width, int32_t height) {
  region.Init(0, 0, width, height);
  filter.BitsRegion(region.RegionMain());
}

DialogResult Refused(const std::string& message) {
  DialogResult result;
  result.message = message;
  return result;
}

DialogResult ClosedWithUndo(const Bits& bits) {
  DialogResult result;
  result.closed = true;
  result.takeUndo = true;
  result.statusSize = SizeText(bits.Width(), bits.Height());
  return result;
}

}  // namespace

// --- SizeBoxes ---------------------------------------------------------------------

int32_t SizeBoxes::Width() const { return NumberBoxInteger(txtW); }
int32_t SizeBoxes::Height() const { return NumberBoxInteger(txtH); }

void SizeBoxes::TypeWidth(std::string_view text) {
  txtW = std::string(text);
  if (!chkKeepProportions || Changing || OriginalWidth == 0) return;
  Changing = true;
  txtH = NumberBoxText(Proportional(Width(), OriginalHeight, OriginalWidth));
  Changing = false;
}

void SizeBoxes::TypeHeight(std::string_view text) {
  txtH = std::string(text);
  if (!chkKeepProportions || Changing || OriginalHeight == 0) return;
  Changing = true;
  txtW = NumberBoxText(Proportional(Height(), OriginalWidth, OriginalHeight));
  Changing = false;
}

void SizeBoxes::Write(int32_t width, int32_t height) {
  Changing = true;
  txtW = NumberBoxText(width);
  txtH = NumberBoxText(height);
  Changing = false;
}

// --- fNew --------------------------------------------------------------------------

const std::vector<std::string>& fNew::StandardSizes() {
  static const std::vector<std::string> sizes = {"Custom...", "240 x 320", "320 x 240", "480 x 640", "640 x 480",
                                                 "600 x 800", "800 x 600", "768 x 1024", "1024 x 768"};
  return sizes;
}

fNew::fNew() : cbDefault(StandardSizes()) {
  CP = 0xFFFFFF;
  OP = White;
  ChooseStandardSize(4);
}

void fNew::ChooseStandardSize(int32_t index) {
  if (index < 0 || index >= static_cast<int32_t>(cbDefault.size())) return;
  cbDefaultIndex = index;
  if (index == 0) return;
  const std::string& item = cbDefault[static_cast<size_t>(index)];
  const size_t cut = item.find(" x ");
  if (cut == std::string::npos) return;
  size.Write(NumberBoxInteger(item.substr(0, cut)), NumberBoxInteger(item.substr(cut + 3)));
  size.OriginalWidth = size.Width();
  size.OriginalHeight = size.Height();
}

void fNew::TypeWidth(std::string_view text) {
  cbDefaultIndex = 0;
  size.TypeWidth(text);
}

void fNew::TypeHeight(std::string_view text) {
  cbDefaultIndex = 0;
  size.TypeHeight(text);
}

void fNew::SetKeepProportions(bool on) {
  size.chkKeepProportions = on;
  if (on) {
    size.OriginalWidth = size.Width();
    size.OriginalHeight = size.Height();
  }
}

DialogResult fNew::OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region) {
  const int32_t width = size.Width(), height = size.Height();
  std::string message;
  if (!SizeTest(width, height, message)) return Refused(message);

  const std::string text = SizeText(width, height);
  if (std::find(cbDefault.begin(), cbDefault.end(), text) == cbDefault.end()) cbDefault.push_back(text);

  CreateBlank(bits, width, height);
  region.Init(0, 0, width, height);
  ImageFilter.SetBits(bits);
  ImageFilter.BitsRegion(region.RegionMain());
  if (OP == White) {
    bits = ImageFilter.NewDoc(255, 255, 255);
  } else if (OP == Custom) {
    // The colour taken apart by division, as the dialog always did: red is
    // the low byte, green the low byte of colour / 256, blue of colour / 65536.
    const uint8_t red = static_cast<uint8_t>(CP & 0xFF);
    const uint8_t green = static_cast<uint8_t>(Trunc(CP / 256.0) & 0xFF);
    const uint8_t blue = static_cast<uint8_t>(Trunc(CP / 65536.0) & 0xFF);
    bits = ImageFilter.NewDoc(red, green, blue);
  }
  DialogResult result;
  result.closed = true;
  return result;
}

// --- fSize -------------------------------------------------------------------------

fSize::fSize(int32_t width, int32_t height) {
  size.OriginalWidth = width;
  size.OriginalHeight = height;
  size.chkKeepProportions = true;
  size.Write(width, height);
}

void fSize::ChoosePreset(int32_t index) {
  if (index < 0 || index >= static_cast<int32_t>(kPreDefFactors.size())) return;
  cbPreDefIndex = index;
  const double factor = kPreDefFactors[static_cast<size_t>(index)];
  size.Write(Round(size.OriginalWidth * factor), Round(size.OriginalHeight * factor));
}

DialogResult fSize::OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region) {
  const int32_t width = size.Width(), height = size.Height();
  std::string message;
  if (!SizeTest(width, height, message)) return Refused(message);

  ImageFilter.SetBits(bits);
  if (chkInterpolate) {
    ImageFilter.BitsResample(bits, width, height);
  } else {
    ImageFilter.BitsResize(bits, width, height);
  }
  CreateBlank(bits, width, height);
  bits = ImageFilter.GetBits();
  ResetRegion(ImageFilter, region, width, height);
  return ClosedWithUndo(bits);
}

// --- fCanvas -----------------------------------------------------------------------

fCanvas::fCanvas(int32_t width, int32_t height) {
  size.OriginalWidth = width;
  size.OriginalHeight = height;
  size.Write(width, height);
}

void fCanvas::CentrePicture() {
  OffsetX = Round((static_cast<double>(size.Width()) - size.OriginalWidth) / 2);
  OffsetY = Round((static_cast<double>(size.Height()) - size.OriginalHeight) / 2);
}

void fCanvas::TypeWidth(std::string_view text) {
  size.TypeWidth(text);
  CentrePicture();
}

void fCanvas::TypeHeight(std::string_view text) {
  size.TypeHeight(text);
  CentrePicture();
}

void fCanvas::ChoosePreset(int32_t index) {
  if (index < 0 || index >= static_cast<int32_t>(kPreDefSteps.size())) return;
  cbPreDefIndex = index;
  const int32_t step = kPreDefSteps[static_cast<size_t>(index)];
  size.Write(size.OriginalWidth + step, size.OriginalHeight + step);
  CentrePicture();
}

CanvasView fCanvas::View(int32_t boxWidth, int32_t boxHeight) const {
  CanvasView view;
  const int32_t width = size.Width(), height = size.Height();
  if (width < 1 || height < 1 || boxWidth < 1 || boxHeight < 1) return view;
  view.scale = std::min(static_cast<double>(boxWidth) / width, static_cast<double>(boxHeight) / height);
  const int32_t cw = Round(width * view.scale), ch = Round(height * view.scale);
  view.iCnv.left = Round((static_cast<double>(boxWidth) - cw) / 2);
  view.iCnv.top = Round((static_cast<double>(boxHeight) - ch) / 2);
  view.iCnv.right = view.iCnv.left + cw;
  view.iCnv.bottom = view.iCnv.top + ch;
  view.iImg.left = view.iCnv.left + Round(OffsetX * view.scale);
  view.iImg.top = view.iCnv.top + Round(OffsetY * view.scale);
  view.iImg.right = view.iImg.left + Round(size.OriginalWidth * view.scale);
  view.iImg.bottom = view.iImg.top + Round(size.OriginalHeight * view.scale);
  return view;
}

void fCanvas::DragImage(int32_t left, int32_t top, int32_t boxWidth, int32_t boxHeight) {
  const CanvasView view = View(boxWidth, boxHeight);
  if (view.iImg.Width() > 0) {
    OffsetX = Proportional(left - view.iCnv.left, size.OriginalWidth, view.iImg.Width());
  }
  if (view.iImg.Height() > 0) {
    OffsetY = Proportional(top - view.iCnv.top, size.OriginalHeight, view.iImg.Height());
  }
}

DialogResult fCanvas::OK(cBitFilter& ImageFilter, Bits& bits, cBitRegion& region) {
  const int32_t width = size.Width(), height = size.Height();
  std::string message;
  if (!SizeTest(width, height, message)) return Refused(message);

  const Bits old = bits;
  CreateBlank(bits, width, height);
  ImageFilter.SetBits(bits);
  ResetRegion(ImageFilter, region, width, height);
  // Laid once, the tile's step runs from the offset to the canvas's far edge;
  // a picture dragged wholly past that edge has nothing left on the canvas.
  if (OffsetX < width && OffsetY < height) {
    bits = ImageFilter.TileMask(old, OffsetX, OffsetY, false, 0, Colour{-1});
    ImageFilter.SetBits(bits);
  }
  return ClosedWithUndo(bits);
}

}  // namespace kelvane
