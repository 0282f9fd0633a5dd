#pragma once

#include "tapes/Tape.h"

#include <QFile>
#include <QTemporaryDir>

namespace spindrel::test {

/// Copies of the welcome tape in a temporary folder; nothing is written back on release.
class TestTapes
{
public:
    bool isValid() const { return mDir.isValid(); }

    TapePtr welcomeTape()
    {
        const QString file = mDir.filePath(QStringLiteral("tape-%1.m4a").arg(++mCount));
        if (!QFile::copy(QStringLiteral(SPINDREL_SOURCE_DIR "/resources/tapes/sp-welcome.m4a"), file))
            return nullptr;
        return std::make_shared<Tape>(file);
    }

    TapePtr make(const QString& title, const QDateTime& date, const QString& notes = {})
    {
        TapePtr tape = welcomeTape();
        if (tape) {
            tape->setTitle(title);
            tape->setDate(date);
            tape->setNotes(notes);
        }
        return tape;
    }

private:
    QTemporaryDir mDir;
    int mCount = 0;
};

} // namespace spindrel::test
