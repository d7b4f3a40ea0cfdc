#pragma once

#include <QSet>
#include <QStringList>

class QRect;
class QWidget;

// Checks on a screen laid out by hand: what a player would see as a fault (two controls on
// top of each other, a caption cut off) rather than exact positions.
namespace LayoutCheck {

// "A/B" for every two visible, named children of `screen` whose boxes overlap, except the
// pairs meant to be stacked, given as "A/B" in either order.
QStringList overlaps(const QWidget *screen, const QSet<QString> &stacked = {});
// Names of visible labels and buttons whose text needs more room than their box gives, and
// of line edits that draw their text (a sample, when they have none) beyond their frame.
// Labels that clip on purpose (their size hint is their size) and pictures never count.
QStringList cramped(const QWidget *screen);
// Each of `names` that `screen` lacks or that reaches outside `area`, with its box.
QStringList outside(const QWidget *screen, const QStringList &names, const QRect &area);

} // namespace LayoutCheck
