// Calling engine methods by name with text arguments.
#include <gtest/gtest.h>

#include "document/rect_region.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"

namespace kelvane {
namespace {

TEST(FilterCatalogue, NamesKindsAndRefusals) {
  EXPECT_NE(FindFilterMethod("GreyScale"), nullptr);
  EXPECT_EQ(FindFilterMethod("greyscale"), nullptr);
  EXPECT_EQ(FindFilterMethod("GrayScale"), nullptr);
  for (const FilterMethod& m : FilterMethods()) EXPECT_EQ(FindFilterMethod(m.name), &m);
  const FilterMethod* crop = FindFilterMethod("BitsCrop");
  ASSERT_EQ(crop->params.size(), 5u);
  EXPECT_EQ(crop->params[0].kind, ParamKind::Source);
  EXPECT_EQ(crop->params[4].kind, ParamKind::Integer);
  EXPECT_EQ(FindFilterMethod("NewDoc")->params[0].kind, ParamKind::Byte);
  EXPECT_EQ(FindFilterMethod("Flip")->params[1].kind, ParamKind::Boolean);

  // Wrong counts and types are refused with the parameter named.
  const std::tuple<const char*, std::vector<std::string>, const char*> bad[] = {
      {"NewDoc", {"1", "2"}, "too few"},         {"GreyScale", {"1"}, "too many"},
      {"NewDoc", {"1", "2", "256"}, "'blue'"},   {"NewDoc", {"1", "2x", "3"}, "'green'"},
      {"Flip", {"true", "yes"}, "true or false"}, {"BitsResample", {"10", "99999999999"}, "'new height'"},
  };
  const Bits input(2, 2);
  for (const auto& [name, words, fragment] : bad) {
    std::vector<ArgValue> values;
    std::string error;
    EXPECT_FALSE(ParseMethodArguments(*FindFilterMethod(name), words, input, nullptr, values, error)) << name;
    EXPECT_NE(error.find(fragment), std::string::npos) << error;
  }
}

TEST(FilterCatalogue, InvokesWithParsedValuesAndTheInputAsSource) {
  const Bits input = test::MakePicture(4, 3, [](int x, int y, int c) { return x + 10 * y + 100 * c; });
  const RectRegion all = RectRegion::FromRect(0, 0, 4, 3);
  cBitFilter engine;
  engine.SetBits(input);
  engine.BitsRegion(&all);
  std::vector<ArgValue> values;
  std::string error;
  auto invoke = [&](const char* name, std::vector<std::string> words) {
    const FilterMethod& m = *FindFilterMethod(name);
    EXPECT_TRUE(ParseMethodArguments(m, words, input, nullptr, values, error)) << error;
    engine.SetBits(input);
    return InvokeMethod(engine, m, values);
  };
  MethodResult r = invoke("BitsCrop", {"1", "1", "3", "3"});
  EXPECT_FALSE(r.pixels.has_value());  // the crop is left in the engine
  EXPECT_EQ(r.Picture(engine).Width(), 2);
  EXPECT_EQ(r.Picture(engine).At(0, 0, 0), 11);
  r = invoke("NewDoc", {"1", "2", "3"});
  ASSERT_TRUE(r.pixels.has_value());
  EXPECT_EQ(r.pixels->At(0, 3, 2), 3);
  EXPECT_EQ(r.pixels->At(2, 3, 2), 1);
  r = invoke("GetLMax", {});
  ASSERT_TRUE(r.value.has_value());
  EXPECT_EQ(*r.value, 123);  // the brightest pixel (3, 2) sums 3 * 23 + 300: L = 123
}

}  // namespace
}  // namespace kelvane
