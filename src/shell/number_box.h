// The number boxes of the tool panels and the image dialogs: the key filter
// they all share, and how their text is read as a number.
//
// Contract:
//  - KeyNum passes a digit ("0" to "9", 48 to 57) or backspace (8) unchanged
//    and turns every other key into 0, which the box then drops. A minus sign,
//    a point or a blank never reaches a number box through the keyboard.
//  - NumberBoxValue reads the text as the platform's Val does: leading blanks
//    skipped, an optional sign, digits, an optional point and more digits; it
//    stops at the first other character. Empty or non-numeric text reads as 0
//    (pasted text can still put anything into a box). A value past the 32-bit
//    range is held at its end.
//  - NumberBoxInteger is that value rounded, ties to even.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvane {

int16_t KeyNum(int16_t ascii);

double NumberBoxValue(std::string_view text);
int32_t NumberBoxInteger(std::string_view text);

// The text a box shows for a number: plain decimal digits, "-" for negatives.
std::string NumberBoxText(int32_t value);

}  // namespace kelvane
