// The device files of the lines, and the links to them.
#ifndef TTYDB_TOOLS_NODES_H
#define TTYDB_TOOLS_NODES_H

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "columns.h"
#include "parse.h"

namespace tty_lines {

inline Device device_of(const struct stat& status) {
  return {major(status.st_rdev), minor(status.st_rdev)};
}

class Nodes {
 public:
  // Reads a directory of device files and links, and its directory serial.
  explicit Nodes(const std::string& dev);

  // Fills in the path, owner, permissions and links of a device file, and this user's access.
  void describe(const std::string& name, Device device, Cells& cells);

 private:
  using File = std::pair<dev_t, ino_t>;

  void read_links(const std::string& directory);

  std::string dev_;
  std::map<Device, std::string> names_;  // of character devices
  std::map<File, std::vector<std::string>> links_;
  std::map<unsigned, std::string> users_;
  std::map<unsigned, std::string> groups_;
};

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_NODES_H
