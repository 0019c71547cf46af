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
  record.ThumbnailBorder = 7;
  record.ThumbnailShowFilename = 1;
  record.ThumbnailShowResolution = 0;
  record.ThumbnailBackground = 0x00123456;

  const fOptions dialog(record);
  EXPECT_EQ(dialog.txtThumbnailWidth, "90");
  EXPECT_EQ(dialog.txtThumbnailHeight, "120");
  EXPECT_EQ(dialog.WWS, 90);
  EXPECT_EQ(dialog.HHS, 120);
  EXPECT_EQ(dialog.optThumbnailQuality, 1);
  EXPECT_TRUE(dialog.chkThumbnailShowFilename);
  EXPECT_FALSE(dialog.chkThumbnailShowResolution);
  EXPECT_EQ(dialog.pThumbnailWorkspaceBackground, 0x00123456);

  // OK into a record that differs in every thumbnail field, then through
  // the file's bytes.
  StartRecord target = DefaultStartRecord("/opt/kelvane");
  dialog.OK(target);
  StartRecord reread;
  ParseStartRecord(SerializeStartRecord(target), reread);
  EXPECT_EQ(reread.ThumbnailWidth, 90);
  EXPECT_EQ(reread.ThumbnailHeight, 120);
  EXPECT_EQ(reread.ThumbnailQuality, 1);
  EXPECT_EQ(reread.ThumbnailShowFilename, 1);
  EXPECT_EQ(reread.ThumbnailShowResolution, 0);
  EXPECT_EQ(reread.ThumbnailBackground, 0x00123456);
  EXPECT_EQ(reread.ThumbnailBorder, 4);  // not the dialog's field

  // Everything else of the record is left as it was.
  StartRecord expected = DefaultStartRecord("/opt/kelvane");
  expected.ThumbnailWidth = 90;
  expected.ThumbnailHeight = 120;
  expected.ThumbnailQuality = 1;
  expected.ThumbnailShowFilename = 1;
  expected.ThumbnailShowResolution = 0;
  expected.ThumbnailBackground = 0x00123456;
  EXPECT_EQ(reread, expected);
}

TEST(OptionsDialog, DefaultsRoundTripUnchanged) {
  const StartRecord record = DefaultStartRecord("/opt/kelvane");
  StartRecord target = record;
  fOptions(record).OK(target);
  EXPECT_EQ(target, record);
  EXPECT_EQ(target.ThumbnailWidth, 70);
  EXPECT_EQ(target.ThumbnailHeight, 60);
}

TEST(OptionsDialog, ControlsStayInStepAndOkWritesByteBooleans) {
  StartRecord record = DefaultStartRecord("/opt/kelvane");
  record.ThumbnailShowFilename = 255;  // any non-zero byte is set
  fOptions dialog(record);
  EXPECT_TRUE(dialog.chkThumbnailShowFilename);

  dialog.ScrollWidth(100);
  EXPECT_EQ(dialog.txtThumbnailWidth, "100");
  dialog.TypeHeight("80");
  EXPECT_EQ(dialog.HHS, 80);
  dialog.TypeHeight("5");  // past the bar's range: the bar keeps 80
  EXPECT_EQ(dialog.HHS, 80);
  dialog.DragSize(40, 2000);
  EXPECT_EQ(dialog.txtThumbnailWidth, "40");
  EXPECT_EQ(dialog.WWS, 40);
  EXPECT_EQ(dialog.txtThumbnailHeight, std::to_string(fOptions::kMaxSide));

  dialog.TypeWidth("3");
  dialog.chkThumbnailShowResolution = true;
  dialog.optThumbnailQuality = 0;
  dialog.OK(record);
  EXPECT_EQ(record.ThumbnailWidth, fOptions::kMinSide);  // held to the range
  EXPECT_EQ(record.ThumbnailHeight, fOptions::kMaxSide);
  EXPECT_EQ(record.ThumbnailShowFilename, 1);
  EXPECT_EQ(record.ThumbnailShowResolution, 1);
  EXPECT_EQ(record.ThumbnailQuality, 0);
}

TEST(KeyboardDialog, TextHasOneDashedLinePerShortcut) {
  const std::string text = fKeyboard::Text();
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 58u);
  EXPECT_NE(text.back(), '\n');
  EXPECT_EQ(lines[0], "New-----------------------Ctrl + N");
  EXPECT_EQ(lines[7], "Cut-----------------------ctrl + X");
  EXPECT_EQ(lines[10], "Copy Image to clipboard---Ctrl + G");
  EXPECT_EQ(lines[16], "Create crop as new image--Shift + Del");
  EXPECT_EQ(lines[18], "Size----------------------ctrl + T");
  EXPECT_EQ(lines[34], "Pizelize------------------Shift + Ctrl + F2");
  EXPECT_EQ(lines[46], "Shift---------------------Ctrl + F6");
  EXPECT_EQ(lines[54], "Set Wallpaper - Stretch---Shift + F12");
  EXPECT_EQ(lines[57], "FAQ's---------------------Ctrl + F");
  for (const std::string& line : lines) {
    // The keys begin at column 27, right after the last dash.
    ASSERT_GT(line.size(), 26u) << line;
    EXPECT_EQ(line[25], '-') << line;
    EXPECT_NE(line[26], '-') << line;
  }
  EXPECT_EQ(fKeyboard::kFont, "Lucida Console");
}

}  // namespace
}  // namespace kelvane
