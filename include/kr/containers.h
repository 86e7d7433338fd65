// kr95Nbs generic containers.
//
// KrVContainer, KrVIterator and KrVParameter form the framework every keyed
// container of the library rests on. A container holds fixed-size elements
// and knows how to build, destroy, compare and take them apart only through
// six element functions whose pointers it holds. An iterator is a cursor over
// one container carrying its own status; a parameter block is passed through
// every operation to the element functions.
//
// Words used throughout:
//   entry    what a container hands out as its unit of storage (a tree node,
//            say); GetElementOfEntry turns an entry into its element;
//   element  the user data inside an entry;
//   parts    an element seen as key, dat (data part, possibly absent) and
//            flags; only the element functions know what key and dat point at.
//
// Result codes: 0 success, negative failure. Iterator statuses share the code
// space (see KrIteratorStatus). Every base implementation of an operation a
// concrete container must supply answers -2999 (not implemented).
#ifndef KR_CONTAINERS_H_
#define KR_CONTAINERS_H_

#include <kr/export.h>

class KrVContainer;
class KrVIterator;
class KrVParameter;

// Iterator statuses and the container result codes of this family.
enum KrIteratorStatus {
  kKrPositioned = 0,           // on an element
  kKrNoDat = -519,             // the element has no dat part
  kKrNoContainer = -520,       // the iterator has no container
  kKrBeforeFirst = -521,       // before the first element
  kKrAfterLast = -522,         // after the last element
  kKrNoPosition = -523,        // a search left no position, or stale (tree)
  kKrContainerChanged = -513,  // returned by a step of a stale iterator
  kKrNeighbourLost = -2099,    // deleting through an iterator lost its place
  kKrNotFound = -510,          // search: nothing matched
  kKrDuplicate = -512,         // insertion refused: duplicate
  kKrNoMemory = -2030,         // no memory for a new entry
  kKrNotImplemented = -2999    // not implemented, or element function missing
};

// Type codes returned by GetType of containers, iterators and parameters.
enum KrContainerType {
  kKrTypeBase = 0,      // the base classes and classes that do not override it
  kKrTypeRBTree = 1,    // red-black tree, its iterator and parameter
  kKrTypeOneEntry = 4   // one-entry container and its iterator
};

// Container option bits (KrVContainer::flags), as the red-black tree reads them.
const unsigned short kKrAllowEqualKeys = 0x0001;   // same key, different element
const unsigned short kKrAllowEqualElements = 0x0002;  // fully equal elements too

// Mode bits of search, insert and delete.
const unsigned short kKrInsertBefore = 0x0004;     // insert before equal elements
const unsigned short kKrWalkBackwards = 0x0010;    // among equals, the last one
const unsigned short kKrMissToSmaller = 0x0020;    // miss: nearest smaller element
const unsigned short kKrMissToGreater = 0x0040;    // miss: nearest greater element
const unsigned short kKrExactEntry = 0x0100;       // among equals, parameter's entry
const unsigned short kKrWalkEqualElements = 0x0200;  // walk equals even without duplicates

// Mode bit of KrVIterator::DeleteElement: stay on the prior element afterwards.
const unsigned short kKrDeleteMoveToPrior = 0x0001;

// Element functions. Each receives the container first; every `status` is set
// by the function (0 for success).
//
// Constructor: builds the element at `destination` from the probe `source`
// (its key and dat already read). Returns a status; negative aborts.
typedef int (*KrConstructorElementFunction)(KrVContainer* container, void* destination,
                                            KrVIterator const* source, void const* key,
                                            void const* dat, KrVParameter* parameter);
// Compare: describes the probe (key, dat and the iterator it came from)
// relative to the stored `element`. `order` is negative when the probe sorts
// before the element, 0 when both are fully equal, positive after;
// `keyComparison` is 0 when the keys are equal. Returns a status; negative
// aborts the caller's operation and is passed out.
typedef int (*KrCompareElementFunction)(KrVContainer const* container, int& keyComparison,
                                        int& order, KrVIterator const* probe,
                                        void const* probeKey, void const* probeDat,
                                        void const* element, KrVParameter* parameter);
// Key of and dat of: the part of `element`.
typedef void const* (*KrPartOfElementFunction)(KrVContainer const* container,
                                               void const* element, int& status,
                                               KrVParameter* parameter);
// Flags of: the flags of `element`.
typedef unsigned long (*KrFlagsOfElementFunction)(KrVContainer const* container,
                                                  void const* element, int& status,
                                                  KrVParameter* parameter);
// Destructor: releases what the element holds (not the element's storage).
typedef void (*KrDestructorElementFunction)(KrVContainer* container, void* element);

// Copies elementSize bytes from `key` to `destination` (the key of a default
// element is the whole element); returns 0.
KR_API int DefaultConstructorElement(KrVContainer* container, void* destination,
                                     KrVIterator const* source, void const* key,
                                     void const* dat, KrVParameter* parameter);
// All elements compare equal: both results 0; returns 0.
KR_API int DefaultCompareElement(KrVContainer const* container, int& keyComparison, int& order,
                                 KrVIterator const* probe, void const* probeKey,
                                 void const* probeDat, void const* element,
                                 KrVParameter* parameter);
// The element is its own key: status 0, returns `element`.
KR_API void const* DefaultKeyOfElement(KrVContainer const* container, void const* element,
                                       int& status, KrVParameter* parameter);
// No dat part: status -519, returns null.
KR_API void const* DefaultDatOfElement(KrVContainer const* container, void const* element,
                                       int& status, KrVParameter* parameter);
// Status 0, returns 1.
KR_API unsigned long DefaultFlagsOfElement(KrVContainer const* container, void const* element,
                                           int& status, KrVParameter* parameter);

// An extensible argument block passed through every container operation to
// the element functions.
class KR_API KrVParameter {
 public:
  // entry and aux null.
  KrVParameter();
  // Copies `entry` only; `aux` is deliberately left uninitialised.
  KrVParameter(KrVParameter const& other);
  // Copies `entry` only; `aux` keeps its value.
  KrVParameter& operator=(KrVParameter const& other);
  virtual ~KrVParameter();

  virtual int GetType() const;  // 0

  // The one entry wanted among equal elements (tree search with 0x0100).
  void* entry;
  // A word for the caller's use; the differ keeps the side of an element in bit 0.
  void* aux;
};

// Abstract keyed container of fixed-size elements.
class KR_API KrVContainer {
 public:
  // count 0; the element functions are the Default* functions above, and no
  // destructor function (elements need no destruction).
  KrVContainer(unsigned long elementSize, unsigned short flags);
  // Copies every field, the element function pointers included.
  KrVContainer(KrVContainer const& other);
  virtual ~KrVContainer();

  virtual KrVContainer* Clone(KrVContainer* target) const;  // null: no clone
  virtual int GetType() const;                              // 0
  // Removes every element; reports the former count through `countOut`.
  virtual int Clear(KrTransactionContext* context, unsigned long* countOut,
                    KrVContainer* other);
  // Positions `result` on the element matching the probe's current element.
  virtual int SearchElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter, KrVIterator* result);
  // Inserts an element built from the probe's current element.
  virtual int InsertElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter);
  // Deletes the element matching the probe's current element.
  virtual int DeleteElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter);
  // The element inside `entry`; here entry and element coincide.
  virtual void const* GetElementOfEntry(void const* entry) const;
  // A new iterator on this container, owned by the caller; null here.
  virtual KrVIterator* CreateIterator(KrTransactionContext* context);

  unsigned long count;        // number of elements
  unsigned long elementSize;  // bytes per element
  unsigned short flags;       // option bits (kKrAllowEqualKeys, ...)
  KrConstructorElementFunction constructorElement;
  KrDestructorElementFunction destructorElement;  // null: nothing to destroy
  KrCompareElementFunction compareElement;
  KrPartOfElementFunction keyOfElement;
  KrPartOfElementFunction datOfElement;
  KrFlagsOfElementFunction flagsOfElement;

  KrVContainer& operator=(KrVContainer const&) = delete;  // containers own storage
};

// A cursor over one container, carrying its own position status.
class KR_API KrVIterator {
 public:
  // No container; status -520.
  explicit KrVIterator(KrTransactionContext* context);
  // Status -520 for a null container, else -521 (before the first element).
  KrVIterator(KrTransactionContext* context, KrVContainer* container);
  // Copy container, context and status (the status as it stands).
  KrVIterator(KrVIterator const& other);
  KrVIterator& operator=(KrVIterator const& other);
  // Set the container; status -520 for null, else -521.
  KrVIterator& operator=(KrVContainer* container);
  void SetContainer(KrVContainer* container);
  virtual ~KrVIterator();

  virtual int GetType() const;                            // 0
  virtual KrVIterator* Clone(KrVIterator* target) const;  // null: no clone
  // Moves and returns the new status; the base answers -2999.
  virtual int First();
  virtual int Next();
  virtual int Prior();
  virtual int Last();
  // Compares this iterator's element with `other`'s current element: the
  // results describe this element relative to the other's (see
  // KrCompareElementFunction). Returns a negative status of either iterator,
  // of reading the parts, -2999 without a compare function, or the compare
  // function's status.
  virtual int CompareElement(KrVIterator const* other, KrVParameter* otherParameter,
                             int& keyComparison, int& order, KrVParameter* parameter) const;
  virtual int SearchElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter);
  virtual int InsertElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter);
  virtual int UpdateElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter);
  // Deletes the current element; kKrDeleteMoveToPrior chooses the neighbour
  // the iterator stays on.
  virtual int DeleteElement(unsigned short mode, KrVParameter* parameter);
  // Detaches the container; status -520.
  virtual void Destroy();
  // The entry the iterator stands on; the base sets -2999 and returns null.
  virtual void const* GetEntry(int& status, KrVParameter* parameter) const;
  // Reads the parts of `entry` in the fixed order element, key, flags, dat,
  // filling only the out-pointers given. Returns 0 and touches nothing without
  // a container or when every out-pointer is null; otherwise the first
  // negative status, or the dat function's status (-519 for no dat).
  virtual int GetEntryParts(void const* entry, void const** element, void const** key,
                            void const** dat, unsigned long* flags,
                            KrVParameter* parameter) const;
  // The parts of the current element; null (0) with the status explaining.
  virtual void const* GetElement(int& status, KrVParameter* parameter) const;
  virtual void const* GetKey(int& status, KrVParameter* parameter) const;
  virtual void const* GetDat(int& status, KrVParameter* parameter) const;
  virtual unsigned long GetFlags(int& status, KrVParameter* parameter) const;

  KrVContainer* container;                   // may be null
  KrTransactionContext* transactionContext;  // stored, never used here
  int status;                                // position state (KrIteratorStatus)
};

#endif  // KR_CONTAINERS_H_
