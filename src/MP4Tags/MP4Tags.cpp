#include "MP4Tags/MP4Tags.h"

#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4MemoryAtom.h"
#include "MP4Tags/MP4MoovWriter.h"
#include "MP4Tags/PositionedIO.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {

constexpr uint32_t Moov = fourCC("moov");
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

void logTagError(const QString& message)
{
    logErrorAfterSource(logSourceName(__FILE__), message);
}

void logTagError(const char* message)
{
    logTagError(QString::fromLatin1(message));
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

// The cover art goes last, after the text items: a reader of the text stops short of it, and a
// list of tapes reads one page less of each.
void putItem(MP4Box& ilst, const MP4Box& item)
{
    auto& items = ilst.children();
    if (const auto old = std::ranges::find(items, item.type(), &MP4Box::type); old != items.end())
        items.erase(old);
    const auto cover = item.type() == MP4Tags::CoverArtAtom
                           ? items.end()
                           : std::ranges::find(items, MP4Tags::CoverArtAtom, &MP4Box::type);
    items.insert(cover, item);
}

std::shared_ptr<MP4MemoryAtom> newHdlr()
{
    QByteArray payload(8, '\0');
    payload += "mdirappl";
    payload += QByteArray(10, '\0');
    return MP4Atom::memoryAtomWithType(Hdlr, payload);
}

// The descriptor when it is a regular file; anything else (a FIFO, a folder) is closed and turned away.
int regularFileOnly(int fileHandle)
{
    struct stat status;
    if (fileHandle >= 0 && (fstat(fileHandle, &status) != 0 || !S_ISREG(status.st_mode))) {
        close(fileHandle);
        return -1;
    }
    return fileHandle;
}

} // namespace

std::unique_ptr<MP4Tags> MP4Tags::fromFile(const QString& path)
{
    // Non-blocking, so that a FIFO is never waited on before it is turned away.
    const QByteArray name = QFile::encodeName(path);
    bool writable = true;
    int fileHandle = open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644);
    if (fileHandle < 0 && (errno == EACCES || errno == EROFS || errno == ETXTBSY)) {
        writable = false;
        fileHandle = open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    }
    fileHandle = regularFileOnly(fileHandle);
    if (fileHandle < 0)
        return nullptr;
    fcntl(fileHandle, F_SETFL, fcntl(fileHandle, F_GETFL) & ~O_NONBLOCK);
    return std::unique_ptr<MP4Tags>(new MP4Tags(fileHandle, path, writable));
}

std::unique_ptr<MP4Tags> MP4Tags::forReading(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    const int fileHandle = regularFileOnly(open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fileHandle < 0)
        return nullptr;
    posix_fadvise(fileHandle, 0, 0, POSIX_FADV_RANDOM);
    return std::unique_ptr<MP4Tags>(new MP4Tags(fileHandle, path, false));
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
    const int64_t fileLength = spindrel::fileLength(mFileHandle);
    if (!atom || fileLength < 0 || uint64_t(fileLength) - atom->offset() < 8)
        return nullptr;
    const uint32_t length = atom->length();
    return length >= atom->childDataOffset() && length <= uint64_t(fileLength) - atom->offset() ? atom
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
    // Other programs keep 'uuid' boxes of their own here too: ours is the one with its identifier.
    std::shared_ptr<MP4FileAtom> uuidAtom;
    if (udta) {
        const uint64_t end = endOf(*udta);
        uint64_t start = udta->offset() + udta->childDataOffset();
        while (!uuidAtom && start < end) {
            const uint64_t found = MP4FileAtom::offsetOfChildAtom(UUIDAtom, start, end, mFileHandle);
            uint32_t length = 0;
            uint32_t type = 0;
            if (found == MP4Atom::NotFound || end - found < 24 ||
                !readHeaderAt(mFileHandle, found, length, type) || length < 24 || length > end - found)
                return std::nullopt;
            QByteArray identifier(16, '\0');
            if (preadFully(mFileHandle, identifier.data(), 16, found + 8) != 16)
                return std::nullopt;
            if (identifier == uuid)
                uuidAtom = std::make_shared<MP4FileAtom>(found, mFileHandle);
            start = found + length;
        }
    }
    if (!uuidAtom)
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

void MP4Tags::beginEdit()
{
    mEditing = true;
}

bool MP4Tags::setData(const QByteArray& data, uint32_t atomCode, uint32_t type,
                      const std::optional<QByteArray>& uuid)
{
    if (atomCode == UUIDAtom)
        SP_ASSERT(uuid.has_value(), "Invalid parameter not satisfying: uuid != nil");
    else
        SP_ASSERT(!uuid.has_value(), "Invalid parameter not satisfying: uuid == nil");
    SP_ASSERT(data.size() < INT32_MAX - 64, "Tag value too large for an atom");

    const bool single = !mEditing;
    if (single)
        beginEdit();
    MP4Box* moov = editedMoov();
    const auto item = MP4Box::parse(createDataAtom(atomCode, data, type, uuid)->data());
    MP4Box* udta = moov ? moov->child(Udta) : nullptr;
    if (moov && !udta) {
        moov->children().emplace_back(Udta, QByteArray());
        udta = &moov->children().back();
    }
    bool staged = udta && udta->expand();
    if (staged && atomCode == UUIDAtom) {
        // Only the box with this identifier is ours; another program's stay as they are. Ours goes
        // before 'meta', so that it is read before the cover art rather than after it.
        auto& children = udta->children();
        const auto ours = std::ranges::find_if(children, [&uuid](const MP4Box& box) {
            return box.type() == UUIDAtom && box.content().left(16) == *uuid;
        });
        if (ours != children.end())
            children.erase(ours);
        children.insert(std::ranges::find(children, Meta, &MP4Box::type), *item);
    } else if (staged) {
        MP4Box* meta = udta->child(Meta);
        if (!meta) {
            udta->children().emplace_back(Meta, QByteArray(4, '\0'));
            meta = &udta->children().back();
        }
        // QuickTime writes 'meta' without the version word of the MPEG-4 form.
        const bool quickTime =
            meta->isExpanded() ? meta->content().isEmpty() : meta->content().mid(4, 4) == "hdlr";
        staged = meta->expand(quickTime ? 0 : 4);
        if (staged && !meta->child(Hdlr))
            meta->insertChild(0, *MP4Box::parse(newHdlr()->data()));
        MP4Box* ilst = staged ? meta->child(Ilst) : nullptr;
        if (staged && !ilst) {
            meta->children().emplace_back(Ilst, QByteArray());
            ilst = &meta->children().back();
        }
        staged = staged && ilst->expand();
        if (staged)
            putItem(*ilst, *item);
    }
    if (moov && !staged)
        refuse(DamagedChainMessage, tr("“%1” is damaged: its tags cannot be read whole."));
    return single ? save() : staged;
}

MP4Box* MP4Tags::editedMoov()
{
    if (mMoov || mEditFailed)
        return mMoov ? &*mMoov : nullptr;
    if (!mWritable) {
        refuse(nullptr, tr("“%1” is read-only."));
        return nullptr;
    }
    if (!MP4FileLayout::read(mFileHandle, mLayout)) {
        refuse(nullptr, tr("“%1” could not be read."));
        return nullptr;
    }
    mMoovIndex = mLayout.indexOf(Moov);
    // Bytes that hold no box at all are no MPEG-4 file; boxes that stop short are a damaged one.
    if (mMoovIndex < 0 && (mLayout.complete || mLayout.boxes.empty())) {
        refuse(NoMoovMessage, tr("“%1” is not an MPEG-4 audio file: it has no movie header."));
        return nullptr;
    }
    if (mMoovIndex < 0 || !mLayout.complete) {
        refuse(DamagedChainMessage, tr("“%1” is damaged: it ends before its last atom does."));
        return nullptr;
    }
    const MP4FileLayout::Box& box = mLayout.boxes[size_t(mMoovIndex)];
    QByteArray bytes;
    if (box.size < (uint64_t(1) << 30)) {
        bytes.resize(qsizetype(box.size));
        if (preadFully(mFileHandle, bytes.data(), size_t(bytes.size()), box.offset) != bytes.size())
            bytes.clear();
    }
    mMoov = MP4Box::parse(bytes);
    if (!mMoov || !mMoov->expand()) {
        mMoov.reset();
        refuse(DamagedChainMessage, tr("“%1” is damaged: its movie header cannot be read."));
        return nullptr;
    }
    return &*mMoov;
}

bool MP4Tags::save()
{
    mEditing = false;
    const bool failed = mEditFailed;
    mEditFailed = false;
    if (!mMoov)
        return !failed;
    MP4Box moov = std::move(*mMoov);
    mMoov.reset();
    if (failed)
        return false;
    // Nothing else may have changed the file since the edit read it.
    MP4FileLayout now;
    if (!MP4FileLayout::read(mFileHandle, now) || now.boxes.size() != mLayout.boxes.size() ||
        now.fileLength != mLayout.fileLength)
        return refuse(nullptr, tr("“%1” was changed by another program during the edit."));
    MP4MoovWriter writer(mFileHandle, mPath);
    if (!writer.write(moov, mLayout, mMoovIndex)) {
        mError = writer.errorString();
        return false;
    }
    mError.clear();
    return true;
}

bool MP4Tags::refuse(const char* logged, const QString& message)
{
    if (logged)
        logTagError(logged);
    mError = message.arg(QFileInfo(mPath).fileName());
    mEditFailed = true;
    return false;
}

int MP4Tags::removeStaleEditFiles(const QString& folder)
{
    return MP4MoovWriter::removeStaleEditFiles(folder);
}

bool MP4Tags::isEditFileName(const QString& name)
{
    return MP4MoovWriter::isEditFileName(name);
}

bool MP4Tags::fixStco(int32_t delta)
{
    if (delta == 0)
        return true;
    const bool single = !mEditing;
    if (single)
        beginEdit();
    std::vector<MP4Box*> tables;
    MP4Box* moov = editedMoov();
    if (moov && !(moov->collect(Stco, tables) && moov->collect(Co64, tables)))
        refuse(DamagedChainMessage, tr("“%1” is damaged: its tracks cannot be read whole."));
    else if (moov && tables.empty())
        refuse(NoChunkOffsetsMessage, tr("“%1” has no chunk offsets."));
    for (MP4Box* table : tables) {
        QByteArray content = table->content();
        const qsizetype entry = table->type() == Co64 ? 8 : 4;
        for (qsizetype i = 8; i + entry <= content.size(); i += entry) {
            if (entry == 8)
                qToBigEndian(qFromBigEndian<uint64_t>(content.constData() + i) + uint64_t(int64_t(delta)),
                             content.data() + i);
            else
                qToBigEndian(qFromBigEndian<uint32_t>(content.constData() + i) + uint32_t(delta),
                             content.data() + i);
        }
        table->setContent(content);
    }
    return single ? save() : !mEditFailed;
}

} // namespace spindrel
