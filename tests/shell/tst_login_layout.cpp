#include "shell/login_screen.h"
#include "shell/screens.h"

#include "platform/picture_store.h"
#include "platform/screen_font.h"
#include "support/layout_check.h"

#include <QFrame>
#include <QtTest>

// The setup screen's controls against its painted background: each on the panel drawn for
// it, none on another, every caption whole, and the marker round the chosen picture.
class LoginLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    // The font the program settles on before its first screen.
    void initTestCase() { ScreenFont::settle(); }

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

    void laidOut()
    {
        QCOMPARE(PictureStore::picture(QStringLiteral("LoginBack")).size(), m_login->size());
        // The areas LoginBack.png paints: title band, the felt for name and choices, the
        // felt for addresses and mode, bare walnut under the image buttons.
        QStringList found = LayoutCheck::outside(
            m_login.get(), {"Label1", "UN", "Label7", "Image1", "Image2", "Image3", "Image1Caption",
                            "Image2Caption", "Image3Caption", "Shape1"},
            QRect(QPoint(10, 46), QPoint(469, 210)));
        found += LayoutCheck::outside(m_login.get(), {"Label5", "HO", "Label6", "HIP", "Label4", "MIP", "Option1",
                                                      "Option2", "Command1", "Command2", "Command3"},
                                      QRect(QPoint(10, 218), QPoint(469, 346)));
        found += LayoutCheck::outside(m_login.get(), {"Play", "Quit", "About"}, QRect(QPoint(0, 350), QPoint(479, 399)));
        // Each image button is a face with its hot zone on top; the marker rings a picture.
        found += LayoutCheck::overlaps(m_login.get(), {"T1/Play", "T2/Quit", "T3/About", "Shape1/Image1"});
        found += LayoutCheck::cramped(m_login.get());
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
        QVERIFY(marker.width() - image.width() <= 12 && marker.height() - image.height() <= 12);
    }

private:
    std::unique_ptr<Screens> m_screens;
    std::unique_ptr<LoginScreen> m_login;
};

QTEST_MAIN(LoginLayoutTest)
#include "tst_login_layout.moc"
