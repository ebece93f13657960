// What samples say, and measurements as bytes.
#include "tzmeasure.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <utility>

#include "tzpace.h"

namespace {

constexpr double kTailFrom = 1.1;

// The same sequence of fields serves writing, counting and reading.
template <class Measurement, class Visit>
void visitNumbers(Measurement& m, Visit visit) {
  visit(m.statistics.count);
  visit(m.statistics.minimum);
  visit(m.statistics.median);
  visit(m.statistics.spread);
  visit(m.statistics.tail);
  visit(m.figure);
  visit(m.dropped);
  visit(m.disturbances.processorShare);
  visit(m.disturbances.switches);
  visit(m.disturbances.migrations);
  visit(m.disturbances.majorFaults);
  visit(m.disturbances.minorFaults);
  visit(m.disturbances.steal);
  visit(m.passDifference);
  visit(m.passesSampled);
  visit(m.passesShared);
  visit(m.emptyCall);
  visit(m.seconds);
  visit(m.referenceBytes);
  visit(m.referenceClocks);
  visit(m.referenceRatio);
  visit(m.width);
  visit(m.sharedBelow);
  visit(m.coreClock);
  visit(m.memoryShare);
  visit(m.costly);
}

class Writer {
 public:
  explicit Writer(std::string& bytes) : m_bytes(bytes) {}
  template <class T>
  void put(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    m_bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  template <class Range>
  void putAll(const Range& range) {
    put(range.size());
    for (const auto& item : range) put(item);
  }

 private:
  std::string& m_bytes;
};

class Reader {
 public:
  Reader(const std::string& bytes, size_t at) : m_bytes(bytes), m_at(at) {}
  template <class T>
  void take(T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    m_good = m_good && left() >= sizeof value;
    if (!m_good) return;
    std::memcpy(&value, m_bytes.data() + m_at, sizeof value);
    m_at += sizeof value;
  }
  template <class Range>
  void takeAll(Range& range) {
    size_t count = 0;
    take(count);
    // Checked before anything of this size is made.
    m_good = m_good && count <= left() / sizeof(typename Range::value_type);
    if (!m_good) return;
    range.resize(count);
    for (auto& item : range) take(item);
  }
  bool good() const { return m_good; }
  size_t at() const { return m_at; }

 private:
  size_t left() const { return m_at <= m_bytes.size() ? m_bytes.size() - m_at : 0; }

  const std::string& m_bytes;
  size_t m_at;
  bool m_good = true;
};

}  // namespace

void tzDisturbances::add(const tzDisturbances& more) {
  processorShare = std::min(processorShare, more.processorShare);
  switches += more.switches;
  migrations += more.migrations;
  majorFaults += more.majorFaults;
  minorFaults += more.minorFaults;
  steal += more.steal;
}

double tzMedian(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 != 0) return *middle;
  return (*std::max_element(values.begin(), middle) + *middle) / 2;
}

double tzRobustDeviation(std::vector<double> values, double median) {
  constexpr double ofMedian = 1.4826;
  for (double& value : values) value = std::fabs(value - median);
  return ofMedian * tzMedian(std::move(values));
}

tzStatistics tzSampleStatistics(const std::vector<double>& values) {
  tzStatistics told;
  if (values.empty()) return told;
  told.count = static_cast<int>(values.size());
  told.minimum = *std::min_element(values.begin(), values.end());
  told.median = tzMedian(values);
  if (told.median > 0) told.spread = tzRobustDeviation(values, told.median) / told.median;
  const double limit = kTailFrom * told.minimum;
  const auto above =
      std::count_if(values.begin(), values.end(), [limit](double value) { return value > limit; });
  told.tail = static_cast<double>(above) / told.count;
  return told;
}

// Streams through memory keep their time whatever the core's clock does; the rest follows it.
double tzMeasurement::clocksAt(double counted, double rate) const {
  if (!coreClock || rate <= 0) return counted;
  return counted * (memoryShare + (1 - memoryShare) * rate);
}

std::vector<double> tzMeasurement::judged() const {
  std::vector<double> values;
  for (const tzSample& sample : samples) {
    if (passesShared == passesSampled || !isShared(sample)) values.push_back(sample.clocks);
  }
  return values;
}

void tzMeasurement::summarise() {
  for (tzSample& sample : samples) {
    if (sample.counted > 0) sample.clocks = clocksAt(sample.counted, sample.rate);
  }
  std::vector<double> sharedMinima;
  std::vector<double> widths;
  passMinima.clear();
  passesSampled = passesShared = 0;
  for (auto begin = samples.cbegin(); begin != samples.cend();) {
    double alone = INFINITY;
    double shared = INFINITY;
    const int pass = begin->pass;
    for (; begin != samples.cend() && begin->pass == pass; ++begin) {
      double& least = isShared(*begin) ? shared : alone;
      least = std::min(least, begin->clocks);
      if (begin->width > 0) widths.push_back(begin->width);
    }
    ++passesSampled;
    const bool isAlone = alone < INFINITY;
    if (!isAlone) ++passesShared;
    (isAlone ? passMinima : sharedMinima).push_back(isAlone ? alone : shared);
  }
  if (passMinima.empty()) passMinima = std::move(sharedMinima);
  width = tzPace::typicalWidth(std::move(widths));
  statistics = tzSampleStatistics(judged());
  passDifference = 0;
  if (statistics.minimum <= 0) return;
  passDifference = *std::max_element(passMinima.begin(), passMinima.end()) / statistics.minimum - 1;
}

int tzMeasurement::passesNeeded() const { return std::max(2, (passesSampled + 1) / 2); }

double tzMeasurement::reach() const {
  std::vector<double> minima = passMinima;
  if (minima.size() < 2) {
    const std::vector<double> values = judged();
    if (values.size() < 2) return 1;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    minima = {*std::min_element(values.begin(), middle), *std::min_element(middle, values.end())};
  }
  std::sort(minima.begin(), minima.end());
  if (minima.front() <= 0) return 1;
  const size_t needed = std::min(static_cast<size_t>(passesNeeded()), minima.size());
  return minima[needed - 1] / minima.front() - 1;
}

void tzPack(const tzMeasurement& measurement, std::string& bytes) {
  Writer writer(bytes);
  visitNumbers(measurement, [&](const auto& value) { writer.put(value); });
  writer.putAll(measurement.samples);
  writer.putAll(measurement.passMinima);
  writer.putAll(measurement.reason);
}

bool tzUnpack(const std::string& bytes, size_t& at, tzMeasurement& measurement) {
  tzMeasurement read;
  Reader reader(bytes, at);
  visitNumbers(read, [&](auto& value) { reader.take(value); });
  reader.takeAll(read.samples);
  reader.takeAll(read.passMinima);
  reader.takeAll(read.reason);
  if (!reader.good()) return false;
  at = reader.at();
  measurement = std::move(read);
  return true;
}

void tzPack(const tzRow& row, std::string& bytes) {
  tzPack(row.measurement, bytes);
  Writer writer(bytes);
  writer.put(row.elements);
  writer.put(row.result);
  writer.putAll(row.parameters);
  writer.putAll(row.unit);
}

bool tzUnpack(const std::string& bytes, size_t& at, tzRow& row) {
  tzRow read;
  size_t behind = at;
  if (!tzUnpack(bytes, behind, read.measurement)) return false;
  Reader reader(bytes, behind);
  reader.take(read.elements);
  reader.take(read.result);
  reader.takeAll(read.parameters);
  reader.takeAll(read.unit);
  if (!reader.good()) return false;
  at = reader.at();
  row = std::move(read);
  return true;
}
