#include "AudioTestSupport.h"

#include "MP4Tags/MP4TestFiles.h"

#include <QJsonArray>
#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <stdexcept>

namespace spindrel::test {

std::vector<float> sineFrames(const std::vector<double>& frequencies, double sampleRate, size_t frames,
                              double amplitude, size_t startFrame)
{
    const size_t channels = frequencies.size();
    std::vector<float> samples(frames * channels);
    for (size_t frame = 0; frame < frames; ++frame) {
        const double t = double(frame + startFrame) / sampleRate;
        for (size_t c = 0; c < channels; ++c)
            samples[frame * channels + c] =
                float(amplitude * std::sin(2.0 * std::numbers::pi * frequencies[c] * t));
    }
    return samples;
}

QByteArray runProgram(const QString& program, const QStringList& arguments, int* exitCode)
{
    QByteArray output;
    int status = -1;
    try {
        status = mp4test::run(program, arguments, &output);
    } catch (const std::runtime_error&) { // it did not finish
    }
    if (exitCode)
        *exitCode = status;
    return status == 0 ? output : QByteArray();
}

std::unique_ptr<QProcess> playIntoInput(const QString& folder, const QString& synth)
{
    const QString tone =
        folder + QStringLiteral("/tone-") + QString(synth).replace(u' ', u'-') + QStringLiteral(".wav");
    int status = -1;
    runProgram(QStringLiteral("sox"),
               QStringLiteral("-n -r 44100 -c 2").split(u' ')
                   << tone << QStringLiteral("synth") << synth.split(u' '),
               &status);
    auto player = std::make_unique<QProcess>();
    player->start(QStringLiteral("paplay"), {QStringLiteral("-d"), QStringLiteral("mic"), tone});
    return status == 0 && player->waitForStarted() ? std::move(player) : nullptr;
}

ProbedAudio probeAudio(const QString& path)
{
    for (const QJsonValue& stream : mp4test::probeFile(path)[QStringLiteral("streams")].toArray()) {
        if (stream[QStringLiteral("codec_type")].toString() == QStringLiteral("audio"))
            return {true,
                    stream[QStringLiteral("codec_name")].toString(),
                    stream[QStringLiteral("sample_rate")].toString().toInt(),
                    stream[QStringLiteral("channels")].toInt(),
                    stream[QStringLiteral("sample_fmt")].toString(),
                    stream[QStringLiteral("duration")].toString().toDouble(),
                    stream[QStringLiteral("bit_rate")].toString().toLongLong()};
    }
    return {};
}

std::vector<float> DecodedAudio::channel(int index, size_t from, size_t count) const
{
    std::vector<float> result;
    const size_t end = std::min(frames(), count == SIZE_MAX ? frames() : from + count);
    for (size_t frame = from; frame < end; ++frame)
        result.push_back(samples[frame * channels + index]);
    return result;
}

DecodedAudio decodeAudio(const QString& path)
{
    DecodedAudio decoded;
    const ProbedAudio probed = probeAudio(path);
    if (!probed.ok)
        return decoded;
    const QByteArray raw = runProgram(
        QStringLiteral("ffmpeg"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path,
                                   QStringLiteral("-f"), QStringLiteral("f32le"), QStringLiteral("-")});
    decoded.sampleRate = probed.sampleRate;
    decoded.channels = probed.channels;
    decoded.samples.resize(size_t(raw.size()) / sizeof(float));
    std::memcpy(decoded.samples.data(), raw.constData(), decoded.samples.size() * sizeof(float));
    return decoded;
}

double rms(const std::vector<float>& samples)
{
    if (samples.empty())
        return 0.0;
    double sum = 0.0;
    for (float s : samples)
        sum += double(s) * s;
    return std::sqrt(sum / double(samples.size()));
}

double rmsDecibels(const std::vector<float>& samples)
{
    const double value = rms(samples);
    return value > 0.0 ? 20.0 * std::log10(value) : -200.0;
}

double toneShare(const std::vector<float>& samples, double sampleRate, double frequency)
{
    if (samples.empty())
        return 0.0;
    std::complex<double> sum;
    const double step = 2.0 * std::numbers::pi * frequency / sampleRate;
    for (size_t i = 0; i < samples.size(); ++i)
        sum += double(samples[i]) * std::polar(1.0, -step * double(i));
    const double amplitude = 2.0 * std::abs(sum) / double(samples.size());
    const double value = rms(samples);
    return value > 0.0 ? amplitude / (value * std::sqrt(2.0)) : 0.0;
}

double medianToneShare(const std::vector<float>& samples, double sampleRate, double frequency,
                       double windowSeconds)
{
    const size_t window = size_t(sampleRate * windowSeconds);
    std::vector<double> shares;
    for (size_t at = 0; at + window <= samples.size(); at += window) {
        const std::vector<float> part(samples.begin() + long(at), samples.begin() + long(at + window));
        shares.push_back(toneShare(part, sampleRate, frequency));
    }
    if (shares.empty())
        return toneShare(samples, sampleRate, frequency);
    std::nth_element(shares.begin(), shares.begin() + long(shares.size() / 2), shares.end());
    return shares[shares.size() / 2];
}

QStringList topLevelAtoms(const QString& path)
{
    QStringList atoms;
    for (const mp4test::BoxAt& box : mp4test::boxesIn(mp4test::readFile(path)))
        atoms << QString::fromLatin1(box.type);
    return atoms;
}

uint32_t movieTimeScale(const QString& path)
{
    const QByteArray bytes = mp4test::readFile(path);
    const mp4test::Span mvhd = mp4test::findAtom(bytes, {"moov", "mvhd"});
    // mvhd version 0: header, version and flags, creation, modification, then the time scale.
    return mvhd.offset < 0 ? 0 : qFromBigEndian<quint32>(bytes.constData() + mvhd.offset + 8 + 4 + 4 + 4);
}

} // namespace spindrel::test
