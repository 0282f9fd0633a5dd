#include "sharing/MovieWriter.h"

#include "sharing/FFmpegError.h"
#include "sharing/TapeAudioReader.h"
#include "sharing/YUVPictureConverter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <QFile>
#include <algorithm>
#include <cstring>
#include <mutex>
#include <thread>

namespace spindrel {

namespace {

// How far one input may run ahead of the other before it waits.
constexpr double interleaveSeconds = 0.5;

} // namespace

std::unique_ptr<MovieWriter> MovieWriter::create(const QString& path, std::optional<Error>& error)
{
    // The libraries' progress chatter has no reader here; their errors still go to stderr.
    static std::once_flag quiet;
    std::call_once(quiet, [] {
        if (av_log_get_level() == AV_LOG_INFO)
            av_log_set_level(AV_LOG_ERROR);
    });
    std::unique_ptr<MovieWriter> writer(new MovieWriter(path));
    const QByteArray name = QFile::encodeName(path);
    int result = avformat_alloc_output_context2(&writer->mFormat, nullptr, "mov", name.constData());
    if (result >= 0)
        result = avio_open(&writer->mFormat->pb, name.constData(), AVIO_FLAG_WRITE);
    writer->mPacket = av_packet_alloc();
    writer->mAudioPacket = av_packet_alloc();
    if (result >= 0 && (!writer->mPacket || !writer->mAudioPacket))
        result = AVERROR(ENOMEM);
    if (result < 0) {
        error = FFmpegError::fromCode(result, path);
        return nullptr;
    }
    return writer;
}

MovieWriter::~MovieWriter()
{
    stopAudioEncoder();
    if (mFormat && mFormat->pb)
        avio_closep(&mFormat->pb);
    avformat_free_context(mFormat);
    avcodec_free_context(&mAudioEncoder);
    av_frame_free(&mVideoFrame);
    swr_free(&mResampler);
    if (mFifo)
        av_audio_fifo_free(mFifo);
    av_packet_free(&mPacket);
    av_packet_free(&mAudioPacket);
}

void MovieWriter::setStatus(Status status)
{
    if (mStatus == status)
        return;
    mStatus = status;
    if (mObserver)
        mObserver(status);
}

void MovieWriter::fail(int averror, const QString& what)
{
    if (mStatus == Status::Failed || mStatus == Status::Cancelled)
        return;
    mError = FFmpegError::fromCode(averror, what);
    setStatus(Status::Failed);
}

bool MovieWriter::canAddVideoInput(const VideoSettings& settings) const
{
    return mStatus == Status::Unknown && !mVideoStream && settings.width > 0 && settings.height > 0 &&
           settings.width % 2 == 0 && settings.height % 2 == 0 && settings.framesPerSecond > 0;
}

bool MovieWriter::canAddAudioInput(const AudioSettings& settings) const
{
    return mStatus == Status::Unknown && !mAudioStream && settings.sampleRate > 0 && settings.channels > 0 &&
           avcodec_find_encoder(AV_CODEC_ID_AAC) != nullptr;
}

bool MovieWriter::addVideoInput(const VideoSettings& settings)
{
    mVideoStream = avformat_new_stream(mFormat, nullptr);
    mVideoFrame = av_frame_alloc();
    if (!mVideoStream || !mVideoFrame)
        return false;
    H264Encoder::Settings encoderSettings;
    encoderSettings.width = settings.width;
    encoderSettings.height = settings.height;
    encoderSettings.framesPerSecond = settings.framesPerSecond;
    encoderSettings.maxKeyFrameInterval = settings.maxKeyFrameInterval;
    encoderSettings.preset = settings.preset;
    encoderSettings.tune = settings.tune;
    if (!mVideoEncoder.open(encoderSettings)) {
        fail(AVERROR_EXTERNAL, QStringLiteral("video encoder"));
        return false;
    }
    mFramesPerSecond = settings.framesPerSecond;
    AVCodecParameters* parameters = mVideoStream->codecpar;
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = AV_CODEC_ID_H264;
    parameters->width = settings.width;
    parameters->height = settings.height;
    parameters->format = AV_PIX_FMT_YUV420P;
    parameters->color_range = AVCOL_RANGE_MPEG;
    parameters->color_space = AVCOL_SPC_BT709;
    parameters->color_primaries = AVCOL_PRI_BT709;
    parameters->color_trc = AVCOL_TRC_BT709;
    const QByteArray& headers = mVideoEncoder.headers();
    parameters->extradata =
        static_cast<uint8_t*>(av_mallocz(size_t(headers.size()) + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!parameters->extradata)
        return false;
    std::memcpy(parameters->extradata, headers.constData(), size_t(headers.size()));
    parameters->extradata_size = int(headers.size());
    mVideoStream->time_base = AVRational{1, settings.framesPerSecond};
    mVideoStream->avg_frame_rate = AVRational{settings.framesPerSecond, 1};

    mVideoFrame->format = AV_PIX_FMT_YUV420P;
    mVideoFrame->width = settings.width;
    mVideoFrame->height = settings.height;
    const int result = av_frame_get_buffer(mVideoFrame, 0);
    if (result < 0) {
        fail(result, QStringLiteral("video frame"));
        return false;
    }
    return true;
}

bool MovieWriter::writeVideoPacket(const H264Encoder::Packet& packet)
{
    AVPacket* out = mPacket;
    const int result = av_new_packet(out, int(packet.data.size()));
    if (result < 0) {
        fail(result, QStringLiteral("video packet"));
        return false;
    }
    std::memcpy(out->data, packet.data.constData(), size_t(packet.data.size()));
    out->pts = packet.pts;
    out->dts = packet.dts;
    out->duration = 1;
    if (packet.keyFrame)
        out->flags |= AV_PKT_FLAG_KEY;
    out->stream_index = mVideoStream->index;
    av_packet_rescale_ts(out, AVRational{1, mFramesPerSecond}, mVideoStream->time_base);
    return writePacket(out);
}

int MovieWriter::muxPacket(AVPacket* packet)
{
    const std::lock_guard lock(mMuxMutex);
    return av_interleaved_write_frame(mFormat, packet);
}

bool MovieWriter::writePacket(AVPacket* packet)
{
    const int result = muxPacket(packet);
    if (result < 0) {
        fail(result, QStringLiteral("writing"));
        return false;
    }
    return true;
}

bool MovieWriter::addAudioInput(const AudioSettings& settings, int sourceChannels)
{
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    mAudioStream = avformat_new_stream(mFormat, nullptr);
    mAudioEncoder = avcodec_alloc_context3(codec);
    if (!mAudioStream || !mAudioEncoder || sourceChannels <= 0)
        return false;
    AVCodecContext* encoder = mAudioEncoder;
    encoder->sample_rate = settings.sampleRate;
    encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&encoder->ch_layout, settings.channels);
    encoder->bit_rate = settings.bitRate;
    encoder->profile = FF_PROFILE_AAC_LOW;
    encoder->time_base = AVRational{1, settings.sampleRate};
    if (mFormat->oformat->flags & AVFMT_GLOBALHEADER)
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int result = avcodec_open2(encoder, codec, nullptr);
    if (result >= 0)
        result = avcodec_parameters_from_context(mAudioStream->codecpar, encoder);
    if (result < 0) {
        fail(result, QStringLiteral("audio encoder"));
        return false;
    }
    mAudioStream->time_base = encoder->time_base;

    mSourceChannels = sourceChannels;
    AVChannelLayout sourceLayout{};
    av_channel_layout_default(&sourceLayout, sourceChannels);
    result = swr_alloc_set_opts2(&mResampler, &encoder->ch_layout, AV_SAMPLE_FMT_FLTP, settings.sampleRate,
                                 &sourceLayout, AV_SAMPLE_FMT_S16, TapeAudioReader::sampleRate, 0, nullptr);
    av_channel_layout_uninit(&sourceLayout);
    // A mono tape plays at full level on both sides, not 3 dB down as a centre speaker would.
    if (result >= 0 && sourceChannels == 1 && settings.channels == 2) {
        const double bothSides[] = {1.0, 1.0};
        result = swr_set_matrix(mResampler, bothSides, 1);
    }
    if (result >= 0)
        result = swr_init(mResampler);
    mFifo = av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, settings.channels, encoder->frame_size * 4);
    if (result < 0 || !mFifo) {
        fail(result < 0 ? result : AVERROR(ENOMEM), QStringLiteral("audio converter"));
        return false;
    }
    return true;
}

bool MovieWriter::startWriting()
{
    if (mStatus != Status::Unknown)
        return false;
    const int result = avformat_write_header(mFormat, nullptr);
    if (result < 0) {
        fail(result, QStringLiteral("movie header"));
        return false;
    }
    mHeaderWritten = true;
    // AAC costs about a fifth of the export: it is encoded beside the pictures, on a thread of its own.
    if (mAudioEncoder)
        mAudioThread = std::thread([this] { runAudioEncoder(); });
    setStatus(Status::Writing);
    return true;
}

double MovieWriter::videoSeconds() const
{
    return mFramesPerSecond > 0 ? double(mNextVideoFrame) / mFramesPerSecond : 0.0;
}

double MovieWriter::audioSeconds() const
{
    return mAudioEncoder ? double(mAudioSamplesIn) / mAudioEncoder->sample_rate : 0.0;
}

bool MovieWriter::isReadyForMoreMediaData(Input input) const
{
    if (mStatus != Status::Writing || isFinished(input))
        return false;
    if (input == Input::Video)
        return !mAudioStream || mAudioFinished || videoSeconds() <= audioSeconds() + interleaveSeconds;
    return !mVideoStream || mVideoFinished || audioSeconds() <= videoSeconds() + interleaveSeconds;
}

int MovieWriter::encodeAudio(const AVFrame* frame)
{
    int result = avcodec_send_frame(mAudioEncoder, frame);
    if (result < 0 && result != AVERROR_EOF)
        return result;
    while (true) {
        result = avcodec_receive_packet(mAudioEncoder, mAudioPacket);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return 0;
        if (result < 0)
            return result;
        av_packet_rescale_ts(mAudioPacket, mAudioEncoder->time_base, mAudioStream->time_base);
        mAudioPacket->stream_index = mAudioStream->index;
        result = muxPacket(mAudioPacket);
        if (result < 0)
            return result;
    }
}

void MovieWriter::runAudioEncoder()
{
    const int frameSize = mAudioEncoder->frame_size;
    int result = 0;
    while (result >= 0) {
        AVFrame* frame = av_frame_alloc();
        if (!frame) {
            result = AVERROR(ENOMEM);
            break;
        }
        frame->nb_samples = frameSize;
        frame->format = mAudioEncoder->sample_fmt;
        frame->sample_rate = mAudioEncoder->sample_rate;
        av_channel_layout_copy(&frame->ch_layout, &mAudioEncoder->ch_layout);
        result = av_frame_get_buffer(frame, 0);
        int count = 0;
        if (result >= 0) {
            std::unique_lock lock(mAudioMutex);
            mAudioWake.wait(lock, [&] {
                return mAudioStopping || mAudioInputEnded || av_audio_fifo_size(mFifo) >= frameSize;
            });
            count = mAudioStopping ? 0 : std::min(frameSize, av_audio_fifo_size(mFifo));
            if (count > 0)
                result = av_audio_fifo_read(mFifo, reinterpret_cast<void**>(frame->data), count);
        }
        if (result >= 0 && count > 0) {
            // A last short frame is as long as what is left.
            frame->nb_samples = count;
            frame->pts = mAudioSamplesEncoded;
            mAudioSamplesEncoded += count;
            result = encodeAudio(frame);
        }
        av_frame_free(&frame);
        if (count == 0)
            break;
    }
    if (result >= 0 && !mAudioStopping)
        result = encodeAudio(nullptr); // the encoder's own tail
    if (result < 0)
        mAudioError = result;
}

void MovieWriter::stopAudioEncoder()
{
    if (!mAudioThread.joinable())
        return;
    {
        const std::lock_guard lock(mAudioMutex);
        mAudioStopping = true;
    }
    mAudioWake.notify_all();
    mAudioThread.join();
}

bool MovieWriter::takeAudioError()
{
    const int error = mAudioError.exchange(0);
    if (error < 0)
        fail(error, QStringLiteral("encoding"));
    return error >= 0;
}

bool MovieWriter::appendPixelBuffer(const QImage& picture, int64_t frame, const std::vector<QRect>& changed)
{
    if (mStatus != Status::Writing || !mVideoStream || mVideoFinished)
        return false;
    if (picture.width() != mVideoFrame->width || picture.height() != mVideoFrame->height ||
        picture.format() != QImage::Format_RGB32)
        return false;
    // The encoder copies what it is given before it hands the frame back, so the frame is
    // normally ours again here; if not, it is copied rather than changed under the encoder.
    const int result = av_frame_make_writable(mVideoFrame);
    if (result < 0) {
        fail(result, QStringLiteral("video frame"));
        return false;
    }
    const YUVPictureConverter::Planes planes{
        {mVideoFrame->data[0], mVideoFrame->data[1], mVideoFrame->data[2]},
        {mVideoFrame->linesize[0], mVideoFrame->linesize[1], mVideoFrame->linesize[2]}};
    const bool whole = !mVideoFrameFilled || changed.empty();
    if (whole) {
        YUVPictureConverter::convert(picture, picture.rect(), planes);
    } else {
        for (const QRect& rect : changed)
            YUVPictureConverter::convert(picture, rect, planes);
    }
    const H264Encoder::Picture yuv{
        {mVideoFrame->data[0], mVideoFrame->data[1], mVideoFrame->data[2]},
        {mVideoFrame->linesize[0], mVideoFrame->linesize[1], mVideoFrame->linesize[2]}};
    const bool written = mVideoEncoder.encode(
        yuv, frame - mSessionStartFrame, mVideoFrameFilled ? changed : std::vector<QRect>{},
        [this](const H264Encoder::Packet& packet) { return writeVideoPacket(packet); });
    mVideoFrameFilled = true;
    mNextVideoFrame = std::max(mNextVideoFrame, frame - mSessionStartFrame + 1);
    return written;
}

bool MovieWriter::appendSampleBuffer(const SampleBuffer& buffer)
{
    if (mStatus != Status::Writing || !mAudioStream || mAudioFinished || buffer.channels != mSourceChannels)
        return false;
    const int inputFrames = buffer.frameCount();
    const int capacity = swr_get_out_samples(mResampler, inputFrames);
    if (capacity > 0) {
        uint8_t** planes = nullptr;
        int result = av_samples_alloc_array_and_samples(
            &planes, nullptr, mAudioEncoder->ch_layout.nb_channels, capacity, AV_SAMPLE_FMT_FLTP, 0);
        if (result < 0) {
            fail(result, QStringLiteral("audio conversion"));
            return false;
        }
        const uint8_t* input[] = {reinterpret_cast<const uint8_t*>(buffer.samples.data())};
        const int made = swr_convert(mResampler, planes, capacity, input, inputFrames);
        if (made > 0) {
            {
                const std::lock_guard lock(mAudioMutex);
                result = av_audio_fifo_write(mFifo, reinterpret_cast<void**>(planes), made);
            }
            mAudioWake.notify_one();
        } else {
            result = made;
        }
        av_freep(&planes[0]);
        av_freep(&planes);
        if (result < 0) {
            fail(result, QStringLiteral("audio conversion"));
            return false;
        }
    }
    mAudioSamplesIn += inputFrames;
    return takeAudioError();
}

void MovieWriter::markAsFinished(Input input)
{
    if (isFinished(input))
        return;
    if (input == Input::Video) {
        mVideoFinished = true;
        if (mStatus == Status::Writing && mVideoEncoder.isOpen() &&
            !mVideoEncoder.flush(
                [this](const H264Encoder::Packet& packet) { return writeVideoPacket(packet); }) &&
            mStatus == Status::Writing)
            fail(AVERROR_EXTERNAL, QStringLiteral("video encoder"));
        return;
    }
    mAudioFinished = true;
    if (mStatus == Status::Writing && mAudioEncoder) {
        // What the resampler still holds, then a last short frame, then the encoder's own tail.
        uint8_t** planes = nullptr;
        const int capacity = swr_get_out_samples(mResampler, 0);
        if (capacity > 0 &&
            av_samples_alloc_array_and_samples(&planes, nullptr, mAudioEncoder->ch_layout.nb_channels,
                                               capacity, AV_SAMPLE_FMT_FLTP, 0) >= 0) {
            const int made = swr_convert(mResampler, planes, capacity, nullptr, 0);
            if (made > 0) {
                const std::lock_guard lock(mAudioMutex);
                av_audio_fifo_write(mFifo, reinterpret_cast<void**>(planes), made);
            }
            av_freep(&planes[0]);
            av_freep(&planes);
        }
        {
            const std::lock_guard lock(mAudioMutex);
            mAudioInputEnded = true;
        }
        mAudioWake.notify_all();
        if (mAudioThread.joinable())
            mAudioThread.join();
        takeAudioError();
        return;
    }
    stopAudioEncoder();
}

void MovieWriter::finishWriting()
{
    if (mStatus != Status::Writing)
        return;
    markAsFinished(Input::Video);
    markAsFinished(Input::Audio);
    if (mStatus != Status::Writing)
        return;
    int result = av_write_trailer(mFormat);
    const int closed = avio_closep(&mFormat->pb);
    if (result >= 0)
        result = closed;
    if (result < 0) {
        fail(result, QStringLiteral("movie index"));
        return;
    }
    setStatus(Status::Completed);
}

void MovieWriter::cancelWriting()
{
    if (mStatus == Status::Completed || mStatus == Status::Cancelled)
        return;
    stopAudioEncoder();
    if (mFormat->pb)
        avio_closep(&mFormat->pb);
    QFile::remove(mPath);
    setStatus(Status::Cancelled);
}

} // namespace spindrel
