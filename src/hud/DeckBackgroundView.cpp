#include "hud/DeckBackgroundView.h"

#include "hud/DeckPainting.h"

#include <QPaintEvent>
#include <QPainter>

namespace spindrel {

DeckBackgroundView::DeckBackgroundView(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void DeckBackgroundView::setDividers(const QList<int>& heights)
{
    if (heights == mDividers)
        return;
    mDividers = heights;
    mBody.invalidate();
    update();
}

void DeckBackgroundView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    mBody.paint(painter, event->rect(), size(), devicePixelRatioF(),
                [this](QPainter& body) { paintBody(body); });
}

void DeckBackgroundView::paintBody(QPainter& painter) const
{
    const QRectF body = rect();
    DeckPainting::drawBrushedMetal(painter, body);
    for (const int y : mDividers)
        DeckPainting::drawDivider(painter, QRectF(body.left() + 10.0, y - 1.0, body.width() - 20.0, 2.0));
    constexpr qreal inset = 9.0;
    DeckPainting::drawScrew(painter, QPointF(inset, inset), 3.5, 15.0);
    DeckPainting::drawScrew(painter, QPointF(body.right() - inset, inset), 3.5, 70.0);
    DeckPainting::drawScrew(painter, QPointF(inset, body.bottom() - inset), 3.5, 40.0);
    DeckPainting::drawScrew(painter, QPointF(body.right() - inset, body.bottom() - inset), 3.5, 5.0);
}

} // namespace spindrel
