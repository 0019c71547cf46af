// What the editor's dialogs share: the number boxes' key filter, picture
// previews drawn from Bits, colour swatches, and the showing of a model's
// DialogResult.
//
// Contract:
//  - A number box passes digits, backspace and the other control keys, and
//    the editing keys (arrows, Delete, Home, End); every other printable key
//    is dropped, as KeyNum drops it. Pasted text is not filtered: the model
//    reads whatever the box holds.
//  - ShowResult shows the result's message (title "Kelvane", exclamation
//    icon) through the UserInterface, then accepts the dialog when the model
//    closed it. True when the dialog closed.
//  - Previews are scaled copies of a picture fitted into a box by FitSize;
//    the document's pixels are never touched by a preview.
#pragma once

#include <QDialog>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/user_interface.h"
#include "document/bits.h"
#include "shell/image_dialogs.h"

class QDialogButtonBox;

namespace kelvane {

QString ToQString(std::string_view text);

// A QLineEdit with the KeyNum key filter, named as its control.
QLineEdit* MakeNumberBox(const char* name, QWidget* parent);

// OK and Cancel (the buttons named cmdOK and cmdCancel), OK the default.
QDialogButtonBox* MakeOkCancel(QWidget* parent);

// A copy of `picture` fitted into maxWidth x maxHeight (never enlarged).
Bits FittedCopy(const Bits& picture, int32_t maxWidth, int32_t maxHeight);

// A picture box showing Bits, centred in a fixed frame.
class PicturePreview : public QLabel {
 public:
  PicturePreview(const char* name, QSize box, QWidget* parent);
  void SetPicture(const Bits& picture);
  void SetImage(const QImage& image);
};

// A button showing a colour (0x00BBGGRR); a click opens the colour dialog
// and calls `picked` with the choice.
class ColourSwatch : public QPushButton {
 public:
  ColourSwatch(const char* name, int32_t colour, QWidget* parent);
  int32_t Colour() const { return colour_; }
  void SetColour(int32_t colour);
  std::function<void(int32_t colour)> picked;

 private:
  int32_t colour_ = 0;
};

bool ShowResult(QDialog& dialog, UserInterface& ui, const DialogResult& result);

}  // namespace kelvane
