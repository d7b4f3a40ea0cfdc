#pragma once

#include <QWidget>

class QLabel;
class Screens;
class TunePlayer;

// The about screen "ABt": two pictures and a line of text; its load plays the tune once.
// A click on the background or on either picture closes it; a click on the text does not.
class AboutScreen : public QWidget
{
    Q_OBJECT
public:
    explicit AboutScreen(Screens &screens);

    void Form_Load();
    void Form_Click();
    void Image1_Click();
    void Image2_Click();

    TunePlayer *AB() const { return m_ab; }

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    Screens &m_screens;
    QLabel *m_label1;
    TunePlayer *m_ab;
};
