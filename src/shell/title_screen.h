#pragma once

#include <QWidget>

class ImageButton;
class QLabel;
class QPushButton;
class QTimer;
class Screens;
class WebView;

// The title screen "openi": splash for four seconds, description, the maker's page, and the
// three image buttons "Mulai", "Kreator" and "Keluar".
class TitleScreen : public QWidget
{
    Q_OBJECT
public:
    explicit TitleScreen(Screens &screens);

    void Form_Load();
    void Play_Click();
    void About_Click();
    void Quit_Click();
    void Timer1_Timer();

    ImageButton *button(const QString &zoneName) const;
    QLabel *label(const QString &name) const;
    bool splashVisible() const;

    static QString credits();
    static QString description();

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void openMakerPage();
    void Play_Done(int error);

    Screens &m_screens;
    QTimer *m_timer1;
    QLabel *m_back;
    QLabel *m_dk;
    QLabel *m_label1;
    WebView *m_wb = nullptr;   // made after the first frame
    bool m_makerPageDue = false;
    static constexpr int MakerPageDelayMs = 300;
    QPushButton *m_settings = nullptr;  // made with the page
    bool m_loaded = false;
    bool m_playing = false;    // "Mulai" waits for the setup screen to open
    ImageButton *m_play;
    ImageButton *m_quit;
    ImageButton *m_about;
};
