// Calling engine methods by name with text arguments.
#include <gtest/gtest.h>

#include "document/rect_region.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"

namespace kelvane {
namespace {

std::string ParseError(const char* name, std::vector<std::string> words) {
  const FilterMethod* m = FindFilterMethod(name);
  EXPECT_NE(m, nullptr) << name;
  if (!m) return "";
  std::vector<ArgValue> values;
  std::string error;
  Bits input(2, 2);
  EXPECT_FALSE(ParseMethodArguments(*m, words, input, nullptr, values, error));
  return error;
}

TEST(FilterCatalogue, NamesAreExactAndCaseSensitive) {
  EXPECT_NE(FindFilterMethod("GreyScale"), nullptr);
  EXPECT_EQ(FindFilterMethod("greyscale"), nullptr);
  EXPECT_EQ(FindFilterMethod("GrayScale"), nullptr);
  for (const FilterMethod& m : FilterMethods()) EXPECT_EQ(FindFilterMethod(m.name), &m);
}

TEST(FilterCatalogue, KindsComeFromTheSignature) {
  const FilterMethod* crop = FindFilterMethod("BitsCrop");
  ASSERT_NE(crop, nullptr);
  ASSERT_EQ(crop->params.size(), 5u);
  EXPECT_EQ(crop->params[0].kind, ParamKind::Source);
  EXPECT_EQ(crop->params[4].kind, ParamKind::Integer);
  const FilterMethod* newdoc = FindFilterMethod("NewDoc");
  ASSERT_NE(newdoc, nullptr);
  EXPECT_EQ(newdoc->params[0].kind, ParamKind::Byte);
  EXPECT_EQ(FindFilterMethod("Flip")->params[1].kind, ParamKind::Boolean);
}

TEST(FilterCatalogue, RefusesWrongCountsAndTypesNamingTheParameter) {
  EXPECT_NE(ParseError("NewDoc", {"1", "2"}).find("too few"), std::string::npos);
  EXPECT_NE(ParseError("GreyScale", {"1"}).find("too many"), std::string::npos);
  EXPECT_NE(ParseError("NewDoc", {"1", "2", "256"}).find("'blue'"), std::string::npos);
  EXPECT_NE(ParseError("NewDoc", {"1", "2x", "3"}).find("'green'"), std::string::npos);
  EXPECT_NE(ParseError("Flip", {"true", "yes"}).find("true or false"), std::string::npos);
  EXPECT_NE(ParseError("BitsResample", {"10", "99999999999"}).find("'new height'"), std::string::npos);
}

TEST(FilterCatalogue, InvokesWithParsedValuesAndTheInputAsSource) {
  Bits input = test::MakePicture(4, 3, [](int x, int y, int c) { return x + 10 * y + 100 * c; });
  cBitFilter engine;
  engine.SetBits(input);
  RectRegion all = RectRegion::FromRect(0, 0, 4, 3);
  engine.BitsRegion(&all);

  std::vector<ArgValue> values;
  std::string error;
  const FilterMethod& crop = *FindFilterMethod("BitsCrop");
  ASSERT_TRUE(ParseMethodArguments(crop, {"1", "1", "3", "3"}, input, nullptr, values, error)) << error;
  MethodResult r = InvokeMethod(engine, crop, values);
  EXPECT_FALSE(r.pixels.has_value());
  EXPECT_EQ(r.Picture(engine).Width(), 2);
  EXPECT_EQ(r.Picture(engine).At(0, 0, 0), 11);

  const FilterMethod& newdoc = *FindFilterMethod("NewDoc");
  ASSERT_TRUE(ParseMethodArguments(newdoc, {"1", "2", "3"}, input, nullptr, values, error)) << error;
  engine.SetBits(input);
  r = InvokeMethod(engine, newdoc, values);
  ASSERT_TRUE(r.pixels.has_value());
  EXPECT_EQ(r.pixels->At(0, 3, 2), 3);
  EXPECT_EQ(r.pixels->At(2, 3, 2), 1);

  const FilterMethod& lmax = *FindFilterMethod("GetLMax");
  ASSERT_TRUE(ParseMethodArguments(lmax, {}, input, nullptr, values, error));
  r = InvokeMethod(engine, lmax, values);
  ASSERT_TRUE(r.value.has_value());
  // The brightest pixel (3, 2) sums 3 * 23 + 300: L = 123.
  EXPECT_EQ(*r.value, 123);
}

}  // namespace
}  // namespace kelvane
