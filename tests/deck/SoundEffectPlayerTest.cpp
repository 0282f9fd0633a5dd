#include "deck/SoundEffectPlayer.h"

#include "hud/SoundEffects.h"

#include <QFileInfo>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

QString soundFile(SoundEffects::Effect effect)
{
    return SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(effect));
}

TEST(SoundEffectPlayerTest, ResourceSoundsBecomeFilesTheDecoderCanOpen)
{
    const QString file = soundFile(SoundEffects::ButtonPress);
    ASSERT_FALSE(file.isEmpty());
    EXPECT_TRUE(QFileInfo(file).isFile());
    EXPECT_EQ(QFileInfo(file).size(),
              QFileInfo(SoundEffects::resourcePath(SoundEffects::ButtonPress)).size());
    EXPECT_EQ(SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(SoundEffects::ButtonPress)),
              file);
    EXPECT_TRUE(SoundEffectPlayer::fileForResource(QStringLiteral(":/sounds/NoSuchSound.wav")).isEmpty());
}

TEST(SoundEffectPlayerTest, ASoundPlaysOnceAndIsNotRestartedWhilePlaying)
{
    SoundEffectPlayer drawer(QStringLiteral("DrawerOpenStereo"), soundFile(SoundEffects::DrawerOpenStereo),
                             QString());
    drawer.play();
    EXPECT_TRUE(drawer.isPlaying());
    drawer.play();
    EXPECT_EQ(drawer.startCount(), 1);
    // A little over half a second long.
    EXPECT_TRUE(QTest::qWaitFor([&] { return !drawer.isPlaying(); }, 3000));
    drawer.play();
    EXPECT_EQ(drawer.startCount(), 2);
    drawer.stop();
    EXPECT_FALSE(drawer.isPlaying());
}

TEST(SoundEffectPlayerTest, ALoopingSoundGoesOnUntilStopped)
{
    SoundEffectPlayer winding(QStringLiteral("TapeSpeeding"), soundFile(SoundEffects::TapeSpeeding),
                              QString());
    winding.setLoops(true);
    winding.play();
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 2500) {
        QTest::qWait(50);
        ASSERT_TRUE(winding.isPlaying()) << "after " << clock.elapsed() << " ms";
    }
    EXPECT_EQ(winding.startCount(), 1);
    winding.stop();
    EXPECT_FALSE(winding.isPlaying());
    QTest::qWait(300);
    EXPECT_FALSE(winding.isPlaying());
}

TEST(SoundEffectPlayerTest, AMissingSoundIsSilentlyUnavailable)
{
    SoundEffectPlayer missing(QStringLiteral("Missing"), QString(), QString());
    missing.play();
    EXPECT_FALSE(missing.isPlaying());
    EXPECT_EQ(missing.startCount(), 0);
}

} // namespace
