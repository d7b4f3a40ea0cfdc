#include "control_actions.h"

#include "rules/board.h"
#include "model/match_model.h"
#include "board/board_view.h"
#include "rules/cell.h"
#include "board/point_image.h"
#include "match/match_screen.h"
#include "match/match_socket.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QWindow>

namespace {

QString labelText(const MatchScreen *screen, const char *name)
{
    const auto *label = screen->findChild<QLabel *>(QLatin1String(name));
    return label ? label->text() : QString();
}

QJsonObject shownText(const QWidget *widget, const QString &text)
{
    return {{QStringLiteral("text"), text},
            {QStringLiteral("visible"), widget && widget->isVisible()}};
}

QLineEdit *chatBox(MatchScreen *screen)
{
    return screen->findChild<QLineEdit *>(QStringLiteral("Text1"));
}

void sendKey(QWidget *target, int key, const QString &text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(target, &release);
}

} // namespace

namespace ControlActions {

QString click(QWidget *target, QString *hit)
{
    if (!target)
        return QStringLiteral("no such control");
    QWidget *window = target->window();
    QWindow *handle = window->windowHandle();
    if (!handle || !window->isVisible())
        return QStringLiteral("screen not shown");
    const QPoint local = target->mapTo(window, target->rect().center());
    const QPointF global = window->mapToGlobal(QPointF(local));
    if (hit) {
        const QWidget *under = window->childAt(local);
        *hit = under ? under->objectName() : window->objectName();
    }
    // Through the window, as the window system delivers a click: the widget on top at that
    // spot receives it, and a disabled one lets it go.
    QMouseEvent press(QEvent::MouseButtonPress, local, global, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(handle, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, local, global, Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QCoreApplication::sendEvent(handle, &release);
    return {};
}

QWidget *control(MatchScreen *screen, const QString &name)
{
    const int cell = Cell::indexOf(name);
    if (cell >= 0)
        return screen->view()->point(cell);
    const QList<QPushButton *> buttons = screen->findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        if (button->objectName() == name || button->text() == name)
            return button;
    }
    return nullptr;
}

QString type(MatchScreen *screen, const QString &text)
{
    QLineEdit *box = chatBox(screen);
    if (!box)
        return QStringLiteral("no chat box");
    box->setFocus(Qt::OtherFocusReason);
    for (const QChar c : text) {
        const int key = c.isLetterOrNumber() && c.unicode() < 0x80 ? c.toUpper().unicode()
                                                                   : int(Qt::Key_unknown);
        sendKey(box, key, QString(c));
    }
    return {};
}

QString enter(MatchScreen *screen)
{
    QLineEdit *box = chatBox(screen);
    if (!box)
        return QStringLiteral("no chat box");
    sendKey(box, Qt::Key_Return, QStringLiteral("\r"));
    return {};
}

QString shot(MatchScreen *screen, const QString &file)
{
    const QFileInfo info(file);
    if (!QDir().mkpath(info.absolutePath()))
        return QStringLiteral("cannot make folder ") + info.absolutePath();
    if (!screen->grab().save(info.absoluteFilePath(), "PNG"))
        return QStringLiteral("cannot write ") + info.absoluteFilePath();
    return {};
}

QJsonObject state(MatchScreen *screen)
{
    const Board &board = screen->model()->board();
    QJsonObject cells;
    bool enabled = true;
    for (int i = 0; i < Cell::Count; ++i) {
        cells.insert(Cell::name(i), board.state(i));
        enabled = enabled && screen->view()->point(i)->isEnabled();
    }
    const auto *send = screen->findChild<QPushButton *>(QStringLiteral("Command1"));
    const auto *restart = screen->findChild<QPushButton *>(QStringLiteral("Command3"));
    const QLabel *infox = screen->view()->infox();
    return {
        {QStringLiteral("screen"), screen->objectName()},
        {QStringLiteral("cells"), cells},
        {QStringLiteral("infox"), shownText(infox, infox->text())},
        {QStringLiteral("trans"), screen->view()->trans()->isVisible()},
        {QStringLiteral("WR"), screen->model()->WR()},
        {QStringLiteral("WRL"), labelText(screen, "WRL")},
        {QStringLiteral("WRL2"), labelText(screen, "WRL2")},
        {QStringLiteral("Oname"), labelText(screen, "Oname")},
        {QStringLiteral("Xname"), labelText(screen, "Xname")},
        {QStringLiteral("enabled"), enabled},
        {QStringLiteral("connected"), screen->socket()->isConnected()},
        {QStringLiteral("send"), send && send->isEnabled()},
        {QStringLiteral("restart"), restart && restart->isEnabled()},
        {QStringLiteral("MOUT"), shownText(screen->findChild<QLabel *>(QStringLiteral("MOUT")),
                                           labelText(screen, "MOUT"))},
        {QStringLiteral("message"),
         shownText(screen->findChild<QLabel *>(QStringLiteral("message")),
                   labelText(screen, "message"))},
        {QStringLiteral("status"), labelText(screen, "status")},
    };
}

QJsonObject hostList(const QComboBox *list)
{
    // A registry can list thousands, and names of any length: the first few, cut short,
    // tell what kind of entries they are, and the answer stays one short line.
    constexpr int Shown = 5;
    constexpr int Longest = 100;
    QJsonArray items;
    for (int i = 0; i < qMin(list->count(), Shown); ++i) {
        const QString text = list->itemText(i);
        items.append(text.size() > Longest ? text.left(Longest) + QStringLiteral("...") : text);
    }
    return {{QStringLiteral("count"), list->count()}, {QStringLiteral("items"), items}};
}

} // namespace ControlActions
