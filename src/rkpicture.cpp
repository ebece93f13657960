// The sample pictures: where they lie, and their brightness.
#include "rkpicture.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "base/imagefile.h"
#include "tzostream.h"

namespace {

struct Brightness {
  int width = 0, height = 0;
  std::vector<uint8_t> samples;
};

/// @return the text of what is wrong, or null
const char* readBrightness(const tzString& path, Brightness& picture) {
  std::ifstream in(path.c_str(), std::ios::binary);
  if (!in) return "Open error";
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
  base::Image image;
  const base::ImageStatus status = base::readImage(bytes, image);
  if (status != base::ImageStatus::ok) return base::text(status);
  const size_t channels = size_t(image.shape.channels);
  if (image.shape.depth != 8 || channels == 2) return "not a picture of 8 bits";
  picture.width = image.shape.width;
  picture.height = image.shape.height;
  picture.samples.resize(size_t(picture.width) * size_t(picture.height));
  const uint8_t* from = image.samples.data();
  for (uint8_t& to : picture.samples) {
    to = channels == 1 ? *from : uint8_t((77 * from[0] + 150 * from[1] + 29 * from[2]) >> 8);
    from += channels;
  }
  return nullptr;
}

/// A coordinate inside of a side, mirrored at both ends.
int mirrored(int at, int side) {
  const int period = 2 * side;
  const int place = (at % period + period) % period;
  return place < side ? place : period - 1 - place;
}

}  // namespace

tzString rkFindPicture(const tzString& name) {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path beside = error ? std::filesystem::path() : self.parent_path();
  const tzString given = io_stream::pathIn(io_stream::inputDir(), name);
  for (const tzString& path :
       {given, tzString((beside / name.c_str()).c_str()),
        tzString((beside / "../share/tazmet" / name.c_str()).lexically_normal().c_str())}) {
    if (access(path.c_str(), F_OK) != 0) continue;
    g_ostrm << L_INFO << "    Picture: " << path << "\n" << L_END;
    return path;
  }
  return name;
}

bool rkFillPicture(rkImage& image, const char* name) {
  // Read once: suites make their data anew for every combination.
  static std::map<std::string, Brightness> known;
  const tzString path = rkFindPicture(tzString(name) + ".bmp");
  Brightness& picture = known[path.str()];
  if (picture.samples.empty()) {
    if (const char* const wrong = readBrightness(path, picture)) {
      g_ostrm << L_ERR << "--- Can't load file " << path << ": " << wrong << "\n" << L_END;
      return false;
    }
  }
  const int left = (picture.width - image.width()) / 2, top = (picture.height - image.height()) / 2;
  for (int y = 0; y < image.height(); ++y) {
    const uint8_t* const from =
        picture.samples.data() + size_t(mirrored(top + y, picture.height)) * size_t(picture.width);
    auto* const row = static_cast<uint8_t*>(image.getRowPointer(y));
    for (int x = 0; x < image.width(); ++x) row[x] = from[mirrored(left + x, picture.width)];
  }
  return true;
}
