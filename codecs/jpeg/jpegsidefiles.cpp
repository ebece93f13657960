// What side files and -set put into the options of encoding.
#include "exif.h"
#include "jpegfiles.h"
#include "jpegprogram.h"

namespace jpeg {
namespace {

/// Reads a file that an option may name. @return false with the reason
bool readNamed(const std::string& name, std::vector<uint8_t>* bytes, std::string* culprit,
               std::string* reason) {
  if (name.empty()) return true;
  *culprit = name;
  bytes->clear();
  return readFile(name, bytes, reason);
}

bool setTags(const ProgramOptions& options, Metadata* metadata, std::string* culprit,
             std::string* reason) {
  if (options.set.empty()) return true;
  exif::Document document;
  if (!metadata->exif.empty()) {
    *culprit = options.exifFile.empty() ? options.input : options.exifFile;
    const Status status = exif::read(metadata->exif, &document);
    *reason = statusText(status);
    if (isError(status)) return false;
  }
  for (const auto& [name, value] : options.set) {
    *culprit = name;
    culprit->append("=").append(value);
    const Status status = exif::set(&document, name, value);
    *reason = statusText(status);
    if (isError(status)) return false;
  }
  metadata->exif = exif::write(document);
  return true;
}

}  // namespace

bool applySideFiles(const ProgramOptions& options, EncodeOptions* encode, std::string* culprit,
                    std::string* reason) {
  std::vector<uint8_t> tables, scans;
  if (!readNamed(options.exifFile, &encode->metadata.exif, culprit, reason) ||
      !readNamed(options.iccFile, &encode->metadata.icc, culprit, reason) ||
      !setTags(options, &encode->metadata, culprit, reason) ||
      !readNamed(options.tablesFile, &tables, culprit, reason)) {
    return false;
  }
  if (!options.tablesFile.empty() &&
      !parseQuantisers({tables.begin(), tables.end()}, &encode->quantisers, reason)) {
    return false;
  }
  if (!readNamed(options.scansFile, &scans, culprit, reason)) return false;
  if (options.scansFile.empty()) return true;
  encode->mode = Mode::progressive;
  return parseScript({scans.begin(), scans.end()}, &encode->script, reason);
}

}  // namespace jpeg
