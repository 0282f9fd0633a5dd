#include "foundation/Log.h"

#include "foundation/Assertion.h"

#include <cstdio>
#include <utility>

namespace spindrel {

namespace {
LogSink& currentSink()
{
    static LogSink sink;
    return sink;
}
} // namespace

LogSink setLogSink(LogSink sink)
{
    return std::exchange(currentSink(), std::move(sink));
}

void logLine(const QString& line)
{
    if (const auto& sink = currentSink()) {
        sink(line);
        return;
    }
    const QByteArray bytes = line.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fputc('\n', stderr);
}

void logError(const QString& source, const QString& message)
{
    logLine(QStringLiteral("(ERROR) %1 : %2").arg(source, message));
}

void logErrorAfterSource(const QString& source, const QString& message)
{
    logLine(QStringLiteral("%1 : (ERROR) %2").arg(source, message));
}

QString logSourceName(const char* path)
{
    return QString::fromStdString(sourceUnitName(path));
}

} // namespace spindrel
