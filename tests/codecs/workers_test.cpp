// Threads that share tasks: each is done once, what one throws comes back, and who waits sleeps.
#include "common/workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <new>

namespace {

using codecs::Workers;

size_t threadsOfProcess() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return size_t(std::distance(begin(tasks), end(tasks)));
}

double processorSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

TEST(Workers, EveryTaskIsDoneOnceStepAfterStep) {
  for (const int threads : {1, 2, 7}) {
    Workers workers(threads);
    EXPECT_EQ(threads, workers.count());
    for (int count = 0; count < 200; ++count) {
      std::vector<int> done(size_t(count), 0), busy(size_t(threads), 0);
      workers.run(count, [&](int task, int worker) {
        EXPECT_EQ(0, busy[size_t(worker)]++) << "a worker does one thing at a time";
        ++done[size_t(task)];
        --busy[size_t(worker)];
      });
      EXPECT_EQ(std::vector<int>(size_t(count), 1), done);
    }
  }
}

TEST(Workers, TheCallerDoesTheFirstTaskAndOthersAreAtWorkMeanwhile) {
  Workers workers(3);
  const auto caller = std::this_thread::get_id();
  std::atomic<int> others = 0;
  workers.run(3, [&](int task, int worker) {
    if (task == 0) {
      EXPECT_EQ(caller, std::this_thread::get_id());
      EXPECT_EQ(0, worker);
      while (others < 2) std::this_thread::yield();
    } else {
      EXPECT_NE(caller, std::this_thread::get_id());
      EXPECT_NE(0, worker);
      ++others;
      while (others < 2) std::this_thread::yield();
    }
  });
  EXPECT_EQ(2, others);
}

TEST(Workers, WhatATaskThrowsComesBackAndTheThreadsStay) {
  for (const int threads : {1, 4}) {
    Workers workers(threads);
    for (const int culprit : {0, 1, 49}) {
      const auto task = [&](int index, int) {
        if (index == culprit) throw std::bad_alloc();
      };
      EXPECT_THROW(workers.run(50, task), std::bad_alloc) << culprit;
      std::atomic<int> done = 0;
      workers.run(50, [&](int, int) { ++done; });
      EXPECT_EQ(50, done);
    }
  }
}

TEST(Workers, NoThreadStartsThatHasNothingToDo) {
  const size_t before = threadsOfProcess();
  Workers one(1), four(4);
  one.run(9, [](int, int) {});
  four.run(1, [](int, int) {});
  EXPECT_EQ(before, threadsOfProcess());
  four.run(9, [](int, int) {});
  EXPECT_EQ(before + 3, threadsOfProcess());
}

TEST(Workers, WhoWaitsSleeps) {
  Workers workers(4);
  workers.run(4, [](int, int) {});
  const double before = processorSeconds();
  const auto start = std::chrono::steady_clock::now();
  // The caller waits for one, the others for work.
  workers.run(2, [](int task, int) {
    if (task == 1) std::this_thread::sleep_for(std::chrono::milliseconds(200));
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  EXPECT_GT(0.25 * passed.count(), processorSeconds() - before);
}

}  // namespace
