#pragma once
/// @file
/// The structure of a stream in readable lines: boxes, markers, tiles.

#include "boxes.h"
#include "codestream.h"

namespace j2k {

void listStructure(const BoxInfo& boxes, const Codestream& stream, Diagnostics& out);

}  // namespace j2k
