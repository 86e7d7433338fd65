// kr95Nbs platform services: date, time and time zone, timers, and typed
// values moved between memory and stored byte order.
#ifndef KR_PLATFORM_H_
#define KR_PLATFORM_H_

#include <kr/export.h>

// ---------------------------------------------------------------------------
// Date, time and time zone
//
// The functions below read the system clock and fill small records, in local
// time or in UTC. Two pieces of process-wide state shape their answers; both
// are plain globals, unsynchronised by design:
//   - an hour offset (signed, 8 bits, initially 0) that KrOffsetHours sets and
//     that is added to every reported hour;
//   - the local zone in minutes east of UTC, computed by the first call of
//     zvmgettimezone and kept for the life of the process (it is not refreshed
//     across a daylight-saving change or a change of TZ).

// A calendar date.
struct bdate {
  unsigned short year;  // full year, e.g. 2024
  unsigned char month;  // 1 to 12
  unsigned char day;    // 1 to 31
};

// A time of day.
struct btime {
  // Hour of the day plus the hour offset, added in 8 bits without reduction
  // to 0..23: an offset of 2 at 23:30 gives 25, an offset of -1 at 00:10
  // gives 255.
  unsigned char hour;
  unsigned char minute;  // 0 to 59
  unsigned char second;  // 0 to 60
  // The zone, in a unit that depends on the function that filled the record:
  // zvmgettime stores seconds west of UTC (standard time), zvmgetsystemtime
  // minutes east of UTC (daylight saving included).
  long zone;
};

// Stores the low 8 bits of `hours` as the hour offset (300 stores 44) and
// returns the previous offset, sign-extended (an offset stored from 255 is
// returned as -1).
KR_API long KrOffsetHours(long hours);

// Today's local date.
KR_API void zvmgetdate(bdate* d);

// The local time of day with the hour offset added; `zone` receives the C
// library's `timezone` value as it stands (seconds west of UTC, standard time,
// no daylight-saving adjustment).
KR_API void zvmgettime(btime* t);

// The UTC time of day, with the hour offset added, and the UTC date of the
// same instant; `zone` receives zvmgettimezone().
KR_API void zvmgetsystemtime(btime* t, bdate* d);

// The local offset from UTC in minutes east (60 for Central European Time in
// winter, 120 in summer, -300 for Eastern Standard Time, 330 for India).
// Computed once, at the first call, from `timezone` less one hour while
// daylight saving is in effect; every later call returns that value.
KR_API long zvmgettimezone();

// ---------------------------------------------------------------------------
// Timers

// A stopwatch: Start and Stop accumulate intervals into a total, read in
// seconds or milliseconds; ElapsedTime is the time since the last Start,
// independent of the total. This base class measures nothing: Start, Stop and
// Reset do nothing and every query answers 0. MakeTimer hands out the real
// implementation so that callers depend on this interface only.
//
// The order of the virtual functions below is part of the binary interface
// and must not change.
class KR_API KrTimer {
 public:
  KrTimer() {}
  virtual ~KrTimer();

  virtual unsigned long TicksPerSecond();
  virtual void Start();
  virtual void Stop();
  virtual void Reset();
  // 1 when at least `seconds` whole seconds have passed since the start, else
  // 0; when over and `restart` is nonzero, the current instant becomes the
  // start.
  virtual int IsTimeOver(unsigned long seconds, int restart);
  // The accumulated total.
  virtual double Seconds() const;
  virtual unsigned long MilliSeconds() const;
  // Milliseconds from the last start to now.
  virtual unsigned long ElapsedTime() const;

  // The projected total duration of a task that is `percentDone` percent
  // done, in milliseconds, elapsed time included: ElapsedTime() * 100 /
  // percentDone in unsigned 32-bit arithmetic. Despite the name it is not the
  // remainder; subtract ElapsedTime() for that. 0 when `percentDone` is not
  // between 1 and 99.
  virtual unsigned long EstimatedTimeLeft(unsigned long percentDone) const;

  // Splits `milliSeconds` (ElapsedTime() when it is 0xFFFFFFFF) into hours,
  // minutes and seconds and returns the leftover milliseconds (0 to 999).
  // Hours are not reduced to days.
  virtual unsigned long HourMinSec(unsigned long& hours, unsigned long& minutes,
                                   unsigned long& seconds, unsigned long milliSeconds) const;

  // A new GETTIMEOFDAYTimer; the caller owns it and deletes it.
  static KrTimer* MakeTimer();
};

// The timer on the microsecond wall clock (gettimeofday).
//
// Stop adds now - start to the total, seconds and microseconds separately: a
// negative microsecond difference is not borrowed from the seconds, so
// totalMicroseconds may be negative (Seconds and MilliSeconds add the two
// parts arithmetically); a microsecond total above 999999 carries one second.
// Stop leaves the start alone: a second Stop without a new Start counts the
// same interval again. A clock that went backwards makes IsTimeOver answer 1.
class KR_API GETTIMEOFDAYTimer : public KrTimer {
 public:
  GETTIMEOFDAYTimer();
  ~GETTIMEOFDAYTimer() override;

  unsigned long TicksPerSecond() override;  // 1000000
  void Start() override;
  void Stop() override;
  void Reset() override;  // all four fields zero
  int IsTimeOver(unsigned long seconds, int restart) override;
  double Seconds() const override;
  unsigned long MilliSeconds() const override;
  unsigned long ElapsedTime() const override;

  long startSeconds;       // instant of the last Start or restart: seconds
  long startMicroseconds;  // and microseconds
  long totalSeconds;       // accumulated total: seconds
  long totalMicroseconds;  // and microseconds, normally below 1000000, may be negative

 protected:
  // Reads the wall clock. Every operation reads the clock only through this
  // function, so that a derived class can supply instants of its own (the
  // library's tests do; nothing else needs to).
  virtual void ReadClock(long& seconds, long& microseconds) const;
};

// ---------------------------------------------------------------------------
// Typed value load and store
//
// Stored records keep numbers in a declared byte order. The array functions
// copy `count` values of one type from `src` to `dst` and return the number of
// bytes written, count * width. The byte-order code `order` selects the stored
// form: when its relevant bits equal 2, every element is written with its
// bytes reversed (big-endian, most significant byte first, on these
// little-endian processors); any other code copies the bytes unchanged. The
// integer functions look at the low four bits (mask 0x0F), the floating-point
// functions at the low seven (mask 0x7F): a code of 0x12 reverses integers but
// copies floating-point values. Reversal is its own inverse, so one function
// serves to store and to load.
//
// Stored widths are the same on every target: short 2, int, long and unsigned
// 4, float 4 (IEEE single), double 8 (IEEE double). In particular the element
// type of the "Long" functions is a 32-bit integer in memory: LongStore
// copies 4 bytes per element even where the compiler's `long` has 8, so
// callers pass arrays of 32-bit integers (int32_t), not of `long`.
//
// Requires: `src` holds count * width readable bytes and `dst` as many
// writable ones; the two areas do not overlap, except that the integer
// functions (ShortStore to UnsignedLoad) also accept dst == src, converting in
// place.

// Plain copy of `count` bytes; the order code is ignored.
KR_API int CharStore(void* dst, void const* src, unsigned char order, unsigned long count);
// 2-byte integers.
KR_API int ShortStore(void* dst, void const* src, unsigned char order, unsigned long count);
// 4-byte integers (see above: 32 bits in memory on every target).
KR_API int LongStore(void* dst, void const* src, unsigned char order, unsigned long count);
KR_API int IntStore(void* dst, void const* src, unsigned char order, unsigned long count);
KR_API int IntLoad(void* dst, void const* src, unsigned char order, unsigned long count);
KR_API int UnsignedStore(void* dst, void const* src, unsigned char order, unsigned long count);
KR_API int UnsignedLoad(void* dst, void const* src, unsigned char order, unsigned long count);
// IEEE single and double values.
KR_API int FloatStore(void* dst, void const* src, unsigned char order, unsigned long count);
KR_API int DoubleStore(void* dst, void const* src, unsigned char order, unsigned long count);

// Stored sizes: count * width. The value and the two code bytes are ignored;
// the uniform signatures let a type table hold these functions side by side.
// The "Null" variants give the size of a null value of `count` elements,
// which is the same product.
KR_API unsigned long CharSizeGet(void const* value, unsigned char, unsigned char,
                                 unsigned long count);
KR_API unsigned long ShortSizeGet(void const* value, unsigned char, unsigned char,
                                  unsigned long count);
KR_API unsigned long IntSizeGet(void const* value, unsigned char, unsigned char,
                                unsigned long count);
KR_API unsigned long LongSizeGet(void const* value, unsigned char, unsigned char,
                                 unsigned long count);
KR_API unsigned long FloatSizeGet(void const* value, unsigned char, unsigned char,
                                  unsigned long count);
KR_API unsigned long DoubleSizeGet(void const* value, unsigned char, unsigned char,
                                   unsigned long count);
KR_API unsigned long CharNullSizeGet(unsigned long count);
KR_API unsigned long ShortNullSizeGet(unsigned long count);
KR_API unsigned long IntNullSizeGet(unsigned long count);
KR_API unsigned long LongNullSizeGet(unsigned long count);
KR_API unsigned long FloatNullSizeGet(unsigned long count);
KR_API unsigned long DoubleNullSizeGet(unsigned long count);

// Writes the `n` bytes at `src` to `dst` in reverse order: dst[k] =
// src[n - 1 - k]. Requires: the areas do not overlap.
KR_API void memreverse(void* src, void* dst, unsigned short n);

// Single floating-point values in big-endian form. st* store `value` at `dst`
// and return the bytes written (4 or 8); ld* read the value at `src`. On i386
// a value returned by ldfloat or lddbl passes through the x87 unit, which
// turns a signalling NaN into a quiet one; the array functions above move
// every bit pattern unchanged on every target.
KR_API int stfloat(float value, char* dst);
KR_API float ldfloat(char* src);
KR_API int stdbl(double value, char* dst);
KR_API double lddbl(char* src);

// Fixed-width text fields: `n` bytes, padded on the right with blanks, with no
// terminating NUL.
//
// stchar copies at most `n` characters of the NUL-terminated `src` into the
// field `dst` and fills the rest of the field with blanks.
KR_API void stchar(char* src, char* dst, int n);
// ldchar copies the characters of the field `src` to `dst` up to the first
// blank (not the trailing blanks: "AB CD" gives "AB") or until `n` characters
// are copied, and writes a terminating NUL only when it stopped before `n`
// characters. A field of `n` non-blank characters is therefore left without a
// terminator: give `dst` n + 1 bytes set to zero beforehand. A length of 0 (or
// less) writes nothing.
KR_API void ldchar(char* src, int n, char* dst);

#endif  // KR_PLATFORM_H_
