#pragma once

#include "DecodeCheck.h"

#include <QProcess>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <vector>

namespace spindrel::test {

/// Interleaved sine frames: channel c carries frequencies[c] (0 for silence).
std::vector<float> sineFrames(const std::vector<double>& frequencies, double sampleRate, size_t frames,
                              double amplitude = 0.5, size_t startFrame = 0);

/// What ffprobe says about the first audio stream of a file.
struct ProbedAudio
{
    bool ok = false;
    QString codec;
    int sampleRate = 0;
    int channels = 0;
    QString sampleFormat;
    double durationSeconds = 0.0;
    int64_t bitRate = 0;
};
ProbedAudio probeAudio(const QString& path);

/// The file decoded by the ffmpeg command (an independent reader): interleaved floats at the
/// file's own rate.
struct DecodedAudio
{
    int sampleRate = 0;
    int channels = 0;
    std::vector<float> samples;
    size_t frames() const { return channels ? samples.size() / channels : 0; }
    std::vector<float> channel(int index, size_t from = 0, size_t count = SIZE_MAX) const;
};
DecodedAudio decodeAudio(const QString& path);

/// How much of a signal is a sine at `frequency`: the Goertzel amplitude over the RMS amplitude,
/// about 1 for a pure tone of that frequency, near 0 when it is absent.
double toneShare(const std::vector<float>& samples, double sampleRate, double frequency);
/// toneShare() over windows of `windowSeconds`, the median of them: a live capture may have a
/// dropout here and there, which shifts the phase and would spoil one long Goertzel sum.
double medianToneShare(const std::vector<float>& samples, double sampleRate, double frequency,
                       double windowSeconds = 0.1);
double rms(const std::vector<float>& samples);
double rmsDecibels(const std::vector<float>& samples);

/// The time scale in the file's 'mvhd', 0 when not found.
uint32_t movieTimeScale(const QString& path);

/// Runs a program and returns its standard output; empty on failure.
QByteArray runProgram(const QString& program, const QStringList& arguments, int* exitCode = nullptr);

/// Plays what sox synthesises from `synth` (e.g. "8 sine 440") into the test input "mic", made in
/// `folder`; it plays until the process goes. Null when sox or paplay cannot start.
std::unique_ptr<QProcess> playIntoInput(const QString& folder, const QString& synth);

} // namespace spindrel::test
