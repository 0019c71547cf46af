// The document's state: zoom table and limits, the canvas layout and the
// stretch rectangles worked out by hand, the 32767 fall-back, status texts,
// and what CreateBlank, SetPicture, PPicture, Clear and undo do to the
// picture, its bounds, the selection and the history.
#include "document/document.h"

#include <gtest/gtest.h>

#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;

struct Doc {
  test::TempDir dir;
  UndoGlobals globals;
  Document doc{globals, dir.path()};
};

// Every byte, frame included, gets its own value.
Bits Pattern(int w, int h, int seed) {
  Bits b(w, h);
  for (int y = -2; y < h + 2; ++y)
    for (int x = -2; x < w + 2; ++x)
      for (int c = 0; c < 4; ++c) b.At(c, x, y) = static_cast<uint8_t>(seed * 31 + c * 7 + x * 13 + y * 29 + 1);
  return b;
}

// ---------------------------------------------------------------------------
// Zoom

TEST(DocumentZoom, TableIsOneToFifteen) {
  for (int i = 1; i <= 15; ++i) EXPECT_EQ(ZoomTable(i), i);
  EXPECT_EQ(ZoomTable(0), 0);
  EXPECT_EQ(ZoomTable(16), 0);
}

TEST(DocumentZoom, InAndOutStopAtTheTableEnds) {
  Doc d;
  d.doc.SetViewSize(800, 600);
  ASSERT_TRUE(d.doc.CreateBlank(20, 10));
  EXPECT_EQ(d.doc.ZoomIndex(), 1);
  for (int i = 2; i <= 15; ++i) {
    d.doc.ZoomIn();
    EXPECT_EQ(d.doc.ZoomFactor(), i);
    EXPECT_EQ(d.doc.BitRegion().ZoomFactor(), static_cast<float>(i));
  }
  d.doc.ZoomIn();
  EXPECT_EQ(d.doc.ZoomFactor(), 15);
  for (int i = 14; i >= 1; --i) {
    d.doc.ZoomOut();
    EXPECT_EQ(d.doc.ZoomFactor(), i);
  }
  d.doc.ZoomOut();
  EXPECT_EQ(d.doc.ZoomFactor(), 1);
  EXPECT_EQ(d.doc.BitRegion().ZoomFactor(), 1.0f);
}

TEST(DocumentZoom, InAndOutNeedAPicture) {
  Doc d;
  d.doc.ZoomIn();
  EXPECT_EQ(d.doc.ZoomFactor(), 1);
  d.doc.CreateBlank(5, 5);
  d.doc.ZoomFactor(3);
  d.doc.Clear();
  d.doc.ZoomOut();
  EXPECT_EQ(d.doc.ZoomFactor(), 3);
}

TEST(DocumentZoom, WrittenFactorIsClipped) {
  const struct { int32_t in, out; } cases[] = {{-5, 1}, {0, 1}, {1, 1}, {7, 7}, {15, 15}, {16, 15}, {400, 15}};
  for (const auto& c : cases) {
    Doc d;
    d.doc.SetViewSize(800, 600);
    d.doc.CreateBlank(10, 10);
    d.doc.ZoomFactor(c.in);
    EXPECT_EQ(d.doc.ZoomFactor(), c.out) << c.in;
    EXPECT_EQ(d.doc.BitRegion().ZoomFactor(), static_cast<float>(c.out)) << c.in;
  }
}

TEST(DocumentZoom, ZoomedSideReaching32767FallsBackToOne) {
  // dstW: the canvas width after the layout at the kept factor, in a
  // 500 x 400 view (a vertical bar takes 17).
  const struct { int32_t w, h, factor, kept, dstW; } cases[] = {
      {2200, 100, 15, 1, 500},     // 33000
      {2200, 100, 14, 14, 483},    // 30800 x 1400: both bars
      {4681, 3, 7, 1, 500},        // exactly 32767 reaches the limit
      {3, 4681, 7, 1, 3},
      {4681, 3, 6, 6, 500},        // 28086
      {30, 40, 15, 15, 450},       // 450 x 600: vertical bar only
  };
  for (const auto& c : cases) {
    Doc d;
    d.doc.SetViewSize(500, 400);
    d.doc.CreateBlank(c.w, c.h);
    d.doc.ZoomFactor(c.factor);
    EXPECT_EQ(d.doc.ZoomFactor(), c.kept) << c.w << "x" << c.h << " at " << c.factor;
    EXPECT_EQ(d.doc.BitRegion().ZoomFactor(), static_cast<float>(c.kept));
    EXPECT_EQ(d.doc.DstWidth(), c.dstW);
  }
  // ZoomIn past the limit falls back as well.
  Doc d;
  d.doc.SetViewSize(500, 400);
  d.doc.CreateBlank(2200, 100);
  d.doc.ZoomFactor(14);
  d.doc.ZoomIn();
  EXPECT_EQ(d.doc.ZoomFactor(), 1);
}

TEST(DocumentZoom, OversizedPictureAtFactorOneStopsTheLayout) {
  Doc d;
  d.doc.SetViewSize(500, 400);
  d.doc.CreateBlank(40000, 2);
  EXPECT_EQ(d.doc.ZoomFactor(), 1);
  EXPECT_FALSE(d.doc.DstVisible());
  EXPECT_EQ(d.doc.DstWidth(), 0);
}

// ---------------------------------------------------------------------------
// Layout

TEST(DocumentLayout, BarsAndCanvasByHand) {
  struct Case {
    const char* name;
    int32_t w, h, z, availW, availH, hValue, vValue;
    int32_t dstW, dstH;
    bool needH, needV;
    int32_t hMax, vMax, hValueOut, vValueOut;
  };
  const Case cases[] = {
      {"fits", 100, 80, 1, 300, 200, 0, 0, 100, 80, false, false, 0, 0, 0, 0},
      {"exactly fits", 300, 200, 1, 300, 200, 0, 0, 300, 200, false, false, 0, 0, 0, 0},
      {"wide only", 400, 100, 1, 300, 200, 0, 0, 300, 100, true, false, 100, 0, 0, 0},
      {"wide bar makes tall bar", 400, 190, 1, 300, 200, 0, 0, 283, 183, true, true, 117, 7, 0, 0},
      {"tall bar makes wide bar", 290, 500, 1, 300, 200, 0, 0, 283, 183, true, true, 7, 317, 0, 0},
      {"tall only", 283, 500, 1, 300, 200, 0, 0, 283, 200, false, true, 0, 300, 0, 0},
      {"zoomed, values clipped", 100, 100, 4, 300, 200, 500, 50, 283, 183, true, true, 117, 217, 117, 50},
      {"value of a vanished bar", 100, 80, 1, 300, 200, 40, 30, 100, 80, false, false, 0, 0, 0, 0},
  };
  for (const Case& c : cases) {
    ViewLayoutInput in;
    in.PictureWidth = c.w;
    in.PictureHeight = c.h;
    in.Zoom = c.z;
    in.AvailWidth = c.availW;
    in.AvailHeight = c.availH;
    in.BarWidth = 17;
    in.HValue = c.hValue;
    in.VValue = c.vValue;
    const ViewLayout l = LayoutView(in);
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(l.ZoomTooLarge);
    EXPECT_FALSE(l.TooSmallForBars);
    EXPECT_TRUE(l.DstVisible);
    EXPECT_EQ(l.DstWidth, c.dstW);
    EXPECT_EQ(l.DstHeight, c.dstH);
    EXPECT_EQ(l.H.Visible, c.needH);
    EXPECT_EQ(l.V.Visible, c.needV);
    EXPECT_EQ(l.H.Max, c.hMax);
    EXPECT_EQ(l.V.Max, c.vMax);
    EXPECT_EQ(l.H.Value, c.hValueOut);
    EXPECT_EQ(l.V.Value, c.vValueOut);
    EXPECT_EQ(l.H.LargeChange, c.dstW);
    EXPECT_EQ(l.V.LargeChange, c.dstH);
    // hSB below the canvas, vSB right of it, each one bar thick.
    EXPECT_EQ(l.H.Left, 0);
    EXPECT_EQ(l.H.Top, c.dstH);
    EXPECT_EQ(l.H.Width, c.dstW);
    EXPECT_EQ(l.H.Height, 17);
    EXPECT_EQ(l.V.Left, c.dstW);
    EXPECT_EQ(l.V.Top, 0);
    EXPECT_EQ(l.V.Width, 17);
    EXPECT_EQ(l.V.Height, c.dstH);
  }
}

TEST(DocumentLayout, ViewUnderTwiceTheBarHasNoBars) {
  const struct { int32_t availW, availH; bool small; } cases[] = {
      {33, 100, true}, {100, 33, true}, {34, 34, false}, {0, 0, true}};
  for (const auto& c : cases) {
    ViewLayoutInput in{50, 60, 2, c.availW, c.availH, 17, 0, 0};
    const ViewLayout l = LayoutView(in);
    EXPECT_EQ(l.TooSmallForBars, c.small) << c.availW << "x" << c.availH;
    if (c.small) {
      EXPECT_EQ(l.DstWidth, 100);
      EXPECT_EQ(l.DstHeight, 120);
      EXPECT_FALSE(l.DstVisible);
      EXPECT_FALSE(l.H.Visible);
      EXPECT_FALSE(l.V.Visible);
    }
  }
  Doc d;
  d.doc.CreateBlank(400, 300);
  d.doc.SetViewSize(200, 100);
  ASSERT_TRUE(d.doc.HScroll().Visible);
  d.doc.SetViewSize(20, 100);
  EXPECT_FALSE(d.doc.HScroll().Visible);
  EXPECT_FALSE(d.doc.VScroll().Visible);
  EXPECT_EQ(d.doc.HScroll().Max, 0);
}

TEST(DocumentLayout, ZoomTooLargeReachesTheLimit) {
  const struct { int32_t w, h, z; bool tooLarge; } cases[] = {
      {2200, 100, 15, true}, {2184, 100, 15, false}, {4681, 1, 7, true}, {1, 32767, 1, true}, {1, 32766, 1, false}};
  for (const auto& c : cases) {
    ViewLayoutInput in{c.w, c.h, c.z, 500, 400, 17, 0, 0};
    EXPECT_EQ(LayoutView(in).ZoomTooLarge, c.tooLarge) << c.w << "x" << c.h << " z" << c.z;
  }
}

TEST(DocumentLayout, BarsWidthWriteAndMouseScrollPointer) {
  const struct { int32_t in, out; } widths[] = {{5, 13}, {10, 13}, {13, 13}, {14, 14}, {20, 20}};
  Doc d;
  for (const auto& c : widths) {
    d.doc.BarsWidth(c.in);
    EXPECT_EQ(d.doc.BarsWidth(), c.out) << c.in;
  }
  d.doc.BarsWidth(17);
  d.doc.SetViewSize(300, 200);
  d.doc.CreateBlank(100, 80);
  d.doc.MouseScroll(true);
  EXPECT_TRUE(d.doc.MouseScroll());
  EXPECT_EQ(d.doc.CanvasPointer(), kPointerDefault);  // no bar in use
  d.doc.CreateBlank(400, 100);
  d.doc.MouseScroll(false);
  EXPECT_EQ(d.doc.CanvasPointer(), kPointerDefault);
  d.doc.MouseScroll(true);
  EXPECT_EQ(d.doc.CanvasPointer(), kPointerCustom);
  // The layout itself puts the pointer up when the setting is on.
  Doc e;
  e.doc.MouseScroll(true);
  e.doc.SetViewSize(300, 200);
  e.doc.CreateBlank(100, 500);
  EXPECT_EQ(e.doc.CanvasPointer(), kPointerCustom);
}

TEST(DocumentLayout, ScrollKeepsValuesOnTheBars) {
  Doc d;
  d.doc.SetViewSize(300, 200);
  d.doc.CreateBlank(400, 190);  // maxima 117 and 7
  d.doc.Scroll(1000, -5);
  EXPECT_EQ(d.doc.HScroll().Value, 117);
  EXPECT_EQ(d.doc.VScroll().Value, 0);
  d.doc.SetVScrollValue(5);
  EXPECT_EQ(d.doc.VScroll().Value, 5);
  int16_t sw, sh, dw, dh;
  d.doc.GetDimensions(sw, sh, dw, dh);
  EXPECT_EQ(sw, 400);
  EXPECT_EQ(sh, 190);
  EXPECT_EQ(dw, 283);
  EXPECT_EQ(dh, 183);
  // A narrower picture leaves the value above the new maximum: clipped.
  d.doc.CreateBlank(350, 190);
  EXPECT_EQ(d.doc.HScroll().Max, 67);
  EXPECT_EQ(d.doc.HScroll().Value, 67);
}

// ---------------------------------------------------------------------------
// Painting rectangles

TEST(DocumentPaintRects, ByHand) {
  struct Case {
    const char* name;
    PaintViewInput in;
    StretchRects out;
  };
  const Case cases[] = {
      // z, dstW, dstH, srcW, srcH, hValue, hMax, vValue, vMax
      {"no bars: the frame never shows", {1, 100, 80, 100, 80, 0, 0, 0, 0}, {0, 0, 100, 80, 2, 2, 100, 80}},
      {"zoom 3, scrolled both ways",
       {3, 100, 50, 200, 30, 5, 50, 7, 40},
       // -5 mod 3 = -2, 33*3+6, 5\3+2, 33+2 | -7 mod 3 = -1, 16*3+6, 13-2+1, 16+2
       {-2, -1, 105, 54, 3, 12, 35, 18}},
      {"zoom 2, bars at 0", {2, 283, 183, 200, 200, 0, 117, 0, 217}, {0, 0, 286, 186, 2, 109, 143, 93}},
      {"zoom 1, vertical bar only", {1, 200, 183, 200, 300, 0, 0, 10, 117}, {0, 0, 200, 184, 2, 108, 200, 184}},
      {"zoom 4, exact multiple", {4, 8, 9, 10, 10, 8, 32, 4, 31}, {0, 0, 16, 16, 4, 7, 4, 4}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(PaintRects(c.in), c.out) << c.name;
  }
  // In picture terms the first row shown is value \ z.
  EXPECT_EQ(SourceTopPictureRow(300, PaintRects(cases[3].in)), 10);
  EXPECT_EQ(SourceTopPictureRow(80, PaintRects(cases[0].in)), 0);
}

TEST(DocumentPaintRects, FromTheDocumentState) {
  Doc d;
  StretchRects r;
  EXPECT_FALSE(d.doc.PaintRectangles(r));
  d.doc.SetViewSize(300, 200);
  d.doc.CreateBlank(100, 100);
  d.doc.ZoomFactor(4);  // 400 x 400: canvas 283 x 183, maxima 117 and 217
  d.doc.Scroll(5, 7);
  ASSERT_TRUE(d.doc.PaintRectangles(r));
  // -5 mod 4 = -1, 70*4+8, 5\4+2, 70+2 | -7 mod 4 = -3, 45*4+8, 54-1+1, 45+2
  EXPECT_EQ(r, (StretchRects{-1, -3, 288, 188, 3, 54, 72, 47}));
}

TEST(DocumentPaintRects, CentredOptimizedPicture) {
  const struct { double cw, ch, pw, ph, left, top; bool h, v; } cases[] = {
      {300, 200, 100, 50, 100, 75, false, false},
      {300, 200, 101, 200, 99.5, 0, false, false},
      {300, 200, 301, 50, 0, 75, true, false},
      {300, 200, 10, 201, 145, 0, false, true},
  };
  for (const auto& c : cases) {
    const CentredPicture p = CentrePicture(c.cw, c.ch, c.pw, c.ph);
    EXPECT_DOUBLE_EQ(p.Left, c.left);
    EXPECT_DOUBLE_EQ(p.Top, c.top);
    EXPECT_EQ(p.HVisible, c.h);
    EXPECT_EQ(p.VVisible, c.v);
  }
}

// ---------------------------------------------------------------------------
// Texts

TEST(DocumentTexts, PanelsAndCloseQuestion) {
  EXPECT_EQ(PixelPanelText(640, 480), "640 x 480");
  EXPECT_EQ(ZoomPanelText(3), "3 : 1");
  EXPECT_EQ(ZoomPanelText(15), "15 : 1");
  const struct { bool ask, changed; int32_t pos; bool expected; } cases[] = {
      {true, true, 2, true}, {true, true, 1, false}, {false, true, 5, false}, {true, false, 5, false}};
  for (const auto& c : cases) EXPECT_EQ(AskOnClose(c.ask, c.changed, c.pos), c.expected);
  EXPECT_EQ(CloseQuestionText("a.png"), "a.png\n\nThis image has changed.\nDo you want to save it ?");

  Doc d;
  d.doc.SetViewSize(800, 600);
  d.doc.CreateBlank(640, 480);
  EXPECT_EQ(d.doc.PixelPanel(), "640 x 480");
  d.doc.ZoomIn();
  d.doc.RefreshZoomPanel();
  EXPECT_EQ(d.doc.ZoomPanel(), "2 : 1");
}

// ---------------------------------------------------------------------------
// Picture

TEST(DocumentPicture, CreateBlankBelowOneLeavesTheDocument) {
  const struct { int32_t w, h; } bad[] = {{0, 5}, {5, 0}, {-1, 3}, {0, 0}};
  for (const auto& c : bad) {
    Doc d;
    EXPECT_FALSE(d.doc.CreateBlank(c.w, c.h));
    EXPECT_FALSE(d.doc.PictureExists());
    EXPECT_TRUE(d.doc.PictureBits().IsNull());
    EXPECT_EQ(d.doc.PictureWidth(), 0);
  }
  Doc d;
  d.doc.CreateBlank(3, 2);
  d.doc.CreateBlank(0, 9);
  EXPECT_EQ(d.doc.PictureWidth(), 3);
  EXPECT_EQ(d.doc.PictureHeight(), 2);
}

TEST(DocumentPicture, CreateBlankShapesTheDocument) {
  Doc d;
  d.doc.BitRegion().Init(0, 0, 10, 10);
  d.doc.BitRegion().CreateRect(1, 1, 4, 4, CombineMode::Or, false);
  ASSERT_TRUE(d.doc.CreateBlank(1, 1));
  EXPECT_EQ(d.doc.PictureBits().ByteSize(), 100u);
  EXPECT_EQ(d.doc.BitmapHeader().biWidth, 5);
  EXPECT_EQ(d.doc.BitmapHeader().biHeight, -5);
  EXPECT_EQ(d.doc.BitmapHeader().biBitCount, 32);
  EXPECT_EQ(d.doc.ImageBounds(), (Rect{0, 0, 1, 1}));
  EXPECT_TRUE(d.doc.PictureExists());
  EXPECT_EQ(d.doc.PictureWidth(), 1);
  // The selection is the caller's business.
  EXPECT_FALSE(d.doc.BitRegion().IsEmptyRegion());
  EXPECT_EQ(d.doc.BitRegion().RegionMain()->Box(), (Rect{0, 0, 10, 10}));
  for (size_t i = 0; i < 100; ++i) EXPECT_EQ(d.doc.PictureBits().Data()[i], 0);
}

TEST(DocumentPicture, SetPictureCopiesRowsAndResetsSelection) {
  Doc d;
  d.doc.SetViewSize(300, 200);
  d.doc.CreateBlank(400, 190);
  d.doc.Scroll(50, 5);
  d.doc.BitRegion().Init(0, 0, 400, 190);
  d.doc.BitRegion().CreateRect(1, 1, 4, 4, CombineMode::Or, false);

  const Bits picture = Pattern(6, 4, 3);
  d.doc.SetSourcePicture(picture);
  ASSERT_TRUE(d.doc.SetPicture(false));
  const Bits& b = d.doc.PictureBits();
  ASSERT_EQ(b.Width(), 6);
  ASSERT_EQ(b.Height(), 4);
  for (int y = -2; y < 6; ++y)
    for (int x = -2; x < 8; ++x)
      for (int c = 0; c < 4; ++c) {
        const bool inside = x >= 0 && x < 6 && y >= 0 && y < 4;
        EXPECT_EQ(b.At(c, x, y), inside ? picture.At(c, x, y) : 0) << c << "," << x << "," << y;
      }
  EXPECT_EQ(d.doc.ImageBounds(), (Rect{0, 0, 6, 4}));
  EXPECT_TRUE(d.doc.BitRegion().IsEmptyRegion());
  EXPECT_EQ(d.doc.BitRegion().RegionMain()->Box(), (Rect{0, 0, 6, 4}));
  EXPECT_FALSE(d.doc.SourceHasPicture());
  EXPECT_EQ(d.doc.PictureWidth(), 6);
  EXPECT_EQ(d.doc.HScroll().Value, 0);
  EXPECT_EQ(d.doc.VScroll().Value, 0);
  EXPECT_EQ(d.doc.History().UndoPos(), 0);
  EXPECT_EQ(d.doc.PixelPanel(), "6 x 4");
}

TEST(DocumentPicture, SetPictureWithUndoRecordsUpdateFromLayers) {
  Doc d;
  EXPECT_EQ(d.doc.History().HistoryNames()[0], "Original");
  d.doc.CreateBlank(3, 3);
  d.globals.LastCommandCaption = "Original";
  d.doc.SaveUndoBits();
  d.doc.SetSourcePicture(Pattern(5, 2, 1));
  ASSERT_TRUE(d.doc.SetPicture(true));
  EXPECT_EQ(d.globals.LastCommandCaption, "Update from Layers");
  EXPECT_EQ(d.doc.History().UndoPos(), 2);
  EXPECT_EQ(d.doc.History().HistoryNames()[0], "Original");
  EXPECT_EQ(d.doc.History().HistoryNames()[1], "Update from Layers");
  EXPECT_EQ(fs::file_size(d.doc.History().SlotFile(1)), 40u + 9 * 6 * 4);
  // Undo goes back to the 3 x 3 blank, across the size change.
  ASSERT_TRUE(d.doc.UndoBits());
  EXPECT_EQ(d.doc.PictureWidth(), 3);
  EXPECT_EQ(d.doc.ImageBounds(), (Rect{0, 0, 3, 3}));
  EXPECT_EQ(d.doc.BitmapHeader().biHeight, -7);
  EXPECT_EQ(d.doc.PixelPanel(), "3x3");
  EXPECT_EQ(d.doc.BitRegion().RegionMain()->Box(), (Rect{0, 0, 3, 3}));
  EXPECT_FALSE(d.doc.UndoBits());
  ASSERT_TRUE(d.doc.RedoBits());
  EXPECT_EQ(d.doc.PictureWidth(), 5);
  Bits expected(5, 2);
  const Bits p = Pattern(5, 2, 1);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 5; ++x)
      for (int c = 0; c < 4; ++c) expected.At(c, x, y) = p.At(c, x, y);
  EXPECT_EQ(d.doc.PictureBits(), expected);
}

TEST(DocumentPicture, SetPictureWithoutSizeTakesNothing) {
  Doc d;
  EXPECT_FALSE(d.doc.SetPicture(true));
  EXPECT_FALSE(d.doc.PictureExists());
  EXPECT_EQ(d.doc.History().UndoPos(), 0);
}

TEST(DocumentPicture, PPictureAndClear) {
  Doc d;
  d.doc.SetViewSize(300, 200);
  d.doc.PPicture(Pattern(400, 10, 2));
  EXPECT_TRUE(d.doc.PictureExists());
  EXPECT_EQ(d.doc.PictureWidth(), 400);
  EXPECT_EQ(d.doc.History().UndoPos(), 0);
  EXPECT_TRUE(d.doc.HScroll().Visible);

  d.doc.PPicture(Bits());
  EXPECT_FALSE(d.doc.PictureExists());
  EXPECT_EQ(d.doc.PictureWidth(), 0);
  EXPECT_EQ(d.doc.PictureHeight(), 0);
  EXPECT_TRUE(d.doc.Bits().IsNull());
  EXPECT_FALSE(d.doc.HScroll().Visible);
  EXPECT_EQ(d.doc.HScroll().Max, 0);
  StretchRects r;
  EXPECT_FALSE(d.doc.PaintRectangles(r));
}

TEST(DocumentPicture, BitsReadIsACopyAndWriteNeedsAnArray) {
  Doc d;
  d.doc.Bits(Pattern(2, 2, 1));
  EXPECT_TRUE(d.doc.PictureBits().IsNull());
  d.doc.CreateBlank(2, 2);
  Bits copy = d.doc.Bits();
  copy.At(2, 0, 0) = 99;
  EXPECT_EQ(d.doc.PictureBits().At(2, 0, 0), 0);
  d.doc.Bits(copy);
  EXPECT_EQ(d.doc.PictureBits().At(2, 0, 0), 99);
}

TEST(DocumentPicture, StrokeTableAndPaintTarget) {
  Doc d;
  d.doc.CreateDoneBitsTable();
  EXPECT_EQ(d.doc.DoneBits().MaxX(), 2);
  d.doc.CreateBlank(7, 4);
  d.doc.BitRegion().Init(0, 0, 7, 4);
  d.doc.CreateDoneBitsTable();
  EXPECT_EQ(d.doc.DoneBits().MaxX(), 9);
  EXPECT_EQ(d.doc.DoneBits().MaxY(), 6);

  PaintTarget t = d.doc.Target();
  BitsBrush(t, 2, 1, 1, 100, 0x0000FF);
  EXPECT_EQ(d.doc.PictureBits().At(2, 2, 1), 255);
  EXPECT_EQ(d.doc.PictureBits().At(0, 2, 1), 0);
  EXPECT_EQ(BitsGetPixel(t, 2, 1), 0x0000FF);
  d.doc.Clear();
  EXPECT_EQ(BitsGetPixel(t, 2, 1), -1);
}

}  // namespace
}  // namespace kelvane
