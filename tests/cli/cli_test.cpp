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

// Every extension of the writer table through kelvane-cli convert, each
// output read back: lossless rows exactly, the grey maps by the luma of the
// 8-bit conversion, JPEG closely.
TEST(CliConvert, EveryWriterExtensionReadsBack) {
  TempDir dir;
  Bits picture(17, 11);  // odd width; 30 colours, so the GIF palette holds them all
  for (int y = 0; y < 11; ++y)
    for (int x = 0; x < 17; ++x) {
      const int k = (x + 7 * y) % 30;
      picture.At(0, x, y) = static_cast<uint8_t>(8 * k);
      picture.At(1, x, y) = static_cast<uint8_t>(255 - 5 * k);
      picture.At(2, x, y) = static_cast<uint8_t>(40 + 3 * k);
    }
  std::string error;
  ASSERT_TRUE(SavePictureFile(dir / "in.png", picture, error)) << error;
  const char* exact[] = {"gif", "png", "bmp", "tif", "tiff", "ppm", "tga", "vda", "vst", "icb", "targa",
                         "psd", "sgi", "bw", "rgb", "rgba", "raw", "pcx"};
  for (const char* ext : exact) {
    SCOPED_TRACE(ext);
    const auto out = dir / (std::string("out.") + ext);
    const auto r = RunCli({"convert", (dir / "in.png").string(), out.string()});
    ASSERT_EQ(r.exit_code, 0) << r.err;
    Bits back;
    ASSERT_TRUE(LoadPictureFile(out, back, error)) << error;
    EXPECT_TRUE(back == picture);
  }
  for (const char* ext : {"pgm", "pbm"}) {
    SCOPED_TRACE(ext);
    const auto out = dir / (std::string("out.") + ext);
    ASSERT_EQ(RunCli({"convert", (dir / "in.png").string(), out.string()}).exit_code, 0);
    Bits back;
    ASSERT_TRUE(LoadPictureFile(out, back, error)) << error;
    ASSERT_TRUE(back.SameShape(picture));
    for (int y = 0; y < 11; ++y)
      for (int x = 0; x < 17; ++x) {
        const uint8_t* p = picture.Pixel(x, y);
        const double luma = 0.2126 * p[2] + 0.7152 * p[1] + 0.0722 * p[0];
        for (int c = 0; c < 3; ++c) ASSERT_LE(std::abs(back.At(c, x, y) - luma), 1.0) << x << "," << y;
      }
  }
  for (const char* ext : {"jpg", "jpeg"}) {
    SCOPED_TRACE(ext);
    const auto out = dir / (std::string("out.") + ext);
    ASSERT_EQ(RunCli({"convert", (dir / "in.png").string(), out.string()}).exit_code, 0);
    Bits back;
    ASSERT_TRUE(LoadPictureFile(out, back, error)) << error;
    ASSERT_TRUE(back.SameShape(picture));
  }
  // Nothing but the outputs and the input: no scratch files.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), std::filesystem::directory_iterator()),
            1 + 18 + 2 + 2);
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
