#pragma once

namespace spindrel {

/// Names, roles, states, values and actions for the deck's custom-drawn controls, given to
/// assistive technologies through Qt's accessibility factory.
class HUDAccessibility
{
public:
    /// Installs the factory once per process; later calls do nothing. Widgets asked about before
    /// (Qt keeps an interface per object) keep Qt's plain interface: install before making them.
    static void install();
};

} // namespace spindrel
