/**
 * @file
 * The C++17 interface to the database of terminal lines: owning handles, typed entries and items,
 * and ranges of lines.  Header only.  It calls the operations of tty_db.h, which describes their
 * locks, waits and results.
 *
 *     struct port { tty_db_tty_type tty; unsigned baud; };
 *
 *     ttydb::database db(ttydb::options::all);
 *     db.register_line<port>(1, 7)->baud = 9600;        // unlocked at the end of the statement
 *     for (ttydb::position line : db.lines()) {
 *       auto entry = db.retrieve_line<port>(line);
 *       if (entry->baud == 9600) db.deregister_line(std::move(entry));
 *     }
 *     std::error_code ec;
 *     db.deregister_line(1, 80, ec);                    // ec == ttydb::errc::no_block
 *
 * Every operation that can fail has two forms, like those of std::filesystem: with a
 * std::error_code as its last argument it is noexcept and stores the error there; without one it
 * throws std::system_error.  In code compiled without exceptions the second form ends the process
 * instead of throwing.
 *
 * A line is named by a position, or by its category and id as two arguments.
 *
 * A handle that a failed operation returned is empty, and so is an owning handle that was moved
 * from.  It owns nothing, and an operation on it fails with errc::invalid_argument.  There are two
 * exceptions: an empty range has no lines, and find() on an empty entry returns null.
 */
#ifndef TTY_DB_HPP
#define TTY_DB_HPP

#if __cplusplus < 201703L
#error "tty_db.hpp needs C++17"
#endif

#include <cstddef>
#include <cstdint>
#include <exception>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include "tty_db.h"

namespace ttydb {

/**
 * The result codes.
 *
 * Compare a std::error_code with an errc, not its value() with a number: value() is an int, and
 * most codes are negative there.
 */
enum class errc : std::uint32_t {
  no_memory = TTY_DB_ERR_NO_MEMORY,             /**< #TTY_DB_ERR_NO_MEMORY */
  invalid_argument = TTY_DB_ERR_INVALID_ARG,    /**< #TTY_DB_ERR_INVALID_ARG */
  wrong_mode = TTY_DB_ERR_WRONG_MODE,           /**< #TTY_DB_ERR_WRONG_MODE */
  lock_failed = TTY_DB_ERR_LOCK_FAILED,         /**< #TTY_DB_ERR_LOCK_FAILED */
  lock_init = TTY_DB_ERR_LOCK_INIT,             /**< #TTY_DB_ERR_LOCK_INIT */
  no_block = TTY_DB_ERR_NO_BLOCK,               /**< #TTY_DB_ERR_NO_BLOCK */
  overlap = TTY_DB_ERR_OVERLAP,                 /**< #TTY_DB_ERR_OVERLAP */
  item_exists = TTY_DB_ERR_ITEM_EXISTS,         /**< #TTY_DB_ERR_ITEM_EXISTS */
  tty_exists = TTY_DB_ERR_TTY_EXISTS,           /**< #TTY_DB_ERR_TTY_EXISTS */
  no_more = TTY_DB_ERR_NO_MORE,                 /**< #TTY_DB_ERR_NO_MORE */
  no_item = TTY_DB_ERR_NO_ITEM,                 /**< #TTY_DB_ERR_NO_ITEM */
  not_registered = TTY_DB_ERR_NOT_REGISTERED,   /**< #TTY_DB_ERR_NOT_REGISTERED */
  ttys_registered = TTY_DB_ERR_TTYS_REGISTERED, /**< #TTY_DB_ERR_TTYS_REGISTERED */
};

}  // namespace ttydb

/* Makes an errc convertible to a std::error_code. */
namespace std {
template <>
struct is_error_code_enum<ttydb::errc> : true_type {};
}  // namespace std

namespace ttydb {

namespace detail {

class category_type final : public std::error_category {
 public:
  constexpr category_type() noexcept = default;

  const char* name() const noexcept override { return "tty_db"; }

  /* The texts of the stand-in's qerr_strerror(). */
  std::string message(int value) const override {
    constexpr struct {
      errc code;
      const char* text;
    } messages[] = {
        {errc{}, "Success"},
        {errc::no_memory, "Out of memory"},
        {errc::invalid_argument, "Invalid argument"},
        {errc::wrong_mode, "The database manages its blocks by itself"},
        {errc::lock_failed, "A lock could not be obtained"},
        {errc::lock_init, "A lock could not be created"},
        {errc::no_block, "No such block"},
        {errc::overlap, "The range overlaps another block"},
        {errc::item_exists, "The item exists already"},
        {errc::tty_exists, "The TTY is registered already"},
        {errc::no_more, "No more TTYs"},
        {errc::no_item, "No such item"},
        {errc::not_registered, "The TTY is not registered"},
        {errc::ttys_registered, "TTYs are still registered in the block"},
    };
    for (const auto& message : messages) {
      if (message.code == static_cast<errc>(value)) return message.text;
    }
    return "Unknown result code";
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

/* Initialised at compile time and never destroyed: codes are valid before and after main. */
union category_storage {
  constexpr category_storage() noexcept : value() {}
  category_storage(const category_storage&) = delete;
  category_storage& operator=(const category_storage&) = delete;
  ~category_storage() {}  // NOLINT(modernize-use-equals-default): would be deleted

  category_type value;
};

inline const category_storage category_instance;

}  // namespace detail

/** The category of the error codes; its name is "tty_db". */
inline const std::error_category& category() noexcept { return detail::category_instance.value; }

/** Makes an error code of that category. */
inline std::error_code make_error_code(errc code) noexcept {
  return {static_cast<int>(code), category()};
}

namespace detail {

/* An operation with two forms ends with a parameter pack `ec`, which is empty or one error code.
   True if there is one: the operation then does not throw. */
template <class... Ec>
inline constexpr bool reports = sizeof...(Ec) == 1;

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

/* Both return whether the operation succeeded. */
inline bool check(std::uint32_t result, const char* operation) {
  if (result != 0) raise(result, operation);
  return true;
}

/* Clears only a code that is set: clear() is a call into the C++ library. */
inline bool check(std::uint32_t result, const char* /*operation*/, std::error_code& ec) noexcept {
  if (result != 0) {
    ec = static_cast<errc>(result);
  } else if (ec) {
    ec.clear();
  }
  return result == 0;
}

template <class Record, class = void>
struct begins_with_head : std::false_type {};

/* The first initialiser of an aggregate is for its first member. */
template <class Record>
struct begins_with_head<Record, std::void_t<decltype(Record{std::declval<tty_db_tty_type>()})>>
    : std::true_type {};

/* The library allocates a record with calloc and releases it with free. */
template <class Record>
constexpr void assert_record() noexcept {
  static_assert(std::is_standard_layout_v<Record>, "a record must have standard layout");
  static_assert(std::is_trivially_default_constructible_v<Record>,
                "a record must be trivially default constructible");
  static_assert(std::is_trivially_destructible_v<Record>,
                "a record must be trivially destructible");
  static_assert(alignof(Record) <= alignof(std::max_align_t),
                "a record must not need more alignment than malloc gives");
  static_assert(sizeof(Record) >= sizeof(tty_db_tty_type) && begins_with_head<Record>::value,
                "a record must begin with a tty_db_tty_type");
}

template <class T>
constexpr void assert_item() noexcept {
  static_assert(std::is_trivial_v<T>, "an item must be of a trivial type");
  static_assert(alignof(T) <= alignof(std::max_align_t),
                "an item must not need more alignment than malloc gives");
}

/* The deleters of the owning handles. */
struct unlock {
  tty_db_type* db_h = nullptr;
  void operator()(tty_db_tty_type* tty) const noexcept { tty_db_tty_unlock(db_h, tty); }
};
struct end {
  void operator()(tty_db_iterator_type* iterator) const noexcept { tty_db_iterate_end(iterator); }
  void operator()(tty_db_type* db_h) const noexcept { tty_db_destroy(db_h); }
};

}  // namespace detail

/** Options of a database; combine them with `|`. */
enum class options : std::uint32_t {
  none = 0,
  lock_entries = TTY_DB_OPT_LOCK_ENTRIES, /**< #TTY_DB_OPT_LOCK_ENTRIES */
  auto_blocks = TTY_DB_OPT_AUTO_BLOCKS,   /**< #TTY_DB_OPT_AUTO_BLOCKS */
  all = TTY_DB_OPT_ALL,
};

/** Combines options. */
constexpr options operator|(options left, options right) noexcept {
  return static_cast<options>(static_cast<std::uint32_t>(left) | static_cast<std::uint32_t>(right));
}

/** Whether a block that loses ids deregisters the lines with these ids. */
enum class implicit_dereg : std::uint32_t {
  allow = 0,                                   /**< the lines are deregistered */
  refuse = TTY_DB_BLOCK_OPT_NO_IMPLICIT_DEREG, /**< if there are any lines, the operation fails */
};

/** The category and id of a line. */
struct position {
  std::uint32_t category;
  std::uint32_t id;

  friend constexpr bool operator==(position left, position right) noexcept {
    return left.category == right.category && left.id == right.id;
  }
  friend constexpr bool operator!=(position left, position right) noexcept {
    return !(left == right);
  }
  /** The order of a range: by category, then id. */
  friend constexpr bool operator<(position left, position right) noexcept {
    return left.category != right.category ? left.category < right.category : left.id < right.id;
  }
};

/** The lowest position. */
inline constexpr position first_position{TTY_CATEGORY_MIN, 0};
/** The highest position. */
inline constexpr position last_position{TTY_CATEGORY_MAX, TTY_PORT_MAX};

/** The numbers of blocks and registered lines of a database. */
struct counts {
  std::uint32_t blocks;
  std::uint32_t lines;
};

/** The details of a block. */
using block_details = tty_db_block_details_type;

/**
 * A guard that holds the entry of a line until the end of its scope, and gives access to the
 * caller's record and the items.  Move-only.
 *
 * In a database with options::lock_entries the guard must be destroyed in the thread that obtained
 * it.  It must not outlive the database.
 *
 * @tparam Record  an aggregate with a tty_db_tty_type as its first member: the type that the line
 *                 was registered with, or a prefix of it
 */
template <class Record>
class entry {
 public:
  /** An empty guard. */
  entry() noexcept { detail::assert_record<Record>(); }
  /** Takes ownership of an entry from a C operation. */
  entry(tty_db_type* db_h, ttydb::position at, tty_db_tty_type* tty) noexcept
      : tty_(tty, {db_h}), at_(at) {
    detail::assert_record<Record>();
  }

  /** Whether the guard holds an entry. */
  explicit operator bool() const noexcept { return tty_ != nullptr; }
  /** The caller's record; the guard must hold an entry. */
  Record& operator*() const noexcept { return *operator->(); }
  /** @overload */
  Record* operator->() const noexcept { return reinterpret_cast<Record*>(tty_.get()); }
  /** The line's position. */
  ttydb::position position() const noexcept { return at_; }
  /** The entry, for C operations; the guard keeps it. */
  tty_db_tty_type* native_handle() const noexcept { return tty_.get(); }

  /** Unlocks the entry now. */
  void unlock() noexcept { tty_.reset(); }
  /** Gives up the entry; the caller must unlock it. */
  tty_db_tty_type* release() noexcept { return tty_.release(); }

  /**
   * Attaches a new item to the entry: an array of `count` T, filled with zeros.
   * It lives until the item is destroyed or the line deregistered.  Fails as tty_db_item_create().
   * @return its first element; null on failure
   */
  template <class T, class... Ec>
  T* create_array(std::uint32_t key, std::size_t count, Ec&... ec) const
      noexcept(detail::reports<Ec...>) {
    detail::assert_item<T>();
    void* item = nullptr;
    const bool fits = count <= SIZE_MAX / sizeof(T);
    detail::check(fits ? tty_db_item_create(native_handle(), key, count * sizeof(T), &item)
                       : TTY_DB_ERR_NO_MEMORY,
                  "tty_db_item_create", ec...);
    return static_cast<T*>(item);
  }

  /**
   * Attaches a new item to the entry: one T, filled with zeros.  Fails as tty_db_item_create().
   * @return the item; with an error code, null on failure
   */
  template <class T>
  T* create(std::uint32_t key, std::error_code& ec) const noexcept {
    return create_array<T>(key, 1, ec);
  }
  /** @overload */
  template <class T>
  T& create(std::uint32_t key) const {
    return *create_array<T>(key, 1);
  }

  /**
   * Gets an item by its key.  T must be the type that the item was created with, which is not
   * checked.  Fails as tty_db_item_get().
   * @return the item, or the first element of an array; with an error code, null on failure
   */
  template <class T>
  T* get(std::uint32_t key, std::error_code& ec) const noexcept {
    return get_array<T>(key, ec);
  }
  /** @overload */
  template <class T>
  T& get(std::uint32_t key) const {
    return *get_array<T>(key);
  }

  /** Finds an item, like get().  @return the item, or null if there is none */
  template <class T>
  T* find(std::uint32_t key) const noexcept {
    detail::assert_item<T>();
    void* item = nullptr;
    tty_db_item_get(native_handle(), key, &item);
    return static_cast<T*>(item);
  }

  /** Frees an item and its data.  Fails as tty_db_item_destroy(). */
  template <class... Ec>
  void destroy(std::uint32_t key, Ec&... ec) const noexcept(detail::reports<Ec...>) {
    detail::check(tty_db_item_destroy(native_handle(), key), "tty_db_item_destroy", ec...);
  }

 private:
  friend class database;

  template <class T, class... Ec>
  T* get_array(std::uint32_t key, Ec&... ec) const noexcept(detail::reports<Ec...>) {
    detail::assert_item<T>();
    void* item = nullptr;
    detail::check(tty_db_item_get(native_handle(), key, &item), "tty_db_item_get", ec...);
    return static_cast<T*>(item);
  }
  bool held_in(tty_db_type* db_h) const noexcept { return tty_ && tty_.get_deleter().db_h == db_h; }

  std::unique_ptr<tty_db_tty_type, detail::unlock> tty_;
  ttydb::position at_{};
};

/**
 * A reference to a block of a database with manual block management.  Copyable; it owns nothing and
 * is valid as long as the block.
 */
class block {
 public:
  /** An empty reference. */
  block() noexcept = default;
  /** Refers to a block by its C handles. */
  block(tty_db_type* db_h, tty_db_block_type* block_h) noexcept : db_(db_h), block_(block_h) {}

  /** Whether this refers to a block. */
  explicit operator bool() const noexcept { return block_ != nullptr; }
  /** The block, for C operations. */
  tty_db_block_type* native_handle() const noexcept { return block_; }

  friend bool operator==(block left, block right) noexcept { return left.block_ == right.block_; }
  friend bool operator!=(block left, block right) noexcept { return !(left == right); }

  /** Gives the block a new range of ids.  Fails as tty_db_block_resize(). */
  template <class... Ec>
  void resize(std::uint32_t first_id, std::uint32_t count,
              implicit_dereg dereg = implicit_dereg::allow, Ec&... ec) const
      noexcept(detail::reports<Ec...>) {
    detail::check(
        tty_db_block_resize(db_, block_, first_id, count, static_cast<std::uint32_t>(dereg)),
        "tty_db_block_resize", ec...);
  }

  /**
   * Releases the block.  On success this reference is empty, and its copies are invalid.
   * Fails as tty_db_block_release().
   */
  template <class... Ec>
  void release(implicit_dereg dereg = implicit_dereg::allow,
               Ec&... ec) noexcept(detail::reports<Ec...>) {
    if (detail::check(tty_db_block_release(db_, block_, static_cast<std::uint32_t>(dereg)),
                      "tty_db_block_release", ec...)) {
      block_ = nullptr;
    }
  }

  /**
   * Copies the block's details; all zeros on failure.
   * Fails as tty_db_block_details_from_handle().
   */
  template <class... Ec>
  block_details details(Ec&... ec) const noexcept(detail::reports<Ec...>) {
    block_details details{};
    detail::check(tty_db_block_details_from_handle(db_, block_, &details),
                  "tty_db_block_details_from_handle", ec...);
    return details;
  }

 private:
  tty_db_type* db_ = nullptr;
  tty_db_block_type* block_ = nullptr;
};

/**
 * The registered lines from a first to a last position, both inclusive, for a range-based `for`.
 *
 * Single pass: begin() and each advance look for the next line in the database as it is then.  The
 * range holds no lock between two lines.  It must not be advanced after its database is destroyed.
 * Move-only; moving it invalidates its iterators.
 */
class line_range {
 public:
  /** An input iterator over positions. */
  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = position;
    using difference_type = std::ptrdiff_t;
    using pointer = const position*;
    using reference = const position&;

    /** The end of every range. */
    iterator() noexcept = default;

    reference operator*() const noexcept { return at_; }
    pointer operator->() const noexcept { return &at_; }
    /**
     * Advances.  A failure throws, or ends a range that has an error code.
     * Fails as tty_db_iterate_next(), except at the end.
     */
    iterator& operator++() {
      if (!range_->advance(at_)) range_ = nullptr;
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
    position at_{};
  };

  /** An empty range. */
  line_range() noexcept = default;
  /**
   * The error code receives the failures of this and of every advance, and must outlive the
   * range.  Fails as tty_db_iterate_start().
   */
  template <class... Ec>
  line_range(tty_db_type* db_h, position first, position last,
             Ec&... ec) noexcept(detail::reports<Ec...>)
      : ec_{&ec...} {
    tty_db_iterator_type* iterator_h = nullptr;
    detail::check(
        tty_db_iterate_start(db_h, first.category, first.id, last.category, last.id, &iterator_h),
        "tty_db_iterate_start", ec...);
    iterator_.reset(iterator_h);
  }

  /** Advances to the next line, like the iterator's `++`. */
  iterator begin() { return iterator(this); }
  // NOLINTNEXTLINE(readability-convert-member-functions-to-static): ranges are asked for their end
  iterator end() const noexcept { return {}; }

 private:
  bool advance(position& next) {
    if (!iterator_) return false;
    const std::uint32_t result = tty_db_iterate_next(iterator_.get(), &next.category, &next.id);
    if (result == TTY_DB_ERR_NO_MORE) return false;
    return ec_ != nullptr ? detail::check(result, "tty_db_iterate_next", *ec_)
                          : detail::check(result, "tty_db_iterate_next");
  }

  std::unique_ptr<tty_db_iterator_type, detail::end> iterator_;
  std::error_code* ec_ = nullptr;
};

/** Owns a database, and destroys it at the end of its scope.  Move-only. */
class database {
 public:
  /** An empty handle. */
  database() noexcept = default;
  /** Takes ownership of a database from tty_db_create(). */
  explicit database(tty_db_type* db_h) noexcept : db_(db_h) {}
  /** Creates an empty database.  Fails as tty_db_create(). */
  template <class... Ec>
  explicit database(options opts, Ec&... ec) noexcept(detail::reports<Ec...>) {
    tty_db_type* db_h = nullptr;
    detail::check(tty_db_create(static_cast<std::uint32_t>(opts), &db_h), "tty_db_create", ec...);
    db_.reset(db_h);
  }

  /** Whether this handle owns a database. */
  explicit operator bool() const noexcept { return db_ != nullptr; }
  /** The database, for C operations; the handle keeps ownership. */
  tty_db_type* native_handle() const noexcept { return db_.get(); }
  /** Gives up ownership; the caller must destroy the database. */
  tty_db_type* release() noexcept { return db_.release(); }

  /**
   * Destroys the database now; on failure the handle still owns it.  The destructor leaks the
   * database if it cannot take the write lock.  Fails as tty_db_destroy().
   */
  template <class... Ec>
  void destroy(Ec&... ec) noexcept(detail::reports<Ec...>) {
    if (detail::check(tty_db_destroy(native_handle()), "tty_db_destroy", ec...)) {
      static_cast<void>(db_.release());
    }
  }

  /** Counts blocks and registered lines; zeros on failure.  Fails as tty_db_get_details(). */
  template <class... Ec>
  ttydb::counts counts(Ec&... ec) const noexcept(detail::reports<Ec...>) {
    ttydb::counts counts{};
    detail::check(tty_db_get_details(native_handle(), &counts.blocks, &counts.lines),
                  "tty_db_get_details", ec...);
    return counts;
  }

  /**
   * Registers a line.  Fails as tty_db_tty_register().
   * @return its entry, filled with zeros after its head; empty on failure
   */
  template <class Record, class... Ec>
  entry<Record> register_line(position at, Ec&... ec) noexcept(detail::reports<Ec...>) {
    tty_db_tty_type* tty = nullptr;
    detail::check(tty_db_tty_register(native_handle(), at.category, at.id, sizeof(Record), &tty),
                  "tty_db_tty_register", ec...);
    return {native_handle(), at, tty};
  }
  /** @overload */
  template <class Record, class... Ec>
  entry<Record> register_line(std::uint32_t category, std::uint32_t id,
                              Ec&... ec) noexcept(detail::reports<Ec...>) {
    return register_line<Record>(position{category, id}, ec...);
  }

  /**
   * Gets the entry of a registered line; an empty guard on failure.  Record must be the type that
   * the line was registered with, or a prefix of it, which is not checked.
   * Fails as tty_db_tty_retrieve().
   */
  template <class Record, class... Ec>
  [[nodiscard]] entry<Record> retrieve_line(position at, Ec&... ec) const
      noexcept(detail::reports<Ec...>) {
    tty_db_tty_type* tty = nullptr;
    const std::uint32_t result = tty_db_tty_retrieve(native_handle(), at.category, at.id, &tty);
    if (!detail::check(result, "tty_db_tty_retrieve", ec...)) return {};
    return {native_handle(), at, tty};
  }
  /** @overload */
  template <class Record, class... Ec>
  [[nodiscard]] entry<Record> retrieve_line(std::uint32_t category, std::uint32_t id,
                                            Ec&... ec) const noexcept(detail::reports<Ec...>) {
    return retrieve_line<Record>(position{category, id}, ec...);
  }

  /**
   * Deregisters the line whose entry the guard holds.  On success the guard is empty; on failure it
   * still holds the entry.  Fails as tty_db_tty_deregister().
   */
  template <class Record, class... Ec>
  void deregister_line(entry<Record>&& held, Ec&... ec) noexcept(detail::reports<Ec...>) {
    const std::uint32_t result =
        held.held_in(native_handle())
            ? tty_db_tty_deregister(native_handle(), held.at_.category, held.at_.id)
            : TTY_DB_ERR_INVALID_ARG;
    if (detail::check(result, "tty_db_tty_deregister", ec...)) held.release();
  }
  /**
   * Deregisters a line.  A thread that holds the entry must pass its guard instead, or the guard
   * unlocks a freed entry.  Fails as tty_db_tty_deregister().
   */
  template <class... Ec>
  void deregister_line(position at, Ec&... ec) noexcept(detail::reports<Ec...>) {
    detail::check(tty_db_tty_deregister(native_handle(), at.category, at.id),
                  "tty_db_tty_deregister", ec...);
  }
  /** @overload */
  template <class... Ec>
  void deregister_line(std::uint32_t category, std::uint32_t id,
                       Ec&... ec) noexcept(detail::reports<Ec...>) {
    deregister_line(position{category, id}, ec...);
  }

  /** Reserves a block of `count` ids from `first` on.  Fails as tty_db_block_reserve(). */
  template <class... Ec>
  block reserve_block(position first, std::uint32_t count, const char* tag = nullptr,
                      std::uintptr_t ctx = 0, Ec&... ec) noexcept(detail::reports<Ec...>) {
    tty_db_block_type* block_h = nullptr;
    detail::check(
        tty_db_block_reserve(native_handle(), first.category, first.id, count, tag, ctx, &block_h),
        "tty_db_block_reserve", ec...);
    return {native_handle(), block_h};
  }
  /** @overload */
  template <class... Ec>
  block reserve_block(std::uint32_t category, std::uint32_t first_id, std::uint32_t count,
                      const char* tag = nullptr, std::uintptr_t ctx = 0,
                      Ec&... ec) noexcept(detail::reports<Ec...>) {
    return reserve_block(position{category, first_id}, count, tag, ctx, ec...);
  }

  /** The block that the details describe. */
  block block_of(const block_details& details) const noexcept {
    return {native_handle(), details.block_h};
  }

  /**
   * Copies the details of the block that contains an id; all zeros on failure.
   * Fails as tty_db_block_details_from_tty().
   */
  template <class... Ec>
  block_details details_by_line(position at, Ec&... ec) const noexcept(detail::reports<Ec...>) {
    block_details details{};
    detail::check(tty_db_block_details_from_tty(native_handle(), at.category, at.id, &details),
                  "tty_db_block_details_from_tty", ec...);
    return details;
  }
  /** @overload */
  template <class... Ec>
  block_details details_by_line(std::uint32_t category, std::uint32_t id, Ec&... ec) const
      noexcept(detail::reports<Ec...>) {
    return details_by_line(position{category, id}, ec...);
  }

  /**
   * Copies the details of the first block with this tag or, for null, of the first block without
   * a tag; all zeros on failure.  Fails as tty_db_block_details_from_tag().
   */
  template <class... Ec>
  block_details details_by_tag(const char* tag, Ec&... ec) const noexcept(detail::reports<Ec...>) {
    block_details details{};
    detail::check(tty_db_block_details_from_tag(native_handle(), tag, &details),
                  "tty_db_block_details_from_tag", ec...);
    return details;
  }

  /**
   * The registered lines from `first` to `last`; see line_range for the error code.
   * Fails as tty_db_iterate_start().
   */
  template <class... Ec>
  [[nodiscard]] line_range lines(position first = first_position, position last = last_position,
                                 Ec&... ec) const noexcept(detail::reports<Ec...>) {
    return {native_handle(), first, last, ec...};
  }
  /** @overload */
  [[nodiscard]] line_range lines(std::error_code& ec) const noexcept {
    return lines(first_position, last_position, ec);
  }

 private:
  std::unique_ptr<tty_db_type, detail::end> db_;
};

}  // namespace ttydb

#endif  // TTY_DB_HPP
