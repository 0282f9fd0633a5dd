#include "tapes/ProcessLauncher.h"

#include <QProcess>
#include <QStandardPaths>

namespace spindrel {

QString ProcessLauncher::findProgram(const QString& program) const
{
    return QStandardPaths::findExecutable(program);
}

void ProcessLauncher::start(const QString& program, const QStringList& arguments, Finished finished)
{
    // The process may outlive the caller (a composer that stays open), so it owns itself.
    auto* process = new QProcess;
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    QObject::connect(process, &QProcess::finished, process,
                     [process, finished](int exitCode, QProcess::ExitStatus status) {
                         finished(status == QProcess::NormalExit && exitCode == 0
                                      ? std::nullopt
                                      : std::optional<int>(exitCode));
                         process->deleteLater();
                     });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, finished](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         finished(-1);
                         process->deleteLater();
                     });
    process->start(program, arguments, QIODevice::NotOpen);
}

ProcessLauncher& ProcessLauncher::system()
{
    static ProcessLauncher launcher;
    return launcher;
}

} // namespace spindrel
