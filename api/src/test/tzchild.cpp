// Tests in processes of their own: fork, messages from the child, and what the parent makes of
// them.
#include "tzchild.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "tzclock.h"
#include "tzcstream.h"
#include "tzinterrupt.h"
#include "tzistream.h"
#include "tzjson.h"
#include "tzmessage.h"
#include "tztest.h"

namespace {

// What a child tells. Each message gives it the whole time limit anew, but for ASKS, which stops
// the clock until the next: people take their time.
enum Message : char { ROW_BEGINS, ROW_ENDS, ASKS, ANSWERED, ENDS };

std::vector<tzCarried*>& carriedObjects() {
  static std::vector<tzCarried*> objects;
  return objects;
}

tzTargets* const* streams(std::size_t& count) {
  static tzTargets* const all[] = {&g_ostrm, &g_cstrm, &g_qstrm, &g_ustrm, &g_mstrm, &g_jstrm};
  count = std::size(all);
  return all;
}

template <class Visit>
void forEachStream(Visit visit) {
  std::size_t count = 0;
  tzTargets* const* const all = streams(count);
  for (std::size_t i = 0; i < count; ++i) visit(*all[i]);
}

class CarriedHarness : public tzCarried {
 public:
  // In the child, before it runs: what the parent knows need not be told.
  void begin() { m_askedBefore = g_istrm.asked().size(); }
  void pack(tzPacket& packet) const override {
    forEachStream([&](const tzTargets& stream) { stream.pack(packet); });
    packet << o_stream::anyWriteFailed() << tzMistakes::count();
    packet << (tzCpuTicker::hasFreq() ? tzCpuTicker::getFreq() : 0);
    const std::vector<std::string>& asked = g_istrm.asked();
    packet << asked.size() - m_askedBefore;
    for (std::size_t i = m_askedBefore; i < asked.size(); ++i) packet << asked[i];
  }
  void unpack(tzPacket& packet) override {
    forEachStream([&](tzTargets& stream) { stream.unpack(packet); });
    bool failed = false;
    int mistakes = 0;
    int frequency = 0;
    std::size_t names = 0;
    packet >> failed >> mistakes >> frequency >> names;
    if (failed) o_stream::setWriteFailed();
    tzMistakes::reset(mistakes);
    if (frequency != 0) tzCpuTicker::setFreq(frequency);
    std::string name;
    for (std::size_t i = 0; i < names && packet.good(); ++i) {
      packet >> name;
      g_istrm.addAsked(name);
    }
  }

 private:
  std::size_t m_askedBefore = 0;
};

CarriedHarness& carriedHarness() {
  static CarriedHarness harness;
  return harness;
}

void packAll(tzPacket& packet) {
  for (const tzCarried* object : carriedObjects()) object->pack(packet);
}

void unpackAll(tzPacket& packet) {
  for (tzCarried* object : carriedObjects()) object->unpack(packet);
}

double now() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(time).count();
}

}  // namespace

tzCarried::tzCarried() { carriedObjects().push_back(this); }

tzCarried::~tzCarried() { std::erase(carriedObjects(), this); }

// --- the child -----------------------------------------------------------------------------------

tzChild::Row::Row(tzTest& test) {
  if (!isChild()) return;
  const tzRowFacts row = test.rowFacts();
  tzPacket packet;
  packet << row.text << row.unit << row.json << row.cells.size();
  for (const tzString& cell : row.cells) packet << cell;
  packAll(packet);
  tzSend(s_pipe, ROW_BEGINS, packet);
}

tzChild::Row::~Row() {
  if (!isChild()) return;
  forEachStream([](tzTargets& stream) { stream.release(); });
  tzPacket packet;
  packet << tzTest::m_currentResult;
  packAll(packet);
  tzSend(s_pipe, ROW_ENDS, packet);
}

void tzChild::holdRow() {
  if (isChild()) forEachStream([](tzTargets& stream) { stream.hold(); });
}

// --- the parent ----------------------------------------------------------------------------------

/// One child from its fork to its end.
class tzChildWatch {
 public:
  explicit tzChildWatch(tzTest& test) : m_test(test) {}
  tzResult run();

 private:
  [[noreturn]] void runChild(const int* ends, pid_t parent);
  void watch();
  int wait();
  void take();
  void heed(Message kind, tzPacket& packet);
  void noteRow(tzPacket& packet);
  void reap();
  void tellEnd(int status);

  tzTest& m_test;
  pid_t m_child = -1;
  int m_pipe = -1;
  sigset_t m_maskBefore;
  std::string m_bytes;  // of messages that have not come whole
  double m_deadline = 0;
  bool m_ticking = true;
  bool m_timedOut = false;
  bool m_forwarded = false;
  bool m_ended = false;  // as a test should
  tzResult m_result = TZ_UNDEFINED;
  tzResult m_lastResult = TZ_UNDEFINED;
  tzResult m_rowResult = TZ_UNDEFINED;  // of the rows that are written
  bool m_rowOpen = false;
  tzLostRun m_lost;
};

void tzChild::enable(double seconds) {
  carriedHarness();
  s_enabled = true;
  s_limit = seconds;
  // What a child reads of the console, its parent must not have read ahead.
  std::setvbuf(stdin, nullptr, _IONBF, 0);
}

tzResult tzChild::run(tzTest& test) { return tzChildWatch(test).run(); }

tzResult tzChildWatch::run() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return m_test.run();
  g_ostrm.flush();
  std::fflush(nullptr);
  sigset_t requests;
  tzInterrupt::fill(requests);
  sigprocmask(SIG_BLOCK, &requests, &m_maskBefore);
  m_lost.start = std::time(nullptr);
  const pid_t parent = getpid();
  m_child = fork();
  if (m_child == 0) runChild(ends, parent);
  const char* const reason = std::strerror(errno);
  close(ends[1]);
  m_pipe = ends[0];
  if (m_child > 0) {
    watch();
    reap();
  }
  close(m_pipe);
  sigprocmask(SIG_SETMASK, &m_maskBefore, nullptr);
  if (m_child < 0) {
    g_ostrm << L_WARN
            << tzString("-- No child process, the test runs in this one: ") + reason + "\n"
            << L_END;
    return m_test.run();
  }
  if (m_ended) return m_test.takeOver(m_result, m_lastResult);
  return m_test.endLost(m_lost);
}

void tzChildWatch::runChild(const int* ends, pid_t parent) {
  // Nobody would know of its end.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  close(ends[0]);
  tzChild::s_pipe = ends[1];
  tzInterrupt::watchAsChild();
  sigprocmask(SIG_SETMASK, &m_maskBefore, nullptr);
  tzTargets::setFlushEach(true);
  carriedHarness().begin();
  tzIStream::m_pAsking = [](bool asks) {
    tzSend(tzChild::s_pipe, asks ? ASKS : ANSWERED, tzPacket());
  };
  m_result = m_test.run();
  tzPacket packet;
  packet << m_result << m_test.lastResult();
  forEachStream([](tzTargets& stream) { stream.flush(); });
  packAll(packet);
  tzSend(tzChild::s_pipe, ENDS, packet);
  _exit(0);
}

void tzChildWatch::watch() {
  m_deadline = now() + tzChild::s_limit;
  while (!m_ended) {
    const int ready = wait();
    if (tzInterrupt::signal() != 0 && !m_forwarded) {
      m_forwarded = true;
      kill(m_child, tzInterrupt::signal());
    }
    if (ready < 0) continue;  // a signal
    if (ready == 0) {
      m_timedOut = m_ticking && now() >= m_deadline;
      if (m_timedOut) break;
      continue;
    }
    char bytes[4096];
    const ssize_t count = read(m_pipe, bytes, sizeof bytes);
    if (count == 0 || (count < 0 && errno != EINTR)) break;
    if (count > 0) m_bytes.append(bytes, static_cast<std::size_t>(count));
    take();
  }
  if (m_timedOut) kill(m_child, SIGKILL);
}

// Sleeps until the child says something, its time is up or a signal comes: a waiting parent takes
// nothing from what is measured.
int tzChildWatch::wait() {
  pollfd file{m_pipe, POLLIN, 0};
  timespec left{};
  const bool limited = m_ticking && tzChild::s_limit > 0;
  if (limited) {
    const double seconds = std::max(0.0, m_deadline - now());
    left.tv_sec = static_cast<time_t>(seconds);
    left.tv_nsec = static_cast<long>((seconds - static_cast<double>(left.tv_sec)) * 1e9);
  }
  return ppoll(&file, 1, limited ? &left : nullptr, &m_maskBefore);
}

// Takes the whole messages out of what has come.
void tzChildWatch::take() {
  for (;;) {
    tzPacket queue(m_bytes);
    Message kind{};
    std::string body;
    queue >> kind >> body;
    if (!queue.good()) return;
    m_bytes.erase(0, sizeof kind + sizeof(std::size_t) + body.size());
    tzPacket packet(std::move(body));
    heed(kind, packet);
  }
}

void tzChildWatch::heed(Message kind, tzPacket& packet) {
  m_deadline = now() + tzChild::s_limit;
  m_ticking = kind != ASKS;
  switch (kind) {
    case ROW_BEGINS:
      noteRow(packet);
      break;
    case ROW_ENDS:
      m_rowOpen = false;
      packet >> m_rowResult;
      unpackAll(packet);
      break;
    case ENDS:
      m_ended = true;
      packet >> m_result >> m_lastResult;
      unpackAll(packet);
      break;
    default:
      break;
  }
}

void tzChildWatch::noteRow(tzPacket& packet) {
  tzRowFacts& row = m_lost.row;
  std::size_t count = 0;
  m_rowOpen = true;
  packet >> row.text >> row.unit >> row.json >> count;
  row.cells.clear();
  for (std::size_t i = 0; i < count && packet.good(); ++i) {
    row.cells.emplace_back();
    packet >> row.cells.back();
  }
  unpackAll(packet);
}

void tzChildWatch::reap() {
  int status = 0;
  while (waitpid(m_child, &status, 0) < 0 && errno == EINTR) {
  }
  if (m_ended) return;
  tellEnd(status);
  m_lost.needsRow = m_rowOpen || !tzIsFailure(m_rowResult);
  // The child may have written what it did not come to tell.
  forEachStream([](tzTargets& stream) { stream.followFiles(); });
}

void tzChildWatch::tellEnd(int status) {
  tzString& note = m_lost.note;
  tzString& reason = m_lost.reason;
  reason << tzResultString(TZ_EXCPTFAIL) << ": ";
  if (m_timedOut) {
    note = "did not end";
    reason << "did not end within " << tzChild::s_limit << " s";
  } else {
    const tzString end = tzProcessEnd(status);
    reason << end;
    note = WIFSIGNALED(status) ? end.substr(0, end.find(",")) : end.substr(end.find("exit"));
  }
}

tzString tzProcessEnd(int status) {
  tzString end;
  if (!WIFSIGNALED(status)) {
    return end << "the process ended with exit code " << WEXITSTATUS(status);
  }
  const char* const name = sigabbrev_np(WTERMSIG(status));
  return end << "SIG" << (name != nullptr ? name : "RT") << ", " << strsignal(WTERMSIG(status));
}
