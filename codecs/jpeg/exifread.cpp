// Exif documents read. Directories are taken first and claim their bytes, then values claim theirs:
// what lies outside or in another's bytes is left out. So no loop of directories can close.
#include <algorithm>
#include <map>
#include <optional>

#include "exiftags.h"
#include "exifvalues.h"

namespace jpeg::exif {
namespace {

/// Which bytes of the structure are taken.
class Claims {
 public:
  explicit Claims(size_t size) : size_(size) {}
  /// @return why not, or null
  const char* take(uint64_t offset, uint64_t length, bool isValue) {
    if (offset > size_ || length > size_ - offset) return "lies outside";
    const uint64_t end = offset + length;
    const auto next = taken_.lower_bound(offset);
    if (next != taken_.end() && next->first < end) {
      // Writers put equal values once, for two tags.
      const bool isSame = next->first == offset && next->second.end == end;
      return isSame && isValue && next->second.isValue ? nullptr : "overlaps another";
    }
    if (next != taken_.begin() && std::prev(next)->second.end > offset) return "overlaps another";
    if (length > 0) taken_[offset] = {end, isValue};
    return nullptr;
  }

 private:
  size_t size_;
  struct Taken {
    uint64_t end;
    bool isValue;
  };
  std::map<uint64_t, Taken> taken_;
};

class Reader {
 public:
  Reader(std::span<const uint8_t> tiff, Document* document)
      : tiff_(tiff), document_(document), claims_(tiff.size()) {}
  Status run();

 private:
  /// An entry as its directory has it.
  struct Raw {
    Directory directory;
    size_t at;
  };

  uint32_t get(size_t at, int size) const {
    return uint32_t(getNumber(tiff_.data() + at, size, document_->isBigEndian));
  }
  void refuse(Directory d, uint16_t tag, const char* reason) {
    document_->problems.push_back({d, tag, reason});
  }
  void readDirectory(Directory d, uint16_t pointer, uint32_t offset);
  void takeEntry(const Raw& raw);
  void takeThumbnail();
  void takePixels(uint16_t offsetTag, uint16_t lengthTag);
  std::optional<uint32_t> pointerIn(Directory d, uint16_t tag) const;

  std::span<const uint8_t> tiff_;
  Document* document_;
  Claims claims_;
  std::vector<Raw> raw_;
};

Status Reader::run() {
  if (tiff_.size() < 8) return Status::badExif;
  const bool isBig = tiff_[0] == 'M' && tiff_[1] == 'M';
  if (!isBig && !(tiff_[0] == 'I' && tiff_[1] == 'I')) return Status::badExif;
  document_->isBigEndian = isBig;
  if (get(2, 2) != 42) return Status::badExif;
  (void)claims_.take(0, 8, false);
  readDirectory(Directory::image, 0, get(4, 4));
  for (const DirectoryPointer& p : kPointers) {
    if (const auto offset = pointerIn(p.in, p.tag)) readDirectory(p.to, p.tag, *offset);
  }
  for (const Raw& raw : raw_) takeEntry(raw);
  for (auto& list : document_->entries) std::ranges::stable_sort(list, {}, &Entry::tag);
  takeThumbnail();
  return Status::ok;
}

/// Its entries, as many as there are bytes for, and after the image's those of the thumbnail.
void Reader::readDirectory(Directory d, uint16_t pointer, uint32_t offset) {
  if (uint64_t{offset} + 2 > tiff_.size()) return refuse(d, pointer, "lies outside");
  size_t count = get(offset, 2);
  const size_t room = (tiff_.size() - offset - 2) / 12;
  if (count > room) {
    refuse(d, pointer, "is cut off");
    count = room;
  }
  const size_t end = offset + 2 + 12 * count;
  const bool hasNext = d == Directory::image && end + 4 <= tiff_.size();
  if (const char* const why = claims_.take(offset, end - offset + (hasNext ? 4 : 0), false)) {
    return refuse(d, pointer, why);
  }
  for (size_t i = 0; i < count; ++i) raw_.push_back({d, offset + 2 + 12 * i});
  if (!hasNext) return;
  const uint32_t next = get(end, 4);
  if (next != 0) readDirectory(Directory::thumbnail, 0, next);
}

std::optional<uint32_t> Reader::pointerIn(Directory d, uint16_t tag) const {
  const auto found = std::ranges::find_if(
      raw_, [&](const Raw& raw) { return raw.directory == d && get(raw.at, 2) == tag; });
  if (found == raw_.end()) return std::nullopt;
  return get(found->at + 8, 4);
}

void Reader::takeEntry(const Raw& raw) {
  Entry entry;
  entry.tag = uint16_t(get(raw.at, 2));
  entry.type = Type(get(raw.at + 2, 2));
  entry.count = get(raw.at + 4, 4);
  if (isPointer(raw.directory, entry.tag)) return;
  if (document_->find(raw.directory, entry.tag) != nullptr) {
    return refuse(raw.directory, entry.tag, "is there twice");
  }
  const int size = sizeOf(entry.type);
  if (size == 0) return refuse(raw.directory, entry.tag, "has no type of TIFF");
  if (entry.type == Type::ifd || entry.tag == kSubIfds) {
    return refuse(raw.directory, entry.tag, "points to a directory that Exif does not have");
  }
  const uint64_t bytes = uint64_t{entry.count} * unsigned(size);
  size_t at = raw.at + 8;
  if (bytes > 4) {
    at = get(at, 4);
    if (const char* const why = claims_.take(at, bytes, true)) {
      return refuse(raw.directory, entry.tag, why);
    }
    entry.offset = at;
  }
  const auto first = tiff_.begin() + ptrdiff_t(at);
  entry.value.assign(first, first + ptrdiff_t(bytes));
  document_->of(raw.directory).push_back(std::move(entry));
}

void Reader::takeThumbnail() {
  takePixels(kJpegOffset, kJpegLength);
  if (document_->thumbnail.empty()) takePixels(kStripOffsets, kStripByteCounts);
}

void Reader::takePixels(uint16_t offsetTag, uint16_t lengthTag) {
  constexpr Directory d = Directory::thumbnail;
  const Entry* const offsets = document_->find(d, offsetTag);
  const Entry* const lengths = document_->find(d, lengthTag);
  if (offsets == nullptr) return;
  std::vector<uint8_t> bytes;
  const char* why =
      lengths == nullptr || lengths->count != offsets->count ? "has no length" : nullptr;
  for (uint32_t i = 0; why == nullptr && i < offsets->count; ++i) {
    const int64_t at = fractionAt(*offsets, i, document_->isBigEndian).numerator;
    const int64_t length = fractionAt(*lengths, i, document_->isBigEndian).numerator;
    why =
        at < 0 || length < 0 ? "lies outside" : claims_.take(uint64_t(at), uint64_t(length), false);
    if (why != nullptr) break;
    bytes.insert(bytes.end(), tiff_.begin() + at, tiff_.begin() + at + length);
  }
  if (why == nullptr) {
    document_->thumbnail = std::move(bytes);
    return;
  }
  refuse(d, offsetTag, why);
  document_->remove(d, offsetTag);
  document_->remove(d, lengthTag);
}

}  // namespace

Status read(std::span<const uint8_t> tiff, Document* document) {
  *document = Document();
  return Reader(tiff, document).run();
}

}  // namespace jpeg::exif
