#include "listing.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>
#include <new>
#include <utility>

#include "classify.h"
#include "scan.h"
#include "text.h"

namespace tty_lines {
namespace {

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string time_of_day() {
  const std::time_t now = std::time(nullptr);
  std::array<char, sizeof "00:00:00"> text = {};
  std::tm local = {};
  std::strftime(text.data(), text.size(), "%T", localtime_r(&now, &local));
  return text.data();
}

// Orders lines by position, then by their lasting columns.  The other columns do not count.
bool comes_before(const Row& left, const Row& right) {
  if (left.position != right.position) return left.position < right.position;
  for (const Column column : column_range(0, kLineColumns)) {
    const int order = left.cells[column].compare(right.cells[column]);
    if (kColumns[column].lasting && order != 0) return order < 0;
  }
  return false;
}

std::vector<Row> difference(const std::vector<Row>& left, const std::vector<Row>& right) {
  std::vector<Row> rows;
  std::set_difference(left.begin(), left.end(), right.begin(), right.end(),
                      std::back_inserter(rows), comes_before);
  return rows;
}

bool is_news(const std::vector<Row>& before, const std::vector<Row>& now) {
  return !difference(before, now).empty() || !difference(now, before).empty();
}

void append_new(std::vector<Column>& columns, const std::vector<Column>& more) {
  for (const Column column : more) {
    if (std::find(columns.begin(), columns.end(), column) == columns.end()) {
      columns.push_back(column);
    }
  }
}

}  // namespace

void complain(const std::string& message) {
  std::fprintf(stderr, "tty-lines: %s\n", printable(message).c_str());
}

void complain(const std::exception& failure) {
  const bool no_memory = dynamic_cast<const std::bad_alloc*>(&failure) != nullptr;
  complain(no_memory ? std::strerror(ENOMEM) : failure.what());
}

Listing::Listing(const Options& options)
    : options_(options),
      json_(options.format == Format::kJson),
      for_people_(options.format == Format::kTable && isatty(STDOUT_FILENO) != 0),
      registry_(options.by_driver) {}

std::string Listing::first() {
  follow(need_use(options_.by_driver ? block_columns() : line_columns()));
  std::string out = options_.by_driver ? blocks() : lines();
  if (for_people_ && options_.headings) out += totals();
  return out;
}

std::string Listing::next() {
  const std::vector<Row> before = shown_;
  try {
    follow(false);
    // A change in a line's use is not an event.  So read the use only to print an event.
    if (need_use(event_columns()) && is_news(before, shown_)) follow(true);
  } catch (const std::exception& failure) {
    shown_ = before;
    if (!std::exchange(failing_, true)) complain(failure);
    return "";
  }
  failing_ = false;
  if (!is_news(before, shown_)) return "";
  return events(difference(before, shown_), difference(shown_, before));
}

// Returns whether some columns show the use of lines, which takes the most time to read.
bool Listing::need_use(const std::vector<Column>& columns) const {
  const auto tells = [](Column column) {
    return column == kPid || column == kCommand || column == kUsers || column == kSize ||
           column == kSpeed;
  };
  return tells(options_.sort_by.value_or(kName)) ||
         std::any_of(columns.begin(), columns.end(), tells);
}

// Brings the registry in step with the machine, and reports new problems.
void Listing::follow(bool use) {
  const Machine machine = scan(options_.roots, use);
  std::vector<std::string> reports = registry_.follow(machine.lines);
  std::string unreadable;
  for (const std::string& path : machine.unreadable) {
    unreadable += (unreadable.empty() ? "cannot read " : ", ") + path;
  }
  if (!unreadable.empty()) reports.push_back(unreadable);
  all_ = registry_.rows();
  for (const std::string& device : options_.devices) {
    if (std::none_of(all_.begin(), all_.end(),
                     [&](const Row& row) { return names(device, row); })) {
      reports.push_back(device + ": no such terminal line");
    }
  }
  shown_.clear();
  std::copy_if(all_.begin(), all_.end(), std::back_inserter(shown_),
               [this](const Row& row) { return shows(row); });

  std::sort(reports.begin(), reports.end());
  for (const std::string& report : reports) {
    if (!std::binary_search(reported_.begin(), reported_.end(), report)) complain(report);
  }
  reported_ = std::move(reports);
  if (!machine.users_complete && !std::exchange(hint_given_, true) && isatty(STDERR_FILENO) != 0) {
    complain("only root can see which lines other users' processes have open");
  }
}

// Returns whether an argument is the name of a line, or a path to its device file, absolute or
// relative to /dev.
bool Listing::names(const std::string& device, const Row& row) const {
  if (device == row.cells[kName]) return true;
  if (device.empty()) return false;
  const std::string path = device[0] == '/' ? device : options_.roots.dev + '/' + device;
  struct stat named = {};
  struct stat own = {};
  if (stat(path.c_str(), &named) != 0 || stat(row.cells[kPath].c_str(), &own) != 0) return false;
  return (named.st_dev == own.st_dev && named.st_ino == own.st_ino) ||
         (S_ISCHR(named.st_mode) && S_ISCHR(own.st_mode) && named.st_rdev == own.st_rdev);
}

bool Listing::shows(const Row& row) const {
  if (row.idle && options_.hides_idle()) return false;
  if (options_.category.value_or(row.position.category) != row.position.category) return false;
  if (!options_.kinds.empty() && options_.kinds.count(row.cells[kKind]) == 0) return false;
  return options_.devices.empty() ||
         std::any_of(options_.devices.begin(), options_.devices.end(),
                     [&](const std::string& device) { return names(device, row); });
}

// The default columns, unless the command line replaces them, followed by the chosen ones.
std::vector<Column> Listing::with_chosen(std::vector<Column> defaults) const {
  if (!options_.default_columns) defaults.clear();
  append_new(defaults, options_.columns);
  return defaults;
}

std::vector<Column> Listing::line_columns() const {
  if (json_) return with_chosen(column_range(0, kLineColumns));
  if (options_.kinds.count(kKinds[kPseudoTerminal].name) != 0) {
    return with_chosen({kName, kDetail, kPort, kAccess, kSize, kSpeed, kCommand});
  }
  return with_chosen({kName, kDetail, kPort, kAccess, kCommand});
}

std::vector<Column> Listing::block_columns() const {
  if (json_) return with_chosen(column_range(0, kChoosable));
  return with_chosen({kName, kCategory, kId, kFirst, kRegistered, kDetail});
}

std::vector<Column> Listing::event_columns() const {
  if (json_) return with_chosen(column_range(0, kLineColumns));
  return with_chosen({kName, kKind, kDetail});
}

// Removes default columns that are empty for all lines shown, and ACCESS if it is always "rw".
std::vector<Column> Listing::telling(std::vector<Column> columns) const {
  const auto says_nothing = [this](Column column) {
    const auto& chosen = options_.columns;
    return !json_ && column < kLineColumns &&
           std::find(chosen.begin(), chosen.end(), column) == chosen.end() &&
           std::none_of(shown_.begin(), shown_.end(), [&](const Row& row) {
             return !row.cells[column].empty() && (column != kAccess || row.cells[column] != "rw");
           });
  };
  columns.erase(std::remove_if(columns.begin(), columns.end(), says_nothing), columns.end());
  return columns;
}

// Sorts lines by the column of --sort, if there is one.
void Listing::sort(std::vector<Row>::iterator first, std::vector<Row>::iterator last) const {
  if (!options_.sort_by) return;
  const Column column = *options_.sort_by;
  std::stable_sort(first, last, [column](const Row& left, const Row& right) {
    return strverscmp(left.cells[column].c_str(), right.cells[column].c_str()) < 0;
  });
}

// The cells of a line as they are printed.
Cells Listing::visible(const Row& row) const {
  Cells cells = row.cells;
  if (options_.full_paths && !cells[kPath].empty()) cells[kName] = cells[kPath];
  return cells;
}

Table Listing::make_table(const char* name, const std::vector<Column>& columns, Shape shape) const {
  const Format format = json_ && options_.watch ? Format::kJsonLine : options_.format;
  return {name, columns, format, shape, options_.headings && shape != Shape::kEvents};
}

std::string Listing::lines() const {
  Table table = make_table("lines", telling(line_columns()), Shape::kList);
  std::vector<Row> rows = shown_;
  sort(rows.begin(), rows.end());
  for (const Row& row : rows) table.add(visible(row));
  return table.text();
}

// The blocks that have lines to show, with these lines as their children.
std::string Listing::blocks() const {
  Table table =
      make_table("blocks", telling(block_columns()), options_.list ? Shape::kList : Shape::kTree);
  std::vector<Row> rows = shown_;
  auto row = rows.begin();
  // Lines that are not registered come after the blocks of their category.
  const auto add_up_to = [&](ttydb::position end, Table::Line parent) {
    const auto last =
        std::find_if(row, rows.end(), [&](const Row& other) { return !(other.position < end); });
    sort(row, last);
    for (; row != last; ++row) table.add(visible(*row), parent);
  };
  for (const ttydb::block_details& block : registry_.blocks()) {
    const ttydb::position end{block.category, block.first_tty + block.capacity};
    add_up_to({block.category, block.first_tty}, nullptr);
    if (row == rows.end() || !(row->position < end)) continue;
    Cells cells;
    cells[kCategory] = std::to_string(block.category);
    cells[kFirst] = std::to_string(block.first_tty);
    cells[kSize] = std::to_string(block.capacity);
    cells[kRegistered] = std::to_string(block.num_registered);
    cells[kTag] = block.tag_name == nullptr ? "" : block.tag_name;
    if (!json_) cells[kName] = block.tag_name == nullptr ? "(no name)" : block.tag_name;
    add_up_to(end, table.add(cells));
  }
  add_up_to({TTY_CATEGORY_MAX + 1, 0}, nullptr);
  return table.text();
}

std::string Listing::totals() const {
  std::string out = counted(all_.size(), "line");
  const char* separator = ": ";
  for (const KindType& kind : kKinds) {
    const auto count = std::count_if(all_.begin(), all_.end(),
                                     [&](const Row& row) { return row.cells[kKind] == kind.name; });
    if (count == 0) continue;
    out += separator + std::to_string(count) + ' ' + kind.name;
    separator = ", ";
  }
  out += '\n';
  if (const std::size_t hidden = all_.size() - shown_.size();
      hidden != 0 && options_.hides_idle()) {
    out += counted(hidden, "idle line") + " not shown; --all shows " +
           (hidden == 1 ? "it\n" : "them\n");
  }
  return out;
}

std::string Listing::events(const std::vector<Row>& gone, const std::vector<Row>& come) const {
  std::vector<Column> columns = {kEvent};
  if (for_people_) columns.insert(columns.begin(), kTime);
  append_new(columns, event_columns());
  Table table = make_table("events", columns, Shape::kEvents);
  for (const auto& [event, rows] : {std::pair("-", &gone), std::pair("+", &come)}) {
    for (const Row& row : *rows) {
      Cells cells = visible(row);
      cells[kTime] = time_of_day();
      cells[kEvent] = event;
      table.add(cells);
    }
  }
  return table.text();
}

}  // namespace tty_lines
