// Tests of the C++ interface: that handles own what they should, and that both forms of each
// operation report what the C operation does.
#include "tty_db.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using ttydb::errc;

struct Port {
  tty_db_tty_type tty;
  unsigned baud;
};
struct HeadNotFirst {
  unsigned baud;
  tty_db_tty_type tty;
};
static_assert(ttydb::detail::begins_with_head<Port>::value);
static_assert(!ttydb::detail::begins_with_head<HeadNotFirst>::value);
static_assert(sizeof(ttydb::entry<Port>) == 2 * sizeof(void*));
static_assert(!std::is_copy_constructible_v<ttydb::entry<Port>>);
static_assert(!std::is_copy_constructible_v<ttydb::database>);
static_assert(!std::is_copy_constructible_v<ttydb::line_range>);
static_assert(std::is_nothrow_move_assignable_v<ttydb::entry<Port>>);

std::error_code thrown(const std::function<void()>& operation) {
  try {
    operation();
  } catch (const std::system_error& failure) {
    return failure.code();
  }
  return {};
}

// What a second retrieval by this thread gives while a guard holds the entry is lock_failed.
std::error_code retrieval(const ttydb::database& db, std::uint32_t category, std::uint32_t id) {
  std::error_code ec;
  const auto entry = db.retrieve_line<Port>(category, id, ec);
  EXPECT_EQ(!ec, static_cast<bool>(entry));
  return ec;
}

using Positions = std::vector<ttydb::line>;

Positions walk(ttydb::line_range range) { return {range.begin(), range.end()}; }

TEST(ErrorCodes, HaveMessagesAndConditions) {
  std::set<std::string> messages = {ttydb::category().message(0), ttydb::category().message(1)};
  for (const errc code :
       {errc::no_memory, errc::invalid_argument, errc::wrong_mode, errc::lock_failed,
        errc::lock_init, errc::no_block, errc::overlap, errc::item_exists, errc::tty_exists,
        errc::no_more, errc::no_item, errc::not_registered, errc::ttys_registered}) {
    EXPECT_TRUE(messages.insert(std::error_code(code).message()).second) << std::error_code(code);
  }
  EXPECT_EQ(ttydb::make_error_code(errc::no_memory), std::errc::not_enough_memory);
  EXPECT_EQ(ttydb::make_error_code(errc::lock_failed), std::errc::resource_unavailable_try_again);
  EXPECT_NE(ttydb::make_error_code(errc::no_item), std::errc::invalid_argument);
}

// NOLINTBEGIN(bugprone-use-after-move): handles that were moved from are tested.
TEST(EmptyHandles, RefuseEveryOperationInBothForms) {
  ttydb::database live(ttydb::options::all);
  ttydb::database moved = std::move(live);
  ttydb::entry<Port> entry;
  ttydb::block block;
  const auto allow = ttydb::implicit_dereg::allow;
  const std::pair<std::function<void()>, std::function<void(std::error_code&)>> operations[] = {
      {[&] { live.destroy(); }, [&](auto& ec) { live.destroy(ec); }},
      {[&] { live.counts(); }, [&](auto& ec) { live.counts(ec); }},
      {[&] { live.register_line<Port>(0, 0); },
       [&](auto& ec) { EXPECT_FALSE(live.register_line<Port>(0, 0, ec)); }},
      {[&] { static_cast<void>(live.retrieve_line<Port>(0, 0)); },
       [&](auto& ec) { EXPECT_FALSE(live.retrieve_line<Port>(0, 0, ec)); }},
      {[&] { live.deregister_line(0, 0); }, [&](auto& ec) { live.deregister_line(0, 0, ec); }},
      {[&] { live.reserve_block(0, 0, 1); },
       [&](auto& ec) { EXPECT_FALSE(live.reserve_block(0, 0, 1, nullptr, 0, ec)); }},
      {[&] { live.details_by_line(0, 0); }, [&](auto& ec) { live.details_by_line(0, 0, ec); }},
      {[&] { live.details_by_tag(""); }, [&](auto& ec) { live.details_by_tag("", ec); }},
      {[&] { walk(live.lines()); }, [&](auto& ec) { walk(live.lines(ec)); }},
      {[&] { entry.create<int>(1); }, [&](auto& ec) { EXPECT_FALSE(entry.create<int>(1, ec)); }},
      {[&] { entry.get<int>(1); }, [&](auto& ec) { EXPECT_FALSE(entry.get<int>(1, ec)); }},
      {[&] { entry.destroy(1); }, [&](auto& ec) { entry.destroy(1, ec); }},
      {[&] { block.resize(0, 1); }, [&](auto& ec) { block.resize(0, 1, allow, ec); }},
      {[&] { block.release(); }, [&](auto& ec) { block.release(allow, ec); }},
      {[&] { block.details(); }, [&](auto& ec) { block.details(ec); }},
  };
  for (const auto& [throwing, reporting] : operations) {
    std::error_code ec;
    reporting(ec);
    EXPECT_EQ(ec, errc::invalid_argument) << "operation " << &throwing - &operations[0].first;
    EXPECT_EQ(thrown(throwing), errc::invalid_argument);
  }
  std::error_code ec = errc::no_memory;
  EXPECT_EQ(moved.counts(ec).lines, 0U);
  EXPECT_FALSE(ec) << "success clears what the code held";
}

TEST(Entries, AreHeldUntilTheirGuardEnds) {
  ttydb::database db(ttydb::options::all);
  db.register_line<Port>(1, 7)->baud = 9600;
  ttydb::entry<Port> outer;
  {
    auto entry = db.retrieve_line<Port>(1, 7);
    EXPECT_EQ(entry->baud, 9600U);
    EXPECT_EQ(retrieval(db, 1, 7), errc::lock_failed);
    outer = std::move(entry);
  }
  EXPECT_EQ(retrieval(db, 1, 7), errc::lock_failed) << "the hold moved with the guard";
  outer = db.register_line<Port>(1, 8);
  EXPECT_FALSE(retrieval(db, 1, 7)) << "assignment gave back what the guard held";
  outer.unlock();
  EXPECT_FALSE(retrieval(db, 1, 8));

  auto own = db.retrieve_line<Port>(1, 8);
  db.deregister_line(1, 8);
  own.release();
  EXPECT_EQ(retrieval(db, 1, 8), errc::not_registered);
}

TEST(Items, AreFoundByTheirKeys) {
  ttydb::database db(ttydb::options::all);
  const auto entry = db.register_line<Port>(0, 0);
  entry.create<double>(1) = 1.5;
  long* numbers = entry.create_array<long>(2, 3);
  numbers[2] = 42;
  EXPECT_EQ(entry.get<double>(1), 1.5);
  EXPECT_EQ(entry.find<long>(2), numbers);
  std::error_code ec;
  EXPECT_EQ(entry.create<int>(1, ec), nullptr);
  EXPECT_EQ(ec, errc::item_exists);
  EXPECT_EQ(entry.create_array<long>(3, SIZE_MAX / sizeof(long) + 2, ec), nullptr);
  EXPECT_EQ(ec, errc::no_memory) << "the size would wrap";
  entry.destroy(1);
  EXPECT_EQ(entry.find<double>(1), nullptr);
  EXPECT_EQ(thrown([&] { entry.get<double>(1); }), errc::no_item);
}

TEST(Ranges, YieldTheLinesBetweenTwoPositions) {
  ttydb::database db(ttydb::options::all);
  const Positions all = {{0, 3}, {0, TTY_PORT_MAX}, {1, 0}, {5, TTY_PORT_MAX}};
  for (const ttydb::line line : all) db.register_line<Port>(line.category, line.id);
  EXPECT_EQ(walk(db.lines()), all);
  EXPECT_EQ(walk(db.lines({0, 4}, {1, 0})), Positions(all.begin() + 1, all.begin() + 3));

  std::error_code ec = errc::no_memory;
  ttydb::line_range range = db.lines(ec);
  EXPECT_EQ(*range.begin(), all[0]);
  ttydb::line_range rest = std::move(range);
  EXPECT_EQ(range.begin(), range.end());
  EXPECT_EQ(walk(std::move(rest)), Positions(all.begin() + 1, all.end()));
  EXPECT_FALSE(ec) << "the end of a range is no failure";
}

// NOLINTEND(bugprone-use-after-move)

TEST(Blocks, AreReservedResizedFoundAndReleased) {
  ttydb::database db(ttydb::options::lock_entries);
  ttydb::block block = db.reserve_block(2, 10, 5, "usb", 77);
  EXPECT_EQ(thrown([&] { db.reserve_block(2, 14, 1); }), errc::overlap);
  db.register_line<Port>(2, 14);
  EXPECT_EQ(thrown([&] { block.resize(8, 5, ttydb::implicit_dereg::refuse); }),
            errc::ttys_registered);
  block.resize(8, 5);
  const ttydb::block_details details = db.details_by_tag("usb");
  EXPECT_EQ(details.first_tty, 8U);
  EXPECT_EQ(details.capacity, 5U);
  EXPECT_EQ(details.ctx, 77U);
  EXPECT_EQ(details.num_registered, 0U);
  EXPECT_EQ(db.block_of(db.details_by_line(2, 12)), block);
  EXPECT_EQ(block.details().block_h, block.native_handle());

  db.register_line<Port>(2, 8);
  EXPECT_EQ(db.counts().blocks, 1U);
  std::error_code ec;
  block.release(ttydb::implicit_dereg::refuse, ec);
  EXPECT_EQ(ec, errc::ttys_registered);
  block.release(ttydb::implicit_dereg::allow, ec);
  EXPECT_FALSE(ec || block);
  EXPECT_EQ(thrown([&] { db.details_by_line(2, 8); }), errc::no_block);
  db.destroy();
  EXPECT_FALSE(db);
}

}  // namespace
