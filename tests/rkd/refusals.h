/// @file
/// Bad arguments of an entry point, from one line: a null pointer, a size that is not positive, a
/// step below a row. Each gives its own status, and nothing is written.
///
/// The line is REFUSES(function, shape), where the shape has one word an argument:
///   p       pointer to samples, a table or results
///   @       the same with zeros behind it: a position, a previous DC
///   q       the same, may be null
///   P3      array of 3 plane pointers; P1oE: of 1 pointer to an object
///   oE ...  pointer to an object, see object()
///   s2      step of rows of 2 samples a pixel and 19 pixels
///   r8      step of rows of 8 samples
///   z       RkdiSize of 19x3 pixels; z20x8: of 20x8
///   n       length or width of 19; n99: of 99
///   m19     length that may be zero
///   =5      any other parameter, with a value that is right
/// Steps measure rows of the pointer before them.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "entrypoint.h"

namespace refusals {

/// The functions that have a line, and whether lines are to be listed only.
inline std::set<std::string> g_listed;
inline bool g_listOnly = false;

using entrypoint::Function;
using entrypoint::Type;
using entrypoint::Value;

/// Calls the function with every bad argument that the shape knows, and at last with right ones.
void check(const Function& function, const char* shape);

}  // namespace refusals

#define REFUSES(function, shape) refusals::check(entrypoint::describe(#function, function), shape)
