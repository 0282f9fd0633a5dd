#include "DecodeCheck.h"

#include <QFile>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace spindrel::test {

DecodeCheck decodeAllPackets(const QString& path)
{
    DecodeCheck check;
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return check;
    AVCodecContext* codec = nullptr;
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    const AVCodec* decoder = nullptr;
    const int index = avformat_find_stream_info(format, nullptr) >= 0
                          ? av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0)
                          : -1;
    if (index >= 0 && decoder && (codec = avcodec_alloc_context3(decoder)) &&
        avcodec_parameters_to_context(codec, format->streams[index]->codecpar) >= 0 &&
        avcodec_open2(codec, decoder, nullptr) >= 0) {
        check.opened = true;
        check.sampleRate = codec->sample_rate;
        auto drain = [&] {
            int result;
            while ((result = avcodec_receive_frame(codec, frame)) >= 0) {
                check.frames += frame->nb_samples;
                av_frame_unref(frame);
            }
            if (result != AVERROR(EAGAIN) && result != AVERROR_EOF)
                ++check.errors;
        };
        for (;;) {
            const int read = av_read_frame(format, packet);
            if (read < 0) {
                if (read != AVERROR_EOF)
                    ++check.errors;
                break;
            }
            if (packet->stream_index == index) {
                ++check.packets;
                if (avcodec_send_packet(codec, packet) < 0)
                    ++check.errors;
                drain();
            }
            av_packet_unref(packet);
        }
        avcodec_send_packet(codec, nullptr);
        drain();
    }
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&codec);
    avformat_close_input(&format);
    return check;
}

} // namespace spindrel::test
