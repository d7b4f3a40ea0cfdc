#include "typewriter.h"

#include <QTimer>

Typewriter::Typewriter(const char *stepTimer, const char *holdTimer,
                       std::function<QString()> source, QObject *parent)
    : QObject(parent)
    , m_source(std::move(source))
    , m_step(new QTimer(this))
    , m_hold(new QTimer(this))
{
    m_step->setObjectName(QLatin1String(stepTimer));
    m_hold->setObjectName(QLatin1String(holdTimer));
    m_hold->setSingleShot(true);
    connect(m_step, &QTimer::timeout, this, &Typewriter::step);
    connect(m_hold, &QTimer::timeout, this, &Typewriter::hide);
}

void Typewriter::start()
{
    m_counter = 0;
    m_step->start(TypeStep);
    m_showing = true;
    emit started();
}

void Typewriter::step()
{
    const QString text = m_source();
    ++m_counter;
    if (m_counter >= text.size()) {
        m_step->stop();
        m_hold->start(ShowWhole);
        emit finished();
    }
    m_shown = text.left(m_counter);
    emit typed(m_shown);
}

void Typewriter::hide()
{
    m_hold->stop();
    m_showing = false;
    emit hidden();
}
