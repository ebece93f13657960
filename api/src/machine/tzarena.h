/// @file
/// Memory that two processes have in common: the sides of a comparison work on the same pages.
///
/// Of two processes with the same code one may be faster by some percent throughout, and by a third
/// where operands fill a cache, because its pages happen to lie better. Sides measure in turns and
/// make the same data in the same order, so each can use what the other left.
#pragma once

#include <cstddef>

class tzArena {
 public:
  /// Makes one for processes to be started; its pages are taken when they are first written.
  /// @return its file, to be closed by the caller; -1: there is none
  static int create();
  /// Uses one that another process made.
  static void join(int file);

  /// While one lives, tz_malloc takes memory from the arena that this process has joined: for data
  /// whose bytes mean the same to both sides. Objects of the library are no such data.
  class Use {
   public:
    Use() { ++s_uses; }
    ~Use() { --s_uses; }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
  };

  /// @return null where none is to be used, or has no room
  static void* take(std::size_t bytes);
  /// @return whether the block came from here
  static bool give(const void* block);

 private:
  static inline int s_uses = 0;
  static inline char* s_memory = nullptr;
  static inline std::size_t s_taken = 0;
  static inline int s_blocks = 0;
};
