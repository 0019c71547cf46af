// Every registered method runs on a small picture with plain arguments, with
// and without a selection, on one and on two threads: no crash, no difference
// between thread counts, and progress ends with 100. A method added to the
// catalogue is covered here from the start.
#include <gtest/gtest.h>

#include "filters/dialog_test_support.h"
#include "filters/filter_catalogue.h"

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
      case ParamKind::Mask: words.insert(words.end(), {"3", "0", "1", "0", "1", "4", "1", "0", "1", "0"}); break;
      case ParamKind::Picture: words.push_back("picture"); break;
      case ParamKind::Source: break;
    }
  }
  return words;
}

TEST(CatalogueSweep, EveryMethodRunsAndIsThreadIndependent) {
  const Bits picture = test::RandomPicture(61, 47, 42);
  const PictureLoader loader = [&](const std::string&, Bits& out, std::string&) {
    out = test::MakePicture(9, 7, [](int x, int y, int c) { return 30 * x + 11 * y + c; });
    return true;
  };
  const RectRegion whole = RectRegion::FromRect(0, 0, 61, 47), ellipse = RectRegion::FromEllipse(5, 4, 50, 40);
  for (const FilterMethod& method : FilterMethods()) {
    std::vector<ArgValue> values;
    std::string error;
    ASSERT_TRUE(ParseMethodArguments(method, PlainWords(method), picture, loader, values, error))
        << method.name << ": " << error;
    for (const RectRegion* region : {&whole, &ellipse}) {
      Bits results[2];
      for (int threads : {1, 2}) {
        cBitFilter engine;
        test::Load(engine, picture, region, threads);
        engine.SeedRandom(7);
        std::vector<int> reports;
        engine.SetProgressHandler([&](int p) { reports.push_back(p); });
        std::vector<ArgValue> copy = values;
        results[threads - 1] = InvokeMethod(engine, method, copy).Picture(engine);
        EXPECT_TRUE(reports.empty() || reports.back() == 100) << method.name;
      }
      EXPECT_TRUE(test::SameBits(results[0], results[1])) << method.name;
    }
  }
}

}  // namespace
}  // namespace kelvane
