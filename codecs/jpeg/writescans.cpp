// Writing coefficients: sequential scans and those of a progressive script. Every scan is walked
// twice, once to count its symbols and once to code them.
#include "scans.h"

namespace jpeg {
namespace {

/// The scan's components with the numbers of their tables.
Scan scanOf(const ScriptScan& s, Color color) {
  Scan scan;
  scan.componentCount = s.componentCount;
  scan.ss = s.ss;
  scan.se = s.se;
  scan.ah = s.ah;
  scan.al = s.al;
  for (int i = 0; i < s.componentCount; ++i) {
    const int index = s.component[size_t(i)], set = tableSetOf(index, color);
    scan.component[size_t(i)] = {index, set, set};
  }
  return scan;
}

/// The first coefficients of all blocks, side by side: scans of nothing else leave the rest of a
/// large picture's coefficients alone.
struct DcPlanes {
  static constexpr int kBlock = 1;
  Frame frame;
  std::array<std::vector<int16_t>, kMaxComponents> component;

  DcPlanes() = default;
  explicit DcPlanes(const Coefficients& coefficients) : frame(coefficients.frame) {
    for (size_t i = 0; i < size_t(frame.componentCount); ++i) {
      const size_t blocks = frame.component[i].blocks();
      component[i].resize(blocks);
      const int16_t* from = coefficients.block(int(i), 0, 0);
      for (size_t b = 0; b < blocks; ++b, from += 64) component[i][b] = *from;
    }
  }
  const int16_t* block(int index, int row, int column) const {
    const size_t i = size_t(index);
    return &component[i][size_t(row) * size_t(frame.component[i].paddedAcross) + size_t(column)];
  }
};

/// What all scans of a file need.
class ScansWriter {
 public:
  ScansWriter(const Coefficients& coefficients, const DcPlanes& dc, const EncodeOptions& options,
              Output& output)
      : coefficients_(coefficients),
        dc_(dc),
        interval_(options.restartInterval),
        output_(output),
        writer_(&output) {}

  /// @param counts  null for tables that are standard
  Status sequential(const Scan& scan, const SymbolCounts* counts);
  Status countSequential(const Scan& scan, SymbolCounts* counts) const;
  Status progressive(const Scan& scan);

 private:
  int set(const Scan& scan, int slot) const { return scan.component[size_t(slot)].acTable; }
  Status header(const Scan& scan, bool hasDc, bool hasAc);
  Status dcFirst(const Scan& scan);
  Status dcRefine(const Scan& scan);
  Status ac(const Scan& scan);
  template <class Count>
  Status countAc(const Scan& scan, Count count);
  template <class Code>
  Status codeAc(const Scan& scan, Code code);

  const Coefficients& coefficients_;
  const DcPlanes& dc_;
  const int interval_;
  Output& output_;
  ScanWriter writer_;
  EncodeTables tables_;
  std::array<bool, 2> usesSet_{};
};

/// Tables and scan header; the tables' specifications are made.
Status ScansWriter::header(const Scan& scan, bool hasDc, bool hasAc) {
  usesSet_.fill(false);
  for (int slot = 0; slot < scan.componentCount; ++slot) usesSet_[size_t(set(scan, slot))] = true;
  MarkerWriter markers;
  for (int i = 0; i < 2; ++i) {
    if (!usesSet_[size_t(i)]) continue;
    if (hasDc) {
      markers.huffman(false, i, tables_.dc[size_t(i)]);
      JPEG_RETURN_IF_ERROR(tables_.dcSpec[size_t(i)].init(tables_.dc[size_t(i)]));
    }
    if (hasAc) {
      markers.huffman(true, i, tables_.ac[size_t(i)]);
      JPEG_RETURN_IF_ERROR(tables_.acSpec[size_t(i)].init(tables_.ac[size_t(i)]));
    }
  }
  markers.scan(coefficients_.frame, scan);
  JPEG_RETURN_IF_ERROR(output_.write(markers.bytes()));
  return writer_.start();
}

Status ScansWriter::countSequential(const Scan& scan, SymbolCounts* counts) const {
  std::array<int, kMaxComponents> previousDC{};
  RkdStatus failure = rkdStsNoErr;
  JPEG_RETURN_IF_ERROR(walkScan(
      coefficients_, scan, interval_,
      [&] {
        previousDC.fill(0);
        return Status::ok;
      },
      [] { return Status::ok; },
      [&](int slot, const int16_t* block) {
        const size_t i = size_t(set(scan, slot));
        failure |= rkdiGetHuffmanStatistics8x8_JPEG_16s_C1(
            block, counts->dc[i].data(), counts->ac[i].data(), &previousDC[size_t(slot)]);
      }));
  return failure != rkdStsNoErr ? Status::libraryFailed : Status::ok;
}

Status ScansWriter::sequential(const Scan& scan, const SymbolCounts* counts) {
  tables_.setStandard();
  for (size_t i = 0; counts != nullptr && i < 2; ++i) {
    tables_.dc[i] = optimalTable(counts->dc[i]);
    tables_.ac[i] = optimalTable(counts->ac[i]);
  }
  JPEG_RETURN_IF_ERROR(header(scan, true, true));
  std::array<int, kMaxComponents> previousDC{};
  RkdStatus failure = rkdStsNoErr;
  JPEG_RETURN_IF_ERROR(walkScan(
      coefficients_, scan, interval_,
      [&] {
        previousDC.fill(0);
        return writer_.restart();
      },
      [&] { return output_.makeRoom(); },
      [&](int slot, const int16_t* block) {
        const size_t i = size_t(set(scan, slot));
        failure |=
            writer_.block(block, &previousDC[size_t(slot)], tables_.dcSpec[i], tables_.acSpec[i]);
      }));
  return failure != rkdStsNoErr ? Status::libraryFailed : writer_.flush();
}

Status ScansWriter::dcFirst(const Scan& scan) {
  std::array<Statistics, 2> counts{};
  std::array<int, kMaxComponents> previousDC{};
  RkdStatus failure = rkdStsNoErr;
  JPEG_RETURN_IF_ERROR(walkScan(
      dc_, scan, interval_,
      [&] {
        previousDC.fill(0);
        return Status::ok;
      },
      [] { return Status::ok; },
      [&](int slot, const int16_t* block) {
        failure |= rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(
            block, counts[size_t(set(scan, slot))].data(), &previousDC[size_t(slot)], scan.al);
      }));
  for (size_t i = 0; i < 2; ++i) tables_.dc[i] = optimalTable(counts[i]);
  JPEG_RETURN_IF_ERROR(header(scan, true, false));
  previousDC.fill(0);
  JPEG_RETURN_IF_ERROR(walkScan(
      dc_, scan, interval_,
      [&] {
        previousDC.fill(0);
        return writer_.restart();
      },
      [&] { return output_.makeRoom(); },
      [&](int slot, const int16_t* block) {
        failure |= rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
            block, output_.buffer(), Output::kBuffer, &output_.position, &previousDC[size_t(slot)],
            scan.al, tables_.dcSpec[size_t(set(scan, slot))].get(), writer_.state(), 0);
      }));
  return failure != rkdStsNoErr ? Status::libraryFailed : writer_.flush();
}

Status ScansWriter::dcRefine(const Scan& scan) {
  JPEG_RETURN_IF_ERROR(header(scan, false, false));
  RkdStatus failure = rkdStsNoErr;
  JPEG_RETURN_IF_ERROR(walkScan(
      dc_, scan, interval_, [&] { return writer_.restart(); }, [&] { return output_.makeRoom(); },
      [&](int, const int16_t* block) {
        failure |= rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, output_.buffer(),
                                                               Output::kBuffer, &output_.position,
                                                               scan.al, writer_.state(), 0);
      }));
  return failure != rkdStsNoErr ? Status::libraryFailed : writer_.flush();
}

/// @param count  statistics of a block, or with null the flush
template <class Count>
Status ScansWriter::countAc(const Scan& scan, Count count) {
  Statistics counts{};
  JPEG_RETURN_IF_ERROR(writer_.start());
  RkdStatus failure = rkdStsNoErr;
  const auto one = [&](const int16_t* block) {
    failure |= count(block, counts.data(), scan.ss, scan.se, scan.al, writer_.state(),
                     block == nullptr ? 1 : 0);
  };
  JPEG_RETURN_IF_ERROR(walkScan(
      coefficients_, scan, interval_,
      [&] {
        one(nullptr);
        return Status::ok;
      },
      [] { return Status::ok; }, [&](int, const int16_t* block) { one(block); }));
  one(nullptr);
  if (failure != rkdStsNoErr) return Status::libraryFailed;
  tables_.ac[size_t(set(scan, 0))] = optimalTable(counts);
  return header(scan, false, true);
}

/// @param code  codes a block, or with null flushes
template <class Code>
Status ScansWriter::codeAc(const Scan& scan, Code code) {
  const EncodeSpec& spec = tables_.acSpec[size_t(set(scan, 0))];
  RkdStatus failure = rkdStsNoErr;
  const auto one = [&](const int16_t* block) {
    failure |= code(block, output_.buffer(), Output::kBuffer, &output_.position, scan.ss, scan.se,
                    scan.al, spec.get(), writer_.state(), block == nullptr ? 1 : 0);
  };
  JPEG_RETURN_IF_ERROR(walkScan(
      coefficients_, scan, interval_,
      [&] {
        one(nullptr);
        return writer_.restart();
      },
      [&] { return output_.makeRoom(); }, [&](int, const int16_t* block) { one(block); }));
  JPEG_RETURN_IF_ERROR(output_.makeRoom());
  one(nullptr);
  return failure != rkdStsNoErr ? Status::libraryFailed : Status::ok;
}

Status ScansWriter::ac(const Scan& scan) {
  if (scan.ah == 0) {
    JPEG_RETURN_IF_ERROR(countAc(scan, rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1));
    return codeAc(scan, rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1);
  }
  JPEG_RETURN_IF_ERROR(countAc(scan, rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1));
  return codeAc(scan, rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1);
}

Status ScansWriter::progressive(const Scan& scan) {
  if (scan.ss > 0) return ac(scan);
  return scan.ah == 0 ? dcFirst(scan) : dcRefine(scan);
}

}  // namespace

Status writeSequential(const Coefficients& coefficients, const EncodeOptions& options,
                       Output& output) {
  const Frame& frame = coefficients.frame;
  const DcPlanes none;
  ScansWriter writer(coefficients, none, options, output);
  const auto write = [&](const ScriptScan& s) -> Status {
    const Scan scan = scanOf(s, coefficients.color);
    if (!options.optimize) return writer.sequential(scan, nullptr);
    SymbolCounts counts;
    JPEG_RETURN_IF_ERROR(writer.countSequential(scan, &counts));
    return writer.sequential(scan, &counts);
  };
  ScriptScan all;
  all.componentCount = frame.componentCount;
  for (int i = 0; i < frame.componentCount; ++i) all.component[size_t(i)] = i;
  if (ScanGeometry::of(frame, wholeScan(frame)).blocksInUnit <= kMaxBlocksInMcu) {
    return write(all);
  }
  for (int i = 0; i < frame.componentCount; ++i) {
    JPEG_RETURN_IF_ERROR(write({1, {i}, 0, 63, 0, 0}));
  }
  return Status::ok;
}

Status writeProgressive(const Coefficients& coefficients, const EncodeOptions& options,
                        Workers& workers, Output& output) {
  const Frame& frame = coefficients.frame;
  const bool hasChroma = coefficients.color == Color::ycbcr || coefficients.color == Color::ycck;
  const Script script =
      options.script.empty() ? defaultScript(frame.componentCount, hasChroma) : options.script;
  JPEG_RETURN_IF_ERROR(checkScript(script, frame.componentCount));
  const DcPlanes dc(coefficients);
  if (workers.count() == 1) {
    ScansWriter writer(coefficients, dc, options, output);
    for (const ScriptScan& s : script) {
      JPEG_RETURN_IF_ERROR(writer.progressive(scanOf(s, coefficients.color)));
    }
    return Status::ok;
  }
  // Scans do not depend on one another: each goes to memory of its own.
  std::vector<MemoryOutput> made(script.size());
  std::vector<Status> status(script.size(), Status::ok);
  workers.run(int(script.size()), [&](int i, int) {
    ScansWriter writer(coefficients, dc, options, made[size_t(i)].output);
    status[size_t(i)] = writer.progressive(scanOf(script[size_t(i)], coefficients.color));
  });
  for (size_t i = 0; i < script.size(); ++i) {
    JPEG_RETURN_IF_ERROR(status[i]);
    JPEG_RETURN_IF_ERROR(made[i].moveTo(output));
  }
  return Status::ok;
}

}  // namespace jpeg
