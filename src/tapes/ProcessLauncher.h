#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace spindrel {

/// Starts helper programs (the desktop's mail composer) with an argument list, never through a
/// shell. Tests hand the operations their own launcher to see what would run.
class ProcessLauncher
{
public:
    /// Called once on the main thread: nothing when the program ended with status 0, else why not.
    /// `exitCode` is the program's status, or -1 when it could not be started at all.
    using Finished = std::function<void(std::optional<int> exitCode)>;

    virtual ~ProcessLauncher() = default;

    /// The full path of `program` found on PATH, or empty when there is none.
    virtual QString findProgram(const QString& program) const;
    /// Runs `program` (a full path) without waiting; `finished` hears how it ended.
    virtual void start(const QString& program, const QStringList& arguments, Finished finished);

    /// The launcher operations use unless told otherwise.
    static ProcessLauncher& system();
};

} // namespace spindrel
