#include "audio/CAPlayThroughHost.h"

#include "audio/CAPlayThrough.h"

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
    if (mPlayThrough->isValid() && mListener)
        mPlayThrough->addDeviceListener(mListener);
}

void CAPlayThroughHost::deletePlayThrough()
{
    if (!mPlayThrough)
        return;
    mPlayThrough->stop();
    mPlayThrough->removeDeviceListener();
    mPlayThrough.reset();
}

bool CAPlayThroughHost::reset()
{
    const quint32 inputDeviceID = mInputDeviceID;
    const quint32 outputDeviceID = mOutputDeviceID;
    const QList<int> channelMap = mChannelMap;
    deletePlayThrough();
    createPlayThrough(inputDeviceID, outputDeviceID, channelMap);
    return mPlayThrough->start();
}

void CAPlayThroughHost::setNoticeListener(NoticeListener listener)
{
    mListener = std::move(listener);
    if (!mPlayThrough || !mPlayThrough->isValid())
        return;
    if (mListener)
        mPlayThrough->addDeviceListener(mListener);
    else
        mPlayThrough->removeDeviceListener();
}

bool CAPlayThroughHost::start()
{
    return mPlayThrough && mPlayThrough->start();
}

bool CAPlayThroughHost::stop()
{
    return !mPlayThrough || mPlayThrough->stop();
}

bool CAPlayThroughHost::isRunning() const
{
    return mPlayThrough && mPlayThrough->isRunning();
}

bool CAPlayThroughHost::isValid() const
{
    return mPlayThrough && mPlayThrough->isValid();
}

CAPlayThroughFault CAPlayThroughHost::fault() const
{
    return mPlayThrough ? mPlayThrough->fault() : CAPlayThroughFault::InputDevice;
}

QString CAPlayThroughHost::errorString() const
{
    return mPlayThrough ? mPlayThrough->errorString() : QString();
}

} // namespace spindrel
