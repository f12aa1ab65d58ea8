#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tallyfold::test {

/// A new, empty folder that goes away, with everything in it, with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// Writes (or rewrites in place) a file with these bytes and returns its path. `name` is bytes, any that a file name
  /// may hold.
  std::filesystem::path file(std::string_view name, std::string_view content) const;

 private:
  std::filesystem::path path_;
};

/// The whole content of a file.
std::string contentOf(const std::filesystem::path& path);

/// Input of the published BLAKE3 vectors: bytes 0, 1, ... 250, 0, 1, ...
std::string period251(std::size_t size);

/// `size` bytes that look random and depend on nothing but `seed`.
std::string randomBytes(std::size_t size, unsigned seed);

}  // namespace tallyfold::test
