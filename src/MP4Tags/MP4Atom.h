#pragma once

#include "foundation/FourCC.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <memory>

namespace spindrel {

class MP4Atom;
class MP4FileAtom;
class MP4MemoryAtom;
using MP4AtomPtr = std::shared_ptr<MP4Atom>;

/// An MPEG-4 box: a 32-bit big-endian size (header included), a four-character type, then content.
/// Atoms are read and edited in the 32-bit size form; searches step over the 64-bit form (size 1)
/// that long media boxes take, and a size of 0 (to the end) ends them.
class MP4Atom
{
public:
    /// The offset that stands for "no such atom".
    static constexpr uint64_t NotFound = ~uint64_t(0);

    virtual ~MP4Atom() = default;

    /// The top-level atom of the type in the open file, or nothing.
    static std::shared_ptr<MP4FileAtom> fileAtomWithType(uint32_t type, int fileHandle);
    static std::shared_ptr<MP4MemoryAtom> memoryAtomWithType(uint32_t type, const QByteArray& childData);

    /// Appends the child and returns its length, the growth of this atom.
    virtual uint32_t addChild(const MP4AtomPtr& child);
    /// The first direct child of the type, or nothing.
    virtual MP4AtomPtr childAtomWithType(uint32_t type) const;
    /// An atom of the type at any depth and alignment inside this one, or nothing.
    virtual MP4AtomPtr findChildAtomWithType(uint32_t type) const;
    /// Replaces the first child of the type (or adds the atom when there is none) and returns the
    /// change of this atom's length. Only this atom's own length is corrected.
    virtual int32_t replaceChildAtomOfType(uint32_t type, const MP4AtomPtr& atom);

    virtual uint32_t length() const = 0;
    virtual void setLength(uint32_t length) = 0;
    virtual uint32_t type() const = 0;
    /// The whole atom, header included.
    virtual QByteArray data() const = 0;
    virtual uint64_t offset() const = 0;

    /// "{(1000),('moov')}"
    QString description() const;

    /// A four-character code in quotes: 'moov'.
    static QString stringForType(uint32_t type);
};

} // namespace spindrel
