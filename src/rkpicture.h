#pragma once
/// @file
/// The sample pictures, for suites whose data may come from one.

#include "rkimage.h"
#include "tzstring.h"

/// Where a picture is: in the session's input folder, beside the program, or where the program's
/// data are installed; in this order. The bare name when it is nowhere.
tzString rkFindPicture(const tzString& name);

/// Fills an 8u image of one channel with the brightness of a sample picture: its middle, mirrored
/// at its edges where the image is larger.
/// @param name  "rose", "sbikers2"
/// @return false after a line that names the file and the reason
bool rkFillPicture(rkImage& image, const char* name);
