#include "imagefiles/file_dialog_filters.h"

namespace kelvane {

const std::string_view kOpenFilter =
    R"(All Supported Picture Formats|*.klf;*.psp;*.pic;*.pix;*.pxr;*.xpm;*.raw;*.dcx;*.dds;*.lif;*.wal;*.mdl;*.lmp;*.sgi;*.bw;*.rgb,*.rgba;*.bmp;*.pdd;*.vda;*.icb;*.vst;*.rle;*.jpe;*.wbmp;*.dib;*.wmf;*.emf;*.gif;*.jpg;*.jpeg;*.png;*.pcx;*.pbm;*.pgm;*.ppm;*.ico;*.psd;*.jng;*.mng;*.tif;*.koa;*.pcd;*.ras;*.sun;*.tga;*.cut;*.iff;*.lbm|Kelvane Layers Format (*.KLF)|*.klf|Bitmap Files (*.BMP;*.DIB;*.RLE)|*.bmp;*.dib;*.rle|Meta Files (*.WMF;*.EMF)|*.wmf;*.emf|Graphical Interface Format(*.GIF)|*.gif|JPEG Group (*.JPG;*.JPE;*.JPEG)|*.jpg;*.jpe;*.jpeg|Portable Network Graphics (*.PNG)|*.png|Zsoft Paintbrush Files (*.PCX, *.DCX)|*.pcx;*.dcx|Wireless Bitmap (*.WBMP)|*.wbmp|Portable Bitmap (*.PBM)|*.pbm|Portable Graymap (*.PGM)|*.pgm|Portable Pixelmap (*.PPM)|*.ppm|Photoshop (*.PSD;*.PDD)|*.psd;*.pdd|JPEG Network Graphics (*.JNG)|*.jng|Multiple Network Graphics (*.MNG)|*.mng|Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff|Commodore 64 Koala format (*.KOA)| *.koa|Kodak PhotoCD (*.PCD)|*.pcd|Sun Rasterfile (*.RAS;*.SUN)|*.ras;*.sun|Targa files (*.TGA;*.VDA;*.ICB;*.VST)|*.tga;*.vda;*.icb;*.vst|Dr.Halo bitmap (*.CUT)|*.cut|Interchanged File Format (*.IFF)|*.iff|Deluxe Paint package (*.LBM)|*.lbm|DirectDraw Surface (*.DDS)|*.dds|Homeworld File (*.LIF)|*.lif|Doom Walls / Flats (*.LMP)|*.lmp|Half-Life Model (*.MDL)|*.mdl|PIC (*.PIC)|*.pic|Alias  PIX (*.PIX)|*.pix|Pixar (*.PXR)|*.pxr|Silicon Graphics (*.SGI, *.BW, *.RGB, *.RGBA)|*.sgi;*.bw;*.rgb;*.rgba|Quake2 Texture (*.WAL)|*.wal|X Pixel Map (XPM)|*.xpm|Paint Shop Pro (*.PSP)|*.psp|Raw Data (*.RAW)|*.raw)";

const std::string_view kOpenImageFilter =
    R"(All Supported Picture Formats|*.psp;*.pic;*.pix;*.pxr;*.xpm;*.raw;*.dcx;*.dds;*.lif;*.wal;*.mdl;*.lmp;*.sgi;*.bw;*.rgb,*.rgba;*.bmp;*.pdd;*.vda;*.icb;*.vst;*.rle;*.jpe;*.wbmp;*.dib;*.wmf;*.emf;*.gif;*.jpg;*.jpeg;*.png;*.pcx;*.pbm;*.pgm;*.ppm;*.psd;*.jng;*.mng;*.tif;*.koa;*.pcd;*.ras;*.sun;*.tga;*.cut;*.iff;*.lbm|Bitmap Files (*.BMP;*.DIB;*.RLE)|*.bmp;*.dib;*.rle|Meta Files (*.WMF;*.EMF)|*.wmf;*.emf|Graphical Interface Format(*.GIF)|*.gif|JPEG Group (*.JPG;*.JPE;*.JPEG)|*.jpg;*.jpe;*.jpeg|Portable Network Graphics (*.PNG)|*.png|Zsoft Paintbrush Files (*.PCX, *.DCX)|*.pcx;*.dcx|Wireless Bitmap (*.WBMP)|*.wbmp|Portable Bitmap (*.PBM)|*.pbm|Portable Graymap (*.PGM)|*.pgm|Portable Pixelmap (*.PPM)|*.ppm|Photoshop (*.PSD;*.PDD)|*.psd;*.pdd|JPEG Network Graphics (*.JNG)|*.jng|Multiple Network Graphics (*.MNG)|*.mng|Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff|Commodore 64 Koala format (*.KOA)| *.koa|Kodak PhotoCD (*.PCD)|*.pcd|Sun Rasterfile (*.RAS;*.SUN)|*.ras;*.sun|Targa files (*.TGA;*.VDA;*.ICB;*.VST)|*.tga;*.vda;*.icb;*.vst|Dr.Halo bitmap (*.CUT)|*.cut|Interchanged File Format (*.IFF)|*.iff|Deluxe Paint package (*.LBM)|*.lbm|DirectDraw Surface (*.DDS)|*.dds|Homeworld File (*.LIF)|*.lif|Doom Walls / Flats (*.LMP)|*.lmp|Half-Life Model (*.MDL)|*.mdl|PIC (*.PIC)|*.pic|Alias  PIX (*.PIX)|*.pix|Pixar (*.PXR)|*.pxr|Silicon Graphics (*.SGI, *.BW, *.RGB, *.RGBA)|*.sgi;*.bw;*.rgb;*.rgba|Quake2 Texture (*.WAL)|*.wal|X Pixel Map (*.XPM)|*.xpm|Paint Shop Pro (*.PSP)|*.psp|Raw Data (*.RAW)|*.raw)";

const std::string_view kSaveAsFilter =
    R"(All Supported graphic formats |*.bmp;*.dib;*.rle;*.gif;*.jpg;*.jpeg;*.jpe;*.jif;*.png;*.tga;*.vst;*.vda;*.icb;*.pcx;*.tif;*.pbm;*.pgm;*.ppm;*.psd;*.raw;*.sgi;*.bw;*.rgb;*.rgba|Windows Bitmap Files (*.bmp)|*.bmp|Graphical Interface Format (*.GIF)|*.gif|Independent JPEG Group (*.JPG;*.JPEG)|*.jpg;*.jpeg;|Portable Network Graphics (*.PNG)|*.png|Targa files (*.TGA;*.VDA;*.VST;*.ICB)|*.tga;*.vda;*.vst;*.icb|Zsoft Paintbrush (*.PCX)|*.pcx|Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff|Portable Bitmap(*.PBM)|*.pbm|Portable Graymap(*.PGM)|*.pgm|Portable Pixelmap(*.PPM)|*.ppm|PhotoShop (PSD)|*.psd|Silicon Graphics (SGI,BW,RGB,RGBA)|*.sgi;*.bw;*.rgb;*.rgba|Raw Data (RAW)|*.raw)";

const std::string_view kSaveLayeredFilter =
    R"(All Supported graphic formats |*.klf;*.bmp;*.gif;*.jpg;*.jpeg;*.jpe;*.png;*.tga;*.vst;*.vda;*.icb;*.pcx;*.tif;*.tiff;*.pbm;*.pgm;*.ppm;*.psd;*.sgi;*.bw;*.rgb;*.rgba|Kelvane Layers Format (*.KLF)|*.klf|Windows Bitmap Files (*.BMP)|*.bmp|Graphical Interface Format (*.GIF)|*.gif|Independent JPEG Group (*.JPG;*.JPEG)|*.jpg;*.jpeg;|Portable Network Graphics (*.PNG)|*.png|Targa files (*.TGA;*.VDA;*.VST;*.ICB)|*.tga;*.vda;*.vst;*.icb|Zsoft Paintbrush (*.PCX)|*.pcx|Tagged Image File Format (*.TIF;*.TIFF)|*.tif;*.tiff|Portable Bitmap(*.PBM)|*.pbm|Portable Graymap(*.PGM)|*.pgm|Portable Pixelmap(*.PPM)|*.ppm|PhotoShop (PSD)|*.psd|Silicon Graphics (SGI,BW,RGB,RGBA)|*.sgi;*.bw;*.rgb;*.rgba)";

std::string SaveOptimizedFilter(std::string_view extension) {
  const std::string ext(extension);
  return "*." + ext + "|*." + ext;
}

std::vector<FilterEntry> SplitFilter(std::string_view filter) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (;;) {
    const size_t bar = filter.find('|', start);
    parts.emplace_back(filter.substr(start, bar == std::string_view::npos ? std::string_view::npos : bar - start));
    if (bar == std::string_view::npos) break;
    start = bar + 1;
  }
  std::vector<FilterEntry> entries;
  for (size_t i = 0; i + 1 < parts.size(); i += 2) entries.push_back({parts[i], parts[i + 1]});
  return entries;
}

}  // namespace kelvane
