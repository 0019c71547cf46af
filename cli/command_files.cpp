// kelvane-cli convert IN OUT: IN is opened as the editor opens a file (its
// extension picks the loading road) and OUT written as the document's save
// writes it (its extension picks the writer). Any failure is one line on
// stderr and a non-zero exit; OUT is then left as it was.
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
