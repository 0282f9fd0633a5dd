#include "HotKeysLib3/PTHotKey.h"

namespace spindrel {

PTHotKey::PTHotKey(const QString& identifier, const PTKeyCombo& keyCombo)
    : mIdentifier(identifier), mName(identifier), mKeyCombo(keyCombo)
{
}

void PTHotKey::invoke()
{
    if (mTarget && mAction)
        mAction(*this);
}

} // namespace spindrel
