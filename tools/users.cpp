#include "users.h"

#include <fcntl.h>
#include <linux/major.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "files.h"

namespace tty_lines {
namespace {

enum Standing { kLeadsForeground, kInForeground, kInSession, kHasItOpen };

using Rank = std::pair<Standing, std::uint32_t>;  // of equals the lowest process
using RankedUsers = std::map<Device, std::pair<Rank, User>>;

void add(RankedUsers& users, Device device, const Rank& rank, const User& user) {
  const auto [found, is_new] = users.try_emplace(device, rank, user);
  if (!is_new && rank < found->second.first) found->second = {rank, user};
}

void add_session(RankedUsers& users, const Process& process) {
  if (!process.terminal || !process.foreground) return;
  const Standing standing = process.group != *process.foreground ? kInSession
                            : process.pid != process.group       ? kInForeground
                                                                 : kLeadsForeground;
  add(users, *process.terminal, {standing, process.pid},
      {*process.foreground, standing == kInSession ? "" : process.command});
}

// The devices of major TTYAUX_MAJOR stand for other lines, or make new ones.
void add_open_lines(RankedUsers& users, int proc, const std::string& name, const Process& process) {
  for_each_name(proc, name + "/fd", [&](int directory, const std::string& fd) {
    std::array<char, sizeof "/dev/" - 1> start;
    struct stat status = {};
    const ssize_t size = readlinkat(directory, fd.c_str(), start.data(), start.size());
    if (size > 0 && std::string_view(start.data(), static_cast<std::size_t>(size)) == "/dev/" &&
        fstatat(directory, fd.c_str(), &status, 0) == 0 && S_ISCHR(status.st_mode) &&
        major(status.st_rdev) != TTYAUX_MAJOR) {
      add(users, {major(status.st_rdev), minor(status.st_rdev)}, {kHasItOpen, process.pid},
          {process.pid, process.command});
    }
  });
}

}  // namespace

std::map<Device, User> find_users(const std::string& proc) {
  RankedUsers ranked;
  const bool readable = for_each_name(AT_FDCWD, proc, [&](int directory, const std::string& name) {
    if (!parse_number(name)) return;
    const auto process = parse_process(read_file(directory, name + "/stat").value_or(""));
    if (!process) return;
    add_session(ranked, *process);
    add_open_lines(ranked, directory, name, *process);
  });
  if (!readable) fail(proc);
  std::map<Device, User> users;
  for (auto& [device, user] : ranked) users.emplace(device, std::move(user.second));
  return users;
}

}  // namespace tty_lines
