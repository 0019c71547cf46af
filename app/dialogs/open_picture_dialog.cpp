#include "dialogs/open_picture_dialog.h"
#include "boxes/picture_convert.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QVBoxLayout>
#include <filesystem>
#include <string>
#include <system_error>

#include "imagefiles/file_dialog_filters.h"
#include "imagefiles/file_properties.h"
#include "imagefiles/picture_io.h"
#include "shell/qt_user_interface.h"

namespace kelvane {

namespace {
inline constexpr int kPreviewPause = 150;
}

OpenPictureDialog::OpenPictureDialog(QWidget* parent) : QFileDialog(parent) {
  setObjectName("cmdp");
  setOption(QFileDialog::DontUseNativeDialog, true);
  setLabelText(QFileDialog::Accept, QString::fromUtf8(kOpenButton.data(), kOpenButton.size()));
  setLabelText(QFileDialog::Reject, QString::fromUtf8(kCancelButton.data(), kCancelButton.size()));

  auto* pane = new QGroupBox("Preview", this);
  pane->setObjectName("frmControls");
  auto* column = new QVBoxLayout(pane);
  picture_ = new QLabel(pane);
  picture_->setObjectName("picPreview");
  picture_->setFixedSize(kPreviewWidth + 4, kPreviewHeight + 4);
  picture_->setAlignment(Qt::AlignCenter);
  picture_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  facts_ = new QLabel(pane);
  facts_->setObjectName("lblFacts");
  facts_->setWordWrap(true);
  facts_->setFixedWidth(kPreviewWidth + 4);
  facts_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  facts_->setMinimumHeight(facts_->fontMetrics().lineSpacing() * 4);
  column->addWidget(picture_);
  column->addWidget(facts_);
  column->addStretch(1);

  // The non-native dialog lays itself out on a grid: the pane goes into a
  // column of its own on the right.
  if (auto* grid = qobject_cast<QGridLayout*>(layout())) {
    grid->addWidget(pane, 0, grid->columnCount(), grid->rowCount(), 1);
  } else if (layout()) {
    layout()->addWidget(pane);
  }

  pause_.setSingleShot(true);
  pause_.setInterval(kPreviewPause);
  connect(&pause_, &QTimer::timeout, this, [this] { ShowPreview(pending_); });
  connect(this, &QFileDialog::currentChanged, this, [this](const QString& file) {
    pending_ = file;
    pause_.start();
  });
}

void OpenPictureDialog::ShowPreview(const QString& file) {
  picture_->clear();
  facts_->clear();
  const QFileInfo info(file);
  if (file.isEmpty() || !info.isFile()) return;
  const std::filesystem::path path = file.toStdString();
  QString facts = QString::fromStdString(FileTypeText(path));
  std::error_code ec;
  const uintmax_t bytes = std::filesystem::file_size(path, ec);
  if (!ec) facts += "\n" + QString::fromStdString(FileSizeText(bytes));
  if (!ec && bytes <= kPreviewFileLimit) {
    int width = 0, height = 0, bpp = 0;
    std::string error;
    if (ProbePictureFile(path, width, height, bpp, error)) {
      facts += "\n" + QString::fromStdString(ResolutionText(width, height));
      const std::string depth = ColourDepthText(bpp);
      if (!depth.empty()) facts += "\n" + QString::fromStdString(depth);
      Bits picture;
      if (LoadPictureFile(path, picture, error)) {
        const QImage image = ImageFromBits(picture);
        if (!image.isNull())
          picture_->setPixmap(QPixmap::fromImage(
              image.scaled(kPreviewWidth, kPreviewHeight, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
      }
    }
  }
  facts_->setText(facts);
}

}  // namespace kelvane
