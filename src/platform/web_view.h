#pragma once

#include <QPointer>
#include <QTextBrowser>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

// A small web view for the maker's pages: local (file:, qrc:) pages load at once, web
// pages are fetched in the background with a time limit, and a page that cannot be had
// shows a short error page instead. Links open in the system browser, never inside.
class WebView : public QTextBrowser
{
    Q_OBJECT

public:
    explicit WebView(QWidget *parent = nullptr);
    ~WebView() override;

    // Never blocks: a web page arrives later and announces itself with loadFinished().
    void navigate(const QUrl &url);
    QUrl url() const { return m_url; }

    // How long a web page may take; 10 s unless changed.
    void setTimeout(int milliseconds) { m_timeout = milliseconds; }
    int timeout() const { return m_timeout; }

    // True while a web page is on its way.
    bool isLoading() const;

signals:
    void loadFinished(bool ok);

protected:
    // A web page's pictures are not fetched, and it may not reach local files either;
    // a local page reads its pictures beside it.
    QVariant loadResource(int type, const QUrl &name) override;

private:
    void reply_Finished();
    void anchor_Clicked(const QUrl &link);
    void showPage(const QUrl &url, const QByteArray &body, const QString &contentType);
    void showError(const QUrl &url, const QString &reason);
    void abortReply();

    QNetworkAccessManager *m_network = nullptr;  // made on the first web page only
    QPointer<QNetworkReply> m_reply;
    QUrl m_url;
    int m_timeout = 10000;
};
