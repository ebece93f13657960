// Tag trees, coded and decoded.
#include "tagtree.h"

#include <algorithm>

#include "bits.h"

namespace j2k {
namespace {
constexpr int maxDepth = 34;
}

int64_t TagTree::nodes(int64_t wide, int64_t high) {
  int64_t count = wide * high;
  while (wide * high > 1) {
    wide = (wide + 1) / 2;
    high = (high + 1) / 2;
    count += wide * high;
  }
  return count;
}

TagTree::TagTree(int wide, int high) : m_nodes(size_t(nodes(wide, high))) {
  int start = 0;
  while (int64_t(wide) * high > 1) {
    const int next = start + wide * high, parentsWide = (wide + 1) / 2;
    for (int y = 0; y < high; ++y) {
      for (int x = 0; x < wide; ++x) {
        m_nodes[size_t(start) + size_t(y) * size_t(wide) + size_t(x)].parent =
            next + (y / 2) * parentsWide + x / 2;
      }
    }
    start = next;
    wide = parentsWide;
    high = (high + 1) / 2;
  }
}

int TagTree::path(int leaf, int* nodes) const {
  int depth = 0;
  for (int node = leaf; node >= 0; node = m_nodes[size_t(node)].parent) nodes[depth++] = node;
  return depth;
}

bool TagTree::readBelow(BitReader& in, int leaf, int32_t threshold) {
  int nodes[maxDepth];
  int32_t low = 0;
  for (int i = path(leaf, nodes) - 1; i >= 0; --i) {
    Node& node = m_nodes[size_t(nodes[i])];
    node.told = low = std::max(low, node.told);
    while (low < threshold && low < node.value && !in.ended()) {
      if (in.bit()) {
        node.value = low;
      } else {
        ++low;
      }
    }
    node.told = low;
  }
  return m_nodes[size_t(leaf)].value < threshold;
}

int32_t TagTree::readValue(BitReader& in, int leaf, int32_t limit) {
  for (int32_t threshold = 1; threshold <= limit; ++threshold) {
    if (readBelow(in, leaf, threshold)) return threshold - 1;
  }
  return limit;
}

void TagTree::setValue(int leaf, int32_t value) {
  for (int i = leaf; i >= 0 && m_nodes[size_t(i)].value > value; i = m_nodes[size_t(i)].parent) {
    m_nodes[size_t(i)].value = value;
  }
}

void TagTree::write(BitWriter& out, int leaf, int32_t threshold) {
  int nodes[maxDepth];
  int32_t low = 0;
  for (int i = path(leaf, nodes) - 1; i >= 0; --i) {
    Node& node = m_nodes[size_t(nodes[i])];
    low = std::max(low, node.told);
    while (low < threshold) {
      if (low >= node.value) {
        if (!node.known) out.bit(1);
        node.known = true;
        break;
      }
      out.bit(0);
      ++low;
    }
    node.told = low;
  }
}

}  // namespace j2k
