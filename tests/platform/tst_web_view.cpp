#include "platform/web_view.h"
#include "support/match_env.h"
#include "support/test_files.h"

#include <QDesktopServices>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

class TestWebView : public QObject
{
    Q_OBJECT

public slots:
    // QDesktopServices hands links to this instead of a browser.
    void openLink(const QUrl &url) { m_opened << url; }

private slots:
    void initTestCase()
    {
        QVERIFY(TestFiles::write(m_dir.filePath("index.html"),
                                 "<html><body><p>Halaman pembuat</p><img src=\"logo.png\">"
                                 "<a href=\"next.html\">lanjut</a></body></html>"));
        QImage logo(8, 8, QImage::Format_RGB32);
        logo.fill(Qt::red);
        QVERIFY(logo.save(m_dir.filePath("logo.png")));
        QVERIFY(m_server.listen(QHostAddress::LocalHost, 0));
        connect(&m_server, &QTcpServer::newConnection, this, &TestWebView::serve);
        for (const char *scheme : {"http", "file"})
            QDesktopServices::setUrlHandler(scheme, this, "openLink");
    }

    void cleanupTestCase()
    {
        for (const char *scheme : {"http", "file"})
            QDesktopServices::unsetUrlHandler(scheme);
    }

    void navigate_data()
    {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("shown");
        QTest::newRow("local page") << page() << true << "Halaman pembuat";
        QTest::newRow("html in cp1252") << web("/page") << true << "Iklan & caf\u00E9";
        QTest::newRow("labelled latin-1 in the page") << web("/meta") << true << "Harga \u20AC 5";
        QTest::newRow("plain text") << web("/plain") << true << "<b>bukan tebal</b>";
        // The reason given for a missing local file is its path, shown as written, never obeyed.
        const QString markup = m_dir.filePath("<b>tebal</b>&amp;.html");
        QTest::newRow("markup in the path") << QUrl::fromLocalFile(markup) << false << markup;
        QTest::newRow("refused") << QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(MatchEnv::freePort()))
                                 << false << "Sambungan ditolak oleh server.";
        QTest::newRow("not found") << web("/missing") << false << "Halaman tidak ditemukan di server.";
        QTest::newRow("no answer") << web("/silent") << false << "Waktu tunggu habis.";
        QTest::newRow("unknown scheme") << QUrl("gopher://127.0.0.1/") << false << "Alamat tidak dikenal.";
    }

    void navigate()
    {
        QFETCH(QUrl, url);
        QFETCH(bool, ok);
        QFETCH(QString, shown);
        WebView view;
        view.setTimeout(500);
        QSignalSpy finished(&view, &WebView::loadFinished);
        view.navigate(url);
        // A web page is only asked for; the UI thread does not wait for it.
        QCOMPARE(view.isLoading(), url.scheme() == QLatin1String("http"));
        QCOMPARE(finished.size(), view.isLoading() ? 0 : 1);
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 30000);
        QCOMPARE(finished.at(0).at(0).toBool(), ok);
        QVERIFY(!view.isLoading());
        const QString text = view.toPlainText();
        QVERIFY2(text.contains(shown), qPrintable(text));
        QCOMPARE(text.contains(QStringLiteral("Halaman tidak dapat dibuka.")), !ok);
    }

    void laterNavigationWins()
    {
        WebView view;
        QSignalSpy finished(&view, &WebView::loadFinished);
        view.navigate(page());
        view.navigate(web("/silent"));
        auto *network = view.findChild<QNetworkAccessManager *>();
        QVERIFY(network);
        view.navigate(QUrl::fromLocalFile(m_dir.filePath("absent.html")));
        // The same page again after an error shows it again.
        view.navigate(page());
        QCOMPARE(finished.size(), 3);
        QVERIFY(!view.isLoading());
        // The web request is given up, so no late answer or time-out can replace the page.
        QTRY_VERIFY_WITH_TIMEOUT(network->findChildren<QNetworkReply *>().isEmpty(), 30000);
        QCOMPARE(finished.size(), 3);
        QVERIFY(view.toPlainText().contains(QStringLiteral("Halaman pembuat")));
        // Its picture comes from beside it.
        QVERIFY(view.document()->resource(QTextDocument::ImageResource, QUrl("logo.png")).isValid());

        // Links open outside; the view itself stays on its page.
        m_opened.clear();
        emit view.anchorClicked(QUrl(QStringLiteral("next.html")));
        emit view.anchorClicked(web("/page"));
        QCOMPARE(m_opened, QList<QUrl>({page().resolved(QUrl("next.html")), web("/page")}));
        QCOMPARE(view.url(), page());
        QVERIFY(view.toPlainText().contains(QStringLiteral("Halaman pembuat")));
    }

private:
    // A tiny web server: /page, /meta and /plain answer, /silent never does, the rest is 404.
    void serve()
    {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QTcpSocket::readyRead, socket, [socket] {
                const QByteArray path = socket->readAll().split(' ').value(1);
                if (path == "/silent")
                    return;
                QByteArray head = "200 OK\r\nContent-Type: text/html; charset=windows-1252";
                QByteArray body = "<html><body><p>Iklan &amp; caf\xe9</p></body></html>";
                if (path == "/plain") {
                    head = "200 OK\r\nContent-Type: text/plain; charset=utf-8";
                    body = "<b>bukan tebal</b>";
                } else if (path == "/meta") {
                    // Labelled in the page only, and as Latin-1: browsers read it as cp1252.
                    head = "200 OK\r\nContent-Type: text/html";
                    body = "<html><head><meta charset=\"ISO-8859-1\"></head><body>Harga \x80 5</body></html>";
                } else if (path != "/page") {
                    head = "404 Not Found";
                    body = "tidak ada";
                }
                socket->write("HTTP/1.1 " + head + "\r\nContent-Length: " + QByteArray::number(body.size())
                              + "\r\nConnection: close\r\n\r\n" + body);
                socket->disconnectFromHost();
            });
        }
    }

    QUrl page() const { return QUrl::fromLocalFile(m_dir.filePath("index.html")); }
    QUrl web(const char *path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(QLatin1String(path)));
    }

    QTemporaryDir m_dir;
    QTcpServer m_server;
    QList<QUrl> m_opened;
};

QTEST_MAIN(TestWebView)
#include "tst_web_view.moc"
