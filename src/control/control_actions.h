#pragma once

#include <QJsonObject>
#include <QString>

class MatchScreen;
class QComboBox;
class QWidget;

// What a remote-controlled program does to a match screen, the way a player would: mouse
// clicks travel through the screen's window, so whatever lies on top (the overlay `trans`)
// takes them and a disabled control ignores them; keys go to the chat box. Each action
// returns an empty string when it was carried out, else why not.
namespace ControlActions {

// Press and release the left button over the middle of `target`. `hit` receives the
// objectName of the widget that was under the pointer.
QString click(QWidget *target, QString *hit = nullptr);
// The point `A1` .. `C3`, or the button whose objectName or caption is `name`.
QWidget *control(MatchScreen *screen, const QString &name);
// Types `text` into `Text1`, key by key.
QString type(MatchScreen *screen, const QString &text);
// The Enter key in `Text1`.
QString enter(MatchScreen *screen);
// The whole screen as it is drawn, into a PNG file.
QString shot(MatchScreen *screen, const QString &file);

// The screen at a glance: cells (A1 .. C3 states), infox, trans, WR, WRL, WRL2, Oname,
// Xname, enabled (all nine points), connected, the Send and Restart buttons, the two
// chat bubbles' texts and the status line under the buttons.
QJsonObject state(MatchScreen *screen);
// A host list at a glance: how many entries, and the first few (long ones cut, "..." added).
QJsonObject hostList(const QComboBox *list);

} // namespace ControlActions
