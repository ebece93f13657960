// One side of a comparison: rows told, samples made on request.
#include "tzserve.h"

#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "tzarena.h"
#include "tzcache.h"
#include "tzchild.h"
#include "tzclock.h"
#include "tzenv.h"
#include "tzmessage.h"
#include "tzregistry.h"
#include "tztest.h"
#include "tzwatch.h"

namespace {

template <class T>
void putAll(tzPacket& packet, const std::vector<T>& items) {
  packet << items.size();
  for (const T& item : items) packet << item;
}

template <class T>
void getAll(tzPacket& packet, std::vector<T>& items) {
  std::size_t count = 0;
  packet >> count;
  items.clear();
  for (std::size_t i = 0; i < count && packet.good(); ++i) packet >> items.emplace_back();
}

int addLibrary(dl_phdr_info* info, std::size_t, void* paths) {
  const tzString path(info->dlpi_name);
  if (path.getFileName().find("librkd") == 0) {
    static_cast<std::vector<tzString>*>(paths)->push_back(path);
  }
  return 0;
}

int placeOf(const tzTest& test) {
  int place = 0;
  for (const tzTest* other : tzGetTestList()) {
    if (other == &test) return place;
    ++place;
  }
  return -1;
}

}  // namespace

tzPacket& operator<<(tzPacket& packet, const tzSideHello& hello) {
  putAll(packet << hello.codePath, hello.libraries);
  return packet;
}

tzPacket& operator>>(tzPacket& packet, tzSideHello& hello) {
  getAll(packet >> hello.codePath, hello.libraries);
  return packet;
}

tzPacket& operator<<(tzPacket& packet, const tzSideRow& row) {
  packet << row.place.test << row.place.combination << row.text << row.unit << row.json;
  putAll(packet, row.cells);
  return packet;
}

tzPacket& operator>>(tzPacket& packet, tzSideRow& row) {
  packet >> row.place.test >> row.place.combination >> row.text >> row.unit >> row.json;
  getAll(packet, row.cells);
  return packet;
}

tzPacket& operator<<(tzPacket& packet, const tzSideReady& ready) {
  return packet << ready.calls << ready.elements << ready.bytes;
}

tzPacket& operator>>(tzPacket& packet, tzSideReady& ready) {
  return packet >> ready.calls >> ready.elements >> ready.bytes;
}

void tzServe::beginIfAsked() {
  const char* const value = std::getenv(ENVIRONMENT);
  if (value == nullptr) return;
  int mhz = 0;
  int arena = -1;
  if (std::sscanf(value, "%d,%d,%d,%d", &s_in, &s_out, &mhz, &arena) != 4) s_in = -1;
  unsetenv(ENVIRONMENT);
  tzCpuTicker::setFreq(mhz);
  tzArena::join(arena);
  tzTool::m_pServe = serve;
  // What disturbs one side disturbs its neighbour as often; a sample made again is no neighbour.
  tzWatch::m_mode = tzWatch::OFF;
}

void tzServe::sayHello() {
  tzSideHello hello;
  if (rkd_GetLevelName != nullptr) hello.codePath = rkd_GetLevelName();
  dl_iterate_phdr(addLibrary, &hello.libraries);
  tzPacket packet;
  tzSend(s_out, HELLO, packet << hello);
}

bool tzServe::wants(tzTest& test) {
  if (!isOn()) return true;
  static tzRowPlace place;
  const int number = placeOf(test);
  place = {number, number == place.test ? place.combination + 1 : 0};
  const tzRowFacts facts = test.rowFacts();
  tzPacket packet;
  packet << tzSideRow{place, facts.text, facts.cells, facts.unit, facts.json};
  tzSend(s_out, ROW, packet);
  char told = 0;
  if (tzReceive(s_in, 0, told, packet) != RECEIVED) _exit(0);
  return told == WANTED;
}

namespace {

// Calls that fill a sample: the shortest of a few tries counts, so that one that was disturbed does
// not make it too short.
int calibrated(tzTool& tool) {
  constexpr int kMost = 1'000'000;
  constexpr int kTries = 3;
  const double wanted = tzServe::SAMPLE_TIME * std::max(tzCpuTicker::getFreq(), 1000);
  double calls = 1;
  for (;;) {
    double least = 0;
    for (int i = 0; i < kTries; ++i) {
      const double clocks = tool.sample(static_cast<int>(calls));
      if (tzIsFailure(tool.result())) return 0;
      least = i == 0 ? clocks : std::min(least, clocks);
      if (calls * clocks > 10 * wanted) break;  // long enough to be sure
    }
    if (calls * least >= wanted / 2 || calls >= kMost) {
      return static_cast<int>(std::clamp(wanted / std::max(least, 1e-3), 1.0, double{kMost}));
    }
    calls = std::min(calls * 4, double{kMost});
  }
}

// The time that others have in a long sample would hide a part of any difference. Short ones, below
// a millisecond, are not looked at: few are interrupted, and the looks themselves would be felt.
bool isLong(double clocks) { return clocks > 1000.0 * std::max(tzCpuTicker::getFreq(), 1000); }

}  // namespace

tzResult tzServe::serve(tzTool& tool) {
  tzSideReady ready;
  ready.calls = calibrated(tool);
  tzPacket packet;
  if (ready.calls == 0) {
    tzSend(s_out, FAILED, packet << tool.result() << tool.resultText());
    return tool.result();
  }
  ready.elements = tzTest::m_pCurrentTest->getDivisor();
  ready.bytes = tzCacheIterator::getTotalSize();
  tzSend(s_out, READY, packet << ready);
  double least = INFINITY;  // clocks of a call
  for (;;) {
    char told = 0;
    int calls = 1;
    if (tzReceive(s_in, 0, told, packet) != RECEIVED) _exit(0);
    if (told != RUN) return tool.result();
    packet >> calls;
    tzStretch::follow(isLong(calls * least));
    const double clocks = tool.sample(calls) * tzStretch::ownShare();
    least = std::min(least, clocks);
    tzPacket answer;
    tzSend(s_out, SAMPLE, answer << (tzIsFailure(tool.result()) ? -1.0 : clocks));
  }
}
