// For tests of what needs an event loop and no window of its own.

#include <gmock/gmock.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
#ifdef TEST_LOCALE
  qputenv("LC_ALL", TEST_LOCALE);
#endif
#ifdef TEST_OPENSSL_CONF
  qputenv("OPENSSL_CONF", TEST_OPENSSL_CONF);
#endif
  const QCoreApplication application(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
