/// @file
/// Operands that touch a page nobody may access: memory between two such pages, and calls that
/// tell an access to them instead of ending the test.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace guarded {

/// The end of an operand that lies beside a page without access.
enum class Side { begin, end };

inline const char* nameOf(Side side) { return side == Side::begin ? "begin" : "end"; }

/// Pages between two without access. Their bytes are canaries but for one operand.
class Pages {
 public:
  explicit Pages(size_t bytes) : m_length((bytes / kPage + 1) * kPage) {
    void* const all =
        mmap(nullptr, m_length + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) throw std::bad_alloc();
    m_first = static_cast<uint8_t*>(all) + kPage;
    allowWriting(true);
    std::memset(m_first, kCanary, m_length);
    m_operand = m_first;
  }
  ~Pages() { munmap(m_first - kPage, m_length + 2 * kPage); }
  Pages(const Pages&) = delete;
  Pages& operator=(const Pages&) = delete;

  size_t capacity() const { return m_length; }

  /// `bytes` at one side of the pages; what lay there before becomes canaries again.
  uint8_t* place(size_t bytes, Side side) {
    std::memset(m_operand, kCanary, m_bytes);
    m_bytes = bytes;
    m_operand = side == Side::begin ? m_first : m_first + m_length - bytes;
    return m_operand;
  }
  void allowWriting(bool allowed) {
    mprotect(m_first, m_length, allowed ? PROT_READ | PROT_WRITE : PROT_READ);
  }
  /// No byte of the pages beside the operand was written.
  bool areCanariesIntact() const {
    const auto intact = [](const uint8_t* from, ptrdiff_t count) {
      return std::all_of(from, from + count, [](uint8_t byte) { return byte == kCanary; });
    };
    const uint8_t* const end = m_operand + m_bytes;
    const ptrdiff_t before = std::min(m_operand - m_first, kNear);
    return intact(m_operand - before, before) &&
           intact(end, std::min(m_first + m_length - end, kNear));
  }
  const uint8_t* operand() const { return m_operand; }
  size_t bytes() const { return m_bytes; }

  static constexpr uint8_t kCanary = 0xA5;

 private:
  static inline const size_t kPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  static constexpr ptrdiff_t kNear = 512;

  size_t m_length;
  uint8_t* m_first = nullptr;
  uint8_t* m_operand = nullptr;
  size_t m_bytes = 0;
};

/// The operands of one call after the other, all at the same side of their pages.
class Memory {
 public:
  /// Forgets the operands so far; the next lie at this side.
  void restart(Side side) {
    m_side = side;
    for (size_t i = 0; i < m_used; ++i) m_pages[i]->allowWriting(true);
    m_used = 0;
  }
  uint8_t* take(size_t bytes) {
    if (m_used == m_pages.size()) m_pages.push_back(std::make_unique<Pages>(bytes));
    auto& pages = m_pages[m_used++];
    if (pages->capacity() < bytes) pages = std::make_unique<Pages>(bytes);
    return pages->place(bytes, m_side);
  }
  /// A copy that may be read only.
  template <class T>
  const T* source(const T* from, size_t count) {
    uint8_t* const bytes = take(count * sizeof(T));
    std::memcpy(bytes, from, count * sizeof(T));
    m_pages[m_used - 1]->allowWriting(false);
    return reinterpret_cast<const T*>(bytes);
  }
  template <class Container>
  auto source(const Container& from) {
    return source(from.data(), from.size());
  }
  template <class T>
  T* destination(size_t count) {
    return reinterpret_cast<T*>(take(count * sizeof(T)));
  }
  /// The operand taken last may be read only.
  void seal() { m_pages[m_used - 1]->allowWriting(false); }

  bool areCanariesIntact() const {
    return std::all_of(m_pages.begin(), m_pages.begin() + static_cast<ptrdiff_t>(m_used),
                       [](const auto& pages) { return pages->areCanariesIntact(); });
  }
  /// Where an address is: so many bytes before or behind operand i, counted from 1.
  std::string describe(const uint8_t* address) const {
    for (size_t i = 0; i < m_used; ++i) {
      const uint8_t* const operand = m_pages[i]->operand();
      const ptrdiff_t at = address - operand;
      const auto bytes = static_cast<ptrdiff_t>(m_pages[i]->bytes());
      if (at < -65536 || at >= bytes + 65536) continue;
      const std::string name = "operand " + std::to_string(i + 1);
      if (at < 0) return std::to_string(-at) + " bytes before " + name;
      if (at >= bytes) return std::to_string(at - bytes) + " bytes behind the end of " + name;
      return "byte " + std::to_string(at) + " of " + name + ", a source";
    }
    return "an address far from every operand";
  }

 private:
  std::vector<std::unique_ptr<Pages>> m_pages;
  size_t m_used = 0;
  Side m_side = Side::end;
};

/// What a call did to a page that does not allow it.
struct Fault {
  bool happened = false;
  bool isWrite = false;
  const uint8_t* address = nullptr;
};

namespace detail {
inline sigjmp_buf g_return;
inline Fault g_fault;

inline void onFault(int, siginfo_t* info, void* context) {
  constexpr greg_t kWriteBit = 2;  // of the processor's page fault error code
  const auto* const user = static_cast<const ucontext_t*>(context);
  g_fault = {true, (user->uc_mcontext.gregs[REG_ERR] & kWriteBit) != 0,
             static_cast<const uint8_t*>(info->si_addr)};
  siglongjmp(g_return, 1);
}
}  // namespace detail

/// Runs call(), which must own nothing: a fault leaves it where it is.
template <class Call>
Fault faultOf(Call&& call) {
  struct sigaction action = {}, before = {};
  action.sa_sigaction = detail::onFault;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSEGV, &action, &before);
  detail::g_fault = {};
  if (sigsetjmp(detail::g_return, 1) == 0) call();
  sigaction(SIGSEGV, &before, nullptr);
  return detail::g_fault;
}

}  // namespace guarded
