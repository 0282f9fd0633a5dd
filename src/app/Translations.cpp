#include "app/Translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QPointer>
#include <QTranslator>
#include <memory>

namespace spindrel {

namespace {

const QString kResourceFolder = QStringLiteral(":/i18n");
const QString kCatalogue = QStringLiteral("spindrel_");

QList<QPointer<QTranslator>>& installed()
{
    static QList<QPointer<QTranslator>> translators;
    return translators;
}

bool isSourceLanguage(const QString& language)
{
    return language == QLatin1String("C") || language == QLatin1String("en") ||
           language.startsWith(QLatin1String("en_"));
}

// "de_Latn_DE", "de_DE", "de": the most specific name first.
QStringList candidates(QString language)
{
    QStringList names;
    while (!language.isEmpty()) {
        names << language;
        const qsizetype cut = language.lastIndexOf(QLatin1Char('_'));
        language = cut < 0 ? QString() : language.left(cut);
    }
    return names;
}

bool installFrom(const QString& folder, const QString& file)
{
    // The application owns the translator, so one installed never outlives it.
    auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
    if (!translator->load(file, folder) || !QCoreApplication::installTranslator(translator.get()))
        return false;
    installed() << translator.release();
    return true;
}

} // namespace

QString Translations::install(const QLocale& locale)
{
    remove();
    for (QString language : locale.uiLanguages()) {
        language.replace(QLatin1Char('-'), QLatin1Char('_'));
        if (isSourceLanguage(language))
            return {};
        for (const QString& name : candidates(language)) {
            if (!QFile::exists(kResourceFolder + QLatin1Char('/') + kCatalogue + name +
                               QStringLiteral(".qm")))
                continue;
            // Qt's own dialogs and buttons in the same language, where the system has them.
            installFrom(QLibraryInfo::path(QLibraryInfo::TranslationsPath), QStringLiteral("qtbase_") + name);
            if (!installFrom(kResourceFolder, kCatalogue + name)) {
                remove();
                return {};
            }
            return name;
        }
    }
    return {};
}

void Translations::remove()
{
    for (const QPointer<QTranslator>& translator : std::as_const(installed())) {
        if (translator) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
    }
    installed().clear();
}

} // namespace spindrel
