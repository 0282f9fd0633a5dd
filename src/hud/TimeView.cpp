#include "hud/TimeView.h"

#include "hud/HUDDrawing.h"
#include "hud/HUDView.h"

#include <QPaintEvent>
#include <QPainter>
#include <cmath>

namespace spindrel {

TimeView::TimeView(QWidget* parent) : QWidget(parent) {}

void TimeView::setTime(double time)
{
    if (time == mTime)
        return;
    // Only a change of the hundredths or above shows.
    const bool shown = timeString(time) != timeString(mTime);
    mTime = time;
    if (shown)
        update();
    Q_EMIT timeChanged();
}

QString TimeView::timeString(double timeMs)
{
    const double seconds = timeMs / 1000.0;
    const int minutes = static_cast<int>(std::floor(seconds / 60.0));
    const int wholeSeconds = static_cast<int>(seconds - 60.0 * minutes);
    const int hundredths = static_cast<int>(std::fmod(timeMs, 1000.0) / 10.0);
    return QString::asprintf("%d:%02d.%02d", minutes, wholeSeconds, hundredths);
}

void TimeView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const QString text = timeString(mTime);
    // Unlit digits behind the lit ones, as on a segment display.
    QString ghost = text;
    for (QChar& c : ghost) {
        if (c.isDigit())
            c = QLatin1Char('8');
    }
    const QFont font = HUDDrawing::timeFont(height() - 2.0);
    const QRectF area = QRectF(rect()).adjusted(0, 0, -2.0, 0);
    if (ghost != mGhostText) {
        mGhost.invalidate();
        mGhostText = ghost;
    }
    mGhost.paint(painter, event->rect(), size(), devicePixelRatioF(), [&](QPainter& layer) {
        HUDDrawing::drawLitText(layer, area, Qt::AlignRight | Qt::AlignVCenter, ghost, font,
                                HUDView::inactiveColor());
    });
    HUDDrawing::drawLitText(painter, area, Qt::AlignRight | Qt::AlignVCenter, text, font,
                            HUDView::activeColor());
}

} // namespace spindrel
