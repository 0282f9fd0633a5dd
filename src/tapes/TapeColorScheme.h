#pragma once

#include <QColor>
#include <QString>
#include <memory>

namespace spindrel {

/// One of the eight colour schemes of a tape label: an index into a fixed table of background,
/// letter and title colours. The colours are always derived from the index, never stored apart.
class TapeColorScheme
{
public:
    static constexpr unsigned Count = 8;

    /// Index 0 (red) is the default scheme of every new letter. Throws std::out_of_range for an
    /// index of Count or more.
    explicit TapeColorScheme(unsigned index = 0);
    static std::shared_ptr<TapeColorScheme> colorSchemeWithIndex(unsigned index);

    unsigned index() const { return mIndex; }
    /// Sets the index and the three colours from the table; throws std::out_of_range for an index
    /// of Count or more and then leaves the scheme as it was.
    void setIndex(unsigned index);

    QColor backgroundColor() const { return mBackgroundColor; }
    QColor letterColor() const { return mLetterColor; }
    QColor titleColor() const { return mTitleColor; }

    /// In place: 7 wraps to 0, any other index goes up by one.
    void advanceColorScheme();
    /// A new scheme with the following index; this one is unchanged.
    std::shared_ptr<TapeColorScheme> nextColorScheme() const;

    /// Lower-case name ("red" … "gray").
    QString colorName() const { return colorNameForIndex(mIndex); }
    /// The name of a table index; a null string for an index of Count or more.
    static QString colorNameForIndex(unsigned index);
    /// "color: red": the form the library search matches against.
    QString description() const;

private:
    unsigned mIndex = 0;
    QColor mBackgroundColor;
    QColor mLetterColor;
    QColor mTitleColor;
};

} // namespace spindrel
