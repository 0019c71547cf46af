// Palettes: the *.pal layout byte for byte, hand-built and malformed files,
// the nearest-colour rule, and the folder rule of the dialog's buttons.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "filters/palette.h"
#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;

struct PaletteGuard {
  PaletteRecord saved = CurrentPalette();
  ~PaletteGuard() { CurrentPalette() = saved; }
};

PaletteRecord MakePalette(const std::vector<PaletteColor>& colours) {
  PaletteRecord p;
  p.PaletteColors = colours;
  p.PaletteCount = static_cast<int32_t>(colours.size());
  return p;
}

// Little-endian pieces for hand-built files.
void I32(std::vector<uint8_t>& out, int32_t v) {
  const auto u = static_cast<uint32_t>(v);
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(u >> (8 * i)));
}
void I16(std::vector<uint8_t>& out, int16_t v) {
  out.push_back(static_cast<uint8_t>(v & 0xFF));
  out.push_back(static_cast<uint8_t>((static_cast<uint16_t>(v) >> 8) & 0xFF));
}
std::vector<uint8_t> Header(int32_t count, int16_t dims, int32_t elements, int32_t lower) {
  std::vector<uint8_t> b;
  I32(b, count);
  I16(b, dims);
  I32(b, elements);
  I32(b, lower);
  return b;
}

void WriteBytes(const fs::path& p, const std::vector<uint8_t>& bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
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
}

TEST(PaletteFile, SavingOverALongerFileKeepsItsTailAndLoadingIgnoresIt) {
  test::TempDir dir;
  WriteBytes(dir / "old.pal", std::vector<uint8_t>(100, 0xEE));
  const PaletteRecord p = MakePalette({{10, 20, 30}});
  ASSERT_TRUE(SavePalette(dir / "old.pal", p));
  const std::vector<uint8_t> bytes = ReadBytes(dir / "old.pal");
  ASSERT_EQ(bytes.size(), 100u);
  EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 26), EncodePalette(p));
  EXPECT_EQ(bytes[26], 0xEE);
  PaletteRecord back;
  ASSERT_TRUE(LoadPalette(dir / "old.pal", back));
  EXPECT_EQ(back, p);
}

TEST(PaletteFile, HandBuiltFilesAreCutToTheirCount) {
  test::TempDir dir;
  // 256 entries (i, 255 - i, i / 2) with a count of 3: exactly three remain.
  std::vector<uint8_t> b = Header(3, 1, 256, 0);
  for (int i = 0; i < 256; ++i) {
    I32(b, i);
    I32(b, 255 - i);
    I32(b, i / 2);
  }
  WriteBytes(dir / "three.pal", b);
  PaletteRecord p;
  ASSERT_TRUE(LoadPalette(dir / "three.pal", p));
  EXPECT_EQ(p.PaletteCount, 3);
  EXPECT_EQ(p.PaletteColors, (std::vector<PaletteColor>{{0, 255, 0}, {1, 254, 0}, {2, 253, 1}}));

  // A count of 1 keeps the single entry 0.
  b[0] = 1;
  WriteBytes(dir / "one.pal", b);
  ASSERT_TRUE(LoadPalette(dir / "one.pal", p));
  EXPECT_EQ(p.PaletteColors, (std::vector<PaletteColor>{{0, 255, 0}}));

  // A count above N: the cut keeps the contents and adds black entries.
  std::vector<uint8_t> c = Header(4, 1, 2, 0);
  for (int v : {1, 2, 3, 4, 5, 6}) I32(c, v);
  WriteBytes(dir / "grow.pal", c);
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
  auto entries = [](std::vector<uint8_t> b, int n) {
    for (int i = 0; i < 3 * n; ++i) I32(b, 7);
    return b;
  };
  std::vector<uint8_t> badComponent = Header(1, 1, 1, 0);
  I32(badComponent, 0);
  I32(badComponent, 256);
  I32(badComponent, 0);
  std::vector<uint8_t> negativeComponent = Header(1, 1, 1, 0);
  I32(negativeComponent, -1);
  I32(negativeComponent, 0);
  I32(negativeComponent, 0);
  const std::vector<std::pair<std::string, std::vector<uint8_t>>> cases = {
      {"empty", {}},
      {"short header", std::vector<uint8_t>(13, 0)},
      {"two dimensions", entries(Header(1, 2, 1, 0), 1)},
      {"lower bound 1", entries(Header(1, 1, 1, 1), 1)},
      {"negative N", Header(1, 1, -1, 0)},
      {"N past the end", entries(Header(2, 1, 3, 0), 2)},
      {"count 0", entries(Header(0, 1, 1, 0), 1)},
      {"negative count", entries(Header(-4, 1, 1, 0), 1)},
      {"huge count", entries(Header(kMaxPaletteEntries + 1, 1, 1, 0), 1)},
      {"component 256", badComponent},
      {"component -1", negativeComponent},
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
    std::vector<uint8_t> b = Header(static_cast<int32_t>(rng() % 6), 1, static_cast<int32_t>(rng() % 5), 0);
    const size_t extra = rng() % 70;
    for (size_t i = 0; i < extra; ++i) b.push_back(static_cast<uint8_t>(rng() % 3 == 0 ? rng() : 0));
    if (rng() % 4 == 0) b[rng() % b.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
    if (rng() % 4 == 0) b.resize(rng() % b.size());
    PaletteRecord p;
    if (DecodePalette(b.data(), b.size(), p)) {
      ASSERT_EQ(static_cast<size_t>(p.PaletteCount), p.PaletteColors.size());
      PaletteRecord again;
      const ByteVector e = EncodePalette(p);
      ASSERT_TRUE(DecodePalette(e.data(), e.size(), again));
      EXPECT_EQ(again, p);
    }
  }
}

// --- the nearest colour -------------------------------------------------------------------------

int ReferenceNearest(const PaletteRecord& p, int r, int g, int b) {
  int best = 0, bound = 765;
  for (int i = 0; i < p.PaletteCount && i < static_cast<int>(p.PaletteColors.size()); ++i) {
    const PaletteColor& e = p.PaletteColors[static_cast<size_t>(i)];
    const int d = std::abs(r - e.red) + std::abs(g - e.green) + std::abs(b - e.blue);
    if (d == 0) return i;
    if (d < bound) bound = d, best = i;
  }
  return best;
}

TEST(NearestPaletteColor, ExactFirstThenLeastSumTiesToTheEarlierAgainstTheBound) {
  EXPECT_EQ(NearestPaletteColor(PaletteRecord{}, 1, 2, 3), -1);
  // Exact match: the first of the equal entries.
  const PaletteRecord dup = MakePalette({{10, 10, 10}, {20, 20, 20}, {20, 20, 20}});
  EXPECT_EQ(NearestPaletteColor(dup, 20, 20, 20), 1);
  EXPECT_EQ(NearestPaletteColor(dup, 16, 16, 16), 1);  // 12 against 18
  // (0, 5, 5) is 10 from both (0, 0, 10) and (0, 10, 0): the earlier wins.
  EXPECT_EQ(NearestPaletteColor(MakePalette({{0, 0, 10}, {0, 10, 0}}), 0, 5, 5), 0);
  EXPECT_EQ(NearestPaletteColor(MakePalette({{0, 10, 0}, {0, 0, 10}, {0, 5, 4}}), 0, 5, 5), 2);
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
  auto random = [&](int n, int lo, int span) {
    std::vector<PaletteColor> c;
    for (int i = 0; i < n; ++i)
      c.push_back({lo + static_cast<int32_t>(rng() % span), lo + static_cast<int32_t>(rng() % span),
                   lo + static_cast<int32_t>(rng() % span)});
    return MakePalette(c);
  };
  std::vector<PaletteRecord> palettes = {
      random(1, 0, 256),  random(3, 0, 256),  random(17, 0, 256), random(256, 0, 256),
      random(64, 100, 9),  // clustered: many equal distances
      MakePalette({{0, 0, 0}, {255, 255, 255}}), MakePalette({{255, 255, 255}, {0, 0, 0}, {255, 255, 255}}),
      MakePalette({{8, 8, 8}, {7, 7, 7}, {8, 8, 8}, {16, 0, 16}}), DefaultPalette()};
  std::vector<std::array<int, 3>> colours;
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
    for (const auto& c : colours) {
      const int expected = ReferenceNearest(p, c[0], c[1], c[2]);
      ASSERT_EQ(lookup.Nearest(static_cast<uint8_t>(c[0]), static_cast<uint8_t>(c[1]), static_cast<uint8_t>(c[2])),
                expected)
          << p.PaletteCount << " at " << c[0] << "," << c[1] << "," << c[2];
      ASSERT_EQ(NearestPaletteColor(p, c[0], c[1], c[2]), expected);
    }
  }
  EXPECT_FALSE(PaletteLookup(PaletteRecord{}).Usable());
  EXPECT_FALSE(PaletteLookup(MakePalette({{0, 0, 0}, {0, -1, 0}})).Usable());
  PaletteRecord countless = MakePalette({{0, 0, 0}});
  countless.PaletteCount = 0;
  EXPECT_FALSE(PaletteLookup(countless).Usable());
}

TEST(NearestPaletteColor, DefaultPaletteIsTheCubeThenGreys) {
  const PaletteRecord p = DefaultPalette();
  ASSERT_EQ(p.PaletteCount, 256);
  ASSERT_EQ(p.PaletteColors.size(), 256u);
  EXPECT_EQ(p.PaletteColors[0], (PaletteColor{0, 0, 0}));
  EXPECT_EQ(p.PaletteColors[1], (PaletteColor{0, 0, 51}));     // blue fastest
  EXPECT_EQ(p.PaletteColors[6], (PaletteColor{0, 51, 0}));
  EXPECT_EQ(p.PaletteColors[36], (PaletteColor{51, 0, 0}));
  EXPECT_EQ(p.PaletteColors[215], (PaletteColor{255, 255, 255}));
  EXPECT_EQ(p.PaletteColors[216], (PaletteColor{6, 6, 6}));       // round(255 / 41) = round(6.22)
  EXPECT_EQ(p.PaletteColors[255], (PaletteColor{249, 249, 249}));  // round(40 * 255 / 41) = round(248.78)
}

// --- the dialog's buttons ---------------------------------------------------------------------------

TEST(PaletteFolderRule, MissingFolderShowsTheMessageAndNothingElse) {
  EXPECT_EQ(kPalettesFolderMissing, "<Palettes> subfolder not found.");
  EXPECT_EQ(kPaletteFileFilter, "Kelvane palette (*.pal)|*.pal");
  EXPECT_EQ(kApplyPaletteTitle, "Apply palette");
  EXPECT_EQ(kApplyPaletteUndoName, "Apply Palette");
  test::TempDir app;
  int asked = 0;
  std::vector<std::string> messages;
  const PaletteFileChooser chooser = [&](const PaletteFileRequest&) {
    ++asked;
    return std::optional<fs::path>(app / "x.pal");
  };
  const PaletteMessageHandler message = [&](std::string_view t) { messages.emplace_back(t); };
  for (bool save : {false, true}) {
    EXPECT_EQ(PaletteFileCommand(app.path(), save, chooser, message), PaletteFileResult::FolderMissing);
  }
  // A plain file of that name is no folder either.
  WriteBytes(app / "Palettes", {1, 2, 3});
  EXPECT_EQ(PaletteFileCommand(app.path(), false, chooser, message), PaletteFileResult::FolderMissing);
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(messages, std::vector<std::string>(3, "<Palettes> subfolder not found."));
  EXPECT_FALSE(fs::exists(app / "x.pal"));
}

TEST(PaletteFolderRule, SaveAndLoadThroughTheDialogInTheFolder) {
  PaletteGuard guard;
  test::TempDir app;
  fs::create_directory(app / "Palettes");
  std::vector<PaletteFileRequest> requests;
  std::optional<fs::path> answer = app / "Palettes" / "mine.pal";
  const PaletteFileChooser chooser = [&](const PaletteFileRequest& r) {
    requests.push_back(r);
    return answer;
  };
  int messages = 0;
  const PaletteMessageHandler message = [&](std::string_view) { ++messages; };

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
  EXPECT_EQ(messages, 0);
}

}  // namespace
}  // namespace kelvane
