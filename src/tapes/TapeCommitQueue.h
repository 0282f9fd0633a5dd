#pragma once

#include "tapes/Tape.h"

#include <QHash>
#include <QObject>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace spindrel {

/// Writes tapes' edits on a thread of its own, in the order they were asked for, so that no
/// commit holds up the deck however many tapes it writes. What a commit writes is taken from the
/// tape when it is asked for; the tape hears the outcome on its own thread, and edits made in
/// the meantime stay dirty for the next commit.
class TapeCommitQueue : public QObject
{
    Q_OBJECT

public:
    explicit TapeCommitQueue(QObject* parent = nullptr);
    /// Writes whatever is still queued before it returns: no edit is dropped.
    ~TapeCommitQueue() override;

    /// Queues the tape's edits; a clean tape is left alone.
    void commit(const TapePtr& tape);
    void commit(const QList<TapePtr>& tapes);

    bool isIdle() const { return mQueued == 0; }
    /// The commits asked for since the queue was last idle, and how many of them are done.
    int batchTotal() const { return mBatchTotal; }
    int batchDone() const { return mBatchTotal - mQueued; }

    /// Takes the tape's queued commits back and waits for one being written, so that the caller
    /// may write, move or trash the file itself. The tape stays dirty for what was taken back.
    void withdraw(const TapePtr& tape);

    /// Blocks until every queued commit is written and its tape has heard of it. For a process
    /// on its way out; the deck waits for idle() instead.
    void waitUntilIdle();

Q_SIGNALS:
    void progressChanged(int done, int total);
    /// Every queued commit has been written.
    void idle();

private:
    struct Job
    {
        TapePtr tape; // only the main thread touches the tape or lets go of it
        Tape::CommitPlan plan;
        Tape::CommitResult result;
    };

    void work();    // the writer thread
    bool deliver(); // main thread; false when nothing was written since
    void enqueue(Job job);

    std::mutex mMutex;
    std::condition_variable mWake;
    std::condition_variable mWritten;
    std::deque<Job> mJobs;
    std::deque<Job> mFinished;
    const Tape* mWriting = nullptr; // the tape whose commit is being written
    bool mStopping = false;
    std::thread mThread;

    // Main thread.
    int mQueued = 0;
    QHash<const Tape*, bool> mPendingTapes; // queued or being written; true: commit again after
    int mBatchTotal = 0;
};

} // namespace spindrel
