#include "sharing/H264Encoder.h"

#include <cstdlib>
#include <cstring>

extern "C" {
#include <x264.h>
}

namespace spindrel {

namespace {
constexpr int blockSize = 16;
}

H264Encoder::~H264Encoder()
{
    if (mEncoder)
        x264_encoder_close(mEncoder);
}

bool H264Encoder::open(const Settings& settings)
{
    mSettings = settings;
    x264_param_t param;
    const QByteArray preset = settings.preset.toUtf8();
    const QByteArray tune = settings.tune.toUtf8();
    if (x264_param_default_preset(&param, preset.isEmpty() ? nullptr : preset.constData(),
                                  tune.isEmpty() ? nullptr : tune.constData()) < 0)
        return false;
    param.i_log_level = X264_LOG_ERROR;
    param.i_width = settings.width;
    param.i_height = settings.height;
    param.i_csp = X264_CSP_I420;
    param.i_fps_num = uint32_t(settings.framesPerSecond);
    param.i_fps_den = 1;
    param.i_timebase_num = 1;
    param.i_timebase_den = uint32_t(settings.framesPerSecond);
    param.b_vfr_input = 0;
    param.i_keyint_max = settings.maxKeyFrameInterval;
    param.b_repeat_headers = 0; // the headers go into the sample description instead
    param.b_annexb = 1;
    param.analyse.b_mb_info = 1;
    // The picture holds still but for the reels, so looking ahead, B-frames and weighing frames
    // against each other gain nothing; rate control would analyse every whole frame at half size
    // to learn that. A constant quantiser instead, much finer on the key frames, which every
    // later frame copies: as sharp as before and about as small.
    param.i_bframe = 0;
    param.i_bframe_adaptive = X264_B_ADAPT_NONE;
    param.rc.i_lookahead = 0;
    param.i_sync_lookahead = 0;
    param.rc.b_mb_tree = 0;
    param.i_scenecut_threshold = 0;
    param.analyse.i_weighted_pred = X264_WEIGHTP_NONE;
    param.rc.i_rc_method = X264_RC_CQP;
    param.rc.i_qp_constant = settings.quantiser;
    param.rc.f_ip_factor = settings.keyFrameQuantiserFactor;
    // Turning hubs move by fractions of a pixel: without the half-pixel search (x264 then
    // interpolates no frames) the export is a sixth faster but the movie a fifth bigger. What
    // noise reduction drops of their residual is detail nobody sees on a turning hub.
    param.analyse.i_subpel_refine = 2;
    param.analyse.i_noise_reduction = 200;
    param.vui.i_colorprim = 1; // BT.709, as the pictures are converted
    param.vui.i_transfer = 1;
    param.vui.i_colmatrix = 1;
    param.vui.b_fullrange = 0;
    if (x264_param_apply_profile(&param, "high") < 0)
        return false;
    mEncoder = x264_encoder_open(&param);
    if (!mEncoder)
        return false;
    x264_nal_t* nals = nullptr;
    int count = 0;
    const int size = x264_encoder_headers(mEncoder, &nals, &count);
    if (size <= 0)
        return false;
    mHeaders = QByteArray(reinterpret_cast<const char*>(nals[0].p_payload), size);
    mBlocksWide = (settings.width + blockSize - 1) / blockSize;
    mBlocksHigh = (settings.height + blockSize - 1) / blockSize;
    return true;
}

uint8_t* H264Encoder::unchangedBlocks(const std::vector<QRect>& changed) const
{
    const size_t count = size_t(mBlocksWide) * size_t(mBlocksHigh);
    auto* info = static_cast<uint8_t*>(std::malloc(count));
    if (!info)
        return nullptr;
    std::memset(info, X264_MBINFO_CONSTANT, count);
    for (const QRect& rect : changed) {
        const int left = std::max(0, rect.left() / blockSize);
        const int right = std::min(mBlocksWide - 1, rect.right() / blockSize);
        const int top = std::max(0, rect.top() / blockSize);
        const int bottom = std::min(mBlocksHigh - 1, rect.bottom() / blockSize);
        for (int y = top; y <= bottom; ++y)
            for (int x = left; x <= right; ++x)
                info[size_t(y) * size_t(mBlocksWide) + size_t(x)] = 0;
    }
    return info;
}

bool H264Encoder::deliver(int size, void* nals, int count, const void* pictureOut,
                          const PacketHandler& handler)
{
    if (size < 0)
        return false;
    if (size == 0 || count == 0)
        return true;
    const auto* out = static_cast<const x264_picture_t*>(pictureOut);
    Packet packet;
    // x264 lays the units of one call out back to back.
    packet.data =
        QByteArray(reinterpret_cast<const char*>(static_cast<x264_nal_t*>(nals)[0].p_payload), size);
    packet.pts = out->i_pts;
    packet.dts = out->i_dts;
    packet.keyFrame = out->b_keyframe != 0;
    return handler(packet);
}

bool H264Encoder::encode(const Picture& picture, int64_t pts, const std::vector<QRect>& changed,
                         const PacketHandler& handler)
{
    if (!mEncoder)
        return false;
    x264_picture_t in;
    x264_picture_init(&in);
    in.img.i_csp = X264_CSP_I420;
    in.img.i_plane = 3;
    for (int i = 0; i < 3; ++i) {
        in.img.plane[i] = picture.planes[i];
        in.img.i_stride[i] = picture.strides[i];
    }
    in.i_pts = pts;
    if (!mFirst && !changed.empty()) {
        in.prop.mb_info = unchangedBlocks(changed);
        in.prop.mb_info_free = std::free;
    }
    mFirst = false;
    x264_picture_t out;
    x264_nal_t* nals = nullptr;
    int count = 0;
    const int size = x264_encoder_encode(mEncoder, &nals, &count, &in, &out);
    return deliver(size, nals, count, &out, handler);
}

bool H264Encoder::flush(const PacketHandler& handler)
{
    while (mEncoder && x264_encoder_delayed_frames(mEncoder) > 0) {
        x264_picture_t out;
        x264_nal_t* nals = nullptr;
        int count = 0;
        const int size = x264_encoder_encode(mEncoder, &nals, &count, nullptr, &out);
        if (!deliver(size, nals, count, &out, handler))
            return false;
    }
    return true;
}

} // namespace spindrel
