// The editor driven as a user drives it, on the offscreen platform: the real
// frame, menus and dialogs of an EditorSession, with the questions, file
// dialogs and forms answered by a script through QtUserInterface's seam.
// Also the pieces the flow leans on: the filter conversion, the clipboard
// pictures, the shortcut table and the menu bar's shape.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QClipboard>
#include <QElapsedTimer>
#include <QMenu>
#include <QMdiArea>
#include <QMenuBar>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <csignal>
#include <deque>
#include <map>
#include <set>

#include "dialogs/dialog_support.h"
#include "boxes/picture_convert.h"
#include "dialogs/filter_dialog.h"
#include "document/canvas_widget.h"
#include "document/document_window.h"
#include "imagefiles/file_dialog_filters.h"
#include "imagefiles/picture_io.h"
#include "shell/application.h"
#include "shell/editor_session.h"
#include "shell/main_window.h"
#include "shell/menu_bar.h"
#include "shell/menu_tables.h"
#include "shell/qt_user_interface.h"
#include "shell/tool_strip.h"
#include "test_support.h"

namespace kelvane {
namespace {

// Polls the event loop until the condition holds (at most `ms`).
bool WaitFor(const std::function<bool()>& condition, int ms = 3000) {
  QElapsedTimer clock;
  clock.start();
  while (!condition()) {
    if (clock.elapsed() > ms) return false;
    QApplication::processEvents(QEventLoop::AllEvents, 20);
    QTest::qWait(5);
  }
  return true;
}

void Settle() {
  for (int i = 0; i < 4; ++i) QApplication::processEvents();
  QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// What the script answers and what it was asked.
struct Script {
  std::vector<MessageBoxText> messages;
  std::deque<std::optional<std::filesystem::path>> files;
  std::vector<FileDialogRequest> fileRequests;
  std::deque<Answer> answers;
  std::vector<std::string> questions;
  std::vector<std::string> forms;
  std::map<std::string, std::function<void(QDialog&)>> dialogs;
  std::vector<std::string> browsed;

  std::shared_ptr<ScriptedAnswers> Make() {
    auto s = std::make_shared<ScriptedAnswers>();
    s->Message = [this](const MessageBoxText& m) { messages.push_back(m); };
    s->YesNoCancel = [this](std::string_view text, std::string_view title) {
      questions.push_back(std::string(title) + "|" + std::string(text));
      Answer a = answers.empty() ? Answer::Cancel : answers.front();
      if (!answers.empty()) answers.pop_front();
      return a;
    };
    s->OkCancel = s->YesNoCancel;
    s->ChooseFile = [this](const FileDialogRequest& r) {
      fileRequests.push_back(r);
      std::optional<std::filesystem::path> f = files.empty() ? std::nullopt : files.front();
      if (!files.empty()) files.pop_front();
      return f;
    };
    s->Browser = [this](std::string_view a) { browsed.emplace_back(a); };
    s->Dialog = [this](QDialog& dialog, std::string_view form) {
      forms.emplace_back(form);
      const auto it = dialogs.find(std::string(form));
      if (it != dialogs.end()) it->second(dialog);
    };
    return s;
  }
};

// A session on a scratch folder with its own lock file.
struct Editor {
  explicit Editor(const std::filesystem::path& folder) : session(folder) {
    session.SetInstanceLockFile(folder / "instance.lock");
    session.Ui().SetScript(script.Make());
    session.StartRoutine(nullptr);
    QApplication::setActiveWindow(session.Main());
    Settle();
  }
  QAction* Act(std::string_view array, int32_t index) const {
    QAction* action = session.Menus()->Action(array, index);
    EXPECT_NE(action, nullptr) << array << "(" << index << ")";
    return action;
  }
  void Click(std::string_view array, int32_t index) {
    if (QAction* action = Act(array, index)) action->trigger();
    Settle();
  }
  Document* Active() { return session.App().GetActiveImage(); }
  DocumentWindow* ActiveWindow() { return session.Main()->ActiveDocumentWindow(); }

  Script script;
  EditorSession session;
};

// The picture's pixel as (red, green, blue).
std::array<int, 3> PixelOf(const Bits& bits, int x, int y) {
  const uint8_t* p = bits.Pixel(x, y);
  return {p[2], p[1], p[0]};
}

TEST(EditorFlow, OpenSelectFilterUndoCropZoomSaveCloseAndRestart) {
  test::TempDir dir;
  const std::filesystem::path appFolder = dir / "app";
  std::filesystem::create_directories(appFolder);
  const std::filesystem::path picture = dir / "pic.bmp";
  std::filesystem::copy_file(test::DataFile("bmp-24bit-oddwidth-119x96.bmp"), picture);
  Bits original;
  std::string error;
  ASSERT_TRUE(LoadPictureFile(picture, original, error)) << error;
  const std::filesystem::path saved = dir / "out.png";

  {
    Editor e(appFolder);
    MainWindow* main = e.session.Main();
    ASSERT_NE(main, nullptr);
    EXPECT_TRUE(main->isVisible());
    // A first start shows every side box, each checked in the View menu.
    for (int32_t views = 4; views <= 10; ++views) EXPECT_TRUE(e.Act("VIEWS", views)->isChecked()) << views;

    // File > Open: the picture dialog with the 38-entry filter.
    e.script.files.push_back(picture);
    e.Click("FILE", 1);
    ASSERT_EQ(e.script.fileRequests.size(), 1u);
    EXPECT_EQ(e.script.fileRequests[0].Title, "Kelvane");
    EXPECT_EQ(e.script.fileRequests[0].Filter.rfind("All Supported Picture Formats|", 0), 0u);
    ASSERT_EQ(e.session.DocumentCount(), 1u);
    DocumentWindow* window = e.ActiveWindow();
    ASSERT_NE(window, nullptr);
    Document& doc = window->Doc();
    EXPECT_EQ(&doc, e.Active());
    EXPECT_EQ(window->windowTitle(), "pic.bmp");
    EXPECT_EQ(doc.PictureWidth(), 119);
    EXPECT_EQ(doc.History().UndoPos(), 1);

    // A rectangle dragged with the selection tool, at zoom 1 and no scroll:
    // canvas point = picture point.
    auto* strip = qobject_cast<ToolStrip*>(main->ToolStripWidget());
    ASSERT_NE(strip, nullptr);
    strip->ClickTool("Select");
    // The first start's mode is "New", which selects the whole picture: "Add".
    QComboBox* mode = strip->Combo("cbSelectionMode");
    ASSERT_NE(mode, nullptr);
    mode->setCurrentIndex(0);
    emit mode->activated(0);
    EXPECT_EQ(e.session.Record().SelectionMode, 0);
    window->Scroll(0, 0);
    Settle();
    CanvasWidget* canvas = window->Canvas();
    QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(10, 12));
    QTest::mouseMove(canvas, QPoint(40, 30));
    QTest::mouseMove(canvas, QPoint(70, 52));
    QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, QPoint(70, 52));
    Settle();
    int32_t left = 0, top = 0, right = 0, bottom = 0;
    ASSERT_TRUE(doc.BitRegion().BoundRect(left, top, right, bottom));
    EXPECT_EQ(QRect(left, top, right - left, bottom - top), QRect(10, 12, 60, 40));
    EXPECT_TRUE(window->SelectionTimerOn());

    // Filters > Invert through its menu item: the selection inverts, the rest stays.
    e.Click("FILTERS", 0);
    EXPECT_EQ(doc.History().UndoPos(), 2);
    EXPECT_TRUE(doc.Changed);
    const Bits inverted = doc.Bits();
    for (const QPoint p : {QPoint(10, 12), QPoint(69, 51), QPoint(40, 30)}) {
      const auto before = PixelOf(original, p.x(), p.y());
      EXPECT_EQ(PixelOf(inverted, p.x(), p.y()),
                (std::array<int, 3>{255 - before[0], 255 - before[1], 255 - before[2]}))
          << p.x() << "," << p.y();
    }
    for (const QPoint p : {QPoint(9, 12), QPoint(70, 30), QPoint(0, 0), QPoint(118, 95)})
      EXPECT_EQ(PixelOf(inverted, p.x(), p.y()), PixelOf(original, p.x(), p.y())) << p.x() << "," << p.y();

    // Filters > Blur...: the filter dialog, level 2 set on its slider, OK.
    e.script.dialogs["fFilter"] = [](QDialog& dialog) {
      auto* filter = qobject_cast<FilterSettingsDialog*>(&dialog);
      ASSERT_NE(filter, nullptr);
      EXPECT_EQ(dialog.windowTitle(), "Blur");
      ASSERT_TRUE(filter->Slider(0)->isVisibleTo(&dialog));
      EXPECT_FALSE(filter->Slider(1)->isVisibleTo(&dialog));
      filter->Slider(0)->setValue(2);
      auto* ok = dialog.findChild<QPushButton*>("CmdOK");
      ASSERT_NE(ok, nullptr);
      ok->click();
    };
    e.Click("FILTERS", 15);
    ASSERT_EQ(e.script.forms, std::vector<std::string>{"fFilter"});
    EXPECT_EQ(doc.History().UndoPos(), 3);
    const Bits blurred = doc.Bits();
    bool changedInside = false;
    for (int y = 12; y < 52 && !changedInside; ++y)
      for (int x = 10; x < 70; ++x)
        if (PixelOf(blurred, x, y) != PixelOf(inverted, x, y)) changedInside = true;
    EXPECT_TRUE(changedInside);
    EXPECT_EQ(PixelOf(blurred, 0, 0), PixelOf(inverted, 0, 0));
    EXPECT_EQ(PixelOf(blurred, 100, 80), PixelOf(inverted, 100, 80));

    // Undo and redo from the Edit menu.
    e.Click("EDIT", 0);
    EXPECT_EQ(PixelOf(doc.Bits(), 40, 30), PixelOf(inverted, 40, 30));
    EXPECT_EQ(PixelOf(doc.Bits(), 11, 13), PixelOf(inverted, 11, 13));
    e.Click("EDIT", 1);
    EXPECT_EQ(PixelOf(doc.Bits(), 40, 30), PixelOf(blurred, 40, 30));

    // Crop to the selection's box; the status bar shows the new size.
    e.Click("EDIT", 18);
    EXPECT_EQ(doc.PictureWidth(), 60);
    EXPECT_EQ(doc.PictureHeight(), 40);
    EXPECT_EQ(main->StatusSize(), "60 x 40");
    EXPECT_EQ(PixelOf(doc.Bits(), 0, 0), PixelOf(blurred, 10, 12));
    EXPECT_EQ(PixelOf(doc.Bits(), 59, 39), PixelOf(blurred, 69, 51));
    EXPECT_FALSE(window->SelectionTimerOn());

    // Zoom: "200 %" is a view; "x/2" resamples the picture to half.
    e.Click("ZoomP", 0);
    EXPECT_EQ(ZoomTable(doc.ZoomIndex()), 2);
    EXPECT_EQ(window->PanelText(kPanelZoom).toStdString(), doc.ZoomPanel());
    e.Click("AA", 5);
    EXPECT_EQ(doc.PictureWidth(), 30);
    EXPECT_EQ(doc.PictureHeight(), 20);
    EXPECT_EQ(main->StatusSize(), "30 x 20");
    EXPECT_EQ(window->Canvas()->width(), doc.DstWidth());

    // Save Enhanced As: the name's extension decides the format.
    e.script.files.push_back(saved);
    e.Click("FILE", 7);
    ASSERT_TRUE(std::filesystem::exists(saved));
    Bits written;
    ASSERT_TRUE(LoadPictureFile(saved, written, error)) << error;
    EXPECT_EQ(written.Width(), 30);
    EXPECT_EQ(written.Height(), 20);
    EXPECT_EQ(PixelOf(written, 7, 5), PixelOf(doc.Bits(), 7, 5));
    EXPECT_EQ(doc.Caption, "out.png");
    EXPECT_EQ(window->windowTitle(), "out.png");

    // A change after the save, then Close: Cancel keeps it, No lets it go.
    e.Click("FILTERS", 0);
    e.script.answers = {Answer::Cancel};
    e.Click("FILE", 4);
    ASSERT_EQ(e.script.questions.size(), 1u);
    EXPECT_NE(e.script.questions[0].find("Kelvane|"), std::string::npos);
    EXPECT_NE(e.script.questions[0].find("This image has changed."), std::string::npos);
    EXPECT_EQ(e.session.DocumentCount(), 1u);
    EXPECT_EQ(main->DocumentWindows().size(), 1u);
    e.script.answers = {Answer::No};
    e.Click("FILE", 4);
    EXPECT_EQ(e.script.questions.size(), 2u);
    EXPECT_EQ(e.session.DocumentCount(), 0u);
    EXPECT_TRUE(WaitFor([&] { return main->DocumentWindows().empty(); }));
    EXPECT_TRUE(main->MdiArea()->subWindowList().isEmpty());

    // Side boxes: one moved, one hidden from the View menu, one rolled up.
    SideBox* colour = main->Box("fToolColor");
    ASSERT_NE(colour, nullptr);
    // Places count from the document area's corner.
    colour->move(main->centralWidget()->mapToGlobal(QPoint(123, 234)));
    e.Click("VIEWS", 6);
    EXPECT_FALSE(main->Box("fPaste")->isVisible());
    EXPECT_FALSE(e.Act("VIEWS", 6)->isChecked());
    main->Box("finfo")->pMm_Click();
    Settle();

    main->close();
    Settle();
    EXPECT_FALSE(main->isVisible());
    EXPECT_TRUE(std::filesystem::exists(appFolder / "kv201Start.up"));
    // Temp holds no undo snapshot after the exit.
    size_t leftovers = 0;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(appFolder / "Temp", ec))
      if (entry.is_regular_file()) ++leftovers;
    EXPECT_EQ(leftovers, 0u);
  }

  // The next start finds the recent file and the boxes where they were left.
  {
    Editor e(appFolder);
    MainWindow* main = e.session.Main();
    // The opened file and the saved one are both in the list.
    QAction* recent = nullptr;
    bool openedListed = false;
    for (int32_t slot = 0; slot < 8; ++slot) {
      QAction* item = e.Act("RF", slot);
      if (item->text().endsWith("out.png")) recent = item;
      if (item->text().endsWith("pic.bmp")) openedListed = true;
    }
    EXPECT_TRUE(openedListed);
    ASSERT_NE(recent, nullptr);
    EXPECT_TRUE(recent->isEnabled());
    EXPECT_EQ(main->Box("fToolColor")->pos(), main->centralWidget()->mapToGlobal(QPoint(123, 234)));
    EXPECT_TRUE(main->Box("fToolColor")->isVisible());
    EXPECT_FALSE(main->Box("fPaste")->isVisible());
    EXPECT_FALSE(e.Act("VIEWS", 6)->isChecked());
    EXPECT_TRUE(e.Act("VIEWS", 4)->isChecked());
    EXPECT_TRUE(main->Box("finfo")->IsRolled());

    recent->trigger();
    Settle();
    ASSERT_EQ(e.session.DocumentCount(), 1u);
    EXPECT_EQ(e.Active()->PictureWidth(), 30);
    EXPECT_EQ(e.ActiveWindow()->windowTitle(), "out.png");
    main->close();
    Settle();
  }
}

TEST(EditorFlow, DialogsOfTheImageMenuChangeThePicture) {
  test::TempDir dir;
  Editor e(dir.path());
  e.script.files.push_back(test::DataFile("bmp-24bit-oddwidth-119x96.bmp"));
  e.Click("FILE", 1);
  Document* doc = e.Active();
  ASSERT_NE(doc, nullptr);

  // Image > Size ...: 1 x 100 is refused with the message and the dialog stays.
  e.script.dialogs["fSize"] = [](QDialog& dialog) {
    auto* w = dialog.findChild<QLineEdit*>("txtW");
    auto* keep = dialog.findChild<QCheckBox*>("chkKeepProportions");
    ASSERT_TRUE(w && keep);
    if (keep->isChecked()) keep->click();
    w->selectAll();
    QTest::keyClicks(w, "1x");  // the key filter drops the letter
    EXPECT_EQ(w->text(), "1");
    dialog.findChild<QPushButton*>("cmdOK")->click();
    EXPECT_TRUE(dialog.isVisible());
    w->selectAll();
    QTest::keyClicks(w, "50");
    dialog.findChild<QPushButton*>("cmdOK")->click();
    EXPECT_FALSE(dialog.isVisible());
  };
  e.Click("IMAGE", 0);
  ASSERT_EQ(e.script.messages.size(), 1u);
  EXPECT_EQ(e.script.messages[0].Text, "Minimum size: 2 x 2");
  EXPECT_EQ(e.script.messages[0].Title, "Kelvane");
  EXPECT_EQ(doc->PictureWidth(), 50);
  EXPECT_EQ(doc->PictureHeight(), 96);

  // Image > Rotation ...: + 45º twice gives 90, which swaps the sides.
  e.script.dialogs["fRotate"] = [](QDialog& dialog) {
    auto* plus = dialog.findChild<QPushButton*>("cmd45_0");
    ASSERT_NE(plus, nullptr);
    plus->click();
    plus->click();
    EXPECT_EQ(dialog.findChild<QLineEdit*>("txtDegrees")->text(), "90");
    dialog.findChild<QPushButton*>("cmdOK")->click();
  };
  e.Click("IMAGE", 3);
  EXPECT_EQ(doc->PictureWidth(), 96);
  EXPECT_EQ(doc->PictureHeight(), 50);

  // File > New: a 64 x 48 white picture in a window of its own.
  e.script.dialogs["fNew"] = [](QDialog& dialog) {
    auto* w = dialog.findChild<QLineEdit*>("txtW");
    auto* h = dialog.findChild<QLineEdit*>("txtH");
    w->selectAll();
    QTest::keyClicks(w, "64");
    h->selectAll();
    QTest::keyClicks(h, "48");
    dialog.findChild<QPushButton*>("cmdOK")->click();
  };
  e.Click("FILE", 0);
  ASSERT_EQ(e.session.DocumentCount(), 2u);
  Document* created = e.Active();
  ASSERT_NE(created, doc);
  EXPECT_EQ(created->PictureWidth(), 64);
  EXPECT_EQ(created->PictureHeight(), 48);
  EXPECT_EQ(PixelOf(created->Bits(), 63, 47), (std::array<int, 3>{255, 255, 255}));
  EXPECT_EQ(e.ActiveWindow()->windowTitle(), "New Image Document");

  // The view tab switches the menus: the optimized view has none of them.
  MenuBar* menus = e.session.Menus();
  EXPECT_TRUE(menus->Menu("mnuEdit")->menuAction()->isEnabled());
  EXPECT_FALSE(menus->Menu("mnuLayers")->menuAction()->isEnabled());
  e.ActiveWindow()->SelectTab(ViewTab::Optimize);
  EXPECT_FALSE(menus->Menu("mnuEdit")->menuAction()->isEnabled());
  EXPECT_FALSE(menus->Menu("mnuFilters1")->menuAction()->isEnabled());
  EXPECT_FALSE(e.Act("EDIT", 0)->isEnabled());
  e.ActiveWindow()->SelectTab(ViewTab::Original);
  EXPECT_TRUE(menus->Menu("mnuFilters1")->menuAction()->isEnabled());
  EXPECT_TRUE(e.Act("EDIT", 0)->isEnabled());

  // Help opens the guide of the application folder, or says it is missing.
  e.Click("ABOUT", 0);
  ASSERT_EQ(e.script.messages.size(), 2u);
  EXPECT_EQ(e.script.messages[1].Title, "Help Files Missing!");
  std::filesystem::create_directories(dir / "Help");
  std::filesystem::copy_file(std::filesystem::path(KELVANE_SOURCE_DIR) / "Help" / "default.htm",
                             dir / "Help" / "default.htm");
  e.Click("ABOUT", 0);
  ASSERT_EQ(e.script.browsed.size(), 1u);
  EXPECT_EQ(std::filesystem::path(e.script.browsed[0]), dir / "Help" / "default.htm");

  // The changed documents ask at the exit: No for both, and the frame closes.
  e.script.answers = {Answer::No, Answer::No};
  e.session.Main()->close();
  Settle();
  EXPECT_EQ(e.session.DocumentCount(), 0u);
  EXPECT_FALSE(e.session.Main()->isVisible());
}

TEST(EditorFlow, CancelAtTheExitKeepsTheFrameButWritesTheSettings) {
  test::TempDir dir;
  Editor e(dir.path());
  e.script.files.push_back(test::DataFile("bmp-24bit-oddwidth-119x96.bmp"));
  e.Click("FILE", 1);
  e.Click("FILTERS", 0);
  e.script.answers = {Answer::Cancel};
  EXPECT_FALSE(e.session.Main()->close());
  Settle();
  EXPECT_TRUE(e.session.Main()->isVisible());
  EXPECT_EQ(e.session.DocumentCount(), 1u);
  EXPECT_TRUE(std::filesystem::exists(dir / "kv201Start.up"));
  e.script.answers = {Answer::No};
  EXPECT_TRUE(e.session.Main()->close());
}

TEST(EditorFlow, TerminationSignalWritesSettingsAndKeepsChangedSnapshots) {
  test::TempDir dir;
  Editor e(dir.path());
  e.script.files.push_back(test::DataFile("bmp-24bit-oddwidth-119x96.bmp"));
  e.Click("FILE", 1);
  e.Click("FILTERS", 0);  // changed: two snapshots
  e.script.files.push_back(test::DataFile("jpg-baseline-420-227x149.jpg"));
  e.Click("FILE", 1);  // unchanged: one snapshot
  ASSERT_EQ(e.session.DocumentCount(), 2u);
  const auto& docs = e.session.App().Documents();
  const std::filesystem::path changed0 = docs[0]->History().SlotFile(0);
  const std::filesystem::path changed1 = docs[0]->History().SlotFile(1);
  const std::filesystem::path unchanged = docs[1]->History().SlotFile(0);
  ASSERT_TRUE(std::filesystem::exists(changed1));
  ASSERT_TRUE(std::filesystem::exists(unchanged));

  EditorSession::CatchTerminationSignals(e.session);
  std::error_code ec;
  std::filesystem::remove(dir / "kv201Start.up", ec);
  std::raise(SIGTERM);
  EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(dir / "kv201Start.up"); }));
  EXPECT_TRUE(e.script.questions.empty());
  EXPECT_TRUE(std::filesystem::exists(changed0));
  EXPECT_TRUE(std::filesystem::exists(changed1));
  EXPECT_FALSE(std::filesystem::exists(unchanged));
  // After the end the frame closes without a question.
  EXPECT_TRUE(e.session.Main()->close());
  EXPECT_TRUE(e.script.questions.empty());
}

// ---------------------------------------------------------------------------
// The pieces

TEST(QtUserInterfaceParts, FilterStringsBecomeQtNameFilters) {
  EXPECT_EQ(QtNameFilters("Selection Files (*.ksf)|*.ksf"), QStringList{"Selection Files (*.ksf) (*.ksf)"});
  EXPECT_EQ(QtNameFilters("Text|*.a;*.b|Other|*.c"), (QStringList{"Text (*.a *.b)", "Other (*.c)"}));
  EXPECT_EQ(QtNameFilters("Only a description"), QStringList{});
  const QStringList open = QtNameFilters(kOpenFilter);
  EXPECT_EQ(static_cast<size_t>(open.size()), SplitFilter(kOpenFilter).size());
  ASSERT_FALSE(open.isEmpty());
  EXPECT_TRUE(open.front().startsWith("All Supported Picture Formats ("));
  // The slip in the first entry stays one pattern.
  EXPECT_TRUE(open.front().contains("*.rgb,*.rgba"));
  EXPECT_FALSE(open.front().contains(';'));
}

TEST(QtUserInterfaceParts, PicturesCrossTheClipboardWithoutTheirFrame) {
  Bits bits(3, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) {
      uint8_t* p = bits.Pixel(x, y);
      p[0] = static_cast<uint8_t>(10 * x + y);  // blue
      p[1] = static_cast<uint8_t>(100 + x);     // green
      p[2] = static_cast<uint8_t>(200 + y);     // red
      p[3] = 77;                                // spare: not carried
    }
  const QImage image = ImageFromBits(bits);
  ASSERT_EQ(image.size(), QSize(3, 2));
  EXPECT_EQ(image.pixel(2, 1), qRgb(201, 102, 21));
  EXPECT_EQ(image.pixel(0, 0), qRgb(200, 100, 0));

  QtClipboard clipboard;
  clipboard.SetPicture(bits);
  ASSERT_TRUE(clipboard.HasPicture());
  const Bits back = clipboard.Picture();
  ASSERT_EQ(back.Width(), 3);
  ASSERT_EQ(back.Height(), 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(back.Pixel(x, y)[0], 10 * x + y);
      EXPECT_EQ(back.Pixel(x, y)[1], 100 + x);
      EXPECT_EQ(back.Pixel(x, y)[2], 200 + y);
      EXPECT_EQ(back.Pixel(x, y)[3], 0);
    }
  // The frame stays zero.
  EXPECT_EQ(back.Pixel(-1, 0)[2], 0);
  EXPECT_EQ(back.Pixel(3, 1)[1], 0);
  EXPECT_TRUE(ImageFromBits(Bits()).isNull());
  EXPECT_TRUE(ImageToBits(QImage()).IsNull());
}

TEST(MenuBarShortcuts, KeysOfTheShortcutTableRead) {
  struct Case {
    const char* text;
    QKeySequence expected;
  };
  const Case cases[] = {
      {"Ctrl + N", QKeySequence(Qt::CTRL | Qt::Key_N)},
      {"ctrl + X", QKeySequence(Qt::CTRL | Qt::Key_X)},
      {"Ctrl + ins", QKeySequence(Qt::CTRL | Qt::Key_Insert)},
      {"Shift + Insert", QKeySequence(Qt::SHIFT | Qt::Key_Insert)},
      {"Del", QKeySequence(Qt::Key_Delete)},
      {"Shift + Del", QKeySequence(Qt::SHIFT | Qt::Key_Delete)},
      {"Alt + Backspace", QKeySequence(Qt::ALT | Qt::Key_Backspace)},
      {"Shift + Ctrl + F1", QKeySequence(Qt::SHIFT | Qt::CTRL | Qt::Key_F1)},
      {"F2", QKeySequence(Qt::Key_F2)},
      {"Ctrl + F11", QKeySequence(Qt::CTRL | Qt::Key_F11)},
      {"", QKeySequence()},
      {"Ctrl + ", QKeySequence()},
      {"Ctrl + Nothing", QKeySequence()},
  };
  for (const Case& c : cases) EXPECT_EQ(ShortcutFromText(c.text), c.expected) << c.text;
}

TEST(MenuBarShape, EveryTableElementIsAnActionWithItsCaptionAndKey) {
  test::TempDir dir;
  Editor e(dir.path());
  MenuBar* menus = e.session.Menus();
  // Every element of every array, with its caption.
  for (const MenuArray& array : MenuArrays())
    for (const MenuItem& item : array.Items) {
      QAction* action = menus->Action(array.Name, item.Index);
      ASSERT_NE(action, nullptr) << array.Name << "(" << item.Index << ")";
      if (array.Name != "RF") {
        EXPECT_EQ(action->text().toStdString(), item.Caption) << array.Name;
      }
    }
  // FILE: separators stand where the indexes skip (3, 5, 8, 11, 15, 18).
  QMenu* file = menus->Menu("mnuFile");
  std::vector<std::string> shape;
  for (QAction* action : file->actions()) {
    if (action->isSeparator())
      shape.push_back("-");
    else if (action->objectName().startsWith("FILE("))
      shape.push_back(action->objectName().toStdString());
  }
  const std::vector<std::string> expected = {"FILE(0)",  "FILE(1)",  "FILE(2)",  "-",        "FILE(4)",  "-",
                                             "FILE(6)",  "FILE(7)",  "-",        "FILE(9)",  "FILE(10)", "-",
                                             "FILE(12)", "FILE(13)", "FILE(14)", "-",        "FILE(16)", "FILE(17)",
                                             "-",        "FILE(19)", "FILE(20)", "FILE(21)"};
  ASSERT_GE(shape.size(), expected.size());
  EXPECT_EQ(std::vector<std::string>(shape.begin(), shape.begin() + static_cast<long>(expected.size())), expected);
  EXPECT_EQ(menus->Menu("mnuDeformations")->title(), "&Deformations");
  EXPECT_EQ(menus->Menu("mnuColors1")->title(), "&Colors 1");
  EXPECT_EQ(menus->Menu("mnuColors2")->title(), "Colors 2");
  EXPECT_EQ(menus->Menu("mnuQuality")->title(), "Quality Sizing");

  // Accelerators: the desktop's keys first, the table's where free, no key twice.
  EXPECT_EQ(e.Act("EDIT", 0)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Z));
  EXPECT_EQ(e.Act("EDIT", 1)->shortcuts(), (QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::Key_Y),
                                                                QKeySequence(Qt::CTRL | Qt::Key_R)}));
  EXPECT_EQ(e.Act("EDIT", 11)->shortcuts(), (QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::Key_A),
                                                                 QKeySequence(Qt::CTRL | Qt::Key_Insert)}));
  EXPECT_EQ(e.Act("FILE", 7)->shortcuts(), QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S)});
  EXPECT_EQ(e.Act("FILTERS", 7)->shortcut(), QKeySequence(Qt::SHIFT | Qt::CTRL | Qt::Key_F2));
  EXPECT_EQ(e.Act("ABOUT", 0)->shortcut(), QKeySequence(Qt::Key_F1));
  std::set<QKeySequence> seen;
  for (QAction* action : e.session.Main()->menuBar()->findChildren<QAction*>())
    for (const QKeySequence& key : action->shortcuts())
      EXPECT_TRUE(seen.insert(key).second) << key.toString().toStdString();

  // A key press reaches its action: Ctrl+N shows fNew.
  e.session.Main()->activateWindow();
  QApplication::setActiveWindow(e.session.Main());
  QTest::keyClick(e.session.Main(), Qt::Key_N, Qt::ControlModifier);
  Settle();
  EXPECT_EQ(e.script.forms, std::vector<std::string>{"fNew"});
  e.session.Main()->close();
}

}  // namespace
}  // namespace kelvane
