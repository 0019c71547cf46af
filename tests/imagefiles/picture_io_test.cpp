#include "imagefiles/picture_io.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

#include "base/byte_io.h"
#include "image_load_test_support.h"
#include "save_test_support.h"

namespace kelvane {
namespace {

using test::DataFile;
using test::RandomPicture;

// Every sample through the library road: the opened ones report their
// manifest size by both the load and the probe, and every third of them
// survives a PNG round trip; the others fail with one line by both.
TEST(PictureFiles, EverySampleOpensAtItsManifestSizeOrFailsInOneLine) {
  // The file's own depth as FreeImage counts it, for a few samples.
  const std::map<std::string, int> depth = {
      {"bmp-24bit-oddwidth-119x96.bmp", 24}, {"bmp-8bit-topdown.bmp", 8},           {"png-rgba-8bit-32x32.png", 32},
      {"png-palette-4bit-32x32.png", 4},     {"jpg-baseline-420-227x149.jpg", 24}, {"ras-24bit-standard-32x32.ras", 24},
      {"pcx-8bit-palette256-32x32.pcx", 8}};
  test::TempDir dir;
  int opened = 0, depthsSeen = 0, index = 0;
  for (const std::string& name : test::SampleFiles()) {
    SCOPED_TRACE(name);
    Bits picture;
    std::string error, probeError;
    int w = 0, h = 0, bpp = 0;
    const bool loads = LoadPictureFile(DataFile(name), picture, error);
    ASSERT_EQ(ProbePictureFile(DataFile(name), w, h, bpp, probeError), loads) << probeError;
    if (!loads) {
      EXPECT_FALSE(error.empty());
      EXPECT_EQ(error.find('\n'), std::string::npos) << error;
      continue;
    }
    ++opened;
    EXPECT_EQ(w, picture.Width());
    EXPECT_EQ(h, picture.Height());
    if (const auto size = test::ManifestSize(name); size && name.find("wmf") == std::string::npos &&
                                                    name.find("emf") == std::string::npos) {
      EXPECT_EQ(picture.Width(), size->first);
      EXPECT_EQ(picture.Height(), size->second);
    }
    if (depth.count(name)) {
      EXPECT_EQ(bpp, depth.at(name));
      ++depthsSeen;
    }
    if (index++ % 3) continue;
    Bits back;
    ASSERT_TRUE(SavePictureFile(dir / "out.png", picture, error)) << error;
    ASSERT_TRUE(LoadPictureFile(dir / "out.png", back, error)) << error;
    EXPECT_TRUE(back == picture);
  }
  EXPECT_GE(opened, 75);
  EXPECT_EQ(depthsSeen, static_cast<int>(depth.size()));
}

// Decodes against a second reader: FreeImage's BMP reader (bottom-up and
// top-down rows, a palette), or the upstream reference PNG of a sample.
TEST(PictureFiles, DecodesMatchASecondReader) {
  for (const char* name : {"bmp-24bit-oddwidth-119x96.bmp", "bmp-8bit-topdown.bmp", "ras-24bit-standard-32x32.ras",
                           "pcx-8bit-palette256-32x32.pcx"}) {
    SCOPED_TRACE(name);
    Bits bits, reference;
    std::string error;
    ASSERT_TRUE(LoadPictureFile(DataFile(name), bits, error)) << error;
    if (test::ExtensionOfName(name) == "bmp") {
      reference = test::ReadWithFreeImage(DataFile(name), FIF_BMP);
    } else {
      ASSERT_TRUE(LoadPictureFile(DataFile(std::string("ref/") + name + ".png"), reference, error)) << error;
    }
    EXPECT_EQ(test::CountMismatches(bits, reference), 0);
    int spare = 0;
    for (int y = 0; y < bits.Height(); ++y)
      for (int x = 0; x < bits.Width(); ++x) spare += bits.At(3, x, y) != 0;
    EXPECT_EQ(spare, 0);
    EXPECT_EQ(bits.At(0, -1, 0), 0);  // the frame stays zero
    EXPECT_EQ(bits.At(2, bits.Width(), bits.Height() - 1), 0);
  }
}

// The PNG reader gets flags 0, so FreeImage applies the file's gAMA for a
// screen gamma of 2.2 to true-colour samples: the RGBA sample says gAMA 1.0,
// so a stored sample v arrives as floor(255 * (v / 255) ^ (1 / 2.2) + 0.5).
// Palette entries arrive as stored.
int Gamma(int stored) { return static_cast<int>(std::floor(255.0 * std::pow(stored / 255.0, 1 / 2.2) + 0.5)); }

TEST(PictureFiles, PngPixelsAtKnownPlaces) {
  EXPECT_EQ(Gamma(8), 53);  // 255 * 0.03137^0.4545 = 52.9
  // {file, x, y, stored red, green, blue, gamma applied}; hand-decoded rows.
  // The alpha (0, 41, 139 at the first three RGBA places) is dropped.
  const struct {
    const char* file;
    int x, y, r, g, b;
    bool gamma;
  } cases[] = {
      {"png-rgba-8bit-32x32.png", 0, 0, 255, 0, 8, true},     {"png-rgba-8bit-32x32.png", 5, 9, 224, 255, 6, true},
      {"png-rgba-8bit-32x32.png", 17, 30, 0, 64, 255, true},  {"png-rgba-8bit-32x32.png", 31, 31, 0, 32, 255, true},
      {"png-palette-4bit-32x32.png", 0, 0, 255, 0, 0, false}, {"png-palette-4bit-32x32.png", 31, 0, 0, 255, 153, false},
      {"png-palette-4bit-32x32.png", 5, 9, 221, 255, 0, false}, {"png-palette-4bit-32x32.png", 31, 31, 255, 0, 187, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.file << " at " << c.x << "," << c.y);
    Bits b;
    std::string error;
    ASSERT_TRUE(LoadPictureFile(DataFile(c.file), b, error)) << error;
    auto v = [&](int stored) { return c.gamma ? Gamma(stored) : stored; };
    EXPECT_EQ(b.At(2, c.x, c.y), v(c.r));
    EXPECT_EQ(b.At(1, c.x, c.y), v(c.g));
    EXPECT_EQ(b.At(0, c.x, c.y), v(c.b));
    EXPECT_EQ(b.At(3, c.x, c.y), 0);
  }
}

TEST(PictureFiles, SavedFilesReadBack) {
  test::TempDir dir;
  const Bits picture = RandomPicture(13, 7, 42);  // odd width: padded rows in BMP
  // One name of each lossless row, the DevIL ones included (SavePictureFile
  // refreshes the optimized copy they write first), and JPEG, lossy.
  for (const char* name : {"a.PNG", "b.bmp", "c.tiff", "d.targa", "e.ppm", "f.psd", "g.rgb", "h.pcx", "i.raw", "j.jpg"}) {
    SCOPED_TRACE(name);
    std::string error;
    ASSERT_TRUE(SavePictureFile(dir / name, picture, error)) << error;
    Bits back;
    ASSERT_TRUE(LoadPictureFile(dir / name, back, error)) << error;
    ASSERT_TRUE(back.SameShape(picture));
    int w = 0, h = 0, bpp = 0;
    ASSERT_TRUE(ProbePictureFile(dir / name, w, h, bpp, error)) << error;
    EXPECT_EQ(bpp, 24);
    EXPECT_EQ(std::string(name) == "j.jpg" ? 0 : test::CountMismatches(back, picture), 0);  // JPEG is lossy
  }
  EXPECT_EQ(test::FolderNames(dir.path()).size(), 10u) << "no scratch file is left beside them";
}

TEST(PictureFiles, UnreadableFilesGiveOneLineErrors) {
  test::TempDir dir;
  const ByteVector text = {'h', 'e', 'l', 'l', 'o', '\n'};
  ByteVector half = test::FileBytes(DataFile("png-rgba-8bit-32x32.png"));
  half.resize(half.size() / 2);  // signature and header survive, the data does not
  for (const auto& [name, bytes] : std::vector<std::pair<std::string, ByteVector>>{
           {"notes.xyz", text}, {"empty.png", {}}, {"photo.jpe", text}, {"layers.klf", text}, {"fake.png", text},
           {"half.png", half}})
    ASSERT_TRUE(WriteFileAtomically(dir / name, bytes));
  const Bits before = RandomPicture(2, 2, 1);
  const std::pair<std::filesystem::path, std::string> cases[] = {
      {dir / "absent.png", "no such file"},
      {dir.path(), "folder"},
      {dir / "notes.xyz", "no decoder takes files with the extension '.xyz'"},
      {dir / "empty.png", "the file is empty"},
      {dir / "photo.jpe", "no decoder takes files with the extension '.jpe'"},
      {dir / "layers.klf", "layered project"},
      {dir / "fake.png", "could not be decoded"},
      {dir / "half.png", "could not be decoded"},
  };
  for (const auto& [path, fragment] : cases) {
    Bits out = before;
    std::string error;
    EXPECT_FALSE(LoadPictureFile(path, out, error)) << path;
    EXPECT_NE(error.find("cannot read '" + path.string() + "'"), std::string::npos) << error;
    EXPECT_NE(error.find(fragment), std::string::npos) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos);
    EXPECT_TRUE(out == before) << "untouched on failure";
    int w = -1, h = -1, bpp = -1;
    error.clear();
    EXPECT_FALSE(ProbePictureFile(path, w, h, bpp, error));
    EXPECT_FALSE(error.empty());
  }
}

// A failed save leaves no file, an existing file as it was, and a user's own
// "<name>.part" file neither used nor removed.
TEST(PictureFiles, SavingTouchesNoOtherFile) {
  test::TempDir dir;
  const ByteVector mine = {'m', 'i', 'n', 'e'};
  ASSERT_TRUE(WriteFileAtomically(dir / "out.png.part", mine));
  ASSERT_TRUE(WriteFileAtomically(dir / "out.psd.part", mine));
  const Bits picture = RandomPicture(5, 4, 3);
  std::string error;
  ASSERT_TRUE(SavePictureFile(dir / "out.png", picture, error)) << error;
  ASSERT_TRUE(SavePictureFile(dir / "out.psd", picture, error)) << error;
  const ByteVector png = test::FileBytes(dir / "out.png");

  EXPECT_FALSE(SavePictureFile(dir / "x.gifx", picture, error));
  EXPECT_NE(error.find("cannot write '"), std::string::npos) << error;
  EXPECT_NE(error.find("no writer for the extension '.gifx'"), std::string::npos) << error;
  for (const auto& target : {dir / "out.png", dir / "out.bmp", dir / "no-such-folder" / "x.png"}) {
    error.clear();
    EXPECT_FALSE(SavePictureFile(target, target.filename() == "x.png" ? picture : Bits(), error)) << target;
    EXPECT_FALSE(error.empty());
  }
  std::filesystem::create_directories(dir / "taken.tga" / "inside");
  EXPECT_FALSE(SavePictureFile(dir / "taken.tga", picture, error));
  EXPECT_EQ(test::FileBytes(dir / "out.png"), png);

  EXPECT_EQ(test::FolderNames(dir.path()),
            (std::vector<std::string>{"out.png", "out.png.part", "out.psd", "out.psd.part", "taken.tga"}));
  EXPECT_EQ(test::FileBytes(dir / "out.png.part"), mine);
  EXPECT_EQ(test::FileBytes(dir / "out.psd.part"), mine);
}

// Runs `work` in a child with a 20-second alarm: 1 when it returned true,
// 0 when false, -1 when it crashed or hung.
int InChildWithAlarm(const std::function<bool()>& work) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::alarm(20);
    ::_exit(work() ? 1 : 0);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(PictureFiles, PipesDevicesAndLockedFilesAreRefusedWithoutBlocking) {
  test::TempDir dir;
  const auto fifo = dir / "pipe.png";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::filesystem::path& path : {fifo, std::filesystem::path("/dev/zero")}) {
    SCOPED_TRACE(path.string());
    EXPECT_EQ(InChildWithAlarm([&] {
                Bits out;
                std::string error, probeError;
                int w = 0, h = 0, bpp = 0;
                return !LoadPictureFile(path, out, error) && error.find("not a regular file") != std::string::npos &&
                       !ProbePictureFile(path, w, h, bpp, probeError) && !probeError.empty();
              }),
              1);
  }
  if (::geteuid() == 0) return;  // the superuser reads every file
  std::string error;
  ASSERT_TRUE(SavePictureFile(dir / "locked.png", RandomPicture(3, 3, 2), error)) << error;
  std::filesystem::permissions(dir / "locked.png", std::filesystem::perms::none);
  Bits out;
  EXPECT_FALSE(LoadPictureFile(dir / "locked.png", out, error));
  EXPECT_NE(error.find("cannot be opened for reading"), std::string::npos) << error;
}

}  // namespace
}  // namespace kelvane
