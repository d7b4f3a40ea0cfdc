#include "match_fixture.h"

#include "model/match_model.h"
#include "rules/cell.h"
#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"
#include "support/match_peer.h"

#include <QLabel>
#include <QTest>

MatchFixture::MatchFixture()
    : chat(std::make_unique<ChatHistory>())
{
}

MatchFixture::~MatchFixture()
{
    join.reset();
    host.reset();
}

HostScreen *MatchFixture::openHost(const QString &name)
{
    host = std::make_unique<HostScreen>();
    host->setChatHistory(chat.get());
    host->Form_Load();
    host->setOwnName(name);
    host->show();
    return host.get();
}

JoinScreen *MatchFixture::openJoin(const QString &name, const QString &address)
{
    join = std::make_unique<JoinScreen>(address);
    join->setChatHistory(chat.get());
    join->Form_Load();
    join->setOwnName(name);
    join->move(660, 0);
    join->show();
    return join.get();
}

bool MatchFixture::startMatch(const QString &hostName, const QString &joinName)
{
    openHost(hostName);
    openJoin(joinName);
    if (!QTest::qWaitFor([&] { return text(host.get(), "Xname") == joinName; }, 15000))
        return false;
    return text(host.get(), "Xname") == joinName && text(join.get(), "Oname") == hostName
           && text(join.get(), "WRL2") == text(host.get(), "WRL");
}

bool MatchFixture::openHostWithPeer(MatchPeer &peer)
{
    openHost(QStringLiteral("Ani"));
    return peer.connectTo(env.port()) && QTest::qWaitFor([&] { return !peer.messages.isEmpty(); }, 10000)
           && peer.messages.first() == QLatin1String("OAni");
}

QString MatchFixture::text(const QWidget *screen, const QString &name)
{
    const auto *label = screen->findChild<QLabel *>(name);
    return label ? label->text() : QStringLiteral("<no %1>").arg(name);
}

bool MatchFixture::visible(const QWidget *screen, const QString &name)
{
    auto *widget = screen->findChild<QWidget *>(name);
    return widget && widget->isVisibleTo(screen);
}

bool MatchFixture::enabled(const QWidget *screen, const QString &name)
{
    auto *widget = screen->findChild<QWidget *>(name);
    return widget && widget->isEnabled();
}

QString MatchFixture::state(const MatchScreen *screen, const QString &cell)
{
    return screen->model()->state(Cell::indexOf(cell));
}

void MatchFixture::clickPoint(QWidget *screen, const QString &cell)
{
    auto *point = screen->findChild<QWidget *>(cell);
    const QPoint centre = point->mapTo(screen, point->rect().center());
    QWidget *top = screen->childAt(centre);
    if (!top)
        top = screen;
    QTest::mouseClick(top, Qt::LeftButton, {}, top->mapFrom(screen, centre));
}

void MatchFixture::click(QWidget *screen, const QString &button)
{
    QTest::mouseClick(screen->findChild<QWidget *>(button), Qt::LeftButton);
}
