// For tests of what needs an event loop and no window of its own.

#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
