#pragma once

#include <QLabel>

// The status words over the board (`infox`): bright text on a rounded, semi-dark panel
// that fits its text, wrapping only past the widest it may be. Always plain text, since it
// can carry the peer's name.
class StatusPanel : public QLabel
{
    Q_OBJECT

public:
    explicit StatusPanel(int widest, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return false; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_widest;
};
