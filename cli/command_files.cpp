// kelvane-cli convert.
#include "cli.h"
#include "imagefiles/picture_io.h"

namespace kelvane::cli {

int RunConvert(const Arguments& args) {
  if (args.words.size() != 2) return Fail("convert needs IN OUT");
  std::string error;
  Bits picture;
  if (!LoadPictureFile(args.words[0], picture, error)) return Fail(error);
  if (!SavePictureFile(args.words[1], picture, error)) return Fail(error);
  return 0;
}

}  // namespace kelvane::cli
