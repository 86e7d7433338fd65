// DllNameClass: module file base names.
#include <cstring>

#include <kr/diag.h>

#include "diag/format.h"

using kr_detail::FormatInto;

const int DllNameClass::kNameSize;
char DllNameClass::second_char = 'r';
char DllNameClass::mayor_vers[3] = "95";
char DllNameClass::compiler_suffix[1] = "";

DllNameClass::DllNameClass(char const* base, char letter, int number)
    : base(base), letter(letter), number(number) {
  buffer[0] = '\0';
}

char* DllNameClass::GetDllName() {
  // Names are cut to the buffer (real base names are a few characters), and a
  // null base with a variant counts as empty rather than reaching "%s".
  if (number != 0) {
    FormatInto(buffer, sizeof buffer, "k%c%s%s%d%s", second_char, mayor_vers, base ? base : "",
               number, compiler_suffix);
  } else if (letter != 0) {
    FormatInto(buffer, sizeof buffer, "k%c%s%s%c%s", second_char, mayor_vers, base ? base : "",
               letter, compiler_suffix);
  } else if (base) {
    FormatInto(buffer, sizeof buffer, "k%c%s%s%s", second_char, mayor_vers, base,
               compiler_suffix);
  }
  return buffer;
}

DllNameClass::operator char*() { return GetDllName(); }

char* DllNameClass::GetGenericDllName(char const* base, char* out) {
  return FormatInto(out, 0, "k%c%s%s", second_char, base, compiler_suffix);
}

DllNameClass& DllNameClass::operator=(DllNameClass& other) {
  base = nullptr;
  letter = 0;
  number = 0;
  char const* name = other.GetDllName();
  // Assigning an object to itself keeps the buffer as it is.
  if (name != buffer) std::memcpy(buffer, name, std::strlen(name) + 1);
  return *this;
}
