// Threads that share the tasks of a step.
#include "common/workers.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace codecs {

Workers::~Workers() {
  {
    const std::lock_guard lock(m_mutex);
    m_isOver = true;
  }
  m_hasWork.notify_all();
  for (std::thread& other : m_others) other.join();
}

void Workers::startOthers() {
  m_isStarted = true;
  for (int worker = 1; worker < m_count; ++worker) {
    try {
      m_others.emplace_back([this, worker] { serve(worker); });
    } catch (const std::system_error&) {
      break;  // those there are do the work
    }
  }
}

/// The task of this index, then those that nobody has taken.
void Workers::takeTasks(size_t index, int worker) {
  try {
    for (; index < m_step.count; index = m_next++) m_step.call(m_step.task, index, worker);
  } catch (...) {
    const std::lock_guard lock(m_mutex);
    if (m_error == nullptr) m_error = std::current_exception();
    m_next = m_step.count;
  }
}

void Workers::serve(int worker) {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_hasWork.wait(lock, [this] { return m_isOver || m_next < m_step.count; });
    if (m_isOver) return;
    // A step waits for those who are at it only: one that wakes late holds nobody up.
    ++m_busy;
    lock.unlock();
    takeTasks(m_next++, worker);
    lock.lock();
    if (--m_busy == 0) m_isDone.notify_one();
  }
}

void Workers::share(const Step& step) {
  if (!m_isStarted) startOthers();
  {
    const std::lock_guard lock(m_mutex);
    m_step = step;
    m_next = 1;
  }
  const size_t wanted = std::min(m_others.size(), step.count - 1);
  for (size_t i = 0; i < wanted; ++i) m_hasWork.notify_one();
  takeTasks(0, 0);
  std::unique_lock lock(m_mutex);
  m_isDone.wait(lock, [this] { return m_busy == 0; });
  if (m_error != nullptr) std::rethrow_exception(std::exchange(m_error, nullptr));
}

}  // namespace codecs
