#include "sharing/TapeAudioReader.h"

#include "sharing/FFmpegError.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <QFile>
#include <algorithm>
#include <cmath>

namespace spindrel {

std::unique_ptr<TapeAudioReader> TapeAudioReader::create(const QString& path, std::optional<Error>& error)
{
    std::unique_ptr<TapeAudioReader> reader(new TapeAudioReader);
    const QByteArray name = QFile::encodeName(path);
    int result = avformat_open_input(&reader->mFormat, name.constData(), nullptr, nullptr);
    if (result >= 0)
        result = avformat_find_stream_info(reader->mFormat, nullptr);
    if (result >= 0) {
        result = AVERROR_STREAM_NOT_FOUND;
        for (unsigned i = 0; i < reader->mFormat->nb_streams; ++i) {
            if (reader->mFormat->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
                reader->mStreamIndex = int(i);
                result = 0;
                break;
            }
        }
    }
    if (result < 0) {
        error = FFmpegError::fromCode(result, path);
        return nullptr;
    }
    for (unsigned i = 0; i < reader->mFormat->nb_streams; ++i) {
        if (int(i) != reader->mStreamIndex)
            reader->mFormat->streams[i]->discard = AVDISCARD_ALL;
    }
    return reader;
}

TapeAudioReader::~TapeAudioReader()
{
    av_frame_free(&mFrame);
    av_packet_free(&mPacket);
    swr_free(&mConverter);
    avcodec_free_context(&mDecoder);
    avformat_close_input(&mFormat);
}

int TapeAudioReader::channels() const
{
    return mFormat->streams[mStreamIndex]->codecpar->ch_layout.nb_channels;
}

double TapeAudioReader::durationSeconds() const
{
    const AVStream* stream = mFormat->streams[mStreamIndex];
    if (stream->duration != AV_NOPTS_VALUE)
        return double(stream->duration) * av_q2d(stream->time_base);
    return mFormat->duration != AV_NOPTS_VALUE ? double(mFormat->duration) / AV_TIME_BASE : 0.0;
}

void TapeAudioReader::fail(int averror, const QString& what)
{
    mError = FFmpegError::fromCode(averror, what);
    mStatus = Status::Failed;
}

bool TapeAudioReader::startReading()
{
    if (mStatus != Status::Unknown)
        return mStatus == Status::Reading;
    const AVCodecParameters* parameters = mFormat->streams[mStreamIndex]->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec) {
        fail(AVERROR_DECODER_NOT_FOUND, QStringLiteral("audio decoder"));
        return false;
    }
    mDecoder = avcodec_alloc_context3(codec);
    int result = mDecoder ? avcodec_parameters_to_context(mDecoder, parameters) : AVERROR(ENOMEM);
    if (result >= 0)
        result = avcodec_open2(mDecoder, codec, nullptr);
    if (result < 0) {
        fail(result, QStringLiteral("audio decoder"));
        return false;
    }
    AVChannelLayout layout{};
    if (mDecoder->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&layout, mDecoder->ch_layout.nb_channels);
    else
        av_channel_layout_copy(&layout, &mDecoder->ch_layout);
    result = swr_alloc_set_opts2(&mConverter, &layout, AV_SAMPLE_FMT_S16, sampleRate, &layout,
                                 mDecoder->sample_fmt, mDecoder->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&layout);
    if (result >= 0)
        result = swr_init(mConverter);
    mPacket = av_packet_alloc();
    mFrame = av_frame_alloc();
    if (result >= 0 && (!mPacket || !mFrame))
        result = AVERROR(ENOMEM);
    if (result < 0) {
        fail(result, QStringLiteral("audio converter"));
        return false;
    }
    const double seconds = durationSeconds();
    if (seconds > 0.0)
        mEndFrame = std::llround(seconds * sampleRate);
    mStatus = Status::Reading;
    return true;
}

bool TapeAudioReader::decodeFrame()
{
    while (true) {
        int result = avcodec_receive_frame(mDecoder, mFrame);
        if (result >= 0)
            return true;
        if (result == AVERROR_EOF) {
            mDecoderDrained = true;
            return false;
        }
        if (result != AVERROR(EAGAIN)) {
            fail(result, QStringLiteral("audio decoding"));
            return false;
        }
        if (mInputEnded) {
            // Sent the end already and still asked for more: the decoder is done.
            mDecoderDrained = true;
            return false;
        }
        result = av_read_frame(mFormat, mPacket);
        if (result == AVERROR_EOF) {
            mInputEnded = true;
            avcodec_send_packet(mDecoder, nullptr);
            continue;
        }
        if (result < 0) {
            fail(result, QStringLiteral("audio reading"));
            return false;
        }
        if (mPacket->stream_index == mStreamIndex) {
            result = avcodec_send_packet(mDecoder, mPacket);
            // A damaged packet is skipped, as players do; the rest of the tape still counts.
            if (result < 0 && result != AVERROR(EAGAIN) && result != AVERROR_INVALIDDATA) {
                av_packet_unref(mPacket);
                fail(result, QStringLiteral("audio decoding"));
                return false;
            }
        }
        av_packet_unref(mPacket);
    }
}

std::optional<SampleBuffer> TapeAudioReader::convert(const AVFrame* frame)
{
    const int channelCount = channels() > 0 ? channels() : 1;
    const int inputFrames = frame ? frame->nb_samples : 0;
    const int capacity = swr_get_out_samples(mConverter, inputFrames);
    if (capacity <= 0)
        return std::nullopt;
    SampleBuffer buffer;
    buffer.channels = channelCount;
    buffer.samples.resize(size_t(capacity) * size_t(channelCount));
    uint8_t* out[] = {reinterpret_cast<uint8_t*>(buffer.samples.data())};
    const int made =
        swr_convert(mConverter, out, capacity,
                    frame ? const_cast<const uint8_t**>(frame->extended_data) : nullptr, inputFrames);
    if (made < 0) {
        fail(made, QStringLiteral("audio conversion"));
        return std::nullopt;
    }
    const int64_t kept = mEndFrame < 0 ? made : std::clamp<int64_t>(mEndFrame - mNextFrame, 0, made);
    buffer.samples.resize(size_t(kept) * size_t(channelCount));
    buffer.presentationFrame = mNextFrame;
    mNextFrame += kept;
    return buffer;
}

std::optional<SampleBuffer> TapeAudioReader::copyNextSampleBuffer()
{
    while (mStatus == Status::Reading) {
        if (!mDecoderDrained && decodeFrame()) {
            std::optional<SampleBuffer> buffer = convert(mFrame);
            av_frame_unref(mFrame);
            if (buffer && buffer->frameCount() > 0)
                return buffer;
            continue;
        }
        if (mStatus != Status::Reading)
            break;
        // The decoder is empty: what the resampler still holds ends the audio.
        if (!mConverterDrained) {
            mConverterDrained = true;
            std::optional<SampleBuffer> tail = convert(nullptr);
            if (tail && tail->frameCount() > 0)
                return tail;
        }
        if (mStatus == Status::Reading)
            mStatus = Status::Completed;
    }
    return std::nullopt;
}

void TapeAudioReader::cancelReading()
{
    if (mStatus == Status::Reading || mStatus == Status::Unknown)
        mStatus = Status::Cancelled;
}

} // namespace spindrel
