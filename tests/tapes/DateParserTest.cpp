#include "tapes/DateParser.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

using Span = DateParser::Span;

// Saturday 15 June 2013, 09:30 local time.
const QDateTime now(QDate(2013, 6, 15), QTime(9, 30, 12));
const QLocale english(QLocale::English, QLocale::UnitedStates);
const QLocale german(QLocale::German, QLocale::Germany);

QDateTime local(int y, int mo, int d, int h = 12, int mi = 0, int s = 0, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms));
}

QDateTime utc(int y, int mo, int d, int h, int mi, int s = 0, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), QTimeZone::utc());
}

} // namespace

TEST(DateParserTest, UnderstoodTextsAndWhatTheyName)
{
    const struct
    {
        const char* text;
        QDateTime date;
        Span span;
        QLocale locale = english;
    } cases[] = {
        {"2012-03-04", local(2012, 3, 4), Span::Day},
        {"2012-03", local(2012, 3, 1), Span::Month},
        {"2012-03-04T10:15:00", local(2012, 3, 4, 10, 15), Span::Instant},
        {"2012-03-04T10:15:00Z", utc(2012, 3, 4, 10, 15), Span::Instant},
        {"2012-03-04T10:15:30.25+01:00", utc(2012, 3, 4, 9, 15, 30, 250), Span::Instant},
        {"2012-03-04 10:15:00 -0530", utc(2012, 3, 4, 15, 45), Span::Instant},
        {"March", local(2013, 3, 1), Span::Month},
        {"march 2012", local(2012, 3, 1), Span::Month},
        {"sept", local(2013, 9, 1), Span::Month},
        {"Mar 4, 2012", local(2012, 3, 4), Span::Day},
        {"march 4th", local(2013, 3, 4), Span::Day},
        {"the 4th of march 2012", local(2012, 3, 4), Span::Day},
        {"2012", local(2012, 1, 1), Span::Year},
        {"Sun, 04 Mar 2012 10:15:00 +0000", utc(2012, 3, 4, 10, 15), Span::Instant},
        {"3/4/12 10:15 AM", local(2012, 3, 4, 10, 15), Span::Instant},
        {"12/25", local(2013, 12, 25), Span::Day},
        {"Yesterday", local(2013, 6, 14), Span::Day},
        {"yesterday 9:40 PM", local(2013, 6, 14, 21, 40), Span::Instant},
        {"today at noon", local(2013, 6, 15, 12, 0), Span::Instant},
        {"12:30 am", local(2013, 6, 15, 0, 30), Span::Instant},
        {"10pm", local(2013, 6, 15, 22, 0), Span::Instant},
        {"now", now, Span::Instant},
        {"Monday", local(2013, 6, 10), Span::Day},
        // Two-digit years far in the future belong to the last century.
        {"7/20/69", local(1969, 7, 20), Span::Day},
        // Numeric dates follow the locale's order, and its month names count beside the English ones.
        {"4.3.12", local(2012, 3, 4), Span::Day, german},
        {"märz 2012", local(2012, 3, 1), Span::Month, german},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto result = DateParser(now, c.locale).parse(QString::fromUtf8(c.text));
        ASSERT_TRUE(result);
        EXPECT_EQ(result->date.toMSecsSinceEpoch(), c.date.toMSecsSinceEpoch())
            << result->date.toString(Qt::ISODateWithMs).toStdString();
        EXPECT_EQ(result->span, c.span);
    }
}

TEST(DateParserTest, TextsThatAreNoDate)
{
    const DateParser parser(now, english);
    const QString texts =
        QStringLiteral("|   |pizza|4|4th|12345|2012-13|2012-13-01|2012-02-30|2013-02-29|25:00|10:61|"
                       "13pm|pm|march march|today 2012|2012 2013|march pizza|2012-03-04 +25:00|"
                       "march 10:00|ju|j");
    for (const QString& text : texts.split(QLatin1Char('|')))
        EXPECT_FALSE(parser.parse(text)) << text.toStdString();
    EXPECT_TRUE(parser.parse(QStringLiteral("2012-02-29"))); // a leap year has the day
}

TEST(DateParserTest, SpansCoverWholeDaysAndMonths)
{
    const DateParser parser(now, english);
    const auto day = parser.parse(QStringLiteral("2012-03-04"));
    ASSERT_TRUE(day);
    EXPECT_EQ(day->begin, local(2012, 3, 4, 0, 0));
    EXPECT_EQ(day->end, local(2012, 3, 5, 0, 0));
    EXPECT_TRUE(day->contains(local(2012, 3, 4, 23, 59, 59)));
    EXPECT_FALSE(day->contains(local(2012, 3, 5, 0, 0)));

    const auto month = parser.parse(QStringLiteral("february 2012"));
    ASSERT_TRUE(month);
    EXPECT_EQ(month->begin, local(2012, 2, 1, 0, 0));
    EXPECT_EQ(month->end, local(2012, 3, 1, 0, 0));
    EXPECT_TRUE(month->contains(local(2012, 2, 29, 18, 0)));
    EXPECT_FALSE(month->contains(local(2012, 1, 31, 23, 0)));

    const auto instant = parser.parse(QStringLiteral("2012-03-04 10:15:00 +0000"));
    ASSERT_TRUE(instant);
    EXPECT_TRUE(instant->contains(utc(2012, 3, 4, 10, 15)));
    EXPECT_FALSE(instant->contains(utc(2012, 3, 4, 10, 15, 1)));
}

TEST(DateParserTest, StoredDateTextReadsBackToTheSecond)
{
    EXPECT_EQ(DateParser::standardDescription(utc(2012, 3, 4, 10, 15, 7)),
              QStringLiteral("2012-03-04 10:15:07 +0000"));
    EXPECT_EQ(
        DateParser::standardDescription(QDateTime(QDate(2012, 3, 4), QTime(11, 15, 7), QTimeZone(3600))),
        QStringLiteral("2012-03-04 10:15:07 +0000"));
    EXPECT_TRUE(DateParser::standardDescription(QDateTime()).isEmpty());

    for (const QDateTime& moment : {local(2012, 3, 4, 10, 15, 7, 999), local(2013, 7, 1, 23, 59, 59, 1),
                                    utc(2038, 1, 19, 3, 14, 8), QDateTime::currentDateTime()}) {
        const QString stored = DateParser::standardDescription(moment);
        SCOPED_TRACE(stored.toStdString());
        const auto read = DateParser::dateWithNaturalLanguageString(stored);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->toSecsSinceEpoch(), moment.toSecsSinceEpoch());
    }
}
