// Threads that share the tasks of a step.
#include "parallel.h"

#include <system_error>
#include <utility>

namespace jpeg {
namespace {

/// Waits a little before it sleeps: steps follow one another closely, and waking takes longer than
/// most of them leave idle.
template <class Condition>
bool comesSoon(Condition condition) {
  constexpr int kLooks = 500;
  for (int i = 0; i < kLooks; ++i) {
    if (condition()) return true;
    std::this_thread::yield();
  }
  return false;
}

}  // namespace

Workers::Workers(int threads) : wanted_(threads) {
  for (int worker = 1; worker < threads; ++worker) {
    try {
      others_.emplace_back([this, worker] { wait(worker); });
    } catch (const std::system_error&) {
      break;  // those there are do the work
    }
  }
}

Workers::~Workers() {
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  hasWork_.notify_all();
  for (std::thread& t : others_) t.join();
}

/// The task of this index, then those that nobody has taken.
void Workers::takeTasks(int index, int worker) {
  try {
    for (; index < count_; index = next_++) (*task_)(index, worker);
  } catch (...) {
    const std::lock_guard lock(mutex_);
    if (error_ == nullptr) error_ = std::current_exception();
    next_ = count_;
  }
}

void Workers::wait(int worker) {
  int seen = 0;
  const auto isWoken = [&] { return isOver_ || step_ != seen; };
  for (;;) {
    if (!comesSoon(isWoken)) {
      std::unique_lock lock(mutex_);
      hasWork_.wait(lock, isWoken);
    }
    if (isOver_) return;
    ++seen;
    takeTasks(next_++, worker);
    if (--working_ == 0) {
      const std::lock_guard lock(mutex_);
      isDone_.notify_one();
    }
  }
}

void Workers::run(int count, const Task& task) {
  if (count <= 0) return;
  if (others_.empty() || count == 1) {
    for (int index = 0; index < count; ++index) task(index, 0);
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    task_ = &task;
    count_ = count;
    next_ = 1;
    working_ = int(others_.size());
    ++step_;
  }
  hasWork_.notify_all();
  takeTasks(0, 0);
  const auto isDone = [&] { return working_ == 0; };
  if (!comesSoon(isDone)) {
    std::unique_lock lock(mutex_);
    isDone_.wait(lock, isDone);
  }
  if (error_ != nullptr) std::rethrow_exception(std::exchange(error_, nullptr));
}

}  // namespace jpeg
