// KrVParameter: the argument block passed through container operations.
#include <kr/containers.h>

KrVParameter::KrVParameter() : entry(nullptr), aux(nullptr) {}

// `aux` is deliberately not copied (and not initialised): it belongs to the
// caller of the operation that built the block, not to the block's value.
KrVParameter::KrVParameter(KrVParameter const& other) : entry(other.entry) {}

KrVParameter& KrVParameter::operator=(KrVParameter const& other) {
  entry = other.entry;
  return *this;
}

KrVParameter::~KrVParameter() {}

int KrVParameter::GetType() const { return kKrTypeBase; }
