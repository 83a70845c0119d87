// The columns: properties of a line, which a scan finds, the registry keeps as items with these
// keys, and the tables show.
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
  kLineColumns,  // columns of a line; then those of a block and of an event
  kFirst = kLineColumns,
  kRegistered,
  kTag,
  kChoosable,  // columns that a user can choose
  kTime = kChoosable,
  kEvent,
  kAllColumns,
};

struct ColumnType {
  Column column;
  const char* name;
  const char* help;
  bool number;   // right-aligned, a number in JSON
  bool cut;      // truncated on a narrow terminal
  bool lasting;  // identifies the line: constant while it exists
};

extern const std::array<ColumnType, kAllColumns> kColumns;

// The text of each column; empty if unknown.
using Cells = std::array<std::string, kAllColumns>;

// Finds a column that a user can choose by its name, in any case, with hyphens or underscores.
std::optional<Column> find_column(std::string_view name);

// Returns the columns from `first` up to, not including, `end`.
std::vector<Column> column_range(std::uint32_t first, std::uint32_t end);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_COLUMNS_H
