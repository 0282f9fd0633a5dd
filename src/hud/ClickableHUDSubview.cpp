#include "hud/ClickableHUDSubview.h"

#include <QMouseEvent>

namespace spindrel {

ClickableHUDSubview::ClickableHUDSubview(QWidget* parent) : QWidget(parent)
{
    setCursor(Qt::PointingHandCursor);
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
