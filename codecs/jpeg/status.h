#pragma once
/// @file
/// Outcomes of the codec's steps: one catalogue of codes with texts.

namespace jpeg {

/// All codes as X(name, value, text). Negative: the step failed. Positive: a warning; the step has
/// done what could be done and the picture is whole as far as its file is.
#define JPEG_STATUS_LIST(X)                                                                        \
  X(ok, 0, "no error")                                                                             \
  /* how the codec was called */                                                                   \
  X(outOfOrder, -1, "a step was called before the steps that it needs")                            \
  X(badArgument, -2, "an option is out of range")                                                  \
  X(noMemory, -3, "not enough memory")                                                             \
  X(overMemoryLimit, -4, "the picture needs more memory than the limit allows")                    \
  X(sourceFailed, -5, "the source of pixels failed")                                               \
  X(destinationFailed, -6, "the destination failed")                                               \
  X(destinationFull, -7, "the destination is too small")                                           \
  X(badSize, -8, "width and height must be 1 to 65535")                                            \
  X(badConversion, -9, "this conversion of colours is not supported")                              \
  X(badSampling, -10, "this sampling does not go with these components")                           \
  X(badPrecision, -11, "this mode does not have samples of this precision")                        \
  X(badQuantTable, -12, "a quantiser is out of range")                                             \
  X(badScript, -13, "the scan script breaks the rules of progressive coding")                      \
  X(badCrop, -14, "the region lies outside of the picture")                                        \
  X(metadataTooLong, -15, "metadata do not fit in their marker segments")                          \
  X(stopped, -16, "stopped by the caller")                                                         \
  X(libraryFailed, -17, "a function of the library failed")                                        \
  X(badExif, -18, "Exif data do not begin as a TIFF structure does")                               \
  X(unknownTag, -19, "there is no Exif tag of this name that can be set")                          \
  X(badTagValue, -20, "the value does not suit this Exif tag")                                     \
  X(cannotTurn, -21, "the picture has no whole MCU that could be turned without loss")             \
  X(wouldTrim, -22,                                                                                \
    "edges that are no whole MCUs would be cut off, and strict work was asked for")                \
  X(noCoefficients, -23, "lossless files have no coefficients to be kept, turned or coded anew")   \
  /* files that this codec refuses, whole as they may be */                                        \
  X(arithmetic, -30, "arithmetic coding is not supported")                                         \
  X(hierarchical, -31, "hierarchical JPEG is not supported")                                       \
  X(jpegLs, -32, "this is a JPEG-LS file, which is not supported")                                 \
  X(manyComponents, -33, "more than four components are not supported")                            \
  X(manyScans, -34, "the file has more scans than the limit allows")                               \
  X(unsupportedPrecision, -35, "samples of this precision are not supported")                      \
  X(losslessSampling, -36, "lossless coding with components of unequal sampling is not supported") \
  /* files that cannot be decoded */                                                               \
  X(notJpeg, -40, "not a JPEG file: it does not begin with SOI")                                   \
  X(noFrame, -41, "the file has no frame header")                                                  \
  X(noScan, -42, "the file has no scan")                                                           \
  X(badMarkerLength, -43, "a marker segment has a wrong length")                                   \
  X(badFrame, -44, "the frame header is invalid")                                                  \
  X(badScan, -45, "a scan header is invalid")                                                      \
  X(badHuffmanTable, -46, "a Huffman table is invalid")                                            \
  X(noQuantTable, -47, "a quantisation table is missing")                                          \
  X(noHuffmanTable, -48, "a Huffman table is missing")                                             \
  X(secondFrame, -49, "the file has a second frame header")                                        \
  X(noHeight, -50, "the file tells no height: neither in its frame header nor by DNL")             \
  X(noImage, -51, "the file has tables only")                                                      \
  X(tooLittleData, -52, "the file is far too short for a picture of its size")                     \
  X(notStrict, -53, "the file breaks the standard, and strict decoding was asked for")             \
  /* warnings */                                                                                   \
  X(truncated, 1, "the file ends too early; what is missing is filled")                            \
  X(damagedData, 2, "entropy-coded data are damaged; what is missing is filled")                   \
  X(restartMissing, 3, "a restart marker is missing or out of order")                              \
  X(noEndOfImage, 4, "the end-of-image marker is missing")                                         \
  X(extraBytes, 5, "there are bytes that belong to no marker segment")                             \
  X(badSegment, 6, "a marker segment is damaged and was left out")                                 \
  X(standardTables, 7, "Huffman tables are missing; the standard ones were used")                  \
  X(missingScans, 8, "not every component or bit has a scan")                                      \
  X(oddScan, 9, "a scan breaks the rules of progressive coding")                                   \
  X(scansLeftOut, 10, "a scan is invalid; it and all after it were left out")                      \
  X(baselineTables, 11, "the file uses tables that its baseline header does not allow")            \
  X(shortHeight, 12, "the file has fewer lines than it says")

/// Outcome of a step.
enum class [[nodiscard]] Status{
#define JPEG_STATUS_ENUM_(name, value, text) name = (value),
    JPEG_STATUS_LIST(JPEG_STATUS_ENUM_)
#undef JPEG_STATUS_ENUM_
};

/// Text of a status.
const char* statusText(Status status);

inline bool isError(Status status) { return static_cast<int>(status) < 0; }
inline bool isWarning(Status status) { return static_cast<int>(status) > 0; }

/// Leaves the calling function with the status if it is an error.
#define JPEG_RETURN_IF_ERROR(expression)                                                       \
  do {                                                                                         \
    if (const ::jpeg::Status status_ = (expression); ::jpeg::isError(status_)) return status_; \
  } while (false)

}  // namespace jpeg
