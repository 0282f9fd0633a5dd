#include "hud/ClickableHUDSubview.h"

#include <QAccessible>
#include <QMouseEvent>

namespace spindrel {

ClickableHUDSubview::ClickableHUDSubview(QWidget* parent) : QWidget(parent)
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
}

void ClickableHUDSubview::focusInEvent(QFocusEvent* event)
{
    // The ring lies around this view, on the HUD beneath.
    if (parentWidget())
        parentWidget()->update();
    QWidget::focusInEvent(event);
}

void ClickableHUDSubview::focusOutEvent(QFocusEvent* event)
{
    if (parentWidget())
        parentWidget()->update();
    QWidget::focusOutEvent(event);
}

void ClickableHUDSubview::announceValue(const QVariant& value)
{
    // A screen reader hears of changes made elsewhere too (the keyboard, the deck's own settings).
    QAccessibleValueChangeEvent event(this, value);
    QAccessible::updateAccessibility(&event);
}

bool ClickableHUDSubview::isActivationKey(int key)
{
    return key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Select;
}

void ClickableHUDSubview::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    pointerAt(event->position(), false);
}

void ClickableHUDSubview::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

void ClickableHUDSubview::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton)) {
        event->ignore();
        return;
    }
    pointerAt(event->position(), true);
}

} // namespace spindrel
