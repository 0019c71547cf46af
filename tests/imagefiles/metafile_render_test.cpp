#include "imagefiles/metafile_render.h"

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>

#include "image_load_test_support.h"
#include "imagefiles/image_load.h"

namespace kelvane {
namespace {

using test::DataFile;

struct Unloader {
  void operator()(FIBITMAP* dib) const { FreeImage_Unload(dib); }
};
using Picture = std::unique_ptr<FIBITMAP, Unloader>;

Picture Render(const std::filesystem::path& path) {
  return Picture(RenderMetafile(path, test::ExtensionOfName(path.filename().string()) == "emf"));
}

int Width(const Picture& p) { return static_cast<int>(FreeImage_GetWidth(p.get())); }
int Height(const Picture& p) { return static_cast<int>(FreeImage_GetHeight(p.get())); }

// Blue, green, red of a pixel, rows counted from the top.
const uint8_t* PixelAt(const Picture& p, int x, int y) {
  return FreeImage_GetScanLine(p.get(), Height(p) - 1 - y) + 3 * x;
}

bool IsWhite(const uint8_t* bgr) { return bgr[0] == 255 && bgr[1] == 255 && bgr[2] == 255; }
bool IsRed(const uint8_t* bgr) { return bgr[2] > 200 && bgr[1] < 60 && bgr[0] < 60; }

int CountPixels(const Picture& p, const std::function<bool(const uint8_t*)>& which) {
  int count = 0;
  for (int y = 0; y < Height(p); ++y)
    for (int x = 0; x < Width(p); ++x) count += which(PixelAt(p, x, y));
  return count;
}

// Sizes by hand, rounding ties to even:
//  placeable wmf: |right - left| / units per inch * 96, likewise the height;
//  emf: (frame right - frame left + 1) hundredths of a millimetre * 96 / 2540.
// The platform picture road, as a document opens them, gives the same.
TEST(MetafileRender, SamplesOpenAt96DpiAs24Bits) {
  const struct {
    const char* name;
    int width, height;
  } cases[] = {
      {"wmf-placeable-tiny-drawing.wmf", 110, 110},  // 1369 / 1200 * 96 = 109.52
      {"wmf-placeable-clipart-beef.wmf", 268, 209},  // 2792 and 2172 at 1000: 268.03, 208.51
      {"emf-simple-drawing.emf", 110, 110},          // frame 0..2899: 2900 * 96 / 2540 = 109.61
      {"emf-plus-dual.emf", 961, 720},               // 0..25413, 0..19049: 960.53, 720.00
      {"emf-text-dib-mm-text.emf", 1123, 794},       // 0..29699, 0..20999: 1122.52, 793.70
      {"wmf-placeable-many-records-text.wmf", 1122, 794},  // 14031, 9921 at 1200: 1122.48, 793.68
  };
  ASSERT_TRUE(MetafileRenderingAvailable());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Picture picture = Render(DataFile(c.name));
    // libwmf refuses some records of the exhaustive sample: no crash, and a
    // picture, if any, has the header's size.
    if (!picture && c.width == 1122) continue;
    ASSERT_TRUE(picture);
    EXPECT_EQ(std::tuple(Width(picture), Height(picture), FreeImage_GetBPP(picture.get())),
              std::tuple(c.width, c.height, 24u));
    if (c.width != 110) continue;
    int32_t depth = 0;
    const BitmapHandle bitmap = LoadPlatformPicture(DataFile(c.name), test::ExtensionOfName(c.name), &depth);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(std::tuple(bitmap->Width(), bitmap->Height(), depth), std::tuple(110, 110, 24));
  }
  EXPECT_FALSE(LoadPlatformPicture(DataFile("wmf-placeable-tiny-drawing.wmf"), "emf"));
}

// The references were drawn by another program at another scale (72 dpi for
// the wmf, the device's 1200 dpi for the emf): each pixel is compared with the
// reference pixel under its centre. Edges and outlines differ a little; the
// bulk must agree.
TEST(MetafileRender, PixelsAgreeWithReferenceRenders) {
  for (const char* name : {"wmf-placeable-tiny-drawing.wmf", "emf-simple-drawing.emf"}) {
    SCOPED_TRACE(name);
    const Picture picture = Render(DataFile(name));
    ASSERT_TRUE(picture);
    const test::ReferencePicture ref = test::DecodeReferencePng(DataFile(std::string("ref/") + name + ".png"));
    ASSERT_GT(ref.width, 0);
    const int width = Width(picture), height = Height(picture);
    int close = 0, red_both = 0, red_ref = 0;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const uint8_t* ours = PixelAt(picture, x, y);
        const uint8_t* theirs = ref.At(static_cast<int>((x + 0.5) * ref.width / width),
                                       static_cast<int>((y + 0.5) * ref.height / height));
        bool near = true;
        for (int c = 0; c < 3; ++c) near = near && std::abs(ours[c] - theirs[c]) <= 48;
        close += near;
        red_ref += IsRed(theirs);
        red_both += IsRed(theirs) && IsRed(ours);
      }
    const int total = width * height;
    EXPECT_GE(close, total * 92 / 100) << close << " of " << total;
    // The red disc covers most of both pictures and lies in the same place;
    // outside it the page stays white; its centre is pure red.
    EXPECT_GE(red_ref, total / 2);
    EXPECT_GE(red_both, red_ref * 95 / 100);
    EXPECT_TRUE(IsWhite(PixelAt(picture, 0, 0)));
    EXPECT_TRUE(IsWhite(PixelAt(picture, width - 1, 0)));
    EXPECT_TRUE(IsWhite(PixelAt(picture, 0, height - 1)));
    const uint8_t* centre = PixelAt(picture, width / 2, height / 2);
    EXPECT_EQ(std::tuple(centre[2], centre[1], centre[0]), std::tuple(255, 0, 0));
  }
}

// Samples without a reference: what their records say must show.
TEST(MetafileRender, SamplesWithoutReferenceShowTheirDrawing) {
  // A page brushed in COLORREF 0x00ADFFFF (red 255, green 255, blue 173) over the whole frame.
  const Picture page = Render(DataFile("emf-text-dib-mm-text.emf"));
  ASSERT_TRUE(page);
  const uint8_t* p = PixelAt(page, 300, 600);
  EXPECT_EQ(std::tuple(p[2], p[1], p[0]), std::tuple(255, 255, 173));
  // Two lines of black text on a white page.
  const Picture text = Render(DataFile("emf-plus-dual.emf"));
  ASSERT_TRUE(text);
  EXPECT_GE(CountPixels(text, IsWhite), Width(text) * Height(text) * 95 / 100);
  EXPECT_GE(CountPixels(text, [](const uint8_t* q) { return q[0] < 80 && q[1] < 80 && q[2] < 80; }), 200);
  // Clip art: coloured polygons over most of the picture.
  const Picture clipart = Render(DataFile("wmf-placeable-clipart-beef.wmf"));
  ASSERT_TRUE(clipart);
  EXPECT_GE(CountPixels(clipart, [](const uint8_t* q) { return !IsWhite(q); }), Width(clipart) * Height(clipart) / 2);
}

TEST(MetafileRender, DamagedOrForeignFilesGiveNothing) {
  test::TempDir dir;
  const ByteVector wmf = test::FileBytes(DataFile("wmf-placeable-tiny-drawing.wmf"));
  const ByteVector emf = test::FileBytes(DataFile("emf-simple-drawing.emf"));
  ASSERT_GT(wmf.size(), 100u);
  ASSERT_GT(emf.size(), 200u);
  ByteVector garbage(4096);
  uint32_t state = 12345;
  for (uint8_t& b : garbage) b = static_cast<uint8_t>((state = state * 1103515245u + 12345u) >> 16);
  std::vector<std::pair<std::string, ByteVector>> cases = {
      {"empty.wmf", {}}, {"empty.emf", {}}, {"garbage.wmf", garbage}, {"garbage.emf", garbage},
      {"standard.wmf", ByteVector(wmf.begin() + 22, wmf.end())},  // no placeable header: no size
      {"swapped1.emf", wmf}, {"swapped2.wmf", emf},  // each type read as the other
      {"png.wmf", test::FileBytes(DataFile("png-rgba-8bit-32x32.png"))}};
  for (size_t keep : {size_t{10}, size_t{40}, wmf.size() / 2})
    cases.push_back({"cut" + std::to_string(keep) + ".wmf", ByteVector(wmf.begin(), wmf.begin() + keep)});
  for (size_t keep : {size_t{10}, size_t{88}, size_t{108}, emf.size() / 2, emf.size() - 1})
    cases.push_back({"cut" + std::to_string(keep) + ".emf", ByteVector(emf.begin(), emf.begin() + keep)});
  ByteVector wmf_head(wmf.begin(), wmf.begin() + 40);  // a sound header, then garbage records
  wmf_head.insert(wmf_head.end(), garbage.begin(), garbage.end());
  cases.push_back({"head-garbage.wmf", wmf_head});
  cases.push_back({"no-inch.wmf", wmf});  // zero units per inch
  cases.back().second[14] = cases.back().second[15] = 0;
  cases.push_back({"unsigned.emf", emf});  // not the " EMF" signature
  cases.back().second[40] = 'X';
  cases.push_back({"flat.emf", emf});  // right and bottom -1: an empty frame
  std::fill(cases.back().second.begin() + 32, cases.back().second.begin() + 40, 0xFF);
  for (const auto& [name, bytes] : cases) {
    ASSERT_TRUE(WriteFileAtomically(dir / name, bytes)) << name;
    EXPECT_FALSE(Render(dir / name)) << name;
  }
  EXPECT_FALSE(Render(dir / "missing.wmf"));
  EXPECT_FALSE(Render(dir / "missing.emf"));
}

}  // namespace
}  // namespace kelvane
