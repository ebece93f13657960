#pragma once
/// @file
/// Adapter of the library's wavelets: the levels of whole components, by one thread each or, where
/// threads would be left without one, by all of them in parts of rows.

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "common/largepages.h"
#include "common/workers.h"
#include "transform.h"

namespace j2k {

/// Memory that grows and holds nothing between calls.
class WorkMemory {
 public:
  uint8_t* atLeast(size_t bytes);
  size_t bytes() const { return m_memory.size(); }

 private:
  std::vector<uint8_t, codecs::Uninitialised<uint8_t>> m_memory;
};

/// Work memories, as many as are in use at once: who comes when nobody else has one takes what was
/// used before, whichever thread that was, and waits for no pages.
class WorkMemories {
 public:
  /// A memory until the end of its life.
  class Loan {
   public:
    explicit Loan(WorkMemories& from) : m_from(from), m_memory(from.take()) {}
    ~Loan() { m_from.giveBack(std::move(m_memory)); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    uint8_t* atLeast(size_t bytes) { return m_memory->atLeast(bytes); }

   private:
    WorkMemories& m_from;
    std::unique_ptr<WorkMemory> m_memory;
  };

 private:
  std::unique_ptr<WorkMemory> take();
  void giveBack(std::unique_ptr<WorkMemory> memory);

  std::mutex m_mutex;
  std::vector<std::unique_ptr<WorkMemory>> m_free;  ///< the largest last
};

class Wavelets {
 public:
  explicit Wavelets(codecs::Workers& workers) : m_workers(workers) {}

  using Planes = std::span<const CoefficientPlanes* const>;
  /// Samples to coefficients and back. The same bits for every number of threads.
  void forward(Planes planes);
  void inverse(Planes planes);
  /// One component by the caller alone, which may be a task of the workers'.
  void inverse(const CoefficientPlanes& planes);
  /// Bytes of seams between parts that these planes take while they are transformed.
  int64_t seamBytes(Planes planes) const;

 private:
  template <bool Forward>
  void transform(Planes planes);
  template <bool Forward>
  void transformLevels(const CoefficientPlanes& planes);
  template <bool Forward>
  void transformInParts(const CoefficientPlanes& planes);
  template <bool Forward>
  void liftInParts(const WaveletLevel& level, WorkMemories::Loan& work);
  size_t wholeOnes(Planes planes) const;
  size_t bytesFor(const CoefficientPlanes& planes) const;

  codecs::Workers& m_workers;
  WorkMemories m_work;
  std::unique_ptr<PlaneMemory> m_seams;
  int64_t m_seamBytes = 0;
};

}  // namespace j2k
