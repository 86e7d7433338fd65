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

// The list walked from the head, after checking every back link and the tail.
std::vector<KrLinkedListItem*> Walk(KrLinkedList const& list) {
  std::vector<KrLinkedListItem*> items;
  KrLinkedListItem* previous = nullptr;
  for (KrLinkedListItem* at = list.head; at; at = at->next) {
    EXPECT_EQ(at->previous, previous);
    items.push_back(at);
    previous = at;
  }
  EXPECT_EQ(list.tail, previous);
  return items;
}

bool Unlinked(KrLinkedListItem const* item) { return !item->previous && !item->next; }

TEST(LinkedList, AgreesWithAStdListModel) {
  std::mt19937 random(5);
  KrLinkedList list;
  std::list<KrLinkedListItem*> model;
  Item foreign(-1);
  int nextId = 0;
  for (int step = 0; step < 5000; ++step) {
    std::string const destroyedBefore = gDestroyed;
    auto pick = model.begin();
    std::advance(pick, model.empty() ? 0 : static_cast<long>(random() % model.size()));
    KrLinkedListItem* const chosen = model.empty() || random() % 8 == 0 ? &foreign : *pick;
    bool const member = chosen != &foreign;
    std::string const chosenId = std::to_string(static_cast<Item*>(chosen)->id) + " ";
    switch (random() % 8) {
      case 0: list.InsertFirst(new Item(nextId)); model.push_front(list.head); ++nextId; break;
      case 1: list.Append(new Item(nextId)); model.push_back(list.tail); ++nextId; break;
      case 2:
      case 3: {  // removal keeps the item: the caller's to delete
        KrLinkedListItem* const first = list.head;
        KrLinkedListItem* const last = list.tail;
        int const way = static_cast<int>(random() % 3);
        KrLinkedListItem* removed = way == 0 ? first : way == 1 ? last : chosen;
        if (way == 0) list.RemoveFirst();
        if (way == 1) list.RemoveLast();
        if (way == 2) {
          ASSERT_EQ(list.RemoveItem(chosen), member ? 0 : -502);
        }
        if (!removed || removed == &foreign) break;
        ASSERT_TRUE(Unlinked(removed));
        model.remove(removed);
        delete removed;
        break;
      }
      case 4: list.DeleteFirst(); if (!model.empty()) model.pop_front(); break;
      case 5: list.DeleteLast(); if (!model.empty()) model.pop_back(); break;
      case 6:
        ASSERT_EQ(list.DeleteItem(chosen), member ? 0 : -502);
        if (member) model.remove(chosen);
        ASSERT_EQ(gDestroyed, destroyedBefore + (member ? chosenId : ""));  // a foreign item is not deleted
        break;
      case 7:  // an inner item unlinks itself when destroyed
        if (chosen == list.head || chosen == list.tail || !member) break;
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
    EXPECT_TRUE(Unlinked(&copy));
    list.Clear();
    EXPECT_TRUE(list.head == nullptr && list.tail == nullptr);
    EXPECT_EQ(gDestroyed, "1 2 3 ");
    list.InsertFirst(new Item(5));
    list.InsertFirst(new Item(4));
  }
  EXPECT_EQ(gDestroyed, "1 2 3 2 4 5 ");  // the copy, then the list's items
}

}  // namespace
