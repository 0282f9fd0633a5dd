#include "CommandRun.h"

#include <QProcess>

namespace spindrel::test {

CommandRun runCommand(const QString& program, const QStringList& arguments,
                      const QProcessEnvironment& environment, int timeoutMs)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    CommandRun result;
    result.finished = process.waitForFinished(timeoutMs);
    if (!result.finished) {
        process.kill();
        process.waitForFinished();
    }
    if (process.exitStatus() == QProcess::NormalExit && result.finished)
        result.status = process.exitCode();
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

} // namespace spindrel::test
