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

// A dialog that answers with a prepared file name, or is cancelled; it
// checks the filter and the cancel flag it was shown with.
class FakeDialog : public PictureListDialog {
 public:
  explicit FakeDialog(std::filesystem::path choice, bool cancel = false) : choice_(std::move(choice)), cancel_(cancel) {}
  bool ShowSave() override { return Show("save"); }
  bool ShowOpen() override { return Show("open"); }
  std::vector<std::string> shown;

 private:
  bool Show(const char* kind) {
    EXPECT_EQ(Filter, "Picture List(*.kipl)|*.kipl");
    EXPECT_TRUE(CancelError);
    shown.push_back(kind);
    if (!cancel_) FileName = choice_;
    return !cancel_;
  }
  std::filesystem::path choice_;
  bool cancel_;
};

// A load of the list file `path` into `list`: the entries added, the list,
// the messages shown.
struct Loaded {
  size_t added;
  BasketList list;
  std::vector<MessageBoxText> seen;
};
Loaded Load(const std::filesystem::path& path, BasketList list = {}) {
  FakeDialog dialog(path);
  std::vector<MessageBoxText> seen;
  const size_t added = LoadList(dialog, list, [&seen](const MessageBoxText& m) { seen.push_back(m); });
  EXPECT_EQ(dialog.shown, std::vector<std::string>{"open"});
  return {added, std::move(list), std::move(seen)};
}

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

TEST(PictureList, RecordsArePathsPaddedWithBlanksCutAt150AndWrittenInPlace) {
  TempDir dir;
  const std::string a = (dir / "a.png").string(), b = (dir / "b b.jpg").string();
  const std::string longPath = "/" + std::string(170, 'q') + ".png";  // 175 bytes
  FakeDialog dialog(dir / "list.kipl");
  ASSERT_TRUE(SaveList(dialog, ListOf({a, b, longPath})));
  EXPECT_EQ(dialog.shown, std::vector<std::string>{"save"});
  EXPECT_EQ(FileText(dir / "list.kipl"), Record(a) + Record(b) + longPath.substr(0, 150));

  // The file is not shortened: a list of one saved over it keeps records 2, 3.
  FakeDialog again(dir / "list.kipl");
  ASSERT_TRUE(SaveList(again, ListOf({"/uno"})));
  EXPECT_EQ(FileText(dir / "list.kipl"), Record("/uno") + Record(b) + longPath.substr(0, 150));
}

TEST(PictureList, EmptyListCancelMissingFilesAndPipesDoNothing) {
  TempDir dir;
  FakeDialog unused(dir / "list.kipl");
  EXPECT_TRUE(SaveList(unused, BasketList{}));
  EXPECT_TRUE(unused.shown.empty()) << "an empty list does not even show the dialog";
  FakeDialog cancelled(dir / "list.kipl", /*cancel=*/true);
  EXPECT_TRUE(SaveList(cancelled, ListOf({"/x.png"})));
  EXPECT_EQ(cancelled.shown.size(), 1u);
  FakeDialog nowhere(dir / "no-such-folder" / "list.kipl");
  EXPECT_FALSE(SaveList(nowhere, ListOf({"/x.png"})));
  EXPECT_FALSE(std::filesystem::exists(dir / "list.kipl"));

  // Loading: a cancel, a missing list, a folder and a pipe end quietly.
  BasketList list;
  EXPECT_EQ(LoadList(cancelled, list, nullptr), 0u);
  std::filesystem::create_directory(dir / "folder.kipl");
  for (const char* name : {"missing.kipl", "folder.kipl"}) {
    const Loaded l = Load(dir / name);
    EXPECT_TRUE(l.added == 0 && l.list.Empty() && l.seen.empty()) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "missing.kipl")) << "loading never creates the list";
  ASSERT_EQ(::mkfifo((dir / "pipe.kipl").c_str(), 0600), 0);
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::alarm(20);
    const Loaded l = Load(dir / "pipe.kipl");
    ::_exit(l.added == 0 && l.list.Empty() && l.seen.empty() ? 0 : 1);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status)) << "the load of a pipe hung or crashed";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(PictureList, WrongExtensionIsRefusedBeforeOpening) {
  TempDir dir;
  // A list in the right format under another name, and a name that does not
  // exist: the same message, so nothing was opened.
  for (const char* name : {"list.txt", "list.kipl.bak"}) WriteText(dir / name, Record((dir / "a.png").string()));
  for (const char* name : {"list.txt", "list.kipl.bak", "missing.lst"}) {
    const Loaded l = Load(dir / name);
    EXPECT_EQ(l.added, 0u) << name;
    EXPECT_TRUE(l.list.Empty());
    ASSERT_EQ(l.seen.size(), 1u) << name;
    EXPECT_EQ(l.seen[0].Text, "This is  not a valid picture List!");
    EXPECT_EQ(l.seen[0].Title, "INVALID PICTURE LIST");
    EXPECT_EQ(l.seen[0].Icon, MessageIcon::Critical);
  }
}

TEST(PictureList, ValidEntriesBecomeBasketItemsLostOnesAreCounted) {
  TempDir dir;
  WriteText(dir / "one.png", std::string(1536, 'x'));  // 1536 / 1024 = 1.5
  WriteText(dir / "two.JPG", std::string(1000, 'x'));  // 1000 / 1024 = 0.9765625
  WriteText(dir / "empty.bmp", "");
  std::filesystem::create_directory(dir / "folder.png");
  const std::string one = (dir / "one.png").string(), two = (dir / "two.JPG").string();
  // Record 2 is indented; records 3 (a missing file), 5 (a folder) and 6 (all
  // blanks) are lost; record 7 repeats record 1.
  WriteText(dir / "List.KIPL", Record(one) + Record("   " + two) + Record((dir / "gone.png").string()) +
                                   Record((dir / "empty.bmp").string()) + Record((dir / "folder.png").string()) +
                                   Record("") + Record(one));
  BasketList earlier;
  earlier.Add({"earlier", "/earlier", true, "", ""});
  const Loaded l = Load(dir / "List.KIPL", earlier);
  EXPECT_EQ(l.added, 4u);
  // Loading adds, never replaces; duplicates are the caller's business.
  std::vector<std::vector<std::string>> items;
  for (const BasketItem& i : l.list.Items()) items.push_back({i.Text, i.Tag, i.Checked ? "checked" : "", i.SizeText, i.TypeText});
  EXPECT_EQ(items, (std::vector<std::vector<std::string>>{
                       {"earlier", "/earlier", "checked", "", ""},
                       {"one.png", one, "", "1.5 KB", "Portable Network Graphics"},
                       {"two.JPG", two, "", "0.9765625 KB", "JPEG Group"},
                       {"empty.bmp", (dir / "empty.bmp").string(), "", "0 KB", "Bitmap Files"},
                       {"one.png", one, "", "1.5 KB", "Portable Network Graphics"}}));
  ASSERT_EQ(l.seen.size(), 1u);
  EXPECT_EQ(l.seen[0].Text, "3 files in this picture List are no longer valid! They will be not listed.");
  EXPECT_EQ(l.seen[0].Title, "INVALID FILE ASSOCIATIONS!");
  EXPECT_EQ(l.seen[0].Icon, MessageIcon::Critical);

  EXPECT_EQ(BasketSizeText(1), "0.0009765625 KB");  // exact, not in exponent form
  EXPECT_EQ(BasketSizeText(34614), "33.802734375 KB");
}

TEST(PictureList, RecordCountIsLengthOver150) {
  TempDir dir;
  WriteText(dir / "a.png", "a");
  WriteText(dir / "b.png", "b");
  const std::string two = Record((dir / "a.png").string()) + Record((dir / "b.png").string());
  // 300 bytes hold two records, 299 one (the rest ignored), 149 none.
  for (const auto& [length, entries] : {std::pair<size_t, size_t>{300, 2}, {299, 1}, {150, 1}, {149, 0}, {0, 0}}) {
    WriteText(dir / "l.kipl", two.substr(0, length));
    const Loaded l = Load(dir / "l.kipl");
    EXPECT_EQ(l.added, entries) << length;
    EXPECT_TRUE(l.seen.empty()) << length;
  }
}

TEST(PictureList, GarbageFilesNeverCrash) {
  TempDir dir;
  WriteText(dir / "real.png", "x");
  const std::string good = Record((dir / "real.png").string());
  std::mt19937 rng(1234);
  for (int round = 0; round < 200; ++round) {
    std::string bytes(rng() % 1000, ' ');
    for (auto& b : bytes) b = static_cast<char>(rng());
    if (round % 5 == 0 && !bytes.empty()) bytes[rng() % bytes.size()] = 0;  // NULs inside paths
    if (round % 3 == 0) bytes = good + bytes;
    WriteText(dir / "g.kipl", bytes);
    const Loaded l = Load(dir / "g.kipl");
    EXPECT_EQ(l.added, l.list.Count());
    // Only the good record can name a file; the rest are lost (or trailing).
    EXPECT_EQ(l.added, round % 3 == 0 ? 1u : 0u) << "round " << round;
    const size_t lost = bytes.size() / 150 - l.added;
    ASSERT_EQ(l.seen.size(), lost > 0 ? 1u : 0u);
    if (lost > 0) {
      EXPECT_EQ(l.seen[0].Text,
                std::to_string(lost) + " files in this picture List are no longer valid! They will be not listed.");
    }
  }
  // A path with a NUL in it names no file, even when its first part does.
  WriteText(dir / "nul.kipl", Record((dir / "real.png").string() + std::string(1, '\0') + "tail"));
  EXPECT_EQ(Load(dir / "nul.kipl").added, 0u);
}

}  // namespace
}  // namespace kelvane
