// The settings record: layout and first-start bytes against offsets worked out
// by hand from the field table, the file rules of loading and saving, and the
// recent-files list.
#include "shell/start_record.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using test::TempDir;

// Hand sum of the table, running offset after each group:
//   4 x i16 8 | 2 x S256 520 | 4 x i16 528 | RecentFiles 8 x S256 2576 |
//   9 x i16 2594 | 2 x S256 3106 | 3 x i32 3118 | 16 colours 3182 |
//   ShowTips 3184 | S25 3209 | 18 x i16 3245 | colour 3249 | 4 x i16 3257 |
//   2 x S256 3769 | 6 x i16 3781 | 5 x i32 3801 | 4 x i16 3809 |
//   12 x i16 3833 | 5 x i16 3843 | i32 + 3 x i16 3853 | 2 x S9 3871 |
//   25 x i16 3921 | 2 bytes 3923 | colour 3927 | S256 4183 | 11 x i16 4205 |
//   2 x i32 4213 | S256 4469 | 3 x i16 4475 | 3 x S256 5243 |
//   i16 byte i16 5248 | 7 x i32 5276 | S256 5532 | byte i16 5535 |
//   4 x S256 6559 | i16 byte i16 6564 | 7 x i32 6592 | byte 6593.
constexpr size_t kRecordBytes = 6593;

void PutI16At(ByteVector& v, size_t at, int16_t x) {
  v[at] = static_cast<uint8_t>(x & 0xFF);
  v[at + 1] = static_cast<uint8_t>((static_cast<uint16_t>(x) >> 8) & 0xFF);
}
void PutI32At(ByteVector& v, size_t at, int32_t x) {
  for (int i = 0; i < 4; ++i) v[at + i] = static_cast<uint8_t>((static_cast<uint32_t>(x) >> (8 * i)) & 0xFF);
}
void PutStringAt(ByteVector& v, size_t at, size_t width, const std::string& text) {
  for (size_t i = 0; i < width; ++i) v[at + i] = static_cast<uint8_t>(i < text.size() ? text[i] : ' ');
}

// The first differing byte, for a readable failure.
::testing::AssertionResult SameBytes(const ByteVector& expected, const ByteVector& actual) {
  if (expected.size() != actual.size())
    return ::testing::AssertionFailure() << "size " << actual.size() << ", expected " << expected.size();
  for (size_t i = 0; i < expected.size(); ++i)
    if (expected[i] != actual[i])
      return ::testing::AssertionFailure() << "first difference at offset " << i << ": " << int(actual[i])
                                           << ", expected " << int(expected[i]);
  return ::testing::AssertionSuccess();
}

void WriteFile(const fs::path& p, const ByteVector& bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

ByteVector ReadFile(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return ByteVector(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// ---- Layout ----------------------------------------------------------------

TEST(StartRecordLayout, SizeAndOffsetsMatchTheHandSum) {
  EXPECT_EQ(StartRecordSize(), kRecordBytes);
  EXPECT_EQ(SerializeStartRecord(StartRecord{}).size(), kRecordBytes);

  const std::pair<const char*, size_t> offsets[] = {
      {"MainWidth", 0},          {"OpenFolder", 8},          {"SaveFolder", 264},
      {"NewLayerMode", 526},     {"RecentFiles", 528},       {"ColorBoxShown", 2576},
      {"AlbumSourceFolder", 2594}, {"ColorBoxMode", 3106},   {"CustomColors", 3118},
      {"ShowTips", 3182},        {"CurrentTool", 3184},      {"SelectionMode", 3209},
      {"StampMaskColor", 3245},  {"TextToolText", 3257},     {"TextToolFlags", 3771},
      {"GradientShape", 3781},   {"ColorChannelFlags", 3809}, {"ReservedLong", 3843},
      {"ColorTexts", 3853},      {"PasteBoxLeft", 3871},     {"ThumbnailShowFilename", 3921},
      {"ThumbnailBackground", 3923}, {"BrowserFolder", 3927}, {"ReservedGeometry", 4199},
      {"WebFolder", 4213},       {"ConvertOverwrite", 5245}, {"ConvertSplit", 5256},
      {"ConvertFlag", 5532},     {"BatchName", 5535},        {"BatchSplit", 6572},
      {"BatchFlag", 6592},
  };
  for (const auto& [name, offset] : offsets) EXPECT_EQ(StartRecordFieldOffset(name), offset) << name;
  EXPECT_EQ(StartRecordFieldOffset("NoSuchField"), SIZE_MAX);

  // Field names are unique, so Describe lines and offsets are unambiguous.
  std::set<std::string> names;
  for (const StartRecordField& f : StartRecordFields()) EXPECT_TRUE(names.insert(f.name).second) << f.name;
}

// Every byte of a first-start record, built at hand-worked offsets. Fields
// not written here are 0 by default.
TEST(StartRecordLayout, DefaultBytesFieldByField) {
  const std::string app = "/opt/kv";
  ByteVector e(kRecordBytes, 0);
  PutI16At(e, 0, 9600);  // 640 px x 15 twips
  PutI16At(e, 2, 7200);  // 480 px x 15 twips
  PutI16At(e, 4, -1);    // MainMaximized
  PutStringAt(e, 8, 256, app + "/Images/");
  PutStringAt(e, 264, 256, app + "/Images/");
  PutI16At(e, 520, -1);
  PutI16At(e, 522, -1);
  PutI16At(e, 524, -1);
  PutI16At(e, 526, 1);  // NewLayerMode
  for (int k = 0; k < 8; ++k) PutStringAt(e, 528 + 256 * k, 256, "");
  for (int k = 0; k < 7; ++k) PutI16At(e, 2576 + 2 * k, -1);  // seven shown flags
  PutStringAt(e, 2594, 256, app);
  PutStringAt(e, 2850, 256, app);
  PutI32At(e, 3110, 0xFFFFFF);  // ForeColor
  for (int i = 0; i < 16; ++i) PutI32At(e, 3118 + 4 * i, 0x111111 * i);
  PutI16At(e, 3182, -1);  // ShowTips
  PutStringAt(e, 3184, 25, "");
  PutI16At(e, 3209, 2);    // SelectionMode
  PutI16At(e, 3213, 50);   // SelectionPressure
  PutI16At(e, 3215, -1);   // SelectionMoveContent
  PutI16At(e, 3219, 25);   // BrushSize
  PutI16At(e, 3221, 25);   // BrushPressure
  PutI16At(e, 3223, -1);   // BrushContinuous
  PutI16At(e, 3225, 75);   // AirbrushSize
  PutI16At(e, 3227, 25);
  PutI16At(e, 3229, 100);
  PutI16At(e, 3231, 1);
  PutI16At(e, 3235, 25);   // FillTolerance
  PutI16At(e, 3237, 100);  // FillPressure
  PutI16At(e, 3241, 100);  // ShapePressure
  PutI16At(e, 3243, 3);    // ShapeSides
  PutI16At(e, 3251, -1);   // StampMask
  PutI16At(e, 3255, 50);   // StampPressure
  PutStringAt(e, 3257, 256, "1.0");
  PutStringAt(e, 3513, 256, "Arial");
  PutI16At(e, 3769, 20);
  PutI16At(e, 3771, -1);
  PutI16At(e, 3773, -1);
  PutI16At(e, 3777, 2);
  PutI16At(e, 3779, 100);
  PutI32At(e, 3793, 0xFFFFFF);  // GradientColors(0)
  PutI16At(e, 3805, 50);        // GradientPressure
  PutI16At(e, 3807, 1);         // GradientFrequency
  for (int k = 0; k < 8; ++k) PutI16At(e, 3809 + 2 * k, -1);
  PutI16At(e, 3833, 10);   // PasteBoxHistory
  PutI16At(e, 3835, 80);   // PasteBoxPressure
  PutI16At(e, 3841, 15);   // second reserved word of the pair 0, 15
  PutI16At(e, 3847, 100);
  PutI16At(e, 3849, 90);
  PutI16At(e, 3851, 65);
  PutStringAt(e, 3853, 9, "255255255");
  PutStringAt(e, 3862, 9, "255255255");
  PutI16At(e, 3871, 3600);
  PutI16At(e, 3873, 4650);
  PutI16At(e, 3875, 3950);
  PutI16At(e, 3877, 3180);
  PutI16At(e, 3881, 420);
  PutI16At(e, 3883, 8640);
  PutI16At(e, 3887, 420);
  PutI16At(e, 3889, 1110);
  PutI16At(e, 3893, 420);
  PutI16At(e, 3895, 6045);
  PutI16At(e, 3897, 2600);
  PutI16At(e, 3899, 3180);
  PutI16At(e, 3903, 6780);
  PutI16At(e, 3905, 1100);
  PutI16At(e, 3907, 4800);
  PutI16At(e, 3909, 7000);
  PutI16At(e, 3913, 70);
  PutI16At(e, 3915, 60);
  PutI16At(e, 3919, 4);
  e[3921] = 1;
  e[3922] = 1;
  PutI32At(e, 3923, 0xFFFFFF);
  PutStringAt(e, 3927, 256, app + "/Images/");
  PutI16At(e, 4183, 420);
  PutI16At(e, 4185, 3615);
  PutI16At(e, 4189, 3600);
  PutI16At(e, 4191, 1110);
  PutI16At(e, 4193, 3540);
  PutI16At(e, 4195, 3180);
  PutI16At(e, 4199, 3600);
  PutI16At(e, 4201, 8610);
  PutI32At(e, 4205, 600);
  PutI32At(e, 4209, 450);
  PutStringAt(e, 4213, 256, app + "/images/");
  PutI16At(e, 4469, 3);
  PutI16At(e, 4471, 5);
  PutI16At(e, 4473, 80);
  PutStringAt(e, 4475, 256, "Sample");
  PutStringAt(e, 4731, 256, app);
  PutStringAt(e, 4987, 256, app);
  PutI16At(e, 5243, 7);
  e[5245] = 1;
  PutI32At(e, 5248, 9600);
  PutI32At(e, 5252, 7200);
  const int convertSplit[] = {30, 50, 75, 30, 50};
  for (int k = 0; k < 5; ++k) PutI32At(e, 5256 + 4 * k, convertSplit[k]);
  PutStringAt(e, 5276, 256, app);
  e[5532] = 1;
  PutI16At(e, 5533, 60);
  PutStringAt(e, 5535, 256, "Sample");
  PutStringAt(e, 5791, 256, app);
  PutStringAt(e, 6047, 256, app);
  PutStringAt(e, 6303, 256, app);
  PutI16At(e, 6559, 6);
  e[6561] = 1;
  PutI32At(e, 6564, 9600);
  PutI32At(e, 6568, 7200);
  const int batchSplit[] = {30, 50, 75, 50, 30};
  for (int k = 0; k < 5; ++k) PutI32At(e, 6572 + 4 * k, batchSplit[k]);
  e[6592] = 1;

  EXPECT_TRUE(SameBytes(e, SerializeStartRecord(DefaultStartRecord(app))));
  // A trailing slash on the folder does not double up.
  EXPECT_TRUE(SameBytes(e, SerializeStartRecord(DefaultStartRecord("/opt/kv/"))));
}

TEST(StartRecordLayout, DescribeGivesOneLinePerElement) {
  const auto lines = DescribeStartRecord(DefaultStartRecord("/opt/kv"));
  // 190 elements: counted row by row from the table with arrays expanded.
  ASSERT_EQ(lines.size(), 190u);
  auto find = [&](const std::string& name) -> std::string {
    for (const auto& [n, v] : lines)
      if (n == name) return v;
    return "<missing>";
  };
  EXPECT_EQ(lines.front(), std::make_pair(std::string("MainWidth"), std::string("9600")));
  EXPECT_EQ(lines.back(), std::make_pair(std::string("BatchFlag"), std::string("true")));
  EXPECT_EQ(lines[10].first, "RecentFiles(0)");
  EXPECT_EQ(lines[17].first, "RecentFiles(7)");
  EXPECT_EQ(find("MainMaximized"), "true");
  EXPECT_EQ(find("ImageMaximized"), "false");
  EXPECT_EQ(find("OpenFolder"), "\"/opt/kv/Images/\"");
  EXPECT_EQ(find("AlbumSourceFolder"), "\"/opt/kv\"");
  EXPECT_EQ(find("RecentFiles(3)"), "\"\"");
  EXPECT_EQ(find("ForeColor"), "0x00FFFFFF");
  EXPECT_EQ(find("BackColor"), "0x00000000");
  EXPECT_EQ(find("CustomColors(1)"), "0x00111111");
  EXPECT_EQ(find("TextToolFlags(0)"), "-1");
  EXPECT_EQ(find("TextToolFlags(4)"), "100");
  EXPECT_EQ(find("ColorTexts(1)"), "\"255255255\"");
  EXPECT_EQ(find("ThumbnailShowFilename"), "true");
  EXPECT_EQ(find("ConvertWindowHeight"), "7200");
  EXPECT_EQ(find("BatchSplit(3)"), "50");
}

// ---- Fixed strings ---------------------------------------------------------

TEST(StartRecordStrings, PaddingTruncationAndTrimming) {
  String256 s;
  s.Set(std::string(256, 'a'));
  EXPECT_EQ(s.bytes[255], 'a');  // exactly full: no trailing blank
  EXPECT_EQ(s.Get(), std::string(256, 'a'));

  s.Set(std::string(250, 'b') + "cdefghij");  // 258 bytes: cut after 256
  EXPECT_EQ(s.Get(), std::string(250, 'b') + "cdefgh");

  s.Set("ab");
  EXPECT_EQ(s.bytes[1], 'b');
  EXPECT_EQ(s.bytes[2], ' ');
  EXPECT_EQ(s.bytes[255], ' ');
  EXPECT_FALSE(s.IsBlank());

  s.Set("  lead and trail  ");  // only the right side is trimmed
  EXPECT_EQ(s.Get(), "  lead and trail");

  s.Set("");
  EXPECT_TRUE(s.IsBlank());
  EXPECT_EQ(s.Get(), "");

  String256 zero;  // as a short file leaves it
  EXPECT_FALSE(zero.IsBlank());
  EXPECT_EQ(zero.Get(), "");
}

// ---- Bytes in, bytes out -----------------------------------------------------

TEST(StartRecordBytes, AnyBytesRoundTripUnchanged) {
  // Arbitrary bytes, including odd booleans and NULs inside strings: carried
  // fields must go back out exactly as they came in.
  ByteVector in(kRecordBytes);
  uint32_t seed = 12345;
  for (uint8_t& b : in) {
    seed = seed * 1103515245u + 12345u;
    b = static_cast<uint8_t>(seed >> 16);
  }
  StartRecord rec;
  ParseStartRecord(in.data(), in.size(), rec);
  EXPECT_TRUE(SameBytes(in, SerializeStartRecord(rec)));
}

TEST(StartRecordBytes, FieldsAreLittleEndianAtTheirOffsets) {
  StartRecord rec;
  rec.MainWidth = 0x1234;
  rec.ForeColor = 0x00332211;
  rec.RecentFiles[1].Set("/x.png");
  rec.CurrentTool.Set("Brush");
  rec.BatchFlag = 1;
  const ByteVector b = SerializeStartRecord(rec);
  EXPECT_EQ(b[0], 0x34);
  EXPECT_EQ(b[1], 0x12);
  EXPECT_EQ(b[3110], 0x11);
  EXPECT_EQ(b[3111], 0x22);
  EXPECT_EQ(b[3112], 0x33);
  EXPECT_EQ(b[3113], 0x00);
  EXPECT_EQ(std::string(b.begin() + 784, b.begin() + 790), "/x.png");  // 528 + 256
  EXPECT_EQ(b[790], ' ');
  EXPECT_EQ(std::string(b.begin() + 3184, b.begin() + 3189), "Brush");
  EXPECT_EQ(b[3208], ' ');  // last byte of the 25
  EXPECT_EQ(b[3209], 0);    // SelectionMode untouched
  EXPECT_EQ(b[6592], 1);
}

// ---- The settings file -------------------------------------------------------

TEST(StartRecordFile, AbsentFileGivesDefaultsAndLeavesAnEmptyFile) {
  TempDir dir;
  RunCounter = 7;
  StartRecord rec;
  rec.MainWidth = 1;
  EXPECT_FALSE(LoadStartRecord(dir.path(), rec));
  EXPECT_EQ(rec, DefaultStartRecord(dir.path()));
  EXPECT_EQ(RunCounter, -1);
  const fs::path file = dir / "kv201Start.up";
  ASSERT_TRUE(fs::exists(file));
  EXPECT_EQ(fs::file_size(file), 0u);
}

TEST(StartRecordFile, ZeroSizeFileGivesAllZeros) {
  TempDir dir;
  WriteFile(dir / "kv201Start.up", {});
  StartRecord rec = DefaultStartRecord(dir.path());
  EXPECT_TRUE(LoadStartRecord(dir.path(), rec));
  EXPECT_EQ(rec.MainWidth, 0);
  EXPECT_EQ(rec.ColorBoxShown, 0);
  EXPECT_TRUE(SameBytes(ByteVector(kRecordBytes, 0), SerializeStartRecord(rec)));
  EXPECT_EQ(fs::file_size(dir / "kv201Start.up"), 0u);
}

TEST(StartRecordFile, ShortFileFillsTheRestWithZeros) {
  TempDir dir;
  // MainWidth 10000, MainHeight 7200, MainMaximized true, ImageMaximized
  // false, then the first two characters of OpenFolder.
  const ByteVector head = {0x10, 0x27, 0x20, 0x1C, 0xFF, 0xFF, 0x00, 0x00, '/', 'x'};
  WriteFile(dir / "kv201Start.up", head);
  StartRecord rec;
  EXPECT_TRUE(LoadStartRecord(dir.path(), rec));
  EXPECT_EQ(rec.MainWidth, 10000);
  EXPECT_EQ(rec.MainHeight, 7200);
  EXPECT_EQ(rec.MainMaximized, -1);
  EXPECT_EQ(rec.OpenFolder.Get(), "/x");
  EXPECT_EQ(rec.SaveAskOnClose, 0);  // no defaults for a short file
  EXPECT_EQ(rec.TextToolFont.Get(), "");
  ByteVector expected(kRecordBytes, 0);
  std::copy(head.begin(), head.end(), expected.begin());
  EXPECT_TRUE(SameBytes(expected, SerializeStartRecord(rec)));
}

TEST(StartRecordFile, SaveAndLoadRoundTrip) {
  TempDir dir;
  StartRecord rec = DefaultStartRecord(dir.path());
  rec.MainMaximized = kFalse;
  rec.MainWidth = 12345;
  rec.OpenFolder.Set("/home/u/Pictures/");
  AddRecentFile(rec, "/home/u/Pictures/a.png");
  rec.CurrentTool.Set("Airbrush");
  rec.CustomColors[15] = 0x00123456;
  rec.ReservedLong = -123456789;
  rec.ColorTexts[0].Set("000128255");
  rec.ConvertOverwrite = 0;
  rec.BatchSplit[4] = 99;
  ASSERT_TRUE(SaveStartRecord(dir.path(), rec));
  EXPECT_EQ(fs::file_size(dir / "kv201Start.up"), kRecordBytes);

  StartRecord back;
  EXPECT_TRUE(LoadStartRecord(dir.path(), back));
  EXPECT_EQ(back, rec);
  EXPECT_EQ(back.CurrentTool.Get(), "Airbrush");
  EXPECT_EQ(back.RecentFiles[0].Get(), "/home/u/Pictures/a.png");
}

TEST(StartRecordFile, SaveOverALongerFileKeepsItsTail) {
  TempDir dir;
  const fs::path file = dir / "kv201Start.up";
  WriteFile(file, ByteVector(7000, 0xAB));
  const StartRecord rec = DefaultStartRecord(dir.path());
  ASSERT_TRUE(SaveStartRecord(dir.path(), rec));
  const ByteVector after = ReadFile(file);
  ASSERT_EQ(after.size(), 7000u);
  EXPECT_TRUE(SameBytes(SerializeStartRecord(rec), ByteVector(after.begin(), after.begin() + kRecordBytes)));
  for (size_t i = kRecordBytes; i < after.size(); ++i) ASSERT_EQ(after[i], 0xAB) << i;

  // Loading such a file reads only the record.
  StartRecord back;
  EXPECT_TRUE(LoadStartRecord(dir.path(), back));
  EXPECT_EQ(back, rec);
}

// ---- Recent files ------------------------------------------------------------

class StartRecordRecent : public ::testing::Test {
 protected:
  StartRecord rec = DefaultStartRecord("/opt/kv");
  std::vector<std::string> Slots() const {
    std::vector<std::string> v;
    for (const String256& s : rec.RecentFiles) v.push_back(s.Get());
    return v;
  }
  void FillEight() {
    for (int i = 0; i < 8; ++i) AddRecentFile(rec, "/p" + std::to_string(i));
  }
};

TEST_F(StartRecordRecent, AppendsAtTheEndWhileThereIsRoom) {
  AddRecentFile(rec, "/a");
  AddRecentFile(rec, "/b");
  AddRecentFile(rec, "/c");
  EXPECT_EQ(Slots(), (std::vector<std::string>{"/a", "/b", "/c", "", "", "", "", ""}));
  EXPECT_TRUE(rec.RecentFiles[3].IsBlank());
}

TEST_F(StartRecordRecent, KnownNameKeepsItsPlace) {
  AddRecentFile(rec, "/a");
  AddRecentFile(rec, "/b");
  AddRecentFile(rec, "/a");
  EXPECT_EQ(Slots(), (std::vector<std::string>{"/a", "/b", "", "", "", "", "", ""}));

  FillEight();  // "/a", "/b", "/p0" ... "/p5"
  const auto before = Slots();
  AddRecentFile(rec, "/p3");
  AddRecentFile(rec, "/a");
  EXPECT_EQ(Slots(), before);
}

TEST_F(StartRecordRecent, NinthNameDropsSlotSevenAndLandsOnSlotZero) {
  FillEight();
  AddRecentFile(rec, "/p8");
  EXPECT_EQ(Slots(), (std::vector<std::string>{"/p8", "/p0", "/p1", "/p2", "/p3", "/p4", "/p5", "/p6"}));
  AddRecentFile(rec, "/p9");
  EXPECT_EQ(Slots(), (std::vector<std::string>{"/p9", "/p8", "/p0", "/p1", "/p2", "/p3", "/p4", "/p5"}));
}

TEST_F(StartRecordRecent, WalkStopsAtTheFirstEmptySlot) {
  // A name listed after a gap is not found: the gap takes it first.
  rec.RecentFiles[0].Set("/a");
  rec.RecentFiles[2].Set("/c");
  AddRecentFile(rec, "/c");
  EXPECT_EQ(Slots(), (std::vector<std::string>{"/a", "/c", "/c", "", "", "", "", ""}));
}

}  // namespace
}  // namespace kelvane
