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
 *     for (ttydb::position line : db.lines()) {
 *       auto entry = db.retrieve_line<port>(line);
 *       if (entry->baud == 9600) db.deregister_line(std::move(entry));
 *     }
 *     std::error_code ec;
 *     db.deregister_line(1, 80, ec);                    // ec == ttydb::errc::no_block
 *
 * Every operation that can fail has two forms, as in std::filesystem: with a std::error_code as its
 * last argument it is noexcept and reports there; without one it throws std::system_error.  The
 * parameter pack `ec` at the end of an operation stands for both.  Code compiled without exceptions
 * has both too, but there a failure of the second form ends the process.
 *
 * A line is named by a position, or by its category and id as two arguments.
 *
 * A handle that has been moved from, or that a failed operation returned, is empty: it owns
 * nothing, its destructor does nothing, and an operation on it gives errc::invalid_argument.  There
 * are two exceptions: an empty range has no lines, and find() on an empty entry returns null.
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

/* Lets an errc be assigned to a std::error_code and compared with one. */
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

  /* The texts are those of qerr_strerror() in the stand-in for the host. */
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

/* Whether an operation with these arguments at its end is the form that reports. */
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

/* Each says whether the operation has succeeded, if it returns. */
inline bool check(std::uint32_t result, const char* operation) {
  if (result != 0) raise(result, operation);
  return true;
}

/* Success leaves a clear code alone: std::error_code::clear is a call into the C++ library. */
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

/* How the owning handles end what they own. */
struct unlock {
  tty_db_type* db_h = nullptr;
  void operator()(tty_db_tty_type* tty) const noexcept { tty_db_tty_unlock(db_h, tty); }
};
struct end {
  void operator()(tty_db_iterator_type* iterator) const noexcept { tty_db_iterate_end(iterator); }
  void operator()(tty_db_type* db_h) const noexcept { tty_db_destroy(db_h); }
};

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

/** Where a line is registered, or may be. */
struct position {
  std::uint32_t category;
  std::uint32_t id;

  friend constexpr bool operator==(position left, position right) noexcept {
    return left.category == right.category && left.id == right.id;
  }
  friend constexpr bool operator!=(position left, position right) noexcept {
    return !(left == right);
  }
  /** The order in which a range yields positions: by category, then id. */
  friend constexpr bool operator<(position left, position right) noexcept {
    return left.category != right.category ? left.category < right.category : left.id < right.id;
  }
};

/** The first position that a line can have. */
inline constexpr position first_position{TTY_CATEGORY_MIN, 0};
/** The last position that a line can have. */
inline constexpr position last_position{TTY_CATEGORY_MAX, TTY_PORT_MAX};

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
  entry(tty_db_type* db_h, ttydb::position at, tty_db_tty_type* tty) noexcept
      : tty_(tty, {db_h}), at_(at) {
    detail::assert_record<Record>();
  }

  /** Whether the guard holds an entry. */
  explicit operator bool() const noexcept { return tty_ != nullptr; }
  /** The caller's record; the guard must hold an entry. */
  Record& operator*() const noexcept { return *operator->(); }
  Record* operator->() const noexcept { return reinterpret_cast<Record*>(tty_.get()); }
  /** The line's position. */
  ttydb::position position() const noexcept { return at_; }
  /** The entry for C operations; still held by the guard. */
  tty_db_tty_type* native_handle() const noexcept { return tty_.get(); }

  /** Gives the entry back now. */
  void unlock() noexcept { tty_.reset(); }
  /** Forgets the entry without giving it back, which is then up to the caller. */
  tty_db_tty_type* release() noexcept { return tty_.release(); }

  /**
   * Hangs a new item on the entry: `count` consecutive values of T, all bytes zero.
   * The values live until the item is destroyed or the line deregistered.
   * @return the first of them; null on failure
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
   * Hangs a new item on the entry, one T with all bytes zero.
   * @return the item; the form that reports has null on failure
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
   * Finds an item by its key, of the type that it was created with: the library does not know it.
   * @return the item, of an array the first value; the form that reports has null on failure
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

  /** As get, where it is no failure that there is no such item.  @return the item or null */
  template <class T>
  T* find(std::uint32_t key) const noexcept {
    detail::assert_item<T>();
    void* item = nullptr;
    tty_db_item_get(native_handle(), key, &item);
    return static_cast<T*>(item);
  }

  /** Frees an item with its data. */
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
  template <class... Ec>
  void resize(std::uint32_t first_id, std::uint32_t count,
              implicit_dereg dereg = implicit_dereg::allow, Ec&... ec) const
      noexcept(detail::reports<Ec...>) {
    detail::check(
        tty_db_block_resize(db_, block_, first_id, count, static_cast<std::uint32_t>(dereg)),
        "tty_db_block_resize", ec...);
  }

  /** Ends the block.  On success this refers to no block, and copies of it must not be used. */
  template <class... Ec>
  void release(implicit_dereg dereg = implicit_dereg::allow,
               Ec&... ec) noexcept(detail::reports<Ec...>) {
    if (detail::check(tty_db_block_release(db_, block_, static_cast<std::uint32_t>(dereg)),
                      "tty_db_block_release", ec...)) {
      block_ = nullptr;
    }
  }

  /** The block's details as they are now; all zeros on failure. */
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
 * The positions of the registered lines from one to another, both inclusive, for a range-based
 * `for`.
 *
 * Single pass: the lines are found while the iterator advances, each time in the database as it is
 * then, and begin() continues where the range has got to.  No lock is kept between two lines.
 * The range must not be advanced after its database is destroyed.  Move-only; moving it invalidates
 * its iterators.
 */
class line_range {
 public:
  /** An input iterator over positions; one that has reached the end equals a default-constructed
   * one. */
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
    /** Advances; a failure throws, or ends the range if that was given an error code. */
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
  /** An error code is where this and every advance reports a failure, which ends the range; it
   * outlives the range. */
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

  /** The next line of the range; a failure is treated as by the iterator's `++`. */
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

/** A database, destroyed with this object.  Move-only. */
class database {
 public:
  /** No database. */
  database() noexcept = default;
  /** Takes ownership of a database made in C. */
  explicit database(tty_db_type* db_h) noexcept : db_(db_h) {}
  /** Creates an empty database. */
  template <class... Ec>
  explicit database(options opts, Ec&... ec) noexcept(detail::reports<Ec...>) {
    tty_db_type* db_h = nullptr;
    detail::check(tty_db_create(static_cast<std::uint32_t>(opts), &db_h), "tty_db_create", ec...);
    db_.reset(db_h);
  }

  /** Whether this is a database. */
  explicit operator bool() const noexcept { return db_ != nullptr; }
  /** The database for C operations; still owned by this object. */
  tty_db_type* native_handle() const noexcept { return db_.get(); }
  /** Gives up ownership. */
  tty_db_type* release() noexcept { return db_.release(); }

  /**
   * Destroys the database now; after a failure it is as it was, and still owned.  The destructor
   * leaves a database behind whose lock cannot be had.
   */
  template <class... Ec>
  void destroy(Ec&... ec) noexcept(detail::reports<Ec...>) {
    if (detail::check(tty_db_destroy(native_handle()), "tty_db_destroy", ec...)) {
      static_cast<void>(db_.release());
    }
  }

  /** How many blocks and registered lines the database holds; zeros on failure. */
  template <class... Ec>
  ttydb::counts counts(Ec&... ec) const noexcept(detail::reports<Ec...>) {
    ttydb::counts counts{};
    detail::check(tty_db_get_details(native_handle(), &counts.blocks, &counts.lines),
                  "tty_db_get_details", ec...);
    return counts;
  }

  /** Registers a line.  @return its new entry, zero-filled behind its head; empty on failure */
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

  /** Hands out the entry of a registered line; an empty guard on failure. */
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
   * Deregisters the line whose entry this thread holds, and empties the guard; after a failure that
   * holds the entry still.
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
   * Deregisters a line, with its entry and its items, when its holder has given it back.  Not for a
   * thread with a guard of that entry, which would outlive it: give the guard instead.
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

  /**
   * Reserves `count` ids of a category, from `first` on, as a block.
   * @param tag  a string to find the block by, which is copied, or null
   * @param ctx  any value, handed back in the block's details
   */
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

  /** The block that details are about. */
  block block_of(const block_details& details) const noexcept {
    return {native_handle(), details.block_h};
  }

  /** The details of the block that holds an id, registered or not; all zeros on failure. */
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

  /** The details of the first block with a tag, or for null the first without; zeros on failure. */
  template <class... Ec>
  block_details details_by_tag(const char* tag, Ec&... ec) const noexcept(detail::reports<Ec...>) {
    block_details details{};
    detail::check(tty_db_block_details_from_tag(native_handle(), tag, &details),
                  "tty_db_block_details_from_tag", ec...);
    return details;
  }

  /** The registered lines from `first` to `last`; see line_range for the error code. */
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
