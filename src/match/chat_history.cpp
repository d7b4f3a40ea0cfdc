#include "chat_history.h"

#include "platform/picture_store.h"

#include <QLabel>
#include <QPainter>
#include <QScrollBar>
#include <QTextCursor>
#include <QTextEdit>

namespace {

QLabel *picture(const QString &name, const QRect &geometry, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(name);
    label->setGeometry(geometry);
    label->setScaledContents(true);
    label->setPixmap(PictureStore::picture(name));
    return label;
}

} // namespace

ChatHistory::ChatHistory(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("CH"));
    setWindowTitle(QStringLiteral("Chat History"));
    setFixedSize(360, 400);

    m_Chat1 = picture(QStringLiteral("Chat1"), {12, 10, 48, 48}, this);
    m_Chat2 = picture(QStringLiteral("Chat2"), {300, 10, 48, 48}, this);

    auto *title = new QLabel(QStringLiteral("Chat History"), this);
    title->setObjectName(QStringLiteral("title"));
    title->setGeometry(66, 10, 228, 48);
    title->setAlignment(Qt::AlignCenter);
    title->setStyleSheet(QStringLiteral("color: #fff3c4; font-size: 20px; font-weight: bold;"));

    m_Cx = new QTextEdit(this);
    m_Cx->setObjectName(QStringLiteral("Cx"));
    m_Cx->setGeometry(12, 68, 336, 320);
    m_Cx->setReadOnly(true);
    m_Cx->setAcceptRichText(false);
    m_Cx->setLineWrapMode(QTextEdit::WidgetWidth);
    m_Cx->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
}

void ChatHistory::append(const QString &text)
{
    m_log += text;

    QString shown;
    const QStringList lines = QString(text).remove(u'\r').split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (i > 0)
            shown += u'\n';
        const QString &line = lines[i];
        shown += line.size() > MaxShownLine ? line.left(MaxShownLine) + QChar(0x2026) : line;
    }
    QTextCursor cursor(m_Cx->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(shown);
    m_Cx->verticalScrollBar()->setValue(m_Cx->verticalScrollBar()->maximum());
}

void ChatHistory::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QLinearGradient sky(0, 0, 0, height());
    sky.setColorAt(0, QColor(0x1d, 0x3b, 0x53));
    sky.setColorAt(1, QColor(0x0c, 0x1a, 0x26));
    painter.fillRect(rect(), sky);
}
