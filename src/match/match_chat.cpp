#include "match_chat.h"

#include <QLabel>
#include <QLineEdit>
#include <QTimer>

namespace {

// A timer armed by an interval, stopped by an interval of 0.
void arm(QTimer *timer, int interval)
{
    if (interval == 0) {
        timer->stop();
        return;
    }
    timer->start(interval);
}

} // namespace

MatchChat::MatchChat(const Controls &controls, QObject *parent)
    : QObject(parent)
    , m_c(controls)
{
    setObjectName(QStringLiteral("chat"));
    m_Timer1 = timer("Timer1", &MatchChat::Timer1_Timer);
    m_Timer2 = timer("Timer2", &MatchChat::Timer2_Timer);
    m_Timer3 = timer("Timer3", &MatchChat::Timer3_Timer);
    m_Timer4 = timer("Timer4", &MatchChat::Timer4_Timer);
}

QTimer *MatchChat::timer(const char *name, void (MatchChat::*handler)())
{
    auto *t = new QTimer(this);
    t->setObjectName(QLatin1String(name));
    connect(t, &QTimer::timeout, this, handler);
    return t;
}

int MatchChat::counter(const QLabel *label)
{
    return label->text().toInt();
}

void MatchChat::showSent(const QString &text)
{
    m_c.TM2->setText(QStringLiteral("0"));
    arm(m_Timer2, TypeStep);
    m_c.OutM->setText(text);
    m_c.Text1->clear();
    m_c.ownBubble->show();
    m_c.MOUT->show();
}

void MatchChat::showReceived()
{
    m_c.opponentBubble->show();
    m_c.message->show();
    m_c.TM->setText(QStringLiteral("0"));
    arm(m_Timer1, TypeStep);
}

void MatchChat::Timer1_Timer()
{
    const int typed = counter(m_c.TM) + 1;
    m_c.TM->setText(QString::number(typed));
    if (typed >= m_c.LastMsg->size()) {
        arm(m_Timer1, 0);
        arm(m_Timer3, ShowWhole);
    }
    m_c.message->setText(m_c.LastMsg->left(typed));
}

void MatchChat::Timer2_Timer()
{
    const int typed = counter(m_c.TM2) + 1;
    m_c.TM2->setText(QString::number(typed));
    if (typed >= m_c.OutM->text().size()) {
        arm(m_Timer2, 0);
        m_c.Text1->clear();
        arm(m_Timer4, ShowWhole);
    }
    m_c.MOUT->setText(m_c.OutM->text().left(typed));
}

void MatchChat::Timer3_Timer()
{
    m_c.opponentBubble->hide();
    m_c.message->hide();
    arm(m_Timer3, 0);
}

void MatchChat::Timer4_Timer()
{
    m_c.ownBubble->hide();
    m_c.MOUT->hide();
    arm(m_Timer4, 0);
}
