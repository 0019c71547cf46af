// fOptions to and from the settings record, and fKeyboard's fixed text.
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "shell/option_dialogs.h"
#include "shell/start_record.h"

namespace kelvane {
namespace {

TEST(OptionsDialog, OpensOnTheRecordAndOkWritesItBackThroughTheFile) {
  StartRecord record = DefaultStartRecord("/opt/kelvane");
  record.ThumbnailWidth = 90;
  record.ThumbnailHeight = 120;
  record.ThumbnailQuality = 1;
  record.ThumbnailShowFilename = 1;
  record.ThumbnailShowResolution = 0;
  record.ThumbnailBackground = 0x00123456;
  StartRecord expected = record;
  record.ThumbnailBorder = 7;  // not the dialog's field

  const fOptions dialog(record);
  EXPECT_EQ(dialog.txtThumbnailWidth + " " + dialog.txtThumbnailHeight, "90 120");
  EXPECT_TRUE(dialog.WWS == 90 && dialog.HHS == 120);

  // OK into a record that differs in every thumbnail field, then through the
  // file's bytes: the thumbnail fields come back, the rest is as it was.
  StartRecord target = DefaultStartRecord("/opt/kelvane");
  target.ThumbnailShowFilename = 0;
  dialog.OK(target);
  StartRecord reread;
  ParseStartRecord(SerializeStartRecord(target), reread);
  EXPECT_EQ(reread, expected);
}

TEST(OptionsDialog, ControlsStayInStepAndOkWritesByteBooleans) {
  StartRecord record = DefaultStartRecord("/opt/kelvane");
  record.ThumbnailShowFilename = 255;  // any non-zero byte is set
  fOptions dialog(record);
  EXPECT_TRUE(dialog.chkThumbnailShowFilename);
  dialog.ScrollWidth(100);
  EXPECT_EQ(dialog.txtThumbnailWidth, "100");
  dialog.TypeHeight("80");
  dialog.TypeHeight("5");  // past the bar's range: the bar keeps 80
  EXPECT_EQ(dialog.HHS, 80);
  dialog.DragSize(40, 2000);
  EXPECT_EQ(dialog.txtThumbnailWidth + " " + dialog.txtThumbnailHeight, "40 " + std::to_string(fOptions::kMaxSide));
  EXPECT_EQ(dialog.WWS, 40);

  dialog.TypeWidth("3");
  dialog.chkThumbnailShowResolution = true;
  dialog.optThumbnailQuality = 0;
  dialog.OK(record);
  EXPECT_EQ(record.ThumbnailWidth, fOptions::kMinSide);  // held to the bars' range
  EXPECT_EQ(record.ThumbnailHeight, fOptions::kMaxSide);
  EXPECT_TRUE(record.ThumbnailShowFilename == 1 && record.ThumbnailShowResolution == 1 && record.ThumbnailQuality == 0);
}

TEST(KeyboardDialog, TextHasOneDashedLinePerShortcut) {
  const std::string text = fKeyboard::Text();
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 58u);
  EXPECT_NE(text.back(), '\n');
  EXPECT_EQ(lines[0], "New-----------------------Ctrl + N");
  EXPECT_EQ(lines[34], "Pizelize------------------Shift + Ctrl + F2");
  EXPECT_EQ(lines[57], "FAQ's---------------------Ctrl + F");
  for (const std::string& line : lines)  // the keys begin right after the dash in column 26
    EXPECT_TRUE(line.size() > 26 && line[25] == '-' && line[26] != '-') << line;
  EXPECT_EQ(fKeyboard::kFont, "Lucida Console");
}

}  // namespace
}  // namespace kelvane
