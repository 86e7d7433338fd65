// KrIniConfig reading texts. The first byte picks the kind of text:
//  odd:  a configuration generated from the input: sections (nested with
//        '/'), keys and values written with random blanks, quotes, comments
//        and line ends; every key must read back as its last value, typed
//        values through GetBool and GetInt, and absent keys must be missing;
//  even: the raw bytes as text; the read either succeeds or names a line of
//        the text, in which case every key reads as missing, and a second
//        read of the same text gives the same answer.
#include <kr/diag.h>

#include <climits>
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
constexpr int kWrongType = -2752;

char const* const kSections[] = {"", "debug", "servers/krserver", "a/b/c", "test"};
char const* const kKeys[] = {"assertMode", "loadModule", "k", "x y", "defaultModulePath"};

// A value and, when it was generated typed, what GetBool / GetInt answer.
struct Value {
  std::string text;
  int type = 0;  // 0 text, 1 bool, 2 int
  int number = 0;
};

std::string Blanks(FuzzInput& in) {
  static char const blanks[] = {' ', '\t', '\r'};
  std::string text;
  for (unsigned n = in.Pick(3); n > 0; --n) text += blanks[in.Pick(3)];
  return text;
}

Value MakeValue(FuzzInput& in) {
  Value value;
  switch (in.Pick(3)) {
    case 0: {
      static char const* const words[] = {"1", "0", "TRUE", "false", "Yes", "no", "on", "OFF"};
      unsigned const word = in.Pick(8);
      value = {words[word], 1, word % 2 == 0};
      break;
    }
    case 1: {
      int const number = static_cast<int>(in.Byte() | in.Byte() << 8 | in.Byte() << 16 | in.Byte() << 24);
      char text[32];
      if (in.Coin() && number >= 0) {
        std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(number));
      } else {
        std::snprintf(text, sizeof text, "%d", number);
      }
      value = {text, 2, number};
      break;
    }
    default:
      for (unsigned n = in.Pick(20); n > 0; --n) value.text += static_cast<char>(' ' + in.Pick(95));
  }
  return value;
}

// Writes a value so that it reads back as itself: quoted when blanks at its
// ends or quotes around it would otherwise be lost.
std::string Written(FuzzInput& in, std::string const& text) {
  bool const needsQuotes =
      !text.empty() && (text.front() == ' ' || text.back() == ' ' ||
                        (text.size() >= 2 && text.front() == '"' && text.back() == '"'));
  return needsQuotes || in.Coin() ? "\"" + text + "\"" : text;
}

std::vector<char const*> Path(std::string const& section, std::vector<std::string>* parts) {
  parts->clear();
  for (size_t start = 0; !section.empty();) {
    size_t const slash = section.find('/', start);
    parts->push_back(section.substr(start, slash == std::string::npos ? slash : slash - start));
    if (slash == std::string::npos) break;
    start = slash + 1;
  }
  std::vector<char const*> path;
  for (std::string const& part : *parts) path.push_back(part.c_str());
  path.push_back(nullptr);
  return path;
}

void Generated(FuzzInput& in) {
  std::map<std::pair<std::string, std::string>, Value> expected;
  std::string text, section;
  while (!in.Done() && text.size() < 8000) {
    switch (in.Pick(6)) {
      case 0: {
        std::string const next = kSections[in.Pick(5)];
        if (next.empty()) continue;  // no way back to the global section
        section = next;
        std::string header = "[";
        for (char c : section) header += c == '/' ? Blanks(in) + "/" + Blanks(in) : std::string(1, c);
        text += Blanks(in) + header + Blanks(in) + "]";
        break;
      }
      case 1:
        text += Blanks(in) + (in.Coin() ? "# " : "; ") + "note = [x]";
        break;
      case 2:
        text += Blanks(in);
        break;
      default: {
        std::string const key = kKeys[in.Pick(5)];
        Value const value = MakeValue(in);
        text += Blanks(in) + key + Blanks(in) + "=" + Blanks(in) + Written(in, value.text) + Blanks(in);
        expected[{section, key}] = value;
      }
    }
    text += in.Coin() ? "\r\n" : "\n";
  }
  KrIniConfig config;
  KR_FUZZ_CHECK(config.ReadText(text.c_str()) == 0);
  std::vector<std::string> parts;
  for (char const* section : kSections) {
    std::vector<char const*> path = Path(section, &parts);
    for (char const* key : kKeys) {
      auto found = expected.find({section, key});
      char storage[1024] = "untouched";
      char* buffer = storage;
      int const rc = config.GetText(key, buffer, path.data());
      if (found == expected.end()) {
        KR_FUZZ_CHECK(rc == kMissing && std::strcmp(storage, "untouched") == 0);
        continue;
      }
      Value const& value = found->second;
      KR_FUZZ_CHECK(rc == 0 && value.text == storage);
      short flag = -7;
      int number = -7;
      int const boolRc = config.GetBool(key, &flag, path.data());
      int const intRc = config.GetInt(key, &number, path.data());
      if (value.type == 1) KR_FUZZ_CHECK(boolRc == 0 && flag == value.number);
      if (value.type == 2) KR_FUZZ_CHECK(intRc == 0 && number == value.number);
      if (value.type == 0) KR_FUZZ_CHECK(boolRc == 0 || (boolRc == kWrongType && flag == -7));
    }
  }
}

void Raw(FuzzInput& in) {
  std::vector<unsigned char> bytes = in.Bytes(16384);
  std::string const text(bytes.begin(), bytes.end());  // ends at the first NUL as a C string
  KrIniConfig config;
  int const rc = config.ReadText(text.c_str());
  KR_FUZZ_CHECK(rc == 0 || rc == kSyntaxError);
  int lines = 1;
  for (char const* c = text.c_str(); *c; ++c) lines += *c == '\n';
  std::vector<std::string> parts;
  std::vector<char const*> path = Path("debug", &parts);
  char storage[1024];
  char* buffer = storage;
  if (rc == kSyntaxError) {
    KR_FUZZ_CHECK(config.ErrorLine() >= 1 && config.ErrorLine() <= lines);
    KR_FUZZ_CHECK(config.GetText("assertMode", buffer, path.data()) == kMissing);
  } else {
    KR_FUZZ_CHECK(config.ErrorLine() == 0);
  }
  int const first = config.GetText("assertMode", buffer, path.data());
  KrIniConfig again;
  KR_FUZZ_CHECK(again.ReadText(text.c_str()) == rc && again.ErrorLine() == config.ErrorLine());
  KR_FUZZ_CHECK(again.GetText("assertMode", buffer, path.data()) == first);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  FuzzInput in(data, size);
  if (in.Coin()) {
    Generated(in);
  } else {
    Raw(in);
  }
  return 0;
}
