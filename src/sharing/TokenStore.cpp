#include "sharing/TokenStore.h"

namespace spindrel {

std::optional<QByteArray> MemoryTokenStore::load(const QString& itemName)
{
    return itemName == mItemName ? mSecret : std::nullopt;
}

bool MemoryTokenStore::save(const QString& itemName, const QByteArray& secret)
{
    mItemName = itemName;
    mSecret = secret;
    return false;
}

void MemoryTokenStore::remove(const QString& itemName)
{
    if (itemName == mItemName)
        mSecret.reset();
}

} // namespace spindrel
