#include "imagefiles/devil_access.h"

#include <IL/il.h>

#include <string>

namespace kelvane {

namespace {

// The readers that ilLoadImage does not find from these extensions.
ILenum ExplicitReader(const std::filesystem::path& path) {
  std::string ext = path.extension().string();
  for (char& c : ext) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  if (ext == ".raw") return IL_RAW;
  if (ext == ".dcx") return IL_DCX;
  return IL_TYPE_UNKNOWN;
}

}  // namespace

bool DevILConvertFile(const std::filesystem::path& source, unsigned type, const std::filesystem::path& target) {
  ilInit();
  ilEnable(IL_FILE_OVERWRITE);
  ILuint id = 0;
  ilGenImages(1, &id);
  ilBindImage(id);
  const std::string from = source.string();
  const ILenum reader = ExplicitReader(source);
  const ILboolean loaded = reader != IL_TYPE_UNKNOWN ? ilLoad(reader, from.c_str()) : ilLoadImage(from.c_str());
  bool saved = false;
  if (loaded == IL_TRUE) saved = ilSave(static_cast<ILenum>(type), target.string().c_str()) == IL_TRUE;
  ilDeleteImages(1, &id);
  return loaded == IL_TRUE && saved;
}

}  // namespace kelvane
