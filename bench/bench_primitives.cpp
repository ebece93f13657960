// Primitives beside the best open peer, with ratios. An argument restricts the run to cases whose
// name contains it; the exit code is 1 when a case missed its "must".
#include <cstdio>

#include "benchkit.h"
#include "rkd/rkdcore.h"

int main(int argc, char** argv) {
  std::printf("Clocks of the time-stamp counter a unit, minima in turns; level %s\n",
              rkdGetLevelName());
  bench::Table table(argc > 1 ? argv[1] : "");
  bench::benchCodeBlock(table);
  bench::benchColor(table);
  bench::benchDct(table);
  bench::benchSample(table);
  bench::benchWavelet(table);
  bench::benchComponent(table);
  bench::benchBands(table);
  bench::benchHuffman(table);
  bench::benchPct(table);
  bench::benchTiff(table);
  bench::benchTexture(table);
  table.summary();
  return table.allReached() ? 0 : 1;
}
