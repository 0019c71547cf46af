// DevIL, kept in one place. DevIL holds global state (the bound image, its
// error stack, its switches), is not thread-safe, and some of its readers
// crash on damaged and even on some sound files. So:
//
// Contract:
//  - The functions here run DevIL in the calling process and may only be
//    called inside a decoder process (decoder_process.h). Nothing of DevIL is
//    set up in, or survives into, the main process.
//  - Each call is ilInit, ilGenImages(1), ilBindImage, the load, the save and
//    ilDeleteImages, as one unit. Saving overwrites an existing file
//    (IL_FILE_OVERWRITE is switched on). ILU and ILUT are not used: nothing
//    here needs them, and ILUT would bring a windowing stack along.
//  - Loads pick the reader from the file's extension as ilLoadImage does;
//    a file without extension is recognised by its contents. For "raw" and
//    "dcx", whose readers DevIL has but does not find by extension, the
//    reader is named explicitly.
#pragma once

#include <filesystem>

namespace kelvane {

// DevIL's numbers for the formats the program writes and bridges through.
inline constexpr unsigned kDevILBmp = 0x420;  // IL_BMP
inline constexpr unsigned kDevILPcx = 0x428;  // IL_PCX
inline constexpr unsigned kDevILSgi = 0x42C;  // IL_SGI
inline constexpr unsigned kDevILRaw = 0x430;  // IL_RAW
inline constexpr unsigned kDevILPsd = 0x439;  // IL_PSD

// Loads `source` and, when that worked, saves it as `target` in DevIL format
// `type`. True when both the load and the save reported success.
bool DevILConvertFile(const std::filesystem::path& source, unsigned type, const std::filesystem::path& target);

}  // namespace kelvane
