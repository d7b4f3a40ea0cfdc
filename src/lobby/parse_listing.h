#pragma once

#include <QString>
#include <QStringList>

// The host addresses in a registry listing response, one per line, in the order given.
//
// A carriage return ends a line, but only a line with something other than blanks (spaces)
// in it: a blank line is not taken and its blanks stay in front of the next name. Line
// feeds are dropped wherever they are (they never end a line), and a last line without a
// carriage return is not taken.
QStringList ParseListing(const QString &response);
