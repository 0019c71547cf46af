#include "shell/filter_commands.h"

#include <algorithm>

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

CommandListOutcome RunFilterCommandList(cBitFilter& engine, std::string_view list) {
  CommandListOutcome outcome;
  for (const std::string& word : SplitCommandWords(list)) {
    CommandOutcome one = RunFilterCommand(engine, word);
    switch (one.status) {
      case CommandStatus::Done:
        engine.SetBits(std::move(one.pixels));
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

}  // namespace kelvane
