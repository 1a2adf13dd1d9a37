// The widgets need a QApplication; the tests run on the offscreen platform.
#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
