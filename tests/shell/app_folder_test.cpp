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

// Sets an environment variable for the life of the object, then restores it.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value) ::setenv(name, value, 1);
    else ::unsetenv(name);
  }
  ~ScopedEnv() {
    if (old_) ::setenv(name_, old_->c_str(), 1);
    else ::unsetenv(name_);
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(AppFolderNames, SubfoldersAndSettingsFile) {
  EXPECT_EQ(kSettingsFileName, "kv201Start.up");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Temp), "Temp");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Images), "Images");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Selections), "Selections");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Stamps), "Stamps");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::ClipArt), "ClipArt");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Help), "Help");
  EXPECT_EQ(AppSubfolderName(AppSubfolder::Filters), "Filters");
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

TEST(AppFolderChoice, WritableExecutableFolderIsTheApplicationFolder) {
  TempDir dir;
  EXPECT_EQ(ApplicationFolder(dir.path()), dir.path());
  EXPECT_EQ(ApplicationFolder(dir.path().string() + "/"), dir.path());
}

TEST(AppFolderChoice, UnusableExecutableFolderFallsBackToUserData) {
  TempDir dir;
  const fs::path missing = dir / "no-such-folder";
  {
    ScopedEnv xdg("XDG_DATA_HOME", (dir / "xdg").c_str());
    const fs::path got = ApplicationFolder(missing);
    EXPECT_EQ(got, dir / "xdg" / "kelvane");
    EXPECT_TRUE(fs::is_directory(got));
  }
  {
    ScopedEnv xdg("XDG_DATA_HOME", nullptr);
    ScopedEnv home("HOME", (dir / "home").c_str());
    const fs::path got = ApplicationFolder("");
    EXPECT_EQ(got, dir / "home" / ".local" / "share" / "kelvane");
    EXPECT_TRUE(fs::is_directory(got));
  }
  EXPECT_FALSE(fs::exists(missing));
}

TEST(AppFolderChoice, ExecutableDirHoldsTheRunningProgram) {
  const fs::path dir = ExecutableDir();
  ASSERT_FALSE(dir.empty());
  EXPECT_TRUE(dir.is_absolute());
  EXPECT_TRUE(fs::exists(dir / "kelvane_tests"));
}

}  // namespace
}  // namespace kelvane
