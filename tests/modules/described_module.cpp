// A module as the loader sees it: KrDescribeDll with fixed values and one plain entry point,
// built in copies that differ by title and place (see CMakeLists.txt).
#include <kr/diag.h>

extern "C" char const* KrDescribeDll(unsigned long* major, unsigned long* minor,
                                     unsigned long* revision, unsigned long* build,
                                     unsigned long* patch, char const** name,
                                     char const** dateTime, char const** text8,
                                     int* compilerNum, char const** compilerName,
                                     char const** text11) {
  *major = 9;
  *minor = 5;
  *revision = 24;
  *build = 301;
  *patch = 2;
  *name = KR_TEST_MODULE_NAME;
  *dateTime = "Jan 02 2024 10:11:12";
  *text8 = "text eight";
  *compilerNum = 1234;
  *compilerName = "Test Compiler 1.0";
  *text11 = "text eleven";
  return KR_TEST_MODULE_TITLE;
}

// Tells which copy was loaded.
extern "C" char const* KrTestModuleTitle() { return KR_TEST_MODULE_TITLE; }
