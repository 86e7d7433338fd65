// KrRBTreeParameter: the tree's parameter block, a KrVParameter by another type.
#include <kr/containers.h>

KrRBTreeParameter::KrRBTreeParameter() {}

KrRBTreeParameter::KrRBTreeParameter(KrRBTreeParameter const& other) : KrVParameter(other) {}

KrRBTreeParameter& KrRBTreeParameter::operator=(KrRBTreeParameter const& other) {
  KrVParameter::operator=(other);
  return *this;
}

KrRBTreeParameter::~KrRBTreeParameter() {}

int KrRBTreeParameter::GetType() const { return kKrTypeRBTree; }
