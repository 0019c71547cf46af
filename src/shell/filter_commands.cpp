#include "shell/filter_commands.h"

#include <algorithm>
#include <cstdlib>

#include "base/numeric.h"
#include "filters/filter_dialog_model.h"

namespace kelvane {

const std::vector<FilterCommand>& FilterCommands() {
  static const std::vector<FilterCommand> commands = {
      {"INVERT", "Invert", {}},
      {"GRAYSCALE", "GreyScale", {}},
      {"RELIEF", "RELIEF", {}},
      {"ERODE", "ERODE", {}},
      {"DILATE", "DILATE", {}},
      {"PAINTING", "PAINTING", {}},
      {"LIGHTSHARPEN", "SHARPEN", {"10"}},
      {"HEAVYSHARPEN", "SHARPEN", {"40"}},
      {"EDGEENHANCE", "EDGEENHANCE", {"10"}},
      {"ENHANCEWHITE", "RankFilterND", {"1"}},
      {"ENHANCEBLACK", "RankFilterND", {"0"}},
      {"LUMPLUS", "BRIGHTNESS", {"20"}},
      {"LUMMINUS", "BRIGHTNESS", {"80"}},
      {"BBRIGHTNESS", "BRIGHTNESS", {"40"}},
      {"LIGHTEMBOSS", "EMBOSS", {"10"}},
      {"HEAVYEMBOSS", "EMBOSS", {"30"}},
      // The colour stands as the decimal number 255255255, which is not white.
      {"LIGHTCONTOUR", "CONTOUR", {"200", "255255255"}},
      {"HEAVYCONTOUR", "CONTOUR", {"255", "255255255"}},
      {"LIGHTDIFFUSE", "DIFFUSE", {"5", "10"}},
      {"HEAVYDIFFUSE", "DIFFUSE", {"10", "30"}},
      {"LIGHTENGRAVE", "Engrave", {"10"}},
      {"HEAVYENGRAVE", "Engrave", {"30"}},
      {"LIGHTSOFTEN", "SOFTEN", {"30"}},
      {"HEAVYSOFTEN", "SOFTEN", {"80"}},
      {"LIGHTBLUR", "Blurs", {"1"}},
      // 2.5 reaches the whole-number range as 2, ties to even.
      {"HEAVYBLUR", "Blurs", {"2.5"}},
      {"LIGHTNOISE", "NOISE", {"20", "true"}},
      {"HEAVYNOISE", "NOISE", {"40", "true"}},
      {"LIGHTSATURATION", "SATURATION", {"10"}},
      {"HEAVYSATURATION", "SATURATION", {"20"}},
      {"WWAVES", "WAVES", {"30", "40", "0"}},
      {"AADDSCANLINES", "Scanlines", {"30"}},
      // The centre fractions stand as the whole number 50, as built: the
      // lens lies far outside the picture.
      {"FISHEYE", "LENS", {"50.0", "50.0", "60", "60"}},
      {"CURTAINHORIZONTAL", "GLASS", {"curtain", "1"}},
      {"CURTAINVERTICAL", "GLASS", {"curtain", "2"}},
      {"CURTAINCLASSY", "GLASS", {"curtain", "3"}},
      {"CURTAINWHITY", "GLASS", {"curtain", "4"}},
      {"SLANTING", "GLASS", {"slanting", "0"}},
      {"HORIZONTAL", "GLASS", {"horizontal", "0"}},
      {"VERTICAL", "GLASS", {"vertical", "0"}},
      {"SQUARY", "GLASS", {"squary", "0"}},
      {"THERMIQUE", "THERMIQUE", {}},
      {"XBLACK", "XBLACK", {}},
      {"PHOTOCOP", "PHOTOCOP", {}},
      {"OLDPHOTO", "OLDPHOTO", {}},
      {"EQUALIZE", "Equalize", {}},
      {"SEPIATONE", "COLORIZE", {"0.5", "0.25", "1.0"}},
      // Colour commands.
      {"SOFTBLUE", "ClassyColors", {"0"}},
      {"SOFTGREEN", "ClassyColors", {"1"}},
      {"PURPLE", "ClassyColors", {"2"}},
      {"SOFTRED", "ClassyColors", {"3"}},
      {"SPOTTED", "ClassyColors", {"6"}},
      {"RETRO", "ClassyColors", {"7"}},
      {"SOFTYELLOW", "ClassyColors", {"8"}},
      {"ORANGE", "ClassyColors", {"10"}},
      {"WETPAPER", "ClassyColors", {"11"}},
      {"HARDRED", "SpecialColors", {"true", "false", "false"}},
      {"HARDGREEN", "SpecialColors", {"false", "true", "false"}},
      {"HARDBLUE", "SpecialColors", {"false", "false", "true"}},
      {"HARDYELLOW", "SpecialColors", {"true", "true", "false"}},
      {"CYAN", "SpecialColors", {"false", "true", "true"}},
      {"MAGENTA", "SpecialColors", {"true", "false", "true"}},
      {"RGB2BRG", "SwapBanks", {"1"}},
      {"RGB2GBR", "SwapBanks", {"2"}},
      {"RGB2RBG", "SwapBanks", {"3"}},
      {"RGB2BGR", "SwapBanks", {"4"}},
      {"RGB2GRB", "SwapBanks", {"5"}},
      // The flips of the zoom and flip group.
      {"FLIPH", "Flip", {"true", "false"}},
      {"FLIPV", "Flip", {"false", "true"}},
  };
  return commands;
}

const FilterCommand* FindFilterCommand(std::string_view word) {
  const auto& all = FilterCommands();
  auto it = std::find_if(all.begin(), all.end(), [&](const FilterCommand& c) { return c.word == word; });
  return it == all.end() ? nullptr : &*it;
}

const std::vector<DialogCommand>& FilterDialogCommands() {
  static const std::vector<DialogCommand> commands = {
      {"COLORIZE", 0},         {"BRIGHTNESS", 1},     {"LIGHTCUSTOM", 1},      {"CONTRAST", 2},
      {"CUSTOMSATURATION", 3}, {"GAMMA", 4},          {"CUSTOMDIFFUSE", 5},    {"CUSTOMBLUR", 6},
      {"HAFTONE", 7},          {"PIXELIZE", 8},       {"CUSTOMEMBOSS", 9},     {"CUSTOMENGRAVE", 10},
      {"CUSTOMCONTOUR", 11},   {"SKETCH", 12},        {"ISOLATE", 14},         {"REDUCTION", 15},
      {"REPLACE", 16},         {"REPLACEHUESAT", 17}, {"REPLACELUMINOUS", 18}, {"CUSTOMSHARPEN", 19},
      {"CUSTOMSOFTEN", 20},    {"SHIFT", 21},         {"HUEROTATION", 22},     {"GREYROTATION", 23},
      {"HUESTRETCH", 24},      {"RGBLEVELS", 25},     {"RGBBANKS", 26},        {"LENS", 27},
      {"WAVES", 28},           {"BEND", 29},          {"FOLD", 30},            {"ROTATE", 31},
      {"STRETCH", 32},         {"TILE", 33},          {"TWIRL", 34},           {"ADDGRID", 35},
      {"LENSFLARE", 36},       {"CUSTOMNOISE", 37},   {"ADDNOISE", 37},        {"ADDSCANLINES", 38},
      {"CUSTOMGLASS", 39},     {"CUSTOMCURTAIN", 40},
  };
  return commands;
}

int32_t FilterDialogIndex(std::string_view word) {
  for (const DialogCommand& c : FilterDialogCommands()) {
    if (c.word == word) return c.index;
  }
  return -1;
}

const std::vector<DocumentCommand>& DocumentCommands() {
  auto zoomFactor = [](const char* word, const char* factor) {
    return DocumentCommand{word, {{"ZoomFactor", {factor}}}};
  };
  auto zoomImage = [](const char* word, std::vector<std::string> arguments) {
    return DocumentCommand{word, {{"ZoomImage", std::move(arguments)}}};
  };
  auto rotate = [](const char* word, const char* degrees, const char* antialias) {
    return DocumentCommand{word, {{"RotateImage", {degrees, antialias}}}};
  };
  static const std::vector<DocumentCommand> commands = {
      zoomFactor("200", "2"), zoomFactor("300", "3"), zoomFactor("400", "4"),
      zoomFactor("500", "5"), zoomFactor("600", "6"), zoomFactor("700", "7"),
      // "15" divides by 7 and "10" by 9, as the menu has always done.
      zoomImage("50", {"2", "false", "false"}), zoomImage("33", {"3", "false", "false"}),
      zoomImage("25", {"4", "false", "false"}), zoomImage("20", {"5", "false", "false"}),
      zoomImage("15", {"7", "false", "false"}), zoomImage("10", {"9", "false", "false"}),
      DocumentCommand{"ORIGINAL", {{"ZoomFactor", {"1"}}, {"ZoomImage", {"1", "false", "false"}}}},
      zoomImage("2x", {"2", "true", "true"}), zoomImage("3x", {"3", "true", "true"}),
      zoomImage("4x", {"4", "true", "true"}), zoomImage("5x", {"5", "true", "true"}),
      zoomImage("x2", {"2", "false", "true"}), zoomImage("x3", {"3", "false", "true"}),
      zoomImage("x4", {"4", "false", "true"}), zoomImage("x5", {"5", "false", "true"}),
      // N270 turns by +90 while A270 turns by -90 like A90.
      rotate("N90", "-90", "false"), rotate("N180", "-180", "false"),
      rotate("N270", "90", "false"), rotate("N45", "-45", "false"),
      rotate("A90", "-90", "true"), rotate("A180", "-180", "true"),
      rotate("A270", "-90", "true"), rotate("A45", "-45", "true"),
  };
  return commands;
}

const DocumentCommand* FindDocumentCommand(std::string_view word) {
  const auto& all = DocumentCommands();
  auto it = std::find_if(all.begin(), all.end(), [&](const DocumentCommand& c) { return c.word == word; });
  return it == all.end() ? nullptr : &*it;
}

void ZoomImageSize(int32_t width, int32_t height, int32_t factor, bool enlarge, int32_t& newWidth,
                   int32_t& newHeight) {
  if (enlarge) {
    newWidth = width * factor;
    newHeight = height * factor;
  } else {
    newWidth = Round(static_cast<double>(width) / factor);
    newHeight = Round(static_cast<double>(height) / factor);
  }
}

CommandOutcome RunFilterCommand(cBitFilter& engine, std::string_view word) {
  CommandOutcome outcome;
  const FilterCommand* command = FindFilterCommand(word);
  if (!command) return outcome;  // an unknown word does nothing
  std::string error;
  if (CallFilterByName(engine, command->method, command->arguments, outcome.pixels, error)) {
    outcome.status = CommandStatus::Done;
  } else {
    outcome.status = CommandStatus::Failed;
    outcome.error = std::string(word) + ": " + error;
  }
  return outcome;
}

std::vector<std::string> SplitCommandWords(std::string_view list) {
  std::vector<std::string> words;
  size_t start = 0;
  while (start <= list.size()) {
    size_t end = list.find(',', start);
    if (end == std::string_view::npos) end = list.size();
    std::string_view w = list.substr(start, end - start);
    while (!w.empty() && (w.front() == ' ' || w.front() == '\t')) w.remove_prefix(1);
    while (!w.empty() && (w.back() == ' ' || w.back() == '\t')) w.remove_suffix(1);
    if (!w.empty()) words.emplace_back(w);
    start = end + 1;
  }
  return words;
}

CommandDocument::CommandDocument(cBitFilter& engine)
    : engine_(engine), undoState_(engine.GetBits()) {}

CommandDocument::~CommandDocument() {
  // The whole-picture region of a zoomed picture dies with this object.
  if (engine_.BitsRegionHandle() == &wholePicture_) engine_.BitsRegion(nullptr);
}

void CommandDocument::ZoomImage(int32_t factor, bool enlarge, bool quality) {
  // A second zoom starts again from the last undo state: zooming is a view
  // of that state, never a new one.
  Bits source = zoomedOnce_ ? undoState_ : engine_.GetBits();
  zoomedOnce_ = true;
  int32_t newWidth = 0, newHeight = 0;
  ZoomImageSize(source.Width(), source.Height(), factor, enlarge, newWidth, newHeight);
  if (newWidth < 1 || newHeight < 1) {
    // The blank document of that size is refused; the picture stays.
    engine_.SetBits(std::move(source));
  } else if (quality) {
    engine_.BitsResample(source, newWidth, newHeight);
  } else {
    engine_.BitsResize(source, newWidth, newHeight);
  }
  // The region starts again as the whole (new) picture.
  wholePicture_ = RectRegion::FromRect(0, 0, engine_.BitsWidth(), engine_.BitsHeight());
  engine_.BitsRegion(&wholePicture_);
}

CommandListOutcome CommandDocument::Run(std::string_view list) {
  CommandListOutcome outcome;
  for (const std::string& word : SplitCommandWords(list)) {
    if (const DocumentCommand* command = FindDocumentCommand(word)) {
      bool needsWindow = false;
      for (const DocumentCall& call : command->calls) {
        if (call.target == "ZoomImage") {
          const int32_t factor = std::atoi(call.arguments[0].c_str());
          const bool enlarge = call.arguments.size() > 1 && call.arguments[1] == "true";
          const bool quality = call.arguments.size() > 2 && call.arguments[2] == "true";
          ZoomImage(factor, enlarge, quality);
        } else if (call.target == "RotateImage") {
          needsWindow = true;
        }
        // ZoomFactor is the view's magnification: the pixels stay.
      }
      (needsWindow ? outcome.windowWords : outcome.ran).push_back(word);
      continue;
    }
    CommandOutcome one = RunFilterCommand(engine_, word);
    switch (one.status) {
      case CommandStatus::Done:
        engine_.SetBits(std::move(one.pixels));
        // Update with undo: the result is the document's new state.
        undoState_ = engine_.GetBits();
        outcome.ran.push_back(word);
        break;
      case CommandStatus::UnknownWord:
        outcome.unknownWords.push_back(word);
        break;
      case CommandStatus::Failed:
        outcome.failedWord = word;
        outcome.error = one.error;
        return outcome;
    }
  }
  return outcome;
}

CommandListOutcome RunFilterCommandList(cBitFilter& engine, std::string_view list) {
  CommandDocument document(engine);
  return document.Run(list);
}

}  // namespace kelvane
