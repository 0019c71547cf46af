#include "test_support.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unistd.h>
#include <sys/wait.h>

namespace kelvane::test {

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  path_ = std::filesystem::temp_directory_path() /
          ("kelvane-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(path_);
  std::filesystem::create_directories(path_);
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::filesystem::path DataFile(const std::string& name) { return std::filesystem::path(KELVANE_TEST_DATA) / name; }

std::filesystem::path CliPath() { return KELVANE_CLI_PATH; }

static std::string ShellQuote(const std::string& s) {
  std::string q = "'";
  for (char c : s) {
    if (c == '\'') q += "'\\''";
    else q += c;
  }
  return q + "'";
}

static std::string Slurp(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

CommandResult RunCli(const std::vector<std::string>& args) {
  TempDir scratch;
  std::string command = ShellQuote(CliPath().string());
  for (const auto& a : args) command += " " + ShellQuote(a);
  command += " >" + ShellQuote((scratch / "out").string()) + " 2>" + ShellQuote((scratch / "err").string()) + " </dev/null";
  CommandResult result;
  const int status = std::system(command.c_str());
  result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.out = Slurp(scratch / "out");
  result.err = Slurp(scratch / "err");
  return result;
}

}  // namespace kelvane::test
