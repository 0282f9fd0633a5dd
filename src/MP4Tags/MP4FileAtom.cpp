#include "MP4Tags/MP4FileAtom.h"

#include "MP4Tags/PositionedIO.h"
#include "foundation/Assertion.h"

#include <QtEndian>
#include <algorithm>
#include <memory>
#include <unistd.h>

namespace spindrel {

MP4FileAtom::MP4FileAtom(uint64_t offset, int fileHandle) : mFileHandle(fileHandle), mOffset(offset) {}

std::shared_ptr<MP4FileAtom> MP4FileAtom::fileAtomWithOffset(uint64_t offset, int fileHandle)
{
    return std::make_shared<MP4FileAtom>(offset, fileHandle);
}

std::shared_ptr<MP4FileAtom> MP4FileAtom::withType(uint32_t type, int fileHandle)
{
    const int64_t fileLength = spindrel::fileLength(fileHandle);
    if (fileLength <= 0)
        return nullptr;
    const uint64_t found = offsetOfChildAtom(type, 0, uint64_t(fileLength), fileHandle);
    return found == NotFound ? nullptr : fileAtomWithOffset(found, fileHandle);
}

uint32_t MP4FileAtom::childDataOffset() const
{
    return type() == fourCC("meta") ? 12 : 8;
}

uint32_t MP4FileAtom::readWord(uint64_t offset) const
{
    uint32_t word = 0;
    SP_ASSERT(readWordAt(mFileHandle, offset, word), "Did not read 4 bytes successfully.");
    return word;
}

void MP4FileAtom::writeWord(uint64_t offset, uint32_t word)
{
    uchar bytes[4];
    qToBigEndian(word, bytes);
    SP_ASSERT(pwriteFully(mFileHandle, bytes, 4, offset) == 4, "Did not write 4 bytes successfully.");
}

uint32_t MP4FileAtom::length() const
{
    return readWord(mOffset);
}

void MP4FileAtom::setLength(uint32_t length)
{
    writeWord(mOffset, length);
}

uint32_t MP4FileAtom::type() const
{
    return readWord(mOffset + 4);
}

QByteArray MP4FileAtom::data() const
{
    QByteArray data(qsizetype(length()), Qt::Uninitialized);
    SP_ASSERT(preadFully(mFileHandle, data.data(), size_t(data.size()), mOffset) == data.size(),
              "Did not read data successfully.");
    return data;
}

QByteArray MP4FileAtom::childData() const
{
    const uint32_t length = this->length();
    const uint32_t start = childDataOffset();
    // A damaged atom shorter than its header has no content rather than a huge one.
    QByteArray data(qsizetype(length > start ? length - start : 0), Qt::Uninitialized);
    SP_ASSERT(preadFully(mFileHandle, data.data(), size_t(data.size()), mOffset + start) == data.size(),
              "Did not read child data successfully.");
    return data;
}

void MP4FileAtom::setChildData(const QByteArray& childData)
{
    const uint32_t start = childDataOffset();
    SP_ASSERT(uint64_t(childData.size()) + start == length(),
              "Trying to set larger child data on a file atom than what fits");
    SP_ASSERT(pwriteFully(mFileHandle, childData.constData(), size_t(childData.size()), mOffset + start) ==
                  childData.size(),
              "Did not write child data successfully");
}

std::pair<uint64_t, uint64_t> MP4FileAtom::contentRange() const
{
    uint32_t length = 0;
    uint32_t type = 0;
    if (!readHeaderAt(mFileHandle, mOffset, length, type)) {
        // Raises the word read's assertion.
        length = this->length();
        type = this->type();
    }
    return {mOffset + (type == fourCC("meta") ? 12 : 8), mOffset + length};
}

std::shared_ptr<MP4FileAtom> MP4FileAtom::childFileAtomWithType(uint32_t type) const
{
    const auto [start, end] = contentRange();
    const uint64_t found = offsetOfChildAtom(type, start, end, mFileHandle);
    return found == NotFound ? nullptr : fileAtomWithOffset(found, mFileHandle);
}

std::shared_ptr<MP4FileAtom> MP4FileAtom::findChildFileAtomWithType(uint32_t type) const
{
    const auto [start, end] = contentRange();
    const uint64_t found = findOffsetOfChildAtom(type, start, end, mFileHandle);
    return found == NotFound ? nullptr : fileAtomWithOffset(found, mFileHandle);
}

MP4AtomPtr MP4FileAtom::childAtomWithType(uint32_t type) const
{
    return childFileAtomWithType(type);
}

MP4AtomPtr MP4FileAtom::findChildAtomWithType(uint32_t type) const
{
    return findChildFileAtomWithType(type);
}

uint32_t MP4FileAtom::addChild(const MP4AtomPtr& child)
{
    const uint32_t oldLength = length();
    const QByteArray bytes = child->data();
    const ssize_t written =
        vorl_insertdata(mFileHandle, bytes.constData(), size_t(bytes.size()), off_t(mOffset + oldLength));
    SP_ASSERT(written == bytes.size(), "Did not write atom data successfully.");
    setLength(oldLength + uint32_t(bytes.size()));
    return uint32_t(bytes.size());
}

int32_t MP4FileAtom::replaceChildAtomOfType(uint32_t type, const MP4AtomPtr& atom)
{
    const auto oldChild = childFileAtomWithType(type);
    if (!oldChild)
        return int32_t(addChild(atom));

    const uint32_t parentLength = length();
    const uint64_t childOffset = oldChild->offset();
    const QByteArray bytes = atom->data();
    const int32_t delta = int32_t(uint32_t(bytes.size()) - oldChild->length());
    if (delta < 0) {
        SP_ASSERT(vorl_reducefile(mFileHandle, off_t(childOffset), size_t(-int64_t(delta))) == 0,
                  "Could not reduce file properly.");
    } else if (delta > 0) {
        SP_ASSERT(vorl_insertdata(mFileHandle, bytes.constData(), size_t(delta), off_t(childOffset)) == delta,
                  "Could not increase file size properly.");
    }
    SP_ASSERT(pwriteFully(mFileHandle, bytes.constData(), size_t(bytes.size()), childOffset) == bytes.size(),
              "Could not write new child data properly.");
    setLength(parentLength + uint32_t(delta));
    return delta;
}

uint64_t MP4FileAtom::offsetOfChildAtom(uint32_t type, uint64_t start, uint64_t end, int fileHandle)
{
    // Searches never fail loudly: a header that cannot be read ends the walk. Size 0 runs to the
    // end; the 64-bit form is what long recordings' 'mdat' takes.
    for (uint64_t p = start; p < end;) {
        BoxHeader header;
        if (!readBoxHeaderAt(fileHandle, p, end, header))
            return NotFound;
        if (header.type == type)
            return p;
        if (header.size < 8)
            return NotFound;
        p += header.size;
    }
    return NotFound;
}

uint64_t MP4FileAtom::findOffsetOfChildAtom(uint32_t type, uint64_t start, uint64_t end, int fileHandle)
{
    if (end < 4)
        return NotFound;
    const uint64_t stop = end - 4;
    constexpr uint64_t window = 64 * 1024;
    QByteArray buffer;
    for (uint64_t p = start; p < stop;) {
        // One read per window instead of one per byte; 3 extra bytes complete the last word.
        const uint64_t words = std::min(stop - p, window);
        buffer.resize(qsizetype(words + 3));
        const ssize_t got = preadFully(fileHandle, buffer.data(), size_t(buffer.size()), p);
        const uint64_t readable = got >= 4 ? std::min(words, uint64_t(got) - 3) : 0;
        for (uint64_t i = 0; i < readable; ++i) {
            // The size word must fit before the type.
            if (qFromBigEndian<uint32_t>(buffer.constData() + i) == type && p + i >= 4)
                return p + i - 4;
        }
        if (readable < words)
            return NotFound;
        p += words;
    }
    return NotFound;
}

} // namespace spindrel

namespace spindrel {

// Both routines move one page at a time, so memory use stays flat whatever the file's size.
ssize_t vorl_insertdata(int fileHandle, const void* inData, size_t count, off_t offset)
{
    SP_ASSERT(inData != nullptr, "inData");
    if (count == 0)
        return 0;
    off_t fileLength = off_t(spindrel::fileLength(fileHandle));
    // Appending moves nothing, and the write extends the file by itself.
    if (offset == fileLength)
        return pwriteFully(fileHandle, inData, count, uint64_t(offset));
    const ReadAheadBypass bypass(fileHandle);
    const int status = ftruncate(fileHandle, fileLength + off_t(count));
    SP_ASSERT(status == 0, "status == 0");

    // Backwards from the end, so no byte is overwritten before it has been moved.
    const off_t pageSize = getpagesize();
    while (fileLength > offset) {
        const off_t start = std::max(fileLength - std::min(fileLength, pageSize), offset);
        const size_t chunkSize = size_t(std::min(pageSize, fileLength - start));
        auto buffer = std::make_unique_for_overwrite<char[]>(chunkSize);
        const ssize_t bytes_read = preadFully(fileHandle, buffer.get(), chunkSize, uint64_t(start));
        SP_ASSERT(bytes_read == ssize_t(chunkSize), "bytes_read == chunkSize");
        const ssize_t bytes_written =
            pwriteFully(fileHandle, buffer.get(), chunkSize, uint64_t(start) + count);
        SP_ASSERT(bytes_written == ssize_t(chunkSize), "bytes_written == chunkSize");
        fileLength = start;
    }
    return pwriteFully(fileHandle, inData, count, uint64_t(offset));
}

int vorl_reducefile(int fileHandle, off_t offset, size_t deletionLength)
{
    const ReadAheadBypass bypass(fileHandle);
    const off_t fileLength = lseek(fileHandle, 0, SEEK_END);
    SP_ASSERT(fileLength >= off_t(deletionLength), "fileLength >= deletionLength");
    const off_t newLength = fileLength - off_t(deletionLength);

    const off_t pageSize = getpagesize();
    if (newLength > offset) {
        off_t destination = offset;
        do {
            const off_t source = destination + off_t(deletionLength);
            const size_t copySize = size_t(std::min(pageSize, fileLength - source));
            auto buffer = std::make_unique_for_overwrite<char[]>(copySize);
            const ssize_t bytes_read = preadFully(fileHandle, buffer.get(), copySize, uint64_t(source));
            SP_ASSERT(bytes_read == ssize_t(copySize), "bytes_read == copySize");
            const ssize_t bytes_written =
                pwriteFully(fileHandle, buffer.get(), copySize, uint64_t(destination));
            SP_ASSERT(bytes_written == ssize_t(copySize), "bytes_written == copySize");
            destination += off_t(copySize);
        } while (destination < newLength);
    }
    return ftruncate(fileHandle, newLength);
}

} // namespace spindrel
