// The command words: the click handler of the menu arrays, MenuExec (the
// words on the active document) and MenuStatic (the words on files, windows
// and the program).
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>

#include "filters/stock_masks.h"
#include "imagefiles/file_dialog_filters.h"
#include "imagefiles/image_load.h"
#include "imagefiles/image_save.h"
#include "imagefiles/picture_io.h"
#include "shell/app_folder.h"
#include "shell/application.h"
#include "shell/filter_commands.h"

namespace kelvane {

namespace {

// Words MenuExec accepts and does nothing with.
constexpr std::string_view kEmptyExecWords[] = {
    "PRINTPREVIEW",    "RESTORE",         "OPTIONS",       "EXTRACTICON",   "TALCOMPOWDER",
    "IMAGESCALE",      "IMAGEMERGING",    "IMAGECAPTURER", "IMAGETEXTURES", "IMAGESAVEOPTIONS",
    "IMAGERESOLUTION", "IMAGECOLORDEPTH", "TEXTTOOLS"};

// MenuStatic words that later parts of the program carry out.
constexpr std::string_view kDeferredStaticWords[] = {
    "CAPTUREDESKTOP", "CAPTUREFOREGROUND", "CAPTUREBACKGROUND", "CUSTOMCAPTURE",
    "SAVEOPTIMIZED",  "SAVEOPTIMIZEDAS",   "SAVELAYEREDIMAGE",  "SAVELAYEREDIMAGEAS",
    "UPDATELAYERS",   "UPDATEORIGINAL",    "PRINTERSETUP",      "WTILE",
    "WCENTER",        "WSTRETCH"};

template <size_t N>
bool OneOf(std::string_view word, const std::string_view (&words)[N]) {
  for (std::string_view w : words)
    if (w == word) return true;
  return false;
}

bool IsTrue(const std::string& word) { return word == "true"; }

MessageBoxText SaveErrorMessage() {
  return {std::string(kSaveErrorMessage), std::string(kProductTitle), MessageIcon::Exclamation};
}

// The formats written through DevIL take the optimized copy, which every
// change of a document keeps current: refresh it before such a save.
// The state of a file before a save, to tell afterwards whether the save
// wrote it: a writer that fails deletes its partial file or never makes one,
// and an existing file without write permission is never replaced; none of
// these is an error of the command itself.
struct FileStamp {
  bool exists = false;
  bool writable = false;
};

FileStamp StampOf(const std::filesystem::path& path) {
  FileStamp stamp;
  std::error_code ec;
  stamp.exists = std::filesystem::is_regular_file(path, ec);
  if (stamp.exists) stamp.writable = ::access(path.c_str(), W_OK) == 0;
  return stamp;
}

bool WroteFile(const std::filesystem::path& path, const FileStamp& before) {
  if (before.exists && !before.writable) return false;
  std::error_code ec;
  return std::filesystem::is_regular_file(path, ec);
}

void RefreshOptimizedCopyFor(const Bits& picture, std::string_view extension) {
  const SaveFormatRow* row = SaveFormatFor(extension);
  if (row && row->writer == SaveWriter::DevIL) WriteOptimizedCopy(picture);
}

}  // namespace

// ---------------------------------------------------------------------------
// The click handler

void Application::MenuClick(std::string_view arrayName, int32_t index) {
  RunGuarded([&] {
    const MenuArray* array = FindMenuArray(arrayName);
    if (!array) return;
    const MenuItem* item = FindMenuItem(*array, index);
    if (!item) return;
    Document* doc = GetActiveImage();
    if (!doc && array->NeedsDocument) return;
    globals_.LastCommandCaption = ActionCaption(*array, *item);

    // The EDIT words may belong to the current layer of the layer view.
    if (doc && array->Name == "EDIT" && layerRoute_ && layerRoute_->RouteEdit(*doc, item->Target)) return;

    switch (item->Route) {
      case MenuRoute::MenuExec:
        ExecWord(item->Target);
        break;
      case MenuRoute::MenuStatic:
        StaticWord(item->Target);
        break;
      case MenuRoute::ShowForm:
        ui_.ShowForm(item->Target);
        break;
      case MenuRoute::LayerEffect:
        if (doc && Observers.ApplyLayerEffects) Observers.ApplyLayerEffects(*doc, item->Number);
        break;
      case MenuRoute::SideBox:
        ToggleSideBox(item->Number);
        break;
      case MenuRoute::RecentFile:
        OpenRecentFile(item->Number);
        break;
      case MenuRoute::WebPage:
        ui_.OpenInBrowser(item->Target);
        break;
      case MenuRoute::Help:
        Help();
        break;
      case MenuRoute::BumpMapping:
        if (doc) RunBumpMapping(*doc);
        break;
      case MenuRoute::RestoreOriginal:
        if (doc && clips_.RestoreOriginal(*doc)) {
          Redraw(*doc);
          RefreshPanView();
        }
        break;
    }
  });
}

void Application::OpenRecentFile(int32_t slot) {
  if (slot < 0 || slot >= static_cast<int32_t>(record_.RecentFiles.size())) return;
  std::string name = record_.RecentFiles[static_cast<size_t>(slot)].Get();
  const size_t first = name.find_first_not_of(' ');
  if (first == std::string::npos) return;
  name.erase(0, first);
  OpenFile(name);
}

void Application::Help() {
  const std::filesystem::path file =
      AppSubfolderPath(appFolder_, AppSubfolder::Help) / std::string(kHelpFile);
  std::error_code ec;
  if (std::filesystem::is_regular_file(file, ec)) {
    ui_.OpenInBrowser(file.string());
  } else {
    ui_.Message({std::string(kHelpMissingMessage), std::string(kHelpMissingTitle), MessageIcon::Exclamation});
  }
}

// ---------------------------------------------------------------------------
// MenuExec

void Application::MenuExec(std::string_view cmd) {
  RunGuarded([&] { ExecWord(cmd); });
}

void Application::ExecWord(std::string_view cmd) {
  Document* doc = GetActiveImage();
  // The one word that needs no document.
  if (cmd == "CREATEFROMCLIPBOARD") {
    CreateFromClipboard();
    return;
  }
  if (!doc) return;
  ExecDocumentWord(*doc, cmd);
}

// Table 2: the first group (UNDO to IMAGEROTATE), then the rest in table
// order. Words with an empty body stand in kEmptyExecWords.
std::span<const Application::DocumentWord> Application::DocumentWords() {
  static const DocumentWord kDocumentWords[] = {
      {"UNDO", [](Application& a, Document& d) { a.UndoOrRedo(d, true); }},
      {"REDO", [](Application& a, Document& d) { a.UndoOrRedo(d, false); }},
      {"CREATENEWCOPY", [](Application& a, Document& d) { a.CreateNewCopy(d); }},
      {"COPYIMAGETOCLIPBOARD",
       [](Application& a, Document& d) { BitsCopyToClipboard(d, a.ui_.SystemClipboard()); }},
      {"IMAGESIZE",
       [](Application& a, Document& d) {
         a.SizeDialog = std::make_unique<fSize>(d.PictureWidth(), d.PictureHeight());
         a.ui_.ShowForm("fSize");
       }},
      {"CANVASSIZE",
       [](Application& a, Document& d) {
         a.CanvasDialog = std::make_unique<fCanvas>(d.PictureWidth(), d.PictureHeight());
         a.ui_.ShowForm("fCanvas");
       }},
      {"IMAGEORIENTATION",
       [](Application& a, Document&) {
         a.OrientationDialog = std::make_unique<fOrientation>();
         a.ui_.ShowForm("fOrientation");
       }},
      {"IMAGEROTATE",
       [](Application& a, Document&) {
         a.RotateDialog = std::make_unique<fRotate>();
         a.ui_.ShowForm("fRotate");
       }},
      {"PRINT", [](Application& a, Document&) { a.ui_.ShowForm("fPrint"); }},
      {"SELECTALL", [](Application& a, Document& d) { a.SelectAll(d); }},
      {"SELECTNONE", [](Application& a, Document& d) { a.SelectNone(d); }},
      {"INVERTSELECTION", [](Application& a, Document& d) { a.InvertSelection(d); }},
      {"LOADSELECTION", [](Application& a, Document& d) { a.LoadSelection(d); }},
      {"SAVESELECTION", [](Application& a, Document& d) { a.SaveSelection(d); }},
      {"IMAGEPROPERTIES", [](Application& a, Document& d) { a.ShowProperties(d); }},
      {"CUT", [](Application& a, Document& d) { a.CutOrCopy(d, true); }},
      {"COPY", [](Application& a, Document& d) { a.CutOrCopy(d, false); }},
      {"PASTE", [](Application& a, Document& d) { a.Paste(d); }},
      {"CROP", [](Application& a, Document& d) { a.Crop(d, false); }},
      {"NEWIMAGEFROMCROP", [](Application& a, Document& d) { a.Crop(d, true); }},
  };
  return kDocumentWords;
}

bool Application::IsMenuExecWord(std::string_view cmd) {
  if (cmd == "CREATEFROMCLIPBOARD" || OneOf(cmd, kEmptyExecWords)) return true;
  for (const auto& [word, run] : DocumentWords())
    if (word == cmd) return true;
  return FindDocumentCommand(cmd) || FindFilterCommand(cmd) || FilterDialogIndex(cmd) >= 0;
}

bool Application::ExecDocumentWord(Document& doc, std::string_view cmd) {
  for (const auto& [word, run] : DocumentWords()) {
    if (word == cmd) {
      run(*this, doc);
      return true;
    }
  }
  if (OneOf(cmd, kEmptyExecWords)) return true;

  // Zoom and rotation.
  if (const DocumentCommand* command = FindDocumentCommand(cmd)) {
    for (const DocumentCall& call : command->calls) {
      const auto& a = call.arguments;
      if (call.target == "ZoomFactor" && !a.empty()) {
        doc.ZoomFactor(std::atoi(a[0].c_str()));
        doc.RefreshZoomPanel();
        Redraw(doc);
      } else if (call.target == "ZoomImage" && a.size() >= 3) {
        ZoomImage(std::atoi(a[0].c_str()), IsTrue(a[1]), IsTrue(a[2]));
      } else if (call.target == "RotateImage" && a.size() >= 2) {
        RotateImage(std::atoi(a[0].c_str()), IsTrue(a[1]));
      }
      if (!IsOpen(&doc)) break;
    }
    return true;
  }
  // Direct filters, the flips and the colour words.
  if (FindFilterCommand(cmd)) {
    RunDirectFilter(doc, cmd);
    return true;
  }
  // The words that open the filter dialog.
  if (const int32_t index = FilterDialogIndex(cmd); index >= 0) {
    OpenFilterDialog(doc, index);
    return true;
  }
  // An unknown word does nothing.
  return false;
}

void Application::UndoOrRedo(Document& doc, bool undo) {
  if (undo ? doc.UndoBits() : doc.RedoBits()) {
    Redraw(doc);
    RefreshPanView();
  }
}

void Application::RunDirectFilter(Document& doc, std::string_view word) {
  // Let the menu close and the screen repaint before the work.
  ui_.Yield();
  if (!IsOpen(&doc) || !doc.PictureExists()) return;
  cBitFilter& engine = PrepareFilter(doc);
  CommandOutcome outcome = RunFilterCommand(engine, word);
  if (outcome.status != CommandStatus::Done) return;
  engine.SetBits(std::move(outcome.pixels));
  doc.Bits(engine.BitsRef());
  UpdateDocument(doc, false, true);
}

void Application::RunBumpMapping(Document& doc) {
  ui_.Yield();
  if (!IsOpen(&doc) || !doc.PictureExists()) return;
  // "Bump more [NW]": entry 2 of the list 6, 7 that the item always picked.
  const UserFilterRecord mask = GetMask(7);
  cBitFilter& engine = PrepareFilter(doc);
  engine.SetBits(engine.MaskFilter(mask.Mask, mask.Divisor, 0, 0, 0, true));
  doc.Bits(engine.BitsRef());
  UpdateDocument(doc, false, true);
}

void Application::OpenFilterDialog(Document& doc, int32_t index) {
  if (!doc.PictureExists()) return;
  FilterDialog = std::make_unique<FilterDialogModel>();
  filterDialogDocument_ = &doc;
  FilterDialogDocument target;
  target.bits = &doc.Target().bits;
  target.region = PaintRegion(doc.BitRegion());
  target.Refresh = [this, &doc] {
    if (!IsOpen(&doc)) return;
    Redraw(doc);
    RefreshPanView();
  };
  target.SaveUndoBits = [this, &doc] {
    if (IsOpen(&doc)) UpdateDocument(doc, true, true);
  };
  FilterDialog->Progress = [this, &doc](int32_t percent) {
    if (IsOpen(&doc) && Observers.Progress) Observers.Progress(doc, percent);
  };
  FilterDialog->HideProgress = [this, &doc] {
    if (IsOpen(&doc) && Observers.Progress) Observers.Progress(doc, 0);
  };
  FilterDialog->Open(target, index);
  ui_.ShowForm("fFilter");
}

// --- Selection words -----------------------------------------------------------

void Application::SelectAll(Document& doc) {
  doc.BitRegion().CreateRect(0, 0, doc.PictureWidth(), doc.PictureHeight(), CombineMode::Or, false);
  SelectionTimer(doc, true);
  TellFilterRegion(doc);
  UpdateDocument(doc, false, false);
}

void Application::SelectNone(Document& doc) {
  doc.BitRegion().Init(0, 0, doc.PictureWidth(), doc.PictureHeight());
  SelectionTimer(doc, false);
  TellFilterRegion(doc);
  Redraw(doc);
}

void Application::SelectionPresentTail(Document& doc) {
  SelectionTimer(doc, !doc.BitRegion().IsEmptyRegion());
  TellFilterRegion(doc);
  Redraw(doc);
}

void Application::InvertSelection(Document& doc) {
  doc.BitRegion().Invert();
  SelectionPresentTail(doc);
}

void Application::LoadSelection(Document& doc) {
  const std::filesystem::path folder = AppSubfolderPath(appFolder_, AppSubfolder::Selections);
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  FileDialogRequest request;
  request.Title = std::string(kLoadSelectionTitle);
  request.InitialFolder = folder;
  request.Filter = std::string(kSelectionFilter);
  request.DefaultExtension = dialogDefaultExtension_;
  request.Flags = kLoadSelectionFlags;
  const std::optional<std::filesystem::path> chosen = ui_.ChooseFile(request);
  if (!chosen || !IsOpen(&doc)) return;
  cBitRegion& region = doc.BitRegion();
  region.Init(0, 0, doc.PictureWidth(), doc.PictureHeight());
  region.LoadFromFile(*chosen);
  // A selection saved from a larger picture is cut to this one.
  region.Crop();
  SelectionPresentTail(doc);
}

void Application::SaveSelection(Document& doc) {
  const std::filesystem::path folder = AppSubfolderPath(appFolder_, AppSubfolder::Selections);
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  FileDialogRequest request;
  request.Save = true;
  request.Title = std::string(kSaveSelectionTitle);
  request.InitialFolder = folder;
  request.Filter = std::string(kSelectionFilter);
  request.DefaultExtension = dialogDefaultExtension_;
  const std::optional<std::filesystem::path> chosen = ui_.ChooseFile(request);
  if (!chosen || !IsOpen(&doc)) return;
  doc.BitRegion().SaveToFile(*chosen);
}

// --- Clips -------------------------------------------------------------------------

void Application::CutOrCopy(Document& doc, bool cut) {
  // The canvas first ends an outline move held with Ctrl.
  if (Observers.CanvasKeyUp) Observers.CanvasKeyUp(doc, kKeyControl);
  ui_.Yield();
  if (!IsOpen(&doc)) return;
  if (!cut) {
    clips_.CopyBits(doc, cFilter_, ui_.Messages());
    return;
  }
  // The snapshot follows the cut whether or not the cut was refused, so a
  // refused cut still leaves a "Cut" row in the history.
  const bool cutDone = clips_.CutBits(doc, cFilter_, ui_.Messages());
  if (!IsOpen(&doc)) return;
  if (cutDone) Redraw(doc);
  SaveUndo(doc);
  // A real cut must not close without the save question.
  if (cutDone) doc.Changed = true;
  RefreshPanView();
}

void Application::Paste(Document& doc) {
  if (Observers.CanvasKeyUp) Observers.CanvasKeyUp(doc, kKeyControl);
  // A paste still floating is laid down before the next one starts.
  for (const auto& other : documents_) {
    if (clips_.IsFloating(*other)) {
      if (clips_.DropFloatingPaste(*other)) UpdateDocument(*other, false, true);
      break;
    }
  }
  tools_->DisableTools();
  tools_->SetCurrentTool("");
  doc.MouseScroll(false);
  tools_->EnableMouseScrolling();
  if (clips_.BeginPaste(doc)) Redraw(doc);
}

// --- Crop and new documents ----------------------------------------------------

void Application::Crop(Document& doc, bool intoNewDocument) {
  int32_t left = 0, top = 0, right = 0, bottom = 0;
  if (!doc.BitRegion().BoundRect(left, top, right, bottom)) return;
  if (right - left < 2 || bottom - top < 2) return;
  cFilter_.SetBits(doc.PictureBits());
  cFilter_.BitsCrop(doc.PictureBits(), left, top, right, bottom);
  const kelvane::Bits cropped = cFilter_.GetBits();
  const int32_t width = cropped.Width(), height = cropped.Height();
  if (width < 1 || height < 1) return;

  if (!intoNewDocument) {
    globals_.LastCommandCaption = "Crop";
    doc.CreateBlank(width, height);
    doc.Bits(cropped);
    doc.BitRegion().Init(0, 0, width, height);
    TellFilterRegion(doc);
    SelectionTimer(doc, false);
    Status(doc, kPanelSize, SizeText(width, height));
    UpdateDocument(doc, false, true);
    return;
  }
  Document& created = NewDocument();
  if (!created.CreateBlank(width, height)) {
    DiscardDocument(created);
    return;
  }
  created.Bits(cropped);
  created.BitRegion().Init(0, 0, width, height);
  created.Tag = MakeUniqueDocumentName(kNewImageFromCropName);
  created.Caption = GetFileNamePart(created.Tag);
  SaveUndo(created);
  ShowDocument(created);
}

void Application::CreateNewCopy(Document& doc) {
  const int32_t width = doc.PictureWidth(), height = doc.PictureHeight();
  Document& copy = NewDocument();
  Clipboard& clipboard = ui_.SystemClipboard();
  BitsCopyToClipboard(doc, clipboard);
  if (!PasteFromClipboard(copy, clipboard) || !copy.PictureExists()) {
    DiscardDocument(copy);
    active_ = &doc;
    return;
  }
  copy.BitRegion().Init(0, 0, width, height);
  copy.Tag = MakeUniqueDocumentName(doc.Tag);
  copy.Caption = GetFileNamePart(copy.Tag);
  SaveUndo(copy);
  ShowDocument(copy);
}

void Application::CreateFromClipboard() {
  Clipboard& clipboard = ui_.SystemClipboard();
  if (!clipboard.HasPicture()) return;
  Document* previous = GetActiveImage();
  Document& created = NewDocument();
  if (!PasteFromClipboard(created, clipboard) || !created.PictureExists()) {
    DiscardDocument(created);
    active_ = previous;
    return;
  }
  created.Tag = MakeUniqueDocumentName(fNew::kDocumentName);
  created.Caption = GetFileNamePart(created.Tag);
  // A creator records the first undo state.
  SaveUndo(created);
  ShowDocument(created);
}

void Application::ShowProperties(Document& doc) {
  if (doc.Tag.empty()) return;
  const std::filesystem::path file = doc.Tag;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(file, ec)) return;
  FileProperties properties;
  std::string error;
  if (!ReadFileProperties(file, properties, error)) return;
  int width = 0, height = 0, bpp = 0;
  if (ProbePictureFile(file, width, height, bpp, error)) SetPictureFacts(properties, width, height, bpp);
  Properties = std::move(properties);
  ui_.ShowForm("fProperties");
}

// ---------------------------------------------------------------------------
// MenuStatic

void Application::MenuStatic(std::string_view cmd) {
  RunGuarded([&] { StaticWord(cmd); });
}

void Application::StaticWord(std::string_view cmd) {
  Document* doc = GetActiveImage();
  if (cmd == "NEW") {
    ui_.ShowForm("fNew");
  } else if (cmd == "OPEN") {
    OpenCommand();
  } else if (cmd == "OPTIONS") {
    OptionsDialog = std::make_unique<fOptions>(record_);
    ui_.ShowForm("fOptions");
  } else if (cmd == "SELECTSOURCE" || cmd == "ACQUIRETWAIN") {
    // Accepted; nothing to do.
  } else if (cmd == "CLOSE") {
    if (doc) CloseDocument(*doc);
  } else if (cmd == "SAVE") {
    if (doc) SaveCommand(*doc);
  } else if (cmd == "SAVEAS") {
    if (doc) SaveAsCommand(*doc);
  } else if (cmd == "IMAGESAVEOPTIONS") {
    if (doc) ui_.ShowForm("FWeb");
  } else if (cmd == "TILEHORIZONTALLY" || cmd == "TILEVERTICALLY" || cmd == "CASCADE") {
    const ArrangeMode mode = cmd == "TILEHORIZONTALLY" ? ArrangeMode::TileHorizontal
                             : cmd == "TILEVERTICALLY" ? ArrangeMode::TileVertical
                                                       : ArrangeMode::Cascade;
    lastArrange_ = mode;
    if (Observers.Arrange) Observers.Arrange(mode);
  } else if (cmd == "RESET") {
    ResetCommand();
  } else if (OneOf(cmd, kDeferredStaticWords)) {
    Deferred(cmd);
  }
}

void Application::OpenCommand() {
  FileDialogRequest request;
  request.Title = std::string(kOpenTitle);
  request.Filter = std::string(kOpenFilter);
  request.DefaultExtension = std::string(kOpenDefaultExtension);
  request.Flags = static_cast<int32_t>(kOpenDialogFlags);
  request.InitialFolder = openDialogFolder_;
  const std::optional<std::filesystem::path> chosen = ui_.ChooseFile(request);
  if (!chosen) return;
  ui_.Yield();
  std::string name = chosen->string();
  // The dialog may have put the default extension behind a name that had none.
  std::error_code ec;
  if (!std::filesystem::exists(name, ec) && name.size() >= 4) name.resize(name.size() - 4);
  OpenFile(name);
}

void Application::SaveCommand(Document& doc) {
  // An invented name ("New.bmp" of a new or pasted picture) has no folder:
  // it was never saved, so the user picks the place.
  if (!std::filesystem::path(doc.Tag).has_parent_path()) {
    SaveAsCommand(doc);
    return;
  }
  SaveTarget target{&doc.PictureBits(), doc.Tag, doc.Caption, doc.Changed, ""};
  const std::string ext = LowerCaseExtension(GetExtensionName(doc.Tag));
  SaveOutcome outcome = SaveOutcome::Failed;
  const FileStamp before = StampOf(doc.Tag);
  {
    TempFolderLock lock;
    if (IsSaveInPlaceExtension(ext)) RefreshOptimizedCopyFor(doc.PictureBits(), ext);
    outcome = kelvane::SaveCommand(target);
  }
  if (outcome == SaveOutcome::NeedsSaveAs) {
    SaveAsCommand(doc);
    return;
  }
  // A file that was not written is a failed save: the document keeps its
  // changed mark, so closing it still asks.
  if (outcome != SaveOutcome::Saved || !WroteFile(doc.Tag, before)) {
    ui_.Message(SaveErrorMessage());
    return;
  }
  doc.Tag = target.Tag;
  doc.Caption = target.Caption;
  doc.Changed = target.Modified;
  Status(doc, "Name", target.StatusName);
  AddRecentFile(record_, doc.Tag);
  FillRecent();
}

void Application::SaveAsCommand(Document& doc) {
  SaveTarget target{&doc.PictureBits(), doc.Tag, doc.Caption, doc.Changed, ""};
  const SaveDialogSettings settings = SaveAsDialogSettings(target);
  FileDialogRequest request;
  request.Save = true;
  request.Title = settings.Title;
  request.Filter = settings.Filter;
  request.FileName = settings.FileName;
  request.InitialFolder = settings.InitialFolder;
  request.DefaultExtension = dialogDefaultExtension_;
  const std::optional<std::filesystem::path> chosen = ui_.ChooseFile(request);
  // A cancelled dialog ends the command quietly.
  if (!chosen || !IsOpen(&doc)) return;
  const std::string name = chosen->string();
  SaveOutcome outcome = SaveOutcome::Failed;
  std::string folder;
  const FileStamp before = StampOf(name);
  {
    TempFolderLock lock;
    RefreshOptimizedCopyFor(doc.PictureBits(), LowerCaseExtension(GetExtensionName(name)));
    // The document's own old name does not make the new one taken.
    outcome = kelvane::SaveAsCommand(target, name, OpenTagsExcept(&doc), record_, &folder);
  }
  // As for SAVE: nothing written keeps the document's name and changed mark.
  if (outcome != SaveOutcome::Saved || !WroteFile(name, before)) {
    ui_.Message(SaveErrorMessage());
    return;
  }
  doc.Tag = target.Tag;
  doc.Caption = target.Caption;
  doc.Changed = target.Modified;
  AddRecentFile(record_, name);
  FillRecent();
}

void Application::ResetCommand() {
  const std::filesystem::path file = SettingsFilePath(appFolder_);
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) return;
  const Answer answer = ui_.AskOkCancel(kResetQuestion, kProductTitle);
  if (answer != Answer::Ok && answer != Answer::Yes) return;
  record_.ResetRequested = kTrue;
  std::filesystem::remove(file, ec);
  // The unload handler writes the record back, ResetRequested included.
  if (Shutdown() && Observers.ExitRequested) Observers.ExitRequested();
}

}  // namespace kelvane
