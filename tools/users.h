// Who uses the terminal lines, from the process table.
#ifndef TTYDB_TOOLS_USERS_H
#define TTYDB_TOOLS_USERS_H

#include <cstdint>
#include <map>
#include <string>

#include "parse.h"

namespace tty_lines {

struct User {
  std::uint32_t pid;    // the foreground process group, or a process that has the line open
  std::string command;  // empty if nobody of the group can be seen
};

// The user of each line, as far as this process may see others: of the session on it the foreground
// process group, by its leader if that is still there; where there is no session, a process that
// has the line open. Of equals the lowest process counts.  A process that vanishes meanwhile is
// passed over.
std::map<Device, User> find_users(const std::string& proc);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_USERS_H
