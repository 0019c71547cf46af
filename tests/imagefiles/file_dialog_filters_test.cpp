#include "imagefiles/file_dialog_filters.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

// The dialog texts word for word, every blank, comma and stray ";" included.
TEST(FileDialogFilters, TextsWordForWord) {
  const std::string open =
      "All Supported Picture Formats|"
      "*.klf;*.psp;*.pic;*.pix;*.pxr;*.xpm;*.raw;*.dcx;*.dds;*.lif;*.wal;*.mdl;*.lmp;*.sgi;*.bw;*.rgb,*.rgba;*.bmp;"
      "*.pdd;*.vda;*.icb;*.vst;*.rle;*.jpe;*.wbmp;*.dib;*.wmf;*.emf;*.gif;*.jpg;*.jpeg;*.png;*.pcx;*.pbm;*.pgm;"
      "*.ppm;*.ico;*.psd;*.jng;*.mng;*.tif;*.koa;*.pcd;*.ras;*.sun;*.tga;*.cut;*.iff;*.lbm|"
      "Kelvane Layers Format (*.KLF)|*.klf|Bitmap Files (*.BMP;*.DIB;*.RLE)|*.bmp;*.dib;*.rle|"
      "Meta Files (*.WMF;*.EMF)|*.wmf;*.emf|Graphical Interface Format(*.GIF)|*.gif|"
      "JPEG Group (*.JPG;*.JPE;*.JPEG)|*.jpg;*.jpe;*.jpeg|Portable Network Graphics (*.PNG)|*.png|"
      "Zsoft Paintbrush Files (*.PCX, *.DCX)|*.pcx;*.dcx|Wireless Bitmap (*.WBMP)|*.wbmp|Portable Bitmap (*.PBM)|"
      "*.pbm|Portable Graymap (*.PGM)|*.pgm|Portable Pixelmap (*.PPM)|*.ppm|Photoshop (*.PSD;*.PDD)|*.psd;*.pdd|"
      "JPEG Network Graphics (*.JNG)|*.jng|Multiple Network Graphics (*.MNG)|*.mng|"
      "Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff|Commodore 64 Koala format (*.KOA)| *.koa|"
      "Kodak PhotoCD (*.PCD)|*.pcd|Sun Rasterfile (*.RAS;*.SUN)|*.ras;*.sun|Targa files (*.TGA;*.VDA;*.ICB;*.VST)|"
      "*.tga;*.vda;*.icb;*.vst|Dr.Halo bitmap (*.CUT)|*.cut|Interchanged File Format (*.IFF)|*.iff|"
      "Deluxe Paint package (*.LBM)|*.lbm|DirectDraw Surface (*.DDS)|*.dds|Homeworld File (*.LIF)|*.lif|"
      "Doom Walls / Flats (*.LMP)|*.lmp|Half-Life Model (*.MDL)|*.mdl|PIC (*.PIC)|*.pic|Alias  PIX (*.PIX)|*.pix|"
      "Pixar (*.PXR)|*.pxr|Silicon Graphics (*.SGI, *.BW, *.RGB, *.RGBA)|*.sgi;*.bw;*.rgb;*.rgba|"
      "Quake2 Texture (*.WAL)|*.wal|X Pixel Map (XPM)|*.xpm|Paint Shop Pro (*.PSP)|*.psp|Raw Data (*.RAW)|*.raw";
  EXPECT_EQ(std::string(kOpenFilter), open);
  // The layer dialog's list: the same without "*.klf", "*.ico" and the layers
  // row, and with the XPM caption mended.
  std::string openImage = ReplaceOnce(open, "|*.klf;*.psp;", "|*.psp;");
  openImage = ReplaceOnce(openImage, ";*.ico;", ";");
  openImage = ReplaceOnce(openImage, "|Kelvane Layers Format (*.KLF)|*.klf", "");
  EXPECT_EQ(std::string(kOpenImageFilter), ReplaceOnce(openImage, "X Pixel Map (XPM)", "X Pixel Map (*.XPM)"));
  const std::string saveAs =
      "All Supported graphic formats |"
      "*.bmp;*.dib;*.rle;*.gif;*.jpg;*.jpeg;*.jpe;*.jif;*.png;*.tga;*.vst;*.vda;*.icb;*.pcx;*.tif;*.pbm;*.pgm;"
      "*.ppm;*.psd;*.raw;*.sgi;*.bw;*.rgb;*.rgba|Windows Bitmap Files (*.bmp)|*.bmp|"
      "Graphical Interface Format (*.GIF)|*.gif|Independent JPEG Group (*.JPG;*.JPEG)|*.jpg;*.jpeg;|"
      "Portable Network Graphics (*.PNG)|*.png|Targa files (*.TGA;*.VDA;*.VST;*.ICB)|*.tga;*.vda;*.vst;*.icb|"
      "Zsoft Paintbrush (*.PCX)|*.pcx|Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff|Portable Bitmap(*.PBM)|"
      "*.pbm|Portable Graymap(*.PGM)|*.pgm|Portable Pixelmap(*.PPM)|*.ppm|PhotoShop (PSD)|*.psd|"
      "Silicon Graphics (SGI,BW,RGB,RGBA)|*.sgi;*.bw;*.rgb;*.rgba|Raw Data (RAW)|*.raw";
  EXPECT_EQ(std::string(kSaveAsFilter), saveAs);
  const std::string saveLayered =
      "All Supported graphic formats |"
      "*.klf;*.bmp;*.gif;*.jpg;*.jpeg;*.jpe;*.png;*.tga;*.vst;*.vda;*.icb;*.pcx;*.tif;*.tiff;*.pbm;*.pgm;*.ppm;"
      "*.psd;*.sgi;*.bw;*.rgb;*.rgba|Kelvane Layers Format (*.KLF)|*.klf|Windows Bitmap Files (*.BMP)|*.bmp|"
      "Graphical Interface Format (*.GIF)|*.gif|Independent JPEG Group (*.JPG;*.JPEG)|*.jpg;*.jpeg;|"
      "Portable Network Graphics (*.PNG)|*.png|Targa files (*.TGA;*.VDA;*.VST;*.ICB)|*.tga;*.vda;*.vst;*.icb|"
      "Zsoft Paintbrush (*.PCX)|*.pcx|Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff|Portable Bitmap(*.PBM)|"
      "*.pbm|Portable Graymap(*.PGM)|*.pgm|Portable Pixelmap(*.PPM)|*.ppm|PhotoShop (PSD)|*.psd|"
      "Silicon Graphics (SGI,BW,RGB,RGBA)|*.sgi;*.bw;*.rgb;*.rgba";
  EXPECT_EQ(std::string(kSaveLayeredFilter), saveLayered);
  EXPECT_EQ(SaveOptimizedFilter("jpg"), "*.jpg|*.jpg");

  EXPECT_EQ(kOpenTitle, "Kelvane");
  EXPECT_EQ(kOpenImageTitle, "Open Image as Layer");
  EXPECT_EQ(kSaveAsTitle, "Save as");
  EXPECT_EQ(kSaveOptimizedAsTitle, "Save Optimized as");
  EXPECT_EQ(kSaveLayeredTitle, "Save Layered Image as");
  EXPECT_EQ(kOpenDefaultExtension, "*.bmp");
  EXPECT_EQ(kOpenImageDefaultExtension, "*.jpg");
  EXPECT_EQ(kSaveLayeredDefaultExtension, "*.klf");
  EXPECT_EQ(kOpenDialogFlags, 0x80800u);
  EXPECT_EQ(kDialogCancelled, 32755);
}

TEST(FileDialogFilters, SplitFilterKeepsEveryCharacter) {
  const auto entries = SplitFilter("A |*.a;| B|*.b");
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].description, "A ");
  EXPECT_EQ(entries[0].patterns, "*.a;");
  EXPECT_EQ(entries[1].description, " B");
  EXPECT_EQ(entries[1].patterns, "*.b");
  EXPECT_TRUE(SplitFilter("lonely").empty());
  EXPECT_EQ(SplitFilter(kOpenFilter).size(), 35u);
  EXPECT_EQ(SplitFilter(kOpenImageFilter).size(), 34u);
  EXPECT_EQ(SplitFilter(kSaveLayeredFilter).size(), 14u);
  std::string joined;
  for (const auto& e : SplitFilter(kSaveAsFilter)) joined += (joined.empty() ? "" : "|") + e.description + "|" + e.patterns;
  EXPECT_EQ(joined, kSaveAsFilter);
}

}  // namespace
}  // namespace kelvane
