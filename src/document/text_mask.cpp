#include "document/text_mask.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <climits>
#include <optional>
#include <string>
#include <vector>

#include "base/numeric.h"

namespace kelvane {

namespace {

constexpr uint8_t kInkThreshold = 128;  // coverage of at least half a pixel
constexpr uint8_t kPaint = 0;
constexpr uint8_t kLeave = 255;
constexpr int32_t kSideMargin = 1;

std::string_view TrimBlanks(std::string_view s) {
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\0'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

// Code points of valid UTF-8, or nothing when the bytes are not UTF-8.
std::optional<std::vector<char32_t>> DecodeUtf8(std::string_view s) {
  std::vector<char32_t> out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    const auto b0 = static_cast<unsigned char>(s[i]);
    int extra = 0;
    char32_t cp = 0, least = 0;
    if (b0 < 0x80) {
      cp = b0;
    } else if ((b0 & 0xE0) == 0xC0) {
      extra = 1, cp = b0 & 0x1F, least = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
      extra = 2, cp = b0 & 0x0F, least = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
      extra = 3, cp = b0 & 0x07, least = 0x10000;
    } else {
      return std::nullopt;
    }
    if (i + static_cast<size_t>(extra) >= s.size()) return std::nullopt;
    for (int k = 1; k <= extra; ++k) {
      const auto b = static_cast<unsigned char>(s[i + k]);
      if ((b & 0xC0) != 0x80) return std::nullopt;
      cp = (cp << 6) | (b & 0x3F);
    }
    if (extra > 0 && (cp < least || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))) return std::nullopt;
    out.push_back(cp);
    i += static_cast<size_t>(extra) + 1;
  }
  return out;
}

std::vector<char32_t> CodePoints(std::string_view s) {
  if (auto utf8 = DecodeUtf8(s)) return *std::move(utf8);
  std::vector<char32_t> out;
  out.reserve(s.size());
  for (char c : s) out.push_back(static_cast<unsigned char>(c));
  return out;
}

// The font file fontconfig picks for the family (with its face index), a
// scalable one preferred; nothing when fontconfig has no answer.
struct FontFile {
  std::string path;
  int index = 0;
};

std::optional<FontFile> MatchFont(std::string_view family) {
  if (!FcInit()) return std::nullopt;
  FcPattern* pattern = FcPatternCreate();
  if (!pattern) return std::nullopt;
  const std::string name(family.empty() ? std::string_view("sans-serif") : family);
  FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(name.c_str()));
  FcPatternAddBool(pattern, FC_SCALABLE, FcTrue);
  FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result = FcResultNoMatch;
  FcPattern* match = FcFontMatch(nullptr, pattern, &result);
  FcPatternDestroy(pattern);
  if (!match) return std::nullopt;
  std::optional<FontFile> found;
  FcChar8* file = nullptr;
  if (FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch && file) {
    int index = 0;
    if (FcPatternGetInteger(match, FC_INDEX, 0, &index) != FcResultMatch) index = 0;
    found = FontFile{reinterpret_cast<const char*>(file), index};
  }
  FcPatternDestroy(match);
  return found;
}

// The library and one face, released together.
class FontFace {
 public:
  FontFace() = default;
  FontFace(const FontFace&) = delete;
  FontFace& operator=(const FontFace&) = delete;
  ~FontFace() {
    if (face_) FT_Done_Face(face_);
    if (library_) FT_Done_FreeType(library_);
  }

  // Loads the family's font at the pixel size; false when it cannot be used.
  bool Open(std::string_view family, int32_t pixelSize) {
    if (!library_ && FT_Init_FreeType(&library_) != 0) {
      library_ = nullptr;
      return false;
    }
    if (face_) {
      FT_Done_Face(face_);
      face_ = nullptr;
    }
    const std::optional<FontFile> file = MatchFont(family);
    if (!file) return false;
    if (FT_New_Face(library_, file->path.c_str(), file->index, &face_) != 0) {
      face_ = nullptr;
      return false;
    }
    if (!FT_IS_SCALABLE(face_) || FT_Set_Pixel_Sizes(face_, 0, static_cast<FT_UInt>(pixelSize)) != 0) {
      FT_Done_Face(face_);
      face_ = nullptr;
      return false;
    }
    return true;
  }
  FT_Face Face() const { return face_; }

 private:
  FT_Library library_ = nullptr;
  FT_Face face_ = nullptr;
};

// One glyph's coverage, placed relative to the pen's start on the baseline
// (y grows downwards).
struct PlacedGlyph {
  int32_t left = 0, top = 0, width = 0, rows = 0;
  std::vector<uint8_t> coverage;  // width * rows, rows top-down
};

int32_t CeilPixels(FT_Pos v) { return static_cast<int32_t>((v + 63) >> 6); }

// The box of the pixels at or above the threshold, around the pen's start.
struct InkBox {
  int32_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
  bool Empty() const { return left > right; }
};

// Lays the line out and renders every glyph, growing the ink box. False when
// there is no ink.

bool RenderLine(FT_Face face, const std::vector<char32_t>& text, std::vector<PlacedGlyph>& glyphs,
                InkBox& ink) {
  const bool kerning = FT_HAS_KERNING(face);
  FT_UInt previous = 0;
  int64_t pen = 0;  // 26.6
  for (char32_t cp : text) {
    if (cp < 0x20 || cp == 0x7F) continue;
    const FT_UInt index = FT_Get_Char_Index(face, cp);
    if (kerning && previous && index) {
      FT_Vector delta{};
      if (FT_Get_Kerning(face, previous, index, FT_KERNING_DEFAULT, &delta) == 0) pen += delta.x;
    }
    previous = index;
    if (FT_Load_Glyph(face, index, FT_LOAD_DEFAULT) != 0) continue;
    FT_GlyphSlot slot = face->glyph;
    if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) {
      pen += slot->advance.x;
      continue;
    }
    const FT_Bitmap& bitmap = slot->bitmap;
    if (bitmap.width > 0 && bitmap.rows > 0 && bitmap.buffer && bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
      PlacedGlyph g;
      g.left = static_cast<int32_t>((pen >> 6) + slot->bitmap_left);
      g.top = -slot->bitmap_top;
      g.width = static_cast<int32_t>(bitmap.width);
      g.rows = static_cast<int32_t>(bitmap.rows);
      g.coverage.resize(static_cast<size_t>(g.width) * static_cast<size_t>(g.rows));
      // The pitch is what takes a row pointer one row down; a negative one
      // means the top row lies at the far end of the buffer.
      const ptrdiff_t pitch = bitmap.pitch;
      const uint8_t* top = bitmap.buffer + (pitch < 0 ? -pitch * (g.rows - 1) : 0);
      for (int32_t y = 0; y < g.rows; ++y) {
        const uint8_t* src = top + pitch * y;
        uint8_t* dst = g.coverage.data() + static_cast<size_t>(y) * g.width;
        for (int32_t x = 0; x < g.width; ++x) {
          dst[x] = src[x];
          if (src[x] < kInkThreshold) continue;
          ink.left = std::min(ink.left, g.left + x);
          ink.right = std::max(ink.right, g.left + x);
          ink.top = std::min(ink.top, g.top + y);
          ink.bottom = std::max(ink.bottom, g.top + y);
        }
      }
      glyphs.push_back(std::move(g));
    }
    pen += slot->advance.x;
    // A line this long could never become a mask.
    if ((pen >> 6) > kMaxTextMaskPixels) return false;
  }
  return !ink.Empty();
}

Bits MaskFromGlyphs(FT_Face face, const std::vector<PlacedGlyph>& glyphs, const InkBox& ink) {
  const int32_t ascent = std::max(0, CeilPixels(face->size->metrics.ascender));
  const int32_t descent = std::max(0, CeilPixels(-face->size->metrics.descender));
  // Rows from -ascent to descent - 1 around the baseline, grown to the ink.
  const int32_t top = std::min(-ascent, ink.top);
  const int32_t bottom = std::max(descent - 1, ink.bottom);
  const int32_t left = ink.left - kSideMargin;
  const int64_t width = int64_t{ink.right} - ink.left + 1 + 2 * kSideMargin;
  const int64_t height = int64_t{bottom} - top + 1;
  if (width <= 0 || height <= 0 || width * height > kMaxTextMaskPixels) return Bits();
  Bits mask(static_cast<int>(width), static_cast<int>(height));
  mask.Fill(kLeave);
  for (const PlacedGlyph& g : glyphs) {
    // Every ink pixel lies inside the array; faint edges outside it are
    // clipped away with the rows and columns they sit in.
    const int32_t y0 = std::max(0, top - g.top), y1 = std::min(g.rows, bottom + 1 - g.top);
    const int32_t x0 = std::max(0, left - g.left), x1 = std::min<int64_t>(g.width, left + width - g.left);
    for (int32_t y = y0; y < y1; ++y) {
      const uint8_t* src = g.coverage.data() + static_cast<size_t>(y) * g.width;
      uint8_t* p = mask.Pixel(g.left + x0 - left, g.top + y - top);
      for (int32_t x = x0; x < x1; ++x, p += 4)
        if (src[x] >= kInkThreshold) p[0] = p[1] = p[2] = kPaint;
    }
  }
  return mask;
}

}  // namespace

int32_t TextPixelSize(int32_t pointSize) { return Round(pointSize * 96.0 / 72.0); }

Bits MakeTextMask(std::string_view text, std::string_view fontFamily, int32_t pointSize) {
  try {
    text = TrimBlanks(text);
    if (text.empty()) return Bits();
    const int32_t pixelSize = TextPixelSize(pointSize);
    if (pixelSize < 1 || pixelSize > kMaxTextPixelSize) return Bits();
    FontFace font;
    const std::string_view family = TrimBlanks(fontFamily);
    // The named family first; the default sans when it cannot be used.
    if (!font.Open(family, pixelSize) && (family.empty() || !font.Open("", pixelSize))) return Bits();
    std::vector<PlacedGlyph> glyphs;
    InkBox ink;
    if (!RenderLine(font.Face(), CodePoints(text), glyphs, ink)) return Bits();
    return MaskFromGlyphs(font.Face(), glyphs, ink);
  } catch (...) {
    // Out of memory for a huge line: no mask, the tool stays idle.
    return Bits();
  }
}

}  // namespace kelvane
