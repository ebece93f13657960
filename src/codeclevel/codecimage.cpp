// Source pictures of the codec suites.
#include "codecimage.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/imagefile.h"
#include "rkcommon.h"
#include "rkpicture.h"
#include "tzostream.h"

void rkCodecPicture::declare(tzTest& test, rkImageInput first,
                             std::initializer_list<const char*> files) {
  test.regParm(m_input);
  m_input.init("imageInput", "a bitmap file, or the generated picture");
  m_input.resetMap();
  m_input.addName(rkInputFile, "file");
  m_input.addName(rkInputJaehne, "jaehne");
  m_input.add(first);
  test.regParm(m_file);
  m_file.init("bmpFile", "a file in the input folder, or one that comes with the program");
  for (const char* file : files) m_file.add(file);
  m_file.dependOn(m_input, rkInputFile);
  test.regParm(m_size);
  m_size.init("size", "of the generated picture");
  copySizeList(m_size, g_codecSize);
  m_size.dependOn(m_input, rkInputJaehne);
}

tzString rkCodecPicture::refusal() const {
  const RkdiSize size = m_size.value();
  return !isFile() && (size.width < 1 || size.height < 1) ? "there is no sample" : "";
}

bool rkCodecPicture::create(int channels) {
  if (!isFile()) {
    m_image.init(rk8u, channels, false);
    return m_image.createImage(m_size.value(), -1, 4) && m_image.setJaehne();
  }
  if (!m_image.loadImage(rkFindPicture(name()), 4)) return false;
  if (m_image.channels() == channels) return true;
  g_ostrm << L_ERR << "--- Can't load file " << name() << ": numChannels != " << channels << "\n"
          << L_END;
  return false;
}

void rkCodecPicture::save() const {
  base::ImageShape shape;
  shape.width = m_image.width();
  shape.height = m_image.height();
  shape.channels = m_image.channels();
  std::vector<uint8_t> bytes;
  if (base::writeImage(shape, m_image.data(), size_t(m_image.step()), base::ImageFormat::bmp,
                       bytes) != base::ImageStatus::ok) {
    return;
  }
  const tzString path = io_stream::pathIn(io_stream::outputDir(), name());
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  const bool isWritten =
      file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if (file != nullptr) std::fclose(file);
  g_ostrm << L_INFO << (isWritten ? "    Saved as " : "    Cannot be saved as ") << path << "\n"
          << L_END;
}

double rkPsnr(const uint8_t* a, const uint8_t* b, size_t count) {
  double sum = 0;
  for (size_t i = 0; i < count; ++i) {
    const double difference = double(a[i]) - double(b[i]);
    sum += difference * difference;
  }
  return sum == 0 ? 999 : 10 * std::log10(255.0 * 255.0 * double(count) / sum);
}

double rkFloorOf(const std::vector<rkFloor>& table, const tzString& picture, double figure,
                 bool isHalved) {
  double floor = 8;
  double least = -1;
  for (const rkFloor& row : table) {
    const bool fits = std::strncmp(picture.c_str(), row.picture, std::strlen(row.picture)) == 0 &&
                      row.isHalved == isHalved && row.least <= figure;
    if (!fits || row.least <= least) continue;
    least = row.least;
    floor = row.psnr;
  }
  return floor;
}

tzResult rkJudgePsnr(double psnr, double floor, tzString& note) {
  if (psnr >= floor) return TZ_OK;
  char text[80];
  if (floor >= 999) {
    std::snprintf(text, sizeof text, "the picture did not come back as it was: PSNR %.2f dB", psnr);
  } else {
    std::snprintf(text, sizeof text, "PSNR %.2f dB instead of at least %.1f dB", psnr, floor);
  }
  note = text;
  return TZ_FUNCFAIL;
}
