#pragma once

#include "demo/demo_step.h"

#include <QList>
#include <QStringList>
#include <QString>

#include <memory>

class ControlClient;

// The demo's match, step by step, between a host (O, "Budi") and a joiner (X, "Sari") that
// are already connected: a chat line each way; a first game that the host wins with the
// left column while the joiner plays elsewhere; a restart, after which the joiner, whose
// turn it still is, wins the right column; a restart and a third game in which the joiner
// takes the four corners and the host builds the plus around the centre, then takes B2
// for the triple; a last restart. After each game both screens must show the matching
// verdicts, and after each restart both must agree on both totals. Screenshots of both
// screens are saved at every key moment.
class DemoScript
{
public:
    DemoScript(ControlClient &host, ControlClient &join, const QString &shotFolder);

    static QString hostName() { return QStringLiteral("Budi"); }
    static QString joinName() { return QStringLiteral("Sari"); }

    // Waits until both players are connected and know each other's names and totals.
    QList<DemoStep> opening() const;
    QList<DemoStep> match() const;
    // Every screenshot file the match writes, in order.
    QStringList shots() const;
    // The totals each side should end with, once the match has run.
    int hostTotal() const;
    int joinTotal() const;

private:
    struct Context;

    void shoot(QList<DemoStep> &steps, const QString &name) const;
    void chat(QList<DemoStep> &steps, ControlClient &from, ControlClient &to,
              const QString &text) const;
    void play(QList<DemoStep> &steps, ControlClient &mover, ControlClient &other,
              const QString &cell) const;
    void verdicts(QList<DemoStep> &steps, const QString &hostCaption, const QString &joinCaption,
                  int hostChange, int joinChange) const;
    void restart(QList<DemoStep> &steps) const;
    void agree(QList<DemoStep> &steps, const QString &what) const;

    ControlClient &m_host;
    ControlClient &m_join;
    QString m_folder;
    std::shared_ptr<Context> m_context;
};
