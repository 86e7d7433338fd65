// KrIniConfig reading texts. The first byte picks: odd, a configuration generated from the input
// (nested sections, random blanks, quotes, comments and line ends) whose keys read back as their
// last values, typed ones too, absent ones missing; even, raw bytes: read, or refused at a line.
#include <kr/diag.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_input.h"

namespace {

using kr_fuzz::FuzzInput;

constexpr int kMissing = -1;
constexpr int kSyntaxError = -2754;

// The sections as the getters' paths: global, "debug", "servers/krserver", "a/b/c" and "test".
char const* kPaths[][4] = {{nullptr}, {"debug", nullptr}, {"servers", "krserver", nullptr},
                           {"a", "b", "c", nullptr}, {"test", nullptr}};
// Two keys differ only in case: they are distinct keys.
char const* const kKeys[] = {"assertMode", "loadModule", "AssertMode", "x y", "defaultModulePath"};

// A value and, when it was generated typed, what GetBool / GetInt answer.
struct Value {
  std::string text;
  int type = 0;  // 0 text, 1 bool, 2 int
  int number = 0;
};

std::string Blanks(FuzzInput& in) {
  std::string text;
  for (unsigned n = in.Pick(3); n > 0; --n) text += " \t\r"[in.Pick(3)];
  return text;
}

Value MakeValue(FuzzInput& in) {
  static char const* const words[] = {"1", "0", "TRUE", "false", "Yes", "no", "on", "OFF"};
  unsigned const kind = in.Pick(3);
  if (kind == 0) {
    unsigned const word = in.Pick(8);
    return {words[word], 1, word % 2 == 0};
  }
  if (kind == 1) {
    int const number =
        static_cast<int>(in.Byte() | in.Byte() << 8 | in.Byte() << 16 | in.Byte() << 24);
    char text[32];
    std::snprintf(text, sizeof text, in.Coin() && number >= 0 ? "0x%x" : "%d", number);
    return {text, 2, number};
  }
  Value value;
  for (unsigned n = in.Pick(20); n > 0; --n) value.text += static_cast<char>(' ' + in.Pick(95));
  return value;
}

// A value written to read back as itself: quoted when it starts with a quote or ends in a blank.
std::string Written(FuzzInput& in, std::string const& text) {
  bool const quote = !text.empty() && (std::strchr(" \"", text.front()) || text.back() == ' ');
  return quote || in.Coin() ? "\"" + text + "\"" : text;
}

void Generated(FuzzInput& in) {
  std::map<std::pair<unsigned, std::string>, Value> expected;  // by section and key
  std::string text;
  unsigned section = 0;
  while (!in.Done() && text.size() < 8000) {
    unsigned const kind = in.Pick(6);
    if (kind == 0) {
      unsigned const next = in.Pick(5);
      if (next == 0) continue;  // no way back to the global section
      section = next;
      text += Blanks(in) + "[" + kPaths[section][0];
      for (char const** part = kPaths[section] + 1; *part; ++part) {
        text += Blanks(in) + "/" + Blanks(in) + *part;
      }
      text += Blanks(in) + "]";
    } else if (kind == 1) {
      text += Blanks(in) + (in.Coin() ? "# " : "; ") + "note = [x]";
    } else if (kind == 2) {
      text += Blanks(in);
    } else {
      std::string const key = kKeys[in.Pick(5)];
      Value const value = MakeValue(in);
      text += Blanks(in) + key + Blanks(in) + "=" + Blanks(in);
      text += Written(in, value.text) + Blanks(in);
      expected[{section, key}] = value;
    }
    text += in.Coin() ? "\r\n" : "\n";
  }
  KrIniConfig config;
  KR_FUZZ_CHECK(config.ReadText(text.c_str()) == 0);
  for (unsigned s = 0; s < 5; ++s) {
    for (char const* key : kKeys) {
      char const** const path = kPaths[s];
      auto found = expected.find({s, key});
      bool const present = found != expected.end();
      Value const value = present ? found->second : Value{"untouched"};
      char storage[1024] = "untouched";
      char* buffer = storage;
      KR_FUZZ_CHECK(config.GetText(key, buffer, path) == (present ? 0 : kMissing));
      KR_FUZZ_CHECK(storage == value.text);
      short flag = -7;
      int number = -7;
      int boolRc = config.GetBool(key, &flag, path), intRc = config.GetInt(key, &number, path);
      KR_FUZZ_CHECK(value.type != 1 || (boolRc == 0 && flag == value.number));
      KR_FUZZ_CHECK(value.type != 2 || (intRc == 0 && number == value.number));
    }
  }
}

void Raw(FuzzInput& in) {
  std::vector<unsigned char> bytes = in.Bytes(16384);
  std::string text(bytes.begin(), bytes.end());
  text.resize(std::strlen(text.c_str()));  // as a C string, the text ends at the first NUL
  KrIniConfig config;
  config.Set("debug", "assertMode", "before");
  int const rc = config.ReadText(text.c_str()), line = config.ErrorLine();
  KR_FUZZ_CHECK(rc == 0 ? line == 0 : rc == kSyntaxError && line >= 1 &&
                                          line <= 1 + std::count(text.begin(), text.end(), '\n'));
  // A read replaces the whole content, also when it fails.
  char storage[1024];
  char* buffer = storage;
  bool const kept = config.GetText("assertMode", buffer, kPaths[1]) == 0;
  KR_FUZZ_CHECK(!kept || (rc == 0 && text.find("assertMode") != std::string::npos));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  FuzzInput in(data, size);
  in.Coin() ? Generated(in) : Raw(in);
  return 0;
}
