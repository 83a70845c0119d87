/**
 * @file
 * The registry of terminal lines for C++17: owning handles, typed entries and items, and a range of
 * lines, over the operations of tty_db.h, whose comments hold here too.  Header only, no state of
 * its own: an entry held through it is the two C calls that retrieve and unlock it.
 *
 *     struct port { tty_db_tty_type tty; unsigned baud; };
 *
 *     ttydb::database db(ttydb::options::all);
 *     db.register_line<port>(1, 7)->baud = 9600;        // unlocked at the end of the statement
 *     for (ttydb::line line : db.lines()) {
 *       auto entry = db.retrieve_line<port>(line.category, line.id);
 *       if (entry->baud == 9600) entry.create<int>(1) = 42;
 *     }
 *     std::error_code ec;
 *     db.deregister_line(1, 80, ec);                    // ec == ttydb::errc::no_block
 *
 * Every operation that can fail has two forms, as in std::filesystem: the one that takes a
 * std::error_code is noexcept and reports there; the other throws std::system_error.  Code compiled
 * without exceptions has both too, but there a failure of the second form ends the process.
 *
 * A handle that has been moved from, or that a failed operation returned, is empty: it owns
 * nothing, its destructor does nothing, and an operation on it gives errc::invalid_argument.
 */
#ifndef TTY_DB_HPP
#define TTY_DB_HPP

#include <cstddef>
#include <cstdint>
#include <exception>
#include <iterator>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include "tty_db.h"

namespace ttydb {

/**
 * The result codes of the library.
 *
 * A std::error_code holds an int, so that the codes above INT_MAX show as negative numbers in
 * error_code::value(), equal to the C code modulo 2^32.  Compare with an errc, not with the number.
 */
enum class errc : std::uint32_t {
  no_memory = TTY_DB_ERR_NO_MEMORY,           /**< an allocation failed */
  invalid_argument = TTY_DB_ERR_INVALID_ARG,  /**< an empty handle, or a value out of range */
  wrong_mode = TTY_DB_ERR_WRONG_MODE,         /**< the database manages its blocks by itself */
  lock_failed = TTY_DB_ERR_LOCK_FAILED,       /**< a lock could not be obtained */
  lock_init = TTY_DB_ERR_LOCK_INIT,           /**< a lock could not be created */
  no_block = TTY_DB_ERR_NO_BLOCK,             /**< no block holds the id, or carries the tag */
  overlap = TTY_DB_ERR_OVERLAP,               /**< the range overlaps a block of its category */
  item_exists = TTY_DB_ERR_ITEM_EXISTS,       /**< the entry has an item with this key */
  tty_exists = TTY_DB_ERR_TTY_EXISTS,         /**< the line is registered already */
  no_more = TTY_DB_ERR_NO_MORE,               /**< the iterator has no further line */
  no_item = TTY_DB_ERR_NO_ITEM,               /**< the entry has no item with this key */
  not_registered = TTY_DB_ERR_NOT_REGISTERED, /**< no line is registered under the id */
  ttys_registered =
      TTY_DB_ERR_TTYS_REGISTERED, /**< lines are registered in the ids to be given up */
};

}  // namespace ttydb

/** Lets an errc be assigned to a std::error_code and compared with one. */
template <>
struct std::is_error_code_enum<ttydb::errc> : std::true_type {};

namespace ttydb {

namespace detail {

class category_type final : public std::error_category {
 public:
  constexpr category_type() noexcept = default;

  const char* name() const noexcept override { return "tty_db"; }

  std::string message(int value) const override {
    switch (static_cast<errc>(value)) {
      case errc::no_memory:
        return "out of memory";
      case errc::invalid_argument:
        return "invalid argument";
      case errc::wrong_mode:
        return "the database manages its blocks by itself";
      case errc::lock_failed:
        return "a lock could not be obtained";
      case errc::lock_init:
        return "a lock could not be created";
      case errc::no_block:
        return "no such block";
      case errc::overlap:
        return "the range overlaps another block";
      case errc::item_exists:
        return "an item with this key exists already";
      case errc::tty_exists:
        return "the line is registered already";
      case errc::no_more:
        return "no further line";
      case errc::no_item:
        return "no item with this key";
      case errc::not_registered:
        return "the line is not registered";
      case errc::ttys_registered:
        return "lines are registered in the range to be given up";
    }
    return value == 0 ? "success" : "unknown result code";
  }

  std::error_condition default_error_condition(int value) const noexcept override {
    switch (static_cast<errc>(value)) {
      case errc::no_memory:
        return std::errc::not_enough_memory;
      case errc::invalid_argument:
        return std::errc::invalid_argument;
      case errc::lock_failed:
        return std::errc::resource_unavailable_try_again;
      default:
        return {value, *this};
    }
  }
};

/* Initialised by the compiler and never destroyed: codes are good before main and after it. */
union category_storage {
  constexpr category_storage() noexcept : value() {}
  category_storage(const category_storage&) = delete;
  category_storage& operator=(const category_storage&) = delete;
  ~category_storage() {}  // NOLINT(modernize-use-equals-default): would be deleted

  category_type value;
};

inline const category_storage category_instance;

}  // namespace detail

/** The category of the library's error codes; its name is "tty_db". */
inline const std::error_category& category() noexcept { return detail::category_instance.value; }

/** Makes an error code of the library's category. */
inline std::error_code make_error_code(errc code) noexcept {
  return {static_cast<int>(code), category()};
}

namespace detail {

[[noreturn, gnu::cold, gnu::noinline]] inline void raise(std::uint32_t result,
                                                         const char* operation) {
#if defined(__cpp_exceptions)
  throw std::system_error(make_error_code(static_cast<errc>(result)), operation);
#else
  static_cast<void>(result);
  static_cast<void>(operation);
  std::terminate();
#endif
}

inline void check(std::uint32_t result, const char* operation) {
  if (result != 0) raise(result, operation);
}

/* Success leaves a clear code alone: std::error_code::clear is a call into the C++ library. */
inline bool check(std::uint32_t result, std::error_code& ec) noexcept {
  if (result != 0) {
    ec = static_cast<errc>(result);
  } else if (ec) {
    ec.clear();
  }
  return result == 0;
}

template <class Record, class = void>
struct begins_with_head : std::false_type {};

/* An aggregate takes its first initialiser for its first member, whatever that is called. */
template <class Record>
struct begins_with_head<Record, std::void_t<decltype(Record{std::declval<tty_db_tty_type>()})>>
    : std::true_type {};

/* What an entry must be, for the library to make it with calloc and end it with free. */
template <class Record>
constexpr void assert_record() noexcept {
  static_assert(std::is_standard_layout_v<Record>, "an entry must have standard layout");
  static_assert(std::is_trivially_default_constructible_v<Record>, "an entry is not constructed");
  static_assert(std::is_trivially_destructible_v<Record>, "an entry is not destroyed, but freed");
  static_assert(alignof(Record) <= alignof(std::max_align_t), "an entry is aligned as by malloc");
  static_assert(sizeof(Record) >= sizeof(tty_db_tty_type) && begins_with_head<Record>::value,
                "an entry must begin with a tty_db_tty_type");
}

template <class T>
constexpr void assert_item() noexcept {
  static_assert(std::is_trivial_v<T>, "an item is neither constructed nor destroyed");
  static_assert(alignof(T) <= alignof(std::max_align_t), "an item is aligned as by malloc");
}

}  // namespace detail

/** Options of a database, fixed at its creation; combine them with `|`. */
enum class options : std::uint32_t {
  none = 0,
  lock_entries = TTY_DB_OPT_LOCK_ENTRIES, /**< entries are handed over locked */
  auto_blocks = TTY_DB_OPT_AUTO_BLOCKS,   /**< the library makes and frees blocks by itself */
  all = TTY_DB_OPT_ALL,
};

/** Both sets of options together. */
constexpr options operator|(options left, options right) noexcept {
  return static_cast<options>(static_cast<std::uint32_t>(left) | static_cast<std::uint32_t>(right));
}

/** What becomes of the lines at ids that a block gives up. */
enum class implicit_dereg : std::uint32_t {
  allow = 0,                                   /**< they are deregistered */
  refuse = TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG, /**< if there are any, the operation fails */
};

/** The position of a line. */
struct line {
  std::uint32_t category;
  std::uint32_t id;

  friend constexpr bool operator==(line left, line right) noexcept {
    return left.category == right.category && left.id == right.id;
  }
  friend constexpr bool operator!=(line left, line right) noexcept { return !(left == right); }
  /** The order in which a range yields lines: by category, then id. */
  friend constexpr bool operator<(line left, line right) noexcept {
    return left.category != right.category ? left.category < right.category : left.id < right.id;
  }
};

/** The first position that a line can have. */
inline constexpr line first_line{TTY_CATEGORY_MIN, 0};
/** The last position that a line can have. */
inline constexpr line last_line{TTY_CATEGORY_MAX, TTY_PORT_MAX};

/** How much a database holds, over all categories. */
struct counts {
  std::uint32_t blocks;
  std::uint32_t lines;
};

/** What a block is; see tty_db_block_details_type. */
using block_details = tty_db_block_details_type;

/**
 * The entry of a line, held until the end of the guard's scope, with access to the caller's record
 * and the items on it.
 *
 * In a database with options::lock_entries the thread that got the guard holds the entry: the guard
 * must end in that thread, before the database does.  Move-only.
 *
 * @tparam Record  the caller's record, an aggregate with a tty_db_tty_type as its first member; the
 *                 one that the line was registered with, or a prefix of it
 */
template <class Record>
class entry {
 public:
  /** An empty guard. */
  entry() noexcept { detail::assert_record<Record>(); }
  /** Takes charge of an entry that a C operation handed out. */
  entry(tty_db_type* db_h, tty_db_tty_type* tty) noexcept : db_(db_h), tty_(tty) {
    detail::assert_record<Record>();
  }
  entry(entry&& other) noexcept : db_(other.db_), tty_(std::exchange(other.tty_, nullptr)) {}
  entry& operator=(entry&& other) noexcept {
    if (this != &other) {
      unlock();
      db_ = other.db_;
      tty_ = std::exchange(other.tty_, nullptr);
    }
    return *this;
  }
  entry(const entry&) = delete;
  entry& operator=(const entry&) = delete;
  ~entry() { unlock(); }

  /** Whether the guard holds an entry. */
  explicit operator bool() const noexcept { return tty_ != nullptr; }
  /** The caller's record; the guard must hold an entry. */
  Record& operator*() const noexcept { return *operator->(); }
  Record* operator->() const noexcept { return reinterpret_cast<Record*>(tty_); }
  /** The entry for C operations; still held by the guard. */
  tty_db_tty_type* native_handle() const noexcept { return tty_; }

  /** Gives the entry back now. */
  void unlock() noexcept {
    if (tty_ != nullptr) tty_db_tty_unlock(db_, std::exchange(tty_, nullptr));
  }
  /** Forgets the entry without giving it back: the caller unlocks it, or has deregistered the line.
   */
  tty_db_tty_type* release() noexcept { return std::exchange(tty_, nullptr); }

  /**
   * Hangs a new item on the entry: `count` consecutive values of T, all bytes zero.
   * The values live until the item is destroyed or the line deregistered.
   * @return the first of them; null on failure
   */
  template <class T>
  T* create_array(std::uint32_t key, std::size_t count, std::error_code& ec) const noexcept {
    void* item = nullptr;
    detail::check(create_bytes<T>(key, count, &item), ec);
    return static_cast<T*>(item);
  }
  template <class T>
  T* create_array(std::uint32_t key, std::size_t count) const {
    void* item = nullptr;
    detail::check(create_bytes<T>(key, count, &item), "tty_db_item_create");
    return static_cast<T*>(item);
  }

  /** Hangs a new item on the entry, one T with all bytes zero.  @return the item; null on failure
   */
  template <class T>
  T* create(std::uint32_t key, std::error_code& ec) const noexcept {
    return create_array<T>(key, 1, ec);
  }
  template <class T>
  T& create(std::uint32_t key) const {
    return *create_array<T>(key, 1);
  }

  /**
   * Finds an item by its key, of the type that it was created with: the library does not know it.
   * @return the item, of an array the first value; null on failure
   */
  template <class T>
  T* get(std::uint32_t key, std::error_code& ec) const noexcept {
    void* item = nullptr;
    detail::check(get_bytes<T>(key, &item), ec);
    return static_cast<T*>(item);
  }
  template <class T>
  T& get(std::uint32_t key) const {
    void* item = nullptr;
    detail::check(get_bytes<T>(key, &item), "tty_db_item_get");
    return *static_cast<T*>(item);
  }
  /** As get, where it is no failure that there is no such item.  @return the item or null */
  template <class T>
  T* find(std::uint32_t key) const noexcept {
    void* item = nullptr;
    return get_bytes<T>(key, &item) == 0 ? static_cast<T*>(item) : nullptr;
  }

  /** Frees an item with its data. */
  void destroy(std::uint32_t key, std::error_code& ec) const noexcept {
    detail::check(tty_db_item_destroy(tty_, key), ec);
  }
  void destroy(std::uint32_t key) const {
    detail::check(tty_db_item_destroy(tty_, key), "tty_db_item_destroy");
  }

 private:
  template <class T>
  std::uint32_t create_bytes(std::uint32_t key, std::size_t count, void** item) const noexcept {
    detail::assert_item<T>();
    if (count > SIZE_MAX / sizeof(T)) return TTY_DB_ERR_NO_MEMORY;
    return tty_db_item_create(tty_, key, count * sizeof(T), item);
  }
  template <class T>
  std::uint32_t get_bytes(std::uint32_t key, void** item) const noexcept {
    detail::assert_item<T>();
    return tty_db_item_get(tty_, key, item);
  }

  tty_db_type* db_ = nullptr;
  tty_db_tty_type* tty_ = nullptr;
};

/**
 * A reference to a block of a database with manual block management.  It is copied freely and owns
 * nothing: it is good as long as the block and the database live.
 */
class block {
 public:
  /** A reference to no block. */
  block() noexcept = default;
  /** Refers to a block by its C handles, such as the one in its details. */
  block(tty_db_type* db_h, tty_db_block_type* block_h) noexcept : db_(db_h), block_(block_h) {}

  /** Whether this refers to a block. */
  explicit operator bool() const noexcept { return block_ != nullptr; }
  /** The block for C operations. */
  tty_db_block_type* native_handle() const noexcept { return block_; }

  friend bool operator==(block left, block right) noexcept { return left.block_ == right.block_; }
  friend bool operator!=(block left, block right) noexcept { return !(left == right); }

  /** Gives the block a new range of ids; lines at ids of both ranges stay. */
  void resize(std::uint32_t first_id, std::uint32_t count, implicit_dereg dereg,
              std::error_code& ec) const noexcept {
    detail::check(resize_to(first_id, count, dereg), ec);
  }
  void resize(std::uint32_t first_id, std::uint32_t count,
              implicit_dereg dereg = implicit_dereg::allow) const {
    detail::check(resize_to(first_id, count, dereg), "tty_db_block_resize");
  }

  /** Ends the block.  On success this refers to no block, and copies of it must not be used. */
  void release(implicit_dereg dereg, std::error_code& ec) noexcept {
    detail::check(end_block(dereg), ec);
  }
  void release(implicit_dereg dereg = implicit_dereg::allow) {
    detail::check(end_block(dereg), "tty_db_block_release");
  }

  /** The block's details as they are now; all zeros on failure. */
  block_details details(std::error_code& ec) const noexcept {
    block_details details{};
    detail::check(tty_db_block_details_from_handle(db_, block_, &details), ec);
    return details;
  }
  block_details details() const {
    block_details details{};
    detail::check(tty_db_block_details_from_handle(db_, block_, &details),
                  "tty_db_block_details_from_handle");
    return details;
  }

 private:
  std::uint32_t resize_to(std::uint32_t first_id, std::uint32_t count,
                          implicit_dereg dereg) const noexcept {
    return tty_db_block_resize(db_, block_, first_id, count, static_cast<std::uint32_t>(dereg));
  }
  std::uint32_t end_block(implicit_dereg dereg) noexcept {
    const std::uint32_t result =
        tty_db_block_release(db_, block_, static_cast<std::uint32_t>(dereg));
    if (result == 0) block_ = nullptr;
    return result;
  }

  tty_db_type* db_ = nullptr;
  tty_db_block_type* block_ = nullptr;
};

/**
 * The registered lines from one position to another, both inclusive, for a range-based `for`.
 *
 * Single pass: the lines are found while the iterator advances, each time in the database as it is
 * then, and begin() continues where the range has got to.  No lock is kept between two lines.
 * The range must not be advanced after its database is destroyed.  Move-only; moving it invalidates
 * its iterators.
 */
class line_range {
 public:
  /** An input iterator over lines; any that has reached the end equals a default-constructed one.
   */
  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = line;
    using difference_type = std::ptrdiff_t;
    using pointer = const line*;
    using reference = const line&;

    /** The end of every range. */
    iterator() noexcept = default;

    reference operator*() const noexcept { return line_; }
    pointer operator->() const noexcept { return &line_; }
    /** Advances; a failure throws, or ends the range if that was given an error code. */
    iterator& operator++() {
      if (!range_->advance(line_)) range_ = nullptr;
      return *this;
    }
    iterator operator++(int) {
      const iterator before = *this;
      ++*this;
      return before;
    }

    friend bool operator==(const iterator& left, const iterator& right) noexcept {
      return left.range_ == right.range_;
    }
    friend bool operator!=(const iterator& left, const iterator& right) noexcept {
      return !(left == right);
    }

   private:
    friend class line_range;
    explicit iterator(line_range* range) : range_(range) { ++*this; }

    line_range* range_ = nullptr;
    line line_{};
  };

  /** An empty range. */
  line_range() noexcept = default;
  /** @param ec  where this and every advance reports a failure, which ends the range; outlives it
   */
  line_range(tty_db_type* db_h, line first, line last, std::error_code& ec) noexcept : ec_(&ec) {
    detail::check(start(db_h, first, last), ec);
  }
  line_range(tty_db_type* db_h, line first, line last) {
    detail::check(start(db_h, first, last), "tty_db_iterate_start");
  }
  line_range(line_range&& other) noexcept
      : iterator_(std::exchange(other.iterator_, nullptr)), ec_(other.ec_) {}
  line_range& operator=(line_range&& other) noexcept {
    if (this != &other) {
      end_iterator();
      iterator_ = std::exchange(other.iterator_, nullptr);
      ec_ = other.ec_;
    }
    return *this;
  }
  line_range(const line_range&) = delete;
  line_range& operator=(const line_range&) = delete;
  ~line_range() { end_iterator(); }

  /** The next line of the range; a failure is treated as by the iterator's `++`. */
  iterator begin() { return iterator(this); }
  // NOLINTNEXTLINE(readability-convert-member-functions-to-static): ranges are asked for their end
  iterator end() const noexcept { return {}; }

 private:
  std::uint32_t start(tty_db_type* db_h, line first, line last) noexcept {
    return tty_db_iterate_start(db_h, first.category, first.id, last.category, last.id, &iterator_);
  }
  void end_iterator() noexcept {
    if (iterator_ != nullptr) tty_db_iterate_end(iterator_);
  }

  bool advance(line& next) {
    if (iterator_ == nullptr) return false;
    const std::uint32_t result = tty_db_iterate_next(iterator_, &next.category, &next.id);
    if (result == TTY_DB_ERR_NO_MORE) return false;
    if (ec_ != nullptr) return detail::check(result, *ec_);
    detail::check(result, "tty_db_iterate_next");
    return true;
  }

  tty_db_iterator_type* iterator_ = nullptr;
  std::error_code* ec_ = nullptr;
};

/** A database, destroyed with this object.  Move-only. */
class database {
 public:
  /** No database. */
  database() noexcept = default;
  /** Takes ownership of a database made in C. */
  explicit database(tty_db_type* db_h) noexcept : db_(db_h) {}
  /** Creates an empty database. */
  database(options opts, std::error_code& ec) noexcept {
    detail::check(tty_db_create(static_cast<std::uint32_t>(opts), &db_), ec);
  }
  explicit database(options opts) {
    detail::check(tty_db_create(static_cast<std::uint32_t>(opts), &db_), "tty_db_create");
  }
  database(database&& other) noexcept : db_(std::exchange(other.db_, nullptr)) {}
  database& operator=(database&& other) noexcept {
    if (this != &other) {
      destroy_unchecked();
      db_ = std::exchange(other.db_, nullptr);
    }
    return *this;
  }
  database(const database&) = delete;
  database& operator=(const database&) = delete;
  /** Destroys the database, or, if its lock cannot be had, leaves it behind: see destroy. */
  ~database() { destroy_unchecked(); }

  /** Whether this is a database. */
  explicit operator bool() const noexcept { return db_ != nullptr; }
  /** The database for C operations; still owned by this object. */
  tty_db_type* native_handle() const noexcept { return db_; }
  /** Gives up ownership. */
  tty_db_type* release() noexcept { return std::exchange(db_, nullptr); }

  /** Destroys the database now; after a failure it is as it was, and still owned. */
  void destroy(std::error_code& ec) noexcept {
    if (detail::check(tty_db_destroy(db_), ec)) db_ = nullptr;
  }
  void destroy() {
    detail::check(tty_db_destroy(db_), "tty_db_destroy");
    db_ = nullptr;
  }

  /** How many blocks and registered lines the database holds; zeros on failure. */
  ttydb::counts counts(std::error_code& ec) const noexcept {
    ttydb::counts counts{};
    detail::check(tty_db_get_details(db_, &counts.blocks, &counts.lines), ec);
    return counts;
  }
  ttydb::counts counts() const {
    ttydb::counts counts{};
    detail::check(tty_db_get_details(db_, &counts.blocks, &counts.lines), "tty_db_get_details");
    return counts;
  }

  /** Registers a line.  @return its new entry, zero-filled behind its head; empty on failure */
  template <class Record>
  [[nodiscard]] entry<Record> register_line(std::uint32_t category, std::uint32_t id,
                                            std::error_code& ec) noexcept {
    tty_db_tty_type* tty = nullptr;
    if (!detail::check(tty_db_tty_register(db_, category, id, sizeof(Record), &tty), ec)) return {};
    return {db_, tty};
  }
  template <class Record>
  entry<Record> register_line(std::uint32_t category, std::uint32_t id) {
    tty_db_tty_type* tty = nullptr;
    detail::check(tty_db_tty_register(db_, category, id, sizeof(Record), &tty),
                  "tty_db_tty_register");
    return {db_, tty};
  }

  /** Hands out the entry of a registered line; an empty guard on failure. */
  template <class Record>
  [[nodiscard]] entry<Record> retrieve_line(std::uint32_t category, std::uint32_t id,
                                            std::error_code& ec) const noexcept {
    tty_db_tty_type* tty = nullptr;
    if (!detail::check(tty_db_tty_retrieve(db_, category, id, &tty), ec)) return {};
    return {db_, tty};
  }
  template <class Record>
  [[nodiscard]] entry<Record> retrieve_line(std::uint32_t category, std::uint32_t id) const {
    tty_db_tty_type* tty = nullptr;
    detail::check(tty_db_tty_retrieve(db_, category, id, &tty), "tty_db_tty_retrieve");
    return {db_, tty};
  }

  /**
   * Deregisters a line, with its entry and its items.  If this thread holds the entry, its guard
   * must forget it afterwards: entry::release.
   */
  void deregister_line(std::uint32_t category, std::uint32_t id, std::error_code& ec) noexcept {
    detail::check(tty_db_tty_deregister(db_, category, id), ec);
  }
  void deregister_line(std::uint32_t category, std::uint32_t id) {
    detail::check(tty_db_tty_deregister(db_, category, id), "tty_db_tty_deregister");
  }

  /**
   * Reserves the ids first_id .. first_id + count - 1 of a category as a block.
   * @param tag  a string to find the block by, which is copied, or null
   * @param ctx  any value, handed back in the block's details
   */
  block reserve_block(std::uint32_t category, std::uint32_t first_id, std::uint32_t count,
                      const char* tag, std::uintptr_t ctx, std::error_code& ec) noexcept {
    tty_db_block_type* block_h = nullptr;
    detail::check(tty_db_block_reserve(db_, category, first_id, count, tag, ctx, &block_h), ec);
    return {db_, block_h};
  }
  block reserve_block(std::uint32_t category, std::uint32_t first_id, std::uint32_t count,
                      const char* tag = nullptr, std::uintptr_t ctx = 0) {
    tty_db_block_type* block_h = nullptr;
    detail::check(tty_db_block_reserve(db_, category, first_id, count, tag, ctx, &block_h),
                  "tty_db_block_reserve");
    return {db_, block_h};
  }

  /** The block that details are about. */
  block block_of(const block_details& details) const noexcept { return {db_, details.block_h}; }

  /** The details of the block that holds an id, registered or not; all zeros on failure. */
  block_details details_by_line(std::uint32_t category, std::uint32_t id,
                                std::error_code& ec) const noexcept {
    block_details details{};
    detail::check(tty_db_block_details_from_tty(db_, category, id, &details), ec);
    return details;
  }
  block_details details_by_line(std::uint32_t category, std::uint32_t id) const {
    block_details details{};
    detail::check(tty_db_block_details_from_tty(db_, category, id, &details),
                  "tty_db_block_details_from_tty");
    return details;
  }

  /** The details of the first block with a tag, or for null the first without; zeros on failure. */
  block_details details_by_tag(const char* tag, std::error_code& ec) const noexcept {
    block_details details{};
    detail::check(tty_db_block_details_from_tag(db_, tag, &details), ec);
    return details;
  }
  block_details details_by_tag(const char* tag) const {
    block_details details{};
    detail::check(tty_db_block_details_from_tag(db_, tag, &details),
                  "tty_db_block_details_from_tag");
    return details;
  }

  /** The registered lines from `first` to `last`; see line_range for the error code. */
  [[nodiscard]] line_range lines(line first, line last, std::error_code& ec) const noexcept {
    return {db_, first, last, ec};
  }
  [[nodiscard]] line_range lines(std::error_code& ec) const noexcept {
    return lines(first_line, last_line, ec);
  }
  [[nodiscard]] line_range lines(line first = first_line, line last = last_line) const {
    return {db_, first, last};
  }

 private:
  void destroy_unchecked() noexcept {
    if (db_ != nullptr) tty_db_destroy(db_);
  }

  tty_db_type* db_ = nullptr;
};

}  // namespace ttydb

#endif  // TTY_DB_HPP
