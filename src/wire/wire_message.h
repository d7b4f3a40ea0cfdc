#pragma once

#include <QByteArray>
#include <QString>

// The six kinds of message two match screens exchange. A message is one send call: no
// terminator, no length prefix, no escaping; the receiver takes one arrival as one message.
class WireMessage
{
public:
    static QString hostName(const QString &name);    // "O" + the host's name
    static QString joinerName(const QString &name);  // "X" + the joiner's name
    static QString score(const QString &total);      // "$" + the sender's total of wins
    static QString restart();                        // "X" alone
    static QString move(const QString &cell);        // the Cell name, e.g. "B2"
    static QString chat(const QString &text);        // "msg: " + the typed text

    // Single-byte text on the wire, the same code page on both ends.
    static QByteArray encode(const QString &message);
    static QString decode(const QByteArray &bytes);
};
