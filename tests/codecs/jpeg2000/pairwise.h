#pragma once
/// @file
/// Rows of a table of choices in which every two choices of different columns meet.

#include <cstddef>
#include <random>
#include <vector>

namespace pairwise {

/// A choice for each column.
using Row = std::vector<size_t>;

/// The pairs of choices that no row has yet.
class OpenPairs {
 public:
  explicit OpenPairs(const std::vector<size_t>& choices) : m_choices(choices) {
    size_t all = 0;
    for (const size_t count : choices) {
      m_first.push_back(all);
      all += count;
    }
    m_all = all;
    m_open.assign(all * all, false);
    for (size_t a = 0; a < choices.size(); ++a) {
      for (size_t b = a + 1; b < choices.size(); ++b) {
        for (size_t x = 0; x < choices[a]; ++x) {
          for (size_t y = 0; y < choices[b]; ++y) m_open[place(a, x, b, y)] = true;
        }
      }
    }
  }

  bool isOpen(size_t a, size_t x, size_t b, size_t y) const {
    return m_open[a < b ? place(a, x, b, y) : place(b, y, a, x)];
  }
  /// Any that is left, as two columns with their choices. @return false when there is none
  bool any(size_t (&pair)[4]) const {
    for (size_t a = 0; a < m_choices.size(); ++a) {
      for (size_t b = a + 1; b < m_choices.size(); ++b) {
        for (size_t x = 0; x < m_choices[a]; ++x) {
          for (size_t y = 0; y < m_choices[b]; ++y) {
            if (!m_open[place(a, x, b, y)]) continue;
            pair[0] = a, pair[1] = x, pair[2] = b, pair[3] = y;
            return true;
          }
        }
      }
    }
    return false;
  }
  void close(const Row& row) {
    for (size_t a = 0; a < row.size(); ++a) {
      for (size_t b = a + 1; b < row.size(); ++b) m_open[place(a, row[a], b, row[b])] = false;
    }
  }

 private:
  size_t place(size_t a, size_t x, size_t b, size_t y) const {
    return (m_first[a] + x) * m_all + m_first[b] + y;
  }
  std::vector<size_t> m_choices, m_first;
  size_t m_all = 0;
  std::vector<bool> m_open;
};

/// @param choices  how many each column has
/// @param seed     another one gives other rows, in which all pairs meet as well
inline std::vector<Row> rows(const std::vector<size_t>& choices, unsigned seed) {
  constexpr size_t none = size_t(-1);
  std::mt19937 random(seed);
  OpenPairs open(choices);
  std::vector<Row> list;
  for (size_t pair[4]; open.any(pair);) {
    Row row(choices.size(), none);
    row[pair[0]] = pair[1];
    row[pair[2]] = pair[3];
    for (size_t column = 0; column < row.size(); ++column) {
      if (row[column] != none) continue;
      // The choice that meets most others for the first time; among equals any.
      size_t best = 0, most = 0, equals = 0;
      for (size_t choice = 0; choice < choices[column]; ++choice) {
        size_t meets = 0;
        for (size_t other = 0; other < row.size(); ++other) {
          if (row[other] == none || other == column) continue;
          meets += open.isOpen(column, choice, other, row[other]) ? 1U : 0U;
        }
        if (meets > most || equals == 0) {
          equals = 0;
          most = meets;
        }
        if (meets == most && random() % ++equals == 0) best = choice;
      }
      row[column] = best;
    }
    open.close(row);
    list.push_back(std::move(row));
  }
  return list;
}

}  // namespace pairwise
