#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace spindrel::test {

/// How a program run by a test ended and what it wrote.
struct CommandRun
{
    bool finished = false; // ended by itself within the time allowed
    int status = -1;       // its exit status; -1 when it crashed or was killed
    QString out;
    QString err;
};

/// Arguments written as one line, split at the spaces.
inline QStringList words(const char* line)
{
    return QString::fromUtf8(line).split(u' ', Qt::SkipEmptyParts);
}

/// Runs a program to its end; one still running after `timeoutMs` is killed.
CommandRun runCommand(const QString& program, const QStringList& arguments,
                      const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
                      int timeoutMs = 120000);

#ifdef SPINDREL_BINARY
/// The spindrel built with the tests, as a user runs it.
inline CommandRun
runSpindrel(const QStringList& arguments,
            const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
            int timeoutMs = 120000)
{
    return runCommand(QStringLiteral(SPINDREL_BINARY), arguments, environment, timeoutMs);
}
#endif

} // namespace spindrel::test
