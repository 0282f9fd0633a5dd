#include "hud/DeckBackgroundView.h"

#include "hud/DeckPainting.h"

#include <QPainter>

namespace spindrel {

DeckBackgroundView::DeckBackgroundView(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void DeckBackgroundView::setDividers(const QList<int>& heights)
{
    mDividers = heights;
    update();
}

void DeckBackgroundView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
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
