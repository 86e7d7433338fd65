#include "command.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace krinfo {

Command const* FindCommand(char const* name) {
  for (Command const* command = kCommands; command->name; ++command) {
    if (std::strcmp(command->name, name) == 0) return command;
  }
  return nullptr;
}

int UsageError(char const* command, char const* format, ...) {
  if (command) {
    std::fprintf(stderr, "krinfo %s: ", command);
  } else {
    std::fputs("krinfo: ", stderr);
  }
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  if (command) {
    std::fprintf(stderr, "\nTry 'krinfo %s --help'.\n", command);
  } else {
    std::fprintf(stderr, "\nTry 'krinfo --help'.\n");
  }
  return kExitUsage;
}

bool IsHelpOption(char const* arg) {
  return std::strcmp(arg, "-h") == 0 || std::strcmp(arg, "--help") == 0;
}

bool ParseInt32(char const* text, int* value) {
  char const* digits = (*text == '-' || *text == '+') ? text + 1 : text;
  if (*digits < '0' || *digits > '9') return false;  // no blanks, no empty text
  errno = 0;
  char* end = nullptr;
  long long parsed = std::strtoll(text, &end, 10);
  if (errno != 0 || *end != '\0' || parsed < INT_MIN || parsed > INT_MAX) return false;
  *value = static_cast<int>(parsed);
  return true;
}

bool ParseUnsigned32(char const* text, unsigned long* value) {
  if (*text < '0' || *text > '9') return false;  // no sign, blanks or empty text
  bool hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  if (hex && !std::isxdigit(static_cast<unsigned char>(text[2]))) return false;
  errno = 0;
  char* end = nullptr;
  unsigned long long parsed = std::strtoull(text, &end, hex ? 16 : 10);
  if (errno != 0 || *end != '\0' || parsed > 0xFFFFFFFFull) return false;
  *value = static_cast<unsigned long>(parsed);
  return true;
}

}  // namespace krinfo
