#pragma once

#include <QString>
#include <atomic>
#include <functional>

namespace spindrel {

/// Copies a file whole or not at all. The copy is written to a file without a name in the
/// destination's folder (a hidden temporary where the file system cannot do that), flushed to the
/// disk and named only when complete, so a full disk, a vanished source, a cancel or a crash leaves
/// no half-written file, and an existing file either whole or replaced. Safe to run on any thread.
class FileCopy
{
public:
    enum class Outcome {
        Copied,
        DestinationExists, // kept, as asked: nothing was written
        Cancelled,
        Failed,
    };
    struct Result
    {
        Outcome outcome = Outcome::Copied;
        QString reason; // why it failed, for the caller's message
    };

    /// With `replace`, an existing destination is replaced in one step; otherwise it is kept, even
    /// when it appears while the copy runs. `cancelled` is looked at between chunks, and
    /// `chunkCopied` hears of each chunk (the bytes copied so far) on the copying thread.
    /// A source written to while it is copied (a tape's edit is written in place) is copied again,
    /// so that the copy never mixes the old file with the new.
    static Result copy(const QString& source, const QString& destination, bool replace,
                       const std::atomic<bool>* cancelled = nullptr,
                       const std::function<void(qint64 copied)>& chunkCopied = {});

    /// Whether a name in a folder is one of the temporaries a copy writes.
    static bool isTemporaryName(const QString& name);
    /// Removes the temporaries that interrupted copies left in the folder; a copy still writing
    /// its own holds a lock on it and keeps it. Gives how many went.
    static int removeStaleTemporaries(const QString& folder);
};

} // namespace spindrel
