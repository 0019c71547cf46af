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

using test::RunCli;
using test::TempDir;

int Grey(const uint8_t* p) {
  const double s = p[0] * 0.071 + p[1] * 0.707 + p[2] * 0.222;
  return static_cast<int>(std::nearbyint(s));
}

TEST(CliFilter, GreyScaleWithSelectChangesOnlyThatRectangle) {
  TempDir dir;
  const auto in = test::DataFile("jpg-baseline-420-227x149.jpg");
  const auto out = dir / "out.png";
  // The input as the CLI sees it, decoded once through PNG so that both sides
  // compare the same pixels.
  ASSERT_EQ(RunCli({"convert", in.string(), (dir / "in.png").string()}).exit_code, 0);
  const auto r = RunCli({"filter", "GreyScale", (dir / "in.png").string(), out.string(), "--select", "10,10,50,40"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty());
  Bits before, after;
  std::string error;
  ASSERT_TRUE(LoadPictureFile(dir / "in.png", before, error)) << error;
  ASSERT_TRUE(LoadPictureFile(out, after, error)) << error;
  ASSERT_TRUE(before.SameShape(after));
  int changed = 0;
  for (int y = 0; y < before.Height(); ++y)
    for (int x = 0; x < before.Width(); ++x) {
      const uint8_t* a = before.Pixel(x, y);
      const uint8_t* b = after.Pixel(x, y);
      const bool inside = x >= 10 && x < 50 && y >= 10 && y < 40;
      for (int c = 0; c < 3; ++c) {
        ASSERT_EQ(b[c], inside ? Grey(a) : a[c]) << "(" << x << ", " << y << ") channel " << c;
      }
      changed += inside && (a[0] != b[0] || a[1] != b[1] || a[2] != b[2]);
    }
  EXPECT_GT(changed, 100);
}

TEST(CliFilter, SourceMethodsTakeTheInputAndReportStatistics) {
  TempDir dir;
  const auto in = test::DataFile("bmp-24bit-oddwidth-119x96.bmp");
  auto r = RunCli({"filter", "BitsResample", "60", "40", in.string(), (dir / "half.png").string(), "--time"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.out.find("time: "), std::string::npos);
  r = RunCli({"info", (dir / "half.png").string()});
  EXPECT_NE(r.out.find("Bits Per Pixel: 24\nWidth: 60\nHeight: 40\n"), std::string::npos) << r.out;

  r = RunCli({"filter", "BitsRotate90", in.string(), (dir / "turned.bmp").string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(RunCli({"info", (dir / "turned.bmp").string()}).out.find("Bits Per Pixel: 24\nWidth: 96\nHeight: 119\n"),
            std::string::npos);

  r = RunCli({"filter", "GetLMin", in.string(), (dir / "same.png").string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out.rfind("GetLMin: ", 0), 0u) << r.out;
}

TEST(CliFilter, ErrorsAreOneLineNonZeroAndLeaveNoOutput) {
  TempDir dir;
  const auto in = test::DataFile("bmp-24bit-oddwidth-119x96.bmp").string();
  const auto out = (dir / "out.png").string();
  struct Case {
    std::vector<std::string> args;
    const char* fragment;
  };
  const Case cases[] = {
      {{"filter", "NoSuchFilter", in, out}, "unknown method 'NoSuchFilter'"},
      {{"filter", "NewDoc", "1", "2", in, out}, "too few arguments"},
      {{"filter", "NewDoc", "1", "2", "x", in, out}, "'blue'"},
      {{"filter", "GreyScale", (dir / "missing.png").string(), out}, "missing.png"},
      {{"filter", "GreyScale", in, out, "--select", "1,2,3"}, "--select"},
      {{"filter", "GreyScale", in, out, "--selection", (dir / "none.ksf").string()}, "none.ksf"},
      {{"filter", "GreyScale", in, out, "--threads", "0"}, "--threads"},
      {{"filter", "GreyScale", in, (dir / "no-such-dir" / "o.png").string()}, "o.png"},
      {{"convert", test::DataFile("MANIFEST.tsv").string(), out}, "MANIFEST.tsv"},
      {{"frobnicate"}, "unknown command"},
  };
  for (const Case& c : cases) {
    const auto r = RunCli(c.args);
    EXPECT_NE(r.exit_code, 0) << c.fragment;
    EXPECT_NE(r.err.find(c.fragment), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_FALSE(std::filesystem::exists(out)) << c.fragment;
  }
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(CliSettings, InitWritesDefaultsAndShowPrintsEveryField) {
  TempDir dir;
  auto r = RunCli({"settings", "init", dir.path().string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  ByteVector bytes;
  ASSERT_TRUE(ReadWholeFile(dir / "kv201Start.up", bytes));
  EXPECT_EQ(bytes.size(), 6593u);
  // MainWidth 9600 and MainMaximized true (-1) lead the file.
  EXPECT_EQ(bytes[0], 9600 & 0xFF);
  EXPECT_EQ(bytes[1], 9600 >> 8);
  EXPECT_EQ(bytes[4], 0xFF);
  EXPECT_EQ(bytes[5], 0xFF);

  r = RunCli({"settings", "show", (dir / "kv201Start.up").string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.out.find("MainWidth = 9600\n"), std::string::npos) << r.out.substr(0, 200);
  EXPECT_NE(r.out.find("OpenFolder = \"" + dir.path().string() + "/Images/\"\n"), std::string::npos);
  EXPECT_NE(r.out.find("BatchFlag = true\n"), std::string::npos);

  // --home names the folder when none is given.
  TempDir home;
  r = RunCli({"settings", "init", "--home", home.path().string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  ByteVector again;
  ASSERT_TRUE(ReadWholeFile(home / "kv201Start.up", again));
  EXPECT_EQ(again.size(), 6593u);

  EXPECT_NE(RunCli({"settings", "init", (dir / "absent").string()}).exit_code, 0);
  EXPECT_NE(RunCli({"settings", "show", (dir / "absent.up").string()}).exit_code, 0);
}

}  // namespace
}  // namespace kelvane
