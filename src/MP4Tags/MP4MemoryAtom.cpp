#include "MP4Tags/MP4MemoryAtom.h"

#include "foundation/Assertion.h"

#include <QtEndian>
#include <algorithm>

namespace spindrel {

MP4MemoryAtom::MP4MemoryAtom(uint32_t type, const QByteArray& childData) : mType(type), mChildData(childData)
{
}

uint32_t MP4MemoryAtom::length() const
{
    uint32_t length = 8 + uint32_t(mChildData.size());
    for (const auto& child : mChildArray)
        length += child->length();
    return length;
}

void MP4MemoryAtom::setLength(uint32_t)
{
    SP_ASSERT(false, "Can't set length of a memory atom");
}

QByteArray MP4MemoryAtom::data() const
{
    QByteArray data(8, '\0');
    qToBigEndian(length(), data.data());
    qToBigEndian(mType, data.data() + 4);
    data += mChildData;
    for (const auto& child : mChildArray)
        data += child->data();
    return data;
}

uint64_t MP4MemoryAtom::offset() const
{
    SP_ASSERT(false, "Looking for offset of memory atom!");
    return 0;
}

uint32_t MP4MemoryAtom::addChild(const MP4AtomPtr& child)
{
    mChildArray.push_back(child);
    return child->length();
}

MP4AtomPtr MP4MemoryAtom::childAtomWithType(uint32_t type) const
{
    auto found = std::find_if(mChildArray.begin(), mChildArray.end(),
                              [type](const MP4AtomPtr& child) { return child->type() == type; });
    return found == mChildArray.end() ? nullptr : *found;
}

int32_t MP4MemoryAtom::replaceChildAtomOfType(uint32_t type, const MP4AtomPtr& atom)
{
    auto found = std::find_if(mChildArray.begin(), mChildArray.end(),
                              [type](const MP4AtomPtr& child) { return child->type() == type; });
    if (found == mChildArray.end())
        return int32_t(addChild(atom));
    const uint32_t oldLength = (*found)->length();
    mChildArray.erase(found);
    mChildArray.push_back(atom);
    return int32_t(atom->length() - oldLength);
}

} // namespace spindrel
