#include "tapes/TapeCassette.h"

#include "tapes/CassetteCoverArt.h"
#include "tapes/DurationFormatter.h"
#include "tapes/Tape.h"

#include <QLocale>

namespace spindrel {

CassetteValues TapeCassette::valuesForTape(const Tape& tape)
{
    CassetteValues values;
    values.title = tape.title();
    values.timeLine = timeString(tape.date(), tape.duration());
    values.quality = tape.quality();
    values.letter = tape.tapeLetter().letter();
    const auto& scheme = tape.tapeLetter().colorScheme();
    values.letterBackgroundColor = scheme->backgroundColor();
    values.letterColor = scheme->letterColor();
    values.titleColor = scheme->titleColor();
    values.notes = collapsedNotesString(tape.notes());
    return values;
}

QString TapeCassette::timeString(const QDateTime& date, double durationSeconds)
{
    return QStringLiteral("%1 %2 | %3")
        .arg(tr("Recorded"), QLocale().toString(date.toLocalTime(), QLocale::ShortFormat),
             DurationFormatter::durationToString(int32_t(durationSeconds), DurationFormatter::Compact));
}

QString TapeCassette::collapsedNotesString(const QString& notes)
{
    const QString collapsed = notes.split(QLatin1Char('\n')).join(QLatin1Char(' '));
    return collapsed.isEmpty() ? QString() : collapsed;
}

QByteArray TapeCassette::coverArtPNG(const Tape& tape)
{
    return coverArtPNG(valuesForTape(tape));
}

QByteArray TapeCassette::coverArtPNG(const CassetteValues& values)
{
    return CassetteCoverArt::png(values);
}

} // namespace spindrel
