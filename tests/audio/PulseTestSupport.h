#pragma once

#include "audio/VORLAudioHardware.h"

#include <QString>
#include <QStringList>
#include <atomic>
#include <thread>
#include <vector>

namespace spindrel::test {

/// Plays a continuous sine per channel into a sink through a low-latency stream of its own,
/// until destroyed. Low latency matters: the null sinks then render in small blocks and their
/// monitors deliver promptly.
class TonePlayer
{
public:
    /// `channelMap` in the server's notation ("front-left,front-right,..."), default when empty.
    TonePlayer(const QString& sink, std::vector<double> frequencies, double amplitude = 0.5,
               const QString& channelMap = QString());
    ~TonePlayer();
    bool isRunning() const { return mRunning.load(); }

private:
    std::atomic<bool> mStop{false};
    std::atomic<bool> mRunning{false};
    std::thread mThread;
};

/// Records a source (e.g. "spk.monitor") in a thread of its own until stop(). The constructor
/// returns once audio flows: a monitor of an idle null sink starts delivering only after the
/// sink's long idle block has run out.
class MonitorCapture
{
public:
    MonitorCapture(const QString& source, int channels = 2, int sampleRate = 44100);
    ~MonitorCapture();
    /// Stops and returns the interleaved samples captured.
    std::vector<float> stop();
    bool isRunning() const { return mRunning.load(); }

private:
    int mChannels;
    int mRate;
    std::atomic<bool> mStop{false};
    std::atomic<bool> mRunning{false};
    std::atomic<size_t> mBlocks{0};
    std::vector<float> mSamples;
    std::thread mThread;
};

/// Counts what the hardware tells its delegates.
class CountingHardwareDelegate : public VORLAudioHardwareDelegate
{
public:
    void defaultInputDeviceDidChange() override { ++defaultChanges; }
    void deviceListDidChange() override { ++listChanges; }
    int defaultChanges = 0;
    int listChanges = 0;
};

/// The devices' UIDs, in order.
QStringList uids(const QList<VORLAudioDevice>& devices);

/// `pactl` with arguments; its standard output trimmed, empty on failure.
QString pactl(const QStringList& arguments);

/// Prints a figure for the report and records it as a test property; not for asserting, as a
/// busy machine may take its time.
void reportMeasurement(const char* what, qint64 ms);

/// Waits (running the event loop) until the source carries a signal above `decibels`.
bool waitForSignal(const QString& source, double decibels = -30.0, int timeoutMs = 8000);

} // namespace spindrel::test
