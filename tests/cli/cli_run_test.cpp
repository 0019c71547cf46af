// kelvane-cli run: command words in order on one picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "document/bits.h"
#include "imagefiles/picture_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::RunCli;

Bits Load(const std::filesystem::path& path) {
  Bits b;
  std::string error;
  EXPECT_TRUE(LoadPictureFile(path, b, error)) << error;
  return b;
}

long Lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

// The sample JPEG (227 x 149), decoded once and kept as PNG so that every
// side reads the very same pixels.
struct Sample {
  test::TempDir dir;
  std::string in = (dir / "in.png").string();
  Sample() {
    EXPECT_EQ(RunCli({"convert", test::DataFile("jpg-baseline-420-227x149.jpg").string(), in}).exit_code, 0);
  }
  std::string operator()(const char* name) const { return (dir / name).string(); }
};

TEST(CliRun, WordsRunInOrderAndUnknownWordsAreSkipped) {
  const Sample s;
  auto r = RunCli({"run", "FLIPH,FLIPV,GRAYSCALE", s.in, s("out.png"), "--threads", "2"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty()) << r.err;
  const Bits before = Load(s.in), after = Load(s("out.png"));
  ASSERT_TRUE(before.SameShape(after));
  const int w = before.Width(), h = before.Height();
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const uint8_t* p = before.Pixel(w - 1 - x, h - 1 - y);  // a half turn, then grey
      const int g = static_cast<int>(std::nearbyint(p[0] * 0.071 + p[1] * 0.707 + p[2] * 0.222));
      for (int c = 0; c < 3; ++c) ASSERT_EQ(after.At(c, x, y), g) << "(" << x << ", " << y << ")";
    }

  ASSERT_EQ(RunCli({"filter", "Flip", "true", "false", s.in, s("flipped.png")}).exit_code, 0);
  r = RunCli({"run", "BOGUS,FLIPH,CUSTOMBLUR", s.in, s("out.png")});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.err.find("unknown command word 'BOGUS' (nothing done)"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("'CUSTOMBLUR'"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("filter dialog"), std::string::npos) << r.err;
  EXPECT_EQ(Lines(r.err), 2) << r.err;
  EXPECT_EQ(Load(s("out.png")), Load(s("flipped.png")));
  // Only unknown words: the picture goes out unchanged.
  ASSERT_EQ(RunCli({"run", "nothing", s.in, s("same.png")}).exit_code, 0);
  EXPECT_EQ(Load(s("same.png")), before);
}

TEST(CliRun, ListShowsEachWordWithItsCall) {
  const auto r = RunCli({"run", "--list"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  for (const char* line : {"\nHEAVYBLUR = Blurs 2.5\n", "\nFLIPV = Flip false true\n",
                           "\n15 = ZoomImage 7 false false\n", "\nN270 = RotateImage 90 false\n",
                           "\nORIGINAL = ZoomFactor 1, then ZoomImage 1 false false\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line;
  EXPECT_EQ(Lines(r.out), 98);  // 69 filter and colour words, 29 zoom and rotation words
}

TEST(CliRun, ZoomWordsResizeAndRotationWordsAreReported) {
  const Sample s;
  auto size = [](const std::string& path) {
    const Bits b = Load(path);
    return std::pair(b.Width(), b.Height());
  };
  auto r = RunCli({"run", "50", s.in, s("half.png")});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty()) << r.err;
  EXPECT_EQ(size(s("half.png")), std::pair(114, 74));  // 113.5 and 74.5, ties to even
  ASSERT_EQ(RunCli({"run", "x3", s.in, s("third.png")}).exit_code, 0);
  EXPECT_EQ(size(s("third.png")), std::pair(76, 50));  // 75.67, 49.67
  r = RunCli({"run", "2x,N90", s.in, s("twice.png")});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.err.find("'N90'"), std::string::npos) << r.err;
  EXPECT_EQ(Lines(r.err), 1) << r.err;
  EXPECT_EQ(size(s("twice.png")), std::pair(454, 298));
}

TEST(CliRun, SeededNoiseRepeatsWhateverTheThreads) {
  const Sample s;
  ASSERT_EQ(RunCli({"run", "HEAVYNOISE", s.in, s("n1.png"), "--seed", "5"}).exit_code, 0);
  ASSERT_EQ(RunCli({"run", "HEAVYNOISE", s.in, s("n2.png"), "--seed", "5", "--threads", "1"}).exit_code, 0);
  EXPECT_EQ(Load(s("n1.png")), Load(s("n2.png")));
  EXPECT_FALSE(Load(s("n1.png")) == Load(s.in));
}

TEST(CliRun, ErrorsAreOneLineNonZeroAndLeaveNoOutput) {
  test::TempDir dir;
  const auto in = test::DataFile("bmp-24bit-oddwidth-119x96.bmp").string();
  const auto out = (dir / "out.png").string();
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"run", "INVERT", in}, "run needs"},
      {{"run", "INVERT", "x", in, out}, "run needs"},
      {{"run", "FLIPH", (dir / "missing.png").string(), out}, "missing.png"},
      {{"run", "FLIPH", in, out, "--select", "1,2"}, "--select"},
      {{"run", "FLIPH", in, out, "--seed", "-3"}, "--seed"},
      {{"run", "FLIPH", in, (dir / "no-such-dir" / "o.png").string()}, "o.png"},
  };
  for (const auto& [args, fragment] : cases) {
    const auto r = RunCli(args);
    EXPECT_NE(r.exit_code, 0) << fragment;
    EXPECT_NE(r.err.find(fragment), std::string::npos) << r.err;
    EXPECT_EQ(Lines(r.err), 1) << r.err;
  }
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

}  // namespace
}  // namespace kelvane
