#pragma once
/// @file
/// Independent pieces of work among threads. Every piece has its own place for its result, so that
/// the number of threads changes nothing but the time.

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace j2k {

/// Calls work(index, worker) for every index below count; worker is below `threads`. The first
/// exception is thrown again here.
template <typename Work>
void forEachInParallel(int threads, size_t count, const Work& work) {
  if (threads <= 1 || count <= 1) {
    for (size_t i = 0; i < count; ++i) work(i, 0);
    return;
  }
  std::atomic<size_t> next{0};
  std::exception_ptr error;
  std::mutex mutex;
  const auto run = [&](int worker) {
    try {
      for (size_t i = next++; i < count; i = next++) work(i, worker);
    } catch (...) {
      const std::lock_guard lock(mutex);
      if (!error) error = std::current_exception();
      next = count;
    }
  };
  std::vector<std::thread> helpers;
  for (int t = 1; t < threads && size_t(t) < count; ++t) helpers.emplace_back(run, t);
  run(0);
  for (std::thread& helper : helpers) helper.join();
  if (error) std::rethrow_exception(error);
}

}  // namespace j2k
