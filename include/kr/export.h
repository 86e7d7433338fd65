// kr95Nbs: what every public header needs.
//
// KR_API marks the library's exported interface. The library is built with
// hidden visibility, so anything without KR_API stays internal to
// libkr95Nbs.so. KR_C_API additionally gives a function C linkage, for the
// entry points that other modules look up by their plain names.
#ifndef KR_EXPORT_H_
#define KR_EXPORT_H_

#if defined(KR_BUILDING_LIBRARY)
#define KR_API __attribute__((visibility("default")))
#else
#define KR_API
#endif

#define KR_C_API extern "C" KR_API

// Opaque context of the database engine's transactions. The library stores
// such pointers and passes them on; it never looks inside them.
class KrTransactionContext;

#endif  // KR_EXPORT_H_
