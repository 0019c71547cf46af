// User filters: the *.kif file byte for byte, the grid's reading and showing
// rules with their messages, and applying through MaskFilter.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "base/byte_io.h"
#include "filters/dialog_test_support.h"
#include "filters/user_filter.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

UserFilterRecord Record(int n, std::vector<int32_t> readingOrder, int32_t divisor, int32_t red, int32_t green,
                        int32_t blue) {
  UserFilterRecord r;
  r.Mask.size = n, r.Mask.weights = std::move(readingOrder);
  r.Divisor = divisor, r.AddRed = red, r.AddGreen = green, r.AddBlue = blue;
  return r;
}

void Le32(ByteVector& b, uint32_t v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// Rows {1, 2, 3}, {4, 5, 6}, {7, 8, -9}, weight 7, adds 255, -1, 128.
UserFilterRecord Sample3() { return Record(3, {1, 2, 3, 4, 5, 6, 7, 8, -9}, 7, 255, -1, 128); }

// Its file written out by hand: the header, then the entries with the row
// index running fastest (the mask read column by column), then the four numbers.
ByteVector Sample3Bytes() {
  ByteVector b = {0x02, 0x00};
  Le32(b, 3), Le32(b, 0), Le32(b, 3), Le32(b, 0);
  for (uint32_t v : {1u, 4u, 7u, 2u, 5u, 8u, 3u, 6u}) Le32(b, v);
  b.insert(b.end(), {0xF7, 0xFF, 0xFF, 0xFF});  // -9
  b.insert(b.end(), {0x07, 0, 0, 0, 0xFF, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x80, 0, 0, 0});
  return b;
}

ByteVector FileBytes(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return ByteVector(std::istreambuf_iterator<char>(in), {});
}

void WriteBytes(const std::filesystem::path& p, const ByteVector& b) {
  std::ofstream(p, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(b.data()),
                                                             static_cast<std::streamsize>(b.size()));
}

TEST(UserFilterFile, HandBuiltBytesBothSizes) {
  const ByteVector expected = Sample3Bytes();
  ASSERT_EQ(expected.size(), 70u);  // 18 + 4 * 9 + 16
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
  EXPECT_EQ(loaded.Mask.At(0, 2), 3);  // row 0, column 2

  // 5 by 5 with entry (r, c) = 10 r + c: offset 18 + 4 (r + 5 c), then the
  // four numbers from offset 118.
  std::vector<int32_t> w;
  for (int k = 0; k < 25; ++k) w.push_back(10 * (k / 5) + k % 5);
  const UserFilterRecord five = Record(5, w, -3, 1, 2, 3);
  ByteVector fiveBytes = {0x02, 0x00};
  Le32(fiveBytes, 5), Le32(fiveBytes, 0), Le32(fiveBytes, 5), Le32(fiveBytes, 0);
  for (int k = 0; k < 25; ++k) Le32(fiveBytes, static_cast<uint32_t>(10 * (k % 5) + k / 5));
  for (int32_t v : {-3, 1, 2, 3}) Le32(fiveBytes, static_cast<uint32_t>(v));
  ASSERT_TRUE(EncodeUserFilter(five, encoded));
  EXPECT_EQ(encoded, fiveBytes);
  UserFilterRecord back;
  ASSERT_TRUE(DecodeUserFilter(fiveBytes.data(), fiveBytes.size(), back));
  EXPECT_EQ(back, five);

  // Saving over a longer file keeps its tail, and it still loads.
  ASSERT_TRUE(SaveUserFilter(dir / "f.kif", five));
  ASSERT_TRUE(SaveUserFilter(dir / "f.kif", Sample3()));
  const ByteVector bytes = FileBytes(dir / "f.kif");
  ASSERT_EQ(bytes.size(), 134u);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes.begin()));
  EXPECT_TRUE(std::equal(bytes.begin() + 70, bytes.end(), fiveBytes.begin() + 70));
  ASSERT_TRUE(LoadUserFilter(dir / "f.kif", loaded));
  EXPECT_EQ(loaded, Sample3());
  EXPECT_EQ(UserFilterFolder("/opt/kelvane/"), std::filesystem::path("/opt/kelvane/Filters"));
}

TEST(UserFilterFile, RefusesWhatIsNotARecordAndLeavesTheRecordAlone) {
  const ByteVector good = Sample3Bytes();
  const UserFilterRecord untouched = Record(5, std::vector<int32_t>(25, 9), 9, 9, 9, 9);
  auto refused = [&](const ByteVector& b) {
    UserFilterRecord r = untouched;
    return !DecodeUserFilter(b.data(), b.size(), r) && r == untouched;
  };
  const std::pair<size_t, ByteVector> patches[] = {
      {0, {1, 0}}, {0, {3, 0}},                    // one or three dimensions
      {2, {4}},    {2, {5}},                       // 4 by 3, 5 by 3
      {6, {1}},    {14, {0xFF, 0xFF, 0xFF, 0xFF}},  // lower bounds 1, -1
      {2, {0xFF, 0xFF, 0xFF, 0xFF}},               // count -1
  };
  for (const auto& [at, bytes] : patches) {
    ByteVector b = good;
    std::copy(bytes.begin(), bytes.end(), b.begin() + static_cast<ptrdiff_t>(at));
    EXPECT_TRUE(refused(b)) << "patch at " << at;
  }
  for (uint8_t n : {1, 4, 7}) {  // square, but not a size the dialog makes
    ByteVector b = good;
    b[2] = b[10] = n;
    b.resize(std::max(b.size(), UserFilterFileSize(n)));
    EXPECT_TRUE(refused(b)) << int(n);
  }
  for (size_t n = 0; n < good.size(); ++n) EXPECT_TRUE(refused(ByteVector(good.begin(), good.begin() + n))) << n;
  ByteVector longer = good;
  longer.insert(longer.end(), 40, 0xAB);  // a tail after the record is taken
  UserFilterRecord r;
  ASSERT_TRUE(DecodeUserFilter(longer.data(), longer.size(), r));
  EXPECT_EQ(r, Sample3());
  EXPECT_FALSE(DecodeUserFilter(nullptr, 0, r));

  test::TempDir dir;
  EXPECT_FALSE(LoadUserFilter(dir / "missing.kif", r));
  WriteBytes(dir / "empty.kif", {});
  EXPECT_FALSE(LoadUserFilter(dir / "empty.kif", r));
  std::filesystem::create_directory(dir / "folder.kif");
  EXPECT_FALSE(LoadUserFilter(dir / "folder.kif", r));
  EXPECT_EQ(r, Sample3());
  // A long file is read only as far as a record goes.
  longer.resize(1 << 20, 0x5A);
  WriteBytes(dir / "huge.kif", longer);
  UserFilterRecord fromHuge;
  ASSERT_TRUE(LoadUserFilter(dir / "huge.kif", fromHuge));
  EXPECT_EQ(fromHuge, Sample3());
  if (std::filesystem::exists("/dev/zero")) {
    EXPECT_FALSE(LoadUserFilter("/dev/zero", r));  // no end, all zero
  }

  // Saving refuses masks the file cannot hold and writes nothing.
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
  // Under AddressSanitizer any read past the buffer fails. Whatever decodes
  // must encode back to the same prefix.
  ByteVector five;
  ASSERT_TRUE(EncodeUserFilter(Record(5, std::vector<int32_t>(25, -1), 25, 1, 2, 3), five));
  std::mt19937 rng(1234);
  int accepted = 0;
  for (const ByteVector& seed : {Sample3Bytes(), five})
    for (int round = 0; round < 20000; ++round) {
      std::vector<uint8_t> b = seed;
      for (int f = 1 + static_cast<int>(rng() % 4); f > 0; --f) {
        const size_t at = (rng() & 1) ? rng() % 18 : rng() % b.size();  // biased towards the header
        b[at] ^= static_cast<uint8_t>(1u << (rng() % 8));
      }
      if (rng() % 3 == 0) b.resize(rng() % (b.size() + 1));
      const std::vector<uint8_t> exact(b.begin(), b.end());  // so that ASan sees the end of the data
      UserFilterRecord r;
      if (!DecodeUserFilter(exact.data(), exact.size(), r)) continue;
      ++accepted;
      ASSERT_TRUE(r.Mask.size == 3 || r.Mask.size == 5);
      ByteVector again;
      ASSERT_TRUE(EncodeUserFilter(r, again));
      ASSERT_LE(again.size(), exact.size());
      ASSERT_TRUE(std::equal(again.begin(), again.end(), exact.begin()));
    }
  EXPECT_GT(accepted, 0);  // flips in the weights keep a valid file
}

TEST(UserFilterValues, TextIsReadAsTheNumberItStartsWith) {
  const std::pair<const char*, double> numbers[] = {
      {"", 0},   {"abc", 0},   {"-", 0},    {".", 0},    {"inf", 0},   {"nan", 0},  {"0x10", 0},
      {"  12", 12}, {"12abc", 12}, {"+7", 7}, {"-15", -15}, {"1.5", 1.5}, {".25", 0.25},
      {"2e2", 200}, {"2e", 2},   {"2e+", 2},  {"3 4", 3},
  };
  for (const auto& [text, value] : numbers) EXPECT_EQ(TextAsNumber(text), value) << "'" << text << "'";
  const std::pair<const char*, int32_t> integers[] = {
      {"2.5", 2}, {"3.5", 4}, {"-2.5", -2}, {"0.4", 0},  // ties to even
      {"99999999999", INT32_MAX}, {"-1e20", INT32_MIN}, {"1e999", INT32_MAX},
      {"2147483647.6", INT32_MAX}, {"-2147483648", INT32_MIN},
  };
  for (const auto& [text, value] : integers) EXPECT_EQ(TextAsInteger(text), value) << text;
}

struct DialogWithMessages {
  UserFilterDialog dialog;
  std::vector<std::string> messages;
  DialogWithMessages() {
    dialog.SetMessageHandler([this](std::string_view text) { messages.emplace_back(text); });
  }
};

TEST(UserFilterDialog, TextsAndBlankMasks) {
  EXPECT_EQ(kUserFilterTitle, "User filter");
  EXPECT_EQ(kUserFilterFileFilter, "Kelvane filter (*.kif)|*.kif");
  EXPECT_EQ(kWeightCaption, "Weight ");  // the blank belongs to the caption
  EXPECT_EQ(kKeepMarginsCaption, "&Keep margins");
  EXPECT_EQ(kFilterButtonCaptions[1], "Save Filter");
  for (const char* filler : {"", "0", "abc", " -0", "0.0", "-"}) {
    DialogWithMessages d;
    for (std::string& cell : d.dialog.txtM) cell = filler;
    UserFilterRecord r = Sample3();
    EXPECT_FALSE(d.dialog.ReadFilter(r)) << "'" << filler << "'";
    EXPECT_EQ(r, Sample3());
    EXPECT_EQ(d.messages, std::vector<std::string>{"Invalid/blank mask. Verify coeficients."});
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
      expected[static_cast<size_t>(ring ? row * 5 + col : (row - 1) * 3 + col - 1)] = 6;
      EXPECT_EQ(r.Mask.size, ring ? 5 : 3) << row << "," << col;
      EXPECT_EQ(r.Mask.weights, expected) << row << "," << col;
      EXPECT_EQ(r.Divisor, 2);
    }
}

TEST(UserFilterDialog, ReadsValuesWeightAndAddsFromTheTextBoxes) {
  DialogWithMessages d;
  auto& m = d.dialog.txtM;
  m[6] = "1.5";    // row 1, column 1 -> entry (0, 0), rounds to 2
  m[12] = " 2.5";  // centre, ties to even -> 2
  m[18] = "-3x";   // row 3, column 3 -> entry (2, 2)
  m[8] = "0.4";    // non-zero text that rounds to 0
  m[0] = "0";      // a zero on the ring does not make it 5 by 5
  d.dialog.txtWeight = "0";
  d.dialog.txtAdd = {"300", "-999", "12"};
  UserFilterRecord r;
  r.Name = "Blur";
  ASSERT_TRUE(d.dialog.ReadFilter(r));
  EXPECT_TRUE(d.messages.empty());
  // A zero weight passes the blank test; the adds are held to -255..255.
  EXPECT_EQ(r, Record(3, {2, 0, 0, 0, 2, 0, 0, 0, -3}, 0, 255, -255, 12));
  EXPECT_EQ(r.Name, "");
  // A cell whose only non-zero value is a fraction still counts as not blank.
  DialogWithMessages f;
  f.dialog.txtM[12] = "0.4";
  ASSERT_TRUE(f.dialog.ReadFilter(r));
  EXPECT_EQ(r.Mask.weights, std::vector<int32_t>(9, 0));
}

TEST(UserFilterDialog, ShowFilterCentresAndReadsBack) {
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
  // An empty record (GetMask of an unknown index) leaves the grid empty;
  // ClearFilter empties the grid and keeps the weight.
  d.dialog.ShowFilter(UserFilterRecord{});
  EXPECT_EQ(d.dialog.txtM, decltype(d.dialog.txtM){});
  EXPECT_EQ(d.dialog.txtWeight, "0");
  d.dialog.txtM[3] = "5";
  d.dialog.txtWeight = "9";
  d.dialog.ClearFilter();
  EXPECT_EQ(d.dialog.txtM, decltype(d.dialog.txtM){});
  EXPECT_EQ(d.dialog.txtWeight, "9");

  // 5 by 5 with a non-zero ring comes back as it was; with a zero ring, as
  // its 3 by 3 centre.
  UserFilterRecord back;
  std::vector<int32_t> w(25);
  for (int k = 0; k < 25; ++k) w[static_cast<size_t>(k)] = k - 12;
  d.dialog.ShowFilter(Record(5, w, 3, -4, 5, -6));
  ASSERT_TRUE(d.dialog.ReadFilter(back));
  EXPECT_EQ(back, Record(5, w, 3, -4, 5, -6));
  std::vector<int32_t> inner(25, 0);
  inner[6] = 1, inner[12] = 2, inner[18] = 3;
  d.dialog.ShowFilter(Record(5, inner, 6, 0, 0, 0));
  ASSERT_TRUE(d.dialog.ReadFilter(back));
  EXPECT_EQ(back, Record(3, {1, 0, 0, 0, 2, 0, 0, 0, 3}, 6, 0, 0, 0));
  EXPECT_TRUE(d.messages.empty());
}

TEST(UserFilterDialog, BasedOnAutoWeightAndAddSteps) {
  ASSERT_EQ(kBasedCount, 15);
  EXPECT_EQ(std::tuple(BasedCaption(0), BasedCaption(8), BasedCaption(12), BasedCaption(14), BasedCaption(15)),
            std::tuple("<None>", "Bump more [NW]", "Contour more [soft]", "Engrave [SE]", ""));

  DialogWithMessages d;
  d.dialog.ChooseBased(2);  // "Blur more": 25 ones over 25
  for (const std::string& cell : d.dialog.txtM) EXPECT_EQ(cell, "1");
  EXPECT_EQ(d.dialog.txtWeight, "25");
  d.dialog.ChooseBased(9);  // "Contour": -1 ring, 8 centre, adds 255
  EXPECT_EQ(std::tuple(d.dialog.txtM[0], d.dialog.cbBased), std::tuple("", 9));
  d.dialog.ChooseBased(0);  // "<None>" changes nothing
  EXPECT_EQ(d.dialog.cbBased, 0);
  UserFilterRecord r;
  ASSERT_TRUE(d.dialog.ReadFilter(r));
  EXPECT_EQ(r, Record(3, {-1, -1, -1, -1, 8, -1, -1, -1, -1}, 1, 255, 255, 255));

  d.dialog.ChooseBased(5);  // "Sharpen": 15 - 8 = 7
  d.dialog.txtWeight = "99";
  d.dialog.SetAuto(true);
  EXPECT_EQ(d.dialog.txtWeight, "7");
  d.dialog.SetCell(12, "8");  // sums to 0: divide by 1
  EXPECT_EQ(d.dialog.txtWeight, "1");
  d.dialog.SetCell(0, "-20");
  EXPECT_EQ(d.dialog.txtWeight, "-20");
  d.dialog.SetAuto(false);
  d.dialog.SetCell(0, "");
  EXPECT_EQ(d.dialog.txtWeight, "-20");  // off: the weight is the user's
  d.dialog.SetCell(25, "3");             // no such cells
  d.dialog.SetCell(-1, "3");
  EXPECT_EQ(d.dialog.AutoWeight(), 1);
  // The stock masks' divisors are their weight sums (or 1 for a zero sum).
  for (int i = 0; i < kStockMaskCount; ++i) {
    d.dialog.ChooseBased(i + 1);
    EXPECT_EQ(d.dialog.AutoWeight(), GetMask(i).Divisor) << i;
  }

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
  // A 3 by 3 file loads into the centre.
  EXPECT_EQ(std::tuple(b.dialog.txtM[0], b.dialog.txtM[7], b.dialog.txtM[6], b.dialog.txtWeight),
            std::tuple("", "-1", "0", "3"));
  // A bad file leaves the controls; a blank grid is not saved.
  WriteBytes(dir / "bad.kif", {2, 0, 4});
  EXPECT_FALSE(b.dialog.LoadFilter(dir / "bad.kif"));
  EXPECT_EQ(b.dialog.txtM[7], "-1");
  DialogWithMessages blank;
  EXPECT_FALSE(blank.dialog.SaveFilter(dir / "blank.kif"));
  EXPECT_FALSE(std::filesystem::exists(dir / "blank.kif"));
  EXPECT_EQ(blank.messages.size(), 1u);
}

TEST(UserFilterApply, ZeroWeightAndBlankMaskRunNothing) {
  Bits pic = MakePicture(6, 5, [](int x, int y, int c) { return 10 * x + y + c; });
  const RectRegion all = RectRegion::FromRect(0, 0, 6, 5);
  cBitFilter engine;
  DialogWithMessages d;
  EXPECT_FALSE(d.dialog.Apply(engine, pic, &all).has_value());
  d.dialog.txtM[12] = "1";
  d.dialog.txtWeight = "0";
  EXPECT_FALSE(d.dialog.Apply(engine, pic, &all).has_value());
  EXPECT_EQ(d.messages,
            (std::vector<std::string>{std::string(kBlankMaskMessage), "Invalid weight. Weight can't be 0."}));
  EXPECT_EQ(engine.MaxX, -1) << "the engine must not have been given the picture";
  EXPECT_FALSE(ApplyUserFilter(engine, pic, &all, Record(3, std::vector<int32_t>(9, 1), 0, 0, 0, 0), false));
  EXPECT_EQ(engine.MaxX, -1);
}

TEST(UserFilterApply, RunsMaskFilterOnTheDocument) {
  const Bits pic = test::RandomPicture(19, 14, 99);
  const RectRegion ellipse = RectRegion::FromEllipse(1, 2, 18, 13);
  const RectRegion whole = RectRegion::FromRect(0, 0, 19, 14);
  // A 3 by 3 mask with distinct adds per channel, and a 5 by 5 one.
  DialogWithMessages three;
  three.dialog.ChooseBased(7);  // "Bump [NW]"
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
        // MaskFilter has its own reference test; here it is the call the dialog must make.
        cBitFilter direct;
        test::Load(direct, pic, region);
        const Bits expected = direct.MaskFilter(rec.Mask, rec.Divisor, rec.AddRed, rec.AddGreen, rec.AddBlue, keep);
        EXPECT_TRUE(SameBits(expected, *out))
            << "N " << rec.Mask.size << " keep " << keep << " whole " << (region == &whole);
        EXPECT_TRUE(SameBits(pic, engine.BitsRef())) << "the engine holds the document's picture";
      }
  EXPECT_TRUE(three.messages.empty());
}

}  // namespace
}  // namespace kelvane
