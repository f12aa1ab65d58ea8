#pragma once

#include <chrono>
#include <exception>
#include <functional>

/// The one door through which the window's program starts threads. From any thread.
namespace tallyfold::Workers {

/// There is no thread to be had. `what()` is the sentence for the user.
class Refusal : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override;
};

/// Runs `job`, which throws nothing, on a thread of its own. Throws a Refusal, or what copying a function may throw,
/// and has done nothing then.
void start(std::function<void()> job);

/// Waits until no job is left and its threads are gone, and says whether that was reached in time.
bool waitForAll(std::chrono::milliseconds limit);

}  // namespace tallyfold::Workers
