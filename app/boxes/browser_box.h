// fToolBrowser's contents: a folder tree over the file system and the
// thumbnails of the picture files of the folder chosen, drawn by the
// record's thumbnail settings.
//
// Contract:
//  - The folder shown first is BrowserFolder, else OpenFolder, else the home
//    folder. Choosing a folder lists its files whose extension a decoder
//    takes (the extension table and the platform's five), sorted by name
//    without regard to case; the list shows at once with blank tiles.
//  - Tiles: a ThumbnailWidth x ThumbnailHeight picture area (pixels, at
//    least 16 x 16) on ThumbnailBackground, ThumbnailBorder pixels of it
//    round the picture; the picture fitted with its proportions kept, never
//    enlarged, nearest neighbour for ThumbnailQuality 0 and smooth for 1.
//    Below it the file name (ThumbnailShowFilename) and "W x H"
//    (ThumbnailShowResolution) when those are set.
//  - Thumbnails are made lazily: one file per turn of the event loop, so the
//    window never waits on a folder. A file that does not decode keeps a
//    crossed tile. Choosing another folder drops the work left.
//  - A double click on a tile opens the file through Application::OpenFile.
#pragma once

#include <QImage>
#include <QWidget>
#include <deque>
#include <filesystem>
#include <string>

class QFileSystemModel;
class QListWidget;
class QListWidgetItem;
class QTreeView;

namespace kelvane {

class Application;
struct StartRecord;

// Whether the browser lists a file of that name.
bool IsBrowsablePicture(const std::filesystem::path& path);
// One tile as the contract draws it; `picture` null for a file that did not
// decode, `width`/`height` its size for the resolution line.
QImage BrowserTile(const StartRecord& record, const QImage& picture, const QString& name, int width, int height);

class BrowserBox : public QWidget {
  Q_OBJECT

 public:
  BrowserBox(Application& app, QWidget* parent);
  void ShowFolder(const std::filesystem::path& folder);
  const std::filesystem::path& Folder() const { return folder_; }
  QListWidget* Thumbnails() const { return list_; }
  QTreeView* Tree() const { return tree_; }
  // Runs the thumbnail work left now (tests and screenshots).
  void FinishThumbnails();
  int PendingThumbnails() const { return static_cast<int>(pending_.size()); }

 private:
  void MakeNextThumbnail();
  QSize TileSize() const;

  Application& app_;
  QFileSystemModel* model_ = nullptr;
  QTreeView* tree_ = nullptr;
  QListWidget* list_ = nullptr;
  std::filesystem::path folder_;
  std::deque<int> pending_;
  bool queued_ = false;
  int generation_ = 0;
};

}  // namespace kelvane
