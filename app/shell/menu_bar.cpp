#include "shell/menu_bar.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>
#include <set>

#include "shell/application.h"
#include "shell/menu_tables.h"
#include "shell/option_dialogs.h"
#include "shell/tool_panel.h"

namespace kelvane {

namespace {

QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::string ActionKey(std::string_view array, int32_t index) {
  return std::string(array) + "(" + std::to_string(index) + ")";
}

// The layer effect arrays and the titles of their submenus.
struct LayerSubmenu {
  const char* array;
  const char* title;
};
constexpr LayerSubmenu kLayerSubmenus[] = {
    {"LayerAdjustment", "&Adjustment"}, {"LayerBlur", "&Blur"},         {"LayerTones", "&Tones"},
    {"LayerDistortion", "&Distortion"}, {"LayerWaves", "&Waves"},       {"LayerBorders", "B&orders"},
    {"LayerMetallic", "&Metallic"},     {"LayerEffects", "&Effects"},   {"LayerFlip", "&Flip"},
};

}  // namespace

QKeySequence ShortcutFromText(std::string_view keys) {
  QStringList parts;
  for (QString part : ToQString(keys).split('+', Qt::SkipEmptyParts)) {
    part = part.trimmed();
    if (part.isEmpty()) return QKeySequence();
    if (part.compare("insert", Qt::CaseInsensitive) == 0) part = "Ins";
    part = part.left(1).toUpper() + part.mid(1).toLower();
    if (part.size() > 1 && part[0] == 'F' && part[1].isDigit()) part = part.toUpper();
    parts << part;
  }
  if (parts.isEmpty()) return QKeySequence();
  const QKeySequence sequence = QKeySequence::fromString(parts.join('+'), QKeySequence::PortableText);
  if (sequence.count() != 1 || sequence[0].key() == Qt::Key_unknown) return QKeySequence();
  return sequence;
}

const std::vector<ShortcutTarget>& ShortcutTargets() {
  static const std::vector<ShortcutTarget> targets = {
      {"New", "FILE", 0, ""},
      {"Open", "FILE", 1, ""},
      {"Save", "FILE", 6, ""},
      {"Save as", "FILE", 7, "Ctrl+Shift+S"},
      {"Print", "PRINTER", 1, ""},
      {"Undo", "EDIT", 0, ""},
      {"Redo", "EDIT", 1, "Ctrl+Y"},
      {"Cut", "EDIT", 3, ""},
      {"Copy", "EDIT", 4, ""},
      {"Paste", "EDIT", 5, ""},
      {"Copy Image to clipboard", "EDIT", 8, ""},
      {"Create from clipboard", "EDIT", 9, ""},
      {"Select all", "EDIT", 11, "Ctrl+A"},
      {"Select None", "EDIT", 12, ""},
      {"Select inversion", "EDIT", 13, ""},
      {"Crop", "EDIT", 18, ""},
      {"Create crop as new image", "EDIT", 19, ""},
      {"Image Properties", "EDIT", 21, ""},
      {"Size", "IMAGE", 0, ""},
      {"Canvas", "IMAGE", 1, ""},
      {"Orientation", "IMAGE", 2, ""},
      {"Rotation", "IMAGE", 3, ""},
      {"Invert", "FILTERS", 0, ""},
      {"Greyscale", "FILTERS", 1, ""},
      {"Relief", "FILTERS", 2, ""},
      {"Erode", "FILTERS", 3, ""},
      {"Dilate", "FILTERS", 4, ""},
      {"Painting", "FILTERS", 5, ""},
      {"Edge Enhance", "FILTERS", 11, ""},
      {"Halftone", "FILTERS", 6, ""},
      {"Pizelize", "FILTERS", 7, ""},
      {"Contrast", "ADJUSTMENT", 3, ""},
      {"Brightness", "ADJUSTMENT", 2, ""},
      {"Gamma Correction", "ADJUSTMENT", 4, ""},
      {"Thermique", "FILTERS", 9, ""},
      {"X-black", "FILTERS", 8, ""},
      {"Photo cop", "FILTERS", 10, ""},
      {"Tweak RGB", "COLORS", 4, ""},
      {"Old Photo", "COLORS", 0, ""},
      {"Colorize", "COLORS", 3, ""},
      {"Sketch", "COLORS", 9, ""},
      {"Isolate", "COLORS", 10, ""},
      {"Shift", "COLORS", 8, ""},
      {"Sepia tone", "COLORS", 2, ""},
      {"Hue Stretch", "COLORS", 5, ""},
      {"Hue Rotation", "COLORS", 6, ""},
      {"Grey Rotation", "COLORS", 7, ""},
      {"Capture Desktop", "CAPTURE", 0, ""},
      {"Set Wallpaper - Tile", "WALLPAPER", 0, ""},
      {"Set Wallpaper - center", "WALLPAPER", 1, ""},
      {"Set Wallpaper - Stretch", "WALLPAPER", 2, ""},
      {"Reset All", "RESET", 0, ""},
      {"Help", "ABOUT", 0, ""},
  };
  return targets;
}

MenuBar::MenuBar(QMenuBar* bar, Application& app, QWidget* frame) : QObject(bar), app_(app) {
  QMenu* file = AddMenu(bar, "&File", "mnuFile");
  AddArray(file, "FILE");
  file->addSeparator();
  AddArray(file, "PRINTER");
  file->addSeparator();
  AddArray(AddSubmenu(file, "&Recent Files", "mnuRecent"), "RF");
  file->addSeparator();
  exit_ = file->addAction("E&xit");
  exit_->setObjectName("mnuExit");
  exit_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
  connect(exit_, &QAction::triggered, frame, &QWidget::close);
  connect(file, &QMenu::aboutToShow, this, &MenuBar::RefreshRecent);

  QMenu* edit = AddMenu(bar, "&Edit", "mnuEdit");
  AddArray(edit, "EDIT");
  edit->addSeparator();
  AddArray(edit, "mnuRestore");

  QMenu* image = AddMenu(bar, "&Image", "mnuImage");
  AddArray(image, "IMAGE");
  image->addSeparator();
  AddArray(image, "AdjustFlip");
  image->addSeparator();
  QMenu* zoom = AddSubmenu(image, "&Zoom", "mnuZoom");
  AddArray(zoom, "ZoomP");
  zoom->addSeparator();
  AddArray(AddSubmenu(zoom, FindMenuArray("AA")->ParentCaption, "mnuQuality"), "AA");
  AddArray(zoom, "ORIGINAL");
  image->addSeparator();
  AddArray(AddSubmenu(image, "&Adjustment", "mnuAdjust"), "ADJUSTMENT");

  QMenu* filters = AddMenu(bar, "F&ilters", "mnuFilters1");
  AddArray(filters, "FILTERS");
  filters->addSeparator();
  AddArray(filters, "mnuUserDefined");
  AddArray(filters, "mnuMerge");

  QMenu* shapes = AddMenu(bar, "", "mnuDeformations");
  shapes->setTitle(ToQString(FindMenuArray("SHAPES")->ParentCaption));
  AddArray(shapes, "SHAPES");

  QMenu* colors1 = AddMenu(bar, "", "mnuColors1");
  colors1->setTitle(ToQString(FindMenuArray("COLORS")->ParentCaption));
  AddArray(colors1, "COLORS");
  colors1->addSeparator();
  AddArray(AddSubmenu(colors1, "&Replace", "mnuReplace"), "REPLACE");
  AddArray(colors1, "mnuApplyPalette");

  QMenu* colors2 = AddMenu(bar, "", "mnuColors2");
  colors2->setTitle(ToQString(FindMenuArray("Colorized")->ParentCaption));
  AddArray(colors2, "Colorized");
  colors2->addSeparator();
  AddArray(AddSubmenu(colors2, "&Swap Channels", "mnuSwap"), "SWAP");

  QMenu* layers = AddMenu(bar, "&Layers", "mnuLayers");
  for (const LayerSubmenu& sub : kLayerSubmenus)
    AddArray(AddSubmenu(layers, sub.title, (std::string("mnu") + sub.array).c_str()), sub.array);

  QMenu* tools = AddMenu(bar, "&Tools", "mnuTools");
  AddArray(tools, "Tools");
  tools->addSeparator();
  AddArray(AddSubmenu(tools, "&Capture", "mnuCapture"), "CAPTURE");
  AddArray(AddSubmenu(tools, "&Wallpaper", "mnuWallpaper"), "WALLPAPER");

  QMenu* views = AddMenu(bar, "&View", "mnuView");
  AddArray(views, "VIEWS");
  views->addSeparator();
  AddArray(views, "RESET");

  QMenu* help = AddMenu(bar, "&Help", "mnuHelp");
  AddArray(help, "ABOUT");

  for (int32_t index = 4; index <= 10; ++index)
    if (QAction* action = Action("VIEWS", index)) action->setCheckable(true);
  AssignShortcuts();
  RefreshRecent();
  RefreshViews();
}

QMenu* MenuBar::AddMenu(QMenuBar* bar, const char* title, const char* name) {
  QMenu* menu = bar->addMenu(title);
  menu->setObjectName(name);
  menus_.emplace(name, menu);
  return menu;
}

QMenu* MenuBar::AddSubmenu(QMenu* parent, std::string_view title, const char* name) {
  QMenu* menu = parent->addMenu(ToQString(title));
  menu->setObjectName(name);
  menus_.emplace(name, menu);
  return menu;
}

void MenuBar::AddArray(QMenu* menu, std::string_view arrayName) {
  const MenuArray* array = FindMenuArray(arrayName);
  if (!array) return;
  int32_t previous = -1;
  bool first = true;
  for (const MenuItem& item : array->Items) {
    if (!first && item.Index > previous + 1) menu->addSeparator();
    first = false;
    previous = item.Index;
    QAction* action = menu->addAction(ToQString(item.Caption));
    const std::string key = ActionKey(array->Name, item.Index);
    action->setObjectName(QString::fromStdString(key));
    const std::string name(array->Name);
    const int32_t index = item.Index;
    connect(action, &QAction::triggered, this, [this, name, index] {
      app_.MenuClick(name, index);
      // A side box toggled by its item keeps the mark the record says.
      if (name == "VIEWS") RefreshViews();
      emit commandRun();
    });
    actions_.emplace(key, action);
  }
}

void MenuBar::AssignShortcuts() {
  std::set<QKeySequence> taken;
  std::map<QAction*, QList<QKeySequence>> keys;
  const auto& rows = fKeyboard::Rows();
  auto tableKeys = [&](std::string_view name) -> std::string_view {
    for (const auto& row : rows)
      if (row.first == name) return row.second;
    return {};
  };
  auto give = [&](QAction* action, const QKeySequence& sequence) {
    if (!action || sequence.isEmpty() || taken.count(sequence)) return;
    taken.insert(sequence);
    keys[action].push_back(sequence);
  };
  taken.insert(exit_->shortcut());
  // The desktop's keys first, then the table's where they are still free.
  for (const ShortcutTarget& target : ShortcutTargets()) {
    const std::string_view primary = target.LinuxKeys.empty() ? tableKeys(target.Name) : target.LinuxKeys;
    give(Action(target.Array, target.Index), ShortcutFromText(primary));
  }
  for (const ShortcutTarget& target : ShortcutTargets())
    if (!target.LinuxKeys.empty()) give(Action(target.Array, target.Index), ShortcutFromText(tableKeys(target.Name)));
  for (auto& [action, list] : keys) {
    action->setShortcuts(list);
    action->setShortcutContext(Qt::ApplicationShortcut);
  }
}

QAction* MenuBar::Action(std::string_view array, int32_t index) const {
  const auto it = actions_.find(ActionKey(array, index));
  return it == actions_.end() ? nullptr : it->second;
}

QMenu* MenuBar::Menu(std::string_view name) const {
  const auto it = menus_.find(name);
  return it == menus_.end() ? nullptr : it->second;
}

void MenuBar::RefreshRecent() {
  const auto& items = app_.Tools().RecentItems();
  for (size_t slot = 0; slot < items.size(); ++slot) {
    QAction* action = Action("RF", static_cast<int32_t>(slot));
    if (!action) continue;
    action->setText(QString::fromStdString(items[slot].Caption));
    action->setEnabled(items[slot].Enabled);
    action->setVisible(items[slot].Visible);
  }
  if (QMenu* recent = Menu("mnuRecent")) recent->menuAction()->setEnabled(app_.Tools().RecentMenuEnabled());
}

void MenuBar::RefreshViews() {
  const StartRecord& record = app_.Record();
  for (const SideBoxFields& box : SideBoxTable())
    if (QAction* action = Action("VIEWS", box.ViewsIndex)) action->setChecked(record.*box.Shown != 0);
}

void MenuBar::SetMenuEnabled(std::string_view name, bool enabled) {
  if (name == "EDIT") {
    if (const MenuArray* array = FindMenuArray("EDIT"))
      for (const MenuItem& item : array->Items)
        if (QAction* action = Action("EDIT", item.Index)) action->setEnabled(enabled);
    return;
  }
  if (QMenu* menu = Menu(name)) menu->menuAction()->setEnabled(enabled);
}

void MenuBar::ApplyTab(ViewTab tab) {
  const TabState& state = TabStateOf(tab);
  for (std::string_view name : state.MenusDisabled) SetMenuEnabled(name, false);
  for (std::string_view name : state.MenusEnabled) SetMenuEnabled(name, true);
}

}  // namespace kelvane
