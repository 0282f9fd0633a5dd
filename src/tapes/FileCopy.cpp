#include "tapes/FileCopy.h"

#include "foundation/LockedTemporaries.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {

constexpr qint64 kChunkBytes = 1 << 20;
constexpr int kAttempts = 3;
const QLatin1String kTemporaryMarker(".spindrel-copy-");

QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

/// rename() without replacing: atomic where the file system supports it, link-then-unlink elsewhere.
int renameNoReplace(const QByteArray& from, const QByteArray& to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    if (::link(from.constData(), to.constData()) != 0)
        return -1;
    ::unlink(from.constData());
    return 0;
}

/// What changes when a file is written to: its size and its times of change.
struct Stamp
{
    off_t size = -1;
    timespec modified{};
    timespec changed{};
    bool operator==(const Stamp& other) const
    {
        return size == other.size && modified.tv_sec == other.modified.tv_sec &&
               modified.tv_nsec == other.modified.tv_nsec && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec;
    }
};

Stamp stampOf(int file)
{
    struct stat status
    {
    };
    if (::fstat(file, &status) != 0)
        return {};
    return {status.st_size, status.st_mtim, status.st_ctim};
}

} // namespace

FileCopy::Result FileCopy::copy(const QString& source, const QString& destination, bool replace,
                                const std::atomic<bool>* cancelled,
                                const std::function<void(qint64 copied)>& chunkCopied)
{
    const auto failed = [](const QString& reason) { return Result{Outcome::Failed, reason}; };
    const auto stopped = [cancelled] { return cancelled && cancelled->load(std::memory_order_relaxed); };
    const QFileInfo destinationInfo(destination);
    if (!replace && destinationInfo.exists())
        return {Outcome::DestinationExists, {}};

    QFile input(source);
    if (!input.open(QIODevice::ReadOnly))
        return failed(input.errorString());
    QTemporaryFile output(destinationInfo.absolutePath() + QStringLiteral("/.") + destinationInfo.fileName() +
                          kTemporaryMarker + QStringLiteral("XXXXXX"));
    if (!output.open())
        return failed(output.errorString());
    // The lock tells a clean-up, here or in another process, that this copy is still being written.
    ::flock(output.handle(), LOCK_EX);

    // Every failure below returns with `output` removing the temporary.
    QByteArray chunk;
    for (int attempt = 1;; ++attempt) {
        const Stamp before = stampOf(input.handle());
        if (before.size < 0)
            return failed(systemText(errno));
        if (!input.seek(0) || !output.seek(0) || !output.resize(0))
            return failed(output.errorString());
        qint64 copied = 0;
        // Up to the size it had when this attempt began: a file another program keeps writing
        // would never be read to its end.
        while (copied < qint64(before.size)) {
            if (stopped())
                return {Outcome::Cancelled, {}};
            chunk = input.read(std::min(kChunkBytes, qint64(before.size) - copied));
            if (chunk.isEmpty())
                break;
            if (output.write(chunk) != chunk.size())
                return failed(output.errorString());
            copied += chunk.size();
            if (chunkCopied)
                chunkCopied(copied);
        }
        if (input.error() != QFileDevice::NoError)
            return failed(input.errorString());
        if (stampOf(input.handle()) == before)
            break;
        if (attempt == kAttempts)
            return failed(QCoreApplication::translate("spindrel::FileCopy",
                                                      "the file kept changing while it was copied."));
    }
    if (!output.flush() || ::fsync(output.handle()) != 0)
        return failed(output.errorString().isEmpty() ? systemText(errno) : output.errorString());
    output.setPermissions(input.permissions());
    if (stopped())
        return {Outcome::Cancelled, {}};

    const QByteArray from = QFile::encodeName(output.fileName());
    const QByteArray to = QFile::encodeName(destinationInfo.absoluteFilePath());
    if ((replace ? ::rename(from.constData(), to.constData()) : renameNoReplace(from, to)) != 0) {
        const int error = errno;
        if (error == EEXIST)
            return {Outcome::DestinationExists, {}};
        return failed(systemText(error));
    }
    output.setAutoRemove(false);
    return {};
}

bool FileCopy::isTemporaryName(const QString& name)
{
    return LockedTemporaries::isTemporaryName(name, kTemporaryMarker);
}

int FileCopy::removeStaleTemporaries(const QString& folder)
{
    return LockedTemporaries::removeStale(folder, kTemporaryMarker);
}

} // namespace spindrel
