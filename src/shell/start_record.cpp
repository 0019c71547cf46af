#include "shell/start_record.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>

#include "shell/app_folder.h"

namespace kelvane {

namespace fs = std::filesystem;

int32_t RunCounter = 0;

namespace {

// ---- Building table rows that are checked against the struct ----------------

template <class M>
struct MemberShape {
  using Element = M;
  static constexpr int kCount = 1;
};
template <class E, size_t K>
struct MemberShape<std::array<E, K>> {
  using Element = E;
  static constexpr int kCount = static_cast<int>(K);
};

template <class E>
struct IsFixedString : std::false_type {};
template <size_t N>
struct IsFixedString<FixedString<N>> : std::true_type {};

template <StartFieldType T, class E>
constexpr bool ElementMatches() {
  switch (T) {
    case StartFieldType::I16:
    case StartFieldType::Bool: return std::is_same_v<E, int16_t>;
    case StartFieldType::I32:
    case StartFieldType::Colour: return std::is_same_v<E, int32_t>;
    case StartFieldType::ByteBool: return std::is_same_v<E, uint8_t>;
    case StartFieldType::String: return IsFixedString<E>::value;
  }
  return false;
}

template <auto Member>
void* AddressOf(StartRecord& rec) {
  return &(rec.*Member);
}

template <StartFieldType T, int Count, auto Member>
constexpr StartRecordField MakeField(const char* name) {
  using M = std::remove_cvref_t<decltype(std::declval<StartRecord&>().*Member)>;
  using E = typename MemberShape<M>::Element;
  static_assert(MemberShape<M>::kCount == Count, "table count differs from the member");
  static_assert(ElementMatches<T, E>(), "table type differs from the member");
  // Elements are stepped through by elementSize, so they must be packed.
  static_assert(sizeof(M) == sizeof(E) * Count, "array elements are not packed");
  return {name, T, Count, static_cast<int>(sizeof(E)), &AddressOf<Member>};
}

#define KV_FIELD(type, count, member) \
  MakeField<StartFieldType::type, count, &StartRecord::member>(#member)

constexpr StartRecordField kFields[] = {
    KV_FIELD(I16, 1, MainWidth),
    KV_FIELD(I16, 1, MainHeight),
    KV_FIELD(Bool, 1, MainMaximized),
    KV_FIELD(Bool, 1, ImageMaximized),
    KV_FIELD(String, 1, OpenFolder),
    KV_FIELD(String, 1, SaveFolder),
    KV_FIELD(Bool, 1, SaveFlagA),
    KV_FIELD(Bool, 1, SaveAskOnClose),
    KV_FIELD(Bool, 1, SaveFlagC),
    KV_FIELD(I16, 1, NewLayerMode),
    KV_FIELD(String, 8, RecentFiles),
    KV_FIELD(Bool, 1, ColorBoxShown),
    KV_FIELD(Bool, 1, TexturesBoxShown),
    KV_FIELD(Bool, 1, PasteBoxShown),
    KV_FIELD(Bool, 1, PanViewShown),
    KV_FIELD(Bool, 1, BrowserBoxShown),
    KV_FIELD(Bool, 1, OptimizeBoxShown),
    KV_FIELD(Bool, 1, LayerBoxShown),
    KV_FIELD(Bool, 1, HoverTool),
    KV_FIELD(Bool, 1, ResetRequested),
    KV_FIELD(String, 1, AlbumSourceFolder),
    KV_FIELD(String, 1, AlbumTargetFolder),
    KV_FIELD(I32, 1, ColorBoxMode),
    KV_FIELD(Colour, 1, ForeColor),
    KV_FIELD(Colour, 1, BackColor),
    KV_FIELD(Colour, 16, CustomColors),
    KV_FIELD(Bool, 1, ShowTips),
    KV_FIELD(String, 1, CurrentTool),
    KV_FIELD(I16, 1, SelectionMode),
    KV_FIELD(I16, 1, SelectionShape),
    KV_FIELD(I16, 1, SelectionPressure),
    KV_FIELD(Bool, 1, SelectionMoveContent),
    KV_FIELD(I16, 1, BrushMode),
    KV_FIELD(I16, 1, BrushSize),
    KV_FIELD(I16, 1, BrushPressure),
    KV_FIELD(Bool, 1, BrushContinuous),
    KV_FIELD(I16, 1, AirbrushSize),
    KV_FIELD(I16, 1, AirbrushPressure),
    KV_FIELD(I16, 1, AirbrushQuantity),
    KV_FIELD(I16, 1, AirbrushDefinition),
    KV_FIELD(I16, 1, FillMode),
    KV_FIELD(I16, 1, FillTolerance),
    KV_FIELD(I16, 1, FillPressure),
    KV_FIELD(I16, 1, ShapeKind),
    KV_FIELD(I16, 1, ShapePressure),
    KV_FIELD(I16, 1, ShapeSides),
    KV_FIELD(Colour, 1, StampMaskColor),
    KV_FIELD(Bool, 1, StampUseMaskColor),
    KV_FIELD(Bool, 1, StampMask),
    KV_FIELD(Bool, 1, StampClearBack),
    KV_FIELD(I16, 1, StampPressure),
    KV_FIELD(String, 1, TextToolText),
    KV_FIELD(String, 1, TextToolFont),
    KV_FIELD(I16, 1, TextToolSize),
    KV_FIELD(I16, 5, TextToolFlags),
    KV_FIELD(I32, 3, GradientShape),
    KV_FIELD(Colour, 2, GradientColors),
    KV_FIELD(Bool, 1, GradientTransparent),
    KV_FIELD(I16, 1, Reserved1),
    KV_FIELD(I16, 1, GradientPressure),
    KV_FIELD(I16, 1, GradientFrequency),
    KV_FIELD(Bool, 8, ColorChannelFlags),
    KV_FIELD(I16, 4, Reserved2),
    KV_FIELD(I16, 1, PasteBoxHistory),
    KV_FIELD(I16, 1, PasteBoxPressure),
    KV_FIELD(I16, 1, PasteBoxAction),
    KV_FIELD(I16, 2, Reserved3),
    KV_FIELD(I32, 1, ReservedLong),
    KV_FIELD(I16, 1, Reserved4),
    KV_FIELD(I16, 2, Reserved5),
    KV_FIELD(String, 2, ColorTexts),
    KV_FIELD(I16, 1, PasteBoxLeft),
    KV_FIELD(I16, 1, PasteBoxTop),
    KV_FIELD(I16, 1, PasteBoxWidth),
    KV_FIELD(I16, 1, PasteBoxHeight),
    KV_FIELD(Bool, 1, PasteBoxRolled),
    KV_FIELD(I16, 1, TexturesBoxLeft),
    KV_FIELD(I16, 1, TexturesBoxTop),
    KV_FIELD(Bool, 1, TexturesBoxRolled),
    KV_FIELD(I16, 1, ColorBoxLeft),
    KV_FIELD(I16, 1, ColorBoxTop),
    KV_FIELD(Bool, 1, ColorBoxRolled),
    KV_FIELD(I16, 1, PanViewLeft),
    KV_FIELD(I16, 1, PanViewTop),
    KV_FIELD(I16, 1, PanViewWidth),
    KV_FIELD(I16, 1, PanViewHeight),
    KV_FIELD(Bool, 1, PanViewRolled),
    KV_FIELD(I16, 1, BrowserBoxLeft),
    KV_FIELD(I16, 1, BrowserBoxTop),
    KV_FIELD(I16, 1, BrowserBoxWidth),
    KV_FIELD(I16, 1, BrowserBoxHeight),
    KV_FIELD(Bool, 1, BrowserBoxRolled),
    KV_FIELD(I16, 1, ThumbnailWidth),
    KV_FIELD(I16, 1, ThumbnailHeight),
    KV_FIELD(I16, 1, ThumbnailQuality),
    KV_FIELD(I16, 1, ThumbnailBorder),
    KV_FIELD(ByteBool, 1, ThumbnailShowFilename),
    KV_FIELD(ByteBool, 1, ThumbnailShowResolution),
    KV_FIELD(Colour, 1, ThumbnailBackground),
    KV_FIELD(String, 1, BrowserFolder),
    KV_FIELD(I16, 1, OptimizeBoxLeft),
    KV_FIELD(I16, 1, OptimizeBoxTop),
    KV_FIELD(Bool, 1, OptimizeBoxRolled),
    KV_FIELD(I16, 1, LayerBoxLeft),
    KV_FIELD(I16, 1, LayerBoxTop),
    KV_FIELD(I16, 1, LayerBoxWidth),
    KV_FIELD(I16, 1, LayerBoxHeight),
    KV_FIELD(Bool, 1, LayerBoxRolled),
    KV_FIELD(I16, 3, ReservedGeometry),
    KV_FIELD(I32, 1, WebWindowWidth),
    KV_FIELD(I32, 1, WebWindowHeight),
    KV_FIELD(String, 1, WebFolder),
    KV_FIELD(I16, 1, WebTab),
    KV_FIELD(I16, 1, WebFormat),
    KV_FIELD(I16, 1, WebQuality),
    KV_FIELD(String, 1, ConvertName),
    KV_FIELD(String, 1, ConvertSourceFolder),
    KV_FIELD(String, 1, ConvertTargetFolder),
    KV_FIELD(I16, 1, ConvertFormat),
    KV_FIELD(ByteBool, 1, ConvertOverwrite),
    KV_FIELD(I16, 1, ConvertMode),
    KV_FIELD(I32, 1, ConvertWindowWidth),
    KV_FIELD(I32, 1, ConvertWindowHeight),
    KV_FIELD(I32, 5, ConvertSplit),
    KV_FIELD(String, 1, ConvertListFile),
    KV_FIELD(ByteBool, 1, ConvertFlag),
    KV_FIELD(I16, 1, ConvertQuality),
    KV_FIELD(String, 1, BatchName),
    KV_FIELD(String, 1, BatchSourceFolder),
    KV_FIELD(String, 1, BatchTargetFolder),
    KV_FIELD(String, 1, BatchListFile),
    KV_FIELD(I16, 1, BatchFormat),
    KV_FIELD(ByteBool, 1, BatchOverwrite),
    KV_FIELD(I16, 1, BatchMode),
    KV_FIELD(I32, 1, BatchWindowWidth),
    KV_FIELD(I32, 1, BatchWindowHeight),
    KV_FIELD(I32, 5, BatchSplit),
    KV_FIELD(ByteBool, 1, BatchFlag),
};

#undef KV_FIELD

constexpr size_t SumOfFieldSizes() {
  size_t total = 0;
  for (const StartRecordField& f : kFields) total += static_cast<size_t>(f.count) * f.elementSize;
  return total;
}

// Pointer to element i of a field of rec.
char* ElementAt(const StartRecordField& f, StartRecord& rec, int i) {
  return static_cast<char*>(f.address(rec)) + static_cast<size_t>(i) * f.elementSize;
}

std::string ElementName(const StartRecordField& f, int i) {
  if (f.count == 1) return f.name;
  return std::string(f.name) + "(" + std::to_string(i) + ")";
}

// The text of a folder default: appFolder without a trailing slash, with the
// relative part behind it.
std::string FolderText(const fs::path& appFolder) {
  std::string s = appFolder.string();
  while (s.size() > 1 && s.back() == '/') s.pop_back();
  return s;
}
std::string BelowFolder(const fs::path& appFolder, std::string_view name) {
  std::string s = FolderText(appFolder);
  if (s == "/") s.clear();
  return s + "/" + std::string(name) + "/";
}

}  // namespace

std::span<const StartRecordField> StartRecordFields() { return kFields; }

size_t StartRecordSize() { return SumOfFieldSizes(); }

size_t StartRecordFieldOffset(std::string_view name) {
  size_t offset = 0;
  for (const StartRecordField& f : kFields) {
    if (name == f.name) return offset;
    offset += static_cast<size_t>(f.count) * f.elementSize;
  }
  return SIZE_MAX;
}

ByteVector SerializeStartRecord(const StartRecord& rec) {
  // The accessors take a mutable record; nothing is written through them here.
  StartRecord& r = const_cast<StartRecord&>(rec);
  ByteVector out;
  out.reserve(SumOfFieldSizes());
  for (const StartRecordField& f : kFields) {
    for (int i = 0; i < f.count; ++i) {
      const char* p = ElementAt(f, r, i);
      switch (f.type) {
        case StartFieldType::I16:
        case StartFieldType::Bool: PutI16(out, *reinterpret_cast<const int16_t*>(p)); break;
        case StartFieldType::I32:
        case StartFieldType::Colour: PutI32(out, *reinterpret_cast<const int32_t*>(p)); break;
        case StartFieldType::ByteBool: PutU8(out, *reinterpret_cast<const uint8_t*>(p)); break;
        case StartFieldType::String:
          out.insert(out.end(), reinterpret_cast<const uint8_t*>(p),
                     reinterpret_cast<const uint8_t*>(p) + f.elementSize);
          break;
      }
    }
  }
  return out;
}

void ParseStartRecord(const uint8_t* data, size_t size, StartRecord& rec) {
  rec = StartRecord{};
  ByteReader in(data, size);
  for (const StartRecordField& f : kFields) {
    for (int i = 0; i < f.count; ++i) {
      char* p = ElementAt(f, rec, i);
      switch (f.type) {
        case StartFieldType::I16:
        case StartFieldType::Bool: *reinterpret_cast<int16_t*>(p) = in.I16(); break;
        case StartFieldType::I32:
        case StartFieldType::Colour: *reinterpret_cast<int32_t*>(p) = in.I32(); break;
        case StartFieldType::ByteBool: *reinterpret_cast<uint8_t*>(p) = in.U8(); break;
        case StartFieldType::String:
          for (int k = 0; k < f.elementSize; ++k) p[k] = static_cast<char>(in.U8());
          break;
      }
    }
  }
}

std::vector<std::pair<std::string, std::string>> DescribeStartRecord(const StartRecord& rec) {
  StartRecord& r = const_cast<StartRecord&>(rec);
  std::vector<std::pair<std::string, std::string>> lines;
  for (const StartRecordField& f : kFields) {
    for (int i = 0; i < f.count; ++i) {
      const char* p = ElementAt(f, r, i);
      std::string value;
      switch (f.type) {
        case StartFieldType::I16: value = std::to_string(*reinterpret_cast<const int16_t*>(p)); break;
        case StartFieldType::I32: value = std::to_string(*reinterpret_cast<const int32_t*>(p)); break;
        case StartFieldType::Bool: value = *reinterpret_cast<const int16_t*>(p) ? "true" : "false"; break;
        case StartFieldType::ByteBool: value = *reinterpret_cast<const uint8_t*>(p) ? "true" : "false"; break;
        case StartFieldType::Colour: {
          char buf[16];
          std::snprintf(buf, sizeof buf, "0x%08X", static_cast<unsigned>(*reinterpret_cast<const uint32_t*>(p)));
          value = buf;
          break;
        }
        case StartFieldType::String: {
          // The same reading as FixedString::Get, for any width.
          size_t end = 0;
          while (end < static_cast<size_t>(f.elementSize) && p[end] != '\0') ++end;
          while (end > 0 && p[end - 1] == ' ') --end;
          value = "\"" + std::string(p, end) + "\"";
          break;
        }
      }
      lines.emplace_back(ElementName(f, i), std::move(value));
    }
  }
  return lines;
}

void SetDefaults(StartRecord& rec, const fs::path& appFolder) {
  rec = StartRecord{};
  const std::string app = FolderText(appFolder);
  const std::string images = BelowFolder(appFolder, AppSubfolderName(AppSubfolder::Images));
  // The web box's default is spelt in lower case, unlike the Images folder.
  const std::string webImages = BelowFolder(appFolder, "images");

  rec.MainWidth = 640 * kTwipsPerPixel;
  rec.MainHeight = 480 * kTwipsPerPixel;
  rec.MainMaximized = kTrue;
  rec.ImageMaximized = kFalse;
  rec.OpenFolder.Set(images);
  rec.SaveFolder.Set(images);
  rec.SaveFlagA = kTrue;
  rec.SaveAskOnClose = kTrue;
  rec.SaveFlagC = kTrue;
  rec.NewLayerMode = 1;
  for (String256& s : rec.RecentFiles) s.Set("");
  rec.ColorBoxShown = kTrue;
  rec.TexturesBoxShown = kTrue;
  rec.PasteBoxShown = kTrue;
  rec.PanViewShown = kTrue;
  rec.BrowserBoxShown = kTrue;
  rec.OptimizeBoxShown = kTrue;
  rec.LayerBoxShown = kTrue;
  rec.HoverTool = kFalse;
  rec.ResetRequested = kFalse;
  rec.AlbumSourceFolder.Set(app);
  rec.AlbumTargetFolder.Set(app);
  rec.ColorBoxMode = 0;
  rec.ForeColor = 0xFFFFFF;
  rec.BackColor = 0;
  for (int i = 0; i < 16; ++i) rec.CustomColors[i] = (17 * i) | (17 * i) << 8 | (17 * i) << 16;
  rec.ShowTips = kTrue;
  rec.CurrentTool.Set("");
  rec.SelectionMode = 2;
  rec.SelectionShape = 0;
  rec.SelectionPressure = 50;
  rec.SelectionMoveContent = kTrue;
  rec.BrushMode = 0;
  rec.BrushSize = 25;
  rec.BrushPressure = 25;
  rec.BrushContinuous = kTrue;
  rec.AirbrushSize = 75;
  rec.AirbrushPressure = 25;
  rec.AirbrushQuantity = 100;
  rec.AirbrushDefinition = 1;
  rec.FillMode = 0;
  rec.FillTolerance = 25;
  rec.FillPressure = 100;
  rec.ShapeKind = 0;
  rec.ShapePressure = 100;
  rec.ShapeSides = 3;
  rec.StampMaskColor = 0;
  rec.StampUseMaskColor = kFalse;
  rec.StampMask = kTrue;
  rec.StampClearBack = kFalse;
  rec.StampPressure = 50;
  rec.TextToolText.Set("1.0");
  rec.TextToolFont.Set("Arial");
  rec.TextToolSize = 20;
  rec.TextToolFlags = {-1, -1, 0, 2, 100};
  rec.GradientShape = {0, 0, 0};
  rec.GradientColors = {0xFFFFFF, 0};
  rec.GradientTransparent = kFalse;
  rec.Reserved1 = 0;
  rec.GradientPressure = 50;
  rec.GradientFrequency = 1;
  rec.ColorChannelFlags.fill(kTrue);
  rec.Reserved2 = {0, 0, 0, 0};
  rec.PasteBoxHistory = 10;
  rec.PasteBoxPressure = 80;
  rec.PasteBoxAction = 0;
  rec.Reserved3 = {0, 15};
  rec.ReservedLong = 0;
  rec.Reserved4 = 100;
  rec.Reserved5 = {90, 65};
  for (String9& s : rec.ColorTexts) s.Set("255255255");
  rec.PasteBoxLeft = 3600;
  rec.PasteBoxTop = 4650;
  rec.PasteBoxWidth = 3950;
  rec.PasteBoxHeight = 3180;
  rec.PasteBoxRolled = kFalse;
  rec.TexturesBoxLeft = 420;
  rec.TexturesBoxTop = 8640;
  rec.TexturesBoxRolled = kFalse;
  rec.ColorBoxLeft = 420;
  rec.ColorBoxTop = 1110;
  rec.ColorBoxRolled = kFalse;
  rec.PanViewLeft = 420;
  rec.PanViewTop = 6045;
  rec.PanViewWidth = 2600;
  rec.PanViewHeight = 3180;
  rec.PanViewRolled = kFalse;
  rec.BrowserBoxLeft = 6780;
  rec.BrowserBoxTop = 1100;
  rec.BrowserBoxWidth = 4800;
  rec.BrowserBoxHeight = 7000;
  rec.BrowserBoxRolled = kFalse;
  rec.ThumbnailWidth = 70;
  rec.ThumbnailHeight = 60;
  rec.ThumbnailQuality = 0;
  rec.ThumbnailBorder = 4;
  rec.ThumbnailShowFilename = 1;
  rec.ThumbnailShowResolution = 1;
  rec.ThumbnailBackground = 0xFFFFFF;
  rec.BrowserFolder.Set(images);
  rec.OptimizeBoxLeft = 420;
  rec.OptimizeBoxTop = 3615;
  rec.OptimizeBoxRolled = kFalse;
  rec.LayerBoxLeft = 3600;
  rec.LayerBoxTop = 1110;
  rec.LayerBoxWidth = 3540;
  rec.LayerBoxHeight = 3180;
  rec.LayerBoxRolled = kFalse;
  rec.ReservedGeometry = {3600, 8610, 0};
  rec.WebWindowWidth = 600;
  rec.WebWindowHeight = 450;
  rec.WebFolder.Set(webImages);
  rec.WebTab = 3;
  rec.WebFormat = 5;
  rec.WebQuality = 80;
  rec.ConvertName.Set("Sample");
  rec.ConvertSourceFolder.Set(app);
  rec.ConvertTargetFolder.Set(app);
  rec.ConvertFormat = 7;
  rec.ConvertOverwrite = 1;
  rec.ConvertMode = 0;
  rec.ConvertWindowWidth = 640 * kTwipsPerPixel;
  rec.ConvertWindowHeight = 480 * kTwipsPerPixel;
  rec.ConvertSplit = {30, 50, 75, 30, 50};
  rec.ConvertListFile.Set(app);
  rec.ConvertFlag = 1;
  rec.ConvertQuality = 60;
  rec.BatchName.Set("Sample");
  rec.BatchSourceFolder.Set(app);
  rec.BatchTargetFolder.Set(app);
  rec.BatchListFile.Set(app);
  rec.BatchFormat = 6;
  rec.BatchOverwrite = 1;
  rec.BatchMode = 0;
  rec.BatchWindowWidth = 640 * kTwipsPerPixel;
  rec.BatchWindowHeight = 480 * kTwipsPerPixel;
  // Not the order of ConvertSplit: the last two differ, and both stay so.
  rec.BatchSplit = {30, 50, 75, 50, 30};
  rec.BatchFlag = 1;
}

StartRecord DefaultStartRecord(const fs::path& appFolder) {
  StartRecord rec;
  SetDefaults(rec, appFolder);
  return rec;
}

bool LoadStartRecord(const fs::path& appFolder, StartRecord& rec) {
  const fs::path file = SettingsFilePath(appFolder);

  // Existence as a find-first on the name sees it: a folder of that name is
  // not the file. The original's "corrupted" branch for a zero-length name
  // cannot arise, as the name is a constant.
  std::error_code ec;
  const bool initialise = !fs::exists(file, ec) || fs::is_directory(file, ec);

  // A binary open creates the file when it is missing; fall back to reading
  // only when the file cannot be written.
  int fd = ::open(file.c_str(), O_RDWR | O_CREAT, 0644);
  if (fd < 0) fd = ::open(file.c_str(), O_RDONLY);
  ByteVector bytes;
  if (fd >= 0) {
    bytes.resize(StartRecordSize());
    size_t got = 0;
    while (got < bytes.size()) {
      const ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
      if (n <= 0) break;
      got += static_cast<size_t>(n);
    }
    bytes.resize(got);
    ::close(fd);
  }
  ParseStartRecord(bytes.data(), bytes.size(), rec);

  if (initialise) SetDefaults(rec, appFolder);
  RunCounter = -1;
  return !initialise;
}

bool SaveStartRecord(const fs::path& appFolder, const StartRecord& rec) {
  return OverwriteFileStart(SettingsFilePath(appFolder), SerializeStartRecord(rec));
}

void AddRecentFile(StartRecord& rec, std::string_view path) {
  for (String256& slot : rec.RecentFiles) {
    if (slot.Get() == path) return;
    if (slot.IsBlank()) {
      slot.Set(path);
      return;
    }
  }
  for (size_t i = rec.RecentFiles.size() - 1; i > 0; --i) rec.RecentFiles[i] = rec.RecentFiles[i - 1];
  rec.RecentFiles[0].Set(path);
}

}  // namespace kelvane
