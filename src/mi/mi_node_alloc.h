#pragma once
#include <array>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <list>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "mi/mi_record.h"

// Memory for the nodes of value trees. A parse makes hundreds of small nodes and the previous
// record's tree has just released as many, so what a released tree held waits in caches of the
// thread that released it and the next parse takes it back without going to malloc: blocks of
// each size, the links of the maps' and lists' own lists (spliced out of a dying node and into a
// new one, keys keeping their room), and string nodes with their room. A node may be released on
// another thread than the one that made it.
void* takeMiNodeBlockFromHeap(std::size_t size);

// Links whose entries hold empty pointers, and string nodes whose last owner let go, kept alive
// and empty with their room for the next parse's strings.
struct MiSpareLinks {
  static constexpr std::size_t kMaxStrings = 4096;
  static constexpr std::size_t kMaxStringRoom = 256;

  std::list<MiMap::Entry> entries;
  std::list<MiRecordPtr> elements;
  std::vector<MiString*> strings;  // room for kMaxStrings from the start
};

// The thread's caches. Constant-initialized and trivially destructible, so that reaching them
// costs no guard; what is released after the thread ended its caches (a tree held by a static)
// goes straight to the heap.
struct MiNodeCaches {
  // Sizes are rounded up to 16 bytes; larger blocks than the last class come from the heap.
  static constexpr std::size_t kGrain = 16;
  static constexpr std::size_t kClasses = 16;
  // What a thread keeps of each kind at most: enough for a large record's tree.
  static constexpr std::size_t kMaxKept = 1 << 15;

  struct FreeBlock {
    FreeBlock* next;
  };

  std::array<FreeBlock*, kClasses> heads;
  std::array<std::size_t, kClasses> counts;
  MiSpareLinks* spares;
  bool closed;
};

extern constinit thread_local MiNodeCaches miNodeCaches;

// The common paths, inline: a node takes and releases two blocks (the node and its count).
inline void* takeMiNodeBlock(std::size_t size) {
  const std::size_t sizeClass = (size - 1) / MiNodeCaches::kGrain;
  if (sizeClass < MiNodeCaches::kClasses) {
    MiNodeCaches::FreeBlock*& head = miNodeCaches.heads[sizeClass];
    if (MiNodeCaches::FreeBlock* block = head) {
      head = block->next;
      --miNodeCaches.counts[sizeClass];
      return block;
    }
  }
  return takeMiNodeBlockFromHeap(size);
}

inline void releaseMiNodeBlock(void* block, std::size_t size) {
  const std::size_t sizeClass = (size - 1) / MiNodeCaches::kGrain;
  if (sizeClass < MiNodeCaches::kClasses &&
      miNodeCaches.counts[sizeClass] < MiNodeCaches::kMaxKept && !miNodeCaches.closed) {
    auto* freed = static_cast<MiNodeCaches::FreeBlock*>(block);
    freed->next = miNodeCaches.heads[sizeClass];
    miNodeCaches.heads[sizeClass] = freed;
    ++miNodeCaches.counts[sizeClass];
    return;
  }
  ::operator delete(block);
}

// Release the children of a dying node and keep its links; what the caches cannot take stays.
void recycleMiEntries(std::list<MiMap::Entry>& entries);
void recycleMiElements(std::list<MiRecordPtr>& elements);

// Add an entry or an element at the end, in a cached link when there is one.
inline void pushBackMiEntry(std::list<MiMap::Entry>& entries, std::string_view key,
                            MiRecordPtr value) {
  MiSpareLinks* spare = miNodeCaches.spares;
  if (!spare || spare->entries.empty()) {
    entries.emplace_back(key, std::move(value));
    return;
  }
  entries.splice(entries.end(), spare->entries, spare->entries.begin());
  entries.back().first.assign(key);
  entries.back().second = std::move(value);
}

inline void pushBackMiElement(std::list<MiRecordPtr>& elements, MiRecordPtr element) {
  MiSpareLinks* spare = miNodeCaches.spares;
  if (!spare || spare->elements.empty()) {
    elements.push_back(std::move(element));
    return;
  }
  elements.splice(elements.end(), spare->elements, spare->elements.begin());
  elements.back() = std::move(element);
}

// The standard allocator interface over those blocks, for the shared count of each node.
template <class T>
struct MiNodeAllocator {
  using value_type = T;

  MiNodeAllocator() = default;
  template <class U>
  MiNodeAllocator(const MiNodeAllocator<U>&) {}

  T* allocate(std::size_t n) { return static_cast<T*>(takeMiNodeBlock(n * sizeof(T))); }
  void deallocate(T* block, std::size_t n) { releaseMiNodeBlock(block, n * sizeof(T)); }

  template <class U>
  bool operator==(const MiNodeAllocator<U>&) const {
    return true;
  }
};

// False when the caches cannot keep the node.
inline bool parkMiString(MiString& node) {
  MiSpareLinks* spare = miNodeCaches.spares;
  if (!spare || spare->strings.size() >= MiSpareLinks::kMaxStrings ||
      node.value.capacity() > MiSpareLinks::kMaxStringRoom)
    return false;
  node.value.clear();
  spare->strings.push_back(&node);
  return true;
}

template <class Node>
struct MiNodeDeleter {
  void operator()(Node* node) const {
    if constexpr (std::is_same_v<Node, MiString>) {
      if (parkMiString(*node)) return;
    }
    if constexpr (std::is_same_v<Node, MiMap>) {
      recycleMiEntries(node->entries);
      recycleMiElements(node->moreTuples);
    } else if constexpr (std::is_same_v<Node, MiList>) {
      recycleMiElements(node->elements);
    }
    node->~Node();
    releaseMiNodeBlock(node, sizeof(Node));
  }
};

// Like boost::make_shared, but the node and its count come from the thread's caches. The count
// is made around a finished node, so no reference is counted up and down on the way (the
// combined allocation of make_shared hands its result over through an atomic copy).
template <class Node, class... Args>
boost::shared_ptr<Node> makeMiNode(Args&&... args) {
  void* block = takeMiNodeBlock(sizeof(Node));
  Node* node;
  try {
    node = ::new (block) Node(std::forward<Args>(args)...);
  } catch (...) {
    releaseMiNodeBlock(block, sizeof(Node));
    throw;
  }
  return boost::shared_ptr<Node>(node, MiNodeDeleter<Node>(), MiNodeAllocator<Node>());
}

// An empty string node, a parked one when there is one.
inline boost::shared_ptr<MiString> makeEmptyMiString() {
  MiSpareLinks* spare = miNodeCaches.spares;
  if (!spare || spare->strings.empty()) return makeMiNode<MiString>();
  MiString* node = spare->strings.back();
  spare->strings.pop_back();
  return boost::shared_ptr<MiString>(node, MiNodeDeleter<MiString>(), MiNodeAllocator<MiString>());
}
