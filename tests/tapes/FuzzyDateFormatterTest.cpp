#include "tapes/FuzzyDateFormatter.h"

#include <gtest/gtest.h>

using namespace spindrel;

namespace {

const QLocale english(QLocale::English, QLocale::UnitedStates);

QDateTime at(int year, int month, int day, int hour, int minute)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute));
}

// Qt writes the narrow no-break space of newer locale data before AM/PM; labels keep whatever the
// locale says, so the tests compare the text with either space as one.
QString normalised(QString text)
{
    return text.replace(QChar(0x202f), QLatin1Char(' '));
}

} // namespace

TEST(FuzzyDateFormatterTest, RecentDaysReadAsWordsWithTheTime)
{
    const FuzzyDateFormatter formatter(english);
    const QDate today(2012, 3, 4);
    EXPECT_EQ(normalised(formatter.plainString(at(2012, 3, 4, 10, 15))), QStringLiteral("3/4/12 10:15 AM"));
    EXPECT_EQ(normalised(formatter.stringFromDate(at(2012, 3, 4, 10, 15), today)),
              QStringLiteral("Today 10:15 AM"));
    EXPECT_EQ(normalised(formatter.stringFromDate(at(2012, 3, 3, 21, 40), today)),
              QStringLiteral("Yesterday 9:40 PM"));
    EXPECT_EQ(normalised(formatter.stringFromDate(at(2012, 3, 2, 23, 59), today)),
              QStringLiteral("3/2/12 11:59 PM"));
    EXPECT_EQ(normalised(formatter.stringFromDate(at(2012, 3, 5, 8, 0), today)),
              QStringLiteral("3/5/12 8:00 AM"));
}

TEST(FuzzyDateFormatterTest, OnlyTheDayOfTheYearCounts)
{
    const FuzzyDateFormatter formatter(english);
    // Years ago on the same day still reads "Today", and the day before reads "Yesterday".
    EXPECT_TRUE(formatter.stringFromDate(at(2009, 2, 1, 12, 0), QDate(2013, 2, 1))
                    .startsWith(QStringLiteral("Today ")));
    EXPECT_EQ(normalised(formatter.stringFromDate(at(2010, 3, 3, 7, 5), QDate(2013, 3, 4))),
              QStringLiteral("Yesterday 7:05 AM"));
    // Day 166 is 15 June in 2011 but 14 June in the leap year 2012.
    EXPECT_TRUE(formatter.stringFromDate(at(2011, 6, 15, 7, 5), QDate(2012, 6, 14))
                    .startsWith(QStringLiteral("Today ")));
    // Yesterday across the turn of the year is the last day of the previous year.
    EXPECT_TRUE(formatter.stringFromDate(at(2012, 12, 31, 18, 0), QDate(2013, 1, 1))
                    .startsWith(QStringLiteral("Yesterday ")));
}
