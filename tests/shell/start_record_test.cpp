// The settings record: first-start bytes at offsets worked out by hand from
// the field table, the file rules of loading and saving, and the recent list.
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

// An expected file image, written little-endian at hand-worked offsets.
struct Image {
  ByteVector v = ByteVector(kRecordBytes, 0);
  void I16(size_t at, int16_t x) { I(at, x, 2); }
  void I32(size_t at, int32_t x) { I(at, x, 4); }
  void I(size_t at, int32_t x, int n) {
    for (int i = 0; i < n; ++i) v[at + i] = static_cast<uint8_t>(static_cast<uint32_t>(x) >> (8 * i));
  }
  void Str(size_t at, size_t width, const std::string& s) {
    for (size_t i = 0; i < width; ++i) v[at + i] = static_cast<uint8_t>(i < s.size() ? s[i] : ' ');
  }
};

// The first differing byte, for a readable failure.
::testing::AssertionResult SameBytes(const ByteVector& expected, const ByteVector& actual) {
  if (expected.size() != actual.size())
    return ::testing::AssertionFailure() << "size " << actual.size() << ", expected " << expected.size();
  for (size_t i = 0; i < expected.size(); ++i)
    if (expected[i] != actual[i])
      return ::testing::AssertionFailure() << "offset " << i << ": " << int(actual[i]) << ", expected "
                                           << int(expected[i]);
  return ::testing::AssertionSuccess();
}

void WriteFile(const fs::path& p, const ByteVector& bytes) {
  std::ofstream(p, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TEST(StartRecordLayout, SizeOffsetsAndUniqueNames) {
  EXPECT_EQ(StartRecordSize(), kRecordBytes);
  const std::pair<const char*, size_t> offsets[] = {
      {"MainWidth", 0},       {"RecentFiles", 528},  {"CustomColors", 3118}, {"CurrentTool", 3184},
      {"ColorTexts", 3853},   {"ReservedGeometry", 4199}, {"ConvertSplit", 5256}, {"BatchFlag", 6592}};
  for (const auto& [name, offset] : offsets) EXPECT_EQ(StartRecordFieldOffset(name), offset) << name;
  EXPECT_EQ(StartRecordFieldOffset("NoSuchField"), SIZE_MAX);
  std::set<std::string> names;
  for (const StartRecordField& f : StartRecordFields()) EXPECT_TRUE(names.insert(f.name).second) << f.name;
}

// Every byte of a first-start record; then zero-default fields set to marks,
// so that their places show too.
TEST(StartRecordLayout, FirstStartBytesAndFieldPlaces) {
  const std::string app = "/opt/kv";
  Image e;
  // i16 defaults (-1 is true), in file order.
  const std::pair<size_t, int16_t> i16s[] = {
      {0, 9600}, {2, 7200}, {4, -1}, {520, -1}, {522, -1}, {524, -1}, {526, 1}, {3182, -1}, {3209, 2},
      {3213, 50}, {3215, -1}, {3219, 25}, {3221, 25}, {3223, -1}, {3225, 75}, {3227, 25}, {3229, 100},
      {3231, 1}, {3235, 25}, {3237, 100}, {3241, 100}, {3243, 3}, {3251, -1}, {3255, 50}, {3769, 20},
      {3771, -1}, {3773, -1}, {3777, 2}, {3779, 100}, {3805, 50}, {3807, 1}, {3833, 10}, {3835, 80},
      {3841, 15}, {3847, 100}, {3849, 90}, {3851, 65}, {3871, 3600}, {3873, 4650}, {3875, 3950},
      {3877, 3180}, {3881, 420}, {3883, 8640}, {3887, 420}, {3889, 1110}, {3893, 420}, {3895, 6045},
      {3897, 2600}, {3899, 3180}, {3903, 6780}, {3905, 1100}, {3907, 4800}, {3909, 7000}, {3913, 70},
      {3915, 60}, {3919, 4}, {4183, 420}, {4185, 3615}, {4189, 3600}, {4191, 1110}, {4193, 3540},
      {4195, 3180}, {4199, 3600}, {4201, 8610}, {4469, 3}, {4471, 5}, {4473, 80}, {5243, 7}, {5533, 60},
      {6559, 6}};
  for (auto [at, x] : i16s) e.I16(at, x);
  for (int k = 0; k < 7; ++k) e.I16(2576 + 2 * k, -1);  // the seven shown flags
  for (int k = 0; k < 8; ++k) e.I16(3809 + 2 * k, -1);  // ColorChannelFlags
  const std::pair<size_t, int32_t> i32s[] = {{3110, 0xFFFFFF}, {3793, 0xFFFFFF}, {3923, 0xFFFFFF}, {4205, 600},
                                             {4209, 450},      {5248, 9600},     {5252, 7200},     {6564, 9600},
                                             {6568, 7200}};
  for (auto [at, x] : i32s) e.I32(at, x);
  for (int i = 0; i < 16; ++i) e.I32(3118 + 4 * i, 0x111111 * i);  // grey ramp
  const int convertSplit[] = {30, 50, 75, 30, 50}, batchSplit[] = {30, 50, 75, 50, 30};
  for (int k = 0; k < 5; ++k) e.I32(5256 + 4 * k, convertSplit[k]), e.I32(6572 + 4 * k, batchSplit[k]);
  for (size_t at : {3921, 3922, 5245, 5532, 6561, 6592}) e.v[at] = 1;  // byte booleans
  const std::string images = app + "/Images/";
  const std::tuple<size_t, size_t, std::string> strs[] = {
      {8, 256, images},   {264, 256, images},  {2594, 256, app},         {2850, 256, app},
      {3184, 25, ""},     {3257, 256, "1.0"},  {3513, 256, "Arial"},     {3853, 9, "255255255"},
      {3862, 9, "255255255"}, {3927, 256, images}, {4213, 256, app + "/images/"}, {4475, 256, "Sample"},
      {4731, 256, app},   {4987, 256, app},    {5276, 256, app},         {5535, 256, "Sample"},
      {5791, 256, app},   {6047, 256, app},    {6303, 256, app}};
  for (const auto& [at, width, s] : strs) e.Str(at, width, s);
  for (int k = 0; k < 8; ++k) e.Str(528 + 256 * k, 256, "");
  StartRecord rec = DefaultStartRecord(app);
  EXPECT_TRUE(SameBytes(e.v, SerializeStartRecord(rec)));
  EXPECT_TRUE(SameBytes(e.v, SerializeStartRecord(DefaultStartRecord("/opt/kv/"))));  // no doubled slash

  rec.ImageMaximized = kTrue, e.I16(6, -1);
  rec.HoverTool = 0x0102, e.I16(2590, 0x0102);
  rec.ColorBoxMode = 0x03040506, e.I32(3106, 0x03040506);
  rec.BackColor = 0x00332211, e.I32(3114, 0x00332211);
  rec.BrushMode = 11, e.I16(3217, 11);
  rec.StampMaskColor = 0x00141516, e.I32(3245, 0x00141516);
  rec.StampClearBack = kTrue, e.I16(3253, -1);
  rec.GradientShape[2] = 17, e.I32(3789, 17);
  rec.PasteBoxAction = 19, e.I16(3837, 19);
  rec.ReservedLong = -123456789, e.I32(3843, -123456789);
  rec.ThumbnailQuality = 1, e.I16(3917, 1);
  rec.ConvertMode = 21, e.I16(5246, 21);
  rec.BatchMode = 22, e.I16(6562, 22);
  rec.RecentFiles[1].Set("/x.png"), e.Str(784, 256, "/x.png");
  rec.CurrentTool.Set("Brush"), e.Str(3184, 25, "Brush");
  EXPECT_TRUE(SameBytes(e.v, SerializeStartRecord(rec)));
}

TEST(StartRecordLayout, DescribeGivesOneLinePerElement) {
  const auto lines = DescribeStartRecord(DefaultStartRecord("/opt/kv"));
  ASSERT_EQ(lines.size(), 190u);  // counted row by row from the table, arrays expanded
  using Line = std::pair<std::string, std::string>;
  EXPECT_EQ(lines.front(), Line("MainWidth", "9600"));
  EXPECT_EQ(lines[2], Line("MainMaximized", "true"));
  EXPECT_EQ(lines[3], Line("ImageMaximized", "false"));
  EXPECT_EQ(lines[4], Line("OpenFolder", "\"/opt/kv/Images/\""));
  EXPECT_EQ(lines[10], Line("RecentFiles(0)", "\"\""));
  EXPECT_EQ(lines[17].first, "RecentFiles(7)");
  EXPECT_EQ(lines[30], Line("ForeColor", "0x00FFFFFF"));
  EXPECT_EQ(lines[33], Line("CustomColors(1)", "0x00111111"));
  EXPECT_EQ(lines.back(), Line("BatchFlag", "true"));
}

TEST(StartRecordStrings, PaddingTruncationAndTrimming) {
  String256 s;
  const std::string full(256, 'a'), longText = std::string(250, 'b') + "cdefghij";
  s.Set(full);  // exactly full: no trailing blank
  EXPECT_EQ(s.Get(), full);
  s.Set(longText);  // cut after 256
  EXPECT_EQ(s.Get(), longText.substr(0, 256));
  s.Set("  ab  ");  // blank padded; only the right side is trimmed
  EXPECT_EQ(s.bytes[255], ' ');
  EXPECT_EQ(s.Get(), "  ab");
  s.Set("");
  EXPECT_TRUE(s.IsBlank());
  EXPECT_FALSE(String256{}.IsBlank());  // a zero field, as a short file leaves it, reads as empty
  EXPECT_EQ(String256{}.Get(), "");
}

TEST(StartRecordBytes, AnyBytesRoundTripUnchanged) {
  // Odd booleans and NULs inside strings: carried fields go back out as they came.
  ByteVector in(kRecordBytes);
  uint32_t seed = 12345;
  for (uint8_t& b : in) b = static_cast<uint8_t>((seed = seed * 1103515245u + 12345u) >> 16);
  StartRecord rec;
  ParseStartRecord(in.data(), in.size(), rec);
  EXPECT_TRUE(SameBytes(in, SerializeStartRecord(rec)));
}

TEST(StartRecordFile, AbsentFileGivesDefaultsAndLeavesAnEmptyFile) {
  TempDir dir;
  RunCounter = 7;
  StartRecord rec;
  EXPECT_FALSE(LoadStartRecord(dir.path(), rec));
  EXPECT_EQ(rec, DefaultStartRecord(dir.path()));
  EXPECT_EQ(RunCounter, -1);
  ASSERT_TRUE(fs::exists(dir / "kv201Start.up"));
  EXPECT_EQ(fs::file_size(dir / "kv201Start.up"), 0u);
}

TEST(StartRecordFile, ShortOrEmptyFileFillsTheRestWithZeros) {
  // MainWidth 10000, MainHeight 7200, MainMaximized true, ImageMaximized
  // false, then the first two characters of OpenFolder.
  const ByteVector head = {0x10, 0x27, 0x20, 0x1C, 0xFF, 0xFF, 0x00, 0x00, '/', 'x'};
  for (const ByteVector& file : {ByteVector{}, head}) {
    TempDir dir;
    WriteFile(dir / "kv201Start.up", file);
    StartRecord rec = DefaultStartRecord(dir.path());
    EXPECT_TRUE(LoadStartRecord(dir.path(), rec));
    ByteVector expected(kRecordBytes, 0);
    std::copy(file.begin(), file.end(), expected.begin());
    EXPECT_TRUE(SameBytes(expected, SerializeStartRecord(rec)));  // no defaults for a short file
    EXPECT_EQ(fs::file_size(dir / "kv201Start.up"), file.size());
  }
}

TEST(StartRecordFile, SaveOverALongerFileKeepsItsTailAndLoadsBack) {
  TempDir dir;
  const fs::path file = dir / "kv201Start.up";
  WriteFile(file, ByteVector(7000, 0xAB));
  StartRecord rec = DefaultStartRecord(dir.path());
  rec.MainWidth = 12345;
  rec.BatchSplit[4] = 99;
  ASSERT_TRUE(SaveStartRecord(dir.path(), rec));
  ByteVector after;
  ASSERT_TRUE(ReadWholeFile(file, after));
  ASSERT_EQ(after.size(), 7000u);
  EXPECT_TRUE(SameBytes(SerializeStartRecord(rec), ByteVector(after.begin(), after.begin() + kRecordBytes)));
  for (size_t i = kRecordBytes; i < after.size(); ++i) ASSERT_EQ(after[i], 0xAB) << i;
  StartRecord back;
  EXPECT_TRUE(LoadStartRecord(dir.path(), back));
  EXPECT_EQ(back, rec);
}

TEST(StartRecordRecent, FillsFromTheTopThenPushesAtTheHead) {
  using Slots = std::vector<std::string>;
  StartRecord rec = DefaultStartRecord("/opt/kv");
  auto slots = [&] {
    Slots v;
    for (const String256& s : rec.RecentFiles) v.push_back(s.Get());
    return v;
  };
  for (const char* p : {"/a", "/b", "/a"}) AddRecentFile(rec, p);  // a known name keeps its place
  EXPECT_EQ(slots(), (Slots{"/a", "/b", "", "", "", "", "", ""}));
  for (int i = 0; i < 6; ++i) AddRecentFile(rec, "/p" + std::to_string(i));
  AddRecentFile(rec, "/p3");
  EXPECT_EQ(slots(), (Slots{"/a", "/b", "/p0", "/p1", "/p2", "/p3", "/p4", "/p5"}));
  AddRecentFile(rec, "/p8");  // ninth name: slot 7 drops, the name lands on slot 0
  AddRecentFile(rec, "/p9");
  EXPECT_EQ(slots(), (Slots{"/p9", "/p8", "/a", "/b", "/p0", "/p1", "/p2", "/p3"}));

  // The walk stops at the first empty slot: a name listed after a gap is not found.
  rec = DefaultStartRecord("/opt/kv");
  rec.RecentFiles[0].Set("/a");
  rec.RecentFiles[2].Set("/c");
  AddRecentFile(rec, "/c");
  EXPECT_EQ(slots(), (Slots{"/a", "/c", "/c", "", "", "", "", ""}));
}

}  // namespace
}  // namespace kelvane
