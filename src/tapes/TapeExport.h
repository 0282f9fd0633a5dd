#pragma once

#include "foundation/Error.h"

#include <QString>
#include <atomic>
#include <optional>

namespace spindrel {

/// Copies a tape's file to a place the user chose, whole or not at all (see FileCopy): a full
/// disk, a vanished source or a cancel leaves no half-written file and an existing file either
/// whole or replaced.
class TapeExport
{
public:
    enum class ExistingFile {
        Keep,    // an existing destination is an error; nothing is replaced
        Replace, // the user agreed to replace it
    };

    static std::optional<Error> exportFile(const QString& source, const QString& destination,
                                           ExistingFile existing = ExistingFile::Keep,
                                           const std::atomic<bool>* cancelled = nullptr);
};

} // namespace spindrel
