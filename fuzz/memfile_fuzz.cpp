// Memory files under operation sequences, checked after each against a model of content, position
// and segment layout; grown bytes are zero-filled through InitializeWith, so all are defined.
#include <kr/memory.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "fuzz_input.h"

namespace {

using kr_fuzz::FuzzInput;
using Bytes = std::vector<unsigned char>;

constexpr long kMostSegments = 7;
constexpr unsigned kLargestShift = 15;

long Ceil(long size, unsigned shift) { return (size + (1L << shift) - 1) >> shift; }

struct Model {
  Bytes bytes;
  long position = 0;
  unsigned shift, initialShift;
  long segments = 0;
  explicit Model(unsigned initial) : shift(initial), initialShift(initial) {}
  long Size() const { return static_cast<long>(bytes.size()); }

  // The growth rule; grown bytes are zero. Emptying the file, or shrinking it into one segment,
  // goes back to the initial segment size; with `keep`, a block large enough stays.
  void SizeSet(long size, bool keep = false) {
    long need = Ceil(size, shift);
    if (keep && segments > 0 && (segments << shift) >= size) {
      need = segments;
    } else if (size == 0 || (size < Size() && need <= 1)) {
      shift = initialShift;
      need = Ceil(size, shift);
    }
    for (; need > kMostSegments && shift < kLargestShift; ++shift) need = (need + 1) / 2;
    segments = need;
    bytes.resize(static_cast<size_t>(size), 0);
  }
  void Write(long at, Bytes const& data) {
    if (Size() < at + static_cast<long>(data.size())) SizeSet(at + static_cast<long>(data.size()));
    std::copy(data.begin(), data.end(), bytes.begin() + at);
  }
  // The content of `from` at position 0, as a copy or an assignment makes it.
  void Assign(Model const& from) {
    position = 0;
    SizeSet(from.Size());
    bytes = from.bytes;
  }
};

void CheckSame(MemFile const& file, Model const& model) {
  KR_FUZZ_CHECK(file.logicalSize == model.Size());
  KR_FUZZ_CHECK(file.position == model.position);
  KR_FUZZ_CHECK(file.segmentShift == model.shift);
  KR_FUZZ_CHECK(file.segmentCount == model.segments);
  KR_FUZZ_CHECK((file.buffer != nullptr) == (file.segmentCount > 0));
  KR_FUZZ_CHECK(model.bytes.empty() ||
                std::memcmp(file.buffer, model.bytes.data(), model.bytes.size()) == 0);
}

// A length: mostly short, sometimes long enough to reach the largest segments.
long Length(FuzzInput& in) {
  unsigned const kind = in.Pick(8);
  return static_cast<long>(kind == 0 ? in.Pick(65536) * 4 : in.Pick(kind == 1 ? 4096 : 40));
}

void Step(FuzzInput& in, MemFile& file, Model& model, MemFile& other, Model& otherModel) {
  long const size = model.Size();
  long const at = static_cast<long>(in.Pick(static_cast<unsigned>(size) + 1));
  long n = Length(in);
  if (size + n > (1L << 20)) n %= 4096;  // keeps the files below about a megabyte
  Bytes const data(static_cast<size_t>(n), static_cast<unsigned char>(in.Byte()));
  switch (in.Pick(9)) {
    case 0:  // write at or before the end
      KR_FUZZ_CHECK(file.Put(data.data(), at, n) == n);
      model.Write(at, data);
      break;
    case 1: {  // read, cut at the end
      long const want = std::min(n, size - at);
      Bytes out(static_cast<size_t>(n) + 1);
      KR_FUZZ_CHECK(file.Get(out.data(), at, n) == (file.buffer ? want : 0));
      KR_FUZZ_CHECK(std::equal(out.begin(), out.begin() + want, model.bytes.begin() + at));
      break;
    }
    case 2: {  // move inside the file, possibly growing it
      long const from = static_cast<long>(in.Pick(static_cast<unsigned>(size) + 1));
      n = std::min(n, size - from);
      KR_FUZZ_CHECK(file.Copy(at, from, n) == n);
      model.Write(at, Bytes(model.bytes.begin() + from, model.bytes.begin() + from + n));
      break;
    }
    case 3:  // remove a range; the growth rule sees the size before the removal
      n = std::min(n, size - at);
      KR_FUZZ_CHECK(
          file.Delete(static_cast<unsigned long>(at), static_cast<unsigned long>(n)) == 0);
      std::copy(model.bytes.begin() + at + n, model.bytes.end(), model.bytes.begin() + at);
      model.SizeSet(size - n);
      break;
    case 4: {  // resize; or keep the block where it is large enough
      bool const keep = !in.Coin();
      KR_FUZZ_CHECK((keep ? file.SizeSetDontShrink(at + n, 0) : file.SizeSet(at + n, 0)) == 0);
      model.SizeSet(at + n, keep);
      file.InitializeWith(0, size);
      break;
    }
    case 5: {  // append a word at the end
      file.position = size;
      int rc = -1;
      unsigned long const value = in.Byte() * 0x01010101ul;
      KR_FUZZ_CHECK(file.Write(value, rc) == 4 && rc == 0);
      model.SizeSet(size + 4, true);
      std::fill(model.bytes.begin() + size, model.bytes.end(), static_cast<unsigned char>(value));
      model.position = size + 4;
      break;
    }
    case 6: {  // from the other file, at `at` as this file's position; length 0 takes the rest
      long const from = static_cast<long>(in.Pick(static_cast<unsigned>(otherModel.Size()) + 1));
      long const take = std::min(n, otherModel.Size() - from);
      long const expected = take == 0 ? otherModel.Size() - from : take;
      file.position = model.position = at;
      // A source without a block writes nothing, and its position is left at 0, not restored.
      bool const noBlock = other.buffer == nullptr;
      KR_FUZZ_CHECK(file.Put(&other, static_cast<unsigned long>(take),
                             static_cast<unsigned long>(from)) == (noBlock ? 0 : expected));
      auto const source = otherModel.bytes.begin() + from;
      if (!noBlock) model.Write(at, Bytes(source, source + expected));
      if (noBlock) otherModel.position = 0;
      break;
    }
    case 7:
      file.Exchange(&other);
      std::swap(model, otherModel);
      break;
    default:  // a copy takes the current segment size, an assignment keeps its own
      if (in.Coin()) {
        MemFile copy(file);
        Model copyModel(model.shift);
        copyModel.Assign(model);
        CheckSame(copy, copyModel);
      } else {
        other = file;
        otherModel.Assign(model);
      }
  }
  CheckSame(file, model);
  CheckSame(other, otherModel);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  FuzzInput in(data, size);
  long const segmentSizes[] = {0, 1, 8, 1000, 1024, 65536};
  long const segmentSize = segmentSizes[in.Pick(6)];
  MemFile file(0, segmentSize), other(0, segmentSize);
  Model model(file.segmentShift), otherModel(model);
  for (int steps = 0; steps < 200 && !in.Done(); ++steps) Step(in, file, model, other, otherModel);
  return 0;
}
