#include "tapes/TapeColorScheme.h"

#include "foundation/Assertion.h"

#include <array>

namespace spindrel {

namespace {

struct SchemeColors
{
    const char* name;
    QColor background;
    QColor letter;
    QColor title;
};

const std::array<SchemeColors, TapeColorScheme::Count>& schemeTable()
{
    const QColor white = QColor::fromRgbF(1, 1, 1);
    const QColor black = QColor::fromRgbF(0, 0, 0);
    const QColor red = QColor::fromRgbF(1, 0, 0);
    const QColor blue = QColor::fromRgbF(0, 0, 1);
    const QColor orange = QColor::fromRgbF(1, 0.5f, 0);
    const QColor purple = QColor::fromRgbF(0.5f, 0, 0.5f);
    static const std::array<SchemeColors, TapeColorScheme::Count> table = {{
        {"red", red, white, red},
        {"blue", blue, white, blue},
        {"yellow", QColor::fromRgbF(0.95f, 0.95f, 0), black, black},
        {"green", QColor::fromRgbF(0, 0.7f, 0), white, QColor::fromRgbF(0, 0.5f, 0)},
        {"orange", orange, white, orange},
        {"purple", purple, white, purple},
        {"black", black, white, black},
        {"gray", QColor::fromRgbF(0.5f, 0.5f, 0.5f), black, QColor::fromRgbF(0.3f, 0.3f, 0.3f)},
    }};
    return table;
}

} // namespace

TapeColorScheme::TapeColorScheme(unsigned index)
{
    // A scheme always has colours: an index out of range leaves those of the first.
    setIndex(0);
    setIndex(index);
}

std::shared_ptr<TapeColorScheme> TapeColorScheme::colorSchemeWithIndex(unsigned index)
{
    return std::make_shared<TapeColorScheme>(index);
}

void TapeColorScheme::setIndex(unsigned index)
{
    SP_VERIFY_OR_DEBUG_ASSERT(index < schemeTable().size(), "Colour scheme index out of range")
    {
        return;
    }
    const SchemeColors& colors = schemeTable()[index];
    mIndex = index;
    mBackgroundColor = colors.background;
    mLetterColor = colors.letter;
    mTitleColor = colors.title;
}

void TapeColorScheme::advanceColorScheme()
{
    setIndex(mIndex == Count - 1 ? 0 : mIndex + 1);
}

std::shared_ptr<TapeColorScheme> TapeColorScheme::nextColorScheme() const
{
    const unsigned next = mIndex + 1;
    return colorSchemeWithIndex(next == Count ? 0 : next);
}

QString TapeColorScheme::colorNameForIndex(unsigned index)
{
    if (index >= Count)
        return {};
    // Made once: searches ask every tape for its colour's name.
    static const auto names = [] {
        std::array<QString, Count> made;
        for (unsigned i = 0; i < Count; ++i)
            made[i] = QString::fromLatin1(schemeTable()[i].name);
        return made;
    }();
    return names[index];
}

QString TapeColorScheme::description() const
{
    return QStringLiteral("color: ") + colorName();
}

} // namespace spindrel
