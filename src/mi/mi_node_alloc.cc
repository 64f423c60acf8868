#include "mi/mi_node_alloc.h"

#include <array>

namespace {

// Sizes are rounded up to 16 bytes; larger blocks than the last class go to the heap directly.
constexpr std::size_t kGrain = 16;
constexpr std::size_t kClasses = 16;
// What one thread keeps of each kind at most: enough for a large record's tree.
constexpr std::size_t kMaxKept = 1 << 15;

struct FreeBlock {
  FreeBlock* next;
};

// Links whose entries hold empty pointers.
struct SpareLinks {
  std::list<MiMap::Entry> entries;
  std::list<MiRecordPtr> elements;
};

// Constant-initialized and trivially destructible, so that reaching it costs no guard. What is
// released after the thread's reclaimer ran (a tree held by a static) goes straight to the heap.
struct NodeCaches {
  std::array<FreeBlock*, kClasses> heads;
  std::array<std::size_t, kClasses> counts;
  SpareLinks* spares;
  bool closed;
};

constinit thread_local NodeCaches caches{};

// Returns what the caches keep to the heap when the thread ends.
struct Reclaimer {
  Reclaimer() = default;
  Reclaimer(const Reclaimer&) = delete;
  Reclaimer& operator=(const Reclaimer&) = delete;
  ~Reclaimer() {
    caches.closed = true;
    for (FreeBlock*& head : caches.heads) {
      while (head) {
        FreeBlock* next = head->next;
        ::operator delete(head);
        head = next;
      }
    }
    delete caches.spares;
    caches.spares = nullptr;
  }
  bool armed = false;
};

thread_local Reclaimer reclaimer;

std::size_t classOf(std::size_t size) { return (size - 1) / kGrain; }

// Null once the thread has ended its caches.
SpareLinks* spares() {
  if (!caches.spares && !caches.closed) {
    reclaimer.armed = true;  // the first use registers the clean-up
    caches.spares = new SpareLinks;
  }
  return caches.spares;
}

}  // namespace

void* takeMiNodeBlock(std::size_t size) {
  const std::size_t sizeClass = classOf(size);
  if (sizeClass >= kClasses) return ::operator new(size);
  FreeBlock*& head = caches.heads[sizeClass];
  if (!head) {
    if (!caches.closed) reclaimer.armed = true;
    return ::operator new((sizeClass + 1) * kGrain);
  }
  FreeBlock* block = head;
  head = block->next;
  --caches.counts[sizeClass];
  return block;
}

void releaseMiNodeBlock(void* block, std::size_t size) {
  const std::size_t sizeClass = classOf(size);
  if (sizeClass >= kClasses || caches.counts[sizeClass] >= kMaxKept || caches.closed) {
    ::operator delete(block);
    return;
  }
  FreeBlock* freed = static_cast<FreeBlock*>(block);
  freed->next = caches.heads[sizeClass];
  caches.heads[sizeClass] = freed;
  ++caches.counts[sizeClass];
}

void pushFrontMiEntry(std::list<MiMap::Entry>& entries, std::string_view key, MiRecordPtr value) {
  SpareLinks* spare = caches.spares;
  if (!spare || spare->entries.empty()) {
    entries.emplace_front(key, std::move(value));
    return;
  }
  entries.splice(entries.begin(), spare->entries, spare->entries.begin());
  entries.front().first.assign(key);
  entries.front().second = std::move(value);
}

void pushFrontMiElement(std::list<MiRecordPtr>& elements, MiRecordPtr element) {
  SpareLinks* spare = caches.spares;
  if (!spare || spare->elements.empty()) {
    elements.push_front(std::move(element));
    return;
  }
  elements.splice(elements.begin(), spare->elements, spare->elements.begin());
  elements.front() = std::move(element);
}

void recycleMiEntries(std::list<MiMap::Entry>& entries) {
  if (entries.empty()) return;
  for (MiMap::Entry& entry : entries) entry.second.reset();
  SpareLinks* spare = spares();
  if (spare && spare->entries.size() + entries.size() <= kMaxKept)
    spare->entries.splice(spare->entries.end(), entries);
}

void recycleMiElements(std::list<MiRecordPtr>& elements) {
  if (elements.empty()) return;
  for (MiRecordPtr& element : elements) element.reset();
  SpareLinks* spare = spares();
  if (spare && spare->elements.size() + elements.size() <= kMaxKept)
    spare->elements.splice(spare->elements.end(), elements);
}
