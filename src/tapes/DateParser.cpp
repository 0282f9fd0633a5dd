#include "tapes/DateParser.h"

#include <QRegularExpression>
#include <QStringList>
#include <QTimeZone>

namespace spindrel {

namespace {

// What the words of one text said; each field may be said once.
struct Fields
{
    std::optional<int> year;
    std::optional<int> month;
    std::optional<int> day;
    std::optional<QDate> relativeDay;
    std::optional<int> weekday;
    std::optional<QTime> time;
    std::optional<bool> afternoon;
    std::optional<int> offsetSeconds;
};

template <typename T> bool setOnce(std::optional<T>& field, T value)
{
    if (field)
        return false;
    field = value;
    return true;
}

QRegularExpression anchored(const char* pattern)
{
    return QRegularExpression(QString(QLatin1String("^") + QLatin1String(pattern) + QLatin1String("$")));
}

std::optional<int> zoneOffset(const QString& sign, const QString& hours, const QString& minutes)
{
    const int h = hours.toInt();
    const int m = minutes.isEmpty() ? 0 : minutes.toInt();
    if (h > 23 || m > 59)
        return std::nullopt;
    const int seconds = h * 3600 + m * 60;
    return sign == QLatin1String("-") ? -seconds : seconds;
}

// 1..12 for a month name, 1..7 (Monday first) for a weekday: exact names and abbreviations
// ("sept", "mar.") that fit only one entry.
std::optional<int> matchName(QString word, const QList<QStringList>& namesPerEntry)
{
    if (word.endsWith(QLatin1Char('.')))
        word.chop(1);
    if (word.size() < 3)
        return std::nullopt;
    std::optional<int> found;
    for (int i = 0; i < namesPerEntry.size(); ++i) {
        for (const QString& name : namesPerEntry[i]) {
            if (name == word)
                return i + 1;
            if (name.startsWith(word)) {
                if (found && *found != i + 1)
                    return std::nullopt;
                found = i + 1;
            }
        }
    }
    return found;
}

int fullYear(int year, int currentYear)
{
    if (year >= 100)
        return year;
    int full = 2000 + year;
    if (full > currentYear + 20)
        full -= 100;
    return full;
}

QDateTime noonOf(const QDate& day)
{
    return QDateTime(day, QTime(12, 0));
}

} // namespace

class DateParser::TextReader
{
public:
    TextReader(const QDateTime& now, const QLocale& locale) : mNow(now)
    {
        const QLocale english = QLocale::c();
        for (int month = 1; month <= 12; ++month) {
            QStringList names;
            for (const QLocale& l : {english, locale}) {
                names << l.monthName(month, QLocale::LongFormat).toLower()
                      << l.monthName(month, QLocale::ShortFormat).toLower()
                      << l.standaloneMonthName(month, QLocale::LongFormat).toLower();
            }
            mMonthNames << names;
        }
        for (int day = 1; day <= 7; ++day) {
            QStringList names;
            for (const QLocale& l : {english, locale})
                names << l.dayName(day, QLocale::LongFormat).toLower()
                      << l.dayName(day, QLocale::ShortFormat).toLower();
            mDayNames << names;
        }
        const QString order = locale.dateFormat(QLocale::ShortFormat);
        mDayFirst = order.indexOf(QLatin1Char('d')) < order.indexOf(QLatin1Char('M'));
    }

    std::optional<Fields> read(const QString& text) const
    {
        QString cleaned = text.toLower();
        cleaned.replace(QLatin1Char(','), QLatin1Char(' '));
        static const QRegularExpression isoSeparator(QStringLiteral("(\\d{4}-\\d{1,2}-\\d{1,2})t(?=\\d)"));
        cleaned.replace(isoSeparator, QStringLiteral("\\1 "));
        static const QRegularExpression whitespace(QStringLiteral("\\s+"));
        const QStringList words = cleaned.split(whitespace, Qt::SkipEmptyParts);
        if (words.isEmpty())
            return std::nullopt;
        Fields fields;
        for (const QString& word : words) {
            if (!readWord(word, fields))
                return std::nullopt;
        }
        return fields;
    }

private:
    bool readWord(const QString& word, Fields& f) const
    {
        static const QStringList fillers = {QStringLiteral("at"), QStringLiteral("on"), QStringLiteral("of"),
                                            QStringLiteral("the"), QStringLiteral("in")};
        if (fillers.contains(word))
            return true;
        const QDate today = mNow.date();
        if (word == QLatin1String("today"))
            return setOnce(f.relativeDay, today);
        if (word == QLatin1String("yesterday"))
            return setOnce(f.relativeDay, today.addDays(-1));
        if (word == QLatin1String("tomorrow"))
            return setOnce(f.relativeDay, today.addDays(1));
        if (word == QLatin1String("now"))
            return setOnce(f.relativeDay, today) && setOnce(f.time, mNow.time());
        if (word == QLatin1String("noon"))
            return setOnce(f.time, QTime(12, 0));
        if (word == QLatin1String("midnight"))
            return setOnce(f.time, QTime(0, 0));
        if (word == QLatin1String("am") || word == QLatin1String("a.m."))
            return setOnce(f.afternoon, false);
        if (word == QLatin1String("pm") || word == QLatin1String("p.m."))
            return setOnce(f.afternoon, true);
        if (word == QLatin1String("z") || word == QLatin1String("utc") || word == QLatin1String("gmt"))
            return setOnce(f.offsetSeconds, 0);
        return readZone(word, f) || readTime(word, f) || readNumericDate(word, f) || readNumber(word, f) ||
               readName(word, f);
    }

    static bool readZone(const QString& word, Fields& f)
    {
        static const QRegularExpression zone = anchored("(?:utc|gmt)?([+-])(\\d{1,2})(?::?(\\d{2}))?");
        const auto m = zone.match(word);
        if (!m.hasMatch())
            return false;
        const auto offset = zoneOffset(m.captured(1), m.captured(2), m.captured(3));
        return offset && setOnce(f.offsetSeconds, *offset);
    }

    static bool readTime(const QString& word, Fields& f)
    {
        static const QRegularExpression clock =
            anchored("(\\d{1,2}):(\\d{2})(?::(\\d{2})(?:[.,](\\d+))?)?(am|pm|a\\.m\\.|p\\.m\\.)?(z|([+-])("
                     "\\d{2}):?(\\d{2})?)?");
        static const QRegularExpression hourOnly = anchored("(\\d{1,2})(am|pm)");
        if (const auto m = hourOnly.match(word); m.hasMatch()) {
            const QTime time(m.captured(1).toInt(), 0);
            return time.isValid() && setOnce(f.time, time) &&
                   setOnce(f.afternoon, m.captured(2) == QLatin1String("pm"));
        }
        const auto m = clock.match(word);
        if (!m.hasMatch())
            return false;
        const int milliseconds = QString(m.captured(4) + QStringLiteral("00")).left(3).toInt();
        const QTime time(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt(), milliseconds);
        if (!time.isValid() || !setOnce(f.time, time))
            return false;
        if (m.hasCaptured(5) && !setOnce(f.afternoon, m.captured(5).startsWith(QLatin1Char('p'))))
            return false;
        if (m.captured(6) == QLatin1String("z"))
            return setOnce(f.offsetSeconds, 0);
        if (m.hasCaptured(7)) {
            const auto offset = zoneOffset(m.captured(7), m.captured(8), m.captured(9));
            return offset && setOnce(f.offsetSeconds, *offset);
        }
        return true;
    }

    bool readNumericDate(const QString& word, Fields& f) const
    {
        static const QRegularExpression yearFirst = anchored("(\\d{4})([-/.])(\\d{1,2})(?:\\2(\\d{1,2}))?");
        static const QRegularExpression basicIso = anchored("(\\d{4})(\\d{2})(\\d{2})");
        static const QRegularExpression localOrder =
            anchored("(\\d{1,2})([/.])(\\d{1,2})(?:\\2(\\d{2}|\\d{4}))?\\.?");
        if (const auto m = yearFirst.match(word); m.hasMatch()) {
            if (!setOnce(f.year, m.captured(1).toInt()) || !setOnce(f.month, m.captured(3).toInt()))
                return false;
            return !m.hasCaptured(4) || setOnce(f.day, m.captured(4).toInt());
        }
        if (const auto m = basicIso.match(word); m.hasMatch()) {
            return setOnce(f.year, m.captured(1).toInt()) && setOnce(f.month, m.captured(2).toInt()) &&
                   setOnce(f.day, m.captured(3).toInt());
        }
        const auto m = localOrder.match(word);
        if (!m.hasMatch())
            return false;
        const int first = m.captured(1).toInt();
        const int second = m.captured(3).toInt();
        if (!setOnce(f.day, mDayFirst ? first : second) || !setOnce(f.month, mDayFirst ? second : first))
            return false;
        return !m.hasCaptured(4) || setOnce(f.year, fullYear(m.captured(4).toInt(), mNow.date().year()));
    }

    static bool readNumber(const QString& word, Fields& f)
    {
        static const QRegularExpression number = anchored("(\\d+)(st|nd|rd|th)?");
        const auto m = number.match(word);
        if (!m.hasMatch())
            return false;
        const QString digits = m.captured(1);
        if (digits.size() == 4 && !m.hasCaptured(2))
            return setOnce(f.year, digits.toInt());
        return digits.size() <= 2 && setOnce(f.day, digits.toInt());
    }

    bool readName(const QString& word, Fields& f) const
    {
        if (const auto month = matchName(word, mMonthNames))
            return setOnce(f.month, *month);
        if (const auto weekday = matchName(word, mDayNames))
            return setOnce(f.weekday, *weekday);
        return false;
    }

    QDateTime mNow;
    QList<QStringList> mMonthNames;
    QList<QStringList> mDayNames;
    bool mDayFirst = false;
};

bool DateParser::Result::contains(const QDateTime& moment) const
{
    if (span == Span::Instant)
        return moment.toSecsSinceEpoch() == date.toSecsSinceEpoch();
    return begin <= moment && moment < end;
}

DateParser::DateParser(const QDateTime& now, const QLocale& locale)
    : mNow(now.toLocalTime()), mReader(std::make_shared<const TextReader>(mNow, locale))
{
}

std::optional<DateParser::Result> DateParser::parse(const QString& text) const
{
    const auto read = mReader->read(text);
    if (!read)
        return std::nullopt;
    Fields f = *read;
    const bool calendarFields = f.year || f.month || f.day;
    if (f.relativeDay && calendarFields)
        return std::nullopt;
    if (f.weekday && !f.relativeDay && !calendarFields) {
        // The most recent such weekday, today included: recordings lie in the past.
        const QDate today = mNow.date();
        f.relativeDay = today.addDays(-((today.dayOfWeek() - *f.weekday + 7) % 7));
    }

    if (f.afternoon) {
        if (!f.time || f.time->hour() > 12 || f.time->hour() == 0)
            return std::nullopt;
        const int hour = f.time->hour() % 12 + (*f.afternoon ? 12 : 0);
        f.time = QTime(hour, f.time->minute(), f.time->second(), f.time->msec());
    }

    Result result;
    QDate first;
    QDate afterLast;
    const int year = f.year.value_or(mNow.date().year());
    if (f.relativeDay) {
        first = *f.relativeDay;
        afterLast = first.addDays(1);
        result.span = Span::Day;
    } else if (f.day) {
        if (!f.month)
            return std::nullopt;
        first = QDate(year, *f.month, *f.day);
        afterLast = first.addDays(1);
        result.span = Span::Day;
    } else if (f.month) {
        first = QDate(year, *f.month, 1);
        afterLast = first.addMonths(1);
        result.span = Span::Month;
    } else if (f.year) {
        first = QDate(year, 1, 1);
        afterLast = first.addYears(1);
        result.span = Span::Year;
    } else if (f.time) {
        first = mNow.date();
        result.span = Span::Day;
    } else {
        return std::nullopt;
    }
    if (!first.isValid())
        return std::nullopt;

    if (f.time) {
        if (result.span != Span::Day)
            return std::nullopt;
        const QDateTime moment = f.offsetSeconds ? QDateTime(first, *f.time, QTimeZone(*f.offsetSeconds))
                                                 : QDateTime(first, *f.time);
        if (!moment.isValid())
            return std::nullopt;
        result.span = Span::Instant;
        result.date = result.begin = result.end = moment.toLocalTime();
        return result;
    }
    result.date = noonOf(first);
    result.begin = first.startOfDay();
    result.end = afterLast.startOfDay();
    return result;
}

namespace {

// The stored form "2012-03-04 10:15:07 +0100", read without building a parser: every tape of a
// library goes through here when it loads.
std::optional<QDateTime> parseStandardDescription(const QString& text)
{
    if (text.size() != 25 || text.at(4) != QLatin1Char('-') || text.at(7) != QLatin1Char('-') ||
        text.at(10) != QLatin1Char(' ') || text.at(13) != QLatin1Char(':') ||
        text.at(16) != QLatin1Char(':') || text.at(19) != QLatin1Char(' ') ||
        (text.at(20) != QLatin1Char('+') && text.at(20) != QLatin1Char('-')))
        return std::nullopt;
    const auto number = [&text](int at, int length, bool* ok) {
        int value = 0;
        for (int i = at; i < at + length; ++i) {
            const QChar c = text.at(i);
            if (!c.isDigit() || c.unicode() > 127)
                *ok = false;
            value = value * 10 + (c.unicode() - '0');
        }
        return value;
    };
    bool ok = true;
    const QDate date(number(0, 4, &ok), number(5, 2, &ok), number(8, 2, &ok));
    const QTime time(number(11, 2, &ok), number(14, 2, &ok), number(17, 2, &ok));
    const int offsetMinutes = number(21, 2, &ok) * 60 + number(23, 2, &ok);
    if (!ok || !date.isValid() || !time.isValid())
        return std::nullopt;
    const int offsetSeconds = (text.at(20) == QLatin1Char('-') ? -60 : 60) * offsetMinutes;
    return QDateTime(date, time, Qt::OffsetFromUTC, offsetSeconds);
}

} // namespace

std::optional<QDateTime> DateParser::storedInstant(const QString& text)
{
    return parseStandardDescription(text);
}

std::optional<QDateTime> DateParser::dateWithNaturalLanguageString(const QString& text)
{
    if (auto stored = parseStandardDescription(text))
        return stored->toLocalTime();
    const auto result = DateParser().parse(text);
    if (!result)
        return std::nullopt;
    return result->date;
}

QString DateParser::standardDescription(const QDateTime& date)
{
    if (!date.isValid())
        return {};
    return date.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) + QStringLiteral(" +0000");
}

} // namespace spindrel
