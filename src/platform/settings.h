#pragma once

#include "game_settings.h"

#include <QString>

// The program's settings: the player's choices (QSettings: ~/.config/Pobrek/dorvala.conf on
// Linux, the per-user registry on Windows) over the system-wide defaults
// (/etc/xdg/Pobrek/dorvala.conf, HKLM), with the environment and the command line on top;
// and fixed defaults that only the environment changes (tests, machines without root).
class Settings
{
public:
    // The folder that stands for drive C:: DORVALA_DRIVE_C when set; on Windows C:/ itself
    // where the player may create files there, else the per-user data folder + "/C" (a
    // standard account may not write at C:\'s root); elsewhere that per-user folder.
    // Created on first use.
    static QString driveC();
    // `root` when a file can be created and removed there, else the per-user data folder
    // + "/C". The answer for one root is kept for the rest of the run.
    static QString writableOrUserFolder(const QString &root);
    // Maps a program path written "C:/name" or "C:\name" to a file inside driveC().
    // The name is made safe: separators, colons and control characters become "_", so a
    // player name like "../x" can never lead outside the folder.
    static QString cFile(const QString &programPath);

    static quint16 matchPort();  // DORVALA_MATCH_PORT, default 1009
    static quint16 probePort();  // DORVALA_PROBE_PORT, default 79

    // The address a socket control reports as its local IP: DORVALA_LOCAL_IP, else the first
    // non-loopback IPv4 address, else 127.0.0.1.
    static QString localIp();
    static QString localHostName();

    // Everything the layers say now, read afresh (a settings screen may just have saved).
    // Each problem sentence is also written to stderr, once per run.
    static GameSettings game();
    // --registry URL from the command line; an empty URL means "no registry".
    static void setCommandLineRegistry(const QString &url);
    // The registry in force; unset when none is configured.
    static RegistryAddress registry();
    static QString playerName();
    static bool soundEnabled();
    static bool mapPorts();
    // DORVALA_COMPUTER_DELAY, else computer/delay_ms, else -1 (the computer's own pause).
    static int computerDelayMs();

    // The player's own choices as the settings screen saves them.
    struct PlayerChoices
    {
        QString registryUrl;  // empty: no registry
        QString playerName;
        bool soundEnabled = true;
        bool mapPorts = true;
    };
    // Writes them to the player's settings; false with a sentence when that fails.
    static bool savePlayerChoices(const PlayerChoices &choices, QString *error);
    // Where the player's and the system-wide settings are kept, as a player would look.
    static QString userSettingsPlace();
    static QString systemSettingsPlace();

    static QString makerUrl();  // DORVALA_MAKER_URL, default the bundled maker page
    // The folder holding the program, without a trailing separator.
    static QString programFolder();

private:
    static quint16 port(const char *variable, quint16 fallback);
};
