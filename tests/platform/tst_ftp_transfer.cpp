#include "platform/ftp_transfer.h"
#include "platform/settings.h"
#include "support/black_hole_server.h"
#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>
#include <vector>

#ifdef Q_OS_LINUX
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

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

// Waits for the end of the request; returns the states seen (empty on a time-out).
QList<int> finish(QSignalSpy &spy)
{
    QList<int> states;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < Patience) {
        while (!spy.isEmpty()) {
            states.append(spy.takeFirst().at(0).toInt());
            if (states.last() == FtpTransfer::Error
                || states.last() == FtpTransfer::ResponseCompleted)
                return states;
        }
        spy.wait(1000);
    }
    return {};
}

QString drain(FtpTransfer &inet)
{
    QString response;
    for (QString chunk = inet.GetChunk(4096); !chunk.isEmpty(); chunk = inet.GetChunk(4096)) {
        if (chunk.size() > 4096)
            return QStringLiteral("chunk too long");
        response += chunk;
    }
    return response;
}

#ifdef Q_OS_LINUX
// A loopback port whose accept queue is full: the kernel drops further connection
// attempts, so a client neither connects nor is refused.
class FullBacklog
{
public:
    ~FullBacklog()
    {
        for (int fd : m_fds)
            ::close(fd);
    }

    // False if no attempt could be made to hang.
    bool start()
    {
        const int listener = open();
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(listener, reinterpret_cast<sockaddr *>(&address), length) != 0
            || ::listen(listener, 0) != 0
            || ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length) != 0)
            return false;
        port = ntohs(address.sin_port);
        for (int i = 0; i < 8; ++i) {
            const int client = open();
            ::fcntl(client, F_SETFL, O_NONBLOCK);
            ::connect(client, reinterpret_cast<sockaddr *>(&address), sizeof address);
            pollfd wait{client, POLLOUT, 0};
            if (::poll(&wait, 1, 1000) == 0)
                return true;  // this one hangs: the queue is full
        }
        return false;
    }

    quint16 port = 0;

private:
    int open()
    {
        m_fds.push_back(::socket(AF_INET, SOCK_STREAM, 0));
        return m_fds.back();
    }

    std::vector<int> m_fds;
};
#endif

} // namespace

class TestFtpTransfer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void listing_data();
    void listing();
    void commands_data();
    void commands();
    void failures_data();
    void failures();
    void noConnectionInTime();
    void refusedWhileExecuting();
    void blackHoleKeepsLoopRunningAndCancels();
    void destroyedMidTransfer();

private:
    QTemporaryDir m_driveC;
    FtpServer m_server;
};

void TestFtpTransfer::initTestCase()
{
    QVERIFY(m_driveC.isValid());
    qputenv("DORVALA_DRIVE_C", m_driveC.path().toLocal8Bit());
    QVERIFY2(m_server.start(), qPrintable(m_server.error()));
}

void TestFtpTransfer::init()
{
    QDir root(m_server.root());
    for (const QString &name : root.entryList(QDir::Files))
        QVERIFY(root.remove(name));
}

void TestFtpTransfer::listing_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::newRow("two") << QStringList{"127.0.0.7", "127.0.0.9"};
    QTest::newRow("none") << QStringList{};
    QStringList many;
    for (int i = 0; i < 10000; ++i)
        many.append(QStringLiteral("127.0.%1.%2").arg(i / 250).arg(i % 250 + 1));
    QTest::newRow("ten thousand") << many;
}

void TestFtpTransfer::listing()
{
    QFETCH(QStringList, names);
    QVERIFY(m_server.addEntries(names));

    FtpTransfer inet;
    configure(inet, m_server.url());
    QSignalSpy spy(&inet, &FtpTransfer::StateChanged);
    QVERIFY(inet.Execute(QStringLiteral("DIR")));
    QVERIFY(inet.StillExecuting());
    QCOMPARE(finish(spy), (QList<int>{FtpTransfer::Connecting, FtpTransfer::Connected,
                                      FtpTransfer::ResponseCompleted}));
    QVERIFY(!inet.StillExecuting());

    // One name per line, each ended by CR LF, handed out in chunks of at most 4096.
    const QString response = drain(inet);
    QCOMPARE(response.count(QStringLiteral("\r\n")), names.size());
    QStringList listed = response.split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    listed.sort();
    names.sort();
    QCOMPARE(listed, names);
}

// "upload" names a file written to drive C and sent as "PUT C:/<name> <name>".
void TestFtpTransfer::commands_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("upload");
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("error");
    QTest::addColumn<QStringList>("after");

    QTest::newRow("put") << QStringList{} << "127.0.0.5" << QString() << 0
                         << QStringList{"127.0.0.5"};
    QTest::newRow("put name with blanks")
        << QStringList{} << "[Nomor IP]" << QString() << 0 << QStringList{"[Nomor IP]"};
    QTest::newRow("delete") << QStringList{"127.0.0.5", "127.0.0.6"} << QString()
                            << QStringLiteral("DELETE 127.0.0.5") << 0
                            << QStringList{"127.0.0.6"};
    QTest::newRow("delete missing entry")
        << QStringList{} << QString() << QStringLiteral("DELETE 127.0.0.5")
        << int(FtpTransfer::ServerError) << QStringList{};
}

void TestFtpTransfer::commands()
{
    QFETCH(QStringList, before);
    QFETCH(QString, upload);
    QFETCH(QString, command);
    QFETCH(int, error);
    QFETCH(QStringList, after);
    QVERIFY(m_server.addEntries(before));
    const QByteArray content = "{\\rtf1 " + upload.toLatin1() + "\\par }";
    if (!upload.isEmpty()) {
        QFile local(Settings::cFile(QStringLiteral("C:/") + upload));
        QVERIFY(local.open(QIODevice::WriteOnly));
        local.write(content);
        command = QStringLiteral("PUT C:/%1 %1").arg(upload);
    }

    FtpTransfer inet;
    configure(inet, m_server.url());
    QSignalSpy spy(&inet, &FtpTransfer::StateChanged);
    QVERIFY(inet.Execute(command));
    QCOMPARE(finish(spy).last(),
             int(error ? FtpTransfer::Error : FtpTransfer::ResponseCompleted));
    QCOMPARE(inet.lastError(), error);
    QCOMPARE(m_server.entries(), after);
    if (!upload.isEmpty()) {
        QFile remote(m_server.root() + u'/' + upload);
        QVERIFY(remote.open(QIODevice::ReadOnly));
        QCOMPARE(remote.readAll(), content);
    }
}

void TestFtpTransfer::failures_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QList<int>>("states");
    QTest::addColumn<int>("error");

    QTest::newRow("server down")
        << "down" << QStringLiteral("418526")
        << QList<int>{FtpTransfer::Connecting, FtpTransfer::Error}
        << int(FtpTransfer::UnableToConnect);
    QTest::newRow("wrong password")
        << "registry" << QStringLiteral("000000")
        << QList<int>{FtpTransfer::Connecting, FtpTransfer::Connected, FtpTransfer::Error}
        << int(FtpTransfer::LoginRefused);
    QTest::newRow("silent server times out")
        << "silent" << QStringLiteral("418526")
        << QList<int>{FtpTransfer::Connecting, FtpTransfer::Connected, FtpTransfer::Error}
        << int(FtpTransfer::RequestTimedOut);
}

void TestFtpTransfer::failures()
{
    QFETCH(QString, server);
    QFETCH(QString, password);
    QFETCH(QList<int>, states);
    QFETCH(int, error);

    BlackHoleServer hole;
    QVERIFY(hole.start());
    FtpTransfer inet;
    configure(inet, server == "registry" ? m_server.url()
                    : server == "silent" ? hole.url()
                                         : QStringLiteral("ftp://dorvala@127.0.0.1:%1/")
                                               .arg(MatchEnv::freePort()));
    inet.setPassword(password);
    if (server == "silent")
        inet.setRequestTimeout(1);
    QSignalSpy spy(&inet, &FtpTransfer::StateChanged);
    QVERIFY(inet.Execute(QStringLiteral("DIR")));
    QCOMPARE(finish(spy), states);
    QCOMPARE(inet.lastError(), error);
    QVERIFY(!inet.StillExecuting());
    QVERIFY(inet.GetChunk(4096).isEmpty());
}

void TestFtpTransfer::noConnectionInTime()
{
#ifdef Q_OS_LINUX
    FullBacklog server;
    if (!server.start())
        QSKIP("cannot make a connection attempt hang on loopback here");
    const QString url = QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(server.port);
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
    QCOMPARE(finish(spy), (QList<int>{FtpTransfer::Connecting, FtpTransfer::Error}));
    QCOMPARE(inet.lastError(), int(FtpTransfer::UnableToConnect));
    QVERIFY(next.StillExecuting());
    next.Cancel();
#else
    QSKIP("needs Linux sockets");
#endif
}

void TestFtpTransfer::refusedWhileExecuting()
{
    FtpTransfer inet;
    configure(inet, m_server.url());
    QSignalSpy spy(&inet, &FtpTransfer::StateChanged);
    QVERIFY(inet.Execute(QStringLiteral("DIR")));
    QVERIFY(!inet.Execute(QStringLiteral("DIR")));
    QCOMPARE(inet.lastError(), int(FtpTransfer::StillExecutingLastRequest));
    QVERIFY(!inet.Execute(QStringLiteral("RENAME a b")));
    // The running request is untouched by the refusals.
    QCOMPARE(finish(spy).last(), int(FtpTransfer::ResponseCompleted));
    QVERIFY(!inet.Execute(QStringLiteral("NOOP")));
    QCOMPARE(inet.lastError(), int(FtpTransfer::UnsupportedCommand));
    QVERIFY(spy.isEmpty());
}

void TestFtpTransfer::blackHoleKeepsLoopRunningAndCancels()
{
    BlackHoleServer hole;
    QVERIFY(hole.start());
    FtpTransfer inet;
    configure(inet, hole.url());
    QSignalSpy spy(&inet, &FtpTransfer::StateChanged);

    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
    ticker.start(10);

    QVERIFY(inet.Execute(QStringLiteral("DIR")));
    QTRY_COMPARE_WITH_TIMEOUT(spy.size(), 2, Patience);
    QCOMPARE(spy.at(1).at(0).toInt(), int(FtpTransfer::Connected));
    // Connected, and the server says nothing: the loop goes on meanwhile.
    const int before = ticks;
    QTRY_VERIFY_WITH_TIMEOUT(ticks >= before + 20, Patience);
    QVERIFY(inet.StillExecuting());

    QElapsedTimer clock;
    clock.start();
    inet.Cancel();
    QVERIFY(clock.elapsed() < 1000);
    QVERIFY(!inet.StillExecuting());

    // Ready for the next request at once.
    configure(inet, m_server.url());
    spy.clear();
    QVERIFY(inet.Execute(QStringLiteral("DIR")));
    QCOMPARE(finish(spy).last(), int(FtpTransfer::ResponseCompleted));
}

void TestFtpTransfer::destroyedMidTransfer()
{
    BlackHoleServer hole;
    QVERIFY(hole.start());
    QFile local(Settings::cFile(QStringLiteral("C:/127.0.0.8")));
    QVERIFY(local.open(QIODevice::WriteOnly));
    local.write("entry");
    local.close();

    QElapsedTimer clock;
    clock.start();
    {
        auto listing = std::make_unique<FtpTransfer>();
        configure(*listing, hole.url());
        QVERIFY(listing->Execute(QStringLiteral("DIR")));
        auto upload = std::make_unique<FtpTransfer>();
        configure(*upload, m_server.url());
        QVERIFY(upload->Execute(QStringLiteral("PUT C:/127.0.0.8 127.0.0.8")));
        QCoreApplication::processEvents();
    }
    QVERIFY(clock.elapsed() < 1000);
    // The upload of the destroyed object still ends, which the program's exit waits for;
    // the listing is simply dropped.
    QVERIFY(FtpTransfer::waitForPending(Patience));
    QCOMPARE(m_server.entries(), QStringList{"127.0.0.8"});
    QVERIFY(FtpTransfer::waitForPending(0));

    // A write started from the report of the one before (a withdrawal that waited for its
    // entry's upload) is waited for as well.
    FtpTransfer upload;
    FtpTransfer withdrawal;
    configure(upload, m_server.url());
    configure(withdrawal, m_server.url());
    connect(&upload, &FtpTransfer::StateChanged, this, [&withdrawal](int state) {
        if (state == FtpTransfer::ResponseCompleted)
            withdrawal.Execute(QStringLiteral("DELETE 127.0.0.8"));
    });
    QVERIFY(upload.Execute(QStringLiteral("PUT C:/127.0.0.8 127.0.0.8")));
    QVERIFY(FtpTransfer::waitForPending(Patience));
    QCOMPARE(m_server.entries(), QStringList{});
}

QTEST_GUILESS_MAIN(TestFtpTransfer)
#include "tst_ftp_transfer.moc"
