// Palettes: the *.pal layout byte for byte, hand-built and malformed files,
// the nearest-colour rule, and the folder rule of the dialog's buttons.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "filters/colour_test_support.h"
#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using namespace colour_test;

// A hand-built file: the 14-byte header, then 32-bit values, little-endian.
std::vector<uint8_t> File(int32_t count, int16_t dims, int32_t elements, int32_t lower,
                          const std::vector<int32_t>& values = {}) {
  std::vector<uint8_t> b;
  auto put = [&](int64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
  };
  put(count, 4), put(dims, 2), put(elements, 4), put(lower, 4);
  for (int32_t v : values) put(v, 4);
  return b;
}

void WriteBytes(const fs::path& p, const std::vector<uint8_t>& bytes) {
  std::ofstream(p, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
std::vector<uint8_t> ReadBytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST(PaletteFile, WritesTheRecordByteForByteAndReadsItBack) {
  test::TempDir dir;
  const PaletteRecord p = MakePalette({{255, 0, 16}, {1, 2, 3}});
  const std::vector<uint8_t> expected = {
      2, 0, 0, 0,                                     // PaletteCount
      1, 0,                                           // one dimension
      2, 0, 0, 0,                                     // N
      0, 0, 0, 0,                                     // lower bound
      255, 0, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0,          // red, green, blue of entry 0
      1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0};            // entry 1
  EXPECT_EQ(EncodePalette(p), expected);
  ASSERT_TRUE(SavePalette(dir / "two.pal", p));
  EXPECT_EQ(ReadBytes(dir / "two.pal"), expected);
  PaletteRecord back;
  ASSERT_TRUE(LoadPalette(dir / "two.pal", back));
  EXPECT_EQ(back, p);
  // A count below the array's length is written as it stands: N stays the
  // array's length.
  PaletteRecord cut = MakePalette({{9, 9, 9}, {8, 8, 8}, {7, 7, 7}});
  cut.PaletteCount = 1;
  const ByteVector bytes = EncodePalette(cut);
  ASSERT_EQ(bytes.size(), 14u + 36u);
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(bytes[6], 3);

  // Saving over a longer file keeps its tail, and loading ignores it.
  WriteBytes(dir / "old.pal", std::vector<uint8_t>(100, 0xEE));
  const PaletteRecord one = MakePalette({{10, 20, 30}});
  ASSERT_TRUE(SavePalette(dir / "old.pal", one));
  const std::vector<uint8_t> old = ReadBytes(dir / "old.pal");
  ASSERT_EQ(old.size(), 100u);
  EXPECT_EQ(std::vector<uint8_t>(old.begin(), old.begin() + 26), EncodePalette(one));
  EXPECT_EQ(old[26], 0xEE);
  ASSERT_TRUE(LoadPalette(dir / "old.pal", back));
  EXPECT_EQ(back, one);
}

TEST(PaletteFile, HandBuiltFilesAreCutToTheirCount) {
  test::TempDir dir;
  // 256 entries (i, 255 - i, i / 2) with a count of 3: exactly three remain.
  std::vector<int32_t> entries;
  for (int i = 0; i < 256; ++i) entries.insert(entries.end(), {i, 255 - i, i / 2});
  WriteBytes(dir / "three.pal", File(3, 1, 256, 0, entries));
  PaletteRecord p;
  ASSERT_TRUE(LoadPalette(dir / "three.pal", p));
  EXPECT_EQ(p.PaletteCount, 3);
  EXPECT_EQ(p.PaletteColors, (std::vector<PaletteColor>{{0, 255, 0}, {1, 254, 0}, {2, 253, 1}}));
  // A count of 1 keeps the single entry 0.
  WriteBytes(dir / "one.pal", File(1, 1, 256, 0, entries));
  ASSERT_TRUE(LoadPalette(dir / "one.pal", p));
  EXPECT_EQ(p.PaletteColors, (std::vector<PaletteColor>{{0, 255, 0}}));
  // A count above N: the cut keeps the contents and adds black entries.
  WriteBytes(dir / "grow.pal", File(4, 1, 2, 0, {1, 2, 3, 4, 5, 6}));
  ASSERT_TRUE(LoadPalette(dir / "grow.pal", p));
  EXPECT_EQ(p.PaletteColors, (std::vector<PaletteColor>{{1, 2, 3}, {4, 5, 6}, {0, 0, 0}, {0, 0, 0}}));
  // The current-palette forms work on the global record.
  PaletteGuard guard;
  ASSERT_TRUE(LoadPalette(dir / "three.pal"));
  EXPECT_EQ(CurrentPalette().PaletteCount, 3);
  ASSERT_TRUE(SavePalette(dir / "copy.pal"));
  PaletteRecord copy;
  ASSERT_TRUE(LoadPalette(dir / "copy.pal", copy));
  EXPECT_EQ(copy, CurrentPalette());
}

TEST(PaletteFile, MalformedFilesAreRefusedAndLeaveTheRecord) {
  test::TempDir dir;
  const std::vector<int32_t> one = {7, 7, 7}, two = {7, 7, 7, 7, 7, 7};
  const std::vector<std::pair<std::string, std::vector<uint8_t>>> cases = {
      {"empty", {}},
      {"short header", std::vector<uint8_t>(13, 0)},
      {"two dimensions", File(1, 2, 1, 0, one)},
      {"lower bound 1", File(1, 1, 1, 1, one)},
      {"negative N", File(1, 1, -1, 0)},
      {"N past the end", File(2, 1, 3, 0, two)},
      {"count 0", File(0, 1, 1, 0, one)},
      {"negative count", File(-4, 1, 1, 0, one)},
      {"huge count", File(kMaxPaletteEntries + 1, 1, 1, 0, one)},
      {"component 256", File(1, 1, 1, 0, {0, 256, 0})},
      {"component -1", File(1, 1, 1, 0, {-1, 0, 0})},
  };
  const PaletteRecord before = MakePalette({{1, 1, 1}});
  for (const auto& [name, bytes] : cases) {
    WriteBytes(dir / "bad.pal", bytes);
    PaletteRecord p = before;
    EXPECT_FALSE(LoadPalette(dir / "bad.pal", p)) << name;
    EXPECT_EQ(p, before) << name;
    EXPECT_FALSE(DecodePalette(bytes.data(), bytes.size(), p)) << name;
  }
  PaletteRecord p = before;
  EXPECT_FALSE(LoadPalette(dir / "missing.pal", p));
  fs::create_directory(dir / "folder.pal");
  EXPECT_FALSE(LoadPalette(dir / "folder.pal", p));
  EXPECT_EQ(p, before);
}

TEST(PaletteFile, FuzzedBytesNeverCrashAndAcceptedOnesRoundTrip) {
  std::mt19937 rng(31);
  for (int round = 0; round < 3000; ++round) {
    std::vector<uint8_t> b = File(static_cast<int32_t>(rng() % 6), 1, static_cast<int32_t>(rng() % 5), 0);
    const size_t extra = rng() % 70;
    for (size_t i = 0; i < extra; ++i) b.push_back(static_cast<uint8_t>(rng() % 3 == 0 ? rng() : 0));
    if (rng() % 4 == 0) b[rng() % b.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
    if (rng() % 4 == 0) b.resize(rng() % b.size());
    PaletteRecord p, again;
    if (DecodePalette(b.data(), b.size(), p)) {
      ASSERT_EQ(static_cast<size_t>(p.PaletteCount), p.PaletteColors.size());
      const ByteVector e = EncodePalette(p);
      ASSERT_TRUE(DecodePalette(e.data(), e.size(), again));
      EXPECT_EQ(again, p);
    }
  }
}

// --- the nearest colour -------------------------------------------------------------------------

TEST(NearestPaletteColor, ExactFirstThenLeastSumTiesToTheEarlierAgainstTheBound) {
  EXPECT_EQ(NearestPaletteColor(PaletteRecord{}, 1, 2, 3), -1);
  // Exact match: the first of the equal entries.
  EXPECT_EQ(NearestPaletteColor(MakePalette({{10, 10, 10}, {20, 20, 20}, {20, 20, 20}}), 20, 20, 20), 1);
  // (0, 5, 5) is 10 from both (0, 0, 10) and (0, 10, 0): the earlier wins.
  EXPECT_EQ(NearestPaletteColor(MakePalette({{0, 0, 10}, {0, 10, 0}}), 0, 5, 5), 0);
  // The bound 765 must be beaten: black against 900 and 765 keeps entry 0.
  EXPECT_EQ(NearestPaletteColor(MakePalette({{300, 300, 300}, {255, 255, 255}}), 0, 0, 0), 0);
  EXPECT_EQ(NearestPaletteColor(MakePalette({{300, 300, 300}, {255, 255, 254}}), 0, 0, 0), 1);
  // Only the first PaletteCount entries are walked, and never past the array.
  PaletteRecord cut = MakePalette({{0, 0, 0}, {9, 9, 9}});
  cut.PaletteCount = 1;
  EXPECT_EQ(NearestPaletteColor(cut, 9, 9, 9), 0);
  cut.PaletteCount = 7;
  EXPECT_EQ(NearestPaletteColor(cut, 9, 9, 9), 1);
}

TEST(NearestPaletteColor, LookupAgreesWithTheWalkEverywhereItIsAsked) {
  std::mt19937 rng(32);
  auto random = [&](int n, int lo, int span) { return RandomPalette(rng, n, lo, span); };
  const std::vector<PaletteRecord> palettes = {
      random(1, 0, 256),  random(3, 0, 256),  random(17, 0, 256), random(256, 0, 256),
      random(64, 100, 9),  // clustered: many equal distances
      MakePalette({{0, 0, 0}, {255, 255, 255}}), MakePalette({{255, 255, 255}, {0, 0, 0}, {255, 255, 255}}),
      MakePalette({{8, 8, 8}, {7, 7, 7}, {8, 8, 8}, {16, 0, 16}}), DefaultPalette()};
  std::vector<Triple> colours;
  for (int r = 0; r < 256; r += 17)
    for (int g = 0; g < 256; g += 17)
      for (int b = 0; b < 256; b += 17) colours.push_back({r, g, b});
  for (int v : {0, 7, 8, 15, 16, 127, 128, 247, 248, 255})
    for (int w : {0, 8, 255}) colours.push_back({v, w, v}), colours.push_back({w, v, 255 - v});
  for (int i = 0; i < 60000; ++i)
    colours.push_back({static_cast<int>(rng() & 255), static_cast<int>(rng() & 255), static_cast<int>(rng() & 255)});
  for (const PaletteRecord& p : palettes) {
    PaletteLookup lookup(p);
    ASSERT_TRUE(lookup.Usable());
    for (const Triple& c : colours) {
      const int expected = ReferenceNearest(p, c[0], c[1], c[2]);
      ASSERT_EQ(lookup.Nearest(static_cast<uint8_t>(c[0]), static_cast<uint8_t>(c[1]), static_cast<uint8_t>(c[2])),
                expected)
          << p.PaletteCount << " at " << c[0] << "," << c[1] << "," << c[2];
      ASSERT_EQ(NearestPaletteColor(p, c[0], c[1], c[2]), expected);
    }
  }
  EXPECT_FALSE(PaletteLookup(PaletteRecord{}).Usable());
  EXPECT_FALSE(PaletteLookup(MakePalette({{0, 0, 0}, {0, -1, 0}})).Usable());
  EXPECT_FALSE(PaletteLookup(PaletteRecord{0, {{0, 0, 0}}}).Usable());
}

// --- the dialog's buttons ---------------------------------------------------------------------------

TEST(PaletteFolderRule, ButtonsNeedTheFolderThenUseTheDialogInIt) {
  EXPECT_EQ(kApplyPaletteTitle, "Apply palette");
  EXPECT_EQ(kApplyPaletteUndoName, "Apply Palette");
  PaletteGuard guard;
  test::TempDir app;
  std::vector<PaletteFileRequest> requests;
  std::vector<std::string> messages;
  std::optional<fs::path> answer = app / "Palettes" / "mine.pal";
  const PaletteFileChooser chooser = [&](const PaletteFileRequest& r) {
    requests.push_back(r);
    return answer;
  };
  const PaletteMessageHandler message = [&](std::string_view t) { messages.emplace_back(t); };
  // No folder, or a plain file of that name: the message and nothing else.
  for (bool save : {false, true})
    EXPECT_EQ(PaletteFileCommand(app.path(), save, chooser, message), PaletteFileResult::FolderMissing);
  WriteBytes(app / "Palettes", {1, 2, 3});
  EXPECT_EQ(PaletteFileCommand(app.path(), false, chooser, message), PaletteFileResult::FolderMissing);
  EXPECT_TRUE(requests.empty());
  EXPECT_EQ(messages, std::vector<std::string>(3, "<Palettes> subfolder not found."));

  fs::remove(app / "Palettes");
  fs::create_directory(app / "Palettes");
  const PaletteRecord mine = MakePalette({{1, 2, 3}, {250, 251, 252}});
  CurrentPalette() = mine;
  ASSERT_EQ(PaletteFileCommand(app.path(), true, chooser, message), PaletteFileResult::Done);
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].InitDir, app.path() / "Palettes");
  EXPECT_EQ(requests[0].Filter, "Kelvane palette (*.pal)|*.pal");
  EXPECT_EQ(requests[0].DialogTitle, "Save palette");
  EXPECT_TRUE(requests[0].CancelError);
  EXPECT_EQ(ReadBytes(app / "Palettes" / "mine.pal"), EncodePalette(mine));
  CurrentPalette() = DefaultPalette();
  ASSERT_EQ(PaletteFileCommand(app.path(), false, chooser, message), PaletteFileResult::Done);
  EXPECT_EQ(requests.back().DialogTitle, "Load palette");
  EXPECT_EQ(CurrentPalette(), mine);
  // A cancel changes nothing; a malformed file leaves the palette too.
  answer.reset();
  EXPECT_EQ(PaletteFileCommand(app.path(), false, chooser, message), PaletteFileResult::Cancelled);
  WriteBytes(app / "Palettes" / "bad.pal", {1, 0, 0});
  answer = app / "Palettes" / "bad.pal";
  EXPECT_EQ(PaletteFileCommand(app.path(), false, chooser, message), PaletteFileResult::Failed);
  EXPECT_EQ(CurrentPalette(), mine);
  EXPECT_EQ(messages.size(), 3u);
}

}  // namespace
}  // namespace kelvane
