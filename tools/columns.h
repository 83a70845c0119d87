// What is known of a line, by columns: the properties that a scan finds, that the registry keeps as
// items of these keys, and that the tables show.
#ifndef TTYDB_TOOLS_COLUMNS_H
#define TTYDB_TOOLS_COLUMNS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tty_lines {

enum Column : std::uint32_t {
  kName,
  kPath,
  kKind,
  kCategory,
  kId,
  kDevice,
  kDriver,
  kTtyDriver,
  kOwner,
  kGroup,
  kMode,
  kAccess,
  kSize,
  kSpeed,
  kPid,
  kCommand,
  kUsers,
  kLock,
  kConsole,
  kUart,
  kAddress,
  kIrq,
  kVendor,
  kModel,
  kSerialNumber,
  kUsbId,
  kPort,
  kInterface,
  kById,
  kByPath,
  kLinks,
  kDetail,
  kLineColumns,  // how many a line has; then those of a block, and of an event
  kFirst = kLineColumns,
  kRegistered,
  kTag,
  kChoosable,  // how many the user has to choose from
  kTime = kChoosable,
  kEvent,
  kAllColumns,
};

struct ColumnType {
  Column column;
  const char* name;
  const char* help;
  bool number;   // in JSON, and aligned right
  bool cut;      // gives way where the terminal is narrow
  bool lasting;  // tells lines apart: what does not change while the line is there
};

extern const std::array<ColumnType, kAllColumns> kColumns;

// The text of each column; empty where it is not known.
using Cells = std::array<std::string, kAllColumns>;

// Finds a column that the user can choose by its name, in any case of letters, with hyphens or
// underscores.
std::optional<Column> find_column(std::string_view name);

// All columns from `first` up to `end`.
std::vector<Column> column_range(std::uint32_t first, std::uint32_t end);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_COLUMNS_H
