#pragma once

#include <stdexcept>
#include <string>

namespace spindrel {

/// Raised for programming errors. The failing operation has changed nothing when this is thrown.
class InternalInconsistency : public std::logic_error
{
public:
    InternalInconsistency(const std::string& description, const std::string& sourceUnit, int line,
                          const std::string& method);

    const std::string& description() const { return mDescription; }
    const std::string& sourceUnit() const { return mSourceUnit; }
    int line() const { return mLine; }
    const std::string& method() const { return mMethod; }

private:
    std::string mDescription;
    std::string mSourceUnit;
    int mLine;
    std::string mMethod;
};

/// The one assertion handler: logs the description with its source unit and line, then throws
/// InternalInconsistency. Units and lines are given explicitly where callers report fixed ones.
[[noreturn]] void handleAssertionFailure(const std::string& description, const std::string& sourceUnit,
                                         int line, const std::string& method = {});

/// Reports a failed check that the caller recovers from: logs the description with its source
/// unit and line, then aborts when failed checks are fatal (debug builds) and returns true
/// otherwise, so that the caller's recovery runs. Never throws.
bool reportFailedCheck(const char* description, const std::string& sourceUnit, int line, const char* method);

/// Failed checks end the process in debug builds only; tests switch this to see both ways.
bool failedChecksAreFatal();
void setFailedChecksAreFatal(bool fatal);

/// Base name of a source path without its extension ("src/SMC/statemap.cpp" gives "statemap").
std::string sourceUnitName(const char* path);

} // namespace spindrel

#define SP_ASSERT(condition, description)                                                                    \
    do {                                                                                                     \
        if (!(condition))                                                                                    \
            ::spindrel::handleAssertionFailure((description), ::spindrel::sourceUnitName(__FILE__),          \
                                               __LINE__, __func__);                                          \
    } while (false)

/// For checks reached from the event loop: `SP_VERIFY_OR_DEBUG_ASSERT(ok, "text") { recover; }`
/// runs the recovery when the check fails, after logging the text; a debug build aborts instead.
#define SP_VERIFY_OR_DEBUG_ASSERT(condition, description)                                                    \
    if (static_cast<bool>(condition)) {                                                                      \
    } else if (::spindrel::reportFailedCheck((description), ::spindrel::sourceUnitName(__FILE__), __LINE__,  \
                                             __func__))
