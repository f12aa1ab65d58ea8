#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace tallyfold::test {

/// A program found on the PATH, started without a shell, whose standard output is read. The toolkit's own class for
/// this shares memory with what it starts, which ThreadSanitizer takes for a fork of this very process.
class OtherProgram {
 public:
  /// Throws when it cannot be started.
  explicit OtherProgram(const std::vector<std::string>& command);
  OtherProgram(const OtherProgram&) = delete;
  OtherProgram& operator=(const OtherProgram&) = delete;
  /// Kills it, and returns when it is gone.
  ~OtherProgram();

  /// Waits for its end. Returns all that it printed since the last call. Throws when its exit status is not 0.
  std::string finish();
  /// Whether it has printed this line until now. Does not wait.
  bool hasSaid(const std::string& line);

 private:
  bool readSome();

  std::string name_;
  std::string output_;
  pid_t process_ = 0;
  int pipe_ = -1;
};

/// What such a program prints. Throws when it cannot be started or does not exit with status 0: an oracle that is
/// missing must fail the test.
std::string outputOf(const std::vector<std::string>& command);

}  // namespace tallyfold::test
