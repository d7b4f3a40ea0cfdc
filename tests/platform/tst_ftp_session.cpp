#include "platform/ftp_transfer.h"

#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

// The FTP conversation against servers that answer in every legal and illegal way; the
// well-behaved server (pyftpdlib) is the FTP transfer test's.

namespace {

using Replies = QHash<QByteArray, QByteArray>;

// An FTP server on loopback that answers each command from a script: verb -> reply
// ("" = stay silent). "{port}" in a reply becomes the port of a fresh passive listener;
// "{h,p}" the same port as PASV's six numbers, with another loopback address. A listing
// is sent on the data connection once both it and NLST have come.
struct ScriptedServer : QObject
{
    ScriptedServer(const QByteArray &greeting, Replies replies, QByteArray listing)
        : replies(std::move(replies)), listing(std::move(listing))
    {
        control.listen(QHostAddress::LocalHost);
        connect(&control, &QTcpServer::newConnection, this, [this, greeting] {
            client = control.nextPendingConnection();
            client->write(greeting);
            connect(client, &QTcpSocket::readyRead, this, &ScriptedServer::onCommand);
        });
        connect(&data, &QTcpServer::newConnection, this, [this] {
            dataClient = data.nextPendingConnection();
            sendListing();
        });
    }

    QString url(const QString &folder) const
    {
        return QStringLiteral("ftp://dorvala@127.0.0.1:%1%2").arg(control.serverPort()).arg(folder);
    }

    void onCommand()
    {
        while (client->canReadLine()) {
            const QByteArray line = client->readLine().trimmed();
            commands.append(line);
            const QByteArray verb = line.split(' ').first();
            QByteArray reply = replies.value(verb, verb == "QUIT" ? "221 bye\r\n" : "200 ok\r\n");
            if (reply.contains('{')) {
                data.listen(QHostAddress::LocalHost);
                const quint16 port = data.serverPort();
                reply.replace("{port}", QByteArray::number(port))
                    .replace("{h,p}", "127,9,8,7," + QByteArray::number(port / 256) + ','
                                          + QByteArray::number(port % 256));
            }
            client->write(reply);
            listed = listed || verb == "NLST";
            sendListing();
        }
    }

    void sendListing()
    {
        if (!listed || !dataClient)
            return;
        dataClient->write(listing);
        dataClient->disconnectFromHost();
        dataClient = nullptr;
        if (replies.value("NLST").startsWith("150"))
            client->write("226 done\r\n");
    }

    Replies replies;
    QByteArray listing;
    QTcpServer control;
    QTcpServer data;
    QTcpSocket *client = nullptr;
    QTcpSocket *dataClient = nullptr;
    bool listed = false;
    QByteArrayList commands;
};

const QByteArray Greeting = "220 ready\r\n";
const Replies Login{{"USER", "331 password\r\n"}, {"PASS", "230 in\r\n"},
                    {"EPSV", "229 Extended (|||{port}|)\r\n"}, {"NLST", "150 here\r\n"}};

Replies with(Replies replies, const QByteArray &verb, const QByteArray &reply)
{
    replies.insert(verb, reply);
    return replies;
}

} // namespace

class TestFtpSession : public QObject
{
    Q_OBJECT

private slots:
    void conversation_data()
    {
        QTest::addColumn<QByteArray>("greeting");
        QTest::addColumn<Replies>("replies");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QByteArray>("listing");
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("response");   // or the commands the server saw, "|"-joined

        const QByteArray names = "127.0.0.7\r\n127.0.0.9\r\n";
        const QString listed = QStringLiteral("127.0.0.7\r\n127.0.0.9\r\n");
        QTest::newRow("plain") << Greeting << Login << "/" << names << 0 << listed;
        QTest::newRow("multi-line greeting and login")
            << QByteArray("120 soon\r\n220-Welcome\r\n220-rules: 230 no\r\n220 ready\r\n")
            << with(Login, "PASS", "230-Hello\r\n  you\r\n230 in\r\n") << "/" << names << 0 << listed;
        QTest::newRow("login without password") << Greeting << with(Login, "USER", "230 in\r\n")
                                                << "/" << names << 0 << listed;
        QTest::newRow("names ended by LF only, last one by nothing")
            << Greeting << Login << "/" << QByteArray("a\nb\r\nc") << 0 << "a\r\nb\r\nc\r\n";
        QTest::newRow("the folder itself and its parent are no names")
            << Greeting << Login << "/" << QByteArray(".\r\n..\r\n127.0.0.7\r\n.\n ..\r\n...\r\n") << 0
            << "127.0.0.7\r\n ..\r\n...\r\n";
        QTest::newRow("EPSV refused: PASV, and its foreign address ignored")
            << Greeting << with(with(Login, "EPSV", "500 no\r\n"), "PASV", "227 Passive ({h,p})\r\n")
            << "/" << names << 0 << listed;
        QTest::newRow("PASV without brackets, after other numbers")
            << Greeting
            << with(with(Login, "EPSV", "500 no\r\n"), "PASV", "227 Mode 2,1,0 ok=1 {h,p}\r\n")
            << "/" << names << 0 << listed;
        QTest::newRow("one CWD per folder")
            << Greeting << Login << "/games/open/" << names << 0
            << "USER dorvala|PASS 418526|TYPE A|CWD games|CWD open|EPSV|NLST";

        const int server = FtpTransfer::ServerError;
        QTest::newRow("refused at USER") << Greeting << with(Login, "USER", "530 no\r\n") << "/"
                                         << names << int(FtpTransfer::LoginRefused) << "";
        QTest::newRow("refused at PASS") << Greeting << with(Login, "PASS", "530 no\r\n") << "/"
                                         << names << int(FtpTransfer::LoginRefused) << "";
        QTest::newRow("busy greeting") << QByteArray("421 too many\r\n") << Login << "/" << names
                                       << server << "";
        QTest::newRow("not FTP at all") << QByteArray("SSH-2.0-OpenSSH\r\n") << Login << "/" << names
                                        << server << "";
        QTest::newRow("listing larger than any registry's")
            << Greeting << Login << "/" << QByteArray(9 << 20, '7') << server << "";
        QTest::newRow("endless reply line") << QByteArray(200000, 'x') << Login << "/" << names
                                            << server << "";
        QTest::newRow("folder refused") << Greeting << with(Login, "CWD", "550 no such\r\n")
                                        << "/games/" << names << server << "";
        QTest::newRow("passive reply without a port")
            << Greeting << with(with(Login, "EPSV", "500 no\r\n"), "PASV", "227 later\r\n") << "/"
            << names << server << "";
        QTest::newRow("listing refused") << Greeting << with(Login, "NLST", "425 no data\r\n")
                                         << "/" << names << server << "";
        QTest::newRow("silent after the password") << Greeting << with(Login, "PASS", "") << "/"
                                                   << names << int(FtpTransfer::RequestTimedOut) << "";
        QTest::newRow("no final reply after the listing")
            << Greeting << with(Login, "NLST", "125 here\r\n") << "/" << names
            << int(FtpTransfer::RequestTimedOut) << "";
    }

    void conversation()
    {
        QFETCH(QByteArray, greeting);
        QFETCH(Replies, replies);
        QFETCH(QString, folder);
        QFETCH(QByteArray, listing);
        QFETCH(int, error);
        QFETCH(QString, response);

        ScriptedServer server(greeting, replies, listing);
        FtpTransfer inet;
        inet.setAccessType(1);
        inet.setRequestTimeout(1);
        inet.setUrl(server.url(folder));
        inet.setPassword(QStringLiteral("418526"));
        QVERIFY(inet.Execute(QStringLiteral("DIR")));
        QTRY_VERIFY_WITH_TIMEOUT(!inet.StillExecuting(), 20000);
        QCOMPARE(inet.lastError(), error);

        server.commands.removeAll("QUIT");
        QCOMPARE(response.startsWith(u"USER") ? QString::fromLatin1(server.commands.join('|'))
                                              : inet.GetChunk(1 << 20),
                 response);
    }
};

QTEST_GUILESS_MAIN(TestFtpSession)
#include "tst_ftp_session.moc"
