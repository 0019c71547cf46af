// The file dialogs' texts, kept as data for the windows to use: filter
// strings word for word (slips included: the comma in "*.rgb,*.rgba", the
// blank before "*.koa", the trailing ";" after "*.jpeg"), titles, default
// extensions and the flags of the open dialog.
//
// Contract:
//  - A filter string is pairs of description and pattern list joined by '|',
//    in the platform dialog's form. SplitFilter turns one into its pairs
//    without changing a character.
//  - The extension a dialog returns is never decided by the chosen filter:
//    callers look at the name's own extension.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

// "OPEN" (dialog cmdp with the preview panel).
extern const std::string_view kOpenFilter;
inline constexpr std::string_view kOpenTitle = "Kelvane";
inline constexpr std::string_view kOpenDefaultExtension = "*.bmp";
inline constexpr std::string_view kOpenButton = "Open";
inline constexpr std::string_view kCancelButton = "Cancel";
// Or-ed into the dialog's flags: explorer style, path must exist.
inline constexpr uint32_t kOpenDialogFlags = 0x80000 | 0x800;
// The preview panel's labels.
inline constexpr std::string_view kSelectTypeLabel = "Select Type";
inline constexpr std::string_view kFileNameLabel = "File Name";

// OpenImage (a picture for a layer).
extern const std::string_view kOpenImageFilter;
inline constexpr std::string_view kOpenImageTitle = "Open Image as Layer";
inline constexpr std::string_view kOpenImageDefaultExtension = "*.jpg";

// "SAVEAS"; the text and 3D text objects' save dialogs use the same filter.
extern const std::string_view kSaveAsFilter;
inline constexpr std::string_view kSaveAsTitle = "Save as";

// "SAVEOPTIMIZEDAS": the filter is built from the optimizer's extension.
inline constexpr std::string_view kSaveOptimizedAsTitle = "Save Optimized as";
// "*." + extension + "|*." + extension
std::string SaveOptimizedFilter(std::string_view extension);

// "SAVELAYEREDIMAGEAS".
extern const std::string_view kSaveLayeredFilter;
inline constexpr std::string_view kSaveLayeredTitle = "Save Layered Image as";
inline constexpr std::string_view kSaveLayeredDefaultExtension = "*.klf";

// The dialog's cancel error number, which the commands ignore.
inline constexpr int kDialogCancelled = 32755;

struct FilterEntry {
  std::string description;
  std::string patterns;
};
// The pairs of a filter string, in order. A trailing description without a
// pattern list is dropped.
std::vector<FilterEntry> SplitFilter(std::string_view filter);

}  // namespace kelvane
