#include "demo_script.h"

#include "control/control_client.h"

#include <QDir>
#include <QJsonObject>

struct DemoScript::Context
{
    // Expected totals, from what the screens showed at the start plus what the games gave.
    int host = 0;
    int join = 0;
    // Where each side's events of the game under way begin.
    int hostGame = 0;
    int joinGame = 0;
    bool started = false;
    QStringList shots;
};

namespace {

QString text(const QJsonObject &state, const char *key)
{
    const QJsonValue value = state.value(QLatin1String(key));
    return value.isObject() ? value.toObject().value(QStringLiteral("text")).toString()
                            : value.toString();
}

bool visible(const QJsonObject &state, const char *key)
{
    return state.value(QLatin1String(key)).toObject().value(QStringLiteral("visible")).toBool();
}

QString markOf(const ControlClient &player)
{
    return player.label() == QLatin1String("host") ? QStringLiteral("O") : QStringLiteral("X");
}

int findStarting(const ControlClient &player, const QString &kind, const QString &prefix, int from)
{
    const QList<ControlEvent> &events = player.events();
    for (int i = qMax(0, from); i < events.size(); ++i) {
        if (events[i].kind == kind && events[i].payload.startsWith(prefix))
            return i;
    }
    return -1;
}

// Marks taken when a step acts, read by its condition.
struct Marks
{
    int host = 0;
    int join = 0;
    int hostAnswers = 0;
    int joinAnswers = 0;
    int hostStates = 0;
    int joinStates = 0;
};

} // namespace

DemoScript::DemoScript(ControlClient &host, ControlClient &join, const QString &shotFolder)
    : m_host(host)
    , m_join(join)
    , m_folder(shotFolder)
    , m_context(std::make_shared<Context>())
{
}

QStringList DemoScript::shots() const
{
    return m_context->shots;
}

int DemoScript::hostTotal() const
{
    return m_context->host;
}

int DemoScript::joinTotal() const
{
    return m_context->join;
}

QList<DemoStep> DemoScript::opening() const
{
    QList<DemoStep> steps;
    ControlClient &host = m_host;
    ControlClient &join = m_join;
    steps.append({QStringLiteral("the opening exchange (names and totals)"), {},
                  [&host, &join] {
                      return host.seen(QStringLiteral("received"), u'X' + joinName())
                             && join.seen(QStringLiteral("received"), u'O' + hostName())
                             && findStarting(join, QStringLiteral("received"), QStringLiteral("$"), 0) >= 0;
                  },
                  {}, {}, 60000});
    agree(steps, QStringLiteral("the names and totals after connecting"));
    // Side by side when the players are on a display.
    steps.append({QStringLiteral("placing the screens"),
                  [&host, &join] {
                      host.command(QStringLiteral("move 20 40"));
                      join.command(QStringLiteral("move 680 40"));
                  }});
    shoot(steps, QStringLiteral("connected"));
    return steps;
}

QList<DemoStep> DemoScript::match() const
{
    QList<DemoStep> steps;
    ControlClient &host = m_host;
    ControlClient &join = m_join;
    chat(steps, host, join, QStringLiteral("Halo Sari! Siap main?"));
    shoot(steps, QStringLiteral("chat-from-host"));
    chat(steps, join, host, QStringLiteral("Siap, Budi. Ayo!"));
    shoot(steps, QStringLiteral("chat-from-join"));

    // The host takes the left column; the joiner's B1 and C3 make no line.
    play(steps, host, join, QStringLiteral("A1"));
    play(steps, join, host, QStringLiteral("B1"));
    play(steps, host, join, QStringLiteral("A2"));
    shoot(steps, QStringLiteral("moves"));
    play(steps, join, host, QStringLiteral("C3"));
    play(steps, host, join, QStringLiteral("A3"));
    verdicts(steps, QStringLiteral("Anda Menang!"), QStringLiteral("Anda Kalah!"), +1, -1);
    shoot(steps, QStringLiteral("host-wins-line"));

    // The host moved last, so after the restart the joiner moves first: the right column.
    restart(steps);
    shoot(steps, QStringLiteral("restart"));
    play(steps, join, host, QStringLiteral("C1"));
    play(steps, host, join, QStringLiteral("A1"));
    play(steps, join, host, QStringLiteral("C2"));
    play(steps, host, join, QStringLiteral("A3"));
    play(steps, join, host, QStringLiteral("C3"));
    verdicts(steps, QStringLiteral("Anda Kalah!"), QStringLiteral("Anda Menang!"), -1, +1);
    shoot(steps, QStringLiteral("join-wins-line"));

    // The joiner's four corners complete nothing and leave the cross to the host, whose
    // B2 then fills the middle row and column at once: the plus pattern, tested first.
    restart(steps);
    const QStringList plus{QStringLiteral("A2"), QStringLiteral("A1"), QStringLiteral("B1"),
                           QStringLiteral("A3"), QStringLiteral("B3"), QStringLiteral("C1"),
                           QStringLiteral("C2"), QStringLiteral("C3")};
    for (qsizetype i = 0; i < plus.size(); ++i) {
        if (i % 2 == 0)
            play(steps, host, join, plus[i]);
        else
            play(steps, join, host, plus[i]);
    }
    shoot(steps, QStringLiteral("plus-ready"));
    play(steps, host, join, QStringLiteral("B2"));
    verdicts(steps, QStringLiteral("Anda Menang! Bonus!! +Triple Score"),
             hostName() + QStringLiteral(" Melakukan +Triple Score"), +3, 0);
    shoot(steps, QStringLiteral("plus-triple"));

    restart(steps);
    shoot(steps, QStringLiteral("final"));
    return steps;
}

void DemoScript::shoot(QList<DemoStep> &steps, const QString &name) const
{
    const QString base = QDir(m_folder).filePath(
        QStringLiteral("%1-%2").arg(m_context->shots.size() / 2 + 1, 2, 10, QLatin1Char('0')).arg(name));
    const QString hostFile = base + QStringLiteral("-host.png");
    const QString joinFile = base + QStringLiteral("-join.png");
    m_context->shots << hostFile << joinFile;

    auto marks = std::make_shared<Marks>();
    ControlClient &host = m_host;
    ControlClient &join = m_join;
    auto answer = [](const ControlClient &player, int from) {
        return player.answers().mid(from).filter(QStringLiteral(" shot")).value(0);
    };
    steps.append({QStringLiteral("screenshots ") + name,
                  [&host, &join, marks, hostFile, joinFile] {
                      marks->hostAnswers = int(host.answers().size());
                      marks->joinAnswers = int(join.answers().size());
                      host.command(QStringLiteral("shot ") + hostFile);
                      join.command(QStringLiteral("shot ") + joinFile);
                  },
                  [&host, &join, marks, answer] {
                      return !answer(host, marks->hostAnswers).isEmpty()
                             && !answer(join, marks->joinAnswers).isEmpty();
                  },
                  {},
                  [&host, &join, marks, answer] {
                      for (const QString &line : {answer(host, marks->hostAnswers),
                                                  answer(join, marks->joinAnswers)}) {
                          if (line.startsWith(QLatin1String("error")))
                              return line;
                      }
                      return QString();
                  }});
}

void DemoScript::chat(QList<DemoStep> &steps, ControlClient &from, ControlClient &to,
                      const QString &line) const
{
    auto marks = std::make_shared<Marks>();
    const QString wire = QStringLiteral("msg: ") + line;
    steps.append({from.label() + QStringLiteral(" says \"") + line + u'"',
                  [&from, &to, marks, line] {
                      marks->join = to.mark();
                      from.command(QStringLiteral("chat ") + line);
                  },
                  [&to, marks, wire] { return to.seen(QStringLiteral("received"), wire, marks->join); }});
    // The bubbles type a letter at a time; the picture is taken when both are whole.
    steps.append({QStringLiteral("the chat bubbles typed out"),
                  [&from, &to, marks] {
                      marks->hostStates = from.stateCount();
                      marks->joinStates = to.stateCount();
                  },
                  [&from, &to, marks, line, wire] {
                      return from.stateCount() > marks->hostStates
                             && to.stateCount() > marks->joinStates
                             && text(from.state(), "MOUT") == line && visible(from.state(), "MOUT")
                             && text(to.state(), "message") == wire && visible(to.state(), "message");
                  },
                  [&from, &to] {
                      from.command(QStringLiteral("state"));
                      to.command(QStringLiteral("state"));
                  }});
}

void DemoScript::play(QList<DemoStep> &steps, ControlClient &mover, ControlClient &other,
                      const QString &cell) const
{
    auto marks = std::make_shared<Marks>();
    const QString drawn = cell + u' ' + markOf(mover);
    steps.append({mover.label() + QStringLiteral(" plays ") + cell,
                  [&mover, &other, marks, cell] {
                      marks->host = mover.mark();
                      marks->join = other.mark();
                      mover.command(QStringLiteral("click ") + cell);
                  },
                  [&mover, &other, marks, cell, drawn] {
                      return other.seen(QStringLiteral("received"), cell, marks->join)
                             && findStarting(other, QStringLiteral("drawn"), drawn, marks->join) >= 0
                             && findStarting(mover, QStringLiteral("drawn"), drawn, marks->host) >= 0;
                  }});
}

void DemoScript::verdicts(QList<DemoStep> &steps, const QString &hostCaption,
                          const QString &joinCaption, int hostChange, int joinChange) const
{
    ControlClient &host = m_host;
    ControlClient &join = m_join;
    const std::shared_ptr<Context> context = m_context;
    steps.append({QStringLiteral("the verdicts \"") + hostCaption + QStringLiteral("\" / \"")
                      + joinCaption + u'"',
                  [context, hostChange, joinChange] {
                      context->host += hostChange;
                      context->join += joinChange;
                  },
                  [&host, &join, context] {
                      return host.seen(QStringLiteral("verdict"), {}, context->hostGame)
                             && join.seen(QStringLiteral("verdict"), {}, context->joinGame);
                  },
                  {},
                  [&host, &join, context, hostCaption, joinCaption] {
                      const QStringList hostSaw = host.payloads(QStringLiteral("verdict"), context->hostGame);
                      const QStringList joinSaw = join.payloads(QStringLiteral("verdict"), context->joinGame);
                      if (hostSaw != QStringList{hostCaption} || joinSaw != QStringList{joinCaption})
                          return QStringLiteral("the screens disagree: host showed \"%1\", joiner \"%2\"")
                              .arg(hostSaw.join(QStringLiteral("\", \"")),
                                   joinSaw.join(QStringLiteral("\", \"")));
                      return QString();
                  }});
}

void DemoScript::restart(QList<DemoStep> &steps) const
{
    ControlClient &host = m_host;
    ControlClient &join = m_join;
    auto marks = std::make_shared<Marks>();
    const std::shared_ptr<Context> context = m_context;
    // Done when the joiner has answered with its total and the host's answer has arrived.
    steps.append({QStringLiteral("host restarts"),
                  [&host, &join, marks, context] {
                      marks->host = context->hostGame = host.mark();
                      marks->join = context->joinGame = join.mark();
                      host.command(QStringLiteral("restart"));
                  },
                  [&host, &join, marks] {
                      const int restart = join.find(QStringLiteral("received"), QStringLiteral("X"), marks->join);
                      return restart >= 0
                             && findStarting(host, QStringLiteral("received"), QStringLiteral("$"), marks->host) >= 0
                             && findStarting(join, QStringLiteral("received"), QStringLiteral("$"), restart + 1) >= 0;
                  }});
    agree(steps, QStringLiteral("the boards and totals after the restart"));
}

void DemoScript::agree(QList<DemoStep> &steps, const QString &what) const
{
    ControlClient &host = m_host;
    ControlClient &join = m_join;
    auto marks = std::make_shared<Marks>();
    const std::shared_ptr<Context> context = m_context;
    auto settled = [](const QJsonObject &state) {
        const QJsonObject cells = state.value(QStringLiteral("cells")).toObject();
        for (auto it = cells.begin(); it != cells.end(); ++it) {
            if (!it.value().toString().isEmpty())
                return false;
        }
        return state.value(QStringLiteral("connected")).toBool() && !visible(state, "infox")
               && text(state, "Oname") == hostName() && text(state, "Xname") == joinName();
    };
    steps.append({what,
                  [&host, &join, marks] {
                      marks->hostStates = host.stateCount();
                      marks->joinStates = join.stateCount();
                  },
                  [&host, &join, marks, settled] {
                      return host.stateCount() > marks->hostStates
                             && join.stateCount() > marks->joinStates && settled(host.state())
                             && settled(join.state());
                  },
                  [&host, &join] {
                      host.command(QStringLiteral("state"));
                      join.command(QStringLiteral("state"));
                  },
                  [&host, &join, context] {
                      const QJsonObject h = host.state();
                      const QJsonObject j = join.state();
                      if (!context->started) {
                          // The first agreement: the totals the players brought along.
                          context->started = true;
                          context->host = text(h, "WR").toInt();
                          context->join = text(j, "WR").toInt();
                      }
                      const QString hostTotal = QString::number(context->host);
                      const QString joinTotal = QString::number(context->join);
                      if (text(h, "WR") != hostTotal || text(j, "WRL2") != hostTotal
                          || text(j, "WR") != joinTotal || text(h, "WRL2") != joinTotal)
                          return QStringLiteral("totals: host shows %1 (own) and %2 (joiner), joiner "
                                                "shows %3 (own) and %4 (host); expected %5 and %6")
                              .arg(text(h, "WR"), text(h, "WRL2"), text(j, "WR"), text(j, "WRL2"),
                                   hostTotal, joinTotal);
                      return QString();
                  }});
}
