#pragma once

#include "tapes/Tape.h"

#include <QTemporaryDir>

namespace spindrel::test {

/// Real tapes for widget tests: copies of the welcome tape in a temporary folder, with titles
/// and dates of their own. Nothing is written back when they are released.
class TestTapes
{
public:
    TestTapes();
    bool isValid() const { return mDir.isValid(); }
    const QString& path() const { return mPath; }

    /// A copy of the welcome tape as it is in its file: nothing dirty.
    TapePtr welcomeTape();
    /// A tape with these values set (so they are dirty).
    TapePtr make(const QString& title, const QDateTime& date, const QString& notes = {});

private:
    QTemporaryDir mDir;
    QString mPath;
    int mCount = 0;
};

} // namespace spindrel::test
