#pragma once

#include <QByteArray>
#include <cstdint>

namespace spindrel {

/// Inserting and removing bytes at a descriptor's current offset, shifting the rest of the file.
/// Unlike the file atoms it relies on the descriptor's position, as a file handle does.
class FileHandleInsertion
{
public:
    /// The descriptor is not owned.
    explicit FileHandleInsertion(int fileHandle) : mFileHandle(fileHandle) {}

    /// Inserts the bytes at the current offset; the offset ends after them.
    void insertData(const QByteArray& insertionData);
    /// Removes `length` bytes at the current offset; the file gets that much shorter.
    void removeDataOfLength(uint64_t length);

private:
    void seekTo(int64_t offset);
    void readExactly(char* buffer, size_t count);
    void writeExactly(const char* buffer, size_t count);

    int mFileHandle;
};

} // namespace spindrel
