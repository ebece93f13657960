#pragma once
/// @file
/// Tag trees: a grid of numbers told step by step, as far as each packet needs them.
/// @see ITU-T T.800, B.10.2

#include <cstddef>
#include <cstdint>
#include <vector>

namespace j2k {

class BitReader;
class BitWriter;

/// A number above all that are told.
constexpr int32_t tagUnknown = INT32_MAX;

class TagTree {
 public:
  TagTree() = default;
  TagTree(int wide, int high);

  /// Nodes of a tree, to be counted before it is made.
  static int64_t nodes(int64_t wide, int64_t high);

  /// Reads until it is known whether the leaf's value is below the threshold.
  bool readBelow(BitReader& in, int leaf, int32_t threshold);
  /// Reads until the leaf's value is known, at most to the limit.
  int32_t readValue(BitReader& in, int leaf, int32_t limit);

  /// For writing: gives a leaf a value that is not above what it had; inner nodes are the least
  /// below them. A value may come late, as long as nothing above it has been told.
  void setValue(int leaf, int32_t value);
  /// Tells whether the leaf's value is below the threshold, in as many bits as are new.
  void write(BitWriter& out, int leaf, int32_t threshold);

 private:
  struct Node {
    int32_t value = tagUnknown;
    int32_t told = 0;  ///< the value is known to be at least this
    int32_t parent = -1;
    bool known = false;
  };
  int path(int leaf, int* nodes) const;

  std::vector<Node> m_nodes;
};

}  // namespace j2k
