// The "Image Properties" fields as data, and kelvane-cli info that prints them.
#include "imagefiles/file_properties.h"

#include <gtest/gtest.h>

#include <ctime>
#include <regex>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::RunCli;
using test::TempDir;

TEST(FileProperties, ColourDepthTexts) {
  const std::pair<int, const char*> table[] = {
      {1, "Black & White"}, {2, "4 Colors"},      {3, "8 Colors"},   {4, "16 Colors"},
      {5, "32 Colors"},     {6, "64 Colors"},     {7, "128 Colors"}, {8, "256 Colors"},
      {15, "32668 Colors"}, {16, "65336 Colors"}, {24, "16777216 Colors (True Color)"},
      {32, "4294967296 Colors (High Color)"},
  };
  for (const auto& [bpp, text] : table) EXPECT_EQ(ColourDepthText(bpp), text) << bpp;
  for (int other : {0, 9, 12, 48, -1}) EXPECT_EQ(ColourDepthText(other), "") << other;
}

TEST(FileProperties, SizeTypeAndAttributeTexts) {
  // Kilobytes round half to even; no 16- or 32-bit limit on either figure.
  for (const auto& [bytes, text] : std::vector<std::pair<uintmax_t, std::string>>{
           {511, "511 bytes (0 KB)"},
           {512, "512 bytes (0 KB)"},
           {513, "513 bytes (1 KB)"},
           {1536, "1536 bytes (2 KB)"},
           {2560, "2560 bytes (2 KB)"},
           {5368709121ull, "5368709121 bytes (5242880 KB)"}})
    EXPECT_EQ(FileSizeText(bytes), text);
  EXPECT_EQ(ResolutionText(119, 96), "119 x 96");

  EXPECT_EQ(FileTypeText("/p/A.PNG"), "Portable Network Graphics");
  EXPECT_EQ(FileTypeText("b.JpEg"), "JPEG Group");
  EXPECT_EQ(FileTypeText("d.pix"), "Alias  PIX");  // two blanks, as the dialog list has it
  EXPECT_EQ(FileTypeText("e.rgba"), "Silicon Graphics");
  // Unknown: the extension in capitals; the last dot decides.
  EXPECT_EQ(FileTypeText("g.tar.gz"), "GZ File");
  EXPECT_EQ(FileTypeText("h.ico"), "ICO File");
  EXPECT_EQ(FileTypeText("/dotted.dir/noextension"), "File");

  EXPECT_EQ(AttributeText({}), "Normal");
  EXPECT_EQ(AttributeText({false, true, false}), "Hidden");
  EXPECT_EQ(AttributeText({true, true, true}), "Read-only, Hidden, Alias");
}

TEST(FileProperties, ReadFromTheFileSystem) {
  TempDir dir;
  const auto before = std::time(nullptr);
  ASSERT_TRUE(WriteFileAtomically(dir / ".hidden.tga", ByteVector(2000, 7)));
  const auto after = std::time(nullptr);
  FileProperties props;
  std::string error;
  ASSERT_TRUE(ReadFileProperties(dir / ".hidden.tga", props, error)) << error;
  EXPECT_EQ(props.Name, ".hidden.tga");
  EXPECT_EQ(props.Type, "Targa files");
  EXPECT_EQ(props.SizeBytes, 2000u);
  EXPECT_EQ(props.ParentFolder, std::filesystem::absolute(dir.path()).lexically_normal().string());
  EXPECT_GE(props.Created, before - 1);
  EXPECT_LE(props.Created, after + 1);
  EXPECT_EQ(AttributeText(props.Attributes), "Hidden");
  EXPECT_EQ(props.Width, 0);  // the picture facts come from the image library
  // The date text read back as local time gives the same second.
  std::tm parts{};
  ASSERT_NE(strptime(DateText(props.Created).c_str(), "%Y-%m-%d %H:%M:%S", &parts), nullptr);
  parts.tm_isdst = -1;
  EXPECT_EQ(std::mktime(&parts), props.Created);

  // Read-only: no write bit for anyone. A link to the file is an alias.
  std::filesystem::permissions(dir / ".hidden.tga", std::filesystem::perms::owner_read | std::filesystem::perms::group_read);
  std::filesystem::create_symlink(dir / ".hidden.tga", dir / "link.bmp");
  ASSERT_TRUE(ReadFileProperties(dir / "link.bmp", props, error)) << error;
  EXPECT_EQ(props.Name, "link.bmp");
  EXPECT_EQ(props.Type, "Bitmap Files");
  EXPECT_EQ(props.SizeBytes, 2000u);
  EXPECT_EQ(AttributeText(props.Attributes), "Read-only, Alias");

  EXPECT_FALSE(ReadFileProperties(dir / "none.png", props, error));
  EXPECT_NE(error.find("none.png"), std::string::npos) << error;
  EXPECT_NE(error.find("no such file"), std::string::npos) << error;
  EXPECT_FALSE(ReadFileProperties(dir.path(), props, error));
  EXPECT_NE(error.find("folder"), std::string::npos) << error;
}

TEST(FileProperties, FieldsInTheDialogsOrder) {
  FileProperties props;
  props.Name = "p.png";
  props.Type = "Portable Network Graphics";
  props.SizeBytes = 2500;
  props.ParentFolder = "/pictures";
  SetPictureFacts(props, 640, 480, 16);
  const std::vector<std::vector<std::string>> expected = {
      {"PName", "Name :", "p.png"},
      {"pType", "Type :", "Portable Network Graphics"},
      {"PSize", "Size :", "2500 bytes (2 KB)"},  // 2500 / 1024 = 2.44
      {"PResolution", "Resolution :", "640 x 480"},
      {"PParent", "Parent Folder :", "/pictures"},
      {"PDepth", "Color Depth :", "65336 Colors"},
      {"PBits", "Bits Per Pixel :", "16"},
      {"PWidth", "Width :", "640"},
      {"PHeight", "Height :", "480"},
      {"PDate", "Date Created :", DateText(0)},
      {"PAttribute", "Attribute :", "Normal"},
  };
  std::vector<std::vector<std::string>> fields;
  for (const auto& f : PropertyFields(props)) fields.push_back({f.Control, f.Label, f.Value});
  EXPECT_EQ(fields, expected);
  // Before the picture facts are known their fields are blank.
  SetPictureFacts(props, 0, 0, 0);
  const auto blank = PropertyFields(props);
  for (size_t i : {3, 5, 6, 7, 8}) EXPECT_EQ(blank.at(i).Value, "") << blank.at(i).Control;
}

TEST(CliInfo, PrintsEveryPropertiesField) {
  const auto file = test::DataFile("bmp-24bit-oddwidth-119x96.bmp");
  const auto r = RunCli({"info", file.string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty());
  // The date line, checked for its form and then left out.
  const std::regex date(R"(Date Created: \d{4}-\d\d-\d\d \d\d:\d\d:\d\d\n)");
  EXPECT_TRUE(std::regex_search(r.out, date)) << r.out;
  // 119 pixels * 3 = 357 bytes, padded to 360 per row; 360 * 96 + 54 = 34614
  // bytes; 34614 / 1024 = 33.8 -> 34 KB.
  EXPECT_EQ(std::regex_replace(r.out, date, ""),
            "Name: bmp-24bit-oddwidth-119x96.bmp\n"
            "Type: Bitmap Files\n"
            "Size: 34614 bytes (34 KB)\n"
            "Resolution: 119 x 96\n"
            "Parent Folder: " + std::filesystem::absolute(file).lexically_normal().parent_path().string() + "\n"
            "Color Depth: 16777216 Colors (True Color)\n"
            "Bits Per Pixel: 24\n"
            "Width: 119\n"
            "Height: 96\n"
            "Attribute: Normal\n");
}

TEST(CliInfo, DepthTextsOfRealFiles) {
  TempDir dir;
  // A 2 x 1 BMP of 16 bits per pixel (5-5-5), written out field by field:
  // file header 14 bytes, info header 40, one row of 2 * 2 = 4 bytes.
  const ByteVector bmp = {'B', 'M', 58, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,  // size 58, data at 54
                          40, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0,             // header size, width 2, height 1
                          1, 0, 16, 0, 0, 0, 0, 0, 4, 0, 0, 0,             // planes 1, 16 bits, BI_RGB, 4 bytes
                          0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // resolution, colours
                          0x00, 0x7C, 0x1F, 0x00};                         // red 0x7C00, blue 0x001F
  ASSERT_TRUE(WriteFileAtomically(dir / "sixteen.bmp", bmp));
  const std::pair<std::filesystem::path, const char*> cases[] = {
      {dir / "sixteen.bmp", "Color Depth: 65336 Colors\nBits Per Pixel: 16\nWidth: 2\nHeight: 1\n"},
      {test::DataFile("png-palette-4bit-32x32.png"), "Color Depth: 16 Colors\nBits Per Pixel: 4\n"},
      {test::DataFile("png-rgba-8bit-32x32.png"), "Color Depth: 4294967296 Colors (High Color)\nBits Per Pixel: 32\n"},
  };
  for (const auto& [file, lines] : cases) {
    const auto r = RunCli({"info", file.string()});
    ASSERT_EQ(r.exit_code, 0) << file << ": " << r.err;
    EXPECT_NE(r.out.find(lines), std::string::npos) << r.out;
  }
}

}  // namespace
}  // namespace kelvane
