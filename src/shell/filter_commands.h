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
//  - The zoom and rotation words act on the document window (ZoomFactor,
//    ZoomImage, RotateImage) and are kept in a table of their own. A list run
//    carries out ZoomImage on the picture as the document does: the new size
//    is width / factor and height / factor rounded (ties to even), or factor
//    times the size when enlarging; BitsResample with quality, BitsResize
//    without; the selection is reset to the whole new picture, and no undo
//    state is taken. A second zoom first puts back the picture of the last
//    undo state (the opened picture, or the result of the last filter word),
//    so zooms do not compound. A zoom that would give a side below 1 leaves
//    the picture alone. ZoomFactor changes only the view, so on a picture it
//    does nothing; RotateImage needs the document window and is not run.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/bits.h"
#include "document/rect_region.h"
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

// Zoom and rotation words: each is one or more calls on the document window,
// with the arguments in the order of the target's parameters: ZoomFactor
// (factor), ZoomImage (factor, enlarge, quality), RotateImage (degrees,
// antialias).
struct DocumentCall {
  std::string target;
  std::vector<std::string> arguments;
};
struct DocumentCommand {
  std::string word;
  std::vector<DocumentCall> calls;
};
const std::vector<DocumentCommand>& DocumentCommands();
const DocumentCommand* FindDocumentCommand(std::string_view word);

// ZoomImage's new size for a picture of width by height: width / factor and
// height / factor rounded to the nearest, ties to even, or factor times each
// side when enlarging.
void ZoomImageSize(int32_t width, int32_t height, int32_t factor, bool enlarge, int32_t& newWidth,
                   int32_t& newHeight);

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
  std::vector<std::string> windowWords;   // rotation words: they need the document window
  std::string failedWord;                 // the word that failed, if one did
  std::string error;
  bool Ok() const { return failedWord.empty(); }
};

// A picture run through command words as the editor's document would be:
// the engine as the caller set it up (Bits and region) holds the picture,
// which is the first undo state. Filter words go through the engine and each
// result is taken back with Bits (set) and becomes the new undo state; zoom
// words resize the picture (see the contract). After a zoom the engine's
// region is the document's own whole-picture region, which lives as long as
// this object: on destruction the engine is left with no region after a
// zoom, and with the caller's otherwise.
class CommandDocument {
 public:
  explicit CommandDocument(cBitFilter& engine);
  ~CommandDocument();
  CommandDocument(const CommandDocument&) = delete;
  CommandDocument& operator=(const CommandDocument&) = delete;

  // Runs the words in order. Unknown words are skipped; the first word that
  // fails stops the list.
  CommandListOutcome Run(std::string_view list);

  // ZoomImage on the picture (see the contract).
  void ZoomImage(int32_t factor, bool enlarge, bool quality);
  bool ZoomedOnce() const { return zoomedOnce_; }

 private:
  cBitFilter& engine_;
  Bits undoState_;
  bool zoomedOnce_ = false;
  RectRegion wholePicture_;
};

// CommandDocument(engine).Run(list): the final picture is the engine's array.
CommandListOutcome RunFilterCommandList(cBitFilter& engine, std::string_view list);

}  // namespace kelvane
