// The application folder: names of the program's own folders, and where the
// folder lands when the executable's folder cannot be written.
#include "shell/app_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using test::TempDir;

// Sets (or, given nullptr, removes) an environment variable for the life of
// the object, then restores it.
struct ScopedEnv {
  const char* name;
  std::optional<std::string> old;
  ScopedEnv(const char* n, const char* value) : name(n) {
    if (const char* o = std::getenv(n)) old = o;
    value ? ::setenv(n, value, 1) : ::unsetenv(n);
  }
  ~ScopedEnv() { old ? ::setenv(name, old->c_str(), 1) : ::unsetenv(name); }
};

TEST(AppFolderNames, SubfoldersAndSettingsFile) {
  EXPECT_EQ(kSettingsFileName, "kv201Start.up");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Selections), "Selections");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Palettes), "Palettes");
  EXPECT_EQ(AppSubfolderPath("/opt/kv", AppSubfolder::ClipArt), fs::path("/opt/kv/ClipArt"));
  EXPECT_EQ(AppSubfolderPath("/opt/kv/", AppSubfolder::Temp), fs::path("/opt/kv/Temp"));
  EXPECT_EQ(SettingsFilePath("/opt/kv/"), fs::path("/opt/kv/kv201Start.up"));
}

TEST(AppFolderChoice, UserDataFolderFollowsXdgRules) {
  EXPECT_EQ(UserDataFolder("/data", "/home/u"), fs::path("/data/kelvane"));
  EXPECT_EQ(UserDataFolder("/data/", "/home/u"), fs::path("/data/kelvane"));
  EXPECT_EQ(UserDataFolder("", "/home/u"), fs::path("/home/u/.local/share/kelvane"));
  EXPECT_EQ(UserDataFolder("relative/data", "/home/u"), fs::path("/home/u/.local/share/kelvane"));
  EXPECT_EQ(UserDataFolder("", ""), fs::path());
}

TEST(AppFolderChoice, WritableExecutableFolderOrElseUserData) {
  TempDir dir;
  EXPECT_EQ(ApplicationFolder(dir.path()), dir.path());
  EXPECT_EQ(ApplicationFolder(dir.path().string() + "/"), dir.path());
  const fs::path missing = dir / "no-such-folder";
  {
    ScopedEnv xdg("XDG_DATA_HOME", (dir / "xdg").c_str());
    EXPECT_EQ(ApplicationFolder(missing), dir / "xdg" / "kelvane");
    EXPECT_TRUE(fs::is_directory(dir / "xdg" / "kelvane"));
  }
  {
    ScopedEnv xdg("XDG_DATA_HOME", nullptr);
    ScopedEnv home("HOME", (dir / "home").c_str());
    EXPECT_EQ(ApplicationFolder(""), dir / "home" / ".local" / "share" / "kelvane");
    EXPECT_TRUE(fs::is_directory(dir / "home" / ".local" / "share" / "kelvane"));
  }
  EXPECT_FALSE(fs::exists(missing));
}

TEST(AppFolderChoice, ExecutableDirHoldsTheRunningProgram) {
  const fs::path dir = ExecutableDir();
  EXPECT_TRUE(dir.is_absolute());
  EXPECT_TRUE(fs::exists(dir / "kelvane_tests"));
}

}  // namespace
}  // namespace kelvane
