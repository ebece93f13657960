#pragma once
/// @file
/// From components to pixels: palettes, channel definitions, sub-sampled components, luma and
/// chroma; and samples of any depth to what a file format holds.

#include <cstdint>
#include <vector>

#include "diag.h"
#include "jpeg2000.h"
#include "largepages.h"

namespace j2k {

/// One channel of a picture, at the picture's size or its component's own.
struct Channel {
  int width = 0, height = 0;
  int dx = 1, dy = 1;
  int precision = 8;
  bool isSigned = false;
  std::vector<int32_t> samples;
};

/// Applies palette and component mapping.
std::vector<Channel> applyPalette(std::vector<Channel> components, const ColourBoxes& boxes,
                                  Reporter& report);

/// Colours first, in their order, then opacity. @return how many are colours
int orderChannels(std::vector<Channel>& channels, const ColourBoxes& boxes, Reporter& report);

/// Repeats samples of components that are coarser than the picture.
void enlarge(Channel& channel, const PictureInfo& info);

/// Luma and chroma of the first three channels to red, green and blue.
void convertLumaChroma(std::vector<Channel>& channels);

/// Whether components are pixels as they are: what may be decoded straight to where it belongs.
bool plainPixels(const PictureInfo& info, const ColourBoxes& boxes);

/// Interleaved samples of equal depth.
struct Pixels {
  int width = 0, height = 0, channels = 0;
  int depth = 8;
  std::vector<uint8_t, Uninitialised<uint8_t>>
      bytes;  ///< one or two a sample, in the machine's order
};

/// Decodes a file to grey or colour pixels, and opacity where there is some.
/// @param mostDepth  samples of more bits are cut to it, and those of fewer are widened to 8
Status decodePixels(const Options& options, Diagnostics& diagnostics, std::span<const uint8_t> file,
                    int mostDepth, Pixels& pixels, PictureInfo& info);

/// Decodes a file to channels at their own sizes.
Status decodeChannels(const Options& options, Diagnostics& diagnostics,
                      std::span<const uint8_t> file, std::vector<Channel>& channels,
                      PictureInfo& info);

}  // namespace j2k
