#include "tapes/FuzzyDateFormatter.h"

#include <gtest/gtest.h>

using namespace spindrel;

namespace {

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

TEST(FuzzyDateFormatterTest, RecentDaysReadAsWordsWithTheTimeAndOnlyTheDayOfTheYearCounts)
{
    const FuzzyDateFormatter formatter(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(normalised(formatter.plainString(at(2012, 3, 4, 10, 15))), QStringLiteral("3/4/12 10:15 AM"));
    const struct
    {
        QDateTime date;
        QDate today;
        const char* text;
    } cases[] = {
        {at(2012, 3, 4, 10, 15), QDate(2012, 3, 4), "Today 10:15 AM"},
        {at(2012, 3, 3, 21, 40), QDate(2012, 3, 4), "Yesterday 9:40 PM"},
        {at(2012, 3, 2, 23, 59), QDate(2012, 3, 4), "3/2/12 11:59 PM"},
        {at(2012, 3, 5, 8, 0), QDate(2012, 3, 4), "3/5/12 8:00 AM"},
        // Years ago on the same day still reads "Today", and the day before reads "Yesterday".
        {at(2009, 2, 1, 12, 0), QDate(2013, 2, 1), "Today 12:00 PM"},
        {at(2010, 3, 3, 7, 5), QDate(2013, 3, 4), "Yesterday 7:05 AM"},
        // Day 166 is 15 June in 2011 but 14 June in the leap year 2012.
        {at(2011, 6, 15, 7, 5), QDate(2012, 6, 14), "Today 7:05 AM"},
        // Yesterday across the turn of the year is the last day of the previous year.
        {at(2012, 12, 31, 18, 0), QDate(2013, 1, 1), "Yesterday 6:00 PM"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(normalised(formatter.stringFromDate(c.date, c.today)), QString::fromUtf8(c.text))
            << c.date.toString(Qt::ISODate).toStdString() << " seen on "
            << c.today.toString(Qt::ISODate).toStdString();
}
