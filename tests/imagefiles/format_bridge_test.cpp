#include "imagefiles/format_bridge.h"

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <cstring>

#include "test_support.h"

namespace kelvane {
namespace {

// Owns a FreeImage image for the length of a test.
struct Dib {
  FIBITMAP* p = nullptr;
  Dib() = default;
  explicit Dib(FIBITMAP* d) : p(d) {}
  ~Dib() {
    if (p) FreeImage_Unload(p);
  }
};

class FormatBridge : public ::testing::Test {
 protected:
  void SetUp() override {
    FreeImageStart();
    ClearLastFormatError();
  }
  void TearDown() override { ClearLastFormatError(); }
};

TEST_F(FormatBridge, ErrorSinkKeepsTheFirstMessage) {
  FIBITMAP* dib = nullptr;
  EXPECT_EQ(FreeImage_DIB_From_BMP(nullptr, dib), 0);
  EXPECT_EQ(dib, nullptr);
  EXPECT_EQ(LastFormatError(), "[FreeImage_DIB_From_BMP] No bitmap specified to convert");

  // A second failure never replaces it.
  std::unique_ptr<cAlphaDibSection> bitmap;
  EXPECT_EQ(FreeImage_BMP_From_DIB(nullptr, bitmap), 0);
  EXPECT_EQ(FreeImage_RenderDIB(nullptr, nullptr, 0, 0, -1, -1), 0);
  EXPECT_EQ(LastFormatError(), "[FreeImage_DIB_From_BMP] No bitmap specified to convert");

  ClearLastFormatError();
  EXPECT_EQ(LastFormatError(), "");
  EXPECT_EQ(FreeImage_BMP_From_DIB(nullptr, bitmap), 0);
  EXPECT_EQ(LastFormatError(), "[FreeImage_BMP_From_DIB] No DIB specified to convert");
  SetLastFormatError("replaced", false);
  EXPECT_EQ(LastFormatError(), "replaced");
}

TEST_F(FormatBridge, MessagesWordForWord) {
  auto expect_message = [](const std::string& text) {
    EXPECT_EQ(LastFormatError(), text);
    ClearLastFormatError();
  };
  cDIBSection empty;
  cDIBSection target;
  ASSERT_TRUE(target.Create(2, 2));
  Dib image(FreeImage_Allocate(2, 2, 24));

  FIBITMAP* out = nullptr;
  EXPECT_EQ(FreeImage_DIB_From_BMP(&empty, out), 0);
  expect_message("[FreeImage_DIB_From_BMP] GetObjectAPI failed with error code 0");

  EXPECT_EQ(FreeImage_RenderDIB(nullptr, &target, 0, 0, -1, -1), 0);
  expect_message("[FreeImage_RenderDIB] No DIB specified to render");
  EXPECT_EQ(FreeImage_RenderDIB(image.p, nullptr, 0, 0, -1, -1), 0);
  expect_message("[FreeImage_RenderDIB] DC specified was invalid");
  EXPECT_EQ(FreeImage_RenderDIB(image.p, &empty, 0, 0, -1, -1), 0);
  expect_message("[FreeImage_RenderDIB] DC specified was invalid");

  EXPECT_EQ(FreeImage_RenderBitmap(nullptr, &target, 0, 0, -1, -1, false), 0);
  expect_message("[FreeImage_RenderBitmap] No bitmap specified to render");
  EXPECT_EQ(FreeImage_RenderBitmap(&empty, &target, 0, 0, -1, -1, false), 0);
  expect_message("[FreeImage_RenderBitmap] Handle specified is not a valid BITMAP");
  EXPECT_EQ(FreeImage_RenderBitmap(&target, nullptr, 0, 0, -1, -1, false), 0);
  expect_message("[FreeImage_RenderBitmap] DC specified is not valid");

  EXPECT_EQ(FreeImage_GetBitmapWidth(nullptr), 0);
  expect_message("[FreeImage_GetBitmapWidth] No bitmap specified to get the info for");
  EXPECT_EQ(FreeImage_GetBitmapWidth(&empty), 0);
  expect_message("[FreeImage_GetBitmapWidth] Handle specified is not a valid BITMAP");
  EXPECT_EQ(FreeImage_GetBitmapHeight(nullptr), 0);
  expect_message("[FreeImage_GetBitmapHeight] No bitmap specified to get the info for");
  EXPECT_EQ(FreeImage_GetBitmapHeight(&empty), 0);
  expect_message("[FreeImage_GetBitmapHeight] Handle specified is not a valid BITMAP");
  BitmapProperties info;
  EXPECT_EQ(FreeImage_GetBitmapInfo(nullptr, info), 0);
  expect_message("[FreeImage_GetBitmapInfo] No bitmap specified to get the info for");
  EXPECT_EQ(FreeImage_GetBitmapInfo(&empty, info), 0);
  expect_message("[FreeImage_GetBitmapInfo] Handle specified is not a valid bitmap");
}

TEST_F(FormatBridge, DibFromBmpGivesThirtyTwoBitsWhateverTheDepth) {
  cDIBSection s24;
  ASSERT_TRUE(s24.Create(3, 2));
  for (int row = 0; row < 2; ++row)
    for (int i = 0; i < 9; ++i) s24.ScanLine(row)[i] = static_cast<uint8_t>(10 * row + i + 1);

  // An image already held is let go and replaced.
  FIBITMAP* dib = FreeImage_Allocate(1, 1, 8);
  ASSERT_EQ(FreeImage_DIB_From_BMP(&s24, dib), -1);
  Dib owner(dib);
  EXPECT_EQ(LastFormatError(), "");
  EXPECT_EQ(FreeImage_GetBPP(dib), 32u);
  EXPECT_EQ(FreeImage_GetWidth(dib), 3u);
  EXPECT_EQ(FreeImage_GetHeight(dib), 2u);
  for (int row = 0; row < 2; ++row) {
    const uint8_t* line = FreeImage_GetScanLine(dib, row);  // both bottom-up
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(line[4 * x + FI_RGBA_BLUE], 10 * row + 3 * x + 1);
      EXPECT_EQ(line[4 * x + FI_RGBA_GREEN], 10 * row + 3 * x + 2);
      EXPECT_EQ(line[4 * x + FI_RGBA_RED], 10 * row + 3 * x + 3);
      EXPECT_EQ(line[4 * x + FI_RGBA_ALPHA], 0);
    }
  }

  cAlphaDibSection s32;
  ASSERT_TRUE(s32.Create(2, 1));
  const uint8_t px[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  std::memcpy(s32.ScanLine(0), px, 8);
  FIBITMAP* dib32 = nullptr;
  ASSERT_EQ(FreeImage_DIB_From_BMP(&s32, dib32), -1);
  Dib owner32(dib32);
  EXPECT_EQ(FreeImage_GetBPP(dib32), 32u);
  EXPECT_EQ(std::memcmp(FreeImage_GetScanLine(dib32, 0), px, 8), 0);

  // Failure leaves the out-argument empty even when it held an image.
  FIBITMAP* held = FreeImage_Allocate(1, 1, 24);
  EXPECT_EQ(FreeImage_DIB_From_BMP(nullptr, held), 0);
  EXPECT_EQ(held, nullptr);
}

TEST_F(FormatBridge, BmpFromDibConvertsAnyImageToThirtyTwoBits) {
  // An 8-bit palette image of two pixels.
  Dib pal(FreeImage_Allocate(2, 1, 8));
  RGBQUAD* palette = FreeImage_GetPalette(pal.p);
  palette[3].rgbRed = 200;
  palette[3].rgbGreen = 100;
  palette[3].rgbBlue = 50;
  palette[9].rgbRed = 1;
  palette[9].rgbGreen = 2;
  palette[9].rgbBlue = 3;
  FreeImage_GetScanLine(pal.p, 0)[0] = 3;
  FreeImage_GetScanLine(pal.p, 0)[1] = 9;

  auto bitmap = std::make_unique<cAlphaDibSection>();
  ASSERT_TRUE(bitmap->Create(7, 7));
  ASSERT_EQ(FreeImage_BMP_From_DIB(pal.p, bitmap), -1);
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(bitmap->Width(), 2);
  EXPECT_EQ(bitmap->Height(), 1);
  EXPECT_EQ(bitmap->BitCount(), 32);
  const uint8_t expected[8] = {50, 100, 200, 255, 3, 2, 1, 255};  // opaque source: alpha 255
  EXPECT_EQ(std::memcmp(bitmap->ScanLine(0), expected, 8), 0);
  EXPECT_EQ(FreeImage_GetBitmapWidth(bitmap.get()), 2);
  EXPECT_EQ(FreeImage_GetBitmapHeight(bitmap.get()), 1);

  // A 32-bit image keeps its fourth byte; rows stay in order.
  Dib rgba(FreeImage_Allocate(1, 2, 32));
  const uint8_t bottom[4] = {9, 8, 7, 6}, top[4] = {1, 2, 3, 4};
  std::memcpy(FreeImage_GetScanLine(rgba.p, 0), bottom, 4);
  std::memcpy(FreeImage_GetScanLine(rgba.p, 1), top, 4);
  ASSERT_EQ(FreeImage_BMP_From_DIB(rgba.p, bitmap), -1);
  EXPECT_EQ(std::memcmp(bitmap->ScanLine(0), bottom, 4), 0);
  EXPECT_EQ(std::memcmp(bitmap->RowFromTop(0), top, 4), 0);

  // Round trip picture -> image -> picture is exact for 32 bits.
  FIBITMAP* back = nullptr;
  ASSERT_EQ(FreeImage_DIB_From_BMP(bitmap.get(), back), -1);
  Dib back_owner(back);
  std::unique_ptr<cAlphaDibSection> again;
  ASSERT_EQ(FreeImage_BMP_From_DIB(back, again), -1);
  EXPECT_EQ(std::memcmp(again->DIBSectionBitsPtr(), bitmap->DIBSectionBitsPtr(), 8), 0);

  // Failure releases a bitmap already held.
  EXPECT_EQ(FreeImage_BMP_From_DIB(nullptr, again), 0);
  EXPECT_FALSE(again);
}

TEST_F(FormatBridge, BmpFromHeaderOnlyImageReportsMissingBits) {
  const std::string name = test::DataFile("png-rgba-8bit-32x32.png").string();
  Dib header_only(FreeImage_Load(FIF_PNG, name.c_str(), FIF_LOAD_NOPIXELS));
  ASSERT_NE(header_only.p, nullptr);
  ASSERT_FALSE(FreeImage_HasPixels(header_only.p));
  std::unique_ptr<cAlphaDibSection> bitmap;
  EXPECT_EQ(FreeImage_BMP_From_DIB(header_only.p, bitmap), 0);
  EXPECT_FALSE(bitmap);
  EXPECT_EQ(LastFormatError(), "[FreeImage_BMP_From_DIB] FreeImage_GetBits failed to get the DIB's bits");
}

TEST_F(FormatBridge, RenderDibNaturalSizeAndBottomLeftOrigin) {
  // 3 x 2 image; image row 0 is the bottom row. Value 10 * row + x + 1 in blue.
  Dib image(FreeImage_Allocate(3, 2, 24));
  for (int row = 0; row < 2; ++row)
    for (int x = 0; x < 3; ++x) {
      uint8_t* p = FreeImage_GetScanLine(image.p, row) + 3 * x;
      p[FI_RGBA_BLUE] = static_cast<uint8_t>(10 * row + x + 1);
      p[FI_RGBA_GREEN] = 100;
      p[FI_RGBA_RED] = 200;
    }

  cAlphaDibSection target;
  ASSERT_TRUE(target.Create(5, 4));
  std::memset(target.DIBSectionBitsPtr(), 0xEE, target.Header().biSizeImage);
  ASSERT_EQ(FreeImage_RenderDIB(image.p, &target, 1, 1, -1, -1), -1);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      const uint8_t* p = target.RowFromTop(y) + 4 * x;
      const bool inside = x >= 1 && x <= 3 && y >= 1 && y <= 2;
      if (!inside) {
        EXPECT_EQ(p[0], 0xEE) << x << "," << y;
        continue;
      }
      const int image_row = 2 - y;  // target row 1 shows the image's top row
      EXPECT_EQ(p[0], 10 * image_row + (x - 1) + 1) << x << "," << y;
      EXPECT_EQ(p[1], 100);
      EXPECT_EQ(p[2], 200);
      EXPECT_EQ(p[3], 0);  // a 24-bit image brings no alpha
    }

  // A smaller size shows the image's bottom-left corner.
  std::memset(target.DIBSectionBitsPtr(), 0xEE, target.Header().biSizeImage);
  ASSERT_EQ(FreeImage_RenderDIB(image.p, &target, 0, 0, 2, 1), -1);
  EXPECT_EQ(target.RowFromTop(0)[0], 1);
  EXPECT_EQ(target.RowFromTop(0)[4], 2);
  EXPECT_EQ(target.RowFromTop(0)[8], 0xEE);
  EXPECT_EQ(target.RowFromTop(1)[0], 0xEE);

  // Clipped at the target's edges without harm.
  cDIBSection small;
  ASSERT_TRUE(small.Create(2, 2));
  ASSERT_EQ(FreeImage_RenderDIB(image.p, &small, -1, -1, -1, -1), -1);
  // The image's top row falls above the target; its bottom row lands on
  // target row 0 from image column 1.
  EXPECT_EQ(small.RowFromTop(0)[0], 2);
  EXPECT_EQ(small.RowFromTop(0)[3], 3);
  EXPECT_EQ(small.RowFromTop(1)[0], 0);  // below the image: untouched
  EXPECT_EQ(LastFormatError(), "");

  // A 32-bit image brings its fourth byte into a 32-bit target.
  Dib rgba(FreeImage_Allocate(1, 1, 32));
  const uint8_t px[4] = {4, 3, 2, 1};
  std::memcpy(FreeImage_GetScanLine(rgba.p, 0), px, 4);
  ASSERT_EQ(FreeImage_RenderDIB(rgba.p, &target, 4, 3, -1, -1), -1);
  EXPECT_EQ(std::memcmp(target.RowFromTop(3) + 16, px, 4), 0);
}

TEST_F(FormatBridge, RenderBitmapCopiesTopLeft) {
  cDIBSection source;
  ASSERT_TRUE(source.Create(2, 2));
  source.RowFromTop(0)[0] = 11;
  source.RowFromTop(1)[3] = 22;
  cAlphaDibSection target;
  ASSERT_TRUE(target.Create(3, 3));
  ASSERT_EQ(FreeImage_RenderBitmap(&source, &target, 1, 1, -1, -1, true), -1);
  EXPECT_EQ(target.RowFromTop(1)[4], 11);
  EXPECT_EQ(target.RowFromTop(2)[8], 22);
  ASSERT_EQ(FreeImage_RenderBitmap(&source, &target, 0, 0, 1, 1, false), -1);
  EXPECT_EQ(target.RowFromTop(0)[0], 11);
  EXPECT_EQ(target.RowFromTop(0)[4], 0);
}

TEST_F(FormatBridge, BitmapInfoHeaderAndBits) {
  cDIBSection s;
  ASSERT_TRUE(s.Create(3, 5));
  BitmapProperties info;
  ASSERT_EQ(FreeImage_GetBitmapInfo(&s, info), -1);
  EXPECT_EQ(info.bmWidth, 3);
  EXPECT_EQ(info.bmHeight, 5);
  EXPECT_EQ(info.bmWidthBytes, 12);
  EXPECT_EQ(info.bmPlanes, 1);
  EXPECT_EQ(info.bmBitsPixel, 24);

  BitmapHeader header;
  header.biSizeImage = 99;
  std::vector<uint8_t> array(3, 7);
  ASSERT_EQ(SetDibHeader(header, array, 4, 3), -1);
  EXPECT_EQ(header.biSize, 40);
  EXPECT_EQ(header.biWidth, 4);
  EXPECT_EQ(header.biHeight, -3);
  EXPECT_EQ(header.biPlanes, 1);
  EXPECT_EQ(header.biBitCount, 32);
  EXPECT_EQ(header.biSizeImage, 0);
  ASSERT_EQ(array.size(), 48u);
  for (uint8_t b : array) EXPECT_EQ(b, 0);
  EXPECT_EQ(SetDibHeader(header, array, 0, 3), 0);
  EXPECT_TRUE(array.empty());

  s.RowFromTop(0)[0] = 5;  // top-left blue
  s.RowFromTop(4)[8] = 6;  // bottom-right red
  const std::vector<uint8_t> bits = GetBitmapBits(&s, 3, 5);
  ASSERT_EQ(bits.size(), 60u);
  EXPECT_EQ(bits[0], 5);
  EXPECT_EQ(bits[(4 * 3 + 2) * 4 + 2], 6);
  EXPECT_TRUE(GetBitmapBits(nullptr, 3, 5).empty());
}

// The 24- and 32-bit forms of the image types the decoders give, each
// value worked out by hand.
TEST_F(FormatBridge, StandardBitmapsFromEveryImageType) {
  // 16-bit grey: the high byte, however narrow the range the picture uses.
  Dib grey(FreeImage_AllocateT(FIT_UINT16, 3, 1));
  auto* g = reinterpret_cast<uint16_t*>(FreeImage_GetScanLine(grey.p, 0));
  g[0] = 0x01E0;  // 480 -> 1
  g[1] = 0x12FF;  // -> 0x12
  g[2] = 0xFFFF;  // -> 255
  for (unsigned bpp : {24u, 32u}) {
    Dib out(ConvertToStandardBitmap(grey.p, bpp));
    ASSERT_NE(out.p, nullptr);
    EXPECT_EQ(FreeImage_GetImageType(out.p), FIT_BITMAP);
    EXPECT_EQ(FreeImage_GetBPP(out.p), bpp);
    const uint8_t* line = FreeImage_GetScanLine(out.p, 0);
    const int step = static_cast<int>(bpp / 8);
    const uint8_t expected[3] = {1, 0x12, 255};
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(line[step * x + FI_RGBA_BLUE], expected[x]);
      EXPECT_EQ(line[step * x + FI_RGBA_GREEN], expected[x]);
      EXPECT_EQ(line[step * x + FI_RGBA_RED], expected[x]);
      if (bpp == 32) {
        EXPECT_EQ(line[step * x + FI_RGBA_ALPHA], 255);
      }
    }
  }

  // 16 bits per colour sample: high bytes, alpha kept.
  Dib rgba16(FreeImage_AllocateT(FIT_RGBA16, 1, 1));
  auto* q = reinterpret_cast<FIRGBA16*>(FreeImage_GetScanLine(rgba16.p, 0));
  *q = FIRGBA16{0xABCD, 0x0102, 0xFF00, 0x7F80};
  Dib q32(ConvertToStandardBitmap(rgba16.p, 32));
  ASSERT_NE(q32.p, nullptr);
  const uint8_t* p = FreeImage_GetScanLine(q32.p, 0);
  EXPECT_EQ(p[FI_RGBA_RED], 0xAB);
  EXPECT_EQ(p[FI_RGBA_GREEN], 0x01);
  EXPECT_EQ(p[FI_RGBA_BLUE], 0xFF);
  EXPECT_EQ(p[FI_RGBA_ALPHA], 0x7F);

  // Floating samples: clamped to 0..1, times 255, rounded (0.5 gives the one
  // tie a float can hold).
  Dib rgbf(FreeImage_AllocateT(FIT_RGBAF, 2, 1));
  auto* f = reinterpret_cast<FIRGBAF*>(FreeImage_GetScanLine(rgbf.p, 0));
  f[0] = FIRGBAF{0.5f, -3.0f, 7.0f, 1.0f};  // 127.5 -> 128, 0, 255, 255
  f[1] = FIRGBAF{0.25f, 0.75f, 0.2f, 0.0f};  // 63.75 -> 64, 191.25 -> 191, 51, 0
  Dib f32(ConvertToStandardBitmap(rgbf.p, 32));
  ASSERT_NE(f32.p, nullptr);
  const uint8_t* fp = FreeImage_GetScanLine(f32.p, 0);
  const uint8_t expected_f[8] = {255, 0, 128, 255, 51, 191, 64, 0};  // blue, green, red, alpha
  for (int i = 0; i < 8; ++i) EXPECT_EQ(fp[i], expected_f[i]) << i;
  Dib f24(ConvertToStandardBitmap(rgbf.p, 24));
  ASSERT_NE(f24.p, nullptr);
  EXPECT_EQ(FreeImage_GetBPP(f24.p), 24u);
  EXPECT_EQ(FreeImage_GetScanLine(f24.p, 0)[FI_RGBA_RED], 128);

  // Whole numbers without a natural range: stretched from minimum to maximum.
  Dib ints(FreeImage_AllocateT(FIT_INT32, 3, 1));
  auto* n = reinterpret_cast<int32_t*>(FreeImage_GetScanLine(ints.p, 0));
  n[0] = -1000;
  n[1] = 0;
  n[2] = 1000;
  Dib n24(ConvertToStandardBitmap(ints.p, 24));
  ASSERT_NE(n24.p, nullptr);
  EXPECT_EQ(FreeImage_GetScanLine(n24.p, 0)[0], 0);
  EXPECT_EQ(FreeImage_GetScanLine(n24.p, 0)[6], 255);

  // A plain bitmap is converted as FreeImage converts it; nothing comes of
  // no image, an image without pixels, or a depth other than 24 and 32.
  Dib pal(FreeImage_Allocate(1, 1, 8));
  FreeImage_GetPalette(pal.p)[0] = RGBQUAD{1, 2, 3, 0};
  Dib pal24(ConvertToStandardBitmap(pal.p, 24));
  ASSERT_NE(pal24.p, nullptr);
  EXPECT_EQ(FreeImage_GetScanLine(pal24.p, 0)[FI_RGBA_BLUE], 1);
  EXPECT_EQ(FreeImage_GetScanLine(pal24.p, 0)[FI_RGBA_RED], 3);
  EXPECT_EQ(ConvertToStandardBitmap(nullptr, 32), nullptr);
  EXPECT_EQ(ConvertToStandardBitmap(pal.p, 16), nullptr);
  Dib header_only(
      FreeImage_Load(FIF_PNG, test::DataFile("png-rgba-8bit-32x32.png").string().c_str(), FIF_LOAD_NOPIXELS));
  ASSERT_NE(header_only.p, nullptr);
  EXPECT_EQ(ConvertToStandardBitmap(header_only.p, 32), nullptr);

  // The bridge's picture of a 16-bit grey image goes the same way.
  std::unique_ptr<cAlphaDibSection> bitmap;
  ASSERT_EQ(FreeImage_BMP_From_DIB(grey.p, bitmap), -1);
  EXPECT_EQ(bitmap->ScanLine(0)[0], 1);
  EXPECT_EQ(bitmap->ScanLine(0)[4], 0x12);
  EXPECT_EQ(LastFormatError(), "");
}

TEST_F(FormatBridge, LibraryMessagesReachTheSink) {
  test::TempDir dir;
  const std::string missing = (dir / "absent.png").string();
  Dib none(FreeImage_Load(FIF_PNG, missing.c_str(), 0));
  EXPECT_EQ(none.p, nullptr);
  EXPECT_FALSE(LastFormatError().empty());
}

}  // namespace
}  // namespace kelvane
