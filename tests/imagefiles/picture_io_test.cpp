#include "imagefiles/picture_io.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <sstream>

#include "base/byte_io.h"
#include "image_load_test_support.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::DataFile;

struct ManifestEntry {
  std::string file;
  int width = 0;
  int height = 0;
};

// The sample table: the first "WxH" of the header-parse column gives the size.
// Only the lines of the given files.
std::vector<ManifestEntry> ReadManifest(const std::map<std::string, int>& only) {
  std::ifstream in(DataFile("MANIFEST.tsv"));
  std::vector<ManifestEntry> entries;
  std::string line;
  std::getline(in, line);  // header
  const std::regex size(R"((\d+)x(\d+))");
  while (std::getline(in, line)) {
    std::vector<std::string> cols;
    std::stringstream ss(line);
    std::string col;
    while (std::getline(ss, col, '\t')) cols.push_back(col);
    if (cols.size() < 3) continue;
    std::smatch m;
    if (!only.count(cols[0]) || !std::regex_search(cols[2], m, size)) continue;
    entries.push_back({cols[0], std::stoi(m[1]), std::stoi(m[2])});
  }
  return entries;
}

int32_t Le32(const ByteVector& b, size_t at) {
  return static_cast<int32_t>(b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24));
}

// Blue, green, red of pixel (x, y from the top) of an uncompressed 8- or
// 24-bit BMP file, read straight from its bytes.
std::array<uint8_t, 3> BmpPixel(const ByteVector& file, int x, int y) {
  const int32_t off_bits = Le32(file, 10);
  const int32_t header_size = Le32(file, 14);
  const int32_t w = Le32(file, 18);
  const int32_t h = Le32(file, 22);
  const int bpp = file[28] | (file[29] << 8);
  const int stride = (w * bpp + 31) / 32 * 4;
  const int row = h < 0 ? y : h - 1 - y;  // negative height: top-down rows
  const uint8_t* p = file.data() + off_bits + static_cast<size_t>(row) * stride;
  if (bpp == 24) return {p[3 * x], p[3 * x + 1], p[3 * x + 2]};
  const uint8_t* entry = file.data() + 14 + header_size + 4 * p[x];
  return {entry[0], entry[1], entry[2]};
}

void ExpectPixel(const Bits& b, int x, int y, int red, int green, int blue) {
  EXPECT_EQ(b.At(2, x, y), red) << "red at " << x << "," << y;
  EXPECT_EQ(b.At(1, x, y), green) << "green at " << x << "," << y;
  EXPECT_EQ(b.At(0, x, y), blue) << "blue at " << x << "," << y;
  EXPECT_EQ(b.At(3, x, y), 0) << "spare byte at " << x << "," << y;
}

Bits RandomPicture(int w, int h, uint32_t seed) {
  Bits b(w, h);
  std::mt19937 rng(seed);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 4; ++c) b.At(c, x, y) = static_cast<uint8_t>(rng());
  return b;
}

TEST(PictureFiles, SamplesDecodeToManifestSize) {
  // The file's own depth as FreeImage counts it.
  const std::map<std::string, int> depth = {
      {"bmp-24bit-oddwidth-119x96.bmp", 24}, {"bmp-8bit-topdown.bmp", 8},
      {"png-rgba-8bit-32x32.png", 32},       {"png-palette-4bit-32x32.png", 4},
      {"jpg-baseline-420-227x149.jpg", 24},  {"ras-24bit-standard-32x32.ras", 24},
      {"pcx-8bit-palette256-32x32.pcx", 8},
  };
  const std::vector<ManifestEntry> entries = ReadManifest(depth);
  ASSERT_EQ(entries.size(), depth.size());
  for (const ManifestEntry& e : entries) {
    SCOPED_TRACE(e.file);
    Bits bits;
    std::string error;
    ASSERT_TRUE(LoadPictureFile(DataFile(e.file), bits, error)) << error;
    EXPECT_EQ(bits.Width(), e.width);
    EXPECT_EQ(bits.Height(), e.height);
    int w = 0, h = 0, bpp = 0;
    ASSERT_TRUE(ProbePictureFile(DataFile(e.file), w, h, bpp, error)) << error;
    EXPECT_EQ(w, e.width);
    EXPECT_EQ(h, e.height);
    if (depth.count(e.file)) {
      EXPECT_EQ(bpp, depth.at(e.file));
    }
  }
}

TEST(PictureFiles, BmpPixelsMatchTheFileBytes) {
  for (const char* name : {"bmp-24bit-oddwidth-119x96.bmp", "bmp-8bit-topdown.bmp"}) {
    SCOPED_TRACE(name);
    ByteVector file;
    ASSERT_TRUE(ReadWholeFile(DataFile(name), file));
    Bits bits;
    std::string error;
    ASSERT_TRUE(LoadPictureFile(DataFile(name), bits, error)) << error;
    int mismatches = 0;
    for (int y = 0; y < bits.Height(); ++y)
      for (int x = 0; x < bits.Width(); ++x) {
        const auto bgr = BmpPixel(file, x, y);
        for (int c = 0; c < 3; ++c) mismatches += bits.At(c, x, y) != bgr[c];
        mismatches += bits.At(3, x, y) != 0;
      }
    EXPECT_EQ(mismatches, 0);
    // The frame stays zero.
    EXPECT_EQ(bits.At(0, -1, 0), 0);
    EXPECT_EQ(bits.At(2, bits.Width(), bits.Height() - 1), 0);
  }
}

// The PNG reader gets flags 0, so FreeImage applies the file's gAMA for a
// screen gamma of 2.2 to true-colour samples: the RGBA sample says gAMA 1.0,
// so a stored sample v arrives as floor(255 * (v / 255) ^ (1 / 2.2) + 0.5).
// Its reader leaves palette entries as stored, gAMA or not.
int Gamma(int stored) { return static_cast<int>(std::floor(255.0 * std::pow(stored / 255.0, 1 / 2.2) + 0.5)); }

TEST(PictureFiles, PngPixelsAtKnownPlaces) {
  // Stored values read from the PNG data by hand-decoding its rows. The alpha
  // of the RGBA sample is dropped by the flattening.
  Bits rgba, palette;
  std::string error;
  ASSERT_TRUE(LoadPictureFile(DataFile("png-rgba-8bit-32x32.png"), rgba, error)) << error;
  ExpectPixel(rgba, 0, 0, Gamma(255), Gamma(0), Gamma(8));      // alpha 0 in the file
  ExpectPixel(rgba, 31, 0, Gamma(255), Gamma(0), Gamma(8));
  ExpectPixel(rgba, 5, 9, Gamma(224), Gamma(255), Gamma(6));    // alpha 41
  ExpectPixel(rgba, 17, 30, Gamma(0), Gamma(64), Gamma(255));   // alpha 139
  ExpectPixel(rgba, 31, 31, Gamma(0), Gamma(32), Gamma(255));
  EXPECT_EQ(Gamma(8), 53);  // a worked value: 255 * 0.03137^0.4545 = 52.9

  ASSERT_TRUE(LoadPictureFile(DataFile("png-palette-4bit-32x32.png"), palette, error)) << error;
  ExpectPixel(palette, 0, 0, 255, 0, 0);
  ExpectPixel(palette, 31, 0, 0, 255, 153);
  ExpectPixel(palette, 5, 9, 221, 255, 0);
  ExpectPixel(palette, 17, 30, 34, 0, 255);
  ExpectPixel(palette, 31, 31, 255, 0, 187);
}

TEST(PictureFiles, DecodesMatchUpstreamReferences) {
  for (const char* name : {"ras-24bit-standard-32x32.ras", "pcx-8bit-palette256-32x32.pcx"}) {
    SCOPED_TRACE(name);
    Bits sample, reference;
    std::string error;
    ASSERT_TRUE(LoadPictureFile(DataFile(name), sample, error)) << error;
    ASSERT_TRUE(LoadPictureFile(DataFile(std::string("ref/") + name + ".png"), reference, error)) << error;
    ASSERT_TRUE(sample.SameShape(reference));
    EXPECT_TRUE(sample == reference);
  }
}

TEST(PictureFiles, LosslessRoundTrips) {
  test::TempDir dir;
  const Bits picture = RandomPicture(13, 7, 42);  // odd width: padded rows in BMP
  // Every lossless row of the writer table, the DevIL ones included (they
  // write the optimized copy, which SavePictureFile refreshes first).
  for (const char* name : {"a.png", "b.bmp", "c.tif", "d.tga", "e.ppm", "f.PNG", "g.psd", "h.sgi", "i.rgb", "j.pcx",
                           "k.raw", "l.targa", "m.vst", "n.bw", "o.rgba", "p.tiff"}) {
    SCOPED_TRACE(name);
    std::string error;
    ASSERT_TRUE(SavePictureFile(dir / name, picture, error)) << error;
    Bits back;
    ASSERT_TRUE(LoadPictureFile(dir / name, back, error)) << error;
    ASSERT_EQ(back.Width(), 13);
    ASSERT_EQ(back.Height(), 7);
    int mismatches = 0;
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 13; ++x) {
        for (int c = 0; c < 3; ++c) mismatches += back.At(c, x, y) != picture.At(c, x, y);
        mismatches += back.At(3, x, y) != 0;  // the spare byte is not saved
      }
    EXPECT_EQ(mismatches, 0);
    int w = 0, h = 0, bpp = 0;
    ASSERT_TRUE(ProbePictureFile(dir / name, w, h, bpp, error)) << error;
    EXPECT_EQ(bpp, 24);
  }
  // Only the sixteen files: no scratch file is left beside them.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), std::filesystem::directory_iterator()), 16);
}

TEST(PictureFiles, JpegSaveIsCloseAtHighQuality) {
  test::TempDir dir;
  // A smooth gradient, which superb quality keeps within a few levels.
  Bits picture(40, 24);
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 40; ++x) {
      picture.At(0, x, y) = static_cast<uint8_t>(5 * x);
      picture.At(1, x, y) = static_cast<uint8_t>(8 * y);
      picture.At(2, x, y) = 128;
    }
  std::string error;
  for (const char* name : {"g.jpg", "h.jpeg"}) {
    ASSERT_TRUE(SavePictureFile(dir / name, picture, error)) << error;
    Bits back;
    ASSERT_TRUE(LoadPictureFile(dir / name, back, error)) << error;
    ASSERT_TRUE(back.SameShape(picture));
    long total = 0;
    for (int y = 0; y < 24; ++y)
      for (int x = 0; x < 40; ++x)
        for (int c = 0; c < 3; ++c) total += std::abs(back.At(c, x, y) - picture.At(c, x, y));
    EXPECT_LT(static_cast<double>(total) / (40 * 24 * 3), 3.0) << name;
  }
}

TEST(PictureFiles, UnreadableFilesGiveOneLineErrors) {
  test::TempDir dir;
  const Bits before = RandomPicture(2, 2, 1);
  auto expect_failure = [&](const std::filesystem::path& path, const std::string& fragment) {
    Bits out = before;
    std::string error;
    EXPECT_FALSE(LoadPictureFile(path, out, error)) << path;
    EXPECT_NE(error.find("cannot read '" + path.string() + "'"), std::string::npos) << error;
    EXPECT_NE(error.find(fragment), std::string::npos) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos);
    EXPECT_TRUE(out == before);  // untouched on failure
    int w = -1, h = -1, bpp = -1;
    error.clear();
    EXPECT_FALSE(ProbePictureFile(path, w, h, bpp, error));
    EXPECT_FALSE(error.empty());
  };

  expect_failure(dir / "absent.png", "no such file");
  expect_failure(dir.path(), "folder");

  const ByteVector text = {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', '\n'};
  ASSERT_TRUE(WriteFileAtomically(dir / "notes.xyz", text));
  expect_failure(dir / "notes.xyz", "no decoder takes files with the extension '.xyz'");
  ASSERT_TRUE(WriteFileAtomically(dir / "empty.png", {}));
  expect_failure(dir / "empty.png", "the file is empty");
  expect_failure(dir / "photo.jpe", "no such file");
  ASSERT_TRUE(WriteFileAtomically(dir / "photo.jpe", text));
  expect_failure(dir / "photo.jpe", "no decoder takes files with the extension '.jpe'");
  ASSERT_TRUE(WriteFileAtomically(dir / "layers.klf", text));
  expect_failure(dir / "layers.klf", "layered project");
  // A foreign file under a picture extension.
  ASSERT_TRUE(WriteFileAtomically(dir / "fake.png", text));
  expect_failure(dir / "fake.png", "could not be decoded");

  // Truncated PNG: signature and header survive, the data does not.
  ByteVector png;
  ASSERT_TRUE(ReadWholeFile(DataFile("png-rgba-8bit-32x32.png"), png));
  png.resize(png.size() / 2);
  ASSERT_TRUE(WriteFileAtomically(dir / "half.png", png));
  expect_failure(dir / "half.png", "could not be decoded");
}

TEST(PictureFiles, TruncatedFilesDoNotCrash) {
  test::TempDir dir;
  for (const char* name : {"bmp-24bit-oddwidth-119x96.bmp", "bmp-8bit-topdown.bmp", "jpg-baseline-420-227x149.jpg",
                           "png-palette-4bit-32x32.png", "pcx-8bit-palette256-32x32.pcx"}) {
    ByteVector bytes;
    ASSERT_TRUE(ReadWholeFile(DataFile(name), bytes));
    for (size_t keep : {size_t{0}, size_t{10}, size_t{60}, bytes.size() / 3, bytes.size() - 1}) {
      ByteVector cut(bytes.begin(), bytes.begin() + static_cast<long>(keep));
      const auto path = dir / (std::to_string(keep) + "-" + name);
      ASSERT_TRUE(WriteFileAtomically(path, cut));
      Bits out;
      std::string error;
      if (!LoadPictureFile(path, out, error)) {
        EXPECT_FALSE(error.empty()) << name << " cut to " << keep;
      } else {
        EXPECT_GT(out.Width(), 0);
      }
    }
  }
}

TEST(PictureFiles, FailedSaveLeavesNoFile) {
  test::TempDir dir;
  const Bits picture = RandomPicture(4, 3, 5);
  std::string error;

  EXPECT_FALSE(SavePictureFile(dir / "x.gifx", picture, error));
  EXPECT_NE(error.find("cannot write '"), std::string::npos) << error;
  EXPECT_NE(error.find("no writer for the extension '.gifx'"), std::string::npos) << error;
  EXPECT_FALSE(std::filesystem::exists(dir / "x.gifx"));

  error.clear();
  EXPECT_FALSE(SavePictureFile(dir / "no-such-folder" / "x.png", picture, error));
  EXPECT_FALSE(error.empty());
  EXPECT_FALSE(std::filesystem::exists(dir / "no-such-folder"));

  // An empty picture does not replace an existing file.
  ASSERT_TRUE(SavePictureFile(dir / "keep.png", picture, error)) << error;
  ByteVector before, after;
  ASSERT_TRUE(ReadWholeFile(dir / "keep.png", before));
  error.clear();
  EXPECT_FALSE(SavePictureFile(dir / "keep.png", Bits(), error));
  EXPECT_FALSE(error.empty());
  ASSERT_TRUE(ReadWholeFile(dir / "keep.png", after));
  EXPECT_EQ(before, after);

  // The target name is taken by a folder: the rename fails, nothing is left over.
  std::filesystem::create_directory(dir / "taken.bmp");
  std::filesystem::create_directory(dir / "taken.bmp" / "inside");
  error.clear();
  EXPECT_FALSE(SavePictureFile(dir / "taken.bmp", picture, error));
  EXPECT_FALSE(error.empty());
  EXPECT_TRUE(std::filesystem::is_directory(dir / "taken.bmp"));
  EXPECT_FALSE(std::filesystem::exists(dir / "taken.bmp.part"));
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

TEST(PictureFiles, PipesAndDevicesAreRefusedWithoutBlocking) {
  test::TempDir dir;
  const auto fifo = dir / "pipe.png";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::filesystem::path& path : {fifo, std::filesystem::path("/dev/zero")}) {
    SCOPED_TRACE(path.string());
    EXPECT_EQ(InChildWithAlarm([&] {
                Bits out;
                std::string error;
                return !LoadPictureFile(path, out, error) && error.find("not a regular file") != std::string::npos;
              }),
              1);
    EXPECT_EQ(InChildWithAlarm([&] {
                int w = 0, h = 0, bpp = 0;
                std::string error;
                return !ProbePictureFile(path, w, h, bpp, error) && !error.empty();
              }),
              1);
  }
}

TEST(PictureFiles, UnreadableFileIsRefused) {
  if (::geteuid() == 0) GTEST_SKIP() << "the superuser reads every file";
  test::TempDir dir;
  std::string error;
  ASSERT_TRUE(SavePictureFile(dir / "locked.png", RandomPicture(3, 3, 2), error)) << error;
  std::filesystem::permissions(dir / "locked.png", std::filesystem::perms::none);
  Bits out;
  EXPECT_FALSE(LoadPictureFile(dir / "locked.png", out, error));
  EXPECT_NE(error.find("cannot be opened for reading"), std::string::npos) << error;
  std::filesystem::permissions(dir / "locked.png", std::filesystem::perms::owner_all);
}

TEST(PictureFiles, SavingLeavesOtherFilesOfTheFolderAlone) {
  // A user's own "<name>.part" file is neither used nor removed, on success
  // and on failure, and no scratch file stays behind.
  test::TempDir dir;
  const ByteVector mine = {'m', 'i', 'n', 'e'};
  ASSERT_TRUE(WriteFileAtomically(dir / "out.png.part", mine));
  ASSERT_TRUE(WriteFileAtomically(dir / "out.psd.part", mine));
  const Bits picture = RandomPicture(5, 4, 3);
  std::string error;
  ASSERT_TRUE(SavePictureFile(dir / "out.png", picture, error)) << error;
  ASSERT_TRUE(SavePictureFile(dir / "out.psd", picture, error)) << error;
  EXPECT_FALSE(SavePictureFile(dir / "out.bmp", Bits(), error));
  std::filesystem::create_directory(dir / "taken.tga");
  EXPECT_FALSE(SavePictureFile(dir / "taken.tga", picture, error));
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"out.png", "out.png.part", "out.psd", "out.psd.part", "taken.tga"}));
  for (const char* name : {"out.png.part", "out.psd.part"}) {
    ByteVector kept;
    ASSERT_TRUE(ReadWholeFile(dir / name, kept));
    EXPECT_EQ(kept, mine) << name;
  }
}

// kelvane-cli convert takes the same roads: any input the loading roads
// open, any output the writer table knows.
TEST(CliConvert, ConvertsBetweenTheRoads) {
  test::TempDir dir;
  struct Case {
    const char* in;
    const char* out;
  };
  const Case cases[] = {{"wal-quake2-128x128.wal", "w.psd"},       {"gif87a-320x200.gif", "g.pcx"},
                        {"dib-24bit-headerless-70x46.dib", "d.sgi"}, {"tga-8bit-cmap-topleft-48x48.tga", "t.bmp"},
                        {"pxr-pixar-rgb-128x128.pxr", "p.tif"},    {"jng-color-alpha-idat-70x46.jng", "j.png"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.in) + " -> " + c.out);
    const auto r = test::RunCli({"convert", DataFile(c.in).string(), (dir / c.out).string()});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(r.err.empty()) << r.err;
    Bits source, written;
    std::string error;
    ASSERT_TRUE(LoadPictureFile(DataFile(c.in), source, error)) << error;
    ASSERT_TRUE(LoadPictureFile(dir / c.out, written, error)) << error;
    EXPECT_TRUE(source == written);
  }
  // A jpg is written at superb quality: close, not equal.
  ASSERT_EQ(test::RunCli({"convert", DataFile("bmp-24bit-oddwidth-119x96.bmp").string(), (dir / "b.jpg").string()})
                .exit_code,
            0);
}

TEST(CliConvert, BadInputIsOneLineAndNonZero) {
  test::TempDir dir;
  ByteVector cut;
  ASSERT_TRUE(ReadWholeFile(DataFile("psd-rgb-alpha-100x100.psd"), cut));
  cut.resize(cut.size() / 2);
  ASSERT_TRUE(WriteFileAtomically(dir / "half.psd", cut));
  ASSERT_TRUE(WriteFileAtomically(dir / "empty.gif", {}));
  std::filesystem::create_directory(dir / "folder.png");
  const std::string out = (dir / "out.png").string();
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"convert", (dir / "half.psd").string(), out}, "could not be decoded"},
      {{"convert", (dir / "empty.gif").string(), out}, "the file is empty"},
      {{"convert", (dir / "folder.png").string(), out}, "folder"},
      {{"convert", (dir / "absent.png").string(), out}, "no such file"},
      {{"convert", DataFile("ico-4bit-32x32.ico").string(), out}, "no decoder takes"},
      {{"convert", DataFile("png-rgba-8bit-32x32.png").string(), (dir / "x.jpe").string()}, "no writer"},
      {{"convert", DataFile("png-rgba-8bit-32x32.png").string()}, "convert needs IN OUT"},
  };
  for (const auto& [args, fragment] : cases) {
    SCOPED_TRACE(fragment);
    const auto r = test::RunCli(args);
    EXPECT_NE(r.exit_code, 0);
    EXPECT_EQ(r.err.rfind("kelvane-cli: ", 0), 0u) << r.err;
    EXPECT_NE(r.err.find(fragment), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  EXPECT_FALSE(std::filesystem::exists(out));
  EXPECT_FALSE(std::filesystem::exists(dir / "x.jpe"));
}

// Every sample through kelvane-cli info, and every third one through
// convert: both agree with the library road on
// which files open; the opened ones report their decoded size and convert to
// a PNG holding the same picture; the others fail with one line and leave no
// output.
TEST(CliConvert, EverySampleThroughInfoAndConvert) {
  test::TempDir dir;
  int opened = 0;
  int index = 0;
  for (const std::string& name : test::SampleFiles()) {
    SCOPED_TRACE(name);
    const bool convertThis = index++ % 3 == 0;
    const auto in = DataFile(name);
    Bits picture;
    std::string error;
    const bool loads = LoadPictureFile(in, picture, error);
    const auto info = test::RunCli({"info", in.string()});
    ASSERT_EQ(info.exit_code == 0, loads) << info.err;
    const auto out = dir / "out.png";
    if (!convertThis) {
      if (loads) {
        EXPECT_NE(info.out.find("\nWidth: " + std::to_string(picture.Width()) + "\n"), std::string::npos) << info.out;
        ++opened;
      } else {
        EXPECT_EQ(std::count(info.err.begin(), info.err.end(), '\n'), 1) << info.err;
      }
      continue;
    }
    const auto convert = test::RunCli({"convert", in.string(), out.string()});
    ASSERT_EQ(convert.exit_code == 0, loads) << convert.err;
    if (loads) {
      ++opened;
      EXPECT_NE(info.out.find("\nWidth: " + std::to_string(picture.Width()) + "\nHeight: " +
                              std::to_string(picture.Height()) + "\n"),
                std::string::npos)
          << info.out;
      if (const auto size = test::ManifestSize(name); size && name.find("wmf") == std::string::npos &&
                                                      name.find("emf") == std::string::npos) {
        EXPECT_EQ(picture.Width(), size->first);
        EXPECT_EQ(picture.Height(), size->second);
      }
      Bits back;
      ASSERT_TRUE(LoadPictureFile(out, back, error)) << error;
      EXPECT_TRUE(back == picture);
      std::filesystem::remove(out);
    } else {
      for (const auto* r : {&info, &convert}) {
        EXPECT_NE(r->exit_code, 0);
        EXPECT_TRUE(r->out.empty());
        EXPECT_EQ(std::count(r->err.begin(), r->err.end(), '\n'), 1) << r->err;
      }
      EXPECT_FALSE(std::filesystem::exists(out));
    }
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
  }
  EXPECT_GE(opened, 75);
}

}  // namespace
}  // namespace kelvane
