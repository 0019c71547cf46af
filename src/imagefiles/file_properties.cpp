#include "imagefiles/file_properties.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace kelvane {

namespace {

// The known extensions and the names of their formats, in the words of the
// picture dialogs' type lists.
constexpr std::pair<const char*, const char*> kTypeTexts[] = {
    {"klf", "Kelvane Layers Format"},
    {"bmp", "Bitmap Files"},
    {"dib", "Bitmap Files"},
    {"rle", "Bitmap Files"},
    {"wmf", "Meta Files"},
    {"emf", "Meta Files"},
    {"gif", "Graphical Interface Format"},
    {"jpg", "JPEG Group"},
    {"jpe", "JPEG Group"},
    {"jpeg", "JPEG Group"},
    {"png", "Portable Network Graphics"},
    {"pcx", "Zsoft Paintbrush Files"},
    {"dcx", "Zsoft Paintbrush Files"},
    {"wbmp", "Wireless Bitmap"},
    {"pbm", "Portable Bitmap"},
    {"pgm", "Portable Graymap"},
    {"ppm", "Portable Pixelmap"},
    {"psd", "Photoshop"},
    {"pdd", "Photoshop"},
    {"jng", "JPEG Network Graphics"},
    {"mng", "Multiple Network Graphics"},
    {"tif", "Tagged Image File Format"},
    {"tiff", "Tagged Image File Format"},
    {"koa", "Commodore 64 Koala format"},
    {"pcd", "Kodak PhotoCD"},
    {"ras", "Sun Rasterfile"},
    {"sun", "Sun Rasterfile"},
    {"tga", "Targa files"},
    {"vda", "Targa files"},
    {"icb", "Targa files"},
    {"vst", "Targa files"},
    {"targa", "Targa files"},
    {"cut", "Dr.Halo bitmap"},
    {"iff", "Interchanged File Format"},
    {"lbm", "Deluxe Paint package"},
    {"dds", "DirectDraw Surface"},
    {"lif", "Homeworld File"},
    {"lmp", "Doom Walls / Flats"},
    {"mdl", "Half-Life Model"},
    {"pic", "PIC"},
    {"pix", "Alias  PIX"},
    {"pxr", "Pixar"},
    {"sgi", "Silicon Graphics"},
    {"bw", "Silicon Graphics"},
    {"rgb", "Silicon Graphics"},
    {"rgba", "Silicon Graphics"},
    {"wal", "Quake2 Texture"},
    {"xpm", "X Pixel Map"},
    {"psp", "Paint Shop Pro"},
    {"raw", "Raw Data"},
};

std::string Quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

// What stands behind the last "." of the file name; empty when there is none.
std::string ExtensionOf(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  const size_t dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

// Birth time when the file system keeps one, else the last change of contents.
std::time_t CreatedTime(const std::filesystem::path& path) {
  struct statx stx {};
  if (::statx(AT_FDCWD, path.c_str(), AT_STATX_SYNC_AS_STAT, STATX_BTIME | STATX_MTIME, &stx) == 0) {
    if (stx.stx_mask & STATX_BTIME) return static_cast<std::time_t>(stx.stx_btime.tv_sec);
    return static_cast<std::time_t>(stx.stx_mtime.tv_sec);
  }
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0) return st.st_mtime;
  return 0;
}

}  // namespace

std::string FileTypeText(const std::filesystem::path& path) {
  std::string ext = ExtensionOf(path);
  if (ext.empty()) return "File";
  std::string lower = ext;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  for (const auto& [known, text] : kTypeTexts)
    if (lower == known) return text;
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::toupper(c); });
  return ext + " File";
}

std::string ColourDepthText(int bitsPerPixel) {
  switch (bitsPerPixel) {
    case 1: return "Black & White";
    case 2: return "4 Colors";
    case 3: return "8 Colors";
    case 4: return "16 Colors";
    case 5: return "32 Colors";
    case 6: return "64 Colors";
    case 7: return "128 Colors";
    case 8: return "256 Colors";
    // These two figures are the program's own, not 2^15 and 2^16.
    case 15: return "32668 Colors";
    case 16: return "65336 Colors";
    case 24: return "16777216 Colors (True Color)";
    case 32: return "4294967296 Colors (High Color)";
    default: return "";
  }
}

std::string FileSizeText(uintmax_t bytes) {
  // Whole kilobytes, ties to even, in integers so that no size loses digits.
  uintmax_t kb = bytes / 1024;
  const uintmax_t rest = bytes % 1024;
  if (rest > 512 || (rest == 512 && kb % 2 == 1)) ++kb;
  return std::to_string(bytes) + " bytes (" + std::to_string(kb) + " KB)";
}

std::string ResolutionText(int width, int height) { return std::to_string(width) + " x " + std::to_string(height); }

std::string DateText(std::time_t when) {
  std::tm parts{};
  if (!::localtime_r(&when, &parts)) return "";
  char text[32];
  const size_t n = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  return std::string(text, n);
}

std::string AttributeText(const FileAttributes& attributes) {
  std::string text;
  const auto add = [&text](const char* word) {
    if (!text.empty()) text += ", ";
    text += word;
  };
  if (attributes.ReadOnly) add("Read-only");
  if (attributes.Hidden) add("Hidden");
  if (attributes.Alias) add("Alias");
  return text.empty() ? "Normal" : text;
}

bool ReadFileProperties(const std::filesystem::path& path, FileProperties& out, std::string& error) {
  out = FileProperties{};
  std::error_code ec;
  const auto status = std::filesystem::status(path, ec);
  if (ec || !std::filesystem::exists(status)) {
    error = "cannot read " + Quoted(path) + ": no such file";
    return false;
  }
  if (std::filesystem::is_directory(status)) {
    error = "cannot read " + Quoted(path) + ": it is a folder, not a file";
    return false;
  }
  out.Name = path.filename().string();
  out.Type = FileTypeText(path);
  const uintmax_t size = std::filesystem::file_size(path, ec);
  out.SizeBytes = ec ? 0 : size;
  const auto absolute = std::filesystem::absolute(path, ec);
  out.ParentFolder = (ec ? path : absolute).lexically_normal().parent_path().string();
  out.Created = CreatedTime(path);
  out.Attributes.ReadOnly = (static_cast<unsigned>(status.permissions()) & 0222) == 0;
  out.Attributes.Hidden = !out.Name.empty() && out.Name[0] == '.';
  out.Attributes.Alias = std::filesystem::is_symlink(std::filesystem::symlink_status(path, ec));
  return true;
}

void SetPictureFacts(FileProperties& props, int width, int height, int bitsPerPixel) {
  props.Width = width;
  props.Height = height;
  props.BitsPerPixel = bitsPerPixel;
}

std::vector<PropertyField> PropertyFields(const FileProperties& props) {
  const bool picture = props.Width > 0 && props.Height > 0;
  return {
      {"PName", "Name :", props.Name},
      {"pType", "Type :", props.Type},
      {"PSize", "Size :", FileSizeText(props.SizeBytes)},
      {"PResolution", "Resolution :", picture ? ResolutionText(props.Width, props.Height) : ""},
      {"PParent", "Parent Folder :", props.ParentFolder},
      {"PDepth", "Color Depth :", ColourDepthText(props.BitsPerPixel)},
      {"PBits", "Bits Per Pixel :", props.BitsPerPixel > 0 ? std::to_string(props.BitsPerPixel) : ""},
      {"PWidth", "Width :", picture ? std::to_string(props.Width) : ""},
      {"PHeight", "Height :", picture ? std::to_string(props.Height) : ""},
      {"PDate", "Date Created :", DateText(props.Created)},
      {"PAttribute", "Attribute :", AttributeText(props.Attributes)},
  };
}

}  // namespace kelvane
