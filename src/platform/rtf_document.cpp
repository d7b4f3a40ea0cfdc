#include "rtf_document.h"

#include "cp1252.h"
#include "rtf_reader.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// The header a rich-text box writes for its design-time font. The document ends with the
// closing brace and CRLF. The box also writes a NUL after that (its string terminator
// leaking into the file); we leave it out so that the file is a clean RTF document that
// text tools and word processors open without complaint. Our reader accepts files with or
// without it, so files written by the old program load as well.
constexpr char header[] =
    "{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033"
    "{\\fonttbl{\\f0\\fnil\\fcharset0 MS Sans Serif;}}\r\n"
    "\\viewkind4\\uc1\\pard\\f0\\fs17 ";
constexpr char paragraphEnd[] = "\\par\r\n";

constexpr qint64 loadLimit = 1024 * 1024;

void appendHex(QByteArray &out, uchar byte)
{
    static constexpr char digits[] = "0123456789abcdef";
    out += "\\'";
    out += digits[byte >> 4];
    out += digits[byte & 0xF];
}

} // namespace

QByteArray RtfDocument::write(const QString &text)
{
    QByteArray out(header);
    out.reserve(out.size() + text.size() + 16);
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = text.at(i).unicode();
        if (c == u'\r' || c == u'\n') {
            if (c == u'\r' && i + 1 < n && text.at(i + 1) == u'\n')
                ++i;
            out += paragraphEnd;
        } else if (c == u'\t') {
            out += "\\tab ";
        } else if (c == u'\\' || c == u'{' || c == u'}') {
            out += '\\';
            out += char(c);
        } else if (c < 0x20) {
            appendHex(out, uchar(c));
        } else if (c < 0x80) {
            out += char(c);
        } else if (const uchar byte = Cp1252::fromUnicode(c)) {
            appendHex(out, byte);
        } else {
            // Outside the code page: a Unicode escape with '?' for readers that skip it.
            out += "\\u";
            out += QByteArray::number(qint16(c));
            out += '?';
        }
    }
    out += paragraphEnd;
    out += "}\r\n";
    return out;
}

QString RtfDocument::readText(const QByteArray &rtf)
{
    return RtfReader::text(rtf);
}

bool RtfDocument::save(const QString &path, const QString &text, QString *error)
{
    QSaveFile file(path);
    const QByteArray bytes = write(text);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()
        || !file.commit()) {
        if (error)
            *error = file.errorString();
        file.cancelWriting();
        return false;
    }
    if (error)
        error->clear();
    return true;
}

QString RtfDocument::load(const QString &path, LoadStatus *status)
{
    const auto fail = [status](LoadStatus why) {
        if (status)
            *status = why;
        return QString();
    };
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists())
        return fail(LoadStatus::Missing);
    // Only a plain file of a sane size: a directory, a device or a pipe could block or
    // flood the screen that loads it, and a score file is a few hundred bytes.
    if (!info.isFile() || info.size() > loadLimit)
        return fail(LoadStatus::Unreadable);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(LoadStatus::Unreadable);
    const QByteArray bytes = file.read(loadLimit + 1);
    if (bytes.size() > loadLimit || file.error() != QFileDevice::NoError)
        return fail(LoadStatus::Unreadable);
    if (status)
        *status = LoadStatus::Ok;
    return readText(bytes);
}
