// kelvane-cli run: command words in order on one picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "document/bits.h"
#include "filters/filter_catalogue.h"
#include "imagefiles/picture_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::RunCli;
using test::TempDir;

Bits Load(const std::filesystem::path& path) {
  Bits b;
  std::string error;
  EXPECT_TRUE(LoadPictureFile(path, b, error)) << error;
  return b;
}

// The sample JPEG, decoded once and kept as PNG so that every side reads the
// very same pixels.
std::filesystem::path SamplePng(const TempDir& dir) {
  const auto png = dir / "in.png";
  EXPECT_EQ(RunCli({"convert", test::DataFile("jpg-baseline-420-227x149.jpg").string(), png.string()}).exit_code, 0);
  return png;
}

int Grey(const uint8_t* p) { return static_cast<int>(std::nearbyint(p[0] * 0.071 + p[1] * 0.707 + p[2] * 0.222)); }

TEST(CliRun, FlipsAndGreyRunInOrder) {
  TempDir dir;
  const auto in = SamplePng(dir);
  const auto out = dir / "out.png";
  const auto r = RunCli({"run", "FLIPH,FLIPV,GRAYSCALE", in.string(), out.string(), "--threads", "2"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty()) << r.err;
  const Bits before = Load(in), after = Load(out);
  ASSERT_TRUE(before.SameShape(after));
  const int w = before.Width(), h = before.Height();
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const int g = Grey(before.Pixel(w - 1 - x, h - 1 - y));  // a half turn, then grey
      for (int c = 0; c < 3; ++c) ASSERT_EQ(after.At(c, x, y), g) << "(" << x << ", " << y << ")";
    }
}

TEST(CliRun, UnknownWordsAreReportedAndSkipped) {
  TempDir dir;
  const auto in = SamplePng(dir);
  const auto out = dir / "out.png";
  const auto flipped = dir / "flipped.png";
  ASSERT_EQ(RunCli({"filter", "Flip", "true", "false", in.string(), flipped.string()}).exit_code, 0);
  const auto r = RunCli({"run", "BOGUS,FLIPH,CUSTOMBLUR", in.string(), out.string()});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.err.find("unknown command word 'BOGUS' (nothing done)"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("'CUSTOMBLUR'"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("filter dialog"), std::string::npos) << r.err;
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 2) << r.err;
  EXPECT_EQ(Load(out), Load(flipped));

  // Only unknown words: the picture goes out unchanged.
  const auto same = dir / "same.png";
  ASSERT_EQ(RunCli({"run", "nothing", in.string(), same.string()}).exit_code, 0);
  EXPECT_EQ(Load(same), Load(in));
}

TEST(CliRun, ListShowsEachWordWithItsCall) {
  const auto r = RunCli({"run", "--list"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.out.find("\nHEAVYBLUR = Blurs 2.5\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\nFLIPV = Flip false true\n"), std::string::npos);
  EXPECT_NE(r.out.find("\n15 = ZoomImage 7 false false\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\nORIGINAL = ZoomFactor 1, then ZoomImage 1 false false\n"), std::string::npos);
  EXPECT_NE(r.out.find("\nN270 = RotateImage 90 false\n"), std::string::npos);
  // 69 filter and colour words, 29 zoom and rotation words.
  EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 98);
}

TEST(CliRun, ZoomWordsResizeAndRotationWordsAreReported) {
  TempDir dir;
  const auto in = SamplePng(dir);  // 227 x 149
  const auto half = dir / "half.png", third = dir / "third.png", twice = dir / "twice.png";
  auto r = RunCli({"run", "50", in.string(), half.string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty()) << r.err;
  Bits b = Load(half);
  EXPECT_EQ(b.Width(), 114);  // 113.5 and 74.5, ties to even
  EXPECT_EQ(b.Height(), 74);
  // Nearest neighbour: pixel (x, y) is the source's (Floor(x * 227 / 114), ...).
  const Bits source = Load(in);
  for (int y : {0, 37, 73})
    for (int x : {0, 57, 113}) {
      const int sx = static_cast<int>(std::floor(x * (227.0 / 114)));
      const int sy = static_cast<int>(std::floor(y * (149.0 / 74)));
      for (int c = 0; c < 3; ++c) EXPECT_EQ(b.At(c, x, y), source.At(c, sx, sy)) << x << "," << y;
    }

  ASSERT_EQ(RunCli({"run", "x3", in.string(), third.string()}).exit_code, 0);
  b = Load(third);
  EXPECT_EQ(b.Width(), 76);  // 75.67, 49.67
  EXPECT_EQ(b.Height(), 50);

  r = RunCli({"run", "2x,N90", in.string(), twice.string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.err.find("'N90'"), std::string::npos) << r.err;
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  b = Load(twice);
  EXPECT_EQ(b.Width(), 454);
  EXPECT_EQ(b.Height(), 298);
}

TEST(CliRun, InvertGreyContourMatchesTheFilterCommandsInTurn) {
  for (const char* m : {"Invert", "GreyScale", "CONTOUR"}) {
    if (!FindFilterMethod(m)) GTEST_SKIP() << m << " is not in the catalogue yet";
  }
  TempDir dir;
  const auto in = SamplePng(dir);
  const auto out = dir / "out.png";
  const auto r = RunCli({"run", "INVERT,GRAYSCALE,HEAVYCONTOUR", in.string(), out.string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty()) << r.err;
  // The same through `filter`, one method at a time; 255255255 keeps its
  // three low bytes: 0x36E2D7 = 3597015.
  const auto a = dir / "a.png", b = dir / "b.png", c = dir / "c.png";
  ASSERT_EQ(RunCli({"filter", "Invert", in.string(), a.string()}).exit_code, 0);
  ASSERT_EQ(RunCli({"filter", "GreyScale", a.string(), b.string()}).exit_code, 0);
  ASSERT_EQ(RunCli({"filter", "CONTOUR", "255", "3597015", b.string(), c.string()}).exit_code, 0);
  EXPECT_EQ(Load(out), Load(c));
}

TEST(CliRun, SeededNoiseRepeats) {
  if (!FindFilterMethod("NOISE")) GTEST_SKIP() << "NOISE is not in the catalogue yet";
  TempDir dir;
  const auto in = SamplePng(dir);
  const auto a = dir / "a.png", b = dir / "b.png";
  ASSERT_EQ(RunCli({"run", "HEAVYNOISE", in.string(), a.string(), "--seed", "5"}).exit_code, 0);
  ASSERT_EQ(RunCli({"run", "HEAVYNOISE", in.string(), b.string(), "--seed", "5", "--threads", "1"}).exit_code, 0);
  EXPECT_EQ(Load(a), Load(b));
  EXPECT_FALSE(Load(a) == Load(in));
}

TEST(CliRun, ErrorsAreOneLineNonZeroAndLeaveNoOutput) {
  TempDir dir;
  const auto in = test::DataFile("bmp-24bit-oddwidth-119x96.bmp").string();
  const auto out = (dir / "out.png").string();
  struct Case {
    std::vector<std::string> args;
    const char* fragment;
  };
  const Case cases[] = {
      {{"run", "INVERT", in}, "run needs"},
      {{"run", "INVERT", "x", in, out}, "run needs"},
      {{"run", "FLIPH", (dir / "missing.png").string(), out}, "missing.png"},
      {{"run", "FLIPH", in, out, "--select", "1,2"}, "--select"},
      {{"run", "FLIPH", in, out, "--seed", "-3"}, "--seed"},
      {{"run", "FLIPH", in, (dir / "no-such-dir" / "o.png").string()}, "o.png"},
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

}  // namespace
}  // namespace kelvane
