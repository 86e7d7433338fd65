// Record compression against LZ4 (and zlib for scale) on record sets of the
// kinds the format is made for and one it is not:
//   zero_padded   1 KiB records: a random prefix of 16 to 512 bytes, zero padding
//   blank_filled  1 KiB records: random text of 16 to 512 characters, blank fill
//   random_256    256-byte records of random bytes (incompressible)
// Every record is compressed and expanded on its own, as a record store does.
// The sets are built, and for expansion compressed, before timing starts;
// every run checks the round trip.
#include <lz4.h>
#include <zlib.h>

#include <kr/memory.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

struct RecordSet {
  size_t recordSize;
  size_t records;
  std::vector<unsigned char> bytes;
  unsigned char* Record(size_t r) { return bytes.data() + r * recordSize; }
};

enum class Kind { kZeroPadded, kBlankFilled, kRandom };

RecordSet MakeSet(Kind kind) {
  size_t const total = kind == Kind::kRandom ? kr_bench::Scaled<size_t>(256 << 10, 16 << 10)
                                             : kr_bench::Scaled<size_t>(64 << 20, 64 << 10);
  size_t const recordSize = kind == Kind::kRandom ? 256 : 1024;
  RecordSet set{recordSize, total / recordSize, std::vector<unsigned char>(total)};
  std::mt19937 random(8);
  for (size_t r = 0; r < set.records; ++r) {
    unsigned char* record = set.Record(r);
    size_t const prefix = kind == Kind::kRandom ? recordSize : 16 + random() % 497;
    for (size_t i = 0; i < recordSize; ++i) {
      if (i >= prefix) {
        record[i] = kind == Kind::kBlankFilled ? ' ' : 0;
      } else if (kind == Kind::kBlankFilled) {
        record[i] = static_cast<unsigned char>(' ' + random() % 95);
      } else {
        record[i] = static_cast<unsigned char>(random());
      }
    }
  }
  return set;
}

RecordSet& Set(Kind kind) {
  static RecordSet sets[] = {MakeSet(Kind::kZeroPadded), MakeSet(Kind::kBlankFilled),
                             MakeSet(Kind::kRandom)};
  return sets[static_cast<int>(kind)];
}

// One codec: compress a record into a slot (false when it cannot), expand a
// slot into a record's room (false on error).
struct Codec {
  bool (*compress)(unsigned char const* record, size_t size, unsigned char* slot, int* length);
  bool (*expand)(unsigned char const* slot, int length, unsigned char* record, size_t size);
};

// Room for the worst case of each codec.
size_t SlotSize(size_t recordSize) { return recordSize + recordSize / 64 + 64; }

Codec const kOurs = {
    [](unsigned char const* record, size_t size, unsigned char* slot, int* length) {
      *length = static_cast<int>(SlotSize(size));
      return DScomp(const_cast<unsigned char*>(record), static_cast<int>(size), slot, length) == 0;
    },
    [](unsigned char const* slot, int length, unsigned char* record, size_t size) {
      int produced = static_cast<int>(size);
      return DSdecomp(const_cast<unsigned char*>(slot), length, record, &produced) == 0 &&
             produced == static_cast<int>(size);
    }};

Codec const kLz4 = {
    [](unsigned char const* record, size_t size, unsigned char* slot, int* length) {
      *length = LZ4_compress_default(reinterpret_cast<char const*>(record),
                                     reinterpret_cast<char*>(slot), static_cast<int>(size),
                                     static_cast<int>(SlotSize(size)));
      return *length > 0;
    },
    [](unsigned char const* slot, int length, unsigned char* record, size_t size) {
      return LZ4_decompress_safe(reinterpret_cast<char const*>(slot),
                                 reinterpret_cast<char*>(record), length,
                                 static_cast<int>(size)) == static_cast<int>(size);
    }};

Codec const kZlib = {
    [](unsigned char const* record, size_t size, unsigned char* slot, int* length) {
      uLongf room = SlotSize(size);
      bool const ok = compress2(slot, &room, record, size, 1) == Z_OK;
      *length = static_cast<int>(room);
      return ok;
    },
    [](unsigned char const* slot, int length, unsigned char* record, size_t size) {
      uLongf room = size;
      return uncompress(record, &room, slot, static_cast<uLong>(length)) == Z_OK && room == size;
    }};

// A set compressed record by record.
struct Packed {
  std::vector<unsigned char> slots;
  std::vector<int> lengths;
};

bool Pack(Codec const& codec, RecordSet& set, Packed* packed) {
  size_t const slot = SlotSize(set.recordSize);
  packed->slots.resize(set.records * slot);
  packed->lengths.resize(set.records);
  for (size_t r = 0; r < set.records; ++r) {
    if (!codec.compress(set.Record(r), set.recordSize, &packed->slots[r * slot],
                        &packed->lengths[r])) {
      return false;
    }
  }
  return true;
}

bool Unpack(Codec const& codec, RecordSet const& set, Packed const& packed,
            std::vector<unsigned char>* out) {
  size_t const slot = SlotSize(set.recordSize);
  out->resize(set.bytes.size());
  for (size_t r = 0; r < set.records; ++r) {
    if (!codec.expand(&packed.slots[r * slot], packed.lengths[r], out->data() + r * set.recordSize,
                      set.recordSize)) {
      return false;
    }
  }
  return true;
}

void Report(benchmark::State& state, RecordSet const& set, Packed const& packed) {
  double total = 0;
  for (int length : packed.lengths) total += length;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * set.bytes.size()));
  state.counters["packed%"] = 100.0 * total / static_cast<double>(set.bytes.size());
}

void Compress(benchmark::State& state, Codec const& codec, Kind kind) {
  RecordSet& set = Set(kind);
  Packed packed;
  bool ok = Pack(codec, set, &packed);  // sizes the slots before timing
  for (auto _ : state) ok = ok && Pack(codec, set, &packed);
  std::vector<unsigned char> back;
  if (!ok || !Unpack(codec, set, packed, &back) || back != set.bytes) {
    state.SkipWithError("compression failed or did not round-trip");
  }
  Report(state, set, packed);
}

void Expand(benchmark::State& state, Codec const& codec, Kind kind) {
  RecordSet& set = Set(kind);
  Packed packed;
  std::vector<unsigned char> out;
  bool ok = Pack(codec, set, &packed) && Unpack(codec, set, packed, &out);
  for (auto _ : state) {
    ok = ok && Unpack(codec, set, packed, &out);
    benchmark::ClobberMemory();
  }
  if (!ok || out != set.bytes) state.SkipWithError("expansion failed or differs from the records");
  Report(state, set, packed);
}

struct Case {
  char const* name;
  char const* side;
  Codec const* codec;
  Kind kind;
  bool expand;
};

Case const kCases[] = {
    {"dscomp_zero_padded", "ours", &kOurs, Kind::kZeroPadded, false},
    {"dscomp_zero_padded", "lz4", &kLz4, Kind::kZeroPadded, false},
    {"dscomp_zero_padded", "zlib", &kZlib, Kind::kZeroPadded, false},
    {"dscomp_blank_filled", "ours", &kOurs, Kind::kBlankFilled, false},
    {"dscomp_blank_filled", "lz4", &kLz4, Kind::kBlankFilled, false},
    {"dscomp_random_256", "ours", &kOurs, Kind::kRandom, false},
    {"dscomp_random_256", "lz4", &kLz4, Kind::kRandom, false},
    {"dsdecomp_zero_padded", "ours", &kOurs, Kind::kZeroPadded, true},
    {"dsdecomp_zero_padded", "lz4", &kLz4, Kind::kZeroPadded, true},
    {"dsdecomp_random_256", "ours", &kOurs, Kind::kRandom, true},
    {"dsdecomp_random_256", "lz4", &kLz4, Kind::kRandom, true},
};

// Memory bandwidth for scale: copying a record set once.
void Copy(benchmark::State& state) {
  RecordSet& set = Set(Kind::kZeroPadded);
  std::vector<unsigned char> out(set.bytes.size());
  for (auto _ : state) {
    std::memcpy(out.data(), set.bytes.data(), out.size());
    benchmark::ClobberMemory();
  }
  if (out != set.bytes) state.SkipWithError("copy differs");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * set.bytes.size()));
}

int const registered = [] {
  for (Case const& c : kCases) {
    kr_bench::Register(c.name, c.side, [c](benchmark::State& state) {
      c.expand ? Expand(state, *c.codec, c.kind) : Compress(state, *c.codec, c.kind);
    })->Unit(benchmark::kMillisecond);
  }
  // The memory traffic floor of both 64 MiB compressions: reading the set and writing it once.
  for (char const* name : {"dscomp_zero_padded", "dscomp_blank_filled"}) {
    kr_bench::Register(name, "memcpy", Copy)->Unit(benchmark::kMillisecond);
  }
  return 0;
}();

}  // namespace
