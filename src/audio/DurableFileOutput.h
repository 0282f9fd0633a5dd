#pragma once

#include <QString>
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

    /// Syncs the folder holding `path`, so that a new name or a rename in it is on the disk too.
    static void syncFolderOf(const QString& path);

private:
    static int writePacket(void* opaque, uint8_t* buffer, int size);
    static int64_t seek(void* opaque, int64_t offset, int whence);
    void syncLoop();
    void noteError(const QString& message);

    QString mPath;
    int mFd = -1;
    int64_t mPosition = 0;
    int64_t mSize = 0;
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
