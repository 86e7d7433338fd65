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
  std::vector<KrSimpleLinkedListItem*> model, walked;
  KrSimpleLinkedList list;
  for (int step = 0; step < 5000; ++step) {
    KrSimpleLinkedListItem* const item = &items[random() % 12];
    bool const member = std::find(model.begin(), model.end(), item) != model.end();
    unsigned const operation = random() % 5;
    if (operation < 2) {  // InsertFirst or Append of an item in no list
      if (member) continue;
      operation == 0 ? list.InsertFirst(item) : list.Append(item);
      model.insert(operation == 0 ? model.begin() : model.end(), item);
    } else {  // RemoveFirst, RemoveLast or RemoveItem (null when not there)
      KrSimpleLinkedListItem* expected = member ? item : nullptr;
      if (operation < 4 && !model.empty()) expected = operation == 2 ? model.front() : model.back();
      if (operation < 4 && model.empty()) expected = nullptr;
      KrSimpleLinkedListItem* const removed = operation == 2   ? list.RemoveFirst()
                                              : operation == 3 ? list.RemoveLast()
                                                               : list.RemoveItem(item);
      ASSERT_EQ(removed, expected) << step;
      if (removed) model.erase(std::find(model.begin(), model.end(), removed));
      ASSERT_TRUE(!removed || !removed->next);
    }
    walked.clear();
    for (KrSimpleLinkedListItem* at = list.head; at; at = at->next) walked.push_back(at);
    ASSERT_EQ(walked, model) << step;
  }
  KrSimpleLinkedListItem first, second;
  {
    KrSimpleLinkedList owner;
    owner.Append(&first);
    owner.Append(&second);
  }
  EXPECT_TRUE(first.next == &second && second.next == nullptr);  // still linked
}

}  // namespace
