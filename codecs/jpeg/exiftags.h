#pragma once
/// @file
/// The tags that Exif has, with what their values mean.

#include "exif.h"

namespace jpeg::exif {

/// Tags that the code knows by their meaning.
enum Tag : uint16_t {
  kImageWidth = 0x0100,
  kImageLength = 0x0101,
  kStripOffsets = 0x0111,
  kOrientation = 0x0112,
  kStripByteCounts = 0x0117,
  kSubIfds = 0x014A,
  kJpegOffset = 0x0201,
  kJpegLength = 0x0202,
  kPhotoPointer = 0x8769,
  kGpsPointer = 0x8825,
  kExifVersion = 0x9000,
  kMakerNote = 0x927C,
  kPixelXDimension = 0xA002,
  kPixelYDimension = 0xA003,
  kInteropPointer = 0xA005,
  kGpsVersion = 0x0000,
};

/// A tag whose value is the place of a directory.
struct DirectoryPointer {
  Directory in, to;
  uint16_t tag;
};
/// From the first directory on.
inline constexpr DirectoryPointer kPointers[] = {
    {Directory::image, Directory::photo, kPhotoPointer},
    {Directory::image, Directory::gps, kGpsPointer},
    {Directory::photo, Directory::interop, kInteropPointer}};
/// From the farthest on.
inline constexpr DirectoryPointer kPointersInwards[] = {kPointers[2], kPointers[1], kPointers[0]};

inline bool isPointer(Directory d, uint16_t tag) {
  for (const DirectoryPointer& p : kPointers) {
    if (p.tag == tag && (p.in == d || d == Directory::thumbnail)) return true;
  }
  return false;
}

/// What values stand for, beside plain numbers and texts.
enum class Meaning : uint8_t {
  plain,
  choice,         ///< one of the tag's choices
  seconds,        ///< an exposure time
  fNumber,        ///< a number of the diaphragm
  apexTime,       ///< minus the logarithm of an exposure time
  apexAperture,   ///< twice the logarithm of a number of the diaphragm
  exposureValue,  ///< in EV
  metres,
  millimetres,
  degrees,
  version,     ///< four digits
  comment,     ///< a text whose first eight bytes name its code
  components,  ///< Y, Cb, Cr and so on
  coordinate,  ///< degrees, minutes, seconds; the tag before tells the hemisphere
  clock,       ///< hours, minutes, seconds
  altitude,    ///< metres; the tag before tells whether below the sea
  lens,        ///< focal lengths and apertures
  bytes,       ///< nothing that can be shown but its size
};

/// A value with a name.
struct Choice {
  int value;
  const char* name;
};

/// One tag of the standard.
struct TagInfo {
  Directory directory;
  uint16_t tag;
  const char* name;
  Type type;  ///< as it is written; the standard lets some sizes be shorter
  int count;  ///< of values; 0: any number
  Meaning meaning = Meaning::plain;
  std::span<const Choice> choices = {};
};

/// Null for a tag that the standard does not have. The thumbnail has the image's tags.
const TagInfo* infoOf(Directory directory, uint16_t tag);
/// By name; null when there is none.
const TagInfo* infoOf(std::string_view name);

}  // namespace jpeg::exif
