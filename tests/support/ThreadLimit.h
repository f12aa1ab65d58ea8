#pragma once

#include <atomic>
#include <climits>

/// In a program that uses these, every start of a thread is counted, and can be refused.
namespace tallyfold::test {

extern std::atomic<int> threadsStarted;
/// Starts beyond this number of `threadsStarted` are refused.
extern std::atomic<int> mostThreads;

/// No thread can be had for as long as it lives.
struct NoThreads {
  NoThreads() { mostThreads = 0; }
  ~NoThreads() { mostThreads = INT_MAX; }
};

}  // namespace tallyfold::test
