#pragma once
/// @file
/// The walk over the coefficients of a scan, for those who write, count or read it.

#include "coder.h"

namespace jpeg {

/// Of coefficients, or of what holds `kBlock` values a block at `block(index, row, column)`.
/// Calls `block(slot, pointer)` for every block of a scan in its order, `unit()` before each unit
/// and `interval()` before each unit that begins a restart interval but the first. `unit` and
/// `interval` return a Status, and an error ends the walk.
template <class Plane, class OnInterval, class OnUnit, class OnBlock>
Status walkScan(Plane& coefficients, const Scan& scan, int restartInterval, OnInterval interval,
                OnUnit unit, OnBlock block) {
  const Frame& frame = coefficients.frame;
  const UnitBlocks blocks = UnitBlocks::of(frame, scan);
  const ScanGeometry geometry = ScanGeometry::of(frame, scan);
  struct Factors {
    int index, h, v;
  };
  std::array<Factors, kMaxComponents> factors{};
  for (int slot = 0; slot < scan.componentCount; ++slot) {
    const int index = scan.component[size_t(slot)].index;
    const Component& c = frame.component[size_t(index)];
    factors[size_t(slot)] = scan.isInterleaved() ? Factors{index, c.h, c.v} : Factors{index, 1, 1};
  }
  Intervals intervals(restartInterval);
  if (!scan.isInterleaved()) {
    for (int y = 0; y < geometry.down; ++y) {
      auto* at = coefficients.block(factors[0].index, y, 0);
      for (int x = 0; x < geometry.across; ++x, at += Plane::kBlock) {
        if (intervals.endsHere()) JPEG_RETURN_IF_ERROR(interval());
        JPEG_RETURN_IF_ERROR(unit());
        block(0, at);
      }
    }
    return Status::ok;
  }
  for (int y = 0; y < geometry.down; ++y) {
    for (int x = 0; x < geometry.across; ++x) {
      if (intervals.endsHere()) JPEG_RETURN_IF_ERROR(interval());
      JPEG_RETURN_IF_ERROR(unit());
      for (int b = 0; b < blocks.count; ++b) {
        const UnitBlocks::Place& p = blocks.place[size_t(b)];
        const Factors& f = factors[size_t(p.slot)];
        block(p.slot, coefficients.block(f.index, y * f.v + p.row, x * f.h + p.column));
      }
    }
  }
  return Status::ok;
}

}  // namespace jpeg
