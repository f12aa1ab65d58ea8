#include <gmock/gmock.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
  qputenv("LC_ALL", TEST_LOCALE);
  const QCoreApplication application(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
