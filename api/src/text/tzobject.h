/// @file
/// What the harness knows of a test-data object: its size, a text about it, and a reserved copy.
#pragma once

#include "tzstring.h"

/// Owner of tracked memory. The test layer and the cache iterators reach all test data through this
/// interface, whatever their kind. A plain object owns nothing.
class tzObject {
 public:
  /// Bytes of test data that a measured function may touch; what exceeds an int counts as the
  /// largest int.
  virtual int objectSize() const { return 0; }
  /// One line for people: kind, element type, extent.
  virtual tzString objectInfo() const { return tzString(); }
  /// Keeps a copy of the data beside them.
  /// @return false when there is no memory for it
  virtual bool reserveCopy() { return true; }
  /// Copies the reserved copy back over the data; does nothing without one.
  virtual void setReservedCopy() {}
  virtual void deleteReservedCopy() {}
  virtual ~tzObject() = default;
};
