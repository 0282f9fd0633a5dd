#include "tapes/TapeLetterArchive.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <plist/plist.h>

using namespace spindrel;

namespace {

// Archives laid out as other writers lay them out, built node by node.
plist_t dict(std::initializer_list<std::pair<const char*, plist_t>> entries)
{
    plist_t node = plist_new_dict();
    for (const auto& [key, value] : entries)
        plist_dict_set_item(node, key, value);
    return node;
}
plist_t array(std::initializer_list<plist_t> items)
{
    plist_t node = plist_new_array();
    for (const plist_t item : items)
        plist_array_append_item(node, item);
    return node;
}
plist_t str(const char* text)
{
    return plist_new_string(text);
}
QByteArray binary(plist_t root)
{
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    const QByteArray archive(bytes, qsizetype(length));
    plist_to_bin_free(bytes);
    plist_free(root);
    return archive;
}
QByteArray keyedArchive(plist_t objects, uint64_t root)
{
    return binary(dict({{"$objects", objects},
                        {"$top", dict({{"letter", plist_new_uid(root)}})},
                        {"$archiver", str("NSKeyedArchiver")},
                        {"$version", plist_new_uint(100000)}}));
}

// Another writer's order: class descriptions before the objects that use them, the root last but
// one, and a non-ASCII letter.
QByteArray archiveInAnotherOrder()
{
    return keyedArchive(
        array({str("$null"),
               dict({{"$classes", array({str("TapeLetter"), str("NSObject")})},
                     {"$classname", str("TapeLetter")}}),
               str("\u00d8"), dict({{"index", plist_new_uint(3)}, {"$class", plist_new_uid(5)}}),
               dict({{"letter", plist_new_uid(2)},
                     {"colorScheme", plist_new_uid(3)},
                     {"$class", plist_new_uid(1)}}),
               dict({{"$classname", str("TapeColorScheme")},
                     {"$classes", array({str("TapeColorScheme"), str("NSObject")})}})}),
        4);
}

// A letter text archived as a mutable string object, class descriptions without "$classes".
QByteArray archiveWithMutableString()
{
    return keyedArchive(
        array({str("$null"),
               dict({{"$classname", str("NSMutableString")},
                     {"$classes", array({str("NSMutableString"), str("NSString")})}}),
               dict({{"$classname", str("TapeColorScheme")}}), dict({{"$classname", str("TapeLetter")}}),
               dict({{"NS.string", str("K")}, {"$class", plist_new_uid(1)}}),
               dict({{"index", plist_new_uint(6)}, {"$class", plist_new_uid(2)}}),
               dict({{"$class", plist_new_uid(3)},
                     {"colorScheme", plist_new_uid(5)},
                     {"letter", plist_new_uid(4)}})}),
        6);
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
    EXPECT_FALSE(TapeLetterArchive::decode(binary(array({str("letter")}))));
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
        PlistOwner root = parse(encoded(QStringLiteral("M"), 4));
        mutate(root.get());
        return binary(root.release());
    };
    for (const auto& c : cases)
        EXPECT_FALSE(TapeLetterArchive::decode(mutated(c.mutate))) << c.what;
    // Unchanged, the same archive reads: each case above fails for its own reason.
    EXPECT_TRUE(TapeLetterArchive::decode(mutated([](plist_t) {})));
}
