#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QTextEdit;

// The chat history `CH`: one per program, hidden until "Chat History" shows it. The host
// writes both players' lines into its log `Cx`; the log lives in memory only.
class ChatHistory : public QWidget
{
    Q_OBJECT
public:
    explicit ChatHistory(QWidget *parent = nullptr);

    // Appends exactly `text` (callers end a line with CR LF), shown as plain text.
    void append(const QString &text);
    // The log as written, line breaks included.
    const QString &log() const { return m_log; }

    QTextEdit *Cx() const { return m_Cx; }

    // A line longer than this is shown cut short (the log keeps it whole); laying out a
    // megabyte-long paragraph would freeze the screen.
    static constexpr int MaxShownLine = 2000;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QTextEdit *m_Cx = nullptr;
    QLabel *m_Chat1 = nullptr;
    QLabel *m_Chat2 = nullptr;
    QString m_log;
};
