#include "layout_check.h"

#include <QAbstractButton>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QWidget>

namespace {

QList<const QWidget *> placed(const QWidget *screen)
{
    QList<const QWidget *> shown;
    for (const QWidget *child : screen->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        if (!child->objectName().isEmpty() && child->isVisibleTo(screen) && !child->isWindow())
            shown << child;
    }
    return shown;
}

// "name at x,y wxh"
QString where(const QWidget *widget)
{
    const QRect box = widget->geometry();
    return QStringLiteral("%1 at %2,%3 %4x%5")
        .arg(widget->objectName())
        .arg(box.x())
        .arg(box.y())
        .arg(box.width())
        .arg(box.height());
}

// What is wrong with where `edit` draws its text (a sample, when it has none), or nothing:
// the rows of its picture that change with the text must lie inside its frame.
QString misplacedText(const QLineEdit *edit)
{
    // A twin on the same parent with the same style, so that the screen itself is untouched.
    QLineEdit twin(edit->parentWidget());
    twin.setObjectName(edit->objectName());
    twin.setStyleSheet(edit->styleSheet());
    twin.setFont(edit->font());
    twin.setFrame(edit->hasFrame());
    twin.setAlignment(edit->alignment());
    twin.setEnabled(edit->isEnabled());
    twin.setGeometry(edit->geometry());
    const QImage blank = twin.grab().toImage();
    twin.setText(edit->text().isEmpty() ? QStringLiteral("Ag 127.0.0.1") : edit->text());
    const QImage written = twin.grab().toImage();
    int top = -1;
    int bottom = -1;
    for (int y = 0; y < blank.height(); ++y) {
        for (int x = 0; x < blank.width(); ++x) {
            if (blank.pixel(x, y) != written.pixel(x, y)) {
                top = top < 0 ? y : top;
                bottom = y;
                break;
            }
        }
    }
    if (top < 0)
        return edit->objectName() + QStringLiteral(" shows no text");
    // The frame is a pixel or two wide; the text stays within it.
    if (top < 2 || bottom > blank.height() - 3)
        return QStringLiteral("%1 shows its text on rows %2 to %3 of %4")
            .arg(edit->objectName())
            .arg(top)
            .arg(bottom)
            .arg(blank.height());
    return {};
}

} // namespace

QStringList LayoutCheck::overlaps(const QWidget *screen, const QSet<QString> &stacked)
{
    const QList<const QWidget *> shown = placed(screen);
    QStringList found;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        for (qsizetype j = i + 1; j < shown.size(); ++j) {
            const QString a = shown[i]->objectName();
            const QString b = shown[j]->objectName();
            if (stacked.contains(a + u'/' + b) || stacked.contains(b + u'/' + a))
                continue;
            if (shown[i]->geometry().intersects(shown[j]->geometry()))
                found << a + u'/' + b;
        }
    }
    return found;
}

QStringList LayoutCheck::cramped(const QWidget *screen)
{
    QStringList found;
    for (const QWidget *w : placed(screen)) {
        // Style sheets set fonts and padding only when a widget is polished.
        w->ensurePolished();
        if (const auto *edit = qobject_cast<const QLineEdit *>(w)) {
            if (const QString fault = misplacedText(edit); !fault.isEmpty())
                found << fault;
            continue;
        }
        const auto *label = qobject_cast<const QLabel *>(w);
        const bool text = (label && !label->text().isEmpty() && !label->wordWrap())
                          || qobject_cast<const QAbstractButton *>(w);
        if (!text || w->sizeHint() == w->size())
            continue;
        const QSize need = w->sizeHint();
        if (need.width() > w->width() || need.height() > w->height())
            found << QStringLiteral("%1 needs %2x%3, has %4x%5")
                         .arg(w->objectName())
                         .arg(need.width())
                         .arg(need.height())
                         .arg(w->width())
                         .arg(w->height());
    }
    return found;
}

QStringList LayoutCheck::outside(const QWidget *screen, const QStringList &names, const QRect &area)
{
    QStringList found;
    for (const QString &name : names) {
        const auto *control = screen->findChild<QWidget *>(name);
        if (!control)
            found << name + QStringLiteral(" missing");
        else if (!area.contains(control->geometry()))
            found << where(control);
    }
    return found;
}
