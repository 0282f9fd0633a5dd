#include "app/CommandOptions.h"

#include <QFileInfo>
#include <cstdio>

namespace spindrel {

CommandOptions::CommandOptions(const QString& command, const QString& positionalUsage)
    : mCommand(command), mUsage(positionalUsage), mOut(stdout), mErr(stderr)
{
    mParser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
}

bool CommandOptions::parse(const QStringList& args)
{
    if (mParser.parse(QStringList{QStringLiteral("spindrel")} + args))
        return true;
    usageError(mParser.errorText());
    return false;
}

int CommandOptions::fail(const QString& message)
{
    mOut.flush();
    mErr << "spindrel " << mCommand << ": " << message << "\n";
    mErr.flush();
    return 1;
}

int CommandOptions::usageError(const QString& message)
{
    mErr << "spindrel " << mCommand << ": " << message << "\n"
         << "usage: spindrel " << mCommand << " " << mUsage << "\n";
    mErr.flush();
    return 2;
}

std::optional<int> CommandOptions::parseTapeAndOutput(const QStringList& args, QString* tape, QString* output)
{
    if (!parse(args))
        return 2;
    if (positional().size() != 2)
        return usageError(QStringLiteral("expected a tape and an output file"));
    *tape = positional().at(0);
    *output = positional().at(1);
    return failUnlessRegularFile(*tape);
}

std::optional<int> CommandOptions::failUnlessRegularFile(const QString& path)
{
    const QFileInfo info(path);
    if (info.isFile())
        return std::nullopt;
    return fail(
        (info.exists() ? QStringLiteral("%1: not a regular file") : QStringLiteral("%1: no such file"))
            .arg(path));
}

} // namespace spindrel
