// OpenPictureDialog: the open command's file dialog cmdp with its preview
// pane: a thumbnail of the file under the cursor with its type, size in
// pixels and colour depth.
//
// Contract:
//  - A plain non-native QFileDialog otherwise; the caller sets title, filters
//    and folder as for any file dialog.
//  - The preview follows the current file after a short pause, so that
//    walking a folder with the keys never waits for a decode; files over
//    kPreviewFileLimit bytes, folders and files that do not decode show the
//    type text only. Decoding goes the editor's own road (LoadPictureFile).
#pragma once

#include <QFileDialog>
#include <QTimer>
#include <cstdint>

class QLabel;

namespace kelvane {

inline constexpr int kPreviewWidth = 160;
inline constexpr int kPreviewHeight = 120;
inline constexpr uintmax_t kPreviewFileLimit = 40u * 1024u * 1024u;

class OpenPictureDialog : public QFileDialog {
  Q_OBJECT

 public:
  explicit OpenPictureDialog(QWidget* parent = nullptr);

  // The preview of a file now, without the pause (also for the tests).
  void ShowPreview(const QString& file);
  QLabel* PreviewPicture() const { return picture_; }
  QLabel* PreviewFacts() const { return facts_; }

 private:
  QLabel* picture_ = nullptr;
  QLabel* facts_ = nullptr;
  QTimer pause_;
  QString pending_;
};

}  // namespace kelvane
