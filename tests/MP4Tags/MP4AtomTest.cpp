#include "AssertionText.h"
#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4MemoryAtom.h"
#include "MP4Tags/MP4TestFiles.h"
#include "foundation/Assertion.h"

#include <gtest/gtest.h>

using namespace spindrel;
using spindrel::test::assertionFrom;
using namespace mp4test;

namespace {

std::shared_ptr<MP4MemoryAtom> memoryAtom(const char (&type)[5], const QByteArray& payload = {})
{
    return MP4Atom::memoryAtomWithType(fourCC(type), payload);
}

// Bytes that differ from their neighbours, so that a misplaced chunk shows. Several pages and a
// part page, so every chunk boundary is crossed.
const QByteArray original = [] {
    QByteArray bytes(10000, '\0');
    for (int i = 0; i < bytes.size(); ++i)
        bytes[i] = char((i * 7 + i / 251) % 256);
    return bytes;
}();

using MP4FileAtomTest = ScratchFileTest;

} // namespace

TEST(MP4MemoryAtomTest, DataIsHeaderPayloadAndChildrenAndAReplacedChildGoesLast)
{
    auto meta = memoryAtom("meta", QByteArray(4, '\0'));
    EXPECT_EQ(meta->addChild(memoryAtom("hdlr", "abc")), 11u);
    EXPECT_EQ(meta->addChild(memoryAtom("ilst")), 8u);
    EXPECT_EQ(meta->length(), 31u);
    EXPECT_EQ(meta->data(), box("meta", QByteArray(4, '\0') + box("hdlr", "abc") + box("ilst")));
    EXPECT_EQ(meta->childAtomWithType(fourCC("free")), nullptr);

    auto ilst = memoryAtom("ilst");
    ilst->addChild(memoryAtom("aaaa", "12"));
    ilst->addChild(memoryAtom("bbbb"));
    EXPECT_EQ(ilst->replaceChildAtomOfType(fourCC("aaaa"), memoryAtom("aaaa", "123456")), 4);
    EXPECT_EQ(ilst->data(), box("ilst", box("bbbb") + box("aaaa", "123456")));
    EXPECT_EQ(ilst->replaceChildAtomOfType(fourCC("cccc"), memoryAtom("cccc", "x")), 9);
    EXPECT_EQ(ilst->length(), 8u + 8 + 14 + 9);
    EXPECT_EQ(assertionFrom([&] { ilst->setLength(20); }), "Can't set length of a memory atom");
}

TEST_F(MP4FileAtomTest, ChildDataIsRewrittenOnlyAtItsLengthAndShortReadsAreAssertions)
{
    const QByteArray original = box("stco", "12345678") + box("free");
    MP4FileAtom stco(0, openWith(original));
    for (const char* wrong : {"123", "123456789"})
        EXPECT_EQ(assertionFrom([&] { stco.setChildData(wrong); }),
                  "Trying to set larger child data on a file atom than what fits");
    EXPECT_EQ(contents(), original);
    stco.setChildData("abcdefgh");
    EXPECT_EQ(contents(), box("stco", "abcdefgh") + box("free"));

    const int file = openWith(be32(100) + "moov" + "short");
    MP4FileAtom moov(0, file);
    EXPECT_EQ(assertionFrom([&] { moov.data(); }), "Did not read data successfully.");
    EXPECT_EQ(assertionFrom([&] { moov.childData(); }), "Did not read child data successfully.");
    EXPECT_EQ(assertionFrom([&] { MP4FileAtom(11, file).length(); }), "Did not read 4 bytes successfully.");
}

TEST_F(MP4FileAtomTest, InsertionAndReductionMoveEverythingFromTheOffsetOn)
{
    const QByteArray inserted = "0123456789";
    EXPECT_EQ(vorl_insertdata(openWith(original), inserted.constData(), 10, 100), 10);
    EXPECT_EQ(contents(), QByteArray(original).insert(100, inserted));
    EXPECT_EQ(vorl_insertdata(openWith(original), inserted.constData(), 10, 10000), 10);
    EXPECT_EQ(contents(), original + inserted);
    EXPECT_EQ(vorl_insertdata(openWith(original), inserted.constData(), 0, 100), 0);
    EXPECT_EQ(assertionFrom([&] { vorl_insertdata(mFile, nullptr, 4, 0); }), "inData");
    EXPECT_EQ(contents(), original);

    EXPECT_EQ(vorl_reducefile(openWith(original), 100, 5000), 0);
    EXPECT_EQ(contents(), QByteArray(original).remove(100, 5000));
    EXPECT_EQ(vorl_reducefile(openWith(original), 9000, 1000), 0);
    EXPECT_EQ(contents(), original.left(9000));
    EXPECT_EQ(assertionFrom([&] { vorl_reducefile(openWith(original), 0, 10001); }),
              "fileLength >= deletionLength");
    EXPECT_EQ(contents(), original);
}
