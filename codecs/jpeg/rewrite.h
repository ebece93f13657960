#pragma once
/// @file
/// Files taken apart into marker segments, and put together again with other metadata: the coded
/// picture stays byte for byte, whatever its process.

#include <span>
#include <vector>

#include "jpeg.h"

namespace jpeg {

/// A marker with its segment.
struct MarkerSegment {
  int marker = 0;     ///< its second byte
  size_t offset = 0;  ///< of its first byte in the file
  std::span<const uint8_t> payload;
};

/// The markers of a file from SOI to EOI, restart markers and damaged ones apart.
/// @param untilScan  nothing behind the first SOS
std::vector<MarkerSegment> segmentsOf(std::span<const uint8_t> file, bool untilScan);

/// What a file carries in front of its first scan. @return ok, notJpeg
Status readMetadata(std::span<const uint8_t> file, Metadata* metadata);

/// Writes a file with these metadata in place of its own in front of the first scan.
/// @param keepsRest  with what stands behind that: metadata between scans, and bytes behind EOI,
///                   where cameras put further pictures
/// @return ok, notJpeg, noScan, metadataTooLong, and the sink's
Status rewriteMetadata(std::span<const uint8_t> file, const Metadata& metadata, bool keepsRest,
                       ByteSink& bytes);

}  // namespace jpeg
