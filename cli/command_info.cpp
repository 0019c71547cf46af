// kelvane-cli info: the fields of the "Image Properties" dialog, one
// "Name: value" line each, in the dialog's order.
#include <cstdio>

#include "cli.h"
#include "imagefiles/file_properties.h"
#include "imagefiles/picture_io.h"

namespace kelvane::cli {

int RunInfo(const Arguments& args) {
  if (args.words.size() != 1) return Fail("info needs FILE");
  const std::filesystem::path path = args.words[0];
  std::string error;
  FileProperties props;
  if (!ReadFileProperties(path, props, error)) return Fail(error);
  int width = 0, height = 0, bpp = 0;
  if (!ProbePictureFile(path, width, height, bpp, error)) return Fail(error);
  SetPictureFacts(props, width, height, bpp);
  for (const PropertyField& field : PropertyFields(props)) {
    // The captions end in " :"; the line form is "Name: value".
    std::string name = field.Label;
    if (name.size() >= 2 && name.compare(name.size() - 2, 2, " :") == 0) name.resize(name.size() - 2);
    std::printf("%s: %s\n", name.c_str(), field.Value.c_str());
  }
  return 0;
}

}  // namespace kelvane::cli
