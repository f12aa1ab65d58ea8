// The other process of the tests: exchanges the two items that it is given, over and over, until it is killed.

#include <cstdio>
#include <fcntl.h>
#include <sched.h>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  while (renameat2(AT_FDCWD, argv[1], AT_FDCWD, argv[2], RENAME_EXCHANGE) == 0) sched_yield();
  std::perror("renameat2");
  return 1;
}
