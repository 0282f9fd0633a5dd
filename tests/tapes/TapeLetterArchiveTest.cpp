#include "tapes/TapeLetterArchive.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <plist/plist.h>

using namespace spindrel;

namespace {

// Writes a binary property list byte by byte, in the object order and with the widths the test
// chooses, without the library the archive code uses.
class HandMadePlist
{
public:
    HandMadePlist(int referenceWidth, int offsetWidth)
        : mReferenceWidth(referenceWidth), mOffsetWidth(offsetWidth)
    {
    }

    int ascii(const QByteArray& text) { return add(marker(0x50, text.size()) + text); }
    int utf16(const QString& text)
    {
        QByteArray bytes = marker(0x60, text.size());
        for (const QChar c : text)
            bytes += be(c.unicode(), 2);
        return add(bytes);
    }
    int integer(uint64_t value, int width)
    {
        return add(char(0x10 | qCountTrailingZeroBits(unsigned(width))) + be(value, width));
    }
    int uid(uint64_t value, int width) { return add(char(0x80 | (width - 1)) + be(value, width)); }
    int array(const QList<int>& items) { return add(container(0xA0, items)); }
    int dict(const QList<std::pair<int, int>>& entries) { return add(dictBytes(entries)); }
    // A dictionary whose entries refer to objects made after it.
    int reserve() { return add({}); }
    void setDict(int slot, const QList<std::pair<int, int>>& entries) { mObjects[slot] = dictBytes(entries); }

    QByteArray build(int top) const
    {
        QByteArray file("bplist00"), offsets;
        for (const QByteArray& object : mObjects) {
            offsets += be(uint64_t(file.size()), mOffsetWidth);
            file += object;
        }
        const uint64_t tableOffset = uint64_t(file.size());
        return file + offsets + QByteArray(6, '\0') + char(mOffsetWidth) + char(mReferenceWidth) +
               be(uint64_t(mObjects.size()), 8) + be(uint64_t(top), 8) + be(tableOffset, 8);
    }

private:
    static QByteArray be(uint64_t value, int width)
    {
        QByteArray bytes(width, '\0');
        for (int i = width - 1; i >= 0; --i, value >>= 8)
            bytes[i] = char(value & 0xff);
        return bytes;
    }
    static QByteArray marker(int type, qsizetype count)
    {
        return count < 15 ? QByteArray(1, char(type | count))
                          : char(type | 0x0f) + QByteArray("\x10") + char(count);
    }
    int add(const QByteArray& object)
    {
        mObjects << object;
        return int(mObjects.size() - 1);
    }
    QByteArray container(int type, const QList<int>& references, qsizetype count = -1) const
    {
        QByteArray bytes = marker(type, count < 0 ? references.size() : count);
        for (const int reference : references)
            bytes += be(uint64_t(reference), mReferenceWidth);
        return bytes;
    }
    QByteArray dictBytes(const QList<std::pair<int, int>>& entries) const
    {
        QList<int> references;
        for (const auto& entry : entries)
            references << entry.first;
        for (const auto& entry : entries)
            references << entry.second;
        return container(0xD0, references, entries.size());
    }

    int mReferenceWidth, mOffsetWidth;
    QList<QByteArray> mObjects;
};

// Another writer's order: $objects [$null, letter class, text, scheme, letter, scheme class], the
// root last in the file; two-byte references, four-byte offsets, UIDs one, two and four bytes wide,
// eight-byte integers, shared key strings and a non-ASCII letter in UTF-16.
QByteArray archiveInAnotherOrder()
{
    HandMadePlist p(2, 4);
    const int root = p.reserve();
    const int classKey = p.ascii("$class"), nameKey = p.ascii("$classname"), classesKey = p.ascii("$classes");
    const int nsObject = p.ascii("NSObject"), letterName = p.ascii("TapeLetter"),
              schemeName = p.ascii("TapeColorScheme");
    const int objects = p.array({
        p.ascii("$null"),
        p.dict({{classesKey, p.array({letterName, nsObject})}, {nameKey, letterName}}),
        p.utf16(QStringLiteral("\u00d8")),
        p.dict({{p.ascii("index"), p.integer(3, 8)}, {classKey, p.uid(5, 1)}}),
        p.dict({{p.ascii("letter"), p.uid(2, 2)},
                {p.ascii("colorScheme"), p.uid(3, 4)},
                {classKey, p.uid(1, 1)}}),
        p.dict({{nameKey, schemeName}, {classesKey, p.array({schemeName, nsObject})}}),
    });
    p.setDict(root, {{p.ascii("$objects"), objects},
                     {p.ascii("$top"), p.dict({{p.ascii("letter"), p.uid(4, 2)}})},
                     {p.ascii("$archiver"), p.ascii("NSKeyedArchiver")},
                     {p.ascii("$version"), p.integer(100000, 8)}});
    return p.build(root);
}

// A letter text archived as a mutable string object, class descriptions first (one without
// "$classes"), one-byte references, a two-byte index.
QByteArray archiveWithMutableString()
{
    HandMadePlist p(1, 2);
    const int classKey = p.ascii("$class"), nameKey = p.ascii("$classname");
    const int objects = p.array({
        p.ascii("$null"),
        p.dict({{nameKey, p.ascii("NSMutableString")},
                {p.ascii("$classes"), p.array({p.ascii("NSMutableString"), p.ascii("NSString")})}}),
        p.dict({{nameKey, p.ascii("TapeColorScheme")}}),
        p.dict({{nameKey, p.ascii("TapeLetter")}}),
        p.dict({{p.ascii("NS.string"), p.ascii("K")}, {classKey, p.uid(1, 1)}}),
        p.dict({{p.ascii("index"), p.integer(6, 2)}, {classKey, p.uid(2, 1)}}),
        p.dict({{classKey, p.uid(3, 1)},
                {p.ascii("colorScheme"), p.uid(5, 1)},
                {p.ascii("letter"), p.uid(4, 1)}}),
    });
    return p.build(p.dict({{p.ascii("$archiver"), p.ascii("NSKeyedArchiver")},
                           {p.ascii("$version"), p.integer(100000, 4)},
                           {p.ascii("$top"), p.dict({{p.ascii("letter"), p.uid(6, 1)}})},
                           {p.ascii("$objects"), objects}}));
}

struct PlistDeleter
{
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistOwner = std::unique_ptr<void, PlistDeleter>;

PlistOwner parse(const QByteArray& bytes)
{
    plist_t root = nullptr;
    plist_from_bin(bytes.constData(), uint32_t(bytes.size()), &root);
    return PlistOwner(root);
}

QString text(plist_t node)
{
    uint64_t length = 0;
    const char* value = plist_get_string_ptr(node, &length);
    return value ? QString::fromUtf8(value, qsizetype(length)) : QStringLiteral("<not a string>");
}

uint64_t number(plist_t node)
{
    uint64_t value = 0;
    plist_get_node_type(node) == PLIST_UID ? plist_get_uid_val(node, &value)
                                           : plist_get_uint_val(node, &value);
    return value;
}

plist_t resolve(plist_t root, plist_t reference)
{
    return plist_array_get_item(plist_dict_get_item(root, "$objects"), uint32_t(number(reference)));
}
plist_t letterObject(plist_t root)
{
    return resolve(root, plist_dict_get_item(plist_dict_get_item(root, "$top"), "letter"));
}
plist_t schemeObject(plist_t root)
{
    return resolve(root, plist_dict_get_item(letterObject(root), "colorScheme"));
}
plist_t classOf(plist_t root, plist_t object)
{
    return resolve(root, plist_dict_get_item(object, "$class"));
}

QByteArray encoded(const QString& letter, unsigned index)
{
    return TapeLetterArchive::encode(TapeLetter(letter, TapeColorScheme::colorSchemeWithIndex(index)));
}

} // namespace

TEST(TapeLetterArchiveTest, RoundTripKeepsLetterAndScheme)
{
    for (unsigned index = 0; index < TapeColorScheme::Count; ++index) {
        for (const QString& letter :
             {QStringLiteral("A"), QStringLiteral("\u00c4"), QStringLiteral("\U0001F3B5"), QString()}) {
            SCOPED_TRACE(letter.toStdString() + " " + std::to_string(index));
            const auto read = TapeLetterArchive::decode(encoded(letter, index));
            ASSERT_TRUE(read);
            EXPECT_EQ(read->letter(), letter);
            EXPECT_EQ(read->colorScheme()->index(), index);
        }
    }
}

TEST(TapeLetterArchiveTest, WrittenArchiveHasTheKeyedArchiverLayout)
{
    const PlistOwner owner = parse(encoded(QStringLiteral("Z"), 5));
    const plist_t root = owner.get();
    ASSERT_TRUE(root);
    EXPECT_EQ(text(plist_dict_get_item(root, "$archiver")), QStringLiteral("NSKeyedArchiver"));
    EXPECT_EQ(number(plist_dict_get_item(root, "$version")), 100000u);
    EXPECT_EQ(text(plist_array_get_item(plist_dict_get_item(root, "$objects"), 0)), QStringLiteral("$null"));

    const plist_t letter = letterObject(root);
    EXPECT_EQ(text(plist_dict_get_item(classOf(root, letter), "$classname")), QStringLiteral("TapeLetter"));
    const plist_t classes = plist_dict_get_item(classOf(root, letter), "$classes");
    EXPECT_EQ(text(plist_array_get_item(classes, 0)) + text(plist_array_get_item(classes, 1)),
              QStringLiteral("TapeLetterNSObject"));
    EXPECT_EQ(text(resolve(root, plist_dict_get_item(letter, "letter"))), QStringLiteral("Z"));

    const plist_t scheme = schemeObject(root);
    EXPECT_EQ(text(plist_dict_get_item(classOf(root, scheme), "$classname")),
              QStringLiteral("TapeColorScheme"));
    ASSERT_EQ(plist_get_node_type(plist_dict_get_item(scheme, "index")), PLIST_UINT);
    EXPECT_EQ(number(plist_dict_get_item(scheme, "index")), 5u);
    EXPECT_EQ(plist_dict_get_size(scheme), 2u); // $class and index: colours are never stored
}

TEST(TapeLetterArchiveTest, ReadsArchivesLaidOutByOtherWritersAndNothingElse)
{
    const auto reordered = TapeLetterArchive::decode(archiveInAnotherOrder());
    ASSERT_TRUE(reordered);
    EXPECT_EQ(reordered->letter(), QStringLiteral("\u00d8"));
    EXPECT_EQ(reordered->colorScheme()->colorName(), QStringLiteral("green"));

    const auto wrapped = TapeLetterArchive::decode(archiveWithMutableString());
    ASSERT_TRUE(wrapped);
    EXPECT_EQ(wrapped->letter(), QStringLiteral("K"));
    EXPECT_EQ(wrapped->colorScheme()->colorName(), QStringLiteral("black"));

    // Truncated or foreign bytes read as no letter.
    const QByteArray archive = archiveInAnotherOrder();
    for (qsizetype length = 0; length < archive.size(); ++length)
        EXPECT_FALSE(TapeLetterArchive::decode(archive.left(length))) << length;
    EXPECT_FALSE(TapeLetterArchive::decode(QByteArray("bplist00") + QByteArray(40, '\xff')));
    EXPECT_FALSE(TapeLetterArchive::decode(QByteArray("<?xml version=\"1.0\"?><plist><dict/></plist>")));
    HandMadePlist list(1, 1);
    EXPECT_FALSE(TapeLetterArchive::decode(list.build(list.array({list.ascii("letter")}))));
}

TEST(TapeLetterArchiveTest, MalformedGraphsReadAsNoLetter)
{
    const auto set = [](plist_t dict, const char* key, plist_t value) {
        plist_dict_set_item(dict, key, value);
    };
    const auto top = [](plist_t root) { return plist_dict_get_item(root, "$top"); };
    const auto remove = [](plist_t dict, const char* key) { plist_dict_remove_item(dict, key); };
    const struct
    {
        const char* what;
        std::function<void(plist_t)> mutate;
    } cases[] = {
        {"foreign archiver", [&](plist_t r) { set(r, "$archiver", plist_new_string("NSArchiver")); }},
        {"top not a dictionary", [&](plist_t r) { set(r, "$top", plist_new_array()); }},
        {"no root key", [&](plist_t r) { remove(top(r), "letter"); }},
        {"root reference beyond the objects", [&](plist_t r) { set(top(r), "letter", plist_new_uid(99)); }},
        {"letter of another class",
         [&](plist_t r) {
             set(classOf(r, letterObject(r)), "$classname", plist_new_string("NSDictionary"));
             remove(classOf(r, letterObject(r)), "$classes");
         }},
        {"no letter text", [&](plist_t r) { remove(letterObject(r), "letter"); }},
        {"letter text nil", [&](plist_t r) { set(letterObject(r), "letter", plist_new_uid(0)); }},
        {"no scheme", [&](plist_t r) { remove(letterObject(r), "colorScheme"); }},
        {"scheme refers to the letter text",
         [&](plist_t r) {
             set(letterObject(r), "colorScheme", plist_copy(plist_dict_get_item(letterObject(r), "letter")));
         }},
        {"no index", [&](plist_t r) { remove(schemeObject(r), "index"); }},
        {"index beyond the table", [&](plist_t r) { set(schemeObject(r), "index", plist_new_uint(8)); }},
    };
    const auto mutated = [](const std::function<void(plist_t)>& mutate) {
        const PlistOwner root = parse(encoded(QStringLiteral("M"), 4));
        mutate(root.get());
        char* bytes = nullptr;
        uint32_t length = 0;
        plist_to_bin(root.get(), &bytes, &length);
        const QByteArray archive(bytes, qsizetype(length));
        plist_to_bin_free(bytes);
        return archive;
    };
    for (const auto& c : cases)
        EXPECT_FALSE(TapeLetterArchive::decode(mutated(c.mutate))) << c.what;
    // Unchanged, the same archive reads: each case above fails for its own reason.
    EXPECT_TRUE(TapeLetterArchive::decode(mutated([](plist_t) {})));
}
