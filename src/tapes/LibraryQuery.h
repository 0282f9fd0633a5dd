#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

namespace spindrel {

class Tape;

/// The tape box's search language, compiled once per query: plain words search titles and notes;
/// "color:", "quality:", "date:", "month:" and "year:" terms search the rest. All terms must hit,
/// or any one of them when the query holds a "|" term.
class LibraryQuery
{
public:
    explicit LibraryQuery(const QString& filterString = {});

    /// False for an absent or empty filter string: everything is shown.
    bool isActive() const { return mActive; }
    bool matches(const Tape& tape) const;

    /// The parts matching works on, so callers without a Tape object can be searched too.
    struct Fields
    {
        QString title; // null when absent
        QString notes; // null when absent
        QString quality;
        QString colorName;
        QDateTime date;
    };
    bool matches(const Fields& fields) const;

private:
    enum class Kind { Color, Quality, Date, Month, Year, Text };
    struct Term
    {
        Kind kind;
        QString text;
        std::optional<QDateTime> date; // parsed once for the date kinds
    };

    bool hits(const Term& term, const Fields& fields) const;

    QList<Term> mTerms;
    bool mActive = false;
    bool mAnyTerm = false;
};

} // namespace spindrel
