#pragma once

#include <QRect>
#include <QString>
#include <QStringView>

#include <array>

// The nine points of the board, named by column letter (A, B, C from the left) and row
// digit (1, 2, 3 from the top). Index order is the order every rule visits them in:
// A1, A2, A3, B1, B2, B3, C1, C2, C3. The names double as the Move messages on the wire.
class Cell
{
public:
    static constexpr int Count = 9;
    // Pictures are 65 px square but points sit 64 px apart, so neighbours overlap by one.
    static constexpr int Size = 65;
    static constexpr int Pitch = 64;
    static constexpr QPoint Origin{152, 88};  // top-left of A1 inside the board area

    static QString name(int index);
    // Exact, case-sensitive match against the nine names; -1 for anything else.
    static int indexOf(QStringView name);
    static int column(int index) { return index / 3; }
    static int row(int index) { return index % 3; }
    static int at(int column, int row) { return column * 3 + row; }
    // Where the point's picture lies inside the board area, in pixels.
    static QRect rect(int index);

    static const std::array<QString, Count> &names();
};
