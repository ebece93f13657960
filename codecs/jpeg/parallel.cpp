// Threads that share the tasks of a step.
#include "parallel.h"

#include <system_error>

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

void Workers::takeTasks(int worker) {
  for (int index; (index = next_++) < count_;) (*task_)(index, worker);
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
    takeTasks(worker);
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
  task(0, 0);
  takeTasks(0);
  const auto isDone = [&] { return working_ == 0; };
  if (comesSoon(isDone)) return;
  std::unique_lock lock(mutex_);
  isDone_.wait(lock, isDone);
}

}  // namespace jpeg
