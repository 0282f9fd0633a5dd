#pragma once

#include <QString>
#include <cstdint>

namespace spindrel {

/// Rewrites a fragmented MPEG-4 audio recording as an ordinary .m4a, packets copied unchanged:
/// 'mdat' before 'moov', one edit list, the movie's time scale equal to the sample rate. Recordings
/// are finished where they lie (MP4InPlaceFinisher); this copy is the way out for a leftover whose
/// fragments cannot be finished so.
class MP4Remuxer
{
public:
    /// Frames of encoder priming at the start of the stream that the fragments do not mark
    /// (the edit list that hides them is only written into ordinary files).
    static constexpr int kPrimingByCodec = -1;

    /// Remuxes the first `length` bytes of `source` (all of it when `length` < 0) into a
    /// temporary file beside `destination`, syncs it, renames it over `destination` and syncs the
    /// folder: `destination` is either untouched or complete. `primingFrames` are hidden at the
    /// start unless the source already hides them; kPrimingByCodec takes the AAC encoder's 1024.
    /// Fails at once, writing nothing, when the disk has less room than the source takes.
    /// Writes the seconds of audio kept into `seconds` when given.
    static bool writeOrdinaryFile(const QString& source, int64_t length, const QString& destination,
                                  int primingFrames, QString* error, double* seconds = nullptr);

    /// The temporary file beside `destination` that writeOrdinaryFile writes first.
    static QString temporaryPathFor(const QString& destination);
};

} // namespace spindrel
