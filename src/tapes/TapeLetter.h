#pragma once

#include "tapes/TapeColorScheme.h"

#include <QString>
#include <memory>

namespace spindrel {

/// The big letter on a tape's label and the colour scheme it is printed in.
///
/// Copies share the scheme object: advancing the shared scheme (as the label view does) recolours
/// every copy, while tapeLetterWithNextColorScheme() gives a letter with a scheme of its own. There
/// is deliberately no operator==: a tape notices a new letter by assignment, not by comparison.
class TapeLetter
{
public:
    /// Letter "A" in the default scheme.
    TapeLetter();
    /// The letter with a new scheme of index 0.
    explicit TapeLetter(const QString& letter);
    /// The letter with the given scheme (shared, not copied); a null scheme is an assertion.
    TapeLetter(const QString& letter, std::shared_ptr<TapeColorScheme> colorScheme);
    static TapeLetter tapeLetter(const QString& letter) { return TapeLetter(letter); }

    QString letter() const { return mLetter; }
    void setLetter(const QString& letter) { mLetter = letter; }

    const std::shared_ptr<TapeColorScheme>& colorScheme() const { return mColorScheme; }
    /// A null scheme is an assertion and leaves the letter unchanged.
    void setColorScheme(std::shared_ptr<TapeColorScheme> colorScheme);

    /// A copy whose scheme is a new one, the next in the table; this letter is unchanged.
    TapeLetter tapeLetterWithNextColorScheme() const;

    /// True when both letters use the very same scheme object.
    bool sharesColorSchemeWith(const TapeLetter& other) const { return mColorScheme == other.mColorScheme; }

private:
    QString mLetter;
    std::shared_ptr<TapeColorScheme> mColorScheme;
};

} // namespace spindrel
