#pragma once

#include "audio/VORLAudioDevice.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <atomic>
#include <memory>

struct pa_stream;

namespace spindrel {

class PulseConnection;
class RecordingPipeline;
class VORLExtendedAudioFile;
class VORLExtendedAudioFileRecorder;

class VORLExtendedAudioFileRecorderDelegate
{
public:
    virtual ~VORLExtendedAudioFileRecorderDelegate() = default;
    /// The capture has stopped and every captured frame is in the file (main thread).
    virtual void audioFileRecorderDidStop(VORLExtendedAudioFileRecorder* recorder) = 0;
};

/// Records chosen channels of an input device into a file. The sound server's thread only hands
/// the samples over; an encoder thread writes them. Stopping and starting again continues the
/// same file without a gap (pause and resume). If the device goes away or the server fails while
/// recording, or the file cannot be written (a full disk, an I/O error), the recording stops at
/// once: what is in the file is finished into a complete one, the file is closed and
/// audioFileRecorderDidFail is emitted with a message for the user, followed by the did-stop notice.
class VORLExtendedAudioFileRecorder : public QObject
{
    Q_OBJECT

public:
    /// `recordChannels` are zero-based device channels: one for a mono file, two for stereo.
    /// Channels the device does not have are replaced by its last one (and logged).
    VORLExtendedAudioFileRecorder(std::shared_ptr<VORLExtendedAudioFile> file, const VORLAudioDevice& device,
                                  const QList<unsigned>& recordChannels, QObject* parent = nullptr);
    ~VORLExtendedAudioFileRecorder() override;

    void setDelegate(VORLExtendedAudioFileRecorderDelegate* delegate) { mDelegate = delegate; }
    VORLExtendedAudioFileRecorderDelegate* delegate() const { return mDelegate; }

    /// Starts capturing into the file, or continues after stopRecording(). False when the
    /// capture cannot start (no sound server, no such device, file closed); errorString() and
    /// the log say why.
    bool startRecording();
    /// Requests the stop and returns at once. What the device had captured up to this moment but
    /// the server not yet delivered still goes into the file; then the did-stop notice follows
    /// on the main thread.
    void stopRecording();
    /// Ends the recording by itself once `milliseconds` are in the file (counted over all
    /// starts), exactly there; the did-stop notice follows as after stopRecording().
    void stopRecordingAtTime(double milliseconds);
    bool isFileRecording() const { return mRecording; }
    std::shared_ptr<VORLExtendedAudioFile> recordFile() const { return mFile; }
    /// Milliseconds recorded into the file so far, over all starts.
    double currentTime() const;
    /// Frames the encoder could not keep up with (0 in a healthy recording).
    quint64 droppedFrames() const;
    QString errorString() const { return mError; }
    const VORLAudioDevice& device() const { return mDevice; }
    QList<unsigned> recordChannels() const { return mRecordChannels; }

Q_SIGNALS:
    void audioFileRecorderDidStop(spindrel::VORLExtendedAudioFileRecorder* recorder);
    void audioFileRecorderDidFail(spindrel::VORLExtendedAudioFileRecorder* recorder, const QString& message);

private:
    static void streamRead(pa_stream* stream, size_t bytes, void* self);
    static void streamStateChanged(pa_stream* stream, void* self);
    void captureDrained(unsigned session); // encoder thread
    void finishStop(unsigned session);     // main thread
    void endCaptureNow();                  // main thread: stops waiting for the server's last frames
    void fail(const QString& message);

    std::shared_ptr<VORLExtendedAudioFile> mFile;
    VORLAudioDevice mDevice;
    QList<unsigned> mRecordChannels;
    std::unique_ptr<RecordingPipeline> mPipeline;
    std::unique_ptr<PulseConnection> mConnection;
    pa_stream* mStream = nullptr;
    VORLExtendedAudioFileRecorderDelegate* mDelegate = nullptr;
    bool mRecording = false;
    unsigned mSession = 0;
    QTimer mStopTimer; // gives up waiting for the frames still on their way after a stop
    static constexpr uint64_t kNoStop = UINT64_MAX;
    // Captured-frame count at which the session ends; set by stopRecording, read by the capture.
    std::atomic<uint64_t> mStopAtFrame{kNoStop};
    std::atomic<uint64_t> mLimitFrame{kNoStop}; // the same, from stopRecordingAtTime
    std::atomic<bool> mCaptureLost{false};      // set on the server thread when the stream died
    QString mError;
};

} // namespace spindrel
