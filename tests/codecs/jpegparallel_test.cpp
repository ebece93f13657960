// Threads that share tasks: each is done once, and what one throws comes back.
#include "parallel.h"

#include <gtest/gtest.h>

#include <new>

namespace {

using jpeg::Workers;

TEST(JpegParallel, EveryTaskIsDoneOnceStepAfterStep) {
  for (const int threads : {1, 2, 7}) {
    Workers workers(threads);
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

TEST(JpegParallel, WhatATaskThrowsComesBackAndTheThreadsStay) {
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

}  // namespace
