#include "net/natpmp_client.h"

#include "support/fake_natpmp_router.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using Mode = FakeNatPmpRouter::Mode;
Q_DECLARE_METATYPE(FakeNatPmpRouter::Mode)

class TstNatPmpClient : public QObject
{
    Q_OBJECT
private slots:
    void replies_data();
    void replies();
    void answersALateCopy();
    void epochGoingBack_data();
    void epochGoingBack();
};

void TstNatPmpClient::replies_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<quint16>("lowestAllowed");
    QTest::addColumn<bool>("answered");
    QTest::addColumn<int>("result");

    QTest::newRow("answer") << Mode::Answer << quint16(0) << true << 0;
    QTest::newRow("refusal") << Mode::Answer << quint16(1024) << true << 2;
    QTest::newRow("short refusal") << Mode::ShortRefusal << quint16(1024) << true << 2;
    QTest::newRow("silent") << Mode::Silent << quint16(0) << false << 0;
    QTest::newRow("short") << Mode::Short << quint16(0) << false << 0;
    QTest::newRow("wrong opcode") << Mode::WrongOpcode << quint16(0) << false << 0;
    QTest::newRow("wrong version") << Mode::WrongVersion << quint16(0) << false << 0;
    QTest::newRow("forged from another port") << Mode::FromOtherPort << quint16(0) << false << 0;
    QTest::newRow("another internal port") << Mode::OtherInternalPort << quint16(0) << false << 0;
}

void TstNatPmpClient::replies()
{
    QFETCH(Mode, mode);
    QFETCH(quint16, lowestAllowed);
    QFETCH(bool, answered);
    QFETCH(int, result);

    FakeNatPmpRouter router;
    router.mode = mode;
    router.lowestAllowed = lowestAllowed;
    NatPmpClient client(QHostAddress::LocalHost, router.port());
    QSignalSpy replied(&client, &NatPmpClient::replied);
    QSignalSpy timedOut(&client, &NatPmpClient::timedOut);
    QElapsedTimer clock;
    clock.start();
    client.requestMapping(NatPmp::OpMapTcp, 1009, 1009, 3600);
    QTRY_COMPARE_WITH_TIMEOUT(replied.count() + timedOut.count(), 1, 5000);
    QCOMPARE(replied.count(), answered ? 1 : 0);
    if (answered) {
        const auto reply = replied.first().first().value<NatPmp::Reply>();
        QCOMPARE(int(reply.result), result);
        QCOMPARE(reply.internalPort, quint16(1009));
        if (result == 0)
            QCOMPARE(reply.externalPort, quint16(1009));
    } else {
        // Given up inside the player's 3 s, after sending again in between.
        QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(router.requests.size() >= 3);
        QCOMPARE(timedOut.first().at(1).value<quint16>(), quint16(1009));
    }
    QCOMPARE(client.pending(), 0);
}

void TstNatPmpClient::answersALateCopy()
{
    // The router misses the first two copies; the third, sent 750 ms in, is answered.
    FakeNatPmpRouter router;
    router.ignoreCopies = 2;
    NatPmpClient client(QHostAddress::LocalHost, router.port());
    QSignalSpy replied(&client, &NatPmpClient::replied);
    client.requestExternalAddress();
    client.requestMapping(NatPmp::OpMapTcp, 41009, 41009, 60);
    QTRY_COMPARE_WITH_TIMEOUT(replied.count(), 2, 5000);
    QCOMPARE(replied.at(0).first().value<NatPmp::Reply>().externalAddress, router.externalAddress);
    QCOMPARE(replied.at(1).first().value<NatPmp::Reply>().externalPort, quint16(41009));
    QCOMPARE(router.requests.size(), 6);
}

void TstNatPmpClient::epochGoingBack_data()
{
    QTest::addColumn<quint32>("first");
    QTest::addColumn<quint32>("second");
    QTest::addColumn<bool>("restarted");

    QTest::newRow("same epoch") << 1000u << 1000u << false;
    QTest::newRow("epoch moved on") << 1000u << 1005u << false;
    QTest::newRow("within the 2 s of slack") << 1000u << 998u << false;
    QTest::newRow("went back") << 1000u << 3u << true;
}

void TstNatPmpClient::epochGoingBack()
{
    QFETCH(quint32, first);
    QFETCH(quint32, second);
    QFETCH(bool, restarted);

    FakeNatPmpRouter router;
    NatPmpClient client(QHostAddress::LocalHost, router.port());
    QSignalSpy replied(&client, &NatPmpClient::replied);
    QSignalSpy restart(&client, &NatPmpClient::routerRestarted);
    router.epoch = first;
    client.requestExternalAddress();
    QVERIFY(replied.wait());
    router.epoch = second;
    client.requestExternalAddress();
    QVERIFY(replied.wait());
    QCOMPARE(restart.count(), restarted ? 1 : 0);
}

QTEST_GUILESS_MAIN(TstNatPmpClient)
#include "tst_natpmp_client.moc"
