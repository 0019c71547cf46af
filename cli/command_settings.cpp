// kelvane-cli settings: the settings file without the editor.
#include <cstdio>

#include "base/byte_io.h"
#include "cli.h"
#include "shell/app_folder.h"
#include "shell/start_record.h"

namespace kelvane::cli {

int RunSettings(const Arguments& args) {
  if (args.words.empty()) return Fail("settings needs 'init [DIR]' or 'show FILE'");
  const std::string& action = args.words[0];
  if (action == "init") {
    if (args.words.size() > 2) return Fail("settings init takes at most one folder");
    const std::filesystem::path folder = args.words.size() == 2
                                             ? std::filesystem::absolute(args.words[1]).lexically_normal()
                                             : HomeFolder(args);
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) return Fail("no such folder '" + folder.string() + "'");
    // A first run finds no file, runs on defaults and writes them at exit.
    const std::filesystem::path file = SettingsFilePath(folder);
    std::filesystem::remove(file, ec);
    StartRecord record;
    LoadStartRecord(folder, record);
    if (!SaveStartRecord(folder, record)) return Fail("cannot write '" + file.string() + "'");
    std::printf("%s\n", file.c_str());
    return 0;
  }
  if (action == "show") {
    if (args.words.size() != 2) return Fail("settings show needs FILE");
    ByteVector bytes;
    if (!ReadWholeFile(args.words[1], bytes)) return Fail("cannot read '" + args.words[1] + "'");
    StartRecord record;
    ParseStartRecord(bytes.data(), bytes.size(), record);
    for (const auto& [name, value] : DescribeStartRecord(record)) std::printf("%s = %s\n", name.c_str(), value.c_str());
    return 0;
  }
  return Fail("unknown settings action '" + action + "' (init or show)");
}

}  // namespace kelvane::cli
