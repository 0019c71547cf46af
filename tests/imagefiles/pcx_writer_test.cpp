// cPCX: files pinned byte for byte on small pictures, then read back by
// FreeImage's PCX reader on larger ones.
#include "imagefiles/pcx_writer.h"

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>

#include "base/byte_io.h"
#include "imagefiles/format_bridge.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::TempDir;

struct Rgb {
  uint8_t r, g, b;
};

// A 24-bit picture from rows of pixels, top row first.
std::unique_ptr<cDIBSection> MakeSection(const std::vector<std::vector<Rgb>>& rows) {
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

// The 128 header bytes worked out from the field table: every byte not set
// here is 0.
ByteVector ExpectedHeader(int width, int height, int bytesPerLine, bool compressed) {
  ByteVector h(128, 0);
  h[0] = 10;
  h[1] = 5;
  h[2] = compressed ? 1 : 0;
  h[3] = 8;
  h[4] = 1;  // smallest x = 1
  h[6] = 1;  // smallest y = 1
  h[8] = width & 0xFF;
  h[9] = width >> 8;
  h[10] = height & 0xFF;
  h[11] = height >> 8;
  h[12] = 96;
  h[14] = 96;
  h[65] = 3;
  h[66] = bytesPerLine & 0xFF;
  h[67] = bytesPerLine >> 8;
  return h;
}

ByteVector Cat(ByteVector a, const ByteVector& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

ByteVector Repeat(uint8_t value, size_t count) { return ByteVector(count, value); }

ByteVector Written(const cDIBSection& picture, bool compressed) {
  TempDir dir;
  cPCX pcx;
  EXPECT_TRUE(pcx.SavePCXinFile(picture, dir / "out.pcx", compressed));
  ByteVector bytes;
  EXPECT_TRUE(ReadWholeFile(dir / "out.pcx", bytes));
  return bytes;
}

TEST(PcxWriter, OnePixelBothWays) {
  // Red 200 is at or above 0xC0 and needs a count byte even alone.
  const auto picture = MakeSection({{{200, 20, 30}}});
  // Width 1 is odd: BytesPerLine 2, each plane line is the byte and a 0.
  const ByteVector data = {200, 0, 20, 0, 30, 0};
  EXPECT_EQ(Written(*picture, false), Cat(ExpectedHeader(1, 1, 2, false), data));
  // Coded: 200 alone -> 0xC1 0xC8; 0, 20, 0, 30, 0 alone and below 0xC0 stand
  // as they are (no two neighbours are equal).
  const ByteVector coded = {0xC1, 200, 0, 20, 0, 30, 0};
  EXPECT_EQ(Written(*picture, true), Cat(ExpectedHeader(1, 1, 2, true), coded));

  cPCX pcx;
  TempDir dir;
  ASSERT_TRUE(pcx.SavePCXinFile(*picture, dir / "a.pcx", true));
  EXPECT_EQ(std::vector<int>({pcx.Width(), pcx.Height(), pcx.BytesPerLine(), pcx.Compressed()}),
            std::vector<int>({1, 1, 2, -1}));
}

TEST(PcxWriter, OddWidthFillerAndRunsAcrossLineEnds) {
  // Width 3: BytesPerLine 4, the fourth byte of every plane line 0.
  const auto picture = MakeSection({
      {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
      {{0, 0, 200}, {0, 0, 200}, {0, 0, 200}},
  });
  const ByteVector data = {1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0,            // line 1: red, green, blue
                           0, 0, 0, 0, 0, 0, 0, 0, 200, 200, 200, 0};  // line 2
  EXPECT_EQ(Written(*picture, false), Cat(ExpectedHeader(3, 2, 4, false), data));
  // 1,1,1 -> run of 3 = 0xC3 1; filler 0 alone; 2,2,2 -> 0xC3 2; 0; 3,3,3 ->
  // 0xC3 3; then line 1's blue filler, line 2's four red and four green zeros
  // make one run of 9 across two line ends = 0xC9 0; 200 x3 -> 0xC3 0xC8;
  // the last filler 0 alone.
  const ByteVector coded = {0xC3, 1, 0, 0xC3, 2, 0, 0xC3, 3, 0xC9, 0, 0xC3, 200, 0};
  EXPECT_EQ(Written(*picture, true), Cat(ExpectedHeader(3, 2, 4, true), coded));
}

TEST(PcxWriter, RedPlaneTailAndGreenPlaneHeadShareOneRun) {
  // Width 2 (even, no filler). Planes: red 4,5 | green 5,6 | blue 6,6.
  const auto picture = MakeSection({{{4, 5, 6}, {5, 6, 6}}});
  // 4 alone; red's last 5 and green's first 5 -> 0xC2 5; green's 6 and
  // blue's 6,6 -> 0xC3 6.
  EXPECT_EQ(Written(*picture, true), Cat(ExpectedHeader(2, 1, 2, true), {4, 0xC2, 5, 0xC3, 6}));
}

TEST(PcxWriter, LongRunsSplitAtSixtyThree) {
  // Width 70: red all 9, green all 8, blue all 7. Each plane line of 70 equal
  // bytes is a run of 63 (0xC0 + 63 = 255) and one of 7 (0xC0 + 7 = 199).
  const auto seventy = MakeSection({std::vector<Rgb>(70, Rgb{9, 8, 7})});
  EXPECT_EQ(Written(*seventy, true),
            Cat(ExpectedHeader(70, 1, 70, true), {255, 9, 199, 9, 255, 8, 199, 8, 255, 7, 199, 7}));
  EXPECT_EQ(Written(*seventy, false),
            Cat(ExpectedHeader(70, 1, 70, false), Cat(Cat(Repeat(9, 70), Repeat(8, 70)), Repeat(7, 70))));

  // Width 64: 63 + 1. The single leftover below 0xC0 stands alone; one at or
  // above 0xC0 needs its count byte 0xC1.
  const auto sixtyFour = MakeSection({std::vector<Rgb>(64, Rgb{9, 200, 63})});
  EXPECT_EQ(Written(*sixtyFour, true),
            Cat(ExpectedHeader(64, 1, 64, true), {255, 9, 9, 255, 200, 0xC1, 200, 255, 63, 63}));

  // Width 63: exactly one full run per plane line.
  const auto sixtyThree = MakeSection({std::vector<Rgb>(63, Rgb{1, 2, 3})});
  // 63 is odd: BytesPerLine 64 and a filler 0 after each plane line.
  EXPECT_EQ(Written(*sixtyThree, true),
            Cat(ExpectedHeader(63, 1, 64, true), {255, 1, 0, 255, 2, 0, 255, 3, 0}));
}

TEST(PcxWriter, HighBytesNeedACountByte) {
  // Width 4, red 191, 192, 255, 0; green and blue 0.
  const auto picture = MakeSection({{{191, 0, 0}, {192, 0, 0}, {255, 0, 0}, {0, 0, 0}}});
  // 191 (0xBF) stands alone; 192 -> 0xC1 0xC0; 255 -> 0xC1 0xFF; red's last 0
  // and the 8 zeros of green and blue -> one run of 9 = 0xC9 0.
  EXPECT_EQ(Written(*picture, true), Cat(ExpectedHeader(4, 1, 4, true), {0xBF, 0xC1, 0xC0, 0xC1, 0xFF, 0xC9, 0}));
  // Uncompressed data is never coded, high bytes included.
  EXPECT_EQ(Written(*picture, false),
            Cat(ExpectedHeader(4, 1, 4, false), {191, 192, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PcxWriter, AlphaPictureWritesItsColoursOnly) {
  cAlphaDibSection picture;
  ASSERT_TRUE(picture.Create(2, 1));
  uint8_t* p = picture.RowFromTop(0);
  const uint8_t bgra[8] = {30, 20, 10, 255, 60, 50, 40, 0};
  std::copy(bgra, bgra + 8, p);
  EXPECT_EQ(Written(picture, false), Cat(ExpectedHeader(2, 1, 2, false), {10, 40, 20, 50, 30, 60}));
}

TEST(PcxWriter, RefusalsLeaveNoFile) {
  TempDir dir;
  cPCX pcx;
  cDIBSection empty;
  EXPECT_FALSE(pcx.SavePCXinFile(empty, dir / "empty.pcx", true));
  EXPECT_FALSE(std::filesystem::exists(dir / "empty.pcx"));

  // An existing file stays as it was when the save is refused.
  ASSERT_TRUE(WriteFileAtomically(dir / "keep.pcx", {1, 2, 3}));
  EXPECT_FALSE(pcx.SavePCXinFile(empty, dir / "keep.pcx", false));
  ByteVector kept;
  ASSERT_TRUE(ReadWholeFile(dir / "keep.pcx", kept));
  EXPECT_EQ(kept, (ByteVector{1, 2, 3}));

  // A folder that does not exist, and a folder in the way of the name.
  const auto picture = MakeSection({{{1, 2, 3}}});
  EXPECT_FALSE(pcx.SavePCXinFile(*picture, dir / "no-such-folder" / "a.pcx", true));
  std::filesystem::create_directory(dir / "folder.pcx");
  EXPECT_FALSE(pcx.SavePCXinFile(*picture, dir / "folder.pcx", true));
  EXPECT_TRUE(std::filesystem::is_directory(dir / "folder.pcx"));
  // Nothing half-written is left behind.
  for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
    EXPECT_TRUE(entry.path().filename() == "keep.pcx" || entry.path().filename() == "folder.pcx") << entry.path();

  // 65535 is odd: BytesPerLine would be 65536, beyond the two-byte field.
  cDIBSection tooWide;
  ASSERT_TRUE(tooWide.Create(65535, 1));
  EXPECT_FALSE(pcx.SavePCXinFile(tooWide, dir / "wide.pcx", true));
  EXPECT_FALSE(std::filesystem::exists(dir / "wide.pcx"));
  cDIBSection widest;
  ASSERT_TRUE(widest.Create(65534, 1));
  EXPECT_TRUE(pcx.SavePCXinFile(widest, dir / "widest.pcx", true));
  // All zeros: 3 * 65534 = 196602 bytes in runs of 63: 3120 full runs and one
  // of 42 (3120 * 63 = 196560), two bytes each.
  EXPECT_EQ(std::filesystem::file_size(dir / "widest.pcx"), 128u + 2 * 3121);
}

// The plane data worked out the slow way: for each line from the top, red,
// green, blue, each BytesPerLine long, the filler 0.
ByteVector SlowPlanes(const cDIBSection& picture) {
  const int w = picture.Width();
  const int bpl = w % 2 == 0 ? w : w + 1;
  ByteVector planes;
  for (int y = 0; y < picture.Height(); ++y)
    for (int channel : {2, 1, 0})  // red, green, blue of the blue-green-red pixels
      for (int x = 0; x < bpl; ++x) planes.push_back(x < w ? picture.RowFromTop(y)[3 * x + channel] : 0);
  return planes;
}

// Decodes the data as one run-length stream, runs carrying on over line ends.
ByteVector DecodeStream(const ByteVector& file) {
  ByteVector out;
  for (size_t i = 128; i < file.size(); ++i) {
    if (file[i] >= 0xC0) {
      EXPECT_NE(file[i], 0xC0) << "a count byte of 0 at " << i;
      EXPECT_LT(i + 1, file.size()) << "a count byte with no value at the end";
      if (i + 1 >= file.size()) break;
      out.insert(out.end(), file[i] & 0x3F, file[i + 1]);
      ++i;
    } else {
      out.push_back(file[i]);
    }
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

TEST(PcxWriter, LargerPicturesDecodeToTheirPlanes) {
  struct Case {
    int w, h;
    bool bands;
  };
  // Width 301 puts two-byte values into the header: 301 = 0x012D, its
  // BytesPerLine 302 = 0x012E.
  for (const Case c : {Case{1, 1, false}, Case{37, 23, false}, Case{38, 5, false}, Case{301, 3, false},
                       Case{37, 23, true}, Case{130, 9, true}, Case{64, 64, true}}) {
    const auto picture = TestPicture(c.w, c.h, c.bands, 99);
    const ByteVector planes = SlowPlanes(*picture);
    const int bpl = c.w % 2 == 0 ? c.w : c.w + 1;
    ASSERT_EQ(planes.size(), 3u * bpl * c.h);
    const ByteVector raw = Written(*picture, false);
    EXPECT_EQ(ByteVector(raw.begin(), raw.begin() + 128), ExpectedHeader(c.w, c.h, bpl, false));
    EXPECT_EQ(ByteVector(raw.begin() + 128, raw.end()), planes) << c.w << "x" << c.h;
    const ByteVector coded = Written(*picture, true);
    EXPECT_EQ(ByteVector(coded.begin(), coded.begin() + 128), ExpectedHeader(c.w, c.h, bpl, true));
    EXPECT_EQ(DecodeStream(coded), planes) << c.w << "x" << c.h;
    if (c.bands) {
      EXPECT_LT(coded.size(), raw.size() / 4) << "bands code into long runs";
    }
  }
}

// Reads a PCX file with FreeImage and returns its pixels as r, g, b top-down.
std::vector<std::array<uint8_t, 3>> ReadBack(const std::filesystem::path& path, int& w, int& h) {
  FreeImageStart();
  FIBITMAP* dib = FreeImage_Load(FIF_PCX, path.c_str(), 0);
  std::vector<std::array<uint8_t, 3>> out;
  if (!dib) return out;
  w = static_cast<int>(FreeImage_GetWidth(dib));
  h = static_cast<int>(FreeImage_GetHeight(dib));
  EXPECT_EQ(FreeImage_GetBPP(dib), 24u);
  for (int y = 0; y < h; ++y) {
    const BYTE* row = FreeImage_GetScanLine(dib, h - 1 - y);  // FreeImage rows are bottom-up
    for (int x = 0; x < w; ++x)
      out.push_back({row[3 * x + FI_RGBA_RED], row[3 * x + FI_RGBA_GREEN], row[3 * x + FI_RGBA_BLUE]});
  }
  FreeImage_Unload(dib);
  return out;
}

TEST(PcxWriter, FreeImageReadsBackTheSamePixels) {
  // FreeImage's reader starts every line afresh: a run that carries on over a
  // line end loses its rest there. These pictures keep the last byte of each
  // line different from the first byte of the next, so no run crosses a line
  // end; runs across plane lines inside a line are read fine. FreeImage also
  // refuses a side of one pixel (largest x equal to smallest x), so the 1 x 1
  // file is pinned byte for byte above only.
  TempDir dir;
  struct Case {
    int w, h;
    bool bands;
  };
  for (const Case c : {Case{2, 2, false}, Case{3, 2, false}, Case{37, 23, false}, Case{38, 5, false},
                       Case{37, 23, true}, Case{130, 9, true}}) {
    const auto picture = TestPicture(c.w, c.h, c.bands, 7);
    for (int y = 1; y < c.h; ++y) {
      // Last byte of line y - 1: the filler 0 (odd width) or the last blue.
      const uint8_t last = c.w % 2 ? 0 : picture->RowFromTop(y - 1)[3 * c.w - 3];
      uint8_t& firstRed = picture->RowFromTop(y)[2];
      if (firstRed == last) firstRed = static_cast<uint8_t>(last + 1);
    }
    for (bool compressed : {true, false}) {
      const auto path = dir / "back.pcx";
      cPCX pcx;
      ASSERT_TRUE(pcx.SavePCXinFile(*picture, path, compressed));
      int w = 0, h = 0;
      const auto pixels = ReadBack(path, w, h);
      ASSERT_EQ(w, c.w);
      ASSERT_EQ(h, c.h);
      for (int y = 0; y < c.h; ++y)
        for (int x = 0; x < c.w; ++x) {
          const uint8_t* s = picture->RowFromTop(y) + 3 * x;
          const auto& got = pixels[static_cast<size_t>(y) * c.w + x];
          ASSERT_EQ(got[0], s[2]) << c.w << "x" << c.h << " compressed " << compressed << " red at " << x << "," << y;
          ASSERT_EQ(got[1], s[1]) << "green at " << x << "," << y;
          ASSERT_EQ(got[2], s[0]) << "blue at " << x << "," << y;
        }
    }
  }
}

}  // namespace
}  // namespace kelvane
