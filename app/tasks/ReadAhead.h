#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>

namespace tallyfold {

/// Goes ahead of someone who reads many files, one after another, and has the disk bring the next ones: a disk that is
/// asked for one file at a time waits most of the time. Some threads do it, as long as what they ask for was not in
/// memory; one that looks at a file now and then is left where it was. Changes nothing but the time.
///
/// At most `window` files are ahead of the reader. There are at most `mostThreads` such threads in the program, those
/// among them that hang in a dead file system: nobody waits for them.
class ReadAhead {
 public:
  static constexpr std::size_t window = 64;
  static constexpr int mostThreads = 8;

  /// `fetch` has the disk begin to bring the beginning of a file and says whether it was not in memory. It throws
  /// nothing, is called by several threads at once, and holds all that it needs: a call may last beyond this object.
  using Fetch = std::function<bool(std::size_t file)>;

  /// Of the files 0 to `files` - 1, in this order. Starts a thread, where there is one to be had, and more files than
  /// one.
  ReadAhead(std::size_t files, Fetch fetch, const std::stop_token& cancellation);
  /// No call of `fetch` begins after it, or after the cancellation.
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  /// The reader reads this file now: needs no fetching any more, as none before it.
  void reached(std::size_t file);

 private:
  class Fetching;

  struct Stopping {
    void operator()() const;
    Fetching& fetching;
  };

  std::shared_ptr<Fetching> fetching_;
  std::stop_callback<Stopping> stopping_;
};

}  // namespace tallyfold
