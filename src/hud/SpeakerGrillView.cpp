#include "hud/SpeakerGrillView.h"

#include "hud/DeckPainting.h"

#include <QPainter>

namespace spindrel {

void SpeakerGrillView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    DeckPainting::drawSpeakerGrille(painter, QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

} // namespace spindrel
