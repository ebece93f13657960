// Reading the scans of progressive files.
#include "decoder.h"

namespace jpeg {
namespace {

/// Walks over the units of a scan until its data end: `read(x, y)` reads one.
template <class Begin, class Read>
void walkUnits(const ScanJob& job, const ScanGeometry& geometry, Begin begin, Read read) {
  IntervalReader intervals(job);
  for (int y = 0; y < geometry.down; ++y) {
    job.reader->rebase();
    for (int x = 0; x < geometry.across; ++x) {
      if (intervals.begins()) begin();
      if (!intervals.hasData()) {
        // What has no restart markers has nothing behind the damage.
        if (job.restartInterval == 0) return;
        continue;
      }
      const RkdStatus status = read(x, y);
      if (status != rkdStsNoErr) [[unlikely]]
        intervals.damage(status);
    }
  }
}

/// Reads blocks of a scan: `code` reads one.
template <class Code>
Status readBlocks(const ScanJob& job, Coefficients* coefficients, Code code) {
  const Scan& scan = *job.scan;
  const ScanGeometry geometry = ScanGeometry::of(*job.frame, scan);
  std::array<int, kMaxComponents> previousDC{};
  const auto begin = [&] { previousDC.fill(0); };
  if (!scan.isInterleaved()) {
    const int index = scan.component[0].index;
    int16_t* const first = coefficients->block(index, 0, 0);
    const ptrdiff_t step = 64 * ptrdiff_t{job.frame->component[size_t(index)].paddedAcross};
    walkUnits(job, geometry, begin, [&](int x, int y) {
      return code(0, first + step * y + 64 * ptrdiff_t{x}, &previousDC[0]);
    });
    return Status::ok;
  }
  const UnitBlocks unit = UnitBlocks::of(*job.frame, scan);
  walkUnits(job, geometry, begin, [&](int x, int y) -> RkdStatus {
    for (int b = 0; b < unit.count; ++b) {
      const UnitBlocks::Place& p = unit.place[size_t(b)];
      const int index = scan.component[size_t(p.slot)].index;
      const Component& c = job.frame->component[size_t(index)];
      int16_t* const block = coefficients->block(index, y * c.v + p.row, x * c.h + p.column);
      const RkdStatus status = code(p.slot, block, &previousDC[size_t(p.slot)]);
      if (status != rkdStsNoErr) return status;
    }
    return rkdStsNoErr;
  });
  return Status::ok;
}

Status readDc(const ScanJob& job, Coefficients* coefficients) {
  ScanReader& r = *job.reader;
  const int al = job.scan->al;
  if (job.scan->ah == 0) {
    return readBlocks(job, coefficients, [&](int slot, int16_t* block, int* previousDC) {
      return rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(r.stream(), r.length(), r.position(), block,
                                                        previousDC, r.marker(), al,
                                                        job.tables->dc(slot).get(), r.state());
    });
  }
  return readBlocks(job, coefficients, [&](int, int16_t* block, int*) {
    return rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(r.stream(), r.length(), r.position(), block,
                                                       r.marker(), al, r.state());
  });
}

template <class Function>
Status readAc(const ScanJob& job, Coefficients* coefficients, Function function) {
  ScanReader& r = *job.reader;
  const Scan& scan = *job.scan;
  const auto* const spec = job.tables->ac(0).get();
  return readBlocks(job, coefficients, [&](int, int16_t* block, int*) {
    return function(r.stream(), r.length(), r.position(), block, r.marker(), scan.ss, scan.se,
                    scan.al, spec, r.state());
  });
}

}  // namespace

Status readProgressive(const ScanJob& job, Coefficients* coefficients) {
  const Scan& scan = *job.scan;
  const bool isDc = scan.ss == 0;
  if (scan.al > 13 || scan.se > 63 || scan.ss > scan.se || (!isDc && scan.isInterleaved())) {
    return Status::badScan;
  }
  if ((isDc && scan.se != 0) || (scan.ah != 0 && scan.ah != scan.al + 1)) {
    job.warnings->add(Status::oddScan);
  }
  if (isDc) return readDc(job, coefficients);
  return scan.ah == 0 ? readAc(job, coefficients, rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1)
                      : readAc(job, coefficients, rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1);
}

}  // namespace jpeg
