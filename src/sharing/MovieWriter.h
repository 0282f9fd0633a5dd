#pragma once

#include "foundation/Error.h"
#include "sharing/H264Encoder.h"

#include <QImage>
#include <QString>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

struct AVAudioFifo;
struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct AVStream;
struct SwrContext;

namespace spindrel {

struct SampleBuffer;

/// Writes a QuickTime movie with one H.264 video input fed with pictures and one AAC audio
/// input fed with 16-bit PCM. Inputs are added before writing starts; each is marked finished
/// on its own, and finishWriting() closes the file. Every status change goes to the observer.
class MovieWriter
{
public:
    enum class Status { Unknown = 0, Writing = 1, Completed = 2, Failed = 3, Cancelled = 4 };
    enum class Input { Video, Audio };

    struct VideoSettings
    {
        int width = 1280;
        int height = 720;
        int framesPerSecond = 24;
        int maxKeyFrameInterval = 1000;
        /// x264's speed preset and tuning: the pictures are still but for two small reels.
        QString preset = QStringLiteral("veryfast");
        QString tune = QStringLiteral("stillimage");
    };
    struct AudioSettings
    {
        int sampleRate = 44100;
        int channels = 2;
        int64_t bitRate = 128000;
    };

    /// Creates the file; nothing (and `error` set) when it cannot be written.
    static std::unique_ptr<MovieWriter> create(const QString& path, std::optional<Error>& error);
    ~MovieWriter();

    MovieWriter(const MovieWriter&) = delete;
    MovieWriter& operator=(const MovieWriter&) = delete;

    bool canAddVideoInput(const VideoSettings& settings) const;
    bool canAddAudioInput(const AudioSettings& settings) const;
    /// False when the encoder refuses the settings.
    bool addVideoInput(const VideoSettings& settings);
    /// `sourceChannels` is the channel count of the PCM that will be appended.
    bool addAudioInput(const AudioSettings& settings, int sourceChannels);

    void setStatusObserver(std::function<void(Status)> observer) { mObserver = std::move(observer); }
    Status status() const { return mStatus; }
    const std::optional<Error>& error() const { return mError; }

    bool startWriting();
    /// Presentation times count from here, in frames of the video input.
    void startSessionAtSourceTime(int64_t frame) { mSessionStartFrame = frame; }

    /// Whether an input should be given more now: it may run at most half a second ahead of the
    /// other, so the movie comes out interleaved without buffering either side.
    bool isReadyForMoreMediaData(Input input) const;

    /// A picture of the video size, in QImage::Format_RGB32, shown at frame `frame`. When
    /// `changed` is given, the picture differs from the one appended before only there.
    bool appendPixelBuffer(const QImage& picture, int64_t frame, const std::vector<QRect>& changed = {});
    bool appendSampleBuffer(const SampleBuffer& buffer);
    void markAsFinished(Input input);
    bool isFinished(Input input) const { return input == Input::Video ? mVideoFinished : mAudioFinished; }

    /// Writes the index and closes the file; the status becomes completed or failed.
    void finishWriting();
    /// Stops, closes and deletes the unfinished file.
    void cancelWriting();

    const QString& path() const { return mPath; }

private:
    explicit MovieWriter(QString path) : mPath(std::move(path)) {}
    void setStatus(Status status);
    void fail(int averror, const QString& what);
    bool writeVideoPacket(const H264Encoder::Packet& packet);
    /// Either thread; the muxer takes one packet at a time.
    int muxPacket(AVPacket* packet);
    bool writePacket(AVPacket* packet);
    void runAudioEncoder();                // the audio thread
    int encodeAudio(const AVFrame* frame); // the audio thread
    void stopAudioEncoder();
    /// Reports a failure of the audio thread as the writer's; false when there was one.
    bool takeAudioError();
    double videoSeconds() const;
    double audioSeconds() const;

    QString mPath;
    AVFormatContext* mFormat = nullptr;
    H264Encoder mVideoEncoder;
    int mFramesPerSecond = 0;
    AVCodecContext* mAudioEncoder = nullptr;
    AVStream* mVideoStream = nullptr;
    AVStream* mAudioStream = nullptr;
    // The picture last given to the encoder, kept so that the next one converts only what changed.
    AVFrame* mVideoFrame = nullptr;
    bool mVideoFrameFilled = false;
    SwrContext* mResampler = nullptr;
    AVAudioFifo* mFifo = nullptr;
    AVPacket* mPacket = nullptr;
    AVPacket* mAudioPacket = nullptr; // the audio thread's
    std::thread mAudioThread;
    std::mutex mAudioMutex; // guards the FIFO and the two flags below
    std::condition_variable mAudioWake;
    bool mAudioInputEnded = false;
    bool mAudioStopping = false;
    std::atomic<int> mAudioError = 0;
    std::mutex mMuxMutex;
    int mSourceChannels = 0;
    int64_t mSessionStartFrame = 0;
    int64_t mNextVideoFrame = 0;
    int64_t mAudioSamplesIn = 0;
    int64_t mAudioSamplesEncoded = 0; // the audio thread's
    bool mVideoFinished = false;
    bool mAudioFinished = false;
    bool mHeaderWritten = false;
    Status mStatus = Status::Unknown;
    std::optional<Error> mError;
    std::function<void(Status)> mObserver;
};

} // namespace spindrel
