#pragma once

#include "ai/computer_level.h"

#include <QObject>

#include <optional>
#include <QString>

class ControlChannel;
class QApplication;
class Screens;

// The program around the screens: command line, quick start, and the ending on SIGINT and
// SIGTERM (on Windows: Ctrl+C, the console's closing, log-off and shutdown).
class Program : public QObject
{
    Q_OBJECT
public:
    struct Options
    {
        bool host = false;
        QString join;    // address to join, empty when not joining
        QString name;
        bool nameGiven = false;  // --name was given (else the settings' player name stands)
        QString registry;  // --registry URL (null: not given; empty: no registry)
        QString demo;    // folder for the self-play demo's screenshots
        std::optional<ComputerLevel> computer;  // practice against the computer at this level
        bool playX = false;    // in practice, the player takes X and the computer opens
        bool control = false;  // commands on standard input, events on standard output
        bool ok = true;  // false: the command line was wrong; `message` says why
        bool exitNow = false;  // --help or --version: print `message` and end
        QString message;
    };

    static Options parse(const QStringList &arguments);

    explicit Program(Screens &screens);
    // Shows the title screen and, for a quick start, takes the same road as the clicks.
    // With a demo folder the program directs a demo match instead and ends with its result.
    void start(const Options &options);
    // Closes the open screens on SIGINT/SIGTERM (and Windows' console and session ends), as
    // their title-bar close would. On Windows the system waits for the program until this
    // object is destroyed: keep it until the registry's transfers are done.
    void watchSignals();

private:
    void quickStart(const Options &options);
    void chooseOnLogin(const Options &options);
    void onSignal();

    Screens &m_screens;
    ControlChannel *m_control = nullptr;
};
