#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>

namespace spindrel::test {

/// Every packet of a file's audio stream decoded with libavcodec, and what went wrong.
struct DecodeCheck
{
    bool opened = false;
    int packets = 0;
    int errors = 0; // packets the decoder refused, plus read errors before the end
    int64_t frames = 0;
    int sampleRate = 0;
    double seconds() const { return sampleRate > 0 ? double(frames) / sampleRate : 0.0; }
};
DecodeCheck decodeAllPackets(const QString& path);

/// Top-level atom types of an MPEG-4 file, in order.
QStringList topLevelAtoms(const QString& path);

} // namespace spindrel::test
