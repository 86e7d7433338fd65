#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <iterator>
#include <list>
#include <random>
#include <string>
#include <vector>

namespace {

std::string gDestroyed;  // ids of destroyed items, in order

struct Item : KrLinkedListItem {
  explicit Item(int itemId) : id(itemId) {}
  ~Item() override { gDestroyed += std::to_string(id) + " "; }
  int id;
};

std::string Id(KrLinkedListItem const* item) {
  return item ? std::to_string(static_cast<Item const*>(item)->id) + " " : "";
}

// The items from the head, after checking every back link and the tail.
std::vector<KrLinkedListItem*> Walk(KrLinkedList const& list) {
  std::vector<KrLinkedListItem*> items;
  for (KrLinkedListItem* at = list.head; at; at = at->next) {
    EXPECT_EQ(at->previous, items.empty() ? nullptr : items.back());
    items.push_back(at);
  }
  EXPECT_EQ(list.tail, items.empty() ? nullptr : items.back());
  return items;
}

TEST(LinkedList, AgreesWithAStdListModel) {
  std::mt19937 random(5);
  KrLinkedList list;
  std::list<KrLinkedListItem*> model;
  Item foreign(-1);  // in no list
  for (int step = 0; step < 5000; ++step) {
    KrLinkedListItem* chosen = &foreign;
    if (!model.empty() && random() % 8) chosen = *std::next(model.begin(), random() % model.size());
    bool const member = chosen != &foreign;
    int const way = static_cast<int>(random() % 3);  // first, last, or the chosen item
    KrLinkedListItem* const target = way == 0 ? list.head : way == 1 ? list.tail : chosen;
    bool const present = target && (way < 2 || member);
    std::string const destroyed = gDestroyed + (present ? Id(target) : "");
    switch (random() % 5) {
      case 0: list.InsertFirst(new Item(step)); model.push_front(list.head); break;
      case 1: list.Append(new Item(step)); model.push_back(list.tail); break;
      case 2: {  // removal unlinks the item and leaves it to the caller
        int const result = way == 0   ? (list.RemoveFirst(), 0)
                           : way == 1 ? (list.RemoveLast(), 0)
                                      : list.RemoveItem(chosen);
        ASSERT_EQ(result, present || way < 2 ? 0 : -502);
        if (!present) break;
        ASSERT_TRUE(!target->previous && !target->next);
        model.remove(target);
        delete target;
        break;
      }
      case 3: {  // deletion; an item of no list is left alone
        int const result = way == 0   ? (list.DeleteFirst(), 0)
                           : way == 1 ? (list.DeleteLast(), 0)
                                      : list.DeleteItem(chosen);
        ASSERT_EQ(result, present || way < 2 ? 0 : -502);
        ASSERT_EQ(gDestroyed, destroyed);
        if (present) model.remove(target);
        break;
      }
      case 4:  // an inner item unlinks itself when destroyed
        if (!member || chosen == list.head || chosen == list.tail) break;
        model.remove(chosen);
        delete chosen;
        break;
    }
    ASSERT_EQ(Walk(list), std::vector<KrLinkedListItem*>(model.begin(), model.end())) << step;
  }
}

TEST(LinkedList, ClearAndTheDestructorDeleteFromHeadToTail) {
  gDestroyed.clear();
  {
    KrLinkedList list;
    for (int id = 1; id <= 3; ++id) list.Append(new Item(id));
    Item copy(*static_cast<Item*>(list.head->next));  // a copy is not linked
    EXPECT_TRUE(copy.previous == nullptr && copy.next == nullptr);
    list.Clear();
    EXPECT_TRUE(list.head == nullptr && list.tail == nullptr && gDestroyed == "1 2 3 ");
    list.InsertFirst(new Item(5));
    list.InsertFirst(new Item(4));
  }
  EXPECT_EQ(gDestroyed, "1 2 3 2 4 5 ");  // the copy, then the list's items
}

}  // namespace
