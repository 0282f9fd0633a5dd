#pragma once

#include "MP4Tags/MP4Atom.h"

#include <sys/types.h>
#include <utility>

namespace spindrel {

/// An atom that stands for a region of an open file. Nothing is cached: every query reads the file
/// again with positioned reads, so atoms stay right while the file is rewritten under them, and
/// two atoms on one descriptor see each other's writes at once.
class MP4FileAtom : public MP4Atom
{
public:
    /// Wraps an atom known to start at the offset; nothing is checked. The descriptor is not owned.
    MP4FileAtom(uint64_t offset, int fileHandle);
    static std::shared_ptr<MP4FileAtom> fileAtomWithOffset(uint64_t offset, int fileHandle);
    /// The first top-level atom of the type, or nothing.
    static std::shared_ptr<MP4FileAtom> withType(uint32_t type, int fileHandle);

    int fileHandle() const { return mFileHandle; }
    uint64_t offset() const override { return mOffset; }
    void setOffset(uint64_t offset) { mOffset = offset; }
    /// Where the content starts: 8, or 12 for 'meta' (its version word is skipped).
    uint32_t childDataOffset() const;

    uint32_t length() const override;
    void setLength(uint32_t length) override;
    uint32_t type() const override;
    QByteArray data() const override;

    /// Everything after the header (and after the version word of 'meta').
    QByteArray childData() const;
    /// Overwrites the content in place; the data must be exactly as long as the content.
    void setChildData(const QByteArray& childData);

    MP4AtomPtr childAtomWithType(uint32_t type) const override;
    MP4AtomPtr findChildAtomWithType(uint32_t type) const override;
    /// The same searches, typed for callers that go on reading the file.
    std::shared_ptr<MP4FileAtom> childFileAtomWithType(uint32_t type) const;
    std::shared_ptr<MP4FileAtom> findChildFileAtomWithType(uint32_t type) const;

    /// Inserts the child's bytes at the end of this atom, shifting the rest of the file.
    uint32_t addChild(const MP4AtomPtr& child) override;
    /// Grows or shrinks the file in place at the old child. Ancestors' lengths are the caller's.
    int32_t replaceChildAtomOfType(uint32_t type, const MP4AtomPtr& atom) override;

    /// Sibling walk from `start` to `end`: follows size words, stops at a size of 0.
    static uint64_t offsetOfChildAtom(uint32_t type, uint64_t start, uint64_t end, int fileHandle);
    /// Byte scan: any big-endian word equal to the type between `start` and `end` - 4; the atom is
    /// taken to start 4 bytes before it. Meant for small ranges.
    static uint64_t findOffsetOfChildAtom(uint32_t type, uint64_t start, uint64_t end, int fileHandle);

private:
    /// Where the content starts and ends, from one read of the header.
    std::pair<uint64_t, uint64_t> contentRange() const;
    uint32_t readWord(uint64_t offset) const;
    void writeWord(uint64_t offset, uint32_t word);

    int mFileHandle;
    uint64_t mOffset;
};

/// Makes room for `count` bytes at `offset` and writes them there; what stood at `offset` and
/// after moves `count` bytes on. Returns the count of the final write, 0 when `count` is 0.
ssize_t vorl_insertdata(int fileHandle, const void* inData, size_t count, off_t offset);
/// Removes `deletionLength` bytes at `offset`, moving the rest down. Returns the truncation status.
int vorl_reducefile(int fileHandle, off_t offset, size_t deletionLength);

} // namespace spindrel
