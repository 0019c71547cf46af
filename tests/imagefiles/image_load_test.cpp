#include "imagefiles/image_load.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "image_load_test_support.h"
#include "imagefiles/format_bridge.h"
#include "imagefiles/load_bitmap.h"
#include "imagefiles/metafile_render.h"
#include "imagefiles/picture_io.h"

namespace kelvane {
namespace {

using test::DataFile;

TEST(ImageLoadTable, RowsInOrderWithTheirDecoders) {
  const auto& table = ImageExtensionTable();
  ASSERT_EQ(table.size(), 18u);
  for (size_t i = 0; i < table.size(); ++i) EXPECT_EQ(table[i].order, static_cast<int>(i) + 1);
  EXPECT_EQ(table[0].extensions.size(), 19u);
  EXPECT_EQ(table[0].decoder, ImageDecoder::DevIL);
  EXPECT_EQ(table[17].decoder, ImageDecoder::LoadDetectedType);

  const std::map<std::string, ImageDecoder> expected = {
      {"psp", ImageDecoder::DevIL},      {"pal", ImageDecoder::DevIL},     {"raw", ImageDecoder::DevIL},
      {"bmp", ImageDecoder::LoadBMP},    {"cut", ImageDecoder::LoadCUT},   {"iff", ImageDecoder::LoadIFF},
      {"jpg", ImageDecoder::LoadJPEG},   {"jpeg", ImageDecoder::LoadJPEG}, {"koa", ImageDecoder::LoadKOALA},
      {"lbm", ImageDecoder::LoadLBM},    {"mng", ImageDecoder::LoadMNG},   {"pcd", ImageDecoder::LoadPCD},
      {"pcx", ImageDecoder::LoadPCX},    {"png", ImageDecoder::LoadPNG},   {"psd", ImageDecoder::LoadPSD},
      {"pdd", ImageDecoder::LoadPSD},    {"ras", ImageDecoder::LoadRAS},   {"tga", ImageDecoder::LoadTARGA},
      {"targa", ImageDecoder::LoadTARGA}, {"vst", ImageDecoder::LoadTARGA}, {"tif", ImageDecoder::LoadTIFF},
      {"tiff", ImageDecoder::LoadTIFF},  {"wbmp", ImageDecoder::LoadWBMP}, {"pbm", ImageDecoder::LoadPNM},
      {"ppm", ImageDecoder::LoadPNM},    {"jng", ImageDecoder::LoadDetectedType},
      // The first hit decides: row 1 takes "sgi" before the PNG row sees it.
      {"sgi", ImageDecoder::DevIL},
      // Offered by the open dialog, taken by no row.
      {"jpe", ImageDecoder::None},       {"rle", ImageDecoder::None},      {"sun", ImageDecoder::None},
      {"ico", ImageDecoder::None},
      // Read only by the platform road of loadBitmap.
      {"gif", ImageDecoder::None},       {"wmf", ImageDecoder::None},      {"emf", ImageDecoder::None},
      {"dib", ImageDecoder::None},       {"", ImageDecoder::None},         {"klf", ImageDecoder::None},
  };
  for (const auto& [ext, decoder] : expected) EXPECT_EQ(DecoderForExtension(ext), decoder) << ext;
  // The comparison is on the lower-cased extension.
  EXPECT_EQ(DecoderForExtension("JPG"), ImageDecoder::LoadJPEG);
  EXPECT_EQ(DecoderForExtension("Sgi"), ImageDecoder::DevIL);

  for (const char* ext : {"gif", "wmf", "emf", "dib", "bmp", "GIF"}) EXPECT_TRUE(IsPlatformPictureExtension(ext));
  for (const char* ext : {"png", "jpg", "ico", ""}) EXPECT_FALSE(IsPlatformPictureExtension(ext));
}

// What each sample does on its road. depth: the file's own bits per pixel
// from its header (samples x bits per sample, or the palette index size);
// 0 where the number is the decoder's choice rather than the file's fact.
// opens: 1 yes, 0 no, -1 either: DevIL's readers corrupt their own heap on
// some files, and whether that ends in a crash (absorbed by the decoder
// process) or in a picture depends on the memory layout of the moment.
struct SampleCase {
  const char* file;
  int opens;
  int depth;
};

const SampleCase kTableSamples[] = {
    // FreeImage rows.
    {"bmp-1bit-palette-127x64.bmp", true, 1},
    {"bmp-4bit-rle4-127x64.bmp", true, 4},
    {"bmp-8bit-topdown.bmp", true, 8},
    {"bmp-16bit-565-bitfields.bmp", true, 16},
    {"bmp-24bit-oddwidth-119x96.bmp", true, 24},
    {"bmp-32bit-bitfields.bmp", true, 32},
    {"iff-ilbm-4plane-32x31.iff", true, 0},
    {"lbm-ilbm-8plane-320x200-dpaint.lbm", true, 8},
    {"lbm-ilbm-24bit-deep-masked-32x32.lbm", true, 24},
    {"jpg-baseline-420-227x149.jpg", true, 24},
    {"jpg-grayscale-128x128.jpg", true, 8},
    {"jpg-cmyk-adobe-100x100.jpg", true, 0},
    {"jpeg-progressive-444-240x192.jpeg", true, 24},
    {"pcd-photocd-base-768x512.pcd", true, 24},
    {"mng-gray-alpha-14frames-100x100.mng", true, 0},
    {"mng-palette-alpha-20frames-101x127.mng", true, 0},
    {"jng-color-alpha-idat-70x46.jng", true, 32},
    {"jng-gray-alpha-jdaa-70x46.jng", true, 0},
    {"pcx-1bit-447x144.pcx", true, 1},
    {"pcx-8bit-palette256-32x32.pcx", true, 8},
    {"pcx-24bit-oddsize-23x42.pcx", true, 24},
    {"png-gray-1bit-32x32.png", true, 1},
    {"png-gray-16bit-32x32.png", true, 16},
    {"png-palette-4bit-32x32.png", true, 4},
    {"png-interlaced-palette-8bit-32x32.png", true, 8},
    {"png-rgba-8bit-32x32.png", true, 32},
    {"png-rgb-8bit-trns.png", true, 0},
    {"psd-rgb-raw-nolayers-70x46.psd", true, 24},
    {"psd-rgb-alpha-100x100.psd", true, 32},
    {"psd-bitmap-1bit-300x300.psd", true, 1},
    {"psd-rgba-16bit-raw-32x32.psd", true, 64},
    {"pdd-photodeluxe-rgba-300x300.pdd", true, 32},
    {"ras-1bit-70x46.ras", true, 1},
    {"ras-24bit-standard-32x32.ras", true, 24},
    {"tga-16bpp-bottomleft-48x48.tga", true, 16},
    {"tga-8bit-cmap-topleft-48x48.tga", true, 8},
    {"tga-32bpp-rle-topleft-48x48.tga", true, 32},
    {"tga-24bpp-rle-oddsize-23x42.tga", true, 24},
    {"tga-gray8-rle-200x32.tga", true, 8},
    {"vda-24bpp-bottomright-48x48.vda", true, 24},
    {"icb-32bpp-bottomright-48x48.icb", true, 32},
    // FreeImage's TARGA reader has no grey-with-alpha.
    {"vst-gray-alpha-16bpp-topright-48x48.vst", false, 0},
    {"tif-ccitt-g4-128x128.tif", true, 1},
    {"tif-gray16-bigendian-64x64.tif", true, 16},
    {"tif-rgb-lzw-128x128.tif", true, 24},
    {"tif-rgba-deflate-200x200.tif", true, 32},
    {"tiff-1bit-miniswhite-157x151.tiff", true, 1},
    {"tiff-multipage-3pages-gray-alpha.tiff", true, 0},
    {"wbmp-70x46.wbmp", true, 1},
    {"pbm-ascii-p1-70x46.pbm", true, 1},
    {"pbm-binary-p4-14x16.pbm", true, 1},
    {"pgm-binary-p5-comment-128x128.pgm", true, 8},
    {"pgm-16bit-binary-20x100.pgm", true, 16},
    {"ppm-ascii-p3-70x46.ppm", true, 24},
    {"ppm-binary-p6-157x151.ppm", true, 24},
    // DevIL row: the depth is that of the bridge BMP DevIL chose to write.
    {"bw-sgi-gray8-raw-128x128.bw", true, 0},
    {"rgb-sgi-rgb8-raw-128x128.rgb", true, 0},
    {"rgb-sgi-rgb16-raw-128x128.rgb", true, 0},
    {"rgba-sgi-rgba8-rle-64x64.rgba", true, 0},
    {"sgi-rgb8-rle-70x46.sgi", true, 0},
    {"dds-a8r8g8b8-64x64.dds", true, 0},
    {"dds-dxt1-256x256.dds", true, 0},
    {"dds-dxt1-oddsize-50x50.dds", true, 0},
    {"dds-dxt5-64x64.dds", true, 0},
    {"pic-softimage-rgba-rle-4x4.pic", true, 0},
    {"pxr-pixar-rgb-128x128.pxr", true, 0},
    {"wal-quake2-128x128.wal", true, 0},
    {"psp-v6-rle-3layers-962x599.psp", true, 0},
    // Files the DevIL in use cannot read: a Quake 1 model (its MDL reader is
    // for Half-Life models), a Paint Shop Pro 7 file, this DCX, and files on
    // which its readers crash or give up (the decoder process absorbs that).
    {"mdl-quake1-skin216x164-7frames.mdl", false, 0},
    {"psp-v7-lz77-5layers-240x52.psp", false, 0},
    {"dcx-1page-24bit-70x46.dcx", false, 0},
    {"pic-softimage-rgb-longruns-200x4.pic", -1, 0},
    {"xpm-1cpp-44colors-128x128.xpm", -1, 0},
    {"xpm-2cpp-501colors-23x42.xpm", -1, 0},
    {"xpm-3cpp-256colors-transparent-64x71.xpm", false, 0},
    // No row: decoded by nothing, on purpose.
    {"jpe-baseline-420-480x360.jpe", false, 0},
    {"ico-1bit-16x16.ico", false, 0},
    {"ico-4bit-32x32.ico", false, 0},
    {"ico-8bit-48x48.ico", false, 0},
    {"ico-24bit-oddsize-23x42.ico", false, 0},
    {"ico-png-compressed-256-multi.ico", false, 0},
    {"rle-bmp-rle8-128x128.rle", false, 0},
    {"rle-utah-raster-toolkit-70x46.rle", false, 0},
    {"sun-32bit-16x16.sun", false, 0},
    {"gif87a-320x200.gif", false, 0},
    {"gif-interlaced-40x40.gif", false, 0},
    {"gif-animated-33frames-30x60.gif", false, 0},
    {"gif-transparent-200x150.gif", false, 0},
    {"dib-24bit-headerless-70x46.dib", false, 0},
    {"wmf-placeable-tiny-drawing.wmf", false, 0},
    {"wmf-placeable-clipart-beef.wmf", false, 0},
    {"wmf-placeable-many-records-text.wmf", false, 0},
    {"emf-simple-drawing.emf", false, 0},
    {"emf-plus-dual.emf", false, 0},
    {"emf-text-dib-mm-text.emf", false, 0},
};

TEST(ImageLoadFile, EverySampleOpensAsTheTableSays) {
  for (const SampleCase& s : kTableSamples) {
    SCOPED_TRACE(s.file);
    // Values that a failed decode must leave alone.
    LoadedWidth = -7;
    LoadedHeight = -8;
    LoadedDepth = -9;
    const BitmapHandle bitmap = LoadImageFile(DataFile(s.file), test::ExtensionOfName(s.file));
    if (!s.opens || (s.opens < 0 && !bitmap)) {
      EXPECT_FALSE(bitmap);
      EXPECT_EQ(LoadedWidth, -7);
      EXPECT_EQ(LoadedHeight, -8);
      EXPECT_EQ(LoadedDepth, -9);
      continue;
    }
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->BitCount(), 32);
    const auto size = test::ManifestSize(s.file);
    ASSERT_TRUE(size);
    EXPECT_EQ(LoadedWidth, size->first);
    EXPECT_EQ(LoadedHeight, size->second);
    EXPECT_EQ(bitmap->Width(), size->first);
    EXPECT_EQ(bitmap->Height(), size->second);
    if (s.depth) {
      EXPECT_EQ(LoadedDepth, s.depth);
    }
  }
}

TEST(ImageLoadFile, EverySampleHasACase) {
  std::map<std::string, bool> cased;
  for (const SampleCase& s : kTableSamples) cased[s.file] = true;
  for (const std::string& name : test::SampleFiles()) EXPECT_TRUE(cased.count(name)) << name << " has no case";
}

TEST(ImageLoadFile, MultiImageFilesGiveTheirFirstImage) {
  // The first of the three TIFF pages is the 640 x 480 one; each MNG frame
  // has the stream's size.
  ASSERT_TRUE(LoadImageFile(DataFile("tiff-multipage-3pages-gray-alpha.tiff"), "tiff"));
  EXPECT_EQ(LoadedWidth, 640);
  EXPECT_EQ(LoadedHeight, 480);
  ASSERT_TRUE(LoadImageFile(DataFile("mng-palette-alpha-20frames-101x127.mng"), "mng"));
  EXPECT_EQ(LoadedWidth, 101);
  EXPECT_EQ(LoadedHeight, 127);
}

// Decodes against the upstream suites' expected renderings. Pixels whose
// reference alpha is below 255 are left out: the document drops alpha
// without compositing, so only opaque pixels have a defined colour. The
// tolerance covers what each format leaves to its decoder: the widening of
// 5-bit TARGA samples to 8 bits (by shift here, by rounding upstream) and the
// rounding of DXT1's interpolated colours.
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
    ASSERT_EQ(ref.width, picture.Width());
    ASSERT_EQ(ref.height, picture.Height());
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

// Counts the pixels of a document picture that differ from a hand decode, and
// of its spare channel that are not 0 (every document is flattened to 24 bits).
int DifferencesFromHandDecode(const Bits& picture, const test::HandDecoded& hand) {
  int differences = 0;
  for (int y = 0; y < hand.height; ++y)
    for (int x = 0; x < hand.width; ++x) {
      for (int c = 0; c < 3; ++c) differences += picture.At(c, x, y) != hand.At(x, y)[c];
      differences += picture.At(3, x, y) != 0;
    }
  return differences;
}

// Simple formats read straight from their bytes by the test, compared pixel
// for pixel with the documents both roads build from them.
TEST(ImageLoadFile, HandDecodedSamplesMatchPixelForPixel) {
  test::PrivateTempFolder temp;
  for (const char* name : {"pbm-ascii-p1-70x46.pbm", "pbm-binary-p4-14x16.pbm", "pgm-binary-p5-comment-128x128.pgm",
                           "pgm-16bit-binary-20x100.pgm", "ppm-ascii-p3-70x46.ppm", "ppm-binary-p6-157x151.ppm",
                           "bmp-24bit-oddwidth-119x96.bmp", "bmp-8bit-topdown.bmp"}) {
    SCOPED_TRACE(name);
    const ByteVector bytes = test::FileBytes(DataFile(name));
    const std::string ext = test::ExtensionOfName(name);
    const test::HandDecoded hand = ext == "bmp" ? test::DecodeBmpByHand(bytes) : test::DecodeNetpbmByHand(bytes);
    ASSERT_GT(hand.width, 0);
    const auto size = test::ManifestSize(name);
    ASSERT_TRUE(size);
    ASSERT_EQ(hand.width, size->first);
    ASSERT_EQ(hand.height, size->second);

    // The table road: the decoded picture, then the document built from it.
    hLoadedBitmap = LoadImageFile(DataFile(name), ext);
    ASSERT_TRUE(hLoadedBitmap);
    int differences = 0;
    for (int y = 0; y < hand.height; ++y)
      for (int x = 0; x < hand.width; ++x)
        for (int c = 0; c < 3; ++c) differences += hLoadedBitmap->RowFromTop(y)[4 * x + c] != hand.At(x, y)[c];
    EXPECT_EQ(differences, 0);
    if (ext != "bmp") {
      Bits picture;
      ASSERT_TRUE(BuildDocumentPicture(DataFile(name).string(), ext, picture));
      ASSERT_EQ(picture.Width(), hand.width);
      ASSERT_EQ(picture.Height(), hand.height);
      EXPECT_EQ(DifferencesFromHandDecode(picture, hand), 0);
    }
  }
  // A "bmp" document comes from the platform road, which reads the file again.
  for (const char* name : {"bmp-24bit-oddwidth-119x96.bmp", "bmp-8bit-topdown.bmp"}) {
    SCOPED_TRACE(name);
    const test::HandDecoded hand = test::DecodeBmpByHand(test::FileBytes(DataFile(name)));
    hLoadedBitmap = nullptr;
    Bits picture;
    ASSERT_TRUE(BuildDocumentPicture(DataFile(name).string(), "bmp", picture));
    ASSERT_EQ(picture.Width(), hand.width);
    ASSERT_EQ(picture.Height(), hand.height);
    EXPECT_EQ(DifferencesFromHandDecode(picture, hand), 0);
  }
}

// 16-bit grey keeps the high byte of each sample, whatever range the picture
// uses: the dark TIFF (samples near 480 of 65535) stays dark instead of
// being stretched to full contrast.
TEST(ImageLoadFile, SixteenBitGreyKeepsItsHighByte) {
  for (const auto& [name, fif] : {std::pair{"tif-gray16-bigendian-64x64.tif", FIF_TIFF},
                                  std::pair{"png-gray-16bit-32x32.png", FIF_PNG}}) {
    SCOPED_TRACE(name);
    // The raw samples as the library stores them, narrowed here.
    FIBITMAP* raw = FreeImage_Load(fif, DataFile(name).string().c_str(), 0);
    ASSERT_NE(raw, nullptr);
    ASSERT_EQ(FreeImage_GetImageType(raw), FIT_UINT16);
    const int w = static_cast<int>(FreeImage_GetWidth(raw));
    const int h = static_cast<int>(FreeImage_GetHeight(raw));
    std::vector<uint8_t> expected(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; ++y) {
      const auto* line = reinterpret_cast<const uint16_t*>(FreeImage_GetScanLine(raw, h - 1 - y));
      for (int x = 0; x < w; ++x) expected[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(line[x] >> 8);
    }
    FreeImage_Unload(raw);

    hLoadedBitmap = LoadImageFile(DataFile(name), test::ExtensionOfName(name));
    ASSERT_TRUE(hLoadedBitmap);
    EXPECT_EQ(LoadedDepth, 16);
    Bits picture;
    ASSERT_TRUE(BuildDocumentPicture(DataFile(name).string(), test::ExtensionOfName(name), picture));
    ASSERT_EQ(picture.Width(), w);
    ASSERT_EQ(picture.Height(), h);
    int differences = 0;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        for (int c = 0; c < 3; ++c) differences += picture.At(c, x, y) != expected[static_cast<size_t>(y) * w + x];
    EXPECT_EQ(differences, 0);
  }
}

// A Quake 2 texture holds palette indices only. The DevIL in use colours them
// with a palette of its own, not the game's, so the colours differ from the
// reference; the indices are right when every reference colour comes out as
// one and the same colour wherever it stands.
TEST(ImageLoadFile, QuakeTextureKeepsItsIndexStructure) {
  Bits picture;
  std::string error;
  ASSERT_TRUE(LoadPictureFile(DataFile("wal-quake2-128x128.wal"), picture, error)) << error;
  const test::ReferencePicture ref = test::DecodeReferencePng(DataFile("ref/wal-quake2-128x128.wal.png"));
  ASSERT_EQ(ref.width, picture.Width());
  ASSERT_EQ(ref.height, picture.Height());
  std::map<uint32_t, uint32_t> forward;
  int inconsistent = 0;
  for (int y = 0; y < ref.height; ++y)
    for (int x = 0; x < ref.width; ++x) {
      const uint8_t* r = ref.At(x, y);
      const uint32_t from = r[0] | r[1] << 8 | r[2] << 16;
      const uint32_t to = picture.At(0, x, y) | picture.At(1, x, y) << 8 | picture.At(2, x, y) << 16;
      auto [it, fresh] = forward.emplace(from, to);
      inconsistent += !fresh && it->second != to;
    }
  EXPECT_EQ(inconsistent, 0);
  EXPECT_GT(forward.size(), 16u);
}

TEST(ImageLoadFile, NothingOpensFromFoldersMissingEmptyOrForeignFiles) {
  test::TempDir dir;
  const ByteVector text = {'n', 'o', 't', ' ', 'a', 'n', ' ', 'i', 'm', 'a', 'g', 'e', '\n'};
  ASSERT_TRUE(WriteFileAtomically(dir / "fake.png", text));
  ASSERT_TRUE(WriteFileAtomically(dir / "fake.pic", text));
  ASSERT_TRUE(WriteFileAtomically(dir / "fake.gif", text));
  ASSERT_TRUE(WriteFileAtomically(dir / "fake.dib", text));
  ASSERT_TRUE(WriteFileAtomically(dir / "empty.jpg", {}));
  ASSERT_TRUE(WriteFileAtomically(dir / "empty.sgi", {}));
  std::filesystem::create_directory(dir / "folder.png");
  for (const char* name : {"fake.png", "fake.pic", "empty.jpg", "empty.sgi", "folder.png", "absent.tga"}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(LoadImageFile(dir / name, test::ExtensionOfName(name)));
  }
  for (const char* name : {"fake.gif", "fake.dib", "folder.png", "absent.bmp"})
    EXPECT_FALSE(LoadPlatformPicture(dir / name, test::ExtensionOfName(name))) << name;
  // A real picture under another format's name fails in that format's
  // reader: the extension alone picks the decoder.
  std::filesystem::copy_file(DataFile("png-rgba-8bit-32x32.png"), dir / "png-named.jpg");
  EXPECT_FALSE(LoadImageFile(dir / "png-named.jpg", "jpg"));
  EXPECT_TRUE(LoadImageFile(dir / "png-named.jpg", "png"));
}

TEST(ImageLoadFile, UnreadableFileOpensNothing) {
  if (::geteuid() == 0) GTEST_SKIP() << "the superuser reads files whatever their mode";
  test::TempDir dir;
  std::filesystem::copy_file(DataFile("png-rgba-8bit-32x32.png"), dir / "locked.png");
  std::filesystem::permissions(dir / "locked.png", std::filesystem::perms::none);
  EXPECT_FALSE(LoadImageFile(dir / "locked.png", "png"));
}

TEST(ImageLoadDevIL, TheBridgeIsAFileLeftInTheTempFolder) {
  test::PrivateTempFolder temp;
  const std::filesystem::path bridge = temp.path() / "4546643";
  EXPECT_EQ(DevILBridgeFile(), bridge);
  ASSERT_TRUE(LoadImageFile(DataFile("wal-quake2-128x128.wal"), "wal"));
  // A BMP of the decoded picture: "BM", then width and height at 18 and 22.
  ByteVector bytes = test::FileBytes(bridge);
  ASSERT_GE(bytes.size(), 54u);
  EXPECT_EQ(bytes[0], 'B');
  EXPECT_EQ(bytes[1], 'M');
  EXPECT_EQ(test::Le32At(bytes, 18), 128u);
  EXPECT_EQ(std::abs(static_cast<int32_t>(test::Le32At(bytes, 22))), 128);

  // A file DevIL cannot read leaves the bridge as it was and must not bring
  // the stale picture back.
  LoadedWidth = -5;
  EXPECT_FALSE(LoadImageFile(DataFile("mdl-quake1-skin216x164-7frames.mdl"), "mdl"));
  EXPECT_EQ(LoadedWidth, -5);
  EXPECT_EQ(test::FileBytes(bridge), bytes);

  // The next DevIL decode overwrites it; the size and depth reported are
  // those of the BMP that FreeImage reads back.
  ASSERT_TRUE(LoadImageFile(DataFile("sgi-rgb8-rle-70x46.sgi"), "SGI"));
  bytes = test::FileBytes(bridge);
  ASSERT_GE(bytes.size(), 54u);
  EXPECT_EQ(test::Le32At(bytes, 18), 70u);
  EXPECT_EQ(std::abs(static_cast<int32_t>(test::Le32At(bytes, 22))), 46);
  EXPECT_EQ(LoadedWidth, 70);
  EXPECT_EQ(LoadedHeight, 46);
  EXPECT_EQ(LoadedDepth, test::Le16At(bytes, 28));
}

// A decode that fails inside its decoder process still passes the library's
// own complaint on to the error sink, where it stays the first message.
TEST(ImageLoadFile, LibraryMessagesOfAFailedDecodeReachTheSink) {
  test::TempDir dir;
  const ByteVector png = test::FileBytes(DataFile("png-rgb-8bit-trns.png"));
  ASSERT_TRUE(WriteFileAtomically(dir / "cut.png", ByteVector(png.begin(), png.begin() + 800)));
  ClearLastFormatError();
  EXPECT_FALSE(LoadImageFile(dir / "cut.png", "png"));
  const std::string first = LastFormatError();
  EXPECT_FALSE(first.empty());
  EXPECT_EQ(first.find("[FreeImage_"), std::string::npos) << first;  // the library's text, not ours
  // The later failure of the document's decoder copy does not replace it.
  test::PrivateTempFolder temp;
  StartRecord settings = DefaultStartRecord("/opt/kelvane");
  hLoadedBitmap = nullptr;
  EXPECT_EQ(loadBitmap((dir / "cut.png").string(), "png", {}, settings).outcome, LoadBitmapResult::Outcome::Failed);
  EXPECT_EQ(LastFormatError(), first);

  // A sound decode leaves an empty sink empty; an extension in no row says
  // nothing at all.
  ClearLastFormatError();
  EXPECT_TRUE(LoadImageFile(DataFile("png-rgba-8bit-32x32.png"), "png"));
  EXPECT_FALSE(LoadImageFile(DataFile("jpe-baseline-420-480x360.jpe"), "jpe"));
  EXPECT_EQ(LastFormatError(), "");
  ClearLastFormatError();
}

TEST(ImagePlatformLoader, TakesTheFiveTypesOnly) {
  const std::pair<const char*, int> opened[] = {
      {"gif87a-320x200.gif", 8},           {"gif-interlaced-40x40.gif", 4},
      {"gif-transparent-200x150.gif", 8},  {"gif-animated-33frames-30x60.gif", 8},
      {"bmp-4bit-rle4-127x64.bmp", 4},     {"dib-24bit-headerless-70x46.dib", 24},
  };
  for (const auto& [name, depth] : opened) {
    SCOPED_TRACE(name);
    int32_t found = 0;
    const BitmapHandle bitmap = LoadPlatformPicture(DataFile(name), test::ExtensionOfName(name), &found);
    ASSERT_TRUE(bitmap);
    const auto size = test::ManifestSize(name);
    ASSERT_TRUE(size);
    EXPECT_EQ(bitmap->Width(), size->first);
    EXPECT_EQ(bitmap->Height(), size->second);
    EXPECT_EQ(found, depth);
  }
  EXPECT_FALSE(LoadPlatformPicture(DataFile("png-rgba-8bit-32x32.png"), "png"));
  EXPECT_FALSE(LoadPlatformPicture(DataFile("jpg-baseline-420-227x149.jpg"), "jpg"));
  for (const char* name : {"wmf-placeable-tiny-drawing.wmf", "emf-simple-drawing.emf"})
    EXPECT_EQ(static_cast<bool>(LoadPlatformPicture(DataFile(name), test::ExtensionOfName(name))),
              MetafileRenderingAvailable())
        << name;
}

// The picture loader goes by the bytes for the raster types it knows, so a
// JPEG or a GIF under another of its five names still opens; a PNG does not.
TEST(ImagePlatformLoader, KnowsItsRasterTypesByTheirBytes) {
  test::TempDir dir;
  std::filesystem::copy_file(DataFile("jpg-grayscale-128x128.jpg"), dir / "photo.bmp");
  std::filesystem::copy_file(DataFile("gif-interlaced-40x40.gif"), dir / "anim.dib");
  std::filesystem::copy_file(DataFile("bmp-8bit-topdown.bmp"), dir / "plain.gif");
  std::filesystem::copy_file(DataFile("png-rgba-8bit-32x32.png"), dir / "image.gif");
  const std::tuple<const char*, int, int, int> cases[] = {
      {"photo.bmp", 128, 128, 8}, {"anim.dib", 40, 40, 4}, {"plain.gif", 127, 64, 8}};
  for (const auto& [name, w, h, bpp] : cases) {
    SCOPED_TRACE(name);
    int32_t depth = 0;
    const BitmapHandle bitmap = LoadPlatformPicture(dir / name, test::ExtensionOfName(name), &depth);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->Width(), w);
    EXPECT_EQ(bitmap->Height(), h);
    EXPECT_EQ(depth, bpp);
  }
  EXPECT_FALSE(LoadPlatformPicture(dir / "image.gif", "gif"));
  // The decoder table still goes by the name alone.
  EXPECT_FALSE(LoadImageFile(dir / "photo.bmp", "bmp"));
}

// The headerless sample: a 40-byte BITMAPINFOHEADER, 24 bits, rows bottom-up
// and padded to 4 bytes, read here straight from the bytes.
TEST(ImagePlatformLoader, HeaderlessDibPixelsMatchItsBytes) {
  const ByteVector file = test::FileBytes(DataFile("dib-24bit-headerless-70x46.dib"));
  ASSERT_EQ(test::Le32At(file, 0), 40u);
  const int w = static_cast<int>(test::Le32At(file, 4));
  const int h = static_cast<int>(test::Le32At(file, 8));
  ASSERT_EQ(test::Le16At(file, 14), 24);
  const int stride = (w * 3 + 3) / 4 * 4;
  Bits picture;
  std::string error;
  ASSERT_TRUE(LoadPictureFile(DataFile("dib-24bit-headerless-70x46.dib"), picture, error)) << error;
  ASSERT_EQ(picture.Width(), w);
  ASSERT_EQ(picture.Height(), h);
  int mismatches = 0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const uint8_t* p = file.data() + 40 + static_cast<size_t>(h - 1 - y) * stride + 3 * x;
      for (int c = 0; c < 3; ++c) mismatches += picture.At(c, x, y) != p[c];
    }
  EXPECT_EQ(mismatches, 0);

  // The same bitmap with a file header in front is an ordinary BMP, which a
  // "dib" may also be.
  test::TempDir dir;
  ByteVector with_header = {'B', 'M'};
  PutI32(with_header, static_cast<int32_t>(file.size() + 14));
  PutI32(with_header, 0);
  PutI32(with_header, 54);
  with_header.insert(with_header.end(), file.begin(), file.end());
  ASSERT_TRUE(WriteFileAtomically(dir / "framed.dib", with_header));
  Bits framed;
  ASSERT_TRUE(LoadPictureFile(dir / "framed.dib", framed, error)) << error;
  EXPECT_TRUE(framed == picture);
}

// Every sample, cut short at several lengths, on every road that takes its
// extension: each load either fails or gives a whole picture; none crashes
// or hangs. Run under the sanitizer build too.
TEST(ImageLoadFile, TruncatedCopiesOfEverySampleFailCleanly) {
  test::TempDir dir;
  test::PrivateTempFolder temp;
  int attempts = 0;
  for (const std::string& name : test::SampleFiles()) {
    const ByteVector bytes = test::FileBytes(DataFile(name));
    const size_t n = bytes.size();
    const std::string ext = test::ExtensionOfName(name);
    for (size_t keep : {size_t{0}, size_t{1}, size_t{16}, size_t{64}, size_t{200}, n / 4, n / 2, 3 * n / 4, n - 1}) {
      if (keep >= n) continue;
      const auto path = dir / ("cut-" + std::to_string(keep) + "." + ext);
      ASSERT_TRUE(WriteFileAtomically(path, ByteVector(bytes.begin(), bytes.begin() + static_cast<long>(keep))));
      SCOPED_TRACE(name + " cut to " + std::to_string(keep));
      ++attempts;
      // The decode of the table road, then the document of whichever road
      // the extension takes.
      hLoadedBitmap = DecoderForExtension(ext) == ImageDecoder::None ? nullptr : LoadImageFile(path, ext);
      if (hLoadedBitmap) {
        EXPECT_EQ(hLoadedBitmap->Width(), LoadedWidth);
        EXPECT_EQ(hLoadedBitmap->Height(), LoadedHeight);
      }
      Bits picture;
      if (BuildDocumentPicture(path.string(), ext, picture)) {
        EXPECT_GT(picture.Width(), 0);
        EXPECT_GT(picture.Height(), 0);
        EXPECT_EQ(picture.Width(), LoadedWidth);
        EXPECT_EQ(picture.Height(), LoadedHeight);
      } else {
        EXPECT_TRUE(picture.IsNull());
      }
    }
  }
  EXPECT_GT(attempts, 500);
}

}  // namespace
}  // namespace kelvane
