#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>
#include <memory>
#include <optional>

namespace spindrel {

/// Reads dates written by people and by tapes: ISO dates and date-times, the tape's own
/// release-date text ("2012-03-04 10:15:00 +0000"), month names with or without day and year
/// ("March", "march 2012", "4 March 2012", "Mar 4, 2012"), bare years ("2012"), numeric dates in
/// the locale's order ("3/4/12"), weekdays, "today", "yesterday", "tomorrow", "now", with an
/// optional time ("10:15", "10:15:30", "10pm", "noon") and zone ("+0100", "Z", "UTC").
/// Case does not matter. Results are in local time.
class DateParser
{
public:
    /// How much of the calendar the text names.
    enum class Span { Instant, Day, Month, Year };

    struct Result
    {
        /// The instant named; for a day, month or year, noon of its first day.
        QDateTime date;
        Span span = Span::Instant;
        /// The half-open interval [begin, end) the text covers; both are date for an instant.
        QDateTime begin;
        QDateTime end;

        bool contains(const QDateTime& moment) const;
    };

    /// Relative words ("today", a bare month) are read against now; month and weekday names are
    /// those of the locale as well as the English ones.
    explicit DateParser(const QDateTime& now = QDateTime::currentDateTime(),
                        const QLocale& locale = QLocale());

    /// Nothing when the text is not a date this parser understands.
    std::optional<Result> parse(const QString& text) const;

    /// The instant of parse(text) against the present moment.
    static std::optional<QDateTime> dateWithNaturalLanguageString(const QString& text);

    /// The instant of the stored form (standardDescription) with the offset it was written in,
    /// not yet turned into local time, which takes the system's time zone lock; nothing for any
    /// other text.
    static std::optional<QDateTime> storedInstant(const QString& text);

    /// The text form a tape stores its date in ("2012-03-04 10:15:00 +0000", in UTC). parse()
    /// reads it back to the same second.
    static QString standardDescription(const QDateTime& date);

private:
    class TextReader;

    QDateTime mNow;
    std::shared_ptr<const TextReader> mReader; // the locale's names, built once per parser
};

} // namespace spindrel
