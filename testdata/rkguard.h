/// @file
/// Test buffers between pages that must not be touched.
#pragma once

class tzObject;

/// While one lives, vectors and images are made between guard pages: an access of one byte too many
/// is a SIGSEGV there, and images have a gap of canaries behind every row. Pages are larger than
/// most operands, so a buffer can touch one of its guards only; the side says which.
class rkGuard {
 public:
  enum Side {
    AT_START,  ///< the first byte follows a guard page: aligned as no other memory is
    AT_END     ///< the last byte is followed by one: aligned as the size happens to be
  };
  /// Elements between the end of an image's row and the next row, a number that disturbs every
  /// alignment.
  static constexpr int ROW_GAP = 5;

  explicit rkGuard(Side side);
  ~rkGuard();
  rkGuard(const rkGuard&) = delete;
  rkGuard& operator=(const rkGuard&) = delete;

  /// Whether buffers are to be made here.
  static bool active() { return s_active != nullptr; }
  /// A tracked buffer (tzmemory.h), filled with canaries.
  /// @return null when there is no memory
  static void* allocate(int bytes, tzObject* owner);
  /// Whether buffers that are made elsewhere begin with canaries, too: without them memory that
  /// still holds an older result would hide that a function wrote nothing.
  static void fillOthers(bool fill) { s_fillsOthers = fill; }
  /// A buffer that was made elsewhere; null stays null.
  static void* begun(void* buffer, int bytes);
  /// Releases a buffer; it need not come from the guard that is active.
  /// @return false when it is none of these
  static bool release(void* buffer);

  /// A place beside a buffer.
  struct Place {
    const void* buffer = nullptr;  ///< null: beside none
    int distance = 0;              ///< bytes past its last byte; negative: before its first
  };
  /// The buffer one of whose guards holds the address.
  static Place find(const void* address);

 private:
  Side m_side;
  static const rkGuard* s_active;
  static bool s_fillsOthers;
};
