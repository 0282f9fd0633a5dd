#include "audio/VORLExtendedAudioFile.h"

#include "audio/AudioException.h"
#include "audio/DurableFileOutput.h"
#include "audio/FFmpegSupport.h"
#include "audio/MP4InPlaceFinisher.h"
#include "audio/RecordingRecovery.h"
#include "audio/VORLAudioDevice.h"
#include "foundation/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <mutex>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace spindrel {

struct VORLExtendedAudioFile::Impl
{
    mutable std::mutex mutex;
    QString filename;
    VORLAudioStreamBasicDescription description;
    int bitrate = 0;
    double inputRate = 0.0;
    int fileRate = 0;
    int channels = 0;
    int64_t inputFrames = 0;
    int64_t packets = 0; // written to the muxer
    QString error;
    int writeFailure = 0; // the system's error number of the first failed write
    bool open = false;

    std::unique_ptr<DurableFileOutput> output; // the in-progress file, locked while it lives
    AVFormatContext* format = nullptr;
    AVCodecContext* codec = nullptr;
    AVStream* stream = nullptr;
    SwrContext* resampler = nullptr;
    AVAudioFifo* fifo = nullptr;
    AVFrame* frame = nullptr;
    AVPacket* packet = nullptr;
    int64_t nextPts = 0;
    std::vector<uint8_t*> planes;    // resampler output, one pointer per plane
    std::vector<uint8_t> planeStore; // backing store of the planes
    int planeCapacity = 0;

    void open_(const VORLAudioStreamBasicDescription& streamDescription);
    void release();
    bool convertAndEncode(const float* interleaved, int frames);
    bool ensurePlaneCapacity(int frames);
    bool encodeFromFifo(bool flush);
    bool sendFrame(AVFrame* input);
    bool padToOneMillisecond();
    void finish();
    bool finishWhereItLies(QString& problem);
    void fail(const QString& message) { error = message; }
    bool noteWriteFailure();
    int64_t reserve() const;
};

namespace {

// Fragments this long at most are lost when the process or the machine dies mid-recording.
constexpr int64_t kFragmentMicroseconds = 500000;
// Room kept for the tags and cover art that a new tape gets, beside its 'moov'.
constexpr int64_t kTagRoom = 192 * 1024;

int checked(int result, const char* what)
{
    if (result < 0)
        throw AudioException(QStringLiteral("%1: %2").arg(QLatin1String(what), ffmpegErrorString(result)));
    return result;
}

// The folder as the user knows it: its name, or its path when it has none (the root).
QString folderName(const QString& filename)
{
    const QString folder = QFileInfo(filename).absolutePath();
    const QString name = QFileInfo(folder).fileName();
    return name.isEmpty() ? QDir::toNativeSeparators(folder) : name;
}

double inputRateOf(const VORLAudioDevice& device)
{
    const QString problem = device.inputProblem();
    if (!problem.isEmpty())
        throw AudioException(problem);
    return device.nominalSampleRate(VORLAudioDevice::Input);
}

// The details, which name files, go to the log; the user reads which folder and what happened.
QString failureMessageFor(const QString& filename, int writeFailure)
{
    const QString folder = folderName(filename);
    switch (writeFailure) {
    case 0:
        return VORLExtendedAudioFile::tr("The recording into “%1” failed.").arg(folder);
    case ENOSPC:
        return VORLExtendedAudioFile::tr("The disk holding “%1” is full.").arg(folder);
    case EDQUOT:
        return VORLExtendedAudioFile::tr("Your disk quota on the disk holding “%1” is used up.").arg(folder);
    default:
        return VORLExtendedAudioFile::tr("The recording could not be written to “%1”: %2.")
            .arg(folder, QString::fromLocal8Bit(std::strerror(writeFailure)));
    }
}

} // namespace

VORLExtendedAudioFile::VORLExtendedAudioFile(const QString& filename,
                                             const VORLAudioStreamBasicDescription& streamDescription,
                                             int bitrate, const VORLAudioDevice& audioDevice)
    : VORLExtendedAudioFile(filename, streamDescription, bitrate, inputRateOf(audioDevice))
{
}

VORLExtendedAudioFile::VORLExtendedAudioFile(const QString& filename,
                                             const VORLAudioStreamBasicDescription& streamDescription,
                                             int bitrate, double inputSampleRate)
    : d(std::make_unique<Impl>())
{
    if (!(inputSampleRate > 0.0))
        throw AudioException(QStringLiteral("The input sample rate is unknown"));
    quietenFFmpeg();
    d->filename = filename;
    d->bitrate = bitrate;
    d->inputRate = inputSampleRate;
    try {
        d->open_(streamDescription);
    } catch (...) {
        const bool created = d->output != nullptr;
        d->release();
        if (created)
            QFile::remove(RecordingRecovery::inProgressPath(filename));
        throw;
    }
}

VORLExtendedAudioFile::~VORLExtendedAudioFile()
{
    closeFile();
}

void VORLExtendedAudioFile::Impl::open_(const VORLAudioStreamBasicDescription& streamDescription)
{
    AudioStreamBasicDescription record = streamDescription.audioStreamBasicDescription();
    const bool lossless = record.mFormatID == kAudioFormatAppleLossless;
    if (!lossless && record.mFormatID != kAudioFormatMPEG4AAC)
        throw AudioException(QStringLiteral("Only AAC and Apple Lossless files can be recorded"));
    if (record.mSampleRate <= 0.0)
        record.mSampleRate = std::round(inputRate);
    VORLAudioStreamBasicDescription::completeStreamDescription(record);
    description = VORLAudioStreamBasicDescription::streamDescriptionWithAudioStreamBasicDescription(record);
    fileRate = int(std::lround(record.mSampleRate));
    channels = int(record.mChannelsPerFrame);
    if (channels < 1 || channels > 8)
        throw AudioException(QStringLiteral("Cannot record %1 channels").arg(channels));

    const QByteArray path = QFile::encodeName(filename);
    checked(avformat_alloc_output_context2(&format, nullptr, "ipod", path.constData()),
            "No MPEG-4 audio muxer");

    const AVCodec* encoder = avcodec_find_encoder(lossless ? AV_CODEC_ID_ALAC : AV_CODEC_ID_AAC);
    if (!encoder)
        throw AudioException(QStringLiteral("No %1 encoder")
                                 .arg(lossless ? QStringLiteral("Apple Lossless") : QStringLiteral("AAC")));
    codec = avcodec_alloc_context3(encoder);
    if (!codec)
        throw AudioException(QStringLiteral("Out of memory"));
    codec->sample_rate = fileRate;
    av_channel_layout_default(&codec->ch_layout, channels);
    codec->time_base = AVRational{1, fileRate};
    if (lossless) {
        const int bits = description.losslessSourceBits();
        codec->sample_fmt = bits == 16 ? AV_SAMPLE_FMT_S16P : AV_SAMPLE_FMT_S32P;
        codec->bits_per_raw_sample = bits == 16 ? 16 : 24;
    } else {
        codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
        codec->bit_rate = bitrate > 0 ? bitrate : 128000;
    }
    if (format->oformat->flags & AVFMT_GLOBALHEADER)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    checked(avcodec_open2(codec, encoder, nullptr), "Could not open the encoder");

    stream = avformat_new_stream(format, nullptr);
    if (!stream)
        throw AudioException(QStringLiteral("Out of memory"));
    stream->time_base = codec->time_base;
    checked(avcodec_parameters_from_context(stream->codecpar, codec), "Encoder parameters");

    AVChannelLayout inputLayout;
    av_channel_layout_default(&inputLayout, channels);
    checked(swr_alloc_set_opts2(&resampler, &codec->ch_layout, codec->sample_fmt, fileRate, &inputLayout,
                                AV_SAMPLE_FMT_FLT, int(std::lround(inputRate)), 0, nullptr),
            "Resampler");
    av_channel_layout_uninit(&inputLayout);
    checked(swr_init(resampler), "Resampler");

    fifo = av_audio_fifo_alloc(codec->sample_fmt, channels,
                               codec->frame_size > 0 ? codec->frame_size * 4 : 16384);
    frame = av_frame_alloc();
    packet = av_packet_alloc();
    if (!fifo || !frame || !packet)
        throw AudioException(QStringLiteral("Out of memory"));

    // Written as fragments under an in-progress name until the recording is finished; each
    // fragment is on the disk soon after it is complete, so a crash costs only the last one.
    output = std::make_unique<DurableFileOutput>(RecordingRecovery::inProgressPath(filename));
    output->setReserve(reserve());
    format->pb = output->ioContext();
    AVDictionary* options = nullptr;
    // Time in the movie header counts samples, so durations are exact.
    av_dict_set_int(&options, "movie_timescale", fileRate, 0);
    av_dict_set(&options, "movflags", "empty_moov+default_base_moof", 0);
    av_dict_set_int(&options, "frag_duration", kFragmentMicroseconds, 0);
    int written = avformat_write_header(format, &options);
    av_dict_free(&options);
    // The header goes to the disk at once, so that a disk too full to begin on says so here.
    if (written >= 0) {
        avio_flush(format->pb);
        written = format->pb->error;
    }
    if (written < 0 && noteWriteFailure())
        throw AudioException(failureMessageFor(filename, writeFailure));
    checked(written, "Could not write the file header");
    open = true;
}

int64_t VORLExtendedAudioFile::Impl::reserve() const
{
    // Room for the 'moov' that finishing in place writes, and as much again plus the tags for
    // the first tag edit, which writes the grown 'moov' beside the old one.
    const int64_t fragments = nextPts * 1000000 / (int64_t(fileRate) * kFragmentMicroseconds) + 2;
    return 2 * MP4InPlaceFinisher::moovSizeBound(packets, fragments) + kTagRoom;
}

bool VORLExtendedAudioFile::Impl::noteWriteFailure()
{
    if (writeFailure == 0 && output && output->hasFailed())
        writeFailure = output->failureCode();
    return writeFailure != 0;
}

void VORLExtendedAudioFile::Impl::release()
{
    if (format)
        format->pb = nullptr; // the output's own
    output.reset();
    avformat_free_context(format);
    format = nullptr;
    stream = nullptr;
    avcodec_free_context(&codec);
    swr_free(&resampler);
    if (fifo)
        av_audio_fifo_free(fifo);
    fifo = nullptr;
    av_frame_free(&frame);
    av_packet_free(&packet);
    open = false;
}

bool VORLExtendedAudioFile::Impl::ensurePlaneCapacity(int frames)
{
    if (frames <= planeCapacity)
        return true;
    const int planeCount = av_sample_fmt_is_planar(codec->sample_fmt) ? channels : 1;
    const int bytesPerPlane =
        av_samples_get_buffer_size(nullptr, planeCount == 1 ? channels : 1, frames, codec->sample_fmt, 1);
    if (bytesPerPlane < 0)
        return false;
    planeStore.assign(size_t(bytesPerPlane) * planeCount, 0);
    planes.resize(planeCount);
    for (int i = 0; i < planeCount; ++i)
        planes[i] = planeStore.data() + size_t(i) * bytesPerPlane;
    planeCapacity = frames;
    return true;
}

bool VORLExtendedAudioFile::Impl::convertAndEncode(const float* interleaved, int frames)
{
    const int outputFrames = swr_get_out_samples(resampler, frames);
    if (outputFrames < 0 || !ensurePlaneCapacity(outputFrames + 16)) {
        fail(QStringLiteral("Resampler failure"));
        return false;
    }
    const uint8_t* input = reinterpret_cast<const uint8_t*>(interleaved);
    const int converted =
        swr_convert(resampler, planes.data(), planeCapacity, interleaved ? &input : nullptr, frames);
    if (converted < 0) {
        fail(QStringLiteral("Resampler failure: ") + ffmpegErrorString(converted));
        return false;
    }
    if (converted > 0 &&
        av_audio_fifo_write(fifo, reinterpret_cast<void**>(planes.data()), converted) < converted) {
        fail(QStringLiteral("Out of memory"));
        return false;
    }
    return encodeFromFifo(false);
}

bool VORLExtendedAudioFile::Impl::encodeFromFifo(bool flush)
{
    const int frameSize = codec->frame_size > 0 ? codec->frame_size : 4096;
    while (av_audio_fifo_size(fifo) >= frameSize || (flush && av_audio_fifo_size(fifo) > 0)) {
        const int count = std::min(frameSize, av_audio_fifo_size(fifo));
        av_frame_unref(frame);
        frame->nb_samples = count;
        frame->format = codec->sample_fmt;
        frame->sample_rate = fileRate;
        av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
        int result = av_frame_get_buffer(frame, 0);
        if (result >= 0 && av_audio_fifo_read(fifo, reinterpret_cast<void**>(frame->data), count) < count)
            result = AVERROR(ENOMEM);
        if (result < 0) {
            fail(QStringLiteral("Encoder buffer: ") + ffmpegErrorString(result));
            return false;
        }
        frame->pts = nextPts;
        nextPts += count;
        if (!sendFrame(frame))
            return false;
    }
    return true;
}

bool VORLExtendedAudioFile::Impl::padToOneMillisecond()
{
    // A track without samples is left out of the file altogether: a recording too short to
    // give a sample gets a millisecond of silence, so that even it is a playable file.
    const int minimum = (fileRate + 999) / 1000;
    const int missing = minimum - int(nextPts) - av_audio_fifo_size(fifo);
    if (missing <= 0)
        return true;
    if (!ensurePlaneCapacity(missing))
        return false;
    av_samples_set_silence(planes.data(), 0, missing, channels, codec->sample_fmt);
    return av_audio_fifo_write(fifo, reinterpret_cast<void**>(planes.data()), missing) == missing;
}

bool VORLExtendedAudioFile::Impl::sendFrame(AVFrame* input)
{
    int result = avcodec_send_frame(codec, input);
    if (result < 0) {
        fail(QStringLiteral("Encoder failure: ") + ffmpegErrorString(result));
        return false;
    }
    while ((result = avcodec_receive_packet(codec, packet)) >= 0) {
        av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
        packet->stream_index = stream->index;
        result = av_write_frame(format, packet);
        av_packet_unref(packet);
        if (result < 0) {
            noteWriteFailure();
            fail(QStringLiteral("Could not write %1: %2").arg(filename, ffmpegErrorString(result)));
            return false;
        }
        ++packets;
        output->setReserve(reserve());
    }
    if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) {
        fail(QStringLiteral("Encoder failure: ") + ffmpegErrorString(result));
        return false;
    }
    return true;
}

bool VORLExtendedAudioFile::writeFrames(const float* interleaved, size_t frames)
{
    std::lock_guard lock(d->mutex);
    if (!d->open) {
        if (d->error.isEmpty())
            d->fail(QStringLiteral("The file is closed"));
        return false;
    }
    if (!d->error.isEmpty())
        return false;
    // A sync that failed on the output's own thread ends the writing as a failed write does.
    if (d->noteWriteFailure()) {
        d->fail(d->output->errorString());
        return false;
    }
    constexpr size_t slice = 65536; // keeps the resampler's buffer bounded
    for (size_t done = 0; done < frames;) {
        const size_t count = std::min(slice, frames - done);
        if (!d->convertAndEncode(interleaved + done * d->channels, int(count)))
            return false;
        done += count;
        d->inputFrames += int64_t(count);
    }
    return true;
}

void VORLExtendedAudioFile::closeFile()
{
    std::lock_guard lock(d->mutex);
    if (!d->open)
        return;
    // Drain the resampler, encode the short last frame, then the encoder's delayed packets.
    if (d->error.isEmpty() && d->convertAndEncode(nullptr, 0) && d->padToOneMillisecond() &&
        d->encodeFromFifo(true))
        d->sendFrame(nullptr);
    d->finish();
    d->release();
}

void VORLExtendedAudioFile::Impl::finish()
{
    const QString inProgress = output->path();
    QString problem;
    if (!noteWriteFailure()) {
        const int trailer = av_write_trailer(format);
        if (trailer < 0)
            problem = ffmpegErrorString(trailer);
        else if (!output->flushAndSync())
            problem = output->errorString();
        if (!problem.isEmpty())
            noteWriteFailure();
    } else {
        output->flushAndSync();
        problem = output->errorString();
    }
    // Tags are only ever written into an ordinary file; it is made where the recording lies, so
    // finishing costs neither a second copy's room nor its time.
    if (finishWhereItLies(problem))
        return;
    // Not a single fragment reached the disk: there is nothing to keep.
    if (writeFailure != 0 && RecordingRecovery::recoverableLength(inProgress) == 0 &&
        QFile::remove(inProgress)) {
        DurableFileOutput::syncFolderOf(inProgress);
        return;
    }
    if (error.isEmpty())
        fail(QStringLiteral("Could not finish %1: %2").arg(filename, problem));
    logError(logSourceName(__FILE__),
             QStringLiteral("Could not finish %1: %2; the recording is kept in %3 and will be recovered the "
                            "next time the library is loaded")
                 .arg(filename, problem, inProgress));
}

bool VORLExtendedAudioFile::Impl::finishWhereItLies(QString& problem)
{
    const auto result = MP4InPlaceFinisher::finish(output->fileHandle(), output->path(), filename,
                                                   codec->initial_padding, output->allocatedEnd());
    const QString source = logSourceName(__FILE__);
    const QString after = problem.isEmpty() ? QString() : QStringLiteral(" after: %1").arg(problem);
    switch (result.outcome) {
    case MP4InPlaceFinisher::Outcome::Ordinary:
        if (!problem.isEmpty())
            logLine(QStringLiteral("%1 : Finished %2 (%3 s)%4")
                        .arg(source, filename)
                        .arg(result.seconds, 0, 'f', 1)
                        .arg(after));
        return true;
    case MP4InPlaceFinisher::Outcome::Fragmented:
        logError(source, QStringLiteral("Kept %1 (%2 s) as fragments%3; no room to finish it: %4")
                             .arg(filename)
                             .arg(result.seconds, 0, 'f', 1)
                             .arg(after, result.message));
        return true;
    case MP4InPlaceFinisher::Outcome::Failed:
        break;
    }
    if (problem.isEmpty())
        problem = result.message;
    logError(source, QStringLiteral("Could not finish %1 where it lies: %2").arg(filename, result.message));
    return false;
}

bool VORLExtendedAudioFile::isOpen() const
{
    std::lock_guard lock(d->mutex);
    return d->open;
}

QString VORLExtendedAudioFile::filename() const
{
    return d->filename;
}

VORLAudioStreamBasicDescription VORLExtendedAudioFile::streamDescription() const
{
    return d->description;
}

int VORLExtendedAudioFile::bitrate() const
{
    return d->bitrate;
}

unsigned VORLExtendedAudioFile::channelsPerFrame() const
{
    return unsigned(d->channels);
}

double VORLExtendedAudioFile::inputSampleRate() const
{
    return d->inputRate;
}

double VORLExtendedAudioFile::sampleRate() const
{
    return d->fileRate;
}

int64_t VORLExtendedAudioFile::inputFramesWritten() const
{
    std::lock_guard lock(d->mutex);
    return d->inputFrames;
}

QString VORLExtendedAudioFile::errorString() const
{
    std::lock_guard lock(d->mutex);
    return d->error;
}

QString VORLExtendedAudioFile::failureMessage() const
{
    std::lock_guard lock(d->mutex);
    d->noteWriteFailure();
    if (d->writeFailure == 0 && d->error.isEmpty())
        return QString();
    return failureMessageFor(d->filename, d->writeFailure);
}

} // namespace spindrel
