// The headers of a codestream: the main one, those of tile-parts, and where they stand.
#include "codestream.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const j2k::ByteSpan bytes(data, size);
  j2k::Diagnostics none;
  j2k::Reporter report(none, false);
  try {
    j2k::Codestream stream = j2k::readMainHeader(bytes, report);
    const j2k::Rect& image = stream.shape.image;
    // The whole, and the first pixel alone, which TLM leads to.
    for (const j2k::Rect& part :
         {image, j2k::Rect{image.x0, image.y0, image.x0 + 1, image.y0 + 1}}) {
      stream.tileParts.clear();
      stream.ofTile.clear();
      j2k::findTileParts(stream, bytes, stream.shape.tilesOf(part), report);
      for (const j2k::TilePart& p : stream.tileParts) {
        require(p.tile < stream.shape.tiles() && p.body.data() + p.body.size() <= data + size,
                "a tile-part lies in the stream");
      }
      for (const auto& [tile, parts] : stream.ofTile) {
        try {
          (void)j2k::readTileHeader(stream, tile, report);
        } catch (const j2k::Failure&) {
          // One tile's header says nothing of the next one's.
        }
      }
    }
  } catch (const j2k::Failure&) {
    // Refused by number.
  }
  return 0;
}
