// Threads that share the tasks of a step.
#include "parallel.h"

#include <system_error>

namespace jpeg {

Workers::Workers(int threads) {
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
  std::unique_lock lock(mutex_);
  for (;;) {
    hasWork_.wait(lock, [&] { return isOver_ || step_ != seen; });
    if (isOver_) return;
    seen = step_;
    lock.unlock();
    takeTasks(worker);
    lock.lock();
    if (--working_ == 0) isDone_.notify_one();
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
  std::unique_lock lock(mutex_);
  isDone_.wait(lock, [&] { return working_ == 0; });
}

}  // namespace jpeg
