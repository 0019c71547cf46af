// The Application: command dispatch on documents, zoom and rotation words,
// crop, selections on disk, saving, the close question, start-up and
// shutdown, and the single-instance lock. A scripted user interface answers
// every question and dialog and records what was asked.
#include "shell/application.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "imagefiles/file_dialog_filters.h"
#include "imagefiles/picture_io.h"
#include "shell/app_folder.h"
#include "shell/single_instance.h"
#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using test::TempDir;
using Ints = std::vector<int32_t>;
using Strings = std::vector<std::string>;
using Box = std::tuple<std::string, std::string, MessageIcon>;

template <class T>
T Pop(std::deque<T>& queue, T otherwise) {
  if (queue.empty()) return otherwise;
  T front = queue.front();
  queue.pop_front();
  return front;
}

class FakeUi final : public UserInterface {
 public:
  void Message(const MessageBoxText& message) override { messages.push_back(message); }
  Answer AskYesNoCancel(std::string_view text, std::string_view title) override { return Ask(text, title); }
  Answer AskOkCancel(std::string_view text, std::string_view title) override { return Ask(text, title); }
  std::optional<fs::path> ChooseFile(const FileDialogRequest& request) override {
    dialogs.push_back(request);
    std::error_code ec;
    folderExisted.push_back(fs::is_directory(request.InitialFolder, ec));
    return Pop(files, std::optional<fs::path>());
  }
  void Yield() override { ++yields; }
  void OpenInBrowser(std::string_view address) override { pages.emplace_back(address); }
  void ShowForm(std::string_view formName) override { forms.emplace_back(formName); }
  std::string CompactPath(std::string_view text, int32_t) override { return std::string(text); }
  Clipboard& SystemClipboard() override { return clipboard; }

  Answer Ask(std::string_view text, std::string_view title) {
    questions.push_back({std::string(text), std::string(title)});
    return Pop(answers, Answer::Cancel);
  }
  Strings MessageTexts() const {
    Strings texts;
    for (const MessageBoxText& m : messages) texts.push_back(m.Text);
    return texts;
  }
  Box LastBox() const {
    return messages.empty() ? Box() : Box(messages.back().Text, messages.back().Title, messages.back().Icon);
  }

  std::vector<MessageBoxText> messages;
  std::vector<std::pair<std::string, std::string>> questions;
  std::deque<Answer> answers;
  std::vector<FileDialogRequest> dialogs;
  std::vector<bool> folderExisted;
  std::deque<std::optional<fs::path>> files;
  Strings pages, forms;
  int yields = 0;
  MemoryClipboard clipboard;
};

// A picture whose bytes differ from pixel to pixel.
Bits Pattern(int width, int height) {
  Bits bits(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < 3; ++c) bits.At(c, x, y) = static_cast<uint8_t>(x * 7 + y * 13 + c * 29);
  return bits;
}

// True when the picture is width x height and every byte is expected(c, x, y).
template <class F>
bool PictureIs(const Bits& bits, int width, int height, F expected) {
  if (bits.Width() != width || bits.Height() != height) return false;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < 3; ++c)
        if (bits.At(c, x, y) != static_cast<uint8_t>(expected(c, x, y))) return false;
  return true;
}

bool SamePicture(const Bits& a, const Bits& b) {
  return PictureIs(a, b.Width(), b.Height(), [&](int c, int x, int y) { return b.At(c, x, y); });
}

// Width, height and undo position of a document.
Ints Shape(Document& doc) { return {doc.PictureWidth(), doc.PictureHeight(), doc.History().UndoPos()}; }

Ints Bounds(Document& doc) {
  int32_t l, t, r, b;
  if (!doc.BitRegion().BoundRect(l, t, r, b)) return {};
  return {l, t, r, b};
}

class AppTest : public ::testing::Test {
 protected:
  AppTest() : app(ui, dir.path()) {
    app.Observers.StatusText = [this](Document&, std::string_view panel, const std::string& text) {
      if (panel == kPanelSize) sizeText = text;
    };
  }

  // A document made from the clipboard: one undo state, Tag "New.bmp".
  Document& OpenPicture(int width, int height) {
    ui.clipboard.SetPicture(Pattern(width, height));
    app.MenuExec("CREATEFROMCLIPBOARD");
    Document* doc = app.GetActiveImage();
    EXPECT_NE(doc, nullptr);
    return *doc;
  }
  size_t TempFileCount() {
    size_t n = 0;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(dir.path() / "Temp", ec))
      if (!e.is_directory()) ++n;
    return n;
  }

  TempDir dir;
  FakeUi ui;
  Application app;
  std::string sizeText;
};

TEST_F(AppTest, UnknownWordsAndWordsWithoutADocumentDoNothing) {
  for (const char* word : {"NOSUCHWORD", "INVERT", "CROP", "UNDO", "50", "SELECTALL", "CREATEFROMCLIPBOARD"})
    app.MenuExec(word);
  EXPECT_TRUE(app.Documents().empty());
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(ui.yields, 0);
  // A click on an array that needs a document leaves the caption alone; FILE needs none.
  app.MenuClick("EDIT", 11);
  EXPECT_EQ(app.LastCommandCaption(), "");
  app.MenuClick("FILE", 0);
  EXPECT_EQ(ui.forms, Strings{"fNew"});
  EXPECT_EQ(app.LastCommandCaption(), "New");
  // The clipboard picture makes a document named "New.bmp" with its first state.
  Document& doc = OpenPicture(20, 10);
  EXPECT_EQ(doc.Tag, "New.bmp");
  app.MenuExec("NOSUCHWORD");
  app.MenuExec("TALCOMPOWDER");  // accepted, empty
  EXPECT_EQ(doc.History().UndoPos(), 1);
  EXPECT_FALSE(doc.Changed);
  EXPECT_TRUE(SamePicture(doc.PictureBits(), Pattern(20, 10)));
  // Later names, clipboard or copy, are made unique.
  EXPECT_EQ(OpenPicture(7, 5).Tag.rfind("New.bmp[", 0), 0u);
  app.MenuExec("CREATENEWCOPY");
  ASSERT_EQ(app.Documents().size(), 3u);
  Document& copy = *app.GetActiveImage();
  EXPECT_TRUE(SamePicture(copy.PictureBits(), Pattern(7, 5)));
  EXPECT_EQ(copy.Tag.rfind("New.bmp[", 0), 0u);
  EXPECT_NE(copy.Tag, app.Documents()[1]->Tag);
  EXPECT_EQ(copy.History().UndoPos(), 1);
}

TEST_F(AppTest, DirectFiltersYieldAndTakeAnUndoStepUnderTheCaption) {
  Document& doc = OpenPicture(12, 12);
  const Bits source = Pattern(12, 12);
  int redraws = 0;
  app.Observers.UpdateImage = [&](Document&) { ++redraws; };
  app.MenuClick("FILTERS", 0);  // "Invert"
  EXPECT_EQ(ui.yields, 1);
  EXPECT_EQ(redraws, 1);
  EXPECT_EQ(doc.History().UndoPos(), 2);
  EXPECT_EQ(doc.History().HistoryNames()[1], "Invert");
  EXPECT_TRUE(doc.Changed);
  EXPECT_TRUE(app.DocumentChanged());
  EXPECT_TRUE(
      PictureIs(doc.PictureBits(), 12, 12, [&](int c, int x, int y) { return 255 - source.At(c, x, y); }));
  app.MenuExec("UNDO");
  EXPECT_TRUE(SamePicture(doc.PictureBits(), source));
  app.MenuClick("FILTERS", 24);
  EXPECT_EQ(ui.yields, 2);
  EXPECT_EQ(doc.History().UndoPos(), 2);
  EXPECT_EQ(doc.History().HistoryNames()[1], "Bump Mapping...");
  // Weights -1 -1 0 / -1 2 1 / 0 1 1, divisor 2, at (5, 5) of blue 7x + 13y:
  // (-80 - 87 + 0 - 93 + 2 * 100 + 107 + 0 + 113 + 120) / 2 = 140.
  EXPECT_EQ(doc.PictureBits().At(0, 5, 5), 140);
  app.MenuExec("UNDO");
  app.MenuExec("FLIPH");
  EXPECT_TRUE(
      PictureIs(doc.PictureBits(), 12, 12, [&](int c, int x, int y) { return source.At(c, 11 - x, y); }));
  app.MenuExec("FLIPV");
  EXPECT_TRUE(
      PictureIs(doc.PictureBits(), 12, 12, [&](int c, int x, int y) { return source.At(c, 11 - x, 11 - y); }));
  EXPECT_EQ(doc.History().UndoPos(), 3);
}

TEST_F(AppTest, NewDialogAndDialogWordsOpenTheirFormsAndReplaceCaptionsArePrefixed) {
  app.NewDialog.ChooseStandardSize(2);  // "320 x 240"
  EXPECT_TRUE(app.NewDialogOK().closed);
  ASSERT_EQ(app.Documents().size(), 1u);
  Document& doc = *app.GetActiveImage();
  EXPECT_EQ(doc.Tag, "New.bmp");
  EXPECT_EQ(doc.Caption, "New Image Document");
  EXPECT_EQ(Shape(doc), Ints({320, 240, 1}));
  EXPECT_EQ(doc.PictureBits().At(2, 319, 239), 255);
  app.NewDialog.TypeWidth("1");
  const DialogResult refused = app.NewDialogOK();
  EXPECT_FALSE(refused.closed);
  EXPECT_EQ(refused.message, "Minimum size: 2 x 2");
  EXPECT_EQ(app.Documents().size(), 1u);

  app.MenuClick("REPLACE", 0);
  EXPECT_EQ(app.LastCommandCaption(), "Replace Color...");
  ASSERT_EQ(ui.forms, Strings{"fFilter"});
  ASSERT_TRUE(app.FilterDialog);
  EXPECT_EQ(app.FilterDialog->FilterIndex, 16);
  app.MenuExec("CUSTOMCURTAIN");
  EXPECT_EQ(app.FilterDialog->FilterIndex, 40);
  ui.forms.clear();
  for (const char* word : {"IMAGESIZE", "CANVASSIZE", "IMAGEORIENTATION", "IMAGEROTATE", "PRINT"})
    app.MenuExec(word);
  EXPECT_EQ(ui.forms, (Strings{"fSize", "fCanvas", "fOrientation", "fRotate", "fPrint"}));
  ASSERT_TRUE(app.SizeDialog);
  EXPECT_EQ(app.SizeDialog->size.Width(), 320);
  app.SizeDialog->TypeWidth("160");
  EXPECT_TRUE(app.SizeDialogOK().closed);
  EXPECT_EQ(Shape(doc), Ints({160, 120, 2}));
  EXPECT_EQ(sizeText, "160 x 120");
}

TEST_F(AppTest, ZoomWordsWorkFromTheUnzoomedPictureWithoutAnUndoStep) {
  Document& doc = OpenPicture(100, 50);
  // Sizes by hand: side / factor rounded half to even, or side * factor.
  const struct { const char* word; int32_t width, height; } cases[] = {
      {"50", 50, 25},   {"33", 33, 17},   {"25", 25, 12}, {"20", 20, 10}, {"15", 14, 7},  // by 7
      {"10", 11, 6},                                                                      // by 9
      {"2x", 200, 100}, {"5x", 500, 250}, {"x2", 50, 25}, {"x4", 25, 12}, {"ORIGINAL", 100, 50},
  };
  for (const auto& c : cases) {
    app.MenuExec(c.word);
    EXPECT_EQ(Shape(doc), Ints({c.width, c.height, 1})) << c.word;
  }
  EXPECT_FALSE(doc.Changed);
  app.MenuExec("300");
  EXPECT_EQ(doc.ZoomFactor(), 3);
  EXPECT_EQ(doc.PictureWidth(), 100);
  // Two 50s give a half; a filter between them fixes the zoom, so 50 - filter - 50 gives a quarter.
  app.MenuExec("50");
  app.MenuExec("50");
  EXPECT_EQ(Shape(doc), Ints({50, 25, 1}));
  app.MenuExec("INVERT");
  app.MenuExec("50");
  EXPECT_EQ(Shape(doc), Ints({25, 12, 2}));
  EXPECT_TRUE(doc.Changed);
}

TEST_F(AppTest, RotationWordsPassTheirTableAnglesAndMinus90TurnsUpright) {
  // Each word's picture equals RotateImage with the table's angle on a fresh
  // copy: N270 turns by +90 while A270 turns by -90 like A90.
  const struct { const char* word; int32_t degrees; bool antialias; } cases[] = {
      {"N90", -90, false}, {"N180", -180, false}, {"N270", 90, false}, {"N45", -45, false},
      {"A90", -90, true},  {"A180", -180, true},  {"A270", -90, true}, {"A45", -45, true}};
  for (const auto& c : cases) {
    Document& byWord = OpenPicture(12, 7);
    app.MenuExec(c.word);
    Document& byCall = OpenPicture(12, 7);
    app.RotateImage(c.degrees, c.antialias);
    EXPECT_TRUE(SamePicture(byWord.PictureBits(), byCall.PictureBits())) << c.word;
  }
  // N90 (document 0) and N270 (document 4) turn opposite ways.
  EXPECT_FALSE(SamePicture(app.Documents()[0]->PictureBits(), app.Documents()[4]->PictureBits()));

  Document& doc = OpenPicture(100, 50);
  app.RotateImage(-90, false);
  EXPECT_EQ(Shape(doc), Ints({50, 100, 2}));
  EXPECT_EQ(sizeText, "50 x 100");
  // The source turned a quarter, about a centre that may sit half a pixel
  // off: allow a shift of one pixel either way.
  const Bits source = Pattern(100, 50);
  int matches = 0;
  for (int turn = 0; turn < 2; ++turn)
    for (int shift = -1; shift <= 1; ++shift) {
      int n = 0;
      for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 50; ++x) {
          const int sx = turn == 0 ? y : 99 - y, sy = (turn == 0 ? 49 - x : x) + shift;
          if (sy >= 0 && sy < 50 && doc.PictureBits().At(0, x, y) == source.At(0, sx, sy)) ++n;
        }
      matches = std::max(matches, n);
    }
  EXPECT_GT(matches, 50 * 100 * 9 / 10);
}

TEST_F(AppTest, CropNeedsTwoByTwoUndoRestoresAndCropIntoANewDocumentLeavesTheOld) {
  Document& doc = OpenPicture(100, 50);
  const Bits source = Pattern(100, 50);
  doc.BitRegion().CreateRect(10, 10, 11, 15, CombineMode::Copy, false);  // 1 x 5
  app.MenuExec("CROP");
  EXPECT_EQ(Shape(doc), Ints({100, 50, 1}));
  doc.BitRegion().Init(0, 0, 100, 50);
  doc.BitRegion().CreateRect(10, 5, 40, 25, CombineMode::Copy, false);
  app.MenuExec("CROP");
  EXPECT_TRUE(
      PictureIs(doc.PictureBits(), 30, 20, [&](int c, int x, int y) { return source.At(c, x + 10, y + 5); }));
  EXPECT_EQ(doc.History().UndoPos(), 2);
  EXPECT_TRUE(doc.BitRegion().IsEmptyRegion());
  app.MenuExec("UNDO");
  EXPECT_TRUE(SamePicture(doc.PictureBits(), source));

  doc.BitRegion().Init(0, 0, 100, 50);
  doc.BitRegion().CreateRect(2, 3, 12, 8, CombineMode::Copy, false);
  app.MenuExec("NEWIMAGEFROMCROP");
  ASSERT_EQ(app.Documents().size(), 2u);
  Document& created = *app.GetActiveImage();
  EXPECT_NE(&created, &doc);
  EXPECT_EQ(created.Tag, "New Image Document");
  EXPECT_EQ(Shape(created), Ints({10, 5, 1}));
  EXPECT_EQ(Shape(doc), Ints({100, 50, 1}));
}

TEST_F(AppTest, SelectionWordsDriveTheOutlineTimerAndFilesGoThroughTheSelectionsFolder) {
  Document& doc = OpenPicture(50, 40);
  std::vector<bool> timer;
  app.Observers.SelectionTimer = [&](Document&, bool on) { timer.push_back(on); };
  app.MenuExec("SELECTALL");
  EXPECT_EQ(Bounds(doc), Ints({0, 0, 50, 40}));
  app.MenuExec("INVERTSELECTION");  // everything XOR everything: empty
  EXPECT_TRUE(doc.BitRegion().IsEmptyRegion());
  app.MenuExec("INVERTSELECTION");  // an empty box selects the whole picture
  EXPECT_FALSE(doc.BitRegion().IsEmptyRegion());
  app.MenuExec("SELECTNONE");
  EXPECT_EQ(doc.BitRegion().Region(), nullptr);
  EXPECT_EQ(timer, (std::vector<bool>{true, false, true, false}));
  EXPECT_EQ(doc.History().UndoPos(), 1);

  // The folder is made before each dialog, even one that is cancelled.
  const fs::path folder = dir.path() / "Selections";
  ASSERT_FALSE(fs::exists(folder));
  app.MenuExec("LOADSELECTION");
  fs::remove(folder);
  doc.BitRegion().Init(0, 0, 50, 40);
  doc.BitRegion().CreateRect(5, 6, 45, 30, CombineMode::Copy, false);
  ui.files.push_back(folder / "a.ksf");
  app.MenuExec("SAVESELECTION");
  ASSERT_EQ(ui.dialogs.size(), 2u);
  EXPECT_EQ(ui.folderExisted, (std::vector<bool>{true, true}));
  EXPECT_EQ(ui.dialogs[1].Title, "Save selection");
  EXPECT_TRUE(ui.dialogs[1].Save);
  EXPECT_TRUE(fs::exists(folder / "a.ksf"));
  // Loaded into a smaller picture: cut to it.
  Document& small = OpenPicture(20, 20);
  ui.files.push_back(folder / "a.ksf");
  app.MenuExec("LOADSELECTION");
  ASSERT_EQ(ui.dialogs.size(), 3u);
  const FileDialogRequest& load = ui.dialogs[2];
  EXPECT_EQ(std::tuple(load.Title, load.Filter, load.Flags, load.InitialFolder),
            std::tuple("Load selection", "Selection Files (*.ksf)|*.ksf", 0x806, folder));
  EXPECT_EQ(Bounds(small), Ints({5, 6, 20, 20}));
  app.MenuExec("LOADSELECTION");  // cancelled: the selection stays
  EXPECT_EQ(Bounds(small), Ints({5, 6, 20, 20}));
}

TEST_F(AppTest, SaveWritesKnownTypesAtOnceAsksForOthersAndReportsFailure) {
  Document& doc = OpenPicture(23, 17);
  // A folder that does not exist: the writer makes no file.
  const std::string lost = (dir.path() / "no such folder" / "picture.png").string();
  doc.Tag = lost;
  doc.Changed = true;
  app.MenuStatic("SAVE");
  EXPECT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.LastBox(), Box("Unexpected error saving image", "Kelvane", MessageIcon::Exclamation));
  EXPECT_TRUE(doc.Changed);
  EXPECT_EQ(doc.Tag, lost);
  EXPECT_EQ(app.Record().RecentFiles[0].Get(), "");

  doc.Tag = (dir.path() / "picture.pcx").string();
  app.MenuStatic("SAVE");
  EXPECT_TRUE(ui.dialogs.empty());
  EXPECT_FALSE(doc.Changed);
  Bits back;
  std::string error;
  ASSERT_TRUE(LoadPictureFile(dir.path() / "picture.pcx", back, error)) << error;
  EXPECT_TRUE(SamePicture(back, Pattern(23, 17)));
  EXPECT_EQ(app.Record().RecentFiles[0].Get(), doc.Tag);

  // A type it cannot write, and an invented name with no folder that was
  // never saved, bring up the dialog rather than a file in the working folder.
  for (const std::string& tag : {(dir.path() / "picture.psd").string(), std::string("New.bmp")}) {
    doc.Tag = tag;
    app.MenuStatic("SAVE");  // cancelled dialog
  }
  ASSERT_EQ(ui.dialogs.size(), 2u);
  for (const FileDialogRequest& d : ui.dialogs)
    EXPECT_EQ(std::tuple(d.Title, d.Filter), std::tuple("Save as", std::string(kSaveAsFilter)));
  EXPECT_FALSE(fs::exists("New.bmp"));
  EXPECT_EQ(ui.messages.size(), 1u);
}

TEST_F(AppTest, SaveAsRenamesTheDocumentAndRemembersTheFolder) {
  Document& doc = OpenPicture(9, 9);
  const fs::path target = dir.path() / "out.png";
  ui.files.push_back(target);
  app.MenuStatic("SAVEAS");
  ASSERT_TRUE(fs::exists(target));
  EXPECT_EQ(doc.Tag, target.string());
  EXPECT_EQ(doc.Caption, "out.png");
  EXPECT_EQ(app.Record().SaveFolder.Get(), dir.path().string() + "/");
  ui.files.push_back(target);  // over its own name: the name stays
  app.MenuStatic("SAVEAS");
  EXPECT_EQ(doc.Tag, target.string());
  doc.Changed = true;
  ui.files.push_back(dir.path() / "no such folder" / "other.bmp");
  app.MenuStatic("SAVEAS");
  EXPECT_EQ(ui.MessageTexts(), Strings{"Unexpected error saving image"});
  EXPECT_TRUE(doc.Changed);
  EXPECT_EQ(doc.Tag, target.string());
}

TEST_F(AppTest, CloseQuestionAnswers) {
  // secondState: an INVERT makes two states and marks it changed; zoomOnly: changed by a zoom.
  const struct {
    const char* name;
    bool ask, secondState, zoomOnly;
    std::optional<Answer> answer;
    bool asked, closed, saveDialog;
  } cases[] = {
      {"one state never asks", true, false, false, std::nullopt, false, true, false},
      {"zoom only never asks", true, false, true, std::nullopt, false, true, false},
      {"asking off", false, true, false, std::nullopt, false, true, false},
      {"No closes", true, true, false, Answer::No, true, true, false},
      {"Cancel refuses", true, true, false, Answer::Cancel, true, false, false},
      {"Yes and a cancelled dialog still close", true, true, false, Answer::Yes, true, true, true},
  };
  for (const auto& c : cases) {
    TempDir folder;
    FakeUi fake;
    Application a(fake, folder.path());
    a.Record().SaveAskOnClose = c.ask ? kTrue : kFalse;
    fake.clipboard.SetPicture(Pattern(10, 10));
    a.MenuExec("CREATEFROMCLIPBOARD");
    ASSERT_NE(a.GetActiveImage(), nullptr);
    if (c.secondState) a.MenuExec("INVERT");
    if (c.zoomOnly) a.MenuExec("50");
    if (c.answer) fake.answers.push_back(*c.answer);
    a.MenuStatic("CLOSE");
    EXPECT_EQ(fake.questions.size(), c.asked ? 1u : 0u) << c.name;
    EXPECT_EQ(a.Documents().empty(), c.closed) << c.name;
    EXPECT_EQ(fake.dialogs.size(), c.saveDialog ? 1u : 0u) << c.name;
    if (c.asked) {
      EXPECT_EQ(fake.questions[0], std::pair(CloseQuestionText("New.bmp"), std::string("Kelvane"))) << c.name;
    }
  }
}

TEST_F(AppTest, CloseDeletesUndoFilesShutdownStopsAtARefusalButWritesSettingsAndEmptiesTemp) {
  Document& keep = OpenPicture(5, 5);
  OpenPicture(5, 5);
  app.MenuExec("INVERT");
  EXPECT_EQ(TempFileCount(), 3u);
  app.Record().SaveAskOnClose = kFalse;
  app.MenuStatic("CLOSE");
  EXPECT_EQ(TempFileCount(), 1u);
  EXPECT_EQ(app.GetActiveImage(), &keep);

  app.Record().SaveAskOnClose = kTrue;
  OpenPicture(6, 6);
  app.MenuExec("INVERT");  // the last document asks
  std::ofstream(dir.path() / "Temp" / "stray.tmp") << "x";
  ui.answers.push_back(Answer::Cancel);
  EXPECT_FALSE(app.Shutdown());
  EXPECT_EQ(app.Documents().size(), 2u);  // the walk stopped at the last one
  EXPECT_EQ(ui.questions.size(), 1u);
  ASSERT_TRUE(fs::exists(SettingsFilePath(dir.path())));
  EXPECT_EQ(fs::file_size(SettingsFilePath(dir.path())), StartRecordSize());
  EXPECT_EQ(TempFileCount(), 0u);
  ui.answers.push_back(Answer::No);
  EXPECT_TRUE(app.Shutdown());
  EXPECT_TRUE(app.Documents().empty());
}

TEST_F(AppTest, FirstStartShowsEveryBoxAtItsDefaultPlace) {
  const StartResult start = app.StartRoutine(dir.path() / "instance.lock");
  EXPECT_FALSE(start.SettingsFileExisted);
  EXPECT_FALSE(start.AnotherInstance);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(start.MainState, WindowState::Maximized);
  EXPECT_EQ(start.OpenFolder, dir.path().string() + "/Images/");
  Strings forms;
  for (const SideBoxPlacement& p : start.SideBoxes) forms.emplace_back(p.Form);
  ASSERT_EQ(forms, (Strings{"fToolColor", "fToolTextures", "fPaste", "fPanView", "fToolBrowser", "finfo",
                            "fLayerBox"}));
  const SideBoxPlacement &color = start.SideBoxes[0], &paste = start.SideBoxes[2];
  EXPECT_TRUE(paste.StoresSize);
  EXPECT_EQ(Ints({paste.Left, paste.Top, paste.Width, paste.Height}), Ints({3600, 4650, 3950, 3180}));
  EXPECT_FALSE(color.StoresSize);
  EXPECT_EQ(Ints({color.Left, color.Top}), Ints({420, 1110}));
  EXPECT_EQ(app.Clips().Pressure(), 80);  // the paste box's opacity, the record's
}

TEST_F(AppTest, TheInstanceLockWarnsASecondInstanceWhichGoesOn) {
  const fs::path lock = dir.path() / "instance.lock";
  {
    InstanceLock first(lock);
    EXPECT_TRUE(first.Held());
    EXPECT_FALSE(first.AnotherInstanceRuns());
    InstanceLock second(lock);
    EXPECT_TRUE(second.AnotherInstanceRuns());
    EXPECT_FALSE(second.Held());
  }
  EXPECT_FALSE(InstanceLock(lock).AnotherInstanceRuns());
  EXPECT_FALSE(InstanceLock(dir.path() / "missing" / "x.lock").AnotherInstanceRuns());
  EXPECT_NE(InstanceLockPath("/opt/a/kelvane"), InstanceLockPath("/opt/b/kelvane"));

  InstanceLock first(lock);
  ASSERT_TRUE(first.Held());
  app.Record().ColorBoxShown = kFalse;
  const StartResult start = app.StartRoutine(lock);
  EXPECT_TRUE(start.AnotherInstance);
  EXPECT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.LastBox(), Box("Kelvane is already running!", "Kelvane", MessageIcon::Information));
  EXPECT_EQ(start.SideBoxes.size(), 7u);
}

TEST_F(AppTest, ViewsResetAndHelp) {
  std::vector<SideBoxPlacement> seen;
  app.Observers.SideBox = [&](const SideBoxPlacement& p) { seen.push_back(p); };
  ASSERT_EQ(app.Record().PanViewShown, kTrue);
  app.MenuClick("VIEWS", 7);
  EXPECT_EQ(app.Record().PanViewShown, kFalse);
  app.MenuClick("VIEWS", 7);
  EXPECT_EQ(app.Record().PanViewShown, kTrue);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].Form, "fPanView");
  EXPECT_FALSE(seen[0].Shown);
  EXPECT_TRUE(seen[1].Shown);
  EXPECT_EQ(seen[1].Height, 3180);
  app.MenuClick("VIEWS", 2);
  EXPECT_EQ(app.LastArrange(), ArrangeMode::Cascade);

  app.MenuStatic("RESET");  // no settings file: nothing
  EXPECT_TRUE(ui.questions.empty());
  ASSERT_TRUE(SaveStartRecord(dir.path(), app.Record()));
  bool exited = false;
  app.Observers.ExitRequested = [&] { exited = true; };
  ui.answers.push_back(Answer::Ok);
  app.MenuClick("RESET", 0);
  ASSERT_EQ(ui.questions.size(), 1u);
  EXPECT_EQ(ui.questions[0].first, "Kelvane will be closed down to apply the default settings!");
  EXPECT_TRUE(exited);
  StartRecord back;
  ASSERT_TRUE(LoadStartRecord(dir.path(), back));
  EXPECT_EQ(back.ResetRequested, kTrue);

  app.MenuClick("ABOUT", 0);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(std::pair(ui.messages[0].Text, ui.messages[0].Title),
            std::pair(std::string("Help Files are Missing! Please Re-install Kelvane Again"),
                      std::string("Help Files Missing!")));
  fs::create_directories(dir.path() / "Help");
  std::ofstream(dir.path() / "Help" / "default.htm") << "<html></html>";
  app.MenuClick("ABOUT", 0);
  EXPECT_EQ(ui.pages, Strings{(dir.path() / "Help" / "default.htm").string()});
}

TEST_F(AppTest, OpenLoadsTheChosenFileOnceAndLayeredFilesGoElsewhere) {
  const fs::path file = test::DataFile("bmp-24bit-oddwidth-119x96.bmp");
  ui.files.push_back(file);
  app.MenuStatic("OPEN");
  ASSERT_EQ(ui.dialogs.size(), 1u);
  const FileDialogRequest& open = ui.dialogs[0];
  EXPECT_EQ(std::tuple(open.Title, open.Filter, open.DefaultExtension, open.Flags),
            std::tuple("Kelvane", std::string(kOpenFilter), "*.bmp", 0x80800));
  ASSERT_EQ(app.Documents().size(), 1u);
  Document& doc = *app.GetActiveImage();
  EXPECT_EQ(Shape(doc), Ints({119, 96, 1}));
  EXPECT_EQ(doc.Caption, "bmp-24bit-oddwidth-119x96.bmp");
  app.MenuExec("IMAGEPROPERTIES");
  ASSERT_TRUE(app.Properties);
  EXPECT_EQ(ui.forms, Strings{"fProperties"});
  EXPECT_EQ(app.Properties->Width, 119);
  EXPECT_EQ(app.Properties->BitsPerPixel, 24);

  ui.files.push_back(file);
  app.MenuStatic("OPEN");
  EXPECT_EQ(ui.MessageTexts(), Strings{"File Already Opened!"});
  EXPECT_EQ(app.Documents().size(), 1u);
  fs::path layered;
  app.Observers.OpenLayeredFile = [&](const fs::path& p) { layered = p; };
  ui.files.push_back(dir.path() / "project.klf");
  std::ofstream(dir.path() / "project.klf") << "x";
  app.MenuStatic("OPEN");
  EXPECT_EQ(layered, dir.path() / "project.klf");
  EXPECT_EQ(app.Documents().size(), 1u);
}

class TakeUndo final : public LayerEditRoute {
 public:
  bool RouteEdit(Document&, std::string_view word) override {
    words.emplace_back(word);
    return word == "UNDO";
  }
  Strings words;
};

TEST_F(AppTest, CutTakesAStepEvenWhenRefusedPasteFloatsAndEditWordsMayGoToTheLayer) {
  Document& doc = OpenPicture(20, 10);
  std::vector<int32_t> keys;
  app.Observers.CanvasKeyUp = [&](Document&, int32_t key) { keys.push_back(key); };
  doc.BitRegion().CreateRect(3, 0, 4, 10, CombineMode::Copy, false);  // 1 x 10
  app.MenuClick("EDIT", 3);
  EXPECT_EQ(ui.MessageTexts(), Strings{"Minimum cut size: 2 x 2"});
  // The snapshot follows the refused cut all the same: a "Cut" row holding
  // the unchanged picture, and the document is not marked changed.
  EXPECT_EQ(doc.History().UndoPos(), 2);
  EXPECT_EQ(doc.History().HistoryNames()[1], "Cut");
  EXPECT_TRUE(SamePicture(doc.PictureBits(), Pattern(20, 10)));
  EXPECT_FALSE(doc.Changed);

  doc.BitRegion().Init(0, 0, 20, 10);
  doc.BitRegion().CreateRect(2, 2, 6, 5, CombineMode::Copy, false);
  app.MenuExec("CUT");
  EXPECT_EQ(doc.History().UndoPos(), 3);
  EXPECT_TRUE(doc.Changed);
  EXPECT_EQ(doc.PictureBits().At(0, 3, 3), 0);  // the cut area is background
  EXPECT_EQ(app.Clips().ClipCount(), 1);
  app.Tools().SetCurrentTool("Brush");
  app.MenuExec("PASTE");
  EXPECT_TRUE(app.Clips().IsFloating(doc));
  EXPECT_EQ(app.Tools().CurrentTool(), "MouseScroll");
  EXPECT_TRUE(app.Tools().ButtonPressed(14));
  EXPECT_EQ(keys, Ints({17, 17, 17}));

  TakeUndo route;
  app.SetLayerEditRoute(&route);
  const int32_t steps = doc.History().UndoPos();
  app.MenuClick("EDIT", 0);  // Undo: taken by the layer
  EXPECT_EQ(doc.History().UndoPos(), steps);
  app.MenuClick("EDIT", 12);    // Select None: not taken, runs here
  app.MenuClick("FILTERS", 0);  // other arrays never ask the layer
  EXPECT_EQ(route.words, (Strings{"UNDO", "SELECTNONE"}));
  Ints effects;
  app.Observers.ApplyLayerEffects = [&](Document&, int32_t number) { effects.push_back(number); };
  app.MenuClick("LayerBlur", 2);
  app.MenuClick("AdjustFlip", 1);
  EXPECT_EQ(effects, Ints({18, 79}));
}

TEST_F(AppTest, MainWindowResizeKeepsTheNormalFrameOnly) {
  const struct {
    WindowState state;
    int32_t width, height, expectWidth, expectHeight, expectMaximized;
  } cases[] = {
      {WindowState::Normal, 9000, 7000, 9000, 7000, kFalse},
      {WindowState::Maximized, 20000, 15000, 9000, 7000, kTrue},
      {WindowState::Minimized, 100, 100, 9000, 7000, kTrue},
      {WindowState::Normal, 40000, 6000, 32767, 6000, kFalse},
  };
  for (const auto& c : cases) {
    app.MainWindowResized(c.state, c.width, c.height);
    const StartRecord& r = app.Record();
    EXPECT_EQ(Ints({r.MainWidth, r.MainHeight, r.MainMaximized}),
              Ints({c.expectWidth, c.expectHeight, c.expectMaximized}));
  }
}

TEST_F(AppTest, StartDrawsTheTextMaskAndTheTextToolPaintsIt) {
  app.StartRoutine(dir.path() / "instance.lock");
  // A first start: "1.0" in the default font at 20 pt, a 27-pixel em.
  ASSERT_NE(app.TextMask(), nullptr);
  const Bits stamp = *app.TextMask();
  EXPECT_GE(stamp.Height(), 15);
  EXPECT_LE(stamp.Height(), 40);
  Document& doc = OpenPicture(100, 60);
  app.Record().CurrentTool.Set("Text");
  app.Record().StampPressure = 100;
  app.Record().ForeColor = 0x0000FF;  // red
  CanvasTools tools;
  tools.MouseDown(doc, app, MouseButton::Left, 50, 30, false);
  tools.MouseUp(doc, app, MouseButton::Left, 50, 30, false);
  // Centred at the pointer: ink pixels red, all others as they were.
  const int x0 = 50 - stamp.Width() / 2, y0 = 30 - stamp.Height() / 2;
  const Bits original = Pattern(100, 60);
  int painted = 0;
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 100; ++x) {
      const int mx = x - x0, my = y - y0;
      const bool ink =
          mx >= 0 && my >= 0 && mx < stamp.Width() && my < stamp.Height() && stamp.At(0, mx, my) == 0;
      painted += ink;
      const uint8_t* p = doc.PictureBits().Pixel(x, y);
      const uint8_t red[3] = {0, 0, 255};
      ASSERT_TRUE(std::equal(p, p + 3, ink ? red : original.Pixel(x, y))) << x << "," << y;
    }
  EXPECT_GT(painted, 30);
  EXPECT_EQ(doc.History().UndoPos(), 2);
  // The record's text changes the mask; blank text leaves none.
  app.Record().TextToolSize = 40;
  app.RefreshTextMask();
  ASSERT_NE(app.TextMask(), nullptr);
  EXPECT_GT(app.TextMask()->Height(), stamp.Height());
  app.Record().TextToolText.Set("");
  app.RefreshTextMask();
  EXPECT_EQ(app.TextMask(), nullptr);
}

}  // namespace
}  // namespace kelvane
