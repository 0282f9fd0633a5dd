#pragma once

#include "update/Appcast.h"

#include <QString>

namespace spindrel::UpdateAlert {

/// A newer release: its version against ours, what is new, and a button to its download page.
void showUpdateFound(const AppcastItem& item, const QString& currentVersion);
void showUpToDate(const QString& currentVersion);
void showError(const QString& message);

} // namespace spindrel::UpdateAlert
