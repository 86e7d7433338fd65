// Registry access, which this platform lacks, and the host name.
#include <unistd.h>

#include <kr/diag.h>

namespace {

constexpr int kNotImplemented = -2999;

}  // namespace

int KrGetRegistryEntry(char const**, char*, long&) { return kNotImplemented; }

int KrSetRegistryEntry(char const**, char*, long&) { return kNotImplemented; }

int KrDeleteRegistryEntry(char const**) { return kNotImplemented; }

int KrGetHostname(char* name, int length) {
  // A negative length would reach gethostname as a huge size: skip the call.
  if (length >= 0) gethostname(name, static_cast<size_t>(length));
  return 0;
}
