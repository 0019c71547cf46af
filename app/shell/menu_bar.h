// MenuBar: the menu bar of the frame fMain, made from the command tables of
// shell/menu_tables.h. The tables fix the arrays, their indexes and their
// captions; this file fixes only where each array hangs.
//
// Contract:
//  - Every element of an array becomes one action with the table's caption,
//    in index order, and a separator line where an index is missing. Its
//    object name is the array name and the index, "FILTERS(3)". A click runs
//    Application::MenuClick(array, index) and nothing else.
//  - The menus carry the object names the document window's tabs switch:
//    mnuEdit, mnuAdjust, mnuFilters1, mnuDeformations, mnuColors1,
//    mnuColors2, mnuWallpaper, mnuCapture, mnuTools, mnuLayers; ApplyTab
//    enables and disables them (and the EDIT actions, "EDIT") by TabStateOf.
//  - VIEWS 4 to 10 are check items; RefreshViews sets the marks from the
//    record's shown flags. The recent-file items RF(0..7) take their captions,
//    enabled and visible flags from the tool panel's FillRecent (RefreshRecent,
//    also run each time the File menu opens). commandRun follows every click.
//  - Accelerators come from the keyboard shortcut table (fKeyboard's rows),
//    with the keys a Linux desktop expects where the table's differ: Redo
//    Ctrl+Y, Save as Ctrl+Shift+S, Select all Ctrl+A. Those come first; the
//    table's own keys follow where still free, so a key belongs to one
//    action only (the first row that asks for it).
//  - "Exit" (mnuExit) closes the frame, which runs its unload handler.
#pragma once

#include <QKeySequence>
#include <QObject>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "document/document.h"

class QAction;
class QMenu;
class QMenuBar;
class QWidget;

namespace kelvane {

class Application;

// "Ctrl + N", "ctrl + X", "Shift + Ctrl + F1", "Ctrl + ins" as a key
// sequence; an empty sequence for a text it cannot read.
QKeySequence ShortcutFromText(std::string_view keys);

// Which menu element a row of the shortcut table stands for.
struct ShortcutTarget {
  std::string_view Name;   // the row's name in fKeyboard
  std::string_view Array;  // menu array
  int32_t Index;
  std::string_view LinuxKeys;  // the desktop's key, given first; empty: the table's key alone
};
const std::vector<ShortcutTarget>& ShortcutTargets();

class MenuBar : public QObject {
  Q_OBJECT

 public:
  // Fills `bar` (the frame's menu bar). `frame` is closed by "Exit".
  MenuBar(QMenuBar* bar, Application& app, QWidget* frame);

  // The action of an array element, or null.
  QAction* Action(std::string_view array, int32_t index) const;
  // A menu by object name ("mnuFile", "mnuEdit", ...), or null.
  QMenu* Menu(std::string_view name) const;
  QAction* ExitAction() const { return exit_; }

  void RefreshRecent();
  void RefreshViews();
  // The menus as the tab of the active document wants them; with no
  // document, the plain view's state.
  void ApplyTab(ViewTab tab);

 signals:
  // After each click has run its command.
  void commandRun();

 private:
  QMenu* AddMenu(QMenuBar* bar, const char* title, const char* name);
  QMenu* AddSubmenu(QMenu* parent, std::string_view title, const char* name);
  void AddArray(QMenu* menu, std::string_view arrayName);
  void AssignShortcuts();
  void SetMenuEnabled(std::string_view name, bool enabled);

  Application& app_;
  std::map<std::string, QAction*, std::less<>> actions_;
  std::map<std::string, QMenu*, std::less<>> menus_;
  QAction* exit_ = nullptr;
};

}  // namespace kelvane
