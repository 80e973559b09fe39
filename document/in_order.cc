#include "in_order.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace gcuschema::document::internal {

int ThreadCount(int threads) {
  // More threads than cores gain nothing and hold more chunks at once.
  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  return threads > 0 ? std::min(threads, cores) : cores;
}

namespace {

// Chunks are taken by whichever thread is free, not dealt out in rounds:
// on a machine whose cores do not run at the same speed, a round would wait
// for the slowest of them every time. The calling thread makes chunks too
// and writes out, in order, whatever is ready.
class Pipeline {
 public:
  Pipeline(int count, int threads, int chunk,
           const std::function<void(int, int, int, std::string*)>& make,
           const std::function<void(const std::string&)>& emit)
      : count_(count),
        chunk_(chunk),
        chunks_((count - 1) / chunk + 1),
        window_(2 * threads),
        make_(make),
        emit_(emit),
        slots_(static_cast<std::size_t>(window_)) {}

  void Run() {
    const int threads = window_ / 2;
    std::vector<std::thread> helpers;
    for (int helper = 1; helper < threads; ++helper) helpers.emplace_back([this, helper] { Help(helper); });
    std::exception_ptr failed;
    try {
      Lead();
    } catch (...) {
      failed = std::current_exception();
    }
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stop_ = true;
    }
    changed_.notify_all();
    for (std::thread& helper : helpers) helper.join();
    if (failed) std::rethrow_exception(failed);
  }

 private:
  struct Slot {
    std::string text;
    std::exception_ptr failed;
    bool ready = false;
  };

  // Whether a chunk may be started: it is there, and at most window_ chunks
  // are held at once.
  bool CanTake() const { return next_ < chunks_ && next_ < emitted_ + window_; }

  Slot& SlotOf(int k) { return slots_[static_cast<std::size_t>(k % window_)]; }

  // Makes chunk k into `text` (a string of the thread's own: strings side by
  // side share a cache line, and every append writes the length) and files it.
  void Make(int helper, int k, std::string* text) {
    std::exception_ptr failed;
    text->clear();
    try {
      const int begin = k * chunk_;
      make_(helper, begin, begin + std::min(chunk_, count_ - begin), text);
    } catch (...) {
      failed = std::current_exception();
    }
    std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = SlotOf(k);
    slot.text.swap(*text);
    slot.failed = failed;
    slot.ready = true;
    changed_.notify_all();
  }

  void Help(int helper) {
    std::string text;
    for (;;) {
      int k;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return stop_ || CanTake(); });
        if (stop_) return;
        k = next_++;
      }
      Make(helper, k, &text);
    }
  }

  // The calling thread: writes the next chunk out when it is ready, else
  // makes one itself, else waits.
  void Lead() {
    std::string text;
    while (emitted_ < chunks_) {
      std::unique_lock<std::mutex> lock(mutex_);
      Slot& slot = SlotOf(emitted_);
      if (slot.ready) {
        // Emitted chunks are in order, so the first failure met is the
        // earliest chunk's.
        if (slot.failed) std::rethrow_exception(slot.failed);
        std::string out;
        out.swap(slot.text);
        slot.ready = false;
        lock.unlock();
        emit_(out);
        lock.lock();
        out.swap(slot.text);  // its memory serves the chunk filed there next
        ++emitted_;
        changed_.notify_all();
      } else if (CanTake()) {
        const int k = next_++;
        lock.unlock();
        Make(0, k, &text);
      } else {
        changed_.wait(lock, [&] { return slot.ready; });
      }
    }
  }

  const int count_;
  const int chunk_;
  const int chunks_;
  const int window_;
  const std::function<void(int, int, int, std::string*)>& make_;
  const std::function<void(const std::string&)>& emit_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Slot> slots_;
  int next_ = 0;
  int emitted_ = 0;
  bool stop_ = false;
};

}  // namespace

void MakeInOrder(int count, int threads, int chunk,
                 const std::function<void(int, int, int, std::string*)>& make,
                 const std::function<void(const std::string&)>& emit) {
  threads = std::max(1, threads);
  chunk = std::max(1, chunk);
  if (count <= 0) return;
  Pipeline(count, threads, chunk, make, emit).Run();
}

}  // namespace gcuschema::document::internal
