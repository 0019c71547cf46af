// fProperties as data: what the "Image Properties" dialog shows about a file.
//
// Contract:
//  - ReadFileProperties fills the file's own facts (name, type text, size,
//    parent folder, date, attributes) from the file system and never touches
//    the picture data. The picture's size and depth are asked of the image
//    library by the caller and handed to SetPictureFacts; until then they are
//    0 and their texts empty.
//  - Texts are fixed by these rules, independent of the locale:
//      type       FileTypeText: the format's name from the table of known
//                 extensions (case-insensitive); an unknown extension gives
//                 the extension in capitals + " File", no extension "File".
//      size       "<bytes> bytes (<kilobytes> KB)", kilobytes = bytes / 1024
//                 rounded to the nearest, ties to even.
//      resolution "<width> x <height>".
//      depth      ColourDepthText: the fixed texts per bits per pixel (1 to 8,
//                 15, 16, 24, 32, with the figures "32668" and "65336" as they
//                 stand); any other depth gives an empty text.
//      date       "YYYY-MM-DD HH:MM:SS" in local time: the file's birth time
//                 where the file system records one, otherwise the time of its
//                 last change of contents.
//      attribute  "Normal", or the set flags joined by ", " in this order:
//                 "Read-only" (no write permission bit at all), "Hidden" (the
//                 name starts with "."), "Alias" (the path is a symbolic link).
//  - Nothing throws; failures come back as false with one line in `error`
//    (the path quoted, then the reason).
#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

namespace kelvane {

struct FileAttributes {
  bool ReadOnly = false;
  bool Hidden = false;
  bool Alias = false;
};

struct FileProperties {
  std::string Name;          // the file name, no folder
  std::string Type;          // FileTypeText
  uintmax_t SizeBytes = 0;
  std::string ParentFolder;  // absolute path of the folder that holds the file
  std::time_t Created = 0;
  FileAttributes Attributes;
  int Width = 0;
  int Height = 0;
  int BitsPerPixel = 0;
};

// One read-only field of the dialog: control name, caption, value text.
struct PropertyField {
  std::string Control;
  std::string Label;
  std::string Value;
};

std::string FileTypeText(const std::filesystem::path& path);
std::string ColourDepthText(int bitsPerPixel);
std::string FileSizeText(uintmax_t bytes);
std::string ResolutionText(int width, int height);
std::string DateText(std::time_t when);
std::string AttributeText(const FileAttributes& attributes);

// The file's own facts. False when the path names no file (or a folder).
bool ReadFileProperties(const std::filesystem::path& path, FileProperties& out, std::string& error);

// The picture's size and depth as the image library reports them.
void SetPictureFacts(FileProperties& props, int width, int height, int bitsPerPixel);

// The dialog's fields in their order: PName, pType, PSize, PResolution,
// PParent, PDepth, PBits, PWidth, PHeight, PDate, PAttribute, each with its
// caption ("Name :", "Type :", ...) and value text.
std::vector<PropertyField> PropertyFields(const FileProperties& props);

}  // namespace kelvane
