// Application: the main window fMain without its window. It owns the settings
// record, the undo counters, the open documents in window order, the active
// document, the main filter engine cFilter, the tool panel and the paste box,
// and it carries out the command words of the menus (MenuExec, MenuStatic)
// together with the document commands (zoom, rotation, closing, names) and
// the start and end of a run.
//
// Contract:
//  - Windows reach the user only through the UserInterface given at
//    construction: messages, questions, file dialogs, the clipboard, the
//    browser and the modal forms (ShowForm by form name). Before showing a
//    dialog form the Application sets up its model, reachable as a public
//    member (SizeDialog, FilterDialog, ...); the window's OK calls the
//    matching ...OK method here, which applies the model to the active
//    document.
//  - What a window must redraw or place is told through Observers; a missing
//    observer is skipped. None of them is called for a document that is not
//    open.
//  - No public method lets an exception out: a failing command step ends the
//    command and leaves the state of the steps before it, as the skip-on-
//    failure handlers of the menus always did. Nothing shows a message that
//    the command tables do not name.
//  - GetActiveImage is the document the frame last activated (Activate), or
//    the last one opened; null when none is open. A command without a
//    document does nothing, except the words that need none.
//  - Update(noRedraw, takeUndo) on the active document, in order: progress 0,
//    redraw unless noRedraw, pan view refresh, with takeUndo the undo
//    snapshot (the history page follows it) and the document marked changed
//    and ZoomedOnce cleared, the optimize box refresh, DocumentChanged set.
//  - Zoom is a view of the last undo state: a zoom after a zoom starts again
//    from the picture of the last snapshot, so "50" twice gives half the
//    size; a zoom takes no undo step, and the next Update with undo fixes the
//    zoomed picture as a new state. A zoom on another document than the one
//    zoomed last starts from its own picture.
//  - Closing asks only when SaveAskOnClose is set, the document is changed
//    and it holds two undo states or more. Yes runs the save dialog and
//    closes even when that dialog was cancelled; No closes; Cancel refuses.
//    A closing document loses its undo files and its rows in the paste box.
//  - Shutdown walks the documents from the last to the first and stops at a
//    refused close; the settings file is written and the Temp folder emptied
//    whatever happened.
//  - Words that belong to later parts of the program (layered save, web
//    optimisation, capture, wallpaper, printer set-up, the two layer view
//    updates) are handed to Observers.DeferredCommand; a "klf" file chosen in
//    the open dialog goes to Observers.OpenLayeredFile.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/user_interface.h"
#include "document/bits.h"
#include "document/canvas_tools.h"
#include "document/clip_history.h"
#include "document/document.h"
#include "document/undo_history.h"
#include "filters/bit_filter.h"
#include "filters/filter_dialog_model.h"
#include "imagefiles/file_properties.h"
#include "imagefiles/load_bitmap.h"
#include "shell/image_dialogs.h"
#include "shell/menu_tables.h"
#include "shell/option_dialogs.h"
#include "shell/start_record.h"
#include "shell/tool_panel.h"
#include "shell/turn_dialogs.h"

namespace kelvane {

// The frame's arrange operation: the values of the platform call.
enum class ArrangeMode : int32_t { Cascade = 0, TileHorizontal = 1, TileVertical = 2 };

enum class WindowState : int32_t { Normal = 0, Minimized = 1, Maximized = 2 };

// The status field the zoom, rotation and crop commands write.
inline constexpr std::string_view kPanelSize = "Size";

inline constexpr std::string_view kAlreadyRunningMessage = "Kelvane is already running!";
inline constexpr std::string_view kResetQuestion =
    "Kelvane will be closed down to apply the default settings!";
inline constexpr std::string_view kNewImageFromCropName = "New Image Document";
inline constexpr std::string_view kSelectionFilter = "Selection Files (*.ksf)|*.ksf";
inline constexpr std::string_view kLoadSelectionTitle = "Load selection";
inline constexpr std::string_view kSaveSelectionTitle = "Save selection";
inline constexpr int32_t kLoadSelectionFlags = 0x806;
// The stored degrees-to-radians constant of RotateImage (not the exact value).
inline constexpr double kDegreesToRadians = 0.0174533;

// ---------------------------------------------------------------------------
// Side boxes

// A side box, the VIEWS element that toggles it and its record fields; Width
// and Height are null for the boxes that keep their own size.
struct SideBoxFields {
  std::string_view Form;
  int32_t ViewsIndex;
  int16_t StartRecord::*Shown;
  int16_t StartRecord::*Rolled;
  int16_t StartRecord::*Left;
  int16_t StartRecord::*Top;
  int16_t StartRecord::*Width;
  int16_t StartRecord::*Height;
};
// In the order the start shows them: fToolColor, fToolTextures, fPaste,
// fPanView, fToolBrowser, finfo, fLayerBox.
const std::array<SideBoxFields, 7>& SideBoxTable();
// Null for an index outside 4 to 10.
const SideBoxFields* SideBoxForViewsIndex(int32_t viewsIndex);

// Where and how the window puts a side box.
struct SideBoxPlacement {
  std::string_view Form;
  int32_t ViewsIndex = 0;
  bool Shown = false;   // shown flag and VIEWS check mark
  bool Rolled = false;  // place first, then collapse with pMm_Click
  int32_t Left = 0, Top = 0;
  bool StoresSize = false;  // false: the box keeps its present width and height
  int32_t Width = 0, Height = 0;
};
SideBoxPlacement PlacementOf(const StartRecord& record, const SideBoxFields& box);

// What StartRoutine leaves for the window.
struct StartResult {
  bool SettingsFileExisted = false;
  bool AnotherInstance = false;  // the warning was shown; the run goes on
  WindowState MainState = WindowState::Normal;
  int32_t MainWidth = 0, MainHeight = 0;  // twips, for a normal frame
  std::string OpenFolder;                 // both file dialogs start here
  // The boxes to show, in showing order; all seven are loaded either way.
  std::vector<SideBoxPlacement> SideBoxes;
};

// ---------------------------------------------------------------------------
// Hooks

// The EDIT array's detour: with the layer view on and a picture layer
// current, the layer takes UNDO, REDO, CUT, COPY, PASTE and the selection
// words. The default never routes.
class LayerEditRoute {
 public:
  virtual ~LayerEditRoute() = default;
  // True when the layer view carried the word out for the document.
  virtual bool RouteEdit(Document& doc, std::string_view word) = 0;
};

struct ApplicationObservers {
  std::function<void(Document&)> UpdateImage;                             // repaint the canvas from Bits
  std::function<void()> RefreshPanView;                                   // fPanView
  std::function<void(const std::string& optimizedTempName)> RefreshInfo;  // finfo
  std::function<void(Document&, int32_t percent)> Progress;               // picPb / cFilterProgress
  std::function<void(Document&, std::string_view panel, const std::string& text)> StatusText;
  std::function<void(Document&, bool running)> SelectionTimer;  // StartTimer / StopTimer
  std::function<void(Document&)> DocumentOpened;                // make and show its window
  std::function<void(Document&)> DocumentClosed;                // before the model goes
  std::function<void(ArrangeMode)> Arrange;
  std::function<void(const SideBoxPlacement&)> SideBox;         // show or hide a box
  std::function<void(Document&, int32_t keyCode)> CanvasKeyUp;  // idst_KeyUp
  std::function<void(std::string_view word)> DeferredCommand;
  std::function<void(const std::filesystem::path&)> OpenLayeredFile;
  std::function<void(Document&, int32_t number)> ApplyLayerEffects;
  std::function<void()> ExitRequested;  // RESET closed everything down
};

// ---------------------------------------------------------------------------

class Application final : public CanvasHost {
 public:
  Application(UserInterface& ui, std::filesystem::path appFolder);
  ~Application() override;
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  // --- State
  UserInterface& Ui() { return ui_; }
  const std::filesystem::path& AppFolder() const { return appFolder_; }
  UndoGlobals& Globals() { return globals_; }
  ToolPanel& Tools() { return *tools_; }
  ClipHistory& Clips() { return clips_; }
  const std::vector<std::unique_ptr<Document>>& Documents() const { return documents_; }
  const std::string& LastCommandCaption() const { return globals_.LastCommandCaption; }
  bool ZoomedOnce() const { return zoomedOnce_; }
  bool DocumentChanged() const { return documentChanged_; }
  // The last arrange request (TILEHORIZONTALLY, TILEVERTICALLY, CASCADE).
  std::optional<ArrangeMode> LastArrange() const { return lastArrange_; }

  ApplicationObservers Observers;
  void SetLayerEditRoute(LayerEditRoute* route) { layerRoute_ = route; }

  // --- Documents
  Document* GetActiveImage() const;
  // The frame activated this document's window.
  void Activate(Document* doc);
  bool IsOpen(const Document* doc) const;
  // The Tags of the open documents in window order.
  OpenDocumentTags OpenTags() const;
  // name, or name + "[n]" when a document already has it as its Tag.
  std::string MakeUniqueDocumentName(std::string_view name);
  bool IsDocumentOpen(std::string_view path) const;
  static std::string GetFileNamePart(std::string_view path);
  // loadBitmap on a path, with the document's window steps.
  bool OpenFile(const std::string& path);
  // The close question and the unload; false when the close was refused.
  bool CloseDocument(Document& doc);

  // --- Commands
  // The click handler of a menu array element.
  void MenuClick(std::string_view arrayName, int32_t index);
  void MenuExec(std::string_view cmd);
  // Whether MenuExec knows the word (an unknown word does nothing).
  static bool IsMenuExecWord(std::string_view cmd);
  // The document and selection words of MenuExec, in matching order.
  struct DocumentWord {
    std::string_view word;
    void (*run)(Application&, Document&);
  };
  static std::span<const DocumentWord> DocumentWords();
  void MenuStatic(std::string_view cmd);
  void Update(bool noRedraw, bool takeUndo) override;
  void ZoomImage(int32_t factor, bool enlarge, bool quality);
  void RotateImage(int32_t degrees, bool antialias);

  // --- Dialog models. fNew lives for the run; the others are made when their
  // command opens them.
  fNew NewDialog;
  std::unique_ptr<fSize> SizeDialog;
  std::unique_ptr<fCanvas> CanvasDialog;
  std::unique_ptr<fOrientation> OrientationDialog;
  std::unique_ptr<fRotate> RotateDialog;
  std::unique_ptr<fOptions> OptionsDialog;
  std::unique_ptr<FilterDialogModel> FilterDialog;
  std::optional<FileProperties> Properties;

  // The windows' OK buttons. The result tells the window whether to hide
  // and which message (titled "Kelvane") to show first.
  DialogResult NewDialogOK();
  DialogResult SizeDialogOK();
  DialogResult CanvasDialogOK();
  DialogResult OrientationDialogOK();
  void RotateDialogOK();
  void OptionsDialogOK();

  // --- Start and end
  // StartRoutine's steps over the model; lockFile is the single-instance
  // lock (InstanceLockPath of the executable).
  StartResult StartRoutine(const std::filesystem::path& lockFile);
  // The unload handler of fMain: true when every document closed.
  bool Shutdown();
  // The main window's resize handler.
  void MainWindowResized(WindowState state, int32_t widthTwips, int32_t heightTwips);
  // VIEWS 4 to 10: toggles the box and gives its new placement.
  std::optional<SideBoxPlacement> ToggleSideBox(int32_t viewsIndex);
  // A box closed by its own close button.
  void SideBoxClosed(int32_t viewsIndex);

  // --- CanvasHost
  StartRecord& Record() override { return record_; }
  cBitFilter& MainFilter() override { return cFilter_; }
  void SetLastCommandCaption(std::string_view caption) override { globals_.LastCommandCaption = caption; }
  bool RestoreFlag() const override { return restoreFlag_; }
  const Bits* StampBits() override { return stampBits_ ? &*stampBits_ : nullptr; }
  const Bits* TextMask() override { return textMask_ ? &*textMask_ : nullptr; }
  const Bits* TextureTile() override { return textureTile_ ? &*textureTile_ : nullptr; }
  void ColorPicked(int32_t colour, bool foreground) override;

  void SetRestoreFlag(bool on) { restoreFlag_ = on; }
  void SetStampBits(std::optional<Bits> bits) { stampBits_ = std::move(bits); }
  void SetTextMask(std::optional<Bits> bits) { textMask_ = std::move(bits); }
  // Draws the text tool's mask from the record's text, font and size (20
  // when the size is not positive); no mask when nothing can be drawn.
  void RefreshTextMask();
  void SetTextureTile(std::optional<Bits> bits) { textureTile_ = std::move(bits); }

 private:
  // menu_exec.cpp
  void ExecWord(std::string_view cmd);
  void StaticWord(std::string_view cmd);
  bool ExecDocumentWord(Document& doc, std::string_view cmd);
  void UndoOrRedo(Document& doc, bool undo);
  void RunDirectFilter(Document& doc, std::string_view word);
  void RunBumpMapping(Document& doc);
  void OpenFilterDialog(Document& doc, int32_t index);
  void SelectAll(Document& doc);
  void SelectNone(Document& doc);
  void InvertSelection(Document& doc);
  void SelectionPresentTail(Document& doc);
  void LoadSelection(Document& doc);
  void SaveSelection(Document& doc);
  void CutOrCopy(Document& doc, bool cut);
  void Paste(Document& doc);
  void Crop(Document& doc, bool intoNewDocument);
  void CreateNewCopy(Document& doc);
  void CreateFromClipboard();
  void ShowProperties(Document& doc);
  void OpenCommand();
  void SaveCommand(Document& doc);
  void SaveAsCommand(Document& doc);
  void ResetCommand();
  void Help();
  void OpenRecentFile(int32_t slot);

  // application.cpp
  Document& NewDocument();
  void ShowDocument(Document& doc);
  void UnloadDocument(Document& doc);
  // A new document that never got its window (its picture failed).
  void DiscardDocument(Document& doc);
  void RemoveFromList(Document& doc);
  OpenDocumentTags OpenTagsExcept(const Document* doc) const;
  void FillRecent();
  void UpdateDocument(Document& doc, bool noRedraw, bool takeUndo);
  void SaveUndo(Document& doc);
  // The engine set to the document's picture and the region in effect.
  cBitFilter& PrepareFilter(Document& doc);
  void TellFilterRegion(Document& doc);
  void Redraw(Document& doc);
  void RefreshPanView();
  void Status(Document& doc, std::string_view panel, const std::string& text);
  void SelectionTimer(Document& doc, bool running);
  void Deferred(std::string_view word);
  // The dialog's model result applied: the new picture in the document, then
  // Update with undo and the "Size" text.
  DialogResult FinishSizeDialog(Document& doc, const DialogResult& result, const Bits& bits);
  void EmptyTempFolder();
  bool RunGuarded(const std::function<void()>& body);

  UserInterface& ui_;
  std::filesystem::path appFolder_;
  StartRecord record_;
  UndoGlobals globals_;
  cBitFilter cFilter_;
  std::unique_ptr<ToolPanel> tools_;
  ClipHistory clips_;
  std::vector<std::unique_ptr<Document>> documents_;
  Document* active_ = nullptr;
  const Document* filterDialogDocument_ = nullptr;
  LayerEditRoute* layerRoute_ = nullptr;

  bool zoomedOnce_ = false;
  const Document* zoomedDocument_ = nullptr;
  bool documentChanged_ = false;
  std::optional<ArrangeMode> lastArrange_;
  std::filesystem::path openDialogFolder_;
  std::string dialogDefaultExtension_;

  bool restoreFlag_ = false;
  std::optional<Bits> stampBits_, textMask_, textureTile_;
  struct InstanceLockHolder;
  std::unique_ptr<InstanceLockHolder> instance_;
};

}  // namespace kelvane
