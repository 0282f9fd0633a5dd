#pragma once

#include <QLocale>
#include <QString>

namespace spindrel {

/// The application's catalogues, built into its resources, and Qt's own from the system.
class Translations
{
public:
    /// Installs the catalogue for the first of the locale's languages that has one, with Qt's
    /// catalogue in that language when the system has it, in place of any installed before. English
    /// is the source language: a locale that prefers it gets none. Returns the language installed
    /// ("de"), empty when none.
    static QString install(const QLocale& locale = QLocale::system());
    /// Takes the installed catalogues out again.
    static void remove();
};

} // namespace spindrel
