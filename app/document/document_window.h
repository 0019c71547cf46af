// DocumentWindow: the document window fImage, the content of one sub-window
// of the main window's frame. It shows one Document through three tabs:
// "Enhanced" (cOriginal: the picture view PImage with the canvas iDst and the
// bars hSB and vSB), "Optimized" (cOptimize: oImage with oSrc) and "Layered"
// (cLayers: picFrame). Below them the status bar sbInfo with the panels
// "Pixel", "Zoom" and "Name", and the bar cFilterProgress of long runs.
//
// Contract:
//  - The window does not own the document; whoever opened it keeps it alive
//    until the window is gone.
//  - Layout comes from the document alone: on every size change of PImage the
//    window hands the space to Document::SetViewSize and then places the
//    canvas and the bars from DstWidth/DstHeight, HScroll and VScroll. Bar
//    ranges are 0..Max with a page step of LargeChange and a single step of
//    one picture pixel (the zoom factor).
//  - Bar changes store their value in the document (SetHScrollValue /
//    SetVScrollValue) and repaint, except while ScrollLock is on: Scroll
//    writes both values under the lock and repaints once.
//  - tmrSelection (500 ms) runs between StartTimer and StopTimer. StartTimer
//    runs the tick once first. A tick with a non-empty selection rotates the
//    outline brush and redraws the outline; paints draw the outline only
//    while the timer runs.
//  - SetFilterProgress shows the bar with values 0 to 99 and hides it again
//    at 100 (the end of every run) or beyond; a negative value hides it.
//  - Form_Activate and Form_Deactivate are called by the main window as the
//    active sub-window changes.
//  - Canvas tools: with a host set (SetCanvasHost, the Application), the
//    canvas's press, move, release and Ctrl key-up go to the window's own
//    CanvasTools with canvas coordinates; canvasPressed goes out first, so
//    the owner can make this document the active one before the stroke
//    reaches the host's Update. After each event the window draws what the
//    tools ask for: the picture (TakeRepaint), the outline (TakeOutlineRedraw),
//    the rubber band, and it follows their outline timer: a change of the
//    timer's state starts or stops tmrSelection, and every release applies
//    the state the release left. canvasInfo carries the info readout of each
//    press and move. Without a host the mouse does nothing.
//  - A paste floating over the document (the clip history given with the
//    host) takes the pointer first: a left press on the clip drags it, a
//    left press beside it lays it down with an undo step ("Paste") and
//    starts nothing else.
//  - The pointer shows the stroke's tool picture while a stroke runs, the
//    picture of the current tool otherwise, and the hands while the mouse
//    scroll mode is on and the picture can scroll.
#pragma once

#include <QSize>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <map>
#include <string>
#include <string_view>

#include "document/canvas_tools.h"
#include "document/document.h"

class QLabel;
class QProgressBar;
class QScrollBar;
class QStackedWidget;
class QTabBar;

namespace kelvane {

class CanvasWidget;
class ClipHistory;

// Tab captions, in ViewTab order.
inline constexpr std::string_view kTabOriginalCaption = "Enhanced";
inline constexpr std::string_view kTabOptimizeCaption = "Optimized";
inline constexpr std::string_view kTabLayersCaption = "Layered";
// The third status panel: the document's caption.
inline constexpr std::string_view kPanelName = "Name";
inline constexpr int kSelectionTimerInterval = 500;

// Form_Load's size of a new window: the picture plus the window's own parts
// (chrome: tabs, status bar, frame), at most the default size of 500 x 500
// plus the margins (200 across; 35 and the status bar down) and at most the
// frame's client area; never under minimum.
QSize InitialWindowSize(QSize picture, QSize chrome, int statusBarHeight, QSize clientArea, QSize minimum);

class DocumentWindow : public QWidget {
  Q_OBJECT

 public:
  explicit DocumentWindow(Document& doc, QWidget* parent = nullptr);
  ~DocumentWindow() override;

  Document& Doc() { return doc_; }
  const Document& Doc() const { return doc_; }

  // The controls, for the main window and the tests.
  CanvasWidget* Canvas() const { return canvas_; }
  QWidget* PictureView() const { return pImage_; }
  QScrollBar* HBar() const { return hSB_; }
  QScrollBar* VBar() const { return vSB_; }
  QTabBar* Tabs() const { return tabs_; }
  QProgressBar* FilterProgressBar() const { return cFilterProgress_; }

  // The canvas tools' host and the paste box's model; null host: the mouse
  // does nothing on the canvas.
  void SetCanvasHost(CanvasHost* host, ClipHistory* clips = nullptr);
  CanvasHost* Host() const { return host_; }
  CanvasTools& Tools() { return tools_; }
  const CanvasTools& Tools() const { return tools_; }
  // Puts up the pointer for the state of the tools and the document.
  void RefreshPointer();

  // What the window would like to be on opening, inside a client area.
  QSize PreferredSize(QSize clientArea) const;

  // Repaints the canvas from Bits now.
  void UpdateImage();
  // Redraws the outline at the scrolled position.
  void UpdateRegion();
  // Lays the view out again from the document (after a picture change).
  void UserControl_Resize();
  void ZoomIn();
  void ZoomOut();
  void SetZoomFactor(int32_t factor);
  // Both bars at once, one repaint.
  void Scroll(int32_t x, int32_t y);
  void SetMouseScroll(bool on);

  void StartTimer();
  void StopTimer();
  bool SelectionTimerOn() const { return tmrSelection_.isActive(); }
  // tmrSelection's handler.
  void SelectionTick();

  void SetFilterProgress(int percent);

  // Status panels by key: "Pixel", "Zoom", "Name"; unknown keys do nothing.
  void SetPanelText(std::string_view key, const QString& text);
  QString PanelText(std::string_view key) const;

  // The tab clicks: cOriginal_Click, cOptimize_Click, cLayers_Click.
  void SelectTab(ViewTab tab);

  // The document's caption into the window title and the "Name" panel.
  void RefreshCaption();

  void Form_Activate();
  void Form_Deactivate();

  // Update_oSrc: centres the optimized picture in its view.
  void SetOptimizedPicture(const QImage& picture);
  void Update_oSrc();

 signals:
  // A tab was chosen; the main window enables its menus from the state.
  void tabSelected(kelvane::ViewTab tab);
  // cLayers_Click: the main window shows its layer panel.
  void layerPanelWanted();
  // A press on the canvas, before the tools see it.
  void canvasPressed();
  // The info box readout after a press or a move on the canvas.
  void canvasInfo(const kelvane::InfoReadout& info);
  // A stroke or a drop changed the picture (after its undo step).
  void pictureEdited();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void BuildControls();
  // Places canvas and bars from the document's layout.
  void ApplyLayout();
  void OnHBar(int value);
  void OnVBar(int value);
  void ShowTab(ViewTab tab);
  void OnCanvasPress(Qt::MouseButton button, int x, int y, Qt::KeyboardModifiers modifiers);
  void OnCanvasMove(Qt::MouseButtons buttons, int x, int y, Qt::KeyboardModifiers modifiers);
  void OnCanvasRelease(Qt::MouseButton button, int x, int y, Qt::KeyboardModifiers modifiers);
  void OnCanvasKeyRelease(int key, Qt::KeyboardModifiers modifiers);
  // Draws what the tools asked for; `release` applies their timer state
  // whether or not it changed.
  void FollowTools(bool release);
  // The floating paste's share of a press, move or release: true when it
  // took the event.
  bool FloatPress(int x, int y);
  bool FloatMove(int x, int y);

  Document& doc_;
  QTabBar* tabs_ = nullptr;
  QStackedWidget* views_ = nullptr;
  QWidget* pImage_ = nullptr;
  CanvasWidget* canvas_ = nullptr;
  QScrollBar* hSB_ = nullptr;
  QScrollBar* vSB_ = nullptr;
  QWidget* oImage_ = nullptr;
  QLabel* oSrc_ = nullptr;
  QScrollBar* oH_ = nullptr;
  QScrollBar* oV_ = nullptr;
  QWidget* picFrame_ = nullptr;
  QLabel* picLayer_ = nullptr;
  QWidget* sbInfo_ = nullptr;
  std::map<std::string, QLabel*, std::less<>> panels_;
  QWidget* picPb_ = nullptr;
  QProgressBar* cFilterProgress_ = nullptr;
  QTimer tmrSelection_;
  bool scrollLock_ = false;
  bool changingTab_ = false;
  CanvasHost* host_ = nullptr;
  ClipHistory* clips_ = nullptr;
  CanvasTools tools_;
  bool toolsTimerSeen_ = false;
  bool bandShown_ = false;
  bool draggingFloat_ = false;
  QPoint floatGrab_;
};

}  // namespace kelvane
