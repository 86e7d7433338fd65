// Marker values that destroyed objects of this subsystem leave in their
// fields, so that a use after destruction is recognisable.
#ifndef KR_SRC_ARRAYS_POISON_H_
#define KR_SRC_ARRAYS_POISON_H_

namespace kr_detail {

// The count a destroyed array leaves behind (also on 64-bit targets).
const unsigned long kPoisonedCount = 0xFFFFFFFFul;
// The width a destroyed array leaves behind.
const unsigned short kPoisonedWidth = 0xFFFF;

// Stores `value` in a field of an object whose destructor is running. The
// store is volatile because a plain one is dead to the compiler (the
// object's lifetime ends) and may be dropped.
template <typename T>
inline void PoisonField(T& field, T value) {
  *static_cast<T volatile*>(&field) = value;
}

}  // namespace kr_detail

#endif  // KR_SRC_ARRAYS_POISON_H_
