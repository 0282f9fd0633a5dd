#pragma once

#include "foundation/Error.h"

#include <QString>
#include <optional>

namespace spindrel {

/// Copies a tape's file to a place the user chose. The copy is written to a hidden temporary
/// beside the destination and renamed into place only when complete, so a full disk or a
/// vanished source leaves no half-written file and an existing file either whole or replaced.
class TapeExport
{
public:
    enum class ExistingFile {
        Keep,    // an existing destination is an error; nothing is replaced
        Replace, // the user agreed to replace it
    };

    static std::optional<Error> exportFile(const QString& source, const QString& destination,
                                           ExistingFile existing = ExistingFile::Keep);
};

} // namespace spindrel
