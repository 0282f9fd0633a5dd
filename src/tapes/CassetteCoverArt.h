#pragma once

#include "tapes/CassetteValues.h"

#include <QByteArray>

namespace spindrel {

/// Tapes' cover art: the cassette at scale 2.0 as PNG. All but the label's three lines of text is
/// the same for every tape of one letter, colour scheme and quality, so it is drawn and compressed
/// once and kept; a tape then costs its text and the rows that carry it. Safe on any thread.
class CassetteCoverArt
{
public:
    static constexpr qreal scale = 2.0;

    /// The same picture as CassetteArtwork(values).coverArtImage(), as a PNG file.
    static QByteArray png(const CassetteValues& values);
};

} // namespace spindrel
