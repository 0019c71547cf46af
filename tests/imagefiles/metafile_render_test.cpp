#include "imagefiles/metafile_render.h"

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
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

Picture Render(const std::filesystem::path& path, bool enhanced) { return Picture(RenderMetafile(path, enhanced)); }

bool IsEnhanced(const std::string& name) { return test::ExtensionOfName(name) == "emf"; }

// Blue, green, red of a pixel, rows counted from the top.
const uint8_t* PixelAt(FIBITMAP* dib, int x, int y) {
  const int height = static_cast<int>(FreeImage_GetHeight(dib));
  return FreeImage_GetScanLine(dib, height - 1 - y) + 3 * x;
}

bool IsWhite(const uint8_t* bgr) { return bgr[0] == 255 && bgr[1] == 255 && bgr[2] == 255; }

void WriteBytes(const std::filesystem::path& path, const ByteVector& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Sizes by hand, rounding ties to even:
//  placeable wmf: |right - left| / units per inch * 96, likewise for the height;
//  emf: (frame right - frame left + 1) hundredths of a millimetre * 96 / 2540.
TEST(MetafileRender, SamplesOpenAt96DpiAs24Bits) {
  struct Case {
    const char* name;
    int width, height;
  };
  const Case cases[] = {
      {"wmf-placeable-tiny-drawing.wmf", 110, 110},   // 1369 / 1200 * 96 = 109.52
      {"wmf-placeable-clipart-beef.wmf", 268, 209},   // 2792 and 2172 at 1000: 268.03, 208.51
      {"emf-simple-drawing.emf", 110, 110},           // frame 0..2899: 2900 * 96 / 2540 = 109.61
      {"emf-plus-dual.emf", 961, 720},                // 0..25413, 0..19049: 960.53, 720.00
      {"emf-text-dib-mm-text.emf", 1123, 794},        // 0..29699, 0..20999: 1122.52, 793.70
  };
  ASSERT_TRUE(MetafileRenderingAvailable());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Picture picture = Render(DataFile(c.name), IsEnhanced(c.name));
    ASSERT_TRUE(picture);
    EXPECT_EQ(FreeImage_GetBPP(picture.get()), 24u);
    EXPECT_EQ(static_cast<int>(FreeImage_GetWidth(picture.get())), c.width);
    EXPECT_EQ(static_cast<int>(FreeImage_GetHeight(picture.get())), c.height);
  }
}

// The references were drawn by another program at another scale (72 dpi for
// the wmf, the device's 1200 dpi for the emf): each pixel is compared with the
// reference pixel under its centre. Edges and outlines differ a little; the
// bulk must agree.
TEST(MetafileRender, PixelsAgreeWithReferenceRenders) {
  for (const char* name : {"wmf-placeable-tiny-drawing.wmf", "emf-simple-drawing.emf"}) {
    SCOPED_TRACE(name);
    const Picture picture = Render(DataFile(name), IsEnhanced(name));
    ASSERT_TRUE(picture);
    const test::ReferencePicture ref = test::DecodeReferencePng(DataFile(std::string("ref/") + name + ".png"));
    ASSERT_GT(ref.width, 0);
    const int width = static_cast<int>(FreeImage_GetWidth(picture.get()));
    const int height = static_cast<int>(FreeImage_GetHeight(picture.get()));
    int close = 0, red_both = 0, red_ref = 0;
    for (int y = 0; y < height; ++y) {
      const int ry = static_cast<int>((y + 0.5) * ref.height / height);
      for (int x = 0; x < width; ++x) {
        const int rx = static_cast<int>((x + 0.5) * ref.width / width);
        const uint8_t* ours = PixelAt(picture.get(), x, y);
        const uint8_t* theirs = ref.At(rx, ry);
        bool near = true;
        for (int c = 0; c < 3; ++c) near = near && std::abs(ours[c] - theirs[c]) <= 48;
        close += near;
        const bool theirs_red = theirs[2] > 200 && theirs[1] < 60 && theirs[0] < 60;
        const bool ours_red = ours[2] > 200 && ours[1] < 60 && ours[0] < 60;
        red_ref += theirs_red;
        red_both += theirs_red && ours_red;
      }
    }
    const int total = width * height;
    EXPECT_GE(close, total * 92 / 100) << close << " of " << total;
    // The red disc covers most of both pictures and lies in the same place.
    EXPECT_GE(red_ref, total / 2);
    EXPECT_GE(red_both, red_ref * 95 / 100);
    // Outside the disc the page stays white.
    EXPECT_TRUE(IsWhite(PixelAt(picture.get(), 0, 0)));
    EXPECT_TRUE(IsWhite(PixelAt(picture.get(), width - 1, 0)));
    EXPECT_TRUE(IsWhite(PixelAt(picture.get(), 0, height - 1)));
    // Centre: pure red fill.
    const uint8_t* centre = PixelAt(picture.get(), width / 2, height / 2);
    EXPECT_EQ(centre[2], 255);
    EXPECT_EQ(centre[1], 0);
    EXPECT_EQ(centre[0], 0);
  }
}

// Samples without a reference: what their records say must show.
TEST(MetafileRender, SamplesWithoutReferenceShowTheirDrawing) {
  {
    // The page of this one is a rectangle brushed in COLORREF 0x00ADFFFF
    // (red 255, green 255, blue 173) that covers the whole frame.
    const Picture picture = Render(DataFile("emf-text-dib-mm-text.emf"), true);
    ASSERT_TRUE(picture);
    const uint8_t* page = PixelAt(picture.get(), 300, 600);
    EXPECT_EQ(page[2], 255);
    EXPECT_EQ(page[1], 255);
    EXPECT_EQ(page[0], 173);
  }
  {
    // Two lines of black text on a white page.
    const Picture picture = Render(DataFile("emf-plus-dual.emf"), true);
    ASSERT_TRUE(picture);
    const int width = static_cast<int>(FreeImage_GetWidth(picture.get()));
    const int height = static_cast<int>(FreeImage_GetHeight(picture.get()));
    int white = 0, dark = 0;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const uint8_t* p = PixelAt(picture.get(), x, y);
        white += IsWhite(p);
        dark += p[0] < 80 && p[1] < 80 && p[2] < 80;
      }
    EXPECT_GE(white, width * height * 95 / 100);
    EXPECT_GE(dark, 200);
  }
  {
    // Clip art: coloured polygons over most of the picture.
    const Picture picture = Render(DataFile("wmf-placeable-clipart-beef.wmf"), false);
    ASSERT_TRUE(picture);
    const int width = static_cast<int>(FreeImage_GetWidth(picture.get()));
    const int height = static_cast<int>(FreeImage_GetHeight(picture.get()));
    int painted = 0;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) painted += !IsWhite(PixelAt(picture.get(), x, y));
    EXPECT_GE(painted, width * height / 2);
  }
}

// libwmf refuses some records of this exhaustive sample; whatever it does, it
// must not crash, and a picture, if any, has the header's size.
TEST(MetafileRender, RecordsTheLibraryRefusesDoNotCrash) {
  const Picture picture = Render(DataFile("wmf-placeable-many-records-text.wmf"), false);
  if (picture) {
    EXPECT_EQ(FreeImage_GetWidth(picture.get()), 1122u);  // 14031 / 1200 * 96 = 1122.48
    EXPECT_EQ(FreeImage_GetHeight(picture.get()), 794u);  // 9921 / 1200 * 96 = 793.68
  }
}

TEST(MetafileRender, DamagedOrForeignFilesGiveNothing) {
  test::TempDir dir;
  const ByteVector wmf = test::FileBytes(DataFile("wmf-placeable-tiny-drawing.wmf"));
  const ByteVector emf = test::FileBytes(DataFile("emf-simple-drawing.emf"));
  ASSERT_GT(wmf.size(), 100u);
  ASSERT_GT(emf.size(), 200u);

  struct Case {
    std::string name;
    ByteVector bytes;
    bool enhanced;
  };
  std::vector<Case> cases;
  cases.push_back({"empty.wmf", {}, false});
  cases.push_back({"empty.emf", {}, true});
  for (size_t keep : {size_t{10}, size_t{40}, wmf.size() / 2}) {
    cases.push_back({"cut" + std::to_string(keep) + ".wmf", ByteVector(wmf.begin(), wmf.begin() + keep), false});
  }
  for (size_t keep : {size_t{10}, size_t{88}, size_t{108}, emf.size() / 2, emf.size() - 1}) {
    cases.push_back({"cut" + std::to_string(keep) + ".emf", ByteVector(emf.begin(), emf.begin() + keep), true});
  }
  ByteVector garbage(4096);
  uint32_t state = 12345;
  for (uint8_t& b : garbage) {
    state = state * 1103515245u + 12345u;
    b = static_cast<uint8_t>(state >> 16);
  }
  cases.push_back({"garbage.wmf", garbage, false});
  cases.push_back({"garbage.emf", garbage, true});
  // A sound header followed by garbage records.
  ByteVector wmf_head(wmf.begin(), wmf.begin() + 40);
  wmf_head.insert(wmf_head.end(), garbage.begin(), garbage.end());
  cases.push_back({"head-garbage.wmf", wmf_head, false});
  // Without the placeable header a wmf has no size.
  cases.push_back({"standard.wmf", ByteVector(wmf.begin() + 22, wmf.end()), false});
  // Zero units per inch.
  ByteVector no_inch = wmf;
  no_inch[14] = no_inch[15] = 0;
  cases.push_back({"no-inch.wmf", no_inch, false});
  // Not the " EMF" signature.
  ByteVector unsigned_emf = emf;
  unsigned_emf[40] = 'X';
  cases.push_back({"unsigned.emf", unsigned_emf, true});
  // An empty frame.
  ByteVector flat_emf = emf;
  for (size_t i = 32; i < 40; ++i) flat_emf[i] = 0xFF;  // right and bottom -1: nothing inside
  cases.push_back({"flat.emf", flat_emf, true});
  // Each type read as the other.
  cases.push_back({"swapped1.emf", wmf, true});
  cases.push_back({"swapped2.wmf", emf, false});
  cases.push_back({"png.wmf", test::FileBytes(DataFile("png-rgba-8bit-32x32.png")), false});

  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto path = dir / c.name;
    WriteBytes(path, c.bytes);
    EXPECT_FALSE(Render(path, c.enhanced));
  }
  EXPECT_FALSE(Render(dir / "missing.wmf", false));
  EXPECT_FALSE(Render(dir / "missing.emf", true));
}

// Through the decoder process, as a document opens them.
TEST(MetafileRender, PlatformPictureRoadGivesTheSameSize) {
  for (const char* name : {"wmf-placeable-tiny-drawing.wmf", "emf-simple-drawing.emf"}) {
    SCOPED_TRACE(name);
    int32_t depth = 0;
    const BitmapHandle bitmap = LoadPlatformPicture(DataFile(name), test::ExtensionOfName(name), &depth);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->Width(), 110);
    EXPECT_EQ(bitmap->Height(), 110);
    EXPECT_EQ(depth, 24);
  }
  EXPECT_FALSE(LoadPlatformPicture(DataFile("wmf-placeable-tiny-drawing.wmf"), "emf"));
}

}  // namespace
}  // namespace kelvane
