#pragma once

#include "MP4Tags/MP4Atom.h"

#include <vector>

namespace spindrel {

/// An atom built up in memory before it is written: a payload followed by child atoms. Its header
/// is always 8 bytes; any version word belongs to the payload.
class MP4MemoryAtom : public MP4Atom
{
public:
    explicit MP4MemoryAtom(uint32_t type, const QByteArray& childData = {});

    /// The payload between the header and the children.
    QByteArray childData() const { return mChildData; }
    void setChildData(const QByteArray& childData) { mChildData = childData; }

    uint32_t type() const override { return mType; }
    /// 8 + the payload + every child's length.
    uint32_t length() const override;
    void setLength(uint32_t length) override;
    QByteArray data() const override;
    uint64_t offset() const override;

    uint32_t addChild(const MP4AtomPtr& child) override;
    MP4AtomPtr childAtomWithType(uint32_t type) const override;
    /// The new atom goes to the end of the list, not to the replaced child's place.
    int32_t replaceChildAtomOfType(uint32_t type, const MP4AtomPtr& atom) override;

private:
    uint32_t mType;
    QByteArray mChildData;
    std::vector<MP4AtomPtr> mChildArray;
};

} // namespace spindrel
