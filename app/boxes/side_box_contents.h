// The contents of the seven side boxes over the Application, put into the
// boxes' content areas, and the wiring that keeps them with the active
// document.
//
// Contract:
//  - The constructor fills each box of the set it finds (a missing box is
//    skipped): fToolColor ColorBox, fToolTextures TexturesBox, fPaste
//    HistoryBox, fPanView PanViewBox, fToolBrowser BrowserBox, finfo InfoBox,
//    fLayerBox an empty layer list. The boxes must outlive this object.
//  - SetActiveWindow follows the document window the frame activated (null:
//    none): the pan view shows it, its canvas readouts go to finfo and the
//    colour box, its strokes refresh the history page and the pan view, and
//    a jump in the history lays its view out again and repaints it.
//  - ChainObservers adds the boxes' refreshes to the Application's observers
//    UpdateImage, RefreshPanView and RefreshInfo, keeping whatever handler was
//    set before (it runs first). Call it after the frame set its own. The
//    added handlers do nothing once this object is gone.
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <string>
#include <vector>

#include "shell/side_boxes.h"

class QListWidget;

namespace kelvane {

class Application;
class BrowserBox;
class ColorBox;
class Document;
class DocumentWindow;
class HistoryBox;
class InfoBox;
class PanViewBox;
class TexturesBox;

class SideBoxContents : public QObject {
  Q_OBJECT

 public:
  SideBoxContents(Application& app, const SideBoxSet& boxes, QObject* parent = nullptr);
  ~SideBoxContents() override;

  void SetActiveWindow(DocumentWindow* window);
  DocumentWindow* ActiveWindow() const { return window_; }
  void ChainObservers();

  // The refreshes the observers run.
  void RefreshHistory();
  void RefreshPanView();
  void RefreshPicture();
  void RefreshInfo(const std::string& optimizedTempName);

  ColorBox* Colors() const { return color_; }
  TexturesBox* Textures() const { return textures_; }
  HistoryBox* History() const { return history_; }
  PanViewBox* PanView() const { return panView_; }
  BrowserBox* Browser() const { return browser_; }
  InfoBox* Info() const { return info_; }
  QListWidget* Layers() const { return layers_; }

 private:
  void OnHistoryJumped(Document* doc);

  Application& app_;
  QPointer<DocumentWindow> window_;
  std::vector<QMetaObject::Connection> windowConnections_;
  ColorBox* color_ = nullptr;
  TexturesBox* textures_ = nullptr;
  HistoryBox* history_ = nullptr;
  PanViewBox* panView_ = nullptr;
  BrowserBox* browser_ = nullptr;
  InfoBox* info_ = nullptr;
  QListWidget* layers_ = nullptr;
};

}  // namespace kelvane
