#include "audio/AudioFileReader.h"

#include "audio/AudioException.h"
#include "audio/FFmpegSupport.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace spindrel {

namespace {
// Frames decoded before a seek target so that the codec's overlap is warmed up.
constexpr int64_t kSeekPreroll = 2048;
} // namespace

struct AudioFileReader::Impl
{
    AVFormatContext* format = nullptr;
    AVCodecContext* codec = nullptr;
    SwrContext* converter = nullptr;
    AVPacket* packet = nullptr;
    AVFrame* frame = nullptr;
    int streamIndex = -1;
    AVRational streamTimeBase{1, 1};
    int rate = 0;
    int channels = 0;
    int64_t total = 0;

    std::vector<float> window; // the last decoded frame, converted
    int64_t windowStart = 0;
    int64_t windowFrames = 0;
    bool drained = false; // the decoder has nothing more after the window

    ~Impl()
    {
        swr_free(&converter);
        avcodec_free_context(&codec);
        avformat_close_input(&format);
        av_packet_free(&packet);
        av_frame_free(&frame);
    }

    int64_t windowEnd() const { return windowStart + windowFrames; }
    bool decodeNext();
    void seek(int64_t position);
};

AudioFileReader::AudioFileReader(const QString& filename) : d(std::make_unique<Impl>())
{
    quietenFFmpeg();
    const QByteArray path = QFile::encodeName(filename);
    int result = avformat_open_input(&d->format, path.constData(), nullptr, nullptr);
    if (result < 0)
        throw AudioException(
            QStringLiteral("Could not open %1: %2").arg(filename, ffmpegErrorString(result)));
    if ((result = avformat_find_stream_info(d->format, nullptr)) < 0)
        throw AudioException(
            QStringLiteral("Could not read %1: %2").arg(filename, ffmpegErrorString(result)));
    const AVCodec* decoder = nullptr;
    d->streamIndex = av_find_best_stream(d->format, AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
    if (d->streamIndex < 0 || !decoder)
        throw AudioException(QStringLiteral("%1 holds no audio").arg(filename));
    AVStream* stream = d->format->streams[d->streamIndex];
    d->streamTimeBase = stream->time_base;
    d->codec = avcodec_alloc_context3(decoder);
    if (!d->codec || avcodec_parameters_to_context(d->codec, stream->codecpar) < 0)
        throw AudioException(QStringLiteral("Out of memory"));
    // Needed so the decoder can move timestamps when it trims the encoder's priming samples.
    d->codec->pkt_timebase = stream->time_base;
    if ((result = avcodec_open2(d->codec, decoder, nullptr)) < 0)
        throw AudioException(
            QStringLiteral("Could not decode %1: %2").arg(filename, ffmpegErrorString(result)));
    d->rate = d->codec->sample_rate;
    const int sourceChannels = d->codec->ch_layout.nb_channels;
    if (d->rate <= 0 || sourceChannels <= 0)
        throw AudioException(QStringLiteral("%1 holds no audio").arg(filename));
    d->channels = std::min(sourceChannels, 2);

    AVChannelLayout outputLayout;
    av_channel_layout_default(&outputLayout, d->channels);
    result = swr_alloc_set_opts2(&d->converter, &outputLayout, AV_SAMPLE_FMT_FLT, d->rate,
                                 &d->codec->ch_layout, d->codec->sample_fmt, d->rate, 0, nullptr);
    av_channel_layout_uninit(&outputLayout);
    if (result < 0 || (result = swr_init(d->converter)) < 0)
        throw AudioException(
            QStringLiteral("Could not convert %1: %2").arg(filename, ffmpegErrorString(result)));

    d->packet = av_packet_alloc();
    d->frame = av_frame_alloc();
    if (!d->packet || !d->frame)
        throw AudioException(QStringLiteral("Out of memory"));

    if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0)
        d->total = av_rescale_q(stream->duration, stream->time_base, AVRational{1, d->rate});
    else if (d->format->duration != AV_NOPTS_VALUE && d->format->duration > 0)
        d->total = av_rescale_q(d->format->duration, AVRational{1, AV_TIME_BASE}, AVRational{1, d->rate});
}

AudioFileReader::~AudioFileReader() = default;

int AudioFileReader::sampleRate() const
{
    return d->rate;
}

int AudioFileReader::channels() const
{
    return d->channels;
}

int64_t AudioFileReader::totalFrames() const
{
    return d->total;
}

bool AudioFileReader::Impl::decodeNext()
{
    if (drained)
        return false;
    for (;;) {
        int result = avcodec_receive_frame(codec, frame);
        if (result >= 0) {
            const int64_t timestamp =
                frame->pts != AV_NOPTS_VALUE ? frame->pts : frame->best_effort_timestamp;
            const int64_t start = timestamp != AV_NOPTS_VALUE
                                      ? av_rescale_q(timestamp, streamTimeBase, AVRational{1, rate})
                                      : windowEnd();
            const int count = frame->nb_samples;
            window.resize(size_t(count) * channels);
            uint8_t* output = reinterpret_cast<uint8_t*>(window.data());
            const int converted = swr_convert(converter, &output, count,
                                              const_cast<const uint8_t**>(frame->extended_data), count);
            av_frame_unref(frame);
            windowStart = start;
            windowFrames = std::max(converted, 0);
            return true;
        }
        if (result == AVERROR_EOF) {
            drained = true;
            return false;
        }
        if (result != AVERROR(EAGAIN))
            return false;
        result = av_read_frame(format, packet);
        if (result < 0) {
            avcodec_send_packet(codec, nullptr); // end of file: let the decoder give what it holds
            continue;
        }
        if (packet->stream_index == streamIndex)
            avcodec_send_packet(codec, packet); // a damaged packet is skipped
        av_packet_unref(packet);
    }
}

void AudioFileReader::Impl::seek(int64_t position)
{
    const int64_t target = std::max<int64_t>(0, position - kSeekPreroll);
    av_seek_frame(format, streamIndex, av_rescale_q(target, AVRational{1, rate}, streamTimeBase),
                  AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(codec);
    drained = false;
    windowFrames = 0;
    windowStart = target;
}

int64_t AudioFileReader::read(int64_t start, int64_t frames, float* out)
{
    // The encoder's padding after the last frame decodes too, but is not part of the audio.
    if (start < 0 || start >= d->total)
        return 0;
    frames = std::min(frames, d->total - start);
    int64_t done = 0;
    int seeks = 0;
    while (done < frames) {
        const int64_t position = start + done;
        if (position >= d->windowStart && position < d->windowEnd()) {
            const int64_t count = std::min(frames - done, d->windowEnd() - position);
            std::memcpy(out + done * d->channels,
                        d->window.data() + (position - d->windowStart) * d->channels,
                        size_t(count) * d->channels * sizeof(float));
            done += count;
            continue;
        }
        const bool decodeOn =
            d->windowFrames > 0 && position >= d->windowEnd() && position < d->windowEnd() + 4 * kSeekPreroll;
        if (!decodeOn) {
            if (seeks++ >= 2)
                break;
            d->seek(position);
        }
        if (!d->decodeNext())
            break;
        if (d->windowStart > position) {
            // Nothing decodes for these frames (a hole in the timestamps): they are silence.
            const int64_t gap = std::min(frames - done, d->windowStart - position);
            std::fill_n(out + done * d->channels, gap * d->channels, 0.0f);
            done += gap;
        }
    }
    return done;
}

} // namespace spindrel
