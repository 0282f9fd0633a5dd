#include "MP4Tags/MP4Tags.h"

#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4MemoryAtom.h"
#include "MP4Tags/PositionedIO.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {

constexpr uint32_t Moov = fourCC("moov");
constexpr uint32_t Mdat = fourCC("mdat");
constexpr uint32_t Udta = fourCC("udta");
constexpr uint32_t Meta = fourCC("meta");
constexpr uint32_t Hdlr = fourCC("hdlr");
constexpr uint32_t Ilst = fourCC("ilst");
constexpr uint32_t Data = fourCC("data");
constexpr uint32_t Stco = fourCC("stco");
constexpr uint32_t Co64 = fourCC("co64");

const char* const NoMoovMessage = "No moov atom found in file!";
const char* const NoChunkOffsetsMessage = "Could not find stco or co64";
const char* const DamagedChainMessage = "Damaged atom chain in file!";

void logTagError(const char* message)
{
    logErrorAfterSource(logSourceName(__FILE__), QString::fromLatin1(message));
}

uint64_t endOf(const MP4FileAtom& atom)
{
    return atom.offset() + atom.length();
}

uint32_t headerLength(uint32_t type)
{
    return type == Meta ? 12 : 8;
}

/// The child only when it is a whole atom inside its parent, so that reading it stays in bounds.
std::shared_ptr<MP4FileAtom> containedChild(const MP4FileAtom* parent, uint32_t type)
{
    if (!parent)
        return nullptr;
    auto child = parent->childFileAtomWithType(type);
    const uint64_t end = endOf(*parent);
    uint32_t length = 0;
    uint32_t childType = 0;
    if (!child || end - child->offset() < 8 ||
        !readHeaderAt(parent->fileHandle(), child->offset(), length, childType))
        return nullptr;
    return length >= headerLength(childType) && length <= end - child->offset() ? child : nullptr;
}

using Wanted = std::initializer_list<std::pair<uint32_t, std::shared_ptr<MP4FileAtom>*>>;

/// Walks the parent's children once, as the searches walk them, and hands back the first child of
/// each wanted type. True when the walk meets only whole atoms of at least a header's length and
/// ends exactly at the parent's end: then anything appended is found again by the walk, and no
/// write can land outside the parent.
bool scanChildren(const MP4FileAtom& parent, Wanted wanted)
{
    const int file = parent.fileHandle();
    uint32_t parentLength = 0;
    uint32_t parentType = 0;
    if (!readHeaderAt(file, parent.offset(), parentLength, parentType))
        return false;
    const uint64_t end = parent.offset() + parentLength;
    uint64_t p = parent.offset() + headerLength(parentType);
    while (p < end) {
        uint32_t length = 0;
        uint32_t type = 0;
        if (end - p < 8 || !readHeaderAt(file, p, length, type) || length < headerLength(type) ||
            length > end - p)
            return false;
        for (const auto& [wantedType, found] : wanted) {
            if (type == wantedType && !*found)
                *found = MP4FileAtom::fileAtomWithOffset(p, file);
        }
        p += length;
    }
    return p == end;
}

std::shared_ptr<MP4MemoryAtom> newMeta()
{
    return MP4Atom::memoryAtomWithType(Meta, QByteArray(4, '\0'));
}

std::shared_ptr<MP4MemoryAtom> newHdlr()
{
    QByteArray payload(8, '\0');
    payload += "mdirappl";
    payload += QByteArray(10, '\0');
    return MP4Atom::memoryAtomWithType(Hdlr, payload);
}

} // namespace

std::unique_ptr<MP4Tags> MP4Tags::fromFile(const QString& path)
{
    const int fileHandle = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fileHandle < 0)
        return nullptr;
    return std::unique_ptr<MP4Tags>(new MP4Tags(fileHandle));
}

MP4Tags::~MP4Tags()
{
    if (mFileHandle >= 0)
        close(mFileHandle);
}

std::optional<QString> MP4Tags::readText(uint32_t atomCode) const
{
    const auto value = readAtom(atomCode);
    if (!value || value->kind != MP4TagValue::Kind::Text)
        return std::nullopt;
    return value->text();
}

std::optional<QByteArray> MP4Tags::coverArt() const
{
    const auto value = readAtom(CoverArtAtom);
    if (!value || !value->isImage())
        return std::nullopt;
    return value->bytes;
}

std::shared_ptr<MP4FileAtom> MP4Tags::topLevelAtom(uint32_t type) const
{
    auto atom = MP4FileAtom::withType(type, mFileHandle);
    struct stat status;
    if (!atom || fstat(mFileHandle, &status) != 0 || uint64_t(status.st_size) - atom->offset() < 8)
        return nullptr;
    const uint32_t length = atom->length();
    return length >= atom->childDataOffset() && length <= uint64_t(status.st_size) - atom->offset() ? atom
                                                                                                    : nullptr;
}

std::optional<MP4TagValue> MP4Tags::readAtom(uint32_t atomCode) const
{
    const auto moov = topLevelAtom(Moov);
    const auto udta = containedChild(moov.get(), Udta);
    const auto meta = containedChild(udta.get(), Meta);
    const auto ilst = containedChild(meta.get(), Ilst);
    const auto item = containedChild(ilst.get(), atomCode);
    const auto data = containedChild(item.get(), Data);
    if (!data)
        return std::nullopt;
    uint32_t flags = 0;
    const auto value = readDataAtom(*data, &flags);
    return value ? valueForData(*value, flags) : std::nullopt;
}

std::optional<MP4TagValue> MP4Tags::readUUIDAtom(const QByteArray& uuid) const
{
    const auto moov = topLevelAtom(Moov);
    const auto udta = containedChild(moov.get(), Udta);
    const auto uuidAtom = containedChild(udta.get(), UUIDAtom);
    if (!uuidAtom || uuidAtom->childData().left(16) != uuid)
        return std::nullopt;

    // Step over the identifier: the walk for 'data' begins right after it, and its end comes from
    // the identifier's bytes 8 to 11 read as a length. It is cut at the atom's own end, since
    // nothing found past that would be read anyway.
    const MP4FileAtom afterIdentifier(uuidAtom->offset() + 16, mFileHandle);
    const uint64_t start = afterIdentifier.offset() + afterIdentifier.childDataOffset();
    const uint64_t end = std::min(afterIdentifier.offset() + afterIdentifier.length(), endOf(*uuidAtom));
    const uint64_t found = MP4FileAtom::offsetOfChildAtom(Data, start, end, mFileHandle);
    uint32_t length = 0;
    uint32_t type = 0;
    if (found == MP4Atom::NotFound || endOf(*uuidAtom) - found < 8 ||
        !readHeaderAt(mFileHandle, found, length, type) || length < 8 || length > endOf(*uuidAtom) - found)
        return std::nullopt;
    const MP4FileAtom data(found, mFileHandle);
    uint32_t flags = 0;
    const auto value = readDataAtom(data, &flags);
    return value ? valueForData(*value, flags) : std::nullopt;
}

std::optional<QByteArray> MP4Tags::readDataAtom(const MP4FileAtom& atom, uint32_t* flags)
{
    SP_ASSERT(flags != nullptr, "Invalid parameter not satisfying: flags");
    SP_ASSERT(atom.type() == Data, "Invalid parameter not satisfying: [atom type] == 'data'");
    const QByteArray childData = atom.childData();
    if (childData.size() < 8)
        return std::nullopt;
    *flags = qFromBigEndian<uint32_t>(childData.constData());
    return childData.mid(8);
}

std::optional<MP4TagValue> MP4Tags::valueForData(const QByteArray& data, uint32_t flags)
{
    switch (flags & 0xFFFFFF) {
    case RawDataType:
        return MP4TagValue{MP4TagValue::Kind::Bytes, data};
    case TextType:
        return MP4TagValue{MP4TagValue::Kind::Text, data};
    case JPEGType:
        return MP4TagValue{MP4TagValue::Kind::JPEGImage, data};
    case PNGType:
        return MP4TagValue{MP4TagValue::Kind::PNGImage, data};
    default:
        return std::nullopt;
    }
}

std::shared_ptr<MP4MemoryAtom> MP4Tags::createDataAtom(uint32_t atomCode, const QByteArray& data,
                                                       uint32_t type)
{
    return createDataAtom(atomCode, data, type, std::nullopt);
}

std::shared_ptr<MP4MemoryAtom> MP4Tags::createUUIDAtom(const QByteArray& uuid, const QByteArray& data,
                                                       uint32_t type)
{
    return createDataAtom(UUIDAtom, data, type, uuid);
}

std::shared_ptr<MP4MemoryAtom> MP4Tags::createDataAtom(uint32_t atomCode, const QByteArray& data,
                                                       uint32_t type, const std::optional<QByteArray>& uuid)
{
    auto item = MP4Atom::memoryAtomWithType(atomCode, atomCode == UUIDAtom ? uuid.value_or(QByteArray())
                                                                           : QByteArray());
    QByteArray payload(8, '\0');
    qToBigEndian(type, payload.data());
    payload += data;
    item->addChild(MP4Atom::memoryAtomWithType(Data, payload));
    return item;
}

bool MP4Tags::setData(const QByteArray& data, uint32_t atomCode, uint32_t type)
{
    return setData(data, atomCode, type, std::nullopt);
}

bool MP4Tags::setUserData(const QByteArray& data, const QByteArray& uuid, uint32_t type)
{
    return setData(data, UUIDAtom, type, uuid);
}

struct MP4Tags::Chain
{
    uint64_t fileLength = 0;
    std::shared_ptr<MP4FileAtom> mdat, moov, trak, udta, meta, hdlr, ilst;
};

bool MP4Tags::setData(const QByteArray& data, uint32_t atomCode, uint32_t type,
                      const std::optional<QByteArray>& uuid)
{
    if (atomCode == UUIDAtom)
        SP_ASSERT(uuid.has_value(), "Invalid parameter not satisfying: uuid != nil");
    else
        SP_ASSERT(!uuid.has_value(), "Invalid parameter not satisfying: uuid == nil");
    SP_ASSERT(data.size() < INT32_MAX - 64, "Tag value too large for an atom");

    // The walk reads a few dozen headers that lie close together, and the edit rewrites a few
    // length words beside them: small blocks read once and written back once keep it to a handful
    // of system calls without pulling in audio.
    ReadAheadScope readAhead(mFileHandle, 4096, ReadAheadScope::Writes::Held);
    const bool written = writeData(data, atomCode, type, uuid);
    if (!readAhead.flush()) {
        logTagError(qPrintable(
            QStringLiteral("Could not write to the file: %1").arg(QString::fromLocal8Bit(strerror(errno)))));
        return false;
    }
    return written;
}

bool MP4Tags::writeData(const QByteArray& data, uint32_t atomCode, uint32_t type,
                        const std::optional<QByteArray>& uuid)
{
    Chain chain = topLevelChain();
    const uint64_t mdatOffset = chain.mdat ? chain.mdat->offset() : 0;
    if (!chain.moov) {
        logTagError(NoMoovMessage);
        return false;
    }
    const auto item = createDataAtom(atomCode, data, type, uuid);
    const bool offsetsFollow = mdatOffset > chain.moov->offset();
    if (!checkChainBeforeWriting(chain, atomCode, item->length(), offsetsFollow))
        return false;

    // Each container's length is corrected by exactly the bytes that went into it. Additions go to
    // the end of a container, so the atoms found so far keep their places.
    const auto& moov = chain.moov;
    auto& udta = chain.udta;
    int32_t growth = 0;
    if (!udta) {
        growth += int32_t(moov->addChild(MP4Atom::memoryAtomWithType(Udta, {})));
        udta = moov->childFileAtomWithType(Udta);
    }
    int32_t delta = 0;
    if (atomCode != UUIDAtom) {
        auto& meta = chain.meta;
        if (!meta) {
            const uint32_t added = udta->addChild(newMeta());
            moov->setLength(moov->length() + added);
            growth += int32_t(added);
            meta = udta->childFileAtomWithType(Meta);
        }
        const auto growMeta = [&](const std::shared_ptr<MP4MemoryAtom>& container) {
            const uint32_t added = meta->addChild(container);
            udta->setLength(udta->length() + added);
            moov->setLength(moov->length() + added);
            growth += int32_t(added);
        };
        if (!chain.hdlr)
            growMeta(newHdlr());
        auto& ilst = chain.ilst;
        if (!ilst) {
            growMeta(MP4Atom::memoryAtomWithType(Ilst, {}));
            ilst = meta->childFileAtomWithType(Ilst);
        }
        delta = ilst->replaceChildAtomOfType(atomCode, item);
        meta->setLength(meta->length() + uint32_t(delta));
        udta->setLength(udta->length() + uint32_t(delta));
    } else {
        delta = udta->replaceChildAtomOfType(UUIDAtom, item);
    }
    moov->setLength(moov->length() + uint32_t(delta));

    // Metadata ahead of the audio moved the audio by the same amount.
    if (offsetsFollow)
        fixStco(delta + growth);
    return true;
}

MP4Tags::Chain MP4Tags::topLevelChain() const
{
    // One walk finds both: the first 'mdat' and the first 'moov', up to a size of 0.
    Chain chain;
    struct stat status;
    if (fstat(mFileHandle, &status) != 0)
        return chain;
    chain.fileLength = uint64_t(status.st_size);
    uint32_t length = 0;
    uint32_t type = 0;
    for (uint64_t p = 0; p < chain.fileLength && !(chain.mdat && chain.moov); p += length) {
        if (!readHeaderAt(mFileHandle, p, length, type) || length == 0)
            break;
        if (type == Mdat && !chain.mdat)
            chain.mdat = MP4FileAtom::fileAtomWithOffset(p, mFileHandle);
        else if (type == Moov && !chain.moov)
            chain.moov = MP4FileAtom::fileAtomWithOffset(p, mFileHandle);
    }
    return chain;
}

bool MP4Tags::checkChainBeforeWriting(Chain& chain, uint32_t atomCode, uint32_t itemLength,
                                      bool offsetsFollow) const
{
    const auto damaged = [] {
        logTagError(DamagedChainMessage);
        return false;
    };
    const MP4FileAtom& moov = *chain.moov;
    const uint32_t moovLength = moov.length();
    if (moovLength < 8 || moovLength > chain.fileLength - moov.offset() ||
        !scanChildren(moov, {{Udta, &chain.udta}, {fourCC("trak"), &chain.trak}}))
        return damaged();

    std::shared_ptr<MP4FileAtom> old;
    std::shared_ptr<MP4FileAtom> oldUUID;
    if (chain.udta && !scanChildren(*chain.udta, {{Meta, &chain.meta}, {UUIDAtom, &oldUUID}}))
        return damaged();
    int64_t growth = 0;
    if (atomCode == UUIDAtom) {
        growth = chain.udta ? 0 : 8;
        old = oldUUID;
    } else {
        if (chain.meta && !scanChildren(*chain.meta, {{Hdlr, &chain.hdlr}, {Ilst, &chain.ilst}}))
            return damaged();
        if (chain.ilst && !scanChildren(*chain.ilst, {{atomCode, &old}}))
            return damaged();
        growth = (chain.udta ? 0 : 8) + (chain.meta ? 0 : 12) + (chain.hdlr ? 0 : 34) + (chain.ilst ? 0 : 8);
    }
    const int64_t delta = growth + int64_t(itemLength) - int64_t(old ? old->length() : 0);
    if (int64_t(moovLength) + delta > int64_t(UINT32_MAX))
        return damaged();

    if (offsetsFollow && delta != 0) {
        bool sound = true;
        const auto stbl = sampleTableAtom(chain.trak, &sound);
        if (!sound)
            return damaged();
        // Moving the tags without moving the audio's offsets would break the audio.
        std::shared_ptr<MP4FileAtom> stco;
        std::shared_ptr<MP4FileAtom> co64;
        if (!stbl || !scanChildren(*stbl, {{Stco, &stco}, {Co64, &co64}}) || (!stco && !co64)) {
            logTagError(NoChunkOffsetsMessage);
            return false;
        }
    }
    return true;
}

std::shared_ptr<MP4FileAtom> MP4Tags::sampleTableAtom(std::shared_ptr<MP4FileAtom> trak, bool* sound) const
{
    // The first track only; tape files have one.
    auto atom = std::move(trak);
    for (const uint32_t type : {fourCC("mdia"), fourCC("minf"), fourCC("stbl")}) {
        if (!atom)
            return nullptr;
        std::shared_ptr<MP4FileAtom> child;
        if (!scanChildren(*atom, {{type, &child}})) {
            *sound = false;
            return nullptr;
        }
        atom = child;
    }
    return atom;
}

void MP4Tags::fixStco(int32_t delta)
{
    if (delta == 0)
        return;
    const auto moov = topLevelAtom(Moov);
    std::shared_ptr<MP4FileAtom> trak;
    bool sound = !moov || scanChildren(*moov, {{fourCC("trak"), &trak}});
    const auto stbl = sound ? sampleTableAtom(trak, &sound) : nullptr;
    std::shared_ptr<MP4FileAtom> stco;
    std::shared_ptr<MP4FileAtom> co64;
    if (!sound || (stbl && !scanChildren(*stbl, {{Stco, &stco}, {Co64, &co64}}))) {
        logTagError(DamagedChainMessage);
        return;
    }
    if (stco)
        fixStco32(*stbl, *stco, delta);
    else if (co64)
        fixStco64(*stbl, *co64, delta);
    else
        logTagError(NoChunkOffsetsMessage);
}

void MP4Tags::fixStco32(MP4FileAtom& stbl, const MP4FileAtom& stco, int32_t delta)
{
    QByteArray table = stco.childData();
    // Past the version word and the entry count; the count is not consulted.
    if (table.size() >= 12) {
        for (qsizetype i = 8; i + 4 <= table.size(); i += 4)
            qToBigEndian(qFromBigEndian<uint32_t>(table.constData() + i) + uint32_t(delta), table.data() + i);
    }
    stbl.replaceChildAtomOfType(Stco, MP4Atom::memoryAtomWithType(Stco, table));
}

void MP4Tags::fixStco64(MP4FileAtom& stbl, const MP4FileAtom& co64, int32_t delta)
{
    QByteArray table = co64.childData();
    // Unlike the 32-bit table, the first entry (bytes 8 to 15) is not moved. This is intended.
    if (table.size() >= 24) {
        for (qsizetype i = 16; i + 8 <= table.size(); i += 8)
            qToBigEndian(qFromBigEndian<uint64_t>(table.constData() + i) + uint64_t(int64_t(delta)),
                         table.data() + i);
    }
    stbl.replaceChildAtomOfType(Co64, MP4Atom::memoryAtomWithType(Co64, table));
}

} // namespace spindrel
