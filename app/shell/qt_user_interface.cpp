#include "shell/qt_user_interface.h"
#include "boxes/picture_convert.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontMetrics>
#include <QMessageBox>
#include <QMimeData>
#include <QUrl>
#include <QWidget>
#include <cstring>

#include "dialogs/open_picture_dialog.h"

namespace kelvane {

namespace {

// The open command's dialog is the explorer-style one with the preview.
inline constexpr int32_t kExplorerStyleFlag = 0x80000;

QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QMessageBox::Icon IconOf(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::Critical:
      return QMessageBox::Critical;
    case MessageIcon::Exclamation:
      return QMessageBox::Warning;
    case MessageIcon::Information:
      return QMessageBox::Information;
    case MessageIcon::Question:
      return QMessageBox::Question;
  }
  return QMessageBox::NoIcon;
}

// The part of a pattern list Qt can read: ';' separates patterns.
QString PatternsOf(std::string_view patterns) {
  QString text = ToQString(patterns);
  text.replace(';', ' ');
  return text.simplified();
}

}  // namespace

QStringList QtNameFilters(std::string_view filter) {
  QStringList filters;
  const QStringList parts = ToQString(filter).split('|');
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    const QString patterns = PatternsOf(parts[i + 1].toStdString());
    if (patterns.isEmpty()) continue;
    filters << parts[i].trimmed() + " (" + patterns + ")";
  }
  return filters;
}

Bits ImageToBits(const QImage& image) {
  if (image.isNull()) return Bits();
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  Bits bits(rgb.width(), rgb.height());
  for (int y = 0; y < rgb.height(); ++y) {
    const auto* src = reinterpret_cast<const QRgb*>(rgb.constScanLine(y));
    uint8_t* dst = bits.Pixel(0, y);
    for (int x = 0; x < rgb.width(); ++x, dst += 4) {
      dst[0] = static_cast<uint8_t>(qBlue(src[x]));
      dst[1] = static_cast<uint8_t>(qGreen(src[x]));
      dst[2] = static_cast<uint8_t>(qRed(src[x]));
    }
  }
  return bits;
}

// ---------------------------------------------------------------------------

bool QtClipboard::HasPicture() const {
  const QMimeData* data = QGuiApplication::clipboard()->mimeData();
  return data && data->hasImage();
}

Bits QtClipboard::Picture() const {
  if (!HasPicture()) return Bits();
  return ImageToBits(QGuiApplication::clipboard()->image());
}

void QtClipboard::SetPicture(const Bits& picture) {
  const QImage image = ImageFromBits(picture);
  if (!image.isNull()) QGuiApplication::clipboard()->setImage(image);
}

// ---------------------------------------------------------------------------

QtUserInterface::QtUserInterface() = default;
QtUserInterface::~QtUserInterface() = default;

void QtUserInterface::SetOwner(QWidget* owner) { owner_ = owner; }
QWidget* QtUserInterface::Owner() const { return owner_.data(); }

void QtUserInterface::Message(const MessageBoxText& message) {
  if (script_ && script_->Message) {
    script_->Message(message);
    return;
  }
  QMessageBox box(IconOf(message.Icon), ToQString(message.Title), ToQString(message.Text), QMessageBox::Ok,
                  owner_);
  box.exec();
}

Answer QtUserInterface::AskYesNoCancel(std::string_view text, std::string_view title) {
  if (script_ && script_->YesNoCancel) return script_->YesNoCancel(text, title);
  QMessageBox box(QMessageBox::Question, ToQString(title), ToQString(text),
                  QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, owner_);
  box.setDefaultButton(QMessageBox::Yes);
  box.setEscapeButton(QMessageBox::Cancel);
  switch (box.exec()) {
    case QMessageBox::Yes:
      return Answer::Yes;
    case QMessageBox::No:
      return Answer::No;
    default:
      return Answer::Cancel;
  }
}

Answer QtUserInterface::AskOkCancel(std::string_view text, std::string_view title) {
  if (script_ && script_->OkCancel) return script_->OkCancel(text, title);
  QMessageBox box(QMessageBox::Question, ToQString(title), ToQString(text),
                  QMessageBox::Ok | QMessageBox::Cancel, owner_);
  box.setDefaultButton(QMessageBox::Ok);
  box.setEscapeButton(QMessageBox::Cancel);
  return box.exec() == QMessageBox::Ok ? Answer::Ok : Answer::Cancel;
}

std::optional<std::filesystem::path> QtUserInterface::ChooseFile(const FileDialogRequest& request) {
  if (script_ && script_->ChooseFile) return script_->ChooseFile(request);
  const bool preview = !request.Save && (request.Flags & kExplorerStyleFlag) != 0;
  std::unique_ptr<QFileDialog> dialog;
  if (preview)
    dialog = std::make_unique<OpenPictureDialog>(owner_);
  else
    dialog = std::make_unique<QFileDialog>(owner_);
  dialog->setOption(QFileDialog::DontUseNativeDialog, true);
  dialog->setWindowTitle(ToQString(request.Title));
  dialog->setAcceptMode(request.Save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog->setFileMode(request.Save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
  const QStringList filters = QtNameFilters(request.Filter);
  if (!filters.isEmpty()) dialog->setNameFilters(filters);
  std::error_code ec;
  if (!request.InitialFolder.empty() && std::filesystem::is_directory(request.InitialFolder, ec))
    dialog->setDirectory(QString::fromStdString(request.InitialFolder.string()));
  if (!request.FileName.empty()) {
    const QFileInfo named(QString::fromStdString(request.FileName));
    if (named.isAbsolute() && named.dir().exists()) dialog->setDirectory(named.dir());
    dialog->selectFile(named.fileName());
  }
  if (dialog->exec() != QDialog::Accepted) return std::nullopt;
  const QStringList chosen = dialog->selectedFiles();
  if (chosen.isEmpty()) return std::nullopt;
  return std::filesystem::path(chosen.front().toStdString());
}

void QtUserInterface::Yield() { QCoreApplication::processEvents(QEventLoop::AllEvents); }

void QtUserInterface::OpenInBrowser(std::string_view address) {
  if (script_ && script_->Browser) {
    script_->Browser(address);
    return;
  }
  const QString text = ToQString(address);
  const QUrl url = QFileInfo(text).isAbsolute() ? QUrl::fromLocalFile(text) : QUrl::fromUserInput(text);
  QDesktopServices::openUrl(url);
}

void QtUserInterface::ShowForm(std::string_view formName) {
  if (!formFactory_) return;
  std::unique_ptr<QDialog> dialog = formFactory_(formName, owner_);
  if (dialog) RunDialog(*dialog, formName);
}

void QtUserInterface::RunDialog(QDialog& dialog, std::string_view form) {
  if (script_ && script_->Dialog) {
    dialog.show();
    QCoreApplication::processEvents();
    script_->Dialog(dialog, form);
    if (dialog.isVisible()) dialog.reject();
    return;
  }
  dialog.exec();
}

std::string QtUserInterface::CompactPath(std::string_view text, int32_t pixels) {
  const QFont font = owner_ ? owner_->font() : QApplication::font();
  return QFontMetrics(font).elidedText(ToQString(text), Qt::ElideMiddle, std::max(pixels, 1)).toStdString();
}

}  // namespace kelvane
