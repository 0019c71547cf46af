// Picture lists: the 150-byte records, the two messages, the basket entries,
// and damaged list files.
#include "imagefiles/picture_list.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::TempDir;

// A dialog that answers with a prepared file name, or is cancelled.
class FakeDialog : public PictureListDialog {
 public:
  explicit FakeDialog(std::filesystem::path choice, bool cancel = false) : choice_(std::move(choice)), cancel_(cancel) {}
  bool ShowSave() override { return Show("save"); }
  bool ShowOpen() override { return Show("open"); }
  std::vector<std::string> shown;  // "save" / "open", with the filter and cancel flag checked

 private:
  bool Show(const char* kind) {
    EXPECT_EQ(Filter, "Picture List(*.kipl)|*.kipl");
    EXPECT_TRUE(CancelError);
    shown.push_back(kind);
    if (cancel_) return false;
    FileName = choice_;
    return true;
  }
  std::filesystem::path choice_;
  bool cancel_;
};

struct Messages {
  std::vector<MessageBoxText> seen;
  MessageSink Sink() {
    return [this](const MessageBoxText& m) { seen.push_back(m); };
  }
};

void MakeFile(const std::filesystem::path& path, size_t size) { ASSERT_TRUE(WriteFileAtomically(path, ByteVector(size, 'x'))); }

// One record written out by hand: the path, then blanks up to 150 bytes.
std::string Record(const std::string& path) { return path + std::string(150 - path.size(), ' '); }

std::string FileText(const std::filesystem::path& path) {
  ByteVector bytes;
  EXPECT_TRUE(ReadWholeFile(path, bytes));
  return std::string(bytes.begin(), bytes.end());
}

void WriteText(const std::filesystem::path& path, const std::string& text) {
  ASSERT_TRUE(WriteFileAtomically(path, ByteVector(text.begin(), text.end())));
}

BasketList ListOf(const std::vector<std::string>& tags) {
  BasketList list;
  for (const auto& t : tags) list.Add({std::filesystem::path(t).filename().string(), t, false, "", ""});
  return list;
}

TEST(PictureListSave, RecordsArePathsPaddedWithBlanksAndCutAt150) {
  TempDir dir;
  const std::string a = (dir / "a.png").string();
  const std::string b = (dir / "b b.jpg").string();
  const std::string longPath = "/" + std::string(170, 'q') + ".png";  // 175 bytes
  FakeDialog dialog(dir / "list.kipl");
  ASSERT_TRUE(SaveList(dialog, ListOf({a, b, longPath})));
  EXPECT_EQ(dialog.shown, std::vector<std::string>{"save"});
  // 3 records of 150 bytes = 450; the long path keeps its first 150 bytes.
  EXPECT_EQ(FileText(dir / "list.kipl"), Record(a) + Record(b) + longPath.substr(0, 150));
}

TEST(PictureListSave, EmptyListOrCancelWritesNothing) {
  TempDir dir;
  FakeDialog dialog(dir / "list.kipl");
  EXPECT_TRUE(SaveList(dialog, BasketList{}));
  EXPECT_TRUE(dialog.shown.empty()) << "an empty list does not even show the dialog";
  EXPECT_FALSE(std::filesystem::exists(dir / "list.kipl"));

  FakeDialog cancelled(dir / "list.kipl", /*cancel=*/true);
  EXPECT_TRUE(SaveList(cancelled, ListOf({"/x.png"})));
  EXPECT_EQ(cancelled.shown.size(), 1u);
  EXPECT_FALSE(std::filesystem::exists(dir / "list.kipl"));

  FakeDialog nowhere(dir / "no-such-folder" / "list.kipl");
  EXPECT_FALSE(SaveList(nowhere, ListOf({"/x.png"})));
}

TEST(PictureListSave, ShorterListOverALongerOneKeepsItsTail) {
  // Records are written in place, the file is not shortened: a list of one
  // saved over a list of three leaves records 2 and 3.
  TempDir dir;
  const auto file = dir / "list.kipl";
  FakeDialog first(file);
  ASSERT_TRUE(SaveList(first, ListOf({"/one", "/two", "/three"})));
  FakeDialog second(file);
  ASSERT_TRUE(SaveList(second, ListOf({"/uno"})));
  EXPECT_EQ(FileText(file), Record("/uno") + Record("/two") + Record("/three"));
}

TEST(PictureListLoad, WrongExtensionIsRefusedBeforeOpening) {
  TempDir dir;
  for (const char* name : {"list.txt", "list.kipl.bak", "kipl", "missing.lst"}) {
    // Even a list in the right format is refused under another name; a name
    // that does not exist gets the same message, so nothing was opened.
    if (std::string(name) != "missing.lst") WriteText(dir / name, Record((dir / "a.png").string()));
    FakeDialog dialog(dir / name);
    Messages messages;
    BasketList list;
    EXPECT_EQ(LoadList(dialog, list, messages.Sink()), 0u) << name;
    EXPECT_TRUE(list.Empty());
    ASSERT_EQ(messages.seen.size(), 1u) << name;
    EXPECT_EQ(messages.seen[0].Text, "This is  not a valid picture List!");
    EXPECT_EQ(messages.seen[0].Title, "INVALID PICTURE LIST");
    EXPECT_EQ(messages.seen[0].Icon, MessageIcon::Critical);
  }
}

TEST(PictureListLoad, ValidEntriesBecomeBasketItemsLostOnesAreCounted) {
  TempDir dir;
  MakeFile(dir / "one.png", 1536);  // 1536 / 1024 = 1.5
  MakeFile(dir / "two.JPG", 1000);  // 1000 / 1024 = 0.9765625
  MakeFile(dir / "empty.bmp", 0);
  std::filesystem::create_directory(dir / "folder.png");
  const std::string one = (dir / "one.png").string();
  const std::string two = (dir / "two.JPG").string();
  const std::string empty = (dir / "empty.bmp").string();
  // Record 2 is indented with blanks; records 3 (a missing file), 5 (a folder)
  // and 6 (all blanks) are lost; record 7 repeats record 1.
  WriteText(dir / "List.KIPL", Record(one) + Record("   " + two) + Record((dir / "gone.png").string()) +
                                   Record(empty) + Record((dir / "folder.png").string()) + Record("") + Record(one));
  FakeDialog dialog(dir / "List.KIPL");
  Messages messages;
  BasketList list;
  list.Add({"earlier", "/earlier", true, "", ""});
  EXPECT_EQ(LoadList(dialog, list, messages.Sink()), 4u);
  EXPECT_EQ(dialog.shown, std::vector<std::string>{"open"});

  ASSERT_EQ(list.Count(), 5u);
  EXPECT_EQ(list.Item(0).Tag, "/earlier");  // loading adds, never replaces
  const BasketItem& first = list.Item(1);
  EXPECT_EQ(first.Text, "one.png");
  EXPECT_EQ(first.Tag, one);
  EXPECT_FALSE(first.Checked);
  EXPECT_EQ(first.SizeText, "1.5 KB");
  EXPECT_EQ(first.TypeText, "Portable Network Graphics");
  EXPECT_EQ(list.Item(2).Tag, two);
  EXPECT_EQ(list.Item(2).Text, "two.JPG");
  EXPECT_EQ(list.Item(2).SizeText, "0.9765625 KB");
  EXPECT_EQ(list.Item(2).TypeText, "JPEG Group");
  EXPECT_EQ(list.Item(3).SizeText, "0 KB");
  EXPECT_EQ(list.Item(3).TypeText, "Bitmap Files");
  EXPECT_EQ(list.Item(4).Tag, one) << "duplicates are the caller's business";

  ASSERT_EQ(messages.seen.size(), 1u);
  EXPECT_EQ(messages.seen[0].Text, "3 files in this picture List are no longer valid! They will be not listed.");
  EXPECT_EQ(messages.seen[0].Title, "INVALID FILE ASSOCIATIONS!");
  EXPECT_EQ(messages.seen[0].Icon, MessageIcon::Critical);
}

TEST(PictureListLoad, RecordCountIsLengthOver150) {
  TempDir dir;
  MakeFile(dir / "a.png", 10);
  MakeFile(dir / "b.png", 10);
  const std::string two = Record((dir / "a.png").string()) + Record((dir / "b.png").string());
  struct Case {
    size_t length;
    size_t entries;
  };
  // 300 bytes hold two records, 299 one (the rest ignored), 149 none.
  for (const Case c : {Case{300, 2}, Case{299, 1}, Case{151, 1}, Case{150, 1}, Case{149, 0}, Case{0, 0}}) {
    WriteText(dir / "l.kipl", two.substr(0, c.length));
    FakeDialog dialog(dir / "l.kipl");
    Messages messages;
    BasketList list;
    EXPECT_EQ(LoadList(dialog, list, messages.Sink()), c.entries) << c.length;
    EXPECT_TRUE(messages.seen.empty()) << c.length;
  }
}

TEST(PictureListLoad, SaveThenLoadGivesTheSameTags) {
  TempDir dir;
  BasketList saved;
  for (const char* name : {"x.png", "y with blanks.tif", "z.pcx"}) {
    MakeFile(dir / name, 2048);
    saved.AddFile(dir / name);
  }
  FakeDialog save(dir / "round.kipl");
  ASSERT_TRUE(SaveList(save, saved));
  FakeDialog open(dir / "round.kipl");
  BasketList loaded;
  ASSERT_EQ(LoadList(open, loaded, nullptr), 3u);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(loaded.Item(i).Tag, saved.Item(i).Tag);
    EXPECT_EQ(loaded.Item(i).SizeText, "2 KB");  // 2048 / 1024
  }
  EXPECT_TRUE(loaded.Contains(saved.Item(1).Tag));
  EXPECT_FALSE(loaded.Contains("/nowhere"));
}

TEST(PictureListLoad, CancelMissingFileOrFolderEndQuietly) {
  TempDir dir;
  Messages messages;
  BasketList list;
  FakeDialog cancelled(dir / "a.kipl", /*cancel=*/true);
  EXPECT_EQ(LoadList(cancelled, list, messages.Sink()), 0u);
  FakeDialog missing(dir / "missing.kipl");
  EXPECT_EQ(LoadList(missing, list, messages.Sink()), 0u);
  EXPECT_FALSE(std::filesystem::exists(dir / "missing.kipl")) << "loading never creates the list";
  std::filesystem::create_directory(dir / "folder.kipl");
  FakeDialog folder(dir / "folder.kipl");
  EXPECT_EQ(LoadList(folder, list, messages.Sink()), 0u);
  EXPECT_TRUE(messages.seen.empty());
  EXPECT_TRUE(list.Empty());
}

TEST(PictureListLoad, APipeNamedLikeAListEndsQuietlyWithoutBlocking) {
  TempDir dir;
  ASSERT_EQ(::mkfifo((dir / "pipe.kipl").c_str(), 0600), 0);
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::alarm(20);
    FakeDialog dialog(dir / "pipe.kipl");
    BasketList list;
    std::vector<MessageBoxText> seen;
    const size_t added = LoadList(dialog, list, [&seen](const MessageBoxText& m) { seen.push_back(m); });
    ::_exit(added == 0 && list.Empty() && seen.empty() ? 0 : 1);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status)) << "the load hung or crashed";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(PictureListLoad, GarbageAndTruncatedFilesNeverCrash) {
  TempDir dir;
  MakeFile(dir / "real.png", 5);
  const std::string good = Record((dir / "real.png").string());
  std::mt19937 rng(1234);
  for (int round = 0; round < 200; ++round) {
    ByteVector bytes(rng() % 1000);
    for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    if (round % 5 == 0 && !bytes.empty()) bytes[rng() % bytes.size()] = 0;  // NULs inside paths
    if (round % 3 == 0) bytes.insert(bytes.begin(), good.begin(), good.end());
    ASSERT_TRUE(WriteFileAtomically(dir / "g.kipl", bytes));
    FakeDialog dialog(dir / "g.kipl");
    Messages messages;
    BasketList list;
    const size_t added = LoadList(dialog, list, messages.Sink());
    EXPECT_EQ(added, list.Count());
    // Only the good record can name a file; the rest are lost (or trailing).
    EXPECT_EQ(added, round % 3 == 0 ? 1u : 0u) << "round " << round;
    const size_t records = bytes.size() / 150;
    if (records > added) {
      ASSERT_EQ(messages.seen.size(), 1u);
      EXPECT_EQ(messages.seen[0].Text, std::to_string(records - added) +
                                           " files in this picture List are no longer valid! They will be not listed.");
    } else {
      EXPECT_TRUE(messages.seen.empty());
    }
  }
  // Every cut of a good list: whole records load, the cut one is ignored.
  const std::string three = good + good + good;
  for (size_t cut = 0; cut <= three.size(); cut += 7) {
    WriteText(dir / "cut.kipl", three.substr(0, cut));
    FakeDialog dialog(dir / "cut.kipl");
    BasketList list;
    EXPECT_EQ(LoadList(dialog, list, nullptr), cut / 150) << cut;
  }
  // A path with a NUL in it names no file, even when its first part does.
  WriteText(dir / "nul.kipl", Record((dir / "real.png").string() + std::string(1, '\0') + "tail"));
  FakeDialog dialog(dir / "nul.kipl");
  BasketList list;
  EXPECT_EQ(LoadList(dialog, list, nullptr), 0u);
}

TEST(PictureListBasket, SizeTextIsKilobytesAsADecimal) {
  EXPECT_EQ(BasketSizeText(1), "0.0009765625 KB");  // 1 / 1024, exact and not in exponent form
  EXPECT_EQ(BasketSizeText(34614), "33.802734375 KB");  // 33 + 822/1024
}

}  // namespace
}  // namespace kelvane
