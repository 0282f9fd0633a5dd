#include "audio/CAPlayThroughHost.h"

#include "audio/CAPlayThrough.h"

#include <QMetaObject>
#include <QPointer>

namespace spindrel {

CAPlayThroughHost::CAPlayThroughHost(quint32 inputDeviceID, quint32 outputDeviceID,
                                     const QList<int>& channelMap)
    : mInputDeviceID(inputDeviceID), mOutputDeviceID(outputDeviceID), mChannelMap(channelMap)
{
    createPlayThrough(inputDeviceID, outputDeviceID, channelMap);
}

CAPlayThroughHost::~CAPlayThroughHost()
{
    deletePlayThrough();
}

void CAPlayThroughHost::createPlayThrough(quint32 inputDeviceID, quint32 outputDeviceID,
                                          const QList<int>& channelMap)
{
    mPlayThrough = std::make_unique<CAPlayThrough>(inputDeviceID, outputDeviceID, channelMap);
    // The notice comes on the input's sound-server thread, where the engine cannot be taken
    // down; the main thread does it.
    QPointer<QObject> target(&mMainThread);
    mPlayThrough->addInputFormatListener([this, target] {
        QMetaObject::invokeMethod(
            &mMainThread,
            [this, target] {
                if (target)
                    reset();
            },
            Qt::QueuedConnection);
    });
}

void CAPlayThroughHost::deletePlayThrough()
{
    if (!mPlayThrough)
        return;
    mPlayThrough->stop();
    mPlayThrough->removeInputFormatListener();
    mPlayThrough.reset();
}

void CAPlayThroughHost::reset()
{
    const quint32 inputDeviceID = mInputDeviceID;
    const quint32 outputDeviceID = mOutputDeviceID;
    const QList<int> channelMap = mChannelMap;
    deletePlayThrough();
    createPlayThrough(inputDeviceID, outputDeviceID, channelMap);
    mPlayThrough->start();
}

int CAPlayThroughHost::start()
{
    return mPlayThrough ? mPlayThrough->start() : 0;
}

int CAPlayThroughHost::stop()
{
    return mPlayThrough ? mPlayThrough->stop() : 0;
}

bool CAPlayThroughHost::isRunning() const
{
    return mPlayThrough && mPlayThrough->isRunning();
}

} // namespace spindrel
