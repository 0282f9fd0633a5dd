#include "hud/TestTapes.h"

#include <QFile>

namespace spindrel::test {

TestTapes::TestTapes() : mPath(mDir.path()) {}

TapePtr TestTapes::welcomeTape()
{
    const QString source = QStringLiteral(SPINDREL_SOURCE_DIR "/resources/tapes/sp-welcome.m4a");
    const QString file = mPath + QStringLiteral("/tape-%1.m4a").arg(++mCount);
    if (!QFile::copy(source, file))
        return nullptr;
    auto tape = std::make_shared<Tape>(file);
    return tape;
}

TapePtr TestTapes::make(const QString& title, const QDateTime& date, const QString& notes)
{
    TapePtr tape = welcomeTape();
    if (!tape)
        return nullptr;
    tape->setTitle(title);
    tape->setDate(date);
    tape->setNotes(notes);
    return tape;
}

} // namespace spindrel::test
