#include <QApplication>
#include <gtest/gtest.h>

// Widget tests run on a real display (Xvfb in CI) so that input events behave as for a user.
int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
