#pragma once
/// @file
/// Exif: the directories of a TIFF structure, read, shown as text, edited and written.
///
/// What is damaged is left out entry by entry and told as a problem; the rest stays. Maker notes
/// keep their bytes, and when a document is written again their place, since they may hold offsets
/// of their own.
/// @see CIPA DC-008 (Exif 2.32), TIFF 6.0
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "status.h"

namespace jpeg::exif {

/// Types of TIFF values.
enum class Type : uint16_t {
  byte = 1,
  ascii,
  u16,
  u32,
  rational,
  s8,
  undefined,
  s16,
  s32,
  srational,
  f32,
  f64,
  ifd
};

/// BYTES of one value; 0 for a number that is no type.
int sizeOf(Type type);

/// The directories of Exif.
enum class Directory { image, thumbnail, photo, gps, interop };
inline constexpr int kDirectories = 5;

/// A tag with its values, in the byte order of its document.
struct Entry {
  uint16_t tag = 0;
  Type type = Type::undefined;
  uint32_t count = 0;
  std::vector<uint8_t> value;
  size_t offset = 0;  ///< where the values stood; 0 for those inside the entry
};

/// What was left out, and why.
struct Problem {
  Directory directory = Directory::image;
  uint16_t tag = 0;  ///< 0: the directory itself
  const char* reason = "";
};

/// A TIFF structure taken apart. Pointers to directories and to the thumbnail are no entries: they
/// are made when it is written.
struct Document {
  bool isBigEndian = false;
  std::array<std::vector<Entry>, kDirectories> entries;
  std::vector<uint8_t> thumbnail;  ///< a JPEG file, or rows of pixels
  std::vector<Problem> problems;

  std::vector<Entry>& of(Directory d) { return entries[size_t(d)]; }
  const std::vector<Entry>& of(Directory d) const { return entries[size_t(d)]; }
  const Entry* find(Directory d, uint16_t tag) const;
  /// Puts an entry in place of the one with its tag.
  void put(Directory d, Entry entry);
  void remove(Directory d, uint16_t tag);
  bool isEmpty() const;
};

/// @param tiff  what stands behind "Exif" and two zeros in APP1
/// @return ok, badExif when there is nothing to begin with
Status read(std::span<const uint8_t> tiff, Document* document);
/// Directories, values in order of their tags, the thumbnail last; nothing for an empty document.
std::vector<uint8_t> write(const Document& document);

/// Name of a tag as the standard has it, "Tag0x1234" for one that it does not have; those of the
/// thumbnail's directory with "Thumbnail." in front.
std::string nameOf(Directory directory, uint16_t tag);
/// Values for people, on one line.
std::string textOf(const Document& document, Directory directory, const Entry& entry);

/// Sets a tag by its name to what a text says: numbers and fractions, names of choices as textOf
/// shows them, coordinates in degrees, minutes and seconds with or without a letter. An empty text
/// removes the tag.
/// @return ok, unknownTag, badTagValue
Status set(Document* document, std::string_view name, std::string_view text);

/// Which way up the picture is: 1..8, 1 where nothing valid is said.
int orientationOf(const Document& document);
/// Sets an orientation and, where the document has them, width and height.
void setShape(Document* document, int orientation, int width, int height);
/// Has the thumbnail's directory tell the length of a new JPEG file.
void setThumbnailLength(Document* document);

}  // namespace jpeg::exif
