// dcmtk's lossless JPEG coder in memory.
#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmjpeg/djcparam.h>
#include <dcmtk/dcmjpeg/djdijg8.h>
#include <dcmtk/dcmjpeg/djeijg8.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "losslesspeer.h"

namespace bench {
namespace {

const DJCodecParameter& parameters() {
  static const DJCodecParameter p(ECC_lossyRGB, EDC_never, EUC_never, EPC_default);
  return p;
}

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_codecs: dcmtk: %s\n", what);
  std::exit(1);
}

}  // namespace

size_t encodeLosslessPeer(const Photo& photo, std::vector<uint8_t>* file) {
  DJCompressIJG8Bit encoder(parameters(), EJM_lossless, 1, 0);
  Uint8* made = nullptr;
  Uint32 length = 0;
  const OFCondition status =
      encoder.encode(Uint16(photo.width), Uint16(photo.height), EPI_RGB, Uint16(photo.channels),
                     const_cast<uint8_t*>(photo.pixels.data()), made, length);
  const std::unique_ptr<Uint8[]> owner(made);
  require(status.good() && length <= file->size(), "encoding");
  std::copy_n(made, length, file->begin());
  return length;
}

void decodeLosslessPeer(const std::vector<uint8_t>& file, std::vector<uint8_t>* pixels) {
  DJDecompressIJG8Bit decoder(parameters(), OFFalse);
  require(decoder.init().good(), "no decoder");
  const OFCondition status = decoder.decode(const_cast<uint8_t*>(file.data()), Uint32(file.size()),
                                            pixels->data(), Uint32(pixels->size()), OFFalse);
  require(status.good(), "decoding");
}

}  // namespace bench
