#include "tapes/LibraryQuery.h"

#include <gtest/gtest.h>

using namespace spindrel;

namespace {

struct Named
{
    const char* name;
    LibraryQuery::Fields fields;
};

QDateTime at(int year, int month, int day)
{
    return QDateTime(QDate(year, month, day), QTime(10, 15));
}

const QList<Named>& library()
{
    static const QList<Named> tapes = {
        {"piano",
         {QStringLiteral("Piano lesson"), QStringLiteral("scales"), QStringLiteral("HQ"),
          QStringLiteral("green"), at(2012, 3, 4)}},
        {"guitar",
         {QStringLiteral("Guitar"), QStringLiteral("Piano next week"), QStringLiteral("LQ"),
          QStringLiteral("blue"), at(2013, 3, 20)}},
        {"both",
         {QStringLiteral("Piano and guitar"), QStringLiteral(""), QStringLiteral("MQ"),
          QStringLiteral("green"), at(2012, 7, 1)}},
        {"untitled",
         {QString(), QStringLiteral("a memo"), QStringLiteral("LQ"), QStringLiteral("red"),
          at(2011, 12, 31)}},
    };
    return tapes;
}

QStringList search(const QString& query)
{
    const LibraryQuery compiled(query);
    QStringList hits;
    for (const Named& tape : library()) {
        if (compiled.matches(tape.fields))
            hits << QString::fromLatin1(tape.name);
    }
    return hits;
}

} // namespace

TEST(LibraryQueryTest, PlainWordsSearchTitleAndNotesIgnoringCase)
{
    EXPECT_EQ(search(QStringLiteral("Piano")), search(QStringLiteral("piano")));
    // "guitar" has Piano only in its notes; an absent title counts as a hit for every word.
    EXPECT_EQ(search(QStringLiteral("piano")), QStringList({"piano", "guitar", "both", "untitled"}));
    EXPECT_EQ(search(QStringLiteral("pia")), search(QStringLiteral("piano")));
    EXPECT_EQ(search(QStringLiteral("scales")), QStringList({"piano", "untitled"}));
}

TEST(LibraryQueryTest, AllTermsOrAnyTermWithBar)
{
    EXPECT_EQ(search(QStringLiteral("lesson guitar")), QStringList({"untitled"}));
    EXPECT_EQ(search(QStringLiteral("piano guitar")), QStringList({"guitar", "both", "untitled"}));
    EXPECT_EQ(search(QStringLiteral("lesson | memo")), QStringList({"piano", "untitled"}));
    // Only the first bar switches modes; a second one is a plain word.
    EXPECT_EQ(search(QStringLiteral("lesson | | memo")), QStringList({"piano", "untitled"}));
}

TEST(LibraryQueryTest, KeptQuirks)
{
    // A doubled space is an empty term that hits only absent titles.
    EXPECT_EQ(search(QStringLiteral("piano  guitar")), QStringList({"untitled"}));
    // A query of only "|" has no terms left and so shows nothing.
    EXPECT_EQ(search(QStringLiteral("|")), QStringList());
    EXPECT_FALSE(LibraryQuery(QString()).isActive());
    EXPECT_FALSE(LibraryQuery(QStringLiteral("")).isActive());
}

TEST(LibraryQueryTest, ColourAndQualityKeywords)
{
    EXPECT_EQ(search(QStringLiteral("color:green quality:hq")), QStringList({"piano"}));
    EXPECT_EQ(search(QStringLiteral("COLOR:Green")), QStringList({"piano", "both"}));
    EXPECT_EQ(search(QStringLiteral("quality:lq")), QStringList({"guitar", "untitled"}));
    // The marker may stand anywhere in the term.
    EXPECT_EQ(search(QStringLiteral("xcolor:blue")), QStringList({"guitar"}));
}

TEST(LibraryQueryTest, DateKeywords)
{
    EXPECT_EQ(search(QStringLiteral("year:2012")), QStringList({"piano", "both"}));
    EXPECT_EQ(search(QStringLiteral("month:march")), QStringList({"piano", "guitar"}));
    EXPECT_EQ(search(QStringLiteral("date:2012-03-04")), QStringList({"piano"}));
    EXPECT_EQ(search(QStringLiteral("date:2013-03-04")), QStringList());
    EXPECT_EQ(search(QStringLiteral("year:notadate")), QStringList());
}
