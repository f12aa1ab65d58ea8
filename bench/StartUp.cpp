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

long residentKilobytes(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::atol(line.c_str() + 6);
  }
  return 0;
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
  std::vector<long> kilobytes;
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
    kilobytes.push_back(residentKilobytes(process));
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    while (isPainted(display)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  XCloseDisplay(display);
  std::sort(seconds.begin(), seconds.end());
  std::sort(kilobytes.begin(), kilobytes.end());
  const std::size_t median = seconds.size() / 2;
  std::printf("start to first painted frame: %.3f s to %.3f s, %d runs\n", seconds.front(), seconds.back(), runs);
  tallyfold::bench::printTarget("start to first painted frame: seconds", seconds[median], "at most", 0.5);
  tallyfold::bench::printTarget("resident at rest: MB", static_cast<double>(kilobytes[median]) / 1000, "at most", 150);
}
