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
    void initTestCase();
    void init();
    void keepsEveryChange();
    void loads_data();
    void loads();
    void damagedIsSetAside_data();
    void damagedIsSetAside();
    void earlierCopyIsKept();
    void unreadableIsLeftAlone();
    void neverHalfWritten();
    void staleSavesAreRemoved();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
};

void TestScoreFile::initTestCase()
{
    const QString writerPath = qEnvironmentVariable(writerVariable);
    if (!writerPath.isEmpty())
        writeTotalsUntilKilled(writerPath);
}

void TestScoreFile::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_path = m_dir->filePath(QStringLiteral("dvq"));
}

void TestScoreFile::keepsEveryChange()
{
    ScoreFile score(m_path);
    QCOMPARE(score.load(), ScoreFile::LoadResult::Created);
    QCOMPARE(TestFiles::read(m_path), RtfDocument::write(QStringLiteral("0")));
    QVERIFY(score.store(QStringLiteral("3")));
    QCOMPARE(RtfDocument::load(m_path), QStringLiteral("3"));
    QVERIFY(score.store(QStringLiteral("-1")));
    QCOMPARE(score.text(), QStringLiteral("-1"));
    QCOMPARE(TestFiles::read(m_path), RtfDocument::write(QStringLiteral("-1")));

    ScoreFile again(m_path);
    QCOMPARE(again.load(), ScoreFile::LoadResult::Loaded);
    QCOMPARE(again.text(), QStringLiteral("-1"));
}

void TestScoreFile::loads_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("total");
    QTest::newRow("plain") << RtfDocument::write(QStringLiteral("12")) << "12";
    QTest::newRow("blanks and plus") << RtfDocument::write(QStringLiteral(" +4 ")) << "4";
    QTest::newRow("old writer's trailing NUL")
        << RtfDocument::write(QStringLiteral("7")) + QByteArray(1, '\0') << "7";
}

void TestScoreFile::loads()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(TestFiles::write(m_path, bytes));
    ScoreFile score(m_path);
    QCOMPARE(score.load(), ScoreFile::LoadResult::Loaded);
    QTEST(score.text(), "total");
    QVERIFY(score.notice().isEmpty());
}

void TestScoreFile::damagedIsSetAside_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("a word") << RtfDocument::write(QStringLiteral("sepuluh"));
    QTest::newRow("a fraction") << RtfDocument::write(QStringLiteral("2.5"));
    QTest::newRow("no text") << RtfDocument::write(QString());
    QTest::newRow("10 MB of junk") << QByteArray(10 * 1024 * 1024, 'j');
}

void TestScoreFile::damagedIsSetAside()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(TestFiles::write(m_path, bytes));
    ScoreFile score(m_path);
    QCOMPARE(score.load(), ScoreFile::LoadResult::Damaged);
    QCOMPARE(score.text(), QStringLiteral("0"));
    QCOMPARE(score.notice(), QStringLiteral("Berkas skor rusak; salinannya disimpan sebagai "
                                           "dvq.rusak dan total dimulai dari 0."));
    QVERIFY(TestFiles::read(m_path + QStringLiteral(".rusak")) == bytes);
    QCOMPARE(TestFiles::read(m_path), RtfDocument::write(QStringLiteral("0")));

    ScoreFile again(m_path);
    QCOMPARE(again.load(), ScoreFile::LoadResult::Loaded);
}

void TestScoreFile::earlierCopyIsKept()
{
    QVERIFY(TestFiles::write(m_path + QStringLiteral(".rusak"), "first"));
    QVERIFY(TestFiles::write(m_path, "second"));
    ScoreFile score(m_path);
    QCOMPARE(score.load(), ScoreFile::LoadResult::Damaged);
    QVERIFY(score.notice().contains(QStringLiteral("dvq.rusak2")));
    QCOMPARE(TestFiles::read(m_path + QStringLiteral(".rusak")), QByteArray("first"));
    QCOMPARE(TestFiles::read(m_path + QStringLiteral(".rusak2")), QByteArray("second"));
}

void TestScoreFile::unreadableIsLeftAlone()
{
    QVERIFY(QDir().mkpath(m_path));  // a folder where the file should be
    ScoreFile score(m_path);
    QCOMPARE(score.load(), ScoreFile::LoadResult::Unreadable);
    QCOMPARE(score.text(), QStringLiteral("0"));
    QVERIFY(QFileInfo(m_path).isDir());
}

void TestScoreFile::neverHalfWritten()
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
        writer.start(QCoreApplication::applicationFilePath(), {QStringLiteral("keepsEveryChange")});
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
void TestScoreFile::staleSavesAreRemoved()
{
    const QDateTime old = QDateTime::currentDateTimeUtc().addSecs(-3600);
    const struct { const char *name; bool old; bool kept; } files[] = {
        {"dvq.aB3xY9", true, false},
        {"dvq.Qw12Er", false, true},   // a save under way in another program
        {"dvq.rusak", true, true},
        {"dvq.rusak2", true, true},
        {"dvq.a-3xY9", true, true},
        {"dvq2.aB3xY9", true, true},
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

QTEST_GUILESS_MAIN(TestScoreFile)
#include "tst_score_file.moc"
