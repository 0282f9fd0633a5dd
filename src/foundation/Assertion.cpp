#include "foundation/Assertion.h"

#include "foundation/Log.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
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

namespace {

#ifdef NDEBUG
std::atomic<bool> gFailedChecksAreFatal{false};
#else
std::atomic<bool> gFailedChecksAreFatal{true};
#endif

} // namespace

bool failedChecksAreFatal()
{
    return gFailedChecksAreFatal.load(std::memory_order_relaxed);
}

void setFailedChecksAreFatal(bool fatal)
{
    gFailedChecksAreFatal.store(fatal, std::memory_order_relaxed);
}

bool reportFailedCheck(const char* description, const std::string& sourceUnit, int line, const char* method)
{
    logLine(QStringLiteral("*** Assertion failure in %1, %2:%3: %4")
                .arg(QString::fromUtf8(method && *method ? method : "?"), QString::fromStdString(sourceUnit))
                .arg(line)
                .arg(QString::fromUtf8(description)));
    if (failedChecksAreFatal())
        std::abort();
    return true;
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
