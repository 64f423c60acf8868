#pragma once
#include <pthread.h>
#include <time.h>

#include <cstddef>
#include <deque>
#include <utility>

#include "base/wakeup.h"

// A bounded queue between one producer thread and one consumer thread. Items leave in the order
// they came. Once closed it stays closed: nothing more is put or handed out and nobody waits on it.
// Every operation holds the buffer's own mutex for its whole duration. A consumer that sleeps on a
// Wakeup instead of on the buffer names it with setWakeup: a put into the empty buffer notifies it.
template <typename T>
class SharedBuffer {
 public:
  explicit SharedBuffer(unsigned int capacity) : capacity(capacity) {
    pthread_mutex_init(&mutex, nullptr);
    pthread_cond_init(&notEmpty, nullptr);
    pthread_cond_init(&notFull, nullptr);
  }
  // Nobody may still wait on the buffer: stop its threads first.
  ~SharedBuffer() {
    close();
    pthread_cond_destroy(&notFull);
    pthread_cond_destroy(&notEmpty);
    pthread_mutex_destroy(&mutex);
  }
  SharedBuffer(const SharedBuffer&) = delete;
  SharedBuffer& operator=(const SharedBuffer&) = delete;

  // Set before the producer starts.
  void setWakeup(Wakeup* consumer) { wakeup = consumer; }

  // Waits while the buffer is full; an item put into a closed buffer is dropped silently.
  void put(T item) {
    bool wake = false;
    {
      Lock lock(mutex);
      while (!closed && items.size() >= capacity) pthread_cond_wait(&notFull, &mutex);
      wake = append(std::move(item)) && wakeup != nullptr;
    }
    if (wake) wakeup->notify();
  }

  // put() for each item in order, with one wake-up of the consumer for all of them.
  template <typename Items>
  void putAll(Items& batch) {
    putAllUnless(batch, [] { return false; });
  }

  // putAll() for a producer that must be able to give up: while the buffer is full, `giveUp()`
  // is asked every 10 milliseconds, and when it says so the items left are dropped and false
  // returned.
  template <typename Items, typename GiveUp>
  bool putAllUnless(Items& batch, GiveUp giveUp) {
    if (batch.empty()) return true;  // no wake-up for nothing: the consumer would only sleep again
    bool wake = false;
    {
      Lock lock(mutex);
      for (T& item : batch) {
        if (!closed && items.size() >= capacity) {
          pthread_cond_signal(&notEmpty);
          if (wake) wakeup->notify();  // the consumer must come and make room
          wake = false;
          while (!closed && items.size() >= capacity) {
            if (giveUp()) return false;
            waitNotFullFor10Ms();
          }
        }
        if (closed) break;
        wake = wake || (items.empty() && wakeup != nullptr);
        items.push_back(std::move(item));
      }
      pthread_cond_signal(&notEmpty);
    }
    // Outside the lock: a consumer woken at once must not find the mutex still held.
    if (wake) wakeup->notify();
    return true;
  }

  // Moves every queued item to the back of `out`, in order; false when there was none.
  template <typename Items>
  bool takeAll(Items& out) {
    Lock lock(mutex);
    if (closed || items.empty()) return false;
    for (T& item : items) out.push_back(std::move(item));
    items.clear();
    pthread_cond_broadcast(&notFull);
    return true;
  }

  // Waits while the buffer is empty; false, with `item` untouched, once it is closed.
  // A consumer that calls it again has finished with the item it took before (see runIfIdle).
  bool take(T& item) {
    Lock lock(mutex);
    consumerBusy = false;
    while (!closed && items.empty()) pthread_cond_wait(&notEmpty, &mutex);
    consumerBusy = popFront(item);
    return consumerBusy;
  }

  // Runs `work` under the buffer's mutex, and only when nothing is queued and the consumer is
  // waiting in take() with nothing in hand: then the producer may do the consumer's work itself
  // without overtaking anything. True when `work` ran.
  template <typename Work>
  bool runIfIdle(Work work) {
    Lock lock(mutex);
    if (closed || !items.empty() || consumerBusy) return false;
    work();
    return true;
  }

  // False, with `item` untouched, when the buffer is empty or closed.
  bool tryTake(T& item) {
    Lock lock(mutex);
    return popFront(item);
  }

  // Discards every queued item and wakes every waiter.
  void close() {
    Lock lock(mutex);
    closed = true;
    items.clear();
    pthread_cond_broadcast(&notEmpty);
    pthread_cond_broadcast(&notFull);
  }

  bool isClosed() const {
    Lock lock(mutex);
    return closed;
  }

  std::size_t size() const {
    Lock lock(mutex);
    return items.size();
  }

  // Tells the consumer to look again without putting anything (the producer has ended).
  void wakeConsumer() {
    if (wakeup != nullptr) wakeup->notify();
  }

 private:
  class Lock {
   public:
    explicit Lock(pthread_mutex_t& mutex) : mutex(mutex) { pthread_mutex_lock(&mutex); }
    ~Lock() { pthread_mutex_unlock(&mutex); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    pthread_mutex_t& mutex;
  };

  // Caller holds the mutex.
  void waitNotFullFor10Ms() {
    timespec limit;
    clock_gettime(CLOCK_REALTIME, &limit);
    limit.tv_nsec += 10000000;
    if (limit.tv_nsec >= 1000000000) {
      limit.tv_nsec -= 1000000000;
      ++limit.tv_sec;
    }
    pthread_cond_timedwait(&notFull, &mutex, &limit);
  }

  // Caller holds the mutex. True when the item went into an empty buffer.
  bool append(T item) {
    if (closed) return false;
    const bool wasEmpty = items.empty();
    items.push_back(std::move(item));
    pthread_cond_signal(&notEmpty);
    return wasEmpty;
  }

  // Caller holds the mutex.
  bool popFront(T& item) {
    if (closed || items.empty()) return false;
    item = std::move(items.front());
    items.pop_front();
    pthread_cond_signal(&notFull);
    return true;
  }

  bool closed = false;
  bool consumerBusy = false;  // the consumer holds an item from take() that it has not finished
  const unsigned int capacity;
  Wakeup* wakeup = nullptr;
  mutable pthread_mutex_t mutex;
  pthread_cond_t notEmpty;
  pthread_cond_t notFull;
  std::deque<T> items;
};
