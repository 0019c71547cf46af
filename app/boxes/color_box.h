// fToolColor: the foreground and background colour boxes over the record's
// ForeColor and BackColor, a swap button, and the sixteen custom colours of
// CustomColors.
//
// Contract:
//  - A click on the foreground or background box opens the colour dialog on
//    its colour; a chosen colour is written to the field (0x00BBGGRR), a
//    cancelled dialog changes nothing.
//  - A custom colour: left click makes it the foreground, right click the
//    background; a double click opens the dialog and stores the choice in
//    that slot of CustomColors.
//  - Refresh shows the record again (after the picker tool or a load).
#pragma once

#include <QWidget>
#include <array>
#include <functional>

namespace kelvane {

struct StartRecord;

class ColorBox : public QWidget {
  Q_OBJECT

 public:
  ColorBox(StartRecord& record, QWidget* parent);
  void Refresh();

  // What the dialog would return; the default runs QColorDialog. Tests
  // replace it. Colours are 0x00BBGGRR, -1 for a cancelled choice.
  std::function<int32_t(int32_t current)> ChooseColour;

  // Actions as the clicks carry them out.
  void ChooseFore();
  void ChooseBack();
  void Swap();
  void UseCustom(int slot, bool foreground);
  void EditCustom(int slot);

  QRect ForeRect() const;
  QRect BackRect() const;
  QRect CustomRect(int slot) const;
  QRect SwapRect() const;

 signals:
  void coloursChanged();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 private:
  int CustomAt(QPoint p) const;
  StartRecord& record_;
};

}  // namespace kelvane
