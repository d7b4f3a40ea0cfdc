#pragma once

#include "board/board_play.h"
#include "board/board_view.h"
#include "board/cell.h"
#include "board/point_image.h"
#include "board/score_file.h"

#include <QLabel>
#include <QString>

#include <utility>

// A BoardPlay with stand-alone controls of its own, for driving the board without a match
// screen. Header-only, so that the board benchmark and the receiver fuzzer, which do not
// link the test helpers, set the board up the same way the tests do.
struct BoardRig
{
    enum class Lock { Open, Locked, Partial };

    BoardRig(BoardPlay::Side side, const QString &scorePath, BoardPlay::SendFunction send = {},
             BoardPlay::CueFunction cue = {})
        : WR(scorePath)
        , play(side, {&view, &LastMsg, &WR, &WRL2, &Xname, &Oname, std::move(send), std::move(cue)})
    {
    }

    // The turn lock as the nine points show it; a half-locked board is a fault.
    Lock lock() const
    {
        int enabled = 0;
        for (int i = 0; i < Cell::Count; ++i)
            enabled += view.point(i)->isEnabled() ? 1 : 0;
        return enabled == Cell::Count ? Lock::Open : enabled == 0 ? Lock::Locked : Lock::Partial;
    }

    BoardView view;
    QString LastMsg;
    ScoreFile WR;
    QLabel WRL2{QStringLiteral("0")};
    QLabel Xname{QStringLiteral("Xavier")};
    QLabel Oname{QStringLiteral("Olga")};
    BoardPlay play;
};
