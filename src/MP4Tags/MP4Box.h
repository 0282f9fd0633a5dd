#pragma once

#include <QByteArray>
#include <cstdint>
#include <optional>
#include <vector>

namespace spindrel {

/// A box held whole in memory, for building a new 'moov' before it goes to the file in one piece.
/// A box is a leaf (its content kept as bytes) until expand() parses its content into children;
/// the boxes nobody expands are written back byte for byte.
class MP4Box
{
public:
    MP4Box() = default;
    MP4Box(uint32_t type, QByteArray content) : mType(type), mContent(std::move(content)) {}

    /// The box at the start of `bytes`, which must hold it exactly; nothing when it does not.
    static std::optional<MP4Box> parse(const QByteArray& bytes);

    uint32_t type() const { return mType; }
    /// The whole box's length once written, header included.
    uint64_t size() const;
    QByteArray bytes() const;

    /// Parses the content after `prefixLength` bytes (a version word, an identifier) into children.
    /// A content that ends in QuickTime's 4-byte zero terminator keeps it after the children.
    /// False, with the box unchanged, when the children do not fill the content exactly.
    bool expand(qsizetype prefixLength = 0);
    bool isExpanded() const { return mExpanded; }
    /// A leaf's content, or an expanded box's prefix.
    const QByteArray& content() const { return mContent; }
    void setContent(QByteArray content) { mContent = std::move(content); }

    std::vector<MP4Box>& children() { return mChildren; }
    const std::vector<MP4Box>& children() const { return mChildren; }
    MP4Box* child(uint32_t type);
    /// Every box of the type below this one in the track containers ('trak', 'mdia', 'minf',
    /// 'stbl'), expanding them on the way down; false when one of them is damaged.
    bool collect(uint32_t type, std::vector<MP4Box*>& found);

    /// Replaces the first child of the box's type in its place, or appends it.
    void putChild(MP4Box box);
    void insertChild(std::size_t index, MP4Box box);

private:
    uint32_t mType = 0;
    bool mLargeSize = false;
    bool mExpanded = false;
    QByteArray mContent;
    std::vector<MP4Box> mChildren;
    QByteArray mTerminator;
};

} // namespace spindrel
