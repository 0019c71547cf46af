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
  explicit Dib(FIBITMAP* d = nullptr) : p(d) {}
  ~Dib() {
    if (p) FreeImage_Unload(p);
  }
};

std::vector<int> Bytes(const uint8_t* p, size_t n) { return std::vector<int>(p, p + n); }

class FormatBridge : public ::testing::Test {
 protected:
  void SetUp() override {
    FreeImageStart();
    ClearLastFormatError();
  }
  void TearDown() override { ClearLastFormatError(); }
};

// Each failure returns 0 and leaves its message, its function's name in
// brackets in front.
void ExpectFailure(int result, const std::string& message) {
  EXPECT_EQ(result, 0) << message;
  EXPECT_EQ(LastFormatError(), message);
  ClearLastFormatError();
}

TEST_F(FormatBridge, FailuresReturnZeroAndTheSinkKeepsTheFirstMessage) {
  cDIBSection empty, target;
  ASSERT_TRUE(target.Create(2, 2));
  Dib image(FreeImage_Allocate(2, 2, 24));
  Dib header_only(
      FreeImage_Load(FIF_PNG, test::DataFile("png-rgba-8bit-32x32.png").string().c_str(), FIF_LOAD_NOPIXELS));
  ASSERT_NE(header_only.p, nullptr);
  FIBITMAP* out = nullptr;
  std::unique_ptr<cAlphaDibSection> bitmap;
  BitmapProperties info;
  const std::string from_bmp = "[FreeImage_DIB_From_BMP] ", from_dib = "[FreeImage_BMP_From_DIB] ",
                    render = "[FreeImage_RenderDIB] ", blit = "[FreeImage_RenderBitmap] ";
  ExpectFailure(FreeImage_DIB_From_BMP(nullptr, out), from_bmp + "No bitmap specified to convert");
  ExpectFailure(FreeImage_DIB_From_BMP(&empty, out), from_bmp + "GetObjectAPI failed with error code 0");
  ExpectFailure(FreeImage_BMP_From_DIB(nullptr, bitmap), from_dib + "No DIB specified to convert");
  ExpectFailure(FreeImage_BMP_From_DIB(header_only.p, bitmap),
                from_dib + "FreeImage_GetBits failed to get the DIB's bits");
  EXPECT_EQ(out, nullptr);
  EXPECT_FALSE(bitmap);
  ExpectFailure(FreeImage_RenderDIB(nullptr, &target, 0, 0, -1, -1), render + "No DIB specified to render");
  ExpectFailure(FreeImage_RenderDIB(image.p, nullptr, 0, 0, -1, -1), render + "DC specified was invalid");
  ExpectFailure(FreeImage_RenderDIB(image.p, &empty, 0, 0, -1, -1), render + "DC specified was invalid");
  ExpectFailure(FreeImage_RenderBitmap(nullptr, &target, 0, 0, -1, -1, false), blit + "No bitmap specified to render");
  ExpectFailure(FreeImage_RenderBitmap(&empty, &target, 0, 0, -1, -1, false),
                blit + "Handle specified is not a valid BITMAP");
  ExpectFailure(FreeImage_RenderBitmap(&target, nullptr, 0, 0, -1, -1, false), blit + "DC specified is not valid");
  const std::string none = "No bitmap specified to get the info for", bad = "Handle specified is not a valid ";
  ExpectFailure(FreeImage_GetBitmapWidth(nullptr), "[FreeImage_GetBitmapWidth] " + none);
  ExpectFailure(FreeImage_GetBitmapWidth(&empty), "[FreeImage_GetBitmapWidth] " + bad + "BITMAP");
  ExpectFailure(FreeImage_GetBitmapHeight(nullptr), "[FreeImage_GetBitmapHeight] " + none);
  ExpectFailure(FreeImage_GetBitmapHeight(&empty), "[FreeImage_GetBitmapHeight] " + bad + "BITMAP");
  ExpectFailure(FreeImage_GetBitmapInfo(nullptr, info), "[FreeImage_GetBitmapInfo] " + none);
  ExpectFailure(FreeImage_GetBitmapInfo(&empty, info), "[FreeImage_GetBitmapInfo] " + bad + "bitmap");
  // A second failure never replaces the first message; only a message sent
  // without the keep-first flag does.
  FreeImage_DIB_From_BMP(nullptr, out);
  FreeImage_BMP_From_DIB(nullptr, bitmap);
  FreeImage_RenderDIB(nullptr, nullptr, 0, 0, -1, -1);
  EXPECT_EQ(LastFormatError(), from_bmp + "No bitmap specified to convert");
  SetLastFormatError("replaced", false);
  EXPECT_EQ(LastFormatError(), "replaced");
}

TEST_F(FormatBridge, DibFromBmpGivesThirtyTwoBitsWhateverTheDepth) {
  cDIBSection s24;
  ASSERT_TRUE(s24.Create(3, 2));
  for (int row = 0; row < 2; ++row)
    for (int i = 0; i < 9; ++i) s24.ScanLine(row)[i] = static_cast<uint8_t>(10 * row + i + 1);
  FIBITMAP* dib = FreeImage_Allocate(1, 1, 8);  // an image already held is let go and replaced
  ASSERT_EQ(FreeImage_DIB_From_BMP(&s24, dib), -1);
  Dib owner(dib);
  EXPECT_EQ(LastFormatError(), "");
  EXPECT_EQ(std::tuple(FreeImage_GetBPP(dib), FreeImage_GetWidth(dib), FreeImage_GetHeight(dib)),
            std::tuple(32u, 3u, 2u));
  for (int row = 0; row < 2; ++row)  // both bottom-up
    for (int x = 0; x < 3; ++x) {
      const int v = 10 * row + 3 * x;
      EXPECT_EQ(Bytes(FreeImage_GetScanLine(dib, row) + 4 * x, 4), std::vector<int>({v + 1, v + 2, v + 3, 0}));
    }

  cAlphaDibSection s32;
  ASSERT_TRUE(s32.Create(2, 1));
  const uint8_t px[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  std::memcpy(s32.ScanLine(0), px, 8);
  FIBITMAP* dib32 = nullptr;
  ASSERT_EQ(FreeImage_DIB_From_BMP(&s32, dib32), -1);
  Dib owner32(dib32);
  EXPECT_EQ(FreeImage_GetBPP(dib32), 32u);
  EXPECT_EQ(Bytes(FreeImage_GetScanLine(dib32, 0), 8), Bytes(px, 8));

  // Failure leaves the out-argument empty even when it held an image.
  FIBITMAP* held = FreeImage_Allocate(1, 1, 24);
  EXPECT_EQ(FreeImage_DIB_From_BMP(nullptr, held), 0);
  EXPECT_EQ(held, nullptr);
}

TEST_F(FormatBridge, BmpFromDibConvertsAnyImageToThirtyTwoBits) {
  // An 8-bit palette image of two pixels, opaque: alpha 255.
  Dib pal(FreeImage_Allocate(2, 1, 8));
  FreeImage_GetPalette(pal.p)[3] = RGBQUAD{50, 100, 200, 0};
  FreeImage_GetPalette(pal.p)[9] = RGBQUAD{3, 2, 1, 0};
  FreeImage_GetScanLine(pal.p, 0)[0] = 3;
  FreeImage_GetScanLine(pal.p, 0)[1] = 9;
  auto bitmap = std::make_unique<cAlphaDibSection>();
  ASSERT_TRUE(bitmap->Create(7, 7));
  ASSERT_EQ(FreeImage_BMP_From_DIB(pal.p, bitmap), -1);
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(std::tuple(bitmap->Width(), bitmap->Height(), bitmap->BitCount()), std::tuple(2, 1, 32));
  EXPECT_EQ(Bytes(bitmap->ScanLine(0), 8), std::vector<int>({50, 100, 200, 255, 3, 2, 1, 255}));
  EXPECT_EQ(std::tuple(FreeImage_GetBitmapWidth(bitmap.get()), FreeImage_GetBitmapHeight(bitmap.get())),
            std::tuple(2, 1));

  // A 32-bit image keeps its fourth byte; rows stay in order.
  Dib rgba(FreeImage_Allocate(1, 2, 32));
  const uint8_t bottom[4] = {9, 8, 7, 6}, top[4] = {1, 2, 3, 4};
  std::memcpy(FreeImage_GetScanLine(rgba.p, 0), bottom, 4);
  std::memcpy(FreeImage_GetScanLine(rgba.p, 1), top, 4);
  ASSERT_EQ(FreeImage_BMP_From_DIB(rgba.p, bitmap), -1);
  EXPECT_EQ(Bytes(bitmap->ScanLine(0), 4), Bytes(bottom, 4));
  EXPECT_EQ(Bytes(bitmap->RowFromTop(0), 4), Bytes(top, 4));

  // Failure releases a bitmap already held.
  EXPECT_EQ(FreeImage_BMP_From_DIB(nullptr, bitmap), 0);
  EXPECT_FALSE(bitmap);
}

TEST_F(FormatBridge, RenderDibNaturalSizeAndBottomLeftOrigin) {
  // 3 x 2 image; image row 0 is the bottom row. Blue 10 * row + x + 1.
  Dib image(FreeImage_Allocate(3, 2, 24));
  for (int row = 0; row < 2; ++row)
    for (int x = 0; x < 3; ++x) {
      uint8_t* p = FreeImage_GetScanLine(image.p, row) + 3 * x;
      p[0] = static_cast<uint8_t>(10 * row + x + 1), p[1] = 100, p[2] = 200;
    }
  cAlphaDibSection target;
  ASSERT_TRUE(target.Create(5, 4));
  auto blank = [&] { std::memset(target.DIBSectionBitsPtr(), 0xEE, target.Header().biSizeImage); };
  blank();
  ASSERT_EQ(FreeImage_RenderDIB(image.p, &target, 1, 1, -1, -1), -1);  // -1: the image's own size
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      const uint8_t* p = target.RowFromTop(y) + 4 * x;
      if (x < 1 || x > 3 || y < 1 || y > 2) {
        EXPECT_EQ(p[0], 0xEE) << x << "," << y;
      } else {  // target row 1 shows the image's top row; a 24-bit image brings alpha 0
        EXPECT_EQ(Bytes(p, 4), std::vector<int>({10 * (2 - y) + x, 100, 200, 0})) << x << "," << y;
      }
    }
  // A smaller size shows the image's bottom-left corner.
  blank();
  ASSERT_EQ(FreeImage_RenderDIB(image.p, &target, 0, 0, 2, 1), -1);
  EXPECT_EQ(std::tuple(target.RowFromTop(0)[0], target.RowFromTop(0)[4], target.RowFromTop(0)[8]),
            std::tuple(1, 2, 0xEE));
  EXPECT_EQ(target.RowFromTop(1)[0], 0xEE);
  // Clipped at the target's edges: the top row falls above the target, the
  // bottom row lands on target row 0 from image column 1.
  cDIBSection small;
  ASSERT_TRUE(small.Create(2, 2));
  ASSERT_EQ(FreeImage_RenderDIB(image.p, &small, -1, -1, -1, -1), -1);
  EXPECT_EQ(std::tuple(small.RowFromTop(0)[0], small.RowFromTop(0)[3], small.RowFromTop(1)[0]), std::tuple(2, 3, 0));
  EXPECT_EQ(LastFormatError(), "");
  // A 32-bit image brings its fourth byte into a 32-bit target.
  Dib rgba(FreeImage_Allocate(1, 1, 32));
  const uint8_t px[4] = {4, 3, 2, 1};
  std::memcpy(FreeImage_GetScanLine(rgba.p, 0), px, 4);
  ASSERT_EQ(FreeImage_RenderDIB(rgba.p, &target, 4, 3, -1, -1), -1);
  EXPECT_EQ(Bytes(target.RowFromTop(3) + 16, 4), Bytes(px, 4));
}

TEST_F(FormatBridge, RenderBitmapCopiesTopLeft) {
  cDIBSection source;
  ASSERT_TRUE(source.Create(2, 2));
  source.RowFromTop(0)[0] = 11;
  source.RowFromTop(1)[3] = 22;
  cAlphaDibSection target;
  ASSERT_TRUE(target.Create(3, 3));
  ASSERT_EQ(FreeImage_RenderBitmap(&source, &target, 1, 1, -1, -1, true), -1);
  EXPECT_EQ(std::tuple(target.RowFromTop(1)[4], target.RowFromTop(2)[8]), std::tuple(11, 22));
  ASSERT_EQ(FreeImage_RenderBitmap(&source, &target, 0, 0, 1, 1, false), -1);
  EXPECT_EQ(std::tuple(target.RowFromTop(0)[0], target.RowFromTop(0)[4]), std::tuple(11, 0));
}

TEST_F(FormatBridge, BitmapInfoHeaderAndBits) {
  cDIBSection s;
  ASSERT_TRUE(s.Create(3, 5));
  BitmapProperties info;
  ASSERT_EQ(FreeImage_GetBitmapInfo(&s, info), -1);
  EXPECT_EQ(std::tuple(info.bmWidth, info.bmHeight, info.bmWidthBytes, info.bmPlanes, info.bmBitsPixel),
            std::tuple(3, 5, 12, 1, 24));

  BitmapHeader header;
  header.biSizeImage = 99;
  std::vector<uint8_t> array(3, 7);
  ASSERT_EQ(SetDibHeader(header, array, 4, 3), -1);  // top-down: negative height
  EXPECT_EQ(std::tuple(header.biSize, header.biWidth, header.biHeight, header.biPlanes, header.biBitCount,
                       header.biSizeImage),
            std::tuple(40, 4, -3, 1, 32, 0));
  EXPECT_EQ(array, std::vector<uint8_t>(48, 0));
  EXPECT_EQ(SetDibHeader(header, array, 0, 3), 0);
  EXPECT_TRUE(array.empty());

  s.RowFromTop(0)[0] = 5;  // top-left blue
  s.RowFromTop(4)[8] = 6;  // bottom-right red
  const std::vector<uint8_t> bits = GetBitmapBits(&s, 3, 5);
  ASSERT_EQ(bits.size(), 60u);
  EXPECT_EQ(std::tuple(bits[0], bits[(4 * 3 + 2) * 4 + 2]), std::tuple(5, 6));
  EXPECT_TRUE(GetBitmapBits(nullptr, 3, 5).empty());
}

// The 24- and 32-bit forms of the image types the decoders give, each value
// worked out by hand.
TEST_F(FormatBridge, StandardBitmapsFromEveryImageType) {
  // 16-bit grey: the high byte, however narrow the range the picture uses.
  Dib grey(FreeImage_AllocateT(FIT_UINT16, 3, 1));
  auto* g = reinterpret_cast<uint16_t*>(FreeImage_GetScanLine(grey.p, 0));
  g[0] = 0x01E0, g[1] = 0x12FF, g[2] = 0xFFFF;  // -> 1, 0x12, 255
  for (unsigned bpp : {24u, 32u}) {
    Dib out(ConvertToStandardBitmap(grey.p, bpp));
    ASSERT_NE(out.p, nullptr);
    EXPECT_EQ(std::tuple(FreeImage_GetImageType(out.p), FreeImage_GetBPP(out.p)), std::tuple(FIT_BITMAP, bpp));
    const std::vector<int> px3 = {1, 1, 1, 0x12, 0x12, 0x12, 255, 255, 255};
    const std::vector<int> px4 = {1, 1, 1, 255, 0x12, 0x12, 0x12, 255, 255, 255, 255, 255};
    EXPECT_EQ(Bytes(FreeImage_GetScanLine(out.p, 0), 3 * bpp / 8), bpp == 24 ? px3 : px4);
  }

  // 16 bits per colour sample: high bytes, alpha kept.
  Dib rgba16(FreeImage_AllocateT(FIT_RGBA16, 1, 1));
  *reinterpret_cast<FIRGBA16*>(FreeImage_GetScanLine(rgba16.p, 0)) = FIRGBA16{0xABCD, 0x0102, 0xFF00, 0x7F80};
  Dib q32(ConvertToStandardBitmap(rgba16.p, 32));
  ASSERT_NE(q32.p, nullptr);
  EXPECT_EQ(Bytes(FreeImage_GetScanLine(q32.p, 0), 4), std::vector<int>({0xFF, 0x01, 0xAB, 0x7F}));

  // Floating samples: clamped to 0..1, times 255, rounded (0.5 gives the one
  // tie a float can hold).
  Dib rgbf(FreeImage_AllocateT(FIT_RGBAF, 2, 1));
  auto* f = reinterpret_cast<FIRGBAF*>(FreeImage_GetScanLine(rgbf.p, 0));
  f[0] = FIRGBAF{0.5f, -3.0f, 7.0f, 1.0f};   // 127.5 -> 128, 0, 255, 255
  f[1] = FIRGBAF{0.25f, 0.75f, 0.2f, 0.0f};  // 63.75 -> 64, 191.25 -> 191, 51, 0
  Dib f32(ConvertToStandardBitmap(rgbf.p, 32)), f24(ConvertToStandardBitmap(rgbf.p, 24));
  ASSERT_TRUE(f32.p && f24.p);
  EXPECT_EQ(Bytes(FreeImage_GetScanLine(f32.p, 0), 8), std::vector<int>({255, 0, 128, 255, 51, 191, 64, 0}));
  EXPECT_EQ(Bytes(FreeImage_GetScanLine(f24.p, 0), 6), std::vector<int>({255, 0, 128, 51, 191, 64}));

  // Whole numbers without a natural range: stretched from minimum to maximum.
  Dib ints(FreeImage_AllocateT(FIT_INT32, 3, 1));
  auto* n = reinterpret_cast<int32_t*>(FreeImage_GetScanLine(ints.p, 0));
  n[0] = -1000, n[1] = 0, n[2] = 1000;
  Dib n24(ConvertToStandardBitmap(ints.p, 24));
  ASSERT_NE(n24.p, nullptr);
  EXPECT_EQ(std::tuple(FreeImage_GetScanLine(n24.p, 0)[0], FreeImage_GetScanLine(n24.p, 0)[6]), std::tuple(0, 255));

  // A plain bitmap is converted as FreeImage converts it; nothing comes of
  // no image, an image without pixels, or a depth other than 24 and 32.
  Dib pal(FreeImage_Allocate(1, 1, 8));
  FreeImage_GetPalette(pal.p)[0] = RGBQUAD{1, 2, 3, 0};
  Dib pal24(ConvertToStandardBitmap(pal.p, 24));
  ASSERT_NE(pal24.p, nullptr);
  EXPECT_EQ(Bytes(FreeImage_GetScanLine(pal24.p, 0), 3), std::vector<int>({1, 2, 3}));
  EXPECT_EQ(ConvertToStandardBitmap(nullptr, 32), nullptr);
  EXPECT_EQ(ConvertToStandardBitmap(pal.p, 16), nullptr);
  Dib header_only(
      FreeImage_Load(FIF_PNG, test::DataFile("png-rgba-8bit-32x32.png").string().c_str(), FIF_LOAD_NOPIXELS));
  ASSERT_NE(header_only.p, nullptr);
  EXPECT_EQ(ConvertToStandardBitmap(header_only.p, 32), nullptr);
}

}  // namespace
}  // namespace kelvane
