#include "board/score_file.h"
#include "platform/rtf_document.h"
#include "support/test_files.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>

namespace {

// Set in the environment of a copy of this program that only writes totals until killed.
constexpr char writerVariable[] = "DORVALA_TEST_SCORE_WRITER";

void writeTotalsUntilKilled(const QString &path)
{
    ScoreFile score(path);
    score.load();
    bool announced = false;
    // A bound in case the parent dies without killing us.
    const QDeadlineTimer deadline(60 * 1000);
    while (!deadline.hasExpired()) {
        if (!score.store(QString::number(score.text().toLongLong() + 1)))
            std::exit(2);
        if (!announced) {
            std::puts("writing");
            std::fflush(stdout);
            announced = true;
        }
    }
    std::exit(0);
}

} // namespace

class TestScoreFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString writerPath = qEnvironmentVariable(writerVariable);
        if (!writerPath.isEmpty())
            writeTotalsUntilKilled(writerPath);
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_path = m_dir->filePath(QStringLiteral("dvq"));
    }

    void loads_data()
    {
        QTest::addColumn<QByteArray>("bytes");  // "" no file, "/" a folder in its place
        QTest::addColumn<ScoreFile::LoadResult>("result");
        QTest::addColumn<QString>("total");
        using R = ScoreFile::LoadResult;
        QTest::newRow("missing") << QByteArray() << R::Created << "0";
        QTest::newRow("plain") << RtfDocument::write(QStringLiteral("12")) << R::Loaded << "12";
        QTest::newRow("blanks and plus") << RtfDocument::write(QStringLiteral(" +4 ")) << R::Loaded << "4";
        QTest::newRow("old writer's trailing NUL")
            << RtfDocument::write(QStringLiteral("7")) + QByteArray(1, '\0') << R::Loaded << "7";
        QTest::newRow("a word") << RtfDocument::write(QStringLiteral("sepuluh")) << R::Damaged << "0";
        QTest::newRow("a fraction") << RtfDocument::write(QStringLiteral("2.5")) << R::Damaged << "0";
        QTest::newRow("no text") << RtfDocument::write(QString()) << R::Damaged << "0";
        QTest::newRow("10 MB of junk") << QByteArray(10 * 1024 * 1024, 'j') << R::Damaged << "0";
        QTest::newRow("a folder") << QByteArray("/") << R::Unreadable << "0";
    }

    // Loading never throws the player's history away, and a total is saved at each change.
    void loads()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(ScoreFile::LoadResult, result);
        if (bytes == "/")
            QVERIFY(QDir().mkpath(m_path));
        else if (!bytes.isEmpty())
            QVERIFY(TestFiles::write(m_path, bytes));
        ScoreFile score(m_path);
        QCOMPARE(score.load(), result);
        QTEST(score.text(), "total");
        if (result == ScoreFile::LoadResult::Damaged) {
            QCOMPARE(score.notice(), QStringLiteral("Berkas skor rusak; salinannya disimpan sebagai "
                                                   "dvq.rusak dan total dimulai dari 0."));
            QVERIFY(TestFiles::read(m_path + QStringLiteral(".rusak")) == bytes);
        } else {
            QVERIFY(score.notice().isEmpty());
        }
        if (result == ScoreFile::LoadResult::Unreadable) {
            // Left alone; a change that cannot be saved says so.
            QVERIFY(!score.store(QStringLiteral("5")));
            QVERIFY(score.notice().contains(QStringLiteral("tidak dapat disimpan")));
            QVERIFY(QFileInfo(m_path).isDir());
            return;
        }
        if (result != ScoreFile::LoadResult::Loaded)
            QCOMPARE(TestFiles::read(m_path), RtfDocument::write(QStringLiteral("0")));
        QVERIFY(score.store(QStringLiteral("-1")));
        QCOMPARE(TestFiles::read(m_path), RtfDocument::write(QStringLiteral("-1")));
        ScoreFile again(m_path);
        QCOMPARE(again.load(), ScoreFile::LoadResult::Loaded);
        QCOMPARE(again.text(), QStringLiteral("-1"));
    }

    void earlierCopyIsKept()
    {
        QVERIFY(TestFiles::write(m_path + QStringLiteral(".rusak"), "first"));
        QVERIFY(TestFiles::write(m_path, "second"));
        ScoreFile score(m_path);
        QCOMPARE(score.load(), ScoreFile::LoadResult::Damaged);
        QVERIFY(score.notice().contains(QStringLiteral("dvq.rusak2")));
        QCOMPARE(TestFiles::read(m_path + QStringLiteral(".rusak")), QByteArray("first"));
        QCOMPARE(TestFiles::read(m_path + QStringLiteral(".rusak2")), QByteArray("second"));
    }

    void neverHalfWritten()
    {
        ScoreFile start(m_path);
        start.load();

        qint64 last = 0;
        for (int round = 0; round < 100; ++round) {
            QProcess writer;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QString::fromLatin1(writerVariable), m_path);
            writer.setProcessEnvironment(env);
            // initTestCase turns the copy into a writer before any test of the list runs.
            writer.start(QCoreApplication::applicationFilePath(), {QStringLiteral("earlierCopyIsKept")});
            QByteArray said;  // the test banner comes first; wait for the first saved total
            while (!said.contains("writing\n")) {
                QVERIFY2(writer.waitForReadyRead(30000), qPrintable(writer.errorString()));
                said += writer.readAllStandardOutput();
            }
            QTest::qWait(QRandomGenerator::global()->bounded(20));  // a random moment to kill
            writer.kill();
            QVERIFY(writer.waitForFinished(30000));

            const QByteArray bytes = TestFiles::read(m_path);
            bool ok = false;
            const qint64 total = RtfDocument::readText(bytes).toLongLong(&ok);
            QVERIFY2(ok, bytes.left(200).constData());
            QVERIFY2(bytes == RtfDocument::write(QString::number(total)), bytes.left(200).constData());
            QVERIFY2(total > last, qPrintable(QStringLiteral("round %1: %2 after %3").arg(round).arg(total).arg(last)));
            last = total;
        }
    }

    // What a save killed before its rename leaves behind goes; everything else stays.
    void staleSavesAreRemoved()
    {
        const QDateTime old = QDateTime::currentDateTimeUtc().addSecs(-3600);
        const struct { const char *name; bool old; bool kept; } files[] = {
            {"dvq.aB3xY9", true, false},
            {"dvq.Qw12Er", false, true},   // a save under way in another program
            {"dvq.rusak", true, true},
            {"dvq.rusak2", true, true},
            {"dvq.a-3xY9", true, true},
            {"dvq2.aB3xY9", true, true},
            {"dvq.aB3xY", true, true},
            {"dvq.aB3xY9z", true, true},
        };
        for (const auto &file : files) {
            const QString path = m_dir->filePath(QString::fromLatin1(file.name));
            TestFiles::write(path, "x");
            QFile handle(path);
            QVERIFY(handle.open(QIODevice::ReadWrite));
            if (file.old)
                QVERIFY(handle.setFileTime(old, QFileDevice::FileModificationTime));
        }
        ScoreFile(m_path).load();
        for (const auto &file : files)
            QVERIFY2(QFileInfo::exists(m_dir->filePath(QString::fromLatin1(file.name))) == file.kept,
                     file.name);
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
};

QTEST_GUILESS_MAIN(TestScoreFile)
#include "tst_score_file.moc"
