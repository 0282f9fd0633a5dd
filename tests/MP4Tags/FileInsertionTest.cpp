#include "MP4Tags/FileHandleInsertion.h"
#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4TestFiles.h"

#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace spindrel;
using namespace mp4test;

namespace {

// Bytes that differ from their neighbours, so that a misplaced chunk shows.
QByteArray pattern(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 7 + i / 251) % 256);
    return bytes;
}

using FileInsertionTest = ScratchFileTest;

} // namespace

TEST_F(FileInsertionTest, InsertionShiftsEverythingFromTheOffsetOn)
{
    // Several pages and a part page, so every chunk boundary is crossed.
    const QByteArray original = pattern(10000);
    const QByteArray inserted = "0123456789";
    const int file = openWith(original);
    EXPECT_EQ(vorl_insertdata(file, inserted.constData(), 10, 100), 10);
    EXPECT_EQ(contents(), QByteArray(original).insert(100, inserted));

    openWith(original);
    EXPECT_EQ(vorl_insertdata(mFile, inserted.constData(), 10, 10000), 10);
    EXPECT_EQ(contents(), original + inserted);

    openWith(original);
    EXPECT_EQ(vorl_insertdata(mFile, inserted.constData(), 0, 100), 0);
    EXPECT_EQ(contents(), original);
    EXPECT_EQ(assertionFrom([&] { vorl_insertdata(mFile, nullptr, 4, 0); }), "inData");
    EXPECT_EQ(contents(), original);
}

TEST_F(FileInsertionTest, ReductionMovesTheRestDownAndTruncates)
{
    const QByteArray original = pattern(10000);
    openWith(original);
    EXPECT_EQ(vorl_reducefile(mFile, 100, 5000), 0);
    EXPECT_EQ(contents(), QByteArray(original).remove(100, 5000));

    openWith(original);
    EXPECT_EQ(vorl_reducefile(mFile, 9000, 1000), 0);
    EXPECT_EQ(contents(), original.left(9000));

    openWith(original);
    EXPECT_EQ(assertionFrom([&] { vorl_reducefile(mFile, 0, 10001); }), "fileLength >= deletionLength");
    EXPECT_EQ(contents(), original);
}

TEST_F(FileInsertionTest, FileHandleInsertsAndRemovesAtItsOffset)
{
    const QByteArray original = pattern(9000);
    openWith(original);
    FileHandleInsertion handle(mFile);
    lseek(mFile, 4100, SEEK_SET);
    handle.insertData("inserted");
    EXPECT_EQ(lseek(mFile, 0, SEEK_CUR), 4108);
    EXPECT_EQ(contents(), QByteArray(original).insert(4100, "inserted"));

    lseek(mFile, 4100, SEEK_SET);
    handle.removeDataOfLength(8);
    EXPECT_EQ(contents(), original);

    handle.insertData(QByteArray(""));
    handle.removeDataOfLength(0);
    EXPECT_EQ(contents(), original);
    EXPECT_EQ(assertionFrom([&] { handle.insertData(QByteArray()); }),
              "Invalid parameter not satisfying: insertionData");
    EXPECT_EQ(assertionFrom([&] { handle.removeDataOfLength(9001); }),
              "Trying to delete beyond the file's length.");
    EXPECT_EQ(contents(), original);
}
