#include "hud/VolumeView.h"

#include "hud/HUDDrawing.h"
#include "hud/HUDView.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace spindrel {

VolumeView::VolumeView(QWidget* parent) : ClickableHUDSubview(parent) {}

void VolumeView::setVolume(double volume)
{
    if (volume == mVolume)
        return;
    mVolume = volume;
    update();
    announceValue(mVolume);
    Q_EMIT volumeChanged();
}

int VolumeView::litSegmentsForVolume(double volume)
{
    const double lit = std::rint(segmentCount * (volume + 30.0) / 30.0);
    return static_cast<int>(std::clamp(lit, 0.0, static_cast<double>(segmentCount)));
}

double VolumeView::steppedVolume(double volume, int steps)
{
    // From between two columns the first step lands on the nearer one in that direction.
    const double column = volume / volumeStep;
    const double from = steps > 0 ? std::floor(column + 1e-9) : std::ceil(column - 1e-9);
    return std::clamp((from + steps) * volumeStep, minimumVolume, 0.0);
}

void VolumeView::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Right:
    case Qt::Key_Up:
        setVolume(steppedVolume(mVolume, 1));
        return;
    case Qt::Key_Left:
    case Qt::Key_Down:
        setVolume(steppedVolume(mVolume, -1));
        return;
    case Qt::Key_Home:
        setVolume(minimumVolume);
        return;
    case Qt::Key_End:
        setVolume(0.0);
        return;
    default:
        ClickableHUDSubview::keyPressEvent(event);
    }
}

void VolumeView::pointerAt(const QPointF& point, bool)
{
    for (int i = 0; i < segmentCount; ++i) {
        const QRectF column(firstColumn + columnWidth * i, 0.0, columnWidth, columnHeight);
        if (column.contains(point)) {
            setVolume(-5.0 * (5 - i));
            return;
        }
    }
}

void VolumeView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    HUDDrawing::drawLitText(painter, QRectF(0, 0, firstColumn - 3.0, columnHeight).translated(0, 0.5),
                            Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("VOL"),
                            HUDDrawing::labelFont(10.0), HUDView::activeColor());
    const int lit = litSegments();
    for (int i = 0; i < segmentCount; ++i) {
        // A wedge: each segment a little taller than the one before.
        const qreal height = 5.0 + (columnHeight - 5.0) * i / (segmentCount - 1);
        const QRectF segment(firstColumn + columnWidth * i, columnHeight - height, 4.0, height);
        HUDDrawing::drawLitRect(painter, segment,
                                i < lit ? HUDView::activeColor() : HUDView::inactiveColor());
    }
}

} // namespace spindrel
