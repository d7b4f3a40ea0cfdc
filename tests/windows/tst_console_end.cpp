#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <windows.h>

// A hosting program started from a console (a windowed program: it joins the console it was
// started from) ends on Ctrl+C and Ctrl+Break as on SIGINT elsewhere: its screens close as
// from their title bars, the registry entry is withdrawn, and it exits with 0.
class ConsoleEndTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_ftp.start(), qPrintable(m_ftp.error()));
        // A console of our own, shared with the program; this process lets the events pass by.
        FreeConsole();
        QVERIFY(AllocConsole());
        QVERIFY(SetConsoleCtrlHandler(nullptr, TRUE));
    }

    void endsCleanly_data()
    {
        QTest::addColumn<uint>("event");
        QTest::newRow("Ctrl+C") << uint(CTRL_C_EVENT);
        QTest::newRow("Ctrl+Break") << uint(CTRL_BREAK_EVENT);
    }

    void endsCleanly()
    {
        QFETCH(uint, event);
        QTemporaryDir drive;
        qputenv("DORVALA_DRIVE_C", QDir::toNativeSeparators(drive.path()).toLocal8Bit());
        qputenv("DORVALA_LOCAL_IP", "127.0.0.1");
        qputenv("DORVALA_FTP_URL", m_ftp.url().toLatin1());
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(MatchEnv::freePort()));
        qputenv("DORVALA_PROBE_PORT", QByteArray::number(MatchEnv::freePort()));

        // No standard handles are handed over, as when a player starts it by name in a console.
        QString command = QStringLiteral("\"%1\" --host --name Budi")
                              .arg(QDir::toNativeSeparators(QStringLiteral(DORVALA_BIN_DIR "/dorvala.exe")));
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        QVERIFY(CreateProcessW(nullptr, reinterpret_cast<wchar_t *>(command.data()), nullptr, nullptr,
                               FALSE, 0, nullptr, nullptr, &startup, &process));
        const auto closeHandles = qScopeGuard([&process] {
            if (WaitForSingleObject(process.hProcess, 0) == WAIT_TIMEOUT)
                TerminateProcess(process.hProcess, 99);
            CloseHandle(process.hThread);
            CloseHandle(process.hProcess);
        });

        QTRY_VERIFY_WITH_TIMEOUT(m_ftp.entries().contains(QStringLiteral("127.0.0.1")), 60000);
        QVERIFY(GenerateConsoleCtrlEvent(event, 0));
        QCOMPARE(WaitForSingleObject(process.hProcess, 15000), DWORD(WAIT_OBJECT_0));
        DWORD status = 1;
        QVERIFY(GetExitCodeProcess(process.hProcess, &status));
        QCOMPARE(status, DWORD(0));
        QVERIFY(!m_ftp.entries().contains(QStringLiteral("127.0.0.1")));
    }

private:
    FtpServer m_ftp;
};

QTEST_GUILESS_MAIN(ConsoleEndTest)
#include "tst_console_end.moc"
