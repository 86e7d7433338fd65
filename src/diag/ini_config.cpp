// KrIniConfig: a KrConfig read from an INI-style text.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <utility>

#include <kr/diag.h>

namespace kr_detail {

// Values by (section path written with '/', key).
class IniTable {
 public:
  typedef std::pair<std::string, std::string> Name;

  std::string const* Find(char const** sectionPath, char const* key) const {
    auto it = values_.find(Name(JoinPath(sectionPath), key));
    return it == values_.end() ? nullptr : &it->second;
  }
  void Set(std::string section, std::string key, std::string value) {
    values_[Name(std::move(section), std::move(key))] = std::move(value);
  }
  void Swap(IniTable& other) { values_.swap(other.values_); }
  void Clear() { values_.clear(); }

 private:
  static std::string JoinPath(char const** sectionPath) {
    std::string joined;
    for (; sectionPath && *sectionPath; ++sectionPath) {
      if (!joined.empty()) joined += '/';
      joined += *sectionPath;
    }
    return joined;
  }

  std::map<Name, std::string> values_;
};

}  // namespace kr_detail

namespace {

constexpr int kOk = 0;
constexpr int kMissing = -1;
constexpr int kBadParameter = -2002;
constexpr int kFileNotFound = -2751;
constexpr int kWrongType = -2752;
constexpr int kCannotOpen = -2753;
constexpr int kSyntaxError = -2754;
constexpr int kNoMemory = -2030;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

std::string Trim(std::string const& text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && IsBlank(text[begin])) ++begin;
  while (end > begin && IsBlank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

// Trims each '/'-separated component of a section name; false when one is
// empty.
bool NormaliseSection(std::string const& name, std::string* out) {
  out->clear();
  std::size_t start = 0;
  while (true) {
    std::size_t slash = name.find('/', start);
    std::string part = Trim(name.substr(start, slash == std::string::npos ? slash : slash - start));
    if (part.empty()) return false;
    if (!out->empty()) *out += '/';
    *out += part;
    if (slash == std::string::npos) return true;
    start = slash + 1;
  }
}

std::string Unquote(std::string const& value) {
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
    return value.substr(1, value.size() - 2);
  }
  return value;
}

// Parses `text` (`length` bytes, which may hold NULs) into `table`. Returns 0,
// or kSyntaxError with the 1-based line in `*errorLine`.
int Parse(char const* text, std::size_t length, kr_detail::IniTable* table, int* errorLine) {
  std::string section;
  int lineNumber = 0;
  std::size_t pos = 0;
  while (pos < length) {
    ++lineNumber;
    std::size_t end = pos;
    while (end < length && text[end] != '\n') ++end;
    std::string raw(text + pos, end - pos);
    pos = end + 1;

    std::string line = Trim(raw);
    bool ok = raw.find('\0') == std::string::npos;
    if (ok && (line.empty() || line[0] == '#' || line[0] == ';')) continue;
    if (ok && line[0] == '[') {
      ok = line.back() == ']' && NormaliseSection(line.substr(1, line.size() - 2), &section);
    } else if (ok) {
      std::size_t equals = line.find('=');
      ok = equals != std::string::npos;
      if (ok) {
        std::string key = Trim(line.substr(0, equals));
        std::string value = Unquote(Trim(line.substr(equals + 1)));
        ok = !key.empty() && value.size() <= static_cast<std::size_t>(KrIniConfig::kMaxValueLength);
        if (ok) table->Set(section, key, value);
      }
    }
    if (!ok) {
      *errorLine = lineNumber;
      return kSyntaxError;
    }
  }
  return kOk;
}

bool EqualsIgnoringCase(std::string const& a, char const* b) {
  std::size_t n = std::strlen(b);
  if (a.size() != n) return false;
  for (std::size_t i = 0; i < n; ++i) {
    char c = a[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != b[i]) return false;
  }
  return true;
}

bool ParseBool(std::string const& text, short* value) {
  static char const* const kTrue[] = {"1", "true", "yes", "on"};
  static char const* const kFalse[] = {"0", "false", "no", "off"};
  for (char const* word : kTrue) {
    if (EqualsIgnoringCase(text, word)) {
      *value = 1;
      return true;
    }
  }
  for (char const* word : kFalse) {
    if (EqualsIgnoringCase(text, word)) {
      *value = 0;
      return true;
    }
  }
  return false;
}

// Decimal or 0x-hex with an optional sign, within the range of int.
bool ParseInt(std::string const& text, int* value) {
  std::size_t i = 0;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  int base = 10;
  if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) {
    base = 16;
    i += 2;
  }
  if (i == text.size()) return false;
  long long magnitude = 0;
  for (; i < text.size(); ++i) {
    char c = text[i];
    int digit;
    if (c >= '0' && c <= '9') {
      digit = c - '0';
    } else if (base == 16 && c >= 'a' && c <= 'f') {
      digit = c - 'a' + 10;
    } else if (base == 16 && c >= 'A' && c <= 'F') {
      digit = c - 'A' + 10;
    } else {
      return false;
    }
    magnitude = magnitude * base + digit;
    if (magnitude > static_cast<long long>(INT_MAX) + 1) return false;
  }
  long long result = negative ? -magnitude : magnitude;
  if (result > INT_MAX) return false;
  *value = static_cast<int>(result);
  return true;
}

}  // namespace

const int KrIniConfig::kMaxValueLength;

KrIniConfig::KrIniConfig() : table_(new kr_detail::IniTable), result_(kOk), errorLine_(0) {}

KrIniConfig::KrIniConfig(char const* path) : KrIniConfig() { ReadFile(path); }

KrIniConfig::~KrIniConfig() { delete table_; }

// The reading and lookups below build strings and map nodes: when memory runs
// out, std::bad_alloc is caught at each entry point and reported as -2030,
// the table keeping its former content (it is replaced only by a swap).

int KrIniConfig::ReadFile(char const* path) try {
  errorLine_ = 0;
  if (!path) {
    table_->Clear();
    return result_ = kBadParameter;
  }
  std::FILE* file = std::fopen(path, "rb");
  if (!file) {
    table_->Clear();
    return result_ = errno == ENOENT ? kFileNotFound : kCannotOpen;
  }
  std::string text;
  char chunk[4096];
  std::size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, got);
  bool readError = std::ferror(file) != 0;
  std::fclose(file);
  if (readError) {
    table_->Clear();
    return result_ = kCannotOpen;
  }
  kr_detail::IniTable parsed;
  result_ = Parse(text.data(), text.size(), &parsed, &errorLine_);
  if (result_ != kOk) parsed.Clear();
  table_->Swap(parsed);
  return result_;
} catch (std::bad_alloc const&) {
  errorLine_ = 0;
  return result_ = kNoMemory;
}

int KrIniConfig::ReadText(char const* text) try {
  errorLine_ = 0;
  kr_detail::IniTable parsed;
  result_ = text ? Parse(text, std::strlen(text), &parsed, &errorLine_) : kBadParameter;
  if (result_ != kOk) parsed.Clear();
  table_->Swap(parsed);
  return result_;
} catch (std::bad_alloc const&) {
  errorLine_ = 0;
  return result_ = kNoMemory;
}

int KrIniConfig::Set(char const* section, char const* key, char const* value) try {
  if (!section || !key || !value) return kBadParameter;
  std::string name;
  std::string trimmedSection = Trim(section);
  if (!trimmedSection.empty() && !NormaliseSection(trimmedSection, &name)) return kBadParameter;
  std::string trimmedKey = Trim(key);
  if (trimmedKey.empty() || std::strlen(value) > static_cast<std::size_t>(kMaxValueLength)) {
    return kBadParameter;
  }
  table_->Set(name, trimmedKey, value);
  return kOk;
} catch (std::bad_alloc const&) {
  return kNoMemory;
}

int KrIniConfig::Result() const { return result_; }

int KrIniConfig::ErrorLine() const { return errorLine_; }

int KrIniConfig::GetText(char const* key, char*& buffer, char const** sectionPath) try {
  if (!key || !buffer) return kBadParameter;
  std::string const* value = table_->Find(sectionPath, key);
  if (!value) return kMissing;
  std::memcpy(buffer, value->c_str(), value->size() + 1);
  return kOk;
} catch (std::bad_alloc const&) {
  return kNoMemory;
}

int KrIniConfig::GetBool(char const* key, short* value, char const** sectionPath) try {
  if (!key || !value) return kBadParameter;
  std::string const* text = table_->Find(sectionPath, key);
  if (!text) return kMissing;
  return ParseBool(*text, value) ? kOk : kWrongType;
} catch (std::bad_alloc const&) {
  return kNoMemory;
}

int KrIniConfig::GetInt(char const* key, int* value, char const** sectionPath) try {
  if (!key || !value) return kBadParameter;
  std::string const* text = table_->Find(sectionPath, key);
  if (!text) return kMissing;
  return ParseInt(*text, value) ? kOk : kWrongType;
} catch (std::bad_alloc const&) {
  return kNoMemory;
}
