#pragma once

#include <QList>
#include <QObject>
#include <memory>

namespace spindrel {

class CAPlayThrough;

/// Owns the play-through engine and makes it anew (and starts it) when the input device's
/// format changes under it. Main thread.
class CAPlayThroughHost
{
public:
    CAPlayThroughHost(quint32 inputDeviceID, quint32 outputDeviceID, const QList<int>& channelMap);
    ~CAPlayThroughHost();
    CAPlayThroughHost(const CAPlayThroughHost&) = delete;
    CAPlayThroughHost& operator=(const CAPlayThroughHost&) = delete;

    int start();
    int stop();
    bool isRunning() const;

    /// Replaces the engine by a new one on the same devices and starts it, whether or not the
    /// old one ran: a format change means the user wants to hear the input on.
    void reset();

    CAPlayThrough* playThrough() const { return mPlayThrough.get(); }

private:
    void createPlayThrough(quint32 inputDeviceID, quint32 outputDeviceID, const QList<int>& channelMap);
    void deletePlayThrough();

    std::unique_ptr<CAPlayThrough> mPlayThrough;
    quint32 mInputDeviceID;
    quint32 mOutputDeviceID;
    QList<int> mChannelMap;
    QObject mMainThread; // where the listener's notices are carried to
};

} // namespace spindrel
