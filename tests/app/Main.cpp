// For tests of what needs an event loop and no window of its own.

#include <gmock/gmock.h>
#include <malloc.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
  // As in the program, and as early: a heap that a thread has got is used by all that come later.
#ifdef __GLIBC__
  mallopt(M_ARENA_MAX, 1);
#endif
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
