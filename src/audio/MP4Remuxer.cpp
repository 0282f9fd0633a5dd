#include "audio/MP4Remuxer.h"

#include "audio/AudioException.h"
#include "audio/DurableFileOutput.h"
#include "audio/FFmpegSupport.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

namespace spindrel {

namespace {

constexpr int kReadBufferSize = 64 * 1024;
constexpr int kAACPriming = 1024; // FFmpeg's AAC encoder's delay

// Reads the first `limit` bytes of a file, as if the file ended there.
struct LimitedInput
{
    int fd = -1;
    int64_t limit = 0;
    int64_t position = 0;

    static int read(void* opaque, uint8_t* buffer, int size)
    {
        auto* self = static_cast<LimitedInput*>(opaque);
        const int64_t left = self->limit - self->position;
        if (left <= 0)
            return AVERROR_EOF;
        const ssize_t got = ::pread(self->fd, buffer, size_t(std::min<int64_t>(size, left)), self->position);
        if (got < 0)
            return AVERROR(errno);
        if (got == 0)
            return AVERROR_EOF;
        self->position += got;
        return int(got);
    }

    static int64_t seek(void* opaque, int64_t offset, int whence)
    {
        auto* self = static_cast<LimitedInput*>(opaque);
        int64_t target = 0;
        switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return self->limit;
        case SEEK_SET:
            target = offset;
            break;
        case SEEK_CUR:
            target = self->position + offset;
            break;
        case SEEK_END:
            target = self->limit + offset;
            break;
        default:
            return AVERROR(EINVAL);
        }
        if (target < 0)
            return AVERROR(EINVAL);
        self->position = target;
        return target;
    }
};

// Everything one remux holds, released in the right order whatever happens.
struct Remux
{
    LimitedInput input;
    AVIOContext* inputIO = nullptr;
    AVFormatContext* demuxer = nullptr;
    AVFormatContext* muxer = nullptr;
    AVPacket* packet = nullptr;

    ~Remux()
    {
        av_packet_free(&packet);
        if (muxer)
            muxer->pb = nullptr; // owned by the file output
        avformat_free_context(muxer);
        avformat_close_input(&demuxer);
        if (inputIO) {
            av_freep(&inputIO->buffer);
            avio_context_free(&inputIO);
        }
        if (input.fd >= 0)
            ::close(input.fd);
    }
};

// True when `result` is an FFmpeg failure, which `failure` then describes.
bool failed(int result, const QString& what, QString& failure)
{
    if (result >= 0)
        return false;
    failure = QStringLiteral("%1: %2").arg(what, ffmpegErrorString(result));
    return true;
}

// The seconds of audio kept, or nothing with the reason in `failure`.
std::optional<double> remux(const QString& source, int64_t length, DurableFileOutput& output,
                            int primingFrames, QString& failure)
{
    const auto fail = [&failure](const QString& reason) -> std::optional<double> {
        failure = reason;
        return std::nullopt;
    };
    Remux r;
    r.input.fd = ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC);
    if (r.input.fd < 0)
        return fail(QStringLiteral("Could not open %1: %2")
                        .arg(source, QString::fromLocal8Bit(std::strerror(errno))));
    const int64_t size = ::lseek(r.input.fd, 0, SEEK_END);
    r.input.limit = length < 0 ? size : std::min(length, size);

    auto* buffer = static_cast<unsigned char*>(av_malloc(kReadBufferSize));
    r.inputIO = buffer ? avio_alloc_context(buffer, kReadBufferSize, 0, &r.input, &LimitedInput::read,
                                            nullptr, &LimitedInput::seek)
                       : nullptr;
    if (!r.inputIO) {
        av_free(buffer);
        return fail(QStringLiteral("Out of memory"));
    }
    r.demuxer = avformat_alloc_context();
    if (!r.demuxer)
        return fail(QStringLiteral("Out of memory"));
    r.demuxer->pb = r.inputIO;
    r.demuxer->flags |= AVFMT_FLAG_CUSTOM_IO;
    if (failed(avformat_open_input(&r.demuxer, nullptr, av_find_input_format("mp4"), nullptr),
               QStringLiteral("Could not read %1").arg(source), failure))
        return std::nullopt;
    if (failed(avformat_find_stream_info(r.demuxer, nullptr), QStringLiteral("Could not read %1").arg(source),
               failure))
        return std::nullopt;
    const int index = av_find_best_stream(r.demuxer, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (index < 0)
        return fail(QStringLiteral("%1 holds no audio").arg(source));
    const AVStream* in = r.demuxer->streams[index];
    const int rate = in->codecpar->sample_rate;
    if (rate <= 0)
        return fail(QStringLiteral("%1 has no sample rate").arg(source));

    if (failed(avformat_alloc_output_context2(&r.muxer, nullptr, "ipod", nullptr),
               QStringLiteral("No MPEG-4 audio muxer"), failure))
        return std::nullopt;
    r.muxer->pb = output.ioContext();
    AVStream* out = avformat_new_stream(r.muxer, nullptr);
    if (!out)
        return fail(QStringLiteral("Out of memory"));
    if (failed(avcodec_parameters_copy(out->codecpar, in->codecpar), QStringLiteral("Stream parameters"),
               failure))
        return std::nullopt;
    out->codecpar->codec_tag = 0;
    out->time_base = AVRational{1, rate};
    av_dict_copy(&out->metadata, in->metadata, 0);
    av_dict_copy(&r.muxer->metadata, r.demuxer->metadata, 0);
    AVDictionary* options = nullptr;
    av_dict_set_int(&options, "movie_timescale", rate, 0);
    const int header = avformat_write_header(r.muxer, &options);
    av_dict_free(&options);
    if (failed(header, QStringLiteral("Could not write the file header"), failure))
        return std::nullopt;

    if (primingFrames == MP4Remuxer::kPrimingByCodec)
        primingFrames = in->codecpar->codec_id == AV_CODEC_ID_AAC ? kAACPriming : 0;
    r.packet = av_packet_alloc();
    if (!r.packet)
        return fail(QStringLiteral("Out of memory"));
    bool first = true;
    int64_t firstDts = 0;
    int64_t shift = 0;
    int64_t end = 0;
    // Packets go out one behind, so that the last one's length can come from the track's: the
    // demuxer reports a whole frame for it, where the track ends on the encoder's last sample.
    AVPacket* pending = av_packet_alloc();
    std::unique_ptr<AVPacket, void (*)(AVPacket*)> pendingOwner(pending,
                                                                [](AVPacket* p) { av_packet_free(&p); });
    bool havePending = false;
    // False when the packet could not be written; `failure` says why.
    auto writePending = [&]() -> bool {
        if (pending->pts != AV_NOPTS_VALUE)
            end = std::max(end, pending->pts + pending->duration);
        if (failed(av_write_frame(r.muxer, pending), QStringLiteral("Could not write the recording"),
                   failure))
            return false;
        av_packet_unref(pending);
        havePending = false;
        return true;
    };
    for (;;) {
        const int read = av_read_frame(r.demuxer, r.packet);
        if (read == AVERROR_EOF)
            break;
        if (failed(read, QStringLiteral("Could not read %1").arg(source), failure))
            return std::nullopt;
        if (r.packet->stream_index != index) {
            av_packet_unref(r.packet);
            continue;
        }
        av_packet_rescale_ts(r.packet, in->time_base, out->time_base);
        if (first) {
            // A source that already starts before zero has its priming hidden by an edit list.
            firstDts = r.packet->dts != AV_NOPTS_VALUE ? r.packet->dts : r.packet->pts;
            shift = firstDts != AV_NOPTS_VALUE && firstDts >= 0 ? primingFrames : 0;
            first = false;
        }
        if (r.packet->pts != AV_NOPTS_VALUE)
            r.packet->pts -= shift;
        if (r.packet->dts != AV_NOPTS_VALUE)
            r.packet->dts -= shift;
        r.packet->stream_index = out->index;
        r.packet->pos = -1;
        if (havePending && !writePending())
            return std::nullopt;
        av_packet_move_ref(pending, r.packet);
        havePending = true;
    }
    if (havePending) {
        if (in->duration > 0 && in->duration != AV_NOPTS_VALUE && firstDts != AV_NOPTS_VALUE &&
            pending->dts != AV_NOPTS_VALUE) {
            const int64_t trackEnd =
                firstDts - shift + av_rescale_q(in->duration, in->time_base, out->time_base);
            if (trackEnd > pending->dts)
                pending->duration = trackEnd - pending->dts;
        }
        if (!writePending())
            return std::nullopt;
    }
    if (first)
        return fail(QStringLiteral("%1 holds no complete audio packet").arg(source));
    if (failed(av_write_trailer(r.muxer), QStringLiteral("Could not finish the recording"), failure))
        return std::nullopt;
    return double(end) / rate;
}

} // namespace

QString MP4Remuxer::temporaryPathFor(const QString& destination)
{
    return destination + QStringLiteral(".finishing");
}

bool MP4Remuxer::writeOrdinaryFile(const QString& source, int64_t length, const QString& destination,
                                   int primingFrames, QString* error, double* seconds)
{
    quietenFFmpeg();
    const QString temporary = temporaryPathFor(destination);
    // A copy that cannot fit is not begun: it would only fill the disk before failing.
    struct stat status;
    struct statvfs disk;
    const QByteArray sourceName = QFile::encodeName(source);
    const int64_t needed =
        length >= 0 ? length : (::stat(sourceName.constData(), &status) == 0 ? int64_t(status.st_size) : 0);
    if (::statvfs(QFile::encodeName(QFileInfo(destination).absolutePath()).constData(), &disk) == 0 &&
        int64_t(disk.f_bavail) * int64_t(disk.f_frsize) < needed) {
        if (error)
            *error = QStringLiteral("No room for the finished file beside %1: %2")
                         .arg(source, QString::fromLocal8Bit(std::strerror(ENOSPC)));
        return false;
    }
    // Only a crash leaves one behind: whoever finishes `destination` holds the source's lock.
    QFile::remove(temporary);
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    std::unique_ptr<DurableFileOutput> output;
    try {
        output = std::make_unique<DurableFileOutput>(temporary);
    } catch (const AudioException& exception) {
        // The output's constructor has no other way to say that the file cannot be made.
        return fail(exception.reason());
    }
    QString failure;
    const std::optional<double> kept = remux(source, length, *output, primingFrames, failure);
    if (!kept) {
        QFile::remove(temporary);
        return fail(failure);
    }
    if (!output->flushAndSync()) {
        const QString reason = output->errorString().isEmpty()
                                   ? QStringLiteral("Could not write %1").arg(temporary)
                                   : output->errorString();
        QFile::remove(temporary);
        return fail(reason);
    }
    if (std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(destination).constData()) <
        0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        QFile::remove(temporary);
        return fail(QStringLiteral("Could not rename %1: %2").arg(temporary, reason));
    }
    DurableFileOutput::syncFolderOf(destination);
    if (seconds)
        *seconds = *kept;
    return true;
}

} // namespace spindrel
