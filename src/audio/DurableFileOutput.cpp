#include "audio/DurableFileOutput.h"

#include "audio/AudioException.h"
#include "foundation/Error.h"
#include "foundation/Log.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/mem.h>
}

namespace spindrel {

namespace {
constexpr int kBufferSize = 64 * 1024;
// The reserve grows in steps of this much, so that not every write asks for room.
constexpr int64_t kAllocationStep = 64 * 1024;
} // namespace

DurableFileOutput::DurableFileOutput(const QString& path) : mPath(path)
{
    const QByteArray name = QFile::encodeName(path);
    mFd = ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (mFd < 0)
        throw AudioException(
            QStringLiteral("Could not create %1: %2").arg(path, Error::systemErrorText(errno)));
    // Held until the file is finished; a crash lets go of it with the process.
    if (::flock(mFd, LOCK_EX) < 0) {
        // Some network file systems have no locks: the recording still goes on, but another
        // process loading the library there could take it for an interrupted one.
        logError(logSourceName(__FILE__),
                 QStringLiteral("Could not lock %1: %2").arg(path, Error::systemErrorText(errno)));
    }
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
    mContext =
        buffer ? avio_alloc_context(buffer, kBufferSize, 1, this, nullptr, &writePacket, &seek) : nullptr;
    if (!mContext) {
        av_free(buffer);
        ::close(mFd);
        ::unlink(name.constData());
        throw AudioException(QStringLiteral("Out of memory"));
    }
    mSyncer = std::thread([this] { syncLoop(); });
}

DurableFileOutput::~DurableFileOutput()
{
    flushAndSync();
    {
        std::lock_guard lock(mMutex);
        mStopping = true;
    }
    mWake.notify_all();
    mSyncer.join();
    av_freep(&mContext->buffer);
    avio_context_free(&mContext);
    ::close(mFd);
}

int DurableFileOutput::writePacket(void* opaque, uint8_t* buffer, int size)
{
    auto* self = static_cast<DurableFileOutput*>(opaque);
    if (const int failure = self->failureCode())
        return AVERROR(failure);
    if (!self->keepRoomFor(std::max(self->mSize, self->mPosition + size)))
        return AVERROR(self->failureCode());
    for (int done = 0; done < size;) {
        const ssize_t written = ::pwrite(self->mFd, buffer + done, size_t(size - done), self->mPosition);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            const int error = errno;
            self->noteFailure(
                error,
                QStringLiteral("Could not write %1: %2").arg(self->mPath, Error::systemErrorText(error)));
            return AVERROR(error);
        }
        done += int(written);
        self->mPosition += written;
    }
    self->mSize = std::max(self->mSize, self->mPosition);
    {
        std::lock_guard lock(self->mMutex);
        ++self->mWritten;
    }
    self->mWake.notify_one();
    return size;
}

bool DurableFileOutput::keepRoomFor(int64_t end)
{
    if (mReserve <= 0 || !mCanAllocate)
        return true;
    const int64_t wanted = end + mReserve;
    if (wanted <= mAllocatedEnd)
        return true;
    // Allocated beyond the end without changing the length: readers see the file as it is written.
    const auto allocate = [this](int64_t until) {
        int result;
        do
            result = ::fallocate(mFd, FALLOC_FL_KEEP_SIZE, mAllocatedEnd, until - mAllocatedEnd);
        while (result < 0 && errno == EINTR);
        if (result == 0)
            mAllocatedEnd = until;
        return result == 0;
    };
    if (allocate(wanted + kAllocationStep) || allocate(wanted))
        return true;
    const int error = errno;
    if (error == EOPNOTSUPP || error == ENOSYS) {
        mCanAllocate = false; // such a file system finishes without a reserve, as far as room allows
        return true;
    }
    noteFailure(error,
                QStringLiteral("Could not keep room for %1: %2").arg(mPath, Error::systemErrorText(error)));
    return false;
}

int64_t DurableFileOutput::seek(void* opaque, int64_t offset, int whence)
{
    auto* self = static_cast<DurableFileOutput*>(opaque);
    int64_t target = 0;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return self->mSize;
    case SEEK_SET:
        target = offset;
        break;
    case SEEK_CUR:
        target = self->mPosition + offset;
        break;
    case SEEK_END:
        target = self->mSize + offset;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (target < 0)
        return AVERROR(EINVAL);
    self->mPosition = target;
    return target;
}

void DurableFileOutput::syncLoop()
{
    // The new name goes to the disk here rather than in the constructor: a folder sync can wait
    // on the whole journal, and the capture that opens this file must not wait with it. No write
    // counts as synced before it.
    syncFolderOf(mPath);
    std::unique_lock lock(mMutex);
    for (;;) {
        mWake.wait(lock, [this] { return mStopping || mWritten != mSyncedUpTo; });
        if (mWritten == mSyncedUpTo)
            return; // stopping, and everything is on the disk
        const uint64_t covered = mWritten;
        lock.unlock();
        const int result = ::fdatasync(mFd);
        const int error = errno;
        lock.lock();
        if (result < 0) {
            if (mError.isEmpty())
                mError = QStringLiteral("Could not sync %1: %2").arg(mPath, Error::systemErrorText(error));
            int none = 0;
            mFailureCode.compare_exchange_strong(none, error, std::memory_order_release);
        }
        mSyncedUpTo = covered;
        mSynced.notify_all();
    }
}

bool DurableFileOutput::flushAndSync()
{
    avio_flush(mContext);
    std::unique_lock lock(mMutex);
    const uint64_t wanted = mWritten;
    mSynced.wait(lock, [&] { return mSyncedUpTo >= wanted; });
    return mError.isEmpty() && mContext->error >= 0;
}

QString DurableFileOutput::errorString() const
{
    std::lock_guard lock(mMutex);
    return mError;
}

void DurableFileOutput::noteFailure(int error, const QString& message)
{
    std::lock_guard lock(mMutex);
    if (mError.isEmpty())
        mError = message;
    int none = 0;
    mFailureCode.compare_exchange_strong(none, error != 0 ? error : EIO, std::memory_order_release);
}

void DurableFileOutput::syncFolderOf(const QString& path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

} // namespace spindrel
