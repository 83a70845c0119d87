// Getting an item of an entry by its key: every item in turn, at random.

#include "subjects.h"
#include "works.h"

namespace {

constexpr size_t kItemSize = 32;

// A list as an entry has it: nodes with the data behind them, most recent first.
class InlineList {
 public:
  InlineList() = default;
  InlineList(const InlineList &) = delete;
  InlineList &operator=(const InlineList &) = delete;
  ~InlineList() {
    while (head_ != nullptr) {
      Node *const node = head_;
      head_ = node->next;
      free(node);
    }
  }

  void create(uint32_t key) {
    auto *node = static_cast<Node *>(calloc(1, sizeof(Node) + kItemSize));
    node->key = key;
    node->next = head_;
    head_ = node;
  }

  void *get(uint32_t key) const {
    for (Node *node = head_; node != nullptr; node = node->next) {
      if (node->key == key) return node + 1;
    }
    return nullptr;
  }

 private:
  struct alignas(max_align_t) Node {
    Node *next;
    uint32_t key;
  };
  Node *head_ = nullptr;
};

void add_get(uint32_t count) {
  const std::string work = "item_get_" + std::to_string(count);
  std::vector<uint32_t> values;
  for (uint32_t key = 0; key < count; ++key) values.push_back(key * 7919);
  const auto keys = Cycle<uint32_t>::draws(values);

  add_work(work + "/library", [values, keys] {
    const auto library = std::make_shared<Library>();
    tty_db_tty_type *const tty = library->add({0, 0});
    for (const uint32_t key : values) {
      void *item = nullptr;
      require(tty_db_item_create(tty, key, kItemSize, &item) == 0, "item_create");
    }
    return [library, tty, keys](size_t call) {
      void *item = nullptr;
      tty_db_item_get(tty, keys[call], &item);
      return item;
    };
  });
  add_work(work + "/floor", [values, keys] {
    const auto list = std::make_shared<InlineList>();
    for (const uint32_t key : values) list->create(key);
    return [list, keys](size_t call) {
      benchmark::ClobberMemory();
      return list->get(keys[call]);
    };
  });
}

}  // namespace

void add_item_works() {
  for (const uint32_t count : {1u, 8u, 64u}) add_get(count);
}
