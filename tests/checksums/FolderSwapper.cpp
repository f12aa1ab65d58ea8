// The other process of the tests: exchanges the two items that it is given, over and over, until it is killed. At times
// it leaves them as they are, one way and the other in turn, for as long as a file that was just renamed is not read.

#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <time.h>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  constexpr int oddCount = 1001;
  constexpr timespec pause{.tv_sec = 0, .tv_nsec = 15'000'000};
  for (int count = 1; renameat2(AT_FDCWD, argv[1], AT_FDCWD, argv[2], RENAME_EXCHANGE) == 0; ++count) {
    if (count % oddCount == 0) nanosleep(&pause, nullptr);
    sched_yield();
  }
  std::perror("renameat2");
  return 1;
}
