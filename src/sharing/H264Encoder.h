#pragma once

#include <QByteArray>
#include <QRect>
#include <QString>
#include <cstdint>
#include <functional>
#include <vector>

struct x264_t;

namespace spindrel {

/// H.264 through x264, told which parts of each picture changed since the one before: blocks
/// outside those parts are known to be unchanged, so x264 skips them without analysing them.
/// A still picture with two small turning reels thus costs little more than the reels.
class H264Encoder
{
public:
    struct Settings
    {
        int width = 1280;
        int height = 720;
        int framesPerSecond = 24;
        int maxKeyFrameInterval = 1000;
        QString preset;
        QString tune;
        /// x264's quantiser for the frames after a key frame.
        int quantiser = 32;
        /// How much finer key frames are quantised: 4 is 12 steps, so they are coded at 20.
        float keyFrameQuantiserFactor = 4.0f;
    };
    struct Picture
    {
        uint8_t* planes[3];
        int strides[3];
    };
    struct Packet
    {
        QByteArray data; ///< Annex B NAL units
        int64_t pts = 0;
        int64_t dts = 0;
        bool keyFrame = false;
    };
    using PacketHandler = std::function<bool(const Packet&)>;

    H264Encoder() = default;
    ~H264Encoder();
    H264Encoder(const H264Encoder&) = delete;
    H264Encoder& operator=(const H264Encoder&) = delete;

    /// False when x264 refuses the settings.
    bool open(const Settings& settings);
    bool isOpen() const { return mEncoder != nullptr; }
    /// The sequence and picture parameter sets, for the container's sample description.
    const QByteArray& headers() const { return mHeaders; }

    /// Encodes a 4:2:0 picture shown at `pts` (in frames). `changed` lists what differs from the
    /// previous picture; empty means everything. Packets that come out go to `handler`.
    bool encode(const Picture& picture, int64_t pts, const std::vector<QRect>& changed,
                const PacketHandler& handler);
    /// Drains the frames x264 still holds.
    bool flush(const PacketHandler& handler);

private:
    bool deliver(int size, void* nals, int count, const void* pictureOut, const PacketHandler& handler);
    uint8_t* unchangedBlocks(const std::vector<QRect>& changed) const;

    x264_t* mEncoder = nullptr;
    Settings mSettings;
    QByteArray mHeaders;
    int mBlocksWide = 0;
    int mBlocksHigh = 0;
    bool mFirst = true;
};

} // namespace spindrel
