// The arrays (KrCList, KrLList, SortList) under random operations against a vector. Search follows
// a transcription of its defined algorithm, on keys repeating under different payloads; a sort
// orders by key (the unit tests pin the order of equal ones). One run in eight compares
// inconsistently: searches and sorts stay inside the array, a sort leaves a permutation.
#include <kr/arrays.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "fuzz_input.h"

namespace {

using kr_fuzz::FuzzInput;
using Element = std::vector<unsigned char>;

// Keys are an element's first byte (two for wider elements); the rest is
// payload the compare function does not see.
unsigned short gWidth = 1;
FuzzInput* gChaos = nullptr;  // set for runs with an inconsistent compare

int Key(void const* element) {
  unsigned char const* bytes = static_cast<unsigned char const*>(element);
  return gWidth == 1 ? bytes[0] : bytes[0] << 8 | bytes[1];
}

// The difference of the keys, not just its sign: SearchAt passes it on.
int Compare(KrVArray const*, void* a, void* b) {
  if (gChaos) return static_cast<int>(gChaos->Pick(3)) - 1;
  return Key(a) - Key(b);
}

int KeyDifference(Element const& a, Element const& b) { return Key(a.data()) - Key(b.data()); }
bool KeyBefore(Element const& a, Element const& b) { return KeyDifference(a, b) < 0; }

// The defined binary search (it stops at the first equal element it meets).
int ModelSearch(std::vector<Element> const& model, Element const& key, unsigned long* position) {
  long lo = 0, hi = static_cast<long>(model.size()) - 1, mid = 0;
  int c = 0;
  while (lo <= hi) {
    mid = (lo + hi) >> 1;
    c = KeyDifference(key, model[static_cast<size_t>(mid)]);
    if (c == 0) break;
    if (c > 0) lo = mid + 1;
    if (c < 0) hi = mid - 1;
  }
  *position = static_cast<unsigned long>(c > 0 ? mid + 1 : mid);
  return c == 0 && !model.empty() ? 0 : -502;
}

// The elements, each where Element puts it; none past the count.
std::vector<Element> Elements(KrVArray const& array) {
  std::vector<Element> elements;
  for (unsigned long i = 0; i < array.count; ++i) {
    unsigned char const* element = static_cast<unsigned char const*>(array.Element(i));
    elements.emplace_back(element, element + gWidth);
  }
  KR_FUZZ_CHECK(array.Element(array.count) == nullptr && array.GetCurMaxCount() >= array.count);
  return elements;
}

class ListRun {
 public:
  ListRun(FuzzInput& in, unsigned kind) : in_(in) {
    unsigned const capacity = in.Pick(4);
    if (kind == 0) array_.reset(new KrCList(gWidth, static_cast<int>(capacity), nullptr));
    if (kind == 1) array_.reset(new KrLList(gWidth, capacity, nullptr));
    if (kind == 2) array_.reset(new SortList(gWidth, Compare, capacity));  // with its compare
    if (kind < 2) array_->compare = Compare;
  }

  void Step() {
    unsigned long const size = model_.size(), at = in_.Pick(static_cast<unsigned>(size) + 1);
    Element value(gWidth), out(gWidth, 0);
    for (unsigned char& byte : value) byte = static_cast<unsigned char>(in_.Pick(4));
    unsigned const operation = in_.Pick(11);
    if (operation == 2) {
      KR_FUZZ_CHECK(array_->Delete(at, in_.Coin()) == (at < size ? 0 : -502));
      if (at < size) model_.erase(model_.begin() + static_cast<long>(at));
    } else if (operation == 3) {
      KR_FUZZ_CHECK(array_->Update(at, value.data()) == (at < size ? 0 : -502));
      KR_FUZZ_CHECK(array_->Get(at, out.data()) == (at < size ? 0 : -502));
      if (at < size) model_[at] = value;
      KR_FUZZ_CHECK(at >= size || out == value);
    } else if (operation >= 4 && operation <= 6) {
      Search(value, out, operation == 6);
    } else if (operation == 7) {
      Sort();
    } else if (operation == 8) {  // the compare function's own value; the element on equality
      int const result = array_->SearchAt(at, value.data(), out.data());
      KR_FUZZ_CHECK(at < size || result == -502);
      KR_FUZZ_CHECK(at == size || gChaos || result == KeyDifference(value, model_[at]));
      KR_FUZZ_CHECK(result != 0 || out == model_[at]);
    } else if (operation == 9) {
      Copies();
    } else {
      KR_FUZZ_CHECK(array_->Insert(at, value.data()) == 0);
      model_.insert(model_.begin() + static_cast<long>(at), value);
    }
    KR_FUZZ_CHECK(Elements(*array_) == model_);
  }

 private:
  // Search, then perhaps SortedInsert, which inserts after an equal element
  // when duplicates are allowed and else refuses with -508.
  void Search(Element const& key, Element& out, bool insert) {
    unsigned long position = 99, expected = 0;
    int const result = array_->Search(key.data(), &position, out.data());
    KR_FUZZ_CHECK(!gChaos || position <= model_.size());
    if (gChaos) return;
    int const found = ModelSearch(model_, key, &expected);
    KR_FUZZ_CHECK(result == found && position == expected);
    KR_FUZZ_CHECK(result != 0 || out == model_[position]);
    if (!insert) return;
    bool const duplicates = in_.Coin(), refused = found == 0 && !duplicates;
    int const inserted = array_->SortedInsert(key.data(), &position, duplicates, 1);
    KR_FUZZ_CHECK(inserted == (refused ? -508 : 0));
    KR_FUZZ_CHECK(refused || position == expected + (found == 0));
    if (!refused) model_.insert(model_.begin() + static_cast<long>(position), key);
  }

  // Ordered by key unless the compare function is inconsistent, and in any
  // case the same elements; the model takes the array's order.
  void Sort() {
    KR_FUZZ_CHECK(array_->Sort(0) == 0);
    std::vector<Element> const stored = Elements(*array_);
    KR_FUZZ_CHECK(gChaos || std::is_sorted(stored.begin(), stored.end(), KeyBefore));
    KR_FUZZ_CHECK(std::is_permutation(stored.begin(), stored.end(), model_.begin(), model_.end()));
    model_ = stored;
  }

  // A copy (or a move, for a memory-file list), copied back for later steps.
  void Copies() {
    std::unique_ptr<KrVArray> copy;
    if (array_->GetType() == 1) copy.reset(new KrCList(static_cast<KrCList const&>(*array_)));
    if (array_->GetType() != 1) copy.reset(static_cast<KrLList&>(*array_).CreateCopyAndClear());
    KR_FUZZ_CHECK(array_->Copy(copy.get()) == 0);
  }

  FuzzInput& in_;
  std::unique_ptr<KrVArray> array_;
  std::vector<Element> model_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  FuzzInput in(data, size);
  unsigned short const widths[] = {1, 3, 8, 12};
  gWidth = widths[in.Pick(4)];
  unsigned const kind = in.Pick(3);
  gChaos = in.Pick(8) == 0 ? &in : nullptr;
  ListRun run(in, kind);
  for (int steps = 0; steps < 300 && !in.Done(); ++steps) run.Step();
  return 0;
}
