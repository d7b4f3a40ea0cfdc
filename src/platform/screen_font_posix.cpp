#include "screen_font.h"

// Fontconfig always answers with an installed font whose metrics are those it draws with.
void ScreenFont::settle()
{
}
