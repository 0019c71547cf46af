// StartRecord: the one settings record the program keeps between runs, and
// the file kv201Start.up in the application folder that holds it.
//
// Contract:
//  - The file is the record's fields in declared order with no padding,
//    header, version or checksum: 6593 bytes. i16 and i32 are little-endian
//    signed; a colour is an i32 holding 0x00BBGGRR.
//  - Booleans are i16 0 (false) and -1 (true); the few byte fields hold 1 and
//    0. Readers take any non-zero value as true.
//  - Strings are FixedString<N>: the raw N bytes of the file are kept, so a
//    field the program only carries goes back out byte for byte. Get() gives
//    the text (up to a first NUL byte, trailing blanks removed); Set() pads
//    with blanks and cuts after N bytes. Paths are stored as their UTF-8
//    bytes.
//  - A value-initialised StartRecord is all zero: the state a zero-size file
//    gives. DefaultStartRecord gives the first-start values.
//  - One field table (StartRecordFields) drives the layout, the writer, the
//    reader and the description; the struct below mirrors it member for
//    member, and the table's rows are checked against the members' types and
//    counts at compile time.
//  - Loading never fails: a missing file gives the defaults, a short file
//    gives zeros past its end, an unreadable file gives zeros.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/byte_io.h"

namespace kelvane {

// Exactly N single-byte characters, blank padded in the file.
template <size_t N>
struct FixedString {
  std::array<char, N> bytes{};

  // The text: the bytes up to the first NUL (a zero-filled field reads as
  // empty), with trailing blanks removed.
  std::string Get() const {
    size_t end = 0;
    while (end < N && bytes[end] != '\0') ++end;
    while (end > 0 && bytes[end - 1] == ' ') --end;
    return std::string(bytes.data(), end);
  }
  // Stores text, cut after N bytes, padded with blanks to N.
  void Set(std::string_view text) {
    const size_t n = text.size() < N ? text.size() : N;
    std::copy_n(text.data(), n, bytes.data());
    std::fill(bytes.begin() + n, bytes.end(), ' ');
  }
  // True when all N bytes are blanks.
  bool IsBlank() const {
    for (char c : bytes)
      if (c != ' ') return false;
    return true;
  }
  bool operator==(const FixedString&) const = default;
};

using String256 = FixedString<256>;
using String25 = FixedString<25>;
using String9 = FixedString<9>;

// i16 values of a boolean field.
inline constexpr int16_t kTrue = -1;
inline constexpr int16_t kFalse = 0;

// Twips per screen pixel in both axes on this platform (a 96 dpi screen).
inline constexpr int kTwipsPerPixel = 15;

// Booleans are i16 (kTrue / kFalse), except the byte fields named as such.
// Colours are i32 0x00BBGGRR. Members appear in file order.
struct StartRecord {
  int16_t MainWidth = 0;
  int16_t MainHeight = 0;
  int16_t MainMaximized = 0;
  int16_t ImageMaximized = 0;
  String256 OpenFolder;
  String256 SaveFolder;
  int16_t SaveFlagA = 0;
  int16_t SaveAskOnClose = 0;
  int16_t SaveFlagC = 0;
  int16_t NewLayerMode = 0;
  std::array<String256, 8> RecentFiles{};
  int16_t ColorBoxShown = 0;
  int16_t TexturesBoxShown = 0;
  int16_t PasteBoxShown = 0;
  int16_t PanViewShown = 0;
  int16_t BrowserBoxShown = 0;
  int16_t OptimizeBoxShown = 0;
  int16_t LayerBoxShown = 0;
  int16_t HoverTool = 0;
  int16_t ResetRequested = 0;
  String256 AlbumSourceFolder;
  String256 AlbumTargetFolder;
  int32_t ColorBoxMode = 0;
  int32_t ForeColor = 0;
  int32_t BackColor = 0;
  std::array<int32_t, 16> CustomColors{};
  int16_t ShowTips = 0;
  String25 CurrentTool;
  int16_t SelectionMode = 0;
  int16_t SelectionShape = 0;
  int16_t SelectionPressure = 0;
  int16_t SelectionMoveContent = 0;
  int16_t BrushMode = 0;
  int16_t BrushSize = 0;
  int16_t BrushPressure = 0;
  int16_t BrushContinuous = 0;
  int16_t AirbrushSize = 0;
  int16_t AirbrushPressure = 0;
  int16_t AirbrushQuantity = 0;
  int16_t AirbrushDefinition = 0;
  int16_t FillMode = 0;
  int16_t FillTolerance = 0;
  int16_t FillPressure = 0;
  int16_t ShapeKind = 0;
  int16_t ShapePressure = 0;
  int16_t ShapeSides = 0;
  int32_t StampMaskColor = 0;
  int16_t StampUseMaskColor = 0;
  int16_t StampMask = 0;
  int16_t StampClearBack = 0;
  int16_t StampPressure = 0;
  String256 TextToolText;
  String256 TextToolFont;
  int16_t TextToolSize = 0;
  std::array<int16_t, 5> TextToolFlags{};  // carried
  std::array<int32_t, 3> GradientShape{};  // [2] is the gradient mode
  std::array<int32_t, 2> GradientColors{};
  int16_t GradientTransparent = 0;
  int16_t Reserved1 = 0;  // carried
  int16_t GradientPressure = 0;
  int16_t GradientFrequency = 0;
  std::array<int16_t, 8> ColorChannelFlags{};  // booleans
  std::array<int16_t, 4> Reserved2{};          // carried
  int16_t PasteBoxHistory = 0;
  int16_t PasteBoxPressure = 0;
  int16_t PasteBoxAction = 0;
  std::array<int16_t, 2> Reserved3{};  // carried
  int32_t ReservedLong = 0;            // carried
  int16_t Reserved4 = 0;               // carried
  std::array<int16_t, 2> Reserved5{};  // carried
  std::array<String9, 2> ColorTexts{};  // carried
  int16_t PasteBoxLeft = 0;
  int16_t PasteBoxTop = 0;
  int16_t PasteBoxWidth = 0;
  int16_t PasteBoxHeight = 0;
  int16_t PasteBoxRolled = 0;
  int16_t TexturesBoxLeft = 0;
  int16_t TexturesBoxTop = 0;
  int16_t TexturesBoxRolled = 0;
  int16_t ColorBoxLeft = 0;
  int16_t ColorBoxTop = 0;
  int16_t ColorBoxRolled = 0;
  int16_t PanViewLeft = 0;
  int16_t PanViewTop = 0;
  int16_t PanViewWidth = 0;
  int16_t PanViewHeight = 0;
  int16_t PanViewRolled = 0;
  int16_t BrowserBoxLeft = 0;
  int16_t BrowserBoxTop = 0;
  int16_t BrowserBoxWidth = 0;
  int16_t BrowserBoxHeight = 0;
  int16_t BrowserBoxRolled = 0;
  int16_t ThumbnailWidth = 0;
  int16_t ThumbnailHeight = 0;
  int16_t ThumbnailQuality = 0;  // 0 "Normal", 1 "Resample"
  int16_t ThumbnailBorder = 0;
  uint8_t ThumbnailShowFilename = 0;    // byte boolean
  uint8_t ThumbnailShowResolution = 0;  // byte boolean
  int32_t ThumbnailBackground = 0;
  String256 BrowserFolder;
  int16_t OptimizeBoxLeft = 0;
  int16_t OptimizeBoxTop = 0;
  int16_t OptimizeBoxRolled = 0;
  int16_t LayerBoxLeft = 0;
  int16_t LayerBoxTop = 0;
  int16_t LayerBoxWidth = 0;
  int16_t LayerBoxHeight = 0;
  int16_t LayerBoxRolled = 0;
  std::array<int16_t, 3> ReservedGeometry{};  // carried
  int32_t WebWindowWidth = 0;
  int32_t WebWindowHeight = 0;
  String256 WebFolder;
  int16_t WebTab = 0;
  int16_t WebFormat = 0;
  int16_t WebQuality = 0;
  String256 ConvertName;
  String256 ConvertSourceFolder;
  String256 ConvertTargetFolder;
  int16_t ConvertFormat = 0;
  uint8_t ConvertOverwrite = 0;  // byte boolean
  int16_t ConvertMode = 0;
  int32_t ConvertWindowWidth = 0;
  int32_t ConvertWindowHeight = 0;
  std::array<int32_t, 5> ConvertSplit{};
  String256 ConvertListFile;
  uint8_t ConvertFlag = 0;  // byte boolean
  int16_t ConvertQuality = 0;
  String256 BatchName;
  String256 BatchSourceFolder;
  String256 BatchTargetFolder;
  String256 BatchListFile;
  int16_t BatchFormat = 0;
  uint8_t BatchOverwrite = 0;  // byte boolean
  int16_t BatchMode = 0;
  int32_t BatchWindowWidth = 0;
  int32_t BatchWindowHeight = 0;
  std::array<int32_t, 5> BatchSplit{};
  uint8_t BatchFlag = 0;  // byte boolean

  bool operator==(const StartRecord&) const = default;
};

// ---- The field table ------------------------------------------------------

enum class StartFieldType : uint8_t {
  I16,       // int16_t
  Bool,      // int16_t, 0 / -1
  I32,       // int32_t
  Colour,    // int32_t, 0x00BBGGRR
  ByteBool,  // uint8_t, 0 / 1
  String,    // FixedString<elementSize>
};

struct StartRecordField {
  const char* name;
  StartFieldType type;
  int count;        // 1 for a plain field, else the array length
  int elementSize;  // bytes in the file per element
  // Address of the member's first element; the elements follow each other
  // elementSize bytes apart.
  void* (*address)(StartRecord&);
};

// Every field in file order.
std::span<const StartRecordField> StartRecordFields();

// Bytes of the record in the file (the sum over the field table).
size_t StartRecordSize();

// Offset in the file of the field of that name; SIZE_MAX for an unknown name.
size_t StartRecordFieldOffset(std::string_view name);

// ---- Bytes ------------------------------------------------------------------

// The record as the file holds it: exactly StartRecordSize() bytes.
ByteVector SerializeStartRecord(const StartRecord& rec);

// Fills rec from up to StartRecordSize() bytes; fields past the end of the
// data are zero. Never fails.
void ParseStartRecord(const uint8_t* data, size_t size, StartRecord& rec);
inline void ParseStartRecord(const ByteVector& bytes, StartRecord& rec) {
  ParseStartRecord(bytes.data(), bytes.size(), rec);
}

// One line per field element in file order: ("MainWidth", "9600"),
// ("MainMaximized", "true"), ("ForeColor", "0x00FFFFFF"),
// ("OpenFolder", "\"/opt/kelvane/Images/\""), ("RecentFiles(0)", "\"\"").
std::vector<std::pair<std::string, std::string>> DescribeStartRecord(const StartRecord& rec);

// ---- Defaults ---------------------------------------------------------------

// Assigns every first-start value. Folder fields are built from appFolder
// without a trailing slash: OpenFolder is appFolder + "/Images/", a folder
// that is the application folder alone is just appFolder.
void SetDefaults(StartRecord& rec, const std::filesystem::path& appFolder);
StartRecord DefaultStartRecord(const std::filesystem::path& appFolder);

// ---- The settings file --------------------------------------------------------

// The counter of document loads that the document window compares; it is no
// part of the record. LoadStartRecord sets it to -1.
extern int32_t RunCounter;

// Reads the settings file of appFolder into rec:
//  1. a missing file means the defaults are assigned after the read;
//  2. the file is opened read/write, which creates an empty file when it is
//     missing (read-only when it cannot be written);
//  3. the read fills as much as the file holds, the rest is zero; no size
//     check is made, a short file is not an error.
// Then RunCounter becomes -1. Returns true when the file existed (no
// defaults were assigned).
bool LoadStartRecord(const std::filesystem::path& appFolder, StartRecord& rec);

// Writes the record whole over the start of the settings file, creating it if
// needed; a longer file keeps its tail. False when the file cannot be written.
bool SaveStartRecord(const std::filesystem::path& appFolder, const StartRecord& rec);

// Records path in RecentFiles. A name already listed keeps its place; while a
// slot is empty (256 blanks) the name goes to the first empty slot; once all
// eight hold other names, slots 0..6 move down to 1..7, slot 7 is dropped and
// the name goes to slot 0.
void AddRecentFile(StartRecord& rec, std::string_view path);

}  // namespace kelvane
