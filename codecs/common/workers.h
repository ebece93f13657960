#pragma once
/// @file
/// Threads that share the tasks of a step: the one pool of both codecs.

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace codecs {

/// A number of threads, the caller's among them. The others start with the first step that has
/// something for them, so that a pool of one, or one that is never needed, starts none; between
/// steps they sleep. Every task has its own place for its result: how many threads there are
/// changes nothing but the time.
///
/// A pool serves one step at a time: run() is called by the thread that made it, not from a task.
class Workers {
 public:
  /// @param threads  as many, or as the system gives; at least one
  explicit Workers(int threads) : m_count(threads < 1 ? 1 : threads) {}
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  /// Workers that tasks can be given to: the size of what is made one for each.
  int count() const { return m_count; }

  /// Has task(index, worker) done for every index below `count`, and returns when all are.
  ///
  /// Tasks begin in their order, where threads are free. `worker` is below count(), and no two
  /// tasks have it at one time; the caller is worker 0 and does task 0: what must not be called
  /// from other threads belongs there. The first exception of any task is thrown again here, and
  /// tasks that nobody had begun are left out. What tasks wrote is seen by the caller.
  template <typename Index, typename Task>
  void run(Index count, const Task& task) {
    if (m_count == 1 || count <= 1) {
      for (Index i = 0; i < count; ++i) task(i, 0);
      return;
    }
    share({static_cast<size_t>(count), &task, [](const void* t, size_t index, int worker) {
             (*static_cast<const Task*>(t))(static_cast<Index>(index), worker);
           }});
  }

 private:
  /// Tasks to be done.
  struct Step {
    size_t count = 0;
    const void* task = nullptr;
    void (*call)(const void* task, size_t index, int worker) = nullptr;
  };

  void share(const Step& step);
  void startOthers();
  void serve(int worker);
  void takeTasks(size_t index, int worker);

  const int m_count;
  bool m_isStarted = false;
  std::vector<std::thread> m_others;
  std::mutex m_mutex;
  std::condition_variable m_hasWork, m_isDone;
  Step m_step;
  std::atomic<size_t> m_next = 0;  ///< task that nobody has taken; none at the end of a step
  int m_busy = 0;                  ///< threads besides the caller's that take tasks
  std::exception_ptr m_error;
  bool m_isOver = false;
};

}  // namespace codecs
