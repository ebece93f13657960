// dcmtk's lossless coder, where it is installed.
#pragma once

#include "codecbench.h"

namespace bench {

// Codes RGB by predictor 1; the file receives it. Returns its size.
size_t encodeLosslessPeer(const Photo& photo, std::vector<uint8_t>* file);
void decodeLosslessPeer(const std::vector<uint8_t>& file, std::vector<uint8_t>* pixels);

}  // namespace bench
