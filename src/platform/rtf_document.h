#pragma once

#include <QByteArray>
#include <QString>

// The one-paragraph rich-text documents the program writes (score file, registry entry,
// player file), and a tolerant reader for the text of any RTF document.
class RtfDocument
{
public:
    enum class LoadStatus { Ok, Missing, Unreadable };

    // The default document of a rich-text box holding `text`: code page 1252, one font
    // MS Sans Serif at 17 half-points, language 1033, the text and one paragraph end, then
    // "}" CRLF (without the NUL the box itself appends). Line breaks become paragraphs.
    static QByteArray write(const QString &text);
    // The plain text of any RTF document, without its final paragraph end; inner
    // paragraph ends read as "\n". Never fails: broken documents give the text read so far,
    // and input that is not RTF reads as cp1252 text (one final line end dropped).
    static QString readText(const QByteArray &rtf);

    // Atomic save of write(text): a crash leaves the old file or the new one, never half.
    static bool save(const QString &path, const QString &text, QString *error = nullptr);
    // The text of the document at `path`; on failure an empty string and the status says
    // whether the file is missing (callers create it) or cannot be read: a folder, a device
    // or pipe, a file that refuses to open, or one over 1 MB (a score file is tiny, and a
    // screen must not stall on a huge hand-edited one).
    static QString load(const QString &path, LoadStatus *status = nullptr);
};
