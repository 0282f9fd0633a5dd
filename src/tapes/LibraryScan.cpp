#include "tapes/LibraryScan.h"

#include "tapes/TapeLibraryArrayController.h"

#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace spindrel {

namespace {
// A batch goes to the list when it is this large or this old, so the list fills at a pace the
// eye can follow without a rearrangement per tape. The first comes soon, so the deck has a tape
// to show; later ones are larger, each costing the list a turn of its own.
constexpr int kFirstBatchSize = 64;
constexpr int kBatchSize = 4096;
constexpr int kBatchMs = 100;
// Reading a tape is a few small reads, each a wait on a cold disk: many readers keep its queue
// full (10,000 cold tapes here: 1.2 s with four, 0.64 s with sixteen), and cost nothing warm.
// A small folder gets fewer, as a thread costs more than reading a few tapes.
constexpr int kMinReaders = 16;
constexpr qsizetype kTapesPerReader = 16;
// A scan in the background yields to the deck's own thread, which has a window to paint: the
// threads' own priority, since Qt's priorities change nothing for ordinary threads on Linux.
constexpr int kBackgroundNice = 10;

void yieldToForeground()
{
    setpriority(PRIO_PROCESS, id_t(gettid()), kBackgroundNice);
}
} // namespace

LibraryScan::LibraryScan(Request request, QObject* parent)
    : QObject(parent), mRequest(std::move(request)), mHome(thread())
{
}

LibraryScan::~LibraryScan()
{
    cancel();
    if (mThread) {
        mThread->wait();
        delete mThread;
    }
}

void LibraryScan::retire(std::unique_ptr<LibraryScan> scan)
{
    if (!scan)
        return;
    scan->cancel();
    scan->disconnect();
    LibraryScan* retired = scan.release();
    if (retired->mThread)
        connect(retired->mThread, &QThread::finished, retired, &QObject::deleteLater);
    // A thread that ended before the connection was made sends nothing more.
    if (!retired->mThread || retired->mThread->isFinished())
        delete retired;
}

void LibraryScan::start()
{
    if (mThread)
        return;
    mThread = QThread::create([this] { run(); });
    mThread->setObjectName(QStringLiteral("Library scan"));
    mThread->start(QThread::LowPriority);
}

void LibraryScan::post(std::function<void()> call)
{
    // Queued to this object, so a call still on its way when the scan is deleted never runs.
    QMetaObject::invokeMethod(this, std::move(call), Qt::QueuedConnection);
}

void LibraryScan::run()
{
    yieldToForeground();
    const QString& folder = mRequest.folder;
    const QStringList found = mRequest.tidy ? TapeLibraryArrayController::tidyAndList(folder)
                                            : TapeLibraryArrayController::soundFileList(folder);
    const QSet<QString> foundSet(found.begin(), found.end());
    QStringList gone;
    for (const QString& path : std::as_const(mRequest.known)) {
        if (!foundSet.contains(path))
            gone.append(path);
    }
    QStringList fresh;
    for (const QString& path : found) {
        if (!mRequest.known.contains(path))
            fresh.append(path);
    }
    post([this, gone, count = int(fresh.size())] { Q_EMIT listed(gone, count); });

    std::atomic<qsizetype> next{0};
    onReaders(fresh.size(), [&] {
        yieldToForeground();
        QList<TapePtr> batch;
        qsizetype batchSize = kFirstBatchSize;
        QElapsedTimer age;
        age.start();
        const auto handOver = [&] {
            batchSize = kBatchSize;
            // Made here, the tapes belong to the thread that receives them.
            for (const TapePtr& tape : std::as_const(batch))
                tape->moveToThread(mHome);
            post([this, tapes = std::exchange(batch, {})] { Q_EMIT loaded(tapes); });
            age.restart();
        };
        for (qsizetype i = next++; i < fresh.size(); i = next++) {
            if (mCancelled)
                return;
            batch.append(std::make_shared<Tape>(fresh.at(i)));
            if (batch.size() >= batchSize || age.elapsed() >= kBatchMs)
                handOver();
        }
        if (!mCancelled && !batch.isEmpty())
            handOver();
    });
    if (mCancelled)
        return;
    post([this] { Q_EMIT finished(); });
}

} // namespace spindrel

namespace spindrel {

void LibraryScan::onReaders(qsizetype jobs, const std::function<void()>& work)
{
    const int most = std::max(kMinReaders, QThread::idealThreadCount());
    const int readers = int(std::clamp<qsizetype>(jobs / kTapesPerReader, 1, most));
    std::vector<std::unique_ptr<QThread>> helpers;
    for (int i = 1; i < readers; ++i) {
        helpers.emplace_back(QThread::create(work));
        helpers.back()->start(QThread::currentThread()->priority());
    }
    work();
    for (const auto& helper : helpers)
        helper->wait();
}

QList<TapePtr> LibraryScan::loadTapes(const QStringList& paths)
{
    std::vector<TapePtr> tapes(size_t(paths.size()));
    QThread* home = QThread::currentThread();
    std::atomic<qsizetype> next{0};
    onReaders(paths.size(), [&] {
        for (qsizetype i = next++; i < paths.size(); i = next++) {
            auto tape = std::make_shared<Tape>(paths.at(i));
            tape->moveToThread(home);
            tapes[size_t(i)] = std::move(tape);
        }
    });
    return QList<TapePtr>(tapes.begin(), tapes.end());
}

} // namespace spindrel
