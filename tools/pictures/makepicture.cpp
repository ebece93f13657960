// Makes the sample pictures: makepicture rose|bikers FILE.bmp.
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/imagefile.h"
#include "paint.h"

namespace {

bool write(const char* path, const std::vector<uint8_t>& bytes) {
  std::FILE* file = std::fopen(path, "wb");
  if (file == nullptr) return false;
  const bool whole = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return (std::fclose(file) == 0) && whole;
}

}  // namespace

int main(int argc, char** argv) {
  const bool isRose = argc == 3 && std::strcmp(argv[1], "rose") == 0;
  const bool isBikers = argc == 3 && std::strcmp(argv[1], "bikers") == 0;
  if (!isRose && !isBikers) {
    std::fprintf(stderr, "usage: makepicture rose|bikers FILE.bmp\n");
    return 2;
  }
  const paint::Picture picture = isRose ? paint::paintRose() : paint::paintBikers();
  base::ImageShape shape;
  shape.width = picture.width;
  shape.height = picture.height;
  shape.channels = 3;
  std::vector<uint8_t> file;
  const base::ImageStatus status = base::writeImage(shape, picture.samples.data(), shape.rowBytes(),
                                                    base::ImageFormat::bmp, file);
  if (status != base::ImageStatus::ok || !write(argv[2], file)) {
    std::fprintf(stderr, "makepicture: cannot write %s\n", argv[2]);
    return 1;
  }
  return 0;
}
