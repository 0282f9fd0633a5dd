#include "MP4Tags/MP4FileLayout.h"

#include "MP4Tags/MP4Atom.h"
#include "MP4Tags/PositionedIO.h"

#include <QtEndian>

namespace spindrel {

bool MP4FileLayout::read(int fileHandle, MP4FileLayout& layout)
{
    layout = {};
    const int64_t length = spindrel::fileLength(fileHandle);
    if (length < 0)
        return false;
    layout.fileLength = uint64_t(length);
    uint64_t p = 0;
    while (p < layout.fileLength) {
        Box box;
        box.offset = p;
        uint32_t size32 = 0;
        if (layout.fileLength - p < 8 || !readHeaderAt(fileHandle, p, size32, box.type))
            return true;
        box.size = size32;
        if (size32 == 0) {
            box.size = layout.fileLength - p;
            box.toEnd = true;
        } else if (size32 == 1) {
            uchar large[8];
            if (preadFully(fileHandle, large, 8, p + 8) != 8)
                return true;
            box.size = qFromBigEndian<uint64_t>(large);
            box.headerLength = 16;
        }
        if (box.size < box.headerLength || box.size > layout.fileLength - p)
            return true;
        layout.boxes.push_back(box);
        p += box.size;
    }
    layout.complete = true;
    return true;
}

int MP4FileLayout::indexOf(uint32_t type) const
{
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        if (boxes[i].type == type)
            return int(i);
    }
    return -1;
}

bool MP4FileLayout::hasFragments() const
{
    for (const Box& box : boxes) {
        if (box.type == fourCC("moof") || box.type == fourCC("mfra") || box.type == fourCC("sidx"))
            return true;
    }
    return false;
}

bool MP4FileLayout::isFree(uint32_t type)
{
    return type == fourCC("free") || type == fourCC("skip");
}

} // namespace spindrel
