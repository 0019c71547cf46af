// The menu bar of the main window as data: every command array with its
// elements' indexes, captions and what a click on each one runs. The windows
// build their menus from these tables; the click handler of the Application
// (MenuClick) routes by them. Nothing else types a menu caption.
//
// Contract:
//  - An array is named as its control array ("FILE", "EDIT", "FILTERS", ...)
//    or as its single menu item ("ORIGINAL", "mnuRestore", "RESET", ...).
//    Elements are listed in index order; a gap between two indexes is a
//    separator line, drawn where the missing index would stand.
//  - Each element names its route: a word for MenuExec or MenuStatic, a form
//    shown modally, a layer effect number (the array's base plus the index),
//    a side box of the VIEWS array, a recent-file slot, an address for the
//    browser, or one of the few elements with a body of their own ("Bump
//    Mapping...", "Restore Original", "Help").
//  - NeedsDocument: the click handler stops without an active document,
//    except for the arrays that need none (FILE, PRINTER, CAPTURE, WALLPAPER,
//    VIEWS, ABOUT, and the single items RESET and RF).
//  - The click handler stores the element's caption as the last command
//    caption, with "Replace " in front of it for the REPLACE array
//    (ActionCaption).
//  - ParentCaption is the caption of the submenu an array hangs in where the
//    menu bar fixes it ("&Deformations", "&Colors 1", "Colors 2", "Quality
//    Sizing"); empty elsewhere, where the window chooses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

enum class MenuRoute : uint8_t {
  MenuExec,         // Target is a command word for MenuExec
  MenuStatic,       // Target is a command word for MenuStatic
  ShowForm,         // Target is the form shown
  LayerEffect,      // Number is the ApplyLayerEffects number
  SideBox,          // Number is the VIEWS index of a side box (4 to 10), Target its form
  RecentFile,       // Number is the RecentFiles slot
  WebPage,          // Target is the address opened in the browser
  Help,             // "Help/default.htm" of the application folder in the browser
  BumpMapping,      // FILTERS 24: MaskFilter with the stock mask 7
  RestoreOriginal,  // the first row of the history page
};

struct MenuItem {
  int32_t Index;
  std::string_view Caption;
  MenuRoute Route;
  std::string_view Target;  // word, form or address; empty for the other routes
  int32_t Number = -1;      // layer effect number, VIEWS index or recent slot
};

struct MenuArray {
  std::string_view Name;
  std::string_view ParentCaption;
  bool NeedsDocument;
  int32_t Base;  // the layer effect arrays' base; 0 elsewhere
  std::vector<MenuItem> Items;
};

// Every array, in the order of the menu bar.
const std::vector<MenuArray>& MenuArrays();
// Null for an unknown name.
const MenuArray* FindMenuArray(std::string_view name);
// Null for an index the array has no element for (a separator or past its end).
const MenuItem* FindMenuItem(const MenuArray& array, int32_t index);
// The indexes at which a separator line stands: the missing indexes between
// the array's first and last element.
std::vector<int32_t> SeparatorIndexes(const MenuArray& array);
// The caption stored for the undo entry: "Replace " + caption for the
// REPLACE array, the caption itself elsewhere.
std::string ActionCaption(const MenuArray& array, const MenuItem& item);

// The texts of the ABOUT array's help entry.
inline constexpr std::string_view kHelpFile = "default.htm";
inline constexpr std::string_view kHelpMissingMessage =
    "Help Files are Missing! Please Re-install Kelvane Again";
inline constexpr std::string_view kHelpMissingTitle = "Help Files Missing!";

}  // namespace kelvane
