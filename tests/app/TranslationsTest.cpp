#include "app/Translations.h"

#include "CommandRun.h"
#include "tapes/DurationFormatter.h"
#include "tapes/FuzzyDateFormatter.h"
#include "tapes/TapeTestFiles.h"

#include <QCoreApplication>
#include <QFile>
#include <QLibraryInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

class TranslationsTest : public ::testing::Test
{
protected:
    void TearDown() override { Translations::remove(); }

    static QString preferencesTitle()
    {
        return QCoreApplication::translate("spindrel::PreferencesWindow", "Preferences");
    }
};

TEST_F(TranslationsTest, GermanIsBuiltInAndFoundForEveryGermanSpeakingRegion)
{
    for (const char* name : {"de_DE", "de_AT", "de_CH"}) {
        EXPECT_EQ(Translations::install(QLocale(QString::fromLatin1(name))), QStringLiteral("de")) << name;
        EXPECT_EQ(preferencesTitle(), QStringLiteral("Einstellungen")) << name;
    }
    // Texts of classes that are no QObjects find their catalogue context too.
    EXPECT_EQ(DurationFormatter::durationToString(3725), QStringLiteral("1h2min5s"));
    const QDateTime noon(QDate(2012, 3, 4), QTime(12, 0));
    EXPECT_TRUE(FuzzyDateFormatter::shared()
                    .stringFromDate(noon, QDate(2012, 3, 4))
                    .startsWith(QStringLiteral("Heute")));
}

TEST_F(TranslationsTest, EnglishAndLanguagesWithoutACatalogueStayInTheSourceLanguage)
{
    ASSERT_EQ(Translations::install(QLocale(QStringLiteral("de_DE"))), QStringLiteral("de"));
    for (const char* name : {"en_US", "en_GB", "fr_FR", "C"}) {
        EXPECT_EQ(Translations::install(QLocale(QString::fromLatin1(name))), QString()) << name;
        EXPECT_EQ(preferencesTitle(), QStringLiteral("Preferences")) << name << ": the German one is gone";
        EXPECT_EQ(DurationFormatter::durationToString(3725), QStringLiteral("1h2m5s"));
    }
    Translations::install(QLocale(QStringLiteral("de_DE")));
    Translations::remove();
    EXPECT_EQ(preferencesTitle(), QStringLiteral("Preferences"));
}

TEST_F(TranslationsTest, QtsOwnTextsFollowInTheSameLanguage)
{
    const QString qtGerman =
        QLibraryInfo::path(QLibraryInfo::TranslationsPath) + QStringLiteral("/qtbase_de.qm");
    if (!QFile::exists(qtGerman))
        GTEST_SKIP() << "no Qt catalogue on this system: " << qtGerman.toStdString();
    ASSERT_EQ(Translations::install(QLocale(QStringLiteral("de_DE"))), QStringLiteral("de"));
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Abbrechen"));
    Translations::install(QLocale(QStringLiteral("fr_FR")));
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Cancel"))
        << "no French catalogue of our own, so no French buttons in an English application";
}

// The command line picks its language from the environment as the desktop application does.
TEST(TranslationsCommandLineTest, TheLanguageComesFromTheEnvironment)
{
    QTemporaryDir dir;
    ASSERT_TRUE(
        test::makeTapeFile(dir.filePath(QStringLiteral("long.m4a")), {QStringLiteral("LQ"), true, 61.0}));
    const auto listing = [&dir](const QString& lang, const QString& language) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANGUAGE"})
            environment.remove(QString::fromLatin1(name));
        environment.insert(QStringLiteral("LANG"), lang);
        if (!language.isEmpty())
            environment.insert(QStringLiteral("LANGUAGE"), language);
        return test::runSpindrel({QStringLiteral("library"), QStringLiteral("--folder"), dir.path()},
                                 environment)
            .out;
    };
    EXPECT_TRUE(listing(QStringLiteral("de_DE.UTF-8"), {}).contains(QStringLiteral(" 1min1s ")));
    EXPECT_TRUE(listing(QStringLiteral("C.UTF-8"), {}).contains(QStringLiteral(" 1m1s ")));
    EXPECT_TRUE(
        listing(QStringLiteral("de_DE.UTF-8"), QStringLiteral("en_GB:de")).contains(QStringLiteral(" 1m1s ")))
        << "English preferred first";
    EXPECT_TRUE(
        listing(QStringLiteral("en_US.UTF-8"), QStringLiteral("fr:de")).contains(QStringLiteral(" 1min1s ")))
        << "German the first preferred language with a catalogue";
}

} // namespace
