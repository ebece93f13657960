#pragma once
/// @file
/// Threads that share the tasks of a step.

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace jpeg {

/// Some threads, the caller's among them, that wait for steps.
class Workers {
 public:
  /// @param threads  1 or more; as many as the system gives
  explicit Workers(int threads);
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  int wanted() const { return wanted_; }
  int count() const { return int(others_.size()) + 1; }

  /// Task `index` of a step; `worker` is below count() and no two tasks have it at one time.
  using Task = std::function<void(int index, int worker)>;
  /// Has tasks 0 to `count - 1` done, and returns when all are. The caller's thread does task 0:
  /// what must not be called from others belongs there. The first exception of any is thrown again
  /// here, and tasks that nobody had begun are left out.
  void run(int count, const Task& task);

 private:
  void wait(int worker);
  void takeTasks(int index, int worker);

  int wanted_;
  std::vector<std::thread> others_;
  std::mutex mutex_;
  std::condition_variable hasWork_, isDone_;
  const Task* task_ = nullptr;
  int count_ = 0;
  std::exception_ptr error_;
  std::atomic<int> step_ = 0, working_ = 0, next_ = 0;
  std::atomic<bool> isOver_ = false;
};

}  // namespace jpeg
