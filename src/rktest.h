#pragma once
/// @file
/// Base of all suite test classes.

#include <cstddef>
#include <initializer_list>
#include <set>
#include <string>
#include <vector>

#include "tziterator.h"
#include "tztest.h"
#include "rkfunc.h"
#include "rkimage.h"
#include "rkd/rkdbase.h"

/// The largest absolute difference from the judge that counts as equal, in units of the element.
struct rkTolerance {
  double absolute = 0;
};

/// Plain file-scope objects that a performance changes.
class rkCounters {
 public:
  struct Item {
    void* data;
    std::size_t size;
  };
  /// @param names the objects' names, for messages; @param objects trivially copyable
  template <class... T>
  void add(const char* names, T&... objects) {
    m_names = names;
    (m_items.push_back({&objects, sizeof(objects)}), ...);
  }
  const std::vector<Item>& items() const { return m_items; }
  const char* names() const { return m_names; }

 private:
  std::vector<Item> m_items;
  const char* m_names = "";
};

/// One registered line of a suite: what the tool calls, and what a verified run compares.
struct rkLine {
  int (*call)();
  int (*init)();
  tzResult (*loop)(int, long long*);
  tzResult (*stat)(int*, long long*);
  const char* name;
  const char* source;
  const char* className;
  const char* text;
  bool (*present)();              ///< does the loaded library have what the line needs
  int (*library)();               ///< one performance on the loaded library
  int (*restoreLibrary)();        ///< null when the line has none
  int (*reference)();             ///< the same performance on the plain version
  int (*restoreReference)();      ///< null when the line has none
  void (*counters)(rkCounters&);  ///< the suite's plain objects
  rkTolerance tolerance;
};

/// A range of values, both ends included.
struct rkRange {
  double low = 0, high = 0;
};

class rkTest : public tzTest {
 public:
  explicit rkTest(const rkLine& line);

  /// Starts the random stream and the status policy anew, then runs the test; a function that the
  /// loaded library lacks is reported as not supported instead.
  tzResult run() override;
  int compareFunc(const tzTest* other) const override;
  bool canContinue() override;
  bool isFloatFunction() const override;
  void funcToCstrm() override;
  tzString regInfo() const override;
  void printAllMemoryBlocks(const tzString& heading) const override;

  /// Maps a library status to a result (1, 5 or 9), prints a warning or an error with the
  /// function's name and the library's text, and raises the current test's result.
  static tzResult checkStatus(RkdStatus status, const tzString& name);
  tzResult checkStatus(RkdStatus status) const { return checkStatus(status, funcName()); }

  /// Gives every buffer that has a reserved copy its first content back: the operands of in-place
  /// functions, before the warm-up of every run. Untimed. Returns 0.
  static int restoreOperands();

  const rkFunc& func() const { return m_func; }
  const rkLine& line() const { return m_line; }

  /// Takes another performance for the library's in comparisons: how tests plant a fault.
  void setLibraryPerformance(int (*performance)()) { m_line.library = performance; }

  static bool m_checkErrorsOnly;  ///< positive statuses count as success

 protected:
  /// True while data are made for a comparison with the judge rather than for timing.
  static bool verifying() { return m_verifying; }
  /// The range of a random fill: what the suite prescribes for timing ((0, 0): the type's whole
  /// range), the function's stated input range for a comparison.
  static rkRange fillRange(rkRange stated, rkRange timed = {}) {
    return m_verifying ? stated : timed;
  }
  /// @name The parameter that sizes the data
  /// Verified runs give it values of their own. In cache mode regCacheParm has a cache-state
  /// iterator steer it.
  /// @{
  void regSizeParm(tzDefault_NSC<RkdiSize>& sizes) {
    m_sizeParm = &sizes;
    regParm(sizes);
  }
  void regCacheParm(tzDefault_NSC<RkdiSize>& sizes, rkImage& image, SteerFunc check = nullptr) {
    m_sizeParm = &sizes;
    tzTest::regCacheParm(sizes, &image, check);
  }
  void regCacheParm(tzDefault_NSC<int>& lengths, rkVector& vector) {
    m_lengthParm = &lengths;
    tzTest::regCacheParm(lengths, &vector);
  }
  /// What functions say that refuse data without a sample: a refusal when the current size has
  /// none, else empty.
  tzString emptyRefusal() const;
  /// @}
  /// The elements of a vector; of a large one, the first.
  void printData(const tzObject& object) const override;

 private:
  friend class rkVerify;

  /// Where the streams that initData draws on stand before it.
  struct DataState {
    unsigned seed;
    int vectorNum, vectorShift;
  };
  static DataState dataState();
  static void setDataState(const DataState& state);

  static bool m_verifying;

  rkLine m_line;
  rkFunc m_func;
  DataState m_before{};
  tzDefault_NSC<RkdiSize>* m_sizeParm = nullptr;  ///< one of these two
  tzDefault_NSC<int>* m_lengthParm = nullptr;
  std::set<std::string> m_verifiedParms;  ///< other parameters' values tried at sizes of our own
};
