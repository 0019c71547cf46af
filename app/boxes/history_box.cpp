#include "boxes/history_box.h"

#include <QFont>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QSlider>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <filesystem>
#include <system_error>

#include "boxes/picture_convert.h"
#include "document/bit_region.h"
#include "document/undo_history.h"
#include "shell/application.h"

namespace kelvane {

namespace {

constexpr QSize kThumb(40, 30);

// A thumbnail centred on a fixed-size tile, so the list's rows line up.
QIcon TileIcon(const QImage& thumb, const QColor& paper) {
  QPixmap tile(kThumb);
  tile.fill(paper);
  if (!thumb.isNull()) {
    QPainter p(&tile);
    p.drawImage((kThumb.width() - thumb.width()) / 2, (kThumb.height() - thumb.height()) / 2, thumb);
  }
  return QIcon(tile);
}

}  // namespace

HistoryBox::HistoryBox(Application& app, QWidget* parent) : QWidget(parent), app_(app) {
  setObjectName("PasteBox");
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(3, 3, 3, 3);
  layout->setSpacing(3);
  pages_ = new QTabWidget(this);
  pages_->setDocumentMode(true);

  auto* clips = new QWidget(pages_);
  clips->setObjectName("tabClips");
  auto* clipLayout = new QVBoxLayout(clips);
  clipLayout->setContentsMargins(0, 2, 0, 0);
  clipLayout->setSpacing(2);
  clipTitle_ = new QLabel(clips);
  clipTitle_->setObjectName("ClipTitle");
  clipLayout->addWidget(clipTitle_);
  clipList_ = new QListWidget(clips);
  clipList_->setObjectName("lstImages");
  clipList_->setIconSize(kThumb);
  clipLayout->addWidget(clipList_, 1);
  connect(clipList_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
    app_.Clips().SelectClip(item->data(Qt::UserRole).toInt());
    RefreshClips();
  });

  auto* actions = new QWidget(pages_);
  actions->setObjectName("tabActions");
  auto* actionLayout = new QVBoxLayout(actions);
  actionLayout->setContentsMargins(0, 2, 0, 0);
  historyList_ = new QListWidget(actions);
  historyList_->setObjectName("Ltext");
  historyList_->setIconSize(kThumb);
  actionLayout->addWidget(historyList_);
  connect(historyList_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
    Document* doc = ShownDocument();
    if (!doc) return;
    const int row = historyList_->row(item);
    if (app_.Clips().Ltext_Click(*doc, row)) emit historyJumped(doc);
    RefreshHistory();
  });

  pages_->addTab(clips, "Clips");
  pages_->addTab(actions, "Actions");
  pages_->setCurrentWidget(actions);
  layout->addWidget(pages_, 1);

  auto* row = new QHBoxLayout();
  row->setSpacing(4);
  auto* caption = new QLabel("Opacity", this);
  row->addWidget(caption);
  pressure_ = new QSlider(Qt::Horizontal, this);
  pressure_->setObjectName("BrSelectionMovePressure");
  pressure_->setRange(kPressureMin, kPressureMax);
  pressure_->setPageStep(10);
  pressure_->setValue(app_.Clips().Pressure());
  row->addWidget(pressure_, 1);
  lblSize_ = new QLabel(this);
  lblSize_->setObjectName("lblSize");
  lblSize_->setMinimumWidth(lblSize_->fontMetrics().horizontalAdvance("100") + 4);
  lblSize_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  lblSize_->setNum(app_.Clips().Pressure());
  row->addWidget(lblSize_);
  layout->addLayout(row);
  connect(pressure_, &QSlider::valueChanged, this, [this](int v) {
    app_.Clips().SetPressure(v);
    // The record keeps it for the next run and for moving selected pixels.
    app_.Record().PasteBoxPressure = static_cast<int16_t>(app_.Clips().Pressure());
    lblSize_->setNum(app_.Clips().Pressure());
  });
  Refresh();
}

Document* HistoryBox::ShownDocument() const {
  const int32_t id = app_.Clips().ShownImageID();
  if (id == 0) return nullptr;
  for (const auto& doc : app_.Documents())
    if (doc->ImageID() == id) return doc.get();
  return nullptr;
}

void HistoryBox::Refresh() {
  RefreshClips();
  RefreshHistory();
  if (pressure_->value() != app_.Clips().Pressure()) {
    const QSignalBlocker block(pressure_);
    pressure_->setValue(app_.Clips().Pressure());
    lblSize_->setNum(app_.Clips().Pressure());
  }
}

void HistoryBox::RefreshClips() {
  const ClipHistory& clips = app_.Clips();
  clipTitle_->setText(QString::fromStdString(clips.ClipTitle()));
  clipList_->clear();
  const QColor paper = palette().color(QPalette::Base);
  for (int32_t row = 0; row < kClipSlots; ++row) {
    const ClipSlot& slot = clips.Slot(row);
    if (!slot.Used()) continue;
    auto* item = new QListWidgetItem(TileIcon(ScaledThumbnail(slot.Clip, kThumb, true), paper),
                                     QString::fromStdString(slot.Caption).trimmed() +
                                         QString("  (%1 x %2)").arg(slot.Width()).arg(slot.Height()));
    item->setData(Qt::UserRole, row);
    clipList_->addItem(item);
    if (row == clips.SelectedClip()) item->setSelected(true);
  }
}

void HistoryBox::RefreshHistory() {
  historyList_->clear();
  pendingRows_.clear();
  Document* doc = ShownDocument();
  if (!doc) return;
  const ClipHistory& clips = app_.Clips();
  const int32_t current = clips.CurrentRow(*doc);
  const QColor paper = palette().color(QPalette::Base);
  const std::vector<HistoryRow>& rows = clips.Rows();
  for (size_t i = 0; i < rows.size(); ++i) {
    const HistoryRow& r = rows[i];
    auto* item = new QListWidgetItem(QString("%1  %2").arg(r.Number).arg(QString::fromStdString(r.Text)));
    const std::string file = doc->History().SlotFile(r.Number).string();
    const auto cached = thumbs_.find(file);
    std::error_code ec;
    const uintmax_t size = std::filesystem::file_size(file, ec);
    const int64_t time =
        ec ? 0 : std::filesystem::last_write_time(file, ec).time_since_epoch().count();
    if (cached != thumbs_.end() && cached->second.size == size && cached->second.time == time) {
      item->setIcon(TileIcon(cached->second.image, paper));
    } else {
      item->setIcon(TileIcon(QImage(), paper));
      pendingRows_.push_back(static_cast<int>(i));
    }
    if (static_cast<int32_t>(i) == current) {
      QFont bold = item->font();
      bold.setBold(true);
      item->setFont(bold);
    } else if (static_cast<int32_t>(i) > current) {
      item->setForeground(palette().color(QPalette::Disabled, QPalette::Text));
    }
    historyList_->addItem(item);
  }
  if (current >= 0 && current < historyList_->count()) {
    historyList_->setCurrentRow(current);
    historyList_->scrollToItem(historyList_->item(clips.ScrolledRow() < historyList_->count()
                                                      ? clips.ScrolledRow()
                                                      : current));
  }
  if (!pendingRows_.empty() && !thumbTimerQueued_) {
    thumbTimerQueued_ = true;
    QTimer::singleShot(0, this, &HistoryBox::MakeNextThumbnail);
  }
}

QImage HistoryBox::SnapshotThumbnail(const std::string& file) {
  std::error_code ec;
  CachedThumb entry;
  entry.size = std::filesystem::file_size(file, ec);
  if (ec) return QImage();
  entry.time = std::filesystem::last_write_time(file, ec).time_since_epoch().count();
  Bits bits;
  cBitRegion region;
  if (LoadUndoBits(file, bits, region)) entry.image = ScaledThumbnail(bits, kThumb, true);
  thumbs_[file] = entry;
  return entry.image;
}

void HistoryBox::MakeNextThumbnail() {
  thumbTimerQueued_ = false;
  Document* doc = ShownDocument();
  if (!doc || pendingRows_.empty()) return;
  const int row = pendingRows_.front();
  pendingRows_.pop_front();
  const std::vector<HistoryRow>& rows = app_.Clips().Rows();
  if (row < static_cast<int>(rows.size()) && row < historyList_->count()) {
    try {
      const QImage thumb = SnapshotThumbnail(doc->History().SlotFile(rows[static_cast<size_t>(row)].Number).string());
      historyList_->item(row)->setIcon(TileIcon(thumb, palette().color(QPalette::Base)));
    } catch (...) {
      // A snapshot that cannot be read keeps its blank tile.
    }
  }
  if (!pendingRows_.empty()) {
    thumbTimerQueued_ = true;
    QTimer::singleShot(0, this, &HistoryBox::MakeNextThumbnail);
  }
}

void HistoryBox::FinishThumbnails() {
  while (!pendingRows_.empty()) MakeNextThumbnail();
}

}  // namespace kelvane
