#include "web_view.h"

#include "cp1252.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStringDecoder>
#include <QTextDocument>

#include <cctype>

namespace {

QString reasonText(QNetworkReply::NetworkError error, const QString &detail)
{
    switch (error) {
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError:
        return QStringLiteral("Waktu tunggu habis.");
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("Alamat server tidak ditemukan.");
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("Sambungan ditolak oleh server.");
    case QNetworkReply::ContentNotFoundError:
        return QStringLiteral("Halaman tidak ditemukan di server.");
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::NetworkSessionFailedError:
        return QStringLiteral("Internet tidak tersambung.");
    default:
        return detail;
    }
}

bool isLocal(const QUrl &url)
{
    return url.isLocalFile() || url.scheme() == QLatin1String("qrc");
}

QString localPath(const QUrl &url)
{
    return url.isLocalFile() ? url.toLocalFile() : u':' + url.path();
}

// The value after "charset=" in a header or, for a page, in its first kilobyte (a meta
// tag), without quotes; empty when there is none.
QString charsetIn(QByteArrayView text)
{
    const qsizetype at = text.indexOf("charset=");
    if (at < 0)
        return {};
    QByteArrayView value = text.sliced(at + 8);
    while (!value.isEmpty() && (value.front() == '"' || value.front() == '\'' || value.front() == ' '))
        value = value.sliced(1);
    qsizetype end = 0;
    while (end < value.size() && (std::isalnum(uchar(value[end])) || value[end] == '-' || value[end] == '_'))
        ++end;
    return QString::fromLatin1(value.first(end)).toLower();
}

QString decodeAs(const QString &charset, const QByteArray &body, bool *known)
{
    // Web pages labelled Latin-1 or ASCII are read as windows-1252, as browsers do; that
    // decoder is our own, since Qt without ICU (on Windows) has none.
    static const QStringList westernLabels{QStringLiteral("windows-1252"), QStringLiteral("cp1252"),
                                           QStringLiteral("x-cp1252"), QStringLiteral("iso-8859-1"),
                                           QStringLiteral("latin1"), QStringLiteral("l1"),
                                           QStringLiteral("us-ascii"), QStringLiteral("ascii")};
    *known = true;
    if (westernLabels.contains(charset))
        return Cp1252::decode(body);
    QStringDecoder decoder(charset.toLatin1().constData());
    if (decoder.isValid())
        return decoder.decode(body);
    *known = false;
    return {};
}

QString decodePage(const QByteArray &body, const QString &contentType, bool html)
{
    bool known = false;
    QString charset = charsetIn(contentType.toLower().toLatin1());
    if (charset.isEmpty() && html)
        charset = charsetIn(body.left(1024).toLower());
    if (!charset.isEmpty()) {
        const QString text = decodeAs(charset, body, &known);
        if (known)
            return text;
    }
    if (html) {
        QStringDecoder decoder = QStringDecoder::decoderForHtml(body);
        if (decoder.isValid())
            return decoder.decode(body);
    }
    return QString::fromUtf8(body);
}

} // namespace

WebView::WebView(QWidget *parent)
    : QTextBrowser(parent)
{
    setOpenLinks(false);
    setOpenExternalLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, &WebView::anchor_Clicked);
}

WebView::~WebView()
{
    abortReply();
}

bool WebView::isLoading() const
{
    return !m_reply.isNull();
}

void WebView::navigate(const QUrl &url)
{
    abortReply();
    m_url = url;
    if (isLocal(url)) {
        const QFileInfo file(localPath(url));
        if (!file.isFile() || !file.isReadable()) {
            showError(url, QStringLiteral("Berkas tidak ditemukan."));
            return;
        }
        // The page's folder becomes the base of its relative links and images. The browser
        // skips a load of the address it shows already, but an error page may stand there.
        if (source().adjusted(QUrl::RemoveFragment) == url.adjusted(QUrl::RemoveFragment))
            reload();
        else
            setSource(url);
        emit loadFinished(true);
        return;
    }
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != QLatin1String("http") && scheme != QLatin1String("https"))) {
        showError(url, QStringLiteral("Alamat tidak dikenal."));
        return;
    }
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    QNetworkRequest request(url);
    request.setTransferTimeout(m_timeout);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::finished, this, &WebView::reply_Finished);
}

void WebView::reply_Finished()
{
    QNetworkReply *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    reply->deleteLater();
    if (reply != m_reply)
        return;  // an older page, overtaken by a later navigate()
    m_reply = nullptr;
    if (reply->error() != QNetworkReply::NoError) {
        showError(m_url, reasonText(reply->error(), reply->errorString()));
        return;
    }
    showPage(reply->url(), reply->readAll(),
             reply->header(QNetworkRequest::ContentTypeHeader).toString());
}

void WebView::showPage(const QUrl &url, const QByteArray &body, const QString &contentType)
{
    // Relative links and images of the page resolve against its own address.
    document()->setBaseUrl(url);
    if (contentType.startsWith(QLatin1String("text/plain"), Qt::CaseInsensitive))
        setPlainText(decodePage(body, contentType, false));
    else
        setHtml(decodePage(body, contentType, true));
    emit loadFinished(true);
}

void WebView::showError(const QUrl &url, const QString &reason)
{
    const QString address = url.isLocalFile() ? url.toLocalFile() : url.toDisplayString();
    setHtml(QStringLiteral("<h3>Halaman tidak dapat dibuka.</h3><p>%1</p><p>%2</p>")
                .arg(address.toHtmlEscaped(), reason.toHtmlEscaped()));
    emit loadFinished(false);
}

QVariant WebView::loadResource(int type, const QUrl &name)
{
    if (!isLocal(m_url))
        return {};
    return QTextBrowser::loadResource(type, name);
}

void WebView::anchor_Clicked(const QUrl &link)
{
    if (link.isRelative() && link.path().isEmpty() && link.hasFragment()) {
        scrollToAnchor(link.fragment());
        return;
    }
    const QUrl target = (m_url.isEmpty() ? source() : m_url).resolved(link);
    if (target.scheme() == QLatin1String("qrc"))
        return;  // nothing outside the program could open it
    QDesktopServices::openUrl(target);
}

void WebView::abortReply()
{
    if (QNetworkReply *reply = m_reply) {
        m_reply = nullptr;
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
}
