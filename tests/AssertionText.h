#pragma once

#include "foundation/Assertion.h"

#include <string>

namespace spindrel::test {

/// The description of the assertion the call raises, or "(none)" when it raises none.
template <typename Call> std::string assertionFrom(Call&& call)
{
    try {
        call();
    } catch (const InternalInconsistency& failure) {
        return failure.description();
    }
    return "(none)";
}

} // namespace spindrel::test
