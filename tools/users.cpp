#include "users.h"

#include <fcntl.h>
#include <linux/major.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>

#include "files.h"

namespace tty_lines {
namespace {

enum Standing { kLeadsForeground, kInForeground, kInSession, kHasItOpen };

using Rank = std::pair<Standing, std::uint32_t>;  // of equals, the lowest process

class Finder {
 public:
  void add_session(const Process& process) {
    if (!process.terminal || !process.foreground) return;
    const Standing standing = process.group != *process.foreground ? kInSession
                              : process.pid != process.group       ? kInForeground
                                                                   : kLeadsForeground;
    rank(*process.terminal, {standing, process.pid}, *process.foreground,
         standing == kInSession ? "" : process.command);
  }

  // Devices with the major TTYAUX_MAJOR stand for other lines, or make new ones.
  void add_open_lines(int proc, const std::string& name, const Process& process) {
    const bool readable =
        for_each_name(proc, name + "/fd", [&](int directory, const std::string& fd) {
          std::array<char, sizeof "/dev/null"> target;
          struct stat status = {};
          const ssize_t size = readlinkat(directory, fd.c_str(), target.data(), target.size());
          const std::string_view path(target.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
          if (path.substr(0, 5) == "/dev/" && path != "/dev/null" &&
              fstatat(directory, fd.c_str(), &status, 0) == 0 && S_ISCHR(status.st_mode) &&
              major(status.st_rdev) != TTYAUX_MAJOR) {
            const Device device = {major(status.st_rdev), minor(status.st_rdev)};
            rank(device, {kHasItOpen, process.pid}, process.pid, process.command);
            users_.by_device[device].open.emplace(process.pid, process.command);
          }
        });
    if (!readable && errno == EACCES) users_.complete = false;
  }

  Users users() { return std::move(users_); }

 private:
  void rank(Device device, const Rank& rank, std::uint32_t pid, const std::string& command) {
    const auto [known, is_new] = ranks_.try_emplace(device, rank);
    if (!is_new && known->second <= rank) return;
    known->second = rank;
    User& user = users_.by_device[device];
    user.pid = pid;
    user.command = command;
    user.in_session = rank.first != kHasItOpen;
  }

  std::map<Device, Rank> ranks_;
  Users users_;
};

}  // namespace

Users find_users(const std::string& proc, bool open_files) {
  Finder finder;
  const bool readable = for_each_name(AT_FDCWD, proc, [&](int directory, const std::string& name) {
    if (!parse_number(name)) return;
    const auto process = parse_process(read_record(directory, name + "/stat").value_or(""));
    if (!process) return;
    finder.add_session(*process);
    if (open_files) finder.add_open_lines(directory, name, *process);
  });
  if (!readable) fail(proc);
  return finder.users();
}

}  // namespace tty_lines
