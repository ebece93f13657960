/// @file
/// What the targets for image files share: whatever parses must be readable, row by row, and what
/// is read must come back from a file written.
#pragma once

#include <cstring>
#include <span>
#include <vector>

#include "base/imagefile.h"
#include "fuzz.h"

/// Writes the picture and reads it again.
inline void rewriteImage(const base::Image& image, base::ImageFormat format) {
  std::vector<std::uint8_t> file;
  const auto status = base::writeImage(image.shape, image.row(0), image.step, format, file);
  require(status == base::ImageStatus::ok || status == base::ImageStatus::notInFormat,
          "a picture that was read can be written where there is a form for it");
  if (status != base::ImageStatus::ok) return;
  base::Image again;
  const bool stored = image.shape.channels == 4 || image.shape.blueFirst;
  require(base::readImage(file, again, stored ? base::BmpPixels::stored : base::BmpPixels::rgb) ==
              base::ImageStatus::ok,
          "a file written is read");
  require(again.shape == image.shape && again.samples == image.samples,
          "a picture written reads back the same");
}

inline void exerciseImage(std::span<const std::uint8_t> file, base::BmpPixels pixels) {
  base::ImageLayout layout;
  const auto parsed = base::parseImage(file, file.size(), layout, pixels);
  require(*base::text(parsed) != 0, "a refusal has a text");
  base::Image image;
  const auto status = base::readImage(file, image, pixels);
  if (parsed != base::ImageStatus::ok) {
    require(status == parsed, "a file is refused for one reason");
    return;
  }
  require(layout.pixelsEnd() <= file.size(), "samples lie in the file");
  // One byte holds eight pixels of three channels at most.
  require(image.samples.size() / 24 <= file.size(), "a small file makes no large picture");
  if (layout.rowsAreSamples) {
    require(std::memcmp(image.row(0), file.data() + layout.rowOffset(0), layout.fileRowBytes) == 0,
            "rows that are samples are");
  }
  if (status == base::ImageStatus::ok) rewriteImage(image, layout.format);
}
