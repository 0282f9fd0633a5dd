#pragma once

#include "audio/VORLAudioDevice.h"

#include <QObject>
#include <memory>
#include <optional>
#include <thread>

class QTimer;

namespace spindrel {

class Tape;
class VORLExtendedAudioFile;
class VORLExtendedAudioFileRecorder;

/// One take's recorder, from its start to a finished file: pause and resume, and a stop that lets
/// the server hand over the take's last moments before the file is closed.
class RecordingSession : public QObject
{
    Q_OBJECT

public:
    /// A stop is reported well within this, a second or two after it began at most.
    static constexpr int kStopDeadlineMs = 5000;

    explicit RecordingSession(QObject* parent = nullptr);
    ~RecordingSession() override;

    /// Makes the recorder for `tape`'s file and starts it. False, with the reason in `error`, when
    /// it could not; a recorder that was made keeps its (empty) file for `finish` to look at.
    bool start(const Tape& tape, const QString& quality, bool stereo, const VORLAudioDevice& device,
               const QList<unsigned>& channels, bool lockSampleRate, QString* error);
    /// Captures no more for now; the file stays open.
    void pause();
    /// Captures again after a pause; false, with the reason in `error`, when it cannot.
    bool resume(QString* error);
    bool isPaused() const { return mPaused; }

    /// Asks the recorder to stop. True when it has a take to drain first: `stopped` follows, from
    /// the recorder or, should it never say, from the deadline. False when there is nothing to wait for.
    bool stop();
    bool isStopping() const;

    /// The milliseconds recorded, and whether there was a file at all.
    struct Take
    {
        double recordedMs = 0.0;
        bool hadFile = false;
    };
    /// Lets go of the recorder, which drains its encoder, and finishes the file on a thread of its
    /// own: however long the take, the deck goes on meanwhile. `finished` follows.
    void finishInBackground();
    bool isFinishing() const { return mFinishing.has_value(); }
    /// The same, waiting for the file, also for a finish already under way in the background (whose
    /// `finished` then never comes). For a deck on its way out.
    Take finish();

    VORLExtendedAudioFileRecorder* recorder() const { return mRecorder.get(); }
    /// A recorder captures into its file now.
    bool isRecording() const;
    double currentTime() const;

Q_SIGNALS:
    /// The device went away or the disk filled up: the take ends; what was written is kept.
    void failed(const QString& message);
    /// The stop asked for is complete: the recorder drained, or was given up on.
    void stopped();
    /// The take's file is finished: a tape, or nothing at all when it was never written.
    void finished(const spindrel::RecordingSession::Take& take);

private:
    /// Lets go of the recorder; its file, if it had one, is left to close.
    std::shared_ptr<VORLExtendedAudioFile> releaseRecorder(Take& take);
    void joinFinisher();

    std::unique_ptr<VORLExtendedAudioFileRecorder> mRecorder;
    std::optional<Take> mFinishing; // the take whose file the finisher closes
    std::thread mFinisher;
    QTimer* mStopDeadline = nullptr;
    bool mPaused = false;
};

} // namespace spindrel
