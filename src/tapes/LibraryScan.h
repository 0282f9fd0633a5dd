#pragma once

#include "tapes/Tape.h"

#include <QObject>
#include <QSet>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>

class QThread;

namespace spindrel {

/// One look at the library folder on a thread of its own, so that a folder of thousands of files
/// never holds up the deck: it lists the folder, tells which known tapes are gone, then reads the
/// new files into tapes and hands them over in batches as they are read. Its signals come on the
/// thread the scan was made on; the tapes it hands over belong to that thread.
class LibraryScan : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        QString folder;
        QSet<QString> known; // paths of the tapes already in the library
        bool tidy = false;   // first clear what interrupted edits and recordings left
    };

    explicit LibraryScan(Request request, QObject* parent = nullptr);
    /// Stops the scan between two files and waits for it.
    ~LibraryScan() override;

    void start();
    /// The scan hands over nothing more; a tape being read is dropped.
    void cancel() { mCancelled = true; }
    /// Cancels the scan and lets it go without waiting: it deletes itself when its thread ends.
    static void retire(std::unique_ptr<LibraryScan> scan);

    /// Reads the files into tapes on every core, the calling thread's among them, and returns them
    /// in the order given, belonging to the calling thread. For a caller that waits for the whole
    /// folder.
    static QList<TapePtr> loadTapes(const QStringList& paths);

Q_SIGNALS:
    /// The known paths that are gone, and how many new files will be read.
    void listed(const QStringList& gone, int newFiles);
    void loaded(const QList<spindrel::TapePtr>& tapes);
    void finished();

private:
    void run(); // the scan's thread
    /// Runs `work` on the calling thread and on the helpers beside it, as many as `jobs` items
    /// of work are worth, and returns when all are done.
    static void onReaders(qsizetype jobs, const std::function<void()>& work);
    void post(std::function<void()> call);

    Request mRequest;
    QThread* mThread = nullptr;
    QThread* mHome;
    std::atomic<bool> mCancelled{false};
};

} // namespace spindrel
