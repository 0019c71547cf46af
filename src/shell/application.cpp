#include "shell/application.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <system_error>

#include "base/numeric.h"
#include "document/painting.h"
#include "document/text_mask.h"
#include "imagefiles/image_load.h"
#include "shell/app_folder.h"
#include "shell/filter_commands.h"
#include "shell/single_instance.h"

namespace kelvane {

// ---------------------------------------------------------------------------
// Side boxes

const std::array<SideBoxFields, 7>& SideBoxTable() {
  using R = StartRecord;
  static const std::array<SideBoxFields, 7> table = {{
      {"fToolColor", 4, &R::ColorBoxShown, &R::ColorBoxRolled, &R::ColorBoxLeft, &R::ColorBoxTop, nullptr,
       nullptr},
      {"fToolTextures", 5, &R::TexturesBoxShown, &R::TexturesBoxRolled, &R::TexturesBoxLeft,
       &R::TexturesBoxTop, nullptr, nullptr},
      {"fPaste", 6, &R::PasteBoxShown, &R::PasteBoxRolled, &R::PasteBoxLeft, &R::PasteBoxTop,
       &R::PasteBoxWidth, &R::PasteBoxHeight},
      {"fPanView", 7, &R::PanViewShown, &R::PanViewRolled, &R::PanViewLeft, &R::PanViewTop, &R::PanViewWidth,
       &R::PanViewHeight},
      {"fToolBrowser", 8, &R::BrowserBoxShown, &R::BrowserBoxRolled, &R::BrowserBoxLeft, &R::BrowserBoxTop,
       &R::BrowserBoxWidth, &R::BrowserBoxHeight},
      {"finfo", 9, &R::OptimizeBoxShown, &R::OptimizeBoxRolled, &R::OptimizeBoxLeft, &R::OptimizeBoxTop,
       nullptr, nullptr},
      {"fLayerBox", 10, &R::LayerBoxShown, &R::LayerBoxRolled, &R::LayerBoxLeft, &R::LayerBoxTop,
       &R::LayerBoxWidth, &R::LayerBoxHeight},
  }};
  return table;
}

const SideBoxFields* SideBoxForViewsIndex(int32_t viewsIndex) {
  for (const SideBoxFields& box : SideBoxTable())
    if (box.ViewsIndex == viewsIndex) return &box;
  return nullptr;
}

SideBoxPlacement PlacementOf(const StartRecord& record, const SideBoxFields& box) {
  SideBoxPlacement p;
  p.Form = box.Form;
  p.ViewsIndex = box.ViewsIndex;
  p.Shown = record.*box.Shown != 0;
  p.Rolled = record.*box.Rolled != 0;
  p.Left = record.*box.Left;
  p.Top = record.*box.Top;
  p.StoresSize = box.Width != nullptr;
  if (p.StoresSize) {
    p.Width = record.*box.Width;
    p.Height = record.*box.Height;
  }
  return p;
}

// ---------------------------------------------------------------------------
// Construction

struct Application::InstanceLockHolder {
  explicit InstanceLockHolder(const std::filesystem::path& file) : lock(file) {}
  InstanceLock lock;
};

Application::Application(UserInterface& ui, std::filesystem::path appFolder)
    : ui_(ui), appFolder_(std::move(appFolder)), record_(DefaultStartRecord(appFolder_)) {
  tools_ = std::make_unique<ToolPanel>(record_);
  // The paste box's opacity slider is a view of the record's field.
  clips_.SetPressure(record_.PasteBoxPressure);
  // Only the main engine's progress is listened to; it drives the active
  // document's bar.
  cFilter_.SetProgressHandler([this](int32_t percent) {
    if (Document* doc = GetActiveImage(); doc && Observers.Progress) Observers.Progress(*doc, percent);
  });
  // A tool click first lays down a paste still floating over the document.
  tools_->BeforeToolClick = [this] {
    Document* doc = GetActiveImage();
    if (doc && clips_.IsFloating(*doc) && clips_.DropFloatingPaste(*doc)) UpdateDocument(*doc, false, true);
  };
}

Application::~Application() { cFilter_.BitsRegion(nullptr); }

bool Application::RunGuarded(const std::function<void()>& body) {
  try {
    body();
    return true;
  } catch (...) {
    // A failing step ends the command; the steps before it stand.
    return false;
  }
}

// ---------------------------------------------------------------------------
// Documents

Document* Application::GetActiveImage() const { return IsOpen(active_) ? active_ : nullptr; }

void Application::Activate(Document* doc) {
  if (!IsOpen(doc)) return;
  active_ = doc;
  // The history page follows the active document.
  clips_.SwapHistoy(*doc);
}

bool Application::IsOpen(const Document* doc) const {
  if (!doc) return false;
  return std::any_of(documents_.begin(), documents_.end(), [&](const auto& d) { return d.get() == doc; });
}

OpenDocumentTags Application::OpenTags() const { return OpenTagsExcept(nullptr); }

OpenDocumentTags Application::OpenTagsExcept(const Document* doc) const {
  OpenDocumentTags tags;
  for (const auto& d : documents_)
    if (d.get() != doc) tags.push_back(d->Tag);
  return tags;
}

std::string Application::MakeUniqueDocumentName(std::string_view name) {
  return kelvane::MakeUniqueDocumentName(OpenTags(), name);
}

bool Application::IsDocumentOpen(std::string_view path) const {
  return kelvane::IsDocumentOpen(OpenTags(), path);
}

std::string Application::GetFileNamePart(std::string_view path) { return kelvane::GetFileNamePart(path); }

Document& Application::NewDocument() {
  documents_.push_back(std::make_unique<Document>(globals_, appFolder_));
  active_ = documents_.back().get();
  return *active_;
}

void Application::ShowDocument(Document& doc) {
  Activate(&doc);
  if (Observers.DocumentOpened) Observers.DocumentOpened(doc);
}

void Application::RemoveFromList(Document& doc) {
  if (cFilter_.BitsRegionHandle()) cFilter_.BitsRegion(nullptr);
  if (filterDialogDocument_ == &doc) {
    FilterDialog.reset();
    filterDialogDocument_ = nullptr;
  }
  if (zoomedDocument_ == &doc) zoomedDocument_ = nullptr;
  const bool wasActive = active_ == &doc;
  documents_.erase(
      std::remove_if(documents_.begin(), documents_.end(), [&](const auto& d) { return d.get() == &doc; }),
      documents_.end());
  if (wasActive) {
    active_ = nullptr;
    if (!documents_.empty()) Activate(documents_.back().get());
  }
}

void Application::DiscardDocument(Document& doc) {
  doc.History().DeleteUndoFiles();
  clips_.DocumentClosed(doc);
  RemoveFromList(doc);
}

void Application::UnloadDocument(Document& doc) {
  if (Observers.DocumentClosed) Observers.DocumentClosed(doc);
  RunGuarded([&] { doc.History().DeleteUndoFiles(); });
  clips_.DocumentClosed(doc);
  RemoveFromList(doc);
  // With the last document gone the pan view goes blank.
  if (documents_.empty()) RefreshPanView();
}

bool Application::CloseDocument(Document& doc) {
  if (!IsOpen(&doc)) return true;
  bool closes = true;
  RunGuarded([&] {
    if (!AskOnClose(record_.SaveAskOnClose != 0, doc.Changed, doc.History().UndoPos())) return;
    const std::string text = CloseQuestionText(ui_.CompactPath(doc.Caption, 400));
    const Answer answer = ui_.AskYesNoCancel(text, kCloseQuestionTitle);
    if (answer == Answer::Cancel) {
      closes = false;
    } else if (answer == Answer::Yes) {
      // The question always runs the save dialog; a cancelled dialog still
      // lets the window go.
      SaveAsCommand(doc);
    }
  });
  if (!closes) return false;
  if (IsOpen(&doc)) UnloadDocument(doc);
  return true;
}

bool Application::OpenFile(const std::string& path) {
  bool opened = false;
  RunGuarded([&] {
    const std::string ext = LowerCaseExtension(GetExtensionName(path));
    // The platform road reads its own files; every other type is decoded
    // first, as the open dialog's preview always did before loadBitmap.
    if (ext != "klf" && !IsPlatformPictureExtension(ext) && !IsDocumentOpen(path))
      hLoadedBitmap = LoadImageFile(path, ext);
    LoadBitmapResult result = loadBitmap(path, ext, OpenTags(), record_, true);
    switch (result.outcome) {
      case LoadBitmapResult::Outcome::AlreadyOpen:
        ui_.Message({result.message, result.title, MessageIcon::Information});
        return;
      case LoadBitmapResult::Outcome::Layered:
        if (Observers.OpenLayeredFile) Observers.OpenLayeredFile(path);
        tools_->Select_Init();
        return;
      case LoadBitmapResult::Outcome::Failed:
        ui_.Message({std::string(kLoadErrorMessage), std::string(kProductTitle), MessageIcon::Exclamation});
        return;
      case LoadBitmapResult::Outcome::Opened:
        break;
    }
    Document& doc = NewDocument();
    doc.SetSourcePicture(result.picture);
    if (!doc.SetPicture(false)) {
      DiscardDocument(doc);
      ui_.Message({std::string(kLoadErrorMessage), std::string(kProductTitle), MessageIcon::Exclamation});
      return;
    }
    doc.Tag = result.Tag;
    doc.Caption = result.Caption;
    SaveUndo(doc);
    FillRecent();
    openDialogFolder_ = GetFolderPart(path);
    ShowDocument(doc);
    tools_->Select_Init();
    opened = true;
  });
  return opened;
}

void Application::FillRecent() {
  tools_->FillRecent([this](std::string_view text, int32_t pixels) { return ui_.CompactPath(text, pixels); });
}

// ---------------------------------------------------------------------------
// Update and its parts

void Application::Redraw(Document& doc) {
  if (Observers.UpdateImage) Observers.UpdateImage(doc);
}

void Application::RefreshPanView() {
  if (Observers.RefreshPanView) Observers.RefreshPanView();
}

void Application::Status(Document& doc, std::string_view panel, const std::string& text) {
  if (Observers.StatusText) Observers.StatusText(doc, panel, text);
}

void Application::SelectionTimer(Document& doc, bool running) {
  if (Observers.SelectionTimer) Observers.SelectionTimer(doc, running);
}

void Application::Deferred(std::string_view word) {
  if (Observers.DeferredCommand) Observers.DeferredCommand(word);
}

void Application::SaveUndo(Document& doc) {
  const UndoSaveResult saved = doc.SaveUndoBits();
  clips_.AfterSave(doc, saved);
}

cBitFilter& Application::PrepareFilter(Document& doc) {
  cFilter_.SetBits(doc.PictureBits());
  TellFilterRegion(doc);
  return cFilter_;
}

void Application::TellFilterRegion(Document& doc) { cFilter_.BitsRegion(PaintRegion(doc.BitRegion())); }

void Application::UpdateDocument(Document& doc, bool noRedraw, bool takeUndo) {
  if (Observers.Progress) Observers.Progress(doc, 0);
  if (!noRedraw) Redraw(doc);
  RefreshPanView();
  if (takeUndo) {
    SaveUndo(doc);
    doc.Changed = true;
    // The picture now on screen is a state of its own: the next zoom starts
    // from it.
    zoomedOnce_ = false;
  }
  if (Observers.RefreshInfo) Observers.RefreshInfo(GetOptimizedTempName());
  documentChanged_ = true;
}

void Application::Update(bool noRedraw, bool takeUndo) {
  Document* doc = GetActiveImage();
  if (!doc) return;
  RunGuarded([&] { UpdateDocument(*doc, noRedraw, takeUndo); });
}

// ---------------------------------------------------------------------------
// Zoom and rotation

void Application::ZoomImage(int32_t factor, bool enlarge, bool quality) {
  Document* doc = GetActiveImage();
  if (!doc || !doc->PictureExists() || factor < 1) return;
  RunGuarded([&] {
    doc->ZoomFactor(1);
    kelvane::Bits source = doc->Bits();
    if (zoomedOnce_ && zoomedDocument_ == doc) {
      // Zooming is a view of the last undo state: start again from it.
      const int32_t slot = doc->History().UndoPos() - 1;
      kelvane::Bits snapshot;
      cBitRegion scratch;
      if (slot >= 0 && LoadUndoBits(doc->History().SlotFile(slot), snapshot, scratch))
        source = std::move(snapshot);
    } else {
      zoomedOnce_ = true;
      zoomedDocument_ = doc;
    }
    int32_t newWidth = 0, newHeight = 0;
    ZoomImageSize(source.Width(), source.Height(), factor, enlarge, newWidth, newHeight);
    // A side that rounds to 0 is refused by CreateBlank; the picture stays.
    if (newWidth < 1 || newHeight < 1) return;
    cFilter_.SetBits(source);
    if (quality) {
      cFilter_.BitsResample(source, newWidth, newHeight);
    } else {
      cFilter_.BitsResize(source, newWidth, newHeight);
    }
    if (!doc->CreateBlank(newWidth, newHeight)) return;
    doc->Bits(cFilter_.BitsRef());
    doc->BitRegion().Init(0, 0, newWidth, newHeight);
    TellFilterRegion(*doc);
    UpdateDocument(*doc, false, false);
    Status(*doc, kPanelSize, SizeText(newWidth, newHeight));
  });
}

void Application::RotateImage(int32_t degrees, bool antialias) {
  Document* doc = GetActiveImage();
  if (!doc || !doc->PictureExists()) return;
  RunGuarded([&] {
    const double radians = degrees * kDegreesToRadians;
    const double c = std::fabs(std::cos(radians));
    const double s = std::fabs(std::sin(radians));
    const int32_t width = doc->PictureWidth();
    const int32_t height = doc->PictureHeight();
    const int32_t newWidth = Round(width * c + height * s);
    const int32_t newHeight = Round(width * s + height * c);
    if (newWidth < 1 || newHeight < 1) return;

    // The turn runs on a canvas that holds both the old picture and the new
    // size, the two centres on each other; the new size is then cut from its
    // middle. For most angles that canvas is the new size itself.
    const int32_t workWidth = std::max(width, newWidth);
    const int32_t workHeight = std::max(height, newHeight);
    const kelvane::Bits old = doc->Bits();
    doc->CreateBlank(workWidth, workHeight);
    doc->BitRegion().Init(0, 0, workWidth, workHeight);
    cFilter_.SetBits(doc->PictureBits());
    cFilter_.BitsRegion(doc->BitRegion().RegionMain());
    cFilter_.SetBits(cFilter_.TileMask(old, Round((workWidth - width) / 2.0),
                                       Round((workHeight - height) / 2.0), false, 0, Colour{-1}));
    kelvane::Bits turned = antialias ? cFilter_.RotateSmooth(degrees) : cFilter_.ROTATE(degrees, true);
    cFilter_.SetBits(turned);
    const int32_t cropLeft = Round((workWidth - newWidth) / 2.0);
    const int32_t cropTop = Round((workHeight - newHeight) / 2.0);
    cFilter_.BitsCrop(turned, cropLeft, cropTop, cropLeft + newWidth, cropTop + newHeight);

    const kelvane::Bits& result = cFilter_.BitsRef();
    if (!doc->CreateBlank(result.Width(), result.Height())) return;
    doc->Bits(result);
    doc->BitRegion().Init(0, 0, result.Width(), result.Height());
    TellFilterRegion(*doc);
    UpdateDocument(*doc, false, true);
    Status(*doc, kPanelSize, SizeText(result.Width(), result.Height()));
  });
}

// ---------------------------------------------------------------------------
// Dialog OKs

DialogResult Application::FinishSizeDialog(Document& doc, const DialogResult& result,
                                           const kelvane::Bits& bits) {
  if (!result.closed) return result;
  if (!bits.IsNull() && doc.CreateBlank(bits.Width(), bits.Height())) doc.Bits(bits);
  TellFilterRegion(doc);
  if (result.takeUndo) UpdateDocument(doc, false, true);
  if (!result.statusSize.empty()) Status(doc, kPanelSize, result.statusSize);
  return result;
}

DialogResult Application::NewDialogOK() {
  DialogResult result;
  RunGuarded([&] {
    kelvane::Bits bits;
    cBitRegion region;
    result = NewDialog.OK(cFilter_, bits, region);
    cFilter_.BitsRegion(nullptr);  // the scratch region dies here
    if (!result.closed || bits.IsNull()) return;
    Document& doc = NewDocument();
    if (!doc.CreateBlank(bits.Width(), bits.Height())) {
      DiscardDocument(doc);
      return;
    }
    doc.Bits(bits);
    doc.BitRegion().Init(0, 0, bits.Width(), bits.Height());
    doc.Tag = MakeUniqueDocumentName(fNew::kDocumentName);
    doc.Caption = std::string(fNew::kDocumentCaption);
    SaveUndo(doc);
    ShowDocument(doc);
  });
  return result;
}

DialogResult Application::SizeDialogOK() {
  DialogResult result;
  Document* doc = GetActiveImage();
  if (!doc || !SizeDialog) return result;
  RunGuarded([&] {
    kelvane::Bits bits = doc->Bits();
    result = FinishSizeDialog(*doc, SizeDialog->OK(cFilter_, bits, doc->BitRegion()), bits);
  });
  return result;
}

DialogResult Application::CanvasDialogOK() {
  DialogResult result;
  Document* doc = GetActiveImage();
  if (!doc || !CanvasDialog) return result;
  RunGuarded([&] {
    kelvane::Bits bits = doc->Bits();
    result = FinishSizeDialog(*doc, CanvasDialog->OK(cFilter_, bits, doc->BitRegion()), bits);
  });
  return result;
}

DialogResult Application::OrientationDialogOK() {
  DialogResult result;
  Document* doc = GetActiveImage();
  if (!doc || !OrientationDialog) return result;
  RunGuarded([&] {
    kelvane::Bits bits = doc->Bits();
    result = FinishSizeDialog(*doc, OrientationDialog->OK(cFilter_, bits, doc->BitRegion()), bits);
  });
  return result;
}

void Application::RotateDialogOK() {
  if (!RotateDialog) return;
  const RotateRequest request = RotateDialog->OK();
  RotateImage(request.degrees, request.antialias);
}

void Application::OptionsDialogOK() {
  if (OptionsDialog) OptionsDialog->OK(record_);
}

// ---------------------------------------------------------------------------
// Start and end

StartResult Application::StartRoutine(const std::filesystem::path& lockFile) {
  StartResult result;
  // Every step runs on its own: a failed one is skipped.
  RunGuarded([&] { result.SettingsFileExisted = LoadStartRecord(appFolder_, record_); });
  // The paste box's opacity slider is a view of the record's field.
  clips_.SetPressure(record_.PasteBoxPressure);
  RunGuarded([&] {
    instance_ = std::make_unique<InstanceLockHolder>(lockFile);
    if (instance_->lock.AnotherInstanceRuns()) {
      // A warning only: this instance goes on as an ordinary one. The frame
      // is not unloaded and loaded again here, since its unload would empty
      // the Temp folder that the first instance keeps its undo files in.
      result.AnotherInstance = true;
      ui_.Message(
          {std::string(kAlreadyRunningMessage), std::string(kProductTitle), MessageIcon::Information});
    }
  });
  result.MainState = record_.MainMaximized != 0 ? WindowState::Maximized : WindowState::Normal;
  result.MainWidth = record_.MainWidth;
  result.MainHeight = record_.MainHeight;
  result.OpenFolder = record_.OpenFolder.Get();
  openDialogFolder_ = result.OpenFolder;
  RunGuarded([&] { FillRecent(); });
  RunGuarded([&] { tools_->InitPanels(appFolder_); });
  for (const SideBoxFields& box : SideBoxTable()) {
    const SideBoxPlacement placement = PlacementOf(record_, box);
    if (placement.Shown) result.SideBoxes.push_back(placement);
  }
  RefreshTextMask();
  return result;
}

void Application::RefreshTextMask() {
  RunGuarded([&] {
    const int32_t size = record_.TextToolSize > 0 ? record_.TextToolSize : 20;
    Bits mask = MakeTextMask(record_.TextToolText.Get(), record_.TextToolFont.Get(), size);
    SetTextMask(mask.IsNull() ? std::nullopt : std::optional<Bits>(std::move(mask)));
  });
}

void Application::EmptyTempFolder() {
  std::error_code ec;
  const std::filesystem::path temp = AppSubfolderPath(appFolder_, AppSubfolder::Temp);
  std::filesystem::directory_iterator it(temp, ec), end;
  // Files only, as "Temp\*" matches them; a locked file is passed over.
  for (; !ec && it != end; it.increment(ec)) {
    std::error_code entryError;
    if (!it->is_directory(entryError)) std::filesystem::remove(it->path(), entryError);
  }
}

bool Application::Shutdown() {
  bool allClosed = true;
  RunGuarded([&] {
    for (size_t i = documents_.size(); i-- > 0;) {
      if (i >= documents_.size()) continue;
      if (!CloseDocument(*documents_[i])) {
        allClosed = false;
        break;
      }
    }
  });
  // Whatever happened above: the settings go to disk and Temp is emptied.
  RunGuarded([&] { SaveStartRecord(appFolder_, record_); });
  RunGuarded([&] { EmptyTempFolder(); });
  stampBits_.reset();
  textMask_.reset();
  textureTile_.reset();
  return allClosed;
}

void Application::MainWindowResized(WindowState state, int32_t widthTwips, int32_t heightTwips) {
  if (state == WindowState::Minimized) return;
  auto toI16 = [](int32_t v) {
    return static_cast<int16_t>(
        std::clamp<int32_t>(v, std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max()));
  };
  if (state == WindowState::Normal) {
    record_.MainWidth = toI16(widthTwips);
    record_.MainHeight = toI16(heightTwips);
  }
  record_.MainMaximized = state == WindowState::Maximized ? kTrue : kFalse;
}

std::optional<SideBoxPlacement> Application::ToggleSideBox(int32_t viewsIndex) {
  const SideBoxFields* box = SideBoxForViewsIndex(viewsIndex);
  if (!box) return std::nullopt;
  record_.*box->Shown = record_.*box->Shown != 0 ? kFalse : kTrue;
  const SideBoxPlacement placement = PlacementOf(record_, *box);
  if (Observers.SideBox) Observers.SideBox(placement);
  return placement;
}

void Application::SideBoxClosed(int32_t viewsIndex) {
  const SideBoxFields* box = SideBoxForViewsIndex(viewsIndex);
  if (!box) return;
  record_.*box->Shown = kFalse;
  if (Observers.SideBox) Observers.SideBox(PlacementOf(record_, *box));
}

void Application::ColorPicked(int32_t colour, bool foreground) {
  (foreground ? record_.ForeColor : record_.BackColor) = colour;
}

}  // namespace kelvane
