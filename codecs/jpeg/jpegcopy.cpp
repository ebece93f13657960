// From JPEG file to JPEG file: metadata alone, or the same coefficients coded, turned or cut anew.
#include <algorithm>
#include <cstring>

#include "exiftags.h"
#include "jpegfiles.h"
#include "jpegprogram.h"
#include "rewrite.h"

namespace jpeg {
namespace {

/// Pixels of a picture, turned.
std::vector<uint8_t> turned(const std::vector<uint8_t>& pixels, ImageShape* shape,
                            const Turn& turn) {
  const ImageShape from = *shape;
  if (turn.transposes) std::swap(shape->width, shape->height);
  const size_t bytes = size_t(shape->channels);
  std::vector<uint8_t> to(pixels.size());
  uint8_t* at = to.data();
  for (int row = 0; row < shape->height; ++row) {
    for (int column = 0; column < shape->width; ++column, at += bytes) {
      int y = turn.flipsDown ? shape->height - 1 - row : row;
      int x = turn.flipsAcross ? shape->width - 1 - column : column;
      if (turn.transposes) std::swap(x, y);
      std::memcpy(at, &pixels[size_t(y) * from.rowBytes() + size_t(x) * bytes], bytes);
    }
  }
  return to;
}

/// A thumbnail's file, turned by way of its pixels: it is rarely made of whole MCUs.
Status turnThumbnail(std::vector<uint8_t>* file, const Turn& turn) {
  Decoder decoder;
  JPEG_RETURN_IF_ERROR(decoder.setSource(*file));
  JPEG_RETURN_IF_ERROR(decoder.readHeader());
  ImageShape shape = decoder.info().image;
  constexpr int kLargest = 4096;
  const bool isColor = decoder.info().color == Color::ycbcr && shape.color == Color::rgb;
  if (!isColor && shape.color != Color::gray) return Status::badConversion;
  if (shape.width > kLargest || shape.height > kLargest) return Status::badSize;
  std::vector<uint8_t> pixels(shape.rowBytes() * size_t(shape.height));
  JPEG_RETURN_IF_ERROR(decoder.setDestination(pixels.data(), pixels.size()));
  JPEG_RETURN_IF_ERROR(decoder.readData());
  pixels = turned(pixels, &shape, turn);
  Encoder encoder;
  encoder.options().color = isColor ? Color::ycbcr : Color::gray;
  encoder.options().quality = 85;
  std::vector<uint8_t> made(pixels.size() + 4096);
  JPEG_RETURN_IF_ERROR(encoder.setSource(shape, pixels.data()));
  JPEG_RETURN_IF_ERROR(encoder.setDestination(made.data(), made.size()));
  JPEG_RETURN_IF_ERROR(encoder.writeHeader());
  JPEG_RETURN_IF_ERROR(encoder.writeData());
  made.resize(encoder.size());
  *file = std::move(made);
  return Status::ok;
}

void dropThumbnail(exif::Document* document) {
  document->thumbnail.clear();
  document->of(exif::Directory::thumbnail).clear();
}

class Copy {
 public:
  Copy(const ProgramOptions& options, const std::vector<uint8_t>& file,
       const Complaints& complaints)
      : options_(options), file_(file), complaints_(complaints) {}
  int run() { return options_.recodes ? recode() : rewrite(); }

 private:
  template <class Make>
  int writeTo(Make make);
  int rewrite();
  int recode();
  Turn turnFor(const exif::Document& document, const Metadata& old) const;
  Status reshape(Coefficients* from, const Metadata& old, Coefficients* to, EncodeOptions* encode);
  void describe(const Frame& frame, const Turn& turn, exif::Document* document, Metadata* metadata);

  const ProgramOptions& options_;
  const std::vector<uint8_t>& file_;
  const Complaints& complaints_;
};

/// Has a file made, and then written: the output may be the input, which is to stay when the work
/// fails. What was begun and cannot be written does not stay.
template <class Make>
int Copy::writeTo(Make make) {
  ByteVector made;
  const Status status = make(made);
  if (isError(status)) return complaints_.fail(options_.input, status);
  FileBytes file;
  std::string error;
  if (!file.open(options_.output, &error)) return complaints_.fail(options_.output, error);
  const bool isWritten = !isError(file.write(made.bytes.data(), made.bytes.size()));
  if (file.close() && isWritten) return 0;
  std::remove(options_.output.c_str());
  return complaints_.fail(options_.output, "cannot be written");
}

int Copy::rewrite() {
  EncodeOptions encode;
  if (!options_.strip) {
    const Status status = readMetadata(file_, &encode.metadata);
    if (isError(status)) return complaints_.fail(options_.input, status);
  }
  std::string culprit, reason;
  if (!applySideFiles(options_, &encode, &culprit, &reason)) {
    return complaints_.fail(culprit, reason);
  }
  return writeTo([&](ByteSink& bytes) {
    return rewriteMetadata(file_, encode.metadata, !options_.strip, bytes);
  });
}

/// Makes the Exif data of a turned or cut picture true.
void Copy::describe(const Frame& frame, const Turn& turn, exif::Document* document,
                    Metadata* metadata) {
  const int orientation =
      options_.turnsUpright ? 1 : orientationAfter(exif::orientationOf(*document), turn);
  exif::setShape(document, orientation, frame.width, frame.height);
  const bool isStale = !options_.decode.crop.isEmpty();
  if (isStale || isError(turnThumbnail(&document->thumbnail, turn))) {
    dropThumbnail(document);
  } else {
    exif::setThumbnailLength(document);
  }
  metadata->exif = exif::write(*document);
}

/// Upright by the orientation that the new Exif data tell, or by the old one where these tell none.
Turn Copy::turnFor(const exif::Document& document, const Metadata& old) const {
  if (!options_.turnsUpright) return options_.turn;
  if (document.find(exif::Directory::image, exif::kOrientation) != nullptr) {
    return turnOfOrientation(exif::orientationOf(document));
  }
  exif::Document before;
  return isError(exif::read(old.exif, &before)) ? Turn()
                                                : turnOfOrientation(exif::orientationOf(before));
}

/// Turns and cuts, metadata included.
/// @param old  the file's own metadata, whatever becomes of them
Status Copy::reshape(Coefficients* from, const Metadata& old, Coefficients* to,
                     EncodeOptions* encode) {
  exif::Document document;
  const bool hasExif =
      !encode->metadata.exif.empty() && !isError(exif::read(encode->metadata.exif, &document));
  const Turn turn = turnFor(document, old);
  if (turn.isNone() && options_.decode.crop.isEmpty()) {
    *to = std::move(*from);
    return Status::ok;
  }
  bool isTrimmed = false;
  JPEG_RETURN_IF_ERROR(
      transform(*from, turn, options_.decode.crop, encode->memoryLimit, to, &isTrimmed));
  if (isTrimmed && options_.decode.strict) return Status::wouldTrim;
  if (isTrimmed) {
    complaints_.warn(options_.input, "edges that are no whole MCUs were cut off");
  }
  if (turn.transposes) std::swap(encode->density.x, encode->density.y);
  if (hasExif) describe(to->frame, turn, &document, &encode->metadata);
  return Status::ok;
}

int Copy::recode() {
  Decoder decoder;
  decoder.options() = options_.decode;
  decoder.options().crop = {};  // of the copy, not of pixels
  Coefficients coefficients, reshaped;
  Status status = decoder.setSource(file_);
  if (!isError(status)) status = decoder.readHeader();
  if (!isError(status)) status = decoder.readCoefficients(&coefficients);
  if (isError(status)) return complaints_.fail(options_.input, reasonOf(status, decoder));
  EncodeOptions encode = options_.encode;
  if (!options_.hasMode && coefficients.frame.process == Process::progressive) {
    encode.mode = Mode::progressive;
  }
  encode.density = decoder.info().density;
  if (!options_.strip) encode.metadata = decoder.metadata();
  std::string culprit, reason;
  if (!applySideFiles(options_, &encode, &culprit, &reason)) {
    return complaints_.fail(culprit, reason);
  }
  status = reshape(&coefficients, decoder.metadata(), &reshaped, &encode);
  if (isError(status)) return complaints_.fail(options_.input, status);
  const int code =
      writeTo([&](ByteSink& bytes) { return writeCoefficients(reshaped, encode, bytes); });
  if (code == 0) complaints_.warn(options_.input, decoder);
  return code;
}

}  // namespace

int copyFile(const ProgramOptions& options, const std::vector<uint8_t>& file,
             const Complaints& complaints) {
  return Copy(options, file, complaints).run();
}

}  // namespace jpeg
