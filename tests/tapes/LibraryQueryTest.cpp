#include "tapes/LibraryQuery.h"

#include <gtest/gtest.h>

using namespace spindrel;
using namespace Qt::StringLiterals;

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
        {"Piano", {u"piano"_s, u"guitar"_s, u"both"_s, u"untitled"_s}},
        {"pia", {u"piano"_s, u"guitar"_s, u"both"_s, u"untitled"_s}},
        {"scales", {u"piano"_s, u"untitled"_s}},
        // Every term, or any term after a bar; only the first bar switches modes.
        {"lesson guitar", {u"untitled"_s}},
        {"piano guitar", {u"guitar"_s, u"both"_s, u"untitled"_s}},
        {"lesson | memo", {u"piano"_s, u"untitled"_s}},
        {"lesson | | memo", {u"piano"_s, u"untitled"_s}},
        // A doubled space is an empty term that hits only absent titles; a lone bar leaves no terms.
        {"piano  guitar", {u"untitled"_s}},
        {"|", {}},
        // Keywords, in any case and anywhere in the term.
        {"color:green quality:hq", {u"piano"_s}},
        {"COLOR:Green", {u"piano"_s, u"both"_s}},
        {"quality:lq", {u"guitar"_s, u"untitled"_s}},
        {"xcolor:blue", {u"guitar"_s}},
        {"year:2012", {u"piano"_s, u"both"_s}},
        {"month:march", {u"piano"_s, u"guitar"_s}},
        {"date:2012-03-04", {u"piano"_s}},
        {"date:2013-03-04", {}},
        {"year:notadate", {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(search(QString::fromUtf8(c.query)), c.hits) << c.query;
    EXPECT_FALSE(LibraryQuery(QString()).isActive());
    EXPECT_FALSE(LibraryQuery(QStringLiteral("")).isActive());
}
