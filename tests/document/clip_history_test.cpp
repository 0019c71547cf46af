// The paste box model: cut and copy into clips, the ten slots, the history
// page against the document's undo files, the floating paste and the
// clipboard exchange.
#include "document/clip_history.h"

#include <gtest/gtest.h>

#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;

uint8_t PatternByte(int c, int x, int y) { return static_cast<uint8_t>(c * 61 + x * 13 + y * 29 + 3); }

// A picture whose bytes differ from pixel to pixel; the spare byte as given.
Bits Pattern(int w, int h, int spare) {
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      for (int c = 0; c < 3; ++c) b.At(c, x, y) = PatternByte(c, x, y);
      b.At(3, x, y) = static_cast<uint8_t>(spare);
    }
  return b;
}

struct Fixture {
  test::TempDir dir;
  UndoGlobals globals;
  Document doc{globals, dir.path()};
  cBitFilter filter;
  ClipHistory box;
  std::vector<MessageBoxText> messages;
  MessageSink sink = [this](const MessageBoxText& m) { messages.push_back(m); };

  explicit Fixture(const Bits& picture) { Open(doc, picture); }
  void Open(Document& d, const Bits& picture) {
    d.PPicture(picture);
    globals.LastCommandCaption = "Original";
    box.AfterSave(d, d.SaveUndoBits());
  }
  void Save(Document& d, const Bits& picture, const std::string& name) {
    d.Bits(picture);
    globals.LastCommandCaption = name;
    box.AfterSave(d, d.SaveUndoBits());
  }
  // The rows a fresh page shows for the document.
  std::vector<HistoryRow> Refilled(Document& d) const {
    ClipHistory fresh;
    fresh.SwapHistoy(d);
    return fresh.Rows();
  }
};

std::vector<HistoryRow> RowsOf(std::initializer_list<std::pair<int, const char*>> rows) {
  std::vector<HistoryRow> out;
  for (const auto& [n, t] : rows) out.push_back(HistoryRow{n, t});
  return out;
}

TEST(ClipCutCopy, BoxBelowTwoByTwoGivesTheMessageAndNoClip) {
  const struct {
    bool cut;
    int l, t, r, b;
    const char* text;
  } cases[] = {
      {true, 3, 0, 4, 10, "Minimum cut size: 2 x 2"},      {false, 3, 0, 4, 10, "Minimum copy size: 2 x 2"},
      {true, 0, 2, 10, 3, "Minimum cut size: 2 x 2"},      {true, 11, 0, 14, 10, "Minimum cut size: 2 x 2"},
      {false, -1, -1, -1, -1, "Minimum copy size: 2 x 2"},  // no selection at all
  };
  for (const auto& c : cases) {
    Fixture f(Pattern(12, 10, 0));
    if (c.l >= 0) f.doc.BitRegion().CreateRect(c.l, c.t, c.r, c.b, CombineMode::Or, false);
    const Bits before = f.doc.Bits();
    const bool added =
        c.cut ? f.box.CutBits(f.doc, f.filter, f.sink) : f.box.CopyBits(f.doc, f.filter, f.sink);
    EXPECT_FALSE(added) << c.text;
    ASSERT_EQ(f.messages.size(), 1u) << c.text;
    EXPECT_EQ(f.messages[0].Text, c.text);
    EXPECT_EQ(f.messages[0].Title, "Kelvane");
    EXPECT_EQ(f.messages[0].Icon, MessageIcon::Information);
    EXPECT_EQ(f.box.ClipCount(), 0);
    EXPECT_TRUE(f.doc.Bits() == before);
  }
}

TEST(ClipCutCopy, ClipHoldsTheSelectionAndCutLeavesBackground) {
  for (const bool cut : {true, false}) {
    Bits picture = Pattern(9, 7, 0);
    picture.At(3, 4, 3) = 255;  // opaque alpha in the spare byte must still paste
    Fixture f(picture);
    cBitRegion& sel = f.doc.BitRegion();
    sel.CreateEllipse(2, 1, 8, 6, CombineMode::Or, false);
    sel.CreateRect(1, 4, 3, 6, CombineMode::Or, false);
    ASSERT_TRUE(cut ? f.box.CutBits(f.doc, f.filter, f.sink) : f.box.CopyBits(f.doc, f.filter, f.sink));
    EXPECT_TRUE(f.messages.empty());
    const Rect box = sel.Region()->Box();
    const ClipSlot& slot = f.box.Slot(0);
    ASSERT_EQ(f.box.SelectedClip(), 0);
    ASSERT_EQ(slot.Clip.Width(), box.Width());
    ASSERT_EQ(slot.Clip.Height(), box.Height());
    EXPECT_EQ(slot.Width(), box.Width());
    EXPECT_EQ(f.box.ClipTitle(),
              "Clip History:  " + std::to_string(box.Width()) + " x " + std::to_string(box.Height()));
    const Bits& after = f.doc.PictureBits();
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 9; ++x) {
        const bool in = sel.Region()->Contains(x, y);
        for (int c = 0; c < 4; ++c) {
          const int expected = cut && in ? 0 : picture.At(c, x, y);
          EXPECT_EQ(after.At(c, x, y), expected) << x << "," << y << " c" << c << " cut " << cut;
          if (x < box.left || x >= box.right || y < box.top || y >= box.bottom) continue;
          int clip = in ? picture.At(c, x, y) : (c == 3 ? 255 : 0);
          if (in && c == 3 && clip == 255) clip = 254;
          EXPECT_EQ(slot.Clip.At(c, x - box.left, y - box.top), clip) << x << "," << y << " c" << c;
        }
      }
  }
}

TEST(ClipSlots, TenRowsThenReuseFromTheStartAndClear) {
  ClipHistory box;
  EXPECT_EQ(box.Slot(0).Caption, "    Clip 1");
  EXPECT_EQ(box.Slot(9).Caption, "    Clip 10");
  for (int i = 0; i < 12; ++i) {
    const int expectedRow = i < 10 ? i : i - 10;
    EXPECT_EQ(box.AddClip(Bits(2 + i, 3)), expectedRow) << i;
    EXPECT_EQ(box.SelectedClip(), expectedRow);
  }
  EXPECT_EQ(box.Slot(0).Width(), 12);  // the 11th clip
  EXPECT_EQ(box.Slot(1).Width(), 13);
  EXPECT_EQ(box.Slot(2).Width(), 4);
  EXPECT_EQ(box.ClipTitle(), "Clip History:  13 x 3");
  EXPECT_TRUE(box.SelectClip(5));
  EXPECT_EQ(box.ClipTitle(), "Clip History:  7 x 3");
  box.ClearCLip(4);
  EXPECT_FALSE(box.SelectClip(4));
  EXPECT_EQ(box.AddClip(Bits(5, 5)), 4);  // a freed row is filled first
  box.ClearCLip();
  EXPECT_EQ(box.ClipCount(), 0);
  EXPECT_EQ(box.SelectedClip(), -1);
  EXPECT_EQ(box.AddClip(Bits(3, 3)), 0);
  EXPECT_EQ(box.AddClip(Bits()), -1);
  EXPECT_FALSE(box.SelectClip(10));
}

TEST(ClipHistoryPage, JumpThenSaveDropsLaterRowsAndFiles) {
  Fixture f(Pattern(4, 3, 0));
  for (int i = 1; i <= 3; ++i) f.Save(f.doc, Pattern(4, 3, i), "Step " + std::to_string(i));
  EXPECT_EQ(f.box.Rows(), RowsOf({{0, "Original"}, {1, "Step 1"}, {2, "Step 2"}, {3, "Step 3"}}));
  EXPECT_EQ(f.box.CurrentRow(f.doc), 3);

  ASSERT_TRUE(f.box.Ltext_Click(f.doc, 1));
  EXPECT_TRUE(f.doc.PictureBits() == Pattern(4, 3, 1));
  EXPECT_EQ(f.doc.History().UndoPos(), 2);
  EXPECT_FALSE(f.box.Ltext_Click(f.doc, 1));  // already the current step
  EXPECT_FALSE(f.box.Ltext_Click(f.doc, 4));
  EXPECT_EQ(f.box.Rows().size(), 4u);  // redo stays possible until a save

  f.Save(f.doc, Pattern(4, 3, 9), "Brush");
  const auto expected = RowsOf({{0, "Original"}, {1, "Step 1"}, {2, "Brush"}});
  EXPECT_EQ(f.box.Rows(), expected);
  EXPECT_EQ(f.Refilled(f.doc), expected);
  EXPECT_FALSE(fs::exists(f.doc.History().SlotFile(3)));
  EXPECT_EQ(f.box.ScrolledRow(), 2);

  ASSERT_TRUE(f.box.RestoreOriginal(f.doc));
  EXPECT_TRUE(f.doc.PictureBits() == Pattern(4, 3, 0));
  EXPECT_FALSE(f.box.RestoreOriginal(f.doc));
  EXPECT_EQ(f.box.CurrentRow(f.doc), 0);
}

TEST(ClipHistoryPage, SwapBetweenDocumentsAndTheFullHistoryShift) {
  Fixture f(Pattern(2, 2, 0));
  Document other{f.globals, f.dir.path()};
  f.Open(other, Pattern(3, 3, 0));
  f.Save(other, Pattern(3, 3, 1), "Invert");
  EXPECT_EQ(f.box.ShownImageID(), other.ImageID());
  EXPECT_EQ(f.box.Rows(), RowsOf({{0, "Original"}, {1, "Invert"}}));
  f.box.SwapHistoy(f.doc);
  EXPECT_EQ(f.box.Rows(), RowsOf({{0, "Original"}}));

  // Up to the shift of a full history, and three saves past it.
  for (int i = 1; i <= kUndoLastSlot + 3; ++i) {
    f.Save(f.doc, Pattern(2, 2, i), "S" + std::to_string(i));
    ASSERT_EQ(f.box.Rows(), f.Refilled(f.doc)) << i;
  }
  EXPECT_EQ(f.box.Rows().size(), static_cast<size_t>(kUndoLastSlot));
  EXPECT_EQ(f.box.Rows().back().Number, kUndoLastSlot - 1);
  // Row k loads file k: the last row is the picture on screen.
  ASSERT_TRUE(f.box.Ltext_Click(f.doc, kUndoLastSlot - 2));
  EXPECT_TRUE(f.doc.PictureBits() == Pattern(2, 2, kUndoLastSlot + 2));
  f.box.DocumentClosed(f.doc);
  EXPECT_EQ(f.box.ShownImageID(), 0);
}

TEST(ClipFloatingPaste, DropAtAnOffsetAtHalfPressure) {
  Bits picture(8, 6);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) {
      const bool corner = x < 3 && y < 3;
      picture.At(0, x, y) = corner ? 200 : 10;
      picture.At(1, x, y) = corner ? 101 : 20;
      picture.At(2, x, y) = corner ? 0 : 30;
    }
  Fixture f(picture);
  f.doc.BitRegion().CreateRect(0, 0, 3, 2, CombineMode::Or, false);
  f.doc.BitRegion().CreateRect(0, 2, 2, 3, CombineMode::Or, false);  // 3 x 3 less (2, 2)
  ASSERT_TRUE(f.box.CopyBits(f.doc, f.filter, f.sink));
  EXPECT_EQ(f.box.Pressure(), 50);
  ASSERT_TRUE(f.box.BeginPaste(f.doc));
  EXPECT_TRUE(f.box.IsFloating(f.doc));
  f.box.MoveFloatingPaste(f.doc, 4, 2);
  EXPECT_TRUE(f.doc.PictureBits() == picture);  // nothing lands while it floats
  Rect area;
  Bits patch;
  ASSERT_TRUE(f.box.FloatingPreview(f.doc, area, patch));
  EXPECT_EQ(area, (Rect{4, 2, 7, 5}));

  ASSERT_TRUE(f.box.DropFloatingPaste(f.doc));
  EXPECT_FALSE(f.box.IsFloating(f.doc));
  // 0.5 * 200 + 0.5 * 10 = 105; 0.5 * 101 + 0.5 * 20 = 60.5 -> 60 (ties to
  // even); 0.5 * 0 + 0.5 * 30 = 15. The masked corner (6, 4) stays.
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) {
      const bool pasted = x >= 4 && x <= 6 && y >= 2 && y <= 4 && !(x == 6 && y == 4);
      const int want[3] = {pasted ? 105 : picture.At(0, x, y), pasted ? 60 : picture.At(1, x, y),
                           pasted ? 15 : picture.At(2, x, y)};
      for (int c = 0; c < 3; ++c) EXPECT_EQ(f.doc.PictureBits().At(c, x, y), want[c]) << x << "," << y;
      if (x < area.left || x >= area.right || y < area.top || y >= area.bottom) continue;
      for (int c = 0; c < 3; ++c) EXPECT_EQ(patch.At(c, x - area.left, y - area.top), want[c]) << "preview";
    }

  // One column of overlap is empty by the rectangle rules; nothing changes.
  ASSERT_TRUE(f.box.BeginPaste(f.doc));
  f.box.MoveFloatingPaste(f.doc, 7, 0);
  EXPECT_FALSE(f.box.DropFloatingPaste(f.doc));
  f.box.ClearCLip();
  EXPECT_FALSE(f.box.BeginPaste(f.doc));
}

TEST(ClipBoard, RoundTripThroughTheClipboard) {
  Fixture f(Pattern(5, 4, 77));
  Document target{f.globals, f.dir.path()};
  MemoryClipboard clipboard;
  EXPECT_FALSE(PasteFromClipboard(target, clipboard));
  EXPECT_FALSE(target.PictureExists());
  BitsCopyToClipboard(target, clipboard);  // no picture: nothing goes out
  EXPECT_FALSE(clipboard.HasPicture());

  BitsCopyToClipboard(f.doc, clipboard);
  ASSERT_TRUE(clipboard.HasPicture());
  EXPECT_TRUE(clipboard.Picture() == Pattern(5, 4, 77));  // frame zero, four bytes kept
  ASSERT_TRUE(PasteFromClipboard(target, clipboard));
  EXPECT_EQ(target.PictureWidth(), 5);
  EXPECT_EQ(target.PictureHeight(), 4);
  EXPECT_TRUE(target.PictureBits() == Pattern(5, 4, 77));
}

}  // namespace
}  // namespace kelvane
