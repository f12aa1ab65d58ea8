#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tallyfold::test {

/// A new, empty folder that goes away, with everything in it, with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "tallyfold-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// Writes (or rewrites in place) a file with these bytes and returns its path. `name` is bytes, any that a file name
  /// may hold.
  std::filesystem::path file(std::string_view name, std::string_view content) const {
    std::filesystem::path path = path_ / name;
    std::ofstream stream(path, std::ios::binary);
    stream << content << std::flush;
    if (!stream) throw std::runtime_error("cannot write " + path.string());
    return path;
  }

 private:
  std::filesystem::path path_;
};

/// The whole content of a file.
inline std::string contentOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// `size` bytes that look random and depend on nothing but `seed`.
inline std::string randomBytes(std::size_t size, unsigned seed) {
  std::mt19937_64 engine(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(engine());
  return bytes;
}

}  // namespace tallyfold::test
