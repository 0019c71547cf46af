// The direct filter command words: each word names one engine method and its
// preset arguments, and runs in the three-step pattern of the engine (the
// caller gives Bits and region, the method returns a new array, the array
// goes back with Bits (set) before the next word).
//
// Contract:
//  - Words are matched exactly (upper case, as the menus produce them). An
//    unknown word does nothing and is reported as unknown; it is not an error.
//  - Methods are called by name through the catalogue with the words of the
//    row. Preset words of another type than the parameter are converted as
//    the engine's implicit conversions would: "2.5" for an integer rounds to
//    2 (ties to even) and the colour 255255255 keeps its three low bytes (red
//    215, green 226, blue 54). See CallFilterByName.
//  - A known word whose method is missing from the catalogue, or refuses the
//    words, fails with a message and leaves the engine's array as it was.
//  - Words that open the filter dialog are listed with their filter index;
//    they are not direct filter words.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/bits.h"
#include "filters/bit_filter.h"

namespace kelvane {

struct FilterCommand {
  std::string word;
  std::string method;
  std::vector<std::string> arguments;
};

// Every direct filter word, the flips included.
const std::vector<FilterCommand>& FilterCommands();
const FilterCommand* FindFilterCommand(std::string_view word);

// Words that open the filter dialog, with its filter index.
struct DialogCommand {
  std::string word;
  int32_t index;
};
const std::vector<DialogCommand>& FilterDialogCommands();
// The filter index a word opens the dialog with, or -1.
int32_t FilterDialogIndex(std::string_view word);

enum class CommandStatus { Done, UnknownWord, Failed };

struct CommandOutcome {
  CommandStatus status = CommandStatus::UnknownWord;
  Bits pixels;        // the new array, when Done
  std::string error;  // why a known word failed
};

// Runs one word on the engine as the caller set it up (Bits and region). The
// engine's array is left as it was; the result is in the outcome.
CommandOutcome RunFilterCommand(cBitFilter& engine, std::string_view word);

// The words of a comma-separated list, blanks around each word removed;
// empty items are dropped.
std::vector<std::string> SplitCommandWords(std::string_view list);

struct CommandListOutcome {
  std::vector<std::string> ran;           // known words that ran, in order
  std::vector<std::string> unknownWords;  // words that did nothing
  std::string failedWord;                 // the word that failed, if one did
  std::string error;
  bool Ok() const { return failedWord.empty(); }
};

// Runs the words in order, each on the previous word's array: after every
// known word the engine takes the result with Bits (set), so the final
// picture is the engine's array. Unknown words are skipped; the first word
// that fails stops the list.
CommandListOutcome RunFilterCommandList(cBitFilter& engine, std::string_view list);

}  // namespace kelvane
