#pragma once
/// @file
/// Adapter of the library's wavelets in place: the levels of whole components, by one thread each
/// or, of a forward transform, where threads would be left without one, by all of them in parts of
/// rows.

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "common/workers.h"
#include "largepages.h"
#include "transform.h"

namespace j2k {

/// Work memories, as many as are in use at once: who comes when nobody else has one takes what was
/// used before, whichever thread that was, and waits for no pages.
class WorkMemories {
  using Memory = std::vector<uint8_t, Uninitialised<uint8_t>>;

 public:
  /// A memory until the end of its life.
  class Loan {
   public:
    explicit Loan(WorkMemories& from) : m_from(from), m_memory(from.take()) {}
    ~Loan() { m_from.giveBack(std::move(m_memory)); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    /// It holds nothing from one call to the next.
    uint8_t* atLeast(size_t bytes);

   private:
    WorkMemories& m_from;
    Memory m_memory;
  };

 private:
  Memory take();
  void giveBack(Memory memory) noexcept;

  std::mutex m_mutex;
  std::vector<Memory> m_free;  ///< the largest last; there is room for those that are lent
  size_t m_count = 0;          ///< free ones, and those that are lent
};

class Wavelets {
 public:
  explicit Wavelets(codecs::Workers& workers) : m_workers(workers) {}

  using Planes = std::span<const CoefficientPlanes* const>;
  /// Samples to coefficients. The same bits for every number of threads.
  void forward(Planes planes);
  /// Coefficients of one component to samples, up to topInPlace(), by the caller alone, which may
  /// be a task of the workers'.
  void inverse(const CoefficientPlanes& planes);
  /// Bytes of seams between parts that these planes take while they are transformed forward.
  int64_t seamBytes(Planes planes) const;
  /// Bytes of work memory that these planes take, in whatever order they are transformed.
  /// @throws Failure  where a plane is larger than what the library transforms
  int64_t workBytes(Planes planes) const;
  int64_t inverseBytes(Planes planes) const;

 private:
  static size_t inverseBytes(const CoefficientPlanes& planes);
  void liftInParts(const WaveletLevel& level, WorkMemories::Loan& work);
  size_t wholeOnes(Planes planes) const;
  size_t bytesFor(const CoefficientPlanes& planes) const;

  codecs::Workers& m_workers;
  WorkMemories m_work;
  std::unique_ptr<PlaneMemory> m_seams;
  int64_t m_seamBytes = 0;
};

}  // namespace j2k
