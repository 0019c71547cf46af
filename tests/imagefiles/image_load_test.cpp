#include "imagefiles/image_load.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <set>
#include <sstream>

#include "image_load_test_support.h"
#include "imagefiles/format_bridge.h"
#include "imagefiles/load_bitmap.h"
#include "imagefiles/picture_io.h"

namespace kelvane {
namespace {

using test::DataFile;

std::pair<int, int> LoadedSize() { return {LoadedWidth, LoadedHeight}; }

// The decoder table in its order; the first hit decides, on the lower-cased
// extension, so the "sgi" of the PNG row is never reached.
TEST(ImageLoadTable, RowsInOrderFirstHitDecides) {
  using D = ImageDecoder;
  const std::pair<const char*, D> rows[] = {
      {"psp pic pix pxr xpm raw dcx dds lif wal mdl oil lmp sgi bw rgb rgba act pal", D::DevIL},
      {"bmp", D::LoadBMP}, {"cut", D::LoadCUT}, {"iff", D::LoadIFF}, {"jpg jpeg", D::LoadJPEG},
      {"koa", D::LoadKOALA}, {"lbm", D::LoadLBM}, {"mng", D::LoadMNG}, {"pcd", D::LoadPCD}, {"pcx", D::LoadPCX},
      {"png sgi", D::LoadPNG}, {"psd pdd", D::LoadPSD}, {"ras", D::LoadRAS},
      {"tga vda icb vst targa", D::LoadTARGA}, {"tif tiff", D::LoadTIFF}, {"wbmp", D::LoadWBMP},
      {"pbm pgm ppm", D::LoadPNM}, {"jng", D::LoadDetectedType}};
  const auto& table = ImageExtensionTable();
  ASSERT_EQ(table.size(), std::size(rows));
  for (size_t i = 0; i < table.size(); ++i) {
    EXPECT_EQ(table[i].order, static_cast<int>(i) + 1);
    EXPECT_EQ(table[i].decoder, rows[i].second);
    std::string joined;
    for (std::string_view e : table[i].extensions) joined += (joined.empty() ? "" : " ") + std::string(e);
    EXPECT_EQ(joined, rows[i].first);
    std::istringstream words(rows[i].first);
    for (std::string ext; words >> ext;) {
      const D expected = ext == "sgi" ? D::DevIL : rows[i].second;
      EXPECT_EQ(DecoderForExtension(ext), expected) << ext;
      for (char& ch : ext) ch = static_cast<char>(std::toupper(ch));
      EXPECT_EQ(DecoderForExtension(ext), expected) << ext;
    }
  }
  // Offered by the dialog or read only by loadBitmap's platform road: no row.
  for (const char* ext : {"jpe", "rle", "sun", "ico", "gif", "wmf", "emf", "dib", "klf", ""})
    EXPECT_EQ(DecoderForExtension(ext), D::None) << ext;
  for (const char* ext : {"gif", "wmf", "emf", "dib", "bmp", "GIF"}) EXPECT_TRUE(IsPlatformPictureExtension(ext));
  for (const char* ext : {"png", "jpg", "ico", ""}) EXPECT_FALSE(IsPlatformPictureExtension(ext));
}

// What each sample does: whether it opens on the table road (1 yes, 0 no,
// -1 either: DevIL's readers corrupt their own heap on some files, and
// whether that ends in a crash, absorbed by the decoder process, or in a
// picture depends on the memory layout of the moment), and the bits per
// pixel that the roads which open it report (its own depth; 0 where that is
// the decoder's choice, as for the BMP that DevIL writes to the bridge).
const std::tuple<int, int, const char*> kSamples[] = {
    {1, 1, "bmp-1bit-palette-127x64.bmp pcx-1bit-447x144.pcx png-gray-1bit-32x32.png psd-bitmap-1bit-300x300.psd "
           "ras-1bit-70x46.ras tif-ccitt-g4-128x128.tif tiff-1bit-miniswhite-157x151.tiff wbmp-70x46.wbmp "
           "pbm-ascii-p1-70x46.pbm pbm-binary-p4-14x16.pbm"},
    {1, 4, "bmp-4bit-rle4-127x64.bmp png-palette-4bit-32x32.png"},
    {1, 8, "bmp-8bit-topdown.bmp lbm-ilbm-8plane-320x200-dpaint.lbm jpg-grayscale-128x128.jpg "
           "pcx-8bit-palette256-32x32.pcx png-interlaced-palette-8bit-32x32.png tga-8bit-cmap-topleft-48x48.tga "
           "tga-gray8-rle-200x32.tga pgm-binary-p5-comment-128x128.pgm"},
    {1, 16, "bmp-16bit-565-bitfields.bmp png-gray-16bit-32x32.png tga-16bpp-bottomleft-48x48.tga "
            "tif-gray16-bigendian-64x64.tif pgm-16bit-binary-20x100.pgm"},
    {1, 24, "bmp-24bit-oddwidth-119x96.bmp lbm-ilbm-24bit-deep-masked-32x32.lbm jpg-baseline-420-227x149.jpg "
            "jpeg-progressive-444-240x192.jpeg pcd-photocd-base-768x512.pcd pcx-24bit-oddsize-23x42.pcx "
            "psd-rgb-raw-nolayers-70x46.psd ras-24bit-standard-32x32.ras tga-24bpp-rle-oddsize-23x42.tga "
            "vda-24bpp-bottomright-48x48.vda tif-rgb-lzw-128x128.tif ppm-ascii-p3-70x46.ppm ppm-binary-p6-157x151.ppm"},
    {1, 32, "bmp-32bit-bitfields.bmp jng-color-alpha-idat-70x46.jng png-rgba-8bit-32x32.png "
            "psd-rgb-alpha-100x100.psd pdd-photodeluxe-rgba-300x300.pdd tga-32bpp-rle-topleft-48x48.tga "
            "icb-32bpp-bottomright-48x48.icb tif-rgba-deflate-200x200.tif"},
    {1, 64, "psd-rgba-16bit-raw-32x32.psd"},
    // The first page of the TIFF (640 x 480), the first frame of each MNG.
    {1, 0, "iff-ilbm-4plane-32x31.iff jpg-cmyk-adobe-100x100.jpg mng-gray-alpha-14frames-100x100.mng "
           "mng-palette-alpha-20frames-101x127.mng jng-gray-alpha-jdaa-70x46.jng png-rgb-8bit-trns.png "
           "tiff-multipage-3pages-gray-alpha.tiff"},
    // The DevIL row.
    {1, 0, "bw-sgi-gray8-raw-128x128.bw rgb-sgi-rgb8-raw-128x128.rgb rgb-sgi-rgb16-raw-128x128.rgb "
           "rgba-sgi-rgba8-rle-64x64.rgba sgi-rgb8-rle-70x46.sgi dds-a8r8g8b8-64x64.dds dds-dxt1-256x256.dds "
           "dds-dxt1-oddsize-50x50.dds dds-dxt5-64x64.dds pic-softimage-rgba-rle-4x4.pic pxr-pixar-rgb-128x128.pxr "
           "wal-quake2-128x128.wal psp-v6-rle-3layers-962x599.psp"},
    // FreeImage's TARGA reader has no grey with alpha; beyond the DevIL in
    // use: a Quake 1 model (its reader is for Half-Life), Paint Shop Pro 7,
    // this DCX, and files on which its readers crash.
    {0, 0, "vst-gray-alpha-16bpp-topright-48x48.vst mdl-quake1-skin216x164-7frames.mdl "
           "psp-v7-lz77-5layers-240x52.psp dcx-1page-24bit-70x46.dcx xpm-3cpp-256colors-transparent-64x71.xpm"},
    {-1, 0, "pic-softimage-rgb-longruns-200x4.pic xpm-1cpp-44colors-128x128.xpm xpm-2cpp-501colors-23x42.xpm"},
    // In no row, on purpose; the raster types of the platform road open there.
    {0, 0, "jpe-baseline-420-480x360.jpe ico-1bit-16x16.ico ico-4bit-32x32.ico ico-8bit-48x48.ico "
           "ico-24bit-oddsize-23x42.ico ico-png-compressed-256-multi.ico rle-bmp-rle8-128x128.rle "
           "rle-utah-raster-toolkit-70x46.rle sun-32bit-16x16.sun wmf-placeable-tiny-drawing.wmf "
           "wmf-placeable-clipart-beef.wmf wmf-placeable-many-records-text.wmf emf-simple-drawing.emf "
           "emf-plus-dual.emf emf-text-dib-mm-text.emf"},
    {0, 8, "gif87a-320x200.gif gif-animated-33frames-30x60.gif gif-transparent-200x150.gif"},
    {0, 4, "gif-interlaced-40x40.gif"},
    {0, 24, "dib-24bit-headerless-70x46.dib"},
};

TEST(ImageLoadFile, EverySampleOpensAsTheTableSays) {
  std::set<std::string> cased;
  for (const auto& [opens, expected_depth, files] : kSamples) {
    std::istringstream words(files);
    for (std::string file; words >> file;) {
      SCOPED_TRACE(file);
      cased.insert(file);
      const std::string ext = test::ExtensionOfName(file);
      const auto size = test::ManifestSize(file);
      LoadedWidth = -7, LoadedHeight = -8, LoadedDepth = -9;  // what a failed decode must leave alone
      const BitmapHandle bitmap = LoadImageFile(DataFile(file), ext);
      if (!opens || (opens < 0 && !bitmap)) {
        EXPECT_FALSE(bitmap);
        EXPECT_EQ(std::tuple(LoadedWidth, LoadedHeight, LoadedDepth), std::tuple(-7, -8, -9));
      } else {
        ASSERT_TRUE(bitmap && size);
        EXPECT_EQ(bitmap->BitCount(), 32);
        EXPECT_EQ(LoadedSize(), *size);
        EXPECT_EQ(std::pair(bitmap->Width(), bitmap->Height()), *size);
        EXPECT_TRUE(!expected_depth || LoadedDepth == expected_depth) << LoadedDepth;
      }
      // The platform's loader of loadBitmap reads the raster types of its five.
      if (ext == "bmp" || ext == "gif" || ext == "dib") {
        int32_t depth = 0;
        const BitmapHandle own = LoadPlatformPicture(DataFile(file), ext, &depth);
        ASSERT_TRUE(own && size);
        EXPECT_EQ(std::pair(own->Width(), own->Height()), *size);
        EXPECT_EQ(depth, expected_depth);
      }
    }
  }
  for (const std::string& name : test::SampleFiles()) EXPECT_TRUE(cased.count(name)) << name << " has no case";
}

// Decodes against the upstream suites' expected renderings. Only opaque
// reference pixels count: the document drops alpha without compositing. The
// tolerance covers the widening of 5-bit TARGA samples (by shift here, by
// rounding upstream) and the rounding of DXT1's interpolated colours.
TEST(ImageLoadFile, OpaquePixelsMatchUpstreamReferences) {
  const std::pair<const char*, int> cases[] = {
      {"pcx-8bit-palette256-32x32.pcx", 0},   {"ras-24bit-standard-32x32.ras", 0},
      {"tga-16bpp-bottomleft-48x48.tga", 1},  {"tga-8bit-cmap-topleft-48x48.tga", 0},
      {"tga-32bpp-rle-topleft-48x48.tga", 0}, {"vda-24bpp-bottomright-48x48.vda", 0},
      {"icb-32bpp-bottomright-48x48.icb", 0}, {"pdd-photodeluxe-rgba-300x300.pdd", 0},
      {"dds-dxt1-256x256.dds", 8},            {"pic-softimage-rgba-rle-4x4.pic", 0}};
  for (const auto& [name, tolerance] : cases) {
    SCOPED_TRACE(name);
    Bits picture;
    std::string error;
    ASSERT_TRUE(LoadPictureFile(DataFile(name), picture, error)) << error;
    const test::ReferencePicture ref = test::DecodeReferencePng(DataFile(std::string("ref/") + name + ".png"));
    ASSERT_EQ(std::pair(ref.width, ref.height), std::pair(picture.Width(), picture.Height()));
    int compared = 0, mismatches = 0;
    for (int y = 0; y < ref.height; ++y)
      for (int x = 0; x < ref.width; ++x) {
        const uint8_t* r = ref.At(x, y);
        if (r[3] != 255) continue;
        ++compared;
        for (int c = 0; c < 3; ++c) mismatches += std::abs(picture.At(c, x, y) - r[c]) > tolerance;
        mismatches += picture.At(3, x, y) != 0;
      }
    EXPECT_GT(compared, 0);
    EXPECT_EQ(mismatches, 0);
  }
}

// Differences from a reference over its three colours, plus, with `spare`,
// every fourth byte that is not 0 (every document is flattened to 24 bits).
int Differences(const test::HandDecoded& ref, auto&& at, bool spare = false) {
  int differences = 0;
  for (int y = 0; y < ref.height; ++y)
    for (int x = 0; x < ref.width; ++x) {
      for (int c = 0; c < 3; ++c) differences += at(x, y, c) != ref.At(x, y)[c];
      if (spare) differences += at(x, y, 3) != 0;
    }
  return differences;
}

// Simple files read straight from their bytes (16-bit grey: the stored
// samples' high bytes, so a dark picture is not stretched to full contrast),
// compared pixel for pixel with the decoded picture of the table road and
// the document of whichever road the extension takes.
TEST(ImageLoadFile, PixelsMatchSimpleReadersOnBothRoads) {
  test::PrivateTempFolder temp;
  for (const char* name : {"pbm-ascii-p1-70x46.pbm", "pbm-binary-p4-14x16.pbm", "pgm-binary-p5-comment-128x128.pgm",
                           "pgm-16bit-binary-20x100.pgm", "ppm-ascii-p3-70x46.ppm", "ppm-binary-p6-157x151.ppm",
                           "bmp-24bit-oddwidth-119x96.bmp", "bmp-8bit-topdown.bmp", "dib-24bit-headerless-70x46.dib",
                           "tif-gray16-bigendian-64x64.tif", "png-gray-16bit-32x32.png"}) {
    SCOPED_TRACE(name);
    const std::string ext = test::ExtensionOfName(name);
    const ByteVector bytes = test::FileBytes(DataFile(name));
    const test::HandDecoded hand = ext == "bmp" || ext == "dib" ? test::DecodeBmpByHand(bytes)
                                   : ext == "tif"               ? test::DecodeGrey16HighBytes(DataFile(name), FIF_TIFF)
                                   : ext == "png"               ? test::DecodeGrey16HighBytes(DataFile(name), FIF_PNG)
                                                                : test::DecodeNetpbmByHand(bytes);
    const auto size = test::ManifestSize(name);
    ASSERT_TRUE(size);
    ASSERT_EQ(std::pair(hand.width, hand.height), *size);
    if (ext != "dib") {
      hLoadedBitmap = LoadImageFile(DataFile(name), ext);
      ASSERT_TRUE(hLoadedBitmap);
      EXPECT_EQ(Differences(hand, [&](int x, int y, int c) { return hLoadedBitmap->RowFromTop(y)[4 * x + c]; }), 0);
    }
    if (IsPlatformPictureExtension(ext)) hLoadedBitmap = nullptr;  // that road reads the file again
    Bits picture;
    ASSERT_TRUE(BuildDocumentPicture(DataFile(name).string(), ext, picture));
    ASSERT_EQ(std::pair(picture.Width(), picture.Height()), *size);
    EXPECT_EQ(Differences(hand, [&](int x, int y, int c) { return picture.At(c, x, y); }, true), 0);
  }
  // A "dib" may also be an ordinary BMP, file header and all.
  const ByteVector dib = test::FileBytes(DataFile("dib-24bit-headerless-70x46.dib"));
  ByteVector framed = {'B', 'M'};
  PutI32(framed, static_cast<int32_t>(dib.size() + 14));
  PutI32(framed, 0);
  PutI32(framed, 54);
  framed.insert(framed.end(), dib.begin(), dib.end());
  ASSERT_TRUE(WriteFileAtomically(temp.path() / "framed.dib", framed));
  Bits bare, whole;
  ASSERT_TRUE(BuildDocumentPicture(DataFile("dib-24bit-headerless-70x46.dib").string(), "dib", bare));
  ASSERT_TRUE(BuildDocumentPicture((temp.path() / "framed.dib").string(), "dib", whole));
  EXPECT_TRUE(bare == whole);
}

// The table goes by the extension alone; the platform's loader knows the
// raster types it reads (BMP, GIF, JPEG) by their bytes under any of its
// five names, but no PNG, and takes none of the table's extensions. Foreign,
// empty, missing or locked files and folders open nothing.
TEST(ImageLoadFile, WhatEachRoadTakesAndRefuses) {
  test::TempDir dir;
  const ByteVector text = {'n', 'o', 't', ' ', 'a', 'n', ' ', 'i', 'm', 'a', 'g', 'e', '\n'};
  for (const char* name : {"fake.png", "fake.pic", "fake.gif", "fake.dib"})
    ASSERT_TRUE(WriteFileAtomically(dir / name, text));
  for (const char* name : {"empty.jpg", "empty.sgi"}) ASSERT_TRUE(WriteFileAtomically(dir / name, {}));
  std::filesystem::create_directory(dir / "folder.png");
  for (const auto& [name, source] : {std::pair{"png-named.jpg", "png-rgba-8bit-32x32.png"},
                                     {"locked.png", "png-rgba-8bit-32x32.png"}, {"image.gif", "png-rgba-8bit-32x32.png"},
                                     {"photo.bmp", "jpg-grayscale-128x128.jpg"}, {"anim.dib", "gif-interlaced-40x40.gif"},
                                     {"plain.gif", "bmp-8bit-topdown.bmp"}})
    std::filesystem::copy_file(DataFile(source), dir / name);
  std::filesystem::permissions(dir / "locked.png", std::filesystem::perms::none);
  for (const std::string name : {"fake.png", "fake.pic", "empty.jpg", "empty.sgi", "folder.png", "absent.tga",
                                 "png-named.jpg", "photo.bmp", "locked.png"})
    EXPECT_TRUE(!LoadImageFile(dir / name, test::ExtensionOfName(name)) ||  // the superuser reads files whatever
                (name == "locked.png" && ::geteuid() == 0))                  // their mode
        << name;
  EXPECT_TRUE(LoadImageFile(dir / "png-named.jpg", "png"));
  for (const std::string name : {"fake.gif", "fake.dib", "folder.png", "absent.bmp", "image.gif"})
    EXPECT_FALSE(LoadPlatformPicture(dir / name, test::ExtensionOfName(name))) << name;
  EXPECT_FALSE(LoadPlatformPicture(DataFile("png-rgba-8bit-32x32.png"), "png"));
  EXPECT_FALSE(LoadPlatformPicture(DataFile("jpg-baseline-420-227x149.jpg"), "jpg"));
  for (const auto& [name, w, h, bpp] : {std::tuple{"photo.bmp", 128, 128, 8}, {"anim.dib", 40, 40, 4},
                                        {"plain.gif", 127, 64, 8}}) {
    int32_t depth = 0;
    const BitmapHandle bitmap = LoadPlatformPicture(dir / name, test::ExtensionOfName(name), &depth);
    ASSERT_TRUE(bitmap) << name;
    EXPECT_EQ(std::tuple(bitmap->Width(), bitmap->Height(), depth), std::tuple(w, h, bpp)) << name;
  }
}

TEST(ImageLoadDevIL, TheBridgeIsAFileLeftInTheTempFolder) {
  test::PrivateTempFolder temp;
  const std::filesystem::path bridge = temp.path() / "4546643";
  EXPECT_EQ(DevILBridgeFile(), bridge);
  // A BMP of the decoded picture: "BM", then width and height at 18 and 22.
  auto expect_bmp_of = [&](uint32_t w, int h) {
    const ByteVector bytes = test::FileBytes(bridge);
    EXPECT_TRUE(bytes.size() >= 54 && bytes[0] == 'B' && bytes[1] == 'M');
    EXPECT_EQ(test::Le32At(bytes, 18), w);
    EXPECT_EQ(std::abs(static_cast<int32_t>(test::Le32At(bytes, 22))), h);
    return bytes;
  };
  ASSERT_TRUE(LoadImageFile(DataFile("wal-quake2-128x128.wal"), "wal"));
  const ByteVector first = expect_bmp_of(128, 128);
  // A file DevIL cannot read leaves the bridge as it was and must not bring
  // the stale picture back.
  LoadedWidth = -5;
  EXPECT_FALSE(LoadImageFile(DataFile("mdl-quake1-skin216x164-7frames.mdl"), "mdl"));
  EXPECT_EQ(LoadedWidth, -5);
  EXPECT_EQ(test::FileBytes(bridge), first);
  // The next decode overwrites it; size and depth are those of the BMP that
  // FreeImage reads back.
  ASSERT_TRUE(LoadImageFile(DataFile("sgi-rgb8-rle-70x46.sgi"), "SGI"));
  const ByteVector second = expect_bmp_of(70, 46);
  EXPECT_EQ(std::tuple(LoadedWidth, LoadedHeight), std::tuple(70, 46));
  EXPECT_EQ(LoadedDepth, test::Le16At(second, 28));
}

// A decode that fails inside its decoder process still passes the library's
// own complaint on to the error sink, where it stays the first message.
TEST(ImageLoadFile, LibraryMessagesOfAFailedDecodeReachTheSink) {
  test::PrivateTempFolder temp;
  const ByteVector png = test::FileBytes(DataFile("png-rgb-8bit-trns.png"));
  ASSERT_TRUE(WriteFileAtomically(temp.path() / "cut.png", ByteVector(png.begin(), png.begin() + 800)));
  ClearLastFormatError();
  EXPECT_FALSE(LoadImageFile(temp.path() / "cut.png", "png"));
  const std::string first = LastFormatError();
  EXPECT_FALSE(first.empty());
  EXPECT_EQ(first.find("[FreeImage_"), std::string::npos) << first;  // the library's text, not ours
  // The later failure of the document's decoder copy does not replace it.
  StartRecord settings = DefaultStartRecord("/opt/kelvane");
  hLoadedBitmap = nullptr;
  EXPECT_EQ(loadBitmap((temp.path() / "cut.png").string(), "png", {}, settings).outcome,
            LoadBitmapResult::Outcome::Failed);
  EXPECT_EQ(LastFormatError(), first);
  // A sound decode, or an extension in no row, says nothing at all.
  ClearLastFormatError();
  EXPECT_TRUE(LoadImageFile(DataFile("png-rgba-8bit-32x32.png"), "png"));
  EXPECT_FALSE(LoadImageFile(DataFile("jpe-baseline-420-480x360.jpe"), "jpe"));
  EXPECT_EQ(LastFormatError(), "");
}

// Every sample, cut short at several lengths, on every road that takes its
// extension: each load either fails or gives a whole picture; none crashes
// or hangs. Run under the sanitizer build too.
TEST(ImageLoadFile, TruncatedCopiesOfEverySampleFailCleanly) {
  test::PrivateTempFolder temp;
  int attempts = 0;
  for (const std::string& name : test::SampleFiles()) {
    const ByteVector bytes = test::FileBytes(DataFile(name));
    const size_t n = bytes.size();
    const std::string ext = test::ExtensionOfName(name);
    for (size_t keep : {size_t{0}, size_t{1}, size_t{16}, size_t{64}, size_t{200}, n / 4, n / 2, 3 * n / 4, n - 1}) {
      if (keep >= n) continue;
      const auto path = temp.path() / ("cut-" + std::to_string(keep) + "." + ext);
      ASSERT_TRUE(WriteFileAtomically(path, ByteVector(bytes.begin(), bytes.begin() + static_cast<long>(keep))));
      SCOPED_TRACE(name + " cut to " + std::to_string(keep));
      ++attempts;
      hLoadedBitmap = DecoderForExtension(ext) == ImageDecoder::None ? nullptr : LoadImageFile(path, ext);
      if (hLoadedBitmap) {
        EXPECT_EQ(LoadedSize(), std::pair(hLoadedBitmap->Width(), hLoadedBitmap->Height()));
      }
      Bits picture;
      if (BuildDocumentPicture(path.string(), ext, picture)) {
        EXPECT_GT(picture.Width(), 0);
        EXPECT_GT(picture.Height(), 0);
        EXPECT_EQ(LoadedSize(), std::pair(picture.Width(), picture.Height()));
      } else {
        EXPECT_TRUE(picture.IsNull());
      }
    }
  }
  EXPECT_GT(attempts, 500);
}

}  // namespace
}  // namespace kelvane
