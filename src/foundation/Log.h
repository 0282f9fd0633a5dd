#pragma once

#include <QString>

#include <functional>

namespace spindrel {

/// "(ERROR) source : message": failures the user need not see; the caller carries on.
void logError(const QString& source, const QString& message);

/// "source : (ERROR) message": the other fixed form, used by the tag and file layers.
void logErrorAfterSource(const QString& source, const QString& message);

/// A plain line to the log (trace lines and notes).
void logLine(const QString& line);

/// Where log lines go; stderr when no sink is set. Returns the sink it replaces (tests
/// capture lines this way).
using LogSink = std::function<void(const QString& line)>;
LogSink setLogSink(LogSink sink);

/// Source name of a path as the log forms use it ("src/tapes/Tape.cpp" gives "Tape").
QString logSourceName(const char* path);

} // namespace spindrel
