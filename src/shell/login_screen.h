#pragma once

#include "ai/computer_level.h"
#include "rules/match_side.h"

#include <QWidget>

class ImageButton;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTimer;
class Screens;

// The setup screen "login": the player's name, host or join, this machine's address, the
// host address to join, and the host list that the lobby fills.
class LoginScreen : public QWidget
{
    Q_OBJECT
public:
    explicit LoginScreen(Screens &screens);

    // Loads the lobby hidden (whose listing's outcome the screens' registry follows) and
    // fills in this machine's address.
    void Form_Load();

    void Image1_Click();
    void Image2_Click();
    void Image3_Click();
    // Practice against the computer, at the level and with the mark chosen beside it.
    void Image4_Click();
    void Option1_Click();
    void Option2_Click();
    void Play_Click();
    void Command1_Click();
    void Quit_Click();
    void About_Click();

    // The host list as the lobby rebuilds it.
    void setHostList(const QStringList &hosts);
    void addHost(const QString &host);

    QLineEdit *UN() const { return m_un; }
    QLineEdit *HIP() const { return m_hip; }
    QLineEdit *MIP() const { return m_mip; }
    QLineEdit *hostT() const { return m_hostT; }
    QComboBox *HO() const { return m_ho; }
    QFrame *Shape1() const { return m_shape1; }
    QComboBox *levelBox() const { return m_level; }
    QComboBox *markBox() const { return m_mark; }
    bool practiceChosen() const { return m_practice; }
    ComputerLevel level() const;
    MatchSide practiceSide() const;
    ImageButton *button(const QString &zoneName) const;

    // The file hosting writes: "C:/-" followed by the player name.
    static QString playerFile(const QString &name);

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    // The screen stays loaded but hidden for a whole match: its background is decoded
    // while it shows and released while it is hidden (0.75 MB).
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QLabel *choice(const QString &name, const QString &picture, const QString &caption, int x);
    void moveMarkerTo(QWidget *image);

    Screens &m_screens;
    QLineEdit *m_un;
    QLineEdit *m_hostT;
    QLabel *m_back;
    QLabel *m_image1;
    QLabel *m_image2;
    QLabel *m_image3;
    QLabel *m_image4;
    QComboBox *m_level;
    QComboBox *m_mark;
    bool m_practice = false;
    QFrame *m_shape1;
    QComboBox *m_ho;
    QLineEdit *m_hip;
    QLineEdit *m_mip;
    QRadioButton *m_option1;
    QRadioButton *m_option2;
    QLineEdit *m_text1;
    QTimer *m_timer1;
    ImageButton *m_play;
    ImageButton *m_quit;
    ImageButton *m_about;
};
