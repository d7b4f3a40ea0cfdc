#include "shell/about_screen.h"
#include "shell/image_button.h"
#include "shell/screens.h"
#include "shell/title_screen.h"

#include "platform/tune_player.h"

#include <QLabel>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QTimer>
#include <QtTest>

namespace {

void send(QWidget *target, QEvent::Type type)
{
    const QPointF at(target->width() / 2.0, target->height() / 2.0);
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButtons buttons = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
    QMouseEvent event(type, at, target->mapToGlobal(at), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
}

} // namespace

class TitleScreenTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        qputenv("DORVALA_DRIVE_C", m_drive.path().toUtf8());
        Screens::criticalBox = [](QWidget *, const QString &, const QString &,
                                  const std::function<void()> &afterOk) { afterOk(); };
        m_screens = std::make_unique<Screens>();
    }
    void cleanup() { m_screens.reset(); }

    void faces_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("faces");  // T1 T2 T3: n(ormal), h(over), p(ressed)
        // Each zone drives its own face, and moving on to another zone leaves it as it was.
        QTest::newRow("zone to zone") << "Play:move Quit:down About:move" << "hph";
        QTest::newRow("press stays after release") << "About:move About:down About:up" << "nnp";
        QTest::newRow("move after press gives hover") << "Play:down Play:move" << "hnn";
        QTest::newRow("bare screen resets all") << "Play:move Quit:down form:move" << "nnn";
    }

    void faces()
    {
        QFETCH(QString, steps);
        TitleScreen *title = m_screens->openi();
        for (const QString &step : steps.split(u' ')) {
            const QString zone = step.section(u':', 0, 0);
            const QString what = step.section(u':', 1, 1);
            QWidget *target = zone == QLatin1String("form")
                                  ? static_cast<QWidget *>(title)
                                  : title->button(zone)->zone();
            const QEvent::Type type = what == QLatin1String("move") ? QEvent::MouseMove
                                      : what == QLatin1String("down") ? QEvent::MouseButtonPress
                                                                      : QEvent::MouseButtonRelease;
            send(target, type);
        }
        QString got;
        for (const char *zone : {"Play", "Quit", "About"})
            got += QLatin1Char("nhp"[int(title->button(QLatin1String(zone))->face())]);
        QTEST(got, "faces");
    }

    void splashHidesOnceAfterFourSeconds()
    {
        TitleScreen *title = m_screens->openi();
        auto *timer = title->findChild<QTimer *>(QStringLiteral("Timer1"));
        QVERIFY(title->splashVisible());
        QTRY_VERIFY_WITH_TIMEOUT(!title->splashVisible(), 8000);
        QVERIFY(!timer->isActive());
        // What the splash covered is there when it goes: the background and the maker's page.
        QVERIFY(!title->label(QStringLiteral("Back"))->pixmap().isNull());
        const auto *page = title->findChild<QTextBrowser *>(QStringLiteral("WB"));
        QVERIFY(page && page->isVisibleTo(title));
        QTRY_VERIFY_WITH_TIMEOUT(!page->toPlainText().isEmpty(), 8000);
    }

    // "Kreator" opens the about screen and writes the credits; while it is open, a second
    // click only brings it forward: no second load, no restart. Only the background and the
    // pictures close it, and the next "Kreator" loads it anew, the tune starting again.
    void aboutOpensAndCloses_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("closes");
        QTest::newRow("text") << "Label1" << false;
        QTest::newRow("picture 1") << "Image1" << true;
        QTest::newRow("picture 2") << "Image2" << true;
        QTest::newRow("background") << "" << true;
    }

    void aboutOpensAndCloses()
    {
        QFETCH(QString, target);
        QFETCH(bool, closes);
        TitleScreen *title = m_screens->openi();
        title->show();
        title->About_Click();
        AboutScreen *about = m_screens->ABt();
        QVERIFY(about->isVisible());
        QCOMPARE(about->AB()->playCount(), 1);
        title->About_Click();
        QCOMPARE(m_screens->ABt(), about);
        QCOMPARE(about->AB()->playCount(), 1);
        QCOMPARE(title->label(QStringLiteral("Label1"))->text(), TitleScreen::credits());

        QWidget *widget = target.isEmpty() ? about : about->findChild<QWidget *>(target);
        QVERIFY(widget);
        send(widget, QEvent::MouseButtonPress);
        send(widget, QEvent::MouseButtonRelease);
        QCOMPARE(!m_screens->isLoaded(QStringLiteral("ABt")), closes);
        if (closes) {
            title->About_Click();
            QVERIFY(m_screens->ABt() != about);
            QCOMPARE(m_screens->ABt()->AB()->playCount(), 1);
        }
    }

private:
    QTemporaryDir m_drive;
    std::unique_ptr<Screens> m_screens;
};

QTEST_MAIN(TitleScreenTest)
#include "tst_title_screen.moc"
