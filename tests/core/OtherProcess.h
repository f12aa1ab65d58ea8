#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>

namespace tallyfold::test {

/// Another process, which changes files when told to. Throws when it cannot do its work.
class OtherProcess {
 public:
  OtherProcess();
  ~OtherProcess();
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  /// Has the other process make one change to the file at `path`; returns when it is complete. The verbs are "append",
  /// "truncate" (to half), "rewrite" (in place, every byte inverted, size and times kept), "replace" (by another file
  /// with every byte inverted), "link" (the same through a symbolic link), "remove", and "pipe" (replace by a FIFO).
  void change(const std::string& verb, const std::filesystem::path& path);

 private:
  int socket_ = -1;
  pid_t process_ = 0;
};

}  // namespace tallyfold::test
