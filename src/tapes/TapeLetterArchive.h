#pragma once

#include "tapes/TapeLetter.h"

#include <QByteArray>
#include <optional>

namespace spindrel {

/// The stored form of a tape letter: a binary property list in the keyed-archiver layout
/// ("$archiver", "$version", "$top" with the root key "letter", "$objects" linked by UIDs), the
/// form that tapes made elsewhere already carry.
class TapeLetterArchive
{
public:
    static QByteArray encode(const TapeLetter& letter);

    /// Accepts any object order and integer width. A malformed or foreign archive (wrong types,
    /// missing keys, references out of range, a scheme index outside the table) gives nothing.
    static std::optional<TapeLetter> decode(const QByteArray& archive);
};

} // namespace spindrel
