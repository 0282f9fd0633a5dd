#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <cstdint>

namespace spindrel {

/// Brings back recordings that a crash interrupted. A recording is written as a fragmented
/// MPEG-4 file under an in-progress name ("<name>.m4a.recording", which the library does not
/// list), locked with flock by the process writing it and synced to the disk fragment by
/// fragment; a normal stop turns it into the ordinary "<name>.m4a". What a killed process leaves
/// is recovered here: the complete fragments are remuxed into an ordinary file beside it and the
/// in-progress file is removed. A file that cannot be recovered is kept and logged.
class RecordingRecovery
{
public:
    enum class Outcome {
        Recovered, // `recovered` is a new ordinary file, the in-progress file is gone
        InUse,     // another live process is writing it: left alone
        Failed     // nothing could be recovered: the file is kept, `message` says why
    };

    struct Result
    {
        QString source;
        QString recovered;
        Outcome outcome = Outcome::Failed;
        QString message;
        double seconds = 0.0;
        QDateTime startedAt; // when the interrupted recording began, as far as the file knows
    };

    static QString inProgressSuffix() { return QStringLiteral(".recording"); }
    /// Where a recording that ends as `filename` is written until it is finished.
    static QString inProgressPath(const QString& filename) { return filename + inProgressSuffix(); }
    static bool isInProgressPath(const QString& path) { return path.endsWith(inProgressSuffix()); }

    /// The length of the longest prefix of a fragmented MPEG-4 file that holds its header and
    /// only whole fragments; 0 when not even one fragment is complete (or it is no such file).
    static int64_t recoverableLength(const QString& path);

    /// Recovers one in-progress file into the ordinary file it would have become (or a free
    /// name beside it when that exists). Logs what happened.
    static Result recoverFile(const QString& path);
    /// Recovers every in-progress file lying in `folder` and clears away temporaries that a
    /// crash left; files that other processes are writing are skipped.
    static QList<Result> recoverFolder(const QString& folder);
};

} // namespace spindrel
