#include "platform/ftp_transfer.h"
#include "platform/settings.h"
#include "support/black_hole_server.h"
#include "support/ftp_server.h"
#include "support/match_env.h"
#include "support/test_files.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int Patience = 30000;  // generous: a loaded two-core machine

void configure(FtpTransfer &inet, const QString &url)
{
    inet.setAccessType(1);
    inet.setRequestTimeout(50);
    inet.setProtocol(4);
    inet.setUrl(url);
    inet.setUserName(QStringLiteral("dorvala"));
    inet.setPassword(QStringLiteral("418526"));
}

// Runs `command` to its end and returns the states reported; {-1} if it did not start.
QList<int> run(FtpTransfer &inet, const QString &command)
{
    QSignalSpy spy(&inet, &FtpTransfer::StateChanged);
    if (!inet.Execute(command) || !inet.StillExecuting())
        return {-1};
    if (!QTest::qWaitFor([&inet] { return !inet.StillExecuting(); }, Patience))
        return {-2};
    QList<int> states;
    for (const QList<QVariant> &report : std::as_const(spy))
        states << report.at(0).toInt();
    return states;
}

} // namespace

class TestFtpTransfer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_driveC.isValid());
        qputenv("DORVALA_DRIVE_C", m_driveC.path().toLocal8Bit());
        QVERIFY2(m_server.start(), qPrintable(m_server.error()));
    }

    void init()
    {
        QDir root(m_server.root());
        for (const QString &name : root.entryList(QDir::Files))
            QVERIFY(root.remove(name));
    }

    void requests_data()
    {
        QTest::addColumn<QString>("server");      // "up", "down" (nobody listens) or "silent"
        QTest::addColumn<QString>("password");
        QTest::addColumn<QStringList>("before");  // the registry's entries
        QTest::addColumn<QString>("command");     // a PUT uploads a file written for it
        QTest::addColumn<int>("error");
        QTest::addColumn<QStringList>("after");   // the entries afterwards, and a listing's names

        const QString pw = QStringLiteral("418526");
        const QStringList none;
        const QStringList two{"127.0.0.7", "127.0.0.9"};
        QStringList many;
        for (int i = 0; i < 10000; ++i)
            many.append(QStringLiteral("127.0.%1.%2").arg(i / 250).arg(i % 250 + 1));
        QTest::newRow("list two") << "up" << pw << two << "DIR" << 0 << two;
        QTest::newRow("list none") << "up" << pw << none << "DIR" << 0 << none;
        QTest::newRow("list ten thousand") << "up" << pw << many << "DIR" << 0 << many;
        QTest::newRow("put") << "up" << pw << none << "PUT C:/127.0.0.5 127.0.0.5" << 0
                             << QStringList{"127.0.0.5"};
        QTest::newRow("put name with blanks") << "up" << pw << none << "PUT C:/[Nomor IP] [Nomor IP]"
                                              << 0 << QStringList{"[Nomor IP]"};
        QTest::newRow("delete") << "up" << pw << two << "DELETE 127.0.0.7" << 0
                                << QStringList{"127.0.0.9"};
        QTest::newRow("delete missing entry") << "up" << pw << none << "DELETE 127.0.0.5"
                                              << int(FtpTransfer::ServerError) << none;
        QTest::newRow("server down") << "down" << pw << two << "DIR"
                                     << int(FtpTransfer::UnableToConnect) << two;
        QTest::newRow("wrong password") << "up" << "000000" << two << "DIR"
                                        << int(FtpTransfer::LoginRefused) << two;
        QTest::newRow("silent server times out") << "silent" << pw << two << "DIR"
                                                 << int(FtpTransfer::RequestTimedOut) << two;
    }

    void requests()
    {
        QFETCH(QString, server);
        QFETCH(QString, password);
        QFETCH(QStringList, before);
        QFETCH(QString, command);
        QFETCH(int, error);
        QFETCH(QStringList, after);
        QVERIFY(m_server.addEntries(before));
        for (const QString &name : after) {
            if (!before.contains(name))
                QVERIFY(TestFiles::write(Settings::cFile("C:/" + name), "{\\rtf1 " + name.toLatin1() + "\\par }"));
        }

        BlackHoleServer hole;
        QVERIFY(hole.start());
        FtpTransfer inet;
        configure(inet, server == u"up" ? m_server.url()
                        : server == u"silent" ? hole.url()
                                              : QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(MatchEnv::freePort()));
        inet.setPassword(password);
        inet.setRequestTimeout(server == u"silent" ? 1 : 50);
        QList<int> states{FtpTransfer::Connecting};
        if (error != FtpTransfer::UnableToConnect)
            states << FtpTransfer::Connected;
        states << (error ? FtpTransfer::Error : FtpTransfer::ResponseCompleted);
        QCOMPARE(run(inet, command), states);
        QCOMPARE(inet.lastError(), error);

        after.sort();
        QCOMPARE(m_server.entries(), after);
        for (const QString &name : after) {
            if (!before.contains(name))
                QCOMPARE(TestFiles::read(m_server.root() + u'/' + name), TestFiles::read(Settings::cFile("C:/" + name)));
        }
        // A listing's response: one name per line, each ended by CR LF, handed out in chunks
        // of at most 4096. Nothing else has one.
        QString response;
        for (QString chunk; !(chunk = inet.GetChunk(4096)).isEmpty(); response += chunk)
            QVERIFY(chunk.size() <= 4096);
        QStringList listed = response.split(QStringLiteral("\r\n"));
        QCOMPARE(listed.takeLast(), QString());
        listed.sort();
        QCOMPARE(listed, command == u"DIR" && !error ? after : QStringList());
    }

    // A registry whose machine has gone: connection attempts are neither answered nor refused.
    void exitWaitEndsWhenUnreachable()
    {
#ifndef Q_OS_LINUX
        QSKIP("needs Linux, which drops connection attempts to a full accept queue");
#else
        QTcpServer full;
        full.setListenBacklogSize(0);
        QVERIFY(full.listen(QHostAddress::LocalHost, 0));
        full.pauseAccepting();
        QTcpSocket queued[8];
        const bool hangs = [&] {
            for (QTcpSocket &socket : queued) {
                socket.connectToHost(QHostAddress::LocalHost, full.serverPort());
                if (!socket.waitForConnected(1000))
                    return true;
            }
            return false;
        }();
        if (!hangs)
            QSKIP("cannot make a connection attempt hang on loopback here");

        const QString url = QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(full.serverPort());
        FtpTransfer inet;
        FtpTransfer next;
        configure(inet, url);
        configure(next, url);
        // As a withdrawal that waited for its entry's upload: the next write starts from the
        // report of the one before.
        connect(&inet, &FtpTransfer::StateChanged, this, [&next](int state) {
            if (state == FtpTransfer::Error)
                next.Execute(QStringLiteral("DELETE 127.0.0.9"));
        });
        QSignalSpy spy(&inet, &FtpTransfer::StateChanged);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(inet.Execute(QStringLiteral("DELETE 127.0.0.8")));
        // The exit's wait gives up once a write could not reach the server, rather than wait
        // out the next one's connect time-out as well.
        QVERIFY(!FtpTransfer::waitForPending(Patience));
        QVERIFY(clock.elapsed() >= FtpTransfer::ConnectTimeoutMs - 500);
        QVERIFY(clock.elapsed() < 2 * FtpTransfer::ConnectTimeoutMs - 500);
        QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 2, Patience);
        QCOMPARE(spy.at(1).at(0).toInt(), int(FtpTransfer::Error));
        QCOMPARE(inet.lastError(), int(FtpTransfer::UnableToConnect));
        QVERIFY(next.StillExecuting());
        next.Cancel();
#endif
    }

    void refusedAndCancelled()
    {
        FtpTransfer inet;
        configure(inet, m_server.url());
        QSignalSpy spy(&inet, &FtpTransfer::StateChanged);
        QVERIFY(!inet.Execute(QStringLiteral("NOOP")));
        QCOMPARE(inet.lastError(), int(FtpTransfer::UnsupportedCommand));
        QVERIFY(inet.Execute(QStringLiteral("DIR")));
        QVERIFY(!inet.Execute(QStringLiteral("DELETE 127.0.0.5")));
        QCOMPARE(inet.lastError(), int(FtpTransfer::StillExecutingLastRequest));
        // The running request is untouched by the refusals, which report nothing.
        QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 3, Patience);
        QCOMPARE(spy.last().at(0).toInt(), int(FtpTransfer::ResponseCompleted));

        // Connected to a server that never answers: Cancel drops the request, and nothing of it
        // reaches the next one.
        BlackHoleServer hole;
        QVERIFY(hole.start());
        configure(inet, hole.url());
        QVERIFY(inet.Execute(QStringLiteral("DIR")));
        QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 5, Patience);
        inet.Cancel();
        QVERIFY(!inet.StillExecuting());
        configure(inet, m_server.url());
        QCOMPARE(run(inet, QStringLiteral("DIR")),
                 (QList<int>{FtpTransfer::Connecting, FtpTransfer::Connected, FtpTransfer::ResponseCompleted}));
    }

    void writesOutliveTheirObject()
    {
        BlackHoleServer hole;
        QVERIFY(hole.start());
        QVERIFY(TestFiles::write(Settings::cFile(QStringLiteral("C:/127.0.0.8")), "entry"));
        QElapsedTimer clock;
        clock.start();
        {
            FtpTransfer listing;
            configure(listing, hole.url());
            QVERIFY(listing.Execute(QStringLiteral("DIR")));
            FtpTransfer upload;
            configure(upload, m_server.url());
            QVERIFY(upload.Execute(QStringLiteral("PUT C:/127.0.0.8 127.0.0.8")));
            QCoreApplication::processEvents();
        }
        QVERIFY(clock.elapsed() < 1000);
        // The upload of the destroyed object still ends, which the program's exit waits for;
        // the listing is simply dropped.
        QVERIFY(FtpTransfer::waitForPending(Patience));
        QCOMPARE(m_server.entries(), QStringList{"127.0.0.8"});
    }

private:
    QTemporaryDir m_driveC;
    FtpServer m_server;
};

QTEST_GUILESS_MAIN(TestFtpTransfer)
#include "tst_ftp_transfer.moc"
