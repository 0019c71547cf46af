#include "dialogs/dialog_support.h"
#include "boxes/picture_convert.h"

#include <QColorDialog>
#include <QDialogButtonBox>
#include <QEvent>
#include <QKeyEvent>

#include "base/fit_size.h"
#include "imagefiles/load_bitmap.h"
#include "shell/qt_user_interface.h"

namespace kelvane {

namespace {

// KeyNum on the keys that make characters.
class NumberKeyFilter : public QObject {
 public:
  using QObject::QObject;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::KeyPress) {
      auto* key = static_cast<QKeyEvent*>(event);
      const bool shortcut = key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
      const QString text = key->text();
      if (!shortcut && text.size() == 1 && text[0].isPrint() && !text[0].isDigit()) return true;
    }
    return QObject::eventFilter(watched, event);
  }
};

}  // namespace

QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QLineEdit* MakeNumberBox(const char* name, QWidget* parent) {
  auto* box = new QLineEdit(parent);
  box->setObjectName(name);
  box->installEventFilter(new NumberKeyFilter(box));
  box->setMaximumWidth(90);
  return box;
}

QDialogButtonBox* MakeOkCancel(QWidget* parent) {
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, parent);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("cmdOK");
  buttons->button(QDialogButtonBox::Cancel)->setObjectName("cmdCancel");
  buttons->button(QDialogButtonBox::Ok)->setDefault(true);
  return buttons;
}

Bits FittedCopy(const Bits& picture, int32_t maxWidth, int32_t maxHeight) {
  if (picture.IsNull() || picture.Width() < 1 || picture.Height() < 1) return Bits();
  int32_t width = 0, height = 0;
  FitSize(picture.Width(), picture.Height(), maxWidth, maxHeight, width, height);
  if (width == picture.Width() && height == picture.Height()) return picture;
  const QImage scaled = ImageFromBits(picture).scaled(std::max(width, 1), std::max(height, 1),
                                                     Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  return ImageToBits(scaled);
}

PicturePreview::PicturePreview(const char* name, QSize box, QWidget* parent) : QLabel(parent) {
  setObjectName(name);
  setFixedSize(box + QSize(4, 4));
  setAlignment(Qt::AlignCenter);
  setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
}

void PicturePreview::SetPicture(const Bits& picture) { SetImage(ImageFromBits(picture)); }

void PicturePreview::SetImage(const QImage& image) {
  if (image.isNull()) {
    clear();
    return;
  }
  const QSize room = size() - QSize(4, 4);
  const QImage shown = image.width() > room.width() || image.height() > room.height()
                           ? image.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                           : image;
  setPixmap(QPixmap::fromImage(shown));
}

ColourSwatch::ColourSwatch(const char* name, int32_t colour, QWidget* parent) : QPushButton(parent) {
  setObjectName(name);
  setFixedSize(48, 22);
  SetColour(colour);
  connect(this, &QPushButton::clicked, this, [this] {
    const QColor chosen = QColorDialog::getColor(ToQColor(colour_), window());
    if (!chosen.isValid()) return;
    SetColour(FromQColor(chosen));
    if (picked) picked(colour_);
  });
}

void ColourSwatch::SetColour(int32_t colour) {
  colour_ = colour;
  // No colour (-1) shows as white paper.
  const QColor c = colour < 0 ? QColor(Qt::white) : ToQColor(colour);
  setStyleSheet(QString("background-color: %1; border: 1px solid palette(dark);").arg(c.name()));
}

bool ShowResult(QDialog& dialog, UserInterface& ui, const DialogResult& result) {
  if (!result.message.empty())
    ui.Message({result.message, std::string(kProductTitle), MessageIcon::Exclamation});
  if (result.closed) dialog.accept();
  return result.closed;
}

}  // namespace kelvane
