#include "nodes.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <string_view>

#include "files.h"

namespace tty_lines {
namespace {

void append(std::string& list, const char* separator, const std::string& text) {
  list += (list.empty() ? "" : separator) + text;
}

// The permissions in the form of ls.
std::string mode_text(mode_t mode) {
  std::string text = "rwxrwxrwx";
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((mode >> (text.size() - 1 - i) & 1) == 0) text[i] = '-';
  }
  return text;
}

// Returns the name of a user or group, or the number if it has none.  Each is looked up once.
template <class Find>
std::string name_of(std::map<unsigned, std::string>& known, unsigned id, Find find) {
  const auto [entry, is_new] = known.try_emplace(id, std::to_string(id));
  if (!is_new) return entry->second;
  errno = 0;
  if (const char* const name = find(id)) {
    entry->second = name;
  } else {
    fail_if_exhausted("users and groups");
  }
  return entry->second;
}

std::string access_text(const std::string& path) {
  std::string text;
  if (access(path.c_str(), R_OK) == 0) text += 'r';
  if (access(path.c_str(), W_OK) == 0) text += 'w';
  return text.empty() ? "-" : text;
}

}  // namespace

Nodes::Nodes(const std::string& dev) : dev_(dev) {
  for_each_name(AT_FDCWD, dev, [this](int directory, const std::string& name) {
    struct stat status = {};
    const bool found = fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (found && S_ISCHR(status.st_mode)) names_.emplace(device_of(status), name);
  });
  read_links("");
  for_each_name(AT_FDCWD, dev + "/serial", [this](int /*directory*/, const std::string& name) {
    read_links("serial/" + name + '/');
  });
  for (auto& [file, links] : links_) std::sort(links.begin(), links.end());
}

void Nodes::read_links(const std::string& directory) {
  for_each_name(AT_FDCWD, dev_ + '/' + directory, [&](int open, const std::string& name) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = readlinkat(open, name.c_str(), target.data(), target.size());
    if (size <= 0) return;
    // A link to /proc, such as stdin, has another target in each process.
    const std::string_view path(target.data(), static_cast<std::size_t>(size));
    struct stat status = {};
    if (path.substr(0, 6) == "/proc/" || fstatat(open, name.c_str(), &status, 0) != 0) return;
    links_[{status.st_dev, status.st_ino}].push_back(directory + name);
  });
}

void Nodes::describe(const std::string& name, Device device, Cells& cells) {
  // The file with the line's name or, if that is another device, a file with its numbers.  (The
  // kernel's lists have "!" for "/".)
  std::string node = name;
  std::replace(node.begin(), node.end(), '!', '/');
  struct stat status = {};
  const auto found = [&] { return stat((dev_ + '/' + node).c_str(), &status) == 0; };
  if (!found() || (S_ISCHR(status.st_mode) && !(device_of(status) == device))) {
    const auto other = names_.find(device);
    if (other != names_.end()) node = other->second;
    if (other == names_.end() || !found()) {
      cells[kAccess] = "-";
      append(cells[kDetail], ", ", "no device file");
      return;
    }
  }
  cells[kPath] = dev_ + '/' + node;
  cells[kOwner] = name_of(users_, status.st_uid, [](uid_t id) -> const char* {
    const passwd* const user = getpwuid(id);
    return user == nullptr ? nullptr : user->pw_name;
  });
  cells[kGroup] = name_of(groups_, status.st_gid, [](gid_t id) -> const char* {
    const group* const owners = getgrgid(id);
    return owners == nullptr ? nullptr : owners->gr_name;
  });
  cells[kMode] = mode_text(status.st_mode);
  cells[kAccess] = access_text(cells[kPath]);
  if (cells[kAccess] == "-") {
    constexpr mode_t kGroupMayUse = S_IRGRP | S_IWGRP;
    const bool group_may = (status.st_mode & kGroupMayUse) == kGroupMayUse;
    append(cells[kDetail], "; ",
           "access: " + (group_may ? "group " + cells[kGroup] : "user " + cells[kOwner]));
  }
  for (const std::string& link : links_[{status.st_dev, status.st_ino}]) {
    append(cells[kLinks], ",", link);
    const std::size_t base = link.rfind('/') + 1;
    if (link.compare(0, base, "serial/by-id/") == 0) cells[kById] = link.substr(base);
    if (link.compare(0, base, "serial/by-path/") == 0) cells[kByPath] = link.substr(base);
  }
}

}  // namespace tty_lines
