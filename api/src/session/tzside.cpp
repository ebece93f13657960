// A side of a comparison: executed, asked, replaced when it is gone.
#include "tzside.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tzclock.h"
#include "tzchild.h"
#include "tzmessage.h"
#include "tzostream.h"

namespace {

constexpr double kPatience = 60;  // seconds for whatever a side is asked

}  // namespace

int tzLastProcessor() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return -1;
  for (int i = CPU_SETSIZE - 1; i >= 0; --i) {
    if (CPU_ISSET(i, &allowed)) return i;
  }
  return -1;
}

bool tzSide::start() {
  stop();
  int toSide[2];
  int fromSide[2];
  if (pipe2(toSide, O_CLOEXEC) != 0) return false;
  if (pipe2(fromSide, O_CLOEXEC) != 0) {
    close(toSide[0]);
    close(toSide[1]);
    return false;
  }
  const int mhz = tzCpuTicker::getFreq();
  tzString environment;
  environment << toSide[0] << "," << fromSide[1] << "," << mhz << "," << m_arena;
  m_process = fork();
  if (m_process == 0) {
    setenv(tzServe::ENVIRONMENT, environment.c_str(), 1);
    execute(toSide[0], fromSide[1]);
  }
  close(toSide[0]);
  close(fromSide[1]);
  m_out = toSide[1];
  m_in = fromSide[0];
  char kind = 0;
  tzPacket packet;
  if (m_process < 0 || !receive(kind, packet) || kind != tzServe::HELLO) return false;
  packet >> m_hello;
  next();
  return true;
}

// Between fork and exec. What the side writes on its console is nobody's concern: what matters it
// tells.
void tzSide::execute(int in, int out) const {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  cpu_set_t processors;
  CPU_ZERO(&processors);
  if (m_processor >= 0) {
    CPU_SET(m_processor, &processors);
    sched_setaffinity(0, sizeof processors, &processors);
  }
  for (const int file : {in, out, m_arena}) fcntl(file, F_SETFD, 0);
  const int nothing = open("/dev/null", O_RDWR);
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  if (!m_kind.folder.empty()) {
    const char* const before = std::getenv("LD_LIBRARY_PATH");
    tzString path = m_kind.folder;
    if (before != nullptr && *before != 0) path << ":" << before;
    setenv("LD_LIBRARY_PATH", path.c_str(), 1);
  }
  std::vector<tzString> words = {m_program, "-B", "-LERR"};
  words.insert(words.end(), m_keys.begin(), m_keys.end());
  if (!m_kind.key.empty()) words.push_back(m_kind.key);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (tzString& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  execv("/proc/self/exe", arguments.data());
  _exit(127);
}

void tzSide::stop() {
  if (m_process < 0) return;
  kill(m_process, SIGKILL);
  reap();
}

// @return how the process ended
int tzSide::reap() {
  int status = 0;
  while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
  }
  close(m_in);
  close(m_out);
  m_process = -1;
  m_hasRow = m_measuring = false;
  return status;
}

bool tzSide::receive(char& kind, tzPacket& packet) {
  const tzReceived how = m_process < 0 ? RECEIVED_END : tzReceive(m_in, kPatience, kind, packet);
  if (how != RECEIVED) lose(how);
  return how == RECEIVED;
}

void tzSide::lose(tzReceived how) {
  m_failure = TZ_EXCPTFAIL;
  m_failureText = tzString(tzResultString(TZ_EXCPTFAIL)) + ": ";
  if (m_process < 0) {
    m_failureText << "the process could not be started";
  } else if (how == RECEIVED_NOTHING) {
    m_failureText << "did not end within " << kPatience << " s";
  } else if (how == RECEIVED_SIGNAL) {
    m_failureText << "the run was ended";
  } else {
    m_failureText << tzProcessEnd(reap());
  }
  stop();
}

void tzSide::tell(tzServe::Told what, const tzPacket& packet) {
  if (m_process >= 0) tzSend(m_out, what, packet);
}

// A side that comes to its end closes its pipe, which is no failure. One that died while it freed
// the data of a row is executed anew, unless it did not get any further than the time before.
void tzSide::next() {
  m_hasRow = m_measuring = false;
  char kind = 0;
  tzPacket packet;
  tzReceived how = RECEIVED_NOTHING;
  while (m_process >= 0 && (how = tzReceive(m_in, kPatience, kind, packet)) == RECEIVED) {
    if (kind != tzServe::ROW) continue;
    packet >> m_row;
    m_hasRow = m_row.place > m_done;
    if (m_hasRow) return;
    tell(tzServe::SKIPPED);
  }
  if (m_process < 0 || how != RECEIVED_END) return;
  const int end = reap();
  if (!WIFSIGNALED(end) || m_done <= m_restartedAt) return;
  g_ostrm << L_WARN << "-- The process of " << m_kind.name << " is executed anew, for it ended "
          << "behind a row: " << tzProcessEnd(end) << "\n"
          << L_ENDFLUSH;
  m_restartedAt = m_done;
  start();
}

void tzSide::skip() {
  m_done = m_row.place;
  tell(tzServe::SKIPPED);
  next();
}

bool tzSide::prepare(tzSideReady& ready) {
  m_failure = TZ_UNDEFINED;
  m_failureText = "";
  m_measuring = false;
  tell(tzServe::WANTED);
  char kind = 0;
  tzPacket packet;
  if (!receive(kind, packet)) return false;
  if (kind == tzServe::READY) {
    packet >> ready;
    m_measuring = true;
    return true;
  }
  if (kind == tzServe::FAILED) {
    packet >> m_failure >> m_failureText;
  } else {  // the next row: this one's data could not be made
    m_failure = TZ_DATAFAIL;
    m_failureText = tzResultString(TZ_DATAFAIL);
    stop();
  }
  return false;
}

double tzSide::sample(int calls) {
  tzPacket packet;
  tell(tzServe::RUN, packet << calls);
  char kind = 0;
  double clocks = -1;
  if (!receive(kind, packet) || kind != tzServe::SAMPLE) return -1;
  packet >> clocks;
  if (clocks <= 0) {
    m_failure = TZ_FUNCFAIL;
    m_failureText = tzResultString(TZ_FUNCFAIL);
  }
  return clocks;
}

void tzSide::finish() {
  m_done = m_row.place;
  if (m_process < 0) {
    start();
    return;
  }
  if (m_measuring) tell(tzServe::DONE);
  next();
}
