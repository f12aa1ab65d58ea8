#pragma once

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/xattr.h>
#include <system_error>

namespace tallyfold::test {

/// The access control list of a file, or the one that a folder gives to new files.
inline constexpr const char* accessList = "system.posix_acl_access";
inline constexpr const char* defaultList = "system.posix_acl_default";

/// Gives a file or a folder one (acl(5)): rw- for the owner, r-- for one other user, --- for the group, which the mask
/// makes look like r--.
inline void setListForAnotherUser(const std::filesystem::path& path, const char* which) {
  std::string list{2, 0, 0, 0};
  const auto add = [&](char tag, char rights, std::string_view id) { list.append({tag, 0, rights, 0}).append(id); };
  const std::string none(4, '\xFF');
  add(0x01, 6, none);
  add(0x02, 4, std::string_view("\x39\x30\0\0", 4));
  add(0x04, 0, none);
  add(0x10, 4, none);
  add(0x20, 0, none);
  if (setxattr(path.c_str(), which, list.data(), list.size(), 0) != 0) {
    throw std::system_error(errno, std::system_category());
  }
}

/// As the kernel has it; empty when there is none.
inline std::string accessListOf(const std::filesystem::path& path) {
  std::string list(1024, '\0');
  const ssize_t size = getxattr(path.c_str(), accessList, list.data(), list.size());
  list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return list;
}

}  // namespace tallyfold::test
