#pragma once

#include "MP4Tags/MP4Box.h"
#include "MP4Tags/MP4FileLayout.h"

#include <QCoreApplication>
#include <QString>

namespace spindrel {

/// Puts a new 'moov' into a file so that, whatever moment it is interrupted at, the file holds the
/// old box or the new one and all of its media:
/// - in place, when the new box fits beside the old one in the free space around it: written into
///   that space first, then switched over by rewriting one header;
/// - in place, when it fits where the old box and its free space stand: a copy goes to the end of
///   the file first, the old box is turned into free space, the new one is written and switched in,
///   and the copy is cut off again;
/// - otherwise the file is written anew beside the old one (a hidden temporary file in the same
///   folder), with free space after the new box for the edits to come, and renamed over it.
/// Between steps the file is synced, so that a power loss cannot reorder them.
class MP4MoovWriter
{
    Q_DECLARE_TR_FUNCTIONS(MP4MoovWriter)

public:
    /// `fileHandle` is the open file; after a rewrite it is the new file's descriptor.
    MP4MoovWriter(int& fileHandle, const QString& path) : mFileHandle(fileHandle), mPath(path) {}

    /// Writes `moov` in place of the layout's box at `moovIndex`. The box's internal free space may
    /// be used up, and its chunk offsets are moved when the media moves.
    bool write(MP4Box& moov, const MP4FileLayout& layout, int moovIndex);
    /// Why the last write failed, for the user.
    const QString& errorString() const { return mError; }

    /// Free space left after the new box when the file has to be written anew.
    static uint64_t paddingFor(uint64_t moovSize);
    /// Removes the temporary files that interrupted rewrites left in the folder; returns how many.
    static int removeStaleEditFiles(const QString& folder);
    static bool isEditFileName(const QString& name);

private:
    struct Region
    {
        int first = 0; // the free boxes next to 'moov' and the box itself
        int last = 0;
        uint64_t start = 0;
        uint64_t end = 0;
    };
    bool writeBeside(const MP4Box& moov, const MP4FileLayout& layout, const Region& region, int moovIndex,
                     bool after);
    bool writeOver(const MP4Box& moov, const MP4FileLayout& layout, const Region& region);
    bool rewrite(MP4Box& moov, const MP4FileLayout& layout, const Region& region);
    bool put(const void* bytes, size_t count, uint64_t offset);
    bool putHeader(uint64_t offset, uint64_t size, const char* type);
    bool sync();
    bool fail(const QString& message);
    bool failWithErrno(const QString& what);

    int& mFileHandle;
    QString mPath;
    QString mError;
};

} // namespace spindrel
