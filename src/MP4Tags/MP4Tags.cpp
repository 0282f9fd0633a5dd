#include "MP4Tags/MP4Tags.h"

#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4MemoryAtom.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"

#include <QFile>
#include <QtEndian>
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

/// The child only when it is a whole atom inside its parent, so that reading it stays in bounds.
std::shared_ptr<MP4FileAtom> containedChild(const MP4FileAtom* parent, uint32_t type)
{
    if (!parent)
        return nullptr;
    auto child = parent->childFileAtomWithType(type);
    const uint64_t end = endOf(*parent);
    if (!child || end - child->offset() < 8)
        return nullptr;
    const uint32_t length = child->length();
    return length >= child->childDataOffset() && length <= end - child->offset() ? child : nullptr;
}

/// True when the sibling walk over the parent's content meets only whole atoms of at least a
/// header's length and ends exactly at the parent's end. Anything appended to such a container is
/// found again by the walk, and no write can land outside it.
bool childrenAreSound(const MP4FileAtom& parent)
{
    const uint64_t end = endOf(parent);
    uint64_t p = parent.offset() + parent.childDataOffset();
    while (p < end) {
        if (end - p < 8)
            return false;
        const MP4FileAtom child(p, parent.fileHandle());
        const uint32_t length = child.length();
        if (length < child.childDataOffset() || length > end - p)
            return false;
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

    // Step over the identifier: the walk for 'data' then begins right after it. Its end bound comes
    // from the identifier's middle bytes, so the match is checked against the real atom below.
    const MP4FileAtom afterIdentifier(uuidAtom->offset() + 16, mFileHandle);
    const auto data = afterIdentifier.childFileAtomWithType(Data);
    if (!data || endOf(*uuidAtom) - data->offset() < 8 || data->length() < 8 ||
        data->length() > endOf(*uuidAtom) - data->offset())
        return std::nullopt;
    uint32_t flags = 0;
    const auto value = readDataAtom(*data, &flags);
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

bool MP4Tags::setData(const QByteArray& data, uint32_t atomCode, uint32_t type,
                      const std::optional<QByteArray>& uuid)
{
    if (atomCode == UUIDAtom)
        SP_ASSERT(uuid.has_value(), "Invalid parameter not satisfying: uuid != nil");
    else
        SP_ASSERT(!uuid.has_value(), "Invalid parameter not satisfying: uuid == nil");
    SP_ASSERT(data.size() < INT32_MAX - 64, "Tag value too large for an atom");

    const auto mdat = MP4FileAtom::withType(Mdat, mFileHandle);
    const uint64_t mdatOffset = mdat ? mdat->offset() : 0;
    const auto moov = MP4FileAtom::withType(Moov, mFileHandle);
    if (!moov) {
        logTagError(NoMoovMessage);
        return false;
    }
    const auto item = createDataAtom(atomCode, data, type, uuid);
    if (!checkChainBeforeWriting(*moov, atomCode, item->length(), mdatOffset > moov->offset()))
        return false;

    // Each container's length is corrected by exactly the bytes that went into it.
    int32_t growth = 0;
    auto udta = moov->childFileAtomWithType(Udta);
    if (!udta) {
        growth += int32_t(moov->addChild(MP4Atom::memoryAtomWithType(Udta, {})));
        udta = moov->childFileAtomWithType(Udta);
    }
    int32_t delta = 0;
    if (atomCode != UUIDAtom) {
        auto meta = udta->childFileAtomWithType(Meta);
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
        if (!meta->childFileAtomWithType(Hdlr))
            growMeta(newHdlr());
        auto ilst = meta->childFileAtomWithType(Ilst);
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
    if (mdatOffset > moov->offset())
        fixStco(delta + growth);
    return true;
}

bool MP4Tags::checkChainBeforeWriting(const MP4FileAtom& moov, uint32_t atomCode, uint32_t itemLength,
                                      bool offsetsFollow) const
{
    const auto damaged = [] {
        logTagError(DamagedChainMessage);
        return false;
    };
    if (!topLevelAtom(Moov) || !childrenAreSound(moov))
        return damaged();

    int64_t growth = 0;
    uint32_t oldLength = 0;
    const auto udta = moov.childFileAtomWithType(Udta);
    if (udta && !childrenAreSound(*udta))
        return damaged();
    if (atomCode == UUIDAtom) {
        const auto old = udta ? udta->childFileAtomWithType(UUIDAtom) : nullptr;
        growth = udta ? 0 : 8;
        oldLength = old ? old->length() : 0;
    } else {
        const auto meta = udta ? udta->childFileAtomWithType(Meta) : nullptr;
        if (meta && !childrenAreSound(*meta))
            return damaged();
        const auto ilst = meta ? meta->childFileAtomWithType(Ilst) : nullptr;
        if (ilst && !childrenAreSound(*ilst))
            return damaged();
        const auto old = ilst ? ilst->childFileAtomWithType(atomCode) : nullptr;
        const bool hasHdlr = meta && meta->childFileAtomWithType(Hdlr);
        growth = (udta ? 0 : 8) + (meta ? 0 : 12) + (hasHdlr ? 0 : 34) + (ilst ? 0 : 8);
        oldLength = old ? old->length() : 0;
    }
    const int64_t delta = growth + int64_t(itemLength) - int64_t(oldLength);
    if (int64_t(moov.length()) + delta > int64_t(UINT32_MAX))
        return damaged();

    if (offsetsFollow && delta != 0) {
        bool sound = true;
        const auto stbl = sampleTableAtom(moov, &sound);
        if (!sound)
            return damaged();
        // Moving the tags without moving the audio's offsets would break the audio.
        if (!stbl || (!stbl->childFileAtomWithType(Stco) && !stbl->childFileAtomWithType(Co64))) {
            logTagError(NoChunkOffsetsMessage);
            return false;
        }
    }
    return true;
}

std::shared_ptr<MP4FileAtom> MP4Tags::sampleTableAtom(const MP4FileAtom& moov, bool* sound) const
{
    std::shared_ptr<MP4FileAtom> atom = std::make_shared<MP4FileAtom>(moov.offset(), mFileHandle);
    for (const uint32_t type : {fourCC("trak"), fourCC("mdia"), fourCC("minf"), fourCC("stbl")}) {
        if (!childrenAreSound(*atom)) {
            *sound = false;
            return nullptr;
        }
        atom = atom->childFileAtomWithType(type);
        if (!atom)
            return nullptr;
    }
    *sound = childrenAreSound(*atom);
    return *sound ? atom : nullptr;
}

void MP4Tags::fixStco(int32_t delta)
{
    if (delta == 0)
        return;
    const auto moov = topLevelAtom(Moov);
    bool sound = true;
    const auto stbl = moov ? sampleTableAtom(*moov, &sound) : nullptr;
    if (!sound) {
        logTagError(DamagedChainMessage);
        return;
    }
    if (const auto stco = stbl ? stbl->childFileAtomWithType(Stco) : nullptr)
        fixStco32(*stbl, *stco, delta);
    else if (const auto co64 = stbl ? stbl->childFileAtomWithType(Co64) : nullptr)
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
