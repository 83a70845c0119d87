// The users of the terminal lines, from the process table.
#ifndef TTYDB_TOOLS_USERS_H
#define TTYDB_TOOLS_USERS_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "parse.h"

namespace tty_lines {

struct User {
  std::uint32_t pid;    // the foreground process group, or a process that has the line open
  std::string command;  // empty if no process of the group is visible
  bool in_session;      // the line is a controlling terminal
  std::set<std::pair<std::uint32_t, std::string>> open;  // all processes that have the line open
};

struct Users {
  std::map<Device, User> by_device;
  bool complete = true;  // false: some processes' open files could not be read
};

// Finds the user of each line among the visible processes: the foreground process group of the
// session on it, by its leader if that still exists; without a session, a process that has the line
// open.  Of several, the lowest counts.  A process that vanishes meanwhile is skipped.
// Throws std::system_error if the table cannot be read.
Users find_users(const std::string& proc, bool open_files);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_USERS_H
