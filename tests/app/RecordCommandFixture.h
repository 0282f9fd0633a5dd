#pragma once

#include "CommandRun.h"
#include "audio/AudioTestSupport.h"

#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace spindrel::test {

// spindrel record reads the user's settings and records the test input: each test gives it
// settings of its own and plays a sound into that input.
class RecordCommandFixture : public ::testing::Test
{
protected:
    /// Plays what sox synthesises from `synth` (e.g. "8 sine 330") into the input until the test ends.
    void playIntoTheInput(const QString& synth)
    {
        QSettings settings(mFolder.filePath(QStringLiteral("config/Spindrel/Spindrel.conf")),
                           QSettings::IniFormat);
        settings.setValue(QStringLiteral("TapeAuthor"), QStringLiteral("Command Author"));
        settings.sync();
        mTone = playIntoInput(mFolder.path(), synth);
        ASSERT_TRUE(mTone);
    }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), mFolder.filePath(QStringLiteral("config")));
        return environment;
    }

    QTemporaryDir mFolder;
    std::unique_ptr<QProcess> mTone;
};

} // namespace spindrel::test
