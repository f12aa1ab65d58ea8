#pragma once

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "checksums/paths/ManifestPaths.h"

namespace tallyfold::test {

/// The kernel's answer, by another implementation than ours: where a path leads, or nothing.
inline std::string realPath(const std::filesystem::path& path) {
  std::string buffer(PATH_MAX, '\0');
  return realpath(path.c_str(), buffer.data()) != nullptr ? buffer.c_str() : "";
}

inline bool isBelow(const std::filesystem::path& folder, const std::filesystem::path& item) {
  return item.native().starts_with(folder.native() + "/");
}

/// A folder `top` with two folders, "root" and "other", and in them files, folders, and links that lead anywhere: in,
/// out, in circles and nowhere. Paths below it are made of the same few names, so that they meet.
class RandomTree {
 public:
  /// `choose` gives a random number for every choice.
  RandomTree(std::filesystem::path top, std::function<std::uint64_t()> choose)
      : choose_(std::move(choose)), top_(std::move(top)) {
    namespace fs = std::filesystem;
    fs::create_directories(top_ / "root");
    fs::create_directories(top_ / "other");
    std::vector<fs::path> folders{top_, top_ / "root", top_ / "root", top_ / "root", top_ / "other"};
    for (int i = 0; i < 40; ++i) {
      const fs::path item = pick(folders) / pick(names_);
      if (fs::symlink_status(item).type() != fs::file_type::not_found) continue;
      const auto kind = choose_() % 4;
      if (kind == 0) {
        fs::create_directory(item);
        folders.push_back(item);
      } else if (kind == 1) {
        std::ofstream(item) << "x";
      } else {
        fs::create_symlink(target(), item);
      }
    }
  }

  /// A relative path of some components.
  std::string path() {
    std::string path;
    for (auto count = 1 + choose_() % 5; count > 0; --count) {
      path += oneIn(6) ? ".." : oneIn(12) ? "." : oneIn(15) ? "" : oneIn(12) ? "root" : pick(names_);
      if (count > 1) path += oneIn(10) ? '\\' : '/';
    }
    return path;
  }

 private:
  bool oneIn(unsigned count) { return choose_() % count == 0; }
  template <typename T>
  const T& pick(const std::vector<T>& all) {
    return all[choose_() % all.size()];
  }
  std::string target() {
    const std::vector<std::string> starts{"",           "", "../", "../../", "./", top_ / "root/", top_ / "other/",
                                          "missing/../"};
    const std::string target = pick(starts) + path() + (oneIn(8) ? "/" : "");
    return target.empty() ? "." : target;
  }

  const std::vector<std::string> names_{"a", "b", "c", "d\\e", "\u00E9"};
  std::function<std::uint64_t()> choose_;
  std::filesystem::path top_;
};

/// What must come of a path below a root that is absolute and free of links.
struct Containment {
  bool exists = false;  ///< Where it leads there is something. Else nothing more is known.
  bool isInside = false;
  std::string place;  ///< Where it leads.
};

inline Containment containmentOf(const std::string& path, const std::filesystem::path& root) {
  const std::filesystem::path candidate = (root / path).lexically_normal();
  const std::filesystem::path withoutSlash = candidate.has_filename() ? candidate : candidate.parent_path();
  const std::string place = realPath(withoutSlash);
  if (place.empty()) return {};
  const std::filesystem::path folder = realPath(withoutSlash.parent_path());
  return {true, isBelow(root, place) && (folder == root || isBelow(root, folder)), place};
}

/// What of our own resolution of such a path does not agree with that; empty when all does.
inline std::string disagreementOn(const std::string& path, const std::filesystem::path& root,
                                  const Containment& expected) {
  using Case = ManifestPathError::Case;
  try {
    const std::string found = ChecksumManifestService::resolve(path, root).native();
    const std::string place = realPath(found);
    const bool isRight = isBelow(root, found) && (place.empty() || place == found);
    return isRight && (!expected.exists || (expected.isInside && found == expected.place)) ? "" : "led to " + found;
  } catch (const ManifestPathError& error) {
    // What can be told of a path before anything is looked at is no matter of the tree.
    const bool isOfText = error.value() == Case::emptyPath || error.value() == Case::invalidPath;
    return expected.isInside && !isOfText && !path.starts_with('/') ? "was refused" : "";
  }
}

}  // namespace tallyfold::test
