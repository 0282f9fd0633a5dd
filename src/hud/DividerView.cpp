#include "hud/DividerView.h"

#include "hud/DeckPainting.h"

#include <QPainter>

namespace spindrel {

DividerView::DividerView(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void DividerView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    DeckPainting::drawDivider(painter, rect());
}

} // namespace spindrel
