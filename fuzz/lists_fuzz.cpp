// The arrays (KrCList, KrLList, SortList) under sequences of inserts,
// deletions, updates, searches, sorted inserts, sorts, imports and copies,
// against a vector of elements. Search and the sort are checked against
// plain transcriptions of their defined algorithms (binary search that stops
// at the first equal element the halving meets; first-element-pivot
// quicksort), byte for byte, with elements whose keys repeat under
// different payloads, so that equal keys never hide a wrong order. One run
// in eight compares inconsistently (at random): searches and sorts must
// still end inside the array, and a sort must leave a permutation.
#include <kr/arrays.h>
#include <kr/memory.h>

#include <algorithm>
#include <cstring>
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

int Compare(KrVArray const*, void* a, void* b) {
  if (gChaos) return static_cast<int>(gChaos->Pick(3)) - 1;
  return (Key(a) > Key(b)) - (Key(a) < Key(b));
}

int Compare(Element const& a, Element const& b) {
  return Compare(nullptr, const_cast<unsigned char*>(a.data()), const_cast<unsigned char*>(b.data()));
}

// The defined binary search.
int ModelSearch(std::vector<Element> const& model, Element const& key, unsigned long* position) {
  *position = 0;
  long hi = static_cast<long>(model.size()) - 1, lo = 0, mid = 0;
  if (hi < 0) return -502;
  int c = 0;
  for (;;) {
    mid = (lo + hi) >> 1;
    c = Compare(key, model[static_cast<size_t>(mid)]);
    if (c >= 0) lo = mid + 1; else hi = mid - 1;
    if (c == 0 || lo > hi) break;
  }
  if (c > 0) ++mid;
  *position = static_cast<unsigned long>(mid);
  return c == 0 ? 0 : -502;
}

// The defined quicksort: first-element pivot, Hoare-style partition.
long ModelPartition(std::vector<Element>& v, long first, long last) {
  long i = first, j = last;
  if (first < last) {
    for (;;) {
      while (Compare(v[i], v[first]) <= 0 && i < last) ++i;
      while (Compare(v[j], v[first]) > 0 && j > first) --j;
      if (i >= j) break;
      std::swap(v[i], v[j]);
    }
  }
  std::swap(v[first], v[j]);
  return j;
}

void ModelSort(std::vector<Element>& v, long first, long last) {
  while (first < last) {
    long const p = ModelPartition(v, first, last);
    ModelSort(v, first, p - 1);
    first = p + 1;
  }
}

void CheckSame(KrVArray const& array, std::vector<Element> const& model) {
  KR_FUZZ_CHECK(array.count == model.size());
  KR_FUZZ_CHECK(array.GetCurMaxCount() >= array.count);
  for (size_t i = 0; i < model.size(); ++i) {
    void const* element = array.Element(i);
    KR_FUZZ_CHECK(element && std::memcmp(element, model[i].data(), gWidth) == 0);
  }
  KR_FUZZ_CHECK(array.Element(array.count) == nullptr);
}

class ListRun {
 public:
  ListRun(FuzzInput& in, unsigned kind) : in_(in), kind_(kind) {
    if (kind == 0) {
      array_.reset(new KrCList(gWidth, static_cast<int>(in.Pick(4)), nullptr));
    } else if (kind == 1) {
      array_.reset(new KrLList(gWidth, in.Pick(4), nullptr));
    } else {
      array_.reset(new SortList(gWidth, Compare, in.Pick(4)));
    }
    array_->compare = Compare;
  }

  void Step() {
    long const size = static_cast<long>(model_.size());
    unsigned long const at = in_.Pick(static_cast<unsigned>(size) + 1);
    Element value = NewElement();
    switch (in_.Pick(11)) {
      case 0:
      case 1:
        KR_FUZZ_CHECK(array_->Insert(at, value.data()) == 0);
        model_.insert(model_.begin() + static_cast<long>(at), value);
        break;
      case 2:
        KR_FUZZ_CHECK(array_->Delete(at, in_.Coin()) == (at < model_.size() ? 0 : -502));
        if (at < model_.size()) model_.erase(model_.begin() + static_cast<long>(at));
        break;
      case 3: {
        Element out(gWidth);
        KR_FUZZ_CHECK(array_->Update(at, value.data()) == (at < model_.size() ? 0 : -502));
        KR_FUZZ_CHECK(array_->Get(at, out.data()) == (at < model_.size() ? 0 : -502));
        if (at < model_.size()) model_[at] = value;
        KR_FUZZ_CHECK(at >= model_.size() || out == value);
        break;
      }
      case 4:
      case 5:
        Search(value);
        break;
      case 6:
        SortedInsert(value);
        break;
      case 7:
        Sort();
        break;
      case 8:
        if (at < model_.size()) {
          Element out(gWidth, 0);
          int const c = Compare(value, model_[at]);
          int const result = array_->SearchAt(at, value.data(), out.data());
          KR_FUZZ_CHECK(gChaos || result == c);
          KR_FUZZ_CHECK(result != 0 || out == model_[at]);
        }
        break;
      case 9:
        Import();
        break;
      default:
        Copies();
    }
    CheckSame(*array_, model_);
  }

 private:
  Element NewElement() {
    Element value(gWidth);
    for (unsigned char& byte : value) byte = static_cast<unsigned char>(in_.Pick(4));
    return value;
  }

  void Search(Element const& key) {
    unsigned long position = 99, expected = 0;
    Element out(gWidth, 0);
    int const result = array_->Search(key.data(), &position, out.data());
    if (gChaos) {
      KR_FUZZ_CHECK(position <= model_.size());
      return;
    }
    KR_FUZZ_CHECK(result == ModelSearch(model_, key, &expected));
    KR_FUZZ_CHECK(position == expected);
    KR_FUZZ_CHECK(result != 0 || out == model_[position]);
  }

  void SortedInsert(Element const& key) {
    if (gChaos) return;
    bool const duplicates = in_.Coin();
    unsigned long position = 0, expected = 0;
    bool const found = ModelSearch(model_, key, &expected) == 0;
    int const result = array_->SortedInsert(key.data(), &position, duplicates, 1);
    if (found && !duplicates) {
      KR_FUZZ_CHECK(result == -508);
      return;
    }
    if (found) ++expected;
    KR_FUZZ_CHECK(result == 0 && position == expected);
    model_.insert(model_.begin() + static_cast<long>(expected), key);
  }

  // With an inconsistent compare the order is anyone's, but every element
  // must still be there: the model takes the array's order then.
  void Sort() {
    KR_FUZZ_CHECK(array_->Sort(0) == 0);
    if (!gChaos) {
      if (model_.size() > 1) ModelSort(model_, 0, static_cast<long>(model_.size()) - 1);
      return;
    }
    std::vector<Element> stored;
    for (unsigned long i = 0; i < array_->count; ++i) {
      unsigned char const* e = static_cast<unsigned char const*>(array_->Element(i));
      stored.emplace_back(e, e + gWidth);
    }
    std::vector<Element> a = stored, b = model_;
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    KR_FUZZ_CHECK(a == b);
    model_ = stored;
  }

  // KrLList: appends elements read from a memory file at its position.
  void Import() {
    if (kind_ == 0) return;
    unsigned const n = 1 + in_.Pick(4);
    MemFile source(0, 0);
    std::vector<unsigned char> bytes;
    for (unsigned i = 0; i < n + 1; ++i) {
      Element e = NewElement();
      bytes.insert(bytes.end(), e.begin(), e.end());
    }
    source.Put(bytes.data(), 0, static_cast<long>(bytes.size()));
    source.Seek(gWidth, 0, nullptr, 0);  // imported from the second element on
    KrLList& list = static_cast<KrLList&>(*array_);
    KR_FUZZ_CHECK(list.Import(n, &source) == 0);
    for (unsigned i = 1; i <= n; ++i) {
      model_.emplace_back(bytes.begin() + i * gWidth, bytes.begin() + (i + 1) * gWidth);
    }
  }

  // A copy (constructor or Copy) holds the same elements; CreateCopyAndClear
  // moves them all to a new list.
  void Copies() {
    if (kind_ == 0) {
      KrCList copy(static_cast<KrCList const&>(*array_));
      CheckSame(copy, model_);
      KrCList other(gWidth, 0, nullptr);
      KR_FUZZ_CHECK(other.Copy(array_.get()) == 0);
      CheckSame(other, model_);
      return;
    }
    KrLList& list = static_cast<KrLList&>(*array_);
    if (in_.Coin()) {
      KrLList copy(list);
      CheckSame(copy, model_);
      KrLList other(gWidth, 0, nullptr);
      KR_FUZZ_CHECK(other.Copy(&list) == 0);
      CheckSame(other, model_);
      return;
    }
    std::unique_ptr<KrLList> moved(list.CreateCopyAndClear());
    KR_FUZZ_CHECK(list.count == 0 && list.capacity == 0 && list.width == gWidth);
    CheckSame(*moved, model_);
    KR_FUZZ_CHECK(list.Copy(moved.get()) == 0);  // and back again
  }

  FuzzInput& in_;
  unsigned const kind_;
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
  gChaos = nullptr;
  return 0;
}
