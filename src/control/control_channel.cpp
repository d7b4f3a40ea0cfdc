#include "control_channel.h"

#include "control/control_actions.h"
#include "control/control_event.h"
#include "shell/login_screen.h"
#include "shell/screens.h"

#include "rules/board.h"
#include "model/match_model.h"
#include "board/board_view.h"
#include "rules/cell.h"
#include "match/host_screen.h"
#include "match/join_screen.h"
#include "match/practice_screen.h"
#include "match/match_screen.h"
#include "match/match_socket.h"

#include <QPushButton>
#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QMessageBox>
#include <QTimer>

#include "platform/standard_input.h"

#include <cstdio>

namespace {

void writeStandardOutput(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fflush(stdout);
}

} // namespace

ControlChannel::ControlChannel(Screens &screens, QObject *parent)
    : QObject(parent)
    , m_screens(screens)
    , m_writer(writeStandardOutput)
    , m_next(new QTimer(this))
{
    m_next->setSingleShot(true);
    m_next->setInterval(0);
    connect(m_next, &QTimer::timeout, this, &ControlChannel::handleNext);
    // Screens are met when they are shown, whoever opens them.
    qApp->installEventFilter(this);
}

ControlChannel::~ControlChannel()
{
    qApp->removeEventFilter(this);
}

bool ControlChannel::listenOnStandardInput()
{
    if (!m_input) {
        m_input = new StandardInput(this);
        connect(m_input, &StandardInput::received, this, &ControlChannel::readInput);
        connect(m_input, &StandardInput::ended, this, [this] {
            // After the commands still waiting, as if the last one had been "quit".
            m_queue.append(QStringLiteral("quit"));
            m_next->start();
        });
    }
    return m_input->start();
}

void ControlChannel::readInput(const QByteArray &bytes)
{
    m_pending.append(bytes);
    qsizetype end;
    while ((end = m_pending.indexOf('\n')) >= 0) {
        QString line = QString::fromUtf8(m_pending.left(end));
        m_pending.remove(0, end + 1);
        if (line.endsWith(u'\r'))
            line.chop(1);
        m_queue.append(line);
    }
    if (!m_queue.isEmpty())
        m_next->start();
}

void ControlChannel::handleNext()
{
    if (m_queue.isEmpty())
        return;
    handle(m_queue.takeFirst());
    if (!m_queue.isEmpty())
        m_next->start();
}

void ControlChannel::handle(const QString &line)
{
    const QString trimmed = line.trimmed();
    if (trimmed.isEmpty())
        return;
    const qsizetype space = trimmed.indexOf(u' ');
    const QString command = space < 0 ? trimmed : trimmed.left(space);
    // Chat text keeps its own spacing: only the one space after the command is taken away.
    const QString argument = space < 0 ? QString() : line.mid(line.indexOf(command) + command.size() + 1);

    if (command == QLatin1String("quit")) {
        write(QStringLiteral("ok quit"));
        quit();
        return;
    }
    if (command == QLatin1String("open") && argument.startsWith(QLatin1String("practice"))) {
        // open practice LEVEL [O|X]: the computer as the opponent, no network.
        const QStringList words = argument.split(u' ', Qt::SkipEmptyParts);
        const std::optional<ComputerLevel> level = ComputerLevels::fromName(words.value(1));
        const QString mark = words.value(2, QStringLiteral("O")).toUpper();
        if (!level || words.size() > 3 || (mark != QLatin1String("O") && mark != QLatin1String("X"))) {
            write(QStringLiteral("error open: open practice mudah|sedang|sempurna [O|X]"));
            return;
        }
        m_screens.startPractice(*level, mark == QLatin1String("X") ? MatchSide::Join : MatchSide::Host,
                                QString(), {}, false);
        write(QStringLiteral("ok open practice"));
        return;
    }
    if (command == QLatin1String("open")) {
        const QStringList words = argument.split(u' ', Qt::SkipEmptyParts);
        if (words.size() != 2 || (words[0] != QLatin1String("host") && words[0] != QLatin1String("join"))) {
            write(QStringLiteral("error open: open host NAME | open join NAME"));
            return;
        }
        if (words[0] == QLatin1String("host"))
            m_screens.startHost(words[1], {}, false);
        else
            m_screens.startJoin(words[1], {}, false);
        write(QStringLiteral("ok open ") + words[0]);
        return;
    }

    if (command == QLatin1String("dismiss")) {
        dismissBox();
        return;
    }

    MatchScreen *screen = matchScreen();
    if (command == QLatin1String("state")) {
        // Also without a match screen: a director must see that the program is still there
        // and which screen it shows, after a failed start say.
        QJsonObject state = screen ? ControlActions::state(screen) : QJsonObject();
        state.insert(QStringLiteral("screens"), QJsonArray::fromStringList(shownScreens()));
        if (m_screens.isLoaded(QStringLiteral("login")))
            state.insert(QStringLiteral("HO"), ControlActions::hostList(m_screens.login()->HO()));
        write(QStringLiteral("state ")
              + QString::fromUtf8(QJsonDocument(state).toJson(QJsonDocument::Compact)));
        return;
    }
    if (!screen) {
        write(QStringLiteral("error ") + command + QStringLiteral(": no match screen is open"));
        return;
    }
    const QString detail = act(command, argument, screen);
    if (detail.startsWith(u'!'))
        write(QStringLiteral("error ") + command + QStringLiteral(": ") + detail.mid(1));
    else
        write(QStringLiteral("ok ") + command + (detail.isEmpty() ? QString() : u' ' + detail));
}

QString ControlChannel::act(const QString &command, const QString &argument, MatchScreen *screen)
{
    // A detail for the answer, or '!' and the reason the command could not be carried out.
    auto failed = [](const QString &why) { return why.isEmpty() ? QString() : u'!' + why; };
    auto clickOn = [&](const QString &name) {
        QString hit;
        const QString why = ControlActions::click(ControlActions::control(screen, name), &hit);
        return why.isEmpty() ? name + u' ' + hit : u'!' + why + QStringLiteral(": ") + name;
    };

    if (command == QLatin1String("click")) {
        if (Cell::indexOf(argument) < 0)
            return QStringLiteral("!not a point: ") + argument;
        return clickOn(argument);
    }
    if (command == QLatin1String("button"))
        return clickOn(argument);
    if (command == QLatin1String("send"))
        return clickOn(QStringLiteral("Command1"));
    if (command == QLatin1String("restart"))
        return clickOn(QStringLiteral("Command3"));
    if (command == QLatin1String("close"))
        return clickOn(QStringLiteral("Command2"));
    if (command == QLatin1String("type"))
        return failed(ControlActions::type(screen, argument));
    if (command == QLatin1String("enter"))
        return failed(ControlActions::enter(screen));
    if (command == QLatin1String("chat")) {
        const QString why = ControlActions::type(screen, argument);
        return failed(why.isEmpty() ? ControlActions::enter(screen) : why);
    }
    if (command == QLatin1String("shot")) {
        if (argument.isEmpty())
            return QStringLiteral("!shot FILE.png");
        return failed(ControlActions::shot(screen, argument));
    }
    if (command == QLatin1String("move")) {
        const QStringList xy = argument.split(u' ', Qt::SkipEmptyParts);
        bool okX = false, okY = false;
        const int x = xy.value(0).toInt(&okX);
        const int y = xy.value(1).toInt(&okY);
        if (xy.size() != 2 || !okX || !okY)
            return QStringLiteral("!move X Y");
        screen->move(x, y);
        return {};
    }
    return QStringLiteral("!unknown command");
}

void ControlChannel::dismissBox()
{
    // A box waits in its own event loop for a player's answer; commands still arrive there.
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box) {
        write(QStringLiteral("error dismiss: no message box is shown"));
        return;
    }
    QAbstractButton *button = box->defaultButton();
    if (!button)
        button = box->escapeButton();
    if (!button && !box->buttons().isEmpty())
        button = box->buttons().constFirst();
    write(QStringLiteral("ok dismiss ") + (button ? button->text() : QString()));
    if (button)
        button->click();
    else
        box->reject();
}

QStringList ControlChannel::shownScreens() const
{
    QStringList names;
    for (const QWidget *screen : m_screens.loadedScreens()) {
        if (screen->isVisible())
            names.append(screen->objectName());
    }
    return names;
}

MatchScreen *ControlChannel::matchScreen() const
{
    if (m_screens.isLoaded(QStringLiteral("host")))
        return m_screens.host();
    if (m_screens.isLoaded(QStringLiteral("Join")))
        return m_screens.Join();
    return m_screens.practice();
}

bool ControlChannel::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show) {
        if (auto *screen = qobject_cast<MatchScreen *>(watched)) {
            if (m_screens.loadedScreens().contains(screen))
                attach(screen);
        } else if (auto *box = qobject_cast<QMessageBox *>(watched)) {
            report(QStringLiteral("box"), box->windowTitle() + QStringLiteral(": ") + box->text());
        }
    }
    return QObject::eventFilter(watched, event);
}

void ControlChannel::attach(MatchScreen *screen)
{
    m_attached.removeAll(nullptr);
    if (m_attached.contains(screen))
        return;
    m_attached.append(screen);

    const QString name = screen->objectName();
    connect(screen->socket(), &MatchSocket::sent, this,
            [this](const QString &message) { report(QStringLiteral("sent"), message); });
    connect(screen->socket(), &MatchSocket::received, this,
            [this](const QString &message) { report(QStringLiteral("received"), message); });
    connect(screen->view(), &BoardView::pointShown, this, [this, screen](int index) {
        const QString state = screen->model()->board().state(index);
        report(QStringLiteral("drawn"),
               Cell::name(index) + u' ' + (state.isEmpty() ? QStringLiteral("-") : state));
    });
    connect(screen, &MatchScreen::cued, this, [this, screen](const QString &cue) {
        report(QStringLiteral("cue"), cue);
        // Win detection sets the caption just before it sounds the verdict.
        if (cue == QLatin1String("WIN") || cue == QLatin1String("Lose"))
            report(QStringLiteral("verdict"), screen->view()->infox()->text());
    });
    connect(screen, &MatchScreen::statusShown, this,
            [this](const QString &sentence) { report(QStringLiteral("status"), sentence); });
    connect(screen, &QObject::destroyed, this,
            [this, name] { report(QStringLiteral("gone"), name); });
    report(QStringLiteral("screen"), name);
}

void ControlChannel::report(const QString &kind, const QString &payload)
{
    write(ControlEvent{kind, ControlEvent::escape(payload), ControlEvent::now()}.format());
}

void ControlChannel::write(const QString &line)
{
    if (m_writer)
        m_writer(line.toUtf8() + '\n');
}

void ControlChannel::quit()
{
    // Once only. The program is on its way out and gives the registry withdrawal that the
    // closing host has just started a few seconds; a second quit (standard input ending
    // right after the command, say) would end that wait at once and leave the entry listed.
    if (m_quitting)
        return;
    m_quitting = true;
    if (m_input) {
        m_input->deleteLater();  // nothing more is read
        m_input = nullptr;
    }
    m_queue.clear();
    // As the title-bar close of every open screen: a host withdraws its registry entry.
    m_screens.closeAllAndQuit();
}
