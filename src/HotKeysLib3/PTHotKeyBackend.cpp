#include "HotKeysLib3/PTHotKeyBackend.h"

namespace spindrel {

PTHotKeyBackend::~PTHotKeyBackend() = default;

void PTHotKeyBackend::installEventHandler(EventHandler handler)
{
    mEventHandler = std::move(handler);
}

void PTHotKeyBackend::sendEvent(const PTHotKeyEvent& event)
{
    if (mEventHandler)
        mEventHandler(event);
}

} // namespace spindrel
