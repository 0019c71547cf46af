// User filters: the *.kif file byte for byte, the grid's reading and showing
// rules with their messages, and applying through MaskFilter.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "base/byte_io.h"
#include "document/rect_region.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"
#include "filters/user_filter.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

UserFilterRecord Record(int n, std::vector<int32_t> readingOrder, int32_t divisor, int32_t red, int32_t green,
                        int32_t blue) {
  UserFilterRecord r;
  r.Mask.size = n;
  r.Mask.weights = std::move(readingOrder);
  r.Divisor = divisor;
  r.AddRed = red;
  r.AddGreen = green;
  r.AddBlue = blue;
  return r;
}

void Le32(ByteVector& b, uint32_t v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// The 3 by 3 record of the byte tests: rows {1, 2, 3}, {4, 5, 6}, {7, 8, -9}.
UserFilterRecord Sample3() { return Record(3, {1, 2, 3, 4, 5, 6, 7, 8, -9}, 7, 255, -1, 128); }

// Its file written out by hand: the header, then the entries with the row
// index running fastest, i.e. the mask read column by column: 1 4 7 2 5 8 3
// 6 -9; then 7, 255, -1, 128.
ByteVector Sample3Bytes() {
  ByteVector b = {0x02, 0x00};                      // two dimensions
  Le32(b, 3), Le32(b, 0), Le32(b, 3), Le32(b, 0);   // counts and lower bounds
  for (uint32_t v : {1u, 4u, 7u, 2u, 5u, 8u, 3u, 6u}) Le32(b, v);
  b.insert(b.end(), {0xF7, 0xFF, 0xFF, 0xFF});     // -9
  b.insert(b.end(), {0x07, 0, 0, 0, 0xFF, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x80, 0, 0, 0});
  return b;
}

ByteVector FileBytes(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return ByteVector(std::istreambuf_iterator<char>(in), {});
}

void WriteBytes(const std::filesystem::path& p, const ByteVector& b) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

// --- the file ---------------------------------------------------------------------

TEST(UserFilterFile, WritesTheHandBuiltBytesAndReadsThemBack) {
  const ByteVector expected = Sample3Bytes();
  ASSERT_EQ(expected.size(), 70u);  // 18 + 4 * 9 + 16
  EXPECT_EQ(UserFilterFileSize(3), 70u);
  EXPECT_EQ(UserFilterFileSize(5), 134u);

  ByteVector encoded;
  ASSERT_TRUE(EncodeUserFilter(Sample3(), encoded));
  EXPECT_EQ(encoded, expected);

  test::TempDir dir;
  ASSERT_TRUE(SaveUserFilter(dir / "a.kif", Sample3()));
  EXPECT_EQ(FileBytes(dir / "a.kif"), expected);

  UserFilterRecord loaded;
  loaded.Name = "left over";
  ASSERT_TRUE(LoadUserFilter(dir / "a.kif", loaded));
  EXPECT_EQ(loaded, Sample3());  // the name is not part of the file
  UserFilterRecord decoded;
  ASSERT_TRUE(DecodeUserFilter(expected.data(), expected.size(), decoded));
  EXPECT_EQ(decoded, Sample3());
  EXPECT_EQ(decoded.Mask.At(2, 2), -9);
  EXPECT_EQ(decoded.Mask.At(0, 2), 3);  // row 0, column 2
}

TEST(UserFilterFile, FiveByFiveEntriesSitColumnByColumn) {
  // Entry (r, c) := 10 r + c, so every weight tells where it belongs.
  std::vector<int32_t> w;
  for (int r = 0; r < 5; ++r)
    for (int c = 0; c < 5; ++c) w.push_back(10 * r + c);
  const UserFilterRecord rec = Record(5, w, -3, 1, 2, 3);
  ByteVector b;
  ASSERT_TRUE(EncodeUserFilter(rec, b));
  ASSERT_EQ(b.size(), 134u);
  ByteReader in(b);
  EXPECT_EQ(in.I16(), 2);
  EXPECT_EQ(in.I32(), 5);
  EXPECT_EQ(in.I32(), 0);
  EXPECT_EQ(in.I32(), 5);
  EXPECT_EQ(in.I32(), 0);
  for (int k = 0; k < 25; ++k) {
    const int r = k % 5, c = k / 5;  // offset 18 + 4 (r + 5 c)
    EXPECT_EQ(in.I32(), 10 * r + c) << "entry " << k;
  }
  EXPECT_EQ(in.I32(), -3);  // offset 18 + 4 * 25 = 118
  EXPECT_EQ(in.I32(), 1);
  EXPECT_EQ(in.I32(), 2);
  EXPECT_EQ(in.I32(), 3);
  UserFilterRecord back;
  ASSERT_TRUE(DecodeUserFilter(b.data(), b.size(), back));
  EXPECT_EQ(back, rec);
}

TEST(UserFilterFile, SavingOverALongerFileKeepsItsTailAndStillLoads) {
  test::TempDir dir;
  const UserFilterRecord big = Record(5, std::vector<int32_t>(25, 2), 50, 0, 0, 0);
  ASSERT_TRUE(SaveUserFilter(dir / "f.kif", big));
  ASSERT_TRUE(SaveUserFilter(dir / "f.kif", Sample3()));
  const ByteVector bytes = FileBytes(dir / "f.kif");
  ASSERT_EQ(bytes.size(), 134u);
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 70, Sample3Bytes().begin()));
  UserFilterRecord loaded;
  ASSERT_TRUE(LoadUserFilter(dir / "f.kif", loaded));
  EXPECT_EQ(loaded, Sample3());
}

TEST(UserFilterFile, RefusesWhatIsNotARecordAndLeavesTheRecordAlone) {
  const ByteVector good = Sample3Bytes();
  const UserFilterRecord untouched = Record(5, std::vector<int32_t>(25, 9), 9, 9, 9, 9);
  auto refused = [&](const ByteVector& b) {
    UserFilterRecord r = untouched;
    const bool ok = DecodeUserFilter(b.data(), b.size(), r);
    return !ok && r == untouched;
  };
  auto patched = [&](size_t offset, std::initializer_list<uint8_t> bytes) {
    ByteVector b = good;
    std::copy(bytes.begin(), bytes.end(), b.begin() + static_cast<ptrdiff_t>(offset));
    return b;
  };
  EXPECT_TRUE(refused(patched(0, {1, 0})));          // one dimension
  EXPECT_TRUE(refused(patched(0, {3, 0})));          // three dimensions
  EXPECT_TRUE(refused(patched(2, {4})));             // 4 by 3
  EXPECT_TRUE(refused(patched(2, {5})));             // 5 by 3
  {
    ByteVector b = patched(2, {4});
    b[10] = 4;  // 4 by 4: not a size the dialog makes
    EXPECT_TRUE(refused(b));
    b[2] = b[10] = 1;  // 1 by 1
    EXPECT_TRUE(refused(b));
    b[2] = b[10] = 7;  // 7 by 7
    b.resize(UserFilterFileSize(7));
    EXPECT_TRUE(refused(b));
  }
  EXPECT_TRUE(refused(patched(6, {1})));             // lower bound 1
  EXPECT_TRUE(refused(patched(14, {0xFF, 0xFF, 0xFF, 0xFF})));
  EXPECT_TRUE(refused(patched(2, {0xFF, 0xFF, 0xFF, 0xFF})));  // count -1
  // Every truncation is refused; the whole record, with or without a tail,
  // is taken.
  for (size_t n = 0; n < good.size(); ++n) EXPECT_TRUE(refused(ByteVector(good.begin(), good.begin() + n))) << n;
  ByteVector longer = good;
  longer.insert(longer.end(), 40, 0xAB);
  UserFilterRecord r;
  ASSERT_TRUE(DecodeUserFilter(longer.data(), longer.size(), r));
  EXPECT_EQ(r, Sample3());
  EXPECT_FALSE(DecodeUserFilter(nullptr, 0, r));

  test::TempDir dir;
  EXPECT_FALSE(LoadUserFilter(dir / "missing.kif", r));
  WriteBytes(dir / "empty.kif", {});
  EXPECT_FALSE(LoadUserFilter(dir / "empty.kif", r));
  EXPECT_EQ(r, Sample3());
  // A folder is not a file; a long file is read only as far as a record goes.
  std::filesystem::create_directory(dir / "folder.kif");
  EXPECT_FALSE(LoadUserFilter(dir / "folder.kif", r));
  ByteVector huge = good;
  huge.resize(1 << 20, 0x5A);
  WriteBytes(dir / "huge.kif", huge);
  UserFilterRecord fromHuge;
  ASSERT_TRUE(LoadUserFilter(dir / "huge.kif", fromHuge));
  EXPECT_EQ(fromHuge, Sample3());
  if (std::filesystem::exists("/dev/zero")) EXPECT_FALSE(LoadUserFilter("/dev/zero", r));  // no end, all zero
}

TEST(UserFilterFile, SavingRefusesMasksTheFileCannotHold) {
  test::TempDir dir;
  ByteVector out = {1, 2, 3};
  for (const UserFilterRecord& bad : {Record(1, {4}, 1, 0, 0, 0), Record(4, std::vector<int32_t>(16, 1), 1, 0, 0, 0),
                                      Record(3, {1, 2, 3}, 1, 0, 0, 0), Record(0, {}, 1, 0, 0, 0)}) {
    EXPECT_FALSE(EncodeUserFilter(bad, out));
    EXPECT_EQ(out, (ByteVector{1, 2, 3}));
    EXPECT_FALSE(SaveUserFilter(dir / "bad.kif", bad));
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "bad.kif"));
  EXPECT_FALSE(SaveUserFilter(dir / "no" / "such" / "folder.kif", Sample3()));
}

TEST(UserFilterFile, TruncationsAndByteFlipsNeverCrash) {
  // Runs under AddressSanitizer in the sanitizer build: any read past the
  // buffer fails there. Whatever decodes must encode back to the same prefix.
  ByteVector five;
  ASSERT_TRUE(EncodeUserFilter(Record(5, std::vector<int32_t>(25, -1), 25, 1, 2, 3), five));
  std::mt19937 rng(1234);
  int accepted = 0;
  for (const ByteVector& seed : {Sample3Bytes(), five}) {
    for (int round = 0; round < 20000; ++round) {
      ByteVector b = seed;
      const int flips = 1 + static_cast<int>(rng() % 4);
      for (int f = 0; f < flips; ++f) {
        // Bias towards the header, where a flip changes the shape.
        const size_t at = (rng() & 1) ? rng() % 18 : rng() % b.size();
        b[at] ^= static_cast<uint8_t>(1u << (rng() % 8));
      }
      if (rng() % 3 == 0) b.resize(rng() % (b.size() + 1));
      // An exact-size heap copy, so that ASan sees the end of the data.
      std::vector<uint8_t> exact(b.begin(), b.end());
      UserFilterRecord r;
      if (DecodeUserFilter(exact.data(), exact.size(), r)) {
        ++accepted;
        ASSERT_TRUE(r.Mask.size == 3 || r.Mask.size == 5);
        ByteVector again;
        ASSERT_TRUE(EncodeUserFilter(r, again));
        ASSERT_LE(again.size(), exact.size());
        ASSERT_TRUE(std::equal(again.begin(), again.end(), exact.begin()));
      }
    }
  }
  EXPECT_GT(accepted, 0);  // flips in the weights keep a valid file
}

TEST(UserFilterFile, DefaultFolderIsFiltersBelowTheApplicationFolder) {
  EXPECT_EQ(UserFilterFolder("/opt/kelvane"), std::filesystem::path("/opt/kelvane/Filters"));
  EXPECT_EQ(UserFilterFolder("/opt/kelvane/"), std::filesystem::path("/opt/kelvane/Filters"));
}

// --- values of the text boxes -----------------------------------------------------------

TEST(UserFilterValues, TextIsReadAsTheNumberItStartsWith) {
  EXPECT_EQ(TextAsNumber(""), 0);
  EXPECT_EQ(TextAsNumber("abc"), 0);
  EXPECT_EQ(TextAsNumber("-"), 0);
  EXPECT_EQ(TextAsNumber("."), 0);
  EXPECT_EQ(TextAsNumber("inf"), 0);
  EXPECT_EQ(TextAsNumber("nan"), 0);
  EXPECT_EQ(TextAsNumber("0x10"), 0);
  EXPECT_EQ(TextAsNumber("  12"), 12);
  EXPECT_EQ(TextAsNumber("12abc"), 12);
  EXPECT_EQ(TextAsNumber("+7"), 7);
  EXPECT_EQ(TextAsNumber("-15"), -15);
  EXPECT_EQ(TextAsNumber("1.5"), 1.5);
  EXPECT_EQ(TextAsNumber(".25"), 0.25);
  EXPECT_EQ(TextAsNumber("2e2"), 200);
  EXPECT_EQ(TextAsNumber("2e"), 2);
  EXPECT_EQ(TextAsNumber("2e+"), 2);
  EXPECT_EQ(TextAsNumber("3 4"), 3);

  EXPECT_EQ(TextAsInteger("2.5"), 2);  // ties to even
  EXPECT_EQ(TextAsInteger("3.5"), 4);
  EXPECT_EQ(TextAsInteger("-2.5"), -2);
  EXPECT_EQ(TextAsInteger("0.4"), 0);
  EXPECT_EQ(TextAsInteger("99999999999"), INT32_MAX);
  EXPECT_EQ(TextAsInteger("-1e20"), INT32_MIN);
  EXPECT_EQ(TextAsInteger("1e999"), INT32_MAX);
  EXPECT_EQ(TextAsInteger("2147483647.6"), INT32_MAX);
  EXPECT_EQ(TextAsInteger("-2147483648"), INT32_MIN);
}

// --- the dialog -----------------------------------------------------------------------

struct DialogWithMessages {
  UserFilterDialog dialog;
  std::vector<std::string> messages;
  DialogWithMessages() {
    dialog.SetMessageHandler([this](std::string_view text) { messages.emplace_back(text); });
  }
};

TEST(UserFilterDialog, WindowTexts) {
  EXPECT_EQ(kUserFilterTitle, "User filter");
  EXPECT_EQ(kUserFilterFileFilter, "Kelvane filter (*.kif)|*.kif");
  EXPECT_EQ(kLoadFilterTitle, "Load filter");
  EXPECT_EQ(kSaveFilterTitle, "Save filter");
  EXPECT_EQ(kWeightCaption, "Weight ");  // the blank belongs to the caption
  EXPECT_EQ(kAddFactorsCaption, "Add factors:");
  EXPECT_EQ(kAddCaptions[0], "Red");
  EXPECT_EQ(kAddCaptions[1], "Green");
  EXPECT_EQ(kAddCaptions[2], "Blue");
  EXPECT_EQ(kAutoCaption, "&Auto");
  EXPECT_EQ(kKeepMarginsCaption, "&Keep margins");
  EXPECT_EQ(kBasedOnCaption, "Based on");
  EXPECT_EQ(kFilterButtonCaptions[0], "Load Filter");
  EXPECT_EQ(kFilterButtonCaptions[1], "Save Filter");
}

TEST(UserFilterDialog, BlankMasksAreRefusedWithTheMessage) {
  for (const char* filler : {"", "0", "abc", " -0", "0.0", "-"}) {
    DialogWithMessages d;
    for (std::string& cell : d.dialog.txtM) cell = filler;
    UserFilterRecord r = Sample3();
    EXPECT_FALSE(d.dialog.ReadFilter(r)) << "'" << filler << "'";
    EXPECT_EQ(r, Sample3());
    ASSERT_EQ(d.messages.size(), 1u);
    EXPECT_EQ(d.messages[0], "Invalid/blank mask. Verify coeficients.");
  }
}

TEST(UserFilterDialog, TheOuterRingDecidesBetweenThreeAndFive) {
  // A single non-zero cell at each of the 25 places: on the ring it makes a
  // 5 by 5 mask with the cell where it is, inside a 3 by 3 mask with the cell
  // one row and one column up.
  for (int row = 0; row < 5; ++row)
    for (int col = 0; col < 5; ++col) {
      DialogWithMessages d;
      d.dialog.txtM[static_cast<size_t>(row * 5 + col)] = "6";
      d.dialog.txtWeight = "2";
      UserFilterRecord r;
      ASSERT_TRUE(d.dialog.ReadFilter(r));
      EXPECT_TRUE(d.messages.empty());
      const bool ring = row == 0 || row == 4 || col == 0 || col == 4;
      std::vector<int32_t> expected(ring ? 25 : 9, 0);
      if (ring) expected[static_cast<size_t>(row * 5 + col)] = 6;
      else expected[static_cast<size_t>((row - 1) * 3 + col - 1)] = 6;
      EXPECT_EQ(r.Mask.size, ring ? 5 : 3) << row << "," << col;
      EXPECT_EQ(r.Mask.weights, expected) << row << "," << col;
      EXPECT_EQ(r.Divisor, 2);
    }
}

TEST(UserFilterDialog, ReadsValuesWeightAndAddsFromTheTextBoxes) {
  DialogWithMessages d;
  auto& m = d.dialog.txtM;
  m[6] = "1.5";   // row 1, column 1 -> entry (0, 0), rounds to 2
  m[12] = " 2.5"; // centre, ties to even -> 2
  m[18] = "-3x";  // row 3, column 3 -> entry (2, 2)
  m[8] = "0.4";   // non-zero text that rounds to 0
  m[0] = "0";     // a zero on the ring does not make it 5 by 5
  d.dialog.txtWeight = "0";
  d.dialog.txtAdd = {"300", "-999", "12"};
  UserFilterRecord r;
  r.Name = "Blur";
  ASSERT_TRUE(d.dialog.ReadFilter(r));
  EXPECT_TRUE(d.messages.empty());
  EXPECT_EQ(r.Mask.size, 3);
  EXPECT_EQ(r.Mask.weights, (std::vector<int32_t>{2, 0, 0, 0, 2, 0, 0, 0, -3}));
  EXPECT_EQ(r.Divisor, 0);  // a zero weight passes the blank test
  EXPECT_EQ(r.AddRed, 255);
  EXPECT_EQ(r.AddGreen, -255);
  EXPECT_EQ(r.AddBlue, 12);
  EXPECT_EQ(r.Name, "");

  // A cell whose only non-zero value is a fraction still counts as not blank.
  DialogWithMessages f;
  f.dialog.txtM[12] = "0.4";
  ASSERT_TRUE(f.dialog.ReadFilter(r));
  EXPECT_EQ(r.Mask.weights, std::vector<int32_t>(9, 0));
}

TEST(UserFilterDialog, ShowFilterCentresAndClears) {
  DialogWithMessages d;
  for (std::string& cell : d.dialog.txtM) cell = "x";
  d.dialog.ShowFilter(Sample3());
  const std::vector<std::string> expected = {"", "",  "",  "",   "",  //
                                             "", "1", "2", "3",  "",  //
                                             "", "4", "5", "6",  "",  //
                                             "", "7", "8", "-9", "",  //
                                             "", "",  "",  "",   ""};
  EXPECT_EQ(std::vector<std::string>(d.dialog.txtM.begin(), d.dialog.txtM.end()), expected);
  EXPECT_EQ(d.dialog.txtWeight, "7");
  EXPECT_EQ(d.dialog.txtAdd, (std::array<std::string, 3>{"255", "-1", "128"}));

  // A 1 by 1 mask lands in the centre (offset trunc(4 / 2) = 2); a 7 by 7
  // mask (offset trunc(-2 / 2) = -1) shows its middle 5 by 5 only.
  d.dialog.ShowFilter(Record(1, {42}, 1, 0, 0, 0));
  for (int i = 0; i < 25; ++i) EXPECT_EQ(d.dialog.txtM[static_cast<size_t>(i)], i == 12 ? "42" : "") << i;
  std::vector<int32_t> seven(49);
  for (int k = 0; k < 49; ++k) seven[static_cast<size_t>(k)] = k;
  d.dialog.ShowFilter(Record(7, seven, 1, 0, 0, 0));
  EXPECT_EQ(d.dialog.txtM[0], "8");    // entry (1, 1) = 1 * 7 + 1
  EXPECT_EQ(d.dialog.txtM[24], "40");  // entry (5, 5) = 5 * 7 + 5
  // An empty record (GetMask of an unknown index) leaves the grid empty.
  d.dialog.ShowFilter(UserFilterRecord{});
  for (const std::string& cell : d.dialog.txtM) EXPECT_EQ(cell, "");
  EXPECT_EQ(d.dialog.txtWeight, "0");

  d.dialog.txtM[3] = "5";
  d.dialog.txtWeight = "9";
  d.dialog.ClearFilter();
  for (const std::string& cell : d.dialog.txtM) EXPECT_EQ(cell, "");
  EXPECT_EQ(d.dialog.txtWeight, "9");
}

TEST(UserFilterDialog, GridRoundTrip) {
  DialogWithMessages d;
  UserFilterRecord back;
  // 3 by 3 and 5 by 5 with a non-zero ring come back as they were.
  d.dialog.ShowFilter(Sample3());
  ASSERT_TRUE(d.dialog.ReadFilter(back));
  EXPECT_EQ(back, Sample3());
  std::vector<int32_t> w(25);
  for (int k = 0; k < 25; ++k) w[static_cast<size_t>(k)] = k - 12;
  const UserFilterRecord five = Record(5, w, 3, -4, 5, -6);
  d.dialog.ShowFilter(five);
  ASSERT_TRUE(d.dialog.ReadFilter(back));
  EXPECT_EQ(back, five);
  // A 5 by 5 record whose ring is all zero reads back as its 3 by 3 centre.
  std::vector<int32_t> inner(25, 0);
  inner[6] = 1, inner[12] = 2, inner[18] = 3;
  d.dialog.ShowFilter(Record(5, inner, 6, 0, 0, 0));
  ASSERT_TRUE(d.dialog.ReadFilter(back));
  EXPECT_EQ(back, Record(3, {1, 0, 0, 0, 2, 0, 0, 0, 3}, 6, 0, 0, 0));
  EXPECT_TRUE(d.messages.empty());
}

TEST(UserFilterDialog, BasedOnListsTheStockMasksAndShowsThem) {
  const char* names[] = {"<None>",       "Blur",           "Blur more",      "Soften",         "Soften more",
                         "Sharpen",      "Sharpen more",   "Bump [NW]",      "Bump more [NW]", "Contour",
                         "Contour more", "Contour [soft]", "Contour more [soft]", "Emboss [SE]", "Engrave [SE]"};
  ASSERT_EQ(kBasedCount, 15);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(BasedCaption(i), names[i]);
  EXPECT_EQ(BasedCaption(15), "");

  DialogWithMessages d;
  d.dialog.ChooseBased(2);  // "Blur more": 25 ones over 25
  for (const std::string& cell : d.dialog.txtM) EXPECT_EQ(cell, "1");
  EXPECT_EQ(d.dialog.txtWeight, "25");
  d.dialog.ChooseBased(9);  // "Contour": -1 ring, 8 centre, adds 255
  EXPECT_EQ(d.dialog.txtM[0], "");
  EXPECT_EQ(d.dialog.txtM[6], "-1");
  EXPECT_EQ(d.dialog.txtM[12], "8");
  EXPECT_EQ(d.dialog.txtWeight, "1");
  EXPECT_EQ(d.dialog.txtAdd, (std::array<std::string, 3>{"255", "255", "255"}));
  EXPECT_EQ(d.dialog.cbBased, 9);
  d.dialog.ChooseBased(0);  // "<None>" changes nothing
  EXPECT_EQ(d.dialog.txtM[12], "8");
  EXPECT_EQ(d.dialog.cbBased, 0);
  UserFilterRecord r;
  ASSERT_TRUE(d.dialog.ReadFilter(r));
  EXPECT_EQ(r, Record(3, {-1, -1, -1, -1, 8, -1, -1, -1, -1}, 1, 255, 255, 255));
}

TEST(UserFilterDialog, AutoWeightFollowsTheMask) {
  DialogWithMessages d;
  d.dialog.ChooseBased(5);  // "Sharpen": 15 - 8 = 7
  d.dialog.txtWeight = "99";
  d.dialog.SetAuto(true);
  EXPECT_EQ(d.dialog.txtWeight, "7");
  d.dialog.SetCell(12, "16");  // 16 - 8 = 8
  EXPECT_EQ(d.dialog.txtWeight, "8");
  d.dialog.SetCell(12, "8");  // sums to 0: divide by 1
  EXPECT_EQ(d.dialog.txtWeight, "1");
  d.dialog.SetCell(0, "-20");  // -20 + 0 = -20
  EXPECT_EQ(d.dialog.txtWeight, "-20");
  d.dialog.SetAuto(false);
  d.dialog.SetCell(0, "");
  EXPECT_EQ(d.dialog.txtWeight, "-20");  // off: the weight is the user's
  d.dialog.SetCell(25, "3");             // no such cell
  d.dialog.SetCell(-1, "3");
  EXPECT_EQ(d.dialog.AutoWeight(), 1);
  // The stock masks' divisors are their weight sums (or 1 for a zero sum).
  for (int i = 0; i < kStockMaskCount; ++i) {
    d.dialog.ChooseBased(i + 1);
    EXPECT_EQ(d.dialog.AutoWeight(), GetMask(i).Divisor) << kStockMasks[static_cast<size_t>(i)].Name;
  }
}

TEST(UserFilterDialog, AddFactorsStepWithinTheirLimits) {
  DialogWithMessages d;
  d.dialog.txtAdd = {"250", "-250", "abc"};
  d.dialog.StepAdd(0, 10);
  d.dialog.StepAdd(1, -10);
  d.dialog.StepAdd(2, 1);
  d.dialog.StepAdd(3, 1);
  EXPECT_EQ(d.dialog.txtAdd, (std::array<std::string, 3>{"255", "-255", "1"}));
}

TEST(UserFilterDialog, SavesAndLoadsThroughTheGrid) {
  test::TempDir dir;
  DialogWithMessages a;
  a.dialog.txtM[12] = "4";
  a.dialog.txtM[7] = "-1";
  a.dialog.txtWeight = "3";
  a.dialog.txtAdd = {"1", "2", "3"};
  ASSERT_TRUE(a.dialog.SaveFilter(dir / "mine.kif"));
  ByteVector expected;
  ASSERT_TRUE(EncodeUserFilter(Record(3, {0, -1, 0, 0, 4, 0, 0, 0, 0}, 3, 1, 2, 3), expected));
  EXPECT_EQ(FileBytes(dir / "mine.kif"), expected);

  DialogWithMessages b;
  for (std::string& cell : b.dialog.txtM) cell = "9";
  ASSERT_TRUE(b.dialog.LoadFilter(dir / "mine.kif"));
  EXPECT_EQ(b.dialog.txtM[0], "");  // a 3 by 3 file loads into the centre
  EXPECT_EQ(b.dialog.txtM[7], "-1");
  EXPECT_EQ(b.dialog.txtM[6], "0");
  EXPECT_EQ(b.dialog.txtWeight, "3");

  // A bad file leaves the controls; a blank grid is not saved.
  WriteBytes(dir / "bad.kif", {2, 0, 4});
  EXPECT_FALSE(b.dialog.LoadFilter(dir / "bad.kif"));
  EXPECT_EQ(b.dialog.txtM[7], "-1");
  DialogWithMessages blank;
  EXPECT_FALSE(blank.dialog.SaveFilter(dir / "blank.kif"));
  EXPECT_FALSE(std::filesystem::exists(dir / "blank.kif"));
  EXPECT_EQ(blank.messages.size(), 1u);
}

// --- applying ---------------------------------------------------------------------------

// MaskFilter written out slowly from its description: windows whose centre
// lies in the region's box, kept inside the picture when keepMargins is set;
// the centre must be in the region; trunc(sum / divisor) + add, clamped.
Bits ReferenceMaskFilter(const Bits& in, const RectRegion& region, const UserFilterRecord& rec, bool keep) {
  Bits out = in;
  const int u = rec.Mask.size - 1, h = u / 2;
  const Rect box = region.Box();
  int left = box.left - h, right = box.right - 1 - h, top = box.top - h, bottom = box.bottom - 1 - h;
  if (keep) {
    if (left < 0) left = 0;
    if (top < 0) top = 0;
    if (right > in.MaxX() - u) right = in.MaxX() - u;
    if (bottom > in.MaxY() - u) bottom = in.MaxY() - u;
  }
  const int adds[3] = {rec.AddBlue, rec.AddGreen, rec.AddRed};
  for (int y = top; y <= bottom; ++y)
    for (int x = left; x <= right; ++x) {
      if (!region.Contains(x + h, y + h)) continue;
      for (int c = 0; c < 3; ++c) {
        int sum = 0;
        for (int i = 0; i <= u; ++i)
          for (int j = 0; j <= u; ++j) sum += in.At(c, x + i, y + j) * rec.Mask.At(j, i);
        int v = sum / rec.Divisor + adds[c];
        out.At(c, x + h, y + h) = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
      }
    }
  return out;
}

TEST(UserFilterApply, ZeroWeightAndBlankMaskRunNothing) {
  Bits pic = MakePicture(6, 5, [](int x, int y, int c) { return 10 * x + y + c; });
  const RectRegion all = RectRegion::FromRect(0, 0, 6, 5);
  cBitFilter engine;
  DialogWithMessages d;
  EXPECT_FALSE(d.dialog.Apply(engine, pic, &all).has_value());
  ASSERT_EQ(d.messages.size(), 1u);
  EXPECT_EQ(d.messages[0], kBlankMaskMessage);

  d.dialog.txtM[12] = "1";
  d.dialog.txtWeight = "0";
  EXPECT_FALSE(d.dialog.Apply(engine, pic, &all).has_value());
  ASSERT_EQ(d.messages.size(), 2u);
  EXPECT_EQ(d.messages[1], "Invalid weight. Weight can't be 0.");
  EXPECT_EQ(engine.MaxX, -1) << "the engine must not have been given the picture";
  EXPECT_FALSE(ApplyUserFilter(engine, pic, &all, Record(3, std::vector<int32_t>(9, 1), 0, 0, 0, 0), false));
  EXPECT_EQ(engine.MaxX, -1);
}

TEST(UserFilterApply, RunsMaskFilterOnTheDocument) {
  if (!FindFilterMethod("MaskFilter")) GTEST_SKIP() << "MaskFilter is not in the catalogue yet";
  std::mt19937 rng(99);
  const Bits pic = MakePicture(19, 14, [&](int, int, int) { return static_cast<int>(rng() & 255); });
  const RectRegion ellipse = RectRegion::FromEllipse(1, 2, 18, 13);
  const RectRegion whole = RectRegion::FromRect(0, 0, 19, 14);

  // A 3 by 3 mask with distinct adds per channel, and a 5 by 5 one.
  DialogWithMessages three;
  three.dialog.ChooseBased(7);  // "Bump more [NW]", divisor 2
  three.dialog.txtAdd = {"10", "-20", "30"};
  DialogWithMessages five;
  for (int k = 0; k < 25; ++k) five.dialog.txtM[static_cast<size_t>(k)] = std::to_string(k % 7 - 3);
  five.dialog.txtWeight = "-4";
  five.dialog.txtAdd = {"0", "128", "255"};

  for (DialogWithMessages* d : {&three, &five})
    for (const RectRegion* region : {&ellipse, &whole})
      for (bool keep : {false, true}) {
        d->dialog.chkKeepMargins = keep;
        UserFilterRecord rec;
        ASSERT_TRUE(d->dialog.ReadFilter(rec));
        cBitFilter engine;
        std::optional<Bits> out = d->dialog.Apply(engine, pic, region);
        ASSERT_TRUE(out.has_value());
        EXPECT_TRUE(SameBits(ReferenceMaskFilter(pic, *region, rec, keep), *out))
            << "N " << rec.Mask.size << " keep " << keep << " whole " << (region == &whole);
        EXPECT_TRUE(SameBits(pic, engine.BitsRef())) << "the engine holds the document's picture";
      }
  EXPECT_TRUE(three.messages.empty());
}

}  // namespace
}  // namespace kelvane
