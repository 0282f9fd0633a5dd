#pragma once

#include "tapes/Tape.h"

#include <QTemporaryDir>

namespace spindrel::test {

/// Copies of the welcome tape in a temporary folder; nothing is written back on release.
class TestTapes
{
public:
    TestTapes();
    bool isValid() const { return mDir.isValid(); }
    const QString& path() const { return mPath; }

    TapePtr welcomeTape();
    TapePtr make(const QString& title, const QDateTime& date, const QString& notes = {});

private:
    QTemporaryDir mDir;
    QString mPath;
    int mCount = 0;
};

} // namespace spindrel::test
