#include "tapes/DurationFormatter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace spindrel {

QString DurationFormatter::durationToString(int32_t seconds, int style)
{
    // Single precision on purpose: the same rounding of long durations as the labels always had.
    float t = static_cast<float>(seconds);
    QString text;

    const int hours = static_cast<int>(t / 3600.0f);
    if (hours > 0 && style != Primes) {
        text += QString::number(hours);
        if (style == Words)
            text += QLatin1Char(' ') + (hours == 1 ? tr("hour") : tr("hours"));
        else
            text += tr("h");
        t -= static_cast<float>(hours) * 3600.0f;
    }

    const int minutes = static_cast<int>(t / 60.0f);
    if (minutes > 0) {
        text += QString::number(minutes);
        if (style == Words)
            text += QLatin1Char(' ') + (minutes == 1 ? tr("minute") : tr("minutes"));
        else if (style == Primes)
            text += QChar(0x2032);
        else
            text += tr("m");
        t -= static_cast<float>(minutes) * 60.0f;
    }

    if (style == Words) {
        if (t < 1.0f)
            text += tr("less than a second");
        else
            text += QLatin1Char(' ') + (t == 1.0f ? tr("second") : tr("seconds"));
    } else {
        text += QString::number(static_cast<int>(std::ceil(t)));
        text += style == Primes ? QString(QChar(0x2033)) : tr("s");
    }
    return text;
}

} // namespace spindrel
