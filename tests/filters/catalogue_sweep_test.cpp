// Every registered method runs on a small picture with plain arguments, with
// and without a selection, on one and on two threads: no crash, no difference
// between thread counts, and progress ends with 100. A method added to the
// catalogue is covered here from the start.
#include <gtest/gtest.h>

#include <random>

#include "document/rect_region.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"

namespace kelvane {
namespace {

std::vector<std::string> PlainWords(const FilterMethod& m) {
  std::vector<std::string> words;
  for (const ParamSpec& p : m.params) {
    switch (p.kind) {
      case ParamKind::Integer: words.push_back("3"); break;
      case ParamKind::Number: words.push_back("1.5"); break;
      case ParamKind::Boolean: words.push_back("true"); break;
      case ParamKind::Byte: words.push_back("7"); break;
      case ParamKind::Colour: words.push_back("255"); break;
      case ParamKind::Text: words.push_back("Kelvane"); break;
      case ParamKind::Mask:
        for (const char* w : {"3", "0", "1", "0", "1", "4", "1", "0", "1", "0"}) words.push_back(w);
        break;
      case ParamKind::Picture: words.push_back("picture"); break;
      case ParamKind::Source: break;
    }
  }
  return words;
}

TEST(CatalogueSweep, EveryMethodRunsAndIsThreadIndependent) {
  std::mt19937 rng(42);
  Bits picture = test::MakePicture(61, 47, [&](int, int, int) { return static_cast<int>(rng() & 255); });
  const PictureLoader loader = [&](const std::string&, Bits& out, std::string&) {
    out = test::MakePicture(9, 7, [](int x, int y, int c) { return 30 * x + 11 * y + c; });
    return true;
  };
  const RectRegion whole = RectRegion::FromRect(0, 0, 61, 47);
  const RectRegion ellipse = RectRegion::FromEllipse(5, 4, 50, 40);
  for (const FilterMethod& method : FilterMethods()) {
    std::vector<ArgValue> values;
    std::string error;
    ASSERT_TRUE(ParseMethodArguments(method, PlainWords(method), picture, loader, values, error))
        << method.name << ": " << error;
    for (const RectRegion* region : {&whole, &ellipse}) {
      Bits results[2];
      for (int threads : {1, 2}) {
        cBitFilter engine;
        engine.SetThreadCount(threads);
        engine.SeedRandom(7);
        engine.SetBits(picture);
        engine.BitsRegion(region);
        std::vector<int> reports;
        engine.SetProgressHandler([&](int p) { reports.push_back(p); });
        std::vector<ArgValue> copy = values;
        MethodResult r = InvokeMethod(engine, method, copy);
        results[threads - 1] = r.Picture(engine);
        if (!reports.empty()) {
          EXPECT_EQ(reports.back(), 100) << method.name;
        }
      }
      EXPECT_TRUE(test::SameBits(results[0], results[1])) << method.name;
    }
  }
}

}  // namespace
}  // namespace kelvane
