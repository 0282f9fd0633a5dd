#pragma once

#include <QString>
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

struct AVIOContext;

namespace spindrel {

/// A new file that FFmpeg writes through its own I/O context, made to survive a crash: the file
/// is held under an exclusive flock for as long as this object lives (so that another process
/// can tell it is being written), its name is synced into the folder at once, and whatever is
/// written is synced to the disk by a thread of its own shortly after, never on the writer's.
/// After the first failed write, allocation or sync it takes no more bytes, so that what is on the
/// disk stays as it was at that moment.
class DurableFileOutput
{
public:
    /// Creates `path`, which must not exist yet. Throws AudioException when it cannot.
    explicit DurableFileOutput(const QString& path);
    /// Syncs what is left and closes the file, which lets go of the lock.
    ~DurableFileOutput();

    DurableFileOutput(const DurableFileOutput&) = delete;
    DurableFileOutput& operator=(const DurableFileOutput&) = delete;

    /// The context to hand to a muxer as its `pb`; it stays owned here.
    AVIOContext* ioContext() const { return mContext; }
    /// Flushes the context and waits until everything written is on the disk. False (and
    /// errorString()) when writing or syncing failed at any time.
    bool flushAndSync();
    QString errorString() const;
    const QString& path() const { return mPath; }
    int fileHandle() const { return mFd; }

    /// Keeps `bytes` allocated to the file beyond what is written (on file systems that can), so
    /// that the room to finish the file is there when the disk fills: a write for which the room
    /// cannot be kept fails before anything of it is written. Set from the writer's thread.
    void setReserve(int64_t bytes) { mReserve = bytes; }
    /// Where the room allocated to the file ends; the file's length when nothing is reserved.
    int64_t allocatedEnd() const { return std::max(mAllocatedEnd, mSize); }
    /// True once a write, an allocation or a sync has failed.
    bool hasFailed() const { return mFailureCode.load(std::memory_order_acquire) != 0; }
    /// The system's error number of the first failure; 0 while there is none.
    int failureCode() const { return mFailureCode.load(std::memory_order_acquire); }

    /// Syncs the folder holding `path`, so that a new name or a rename in it is on the disk too.
    static void syncFolderOf(const QString& path);

private:
    static int writePacket(void* opaque, uint8_t* buffer, int size);
    static int64_t seek(void* opaque, int64_t offset, int whence);
    void syncLoop();
    bool keepRoomFor(int64_t end);
    void noteFailure(int error, const QString& message);

    QString mPath;
    int mFd = -1;
    int64_t mPosition = 0;
    int64_t mSize = 0;
    int64_t mReserve = 0;
    int64_t mAllocatedEnd = 0;
    bool mCanAllocate = true;
    std::atomic<int> mFailureCode{0};
    AVIOContext* mContext = nullptr;

    mutable std::mutex mMutex;
    std::condition_variable mWake;
    std::condition_variable mSynced;
    uint64_t mWritten = 0;    // bumped by every write
    uint64_t mSyncedUpTo = 0; // the value of mWritten that the last finished sync covered
    bool mStopping = false;
    QString mError;
    std::thread mSyncer;
};

} // namespace spindrel
