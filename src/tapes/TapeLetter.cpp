#include "tapes/TapeLetter.h"

#include "foundation/Assertion.h"

namespace spindrel {

TapeLetter::TapeLetter() : TapeLetter(QStringLiteral("A")) {}

TapeLetter::TapeLetter(const QString& letter)
    : mLetter(letter), mColorScheme(TapeColorScheme::colorSchemeWithIndex(0))
{
}

TapeLetter::TapeLetter(const QString& letter, std::shared_ptr<TapeColorScheme> colorScheme)
    : mLetter(letter), mColorScheme(std::move(colorScheme))
{
    SP_VERIFY_OR_DEBUG_ASSERT(mColorScheme, "Invalid parameter not satisfying: colorScheme")
    {
        mColorScheme = TapeColorScheme::colorSchemeWithIndex(0);
    }
}

void TapeLetter::setColorScheme(std::shared_ptr<TapeColorScheme> colorScheme)
{
    SP_VERIFY_OR_DEBUG_ASSERT(colorScheme, "Invalid parameter not satisfying: colorScheme")
    {
        return;
    }
    mColorScheme = std::move(colorScheme);
}

TapeLetter TapeLetter::tapeLetterWithNextColorScheme() const
{
    return TapeLetter(mLetter, mColorScheme->nextColorScheme());
}

} // namespace spindrel
