#pragma once
/// @file
/// The made-up photograph as an image, and its coefficients at quality 75.

#include <array>
#include <cstdint>
#include <vector>

#include "rkimage.h"

/// The typical luminance quantisers of ITU-T T.81, K.1, at quality 75, in natural order.
extern const std::array<uint16_t, 64> rkQuality75;

/// Fills an 8u image of one channel with the brightness of the photograph.
void rkFillPhoto(rkImage& image);

/// Quantised coefficients of a photograph, 64 a block; thousands of blocks, made by the plain
/// transform.
/// @param picture  of a sample picture (rkpicture.h); null: of the made-up one
/// @return none, after a line with the reason, when the picture cannot be read
std::vector<int16_t> rkPhotoCoefs(const char* picture = nullptr);
