// spindrel trash FILE...: moves tape files to the user's trash, as the deck's trash item does.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "tapes/Trash.h"

namespace spindrel {

namespace {

int runTrash(const QStringList& args)
{
    CommandOptions options(QStringLiteral("trash"), QStringLiteral("FILE..."));
    if (!options.parse(args))
        return 2;
    if (options.positional().isEmpty())
        return options.usageError(QStringLiteral("expected files to move to the trash"));
    int status = 0;
    for (const QString& path : options.positional()) {
        const auto result = Trash::moveToTrash(path);
        if (std::holds_alternative<Error>(result))
            status = options.fail(std::get<Error>(result).localizedDescription());
        else
            options.out() << "trashed " << path << " -> " << std::get<Trash::Result>(result).trashedPath
                          << "\n";
    }
    return status;
}

} // namespace

CommandLine::Command trashCommand()
{
    return {QStringLiteral("trash"), QStringLiteral("FILE..."),
            QStringLiteral("move files to the trash (they can be put back from the file manager)"), runTrash};
}

} // namespace spindrel
