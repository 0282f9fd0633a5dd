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

TEST(LibraryQueryTest, EachQueryFindsItsTapes)
{
    const struct
    {
        const char* query;
        QStringList hits;
    } cases[] = {
        // Title and notes, ignoring case, any part of a word; "guitar" has Piano only in its notes,
        // and an absent title counts as a hit for every word.
        {"Piano", {"piano", "guitar", "both", "untitled"}},
        {"pia", {"piano", "guitar", "both", "untitled"}},
        {"scales", {"piano", "untitled"}},
        // Every term, or any term after a bar; only the first bar switches modes.
        {"lesson guitar", {"untitled"}},
        {"piano guitar", {"guitar", "both", "untitled"}},
        {"lesson | memo", {"piano", "untitled"}},
        {"lesson | | memo", {"piano", "untitled"}},
        // A doubled space is an empty term that hits only absent titles; a lone bar leaves no terms.
        {"piano  guitar", {"untitled"}},
        {"|", {}},
        // Keywords, in any case and anywhere in the term.
        {"color:green quality:hq", {"piano"}},
        {"COLOR:Green", {"piano", "both"}},
        {"quality:lq", {"guitar", "untitled"}},
        {"xcolor:blue", {"guitar"}},
        {"year:2012", {"piano", "both"}},
        {"month:march", {"piano", "guitar"}},
        {"date:2012-03-04", {"piano"}},
        {"date:2013-03-04", {}},
        {"year:notadate", {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(search(QString::fromUtf8(c.query)), c.hits) << c.query;
    EXPECT_FALSE(LibraryQuery(QString()).isActive());
    EXPECT_FALSE(LibraryQuery(QStringLiteral("")).isActive());
}
