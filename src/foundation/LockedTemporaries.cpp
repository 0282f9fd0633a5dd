#include "foundation/LockedTemporaries.h"

#include <QDir>
#include <QFile>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace spindrel {

bool LockedTemporaries::isTemporaryName(const QString& name, QLatin1String marker)
{
    return name.startsWith(QLatin1Char('.')) && name.contains(marker);
}

int LockedTemporaries::removeStale(const QString& folder, QLatin1String marker)
{
    int removed = 0;
    const QDir directory(folder);
    const QStringList names = directory.entryList({QStringLiteral(".*") + marker + QLatin1Char('*')},
                                                  QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : names) {
        const QByteArray path = QFile::encodeName(directory.filePath(name));
        const int file = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0)
            continue;
        if (::flock(file, LOCK_EX | LOCK_NB) == 0 && ::unlink(path.constData()) == 0)
            ++removed;
        ::close(file);
    }
    return removed;
}

} // namespace spindrel
