#pragma once

#include "audio/VORLAudioDevice.h"

#include <QObject>
#include <memory>

class QTimer;

namespace spindrel {

class Tape;
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

    /// Lets go of the recorder, which drains its encoder, and closes the file. Returns the
    /// milliseconds recorded, and whether there was a file at all.
    struct Take
    {
        double recordedMs = 0.0;
        bool hadFile = false;
    };
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

private:
    std::unique_ptr<VORLExtendedAudioFileRecorder> mRecorder;
    QTimer* mStopDeadline = nullptr;
    bool mPaused = false;
};

} // namespace spindrel
