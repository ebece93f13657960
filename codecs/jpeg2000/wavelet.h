#pragma once
/// @file
/// Adapter of the library's wavelets: the levels of whole components, by one thread each or, where
/// threads would be left without one, by all of them in parts of rows.

#include <memory>
#include <span>
#include <vector>

#include "common/workers.h"
#include "transform.h"

namespace j2k {

/// Memory that grows and holds nothing between calls.
class WorkMemory {
 public:
  uint8_t* atLeast(size_t bytes);

 private:
  std::unique_ptr<uint8_t[]> m_memory;
  size_t m_bytes = 0;
};

class Wavelets {
 public:
  explicit Wavelets(codecs::Workers& workers)
      : m_workers(workers), m_work(size_t(workers.count())) {}

  using Planes = std::span<const CoefficientPlanes* const>;
  /// Samples to coefficients and back. The same bits for every number of threads.
  void forward(Planes planes);
  void inverse(Planes planes);
  /// One component by one of the workers, from a task of theirs.
  void inverse(const CoefficientPlanes& planes, int worker);
  /// Bytes of seams between parts that these planes take while they are transformed.
  int64_t seamBytes(Planes planes) const;

 private:
  template <bool Forward>
  void transform(Planes planes);
  template <bool Forward>
  void transformLevels(const CoefficientPlanes& planes, int worker);
  template <bool Forward>
  void transformInParts(const CoefficientPlanes& planes);
  template <bool Forward>
  void liftInParts(const WaveletLevel& level);
  size_t wholeOnes(Planes planes) const;

  codecs::Workers& m_workers;
  std::vector<WorkMemory> m_work;  ///< of workers
  std::unique_ptr<PlaneMemory> m_seams;
  int64_t m_seamBytes = 0;
};

}  // namespace j2k
