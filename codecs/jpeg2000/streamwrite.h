#pragma once
/// @file
/// A codestream put together: headers, tile-parts, packets in their order.

#include <memory>
#include <vector>

#include "encodeplan.h"
#include "rate.h"
#include "tileencode.h"

namespace j2k {

/// Bytes of the codestream that are not packets: headers, and what of tile-parts does not depend
/// on what layers take.
LayerCosts fixedCosts(const Options& options, const EncodePlan& plan,
                      const std::vector<std::unique_ptr<TileEncoder>>& encoders);

/// The codestream of what rate control has chosen, appended to `out`.
void writeCodestream(const Options& options, const EncodePlan& plan,
                     std::vector<TilePackets>& tiles,
                     const std::vector<std::unique_ptr<TileEncoder>>& encoders,
                     std::vector<uint8_t>& out);

}  // namespace j2k
