// Verified runs: both bindings on the same data, and the first difference.
#include "rkverify.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "tzcache.h"
#include "tzexception.h"
#include "tzmemory.h"

namespace {

template <class T>
double elementAt(const unsigned char* bytes, std::size_t element) {
  T value;
  std::memcpy(&value, bytes + element * sizeof(T), sizeof(T));
  return static_cast<double>(value);
}

using Reader = double (*)(const unsigned char*, std::size_t);

/// How the elements of a type are read; complex ones as pairs of their parts.
struct Element {
  std::size_t size;
  Reader read;
};

Element elementOf(rkType type) {
  switch (partType(type)) {
    case rk8s:
      return {1, elementAt<int8_t>};
    case rk16u:
      return {2, elementAt<uint16_t>};
    case rk16s:
      return {2, elementAt<int16_t>};
    case rk32u:
      return {4, elementAt<uint32_t>};
    case rk32s:
      return {4, elementAt<int32_t>};
    case rk64u:
      return {8, elementAt<uint64_t>};
    case rk64s:
      return {8, elementAt<int64_t>};
    case rk32f:
      return {4, elementAt<float>};
    case rk64f:
      return {8, elementAt<double>};
    default:
      return {1, elementAt<uint8_t>};
  }
}

// Whole blocks and MCUs, so that an operand ends where the last one does; then sides that no vector
// divides: prime, even, shorter than any vector, one. Even widths are for pixels that come in
// pairs.
constexpr RkdiSize kOwnSizes[] = {{48, 32}, {67, 37}, {70, 3}, {31, 2}, {10, 2},
                                  {7, 5},   {1, 23},  {2, 1},  {1, 1}};
constexpr int kOwnLengths[] = {1, 2, 3, 7, 13, 31, 64, 67, 131, 257};

constexpr rkGuard::Side kSides[] = {rkGuard::AT_END, rkGuard::AT_START};

}  // namespace

tzResult rkVerify::verify(tzTest& test, tzString& note) {
  rkVerify judge(static_cast<rkTest&>(test));
  tzResult result = judge.compareOnce(note);
  if (result == TZ_OK && judge.isFirstWithTheseParms()) result = judge.compareAtOwnSizes(note);
  if (!judge.remake(false) && result == TZ_OK) {
    note = "no data after the comparison";
    result = TZ_DATAFAIL;
  }
  return result;
}

bool rkVerify::remake(bool verifying) {
  m_test.flushData();
  rkTest::setDataState(m_test.m_before);
  rkTest::m_verifying = verifying;
  rkGuard::fillOthers(verifying);
  return m_test.initData();
}

tzResult rkVerify::compareOnce(tzString& note) {
  note = "no data for the comparison";
  return remake(true) ? rkComparison(m_test).run(note) : TZ_DATAFAIL;
}

// Sizes of our own are tried once for each combination of the other parameters.
bool rkVerify::isFirstWithTheseParms() const {
  std::string others;
  for (const tzParameter* parm : m_test.parms()) {
    const bool isSize = parm == m_test.m_sizeParm || parm == m_test.m_lengthParm;
    if (!isSize && parm != m_test.cacheIterator()) others += parm->valueString().str() + ";";
  }
  return m_test.m_verifiedParms.insert(others).second;
}

tzResult rkVerify::compareAtOwnSizes(tzString& note) {
  if (m_test.m_sizeParm != nullptr) return compareAt(*m_test.m_sizeParm, kOwnSizes, note);
  if (m_test.m_lengthParm != nullptr) return compareAt(*m_test.m_lengthParm, kOwnLengths, note);
  return TZ_OK;
}

template <class T, std::size_t N>
tzResult rkVerify::compareAt(tzDefault_NSC<T>& parm, const T (&values)[N], tzString& note) {
  const T ofTheRun = parm.value();
  tzResult result = TZ_OK;
  for (const T& value : values) {
    parm.setValue(value);
    if (!m_test.refusal().empty()) continue;
    for (const rkGuard::Side side : kSides) {
      result = compareBetweenGuards(side, note);
      if (result == TZ_OK) continue;
      note = tzString("at ") + parm.name() + "=" + parm.valueString() + ": " + note;
      break;
    }
    if (result != TZ_OK) break;
  }
  parm.setValue(ofTheRun);
  return result;
}

tzResult rkVerify::compareBetweenGuards(rkGuard::Side side, tzString& note) {
  tzResult result = TZ_DATAFAIL;
  {
    const rkGuard guarded(side);
    // Some suites have the library prepare their data.
    tzCallGuard guard;
    if (!guard.call([&] { result = compareOnce(note); })) {
      note = tzString(guard.name()) + ", " + guard.getInfo() + " while the data were made";
      result = TZ_EXCPTFAIL;
    }
  }
  m_test.flushData();
  return result;
}

rkComparison::rkComparison(rkTest& test) : m_test(test) {
  const rkVector* owner = nullptr;
  int size = 0;
  tzObject* object = nullptr;
  for (void* p = tzMallocFirst(&size, &object); p != nullptr; p = tzMallocNext(&size, &object)) {
    // Further planes and reserved copies stand behind the object that they belong to.
    if (object != MEM_OBJECT_IS_SUBOBJECT) owner = dynamic_cast<const rkVector*>(object);
    m_blocks.push_back({static_cast<unsigned char*>(p), static_cast<std::size_t>(size), owner});
  }
  m_numBuffers = m_blocks.size();
  test.line().counters(m_counters);
  for (const rkCounters::Item& item : m_counters.items()) {
    m_blocks.push_back({static_cast<unsigned char*>(item.data), item.size, nullptr});
  }
}

tzResult rkComparison::run(tzString& note) {
  const rkLine& line = m_test.line();
  const Content before = content();
  if (line.restoreReference != nullptr) line.restoreReference();
  const int expectedStatus = line.reference();
  const Content expected = content();

  putBack(before);
  if (line.restoreLibrary != nullptr) line.restoreLibrary();
  int status = 0;
  tzCallGuard guard;
  if (!guard.call([&] { status = line.library(); })) {
    note = tzString(guard.name()) + ", " + guard.getInfo() + describeFault(guard.address());
    putBack(before);
    return TZ_EXCPTFAIL;
  }
  note = "";
  if (status != expectedStatus) {
    note << "status is " << status << " instead of " << expectedStatus;
  } else {
    note = firstDifference(expected);
  }
  putBack(before);
  return note.empty() ? TZ_OK : TZ_FUNCFAIL;
}

rkComparison::Content rkComparison::content() const {
  Content saved;
  saved.reserve(m_blocks.size());
  for (const Block& block : m_blocks) saved.emplace_back(block.data, block.data + block.size);
  return saved;
}

void rkComparison::putBack(const Content& saved) const {
  for (std::size_t i = 0; i < m_blocks.size(); ++i) {
    // A buffer of no bytes has no address either, which copy takes and memcpy does not.
    std::copy(saved[i].begin(), saved[i].end(), m_blocks[i].data);
  }
}

tzString rkComparison::firstDifference(const Content& expected) const {
  const double tolerance = m_test.line().tolerance.absolute;
  for (std::size_t i = 0; i < m_blocks.size(); ++i) {
    const Block& block = m_blocks[i];
    if (std::equal(expected[i].begin(), expected[i].end(), block.data)) continue;
    const bool isInt = block.vector == nullptr && block.size == sizeof(int) && i >= m_numBuffers;
    const Element element = isInt          ? Element{4, elementAt<int32_t>}
                            : block.vector ? elementOf(block.vector->type())
                                           : Element{1, elementAt<uint8_t>};
    for (std::size_t k = 0; k < block.size / element.size; ++k) {
      const std::size_t at = k * element.size;
      if (std::memcmp(block.data + at, expected[i].data() + at, element.size) == 0) continue;
      const double actual = element.read(block.data, k);
      const double wanted = element.read(expected[i].data(), k);
      // Written so that a value that is no number never counts as near.
      const bool near =
          block.vector != nullptr && !isInGap(block, k) && std::abs(actual - wanted) <= tolerance;
      if (!near) return describe(i, k, actual, wanted);
    }
  }
  return "";
}

// Whether an element lies between the end of an image's row and the next row.
bool rkComparison::isInGap(const Block& block, std::size_t element) const {
  const auto* image = dynamic_cast<const rkImage*>(block.vector);
  if (image == nullptr || image->step() <= 0) return false;
  const std::size_t at = element * elementOf(image->type()).size;
  const std::size_t samples = std::size_t(image->width()) * std::size_t(image->rowChannels());
  return at % std::size_t(image->step()) >= samples * std::size_t(elementSize(image->type()));
}

tzString rkComparison::describe(std::size_t block, std::size_t element, double actual,
                                double expected) const {
  tzString text;
  if (block >= m_numBuffers) {
    text << "value " << static_cast<int>(block - m_numBuffers) + 1 << " of " << m_counters.names();
  } else {
    text << "buffer " << static_cast<int>(block) + 1 << " element " << static_cast<int>(element);
    const auto* image = dynamic_cast<const rkImage*>(m_blocks[block].vector);
    if (image != nullptr && image->step() > 0) {
      const std::size_t rowElements =
          static_cast<std::size_t>(image->step()) / elementOf(image->type()).size;
      text << " (row " << static_cast<int>(element / rowElements) << " column "
           << static_cast<int>(element % rowElements)
           << (isInGap(m_blocks[block], element) ? ", behind the row)" : ")");
    }
  }
  char values[80];
  std::snprintf(values, sizeof values, " is %.9g instead of %.9g", actual, expected);
  text << values;
  return text;
}

tzString rkComparison::describeFault(const void* address) const {
  const rkGuard::Place place = rkGuard::find(address);
  tzString text;
  for (std::size_t i = 0; i < m_numBuffers; ++i) {
    if (m_blocks[i].data != place.buffer) continue;
    text << " byte " << std::abs(place.distance)
         << (place.distance > 0 ? " past the end of buffer " : " before the start of buffer ")
         << static_cast<int>(i) + 1;
  }
  return text;
}
