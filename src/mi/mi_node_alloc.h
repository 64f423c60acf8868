#pragma once
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <list>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

#include "mi/mi_record.h"

// Memory for the nodes of value trees. A parse makes hundreds of small nodes and the previous
// record's tree has just released as many, so what a released tree held waits in caches of the
// thread that released it and the next parse takes it back without going to malloc: blocks of
// each size, and the links of the maps' and lists' own lists (spliced out of a dying node and
// into a new one, keys keeping their room). A node may be released on another thread than the
// one that made it.
void* takeMiNodeBlock(std::size_t size);
void releaseMiNodeBlock(void* block, std::size_t size);

// Add an entry or an element at the front, in a cached link when there is one.
void pushFrontMiEntry(std::list<MiMap::Entry>& entries, std::string_view key, MiRecordPtr value);
void pushFrontMiElement(std::list<MiRecordPtr>& elements, MiRecordPtr element);
// Release the children of a dying node and keep its links; what the caches cannot take stays.
void recycleMiEntries(std::list<MiMap::Entry>& entries);
void recycleMiElements(std::list<MiRecordPtr>& elements);

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

template <class Node>
struct MiNodeDeleter {
  void operator()(Node* node) const {
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
