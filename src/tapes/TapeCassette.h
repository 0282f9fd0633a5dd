#pragma once

#include "tapes/CassetteValues.h"

#include <QByteArray>
#include <QCoreApplication>

namespace spindrel {

class Tape;

/// What a tape's cassette shows, and its cover art: the cassette drawn at scale 2.0 as PNG.
class TapeCassette
{
    Q_DECLARE_TR_FUNCTIONS(TapeCassette)

public:
    static CassetteValues valuesForTape(const Tape& tape);
    /// "Recorded 3/4/12 10:15 AM | 1h2m5s".
    static QString timeString(const QDateTime& date, double durationSeconds);
    /// The notes on one line; a null string when nothing is left.
    static QString collapsedNotesString(const QString& notes);
    static QByteArray coverArtPNG(const Tape& tape);
    /// Safe on any thread: the drawing takes plain values.
    static QByteArray coverArtPNG(const CassetteValues& values);
};

} // namespace spindrel
