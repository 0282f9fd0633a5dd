#include "tapes/FileCopy.h"

#include "foundation/LockedTemporaries.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
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

/// The copy while it is written. Where the file system allows, it has no name (O_TMPFILE) until it
/// is whole, so that nothing of it outlives a crash; elsewhere it is a hidden temporary beside the
/// destination, locked so that a clean-up knows it is still being written. Either way it is removed
/// unless it was put in place.
class PendingFile
{
public:
    explicit PendingFile(const QFileInfo& destination)
        : mFolder(QFile::encodeName(destination.absolutePath())),
          mHiddenName(QFile::encodeName(QStringLiteral("/.") + destination.fileName()) +
                      QByteArray(kTemporaryMarker.data(), kTemporaryMarker.size()))
    {
        if (::access("/proc/self/fd", X_OK) == 0)
            mFile = ::open(mFolder.constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        if (mFile < 0) {
            mPath = mFolder + mHiddenName + "XXXXXX";
            mFile = ::mkostemp(mPath.data(), O_CLOEXEC);
            if (mFile < 0)
                mPath.clear();
        }
        if (mFile >= 0)
            ::flock(mFile, LOCK_EX);
    }
    ~PendingFile()
    {
        if (!mPath.isEmpty())
            ::unlink(mPath.constData());
        if (mFile >= 0)
            ::close(mFile);
    }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    int handle() const { return mFile; }

    /// Gives the file its destination's name; 0 or the error number (EEXIST when the destination
    /// exists and may not be replaced).
    int putInPlace(const QByteArray& destination, bool replace)
    {
        if (mPath.isEmpty()) {
            const QByteArray self = "/proc/self/fd/" + QByteArray::number(mFile);
            if (!replace)
                return linkAt(self, destination);
            // Linked under a hidden name first: a rename is the one step that can replace a file.
            for (int attempt = 0; mPath.isEmpty(); ++attempt) {
                const QByteArray hidden = mFolder + mHiddenName + QByteArray::number(::getpid()) + '-' +
                                          QByteArray::number(attempt);
                if (const int error = linkAt(self, hidden); error == 0)
                    mPath = hidden;
                else if (error != EEXIST || attempt == 100)
                    return error;
            }
        }
        if ((replace ? ::rename(mPath.constData(), destination.constData())
                     : renameNoReplace(mPath, destination)) != 0)
            return errno;
        mPath.clear();
        return 0;
    }

private:
    static int linkAt(const QByteArray& from, const QByteArray& to)
    {
        return ::linkat(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), AT_SYMLINK_FOLLOW) == 0 ? 0
                                                                                                      : errno;
    }

    QByteArray mFolder;
    QByteArray mHiddenName;
    QByteArray mPath; // the hidden temporary's, while it has a name
    int mFile = -1;
};

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
    PendingFile pending(destinationInfo);
    QFile output;
    if (pending.handle() < 0 ||
        !output.open(pending.handle(), QIODevice::ReadWrite, QFileDevice::DontCloseHandle))
        return failed(systemText(errno));

    // Every failure below returns with `pending` removing the copy.
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
    if (struct stat status{}; ::fstat(input.handle(), &status) == 0)
        ::fchmod(pending.handle(), status.st_mode & 07777);
    if (stopped())
        return {Outcome::Cancelled, {}};

    if (const int error =
            pending.putInPlace(QFile::encodeName(destinationInfo.absoluteFilePath()), replace)) {
        if (error == EEXIST)
            return {Outcome::DestinationExists, {}};
        return failed(systemText(error));
    }
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
