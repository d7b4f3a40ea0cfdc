#pragma once

#include <QLabel>

// A label of fixed size for text that may come from the peer. text() keeps the whole
// text (other parts read names and totals back from it), but only what fits is drawn:
// one line elided with "…", or, with word wrap, as many lines as the box holds. Only the
// first few hundred characters are ever laid out, so a megabyte of text costs no more
// to paint than a name.
class ClippedLabel : public QLabel
{
    Q_OBJECT
public:
    explicit ClippedLabel(QWidget *parent = nullptr);
    ClippedLabel(const QString &text, QWidget *parent = nullptr);

    static constexpr int MaxDrawn = 512;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
