#include "match_cues.h"

#include "platform/settings.h"
#include "platform/sound_cue.h"

#include <array>

namespace {

struct CueFile
{
    const char *name;
    const char *fileText;
};

// The order in which the file names are set.
constexpr std::array<CueFile, 7> cueFiles{{
    {"WIN", "/WIN.wav"},
    {"MeC", "/MeC.WAV"},
    {"MEX", "/MeX.wav"},
    {"MEI", "/MEI.wav"},
    {"Lose", "/lose.wav"},
    {"mess", "/Mess.wav"},
    {"OL", "/OL.wav"},
}};

// The order in which the devices are opened: mess before Lose, unlike the file names.
constexpr std::array<const char *, 7> openOrder{"WIN", "MeC", "MEX", "MEI", "mess", "Lose", "OL"};

} // namespace

MatchCues::MatchCues(QObject *parent)
    : QObject(parent)
{
    for (const CueFile &file : cueFiles) {
        auto *cue = new SoundCue(this);
        cue->setObjectName(QLatin1String(file.name));
        m_cues.append(cue);
    }
}

QStringList MatchCues::names()
{
    QStringList list;
    for (const CueFile &file : cueFiles)
        list.append(QLatin1String(file.name));
    return list;
}

QString MatchCues::forEvent(GameEvent event)
{
    switch (event) {
    case GameEvent::PiecePlaced: return QStringLiteral("MeC");
    case GameEvent::MoveRefused: return QStringLiteral("MEX");
    case GameEvent::OpponentMoved: return QStringLiteral("MEI");
    case GameEvent::Won: return QStringLiteral("WIN");
    case GameEvent::Lost: return QStringLiteral("Lose");
    case GameEvent::ChatReceived: return QStringLiteral("mess");
    case GameEvent::OpponentArrived: return QStringLiteral("OL");
    }
    return {};
}

void MatchCues::load(const QString &programFolder)
{
    // A player who turned sound off gets no device opened at all.
    m_muted = !Settings::soundEnabled();
    if (m_muted)
        return;
    for (qsizetype i = 0; i < m_cues.size(); ++i)
        m_cues.at(i)->setFileName(programFolder + QLatin1String(cueFiles.at(i).fileText));
    for (const char *name : openOrder) {
        SoundCue *c = cue(QLatin1String(name));
        c->command(QStringLiteral("open"));
        c->command(QStringLiteral("prev"));
    }
}

void MatchCues::sound(const QString &name)
{
    if (m_muted)
        return;
    if (SoundCue *c = cue(name)) {
        c->command(QStringLiteral("prev"));
        c->command(QStringLiteral("play"));
    }
}

SoundCue *MatchCues::cue(const QString &name) const
{
    for (SoundCue *c : m_cues) {
        if (c->objectName() == name)
            return c;
    }
    return nullptr;
}
