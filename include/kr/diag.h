// kr95Nbs diagnostics: result codes and their texts.
//
// Every operation of the product reports a signed 32-bit result code: 0 is
// success, a negative code an error, a positive code a warning, and 1 to 999
// may be a count returned in place of a status. KrError turns any code of any
// module of the product into its English text.
//
// The rest of the runtime frame lives here too: the configuration hooks,
// statistics and test hooks; assertions and the fatal-error callback; module
// self-description and the version rule; the dynamic module loader; the
// system log, message boxes, the server console and output streams.
//
// Process-wide state of this family (the installed configuration, cached
// settings, the callback, the switches, static text buffers) is plain and
// unsynchronised: install and configure during start-up, on one thread.
#ifndef KR_DIAG_H_
#define KR_DIAG_H_

#include <cstdint>
#include <cstdio>

#include <kr/export.h>

namespace kr_detail {
class IniTable;
}  // namespace kr_detail

// Size of the static buffers that KrError and KrLoginError format into when
// the caller passes no buffer of its own.
const int kKrErrorBufferSize = 256;

// Longest text of the fixed table (code 2685), without the terminating NUL.
const int kKrLongestErrorText = 189;

// Formats the text of `code`.
//
// With `textOnly` nonzero, returns the bare text (constant text, or the text a
// registered module callback returned) and never touches `buffer`.
// Otherwise formats into `buffer`, or into a static 256-byte buffer when
// `buffer` is null (shared by all callers and threads; each call overwrites
// it), and returns that buffer: "<context> : <code> -> <text>" with a context,
// just "<text>" without one. Code 0 formats as "<context> : ok", or as the
// digit "0" when there is no context.
//
// Requires: a caller's buffer holds the whole line. Formatting into a caller's
// buffer is not bounded: allow kKrLongestErrorText + strlen(context) + 20
// bytes. Only the static buffer is protected (long contexts are cut there).
KR_API char* KrError(char* buffer, char const* context, int code, int textOnly);

// The texts of the login prompt and its failures, with KrError's contract.
// Codes without a text of their own read "Login failed, Error was: <code>";
// in text-only mode that text lives in a static buffer that stays valid until
// the next such call. Unlike KrError, code 0 goes through the general format.
KR_API char* KrLoginError(char* buffer, char const* context, int code, int textOnly);

// Lets one module of the product supply the texts of its own code range.
//
// A process-wide singleton with room for exactly one registration: a second
// registration is refused with -2002 while one is held, whether or not the
// ranges overlap (no caller needs two, and replacing the first silently would
// lose its texts). KrError asks the registered callback for codes strictly
// between `lower` and `upper`; a null answer falls through to the fixed table.
// Unsynchronised by design: register during start-up.
class KR_API KrModuleErrorCallbackList {
 public:
  typedef char* (*Callback)(int code);

  KrModuleErrorCallbackList();

  // The process's instance, built (all fields zero) at the first call.
  static KrModuleErrorCallbackList* GetInstance();

  // Registers `callback` for lower < code < upper, or with a null callback
  // removes the registration whose bounds are exactly `upper` and `lower`.
  // Returns 0, or -2002 (nothing changes) when upper < lower, when removing
  // with other bounds, or when registering while a registration is held
  // (whether the ranges touch or overlap, tested inclusively, or not).
  int SetModuleErrorCallback(Callback callback, int upper, int lower);

  // The callback's text for `code` when lower < code < upper, else null.
  char* GetError(int code);

  Callback callback;  // null when nothing is registered
  int upper;          // codes strictly below it are served
  int lower;          // codes strictly above it are served
};

// ---------------------------------------------------------------------------
// Configuration
// ---------------------------------------------------------------------------

// The settings interface through which every module of the product reads its
// configuration. The embedding application implements it (or uses
// KrIniConfig) and installs it with DefaultConfig.
//
// Each getter looks `key` up in the section named by `sectionPath`, a
// null-terminated array of section names, outermost first (an array holding
// only the null is the global section). A key that exists is written into the
// caller's value and the getter returns 0; a missing key leaves the value
// untouched and returns -1. Callers initialise the value first, so its
// initial value is the default.
class KR_API KrConfig {
 public:
  // Writes the text into the buffer that `buffer` designates.
  // Requires: the buffer holds the whole value.
  virtual int GetText(char const* key, char*& buffer, char const** sectionPath) = 0;
  virtual int GetBool(char const* key, short* value, char const** sectionPath) = 0;
  virtual int GetInt(char const* key, int* value, char const** sectionPath) = 0;
  virtual ~KrConfig();
};

// The section paths in use: the global section, and the section "debug".
KR_API extern char const* globalSection[1];
KR_API extern char const* debugSection[2];

// Argument of DefaultConfig that queries without changing anything: the
// all-ones pointer value.
inline KrConfig* KrQueryConfig() {
  return reinterpret_cast<KrConfig*>(~static_cast<std::uintptr_t>(0));
}

// Installs `config` as the process's default configuration (null removes
// it), unless `config` is KrQueryConfig(), which changes nothing. Returns the
// default configuration after the call. The object is not owned.
KR_API KrConfig* DefaultConfig(KrConfig* config);

// A ready KrConfig for applications that have none, read from an INI-style
// text:
//
//   # comment            ; comment too (whole lines only)
//   defaultModulePath = /opt/norvane/lib     <- keys before any header are global
//   [debug]
//   assertMode = 1
//   loadModule = on
//   [servers/krserver]                       <- the path "servers", "krserver"
//   disableWin32PriorityBoost = yes
//
// Names and values are trimmed of surrounding blanks; a value enclosed in
// double quotes loses them (to keep blanks). Section names and keys are
// case-sensitive; a repeated key takes the later value. Booleans are 1/0,
// true/false, yes/no, on/off (any case); integers are decimal or 0x-hex with
// an optional sign and must fit an int. A present value of the wrong type
// answers -2752 and leaves the caller's value untouched.
//
// A text that does not parse leaves the object empty (every key missing) and
// reports -2754 with ErrorLine() naming the first bad line: a line that is
// not blank, comment, "[section]" or "key = value", an empty key or section
// name, or a value longer than kMaxValueLength (so that GetText never writes
// more than 1024 bytes). Not copyable.
class KR_API KrIniConfig : public KrConfig {
 public:
  static const int kMaxValueLength = 1023;

  // An empty configuration: every key is missing.
  KrIniConfig();
  // Reads the file at `path`; Result() and ErrorLine() tell how that went.
  explicit KrIniConfig(char const* path);
  ~KrIniConfig() override;

  // Replace the whole content by the file at `path` or by `text`. Return 0,
  // -2751 (file not found), -2753 (file cannot be opened or read), -2754
  // (syntax error, see ErrorLine), -2002 (null argument), or -2030 when
  // memory runs out (the content stays as it was). No call of this class
  // throws; the getters answer -2030 too when memory runs out.
  int ReadFile(char const* path);
  int ReadText(char const* text);
  // Sets one value, `section` written as in a header ("" for the global
  // section, "servers/krserver"). Returns 0, or -2002 for a null argument, an
  // empty key or an overlong value.
  int Set(char const* section, char const* key, char const* value);

  // The result of the last read (0 for a default-constructed object).
  int Result() const;
  // The 1-based line of the syntax error of the last read, else 0.
  int ErrorLine() const;

  int GetText(char const* key, char*& buffer, char const** sectionPath) override;
  int GetBool(char const* key, short* value, char const** sectionPath) override;
  int GetInt(char const* key, int* value, char const** sectionPath) override;

  KrIniConfig(KrIniConfig const&) = delete;
  KrIniConfig& operator=(KrIniConfig const&) = delete;

 private:

  kr_detail::IniTable* table_;
  int result_;
  int errorLine_;
};

// Whether the server's "disableWin32PriorityBoost" setting (path "servers",
// "krserver") is on: 0 or 1. Read once per process, at the first call.
KR_API int GetDisableWin32PriorityBoost();

// Fault-injection hook that growth operations call to learn whether to fail on
// purpose. With "growErrorCounter" = n in section "test" (read at the first
// call after start or reset), the first n calls of kind 1 return -313; every
// other call returns 0.
KR_API int TestHandler(unsigned long kind, void*, void*);
// Forgets the counter, so that the next TestHandler call reads it again.
KR_API void TestHandlerReset();

// Registry access does not exist on this platform: each returns -2999.
KR_API int KrGetRegistryEntry(char const** path, char* value, long& length);
KR_API int KrSetRegistryEntry(char const** path, char* value, long& length);
KR_API int KrDeleteRegistryEntry(char const** path);

// Writes the host name through gethostname(name, length); returns 0 whatever
// that reports.
KR_API int KrGetHostname(char* name, int length);

// ---------------------------------------------------------------------------
// Statistics
// ---------------------------------------------------------------------------

// The process-wide counters of the product's server. Plain increments, no
// locks. Each operation changes the counter its name gives and returns the
// object, so calls chain.
class KR_API KrStatistics {
 public:
  // Zeroes the flag word and the first twelve counters (transactions to
  // watches); the last three keep what the storage held (zero for the
  // process object, which has static storage).
  KrStatistics();

  KrStatistics& IncTransactions();
  KrStatistics& DecTransactions();
  KrStatistics& IncCommits();
  KrStatistics& IncAborts();
  KrStatistics& IncCSRequests();
  KrStatistics& IncFailedCSRequests();
  KrStatistics& IncServerNotifications();
  KrStatistics& IncQueries();
  KrStatistics& IncClients();
  KrStatistics& DecClients();
  KrStatistics& IncObjDescs();
  KrStatistics& DecObjDescs();
  KrStatistics& IncExtents();
  KrStatistics& DecExtents();
  KrStatistics& IncLocks();
  KrStatistics& DecLocks();
  KrStatistics& AddLocks(long count);
  KrStatistics& IncWatches();
  KrStatistics& DecWatches();
  KrStatistics& AddWatches(long count);
  KrStatistics& AddRefreshedObjects(long count);
  KrStatistics& AddDeliveredObjects(long count);
  KrStatistics& IncInternalTransactions();

  // Zeroes the first twelve counters; refreshed objects, delivered objects
  // and internal transactions deliberately keep their totals.
  void Clear();
  // Does nothing on this platform.
  void Enable();

  short flags;  // used by the server code
  int transactions;
  int commits;
  int aborts;
  int csRequests;
  int failedCsRequests;
  int serverNotifications;
  int queries;
  int clients;
  int objDescs;
  int extents;
  int locks;
  int watches;
  int refreshedObjects;
  int deliveredObjects;
  int internalTransactions;
};

// The process's statistics object.
KR_API KrStatistics* Statistics();
// Do nothing on this platform; return 0.
KR_API int RegisterStatistics();
KR_API int DeregisterStatistics();

// ---------------------------------------------------------------------------
// Assertions and fatal errors
// ---------------------------------------------------------------------------

// Called with (condition text, file name, line) at every failed assertion,
// before anything else happens.
typedef void (*KrFatalErrorCallback)(char const* condition, char const* file, int line);

// The installed fatal-error callback, or null.
KR_API extern KrFatalErrorCallback fatalErrorCallback;

// Installs `callback` (null removes it) and returns the one installed before.
// Callers restore that one when they no longer want the calls.
KR_API KrFatalErrorCallback SetFatalErrorCallback(KrFatalErrorCallback callback);
KR_API KrFatalErrorCallback GetFatalErrorCallback();

// Formats of the assertion text (arguments: condition, file, line), of the
// same text for a message box that offers to debug, and that box's title.
// Writable: an application may point them at its own texts; KIRO_assert
// reads assFmtU at each call.
KR_API extern char const* assFmtU;
KR_API extern char const* assFmtW;
KR_API extern char const* assHeader;

// Reports a failed consistency check. Calls the fatal-error callback first,
// then acts on the assertion mode, read once per process at the first failure
// from "assertMode" in section "debug" (0 without configuration or key):
//   0          __assert_fail(condition, file, line, ""): message and abort
//   1          returns 0
//   2, 3       reads a word through a null pointer: a segmentation fault
//   any other  returns 1
KR_API int KIRO_assert(char const* condition, char const* file, int line);

// ---------------------------------------------------------------------------
// Module identity and version description
// ---------------------------------------------------------------------------

// Checks this library's own version, 9.5.23.262.0, against the rule of
// CheckKrVersionNumber with `flags` | 3. Returns 0 or -5004.
KR_C_API int KrCheckDll(int flags);

// The self-description every module of the product exports under this plain
// name: the five version components, the internal module name, build date and
// time, a further text, the compiler number and name and a last text. Returns
// the module title. Null output pointers are skipped.
KR_C_API char const* KrDescribeDll(unsigned long* major, unsigned long* minor,
                                   unsigned long* revision, unsigned long* build,
                                   unsigned long* patch, char const** name,
                                   char const** dateTime, char const** text8, int* compilerNum,
                                   char const** compilerName, char const** text11);

// The signature of KrDescribeDll, as looked up in other modules.
typedef char const* (*KrDescribeDllFunction)(unsigned long*, unsigned long*, unsigned long*,
                                             unsigned long*, unsigned long*, char const**,
                                             char const**, char const**, int*, char const**,
                                             char const**);

// Fills every non-null output: compiler name and number, the version text
// ("Norvane Basic Algorithms 9.5.23.262.0 ", rebuilt in a static buffer at
// each call), the build date and the module name.
KR_C_API void GETKRBASICSINFO(char const** compilerName, int* compilerNum,
                              char const** versionInfo, char const** date, char const** name);

// Module context hook: does nothing.
KR_API void ___KrBasicsContext(int);

// The product's version-compatibility rule. Returns -5004 when major is not
// 9, minor is not 5 or flags is 0. Otherwise each set flag adds a test that
// fails with -5004 unless its waiver bit is set:
//   2  revision must be 23        (waived by 0x10000000)
//   4  patch must be 262          (waived by 0x20000000; the fifth component
//                                  is compared with the build number on
//                                  purpose, so patch 0 fails)
//   8  patch must be 0            (waived by 0x40000000)
// Bit 1 only makes the flags nonzero; the build component is never examined.
KR_API int CheckKrVersionNumber(unsigned long major, unsigned long minor,
                                unsigned long revision, unsigned long build,
                                unsigned long patch, int flags);

// Loads the module `moduleName` (as KrDynamicLoader::LoadModule does), finds
// its absolute file path and reads its KrDescribeDll record, then unloads it.
// Every text output may be null; given ones are filled without length checks
// (allow 4096 bytes for `path`). Returns 0; -5002 when the module cannot be
// loaded (nothing is written); -5003 when it has no KrDescribeDll (only
// `path` is written).
KR_API int KrGetDescription(char const* moduleName, char* path, unsigned long& major,
                            unsigned long& minor, unsigned long& revision,
                            unsigned long& build, unsigned long& patch, char* title,
                            char* name, char* dateTime, char* text8, char* compilerName,
                            char* text11, int& compilerNum);

// Composes a module's file base name: "k", `second_char`, the major and minor
// version digits, the base name, then a variant number or else a variant
// letter, then `compiler_suffix` ("kr95Nbs", "kr95Nbsd", "kr95Nbs7").
class KR_API DllNameClass {
 public:
  static const int kNameSize = 64;

  static char second_char;         // 'r'
  static char mayor_vers[3];       // "95"
  static char compiler_suffix[1];  // ""

  // The buffer starts empty; `base` is not owned.
  DllNameClass(char const* base, char letter = 0, int number = 0);

  // Composes the name into the buffer and returns it: with the number when it
  // is nonzero, else with the letter when it is nonzero, else with the base
  // alone; with none of them the buffer is left as it is.
  char* GetDllName();
  operator char*();
  // Writes "kr" + base + compiler suffix into `out` and returns it.
  // Requires: `out` holds the name.
  static char* GetGenericDllName(char const* base, char* out);

  // Freezes the name `other` composes: clears base, letter and number and
  // copies other.GetDllName() into the buffer, which GetDllName() then
  // returns unchanged.
  DllNameClass& operator=(DllNameClass& other);

  char const* base;  // not owned; null for none
  char letter;       // 0 for none
  int number;        // 0 for none
  char buffer[kNameSize];
};

// ---------------------------------------------------------------------------
// Dynamic module loader
// ---------------------------------------------------------------------------

// A loaded module, allocated by LoadModule and freed by UnloadModule.
struct KrModuleHandle {
  void* library;   // the dynamic linker's handle
  int keepLoaded;  // nonzero: UnloadModule frees the record, leaves the library
};

// Symbolic names of the loader's failures, indexed 1 to 3 (entry 0 is null).
KR_API extern char const* ERR_KR[4];

// Loads the product's modules, "lib<name>.so", from the directory that the
// global setting "defaultModulePath" names, else through the system's library
// search. With "loadModule" on in section "debug", loading and failed entry
// lookups are traced to standard error. Both settings are read at every call.
// Stateless: all operations are static.
class KR_API KrDynamicLoader {
 public:
  KrDynamicLoader();
  ~KrDynamicLoader();

  // Opens the module with immediate binding and global symbols. Returns 0 and
  // a new handle, or -5002 and a null handle. `flags` is ignored.
  static int LoadModule(char const* name, int flags, KrModuleHandle*& handle);
  // Closes the module (unless it is to stay loaded), frees the record and
  // nulls `handle`. Returns -5001 for a null handle, else the close result.
  static int UnloadModule(KrModuleHandle*& handle);
  // Sets `address` to the entry `name`: 0, or -5001 for a null handle, -5003
  // for a missing entry (with `address` null).
  static int GetEntryPoint(char const* name, KrModuleHandle* handle, void*& address);
  // The dynamic linker's last error text (null when none); clears it.
  static char* GetErrText();
  // The loaded module's absolute file path, in a static 4096-byte buffer
  // shared by all callers, or "<unknown>" when the dynamic linker does not
  // tell it.
  // Requires: `handle` is not null.
  static char* GetPhysicalModuleName(KrModuleHandle* handle);
};

// Nonzero when `path` is absolute (begins with a slash).
KR_API int zvmIsAbsolutePath(char const* path);
// Writes the absolute form of `in` (relative to the current directory) into
// `out`, with ".", ".." and repeated slashes resolved lexically (symbolic
// links are not followed). Returns `out`, or null (with `out` empty when
// `size` > 0) when the result needs more than `size` bytes with its NUL, when
// the current directory is unknown or an argument is null.
KR_API char* zvmabspath(char* in, char* out, int size);

// ---------------------------------------------------------------------------
// System log, message boxes, console and output streams
// ---------------------------------------------------------------------------

// Level of a system-log entry. Values outside 1 to 4 are logged as notices.
enum KrSysLogLevel : int {
  KrSysLogInformational = 1,
  KrSysLogNotice = 2,
  KrSysLogWarning = 3,
  KrSysLogError = 4
};

// The permanent system log. One logging switch is shared by every object.
class KR_API KrSysLog {
 public:
  static const int kMaxTextLength = 1023;

  // Sets the shared logging switch; returns its previous value.
  virtual int AllowLogging(int on);
  // Does nothing here; implementations name the application in their log.
  virtual void SetApplicationName(char const* name);
  // Formats the entry (cut at kMaxTextLength characters) and hands it to
  // _LogPermanent, unless logging is switched off.
  virtual void LogPermanent(KrSysLogLevel level, char const* format, ...)
      __attribute__((format(printf, 3, 4)));
  virtual ~KrSysLog();
  // Writes one formatted entry of `length` characters.
  virtual void _LogPermanent(KrSysLogLevel level, int length, char const* text) = 0;
};

// The system log on the system logger (syslog, facility user, with the process
// id). The logger is opened by Init, SetApplicationName or the first entry,
// and closed when the object is destroyed. Each entry is followed by the line
// "(Norvane 9.5.23.262.0)".
class KR_API KrSysLogPosix : public KrSysLog {
 public:
  KrSysLogPosix();
  ~KrSysLogPosix() override;

  // Opens the logger with `ident` (null: "Norvane Runtime System") unless it
  // is open already or logging is switched off. Later names are ignored.
  void Init(char const* ident);
  void SetApplicationName(char const* ident) override;
  void _LogPermanent(KrSysLogLevel level, int length, char const* text) override;

  KrSysLogPosix(KrSysLogPosix const&) = delete;
  KrSysLogPosix& operator=(KrSysLogPosix const&) = delete;

  int opened;  // nonzero once the logger has been opened

 private:

  char* ident_;  // our copy: the logger keeps the pointer, not the text
};

// Message boxes. One switch is shared by every object.
class KR_API KrMsg {
 public:
  static const unsigned long kShowAlways = 0x20000000;   // flag: show despite the switch
  static const unsigned long kNotAllowed = 0x40000000;   // answer when boxes are off
  static const unsigned long kNoAnswer = 0x80000000;     // answer of the dummy
  static const int kTextSize = 4096;

  // Sets the shared switch to `on` != 0; returns its previous value.
  virtual int AllowMessageBoxes(int on);
  // Returns kNotAllowed when boxes are switched off and `flags` lacks
  // kShowAlways; otherwise formats the text (cut to fit kTextSize) and
  // returns _Box's answer.
  virtual unsigned long Box(char const* title, unsigned long flags, char const* format, ...)
      __attribute__((format(printf, 4, 5)));
  virtual ~KrMsg();
  virtual unsigned long _Box(char const* title, unsigned long flags, char const* text) = 0;
};

// The message-box object of a platform without message boxes: shows nothing
// and answers kNoAnswer to every box, whatever the switch.
class KR_API KrMsgDummyImpl : public KrMsg {
 public:
  int AllowMessageBoxes(int on) override;  // returns -1, changes nothing
  unsigned long Box(char const* title, unsigned long flags, char const* format, ...) override;
  unsigned long _Box(char const* title, unsigned long flags, char const* text) override;
};

// The process's system log and message-box objects, built when the library
// is loaded.
KR_API KrSysLog* KrSystemLog();
KR_API KrMsg* KrMessage();

// The process-wide service-stopped flag: goes from 0 to 1 once.
KR_API int KIRO_Service_hasStopped();
KR_API void StopKIRO_Service();

// A minimal owned, NUL-terminated text: what the server console writes.
class KR_API KrString {
 public:
  KrString();
  KrString(char const* text);  // null gives the empty text
  KrString(KrString const& other);
  KrString& operator=(KrString const& other);
  ~KrString();

  char const* Text() const;
  unsigned long Length() const;

 private:
  char* text_;
  unsigned long length_;
};

// The server console's output channel. This base writes texts to standard
// error; implementations add how a KrString is written.
class KR_API _KrServCons {
 public:
  virtual ~_KrServCons();
  // Writes a non-null `text` (the length is not used).
  virtual void write(char const* text, int length);
  virtual void writeString(KrString const& text) = 0;
  // Writes "\n" through write.
  virtual void terminateLine();
  // Does nothing.
  virtual void flush();
};

// Front end of the server console: passes output to its implementation while
// one is set and output is enabled, and swallows it otherwise.
class KR_API KrServCons {
 public:
  static const int kEnabled = 1;  // bit of `flags`
  static const int kLineSize = 1024;

  KrServCons();                             // no implementation, enabled
  explicit KrServCons(_KrServCons* impl);   // enabled
  virtual ~KrServCons();

  // Returns the previous implementation.
  _KrServCons* setImplementation(_KrServCons* impl);

  KrServCons& operator<<(char const* text);  // ignores null
  KrServCons& operator<<(KrString const& text);
  KrServCons& operator<<(long value);        // as "%ld"
  // Formats (cut to fit kLineSize) and writes the text.
  KrServCons& printf(char const* format, ...) __attribute__((format(printf, 2, 3)));
  KrServCons& terminateLine();
  KrServCons& flush();

  _KrServCons* impl;  // not owned; null for none
  int flags;
};

// terminateLine() then flush().
KR_API KrServCons& endl(KrServCons& console);

// A typed output stream.
class KR_API KrOutStreamStub {
 public:
  virtual ~KrOutStreamStub();
  virtual KrOutStreamStub& operator<<(char const* value) = 0;
  virtual KrOutStreamStub& operator<<(int value) = 0;
  virtual KrOutStreamStub& operator<<(short value) = 0;
  virtual KrOutStreamStub& operator<<(long value) = 0;
  virtual KrOutStreamStub& operator<<(unsigned int value) = 0;
  virtual KrOutStreamStub& operator<<(unsigned short value) = 0;
  virtual KrOutStreamStub& operator<<(unsigned long value) = 0;
  virtual KrOutStreamStub& operator<<(float value) = 0;
  virtual KrOutStreamStub& operator<<(double value) = 0;
  virtual KrOutStreamStub& operator<<(char value) = 0;
  virtual KrOutStreamStub& operator<<(void* value) = 0;
  virtual KrOutStreamStub& endl() = 0;
  virtual KrOutStreamStub& flush() = 0;

  // Applies a manipulator such as ::endl or ::flush.
  KrOutStreamStub& operator<<(KrOutStreamStub& (*manipulator)(KrOutStreamStub&));
};

// Call the stream's endl() and flush().
KR_API KrOutStreamStub& endl(KrOutStreamStub& stream);
KR_API KrOutStreamStub& flush(KrOutStreamStub& stream);

// KrOutStreamStub over a stdio stream, printf-formatted ("%d", "%lu", "%f",
// "0x%lx" for pointers, ...). endl() writes "\n" and deliberately does not
// flush. The stream is not owned and never closed.
class KR_API KrOutStreamFILE : public KrOutStreamStub {
 public:
  explicit KrOutStreamFILE(std::FILE* stream);
  ~KrOutStreamFILE() override;

  using KrOutStreamStub::operator<<;
  KrOutStreamStub& operator<<(char const* value) override;
  KrOutStreamStub& operator<<(int value) override;
  KrOutStreamStub& operator<<(short value) override;
  KrOutStreamStub& operator<<(long value) override;
  KrOutStreamStub& operator<<(unsigned int value) override;
  KrOutStreamStub& operator<<(unsigned short value) override;
  KrOutStreamStub& operator<<(unsigned long value) override;
  KrOutStreamStub& operator<<(float value) override;
  KrOutStreamStub& operator<<(double value) override;
  KrOutStreamStub& operator<<(char value) override;
  KrOutStreamStub& operator<<(void* value) override;
  KrOutStreamStub& endl() override;
  KrOutStreamStub& flush() override;

  std::FILE* stream;  // not owned
};

#endif  // KR_DIAG_H_
