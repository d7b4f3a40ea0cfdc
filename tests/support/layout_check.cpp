#include "layout_check.h"

#include <QAbstractButton>
#include <QLabel>
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
