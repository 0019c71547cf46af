// The application folder: where the program keeps its settings file and the
// folders of its own below it.
//
// Contract:
//  - The application folder is the executable's folder when that folder is
//    writable; otherwise the per-user data folder $XDG_DATA_HOME/kelvane
//    (or ~/.local/share/kelvane), created when missing. A relative
//    XDG_DATA_HOME is ignored, as the XDG rules say.
//  - Paths returned here carry no trailing slash.
//  - The names of the subfolders and of the settings file live here and
//    nowhere else. The subfolders are not created here: each user creates or
//    requires its own folder.
#pragma once

#include <filesystem>
#include <string_view>

namespace kelvane {

// The settings file, directly in the application folder.
inline constexpr std::string_view kSettingsFileName = "kv201Start.up";

enum class AppSubfolder {
  Temp,        // scratch files of the running program; emptied at exit
  Images,      // default folder of the file dialogs and the browser
  Selections,  // *.ksf selection files
  Stamps,      // pictures of the stamp tool
  ClipArt,     // pictures of the clip art layer command
  Help,        // default.htm
  Filters,     // user filter files
  Palettes,    // *.pal palettes
};

// "Temp", "Images", "Selections", "Stamps", "ClipArt", "Help", "Filters",
// "Palettes".
std::string_view AppSubfolderName(AppSubfolder folder);

// appFolder / name of the subfolder.
std::filesystem::path AppSubfolderPath(const std::filesystem::path& appFolder, AppSubfolder folder);

// appFolder / kSettingsFileName.
std::filesystem::path SettingsFilePath(const std::filesystem::path& appFolder);

// The folder of the running executable, read from /proc/self/exe. Empty when
// that link cannot be read.
std::filesystem::path ExecutableDir();

// The folder below which the program keeps its own files (see the contract).
// Reads XDG_DATA_HOME and HOME only when the executable's folder is not
// writable; an empty or missing executableDir counts as not writable.
std::filesystem::path ApplicationFolder(const std::filesystem::path& executableDir);

// The per-user fallback without touching the disk: xdgDataHome/kelvane when
// xdgDataHome is an absolute path, else home/.local/share/kelvane. Empty
// when neither gives a folder.
std::filesystem::path UserDataFolder(std::string_view xdgDataHome, std::string_view home);

}  // namespace kelvane
