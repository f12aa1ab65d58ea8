#include "tests/support/ThreadLimit.h"

#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

namespace tallyfold::test {

std::atomic<int> threadsStarted = 0;
std::atomic<int> mostThreads = INT_MAX;

}  // namespace tallyfold::test

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
  static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  if (tallyfold::test::threadsStarted >= tallyfold::test::mostThreads) return EAGAIN;
  ++tallyfold::test::threadsStarted;
  return real(thread, attributes, body, argument);
}
