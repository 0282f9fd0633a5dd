#include "deck/RecordingSession.h"

#include "audio/VORLExtendedAudioFile.h"
#include "audio/VORLExtendedAudioFileRecorder.h"
#include "foundation/Log.h"
#include "tapes/NewRecording.h"

#include <QTimer>

namespace spindrel {

RecordingSession::RecordingSession(QObject* parent) : QObject(parent)
{
    mStopDeadline = new QTimer(this);
    mStopDeadline->setSingleShot(true);
    mStopDeadline->setInterval(kStopDeadlineMs);
    connect(mStopDeadline, &QTimer::timeout, this, [this] {
        logError(QStringLiteral("RecordingSession"),
                 QStringLiteral("The recorder did not report its stop; the take is finished anyway"));
        Q_EMIT stopped();
    });
}

RecordingSession::~RecordingSession()
{
    joinFinisher();
}

bool RecordingSession::start(const Tape& tape, const QString& quality, bool stereo,
                             const VORLAudioDevice& device, const QList<unsigned>& channels,
                             bool lockSampleRate, QString* error)
{
    mPaused = false;
    mRecorder = NewRecording::recorderForTape(tape, quality, stereo, device, channels, lockSampleRate, error);
    if (!mRecorder)
        return false;
    connect(mRecorder.get(), &VORLExtendedAudioFileRecorder::audioFileRecorderDidFail, this,
            [this](VORLExtendedAudioFileRecorder*, const QString& message) { Q_EMIT failed(message); });
    // Queued: the take is finished by letting go of the recorder, which must not happen inside its
    // own notice.
    connect(
        mRecorder.get(), &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop, this,
        [this] {
            if (!mPaused && mStopDeadline->isActive()) {
                mStopDeadline->stop();
                Q_EMIT stopped();
            }
        },
        Qt::QueuedConnection);
    if (mRecorder->startRecording())
        return true;
    if (error)
        *error = mRecorder->errorString();
    return false;
}

void RecordingSession::pause()
{
    mPaused = true;
    if (mRecorder)
        mRecorder->stopRecording();
}

bool RecordingSession::resume(QString* error)
{
    mPaused = false;
    if (!mRecorder || mRecorder->startRecording())
        return true;
    if (error)
        *error = mRecorder->errorString();
    return false;
}

bool RecordingSession::stop()
{
    if (!isRecording())
        return false;
    // The server still holds the last moments of the take; the recorder says when they are in the file.
    mPaused = false;
    mStopDeadline->start();
    mRecorder->stopRecording();
    return true;
}

bool RecordingSession::isStopping() const
{
    return mStopDeadline->isActive();
}

std::shared_ptr<VORLExtendedAudioFile> RecordingSession::releaseRecorder(Take& take)
{
    mStopDeadline->stop();
    mPaused = false;
    if (!mRecorder)
        return nullptr;
    take.recordedMs = mRecorder->currentTime();
    disconnect(mRecorder.get(), nullptr, this, nullptr);
    std::shared_ptr<VORLExtendedAudioFile> file = mRecorder->recordFile();
    // Letting go of the recorder drains its encoder, so nothing writes while the file closes, also
    // when the recorder never reported its stop.
    mRecorder.reset();
    take.hadFile = file != nullptr;
    return file;
}

void RecordingSession::finishInBackground()
{
    joinFinisher();
    Take take;
    const std::shared_ptr<VORLExtendedAudioFile> file = releaseRecorder(take);
    mFinishing = take;
    // Closing drains the encoder, indexes the fragments and syncs: disk work, so not on this thread.
    mFinisher = std::thread([this, file] {
        if (file)
            file->closeFile();
        QMetaObject::invokeMethod(
            this,
            [this] {
                // A finish() that waited for this file has reported it already.
                if (!mFinishing)
                    return;
                joinFinisher();
                const Take done = *std::exchange(mFinishing, std::nullopt);
                Q_EMIT finished(done);
            },
            Qt::QueuedConnection);
    });
}

RecordingSession::Take RecordingSession::finish()
{
    if (mFinishing) {
        joinFinisher();
        return *std::exchange(mFinishing, std::nullopt);
    }
    Take take;
    if (const std::shared_ptr<VORLExtendedAudioFile> file = releaseRecorder(take))
        file->closeFile();
    return take;
}

void RecordingSession::joinFinisher()
{
    if (mFinisher.joinable())
        mFinisher.join();
}

bool RecordingSession::isRecording() const
{
    return mRecorder && mRecorder->isFileRecording();
}

double RecordingSession::currentTime() const
{
    return mRecorder ? mRecorder->currentTime() : 0.0;
}

} // namespace spindrel
