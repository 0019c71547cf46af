// kelvane-cli run: command words in order on one picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

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
  EXPECT_NE(r.err.find("opens fFilter"), std::string::npos) << r.err;
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
  // 69 filter and colour words, 29 zoom and rotation words, 20 document words
  EXPECT_NE(r.out.find("\nUNDO = document command\n"), std::string::npos);
  EXPECT_EQ(Lines(r.out), 118);
}

TEST(CliRun, ZoomAndRotationWordsReshapeThePicture) {
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
  EXPECT_TRUE(r.err.empty()) << r.err;
  EXPECT_EQ(size(s("twice.png")), std::pair(298, 454));
  // Two "50" in a row end at half size, not a quarter.
  ASSERT_EQ(RunCli({"run", "50,50", s.in, s("half2.png")}).exit_code, 0);
  EXPECT_EQ(size(s("half2.png")), std::pair(114, 74));
  // N270 turns by +90 and N90 by -90: every pixel comes back.
  ASSERT_EQ(RunCli({"run", "N270,N90", s.in, s("back.png")}).exit_code, 0);
  EXPECT_EQ(Load(s("back.png")), Load(s.in));
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
      {{"run", "FLIPH", (dir / "missing.png").string(), out}, "missing.png: Unexpected error loading image"},
      {{"run", "FLIPH", in, out, "--keep-temp", ""}, "--keep-temp"},
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

// A crop through the document words, undone and redone, with the snapshot
// files left behind for inspection.
TEST(CliRun, CropUndoRedoAndTheSnapshotsLeftBehind) {
  const Sample s;
  const Bits before = Load(s.in);
  const auto keep = s("snapshots");
  auto r = RunCli({"run", "CROP,UNDO", s.in, s("undone.png"), "--select", "10,20,60,50"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Load(s("undone.png")), before);
  r = RunCli({"run", "CROP,UNDO,REDO", s.in, s("redone.png"), "--select", "10,20,60,50", "--keep-temp", keep});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const Bits crop = Load(s("redone.png"));
  ASSERT_EQ(crop.Width(), 50);
  ASSERT_EQ(crop.Height(), 30);
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 50; ++x)
      for (int c = 0; c < 3; ++c) ASSERT_EQ(crop.At(c, x, y), before.At(c, x + 10, y + 20));

  // Document 1: slot 0 the opened picture, slot 1 the crop. A snapshot is a
  // 40-byte header (width and height of the framed array, the height
  // negative) followed by the whole framed array.
  const std::pair<const char*, std::pair<int, int>> files[] = {{"b000100.dat", {227, 149}},
                                                               {"b000101.dat", {50, 30}}};
  for (const auto& [name, wh] : files) {
    const auto path = std::filesystem::path(keep) / name;
    ASSERT_TRUE(std::filesystem::exists(path)) << name;
    const auto [w, h] = wh;
    EXPECT_EQ(std::filesystem::file_size(path), 40u + 4u * (w + 4) * (h + 4)) << name;
    std::ifstream in(path, std::ios::binary);
    int32_t header[3] = {};
    in.read(reinterpret_cast<char*>(header), sizeof header);
    EXPECT_EQ(header[0], 40);
    EXPECT_EQ(header[1], w + 4);
    EXPECT_EQ(header[2], -(h + 4));
  }
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(keep) / "b000102.dat"));
}

// The selection words act on the document's selection, which the filters
// then keep to.
TEST(CliRun, SelectionWordsSteerTheFilters) {
  const Sample s;
  const Bits before = Load(s.in);
  ASSERT_EQ(RunCli({"run", "INVERTSELECTION,INVERT", s.in, s("outside.png"), "--select", "10,20,60,50"}).exit_code,
            0);
  ASSERT_EQ(RunCli({"run", "SELECTNONE,INVERT", s.in, s("all.png"), "--select", "10,20,60,50"}).exit_code, 0);
  const Bits outside = Load(s("outside.png")), all = Load(s("all.png"));
  for (int y = 0; y < before.Height(); ++y)
    for (int x = 0; x < before.Width(); ++x) {
      const bool inRect = x >= 10 && x < 60 && y >= 20 && y < 50;
      for (int c = 0; c < 3; ++c) {
        ASSERT_EQ(outside.At(c, x, y), inRect ? before.At(c, x, y) : 255 - before.At(c, x, y)) << x << "," << y;
        ASSERT_EQ(all.At(c, x, y), 255 - before.At(c, x, y)) << x << "," << y;
      }
    }
}

// COPY then PASTE: the clip floats at the top-left corner until the run
// ends, which lays it down at the paste box's opacity (80 in a fresh record):
// w * clip + (1 - w) * picture, rounded half to even.
TEST(CliRun, APasteStillFloatingIsLaidDownAtTheEnd) {
  const Sample s;
  const Bits before = Load(s.in);
  ASSERT_EQ(RunCli({"run", "COPY,PASTE", s.in, s("pasted.png"), "--select", "10,20,60,50"}).exit_code, 0);
  const Bits after = Load(s("pasted.png"));
  const double w = 80 / 100.0;
  for (int y = 0; y < before.Height(); ++y)
    for (int x = 0; x < before.Width(); ++x)
      for (int c = 0; c < 3; ++c) {
        int expected = before.At(c, x, y);
        if (x < 50 && y < 30)
          expected = static_cast<int>(std::nearbyint(w * before.At(c, x + 10, y + 20) + (1 - w) * before.At(c, x, y)));
        ASSERT_EQ(after.At(c, x, y), expected) << x << "," << y << " channel " << c;
      }
}

}  // namespace
}  // namespace kelvane
