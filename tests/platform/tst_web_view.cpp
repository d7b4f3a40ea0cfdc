#include "platform/web_view.h"
#include "support/test_files.h"
#include "support/match_env.h"

#include <QDesktopServices>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int waitLimit = 30000;


} // namespace

class TestWebView : public QObject
{
    Q_OBJECT

public slots:
    // QDesktopServices hands links to this instead of a browser.
    void openLink(const QUrl &url) { m_opened << url; }

private slots:
    void initTestCase();
    void cleanupTestCase();
    void localPageLoadsAtOnce();
    void webPageArrivesLater_data();
    void webPageArrivesLater();
    void unreachablePageShowsError_data();
    void unreachablePageShowsError();
    void laterNavigationWins();
    void linksOpenOutside();

private:
    void serve();
    QUrl web(const QString &path) const;

    QTemporaryDir m_dir;
    QTcpServer m_server;
    QList<QUrl> m_opened;
};

void TestWebView::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(TestFiles::write(m_dir.filePath(QStringLiteral("index.html")),
                      "<html><body><p>Halaman pembuat</p><img src=\"logo.png\">"
                      "<a href=\"next.html\">lanjut</a></body></html>"));
    QImage logo(8, 8, QImage::Format_RGB32);
    logo.fill(Qt::red);
    QVERIFY(logo.save(m_dir.filePath(QStringLiteral("logo.png"))));
    QVERIFY(m_server.listen(QHostAddress::LocalHost, 0));
    connect(&m_server, &QTcpServer::newConnection, this, &TestWebView::serve);
    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "openLink");
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openLink");
}

void TestWebView::cleanupTestCase()
{
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

// A tiny web server: /page and /plain answer, /missing is 404, /silent never answers.
void TestWebView::serve()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, socket, [socket] {
            const QByteArray request = socket->readAll();
            const QByteArray path = request.split(' ').value(1);
            QByteArray status = "200 OK";
            QByteArray type = "text/html; charset=windows-1252";
            QByteArray body;
            if (path == "/page") {
                body = "<html><body><p>Iklan &amp; caf\xe9</p></body></html>";
            } else if (path == "/meta") {
                // Labelled in the page only, and as Latin-1: browsers read that as cp1252.
                type = "text/html";
                body = "<html><head><meta charset=\"ISO-8859-1\"></head><body>Harga \x80 5</body></html>";
            } else if (path == "/plain") {
                type = "text/plain; charset=utf-8";
                body = "<b>bukan tebal</b>";
            } else if (path == "/silent") {
                return;
            } else {
                status = "404 Not Found";
                body = "tidak ada";
            }
            socket->write("HTTP/1.1 " + status + "\r\nContent-Type: " + type
                          + "\r\nContent-Length: " + QByteArray::number(body.size())
                          + "\r\nConnection: close\r\n\r\n" + body);
            socket->disconnectFromHost();
        });
    }
}

QUrl TestWebView::web(const QString &path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
}

void TestWebView::localPageLoadsAtOnce()
{
    WebView view;
    QSignalSpy finished(&view, &WebView::loadFinished);
    view.navigate(QUrl::fromLocalFile(m_dir.filePath(QStringLiteral("index.html"))));
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QVERIFY(view.toPlainText().contains(QStringLiteral("Halaman pembuat")));
    QVERIFY(!view.isLoading());
    // No network machinery for a local page.
    QVERIFY(!view.findChild<QNetworkAccessManager *>());
    // Its picture comes from beside it.
    const QVariant logo = view.document()->resource(QTextDocument::ImageResource,
                                                    QUrl(QStringLiteral("logo.png")));
    QVERIFY(logo.isValid());

    // Going to the same page again after an error shows the page again.
    view.navigate(QUrl::fromLocalFile(m_dir.filePath(QStringLiteral("absent.html"))));
    view.navigate(QUrl::fromLocalFile(m_dir.filePath(QStringLiteral("index.html"))));
    QVERIFY(view.toPlainText().contains(QStringLiteral("Halaman pembuat")));
}

void TestWebView::webPageArrivesLater_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("shown");

    QTest::newRow("html in cp1252") << QStringLiteral("/page") << QStringLiteral("Iklan & caf\u00E9");
    QTest::newRow("html labelled latin-1 inside") << QStringLiteral("/meta") << QStringLiteral("Harga \u20AC 5");
    QTest::newRow("plain text") << QStringLiteral("/plain") << QStringLiteral("<b>bukan tebal</b>");
}

void TestWebView::webPageArrivesLater()
{
    QFETCH(QString, path);
    QFETCH(QString, shown);
    WebView view;
    QSignalSpy finished(&view, &WebView::loadFinished);
    view.navigate(web(path));
    // The call only starts the request.
    QVERIFY(view.isLoading());
    QCOMPARE(finished.size(), 0);
    QVERIFY(finished.wait(waitLimit));
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QVERIFY2(view.toPlainText().contains(shown), qPrintable(view.toPlainText()));
    QVERIFY(!view.isLoading());
}

void TestWebView::unreachablePageShowsError_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("reason");

    // The reason given for a local file is its path, shown as written and never obeyed.
    const QString missing = m_dir.filePath(QStringLiteral("absent.html"));
    QTest::newRow("missing local page") << QUrl::fromLocalFile(missing) << missing;
    const QString markup = m_dir.filePath(QStringLiteral("<b>tebal</b>&amp;.html"));
    QTest::newRow("markup in the path") << QUrl::fromLocalFile(markup) << markup;
    QTest::newRow("refused")
        << QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(MatchEnv::freePort()))
        << QStringLiteral("Sambungan ditolak oleh server.");
    QTest::newRow("not found") << web(QStringLiteral("/missing"))
                               << QStringLiteral("Halaman tidak ditemukan di server.");
    QTest::newRow("no answer") << web(QStringLiteral("/silent"))
                               << QStringLiteral("Waktu tunggu habis.");
    QTest::newRow("unknown scheme") << QUrl(QStringLiteral("gopher://127.0.0.1/"))
                                    << QStringLiteral("Alamat tidak dikenal.");
    QTest::newRow("empty address") << QUrl() << QStringLiteral("Alamat tidak dikenal.");
}

void TestWebView::unreachablePageShowsError()
{
    QFETCH(QUrl, url);
    QFETCH(QString, reason);
    WebView view;
    view.setTimeout(500);
    QSignalSpy finished(&view, &WebView::loadFinished);
    view.navigate(url);
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, waitLimit);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
    const QString text = view.toPlainText();
    QVERIFY2(text.contains(QStringLiteral("Halaman tidak dapat dibuka.")), qPrintable(text));
    QVERIFY2(text.contains(reason), qPrintable(text));
}

void TestWebView::laterNavigationWins()
{
    WebView view;
    QSignalSpy finished(&view, &WebView::loadFinished);
    view.navigate(web(QStringLiteral("/silent")));
    auto *network = view.findChild<QNetworkAccessManager *>();
    QVERIFY(network);
    QCOMPARE(network->findChildren<QNetworkReply *>().size(), 1);
    view.navigate(QUrl::fromLocalFile(m_dir.filePath(QStringLiteral("index.html"))));
    QCOMPARE(finished.size(), 1);
    QVERIFY(!view.isLoading());
    // The first request is given up, so no late answer or time-out can replace the page.
    QTRY_VERIFY_WITH_TIMEOUT(network->findChildren<QNetworkReply *>().isEmpty(), waitLimit);
    QCOMPARE(finished.size(), 1);
    QVERIFY(view.toPlainText().contains(QStringLiteral("Halaman pembuat")));
}

void TestWebView::linksOpenOutside()
{
    WebView view;
    const QUrl page = QUrl::fromLocalFile(m_dir.filePath(QStringLiteral("index.html")));
    view.navigate(page);
    m_opened.clear();
    emit view.anchorClicked(QUrl(QStringLiteral("next.html")));
    emit view.anchorClicked(web(QStringLiteral("/page")));
    QCOMPARE(m_opened, QList<QUrl>({page.resolved(QUrl(QStringLiteral("next.html"))),
                                    web(QStringLiteral("/page"))}));
    // The view itself stays on its page.
    QCOMPARE(view.url(), page);
    QVERIFY(view.toPlainText().contains(QStringLiteral("Halaman pembuat")));
}

QTEST_MAIN(TestWebView)
#include "tst_web_view.moc"
