#include "tapes/TapeLetterArchive.h"

#include <QHash>
#include <QStringList>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <plist/plist.h>

namespace spindrel {

namespace {

const char* const ArchiverName = "NSKeyedArchiver";
constexpr uint64_t ArchiverVersion = 100000;
const char* const RootKey = "letter";
const char* const LetterClassName = "TapeLetter";
const char* const SchemeClassName = "TapeColorScheme";

struct PlistDeleter
{
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistOwner = std::unique_ptr<void, PlistDeleter>;

plist_t classDescription(const char* className)
{
    plist_t classes = plist_new_array();
    plist_array_append_item(classes, plist_new_string(className));
    plist_array_append_item(classes, plist_new_string("NSObject"));
    plist_t description = plist_new_dict();
    plist_dict_set_item(description, "$classname", plist_new_string(className));
    plist_dict_set_item(description, "$classes", classes);
    return description;
}

// Reads the object graph of one archive; every accessor answers nullptr or nothing for a node of
// the wrong type, so that any malformation ends in "no letter".
class ArchiveReader
{
public:
    explicit ArchiveReader(plist_t root) : mRoot(root) {}

    std::optional<TapeLetter> letter() const
    {
        if (!isDict(mRoot) ||
            stringValue(plist_dict_get_item(mRoot, "$archiver")) != QLatin1String(ArchiverName))
            return std::nullopt;
        if (!integerValue(plist_dict_get_item(mRoot, "$version")))
            return std::nullopt;
        plist_t top = plist_dict_get_item(mRoot, "$top");
        if (!isDict(top) || !isArray(objects()))
            return std::nullopt;

        plist_t letterObject = instanceOf(referenced(plist_dict_get_item(top, RootKey)), LetterClassName);
        if (!letterObject)
            return std::nullopt;
        const std::optional<QString> text =
            stringObject(referenced(plist_dict_get_item(letterObject, "letter")));
        plist_t schemeObject =
            instanceOf(referenced(plist_dict_get_item(letterObject, "colorScheme")), SchemeClassName);
        if (!text || !schemeObject)
            return std::nullopt;
        const std::optional<uint64_t> index = integerValue(plist_dict_get_item(schemeObject, "index"));
        if (!index || *index >= TapeColorScheme::Count)
            return std::nullopt;
        return TapeLetter(*text, TapeColorScheme::colorSchemeWithIndex(static_cast<unsigned>(*index)));
    }

private:
    static bool isDict(plist_t node) { return node && plist_get_node_type(node) == PLIST_DICT; }
    static bool isArray(plist_t node) { return node && plist_get_node_type(node) == PLIST_ARRAY; }

    static std::optional<QString> stringValue(plist_t node)
    {
        if (!node || plist_get_node_type(node) != PLIST_STRING)
            return std::nullopt;
        uint64_t length = 0;
        const char* value = plist_get_string_ptr(node, &length);
        if (!value)
            return std::nullopt;
        return QString::fromUtf8(value, static_cast<qsizetype>(length));
    }

    static std::optional<uint64_t> integerValue(plist_t node)
    {
        if (!node || plist_get_node_type(node) != PLIST_UINT)
            return std::nullopt;
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return value;
    }

    plist_t objects() const { return plist_dict_get_item(mRoot, "$objects"); }

    // The object a UID points at. Index 0 is the archiver's nil, which no field here may be.
    plist_t referenced(plist_t reference) const
    {
        if (!reference || plist_get_node_type(reference) != PLIST_UID)
            return nullptr;
        uint64_t uid = 0;
        plist_get_uid_val(reference, &uid);
        if (uid == 0 || uid >= plist_array_get_size(objects()))
            return nullptr;
        return plist_array_get_item(objects(), static_cast<uint32_t>(uid));
    }

    // The object itself when it is an instance of className (or of a subclass of it).
    plist_t instanceOf(plist_t object, const char* className) const
    {
        if (!isDict(object))
            return nullptr;
        plist_t description = referenced(plist_dict_get_item(object, "$class"));
        if (!isDict(description))
            return nullptr;
        const QLatin1String wanted(className);
        if (stringValue(plist_dict_get_item(description, "$classname")) == wanted)
            return object;
        plist_t classes = plist_dict_get_item(description, "$classes");
        if (!isArray(classes))
            return nullptr;
        for (uint32_t i = 0; i < plist_array_get_size(classes); ++i) {
            if (stringValue(plist_array_get_item(classes, i)) == wanted)
                return object;
        }
        return nullptr;
    }

    // Strings come inline, or wrapped when the archived string was a mutable one.
    std::optional<QString> stringObject(plist_t object) const
    {
        if (isDict(object) && instanceOf(object, "NSString"))
            return stringValue(plist_dict_get_item(object, "NS.string"));
        return stringValue(object);
    }

    plist_t mRoot;
};

} // namespace

QByteArray TapeLetterArchive::encode(const TapeLetter& letter)
{
    // Object order as the platform's archiver writes it: the root, then what it encodes in turn,
    // each class description after the object that first needed it.
    enum : uint64_t { Null, LetterObject, SchemeObject, SchemeClass, LetterString, LetterClass };

    plist_t scheme = plist_new_dict();
    plist_dict_set_item(scheme, "$class", plist_new_uid(SchemeClass));
    plist_dict_set_item(scheme, "index", plist_new_uint(letter.colorScheme()->index()));

    plist_t letterObject = plist_new_dict();
    plist_dict_set_item(letterObject, "$class", plist_new_uid(LetterClass));
    plist_dict_set_item(letterObject, "colorScheme", plist_new_uid(SchemeObject));
    plist_dict_set_item(letterObject, "letter", plist_new_uid(LetterString));

    plist_t objects = plist_new_array();
    plist_array_append_item(objects, plist_new_string("$null"));
    plist_array_append_item(objects, letterObject);
    plist_array_append_item(objects, scheme);
    plist_array_append_item(objects, classDescription(SchemeClassName));
    plist_array_append_item(objects, plist_new_string(letter.letter().toUtf8().constData()));
    plist_array_append_item(objects, classDescription(LetterClassName));

    plist_t top = plist_new_dict();
    plist_dict_set_item(top, RootKey, plist_new_uid(LetterObject));

    PlistOwner root(plist_new_dict());
    plist_dict_set_item(root.get(), "$version", plist_new_uint(ArchiverVersion));
    plist_dict_set_item(root.get(), "$archiver", plist_new_string(ArchiverName));
    plist_dict_set_item(root.get(), "$top", top);
    plist_dict_set_item(root.get(), "$objects", objects);

    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root.get(), &bytes, &length);
    QByteArray archive(bytes, bytes ? static_cast<qsizetype>(length) : 0);
    plist_to_bin_free(bytes);
    return archive;
}

namespace {

std::optional<TapeLetter> decodeArchive(const QByteArray& archive)
{
    if (archive.isEmpty() || static_cast<uint64_t>(archive.size()) > std::numeric_limits<uint32_t>::max())
        return std::nullopt;
    plist_t parsed = nullptr;
    plist_from_bin(archive.constData(), static_cast<uint32_t>(archive.size()), &parsed);
    if (!parsed)
        return std::nullopt;
    PlistOwner root(parsed);
    return ArchiveReader(root.get()).letter();
}

} // namespace

std::optional<TapeLetter> TapeLetterArchive::decode(const QByteArray& archive)
{
    // A library holds thousands of tapes but few distinct letters, and parsing a property list
    // costs far more than the rest of loading a tape: remember what each archive decoded to.
    struct Decoded
    {
        bool valid;
        QString letter;
        unsigned schemeIndex;
    };
    // Libraries load on worker threads.
    static std::mutex mutex;
    static QHash<QByteArray, Decoded> decoded;
    const std::lock_guard lock(mutex);
    auto found = decoded.constFind(archive);
    if (found == decoded.constEnd()) {
        const auto letter = decodeArchive(archive);
        if (decoded.size() > 256)
            decoded.clear();
        found =
            decoded.insert(archive, letter ? Decoded{true, letter->letter(), letter->colorScheme()->index()}
                                           : Decoded{false, {}, 0});
    }
    if (!found->valid)
        return std::nullopt;
    // Each decoded letter gets a scheme of its own, as a fresh decode would.
    return TapeLetter(found->letter, TapeColorScheme::colorSchemeWithIndex(found->schemeIndex));
}

} // namespace spindrel
