#pragma once
/// @file
/// The catalogue of diagnostics: X(number, name, severity, summary, text). Numbers are for ever:
/// one that is no longer used is not given again. 1xx to 4xx end the work, 5xx and more are
/// warnings.

// clang-format off
#define J2K_DIAGNOSTICS(X)                                                                         \
  /* The file */                                                                                   \
  X(101, notJpeg2000, exception, "not a JPEG 2000 file",                                           \
    "The file begins neither with the signature box of a JP2 file nor with the SOC and SIZ "       \
    "markers of a codestream. Nothing was decoded. Check that the file is complete and is not of " \
    "another format under this name.")                                                             \
  X(102, noCodestream, exception, "the file has no codestream",                                    \
    "The boxes of a JP2 file were read to the end and none of them was a contiguous codestream "   \
    "(jp2c). The file is truncated before its picture, or holds something else. Nothing was "      \
    "decoded.")                                                                                    \
  X(103, memoryLimit, exception, "more memory is needed than is allowed",                          \
    "What the header announces would take more memory than the limit. It was checked before "      \
    "anything was allocated. Raise the limit (-memory MIB) when the file is to be trusted, or "    \
    "decode less of it: -reduce, -crop, -component.")                                              \
  X(104, outOfMemory, exception, "the system has no more memory",                                  \
    "An allocation within the limit failed. Decode less at a time (-reduce, -crop, "               \
    "-component) or "                                                                              \
    "end other programs.")                                                                         \
  X(105, tooMuchWork, exception, "the stream asks for work out of proportion to its size",         \
    "Some streams are made to keep a decoder busy: changes of progression over thousands of "      \
    "empty resolutions, for instance. No ordinary encoder writes them. Nothing was decoded.")      \
  X(106, noSuchComponent, exception, "there is no such component",                                 \
    "The component asked for has a number that the stream does not have. They are "                \
    "counted from 0; "                                                                             \
    "-linf+ lists them.")                                                                          \
  X(107, badCrop, exception, "the region does not lie in the picture",                             \
    "A region is told in pixels of the full picture from its upper left corner, before any "       \
    "reduction, and must have pixels in common with it.")                                          \
  X(108, reduceTooFar, exception, "the stream has fewer resolutions than that",                    \
    "Every reduction by two leaves out one decomposition level, and a tile or a component has "    \
    "fewer of them than were asked to be left out. -linf+ tells how many there are.")              \
  X(109, badOptions, exception, "the options contradict each other or the picture",                \
    "The detail names the key, or what of the picture does not suit it. Nothing was encoded.")     \
  X(110, unsuitedOutput, exception, "the picture does not fit the output format",                  \
    "The format cannot hold the number of components, or their depth. PGX files hold any "         \
    "component by itself: name an output that ends in .pgx.")                                      \
  X(111, targetTooSmall, exception, "not even the headers fit the size that is asked for",         \
    "Marker segments and empty packets alone take more bytes than the compression ratio leaves. "  \
    "Use fewer layers, precincts or tiles, or a smaller ratio.")                                   \
  /* The main header */                                                                            \
  X(201, noSoc, exception, "the codestream does not begin with SOC",                               \
    "T.800 A.4.1: the first two bytes of a codestream are FF4F. Nothing was decoded.")             \
  X(202, noSiz, exception, "SIZ does not follow SOC",                                              \
    "T.800 A.5.1: the size of the picture comes first. Without it nothing can be decoded.")        \
  X(203, badSiz, exception, "the sizes in SIZ are impossible",                                     \
    "T.800 B.2 and B.3: the picture and its tiles have an area, the first tile covers the "        \
    "picture's corner, there are at most 65535 tiles and 16384 components of 1 to 38 bits. The "   \
    "detail tells what is not so. Nothing was decoded.")                                           \
  X(204, noComponents, exception, "the picture has no components",                                 \
    "SIZ tells 0 components; at least one is needed. Nothing was decoded.")                        \
  X(205, segmentShort, exception, "a marker segment is shorter than what it must hold",            \
    "The length of the named segment ends before its last field. The header is damaged, and what " \
    "follows cannot be trusted.")                                                                  \
  X(206, badSegment, exception, "the header breaks off",                                           \
    "Where a marker segment should stand there is none, or its length reaches past the end. "      \
    "Nothing was decoded.")                                                                        \
  X(207, noCod, exception, "COD is missing",                                                       \
    "T.800 A.6.1: the main header tells how components are coded. Nothing was decoded.")           \
  X(208, noQcd, exception, "QCD is missing",                                                       \
    "T.800 A.6.4: the main header tells the step sizes. Nothing was decoded.")                     \
  X(209, badCod, exception, "the coding style is impossible",                                      \
    "T.800 A.6.1: at most 32 levels, code blocks of 4 to 1024 a side and at most 4096 in area, "   \
    "1 to 65535 layers, one of five orders, precincts of at least two samples above the lowest "   \
    "resolution. The detail tells what is not so.")                                                \
  X(210, badQcd, exception, "the quantisation is impossible",                                      \
    "T.800 A.6.4: there are three styles, and a step for every sub-band unless steps are derived " \
    "from the first. The detail tells what is not so.")                                            \
  X(211, badComponent, exception, "a segment is about a component that does not exist",            \
    "COC, QCC and RGN name a component of SIZ. The header is damaged.")                            \
  X(212, badPoc, exception, "a change of progression is impossible",                               \
    "T.800 A.6.6: the orders are numbered 0 to 4. The header is damaged.")                         \
  X(213, badSot, exception, "a tile-part begins in an impossible way",                             \
    "T.800 A.4.2: SOT has a length of 10. The stream is damaged from there on.")                   \
  /* Other standards */                                                                            \
  X(301, highThroughput, exception, "high-throughput JPEG 2000 (Part 15) is not supported",        \
    "The stream announces capabilities (CAP, Rsiz or the code-block style) of ISO/IEC 15444-15, "  \
    "whose block coder is another one. A decoder of that standard can convert it.")                \
  X(302, partTwo, exception, "extensions of Part 2 are not supported",                             \
    "The stream uses something that ISO/IEC 15444-2 adds: another wavelet, component transform, "  \
    "region of interest or capability. The detail tells which.")                                   \
  /* Boxes, exceptions */                                                                          \
  X(402, badPalette, exception, "the palette is impossible",                                       \
    "T.800 I.5.3.4: a palette has 1 to 1024 entries of 1 to 255 columns, and component mapping "   \
    "refers to columns and components that exist. Nothing was decoded.")                           \
  /* Warnings: the main header and tile-parts */                                                   \
  X(501, segmentRepeated, warning, "a marker segment stands twice",                                \
    "SIZ, COD and QCD stand once in a header. The last COD and QCD count, the first SIZ does.")    \
  X(502, segmentLong, warning, "a marker segment is longer than its fields",                       \
    "The bytes behind its last field were skipped; they may come from a later standard.")          \
  X(503, segmentIgnored, warning, "a marker segment was ignored",                                  \
    "The named segment is damaged or contradicts the stream; it is not needed for decoding.")      \
  X(504, unknownMarker, warning, "a marker segment is unknown",                                    \
    "The standard does not know this marker, or not in this header. It was skipped.")              \
  X(505, commentShort, warning, "a comment has no content",                                        \
    "COM tells the kind of its text in two bytes, which are missing. It was skipped.")             \
  X(506, emptyProgression, warning, "a change of progression is about nothing",                    \
    "T.800 A.6.6: its end of resolutions or components is not above their start. It was skipped.") \
  X(507, outOfOrder, warning, "numbered segments are out of order",                                \
    "PPM, PPT and PLT are numbered, and stand in that order. They were sorted by their numbers.")  \
  X(508, packedHeadersShort, warning, "packed packet headers break off",                           \
    "PPM announces more bytes of packet headers than there are. What is there was used.")          \
  X(509, truncated, warning, "the stream is truncated",                                            \
    "A tile-part announces more bytes than the file has. What is there was decoded; the missing "  \
    "part of the picture is blurred or empty.")                                                    \
  X(510, noEoc, warning, "the stream does not end with EOC",                                       \
    "T.800 A.4.4: the last two bytes of a codestream are FFD9. All tile-parts that were found "    \
    "were decoded.")                                                                               \
  X(511, garbageBetweenTileParts, warning, "something other than a tile-part follows a tile-part", \
    "Behind the length of the last tile-part there is neither SOT nor EOC. What follows was not "  \
    "looked at.")                                                                                  \
  X(512, badTilePartLength, warning, "a tile-part tells an impossible length",                     \
    "Psot counts from SOT, so it is at least 14, or 0 in the last tile-part. It was taken to "     \
    "reach to the end.")                                                                           \
  X(513, badTilePartHeader, warning, "the header of a tile-part is damaged",                       \
    "No SOD was found where its header should end. The tile-part was skipped.")                    \
  X(514, badTileIndex, warning, "a tile-part belongs to a tile that does not exist",               \
    "Isot is not below the number of tiles. The tile-part was skipped.")                           \
  X(515, badTilePartIndex, warning, "the number of a tile-part is not the next one",               \
    "TPsot counts the parts of a tile from 0. They were taken as they stand; one may be missing.") \
  X(516, badTilePartCount, warning, "a tile has more parts than it tells",                         \
    "TPsot counts from 0 and is not below TNsot. The part was used all the same.")                 \
  X(517, tileMissing, warning, "a tile has no data",                                               \
    "No tile-part of this tile was found. It was filled with the middle of the range.")            \
  X(518, badTile, warning, "a tile cannot be decoded",                                             \
    "Its own header is damaged; the detail tells how. It was filled with the middle "              \
    "of the range.")                                                                               \
  /* Warnings: packets and blocks */                                                               \
  X(601, packetDamaged, warning, "a packet is damaged",                                            \
    "Its header tells what cannot be. Where SOP markers stand, decoding goes on at the next one; " \
    "else the rest of the tile is left out.")                                                      \
  X(602, packetsMissing, warning, "packets are missing",                                           \
    "The data of the tile end before its last packet. What is there was decoded.")                 \
  X(603, sopWrong, warning, "an SOP marker has another number than its packet",                    \
    "Packets are counted from 0 in a tile. When the number was a little ahead, the packets "       \
    "between were taken to be lost.")                                                              \
  X(604, sopUnannounced, warning, "SOP or EPH markers stand where none are announced",             \
    "COD tells that the stream has no such markers. They were skipped, and nothing is lost.")      \
  X(605, ephMissing, warning, "an EPH marker is missing",                                          \
    "COD tells that every packet header ends with EPH, and there is none. The header was used.")   \
  X(606, blockDamaged, warning, "a code block is damaged",                                         \
    "Marks of its segments are wrong, or it has more passes than bit planes. It was decoded up "   \
    "to there.")                                                                                   \
  X(607, precisionLost, warning, "bit planes beyond 31 were left out",                             \
    "A block has more bit planes than the arithmetic. Its lowest ones were left out, so that the " \
    "result is not exact.")                                                                        \
  X(608, resynchronised, warning, "decoding went on at an SOP marker",                             \
    "After damage the next packet was found by its SOP marker. The blocks of the lost packets "    \
    "keep what they had until then.")                                                              \
  X(609, componentsDiffer, warning, "the component transform was left out",                        \
    "The first three components differ in size or wavelet, so that they cannot be transformed "    \
    "together. They were handed over as they are.")                                                \
  X(610, surplusData, warning, "data follow the last packet of a tile",                            \
    "All packets that the headers announce were read before the data ended. They were skipped.")   \
  /* Warnings: boxes */                                                                            \
  X(701, boxLength, warning, "a box tells an impossible length",                                   \
    "It is shorter than its own header or reaches past the end of what contains it. It was taken " \
    "to reach to that end.")                                                                       \
  X(702, boxMissing, warning, "a box is missing",                                                  \
    "JP2 wants a file type box, and a header box with ihdr and colr before the codestream. The "   \
    "codestream alone was used for what the box would have told.")                                 \
  X(703, boxContradicts, warning, "a box contradicts the codestream",                              \
    "The number, size or depth of components differ. What the codestream tells was used.")         \
  X(704, boxIgnored, warning, "a box was ignored",                                                 \
    "It is damaged, stands in the wrong place, or stands twice; the detail tells which.")          \
  X(705, colourAsIs, warning, "the colour space is handed over as it is",                          \
    "It is none of sRGB, grey and sYCC, and no restricted ICC profile. The components were not "   \
    "converted.")                                                                                  \
  X(706, paletteIndex, warning, "samples lie outside of the palette",                              \
    "Indexes are counted from 0 and were above the last entry, which was taken for them.")         \
  X(707, badChannels, warning, "channel definitions are contradictory",                            \
    "cdef names channels or colours that do not exist, or the same one twice. They were taken in " \
    "the order of the components.")
// clang-format on
