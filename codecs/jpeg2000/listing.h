#pragma once
/// @file
/// The structure of a stream in readable lines: boxes, markers, tiles, packets.

#include "boxes.h"
#include "codestream.h"

namespace j2k {

void listStructure(const BoxInfo& boxes, const Codestream& stream, Diagnostics& out);

/// Every packet of every tile: where it stands, what it is of, how long header and body are. Damage
/// ends the list of a tile where it cannot be read on; it is told when the tile is decoded.
/// @param memory  BYTES that the state of the packet headers of one tile may take
void listPackets(const BoxInfo& boxes, const Codestream& stream, int64_t memory, Diagnostics& out);

}  // namespace j2k
