#pragma once

#include <QCoreApplication>
#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QString>

namespace spindrel {

/// Dates as tape labels show them: "Today 10:15 AM", "Yesterday 9:00 PM", otherwise the locale's
/// date and time ("3/4/12 10:15 AM").
class FuzzyDateFormatter
{
    Q_DECLARE_TR_FUNCTIONS(FuzzyDateFormatter)

public:
    explicit FuzzyDateFormatter(const QLocale& locale = QLocale(),
                                QLocale::FormatType dateStyle = QLocale::ShortFormat,
                                QLocale::FormatType timeStyle = QLocale::ShortFormat);

    /// The labels' instance: short date and short time in the user's locale.
    static const FuzzyDateFormatter& shared();

    /// The date and time in the locale's formats, in local time, without any words.
    QString plainString(const QDateTime& date) const;

    /// The first word of the plain form (the date) becomes "Today" or "Yesterday" when the date
    /// falls on today's or yesterday's day of the year. Only the day of the year is compared, so
    /// the same day a year ago also reads "Today".
    QString stringFromDate(const QDateTime& date) const;
    /// The same with a given today (for labels drawn for another moment, and for tests).
    QString stringFromDate(const QDateTime& date, const QDate& today) const;

private:
    QLocale mLocale;
    QLocale::FormatType mDateStyle;
    QLocale::FormatType mTimeStyle;
};

} // namespace spindrel
