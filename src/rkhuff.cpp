// Pictures as coefficients, and the tables of the standard, for the Huffman suites.
#include "rkhuff.h"

#include <algorithm>
#include <cstring>

#include "rkphoto.h"
#include "rkpicture.h"
#include "tzostream.h"

namespace {

constexpr uint8_t kDCBits[] = {0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
constexpr uint8_t kDCValues[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
constexpr uint8_t kACBits[] = {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125};
constexpr uint8_t kACValues[] = {
    1,   2,   3,   0,   4,   17,  5,   18,  33,  49,  65,  6,   19,  81,  97,  7,   34,  113,
    20,  50,  129, 145, 161, 8,   35,  66,  177, 193, 21,  82,  209, 240, 36,  51,  98,  114,
    130, 9,   10,  22,  23,  24,  25,  26,  37,  38,  39,  40,  41,  42,  52,  53,  54,  55,
    56,  57,  58,  67,  68,  69,  70,  71,  72,  73,  74,  83,  84,  85,  86,  87,  88,  89,
    90,  99,  100, 101, 102, 103, 104, 105, 106, 115, 116, 117, 118, 119, 120, 121, 122, 131,
    132, 133, 134, 135, 136, 137, 138, 146, 147, 148, 149, 150, 151, 152, 153, 154, 162, 163,
    164, 165, 166, 167, 168, 169, 170, 178, 179, 180, 181, 182, 183, 184, 185, 186, 194, 195,
    196, 197, 198, 199, 200, 201, 202, 210, 211, 212, 213, 214, 215, 216, 217, 218, 225, 226,
    227, 228, 229, 230, 231, 232, 233, 234, 241, 242, 243, 244, 245, 246, 247, 248, 249, 250};

}  // namespace

const rkHuffTable rkStandardDC = {kDCBits, kDCValues};
const rkHuffTable rkStandardAC = {kACBits, kACValues};

tzMapIterator<int> g_huffPicture("Picture");
tzIterator<RkdiSize> g_upperSize("Size");

namespace {

int namePictures() {
  g_huffPicture["jaehne"] = rkPictureJaehne;
  g_huffPicture["photo"] = rkPicturePhoto;
  g_huffPicture["rose"] = rkPictureRose;
  g_huffPicture["sbikers2"] = rkPictureBikers;
  g_huffPicture.add(rkPictureJaehne);
  g_huffPicture.add(rkPicturePhoto);
  return 1;
}
[[maybe_unused]] const int named = namePictures();

}  // namespace

bool rkHuffCoefs::create(RkdiSize size, int picture) {
  RkdiSize whole = {size.width & ~7, size.height & ~7};
  if (whole.width == 0 || whole.height == 0) whole = {0, 0};
  m_image.init(rk8u, 1, false);
  m_coefs.init(rk16s);
  if (!m_image.createImage(whole) ||
      !m_coefs.createVector(whole.width * whole.height, rkModeZero)) {
    return false;
  }
  if (total() == 0) return true;
  if (picture == rkPictureJaehne) {
    m_image.setJaehne(100);
  } else if (picture == rkPicturePhoto) {
    rkFillPhoto(m_image);
  } else if (!rkFillPicture(m_image, picture == rkPictureRose ? "rose" : "sbikers2")) {
    return false;
  }
  return transform(picture);
}

bool rkHuffCoefs::transform(int picture) {
  rkVector table;
  table.init(rk16u);
  if (!table.createVector(256, rkModeZero)) return false;
  std::copy(rkQuality75.begin(), rkQuality75.end(), table.data16u());
  int16_t* block = data();
  int nonZero = 0;
  for (int y = 0; y < m_image.height(); y += 8) {
    for (int x = 0; x < m_image.width(); x += 8, block += 64) {
      const auto* pixels = static_cast<const uint8_t*>(m_image.getPointerAt(x, y, 0));
      if (rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(pixels, m_image.step(), block) < 0) return false;
      if (picture != rkPictureJaehne && rkdiQuantFwd8x8_JPEG_16s_C1I(block, table.data16u()) < 0) {
        return false;
      }
      for (int i = 0; i < 64; ++i) nonZero += block[i] != 0;
    }
  }
  g_ostrm << L_INFO << "    Non-zero coefficients a block: " << nonZero * 64.0 / total() << "\n"
          << L_END;
  return true;
}

void rkHuffCoefs::flush() {
  m_image.deleteVector();
  m_coefs.deleteVector();
}

void rkListUpperSizes() {
  g_upperSize.init("Size");
  for (const RkdiSize& whole : g_imageSize) {
    const RkdiSize upper = {whole.width, std::min(whole.height, 64)};
    const auto isUpper = [&](const RkdiSize& size) {
      return size.width == upper.width && size.height == upper.height;
    };
    // Two sizes of one width may have the same upper part, and a table has no line twice.
    if (std::none_of(g_upperSize.begin(), g_upperSize.end(), isUpper)) g_upperSize.add(upper);
  }
}

void rkPrintStreamInfo(int bytes, int pixels) {
  if (pixels == 0) return;
  g_ostrm << L_INFO << "    Bits a pixel: " << 8.0 * bytes / pixels << "\n" << L_END;
}

bool rkHuffTest::canStart() {
  regSizeParm(g_imageSize);
  regParm(g_huffPicture);
  return true;
}

bool rkHuffTest::initData() {
  tool().setLoopFactor(-3);
  m_data.decoded.init(rk16s);
  const rkHuffCoefs& coefs = m_data.coefs;
  if (!m_data.coefs.create(g_imageSize.value(), g_huffPicture.value()) ||
      !m_data.stream.createBitVector(2 * coefs.total()) ||
      !m_data.decoded.createVector(coefs.total(), rkModeZero) ||
      !m_data.coders.alloc(rkStandardDC, rkStandardAC, verifying())) {
    return false;
  }
  if (coefs.total() == 0) return true;
  int bytes = 0;
  if (checkStatus(encodeOnce(bytes), "the preparing encoder") > TZ_WARNING) return false;
  rkPrintStreamInfo(bytes, coefs.total());
  if (func().baseName().find("Encode", 0) >= 0) {
    std::memset(m_data.stream.data(), 0, static_cast<std::size_t>(m_data.stream.length()));
  }
  return true;
}

void rkHuffTest::flushData() {
  m_data.coefs.flush();
  m_data.stream.deleteVector();
  m_data.decoded.deleteVector();
  m_data.coders.free();
}
