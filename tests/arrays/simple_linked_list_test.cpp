#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <type_traits>
#include <vector>

namespace {

static_assert(!std::is_polymorphic<KrSimpleLinkedListItem>::value &&
                  std::is_trivially_destructible<KrSimpleLinkedList>::value,
              "plain links, and a list that leaves its items alone");

TEST(SimpleLinkedList, AgreesWithAVectorModel) {
  std::mt19937 random(9);
  KrSimpleLinkedListItem items[12];
  std::vector<KrSimpleLinkedListItem*> model, outside;
  for (KrSimpleLinkedListItem& item : items) outside.push_back(&item);
  KrSimpleLinkedList list;
  for (int step = 0; step < 5000; ++step) {
    unsigned const operation = random() % 5;
    if (operation < 2 && !outside.empty()) {  // InsertFirst or Append an unlinked item
      KrSimpleLinkedListItem* const item = outside.back();
      outside.pop_back();
      if (operation == 0) list.InsertFirst(item);
      if (operation == 1) list.Append(item);
      model.insert(operation == 0 ? model.begin() : model.end(), item);
    } else if (operation >= 2) {
      KrSimpleLinkedListItem* expected = nullptr;
      KrSimpleLinkedListItem* removed = nullptr;
      if (operation == 2) {
        expected = model.empty() ? nullptr : model.front();
        removed = list.RemoveFirst();
      } else if (operation == 3) {
        expected = model.empty() ? nullptr : model.back();
        removed = list.RemoveLast();
      } else {  // any of the items: those not in the list give null
        KrSimpleLinkedListItem* const item = &items[random() % 12];
        bool const member = std::find(model.begin(), model.end(), item) != model.end();
        expected = member ? item : nullptr;
        removed = list.RemoveItem(item);
      }
      ASSERT_EQ(removed, expected) << step;
      if (removed) {
        ASSERT_EQ(removed->next, nullptr);
        model.erase(std::find(model.begin(), model.end(), removed));
        outside.push_back(removed);
      }
    }
    std::vector<KrSimpleLinkedListItem*> walked;
    for (KrSimpleLinkedListItem* at = list.head; at; at = at->next) walked.push_back(at);
    ASSERT_EQ(walked, model) << step;
  }
}

TEST(SimpleLinkedList, DestroyingTheListLeavesTheItemsLinked) {
  KrSimpleLinkedListItem first, second;
  {
    KrSimpleLinkedList list;
    list.Append(&first);
    list.Append(&second);
  }
  EXPECT_TRUE(first.next == &second && second.next == nullptr);
}

}  // namespace
