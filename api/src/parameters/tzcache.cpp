// A size that grows or shrinks until the data are in the cache, or out of it.
#include "tzcache.h"

#include <algorithm>
#include <climits>

#include <unistd.h>

#include "tzcpu.h"
#include "tzenv.h"
#include "tzmemory.h"
#include "tzobject.h"
#include "tzostream.h"

int (*tzCacheIterator::s_cacheSizeSource)() = nullptr;
long long (*tzCacheIterator::s_memorySizeSource)() = nullptr;

namespace {

constexpr double kFirstLowFactor = 0.1;
constexpr double kRelaxedLowFactor = 0.01;
constexpr double kFactorSlack = 0.0001;
constexpr double kHighFactor = 0.9;
constexpr double kOutFactor = 1.05;
constexpr int kMemoryShare = 4;  // a test may take this part of the machine's memory
constexpr long long kMib = 1 << 20;

int clampToInt(double value) { return value >= INT_MAX ? INT_MAX : static_cast<int>(value); }

int clampToInt(long long value) {
  return static_cast<int>(std::clamp<long long>(value, 0, INT_MAX));
}

/// The library knows processors of makers that the harness's own query does not.
int machineCacheSize() {
  int size = 0;
  if (tz_rkdGetMaxCacheSizeB(&size) == 0 && size > 0) return size;
  size = 0;
  if (rkd_GetMaxCacheSizeB != nullptr && rkd_GetMaxCacheSizeB(&size) == 0 && size > 0) return size;
  return 0;
}

long long machineMemorySize() {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  return pages > 0 && pageSize > 0 ? static_cast<long long>(pages) * pageSize : LLONG_MAX;
}

/// `value` times 2 to the power of `k`; 0 when that is no positive int.
int scaled(int value, int k) {
  if (value <= 0 || k > 30) return 0;
  if (k < 0) return k < -30 ? 0 : value >> -k;
  const long long result = static_cast<long long>(value) << k;
  return result > INT_MAX ? 0 : static_cast<int>(result);
}

/// Calls `doubling` for every doubling, then `halving` for every halving, of the way that brings
/// `size` nearest below `limit` by powers of two.
template <typename Doubling, typename Halving>
void searchBelow(int size, int limit, Doubling doubling, Halving halving) {
  long long reached = size;
  for (; reached <= limit; reached *= 2) doubling();
  for (; reached >= limit; reached /= 2) halving();
}

}  // namespace

tzCacheIterator::tzCacheIterator(tzParameter& parm, tzObject* object,
                                 SetNewValueFunc setNewValueFunc)
    : tzIterator<int>("cacheIterator", "", {IN_CACHE, OUT_OF_CACHE}),
      m_parm(parm),
      m_object(object),
      m_lowFactor(kFirstLowFactor),
      m_setNewValueFunc(setNewValueFunc) {}

int tzCacheIterator::cacheSize() {
  return s_cacheSizeSource ? s_cacheSizeSource() : machineCacheSize();
}

int tzCacheIterator::lowSize() const {
  return clampToInt(cacheSize() * (value() == OUT_OF_CACHE ? kOutFactor : m_lowFactor));
}

int tzCacheIterator::highSize() const {
  return value() == OUT_OF_CACHE ? INT_MAX : clampToInt(cacheSize() * kHighFactor);
}

int tzCacheIterator::getTotalSize() {
  long long sum = 0;
  int size = 0;
  for (void* block = tzMallocFirst(&size, nullptr); block != nullptr;
       block = tzMallocNext(&size, nullptr)) {
    sum += size;
  }
  return clampToInt(sum);
}

int tzCacheIterator::getObjectSize() const { return m_object ? m_object->objectSize() : 0; }

tzString tzCacheIterator::getComment() const {
  switch (value()) {
    case IN_CACHE:
      return "inCache";
    case OUT_OF_CACHE:
      return "outofCache";
    default:
      return tzString();
  }
}

bool tzCacheIterator::nextValue() {
  m_attempt = 0;
  m_info = "";
  m_lowFactor = kFirstLowFactor;
  m_wasTooBig = false;
  return tzIterator<int>::nextValue() && m_parm.firstValue();
}

bool tzCacheIterator::repeatValue() { return ++m_attempt <= MAX_REPEATS && setNewValue(); }

bool tzCacheIterator::setNewValue() {
  const bool tooBig = m_totalSize > highSize();
  const int size = tooBig ? m_totalSize : m_objectSize;
  const int limit = tooBig ? highSize() : lowSize();
  const bool fine = m_attempt > 1;
  return m_setNewValueFunc ? m_setNewValueFunc(&m_parm, size, limit, fine)
                           : setNewValueToParm(size, limit, fine);
}

bool tzCacheIterator::setNewValueToParm(int, int, bool) { return false; }

bool tzCacheIterator::validateSize() {
  m_objectSize = getObjectSize();
  m_totalSize = getTotalSize();
  if (m_objectSize == 0) m_objectSize = m_totalSize;
  const bool tooSmall = m_objectSize < lowSize();
  const bool tooBig = m_totalSize > highSize();
  const tzString reason = hopeless(tooSmall);
  if (!tooSmall && !tooBig && reason.empty()) {
    m_attempt = 0;
    m_info = "";
    return true;
  }
  const tzString text = triesInfo(tooSmall, tooBig) + reason;
  m_info += text;
  g_ostrm << L_PERF << text << L_END;
  if (!reason.empty()) {
    giveUp();
  } else if (relax(tooSmall, tooBig)) {
    return validateSize();
  }
  m_wasTooBig = tooBig;
  return false;
}

/// Lowers the lower bound, or gives up where that has been done, when steering can't reach the
/// band: the object is below it and all data above, or every step jumps over it.
/// @return whether the data now built deserve another look
bool tzCacheIterator::relax(bool tooSmall, bool tooBig) {
  const bool squeezed = tooSmall && tooBig;
  const bool oscillates = m_attempt >= 2 && tooSmall && !tooBig && m_wasTooBig;
  if (!squeezed && !oscillates) return false;
  if (m_lowFactor - kFactorSlack <= kRelaxedLowFactor) {
    giveUp();
    return false;
  }
  m_lowFactor = kRelaxedLowFactor;
  return oscillates;
}

tzString tzCacheIterator::triesInfo(bool tooSmall, bool tooBig) const {
  const tzString start = tzString("      ") + getComment() + " try: cacheParm=" + valueString();
  tzString text;
  if (tooSmall) {
    text << start << (m_object ? " objectSize=" : " totalSize=") << m_objectSize << " < "
         << lowSize() << "\n";
  }
  if (tooBig) {
    text << start << " totalSize=" << m_totalSize << " > " << highSize() << "\n";
  }
  return text;
}

/// Why no further try of this state makes sense; empty when one does.
tzString tzCacheIterator::hopeless(bool tooSmall) const {
  if (value() != OUT_OF_CACHE) return tzString();
  tzString text;
  if (cacheSize() <= 0) {
    text << "      " << getComment() << " is given up: the size of the cache is unknown\n";
    return text;
  }
  if (!tooSmall) return text;
  // All data grow with the object, by doublings.
  long long object = std::max(m_objectSize, 1);
  long long needed = std::max(m_totalSize, 1);
  for (; object < lowSize(); object *= 2) needed *= 2;
  const long long memory = (s_memorySizeSource ? s_memorySizeSource() : machineMemorySize());
  if (needed > memory / kMemoryShare) {
    text << "      " << getComment() << " is given up: it needs " << needed / kMib
         << " MiB, more than a quarter of the machine's " << memory / kMib << " MiB of memory\n";
  }
  return text;
}

void tzCacheIterator::outputInfo() const {
  if (g_ostrm.outLevel() < L_PERF && !m_info.empty()) g_ostrm << L_ERR << m_info << L_END;
}

tzString tzCacheIterator::valueString() const { return m_parm.valueString(); }
tzString tzCacheIterator::defaultString() const { return m_parm.defaultString(); }
tzString tzCacheIterator::validString() const { return m_parm.validString(); }
tzString tzCacheIterator::description() const { return m_parm.description(); }
tzString tzCacheIterator::prompt() const { return m_parm.prompt(); }
void tzCacheIterator::toOStream(tzOStream& os) const { m_parm.toOStream(os); }
void tzCacheIterator::toCStream(tzCStream& cs) const { m_parm.toCStream(cs); }
void tzCacheIterator::nameToCStream(tzCStream& cs) const { m_parm.nameToCStream(cs); }
void tzCacheIterator::fromIStream(tzIStream& is) { m_parm.fromIStream(is); }

tzCacheIteratorInt::tzCacheIteratorInt(tzDefault_NSC<int>& parm, tzObject* object,
                                       SetNewValueFunc setNewValueFunc)
    : tzCacheIterator(parm, object, setNewValueFunc), m_int(parm) {}

bool tzCacheIteratorInt::updateValue(int& value, int size, int limit, bool fine) {
  int k = size >= limit ? -1 : 1;
  if (!fine) {
    if (size <= 0 || limit <= 0) return false;
    k = 0;
    searchBelow(
        size, limit, [&k] { ++k; }, [&k] { --k; });
  }
  value = scaled(value, k);
  return value > 0;
}

bool tzCacheIteratorInt::setNewValueToParm(int size, int limit, bool fine) {
  int value = m_int.value();
  if (!updateValue(value, size, limit, fine)) return false;
  m_int.setValue(value);
  return true;
}

tzCacheIteratorSize::tzCacheIteratorSize(tzDefault_NSC<RkdiSize>& parm, tzObject* object,
                                         SetNewValueFunc setNewValueFunc)
    : tzCacheIterator(parm, object, setNewValueFunc), m_size(parm) {}

bool tzCacheIteratorSize::updateValue(RkdiSize& value, int size, int limit, bool fine) {
  int kw = 0;
  int kh = 0;
  if (fine) {
    if (size < limit) {
      (value.width <= value.height ? kw : kh) = 1;
    } else {
      (value.width > value.height ? kw : kh) = -1;
    }
  } else {
    if (size <= 0 || limit <= 0) return false;
    searchBelow(
        size, limit, [&] { ++(kw <= kh ? kw : kh); }, [&] { --(kw > kh ? kw : kh); });
  }
  value.width = scaled(value.width, kw);
  value.height = scaled(value.height, kh);
  return value.width >= 1 && value.height >= 1;
}

bool tzCacheIteratorSize::setNewValueToParm(int size, int limit, bool fine) {
  RkdiSize value = m_size.value();
  if (!updateValue(value, size, limit, fine)) return false;
  m_size.setValue(value);
  return true;
}
