#include <gtest/gtest.h>
#include <QApplication>

// Widget tests need an application object around them.
int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
