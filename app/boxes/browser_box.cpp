#include "boxes/browser_box.h"

#include <QDir>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QListWidget>
#include <QPainter>
#include <QSplitter>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>
#include <system_error>
#include <vector>

#include "boxes/picture_convert.h"
#include "imagefiles/image_load.h"
#include "imagefiles/picture_io.h"
#include "shell/application.h"

namespace kelvane {

namespace {

constexpr int kTextLineGap = 2;

QSize PictureArea(const StartRecord& record) {
  return QSize(std::max<int>(16, record.ThumbnailWidth), std::max<int>(16, record.ThumbnailHeight));
}

int TextLines(const StartRecord& record) {
  return (record.ThumbnailShowFilename ? 1 : 0) + (record.ThumbnailShowResolution ? 1 : 0);
}

}  // namespace

bool IsBrowsablePicture(const std::filesystem::path& path) {
  std::string ext = path.extension().string();
  if (ext.size() < 2) return false;
  ext = LowerCaseExtension(ext.substr(1));
  if (IsPlatformPictureExtension(ext)) return true;
  return DecoderForExtension(ext) != ImageDecoder::None;
}

QImage BrowserTile(const StartRecord& record, const QImage& picture, const QString& name, int width, int height) {
  const QSize area = PictureArea(record);
  const QFont font;
  const QFontMetrics metrics(font);
  const int lines = TextLines(record);
  const int textHeight = lines ? lines * metrics.height() + kTextLineGap : 0;
  QImage tile(area.width(), area.height() + textHeight, QImage::Format_RGB32);
  const QColor background = ToQColor(record.ThumbnailBackground & 0xFFFFFF);
  tile.fill(QColor(245, 245, 245));
  QPainter p(&tile);
  p.fillRect(QRect(QPoint(0, 0), area), background);
  const int border = std::clamp<int>(record.ThumbnailBorder, 0, std::min(area.width(), area.height()) / 2 - 1);
  const QRect inner = QRect(QPoint(0, 0), area).adjusted(border, border, -border, -border);
  if (picture.isNull()) {
    p.setPen(QPen(QColor(200, 60, 60), 1.5));
    p.drawLine(inner.topLeft(), inner.bottomRight());
    p.drawLine(inner.topRight(), inner.bottomLeft());
  } else {
    const QSize fitted = FitInto(picture.size(), inner.size());
    const QRect at(QPoint(inner.left() + (inner.width() - fitted.width()) / 2,
                          inner.top() + (inner.height() - fitted.height()) / 2),
                   fitted);
    p.drawImage(at, picture);
  }
  p.setPen(QColor(150, 150, 150));
  p.drawRect(QRect(QPoint(0, 0), area).adjusted(0, 0, -1, -1));
  p.setPen(Qt::black);
  p.setFont(font);
  int y = area.height() + kTextLineGap;
  if (record.ThumbnailShowFilename) {
    p.drawText(QRect(0, y, area.width(), metrics.height()), Qt::AlignHCenter | Qt::AlignVCenter,
               metrics.elidedText(name, Qt::ElideMiddle, area.width()));
    y += metrics.height();
  }
  if (record.ThumbnailShowResolution) {
    const QString size = width > 0 ? QString("%1 x %2").arg(width).arg(height) : QString();
    p.drawText(QRect(0, y, area.width(), metrics.height()), Qt::AlignHCenter | Qt::AlignVCenter, size);
  }
  return tile;
}

BrowserBox::BrowserBox(Application& app, QWidget* parent) : QWidget(parent), app_(app) {
  setObjectName("BrowserBox");
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(3, 3, 3, 3);
  auto* split = new QSplitter(Qt::Vertical, this);
  model_ = new QFileSystemModel(this);
  model_->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Drives);
  model_->setRootPath(QDir::rootPath());
  tree_ = new QTreeView(split);
  tree_->setObjectName("Folders");
  tree_->setModel(model_);
  for (int c = 1; c < model_->columnCount(); ++c) tree_->hideColumn(c);
  tree_->header()->hide();
  list_ = new QListWidget(split);
  list_->setObjectName("Thumbnails");
  list_->setViewMode(QListView::IconMode);
  list_->setResizeMode(QListView::Adjust);
  list_->setMovement(QListView::Static);
  list_->setSpacing(4);
  list_->setUniformItemSizes(true);
  split->addWidget(tree_);
  split->addWidget(list_);
  split->setStretchFactor(0, 1);
  split->setStretchFactor(1, 2);
  layout->addWidget(split);

  connect(tree_, &QTreeView::clicked, this, [this](const QModelIndex& index) {
    ShowFolder(std::filesystem::path(model_->filePath(index).toStdString()));
  });
  connect(list_, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
    app_.OpenFile(item->data(Qt::UserRole).toString().toStdString());
  });

  const StartRecord& record = app_.Record();
  std::filesystem::path start = record.BrowserFolder.Get();
  std::error_code ec;
  if (start.empty() || !std::filesystem::is_directory(start, ec)) start = record.OpenFolder.Get();
  if (start.empty() || !std::filesystem::is_directory(start, ec)) start = QDir::homePath().toStdString();
  ShowFolder(start);
}

QSize BrowserBox::TileSize() const {
  const StartRecord& record = app_.Record();
  const QSize area = PictureArea(record);
  const int lines = TextLines(record);
  return QSize(area.width(), area.height() + (lines ? lines * QFontMetrics(QFont()).height() + kTextLineGap : 0));
}

void BrowserBox::ShowFolder(const std::filesystem::path& folder) {
  folder_ = folder;
  ++generation_;
  pending_.clear();
  list_->clear();
  const QModelIndex index = model_->index(QString::fromStdString(folder.string()));
  if (index.isValid()) {
    tree_->setCurrentIndex(index);
    tree_->scrollTo(index);
  }
  std::vector<std::filesystem::path> files;
  std::error_code ec;
  std::filesystem::directory_iterator it(folder, ec);
  for (const std::filesystem::directory_iterator end; !ec && it != end; it.increment(ec)) {
    std::error_code fileEc;
    if (it->is_regular_file(fileEc) && !fileEc && IsBrowsablePicture(it->path())) files.push_back(it->path());
  }
  std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) {
    return QString::fromStdString(a.filename().string())
               .compare(QString::fromStdString(b.filename().string()), Qt::CaseInsensitive) < 0;
  });
  const QSize tile = TileSize();
  list_->setIconSize(tile);
  QPixmap blank(tile);
  blank.fill(QColor(245, 245, 245));
  for (const auto& file : files) {
    auto* item = new QListWidgetItem(QIcon(blank), QString());
    item->setData(Qt::UserRole, QString::fromStdString(file.string()));
    item->setToolTip(QString::fromStdString(file.filename().string()));
    list_->addItem(item);
    pending_.push_back(list_->count() - 1);
  }
  if (!pending_.empty() && !queued_) {
    queued_ = true;
    QTimer::singleShot(0, this, &BrowserBox::MakeNextThumbnail);
  }
}

void BrowserBox::MakeNextThumbnail() {
  queued_ = false;
  if (pending_.empty()) return;
  const int row = pending_.front();
  pending_.pop_front();
  if (QListWidgetItem* item = list_->item(row)) {
    const std::filesystem::path path = item->data(Qt::UserRole).toString().toStdString();
    const StartRecord& record = app_.Record();
    QImage picture;
    int width = 0, height = 0;
    try {
      Bits bits;
      std::string error;
      if (LoadPictureFile(path, bits, error)) {
        width = bits.Width();
        height = bits.Height();
        const int border = std::max<int>(0, record.ThumbnailBorder);
        picture = ScaledThumbnail(bits, PictureArea(record) - QSize(2 * border, 2 * border), record.ThumbnailQuality == 1);
      }
    } catch (...) {
    }
    item->setIcon(QIcon(QPixmap::fromImage(
        BrowserTile(record, picture, QString::fromStdString(path.filename().string()), width, height))));
  }
  if (!pending_.empty()) {
    queued_ = true;
    QTimer::singleShot(0, this, &BrowserBox::MakeNextThumbnail);
  }
}

void BrowserBox::FinishThumbnails() {
  while (!pending_.empty()) MakeNextThumbnail();
}

}  // namespace kelvane
