#pragma once

// The font the screens draw their text in. Call once the QApplication exists, before the
// first screen is made.
//
// Windows names its dialog font ("MS Shell Dlg 2", which is Tahoma) even where that font is
// not installed, as under Wine without Wine's own fonts. Qt then takes the first family it
// knows, which can be a mathematical font whose text box is four lines tall; a line edit
// centres its text by that box and draws it above itself, so the boxes look empty. Such a
// font is replaced by an installed sans-serif. Where the system's font is installed and
// draws a line of text within a line (every Windows, Linux), nothing changes.
namespace ScreenFont {

void settle();

} // namespace ScreenFont
