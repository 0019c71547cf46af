// fPaste's contents: two pages over the Application's ClipHistory. "Clips"
// (tabClips) lists the used clip rows with thumbnails drawn from the clips
// and the page title ClipTitle; "Actions" (tabActions) lists the history rows
// of the document shown, each with a thumbnail drawn from its snapshot file.
// Below both, BrSelectionMovePressure sets the opacity of a pasted clip.
//
// Contract:
//  - Refresh rebuilds both lists from the model; rows whose picture did not
//    change keep their thumbnails. History thumbnails are made lazily, one
//    snapshot file per turn of the event loop, and kept by file path, size
//    and time, so a refresh never reads a file twice and never blocks.
//  - The row of the step on screen is marked (bold and selected); the redo
//    rows after it are drawn greyed.
//  - A click on a history row calls Ltext_Click with that document and row
//    and then emits historyJumped for the window to redraw. A click on a clip
//    row selects it for PASTE. The slider writes ClipHistory::SetPressure
//    (1..100, 50 at first) and its value shows in lblSize.
//  - A document that is not open shows no rows.
#pragma once

#include <QImage>
#include <QWidget>
#include <deque>
#include <map>
#include <string>

class QLabel;
class QListWidget;
class QListWidgetItem;
class QSlider;
class QTabWidget;

namespace kelvane {

class Application;
class Document;

class HistoryBox : public QWidget {
  Q_OBJECT

 public:
  HistoryBox(Application& app, QWidget* parent);
  void Refresh();

  QTabWidget* Pages() const { return pages_; }
  QListWidget* ClipList() const { return clipList_; }
  QListWidget* HistoryList() const { return historyList_; }
  QSlider* PressureSlider() const { return pressure_; }
  QLabel* ClipTitleLabel() const { return clipTitle_; }
  // Makes the pending thumbnails now (tests and screenshots).
  void FinishThumbnails();

 signals:
  void historyJumped(kelvane::Document* doc);

 private:
  Document* ShownDocument() const;
  void RefreshClips();
  void RefreshHistory();
  void MakeNextThumbnail();
  QImage SnapshotThumbnail(const std::string& file);

  Application& app_;
  QTabWidget* pages_ = nullptr;
  QListWidget* clipList_ = nullptr;
  QLabel* clipTitle_ = nullptr;
  QListWidget* historyList_ = nullptr;
  QSlider* pressure_ = nullptr;
  QLabel* lblSize_ = nullptr;
  struct CachedThumb {
    uintmax_t size = 0;
    int64_t time = 0;
    QImage image;
  };
  std::map<std::string, CachedThumb> thumbs_;
  std::deque<int> pendingRows_;
  bool thumbTimerQueued_ = false;
};

}  // namespace kelvane
