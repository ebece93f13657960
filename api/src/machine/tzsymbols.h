/// @file
/// The functions that the loaded libraries really have, read from their dynamic symbol tables.
#pragma once

#include "tzlist.h"
#include "tzstring.h"

/// Appends the names of all functions that the loaded libraries define and export, sorted, each
/// once.
/// @param prefix   only names that begin with it ("rkd")
/// @param library  only libraries whose file name begins with it ("librkd"); empty: all, and the
///                 program itself
/// @return how many names were appended
int tzListExportedFunctions(tzStringList& names, const tzString& prefix,
                            const tzString& library = "librkd");
