// MainWindow: the frame window fMain. Its client area is a multi-document
// area holding one sub-window per document window (fImage); it owns the
// seven side boxes and keeps the frame's size in the settings record.
//
// Contract:
//  - The window title contains the product name "Kelvane".
//  - The record is the caller's; the window only writes MainWidth,
//    MainHeight (twips, while the window is in the normal state) and
//    MainMaximized as it is resized. A minimised window writes nothing.
//  - A double click on the empty client area (not on a sub-window) runs the
//    handler set with SetEmptyAreaDoubleClick: the open command.
//  - Closing a sub-window asks the handler set with SetCloseQuery first (the
//    document's save question); false keeps the window open. The document
//    window is destroyed with its sub-window; documentWindowClosed tells the
//    owner of the document afterwards, when no window refers to it any more.
//  - Tiling: horizontally stacks the windows one above another, each the
//    full width of the client area; vertically puts them side by side, each
//    the full height; cascade overlaps them from the top left. Minimised
//    sub-windows are left alone.
//  - As the active sub-window changes, the old document window gets
//    Form_Deactivate and the new one Form_Activate.
//  - Closing the frame runs the handler set with SetUnloadHandler (the
//    unload handler of the frame); false keeps the frame open.
//  - The frame's status bar holds the field "Size".
//  - Files dragged from a file manager onto the frame are handed, as local
//    paths in the order of the drop, to the handler set with SetFilesDropped
//    (the open road of each file); a drop without local files is refused.
//  - SetToolStrip docks the tool bar and its panels at the frame's left
//    edge, fixed there; the frame owns it from then on.
#pragma once

#include <QMainWindow>
#include <functional>
#include <vector>

#include "document/document.h"
#include "shell/side_boxes.h"
#include "shell/start_record.h"

class QLabel;
class QMdiArea;
class QMdiSubWindow;

namespace kelvane {

class DocumentWindow;

inline constexpr const char* kMainWindowTitle = "Kelvane";

class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit MainWindow(StartRecord& record, QWidget* parent = nullptr);
  ~MainWindow() override;

  QMdiArea* MdiArea() const { return mdiArea_; }
  const SideBoxSet& SideBoxes() const { return sideBoxes_; }
  SideBox* Box(std::string_view formName) const;

  // Steps 7 and 12 of the start: maximised from MainMaximized, or the stored
  // size (MainWidth x MainHeight twips).
  void RestoreFrame();
  // Step 14: the side boxes from the record's flags and places.
  void RestoreSideBoxes();
  // Brings the shown floating boxes above the frame.
  void RaiseSideBoxes();

  // Makes a sub-window for the document (Form_Load's sizing, maximised when
  // the record says so) and shows it. The document must outlive the window.
  DocumentWindow* AddDocumentWindow(Document& doc);
  DocumentWindow* ActiveDocumentWindow() const;
  // In window order.
  std::vector<DocumentWindow*> DocumentWindows() const;

  void TileHorizontally();
  void TileVertically();
  void Cascade();

  // The frame's status field "Size": the active picture's width and height.
  void SetStatusSize(const QString& text);
  QString StatusSize() const;

  void SetToolStrip(QWidget* strip);
  QWidget* ToolStripWidget() const { return toolStrip_; }

  void SetEmptyAreaDoubleClick(std::function<void()> handler) { emptyAreaDoubleClick_ = std::move(handler); }
  void SetCloseQuery(std::function<bool(DocumentWindow&)> query) { closeQuery_ = std::move(query); }
  void SetUnloadHandler(std::function<bool()> handler) { unloadHandler_ = std::move(handler); }
  void SetFilesDropped(std::function<void(const QStringList&)> handler) { filesDropped_ = std::move(handler); }

 signals:
  void activeDocumentChanged(kelvane::DocumentWindow* window);
  // The window of this document is gone.
  void documentWindowClosed(kelvane::Document* doc);
  // The frame closed: the program ends.
  void unloaded();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void KeepFrameInRecord();
  void OnSubWindowActivated(QMdiSubWindow* sub);
  std::vector<QMdiSubWindow*> ArrangeableWindows() const;

  StartRecord& record_;
  QMdiArea* mdiArea_ = nullptr;
  SideBoxSet sideBoxes_;
  DocumentWindow* activeWindow_ = nullptr;
  QWidget* toolStrip_ = nullptr;
  QLabel* statusSize_ = nullptr;
  std::function<void()> emptyAreaDoubleClick_;
  std::function<bool(DocumentWindow&)> closeQuery_;
  std::function<bool()> unloadHandler_;
  std::function<void(const QStringList&)> filesDropped_;
};

}  // namespace kelvane
