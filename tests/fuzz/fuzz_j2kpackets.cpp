// Packet headers and bodies: behind a few bytes that choose the geometry come the packets of one
// tile, under a main header that is in order.
#include <vector>

#include "codestream.h"
#include "fuzz.h"
#include "picture.h"

namespace {

std::vector<std::uint8_t> streamOf(const std::uint8_t* choice, j2k::ByteSpan packets) {
  j2k::ImageShape shape;
  shape.image = {choice[0] & 7, choice[0] >> 3 & 7, 20 + choice[1], 20 + choice[2]};
  shape.firstTile = {0, 0, shape.image.x1, shape.image.y1};
  const int components = 1 + choice[3] % 3;
  shape.components.resize(std::size_t(components));
  j2k::Coding coding;
  coding.order = j2k::Order(choice[4] % 5);
  coding.sop = (choice[4] & 64) != 0;
  coding.eph = (choice[4] & 128) != 0;
  coding.layers = 1 + choice[5] % 20;
  j2k::ComponentCoding own;
  own.partition.levels = choice[6] % 6;
  own.partition.blockWidth = own.partition.blockHeight = 2 + choice[6] / 64;
  own.partition.precincts.fill(std::uint8_t(0x11 * (1 + choice[7] % 8)));
  own.style = choice[7] >> 3 & 31;
  coding.components.assign(shape.components.size(), own);
  j2k::Quantization steps;
  steps.count = 3 * own.partition.levels + 1;
  steps.steps.fill(9 << 11);
  coding.quantization.assign(shape.components.size(), steps);
  coding.roiShift.assign(shape.components.size(), 0);
  std::vector<std::uint8_t> out;
  j2k::writeMainHeader(out, shape, coding, "");
  const std::size_t sot = j2k::writeTilePart(out, 0, 0, 1);
  j2k::put16(out, j2k::markerSod);
  out.insert(out.end(), packets.begin(), packets.end());
  j2k::finishTilePart(out, sot);
  j2k::put16(out, j2k::markerEoc);
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t choices = 8;
  if (size < choices) return 0;
  const std::vector<std::uint8_t> file = streamOf(data, {data + choices, size - choices});
  j2k::Options options;
  options.memoryMiB = 32;
  options.listing = (data[3] & 128) != 0;
  if (data[3] & 64) options.crop = {3, 5, 20, 11};
  j2k::Diagnostics none;
  std::vector<j2k::Channel> channels;
  j2k::PictureInfo info;
  const j2k::Status status = j2k::decodeChannels(options, none, file, channels, info);
  require(status != j2k::Status::ok || channels.size() == std::size_t(1 + data[3] % 3),
          "all components are there");
  return 0;
}
