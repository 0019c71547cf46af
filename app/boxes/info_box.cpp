#include "boxes/info_box.h"

#include <QGridLayout>
#include <QLabel>
#include <QPixmap>
#include <QTabWidget>
#include <QVBoxLayout>
#include <filesystem>
#include <system_error>

#include "document/document.h"

namespace kelvane {

namespace {

QLabel* Value(QWidget* parent, const char* name) {
  auto* label = new QLabel(parent);
  label->setObjectName(name);
  label->setMinimumWidth(label->fontMetrics().horizontalAdvance("00000") + 4);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

}  // namespace

InfoBox::InfoBox(QWidget* parent) : QWidget(parent) {
  setObjectName("InfoBox");
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(3, 2, 3, 3);
  tabs_ = new QTabWidget(this);
  tabs_->setDocumentMode(true);
  auto* tabInfo = new QWidget(tabs_);
  tabInfo->setObjectName("tabInfo");
  auto* tabOptimize = new QWidget(tabs_);
  tabOptimize->setObjectName("tabOptimize");
  tabs_->addTab(tabInfo, "Selection");
  tabs_->addTab(tabOptimize, "Optimize");
  layout->addWidget(tabs_);

  auto* grid = new QGridLayout(tabInfo);
  grid->setContentsMargins(4, 4, 4, 4);
  grid->setHorizontalSpacing(6);
  grid->setVerticalSpacing(2);
  x_ = Value(tabInfo, "lblX");
  y_ = Value(tabInfo, "lblY");
  r_ = Value(tabInfo, "lblR");
  g_ = Value(tabInfo, "lblG");
  b_ = Value(tabInfo, "lblB");
  size_ = Value(tabInfo, "lblSelection");
  swatchLabel_ = new QLabel(tabInfo);
  swatchLabel_->setObjectName("picColor");
  swatchLabel_->setFixedSize(28, 28);
  swatchLabel_->setFrameStyle(QFrame::Box | QFrame::Plain);
  grid->addWidget(new QLabel("X:", tabInfo), 0, 0);
  grid->addWidget(x_, 0, 1);
  grid->addWidget(new QLabel("Y:", tabInfo), 1, 0);
  grid->addWidget(y_, 1, 1);
  grid->addWidget(new QLabel("R:", tabInfo), 0, 2);
  grid->addWidget(r_, 0, 3);
  grid->addWidget(new QLabel("G:", tabInfo), 1, 2);
  grid->addWidget(g_, 1, 3);
  grid->addWidget(new QLabel("B:", tabInfo), 2, 2);
  grid->addWidget(b_, 2, 3);
  grid->addWidget(swatchLabel_, 0, 4, 2, 1, Qt::AlignTop);
  grid->addWidget(new QLabel("W x H:", tabInfo), 3, 0, 1, 2);
  grid->addWidget(size_, 3, 2, 1, 3);
  grid->setColumnStretch(5, 1);
  grid->setRowStretch(4, 1);

  auto* optimizeLayout = new QVBoxLayout(tabOptimize);
  optimizeLayout->setContentsMargins(4, 4, 4, 4);
  optimized_ = new QLabel(tabOptimize);
  optimized_->setObjectName("lblOptimized");
  optimizeLayout->addWidget(optimized_);
  optimizeLayout->addStretch(1);
}

void InfoBox::ShowReadout(const InfoReadout& info, const Document* doc) {
  x_->setText(QString::number(info.X));
  y_->setText(QString::number(info.Y));
  r_->setText(QString::fromStdString(info.Red));
  g_->setText(QString::fromStdString(info.Green));
  b_->setText(QString::fromStdString(info.Blue));
  swatch_ = QColor(QString::fromStdString(info.Red).toInt(), QString::fromStdString(info.Green).toInt(),
                   QString::fromStdString(info.Blue).toInt());
  QPixmap fill(swatchLabel_->size() - QSize(2, 2));
  fill.fill(swatch_);
  swatchLabel_->setPixmap(fill);
  int32_t w = info.Width, h = info.Height;
  if (w == 0 && h == 0 && doc) {
    int32_t l, t, r, b;
    if (doc->BitRegion().BoundRect(l, t, r, b)) {
      w = r - l;
      h = b - t;
    }
  }
  size_->setText(QString("%1 x %2").arg(w).arg(h));
}

void InfoBox::ShowOptimized(const std::string& file) {
  std::error_code ec;
  const uintmax_t bytes = file.empty() ? 0 : std::filesystem::file_size(file, ec);
  optimized_->setText(file.empty() || ec ? QString() : QString("%1 bytes").arg(bytes));
}

QString InfoBox::PositionText() const { return x_->text() + ", " + y_->text(); }
QString InfoBox::ColourText() const { return r_->text() + " " + g_->text() + " " + b_->text(); }
QString InfoBox::SelectionText() const { return size_->text(); }

}  // namespace kelvane
