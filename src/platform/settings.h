#pragma once

#include <QString>

// Fixed defaults of the program, each overridable from the environment so that tests and
// machines without root can run it. There is no settings file.
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

    static QString ftpUrl();    // DORVALA_FTP_URL, default ftp://dorvala@127.0.0.1:2121/
    static QString makerUrl();  // DORVALA_MAKER_URL, default the bundled maker page
    // The folder holding the program, without a trailing separator.
    static QString programFolder();

    // Whether a host asks the home router to open its ports (settings key router/map_ports,
    // on by default); DORVALA_MAP_PORTS=0 turns it off.
    static bool mapPorts();

private:
    static quint16 port(const char *variable, quint16 fallback);
};
