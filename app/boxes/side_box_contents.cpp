#include "boxes/side_box_contents.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QTabWidget>
#include <QVBoxLayout>
#include <cstring>

#include "boxes/browser_box.h"
#include "boxes/color_box.h"
#include "boxes/history_box.h"
#include "boxes/info_box.h"
#include "boxes/pan_view_box.h"
#include "boxes/picture_convert.h"
#include "boxes/scratch_ui.h"
#include "boxes/textures_box.h"
#include "document/canvas_widget.h"
#include "document/document_window.h"
#include "imagefiles/picture_io.h"
#include "shell/application.h"

namespace kelvane {

namespace {

// Puts a box's contents into its content area, filling it.
template <typename W>
W* Fill(const SideBoxSet& boxes, std::string_view name, W* widget) {
  const auto it = boxes.find(name);
  if (it == boxes.end()) {
    delete widget;
    return nullptr;
  }
  QWidget* content = it->second->Content();
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(1, 0, 1, 1);
  layout->setSpacing(0);
  widget->setParent(content);
  layout->addWidget(widget);
  return widget;
}

}  // namespace

SideBoxContents::SideBoxContents(Application& app, const SideBoxSet& boxes, QObject* parent)
    : QObject(parent), app_(app) {
  color_ = Fill(boxes, "fToolColor", new ColorBox(app_.Record(), nullptr));
  textures_ = Fill(boxes, "fToolTextures", new TexturesBox(app_, nullptr));
  history_ = Fill(boxes, "fPaste", new HistoryBox(app_, nullptr));
  panView_ = Fill(boxes, "fPanView", new PanViewBox(nullptr));
  browser_ = Fill(boxes, "fToolBrowser", new BrowserBox(app_, nullptr));
  info_ = Fill(boxes, "finfo", new InfoBox(nullptr));
  auto* layers = new QListWidget(nullptr);
  layers->setObjectName("lstLayers");
  layers_ = Fill(boxes, "fLayerBox", layers);
  if (history_) connect(history_, &HistoryBox::historyJumped, this, &SideBoxContents::OnHistoryJumped);
}

SideBoxContents::~SideBoxContents() {
  for (const QMetaObject::Connection& c : windowConnections_) disconnect(c);
}

void SideBoxContents::SetActiveWindow(DocumentWindow* window) {
  for (const QMetaObject::Connection& c : windowConnections_) disconnect(c);
  windowConnections_.clear();
  window_ = window;
  if (panView_) panView_->SetWindow(window);
  if (window) {
    windowConnections_.push_back(connect(window, &DocumentWindow::canvasInfo, this,
                                         [this](const InfoReadout& info) {
                                           if (info_ && window_) info_->ShowReadout(info, &window_->Doc());
                                           // The picker writes the colours as the pointer moves.
                                           if (color_) color_->Refresh();
                                         }));
    windowConnections_.push_back(connect(window, &DocumentWindow::pictureEdited, this, [this] {
      RefreshPicture();
      RefreshHistory();
    }));
    windowConnections_.push_back(connect(window->Canvas(), &CanvasWidget::painted, this, [this] {
      if (panView_) panView_->Refresh();
    }));
  }
  RefreshHistory();
}

void SideBoxContents::ChainObservers() {
  QPointer<SideBoxContents> self(this);
  auto previousImage = app_.Observers.UpdateImage;
  app_.Observers.UpdateImage = [self, previousImage](Document& doc) {
    if (previousImage) previousImage(doc);
    if (self && self->window_ && &self->window_->Doc() == &doc) self->RefreshPicture();
  };
  auto previousPan = app_.Observers.RefreshPanView;
  app_.Observers.RefreshPanView = [self, previousPan] {
    if (previousPan) previousPan();
    if (self) {
      self->RefreshPicture();
      self->RefreshHistory();
    }
  };
  auto previousInfo = app_.Observers.RefreshInfo;
  app_.Observers.RefreshInfo = [self, previousInfo](const std::string& name) {
    if (previousInfo) previousInfo(name);
    if (self) self->RefreshInfo(name);
  };
}

void SideBoxContents::RefreshHistory() {
  if (history_) history_->Refresh();
}

void SideBoxContents::RefreshPanView() {
  if (panView_) panView_->Refresh();
}

void SideBoxContents::RefreshPicture() {
  if (panView_) panView_->RefreshPicture();
}

void SideBoxContents::RefreshInfo(const std::string& optimizedTempName) {
  if (info_) info_->ShowOptimized(optimizedTempName);
}

void SideBoxContents::OnHistoryJumped(Document* doc) {
  if (window_ && &window_->Doc() == doc) {
    // A snapshot may have another size than the picture it replaced.
    window_->UserControl_Resize();
    window_->UpdateImage();
  }
  RefreshPicture();
}

// ---- Screenshots -------------------------------------------------------------------

namespace {

QImage SamplePicture() {
  QImage image(320, 220, QImage::Format_RGB32);
  QPainter p(&image);
  QLinearGradient sky(0, 0, 0, 150);
  sky.setColorAt(0, QColor(70, 130, 200));
  sky.setColorAt(1, QColor(200, 225, 245));
  p.fillRect(image.rect(), sky);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(250, 220, 90));
  p.drawEllipse(QPointF(250, 50), 26, 26);
  p.setBrush(QColor(60, 120, 60));
  p.drawPolygon(QPolygonF({QPointF(0, 170), QPointF(90, 90), QPointF(170, 160), QPointF(240, 110),
                           QPointF(320, 170), QPointF(320, 220), QPointF(0, 220)}));
  p.setBrush(QColor(40, 90, 40));
  p.drawRect(QRectF(0, 185, 320, 35));
  return image;
}

}  // namespace

int CaptureSideBoxes(const QString& dir) {
  if (!QDir().mkpath(dir)) return 0;
  ScratchFolder folder;
  ScratchUi ui;
  Application app(ui, folder.Path());
  const std::filesystem::path picture = folder.Path() / "Images";
  std::error_code ec;
  std::filesystem::create_directories(picture, ec);
  std::string error;
  SavePictureFile(picture / "landscape.bmp", BitsFromImage(SamplePicture()), error);
  QImage other = SamplePicture().mirrored(true, false);
  SavePictureFile(picture / "mirrored.bmp", BitsFromImage(other), error);
  app.Record().BrowserFolder.Set((picture).string());
  if (!app.OpenFile((picture / "landscape.bmp").string())) return 0;
  Document& doc = *app.Documents().back();

  QWidget owner;
  owner.resize(900, 700);
  const SideBoxSet boxes = LoadSideBoxes(&owner);
  SideBoxContents contents(app, boxes);
  DocumentWindow window(doc);
  window.SetCanvasHost(&app, &app.Clips());
  window.resize(260, 200);
  window.show();
  contents.SetActiveWindow(&window);
  contents.ChainObservers();
  QApplication::processEvents();

  // A few strokes for the history page, and a clip.
  app.Record().ForeColor = 0x2020E0;
  app.Record().BrushSize = 12;
  app.Record().BrushPressure = 100;
  app.Record().BrushContinuous = kTrue;
  CanvasTools& tools = window.Tools();
  auto stroke = [&](std::string_view tool, int x0, int y0, int x1, int y1) {
    app.Record().CurrentTool.Set(tool);
    tools.MouseDown(doc, app, MouseButton::Left, x0, y0, false);
    tools.MouseMove(doc, app, (x0 + x1) / 2, (y0 + y1) / 2, false);
    tools.MouseMove(doc, app, x1, y1, false);
    tools.MouseUp(doc, app, MouseButton::Left, x1, y1, false);
  };
  stroke("Brush", 20, 20, 120, 60);
  app.Record().ForeColor = 0x20C0F0;
  app.Record().ShapeKind = 4;
  stroke("Shape", 160, 120, 190, 140);
  app.Record().FillTolerance = 60;
  stroke("Fill", 10, 200, 10, 200);
  Bits clip(60, 40);
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 60; ++x) std::memcpy(clip.Pixel(x, y), doc.PictureBits().Pixel(x + 100, y + 100), 4);
  app.Clips().AddClip(clip);
  tools.MouseMove(doc, app, 130, 90, false);
  emit window.canvasInfo(tools.Info());
  contents.RefreshHistory();
  contents.RefreshPicture();
  if (contents.History()) contents.History()->FinishThumbnails();
  if (contents.Browser()) {
    contents.Browser()->ShowFolder(picture);
    contents.Browser()->FinishThumbnails();
  }
  if (contents.Textures()) contents.Textures()->Choose(2);
  window.Scroll(40, 30);

  int written = 0;
  for (const auto& [name, box] : boxes) {
    box->setFloating(true);
    const QSize design = box->Placement().DesignSize;
    box->resize(design.expandedTo(box->minimumSizeHint()));
    box->show();
    QApplication::processEvents();
    if (box->grab().save(dir + "/sidebox-" + QString::fromStdString(name) + ".png")) ++written;
    if (name == "fPaste" && contents.History()) {
      // The second page too.
      contents.History()->Pages()->setCurrentIndex(0);
      QApplication::processEvents();
      if (box->grab().save(dir + "/sidebox-fPaste-clips.png")) ++written;
      contents.History()->Pages()->setCurrentIndex(1);
    }
    box->hide();
  }
  return written;
}

}  // namespace kelvane
