#include "filters/overlay.h"

#include <vector>

#include "filters/filter_catalogue.h"

namespace kelvane {

namespace {

int32_t Hold(int32_t v, int32_t low, int32_t high) { return v < low ? low : (v > high ? high : v); }

}  // namespace

OverlayLimits OverlayLimitsFor(const Bits& active) {
  OverlayLimits limits;
  limits.maxXOffset = active.MaxX() > 0 ? active.MaxX() : 0;
  limits.maxYOffset = active.MaxY() > 0 ? active.MaxY() : 0;
  return limits;
}

OverlayOptions HoldToLimits(const OverlayOptions& options, const OverlayLimits& limits) {
  OverlayOptions held = options;
  held.sbXOffset = Hold(options.sbXOffset, 0, limits.maxXOffset);
  held.sbYOffset = Hold(options.sbYOffset, 0, limits.maxYOffset);
  held.sbTransparency =
      Hold(options.sbTransparency, OverlayLimits::kMinTransparency, OverlayLimits::kMaxTransparency);
  return held;
}

std::string OffsetText(int32_t offset) { return std::to_string(offset); }

std::string TransparencyText(int32_t transparency) { return std::to_string(transparency) + "%"; }

std::optional<Bits> RunOverlay(cBitFilter& engine, const Bits& active, const RectRegion* activeRegion,
                               const Bits& overlay, const OverlayOptions& options) {
  const FilterMethod* method = FindFilterMethod("TileMask");
  if (!method || method->params.size() != 6) return std::nullopt;
  const ParamKind tileKind = method->params[0].kind;
  if (tileKind != ParamKind::Picture && tileKind != ParamKind::Source) return std::nullopt;

  const OverlayOptions o = HoldToLimits(options, OverlayLimitsFor(active));
  std::vector<ArgValue> values;
  // The overlay travels as a pointer: the catalogue reads a picture argument
  // through it without a copy.
  values.emplace_back(&overlay);
  const int32_t numbers[] = {o.sbXOffset, o.sbYOffset, o.chkTiled ? 1 : 0, o.sbTransparency, o.MaskColour()};
  for (size_t i = 0; i < 5; ++i) {
    std::optional<ArgValue> v = NumberAs(method->params[i + 1].kind, numbers[i]);
    if (!v) return std::nullopt;
    values.push_back(std::move(*v));
  }

  // A new document is made at the active picture's size, filled from it, and
  // its region is reset to the whole picture.
  const RectRegion whole = RectRegion::FromRect(0, 0, active.Width(), active.Height());
  engine.SetBits(active);
  engine.BitsRegion(o.chkCreateNew ? &whole : activeRegion);
  MethodResult result = InvokeMethod(engine, *method, values);
  engine.BitsRegion(o.chkCreateNew ? nullptr : activeRegion);  // `whole` ends here
  if (result.pixels) return std::move(*result.pixels);
  return engine.GetBits();
}

}  // namespace kelvane
