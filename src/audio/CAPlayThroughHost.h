#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <memory>

namespace spindrel {

class CAPlayThrough;
enum class CAPlayThroughFault;
enum class CAPlayThroughNotice;

/// Owns the play-through engine and passes on what its devices do. Driven by one thread at a
/// time; the notices come on sound-server threads.
class CAPlayThroughHost
{
public:
    using NoticeListener = std::function<void(CAPlayThroughNotice)>;

    CAPlayThroughHost(quint32 inputDeviceID, quint32 outputDeviceID, const QList<int>& channelMap);
    ~CAPlayThroughHost();
    CAPlayThroughHost(const CAPlayThroughHost&) = delete;
    CAPlayThroughHost& operator=(const CAPlayThroughHost&) = delete;

    /// False when the engine could not be set up or started; fault() and errorString() say why.
    bool start();
    bool stop();
    bool isRunning() const;
    bool isValid() const;
    CAPlayThroughFault fault() const;
    QString errorString() const;

    /// Replaces the engine by a new one on the same device identifiers and starts it, whether
    /// or not the old one ran: a format change means the user wants to hear the input on.
    bool reset();

    /// Called on a sound-server thread when the input's format changes, a default device the
    /// engine plays changes, or a device or the server goes away. The listener decides what to
    /// do (the deck makes play-through anew); it must not call back into the host.
    void setNoticeListener(NoticeListener listener);

    CAPlayThrough* playThrough() const { return mPlayThrough.get(); }

private:
    void createPlayThrough(quint32 inputDeviceID, quint32 outputDeviceID, const QList<int>& channelMap);
    void deletePlayThrough();

    std::unique_ptr<CAPlayThrough> mPlayThrough;
    quint32 mInputDeviceID;
    quint32 mOutputDeviceID;
    QList<int> mChannelMap;
    NoticeListener mListener;
};

} // namespace spindrel
