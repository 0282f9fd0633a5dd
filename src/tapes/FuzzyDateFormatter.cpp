#include "tapes/FuzzyDateFormatter.h"

namespace spindrel {

FuzzyDateFormatter::FuzzyDateFormatter(const QLocale& locale, QLocale::FormatType dateStyle,
                                       QLocale::FormatType timeStyle)
    : mLocale(locale), mDateStyle(dateStyle), mTimeStyle(timeStyle)
{
}

const FuzzyDateFormatter& FuzzyDateFormatter::shared()
{
    static const FuzzyDateFormatter formatter;
    return formatter;
}

QString FuzzyDateFormatter::plainString(const QDateTime& date) const
{
    const QDateTime local = date.toLocalTime();
    return mLocale.toString(local.date(), mDateStyle) + QLatin1Char(' ') +
           mLocale.toString(local.time(), mTimeStyle);
}

QString FuzzyDateFormatter::stringFromDate(const QDateTime& date) const
{
    return stringFromDate(date, QDate::currentDate());
}

QString FuzzyDateFormatter::stringFromDate(const QDateTime& date, const QDate& today) const
{
    const QString plain = plainString(date);
    const qsizetype firstSpace = plain.indexOf(QLatin1Char(' '));
    const QString rest = firstSpace < 0 ? QString() : plain.mid(firstSpace + 1);

    QString word;
    const int dayOfYear = date.toLocalTime().date().dayOfYear();
    if (dayOfYear == today.dayOfYear())
        word = tr("Today");
    else if (dayOfYear == today.addDays(-1).dayOfYear())
        word = tr("Yesterday");
    else
        return plain;
    return firstSpace < 0 ? word : word + QLatin1Char(' ') + rest;
}

} // namespace spindrel
