#include "imagefiles/file_dialog_filters.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

TEST(FileDialogFilters, OpenFilterHasItsEntriesAndSlips) {
  const auto entries = SplitFilter(kOpenFilter);
  ASSERT_EQ(entries.size(), 35u);
  EXPECT_EQ(entries.front().description, "All Supported Picture Formats");
  EXPECT_EQ(entries[1].description, "Kelvane Layers Format (*.KLF)");
  EXPECT_EQ(entries[1].patterns, "*.klf");
  EXPECT_EQ(entries.back().description, "Raw Data (*.RAW)");
  EXPECT_EQ(entries.back().patterns, "*.raw");
  // The slips stay: a comma in the first list, a blank before "*.koa", two
  // blanks in "Alias  PIX" and "XPM" without its pattern in the caption.
  EXPECT_NE(entries.front().patterns.find("*.rgb,*.rgba"), std::string::npos);
  EXPECT_NE(kOpenFilter.find("(*.KOA)| *.koa|"), std::string::npos);
  EXPECT_NE(kOpenFilter.find("|Alias  PIX (*.PIX)|"), std::string::npos);
  EXPECT_NE(kOpenFilter.find("|X Pixel Map (XPM)|*.xpm|"), std::string::npos);
  // Offered, though no decoder takes them.
  for (const char* p : {"*.rle;", "*.jpe;", "*.ico;", "*.sun;"})
    EXPECT_NE(entries.front().patterns.find(p), std::string::npos) << p;
}

// The layer dialog's list is the open list without the layered format, its
// "*.klf" and "*.ico" patterns, and with the XPM caption mended.
TEST(FileDialogFilters, OpenImageFilterIsTheOpenFilterLessTheLayers) {
  std::string expected(kOpenFilter);
  expected = ReplaceOnce(expected, "|*.klf;*.psp;", "|*.psp;");
  expected = ReplaceOnce(expected, ";*.ico;", ";");
  expected = ReplaceOnce(expected, "|Kelvane Layers Format (*.KLF)|*.klf", "");
  expected = ReplaceOnce(expected, "X Pixel Map (XPM)", "X Pixel Map (*.XPM)");
  EXPECT_EQ(std::string(kOpenImageFilter), expected);
  EXPECT_EQ(SplitFilter(kOpenImageFilter).size(), 34u);
}

TEST(FileDialogFilters, SaveFilters) {
  const auto save = SplitFilter(kSaveAsFilter);
  ASSERT_EQ(save.size(), 14u);
  EXPECT_EQ(save.front().description, "All Supported graphic formats ");
  EXPECT_EQ(save[3].patterns, "*.jpg;*.jpeg;");
  EXPECT_EQ(save.back().description, "Raw Data (RAW)");

  const auto layered = SplitFilter(kSaveLayeredFilter);
  ASSERT_EQ(layered.size(), 14u);
  EXPECT_EQ(layered[1].description, "Kelvane Layers Format (*.KLF)");
  EXPECT_EQ(layered.front().patterns.rfind("*.klf;", 0), 0u);
  // The layered dialog offers no raw data.
  EXPECT_EQ(kSaveLayeredFilter.find("*.raw"), std::string_view::npos);

  EXPECT_EQ(SaveOptimizedFilter("jpg"), "*.jpg|*.jpg");
  EXPECT_EQ(kOpenDialogFlags, 0x80800u);
  EXPECT_EQ(kOpenDefaultExtension, "*.bmp");
  EXPECT_EQ(kOpenImageDefaultExtension, "*.jpg");
  EXPECT_EQ(kSaveLayeredDefaultExtension, "*.klf");
}

TEST(FileDialogFilters, SplitFilterKeepsEveryCharacter) {
  const auto entries = SplitFilter("A |*.a;| B|*.b");
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].description, "A ");
  EXPECT_EQ(entries[0].patterns, "*.a;");
  EXPECT_EQ(entries[1].description, " B");
  EXPECT_TRUE(SplitFilter("lonely").empty());
  std::string joined;
  for (const auto& e : SplitFilter(kSaveAsFilter)) joined += (joined.empty() ? "" : "|") + e.description + "|" + e.patterns;
  EXPECT_EQ(joined, kSaveAsFilter);
}

}  // namespace
}  // namespace kelvane
