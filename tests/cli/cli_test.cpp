// kelvane-cli end to end: real files in, real files out, errors on stderr.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "base/byte_io.h"
#include "document/bits.h"
#include "imagefiles/picture_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::DataFile;
using test::RunCli;
using test::TempDir;

Bits Load(const std::filesystem::path& path) {
  Bits b;
  std::string error;
  EXPECT_TRUE(LoadPictureFile(path, b, error)) << error;
  return b;
}

TEST(CliFilter, GreyScaleWithSelectChangesOnlyThatRectangle) {
  TempDir dir;
  // The input decoded once through PNG, so that both sides compare the same pixels.
  ASSERT_EQ(RunCli({"convert", DataFile("jpg-baseline-420-227x149.jpg").string(), (dir / "in.png").string()}).exit_code, 0);
  const auto r = RunCli({"filter", "GreyScale", (dir / "in.png").string(), (dir / "out.png").string(), "--select",
                         "10,10,50,40"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty());
  const Bits before = Load(dir / "in.png"), after = Load(dir / "out.png");
  ASSERT_TRUE(before.SameShape(after));
  int changed = 0;
  for (int y = 0; y < before.Height(); ++y)
    for (int x = 0; x < before.Width(); ++x) {
      const uint8_t* a = before.Pixel(x, y);
      const uint8_t* b = after.Pixel(x, y);
      const bool inside = x >= 10 && x < 50 && y >= 10 && y < 40;
      const int grey = static_cast<int>(std::nearbyint(a[0] * 0.071 + a[1] * 0.707 + a[2] * 0.222));
      for (int c = 0; c < 3; ++c) ASSERT_EQ(b[c], inside ? grey : a[c]) << "(" << x << ", " << y << ") channel " << c;
      changed += inside && (a[0] != b[0] || a[1] != b[1] || a[2] != b[2]);
    }
  EXPECT_GT(changed, 100);
}

TEST(CliFilter, SourceMethodsTakeTheInputAndReportStatistics) {
  TempDir dir;
  const auto in = DataFile("bmp-24bit-oddwidth-119x96.bmp").string();
  auto r = RunCli({"filter", "BitsResample", "60", "40", in, (dir / "half.png").string(), "--time"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.out.find("time: "), std::string::npos);
  r = RunCli({"info", (dir / "half.png").string()});
  EXPECT_NE(r.out.find("Bits Per Pixel: 24\nWidth: 60\nHeight: 40\n"), std::string::npos) << r.out;

  ASSERT_EQ(RunCli({"filter", "BitsRotate90", in, (dir / "turned.bmp").string()}).exit_code, 0);
  EXPECT_NE(RunCli({"info", (dir / "turned.bmp").string()}).out.find("Bits Per Pixel: 24\nWidth: 96\nHeight: 119\n"),
            std::string::npos);

  r = RunCli({"filter", "GetLMin", in, (dir / "same.png").string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out.rfind("GetLMin: ", 0), 0u) << r.out;
}

// convert takes the loading roads for any input and the writer table for
// any output; what it writes holds the picture the library road reads.
TEST(CliConvert, ConvertsBetweenTheRoads) {
  TempDir dir;
  const std::pair<const char*, const char*> cases[] = {{"wal-quake2-128x128.wal", "w.psd"},
                                                       {"gif87a-320x200.gif", "g.pcx"},
                                                       {"dib-24bit-headerless-70x46.dib", "d.sgi"},
                                                       {"tga-8bit-cmap-topleft-48x48.tga", "t.bmp"}};
  for (const auto& [in, out] : cases) {
    SCOPED_TRACE(std::string(in) + " -> " + out);
    const auto r = RunCli({"convert", DataFile(in).string(), (dir / out).string()});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(r.err.empty()) << r.err;
    EXPECT_TRUE(Load(DataFile(in)) == Load(dir / out));
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), std::filesystem::directory_iterator()), 4)
      << "no scratch files";
}

// Bad input in every command: one line starting "kelvane-cli: ", a
// non-zero exit, nothing on stdout, and no output file left.
TEST(CliErrors, OneLineNonZeroAndNoOutput) {
  TempDir dir;
  ByteVector cut;
  ASSERT_TRUE(ReadWholeFile(DataFile("psd-rgb-alpha-100x100.psd"), cut));
  cut.resize(cut.size() / 2);
  ASSERT_TRUE(WriteFileAtomically(dir / "half.psd", cut));
  ASSERT_TRUE(WriteFileAtomically(dir / "empty.gif", {}));
  std::filesystem::create_directory(dir / "folder.png");
  const std::string in = DataFile("bmp-24bit-oddwidth-119x96.bmp").string(), out = (dir / "out.png").string();
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"filter", "NoSuchFilter", in, out}, "unknown method 'NoSuchFilter'"},
      {{"filter", "NewDoc", "1", "2", in, out}, "too few arguments"},
      {{"filter", "NewDoc", "1", "2", "x", in, out}, "'blue'"},
      {{"filter", "GreyScale", in, out, "--select", "1,2,3"}, "--select"},
      {{"filter", "GreyScale", in, out, "--selection", (dir / "none.ksf").string()}, "none.ksf"},
      {{"filter", "GreyScale", in, out, "--threads", "0"}, "--threads"},
      {{"filter", "GreyScale", in, (dir / "no-such-dir" / "o.png").string()}, "o.png"},
      {{"frobnicate"}, "unknown command"},
      {{"convert", (dir / "half.psd").string(), out}, "could not be decoded"},
      {{"convert", (dir / "empty.gif").string(), out}, "the file is empty"},
      {{"convert", (dir / "folder.png").string(), out}, "folder"},
      {{"convert", (dir / "absent.png").string(), out}, "no such file"},
      {{"convert", DataFile("ico-4bit-32x32.ico").string(), out}, "no decoder takes"},
      {{"convert", in, (dir / "x.jpe").string()}, "no writer"},
      {{"convert", in}, "convert needs IN OUT"},
      {{"info", (dir / "missing.png").string()}, "missing.png"},
      {{"info", DataFile("MANIFEST.tsv").string()}, "MANIFEST.tsv"},
      {{"info"}, ""},
  };
  for (const auto& [args, fragment] : cases) {
    SCOPED_TRACE(args[0] + " " + fragment);
    const auto r = RunCli(args);
    EXPECT_NE(r.exit_code, 0);
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_EQ(r.err.rfind("kelvane-cli: ", 0), 0u) << r.err;
    EXPECT_NE(r.err.find(fragment), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), std::filesystem::directory_iterator()), 3)
      << "only the three inputs";
}

TEST(CliSettings, InitWritesDefaultsAndShowPrintsEveryField) {
  TempDir dir, home;
  ASSERT_EQ(RunCli({"settings", "init", dir.path().string()}).exit_code, 0);
  ByteVector bytes;
  ASSERT_TRUE(ReadWholeFile(dir / "kv201Start.up", bytes));
  ASSERT_EQ(bytes.size(), 6593u);
  // MainWidth 9600 and MainMaximized true (-1) lead the file.
  EXPECT_EQ((ByteVector{bytes[0], bytes[1], bytes[4], bytes[5]}), (ByteVector{9600 & 0xFF, 9600 >> 8, 0xFF, 0xFF}));

  const auto r = RunCli({"settings", "show", (dir / "kv201Start.up").string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.out.find("MainWidth = 9600\n"), std::string::npos) << r.out.substr(0, 200);
  EXPECT_NE(r.out.find("OpenFolder = \"" + dir.path().string() + "/Images/\"\n"), std::string::npos);
  EXPECT_NE(r.out.find("BatchFlag = true\n"), std::string::npos);

  // --home names the folder when none is given.
  ASSERT_EQ(RunCli({"settings", "init", "--home", home.path().string()}).exit_code, 0);
  EXPECT_EQ(std::filesystem::file_size(home / "kv201Start.up"), 6593u);
  EXPECT_NE(RunCli({"settings", "init", (dir / "absent").string()}).exit_code, 0);
  EXPECT_NE(RunCli({"settings", "show", (dir / "absent.up").string()}).exit_code, 0);
}

}  // namespace
}  // namespace kelvane
