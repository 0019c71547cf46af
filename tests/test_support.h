// Shared helpers for the test suite.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelvane::test {

// A fresh empty folder below the system temp folder, removed when the object
// goes out of scope.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// A file of tests/data.
std::filesystem::path DataFile(const std::string& name);

// The kelvane-cli executable under test.
std::filesystem::path CliPath();

struct CommandResult {
  int exit_code = -1;
  std::string out;
  std::string err;
};
// Runs kelvane-cli with the arguments (each quoted for the shell).
CommandResult RunCli(const std::vector<std::string>& args);

}  // namespace kelvane::test
