// The table of Exif tags: one line a tag.
#include "exiftags.h"

#include <algorithm>
#include <iterator>

namespace jpeg::exif {
namespace {

constexpr Choice kCompressions[] = {{1, "uncompressed"}, {6, "JPEG"}};
constexpr Choice kPhotometric[] = {{2, "RGB"}, {6, "YCbCr"}};
constexpr Choice kOrientations[] = {{1, "top left"},     {2, "top right"},  {3, "bottom right"},
                                    {4, "bottom left"},  {5, "left top"},   {6, "right top"},
                                    {7, "right bottom"}, {8, "left bottom"}};
constexpr Choice kPlanes[] = {{1, "chunky"}, {2, "planar"}};
constexpr Choice kUnits[] = {{2, "inch"}, {3, "centimetre"}};
constexpr Choice kPositions[] = {{1, "centred"}, {2, "co-sited"}};
constexpr Choice kPrograms[] = {
    {0, "not defined"},       {1, "manual"},           {2, "normal program"},
    {3, "aperture priority"}, {4, "shutter priority"}, {5, "creative program"},
    {6, "action program"},    {7, "portrait mode"},    {8, "landscape mode"}};
constexpr Choice kSensitivities[] = {{0, "unknown"},
                                     {1, "standard output sensitivity"},
                                     {2, "recommended exposure index"},
                                     {3, "ISO speed"},
                                     {4, "SOS and REI"},
                                     {5, "SOS and ISO speed"},
                                     {6, "REI and ISO speed"},
                                     {7, "SOS, REI and ISO speed"}};
constexpr Choice kMeterings[] = {{0, "unknown"}, {1, "average"},    {2, "centre-weighted average"},
                                 {3, "spot"},    {4, "multi-spot"}, {5, "pattern"},
                                 {6, "partial"}, {255, "other"}};
constexpr Choice kLights[] = {{0, "unknown"},
                              {1, "daylight"},
                              {2, "fluorescent"},
                              {3, "tungsten"},
                              {4, "flash"},
                              {9, "fine weather"},
                              {10, "cloudy weather"},
                              {11, "shade"},
                              {12, "daylight fluorescent"},
                              {13, "day white fluorescent"},
                              {14, "cool white fluorescent"},
                              {15, "white fluorescent"},
                              {16, "warm white fluorescent"},
                              {17, "standard light A"},
                              {18, "standard light B"},
                              {19, "standard light C"},
                              {20, "D55"},
                              {21, "D65"},
                              {22, "D75"},
                              {23, "D50"},
                              {24, "ISO studio tungsten"},
                              {255, "other"}};
constexpr Choice kFlashes[] = {{0x00, "did not fire"},
                               {0x01, "fired"},
                               {0x05, "fired, no return light"},
                               {0x07, "fired, return light"},
                               {0x08, "on, did not fire"},
                               {0x09, "fired, compulsory"},
                               {0x0D, "fired, compulsory, no return light"},
                               {0x0F, "fired, compulsory, return light"},
                               {0x10, "did not fire, compulsory"},
                               {0x14, "did not fire, compulsory, no return light"},
                               {0x18, "did not fire, auto"},
                               {0x19, "fired, auto"},
                               {0x1D, "fired, auto, no return light"},
                               {0x1F, "fired, auto, return light"},
                               {0x20, "no flash function"},
                               {0x30, "no flash function, compulsory"},
                               {0x41, "fired, red-eye reduction"},
                               {0x45, "fired, red-eye reduction, no return light"},
                               {0x47, "fired, red-eye reduction, return light"},
                               {0x49, "fired, compulsory, red-eye reduction"},
                               {0x4D, "fired, compulsory, red-eye reduction, no return light"},
                               {0x4F, "fired, compulsory, red-eye reduction, return light"},
                               {0x50, "did not fire, compulsory, red-eye reduction"},
                               {0x58, "did not fire, auto, red-eye reduction"},
                               {0x59, "fired, auto, red-eye reduction"},
                               {0x5D, "fired, auto, red-eye reduction, no return light"},
                               {0x5F, "fired, auto, red-eye reduction, return light"}};
constexpr Choice kSpaces[] = {{1, "sRGB"}, {0xFFFF, "uncalibrated"}};
constexpr Choice kSensings[] = {{1, "not defined"},
                                {2, "one-chip colour area sensor"},
                                {3, "two-chip colour area sensor"},
                                {4, "three-chip colour area sensor"},
                                {5, "colour sequential area sensor"},
                                {7, "trilinear sensor"},
                                {8, "colour sequential linear sensor"}};
constexpr Choice kSources[] = {
    {0, "other"}, {1, "transparent scanner"}, {2, "reflex scanner"}, {3, "digital still camera"}};
constexpr Choice kSceneTypes[] = {{1, "directly photographed"}};
constexpr Choice kRenderings[] = {{0, "normal"}, {1, "custom"}};
constexpr Choice kExposureModes[] = {{0, "auto"}, {1, "manual"}, {2, "auto bracket"}};
constexpr Choice kBalances[] = {{0, "auto"}, {1, "manual"}};
constexpr Choice kScenes[] = {{0, "standard"}, {1, "landscape"}, {2, "portrait"}, {3, "night"}};
constexpr Choice kGains[] = {{0, "none"},
                             {1, "low gain up"},
                             {2, "high gain up"},
                             {3, "low gain down"},
                             {4, "high gain down"}};
constexpr Choice kContrasts[] = {{0, "normal"}, {1, "soft"}, {2, "hard"}};
constexpr Choice kSaturations[] = {{0, "normal"}, {1, "low"}, {2, "high"}};
constexpr Choice kRanges[] = {{0, "unknown"}, {1, "macro"}, {2, "close"}, {3, "distant"}};
constexpr Choice kComposites[] = {{0, "unknown"},
                                  {1, "not composite"},
                                  {2, "composite"},
                                  {3, "composite captured when shooting"}};
constexpr Choice kAltitudes[] = {{0, "above sea level"}, {1, "below sea level"}};
constexpr Choice kDifferentials[] = {{0, "without correction"}, {1, "with correction"}};

constexpr Directory I = Directory::image, P = Directory::photo, G = Directory::gps,
                    X = Directory::interop;
constexpr Type kText = Type::ascii, kShort = Type::u16, kLong = Type::u32,
               kRational = Type::rational, kSigned = Type::srational, kBytes = Type::undefined;
using enum Meaning;

constexpr TagInfo kTags[] = {
    {I, kImageWidth, "ImageWidth", kLong, 1},
    {I, kImageLength, "ImageLength", kLong, 1},
    {I, 0x0102, "BitsPerSample", kShort, 3},
    {I, 0x0103, "Compression", kShort, 1, choice, kCompressions},
    {I, 0x0106, "PhotometricInterpretation", kShort, 1, choice, kPhotometric},
    {I, 0x010E, "ImageDescription", kText, 0},
    {I, 0x010F, "Make", kText, 0},
    {I, 0x0110, "Model", kText, 0},
    {I, kStripOffsets, "StripOffsets", kLong, 0},
    {I, kOrientation, "Orientation", kShort, 1, choice, kOrientations},
    {I, 0x0115, "SamplesPerPixel", kShort, 1},
    {I, 0x0116, "RowsPerStrip", kLong, 1},
    {I, kStripByteCounts, "StripByteCounts", kLong, 0},
    {I, 0x011A, "XResolution", kRational, 1},
    {I, 0x011B, "YResolution", kRational, 1},
    {I, 0x011C, "PlanarConfiguration", kShort, 1, choice, kPlanes},
    {I, 0x0128, "ResolutionUnit", kShort, 1, choice, kUnits},
    {I, 0x012D, "TransferFunction", kShort, 768, bytes},
    {I, 0x0131, "Software", kText, 0},
    {I, 0x0132, "DateTime", kText, 20},
    {I, 0x013B, "Artist", kText, 0},
    {I, 0x013E, "WhitePoint", kRational, 2},
    {I, 0x013F, "PrimaryChromaticities", kRational, 6},
    {I, kJpegOffset, "JPEGInterchangeFormat", kLong, 1},
    {I, kJpegLength, "JPEGInterchangeFormatLength", kLong, 1},
    {I, 0x0211, "YCbCrCoefficients", kRational, 3},
    {I, 0x0212, "YCbCrSubSampling", kShort, 2},
    {I, 0x0213, "YCbCrPositioning", kShort, 1, choice, kPositions},
    {I, 0x0214, "ReferenceBlackWhite", kRational, 6},
    {I, 0x8298, "Copyright", kText, 0},
    {I, kPhotoPointer, "ExifIFDPointer", kLong, 1},
    {I, kGpsPointer, "GPSInfoIFDPointer", kLong, 1},

    {P, 0x829A, "ExposureTime", kRational, 1, seconds},
    {P, 0x829D, "FNumber", kRational, 1, fNumber},
    {P, 0x8822, "ExposureProgram", kShort, 1, choice, kPrograms},
    {P, 0x8824, "SpectralSensitivity", kText, 0},
    {P, 0x8827, "PhotographicSensitivity", kShort, 0},
    {P, 0x8828, "OECF", kBytes, 0, bytes},
    {P, 0x8830, "SensitivityType", kShort, 1, choice, kSensitivities},
    {P, 0x8831, "StandardOutputSensitivity", kLong, 1},
    {P, 0x8832, "RecommendedExposureIndex", kLong, 1},
    {P, 0x8833, "ISOSpeed", kLong, 1},
    {P, 0x8834, "ISOSpeedLatitudeyyy", kLong, 1},
    {P, 0x8835, "ISOSpeedLatitudezzz", kLong, 1},
    {P, kExifVersion, "ExifVersion", kBytes, 4, version},
    {P, 0x9003, "DateTimeOriginal", kText, 20},
    {P, 0x9004, "DateTimeDigitized", kText, 20},
    {P, 0x9010, "OffsetTime", kText, 7},
    {P, 0x9011, "OffsetTimeOriginal", kText, 7},
    {P, 0x9012, "OffsetTimeDigitized", kText, 7},
    {P, 0x9101, "ComponentsConfiguration", kBytes, 4, components},
    {P, 0x9102, "CompressedBitsPerPixel", kRational, 1},
    {P, 0x9201, "ShutterSpeedValue", kSigned, 1, apexTime},
    {P, 0x9202, "ApertureValue", kRational, 1, apexAperture},
    {P, 0x9203, "BrightnessValue", kSigned, 1, exposureValue},
    {P, 0x9204, "ExposureBiasValue", kSigned, 1, exposureValue},
    {P, 0x9205, "MaxApertureValue", kRational, 1, apexAperture},
    {P, 0x9206, "SubjectDistance", kRational, 1, metres},
    {P, 0x9207, "MeteringMode", kShort, 1, choice, kMeterings},
    {P, 0x9208, "LightSource", kShort, 1, choice, kLights},
    {P, 0x9209, "Flash", kShort, 1, choice, kFlashes},
    {P, 0x920A, "FocalLength", kRational, 1, millimetres},
    {P, 0x9214, "SubjectArea", kShort, 0},
    {P, kMakerNote, "MakerNote", kBytes, 0, bytes},
    {P, 0x9286, "UserComment", kBytes, 0, comment},
    {P, 0x9290, "SubSecTime", kText, 0},
    {P, 0x9291, "SubSecTimeOriginal", kText, 0},
    {P, 0x9292, "SubSecTimeDigitized", kText, 0},
    {P, 0x9400, "Temperature", kSigned, 1},
    {P, 0x9401, "Humidity", kRational, 1},
    {P, 0x9402, "Pressure", kRational, 1},
    {P, 0x9403, "WaterDepth", kSigned, 1},
    {P, 0x9404, "Acceleration", kRational, 1},
    {P, 0x9405, "CameraElevationAngle", kSigned, 1, degrees},
    {P, 0xA000, "FlashpixVersion", kBytes, 4, version},
    {P, 0xA001, "ColorSpace", kShort, 1, choice, kSpaces},
    {P, kPixelXDimension, "PixelXDimension", kLong, 1},
    {P, kPixelYDimension, "PixelYDimension", kLong, 1},
    {P, 0xA004, "RelatedSoundFile", kText, 13},
    {P, kInteropPointer, "InteroperabilityIFDPointer", kLong, 1},
    {P, 0xA20B, "FlashEnergy", kRational, 1},
    {P, 0xA20C, "SpatialFrequencyResponse", kBytes, 0, bytes},
    {P, 0xA20E, "FocalPlaneXResolution", kRational, 1},
    {P, 0xA20F, "FocalPlaneYResolution", kRational, 1},
    {P, 0xA210, "FocalPlaneResolutionUnit", kShort, 1, choice, kUnits},
    {P, 0xA214, "SubjectLocation", kShort, 2},
    {P, 0xA215, "ExposureIndex", kRational, 1},
    {P, 0xA217, "SensingMethod", kShort, 1, choice, kSensings},
    {P, 0xA300, "FileSource", kBytes, 1, choice, kSources},
    {P, 0xA301, "SceneType", kBytes, 1, choice, kSceneTypes},
    {P, 0xA302, "CFAPattern", kBytes, 0, bytes},
    {P, 0xA401, "CustomRendered", kShort, 1, choice, kRenderings},
    {P, 0xA402, "ExposureMode", kShort, 1, choice, kExposureModes},
    {P, 0xA403, "WhiteBalance", kShort, 1, choice, kBalances},
    {P, 0xA404, "DigitalZoomRatio", kRational, 1},
    {P, 0xA405, "FocalLengthIn35mmFilm", kShort, 1, millimetres},
    {P, 0xA406, "SceneCaptureType", kShort, 1, choice, kScenes},
    {P, 0xA407, "GainControl", kShort, 1, choice, kGains},
    {P, 0xA408, "Contrast", kShort, 1, choice, kContrasts},
    {P, 0xA409, "Saturation", kShort, 1, choice, kSaturations},
    {P, 0xA40A, "Sharpness", kShort, 1, choice, kContrasts},
    {P, 0xA40B, "DeviceSettingDescription", kBytes, 0, bytes},
    {P, 0xA40C, "SubjectDistanceRange", kShort, 1, choice, kRanges},
    {P, 0xA420, "ImageUniqueID", kText, 33},
    {P, 0xA430, "CameraOwnerName", kText, 0},
    {P, 0xA431, "BodySerialNumber", kText, 0},
    {P, 0xA432, "LensSpecification", kRational, 4, lens},
    {P, 0xA433, "LensMake", kText, 0},
    {P, 0xA434, "LensModel", kText, 0},
    {P, 0xA435, "LensSerialNumber", kText, 0},
    {P, 0xA460, "CompositeImage", kShort, 1, choice, kComposites},
    {P, 0xA461, "SourceImageNumberOfCompositeImage", kShort, 2},
    {P, 0xA462, "SourceExposureTimesOfCompositeImage", kBytes, 0, bytes},
    {P, 0xA500, "Gamma", kRational, 1},

    {G, kGpsVersion, "GPSVersionID", Type::byte, 4},
    {G, 0x0001, "GPSLatitudeRef", kText, 2},
    {G, 0x0002, "GPSLatitude", kRational, 3, coordinate},
    {G, 0x0003, "GPSLongitudeRef", kText, 2},
    {G, 0x0004, "GPSLongitude", kRational, 3, coordinate},
    {G, 0x0005, "GPSAltitudeRef", Type::byte, 1, choice, kAltitudes},
    {G, 0x0006, "GPSAltitude", kRational, 1, altitude},
    {G, 0x0007, "GPSTimeStamp", kRational, 3, clock},
    {G, 0x0008, "GPSSatellites", kText, 0},
    {G, 0x0009, "GPSStatus", kText, 2},
    {G, 0x000A, "GPSMeasureMode", kText, 2},
    {G, 0x000B, "GPSDOP", kRational, 1},
    {G, 0x000C, "GPSSpeedRef", kText, 2},
    {G, 0x000D, "GPSSpeed", kRational, 1},
    {G, 0x000E, "GPSTrackRef", kText, 2},
    {G, 0x000F, "GPSTrack", kRational, 1, degrees},
    {G, 0x0010, "GPSImgDirectionRef", kText, 2},
    {G, 0x0011, "GPSImgDirection", kRational, 1, degrees},
    {G, 0x0012, "GPSMapDatum", kText, 0},
    {G, 0x0013, "GPSDestLatitudeRef", kText, 2},
    {G, 0x0014, "GPSDestLatitude", kRational, 3, coordinate},
    {G, 0x0015, "GPSDestLongitudeRef", kText, 2},
    {G, 0x0016, "GPSDestLongitude", kRational, 3, coordinate},
    {G, 0x0017, "GPSDestBearingRef", kText, 2},
    {G, 0x0018, "GPSDestBearing", kRational, 1, degrees},
    {G, 0x0019, "GPSDestDistanceRef", kText, 2},
    {G, 0x001A, "GPSDestDistance", kRational, 1},
    {G, 0x001B, "GPSProcessingMethod", kBytes, 0, comment},
    {G, 0x001C, "GPSAreaInformation", kBytes, 0, comment},
    {G, 0x001D, "GPSDateStamp", kText, 11},
    {G, 0x001E, "GPSDifferential", kShort, 1, choice, kDifferentials},
    {G, 0x001F, "GPSHPositioningError", kRational, 1, metres},

    {X, 0x0001, "InteroperabilityIndex", kText, 0},
    {X, 0x0002, "InteroperabilityVersion", kBytes, 4, version},
    {X, 0x1000, "RelatedImageFileFormat", kText, 0},
    {X, 0x1001, "RelatedImageWidth", kLong, 1},
    {X, 0x1002, "RelatedImageLength", kLong, 1},
};

}  // namespace

const TagInfo* infoOf(Directory directory, uint16_t tag) {
  const Directory d = directory == Directory::thumbnail ? Directory::image : directory;
  const auto* const found = std::ranges::find_if(
      kTags, [&](const TagInfo& t) { return t.directory == d && t.tag == tag; });
  return found == std::end(kTags) ? nullptr : found;
}

const TagInfo* infoOf(std::string_view name) {
  const auto* const found =
      std::ranges::find_if(kTags, [&](const TagInfo& t) { return name == t.name; });
  return found == std::end(kTags) ? nullptr : found;
}

}  // namespace jpeg::exif
