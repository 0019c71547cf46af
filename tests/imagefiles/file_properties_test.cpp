// The "Image Properties" fields as data, and kelvane-cli info that prints them.
#include "imagefiles/file_properties.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <regex>
#include <tuple>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::RunCli;
using test::TempDir;

TEST(FileProperties, ColourDepthTexts) {
  const std::pair<int, const char*> table[] = {
      {1, "Black & White"},  {2, "4 Colors"},      {3, "8 Colors"},       {4, "16 Colors"},
      {5, "32 Colors"},      {6, "64 Colors"},     {7, "128 Colors"},     {8, "256 Colors"},
      {15, "32668 Colors"},  {16, "65336 Colors"}, {24, "16777216 Colors (True Color)"},
      {32, "4294967296 Colors (High Color)"},
  };
  for (const auto& [bpp, text] : table) EXPECT_EQ(ColourDepthText(bpp), text) << bpp;
  for (int other : {0, 9, 12, 48, 64, 96, 128, -1}) EXPECT_EQ(ColourDepthText(other), "") << other;
}

TEST(FileProperties, SizeTextRoundsKilobytesHalfToEven) {
  EXPECT_EQ(FileSizeText(0), "0 bytes (0 KB)");
  EXPECT_EQ(FileSizeText(511), "511 bytes (0 KB)");    // 0.499
  EXPECT_EQ(FileSizeText(512), "512 bytes (0 KB)");    // 0.5 -> even 0
  EXPECT_EQ(FileSizeText(513), "513 bytes (1 KB)");    // 0.501
  EXPECT_EQ(FileSizeText(1536), "1536 bytes (2 KB)");  // 1.5 -> even 2
  EXPECT_EQ(FileSizeText(2560), "2560 bytes (2 KB)");  // 2.5 -> even 2
  EXPECT_EQ(FileSizeText(3584), "3584 bytes (4 KB)");  // 3.5 -> even 4
  // 5 GiB + 1: no 16- or 32-bit limit on either figure.
  EXPECT_EQ(FileSizeText(5368709121ull), "5368709121 bytes (5242880 KB)");
  EXPECT_EQ(ResolutionText(119, 96), "119 x 96");
}

TEST(FileProperties, TypeTextByExtension) {
  EXPECT_EQ(FileTypeText("/p/a.png"), "Portable Network Graphics");
  EXPECT_EQ(FileTypeText("/p/A.PNG"), "Portable Network Graphics");
  EXPECT_EQ(FileTypeText("b.JpEg"), "JPEG Group");
  EXPECT_EQ(FileTypeText("c.vst"), "Targa files");
  EXPECT_EQ(FileTypeText("d.pix"), "Alias  PIX");  // two blanks, as the dialog list has it
  EXPECT_EQ(FileTypeText("e.rgba"), "Silicon Graphics");
  EXPECT_EQ(FileTypeText("f.pcx"), "Zsoft Paintbrush Files");
  // Unknown: the extension in capitals; the last dot decides.
  EXPECT_EQ(FileTypeText("g.tar.gz"), "GZ File");
  EXPECT_EQ(FileTypeText("h.ico"), "ICO File");
  EXPECT_EQ(FileTypeText("noextension"), "File");
  EXPECT_EQ(FileTypeText("/dotted.dir/noextension"), "File");
}

TEST(FileProperties, AttributeTexts) {
  EXPECT_EQ(AttributeText({}), "Normal");
  EXPECT_EQ(AttributeText({true, false, false}), "Read-only");
  EXPECT_EQ(AttributeText({true, true, true}), "Read-only, Hidden, Alias");
  EXPECT_EQ(AttributeText({false, true, false}), "Hidden");
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
  EXPECT_TRUE(props.Attributes.Hidden);
  EXPECT_FALSE(props.Attributes.ReadOnly);
  EXPECT_FALSE(props.Attributes.Alias);
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
  EXPECT_TRUE(props.Attributes.ReadOnly);
  EXPECT_FALSE(props.Attributes.Hidden);
  EXPECT_TRUE(props.Attributes.Alias);
  EXPECT_EQ(AttributeText(props.Attributes), "Read-only, Alias");
}

TEST(FileProperties, MissingFileAndFolderAreRefused) {
  TempDir dir;
  FileProperties props;
  std::string error;
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
  const auto fields = PropertyFields(props);
  const std::vector<std::tuple<std::string, std::string, std::string>> expected = {
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
  ASSERT_EQ(fields.size(), expected.size());
  for (size_t i = 0; i < fields.size(); ++i) {
    EXPECT_EQ(fields[i].Control, std::get<0>(expected[i]));
    EXPECT_EQ(fields[i].Label, std::get<1>(expected[i]));
    EXPECT_EQ(fields[i].Value, std::get<2>(expected[i])) << fields[i].Control;
  }
  // Before the picture facts are known their fields are blank.
  SetPictureFacts(props, 0, 0, 0);
  for (const auto& f : PropertyFields(props)) {
    if (f.Control == "PResolution" || f.Control == "PDepth" || f.Control == "PBits" || f.Control == "PWidth" ||
        f.Control == "PHeight") {
      EXPECT_EQ(f.Value, "") << f.Control;
    }
  }
}

// The lines of `text` whose name is not "Date Created", and that one's value.
std::string WithoutDate(const std::string& text, std::string& date) {
  std::string rest;
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = text.find('\n', start);
    const std::string line = text.substr(start, end - start);
    if (line.rfind("Date Created: ", 0) == 0) {
      date = line.substr(14);
    } else {
      rest += line + "\n";
    }
    start = end == std::string::npos ? text.size() : end + 1;
  }
  return rest;
}

TEST(CliInfo, PrintsEveryPropertiesField) {
  const auto file = test::DataFile("bmp-24bit-oddwidth-119x96.bmp");
  const auto r = RunCli({"info", file.string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_TRUE(r.err.empty());
  std::string date;
  // 119 pixels * 3 = 357 bytes, padded to 360 per row; 360 * 96 + 54 = 34614
  // bytes; 34614 / 1024 = 33.8 -> 34 KB.
  EXPECT_EQ(WithoutDate(r.out, date),
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
  EXPECT_TRUE(std::regex_match(date, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)"))) << date;
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
  struct Case {
    std::filesystem::path file;
    const char* lines;
  };
  const Case cases[] = {
      {dir / "sixteen.bmp", "Color Depth: 65336 Colors\nBits Per Pixel: 16\nWidth: 2\nHeight: 1\n"},
      {test::DataFile("pcx-8bit-palette256-32x32.pcx"), "Color Depth: 256 Colors\nBits Per Pixel: 8\n"},
      {test::DataFile("png-palette-4bit-32x32.png"), "Color Depth: 16 Colors\nBits Per Pixel: 4\n"},
      {test::DataFile("png-rgba-8bit-32x32.png"), "Color Depth: 4294967296 Colors (High Color)\nBits Per Pixel: 32\n"},
  };
  for (const Case& c : cases) {
    const auto r = RunCli({"info", c.file.string()});
    ASSERT_EQ(r.exit_code, 0) << c.file << ": " << r.err;
    EXPECT_NE(r.out.find(c.lines), std::string::npos) << r.out;
  }
}

TEST(CliInfo, BadInputIsOneLineAndNonZero) {
  TempDir dir;
  ASSERT_TRUE(WriteFileAtomically(dir / "empty.png", {}));
  for (const std::string& path : {(dir / "missing.png").string(), dir.path().string(), (dir / "empty.png").string(),
                                  test::DataFile("MANIFEST.tsv").string()}) {
    const auto r = RunCli({"info", path});
    EXPECT_NE(r.exit_code, 0) << path;
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_EQ(r.err.rfind("kelvane-cli: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  EXPECT_NE(RunCli({"info"}).exit_code, 0);
}

}  // namespace
}  // namespace kelvane
