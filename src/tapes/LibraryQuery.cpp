#include "tapes/LibraryQuery.h"

#include "tapes/DateParser.h"
#include "tapes/Tape.h"

#include <QRegularExpression>

namespace spindrel {

namespace {

// Plain substring search on lower-cased text, where an absent value counts as found at its start
// and an empty term is found in nothing.
bool containsTerm(const QString& haystack, const QString& term)
{
    if (haystack.isNull())
        return true;
    if (term.isEmpty())
        return false;
    return haystack.contains(term, Qt::CaseInsensitive);
}

std::optional<QDateTime> dateAfter(const QString& term, QLatin1String marker)
{
    const qsizetype at = term.indexOf(marker);
    return DateParser::dateWithNaturalLanguageString(term.mid(at + marker.size()));
}

} // namespace

LibraryQuery::LibraryQuery(const QString& filterString)
{
    if (filterString.isEmpty())
        return;
    mActive = true;

    static const QRegularExpression whitespace(QStringLiteral("\\s"));
    QStringList words = filterString.toLower().split(whitespace);
    if (const qsizetype bar = words.indexOf(QStringLiteral("|")); bar >= 0) {
        words.removeAt(bar);
        mAnyTerm = true;
    }

    for (const QString& word : std::as_const(words)) {
        if (word.contains(QLatin1String("color:")))
            mTerms.append({Kind::Color, word, std::nullopt});
        else if (word.contains(QLatin1String("quality:")))
            mTerms.append({Kind::Quality, word, std::nullopt});
        else if (word.contains(QLatin1String("date:")))
            mTerms.append({Kind::Date, word, dateAfter(word, QLatin1String("date:"))});
        else if (word.contains(QLatin1String("month:")))
            mTerms.append({Kind::Month, word, dateAfter(word, QLatin1String("month:"))});
        else if (word.contains(QLatin1String("year:")))
            mTerms.append({Kind::Year, word, dateAfter(word, QLatin1String("year:"))});
        else
            mTerms.append({Kind::Text, word, std::nullopt});
    }
}

bool LibraryQuery::matches(const Tape& tape) const
{
    if (!mActive)
        return true;
    return matches(Fields{tape.title(), tape.notes(), tape.quality(),
                          tape.tapeLetter().colorScheme()->colorName(), tape.date()});
}

bool LibraryQuery::matches(const Fields& fields) const
{
    if (!mActive)
        return true;
    qsizetype hitCount = 0;
    for (const Term& term : mTerms) {
        if (hits(term, fields))
            ++hitCount;
    }
    return mAnyTerm ? hitCount >= 1 : hitCount == mTerms.size();
}

bool LibraryQuery::hits(const Term& term, const Fields& fields) const
{
    switch (term.kind) {
    case Kind::Color:
        // The colour name is looked for inside the term, so "color:blue" hits blue tapes.
        return !fields.colorName.isEmpty() && term.text.contains(fields.colorName.toLower());
    case Kind::Quality:
        return !fields.quality.isEmpty() && term.text.contains(fields.quality.toLower());
    case Kind::Date:
        if (!term.date || !fields.date.isValid())
            return false;
        return std::abs(fields.date.secsTo(*term.date)) < 86400 &&
               fields.date.date().dayOfYear() == term.date->date().dayOfYear();
    case Kind::Month:
        return term.date && fields.date.isValid() && fields.date.date().month() == term.date->date().month();
    case Kind::Year:
        return term.date && fields.date.isValid() && fields.date.date().year() == term.date->date().year();
    case Kind::Text:
        return containsTerm(fields.title, term.text) || containsTerm(fields.notes, term.text);
    }
    return false;
}

} // namespace spindrel
