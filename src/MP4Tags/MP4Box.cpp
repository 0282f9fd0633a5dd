#include "MP4Tags/MP4Box.h"

#include "MP4Tags/MP4Atom.h"

#include <QtEndian>
#include <algorithm>

namespace spindrel {

namespace {

struct Header
{
    uint32_t type = 0;
    uint64_t size = 0;
    qsizetype headerLength = 8;
    bool largeSize = false;
};

// The header at `at`, with the box's size checked against what is left. Size 0 (to the end) is
// for boxes at the top of a file only.
std::optional<Header> headerAt(const QByteArray& bytes, qsizetype at, bool topLevel)
{
    const qsizetype left = bytes.size() - at;
    if (left < 8)
        return std::nullopt;
    Header header;
    const uint32_t size32 = qFromBigEndian<uint32_t>(bytes.constData() + at);
    header.type = qFromBigEndian<uint32_t>(bytes.constData() + at + 4);
    header.size = size32;
    if (size32 == 0) {
        if (!topLevel)
            return std::nullopt;
        header.size = uint64_t(left);
    } else if (size32 == 1) {
        if (left < 16)
            return std::nullopt;
        header.size = qFromBigEndian<uint64_t>(bytes.constData() + at + 8);
        header.headerLength = 16;
        header.largeSize = true;
    }
    if (header.size < uint64_t(header.headerLength) || header.size > uint64_t(left))
        return std::nullopt;
    return header;
}

constexpr uint32_t Containers[] = {fourCC("moov"), fourCC("trak"), fourCC("mdia"), fourCC("minf"),
                                   fourCC("stbl")};

} // namespace

std::optional<MP4Box> MP4Box::parse(const QByteArray& bytes)
{
    const auto header = headerAt(bytes, 0, true);
    if (!header || header->size != uint64_t(bytes.size()))
        return std::nullopt;
    MP4Box box(header->type, bytes.mid(header->headerLength));
    box.mLargeSize = header->largeSize;
    return box;
}

uint64_t MP4Box::size() const
{
    uint64_t size = (mLargeSize ? 16 : 8) + uint64_t(mContent.size()) + uint64_t(mTerminator.size());
    for (const MP4Box& child : mChildren)
        size += child.size();
    return size;
}

QByteArray MP4Box::bytes() const
{
    const uint64_t size = this->size();
    // A box that outgrows 32 bits takes the 64-bit form.
    const bool large = mLargeSize || size + 8 > UINT32_MAX;
    const uint64_t total = large && !mLargeSize ? size + 8 : size;
    QByteArray out;
    out.reserve(qsizetype(total));
    char header[16];
    qToBigEndian(large ? 1u : uint32_t(total), header);
    qToBigEndian(mType, header + 4);
    if (large)
        qToBigEndian(total, header + 8);
    out.append(header, large ? 16 : 8);
    out += mContent;
    for (const MP4Box& child : mChildren)
        out += child.bytes();
    out += mTerminator;
    return out;
}

bool MP4Box::expand(qsizetype prefixLength)
{
    if (mExpanded)
        return true;
    if (prefixLength > mContent.size())
        return false;
    std::vector<MP4Box> children;
    QByteArray terminator;
    qsizetype at = prefixLength;
    while (at < mContent.size()) {
        const qsizetype left = mContent.size() - at;
        if (left == 4 && qFromBigEndian<uint32_t>(mContent.constData() + at) == 0) {
            terminator = mContent.mid(at);
            break;
        }
        const auto header = headerAt(mContent, at, false);
        if (!header)
            return false;
        MP4Box child(header->type,
                     mContent.mid(at + header->headerLength, qsizetype(header->size) - header->headerLength));
        child.mLargeSize = header->largeSize;
        children.push_back(std::move(child));
        at += qsizetype(header->size);
    }
    mChildren = std::move(children);
    mTerminator = std::move(terminator);
    mContent.truncate(prefixLength);
    mExpanded = true;
    return true;
}

MP4Box* MP4Box::child(uint32_t type)
{
    const auto found = std::find_if(mChildren.begin(), mChildren.end(),
                                    [type](const MP4Box& box) { return box.mType == type; });
    return found == mChildren.end() ? nullptr : &*found;
}

bool MP4Box::collect(uint32_t type, std::vector<MP4Box*>& found)
{
    for (MP4Box& box : mChildren) {
        if (box.mType == type)
            found.push_back(&box);
        else if (std::ranges::find(Containers, box.mType) != std::end(Containers) &&
                 !(box.expand() && box.collect(type, found)))
            return false;
    }
    return true;
}

void MP4Box::putChild(MP4Box box)
{
    if (MP4Box* old = child(box.mType))
        *old = std::move(box);
    else
        mChildren.push_back(std::move(box));
}

void MP4Box::insertChild(std::size_t index, MP4Box box)
{
    mChildren.insert(mChildren.begin() + qsizetype(std::min(index, mChildren.size())), std::move(box));
}

} // namespace spindrel
