#include <QGuiApplication>
#include <gtest/gtest.h>

#include <cstdlib>

// Model tests draw (cover art, glyph outlines) and so need a GUI application object, but
// never a display: without one, Qt's offscreen platform stands in.
int main(int argc, char** argv)
{
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
