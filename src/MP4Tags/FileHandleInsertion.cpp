#include "MP4Tags/FileHandleInsertion.h"

#include "MP4Tags/PositionedIO.h"
#include "foundation/Assertion.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace spindrel {

void FileHandleInsertion::seekTo(int64_t offset)
{
    SP_ASSERT(lseek(mFileHandle, off_t(offset), SEEK_SET) == off_t(offset), "lseek == offset");
}

void FileHandleInsertion::readExactly(char* buffer, size_t count)
{
    size_t done = 0;
    while (done < count) {
        const ssize_t got = read(mFileHandle, buffer + done, count - done);
        if (got < 0 && errno == EINTR)
            continue;
        SP_ASSERT(got > 0, "bytes_read == chunkSize");
        done += size_t(got);
    }
}

void FileHandleInsertion::writeExactly(const char* buffer, size_t count)
{
    size_t done = 0;
    while (done < count) {
        const ssize_t put = write(mFileHandle, buffer + done, count - done);
        if (put < 0 && errno == EINTR)
            continue;
        SP_ASSERT(put > 0, "bytes_written == chunkSize");
        done += size_t(put);
    }
}

void FileHandleInsertion::insertData(const QByteArray& insertionData)
{
    SP_ASSERT(!insertionData.isNull(), "Invalid parameter not satisfying: insertionData");
    if (insertionData.isEmpty())
        return;
    const ReadAheadBypass bypass(mFileHandle);
    const int64_t position = lseek(mFileHandle, 0, SEEK_CUR);
    const int64_t count = insertionData.size();
    int64_t fileLength = lseek(mFileHandle, 0, SEEK_END);

    const int64_t pageSize = getpagesize();
    QByteArray buffer;
    while (fileLength > position) {
        const int64_t start = std::max(fileLength - std::min(fileLength, pageSize), position);
        buffer.resize(qsizetype(std::min(pageSize, fileLength - start)));
        seekTo(start);
        readExactly(buffer.data(), size_t(buffer.size()));
        seekTo(start + count);
        writeExactly(buffer.constData(), size_t(buffer.size()));
        fileLength = start;
    }
    // Writing past the end extends the file by itself.
    seekTo(position);
    writeExactly(insertionData.constData(), size_t(count));
}

void FileHandleInsertion::removeDataOfLength(uint64_t length)
{
    if (length == 0)
        return;
    const ReadAheadBypass bypass(mFileHandle);
    int64_t position = lseek(mFileHandle, 0, SEEK_CUR);
    const int64_t fileLength = lseek(mFileHandle, 0, SEEK_END);
    if (fileLength < 0 || uint64_t(fileLength) < length) {
        seekTo(position);
        SP_ASSERT(false, "Trying to delete beyond the file's length.");
    }
    const int64_t newLength = fileLength - int64_t(length);

    const int64_t pageSize = getpagesize();
    QByteArray buffer;
    while (position < newLength) {
        const int64_t source = position + int64_t(length);
        buffer.resize(qsizetype(std::min(pageSize, fileLength - source)));
        seekTo(source);
        readExactly(buffer.data(), size_t(buffer.size()));
        seekTo(position);
        writeExactly(buffer.constData(), size_t(buffer.size()));
        position += buffer.size();
    }
    SP_ASSERT(ftruncate(mFileHandle, off_t(newLength)) == 0, "ftruncate == 0");
}

} // namespace spindrel
