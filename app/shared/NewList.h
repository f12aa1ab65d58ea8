#pragma once

#include <cstddef>
#include <exception>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "export/lists/ChecksumList.h"

namespace tallyfold {

/// Why no list can be made of some files. `what()` is the sentence for the user.
class ListRefusal : public std::exception {
 public:
  explicit ListRefusal(std::string sentence) : sentence_(std::move(sentence)) {}
  [[nodiscard]] const char* what() const noexcept override { return sentence_.c_str(); }

 private:
  std::string sentence_;
};

/// A list that is to be made: what it may hold is what a list that is read may. Any thread, one at a time.
class NewList {
 public:
  NewList(ChecksumList::Form form, HashAlgorithmSet algorithms) : form_(form), algorithms_(algorithms) {}

  /// Takes the path of one more file into account. False where there is no room for it.
  bool add(std::string_view path);
  /// Fails with the sentence about too many files.
  [[noreturn]] static void refuseMore();
  /// Fails with ListRefusal unless all of `paths` can be written in the form, and are read back from it; with
  /// CancellationError.
  void checkNames(const std::vector<std::string>& paths, const std::stop_token& cancellation) const;

  /// Those of `files`, which are below `folder`, that the list at `destination` does not replace: no list lists itself.
  /// Fails with ListRefusal where none is left.
  static std::vector<ChecksumList::File> withoutReplaced(std::vector<ChecksumList::File> files,
                                                         const std::filesystem::path& folder,
                                                         const std::filesystem::path& destination);

 private:
  ChecksumList::Form form_;
  HashAlgorithmSet algorithms_;
  std::size_t entries_ = 0;
  std::size_t size_ = 0;  // Of what they retain once the list is read.
};

}  // namespace tallyfold
