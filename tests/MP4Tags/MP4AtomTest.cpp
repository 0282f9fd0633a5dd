#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4MemoryAtom.h"
#include "MP4Tags/MP4TestFiles.h"

#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace spindrel;
using namespace mp4test;

namespace {

std::shared_ptr<MP4MemoryAtom> memoryAtom(const char (&type)[5], const QByteArray& payload = {})
{
    return MP4Atom::memoryAtomWithType(fourCC(type), payload);
}

// An atom that only says what it is, to reach the base class's operations.
class BareAtom : public MP4Atom
{
public:
    uint32_t length() const override { return 8; }
    void setLength(uint32_t) override {}
    uint32_t type() const override { return fourCC("free"); }
    QByteArray data() const override { return {}; }
    uint64_t offset() const override { return 0; }
};

using MP4FileAtomTest = ScratchFileTest;

} // namespace

TEST(MP4MemoryAtomTest, DataIsHeaderThenPayloadThenChildrenInOrder)
{
    EXPECT_EQ(memoryAtom("udta")->length(), 8u);
    EXPECT_EQ(memoryAtom("udta")->data(), box("udta"));

    auto meta = memoryAtom("meta", QByteArray(4, '\0'));
    EXPECT_EQ(meta->addChild(memoryAtom("hdlr", "abc")), 11u);
    EXPECT_EQ(meta->addChild(memoryAtom("ilst")), 8u);
    EXPECT_EQ(meta->length(), 31u);
    EXPECT_EQ(meta->data(), box("meta", QByteArray(4, '\0') + box("hdlr", "abc") + box("ilst")));
    EXPECT_EQ(meta->childAtomWithType(fourCC("ilst"))->length(), 8u);
    EXPECT_EQ(meta->childAtomWithType(fourCC("free")), nullptr);
}

TEST(MP4MemoryAtomTest, ReplacedChildGoesToTheEndOfTheList)
{
    auto ilst = memoryAtom("ilst");
    ilst->addChild(memoryAtom("aaaa", "12"));
    ilst->addChild(memoryAtom("bbbb"));
    EXPECT_EQ(ilst->replaceChildAtomOfType(fourCC("aaaa"), memoryAtom("aaaa", "123456")), 4);
    EXPECT_EQ(ilst->data(), box("ilst", box("bbbb") + box("aaaa", "123456")));
    EXPECT_EQ(ilst->replaceChildAtomOfType(fourCC("cccc"), memoryAtom("cccc", "x")), 9);
    EXPECT_EQ(ilst->length(), 8u + 8 + 14 + 9);
}

TEST(MP4MemoryAtomTest, MisuseIsAnAssertion)
{
    auto atom = memoryAtom("moov");
    EXPECT_EQ(assertionFrom([&] { atom->setLength(20); }), "Can't set length of a memory atom");
    EXPECT_EQ(assertionFrom([&] { atom->offset(); }), "Looking for offset of memory atom!");
    EXPECT_EQ(assertionFrom([&] { atom->findChildAtomWithType(fourCC("trak")); }),
              "Must call findChildAtomWithType: on concrete subclass");
    BareAtom bare;
    EXPECT_EQ(assertionFrom([&] { bare.addChild(atom); }), "Must call addChild: on concrete subclass");
    EXPECT_EQ(assertionFrom([&] { bare.childAtomWithType(1); }),
              "Must call childAtomWithType: on concrete subclass");
    EXPECT_EQ(assertionFrom([&] { bare.replaceChildAtomOfType(1, atom); }),
              "Must call replaceChildAtomOfType:withAtom: on concrete subclass");
}

TEST(MP4MemoryAtomTest, DescriptionShowsLengthAndQuotedType)
{
    EXPECT_EQ(memoryAtom("moov", QByteArray(992, 'x'))->description(), QStringLiteral("{(1000),('moov')}"));
    EXPECT_EQ(MP4Atom::stringForType(0xA96E616D), QStringLiteral("'©nam'"));
}

TEST_F(MP4FileAtomTest, TopLevelSearchFollowsSizesAndStopsAtZero)
{
    const QByteArray moov = box("moov", box("mvhd", QByteArray(992 - 8, '\0')));
    const int file = openWith(box("ftyp", "M4A ") + box("free") + moov);
    const auto found = MP4Atom::fileAtomWithType(fourCC("moov"), file);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->offset(), 20u);
    EXPECT_EQ(found->description(), QStringLiteral("{(1000),('moov')}"));
    EXPECT_EQ(found->data(), moov);
    EXPECT_EQ(MP4Atom::fileAtomWithType(fourCC("mdat"), file), nullptr);

    const int zeroFirst = openWith(box("ftyp", "M4A ") + be32(0) + "free" + moov);
    EXPECT_EQ(MP4Atom::fileAtomWithType(fourCC("moov"), zeroFirst), nullptr);
}

TEST_F(MP4FileAtomTest, MetaContentStartsAfterItsVersionWord)
{
    const QByteArray content = be32(0) + box("hdlr", "x");
    const int file = openWith(box("meta", content) + box("udta", content));
    MP4FileAtom meta(0, file);
    MP4FileAtom udta(content.size() + 8, file);
    EXPECT_EQ(meta.childDataOffset(), 12u);
    EXPECT_EQ(meta.childData(), box("hdlr", "x"));
    ASSERT_TRUE(meta.childAtomWithType(fourCC("hdlr")));
    EXPECT_EQ(meta.childAtomWithType(fourCC("hdlr"))->offset(), 12u);
    // Elsewhere the version word reads as a size of 0, which ends the walk.
    EXPECT_EQ(udta.childAtomWithType(fourCC("hdlr")), nullptr);
}

TEST_F(MP4FileAtomTest, ByteScanFindsAtomsAtAnyDepthAndAlignment)
{
    const QByteArray esds = box("esds", "config");
    const int file = openWith(box("stsd", QByteArray("\x00\x01\x02", 3) + box("mp4a", "abcde" + esds)));
    MP4FileAtom stsd(0, file);
    EXPECT_EQ(stsd.childAtomWithType(fourCC("esds")), nullptr);
    const auto found = stsd.findChildFileAtomWithType(fourCC("esds"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->offset(), 8u + 3 + 8 + 5);
    EXPECT_EQ(found->data(), esds);
}

TEST_F(MP4FileAtomTest, ReplacingAChildResizesFileAndParentInPlace)
{
    const QByteArray after = box("mdat", "audio");
    for (const int newLength : {20, 40, 30}) {
        const QByteArray old = box("aaaa", QByteArray(22, 'o'));
        const QByteArray replacement = box("aaaa", QByteArray(newLength - 8, 'n'));
        const int file = openWith(box("ilst", old + box("bbbb")) + after);
        MP4FileAtom ilst(0, file);
        EXPECT_EQ(
            ilst.replaceChildAtomOfType(fourCC("aaaa"), memoryAtom("aaaa", QByteArray(newLength - 8, 'n'))),
            newLength - 30);
        EXPECT_EQ(contents(), box("ilst", replacement + box("bbbb")) + after);
    }
}

TEST_F(MP4FileAtomTest, AddedChildGoesToTheEndOfTheAtom)
{
    const int file = openWith(box("moov", box("mvhd")) + box("mdat", "audio"));
    MP4FileAtom moov(0, file);
    EXPECT_EQ(moov.addChild(memoryAtom("udta")), 8u);
    EXPECT_EQ(contents(), box("moov", box("mvhd") + box("udta")) + box("mdat", "audio"));
}

TEST_F(MP4FileAtomTest, ChildDataIsRewrittenOnlyAtItsOwnLength)
{
    const QByteArray original = box("stco", "12345678") + box("free");
    const int file = openWith(original);
    MP4FileAtom stco(0, file);
    EXPECT_EQ(assertionFrom([&] { stco.setChildData("123"); }),
              "Trying to set larger child data on a file atom than what fits");
    EXPECT_EQ(assertionFrom([&] { stco.setChildData("123456789"); }),
              "Trying to set larger child data on a file atom than what fits");
    EXPECT_EQ(contents(), original);
    stco.setChildData("abcdefgh");
    EXPECT_EQ(contents(), box("stco", "abcdefgh") + box("free"));
}

TEST_F(MP4FileAtomTest, ReadsPastTheEndAreAssertions)
{
    const int file = openWith(be32(100) + "moov" + "short");
    MP4FileAtom moov(0, file);
    EXPECT_EQ(assertionFrom([&] { moov.data(); }), "Did not read data successfully.");
    EXPECT_EQ(assertionFrom([&] { moov.childData(); }), "Did not read child data successfully.");
    EXPECT_EQ(assertionFrom([&] { MP4FileAtom(11, file).length(); }), "Did not read 4 bytes successfully.");
}
