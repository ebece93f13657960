/// @file
/// Running tests with data in the cache and out of it.
#pragma once

#include "tziterator.h"

class tzObject;

/// Runs a test with its data in the largest cache and out of it. For each of these two states it
/// steers one size-like parameter of the test until the data, as counted by tracked memory or by
/// one data object, lie in the band that the state demands:
///
/// | state        | the object (or all data) at least | all data at most |
/// |--------------|-----------------------------------|------------------|
/// | in cache     | cache size * 0.1, relaxed to 0.01 | cache size * 0.9 |
/// | out of cache | cache size * 1.05                 | no bound         |
///
/// The test builds its data for the parameter's value and asks validateSize; while that says no,
/// repeatValue steers the parameter to another value, until it gives up (outputInfo says why).
///
/// An out-of-cache state is given up when the cache size is unknown, and when its data would need
/// more than a quarter of the machine's memory.
class tzCacheIterator : public tzIterator<int> {
 public:
  enum State { IN_CACHE = 0, OUT_OF_CACHE = 1 };

  /// Steers the parameter in place of setNewValueToParm.
  /// @param size   bytes of the data now
  /// @param limit  bytes that they should come close to: above it the data must shrink
  /// @param fine   one step of a factor 2 instead of the whole way
  /// @return false when there is no such value
  using SetNewValueFunc = bool (*)(tzParameter* parm, int size, int limit, bool fine);

  /// @param parm    must outlive the iterator
  /// @param object  the data that count for the lower bound; null: all data
  explicit tzCacheIterator(tzParameter& parm, tzObject* object = nullptr,
                           SetNewValueFunc setNewValueFunc = nullptr);

  /// Goes to the next state and the steered parameter to its first value.
  bool nextValue() override;
  /// Steers the parameter for another try of the current state; at most eleven times.
  bool repeatValue();
  /// Whether the data now built are of the size that the state demands.
  bool validateSize();
  /// Shows why the state was given up, unless the console has shown the tries already.
  void outputInfo() const;
  /// "inCache" or "outofCache".
  tzString getComment() const;

  /// @name Sizes in bytes
  /// Sums are made in 64 bits; what exceeds an int counts as the largest int.
  /// @{
  static int cacheSize();
  int lowSize() const;
  int highSize() const;
  static int getTotalSize();
  int getObjectSize() const;
  /// @}

  /// @name What the machine has
  /// Replaced by tests and by builds that know better; null restores the machine's own.
  /// @{
  static void setCacheSizeSource(int (*bytes)()) { s_cacheSizeSource = bytes; }
  static void setMemorySizeSource(long long (*bytes)()) { s_memorySizeSource = bytes; }
  /// @}

  tzParameter& parm() { return m_parm; }
  const tzString& info() const { return m_info; }
  int attempt() const { return m_attempt; }

  /// @name The steered parameter's texts
  /// @{
  tzString valueString() const override;
  tzString defaultString() const override;
  tzString validString() const override;
  tzString description() const override;
  tzString prompt() const override;
  void toOStream(tzOStream& os) const override;
  void toCStream(tzCStream& cs) const override;
  void nameToCStream(tzCStream& cs) const override;
  void fromIStream(tzIStream& is) override;
  /// @}

 protected:
  virtual bool setNewValueToParm(int size, int limit, bool fine);

 private:
  static constexpr int MAX_REPEATS = 11;

  bool setNewValue();
  void giveUp() { m_attempt = MAX_REPEATS + 1; }
  bool relax(bool tooSmall, bool tooBig);
  tzString triesInfo(bool tooSmall, bool tooBig) const;
  tzString hopeless(bool tooSmall) const;

  static int (*s_cacheSizeSource)();
  static long long (*s_memorySizeSource)();

  tzParameter& m_parm;
  tzObject* m_object;
  int m_attempt = 0;
  int m_objectSize = 0;
  int m_totalSize = 0;
  bool m_wasTooBig = false;
  double m_lowFactor;
  tzString m_info;
  SetNewValueFunc m_setNewValueFunc;
};

/// Steers a length.
class tzCacheIteratorInt : public tzCacheIterator {
 public:
  explicit tzCacheIteratorInt(tzDefault_NSC<int>& parm, tzObject* object = nullptr,
                              SetNewValueFunc setNewValueFunc = nullptr);
  /// Coarse: `value` times the power of two that brings `size` nearest below `limit`. Fine: one
  /// doubling, or one halving when `size` has reached `limit`.
  /// @return false when there is no positive int of that kind; `value` is then of no use
  static bool updateValue(int& value, int size, int limit, bool fine);

 protected:
  bool setNewValueToParm(int size, int limit, bool fine) override;

 private:
  tzDefault_NSC<int>& m_int;
};

/// Steers width and height, by turns.
class tzCacheIteratorSize : public tzCacheIterator {
 public:
  explicit tzCacheIteratorSize(tzDefault_NSC<RkdiSize>& parm, tzObject* object = nullptr,
                               SetNewValueFunc setNewValueFunc = nullptr);
  /// As tzCacheIteratorInt, the doublings shared out between width and height, width first. Fine:
  /// doubles the smaller or halves the larger of the two.
  static bool updateValue(RkdiSize& value, int size, int limit, bool fine);

 protected:
  bool setNewValueToParm(int size, int limit, bool fine) override;

 private:
  tzDefault_NSC<RkdiSize>& m_size;
};
