#include "MP4Tags/MP4Atom.h"

#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4MemoryAtom.h"
#include "foundation/Assertion.h"

namespace spindrel {

namespace {
[[noreturn]] void mustCallOnConcreteSubclass(const char* operation, int line)
{
    handleAssertionFailure("Must call " + std::string(operation) + " on concrete subclass",
                           sourceUnitName(__FILE__), line, operation);
}
} // namespace

std::shared_ptr<MP4FileAtom> MP4Atom::fileAtomWithType(uint32_t type, int fileHandle)
{
    return MP4FileAtom::withType(type, fileHandle);
}

std::shared_ptr<MP4MemoryAtom> MP4Atom::memoryAtomWithType(uint32_t type, const QByteArray& childData)
{
    return std::make_shared<MP4MemoryAtom>(type, childData);
}

uint32_t MP4Atom::addChild(const MP4AtomPtr&)
{
    mustCallOnConcreteSubclass("addChild:", __LINE__);
}

MP4AtomPtr MP4Atom::childAtomWithType(uint32_t) const
{
    mustCallOnConcreteSubclass("childAtomWithType:", __LINE__);
}

MP4AtomPtr MP4Atom::findChildAtomWithType(uint32_t) const
{
    mustCallOnConcreteSubclass("findChildAtomWithType:", __LINE__);
}

int32_t MP4Atom::replaceChildAtomOfType(uint32_t, const MP4AtomPtr&)
{
    mustCallOnConcreteSubclass("replaceChildAtomOfType:withAtom:", __LINE__);
}

QString MP4Atom::description() const
{
    return QStringLiteral("{(%1),(%2)}").arg(int32_t(length())).arg(stringForType(type()));
}

QString MP4Atom::stringForType(uint32_t type)
{
    const char code[4] = {char(type >> 24), char(type >> 16), char(type >> 8), char(type)};
    // Latin-1 renders the 0xA9 of iTunes codes as the copyright sign.
    return QLatin1Char('\'') + QString::fromLatin1(code, 4) + QLatin1Char('\'');
}

} // namespace spindrel
