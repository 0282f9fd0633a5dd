#include "hud/HUDHighlightView.h"

#include "hud/DeckPainting.h"

#include <QLinearGradient>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

namespace spindrel {

HUDHighlightView::HUDHighlightView(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
}

void HUDHighlightView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    mGloss.paint(painter, event->rect(), size(), devicePixelRatioF(),
                 [this](QPainter& gloss) { paintGloss(gloss); });
}

void HUDHighlightView::paintGloss(QPainter& painter) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF glass = QRectF(rect());
    DeckPainting::drawGloss(painter, glass, 4.0, 0.55);

    // The screen sits behind the bezel: its edges are in shadow.
    QPainterPath frame;
    frame.addRoundedRect(glass, 4.0, 4.0);
    painter.setClipPath(frame);
    QLinearGradient top(glass.topLeft(), glass.topLeft() + QPointF(0, 6.0));
    top.setColorAt(0.0, QColor(0, 0, 0, 120));
    top.setColorAt(1.0, QColor(0, 0, 0, 0));
    painter.fillRect(glass, top);
    QLinearGradient left(glass.topLeft(), glass.topLeft() + QPointF(4.0, 0));
    left.setColorAt(0.0, QColor(0, 0, 0, 80));
    left.setColorAt(1.0, QColor(0, 0, 0, 0));
    painter.fillRect(glass, left);
    QLinearGradient right(glass.topRight(), glass.topRight() - QPointF(4.0, 0));
    right.setColorAt(0.0, QColor(0, 0, 0, 80));
    right.setColorAt(1.0, QColor(0, 0, 0, 0));
    painter.fillRect(glass, right);
}

} // namespace spindrel
