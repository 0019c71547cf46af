#include "filters/user_filter.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

#include "base/numeric.h"
#include "filters/filter_catalogue.h"
#include "shell/app_folder.h"

namespace kelvane {

namespace {

constexpr int16_t kMaskDimensions = 2;
constexpr size_t kHeaderSize = 18;

bool IsFileMaskSize(int32_t n) { return n == 3 || n == 5; }

bool IsSquare(const FilterMask& mask) {
  return mask.size > 0 && mask.weights.size() == static_cast<size_t>(mask.size) * static_cast<size_t>(mask.size);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::string_view BasedCaption(int32_t position) {
  if (position == 0) return "<None>";
  if (position < 0 || position >= kBasedCount) return {};
  return kStockMasks[static_cast<size_t>(position - 1)].Name;
}

// --- file ---------------------------------------------------------------------

bool EncodeUserFilter(const UserFilterRecord& record, ByteVector& out) {
  const FilterMask& mask = record.Mask;
  if (!IsSquare(mask) || !IsFileMaskSize(mask.size)) return false;
  const int32_t n = mask.size;
  ByteVector bytes;
  bytes.reserve(UserFilterFileSize(n));
  PutI16(bytes, kMaskDimensions);
  for (int d = 0; d < 2; ++d) {
    PutI32(bytes, n);
    PutI32(bytes, 0);
  }
  // The first index (the row) runs fastest.
  for (int32_t c = 0; c < n; ++c)
    for (int32_t r = 0; r < n; ++r) PutI32(bytes, mask.At(r, c));
  PutI32(bytes, record.Divisor);
  PutI32(bytes, record.AddRed);
  PutI32(bytes, record.AddGreen);
  PutI32(bytes, record.AddBlue);
  out = std::move(bytes);
  return true;
}

bool DecodeUserFilter(const uint8_t* data, size_t size, UserFilterRecord& record) {
  if (!data || size < kHeaderSize) return false;
  ByteReader in(data, size);
  if (in.I16() != kMaskDimensions) return false;
  const int32_t rows = in.I32();
  const int32_t rowBase = in.I32();
  const int32_t columns = in.I32();
  const int32_t columnBase = in.I32();
  if (rows != columns || !IsFileMaskSize(rows) || rowBase != 0 || columnBase != 0) return false;
  const int32_t n = rows;
  if (size < UserFilterFileSize(n)) return false;
  UserFilterRecord loaded;
  loaded.Mask.size = n;
  loaded.Mask.weights.assign(static_cast<size_t>(n) * static_cast<size_t>(n), 0);
  for (int32_t c = 0; c < n; ++c)
    for (int32_t r = 0; r < n; ++r) loaded.Mask.weights[static_cast<size_t>(r * n + c)] = in.I32();
  loaded.Divisor = in.I32();
  loaded.AddRed = in.I32();
  loaded.AddGreen = in.I32();
  loaded.AddBlue = in.I32();
  record = std::move(loaded);
  return true;
}

bool LoadUserFilter(const std::filesystem::path& path, UserFilterRecord& record) {
  // A record is at most the size of a 5 by 5 one; whatever follows it is
  // never read, so a huge or endless file costs no more than a real one.
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return false;
  uint8_t bytes[UserFilterFileSize(5)];
  const size_t size = std::fread(bytes, 1, sizeof bytes, f);
  const bool failed = std::ferror(f) != 0;
  std::fclose(f);
  if (failed) return false;
  return DecodeUserFilter(bytes, size, record);
}

bool SaveUserFilter(const std::filesystem::path& path, const UserFilterRecord& record) {
  ByteVector bytes;
  if (!EncodeUserFilter(record, bytes)) return false;
  return OverwriteFileStart(path, bytes);
}

std::filesystem::path UserFilterFolder(const std::filesystem::path& appFolder) {
  return AppSubfolderPath(appFolder, AppSubfolder::Filters);
}

// --- values -------------------------------------------------------------------

double TextAsNumber(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  const size_t start = i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t digits = 0;
  while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  }
  if (digits == 0) return 0;
  // An exponent counts only when at least one digit follows it.
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    if (j < text.size() && IsDigit(text[j])) {
      while (j < text.size() && IsDigit(text[j])) ++j;
      i = j;
    }
  }
  // The piece is a plain decimal number by construction, so strtod reads all
  // of it and nothing else (no "inf", no hexadecimal).
  const std::string piece(text.substr(start, i - start));
  return std::strtod(piece.c_str(), nullptr);
}

int32_t TextAsInteger(std::string_view text) {
  const double r = RoundHalfEven(TextAsNumber(text));
  if (r >= static_cast<double>(std::numeric_limits<int32_t>::max())) return std::numeric_limits<int32_t>::max();
  if (r <= static_cast<double>(std::numeric_limits<int32_t>::min())) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(r);
}

// --- applying -----------------------------------------------------------------

std::optional<Bits> ApplyUserFilter(cBitFilter& engine, const Bits& bits, const RectRegion* region,
                                    const UserFilterRecord& record, bool keepMargins) {
  if (record.Divisor == 0 || !IsSquare(record.Mask)) return std::nullopt;
  const FilterMethod* method = FindFilterMethod("MaskFilter");
  if (!method || method->params.size() != 6 || method->params[0].kind != ParamKind::Mask) return std::nullopt;

  std::vector<ArgValue> values;
  values.emplace_back(record.Mask);
  const int32_t numbers[] = {record.Divisor, record.AddRed, record.AddGreen, record.AddBlue, keepMargins ? 1 : 0};
  for (size_t i = 0; i < 5; ++i) {
    std::optional<ArgValue> v = NumberAs(method->params[i + 1].kind, numbers[i]);
    if (!v) return std::nullopt;
    values.push_back(std::move(*v));
  }

  engine.SetBits(bits);
  engine.BitsRegion(region);
  MethodResult result = InvokeMethod(engine, *method, values);
  if (result.pixels) return std::move(*result.pixels);
  return engine.GetBits();
}

// --- the dialog ---------------------------------------------------------------

void UserFilterDialog::ClearFilter() {
  for (std::string& cell : txtM) cell.clear();
}

void UserFilterDialog::ShowFilter(const UserFilterRecord& record) {
  ClearFilter();
  const FilterMask& mask = record.Mask;
  if (IsSquare(mask)) {
    const int32_t upper = mask.size - 1;
    const int32_t off = (4 - upper) / 2;  // integer division truncates, as trunc does
    for (int32_t r = 0; r <= upper; ++r)
      for (int32_t c = 0; c <= upper; ++c) {
        const int32_t row = r + off, column = c + off;
        if (row < 0 || row >= kGridSide || column < 0 || column >= kGridSide) continue;
        txtM[static_cast<size_t>(row * kGridSide + column)] = std::to_string(mask.At(r, c));
      }
  }
  txtWeight = std::to_string(record.Divisor);
  txtAdd[0] = std::to_string(record.AddRed);
  txtAdd[1] = std::to_string(record.AddGreen);
  txtAdd[2] = std::to_string(record.AddBlue);
}

bool UserFilterDialog::ReadFilter(UserFilterRecord& record) {
  bool blank = true;
  bool large = false;
  for (int row = 0; row < kGridSide; ++row)
    for (int column = 0; column < kGridSide; ++column) {
      if (TextAsNumber(txtM[static_cast<size_t>(row * kGridSide + column)]) == 0) continue;
      blank = false;
      if (row == 0 || row == kGridSide - 1 || column == 0 || column == kGridSide - 1) large = true;
    }
  if (blank) {
    Message(kBlankMaskMessage);
    return false;
  }
  const int32_t n = large ? 5 : 3;
  const int32_t off = large ? 0 : 1;
  UserFilterRecord read;
  read.Mask.size = n;
  read.Mask.weights.resize(static_cast<size_t>(n) * static_cast<size_t>(n));
  for (int32_t r = 0; r < n; ++r)
    for (int32_t c = 0; c < n; ++c)
      read.Mask.weights[static_cast<size_t>(r * n + c)] =
          TextAsInteger(txtM[static_cast<size_t>((r + off) * kGridSide + c + off)]);
  auto add = [](const std::string& text) {
    const int32_t v = TextAsInteger(text);
    return v < kAddMinimum ? kAddMinimum : (v > kAddMaximum ? kAddMaximum : v);
  };
  read.Divisor = TextAsInteger(txtWeight);
  read.AddRed = add(txtAdd[0]);
  read.AddGreen = add(txtAdd[1]);
  read.AddBlue = add(txtAdd[2]);
  record = std::move(read);
  return true;
}

int32_t UserFilterDialog::AutoWeight() const {
  int64_t sum = 0;
  for (const std::string& cell : txtM) sum += TextAsInteger(cell);
  if (sum == 0) return 1;
  if (sum > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
  if (sum < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(sum);
}

void UserFilterDialog::SetCell(int index, std::string text) {
  if (index < 0 || index >= kCellCount) return;
  txtM[static_cast<size_t>(index)] = std::move(text);
  if (chkAuto) txtWeight = std::to_string(AutoWeight());
}

void UserFilterDialog::SetAuto(bool on) {
  chkAuto = on;
  if (chkAuto) txtWeight = std::to_string(AutoWeight());
}

void UserFilterDialog::StepAdd(int channel, int32_t delta) {
  if (channel < 0 || channel > 2) return;
  const int64_t v = static_cast<int64_t>(TextAsInteger(txtAdd[static_cast<size_t>(channel)])) + delta;
  const int64_t held = v < kAddMinimum ? kAddMinimum : (v > kAddMaximum ? kAddMaximum : v);
  txtAdd[static_cast<size_t>(channel)] = std::to_string(held);
}

void UserFilterDialog::ChooseBased(int32_t position) {
  if (position < 0 || position >= kBasedCount) return;
  cbBased = position;
  if (position == 0) return;
  ShowFilter(GetMask(position - 1));
}

bool UserFilterDialog::LoadFilter(const std::filesystem::path& path) {
  UserFilterRecord record;
  if (!LoadUserFilter(path, record)) return false;
  ShowFilter(record);
  return true;
}

bool UserFilterDialog::SaveFilter(const std::filesystem::path& path) {
  UserFilterRecord record;
  if (!ReadFilter(record)) return false;
  return SaveUserFilter(path, record);
}

std::optional<Bits> UserFilterDialog::Apply(cBitFilter& engine, const Bits& documentBits,
                                            const RectRegion* documentRegion) {
  UserFilterRecord record;
  if (!ReadFilter(record)) return std::nullopt;
  if (record.Divisor == 0) {
    Message(kZeroWeightMessage);
    return std::nullopt;
  }
  return ApplyUserFilter(engine, documentBits, documentRegion, record, chkKeepMargins);
}

}  // namespace kelvane
