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

#include <kr/arrays.h>
#include <kr/export.h>
#include <kr/memory.h>

#include <stdint.h>

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

// ---------------------------------------------------------------------------
// Red-black tree

// One node of a KrRBTree, allocated from the tree's entry cache; the element
// (KrVContainer::elementSize bytes) follows the two links inline. There are
// no parent links: operations record the path from the root instead.
//
// `left` carries the node's colour in its lowest bit (1 red, 0 black); every
// write of the left link keeps the colour and every colour change keeps the
// link. A new node is red with no children.
struct KrRBTreeNode {
  static const uintptr_t kRed = 1;

  KrRBTreeNode* Left() const { return reinterpret_cast<KrRBTreeNode*>(left & ~kRed); }
  void SetLeft(KrRBTreeNode* child) {
    left = reinterpret_cast<uintptr_t>(child) | (left & kRed);
  }
  bool IsRed() const { return (left & kRed) != 0; }
  void SetRed() { left |= kRed; }
  void SetBlack() { left &= ~kRed; }
  // Takes `other`'s colour, keeping the own left link.
  void SetColourOf(KrRBTreeNode const* other) { left = (left & ~kRed) | (other->left & kRed); }

  void* Element() { return this + 1; }
  void const* Element() const { return this + 1; }

  uintptr_t left;       // left child link | colour bit
  KrRBTreeNode* right;  // right child link
};

// Null links count as black leaves.
inline bool KrRBTreeIsRed(KrRBTreeNode const* node) { return node && node->IsRed(); }

// One slot of a KrRBTreeNodeStack.
struct KrRBTreeNodeStackEntry {
  KrRBTreeNode* node;
};

// Slots of a KrRBTreeNodeStack, the sentinel included: a path holds at most
// kKrRBTreeNodeStackSize - 1 nodes. A red-black tree of n nodes is at most
// 2 log2(n + 1) deep, so a path of 63 nodes needs over 3 * 10^9 elements.
const unsigned kKrRBTreeNodeStackSize = 64;

// A path in a KrRBTree: the chain of nodes from the root down to the node on
// top. Slot 0 is a sentinel that always holds null, so popping past the root
// (or reading an empty stack) yields null. No bound check is made.
// Copies hold their own slots: `top` is re-based on the copy's array.
class KR_API KrRBTreeNodeStack {
 public:
  KrRBTreeNodeStack() : top(slots) { slots[0].node = nullptr; }
  KrRBTreeNodeStack(KrRBTreeNodeStack const& other);
  KrRBTreeNodeStack& operator=(KrRBTreeNodeStack const& other);

  void Reset() {
    top = slots;
    slots[0].node = nullptr;
  }
  bool IsEmpty() const { return top == slots; }
  // The node on top; null for an empty path.
  KrRBTreeNode* TopNode() const { return top->node; }
  void Push(KrRBTreeNode* node) {
    ++top;
    top->node = node;
  }
  // The node on top, then steps back unless on the sentinel.
  KrRBTreeNode* Pop() {
    KrRBTreeNode* node = top->node;
    if (top != slots) --top;
    return node;
  }
  // Pushes `node` and then its left (right) children down to the end: the
  // path to the smallest (greatest) node of its subtree. Nothing for null.
  void PushLeftmost(KrRBTreeNode* node);
  void PushRightmost(KrRBTreeNode* node);

  // Moves the path to the in-order successor (predecessor) of its top node;
  // the path is empty afterwards when there is none.
  void GoToNextEntry();
  void GoToPriorEntry();

  KrRBTreeNodeStackEntry slots[kKrRBTreeNodeStackSize];
  KrRBTreeNodeStackEntry* top;  // slot of the deepest node; `slots` when empty
};

class KrRBTreeIterator;

// The library's ordered container: a red-black tree of fixed-size elements
// ordered by the compare function alone.
//
// Admission (container flags): an element fully equal to a stored one is
// refused with -512 unless kKrAllowEqualElements is set; one with an equal key
// but a different order unless kKrAllowEqualKeys or kKrAllowEqualElements is.
// Equal elements are kept in insertion order (after the existing ones, or
// before them with kKrInsertBefore).
//
// Nodes come from `nodeCache` and go back to its returned-entries chain one at
// a time, or all at once on Clear. Inserting in ascending order takes one
// comparison, against `last`. Every successful insertion and deletion bumps
// `changeCount`, by which iterators notice changes made behind their back.
//
// Compare functions are called with the probe as it reached the tree: the
// caller's probe iterator for SearchElement and DeleteElement, and a null
// iterator where the probe is a node of the tree itself (insertion, which
// compares the built element; SearchEntry; CheckTree).
//
// Invariants (between operations): the red-black rules; in-order sequence
// sorted by the compare function; `count` nodes; `last` the rightmost node
// while the tree is not empty.
class KR_API KrRBTree : public KrVContainer {
 public:
  // `entriesPerBlock` goes to the node cache unchanged (0: about 500-byte
  // blocks); nodes are elementSize plus two link words, pointer-aligned.
  KrRBTree(unsigned long elementSize, unsigned short flags, unsigned long entriesPerBlock);
  KrRBTree(KrRBTree const&) = delete;
  KrRBTree& operator=(KrRBTree const&) = delete;
  // Destroys every element (post order) when a destructor function is set,
  // then frees all node memory.
  ~KrRBTree() override;

  int GetType() const override;  // 1
  // Reports the former count through `countOut`, destroys every element in
  // post order (when a destructor function is set) and gives all nodes back
  // at once. `changeCount` is kept. Always 0. `context` and `other` are not
  // used.
  int Clear(KrTransactionContext* context, unsigned long* countOut, KrVContainer* other) override;
  // Searches for the probe's current element. With `result` (an iterator of
  // this tree) the result stands on the element found (status 0) or on the
  // neighbour a miss was positioned on (0), else -522 (kKrMissToGreater, or
  // kKrExactEntry), -521 (kKrMissToSmaller) or -523. Returns 0, -510 for a
  // miss, or a negative status of reading the probe or comparing.
  int SearchElement(KrVIterator const* probe, KrVParameter* probeParameter, unsigned short mode,
                    KrVParameter* parameter, KrVIterator* result) override;
  // Builds an element from the probe's current element through the
  // constructor function and links it. Returns 0, -512 (duplicate refused;
  // the node goes back to the cache), -2030 (no memory), or a negative status
  // of an element function. A failed constructor leaves its node with the
  // cache until the next Clear.
  int InsertElement(KrVIterator const* probe, KrVParameter* probeParameter, unsigned short mode,
                    KrVParameter* parameter) override;
  // Deletes the first element equal to the probe's (the last with
  // kKrWalkBackwards). Returns 0, -510 when there is none, or a negative
  // status of an element function. The mode's kKrExactEntry (and the miss
  // positioning bits) are dropped here, as for DeleteEntry: among equal
  // elements it is always the first (last) that goes, whatever the
  // parameter's `entry`. To delete one particular node, pass it to
  // DeleteEntry, or delete at an iterator standing on it.
  int DeleteElement(KrVIterator const* probe, KrVParameter* probeParameter, unsigned short mode,
                    KrVParameter* parameter) override;
  // The element of a node: just behind its two links. Null for null.
  void const* GetElementOfEntry(void const* entry) const override;
  // A new KrRBTreeIterator on this tree; the caller owns (deletes) it.
  KrVIterator* CreateIterator(KrTransactionContext* context) override;

  // A red node without children from the cache; null with status -2030 when
  // the cache has no memory.
  KrRBTreeNode* CreateEntry(int& status);
  // Links `node` (from CreateEntry, element constructed). On failure the
  // element is destroyed and the node given back to the cache.
  int InsertEntry(void const* node, unsigned short mode, KrVParameter* parameter);
  // Deletes exactly `node`, even among many equal elements. Returns 0, -510
  // when the node is not in the tree, or a negative element-function status.
  int DeleteEntry(void const* node, unsigned short mode, KrVParameter* parameter);

  // The descent. Looks for an element equal to (key, dat), recording the path
  // in `path` when given; `found` is the path slot of the node returned on a
  // hit. Without duplicates in the tree (and without kKrWalkEqualElements)
  // the first equal node met is the answer and the path ends on it.
  // Otherwise equal elements are walked: the first of them is the answer
  // (the last with kKrWalkBackwards) and the path runs on below it to its
  // in-order neighbour on the walk side; with kKrExactEntry the answer is the
  // parameter's `entry` if it is among them (else a miss), the path running on
  // to its in-order successor. A miss sets status -510 and returns null with
  // an empty path, or, with kKrMissToGreater / kKrMissToSmaller and a path,
  // the nearest greater / smaller node with the path ending on it.
  KrRBTreeNode* SearchElement(KrVIterator const* probe, void const* key, void const* dat,
                              int& status, unsigned short mode, KrVParameter* parameter,
                              KrRBTreeNodeStack* path, KrRBTreeNodeStackEntry*& found);
  // Finds `node` itself: by its key and dat, then by identity among equal
  // elements. The path ends on the node; with kKrWalkEqualElements it runs on
  // to the node's in-order predecessor inside its subtree (its successor with
  // kKrWalkBackwards), as deletion needs. Status -510 and null when the node
  // is not in the tree.
  KrRBTreeNode* SearchEntry(KrRBTreeNode const* node, int& status, unsigned short mode,
                            KrVParameter* parameter, KrRBTreeNodeStack* path,
                            KrRBTreeNodeStackEntry*& found);

  // Unlinks the node in `zSlot` and gives it back to the cache.
  // Requires: `path` runs from the root through `zSlot` down to the node y
  // that is unlinked from its place: z itself or z's in-order neighbour inside
  // z's subtree, with at most one child.
  int _Delete(KrRBTreeNodeStack* path, KrRBTreeNodeStackEntry* zSlot);
  // Insertion fix-up after linking the red node `x` under the top of `path`.
  void RestoreBalance(KrRBTreeNodeStack* path, KrRBTreeNode* x);
  // Deletion fix-up: `x` (possibly null) took a black node's place under the
  // top of `path`, on the left for side +1, on the right for -1.
  void Fixup(KrRBTreeNodeStack* path, KrRBTreeNode* x, int side);
  // Calls the destructor function on every element of the subtree, in post
  // order. The nodes stay where they are.
  void DeleteTree(KrRBTreeNode* node);

  // 0 for a sound tree, else the first fault found: -1 red root, -2 red node
  // with a red child, -3 unequal black heights, -4 neighbours out of order (or
  // fully equal without kKrAllowEqualElements), -5 node count differs from
  // `count`; or a negative element-function status.
  int CheckTree(KrVParameter* parameter);
  // The worker: black height, node count, smallest and greatest node of a
  // subtree. Checks a node for red-red, then its subtrees, then their black
  // heights, then its order against its left and right neighbours.
  int CheckTree(KrRBTreeNode* node, unsigned long& blackHeight, unsigned long& nodes,
                KrRBTreeNode*& smallest, KrRBTreeNode*& greatest, KrVParameter* parameter);
  // Walks the tree in reverse order with an indentation depth; a hook for a
  // debugging print of one node per line, which prints nothing here.
  void OutTree(KrVParameter* parameter);

  KrRBTreeNode* root;            // null when empty
  KrRBTreeNode* last;            // the rightmost node (greatest element)
  KrEntryCache nodeCache;        // node memory
  unsigned short hasDuplicates;  // 1 once equal keys were admitted; reset by Clear
  unsigned long changeCount;     // bumped by every insertion and deletion

 private:
  // Links a built node: the append fast path or the descent. On success the
  // path leads to the new node's parent and `appended` tells which way.
  int _Link(KrRBTreeNode* node, unsigned short mode, KrVParameter* parameter,
            KrRBTreeNodeStack& path, bool& appended);
  // RestoreBalance for a node just appended under the old `last`, working on
  // the remembered spine instead of a path, and keeping the spine up to date.
  void _AppendBalance(KrRBTreeNode* node);

  // The right spine (root down to `last`) as the last append left it, so
  // that ascending insertion need not walk it again. Trusted while
  // `spineStamp_` equals changeCount and it still starts at `root` and ends
  // at `last`: every change to the tree but an append bumps changeCount.
  KrRBTreeNodeStack spine_;
  unsigned long spineStamp_;
  bool spineKnown_;
};

// The parameter block of tree operations; adds nothing to the base.
class KR_API KrRBTreeParameter : public KrVParameter {
 public:
  KrRBTreeParameter();
  KrRBTreeParameter(KrRBTreeParameter const& other);
  KrRBTreeParameter& operator=(KrRBTreeParameter const& other);
  ~KrRBTreeParameter() override;
  int GetType() const override;  // 1
};

// A cursor over a KrRBTree. Its position is the path from the root to the
// current node; `changeStamp` is the tree's changeCount when the position was
// established, and a step taken after the tree changed reports -513 and
// leaves the iterator at -523 until First or Last re-establishes it.
// Deleting through the iterator itself keeps it usable, on the neighbour.
class KR_API KrRBTreeIterator : public KrVIterator {
 public:
  // Status -520 without a tree, else -521 (before the first element).
  KrRBTreeIterator(KrRBTree* tree, KrTransactionContext* context);
  KrRBTreeIterator(KrRBTreeIterator const& other);
  KrRBTreeIterator& operator=(KrRBTreeIterator const& other);
  ~KrRBTreeIterator() override;

  int GetType() const override;  // 1
  // With a null target a new copy (caller deletes it); with a tree iterator
  // over a tree as target, this position assigned into it; otherwise null.
  KrVIterator* Clone(KrVIterator* target) const override;
  int First() override;  // smallest element: 0, or -521 for an empty tree
  int Next() override;
  int Prior() override;
  int Last() override;   // greatest element: 0, or -522 for an empty tree
  // Deletes the current element and stands on the next one (the prior one
  // with kKrDeleteMoveToPrior), or at -522 / -521 past the end. Returns the
  // new status, -513 for a stale iterator (nothing deleted), or -2099 when
  // the neighbour could not be found again.
  int DeleteElement(unsigned short mode, KrVParameter* parameter) override;
  // The current node; null with the status when not positioned, and with
  // -513 when the tree changed since.
  void const* GetEntry(int& status, KrVParameter* parameter) const override;

  KrRBTree* Tree() const { return static_cast<KrRBTree*>(container); }

  KrRBTreeNodeStack path;     // top node: the current element's node
  unsigned long changeStamp;  // tree's changeCount when positioned
};

// ---------------------------------------------------------------------------
// One-entry container

// Wraps one key, dat and flags triple so that it can be handed to any
// operation that expects an iterator: the usual probe of a tree search,
// insertion or deletion. Nothing is copied; the container only stores the
// three values.
class KR_API KrOneEntryContainer : public KrVContainer {
 public:
  // Element size 0, flags 0; key, dat and flags come from the stored values.
  KrOneEntryContainer(void const* key, void const* dat, unsigned long flags);
  ~KrOneEntryContainer() override;

  int GetType() const override;  // 4
  // Nothing can be searched inside: `result` (if given) goes to -522;
  // returns -510.
  int SearchElement(KrVIterator const* probe, KrVParameter* probeParameter, unsigned short mode,
                    KrVParameter* parameter, KrVIterator* result) override;

  void const* key;            // the entry's key; also the entry itself
  void const* dat;            // the entry's dat part; may be null
  unsigned long entryFlags;   // the entry's flags
};

// The cursor over a KrOneEntryContainer: positioned on the one entry (0),
// before it (-521) or after it (-522). A new iterator on a container with a
// key already stands on the entry.
class KR_API KrOneEntryIterator : public KrVIterator {
 public:
  // Status -520 without a container, else 0 with a key and -521 without.
  KrOneEntryIterator(KrOneEntryContainer* container, KrTransactionContext* context);
  ~KrOneEntryIterator() override;

  int GetType() const override;  // 4
  int First() override;
  int Next() override;
  int Prior() override;
  int Last() override;
  // The container's key while the status is not negative; else null. The
  // status argument receives the iterator's status.
  void const* GetEntry(int& status, KrVParameter* parameter) const override;
  void const* GetKey(int& status, KrVParameter* parameter) const override;
  // The container's dat while the status is not negative (status -519 when
  // the dat is null); else null.
  void const* GetDat(int& status, KrVParameter* parameter) const override;
};

// The one-entry container's element functions: they ignore the element and
// answer the container's stored key, dat (-519 when null) and flags.
KR_API void const* OneEntryKeyOfElement(KrVContainer const* container, void const* element,
                                        int& status, KrVParameter* parameter);
KR_API void const* OneEntryDatOfElement(KrVContainer const* container, void const* element,
                                        int& status, KrVParameter* parameter);
KR_API unsigned long OneEntryFlagsOfElement(KrVContainer const* container, void const* element,
                                            int& status, KrVParameter* parameter);

// ---------------------------------------------------------------------------
// Memory-file container

// A read-only view of `count` fixed-size records lying back to back in a
// MemFile, from the file's position at construction on, so that generic
// algorithms (above all KrVContainerDiffer) can walk them. It owns neither the
// file nor the records; insertion, deletion and search keep the base answers
// (-2999). Its element functions are the defaults: a record is its own key.
//
// The walking state (`currentIndex`, and the file's own `position`) lives in
// the container and the file, so only one iterator may walk a container at a
// time; this is by design. The file must outlive the container and must not
// be resized while it is walked: the iterator hands out pointers into it.
class KR_API KrMemFileContainer : public KrVContainer {
 public:
  // Element size recordSize, flags 0; the records start at file->position.
  // Requires: the file holds recordCount records from there on.
  KrMemFileContainer(MemFile* file, unsigned long recordSize, unsigned long recordCount);
  ~KrMemFileContainer() override;

  MemFile* memFile;            // not owned
  unsigned long startOffset;   // byte offset of the first record
  unsigned long currentIndex;  // index of the record the iterator stands on
};

// Walks a KrMemFileContainer forwards (Prior and Last are not supported) by
// seeking its memory file record by record, and compares records bytewise as
// unsigned bytes. Walking moves the memory file's `position`.
class KR_API KrMemFileIterator : public KrVIterator {
 public:
  // Null transaction context; status -521 (-520 without a container).
  explicit KrMemFileIterator(KrMemFileContainer* container);
  ~KrMemFileIterator() override;

  // The first record: 0, or -521 when the container is empty or its start
  // lies past the end of the file.
  int First() override;
  // The record after the current one: 0, or -522 past the last record.
  int Next() override;
  // Compares this iterator's record with `other`'s entry, record-size bytes
  // as unsigned bytes: -1, 0 or +1 in both results. Returns 0, or the
  // negative status of either iterator (the results are then not set).
  int CompareElement(KrVIterator const* other, KrVParameter* otherParameter, int& keyComparison,
                     int& order, KrVParameter* parameter) const override;
  // Both report the iterator's status and return the current record pointer,
  // whatever the status (null before the first First).
  void const* GetEntry(int& status, KrVParameter* parameter) const override;
  void const* GetKey(int& status, KrVParameter* parameter) const override;

  KrMemFileContainer* MemFileContainer() const {
    return static_cast<KrMemFileContainer*>(container);
  }

  unsigned char const* currentRecord;  // into the memory file; null before First
};

// ---------------------------------------------------------------------------
// Container differ

// The iterator over a diff list: a counting multiset in which the differ parks
// elements that found no partner yet. Besides walking (First, Next) the
// concrete list must answer, on this iterator:
//   SearchElement(probe, null, 0, null): position on the entry equal to the
//     probe's current element; >= 0 found, -510 or -511 none, else an error;
//   InsertElement(probe, null, 0, parameter): add an entry for the probe's
//     current element and position on it, its count starting at -1 when bit
//     0 of parameter->aux is clear (the element came from the first
//     sequence), at +1 when it is set (from the second);
//   DeleteElement(0, null): remove the entry the iterator stands on;
//   DiffCount(): the entry's signed count.
// KrDiffList and KrDiffListIterator below are a ready one.
class KR_API KrDiffListIteratorInterface : public KrVIterator {
 public:
  // Null transaction context; status -521 (-520 for a null container).
  explicit KrDiffListIteratorInterface(KrVContainer* container);
  ~KrDiffListIteratorInterface() override;

  // The signed occurrence count of the current entry: -k when its element
  // occurs k more times in the first sequence than in the second, +k when k
  // more times in the second.
  virtual int* DiffCount() = 0;
};

// Compares two ordered sequences, each walked by an iterator, and writes what
// only the first holds into one container and what only the second holds
// into another, as multisets: an element present twice in the first and once
// in the second is written once.
//
// It walks both sequences in step while they agree. Where they disagree it
// parks the unmatched elements, alternately from each side, in the diff list;
// an element that later turns up on the other side cancels its parked twin,
// so a local reordering or a shifted run shows no difference. A budget of
// ratio x (the larger count) pairwise mismatches bounds the comparisons;
// once it is spent, every element goes through the diff list. At the end the
// entries left in the diff list are written out as often as their counts
// say. The diff list keeps its entries for the owner to inspect or clear.
//
// Diffing two containers of fixed-size records:
//
//   KrDiffList list(recordSize, nullptr);  // or a compare function for elements
//   KrDiffListIterator listIterator(&list);
//   KrVContainerDiffer differ;
//   differ.diffList = &listIterator;
//   MemFile onlyA(0, 0), onlyB(0, 0);
//   KrRecordingContainer outA(&onlyA, recordSize), outB(&onlyB, recordSize);
//   int rc = differ.Diff(iteratorA, iteratorB, &outA, &outB, 1.0);
//   // rc: 0 equal, 1 different (onlyA and onlyB hold the records), < 0 error
class KR_API KrVContainerDiffer {
 public:
  KrVContainerDiffer();  // no diff list

  // Requires: both iterators walk their containers in one common order in
  // which equal elements meet (the differ orders nothing); the diff list is
  // empty. Elements are compared with first->CompareElement(second, ...): a
  // nonzero key comparison or order is a mismatch. Outputs are written with
  // InsertElement(iterator on the element, null, 0, parameter) where bit 0 of
  // the parameter's `aux` is clear for onlyInFirst and set for onlyInSecond.
  //
  // Returns 1 when anything was written, 0 when both sequences hold the same
  // elements, or the first negative result of an iterator, diff-list or
  // output call (what was written stays written). -521 from First and -522
  // from Next are ends of a sequence, not errors.
  int Diff(KrVIterator* first, KrVIterator* second, KrVContainer* onlyInFirst,
           KrVContainer* onlyInSecond, double ratio);

  KrDiffListIteratorInterface* diffList;  // set by the owner, who owns it
};

// ---------------------------------------------------------------------------
// Diff list

// A ready diff list: a red-black tree whose elements are a copy of the
// parked element (`recordSize` bytes, at the start of the tree's element, so
// element functions written for the inputs' elements work on it) followed by
// the signed count at `countOffset`. Each distinct element has one entry.
//
// Elements are ordered by the compare function given, which receives the
// probe's key and a stored element as a tree's compare function does, and
// this list as the container; without one, records compare bytewise as
// unsigned bytes, as KrMemFileIterator compares them. The key is the element
// itself, as for the default element functions; when the inputs' elements
// have other key, dat or flags functions, install them in this list too.
class KR_API KrDiffList : public KrRBTree {
 public:
  // `entriesPerBlock` goes to the tree (0: about 500-byte blocks).
  KrDiffList(unsigned long recordSize, KrCompareElementFunction compare,
             unsigned long entriesPerBlock = 0);
  ~KrDiffList() override;

  // A new KrDiffListIterator on this list; the caller owns (deletes) it.
  KrVIterator* CreateIterator(KrTransactionContext* context) override;
  // The count stored with a list element (an element, not a node).
  int* CountOf(void const* element) const;

  unsigned long recordSize;   // bytes of the parked element
  unsigned long countOffset;  // where the count follows it, int-aligned
};

// The diff-list iterator over a KrDiffList: a tree iterator (`cursor`) with
// the search, insertion and deletion the differ asks for. `status` follows
// the cursor's.
class KR_API KrDiffListIterator : public KrDiffListIteratorInterface {
 public:
  explicit KrDiffListIterator(KrDiffList* list);
  ~KrDiffListIterator() override;

  int First() override;
  int Next() override;
  int Prior() override;
  int Last() override;
  // Stands on the entry equal to the probe's current element: 0, or -510
  // when there is none (status -523), or a negative status of reading the
  // probe or comparing.
  int SearchElement(KrVIterator const* probe, KrVParameter* probeParameter, unsigned short mode,
                    KrVParameter* parameter) override;
  // Adds an entry for the probe's current element, counting -1 (aux bit 0
  // clear, or no parameter) or +1 (set), and stands on it: 0, or the tree's
  // failure (-512 when an equal entry exists, -2030 without memory).
  int InsertElement(KrVIterator const* probe, KrVParameter* probeParameter, unsigned short mode,
                    KrVParameter* parameter) override;
  // Removes the current entry and stands on the next one (the prior one with
  // kKrDeleteMoveToPrior), or past the end: 0, or a negative failure (-513
  // for a stale position; nothing is deleted then).
  int DeleteElement(unsigned short mode, KrVParameter* parameter) override;
  void const* GetEntry(int& status, KrVParameter* parameter) const override;
  // The current entry's count; null when the iterator is not on an entry.
  int* DiffCount() override;

  KrDiffList* List() const { return static_cast<KrDiffList*>(container); }

  KrRBTreeIterator cursor;  // the position in the list's tree
};

// ---------------------------------------------------------------------------
// Recording container

// An output container that appends every element inserted into it at the
// logical end of a MemFile, in the order of insertion: the differences a
// differ writes, kept in memory. Each element is built, as in any container,
// by the constructor function from the probe's key and dat (by default
// elementSize bytes copied from the key). It supports no search or deletion.
class KR_API KrRecordingContainer : public KrVContainer {
 public:
  // Requires: `file` outlives the container.
  KrRecordingContainer(MemFile* file, unsigned long elementSize);
  ~KrRecordingContainer() override;

  // Appends an element built from the probe's current element; `mode` is
  // not used. Returns 0; a negative status of reading the probe or of the
  // constructor function; or -2030 when the file cannot grow. A failed
  // insertion leaves the file as it was.
  int InsertElement(KrVIterator const* probe, KrVParameter* probeParameter, unsigned short mode,
                    KrVParameter* parameter) override;

  MemFile* memFile;  // not owned
};

#endif  // KR_CONTAINERS_H_
