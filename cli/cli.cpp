#include "cli.h"

#include <cstdio>
#include <set>

#include "shell/app_folder.h"

namespace kelvane::cli {

namespace {
const std::set<std::string> kValueOptions = {"select", "selection", "seed", "threads", "home"};
}

std::optional<std::string> Arguments::Get(const std::string& name) const {
  auto it = options.find(name);
  if (it == options.end()) return std::nullopt;
  return it->second;
}

bool ParseArguments(int argc, char** argv, int first, Arguments& out, std::string& error) {
  for (int i = first; i < argc; ++i) {
    const std::string word = argv[i];
    if (word.size() > 2 && word.compare(0, 2, "--") == 0) {
      std::string name = word.substr(2);
      std::string value;
      const size_t eq = name.find('=');
      const bool inlineValue = eq != std::string::npos;
      if (inlineValue) {
        value = name.substr(eq + 1);
        name = name.substr(0, eq);
      }
      if (kValueOptions.count(name) && !inlineValue) {
        if (i + 1 >= argc) {
          error = "option --" + name + " needs a value";
          return false;
        }
        value = argv[++i];
      }
      out.options[name] = value;
    } else {
      out.words.push_back(word);
    }
  }
  return true;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "kelvane-cli: %s\n", message.c_str());
  return 1;
}

std::filesystem::path HomeFolder(const Arguments& args) {
  if (auto home = args.Get("home")) return std::filesystem::absolute(*home).lexically_normal();
  return ApplicationFolder(ExecutableDir());
}

}  // namespace kelvane::cli
