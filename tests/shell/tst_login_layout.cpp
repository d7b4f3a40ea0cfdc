#include "shell/login_screen.h"
#include "shell/screens.h"

#include "platform/picture_store.h"
#include "platform/screen_font.h"
#include "support/layout_check.h"

#include <QComboBox>
#include <QFrame>
#include <QLineEdit>
#include <QtTest>

// The setup screen's controls against its painted background: each on the panel drawn for
// it, none on another, every caption whole; and its choices, with the marker round the
// chosen picture.
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
            m_login.get(), {"Label1", "UN", "Label7", "Image1", "Image2", "Image3", "Image4",
                            "Image1Caption", "Image2Caption", "Image3Caption", "Image4Caption",
                            "Level", "Shape1"},
            QRect(QPoint(10, 46), QPoint(469, 210)));
        found += LayoutCheck::outside(m_login.get(), {"Label5", "HO", "Label6", "HIP", "Label4", "MIP", "Option1",
                                                      "Option2", "Mark", "Command1", "Command2", "Command3"},
                                      QRect(QPoint(10, 218), QPoint(469, 346)));
        found += LayoutCheck::outside(m_login.get(), {"Play", "Quit", "About"}, QRect(QPoint(0, 350), QPoint(479, 399)));
        // Each image button is a face with its hot zone on top; the marker rings a picture.
        found += LayoutCheck::overlaps(m_login.get(), {"T1/Play", "T2/Quit", "T3/About", "Shape1/Image1"});
        found += LayoutCheck::cramped(m_login.get());
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u", ")));
    }

    // The pictures choose the mode, enable HO or not and move the marker; the options
    // switch HO and HIP but leave the mode and the marker alone.
    void choicesAreIndependent()
    {
        LoginScreen *login = m_login.get();
        const auto state = [login](const char *ringed) {
            const QRect marker = login->Shape1()->geometry();
            const QRect image = login->findChild<QWidget *>(QLatin1String(ringed))->geometry();
            const bool rings = marker.contains(image) && marker.width() - image.width() <= 12
                               && marker.height() - image.height() <= 12;
            return QStringLiteral("%1 HO:%2 HIP:%3 %4").arg(login->hostT()->text()).arg(login->HO()->isEnabled())
                .arg(login->HIP()->isEnabled()).arg(rings ? "ringed" : "not ringed");
        };
        QCOMPARE(state("Image1"), "1 HO:1 HIP:1 ringed");
        login->Image2_Click();
        QCOMPARE(state("Image2"), "0 HO:1 HIP:1 ringed");
        login->Option1_Click();
        QCOMPARE(state("Image2"), "0 HO:0 HIP:0 ringed");
        login->Image1_Click();
        QCOMPARE(state("Image1"), "1 HO:0 HIP:0 ringed");
        // Practice leaves the host/join flag alone; a later host or join picture ends it.
        login->Image4_Click();
        QCOMPARE(state("Image4"), "1 HO:0 HIP:0 ringed");
        QVERIFY(login->practiceChosen());
        login->Image2_Click();
        QVERIFY(!login->practiceChosen());
    }

private:
    std::unique_ptr<Screens> m_screens;
    std::unique_ptr<LoginScreen> m_login;
};

QTEST_MAIN(LoginLayoutTest)
#include "tst_login_layout.moc"
