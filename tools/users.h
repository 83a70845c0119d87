// Who uses the terminal lines, from the process table.
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
  std::string command;  // empty if nobody of the group can be seen
  bool in_session;      // the line is a controlling terminal
  std::set<std::pair<std::uint32_t, std::string>> open;  // all that have the line open
};

struct Users {
  std::map<Device, User> by_device;
  bool complete = true;  // the open files of all processes could be read, or were not asked for
};

// The user of each line, as far as this process may see others: of the session on it the foreground
// process group, by its leader if that is still there; where there is no session, a process that
// has the line open.  Of equals the lowest process counts.  A process that vanishes meanwhile is
// skipped.  Open files are read only if they are asked for.  Throws std::system_error if the table
// cannot be read.
Users find_users(const std::string& proc, bool open_files);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_USERS_H
