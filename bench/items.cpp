// Gets the items of an entry by key, in random order.

#include "subjects.h"
#include "workloads.h"

namespace {

constexpr size_t kItemSize = 32;

// The floor: the same list as an entry's, newest item first, the data behind each node.
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
  const std::string workload = "item_get_" + std::to_string(count);
  std::vector<uint32_t> values;
  for (uint32_t key = 0; key < count; ++key) values.push_back(key * 7919);
  const auto keys = Cycle<uint32_t>::draws(values);

  add_workload(workload + "/library", [values, keys] {
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
  add_workload(workload + "/floor", [values, keys] {
    const auto list = std::make_shared<InlineList>();
    for (const uint32_t key : values) list->create(key);
    return [list, keys](size_t call) {
      benchmark::ClobberMemory();
      return list->get(keys[call]);
    };
  });
}

}  // namespace

void add_item_workloads() {
  for (const uint32_t count : {1u, 8u, 64u}) add_get(count);
}
