#include "tapes/TapeCommitQueue.h"

#include <algorithm>

namespace spindrel {

TapeCommitQueue::TapeCommitQueue(QObject* parent) : QObject(parent), mThread([this] { work(); }) {}

TapeCommitQueue::~TapeCommitQueue()
{
    waitUntilIdle();
    {
        const std::lock_guard lock(mMutex);
        mStopping = true;
    }
    mWake.notify_all();
    mThread.join();
}

void TapeCommitQueue::commit(const TapePtr& tape)
{
    if (!tape || !tape->dirty())
        return;
    // One commit per tape at a time: the next is planned once the tape knows the outcome of the
    // last, so it finds the file under the name that commit gave it.
    if (const auto pending = mPendingTapes.find(tape.get()); pending != mPendingTapes.end()) {
        *pending = true;
        return;
    }
    mPendingTapes.insert(tape.get(), false);
    Job job;
    job.tape = tape;
    job.plan = tape->commitPlan();
    enqueue(std::move(job));
}

void TapeCommitQueue::commit(const QList<TapePtr>& tapes)
{
    for (const TapePtr& tape : tapes)
        commit(tape);
}

void TapeCommitQueue::enqueue(Job job)
{
    if (mQueued == 0)
        mBatchTotal = 0;
    ++mQueued;
    ++mBatchTotal;
    {
        const std::lock_guard lock(mMutex);
        mJobs.push_back(std::move(job));
    }
    mWake.notify_one();
    Q_EMIT progressChanged(batchDone(), mBatchTotal);
}

void TapeCommitQueue::waitUntilIdle()
{
    // Delivering may queue a tape again that was edited while it was written.
    while (!isIdle()) {
        {
            std::unique_lock lock(mMutex);
            mWritten.wait(lock, [this] { return mJobs.empty() && !mWriting; });
        }
        deliver();
    }
}

void TapeCommitQueue::withdraw(const TapePtr& tape)
{
    if (!mPendingTapes.contains(tape.get()))
        return;
    int taken = 0;
    {
        std::unique_lock lock(mMutex);
        const auto kept =
            std::remove_if(mJobs.begin(), mJobs.end(), [&tape](const Job& job) { return job.tape == tape; });
        taken = int(mJobs.end() - kept);
        mJobs.erase(kept, mJobs.end());
        mWritten.wait(lock, [this, &tape] { return mWriting != tape.get(); });
    }
    if (taken > 0) {
        mPendingTapes.remove(tape.get());
        mQueued -= taken;
        mBatchTotal -= taken;
    }
    // A commit already written is taken as usual, without a second one after it.
    if (mPendingTapes.contains(tape.get()))
        mPendingTapes.insert(tape.get(), false);
    if (!deliver() && taken > 0) {
        Q_EMIT progressChanged(batchDone(), mBatchTotal);
        if (isIdle())
            Q_EMIT idle();
    }
}

void TapeCommitQueue::work()
{
    std::unique_lock lock(mMutex);
    for (;;) {
        mWake.wait(lock, [this] { return mStopping || !mJobs.empty(); });
        if (mJobs.empty())
            return;
        Job job = std::move(mJobs.front());
        mJobs.pop_front();
        mWriting = job.tape.get();
        lock.unlock();

        job.result = Tape::writeCommit(job.plan);

        lock.lock();
        mWriting = nullptr;
        const bool first = mFinished.empty();
        mFinished.push_back(std::move(job));
        if (first)
            QMetaObject::invokeMethod(
                this, [this] { deliver(); }, Qt::QueuedConnection);
        mWritten.notify_all();
    }
}

bool TapeCommitQueue::deliver()
{
    std::deque<Job> finished;
    {
        const std::lock_guard lock(mMutex);
        finished.swap(mFinished);
    }
    if (finished.empty())
        return false;
    for (Job& job : finished) {
        job.tape->finishCommit(job.plan, job.result);
        if (mPendingTapes.take(job.tape.get()))
            commit(job.tape);
        --mQueued;
    }
    finished.clear(); // the tapes are let go here, on the main thread
    Q_EMIT progressChanged(batchDone(), mBatchTotal);
    if (mQueued == 0)
        Q_EMIT idle();
    return true;
}

} // namespace spindrel
