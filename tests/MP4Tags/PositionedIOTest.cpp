#include "MP4Tags/PositionedIO.h"

#include "MP4Tags/FileHandleInsertion.h"
#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4TestFiles.h"
#include "foundation/Assertion.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace spindrel;
using namespace mp4test;

namespace {

using ReadAheadTest = ScratchFileTest;

QByteArray readBack(int file, uint64_t offset, size_t count)
{
    QByteArray bytes(qsizetype(count), '\0');
    bytes.resize(preadFully(file, bytes.data(), count, offset));
    return bytes;
}

} // namespace

TEST_F(ReadAheadTest, HeldWritesAreSeenAtOnceAndReachTheFileAtFlush)
{
    const int file = openWith(QByteArray(10000, 'a'));
    ReadAheadScope scope(file, 4096, ReadAheadScope::Writes::Held);
    EXPECT_EQ(readBack(file, 4090, 4), "aaaa");
    EXPECT_EQ(pwriteFully(file, "bcdefghijk", 10, 4090), 10); // across a block boundary
    EXPECT_EQ(pwriteFully(file, "xyz", 3, 10000), 3);         // an append to the short last block
    EXPECT_EQ(readBack(file, 4089, 12), "abcdefghijka");
    EXPECT_EQ(readBack(file, 9998, 10), "aaxyz");
    EXPECT_EQ(contents(), QByteArray(10000, 'a')) << "nothing is written before the flush";

    ASSERT_TRUE(scope.flush());
    QByteArray expected = QByteArray(10000, 'a') + "xyz";
    expected.replace(4090, 10, "bcdefghijk");
    EXPECT_EQ(contents(), expected);
}

TEST_F(ReadAheadTest, AWritePastTheEndLeavesAHoleThatReadsAsZeros)
{
    for (const auto writes : {ReadAheadScope::Writes::Through, ReadAheadScope::Writes::Held}) {
        const int file = openWith(QByteArray(100, 'a'));
        ReadAheadScope scope(file, 4096, writes);
        EXPECT_EQ(readBack(file, 98, 10), "aa");
        EXPECT_EQ(pwriteFully(file, "end", 3, 9000), 3);
        EXPECT_EQ(readBack(file, 98, 4), QByteArray("aa\0\0", 4));
        EXPECT_EQ(readBack(file, 8999, 10), QByteArray("\0end", 4));
        ASSERT_TRUE(scope.flush());
        EXPECT_EQ(contents(), QByteArray(100, 'a') + QByteArray(8900, '\0') + "end");
    }
}

TEST_F(ReadAheadTest, MovingBytesWritesWhatWasHeldAndReadsTheFileAfresh)
{
    const int file = openWith(QByteArray("0123456789"));
    ReadAheadScope scope(file, 4096, ReadAheadScope::Writes::Held);
    EXPECT_EQ(pwriteFully(file, "AB", 2, 0), 2);
    EXPECT_EQ(vorl_insertdata(file, "xy", 2, 4), 2);
    EXPECT_EQ(readBack(file, 0, 20), "AB23xy456789");
    EXPECT_EQ(vorl_reducefile(file, 0, 2), 0);
    EXPECT_EQ(readBack(file, 0, 20), "23xy456789");
    ASSERT_TRUE(scope.flush());
    EXPECT_EQ(contents(), "23xy456789");
}

TEST_F(ReadAheadTest, FileHandleInsertionActsAtTheDescriptorsOffset)
{
    // Longer than a page, so the shifts run in several chunks.
    QByteArray original(9000, '\0');
    for (int i = 0; i < original.size(); ++i)
        original[i] = char('a' + i % 26);
    const int file = openWith(original);
    FileHandleInsertion insertion(file);
    lseek(file, 10, SEEK_SET);
    insertion.insertData("XYZ");
    EXPECT_EQ(lseek(file, 0, SEEK_CUR), 13);
    EXPECT_EQ(contents(), QByteArray(original).insert(10, "XYZ"));

    lseek(file, 10, SEEK_SET);
    insertion.removeDataOfLength(3);
    EXPECT_EQ(contents(), original);

    lseek(file, 5, SEEK_SET);
    EXPECT_THROW(insertion.removeDataOfLength(9001), InternalInconsistency);
    EXPECT_EQ(contents(), original) << "a refused removal changes nothing";
}
