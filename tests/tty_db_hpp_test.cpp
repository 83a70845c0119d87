// Tests of the C++ interface: that handles own what they should, and that both forms of each
// operation report what the C operation does.
#include "tty_db.hpp"
#include "tty_platform.h"

#include <gtest/gtest.h>

#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using ttydb::errc;
using dereg = ttydb::implicit_dereg;

struct Port {
  tty_db_tty_type tty;
  unsigned baud;
};
static_assert(!ttydb::detail::begins_with_head<ttydb::block_details>::value);
static_assert(noexcept(ttydb::database().counts(std::declval<std::error_code&>())));
static_assert(!noexcept(ttydb::database().counts()));
static_assert(!std::is_copy_constructible_v<ttydb::entry<Port>>);

// Expects a failure of both forms of an operation: with an error code, which it gets, and without.
template <class Operation>
void expect_failure(errc code, Operation operation, int line = __builtin_LINE()) {
  std::error_code ec;
  operation(ec);
  EXPECT_EQ(ec, code) << "line " << line;
  try {
    operation();
    ADD_FAILURE() << "nothing thrown in line " << line;
  } catch (const std::system_error& failure) {
    EXPECT_EQ(failure.code(), code) << "line " << line;
  }
}

using Positions = std::vector<ttydb::position>;

Positions walk(ttydb::line_range range) { return {range.begin(), range.end()}; }

TEST(ErrorCodes, HaveMessagesAndConditions) {
  for (const errc code :
       {errc::no_memory, errc::invalid_argument, errc::wrong_mode, errc::lock_failed,
        errc::lock_init, errc::no_block, errc::overlap, errc::item_exists, errc::tty_exists,
        errc::no_more, errc::no_item, errc::not_registered, errc::ttys_registered}) {
    EXPECT_EQ(std::error_code(code).message(), qerr_strerror(static_cast<std::uint32_t>(code)));
  }
  EXPECT_EQ(ttydb::make_error_code(errc::no_memory), std::errc::not_enough_memory);
}

// NOLINTBEGIN(bugprone-use-after-move): handles that were moved from are tested.
TEST(EmptyHandles, RefuseOperations) {
  ttydb::database empty(ttydb::options::all);
  ttydb::database db = std::move(empty);
  ttydb::entry<Port> entry;
  ttydb::block block;
  const auto refuses = [](auto operation, int line = __builtin_LINE()) {
    expect_failure(errc::invalid_argument, operation, line);
  };
  refuses([&](auto&... ec) { empty.destroy(ec...); });
  refuses([&](auto&... ec) { EXPECT_FALSE(empty.retrieve_line<Port>(0, 0, ec...)); });
  refuses([&](auto&... ec) { db.deregister_line(std::move(entry), ec...); });
  refuses([&](auto&... ec) { EXPECT_EQ(walk(empty.lines(ec...)), Positions()); });
  refuses([&](auto&... ec) { entry.create<int>(1, ec...); });
  refuses([&](auto&... ec) { entry.get<int>(1, ec...); });
  refuses([&](auto&... ec) { block.resize(0, 1, dereg::allow, ec...); });
  refuses([&](auto&... ec) { block.details(ec...); });
}

TEST(Entries, AreHeldUntilTheirGuardEnds) {
  ttydb::database db(ttydb::options::all);
  db.register_line<Port>(1, 7)->baud = 9600;
  const auto again = [&](auto&... ec) { EXPECT_FALSE(db.retrieve_line<Port>(1, 7, ec...)); };
  auto first = db.retrieve_line<Port>(1, 7);
  auto held = std::move(first);
  first = {};
  EXPECT_EQ(held->baud, 9600U);
  expect_failure(errc::lock_failed, again);
  held = db.register_line<Port>(1, 8);
  EXPECT_TRUE(db.retrieve_line<Port>(1, 7)) << "assignment gave back what the guard held";
  held.unlock();
  EXPECT_TRUE(db.retrieve_line<Port>(1, 8));
}

TEST(Entries, HaveItems) {
  ttydb::database db(ttydb::options::all);
  auto entry = db.register_line<Port>(1, 7);
  entry.create<double>(1) = 1.5;
  entry.create_array<double>(2, 3)[2] = 42;
  EXPECT_EQ(entry.get<double>(1), 1.5);
  EXPECT_EQ(entry.find<double>(2)[2], 42);
  expect_failure(errc::item_exists, [&](auto&... ec) { entry.create<int>(1, ec...); });
  entry.destroy(1);
  EXPECT_EQ(entry.find<double>(1), nullptr);
}

TEST(Entries, EndWithTheirLine) {
  ttydb::database db(ttydb::options::all);
  ttydb::database other(ttydb::options::all);
  db.register_line<Port>({1, 8});
  auto entry = db.register_line<Port>({1, 7});
  EXPECT_EQ(entry.position(), (ttydb::position{1, 7}));
  expect_failure(errc::invalid_argument,
                 [&](auto&... ec) { other.deregister_line(std::move(entry), ec...); });
  ASSERT_TRUE(entry) << "a failure leaves the entry with its guard";
  db.deregister_line(std::move(entry));
  EXPECT_FALSE(entry);
  expect_failure(errc::not_registered, [&](auto&... ec) { db.deregister_line({1, 7}, ec...); });
}

TEST(Ranges, YieldTheLinesBetweenTwoPositions) {
  ttydb::database db(ttydb::options::all);
  const Positions all = {{0, 3}, {0, TTY_PORT_MAX}, {1, 0}, {5, TTY_PORT_MAX}};
  for (const ttydb::position at : all) db.register_line<Port>(at);
  EXPECT_EQ(walk(db.lines()), all);
  EXPECT_EQ(walk(db.lines({0, 4}, {1, 0})), Positions(all.begin() + 1, all.begin() + 3));
}

// NOLINTEND(bugprone-use-after-move)

TEST(Blocks, AreReservedResizedFoundAndReleased) {
  ttydb::database db(ttydb::options::lock_entries);
  ttydb::block block = db.reserve_block({2, 10}, 5, "usb", 77);
  expect_failure(errc::overlap,
                 [&](auto&... ec) { db.reserve_block(2, 14, 1, nullptr, 0, ec...); });
  db.register_line<Port>(2, 14);
  expect_failure(errc::ttys_registered,
                 [&](auto&... ec) { block.resize(8, 5, dereg::refuse, ec...); });
  expect_failure(errc::ttys_registered, [&](auto&... ec) { block.release(dereg::refuse, ec...); });
  block.resize(8, 5);
  EXPECT_EQ(block.details().first_tty, 8U);
  EXPECT_EQ(db.details_by_tag("usb").ctx, 77U);
  EXPECT_EQ(db.block_of(db.details_by_line({2, 12})), block);
  EXPECT_EQ(db.counts().blocks, 1U);
  block.release();
  EXPECT_FALSE(block);
  db.destroy();
  EXPECT_FALSE(db);
}

}  // namespace
