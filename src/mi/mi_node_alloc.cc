#include "mi/mi_node_alloc.h"

#include <array>

namespace {

using FreeBlock = MiNodeCaches::FreeBlock;
constexpr std::size_t kGrain = MiNodeCaches::kGrain;
constexpr std::size_t kMaxKept = MiNodeCaches::kMaxKept;

}  // namespace

constinit thread_local MiNodeCaches miNodeCaches{};

namespace {

// Returns what the caches keep to the heap when the thread ends.
struct Reclaimer {
  Reclaimer() = default;
  Reclaimer(const Reclaimer&) = delete;
  Reclaimer& operator=(const Reclaimer&) = delete;
  ~Reclaimer() {
    miNodeCaches.closed = true;
    for (FreeBlock*& head : miNodeCaches.heads) {
      while (head) {
        FreeBlock* next = head->next;
        ::operator delete(head);
        head = next;
      }
    }
    if (MiSpareLinks* spare = miNodeCaches.spares) {
      for (MiString* parked : spare->strings) {
        parked->~MiString();
        ::operator delete(parked);
      }
      delete spare;
      miNodeCaches.spares = nullptr;
    }
  }
  bool armed = false;
};

thread_local Reclaimer reclaimer;

// Null once the thread has ended its caches.
MiSpareLinks* spares() {
  if (!miNodeCaches.spares && !miNodeCaches.closed) {
    reclaimer.armed = true;  // the first use registers the clean-up
    miNodeCaches.spares = new MiSpareLinks;
    miNodeCaches.spares->strings.reserve(MiSpareLinks::kMaxStrings);  // parking never allocates
  }
  return miNodeCaches.spares;
}

}  // namespace

void* takeMiNodeBlockFromHeap(std::size_t size) {
  if (size > MiNodeCaches::kClasses * kGrain) return ::operator new(size);
  if (!miNodeCaches.closed) reclaimer.armed = true;  // the first use registers the clean-up
  // Rounded up, so that the block may serve any size of its class later.
  return ::operator new((size + kGrain - 1) / kGrain * kGrain);
}

void recycleMiEntries(std::list<MiMap::Entry>& entries) {
  if (entries.empty()) return;
  for (MiMap::Entry& entry : entries) entry.second.reset();
  MiSpareLinks* spare = spares();
  if (spare && spare->entries.size() + entries.size() <= kMaxKept)
    spare->entries.splice(spare->entries.end(), entries);
}

void recycleMiElements(std::list<MiRecordPtr>& elements) {
  if (elements.empty()) return;
  for (MiRecordPtr& element : elements) element.reset();
  MiSpareLinks* spare = spares();
  if (spare && spare->elements.size() + elements.size() <= kMaxKept)
    spare->elements.splice(spare->elements.end(), elements);
}
