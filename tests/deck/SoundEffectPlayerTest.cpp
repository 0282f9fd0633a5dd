#include "deck/SoundEffectPlayer.h"

#include "hud/SoundEffects.h"

#include <QFileInfo>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

QString soundFile(SoundEffect effect)
{
    return SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(effect));
}

TEST(SoundEffectPlayerTest, ResourceSoundsBecomeFilesAndAMissingOneIsSilent)
{
    const QString file = soundFile(SoundEffect::ButtonPress);
    ASSERT_FALSE(file.isEmpty());
    EXPECT_TRUE(QFileInfo(file).isFile());
    EXPECT_EQ(QFileInfo(file).size(), QFileInfo(SoundEffects::resourcePath(SoundEffect::ButtonPress)).size());
    EXPECT_EQ(SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(SoundEffect::ButtonPress)), file);
    EXPECT_TRUE(SoundEffectPlayer::fileForResource(QStringLiteral(":/sounds/NoSuchSound.wav")).isEmpty());

    SoundEffectPlayer missing(QStringLiteral("Missing"), QString(), QString());
    missing.play();
    EXPECT_FALSE(missing.isPlaying());
    EXPECT_EQ(missing.startCount(), 0);
}

} // namespace
