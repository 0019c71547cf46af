// The overlay window's model: lays another open picture over the active one
// through the engine's TileMask, without a window.
//
// Contract:
//  - The options are the window's controls: the chosen overlay picture, the
//    left and top offsets, whether the picture is tiled, the transparency in
//    percent and the mask colour.
//  - OK becomes one TileMask call, made by name through the catalogue:
//    TileMask(overlay picture, sbXOffset, sbYOffset, chkTiled, sbTransparency,
//    mask colour), where the mask colour is lblMaskColor when chkMaskColor is
//    on and -1 (no colour) otherwise. A transparency of t percent keeps t
//    percent of the picture under the overlay: each channel becomes
//    round(input * t / 100 + overlay * (1 - t / 100)).
//  - The engine takes the target's array and region first (the three-step
//    pattern). With chkCreateNew on the target is a new document of the
//    active picture's size filled from it, whose region is the whole picture;
//    otherwise it is the active document with its own selection.
//  - Offsets run from 0 to the active picture's last column and row,
//    the transparency from 0 to 100; values outside are held to the range.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "document/bits.h"
#include "document/rect_region.h"
#include "filters/bit_filter.h"

namespace kelvane {

inline constexpr std::string_view kOverlayTitle = "Overlay image";
// The name of the undo entry the command makes.
inline constexpr std::string_view kOverlayActionName = "Overlay Image";

// Captions of the window's controls.
inline constexpr std::string_view kOverlayListCaption = "Select image to overlay:";  // cbOverlay
inline constexpr std::string_view kCreateNewCaption = "Create &new image";          // chkCreateNew
inline constexpr std::string_view kTiledCaption = "&Tiled";                         // chkTiled
inline constexpr std::string_view kOptionsFrameCaption = "Options";                 // frOptions
inline constexpr std::string_view kXOffsetCaption = "Left offset";                  // sbXOffset
inline constexpr std::string_view kYOffsetCaption = "Top offset";                   // sbYOffset
inline constexpr std::string_view kTransparencyCaption = "Transparency";            // sbTransparency
inline constexpr std::string_view kMaskColorCaption = "&Mask color";                // chkMaskColor
inline constexpr std::string_view kOverlayOkCaption = "OK";
inline constexpr std::string_view kOverlayCancelCaption = "Cancel";

struct OverlayOptions {
  int32_t cbOverlay = -1;  // position of the overlay picture among the open documents
  bool chkCreateNew = false;
  bool chkTiled = false;
  int32_t sbXOffset = 0;
  int32_t sbYOffset = 0;
  int32_t sbTransparency = 50;
  bool chkMaskColor = false;
  int32_t lblMaskColor = 0;  // 0x00BBGGRR

  // The colour TileMask skips: lblMaskColor when chkMaskColor is on, else -1.
  int32_t MaskColour() const { return chkMaskColor ? lblMaskColor : -1; }
};

struct OverlayLimits {
  int32_t maxXOffset = 0;
  int32_t maxYOffset = 0;
  static constexpr int32_t kMinTransparency = 0;
  static constexpr int32_t kMaxTransparency = 100;
};

// The slider ranges for an active picture.
OverlayLimits OverlayLimitsFor(const Bits& active);
// The options with the three sliders held to their ranges.
OverlayOptions HoldToLimits(const OverlayOptions& options, const OverlayLimits& limits);

// Value labels: lblXOffsetV, lblYOffsetV show the number, lblTransparencyV the
// number with "%" (it starts at "50%").
std::string OffsetText(int32_t offset);
std::string TransparencyText(int32_t transparency);

// The engine's part of OK: the target is `active` (with `activeRegion`), or
// with chkCreateNew a copy of it with the whole picture as region; TileMask
// runs on it with `overlay` and the options, and the result is returned for
// the target's Bits. Nothing when TileMask is not in the catalogue or its
// parameters are not the ones described above.
std::optional<Bits> RunOverlay(cBitFilter& engine, const Bits& active, const RectRegion* activeRegion,
                               const Bits& overlay, const OverlayOptions& options);

}  // namespace kelvane
