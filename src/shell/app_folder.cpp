#include "shell/app_folder.h"

#include <cstdlib>
#include <pwd.h>
#include <string>
#include <unistd.h>

namespace kelvane {

namespace fs = std::filesystem;

namespace {

fs::path WithoutTrailingSlash(fs::path p) {
  p = p.lexically_normal();
  while (!p.empty() && p.filename().empty() && p != p.root_path()) p = p.parent_path();
  return p;
}

bool IsWritableFolder(const fs::path& dir) {
  if (dir.empty()) return false;
  std::error_code ec;
  if (!fs::is_directory(dir, ec)) return false;
  return ::access(dir.c_str(), W_OK | X_OK) == 0;
}

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return {};
}

}  // namespace

std::string_view AppSubfolderName(AppSubfolder folder) {
  switch (folder) {
    case AppSubfolder::Temp: return "Temp";
    case AppSubfolder::Images: return "Images";
    case AppSubfolder::Selections: return "Selections";
    case AppSubfolder::Stamps: return "Stamps";
    case AppSubfolder::ClipArt: return "ClipArt";
    case AppSubfolder::Help: return "Help";
    case AppSubfolder::Filters: return "Filters";
    case AppSubfolder::Palettes: return "Palettes";
  }
  return {};
}

fs::path AppSubfolderPath(const fs::path& appFolder, AppSubfolder folder) {
  return WithoutTrailingSlash(appFolder) / AppSubfolderName(folder);
}

fs::path SettingsFilePath(const fs::path& appFolder) {
  return WithoutTrailingSlash(appFolder) / kSettingsFileName;
}

fs::path ExecutableDir() {
  std::error_code ec;
  const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec || exe.empty()) return {};
  return WithoutTrailingSlash(exe.parent_path());
}

fs::path UserDataFolder(std::string_view xdgDataHome, std::string_view home) {
  // A relative XDG_DATA_HOME is invalid and must be ignored.
  if (!xdgDataHome.empty() && xdgDataHome.front() == '/')
    return WithoutTrailingSlash(fs::path(xdgDataHome) / "kelvane");
  if (!home.empty()) return WithoutTrailingSlash(fs::path(home) / ".local" / "share" / "kelvane");
  return {};
}

fs::path ApplicationFolder(const fs::path& executableDir) {
  if (IsWritableFolder(executableDir)) return WithoutTrailingSlash(executableDir);
  const char* xdg = std::getenv("XDG_DATA_HOME");
  fs::path folder = UserDataFolder(xdg ? xdg : "", HomeFolder());
  if (folder.empty()) return WithoutTrailingSlash(executableDir);
  std::error_code ec;
  fs::create_directories(folder, ec);
  return folder;
}

}  // namespace kelvane
