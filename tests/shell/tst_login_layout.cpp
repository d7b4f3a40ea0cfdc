#include "shell/login_screen.h"
#include "shell/screens.h"

#include "platform/picture_store.h"
#include "support/layout_check.h"

#include <QFrame>
#include <QtTest>

// The setup screen's controls against its painted background: each on the panel drawn for
// it, none on another, every caption whole.
class LoginLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_screens = std::make_unique<Screens>();
        m_login = std::make_unique<LoginScreen>(*m_screens);
    }

    void cleanup()
    {
        m_login.reset();
        m_screens.reset();
    }

    void backgroundFitsTheScreen()
    {
        QCOMPARE(PictureStore::picture(QStringLiteral("LoginBack")).size(), m_login->size());
    }

    void onItsPanel_data()
    {
        // The areas LoginBack.png paints: title band, the felt for name and choices, the
        // felt for addresses and mode, bare walnut under the image buttons.
        const QRect choices(QPoint(10, 46), QPoint(469, 210));
        const QRect addresses(QPoint(10, 218), QPoint(469, 346));
        const QRect walnut(QPoint(0, 350), QPoint(479, 399));
        QTest::addColumn<QString>("name");
        QTest::addColumn<QRect>("area");
        for (const char *name : {"Label1", "UN", "Label7", "Image1", "Image2", "Image3",
                                 "Image1Caption", "Image2Caption", "Image3Caption", "Shape1"})
            QTest::newRow(name) << name << choices;
        for (const char *name : {"Label5", "HO", "Label6", "HIP", "Label4", "MIP", "Option1",
                                 "Option2", "Command1", "Command2", "Command3"})
            QTest::newRow(name) << name << addresses;
        for (const char *name : {"Play", "Quit", "About"})
            QTest::newRow(name) << name << walnut;
    }

    void onItsPanel()
    {
        QFETCH(QString, name);
        QFETCH(QRect, area);
        const auto *control = m_login->findChild<QWidget *>(name);
        QVERIFY(control);
        QVERIFY2(area.contains(control->geometry()),
                 qPrintable(QStringLiteral("%1 at %2,%3 %4x%5")
                                .arg(name)
                                .arg(control->x())
                                .arg(control->y())
                                .arg(control->width())
                                .arg(control->height())));
    }

    void nothingCoversAnother()
    {
        // Each image button is a face with its hot zone on top; the marker rings a picture.
        const QStringList found = LayoutCheck::overlaps(
            m_login.get(),
            {QStringLiteral("T1/Play"), QStringLiteral("T2/Quit"), QStringLiteral("T3/About"),
             QStringLiteral("Shape1/Image1")});
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u", ")));
    }

    void captionsAreWhole()
    {
        const QStringList found = LayoutCheck::cramped(m_login.get());
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u", ")));
    }

    void markerRingsTheChoice_data()
    {
        QTest::addColumn<QStringList>("clicks");
        QTest::addColumn<QString>("ringed");
        QTest::newRow("untouched") << QStringList{} << "Image1";
        QTest::newRow("join") << QStringList{"Image2"} << "Image2";
        QTest::newRow("join, then host") << QStringList{"Image2", "Image1"} << "Image1";
    }

    void markerRingsTheChoice()
    {
        QFETCH(QStringList, clicks);
        QFETCH(QString, ringed);
        for (const QString &click : clicks)
            click == QLatin1String("Image1") ? m_login->Image1_Click() : m_login->Image2_Click();
        const QRect marker = m_login->Shape1()->geometry();
        const QRect image = m_login->findChild<QWidget *>(ringed)->geometry();
        QVERIFY(marker.contains(image));
        QVERIFY(marker.width() - image.width() <= 12);
        QVERIFY(marker.height() - image.height() <= 12);
    }

private:
    std::unique_ptr<Screens> m_screens;
    std::unique_ptr<LoginScreen> m_login;
};

QTEST_MAIN(LoginLayoutTest)
#include "tst_login_layout.moc"
