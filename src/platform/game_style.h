#pragma once

#include <QString>

// Style sheets that make Qt's stock controls match the painted screens: teal glass in a
// brass rim, like the image buttons, and cream fields on the felt. Disabled controls turn
// grey so that a locked choice reads as locked on the dark background.
namespace GameStyle {

// Push buttons: teal with a brass rim; lighter on hover, darker while pressed.
QString pushButtons();
// Text boxes and combo boxes.
QString fields();
// Option buttons (radio buttons) with a round brass indicator that shows on dark felt.
QString optionButtons();

} // namespace GameStyle
