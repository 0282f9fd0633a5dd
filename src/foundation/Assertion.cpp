#include "foundation/Assertion.h"

#include <cstdio>
#include <cstring>

namespace spindrel {

InternalInconsistency::InternalInconsistency(const std::string& description, const std::string& sourceUnit,
                                             int line, const std::string& method)
    : std::logic_error(description), mDescription(description), mSourceUnit(sourceUnit), mLine(line),
      mMethod(method)
{
}

void handleAssertionFailure(const std::string& description, const std::string& sourceUnit, int line,
                            const std::string& method)
{
    std::fprintf(stderr, "*** Assertion failure in %s, %s:%d: %s\n", method.empty() ? "?" : method.c_str(),
                 sourceUnit.c_str(), line, description.c_str());
    throw InternalInconsistency(description, sourceUnit, line, method);
}

std::string sourceUnitName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    std::string name = slash ? slash + 1 : path;
    if (auto dot = name.rfind('.'); dot != std::string::npos)
        name.erase(dot);
    return name;
}

} // namespace spindrel
