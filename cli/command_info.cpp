// kelvane-cli info.
#include <cstdio>

#include "cli.h"
#include "imagefiles/picture_io.h"

namespace kelvane::cli {

int RunInfo(const Arguments& args) {
  if (args.words.size() != 1) return Fail("info needs FILE");
  std::string error;
  int width = 0, height = 0, bpp = 0;
  if (!ProbePictureFile(args.words[0], width, height, bpp, error)) return Fail(error);
  std::printf("width: %d\nheight: %d\nbits per pixel: %d\n", width, height, bpp);
  return 0;
}

}  // namespace kelvane::cli
