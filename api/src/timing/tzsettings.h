/// @file
/// The measurement settings of a session.
#pragma once

#include "tztool.h"

/// @name Measurement settings
/// Each reader settles its parameters through g_istrm (preset value, ini file, console when it is
/// asked, default) and puts them into force. Where a console reader is set it prints a heading
/// first. A value outside its range is replaced by the nearest allowed one, and the console says
/// so; a text that is no value at all leaves the default.
/// @{

/// "Method" and that method's own parameters, into g_tool, and "StartSteps" (0 to 1,000,000), which
/// nobody is asked for. Counts are at least 1; loop counts at
/// most 100,000,000, which leaves the tool room to multiply them.
void readTimingMethod();

/// "AlignVectorsBy", "VectorAlign" (0 to 63), "MisalignFirstVectorOnly" and "MutualVectorShift"
/// (bytes; 0 to 32,704 and a multiple of 64, to which other values are rounded, a half up), into
/// the placement settings of tracked memory.
void readDataOffset();

/// "Accuracy" in percent (0.01 to 100), into g_tool.
void readAccuracy();

/// "TimeLimit": seconds of repeating for one row (0.1 to 86,400), into g_tool.
void readTimeLimit();
/// @}

/// The tool as readTimingMethod and readAccuracy would leave g_tool if nobody were asked; nothing
/// is printed and nothing changes.
tzTool tzPreviewTool();

/// Whether "VectorAlign" counts elements of a vector instead of bytes.
bool tzIsAlignByElement();

/// How many bytes one unit of "VectorAlign" is for elements of this size.
inline int tzAlignUnit(int elementSize) { return tzIsAlignByElement() ? elementSize : 1; }
