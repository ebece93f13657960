// Exif documents: read, shown, edited, written and read again; and files rewritten with them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "exif.h"
#include "fuzz.h"

using jpeg::exif::Directory;
using jpeg::exif::Document;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Document document;
  if (isError(jpeg::exif::read({data, size}, &document))) return 0;
  size_t shown = 0;
  for (int d = 0; d < jpeg::exif::kDirectories; ++d) {
    for (const auto& entry : document.entries[size_t(d)]) {
      shown += textOf(document, Directory(d), entry).size();
      shown += jpeg::exif::nameOf(Directory(d), entry.tag).size();
    }
  }
  if (shown > (size_t{1} << 30)) std::abort();
  // A text of the data's own for some tags.
  const std::string text(reinterpret_cast<const char*>(data), size < 40 ? size : 40);
  for (const char* const name : {"Artist", "ExposureTime", "GPSLatitude", "Flash", "DateTime"}) {
    (void)jpeg::exif::set(&document, name, text);
  }
  jpeg::exif::setShape(&document, 1, 2, 3);
  Document again;
  const auto written = jpeg::exif::write(document);
  if (written.empty()) return 0;
  if (isError(jpeg::exif::read(written, &again)) || !again.problems.empty()) std::abort();
  return 0;
}
