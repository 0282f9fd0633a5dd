#pragma once

#include "foundation/Error.h"

#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

struct AVFormatContext;
struct AVCodecContext;
struct AVFrame;
struct AVPacket;
struct SwrContext;

namespace spindrel {

/// Interleaved 16-bit PCM at the reader's sample rate, as the reader hands it out.
struct SampleBuffer
{
    std::vector<int16_t> samples; ///< frameCount * channels values
    int channels = 0;
    int64_t presentationFrame = 0; ///< position of the first frame, in frames from the start
    int frameCount() const { return channels > 0 ? int(samples.size()) / channels : 0; }
};

/// Reads the audio of a tape file, decoded and converted to 16-bit integer PCM at 44100 Hz,
/// one sample buffer at a time. The channel count stays the file's.
class TapeAudioReader
{
public:
    enum class Status { Unknown = 0, Reading = 1, Completed = 2, Failed = 3, Cancelled = 4 };

    static constexpr int sampleRate = 44100;

    /// Opens the file and finds its first audio track; nothing (and `error` set) when that fails.
    static std::unique_ptr<TapeAudioReader> create(const QString& path, std::optional<Error>& error);
    ~TapeAudioReader();

    TapeAudioReader(const TapeAudioReader&) = delete;
    TapeAudioReader& operator=(const TapeAudioReader&) = delete;

    /// Opens the decoder and the converter; false (and error() set) when either cannot be made.
    bool startReading();
    Status status() const { return mStatus; }
    const std::optional<Error>& error() const { return mError; }
    int channels() const;
    double durationSeconds() const;

    /// The next buffer, or nothing at the end of the audio or after a failure (see status()).
    std::optional<SampleBuffer> copyNextSampleBuffer();
    void cancelReading();

private:
    TapeAudioReader() = default;
    void fail(int averror, const QString& what);
    /// Decodes until a frame comes out; false at the end or on failure.
    bool decodeFrame();
    std::optional<SampleBuffer> convert(const AVFrame* frame);

    AVFormatContext* mFormat = nullptr;
    AVCodecContext* mDecoder = nullptr;
    SwrContext* mConverter = nullptr;
    AVPacket* mPacket = nullptr;
    AVFrame* mFrame = nullptr;
    int mStreamIndex = -1;
    bool mInputEnded = false;
    bool mDecoderDrained = false;
    bool mConverterDrained = false;
    int64_t mNextFrame = 0;
    /// The tape's length in output frames: decoders pad the last packet, the tape ends here.
    int64_t mEndFrame = -1;
    Status mStatus = Status::Unknown;
    std::optional<Error> mError;
};

} // namespace spindrel
