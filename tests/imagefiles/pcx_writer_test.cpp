// cPCX: files pinned byte for byte on small pictures, then checked against a
// plane oracle and FreeImage's PCX reader on larger ones.
#include "imagefiles/pcx_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "base/byte_io.h"
#include "imagefiles/format_bridge.h"
#include "save_test_support.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::TempDir;

struct Rgb {
  uint8_t r, g, b;
};
using Rows = std::vector<std::vector<Rgb>>;

// A 24-bit picture from rows of pixels, top row first.
std::unique_ptr<cDIBSection> MakeSection(const Rows& rows) {
  auto s = std::make_unique<cDIBSection>();
  EXPECT_TRUE(s->Create(static_cast<int>(rows[0].size()), static_cast<int>(rows.size())));
  for (size_t y = 0; y < rows.size(); ++y) {
    uint8_t* p = s->RowFromTop(static_cast<int>(y));
    for (const Rgb& px : rows[y]) {
      *p++ = px.b;
      *p++ = px.g;
      *p++ = px.r;
    }
  }
  return s;
}

// The 128 header bytes worked out from the field table; all others are 0.
ByteVector ExpectedHeader(int width, int height, int bytesPerLine, bool compressed) {
  ByteVector h(128, 0);
  h[0] = 10, h[1] = 5, h[2] = compressed ? 1 : 0, h[3] = 8, h[65] = 3;
  // Little-endian 16-bit fields: smallest x and y 1, largest x and y, 96 dpi.
  for (const auto& [at, v] : {std::pair{4, 1}, {6, 1}, {8, width}, {10, height}, {12, 96}, {14, 96}, {66, bytesPerLine}})
    h[at] = v & 0xFF, h[at + 1] = static_cast<uint8_t>(v >> 8);
  return h;
}

ByteVector Cat(ByteVector a, const ByteVector& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

ByteVector Written(const cDIBSection& picture, bool compressed) {
  TempDir dir;
  cPCX pcx;
  EXPECT_TRUE(pcx.SavePCXinFile(picture, dir / "out.pcx", compressed));
  ByteVector bytes;
  EXPECT_TRUE(ReadWholeFile(dir / "out.pcx", bytes));
  return bytes;
}

// The plane data the slow way: per line from the top red, green, blue, each
// BytesPerLine long, the filler 0.
ByteVector SlowPlanes(const cDIBSection& picture) {
  const int w = picture.Width();
  const int bpl = w % 2 == 0 ? w : w + 1;
  ByteVector planes;
  for (int y = 0; y < picture.Height(); ++y)
    for (int channel : {2, 1, 0})  // red, green, blue of the blue-green-red pixels
      for (int x = 0; x < bpl; ++x) planes.push_back(x < w ? picture.RowFromTop(y)[3 * x + channel] : 0);
  return planes;
}

TEST(PcxWriter, SmallFilesByteForByte) {
  const struct {
    const char* what;
    Rows rows;
    int bytesPerLine;
    ByteVector raw;    // empty: the slow planes
    ByteVector coded;
  } cases[] = {
      // Odd width 1: each plane line is the byte and a 0 filler. 200 is at
      // or above 0xC0 and needs a count byte even alone.
      {"one pixel", {{{200, 20, 30}}}, 2, {200, 0, 20, 0, 30, 0}, {0xC1, 200, 0, 20, 0, 30, 0}},
      // Width 3: the fillers; line 1's blue filler, line 2's four red and
      // four green zeros make one run of 9 across two line ends.
      {"runs across line ends",
       {{{1, 2, 3}, {1, 2, 3}, {1, 2, 3}}, {{0, 0, 200}, {0, 0, 200}, {0, 0, 200}}},
       4,
       {1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 200, 200, 200, 0},
       {0xC3, 1, 0, 0xC3, 2, 0, 0xC3, 3, 0xC9, 0, 0xC3, 200, 0}},
      // Red's last 5 and green's first share a run, green's 6 and blue's too.
      {"runs across planes", {{{4, 5, 6}, {5, 6, 6}}}, 2, {4, 5, 5, 6, 6, 6}, {4, 0xC2, 5, 0xC3, 6}},
      // 191 stands alone; 192 and 255 need 0xC1; red's last 0 and the 8
      // zeros of green and blue are one run of 9. Raw data is never coded.
      {"high bytes",
       {{{191, 0, 0}, {192, 0, 0}, {255, 0, 0}, {0, 0, 0}}},
       4,
       {191, 192, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0},
       {0xBF, 0xC1, 0xC0, 0xC1, 0xFF, 0xC9, 0}},
      // 70 equal bytes: a run of 63 (0xC0 + 63 = 255) and one of 7 (199).
      {"seventy", {std::vector<Rgb>(70, {9, 8, 7})}, 70, {}, {255, 9, 199, 9, 255, 8, 199, 8, 255, 7, 199, 7}},
      // 63 + 1: the leftover below 0xC0 stands alone, one above takes 0xC1.
      {"sixty-four", {std::vector<Rgb>(64, {9, 200, 63})}, 64, {}, {255, 9, 9, 255, 200, 0xC1, 200, 255, 63, 63}},
      // Width 63 is odd: one full run, then the filler, per plane line.
      {"sixty-three", {std::vector<Rgb>(63, {1, 2, 3})}, 64, {}, {255, 1, 0, 255, 2, 0, 255, 3, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const auto picture = MakeSection(c.rows);
    const int w = picture->Width(), h = picture->Height();
    EXPECT_EQ(Written(*picture, false), Cat(ExpectedHeader(w, h, c.bytesPerLine, false), c.raw.empty() ? SlowPlanes(*picture) : c.raw));
    EXPECT_EQ(Written(*picture, true), Cat(ExpectedHeader(w, h, c.bytesPerLine, true), c.coded));
  }
  // The object's state after a coded save; Compressed is a 16-bit Boolean.
  TempDir dir;
  cPCX pcx;
  ASSERT_TRUE(pcx.SavePCXinFile(*MakeSection(cases[0].rows), dir / "a.pcx", true));
  EXPECT_EQ(std::vector<int>({pcx.Width(), pcx.Height(), pcx.BytesPerLine(), pcx.Compressed()}),
            std::vector<int>({1, 1, 2, -1}));
}

TEST(PcxWriter, AlphaPictureWritesItsColoursOnly) {
  cAlphaDibSection picture;
  ASSERT_TRUE(picture.Create(2, 1));
  const uint8_t bgra[8] = {30, 20, 10, 255, 60, 50, 40, 0};
  std::copy(bgra, bgra + 8, picture.RowFromTop(0));
  EXPECT_EQ(Written(picture, false), Cat(ExpectedHeader(2, 1, 2, false), {10, 40, 20, 50, 30, 60}));
}

TEST(PcxWriter, RefusalsLeaveNoFile) {
  TempDir dir;
  cPCX pcx;
  cDIBSection empty;
  EXPECT_FALSE(pcx.SavePCXinFile(empty, dir / "empty.pcx", true));
  ASSERT_TRUE(WriteFileAtomically(dir / "keep.pcx", {1, 2, 3}));
  EXPECT_FALSE(pcx.SavePCXinFile(empty, dir / "keep.pcx", false));
  ByteVector kept;
  ASSERT_TRUE(ReadWholeFile(dir / "keep.pcx", kept));
  EXPECT_EQ(kept, (ByteVector{1, 2, 3}));
  const auto picture = MakeSection({{{1, 2, 3}}});
  EXPECT_FALSE(pcx.SavePCXinFile(*picture, dir / "no-such-folder" / "a.pcx", true));
  std::filesystem::create_directory(dir / "folder.pcx");
  EXPECT_FALSE(pcx.SavePCXinFile(*picture, dir / "folder.pcx", true));
  // 65535 is odd: BytesPerLine would be 65536, beyond the two-byte field.
  cDIBSection tooWide, widest;
  ASSERT_TRUE(tooWide.Create(65535, 1));
  EXPECT_FALSE(pcx.SavePCXinFile(tooWide, dir / "wide.pcx", true));
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"folder.pcx", "keep.pcx"})) << "nothing half-written is left";

  ASSERT_TRUE(widest.Create(65534, 1));
  EXPECT_TRUE(pcx.SavePCXinFile(widest, dir / "widest.pcx", true));
  // All zeros: 3 * 65534 = 196602 bytes in runs of 63: 3120 full runs and one
  // of 42 (3120 * 63 = 196560), two bytes each.
  EXPECT_EQ(std::filesystem::file_size(dir / "widest.pcx"), 128u + 2 * 3121);
}

// Decodes the data as one run-length stream, runs carrying on over line ends.
ByteVector DecodeStream(const ByteVector& file) {
  ByteVector out;
  for (size_t i = 128; i < file.size(); ++i) {
    if (file[i] < 0xC0) {
      out.push_back(file[i]);
      continue;
    }
    EXPECT_NE(file[i], 0xC0) << "a count byte of 0 at " << i;
    if (i + 1 >= file.size()) {
      ADD_FAILURE() << "a count byte with no value at the end";
      break;
    }
    out.insert(out.end(), file[i] & 0x3F, file[i + 1]);
    ++i;
  }
  return out;
}

// Random pixels, or horizontal bands whose long runs cross plane lines and
// line ends: the top half 250, then 0 on the left and 192 on the right.
std::unique_ptr<cDIBSection> TestPicture(int w, int h, bool bands, uint32_t seed) {
  auto picture = std::make_unique<cDIBSection>();
  EXPECT_TRUE(picture->Create(w, h));
  std::mt19937 rng(seed);
  for (int y = 0; y < h; ++y) {
    uint8_t* p = picture->RowFromTop(y);
    for (int x = 0; x < 3 * w; ++x)
      p[x] = bands ? static_cast<uint8_t>(y < h / 2 ? 250 : (x / 3 < w / 2 ? 0 : 192)) : static_cast<uint8_t>(rng());
  }
  return picture;
}

// Larger pictures: the raw file against the plane oracle, the coded one
// decoded as one stream, runs going on over line ends. Then both read back by
// FreeImage's reader, which starts every line afresh, so that a run over a
// line end would lose its rest there: for it the first red of each line is
// made to differ from the last byte of the line before.
TEST(PcxWriter, LargerPicturesDecodeToTheirPlanesAndPixels) {
  TempDir dir;
  FreeImageStart();
  struct Size {
    int w, h;
    bool bands;
  };
  // Width 301 puts two-byte values into the header: 0x012D, BytesPerLine 0x012E.
  for (const Size c : {Size{3, 2, false}, Size{38, 5, false}, Size{301, 3, false}, Size{37, 23, true},
                       Size{130, 9, true}}) {
    SCOPED_TRACE(testing::Message() << c.w << "x" << c.h);
    const auto picture = TestPicture(c.w, c.h, c.bands, 99);
    const ByteVector planes = SlowPlanes(*picture);
    const int bpl = c.w % 2 == 0 ? c.w : c.w + 1;
    const ByteVector raw = Written(*picture, false), coded = Written(*picture, true);
    EXPECT_EQ(raw, Cat(ExpectedHeader(c.w, c.h, bpl, false), planes));
    EXPECT_EQ(ByteVector(coded.begin(), coded.begin() + 128), ExpectedHeader(c.w, c.h, bpl, true));
    EXPECT_EQ(DecodeStream(coded), planes);
    EXPECT_TRUE(!c.bands || coded.size() < raw.size() / 4) << "bands code into long runs";

    for (int y = 1; y < c.h; ++y) {
      const uint8_t last = c.w % 2 ? 0 : picture->RowFromTop(y - 1)[3 * c.w - 3];  // the filler or the last blue
      uint8_t& firstRed = picture->RowFromTop(y)[2];
      if (firstRed == last) firstRed = static_cast<uint8_t>(last + 1);
    }
    for (bool compressed : {true, false}) {
      cPCX pcx;
      ASSERT_TRUE(pcx.SavePCXinFile(*picture, dir / "back.pcx", compressed));
      const Bits back = test::ReadWithFreeImage(dir / "back.pcx", FIF_PCX);
      ASSERT_EQ(back.Width(), c.w);
      ASSERT_EQ(back.Height(), c.h);
      int mismatches = 0;
      for (int y = 0; y < c.h; ++y)
        for (int x = 0; x < c.w; ++x)
          for (int ch = 0; ch < 3; ++ch) mismatches += back.At(ch, x, y) != picture->RowFromTop(y)[3 * x + ch];
      EXPECT_EQ(mismatches, 0) << "compressed " << compressed;
    }
  }
}

}  // namespace
}  // namespace kelvane
