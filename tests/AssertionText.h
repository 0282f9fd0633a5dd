#pragma once

#include "foundation/Assertion.h"
#include "foundation/Log.h"

#include <QStringList>
#include <string>

namespace spindrel::test {

/// The description of the assertion the call raises, or "(none)" when it raises none.
template <typename Call> std::string assertionFrom(Call&& call)
{
    try {
        call();
    } catch (const InternalInconsistency& failure) {
        return failure.description();
    }
    return "(none)";
}

/// The description of the first failed check the call reports (with failed checks made
/// non-fatal for the call), or "(none)" when it reports none.
template <typename Call> std::string failedCheckFrom(Call&& call)
{
    QStringList lines;
    const LogSink previousSink = setLogSink([&](const QString& line) { lines << line; });
    const bool wasFatal = failedChecksAreFatal();
    setFailedChecksAreFatal(false);
    call();
    setFailedChecksAreFatal(wasFatal);
    setLogSink(previousSink);
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1String("*** Assertion failure in ")))
            return line.section(QStringLiteral(": "), 1).toStdString();
    }
    return "(none)";
}

} // namespace spindrel::test
