// From the start of the program to its first painted frame, and its memory when it then rests, seen from outside:
//   start_up_bench PROGRAM [RUNS]
// Needs a display without other windows, such as that of tools/with-display.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "bench/Measure.h"

namespace {

using Clock = std::chrono::steady_clock;

// Whether a window of the program's size shows something other than one colour down its middle.
bool isPainted(Display* display) {
  Window root = None;
  Window parent = None;
  Window* children = nullptr;
  unsigned count = 0;
  if (XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count) == 0) return false;
  bool painted = false;
  for (unsigned i = 0; i < count && !painted; ++i) {
    XWindowAttributes attributes;
    if (XGetWindowAttributes(display, children[i], &attributes) == 0) continue;
    if (attributes.map_state != IsViewable || attributes.width < 800) continue;
    const auto height = static_cast<unsigned>(attributes.height);
    XImage* column = XGetImage(display, children[i], attributes.width / 2, 0, 1, height, AllPlanes, ZPixmap);
    if (column == nullptr) continue;
    for (int y = 1; y < column->height && !painted; ++y) {
      painted = XGetPixel(column, 0, y) != XGetPixel(column, 0, 0);
    }
    XDestroyImage(column);
  }
  XFree(children);
  return painted;
}

// In megabytes: of all its memory, what that of `kind` comes to.
double memory(pid_t process, const std::string& kind) {
  std::ifstream sums("/proc/" + std::to_string(process) + "/smaps_rollup");
  for (std::string line; std::getline(sums, line);) {
    if (line.starts_with(kind + ':')) return std::atof(line.c_str() + kind.size() + 1) / 1000;
  }
  throw std::runtime_error("The system does not tell the memory of a process.");
}

// The clock ticks that it has used.
long ticks(pid_t process) {
  std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
  std::string word;
  long used = 0;
  for (int field = 1; field <= 15 && stat >> word; ++field) {
    if (field >= 14) used += std::atol(word.c_str());
  }
  return used;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const int runs = argc > 2 ? std::atoi(argv[2]) : 9;
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) throw std::runtime_error("There is no display.");
  XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });

  std::vector<double> seconds;
  std::vector<double> resident;
  std::vector<double> dirty;
  for (int run = 0; run < runs; ++run) {
    const Clock::time_point start = Clock::now();
    const pid_t process = tallyfold::bench::start({argv[1]});
    while (!isPainted(display)) {
      if (waitpid(process, nullptr, WNOHANG) != 0) throw std::runtime_error("The program ended.");
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    // At rest: half a second without work.
    for (long before = -1; before != ticks(process);) {
      before = ticks(process);
      std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
    resident.push_back(memory(process, "Rss"));
    dirty.push_back(memory(process, "Private_Dirty"));
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    while (isPainted(display)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  XCloseDisplay(display);
  std::sort(seconds.begin(), seconds.end());
  std::sort(resident.begin(), resident.end());
  std::sort(dirty.begin(), dirty.end());
  const std::size_t median = seconds.size() / 2;
  std::printf("start to first painted frame: %.3f s to %.3f s, %d runs\n", seconds.front(), seconds.back(), runs);
  tallyfold::bench::printTarget("start to first painted frame: seconds", seconds[median], "at most", 0.5);
  tallyfold::bench::printTarget("resident at rest: MB", resident[median], "at most", 121);
  tallyfold::bench::printTarget("private and written at rest: MB", dirty[median], "at most", 30);
}
