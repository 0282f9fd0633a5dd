#include "app/CommandOptions.h"

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

} // namespace spindrel
