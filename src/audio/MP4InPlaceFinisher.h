#pragma once

#include <QString>
#include <cstdint>

namespace spindrel {

/// Makes a fragmented MPEG-4 recording a tape where it lies, without a second copy: every recording
/// ends here. The complete fragments stay where they are; an ordinary 'moov' whose sample tables
/// point into their 'mdat' boxes goes after the last one, followed by free space for the tags to
/// come; then one header turns the fragmented 'moov' and all the fragments into a single 'mdat',
/// and the file takes its final name. Each step is synced before the next, and the file keeps its
/// in-progress name until the last, so a crash at any point leaves a file that RecordingRecovery
/// takes up again. When not even the new 'moov' fits, the file is cut back to its complete
/// fragments and keeps them as they are: players read it, tag edits wait.
class MP4InPlaceFinisher
{
public:
    enum class Outcome {
        Ordinary,   // `destination` is an ordinary file
        Fragmented, // `destination` holds the complete fragments, still fragmented
        Failed      // the file keeps its name; `message` says why
    };

    struct Result
    {
        Outcome outcome = Outcome::Failed;
        QString message;
        double seconds = 0.0;
    };

    /// Finishes the recording at `path`, open for reading and writing as `fileHandle` and locked
    /// by the caller, as `destination`, which must not exist. `primingFrames` are hidden at the
    /// start (MP4Remuxer::kPrimingByCodec: the AAC encoder's). The room allocated to the file up
    /// to `allocatedEnd` (DurableFileOutput::allocatedEnd) becomes the free space after the 'moov'.
    static Result finish(int fileHandle, const QString& path, const QString& destination, int primingFrames,
                         int64_t allocatedEnd = 0);

    /// True when the file is a finish in place that a crash interrupted after its 'moov' was on
    /// the disk: finish() only completes it.
    static bool isInterruptedFinish(int fileHandle);

    /// At most the length of the 'moov' that finish() writes for `packets` packets in `fragments`
    /// fragments.
    static int64_t moovSizeBound(int64_t packets, int64_t fragments);
};

} // namespace spindrel
