// Reading the scans of progressive files.
#include "decoder.h"

namespace jpeg {
namespace {

/// Reads blocks of a scan until its data end: `code` reads one.
template <class Code>
Status readBlocks(const ScanJob& job, Coefficients* coefficients, Code code) {
  const Frame& frame = *job.frame;
  const Scan& scan = *job.scan;
  const UnitBlocks unit = UnitBlocks::of(frame, scan);
  const ScanGeometry geometry = ScanGeometry::of(frame, scan);
  IntervalReader intervals(job);
  std::array<int, kMaxComponents> previousDC{};
  for (int y = 0; y < geometry.down; ++y) {
    job.reader->rebase();
    for (int x = 0; x < geometry.across; ++x) {
      if (intervals.begins()) previousDC.fill(0);
      if (!intervals.hasData()) {
        // What has no restart markers has nothing behind the damage.
        if (job.restartInterval == 0) return Status::ok;
        continue;
      }
      for (int b = 0; b < unit.count; ++b) {
        const UnitBlocks::Place& p = unit.place[size_t(b)];
        const int index = scan.component[size_t(p.slot)].index;
        const Component& c = frame.component[size_t(index)];
        const int row = scan.isInterleaved() ? y * c.v + p.row : y;
        const int column = scan.isInterleaved() ? x * c.h + p.column : x;
        const RkdStatus status =
            code(p.slot, coefficients->block(index, row, column), &previousDC[size_t(p.slot)]);
        if (status != rkdStsNoErr) [[unlikely]] {
          intervals.damage(status);
          break;
        }
      }
    }
  }
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
