// Usage: bench_codecs [NAME] [PHOTO...]: workloads whose names contain NAME, on photographs in JPEG
// files; without any, on some that distribution packages bring.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <filesystem>
#include <limits>

#include "codecbench.h"
#include "rkd/rkdcore.h"

namespace bench {
namespace {

constexpr const char* kPhotos[] = {
    "/usr/share/backgrounds/picosdeeuropa_by_Aitzol_Berasategi.jpg",
    "/usr/share/backgrounds/umang_by_Abhishek_Mudgal.jpg",
    "/usr/share/backgrounds/mate/nature/Garden.jpg",
    "/usr/share/backgrounds/mate/nature/Storm.jpg",
};
// A part from the middle, large enough to leave every cache but the last one.
constexpr int kWidth = 2048, kHeight = 1280;
constexpr int kRounds = 7;

Photo cut(const Photo& whole) {
  Photo part;
  part.name = whole.name;
  part.width = std::min(kWidth, whole.width);
  part.height = std::min(kHeight, whole.height);
  const int x = (whole.width - part.width) / 2, y = (whole.height - part.height) / 2;
  for (int row = 0; row < part.height; ++row) {
    const auto from = whole.pixels.begin() + (ptrdiff_t(y + row) * whole.width + x) * 3;
    part.pixels.insert(part.pixels.end(), from, from + ptrdiff_t(part.width) * 3);
  }
  return part;
}

bool load(const char* path, Photo* photo) {
  std::FILE* const file = std::fopen(path, "rb");
  if (file == nullptr) return false;
  jpeg_decompress_struct d;
  jpeg_error_mgr errors;
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_stdio_src(&d, file);
  jpeg_read_header(&d, TRUE);
  d.out_color_space = JCS_RGB;
  jpeg_start_decompress(&d);
  Photo whole{std::filesystem::path(path).stem().string(),
              int(d.output_width),
              int(d.output_height),
              3,
              {}};
  whole.pixels.resize(size_t(whole.width) * whole.height * 3);
  while (d.output_scanline < d.output_height) {
    JSAMPROW row = &whole.pixels[size_t(d.output_scanline) * whole.width * 3];
    jpeg_read_scanlines(&d, &row, 1);
  }
  jpeg_finish_decompress(&d);
  jpeg_destroy_decompress(&d);
  std::fclose(file);
  *photo = cut(whole);
  return true;
}

double clocksOf(const std::function<void()>& function) {
  const uint64_t start = rkdGetCpuClocks();
  function();
  return double(rkdGetCpuClocks() - start);
}

}  // namespace

bool runWorkload(const Workload& workload, const std::vector<Photo>& photos,
                 const std::string& filter) {
  if (workload.name.find(filter) == std::string::npos) return true;
  double ours = 0, oursAvx2 = 0, peer = 0, pixels = 0;
  for (const Photo& photo : photos) {
    const Work work = workload.prepare(photo);
    double best[3];
    std::ranges::fill(best, std::numeric_limits<double>::max());
    for (int round = 0; round < kRounds; ++round) {
      rkdInit();
      best[0] = std::min(best[0], clocksOf(work.ours));
      if (work.peer) best[1] = std::min(best[1], clocksOf(work.peer));
      rkdInitCpu(rkdCpuAVX2);
      best[2] = std::min(best[2], clocksOf(work.ours));
    }
    rkdInit();
    ours += best[0];
    peer += work.peer ? best[1] : 0;
    oursAvx2 += best[2];
    pixels += photo.pixelCount();
  }
  std::printf("%-36s %7.2f", workload.name.c_str(), ours / pixels);
  if (peer == 0) {
    std::printf("  not measured: no peer\n");
    return true;
  }
  const double ratio = ours / peer, ratioAvx2 = oursAvx2 / peer;
  const bool reached =
      ratio <= workload.must && (workload.mustAtAvx2 == 0 || ratioAvx2 <= workload.mustAtAvx2);
  std::printf(" %7.2f  ratio %5.3f  must %.2f aim %.2f  AVX2 %5.3f", peer / pixels, ratio,
              workload.must, workload.aim, ratioAvx2);
  if (workload.mustAtAvx2 > 0) std::printf(" must %.2f", workload.mustAtAvx2);
  std::printf("  %s\n", !reached ? "MISSED" : ratio <= workload.aim ? "AIM" : "ok");
  std::fflush(stdout);
  return reached;
}

}  // namespace bench

int main(int argc, char** argv) {
  const std::string filter = argc > 1 ? argv[1] : "";
  std::vector<const char*> paths(argv + std::min(argc, 2), argv + argc);
  if (paths.empty()) paths.assign(std::begin(bench::kPhotos), std::end(bench::kPhotos));
  std::vector<bench::Photo> photos;
  for (const char* path : paths) {
    bench::Photo photo;
    if (bench::load(path, &photo)) photos.push_back(std::move(photo));
  }
  if (photos.empty()) {
    std::fprintf(stderr, "bench_codecs: no photographs; tools/setup.sh bench installs some\n");
    return 2;
  }
  std::printf("%-36s %7s %7s  on %zu photographs, clocks per pixel\n", "", "ours", "peer",
              photos.size());
  const bool jpeg = bench::benchJpegCodec(photos, filter);
  return bench::benchCodec2k(photos, filter) && jpeg ? 0 : 1;
}
